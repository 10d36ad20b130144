#include "core/common_channels_store.h"

#include "core/persisted_object.h"

namespace velmar {

const std::array<std::u16string_view, CCommonChannelsStore::kRoleCount>& CCommonChannelsStore::Defaults() {
  static const std::array<std::u16string_view, kRoleCount> kDefaults = {
      u"[1]Distance",        u"[1]Corrected Distance", u"[1]Lap Distance",     u"[3]Speed",
      u"[3]Corrected Speed", u"[10]Accel Lateral",     u"[2]Fuel Used",        u"[1]Map Position D",
      u"[1]Map Position X",  u"[1]Map Position Y",     u"[1]Map Position Z",   u"[6]Global Time",
      u"[7]Longitude",       u"[7]Latitude",           u"[1]Altitude",         u"[7]Heading"};
  return kDefaults;
}

KivResult CCommonChannelsStore::Get(size_t role, std::u16string* text) const {
  if (!text) return E_POINTER;
  if (role >= kRoleCount) return E_INVALIDARG;
  *text = texts_[role];
  return S_OK;
}

KivResult CCommonChannelsStore::Set(size_t role, std::u16string_view text) {
  if (role >= kRoleCount) return E_INVALIDARG;
  if (texts_[role] == text) return S_FALSE;
  texts_[role] = text;
  if (parent_) parent_->CommonChannelsChanged();
  return S_OK;
}

bool CCommonChannelsStore::NamesChannel(std::u16string_view name) const {
  for (const auto& text : texts_) {
    std::u16string_view channel = text;
    if (channel.starts_with(u'[')) {
      const size_t close = channel.find(u']');
      if (close != std::u16string_view::npos) channel.remove_prefix(close + 1);
    }
    if (channel == name) return true;
  }
  return false;
}

namespace {

// How many roles each stream version knew.
size_t RolesOfVersion(uint32_t version) {
  static constexpr size_t kRoles[] = {0, 6, 11, 12, 16};
  return kRoles[version];
}

}  // namespace

KivResult CCommonChannelsStore::Read(IKivStream* stream) {
  std::array<std::u16string, kRoleCount> read;
  const KivResult r = CatchSerialise([&] {
    const auto version = ReadValue<uint32_t>(stream);
    if (version > kStreamVersion) throw CSerialiseException{STG_E_OLDDLL};
    if (version == 0) throw CSerialiseException{E_FAIL};
    const size_t known = RolesOfVersion(version);
    for (size_t i = 0; i < kRoleCount; ++i) read[i] = i < known ? ReadText(stream) : std::u16string(Defaults()[i]);
  });
  if (Succeeded(r)) texts_ = std::move(read);
  return r;
}

KivResult CCommonChannelsStore::Write(IKivStream* stream) const {
  return CatchSerialise([&] {
    WriteValue<uint32_t>(stream, kStreamVersion);
    for (const auto& text : texts_) WriteText(stream, text);
  });
}

void CCommonChannelsStore::ResetToDefaults() {
  for (size_t i = 0; i < kRoleCount; ++i) texts_[i] = Defaults()[i];
  readFromFile_ = false;
  written_ = false;
}

}  // namespace velmar
