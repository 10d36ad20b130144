#include "config/real_time_settings.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>
#include <system_error>

#include "core/byte_fields.h"
#include "core/stream_values.h"
#include "velmar/registry.h"
#include "velmar/text.h"

namespace velmar {

namespace {

constexpr char16_t kFixedCacheSize[] = u"FixedCacheSize";
constexpr char16_t kMaximumCacheSize[] = u"MaximumCacheSize";
constexpr char16_t kReceiveBufferSize[] = u"ReceiveBufferSize";
constexpr uint32_t kDefaultMaximumCacheSize = 20;
constexpr uint32_t kDefaultReceiveBufferSize = 5;

template <class T>
KivResult Give(T* out, const T& value) {
  if (!out) return E_POINTER;
  *out = value;
  return S_OK;
}

}  // namespace

std::u16string ApplyInterfaceAddress(const std::u16string& address, bool force) {
  if (!force && address == u"0.0.0.0") return address;
  std::array<char, 101> host{};
  if (gethostname(host.data(), host.size() - 1) != 0) return address;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.data(), nullptr, &hints, &found) != 0 || !found) return address;
  std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
  std::u16string first;
  for (addrinfo* a = list.get(); a; a = a->ai_next) {
    std::array<char, INET_ADDRSTRLEN> text{};
    const auto* in = reinterpret_cast<const sockaddr_in*>(a->ai_addr);
    if (!inet_ntop(AF_INET, &in->sin_addr, text.data(), text.size())) continue;
    std::u16string dotted = Utf8ToWide(text.data());
    if (dotted == address) return address;
    if (first.empty()) first = std::move(dotted);
  }
  return first.empty() ? address : first;
}

void CRealTimeSettings::Reset() {
  linkValueA_ = 200;
  linkValueB_ = 5000;
  socketValue_ = 1;
  port_ = 4567;
  groupAddress_ = u"239.1.1.1";
  interfaceAddress_ = u"0.0.0.0";
  cacheFolder_.clear();
}

void CRealTimeSettings::Changed() {
  dirty_ = true;
  if (changes_) changes_->OnRealTimeSettingsChanged();
}

template <class T>
KivResult CRealTimeSettings::Store(T& field, const T& value) {
  if (field == value) return S_OK;
  field = value;
  Changed();
  return S_OK;
}

KivResult CRealTimeSettings::GetLinkValueA(int32_t* value) { return Give(value, linkValueA_); }
KivResult CRealTimeSettings::SetLinkValueA(int32_t value) {
  if (value < 1) return E_FAIL;
  return Store(linkValueA_, value);
}
KivResult CRealTimeSettings::GetLinkValueB(int32_t* value) { return Give(value, linkValueB_); }
KivResult CRealTimeSettings::SetLinkValueB(int32_t value) { return Store(linkValueB_, value); }
KivResult CRealTimeSettings::GetSocketValue(int32_t* value) { return Give(value, socketValue_); }
KivResult CRealTimeSettings::SetSocketValue(int32_t value) {
  if (value < 1) return E_FAIL;
  return Store(socketValue_, value);
}

KivResult CRealTimeSettings::GetGroupAddress(std::u16string* address) {
  if (!address) return E_POINTER;
  if (groupAddress_.empty()) return E_FAIL;
  *address = groupAddress_;
  return S_OK;
}
KivResult CRealTimeSettings::SetGroupAddress(const std::u16string& address) { return Store(groupAddress_, address); }
KivResult CRealTimeSettings::GetPort(int32_t* port) { return Give(port, port_); }
KivResult CRealTimeSettings::SetPort(int32_t port) { return Store(port_, port); }

KivResult CRealTimeSettings::GetInterfaceAddress(std::u16string* address) {
  if (!address) return E_POINTER;
  if (interfaceAddress_ == u"0.0.0.0") interfaceAddress_ = ApplyInterfaceAddress(interfaceAddress_, true);
  if (interfaceAddress_.empty()) return E_FAIL;
  *address = interfaceAddress_;
  return S_OK;
}
KivResult CRealTimeSettings::SetInterfaceAddress(const std::u16string& address) {
  return Store(interfaceAddress_, address);
}

KivResult CRealTimeSettings::GetCacheFolder(std::u16string* folder) {
  if (!folder) return E_POINTER;
  if (cacheFolder_.empty()) {
    std::error_code ec;
    const auto temp = std::filesystem::temp_directory_path(ec);
    if (!ec) cacheFolder_ = temp.u16string();
  }
  if (cacheFolder_.empty()) return E_FAIL;
  *folder = cacheFolder_;
  return S_OK;
}
KivResult CRealTimeSettings::SetCacheFolder(const std::u16string& folder) { return Store(cacheFolder_, folder); }

uint32_t CRealTimeSettings::ReadRegistry(const char16_t* name, uint32_t fallback) {
  RegistryKey key;
  uint32_t value = fallback;
  if (Failed(RegistryKey::Open(RegHive::kCurrentUser, kRealTimeSettingsKey, &key)) ||
      Failed(key.QueryU32(name, &value))) {
    return fallback;
  }
  return value;
}

KivResult CRealTimeSettings::WriteRegistry(const char16_t* name, uint32_t value) {
  RegistryKey key;
  if (Failed(RegistryKey::Create(RegHive::kCurrentUser, kRealTimeSettingsKey, &key)) ||
      Failed(key.SetU32(name, value))) {
    return E_FAIL;
  }
  Changed();  // written even when unchanged, and told
  return S_OK;
}

KivResult CRealTimeSettings::GetFixedCacheSize(KivBool* fixed) {
  return Give(fixed, ToKivBool(ReadRegistry(kFixedCacheSize, 1) > 0));
}
KivResult CRealTimeSettings::SetFixedCacheSize(KivBool fixed) {
  return WriteRegistry(kFixedCacheSize, FromKivBool(fixed) ? 1 : 0);
}

KivResult CRealTimeSettings::GetMaximumCacheSize(uint32_t* size) {
  const uint32_t stored = ReadRegistry(kMaximumCacheSize, kDefaultMaximumCacheSize);
  return Give(size, stored < 2 ? kDefaultMaximumCacheSize : stored);
}
KivResult CRealTimeSettings::SetMaximumCacheSize(uint32_t size) {
  if (size < 2) return E_INVALIDARG;
  return WriteRegistry(kMaximumCacheSize, size);
}

KivResult CRealTimeSettings::GetReceiveBufferSize(uint32_t* size) {
  const uint32_t stored = ReadRegistry(kReceiveBufferSize, kDefaultReceiveBufferSize);
  return Give(size, stored == 0 ? kDefaultReceiveBufferSize : stored);
}
KivResult CRealTimeSettings::SetReceiveBufferSize(uint32_t size) {
  if (size < 1 || size > 100) return E_INVALIDARG;
  return WriteRegistry(kReceiveBufferSize, size);
}

KivResult CRealTimeSettings::SetChangeCallback(CRealTimeSettingsChanges* changes) {
  changes_ = changes;
  return S_OK;
}

KivResult CRealTimeSettings::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivRealTimeSettings;
  return S_OK;
}

KivResult CRealTimeSettings::Load(IKivStream* stream) {
  if (!stream) return E_POINTER;
  std::array<uint8_t, 20> head{};
  if (Failed(ReadStreamBytes(stream, head.data(), head.size()))) return E_FAIL;
  if (GetField<uint32_t>(head, 0) != kRealTimeSettingsStreamVersion) return E_FAIL;
  linkValueA_ = GetField<int32_t>(head, 4);
  linkValueB_ = GetField<int32_t>(head, 8);
  socketValue_ = GetField<int32_t>(head, 12);
  port_ = GetField<int32_t>(head, 16);
  std::array<std::u16string, 3> texts;
  for (auto& text : texts) {
    if (Failed(ReadStreamText(stream, &text))) return E_FAIL;
  }
  groupAddress_ = std::move(texts[0]);
  interfaceAddress_ = ApplyInterfaceAddress(texts[1], false);
  std::error_code ec;
  cacheFolder_ = std::filesystem::exists(std::filesystem::path(texts[2]), ec) ? std::move(texts[2]) : u"";
  dirty_ = false;
  return S_OK;
}

KivResult CRealTimeSettings::Save(IKivStream* stream, KivBool clearDirty) {
  if (!stream) return E_POINTER;
  std::array<uint8_t, 20> head{};
  PutField(head, 0, kRealTimeSettingsStreamVersion);
  PutField(head, 4, linkValueA_);
  PutField(head, 8, linkValueB_);
  PutField(head, 12, socketValue_);
  PutField(head, 16, port_);
  KivResult r = WriteStreamBytes(stream, head.data(), head.size());
  for (const auto* text : {&groupAddress_, &interfaceAddress_, &cacheFolder_}) {
    if (Succeeded(r)) r = WriteStreamText(stream, *text);
  }
  if (Failed(r)) return r;
  if (FromKivBool(clearDirty)) dirty_ = false;
  return S_OK;
}

KivResult CRealTimeSettings::GetSizeMax(uint64_t* size) {
  if (!size) return E_POINTER;
  *size = 20 + StreamTextSize(groupAddress_) + StreamTextSize(interfaceAddress_) + StreamTextSize(cacheFolder_);
  return S_OK;
}

KivResult CRealTimeSettings::InitNew() {
  Reset();
  dirty_ = true;
  return S_OK;
}

}  // namespace velmar
