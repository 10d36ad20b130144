// AudioTrack on FFmpeg: decoded and resampled to 16-bit 48 kHz stereo.
#include "media/ffmpeg/ffmpeg_media.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <algorithm>

#include "velmar/audio_sink.h"

namespace velmar {
namespace {

constexpr AVRational kTicks{1, static_cast<int>(kTicksPerSecond)};

int64_t FramesIn(KivTime ticks) { return ticks * kKivAudioRate / kTicksPerSecond; }
KivTime TicksOf(int64_t frames) { return frames * kTicksPerSecond / kKivAudioRate; }

struct Av {
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  SwrContext* convert = nullptr;
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  int stream = -1;
  int64_t startTs = 0;
  AVRational timeBase{1, 1};
  bool drained = false;  // the demuxer is at its end and the decoder was told

  ~Av() {
    swr_free(&convert);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
    avformat_close_input(&format);
  }
};

class FfmpegAudioTrack final : public AudioTrack {
 public:
  FfmpegAudioTrack() : av_(std::make_unique<Av>()) {}
  void Read(KivTime time, int32_t frames, int16_t* out) override;

  // False when the file has no sound that decodes.
  bool Start(const std::string& path);

 private:
  void Seek(KivTime time);
  // Decodes and converts the next frame onto `pending_`; false at the end.
  bool DecodeMore();

  std::unique_ptr<Av> av_;
  std::vector<int16_t> pending_;  // converted and not handed out yet
  KivTime pendingAt_ = 0;         // the time of pending_'s first frame
  KivTime next_ = -1;             // where the last read ended
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<AudioTrack> OpenFfmpegAudio(const std::string& path) {
  QuietFfmpeg();
  auto t = std::make_unique<FfmpegAudioTrack>();
  if (!t->Start(path)) return nullptr;
  return t;
}

bool FfmpegAudioTrack::Start(const std::string& path) {
  Av& av = *av_;
  if (!av.packet || !av.frame || avformat_open_input(&av.format, path.c_str(), nullptr, nullptr) < 0 ||
      avformat_find_stream_info(av.format, nullptr) < 0) {
    return false;
  }
  const AVCodec* codec = nullptr;
  av.stream = av_find_best_stream(av.format, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
  if (av.stream < 0 || !codec) return false;
  const AVStream* s = av.format->streams[av.stream];
  av.codec = avcodec_alloc_context3(codec);
  if (!av.codec || avcodec_parameters_to_context(av.codec, s->codecpar) < 0 ||
      avcodec_open2(av.codec, codec, nullptr) < 0) {
    return false;
  }
  av.timeBase = s->time_base;
  av.startTs = s->start_time != AV_NOPTS_VALUE ? s->start_time : 0;
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  if (swr_alloc_set_opts2(&av.convert, &stereo, AV_SAMPLE_FMT_S16, kKivAudioRate, &av.codec->ch_layout,
                          av.codec->sample_fmt, av.codec->sample_rate, 0, nullptr) < 0 ||
      swr_init(av.convert) < 0) {
    return false;
  }
  codecName_ = codec->name;
  return true;
}

void FfmpegAudioTrack::Seek(KivTime time) {
  Av& av = *av_;
  const int64_t ts = av.startTs + av_rescale_q(std::max<KivTime>(time, 0), kTicks, av.timeBase);
  (void)av_seek_frame(av.format, av.stream, ts, AVSEEK_FLAG_BACKWARD);
  avcodec_flush_buffers(av.codec);
  swr_close(av.convert);
  (void)swr_init(av.convert);
  av.drained = false;
  pending_.clear();
  ended_ = false;
}

bool FfmpegAudioTrack::DecodeMore() {
  Av& av = *av_;
  for (;;) {
    const int got = avcodec_receive_frame(av.codec, av.frame);
    if (got == 0) {
      const int64_t pts = av.frame->best_effort_timestamp != AV_NOPTS_VALUE ? av.frame->best_effort_timestamp
                                                                          : av.startTs;
      const int capacity = swr_get_out_samples(av.convert, av.frame->nb_samples);
      std::vector<int16_t> out(static_cast<size_t>(std::max(capacity, 0)) * kKivAudioChannels);
      uint8_t* planes[1] = {reinterpret_cast<uint8_t*>(out.data())};
      const int n = swr_convert(av.convert, planes, capacity, const_cast<const uint8_t**>(av.frame->extended_data),
                                av.frame->nb_samples);
      av_frame_unref(av.frame);
      if (n <= 0) continue;
      if (pending_.empty()) pendingAt_ = av_rescale_q(pts - av.startTs, av.timeBase, kTicks);
      pending_.insert(pending_.end(), out.begin(), out.begin() + static_cast<ptrdiff_t>(n) * kKivAudioChannels);
      return true;
    }
    if (got == AVERROR_EOF || (got != AVERROR(EAGAIN))) return false;
    if (av.drained) return false;
    // The decoder wants more: the next packet of the stream, or the end.
    int r = 0;
    while ((r = av_read_frame(av.format, av.packet)) >= 0 && av.packet->stream_index != av.stream) {
      av_packet_unref(av.packet);
    }
    if (r < 0) {
      av.drained = true;
      (void)avcodec_send_packet(av.codec, nullptr);
    } else {
      (void)avcodec_send_packet(av.codec, av.packet);
      av_packet_unref(av.packet);
    }
  }
}

void FfmpegAudioTrack::Read(KivTime time, int32_t frames, int16_t* out) {
  std::fill(out, out + static_cast<ptrdiff_t>(frames) * kKivAudioChannels, int16_t{0});
  if (time != next_) Seek(time);
  next_ = time + TicksOf(frames);
  int64_t have = static_cast<int64_t>(pending_.size()) / kKivAudioChannels;
  // Enough decoded to reach the block's end (or the file's).
  while (!ended_ && (have == 0 || pendingAt_ + TicksOf(have) < next_)) {
    ended_ = !DecodeMore();
    have = static_cast<int64_t>(pending_.size()) / kKivAudioChannels;
  }
  // What lies before the block goes; a start after it leaves silence first.
  const int64_t skip = std::clamp<int64_t>(FramesIn(time - pendingAt_), 0, have);
  const int64_t lead = std::clamp<int64_t>(FramesIn(pendingAt_ - time), 0, frames);
  const int64_t copy = std::clamp<int64_t>(have - skip, 0, frames - lead);
  std::copy_n(pending_.begin() + skip * kKivAudioChannels, copy * kKivAudioChannels, out + lead * kKivAudioChannels);
  const int64_t used = std::min(have, skip + copy);
  pending_.erase(pending_.begin(), pending_.begin() + used * kKivAudioChannels);
  pendingAt_ += TicksOf(used);
}

}  // namespace velmar
