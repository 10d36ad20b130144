#include "media/audio_track.h"

#include "media/media_codecs.h"

namespace velmar {

std::unique_ptr<AudioTrack> AudioTrack::Open(const std::string& path) {
  MediaCodecs* codecs = LoadMediaCodecs();
  return codecs ? codecs->OpenAudio(path) : nullptr;
}

}  // namespace velmar
