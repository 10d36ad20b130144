#include "media/media_channel_player.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

#include "velmar/format_time.h"
#include "velmar/text.h"

namespace velmar {
namespace {

std::u16string Time(KivTime t) {
  return FormatTime(t, static_cast<int>(TimeFormat::kHoursMinutesSeconds), 3, false, false).value_or(u"?");
}

// `format` with each "%d" or "%s" replaced by the next argument.
std::u16string Fill(std::u16string format, const std::vector<std::u16string>& args) {
  size_t at = 0;
  for (const std::u16string& arg : args) {
    at = format.find(u'%', at);
    if (at == std::u16string::npos || at + 1 >= format.size()) break;
    format.replace(at, 2, arg);
    at += arg.size();
  }
  return format;
}

std::u16string Number(int64_t n) { return Utf8ToWide(std::to_string(n)); }

// Frame records whose time or frame number falls.
void FrameTableLines(const std::vector<ClipSource>& clips, std::u16string* text) {
  for (size_t c = 0; c < clips.size(); ++c) {
    const auto& frames = clips[c].frames;
    for (size_t i = 1; i < frames.size(); ++i) {
      if (frames[i].time <= frames[i - 1].time) {
        *text += Fill(MediaText(11015), {Number(static_cast<int64_t>(c + 1)), Time(frames[i].time)});
      }
      if (frames[i].frameNumber < frames[i - 1].frameNumber) {
        *text += Fill(MediaText(11021), {Number(static_cast<int64_t>(c + 1)), Time(frames[i].time)});
      }
    }
  }
}

// The line on whether the first clip's file can be played.
void InformationLine(const std::vector<ClipSource>& clips, std::u16string* text) {
  if (clips.empty()) return;
  ClipOpenError why = ClipOpenError::kNone;
  std::string log;
  if (ClipDecoder::Open(WideToUtf8(clips.front().path), &why, &log)) return;
  *text += MediaText(why == ClipOpenError::kNotMedia    ? 11011
                     : why == ClipOpenError::kNoDecoder ? 11012
                                                        : 11013);
}

std::u16string ClipLine(const MediaChannelFacts& facts, const ClipSource& clip, size_t index) {
  return Fill(MediaText(11005), {Number(static_cast<int64_t>(index + 1)), Time(clip.start + facts.timeOffset),
                                 Time(clip.end + facts.timeOffset), clip.path});
}

std::u16string MissingLine(const ClipSource& clip) {
  return Fill(MediaText(11014), {clip.path.empty() ? MediaText(11006) : clip.path});
}

void DistanceRouteLines(const MediaChannelFacts& facts, const std::vector<ClipSource>& clips, std::u16string* text) {
  if (facts.preparation != DistancePreparation::kReady) {
    *text += MediaText(facts.preparation == DistancePreparation::kNoActiveDistance ? 11018 : 11019);
    return;
  }
  using Fate = DistanceRoute::Fate;
  const auto& fates = facts.route.fates;
  for (size_t c = 0; c < clips.size() && c < fates.size(); ++c) {
    if (fates[c] == Fate::kNoFile) *text += MissingLine(clips[c]);
    if (fates[c] == Fate::kAdded) *text += ClipLine(facts, clips[c], c);
  }
  if (facts.route.distanceMissing) *text += MediaText(11016);
  *text += Fill(MediaText(11020), {Number(static_cast<int64_t>(std::count(fates.begin(), fates.end(), Fate::kAdded)))});
}

void PlainRouteLines(const MediaChannelFacts& facts, const std::vector<ClipSource>& clips, std::u16string* text) {
  int64_t overlapping = 0;
  std::u16string lines;
  for (size_t c = 0; c < clips.size(); ++c) {
    const ClipSource& clip = clips[c];
    if (!ClipInSpan(clip, facts.timeOffset, facts.spanStart, facts.spanEnd)) continue;
    ++overlapping;
    lines += ClipFileExists(clip.path) ? ClipLine(facts, clip, c) : MissingLine(clip);
  }
  *text += Fill(MediaText(11008), {Number(overlapping), Time(facts.spanStart), Time(facts.spanEnd)});
  *text += lines;
}

}  // namespace

bool ClipFileExists(const std::u16string& path) {
  std::error_code ec;
  return !path.empty() && std::filesystem::exists(WideToUtf8(path), ec);
}

std::u16string MediaText(int number) {
  static const std::map<int, std::u16string_view> kTexts = {
      {11001, u"The video file cannot be found.\r\n"},
      {11003, u"Codecs required to play back Ostrel Media Channels are not present.\r\n"},
      {11005, u"Clip %d occurs between %s and %s.  The file is: %s\r\n"},
      {11006, u"Unknown"},
      {11008, u"%d clip(s) will be displayed in the current time region (%s to %s ).\r\n"},
      {11009, u"Unable to determine any diagnostic information.\r\n"},
      {11010,
       u"No information exists for the Media Channel, an error may have occured when the Media Channel was "
       u"created.\r\n"},
      {11011, u"The video file cannot be opened.\r\n"},
      {11012, u"Valid codecs cannot be found to play the video file.\r\n"},
      {11013, u"The video file cannot be played.\r\n"},
      {11014, u"Missing video file: %s\r\n"},
      {11015, u"The frame time information for clip %d is invalid at time %s\r\n"},
      {11016, u"The Distance Channel was unable to supply distance data for all clips.\r\n"},
      {11017, u"No data available for this Media Channel.\r\n"},
      {11018, u"The Distance Channel is unavailable or has no data for whole of the active Outing.\r\n"},
      {11019, u"The Distance Channel is unavailable or has no data for the whole of the control's Outing.\r\n"},
      {11020, u"%d clip(s) will be displayed with distance adjustment.\r\n"},
      {11021, u"The frame index information for clip %d is invalid at time %s\r\n"},
  };
  auto it = kTexts.find(number);
  return it == kTexts.end() ? std::u16string() : std::u16string(it->second);
}

KivResult BuildPlannedPlayer(std::vector<PlannedClip> planned, KivTime spanLength, bool adjustForDistance,
                             ComPtr<CClipManager>* player, std::string* log) {
  auto made = MakeKiv<CClipManager>();
  made->SetAdjustForDistance(adjustForDistance);
  size_t added = 0;
  for (PlannedClip& clip : planned) {
    // A clip that can't be built leaves the others standing.
    if (Succeeded(made->AddClip(clip.path, std::move(clip.timestamp), clip.position, clip.length, 0))) ++added;
  }
  *log = made->log();
  if (added == 0) return E_FAIL;
  (void)made->SetRange(0, std::max<KivTime>(spanLength, 0));
  *player = std::move(made);
  return S_OK;
}

KivResult BuildClipPlayer(const std::vector<ClipSource>& clips, KivTime timeOffset, KivTime spanStart,
                          KivTime spanEnd, bool adjustForDistance, ComPtr<CClipManager>* player, std::string* log) {
  return BuildPlannedPlayer(PlainRoute(clips, timeOffset, spanStart, spanEnd), spanEnd - spanStart,
                            adjustForDistance, player, log);
}

void GiveFrameTables(std::vector<ClipSource>* clips) {
  for (ClipSource& clip : *clips) {
    if (clip.frames.size() >= 2) continue;
    ClipOpenError why = ClipOpenError::kNone;
    std::string log;
    auto decoder = ClipDecoder::Open(WideToUtf8(clip.path), &why, &log);
    if (!decoder || decoder->frame_interval() <= 0) continue;
    const KivTime interval = decoder->frame_interval();
    const int64_t last = std::max<int64_t>(decoder->duration() / interval - 1, 1);
    clip.frames = {{clip.start, 0, {}}, {clip.start + last * interval, static_cast<uint32_t>(last), {}}};
  }
}

KivResult BuildPreviewPlayer(const ClipSource& clip, ComPtr<CClipManager>* player) {
  auto made = MakeKiv<CClipManager>();
  ClipOpenError why = ClipOpenError::kNone;
  std::string log;
  auto decoder = ClipDecoder::Open(WideToUtf8(clip.path), &why, &log);
  if (!decoder) return E_FAIL;
  if (Failed(made->AddClip(clip.path, nullptr, 0, decoder->duration(), 0))) return E_FAIL;
  if (Failed(made->Pause())) return E_FAIL;
  *player = std::move(made);
  return S_OK;
}

std::u16string MediaDiagnostics(const MediaChannelFacts& facts, const std::vector<ClipSource>& clips) {
  using Clips = MediaChannelFacts::Clips;
  std::u16string text = facts.clips == Clips::kLoaded   ? u"Media Channel state: clips loaded.\r\n"
                        : facts.clips == Clips::kFailed ? u"Media Channel state: clips failed to load.\r\n"
                                                        : u"Media Channel state: clips not loaded.\r\n";
  if (facts.clips != Clips::kLoaded) {
    text += MediaText(facts.clips == Clips::kFailed ? 11017 : 11009);
    return text;
  }
  if (clips.empty()) {
    text += MediaText(11010);
    return text;
  }
  if (facts.addedByUser) InformationLine(clips, &text);
  FrameTableLines(clips, &text);
  if (facts.byDistance) {
    DistanceRouteLines(facts, clips, &text);
  } else {
    PlainRouteLines(facts, clips, &text);
  }
  text += facts.lastLog;
  return text;
}

}  // namespace velmar
