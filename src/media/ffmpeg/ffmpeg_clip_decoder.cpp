// ClipDecoder on FFmpeg: probe by content, frame-accurate seek, RGB24 out.
#include "media/ffmpeg/ffmpeg_media.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>

namespace velmar {
namespace {

constexpr AVRational kTicks{1, static_cast<int>(kTicksPerSecond)};
// How far ahead of the last picture a time may lie and still be reached by
// decoding forward rather than by a jump to a keyframe.
constexpr KivTime kForwardReach = kTicksPerSecond;

std::string ErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

struct Av {
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  SwsContext* scale = nullptr;
  AVPacket* packet = av_packet_alloc();
  AVFrame* shown = av_frame_alloc();  // the last frame at or before the time asked
  AVFrame* ahead = av_frame_alloc();  // decoded, after the time asked
  int stream = -1;
  int64_t startTs = 0;
  AVRational timeBase{1, 1};
  bool haveShown = false;
  bool haveAhead = false;
  bool ended = false;      // the decoder gave its last frame
  bool flushSent = false;  // the demuxer is at its end and the decoder drains

  ~Av() {
    sws_freeContext(scale);
    av_frame_free(&shown);
    av_frame_free(&ahead);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
    avformat_close_input(&format);
  }

  KivTime TimeOf(const AVFrame* f) const {
    int64_t ts = f->best_effort_timestamp != AV_NOPTS_VALUE ? f->best_effort_timestamp : f->pts;
    if (ts == AV_NOPTS_VALUE) ts = startTs;
    return av_rescale_q(ts - startTs, timeBase, kTicks);
  }
};

class FfmpegClipDecoder final : public ClipDecoder {
 public:
  FfmpegClipDecoder() : av_(std::make_unique<Av>()) {}
  [[nodiscard]] KivResult FrameAt(KivTime time, DecodedFrame* frame) override;

  // Fills in what Open reports; kNone when the clip decodes.
  ClipOpenError Start(const std::string& path, std::string* log);

 private:
  // Decodes the next frame into `ahead`; false at the end or on an error.
  bool DecodeNext();
  [[nodiscard]] KivResult Seek(KivTime time);
  [[nodiscard]] KivResult Convert(DecodedFrame* frame);

  std::unique_ptr<Av> av_;
};

}  // namespace

void QuietFfmpeg() {
  static const bool once = [] {
    av_log_set_level(AV_LOG_ERROR);
    return true;
  }();
  (void)once;
}

std::unique_ptr<ClipDecoder> OpenFfmpegClip(const std::string& path, ClipOpenError* error, std::string* log) {
  QuietFfmpeg();
  auto d = std::make_unique<FfmpegClipDecoder>();
  *error = d->Start(path, log);
  if (*error != ClipOpenError::kNone) return nullptr;
  return d;
}

ClipOpenError FfmpegClipDecoder::Start(const std::string& path, std::string* log) {
  auto fail = [&](ClipOpenError why, const std::string& text) {
    *log = text;
    return why;
  };
  Av& av = *av_;
  if (!av.packet || !av.shown || !av.ahead) return fail(ClipOpenError::kBroken, "out of memory");
  // No format named: the demuxer is chosen by probing the content.
  if (int r = avformat_open_input(&av.format, path.c_str(), nullptr, nullptr); r < 0) {
    const bool missing = r == AVERROR(ENOENT) || r == AVERROR(EACCES);
    return fail(missing ? ClipOpenError::kBroken : ClipOpenError::kNotMedia, ErrorText(r));
  }
  if (int r = avformat_find_stream_info(av.format, nullptr); r < 0) return fail(ClipOpenError::kBroken, ErrorText(r));
  const AVCodec* codec = nullptr;
  av.stream = av_find_best_stream(av.format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (av.stream < 0 || !codec) return fail(ClipOpenError::kNoDecoder, "no video stream with a decoder");
  hasAudio_ = av_find_best_stream(av.format, AVMEDIA_TYPE_AUDIO, -1, av.stream, nullptr, 0) >= 0;
  AVStream* s = av.format->streams[av.stream];
  av.codec = avcodec_alloc_context3(codec);
  if (!av.codec || avcodec_parameters_to_context(av.codec, s->codecpar) < 0) {
    return fail(ClipOpenError::kNoDecoder, "decoder parameters refused");
  }
  // A seek decodes up to a keyframe interval of frames: every core helps.
  av.codec->thread_count = 0;
  if (int r = avcodec_open2(av.codec, codec, nullptr); r < 0) return fail(ClipOpenError::kNoDecoder, ErrorText(r));
  av.timeBase = s->time_base;
  av.startTs = s->start_time != AV_NOPTS_VALUE ? s->start_time : 0;
  if (s->duration > 0) {
    duration_ = av_rescale_q(s->duration, s->time_base, kTicks);
  } else if (av.format->duration > 0) {
    duration_ = av.format->duration * (kTicksPerSecond / AV_TIME_BASE);
  }
  // The stream's base rate; the average may be skewed by the last frame's length.
  const AVRational rate = s->r_frame_rate.num > 0 ? s->r_frame_rate : s->avg_frame_rate;
  if (rate.num > 0 && rate.den > 0) frameInterval_ = av_rescale_q(1, av_inv_q(rate), kTicks);
  // Containers often give the last frame's start as the length: the frames
  // times their length is the whole of it.
  if (s->nb_frames > 0 && frameInterval_ > 0) duration_ = std::max(duration_, s->nb_frames * frameInterval_);
  decoderName_ = codec->name;
  const char* pix = av_get_pix_fmt_name(av.codec->pix_fmt);
  pixelFormat_ = pix ? pix : "unknown";
  width_ = av.codec->width;
  height_ = av.codec->height;
  return ClipOpenError::kNone;
}

bool FfmpegClipDecoder::DecodeNext() {
  Av& av = *av_;
  for (;;) {
    const int r = avcodec_receive_frame(av.codec, av.ahead);
    if (r == 0) return true;
    if (r != AVERROR(EAGAIN)) return false;  // the end, or a broken stream
    if (av.flushSent) return false;
    const int read = av_read_frame(av.format, av.packet);
    if (read < 0) {
      av.flushSent = true;
      if (avcodec_send_packet(av.codec, nullptr) < 0) return false;
      continue;
    }
    if (av.packet->stream_index == av.stream) {
      // A packet the decoder refuses is skipped: later keyframes still decode.
      (void)avcodec_send_packet(av.codec, av.packet);
    }
    av_packet_unref(av.packet);
  }
}

KivResult FfmpegClipDecoder::Seek(KivTime time) {
  Av& av = *av_;
  const int64_t ts = av.startTs + av_rescale_q(std::max<KivTime>(time, 0), kTicks, av.timeBase);
  if (av_seek_frame(av.format, av.stream, ts, AVSEEK_FLAG_BACKWARD) < 0 &&
      avformat_seek_file(av.format, av.stream, INT64_MIN, ts, ts, 0) < 0 &&
      av_seek_frame(av.format, av.stream, av.startTs, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY) < 0) {
    return E_FAIL;
  }
  avcodec_flush_buffers(av.codec);
  av_frame_unref(av.shown);
  av_frame_unref(av.ahead);
  av.haveShown = av.haveAhead = av.ended = av.flushSent = false;
  return S_OK;
}

KivResult FfmpegClipDecoder::FrameAt(KivTime time, DecodedFrame* frame) {
  Av& av = *av_;
  const bool reachable = av.haveShown && time >= av.TimeOf(av.shown) &&
                         (time <= av.TimeOf(av.shown) + kForwardReach || (av.haveAhead && time < av.TimeOf(av.ahead)));
  if (!reachable) {
    if (KivResult r = Seek(time); Failed(r)) return r;
  }
  for (;;) {
    if (!av.haveAhead && !av.ended) {
      av.haveAhead = DecodeNext();
      av.ended = !av.haveAhead;
      continue;
    }
    // A jump may land after the time (no earlier keyframe): the first
    // picture then stands for it.
    if (av.haveAhead && (!av.haveShown || av.TimeOf(av.ahead) <= time)) {
      av_frame_unref(av.shown);
      av_frame_move_ref(av.shown, av.ahead);
      av.haveShown = true;
      av.haveAhead = false;
      continue;
    }
    break;
  }
  if (!av.haveShown) return E_FAIL;
  return Convert(frame);
}

KivResult FfmpegClipDecoder::Convert(DecodedFrame* frame) {
  Av& av = *av_;
  const AVFrame* f = av.shown;
  av.scale = sws_getCachedContext(av.scale, f->width, f->height, static_cast<AVPixelFormat>(f->format), f->width,
                                  f->height, AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr, nullptr, nullptr);
  if (!av.scale) return E_FAIL;
  frame->width = f->width;
  frame->height = f->height;
  frame->rgb.resize(static_cast<size_t>(f->width) * f->height * 3);
  uint8_t* planes[1] = {frame->rgb.data()};
  const int strides[1] = {f->width * 3};
  if (sws_scale(av.scale, f->data, f->linesize, 0, f->height, planes, strides) != f->height) return E_FAIL;
  frame->time = av.TimeOf(f);
  frame->index = frameInterval_ > 0 ? std::llround(static_cast<double>(frame->time) / frameInterval_) : 0;
  return S_OK;
}

}  // namespace velmar
