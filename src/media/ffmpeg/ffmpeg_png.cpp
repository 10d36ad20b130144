// A frame as PNG bytes through FFmpeg's encoder.
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "media/ffmpeg/ffmpeg_media.h"

namespace velmar {
namespace {

struct CodecFree {
  void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameFree {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketFree {
  void operator()(AVPacket* p) const { av_packet_free(&p); }
};

}  // namespace

std::string EncodeFfmpegPng(const KivVideoFrame& frame) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  std::unique_ptr<AVCodecContext, CodecFree> c(codec ? avcodec_alloc_context3(codec) : nullptr);
  std::unique_ptr<AVFrame, FrameFree> f(av_frame_alloc());
  std::unique_ptr<AVPacket, PacketFree> p(av_packet_alloc());
  if (!c || !f || !p) return {};
  c->width = frame.width;
  c->height = frame.height;
  c->pix_fmt = AV_PIX_FMT_RGB24;
  c->time_base = {1, 25};
  if (avcodec_open2(c.get(), codec, nullptr) < 0) return {};
  f->format = AV_PIX_FMT_RGB24;
  f->width = frame.width;
  f->height = frame.height;
  f->data[0] = const_cast<uint8_t*>(frame.pixels);  // the encoder only reads it
  f->linesize[0] = frame.stride;
  if (avcodec_send_frame(c.get(), f.get()) < 0 || avcodec_send_frame(c.get(), nullptr) < 0) return {};
  std::string bytes;
  while (avcodec_receive_packet(c.get(), p.get()) == 0) {
    bytes.append(reinterpret_cast<const char*>(p->data), static_cast<size_t>(p->size));
    av_packet_unref(p.get());
  }
  return bytes;
}

}  // namespace velmar
