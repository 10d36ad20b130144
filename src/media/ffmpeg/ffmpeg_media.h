// The FFmpeg module's pieces behind MediaCodecs (media/media_codecs.h).
// Built into libvelmar_ffmpeg.so only; nothing here is in the library.
#pragma once

#include <memory>
#include <string>

#include "media/media_codecs.h"

namespace velmar {

// FFmpeg reports only errors on stderr from the first call on (its own
// notes would fill a host's console). Any thread.
void QuietFfmpeg();

std::unique_ptr<ClipDecoder> OpenFfmpegClip(const std::string& path, ClipOpenError* error, std::string* log);
std::unique_ptr<AudioTrack> OpenFfmpegAudio(const std::string& path);
std::string EncodeFfmpegPng(const KivVideoFrame& frame);
[[nodiscard]] KivResult WriteFfmpegSampleClip(const std::string& path, const KivSampleClipOptions& options);

}  // namespace velmar
