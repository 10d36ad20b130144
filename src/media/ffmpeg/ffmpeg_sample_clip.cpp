// The sample clip written with FFmpeg: the frame number as a bar of black
// and white blocks, a moving gradient below, and a tone when asked for.
#include "media/ffmpeg/ffmpeg_media.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

#include <cmath>
#include <numbers>
#include <memory>
#include <string_view>


namespace velmar {
namespace {

constexpr int kBits = kSampleClipBarBits;

struct Output {
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVStream* stream = nullptr;
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
  // The tone, when asked for.
  AVCodecContext* audio = nullptr;
  AVStream* audioStream = nullptr;
  AVFrame* sound = av_frame_alloc();
  int64_t soundAt = 0;  // samples written
  bool opened = false;
  ~Output() {
    if (opened) avio_closep(&format->pb);
    av_frame_free(&frame);
    av_frame_free(&sound);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
    avcodec_free_context(&audio);
    avformat_free_context(format);
  }
};

// The bar of frame `n` in the top quarter of the luma plane, a gradient below.
void Paint(AVFrame* f, int64_t n) {
  const int barHeight = f->height / 4;
  for (int y = 0; y < f->height; ++y) {
    uint8_t* row = f->data[0] + static_cast<ptrdiff_t>(y) * f->linesize[0];
    for (int x = 0; x < f->width; ++x) {
      if (y < barHeight) {
        const int bit = x * kBits / f->width;
        row[x] = ((n >> (kBits - 1 - bit)) & 1) ? 235 : 16;
      } else {
        row[x] = static_cast<uint8_t>(64 + ((x + y + n * 4) % 128));
      }
    }
  }
  for (int plane = 1; plane <= 2; ++plane) {
    for (int y = 0; y < f->height / 2; ++y) {
      uint8_t* row = f->data[plane] + static_cast<ptrdiff_t>(y) * f->linesize[plane];
      for (int x = 0; x < f->width / 2; ++x) {
        row[x] = y < barHeight / 2 ? 128 : static_cast<uint8_t>(plane == 1 ? 96 + (n % 64) : 160 - (n % 64));
      }
    }
  }
}

bool Drain(Output& o, AVCodecContext* codec, AVStream* stream) {
  for (;;) {
    const int r = avcodec_receive_packet(codec, o.packet);
    if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return true;
    if (r < 0) return false;
    av_packet_rescale_ts(o.packet, codec->time_base, stream->time_base);
    o.packet->stream_index = stream->index;
    if (av_interleaved_write_frame(o.format, o.packet) < 0) return false;
  }
}

bool Drain(Output& o) { return Drain(o, o.codec, o.stream); }

// An AAC stream of 48 kHz stereo for the tone; false when it can't be made.
bool AddTone(Output& o) {
  const AVCodec* aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
  o.audioStream = aac ? avformat_new_stream(o.format, nullptr) : nullptr;
  o.audio = aac ? avcodec_alloc_context3(aac) : nullptr;
  if (!o.audioStream || !o.audio || !o.sound) return false;
  o.audio->sample_fmt = AV_SAMPLE_FMT_FLTP;
  o.audio->sample_rate = 48000;
  o.audio->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
  o.audio->bit_rate = 128000;
  o.audio->time_base = {1, 48000};
  if (o.format->oformat->flags & AVFMT_GLOBALHEADER) o.audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(o.audio, aac, nullptr) < 0 ||
      avcodec_parameters_from_context(o.audioStream->codecpar, o.audio) < 0) {
    return false;
  }
  o.audioStream->time_base = o.audio->time_base;
  o.sound->format = o.audio->sample_fmt;
  o.sound->nb_samples = o.audio->frame_size;
  o.sound->sample_rate = 48000;
  return av_channel_layout_copy(&o.sound->ch_layout, &o.audio->ch_layout) == 0 && av_frame_get_buffer(o.sound, 0) >= 0;
}

// The tone's frames up to `until` (samples): a sine of `hz` on both sides.
bool WriteTone(Output& o, int64_t until, double hz) {
  while (o.soundAt < until) {
    if (av_frame_make_writable(o.sound) < 0) return false;
    for (int i = 0; i < o.sound->nb_samples; ++i) {
      const float v = static_cast<float>(0.5 * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(o.soundAt + i) / 48000.0));
      for (int c = 0; c < 2; ++c) reinterpret_cast<float*>(o.sound->data[c])[i] = v;
    }
    o.sound->pts = o.soundAt;
    o.soundAt += o.sound->nb_samples;
    if (avcodec_send_frame(o.audio, o.sound) < 0 || !Drain(o, o.audio, o.audioStream)) return false;
  }
  return true;
}

const AVCodec* ChooseEncoder() {
  if (const AVCodec* h264 = avcodec_find_encoder_by_name("libx264")) return h264;
  return avcodec_find_encoder(AV_CODEC_ID_MPEG4);
}

}  // namespace

KivResult WriteFfmpegSampleClip(const std::string& file, const KivSampleClipOptions& options) {
  QuietFfmpeg();
  Output o;
  const AVCodec* encoder = ChooseEncoder();
  if (!o.frame || !o.packet || !encoder) return E_FAIL;
  if (avformat_alloc_output_context2(&o.format, nullptr, "mp4", file.c_str()) < 0) return E_FAIL;
  o.stream = avformat_new_stream(o.format, nullptr);
  o.codec = avcodec_alloc_context3(encoder);
  if (!o.stream || !o.codec) return E_FAIL;
  o.codec->width = options.width;
  o.codec->height = options.height;
  o.codec->pix_fmt = AV_PIX_FMT_YUV420P;
  o.codec->time_base = {1, options.framesPerSecond};
  o.codec->framerate = {options.framesPerSecond, 1};
  o.codec->gop_size = std::max(1, static_cast<int>(std::lround(options.keyframeSeconds * options.framesPerSecond)));
  o.codec->max_b_frames = 0;
  o.codec->bit_rate = static_cast<int64_t>(options.width) * options.height * 4;
  // A test clip is made often and looked at rarely: the fast presets do.
  if (std::string_view(encoder->name) == "libx264") (void)av_opt_set(o.codec->priv_data, "preset", "veryfast", 0);
  if (o.format->oformat->flags & AVFMT_GLOBALHEADER) o.codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(o.codec, encoder, nullptr) < 0) return E_FAIL;
  if (avcodec_parameters_from_context(o.stream->codecpar, o.codec) < 0) return E_FAIL;
  o.stream->time_base = o.codec->time_base;
  if (options.toneHz > 0.0 && !AddTone(o)) return E_FAIL;
  if (avio_open(&o.format->pb, file.c_str(), AVIO_FLAG_WRITE) < 0) return E_FAIL;
  o.opened = true;
  if (avformat_write_header(o.format, nullptr) < 0) return E_FAIL;
  o.frame->format = o.codec->pix_fmt;
  o.frame->width = options.width;
  o.frame->height = options.height;
  if (av_frame_get_buffer(o.frame, 0) < 0) return E_FAIL;
  const int64_t frames = std::llround(options.seconds * options.framesPerSecond);
  for (int64_t n = 0; n < frames; ++n) {
    if (av_frame_make_writable(o.frame) < 0) return E_FAIL;
    Paint(o.frame, n);
    o.frame->pts = n;
    if (avcodec_send_frame(o.codec, o.frame) < 0 || !Drain(o)) return E_FAIL;
    if (o.audio && !WriteTone(o, (n + 1) * 48000 / options.framesPerSecond, options.toneHz)) return E_FAIL;
  }
  if (avcodec_send_frame(o.codec, nullptr) < 0 || !Drain(o)) return E_FAIL;
  if (o.audio && (avcodec_send_frame(o.audio, nullptr) < 0 || !Drain(o, o.audio, o.audioStream))) return E_FAIL;
  return av_write_trailer(o.format) < 0 ? E_FAIL : S_OK;
}
}  // namespace velmar
