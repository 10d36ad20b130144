// The WAV file sink: a RIFF header of 44 bytes, then the samples as they
// come. The two sizes in the header are written again after each block.
#include <cstdio>
#include <mutex>

#include "velmar/audio_sink.h"
#include "velmar/text.h"

namespace velmar {
namespace {

void PutU32(uint8_t* at, uint32_t v) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(v >> (8 * i));
}
void PutU16(uint8_t* at, uint16_t v) {
  at[0] = static_cast<uint8_t>(v);
  at[1] = static_cast<uint8_t>(v >> 8);
}

class CWavAudioSink final : public KivObject<IKivAudioSink> {
 public:
  explicit CWavAudioSink(std::FILE* file) : file_(file) { WriteHeader(); }

  void OnAudio(IKivClipPlayer*, const KivAudioBlock& block) override {
    std::lock_guard lock(mutex_);
    if (!file_ || block.frames <= 0 || !block.samples) return;
    const size_t count = static_cast<size_t>(block.frames) * kKivAudioChannels;
    // The samples are little-endian on every platform this library builds for.
    if (std::fseek(file_, 0, SEEK_END) != 0 || std::fwrite(block.samples, sizeof(int16_t), count, file_) != count) return;
    bytes_ += static_cast<uint32_t>(count * sizeof(int16_t));
    WriteHeader();
  }

 protected:
  ~CWavAudioSink() override {
    if (file_) std::fclose(file_);
  }

 private:
  void WriteHeader() {
    uint8_t h[44] = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' '};
    PutU32(h + 4, 36 + bytes_);
    PutU32(h + 16, 16);
    PutU16(h + 20, 1);  // PCM
    PutU16(h + 22, kKivAudioChannels);
    PutU32(h + 24, kKivAudioRate);
    PutU32(h + 28, kKivAudioRate * kKivAudioChannels * 2);
    PutU16(h + 32, kKivAudioChannels * 2);
    PutU16(h + 34, 16);
    h[36] = 'd', h[37] = 'a', h[38] = 't', h[39] = 'a';
    PutU32(h + 40, bytes_);
    if (std::fseek(file_, 0, SEEK_SET) == 0) (void)std::fwrite(h, 1, sizeof h, file_);
    (void)std::fflush(file_);
  }

  std::mutex mutex_;
  std::FILE* file_;
  uint32_t bytes_ = 0;
};

}  // namespace

KivResult KivCreateWavAudioSink(const std::u16string& path, IKivAudioSink** sink) {
  if (!sink) return E_POINTER;
  *sink = nullptr;
  std::FILE* file = std::fopen(WideToUtf8(path).c_str(), "w+b");
  if (!file) return E_FAIL;
  auto made = MakeKiv<CWavAudioSink>(file);
  return GiveOut(static_cast<IKivAudioSink*>(made.Get()), sink);
}

}  // namespace velmar
