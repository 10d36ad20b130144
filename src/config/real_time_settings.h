// CRealTimeSettings: where and how a real-time outing listens. The stream
// fields are kept here and written by the root ("RealTime Settings") when
// the change callback tells it; the cache sizes live in the user's registry.
//
// Client thread only; registry access takes no lock and the last writer wins.
#pragma once

#include <cstdint>
#include <string>

#include "core/velmar_parts.h"
#include "velmar/persist.h"
#include "velmar/real_time_settings.h"

namespace velmar {

inline constexpr char16_t kRealTimeSettingsKey[] = u"SOFTWARE\\Halvane\\Kivara\\Real-time Settings";

// The first IPv4 address of this machine that equals `address`, else the
// first one it has; `address` itself when the machine's addresses can't be
// had. "0.0.0.0" stays unless `force` is set.
std::u16string ApplyInterfaceAddress(const std::u16string& address, bool force);

// The "RealTime Settings" stream: version (u32, 1), linkValueA, linkValueB,
// socketValue, port (i32 each), then groupAddress, interfaceAddress and
// cacheFolder as settings texts; little-endian.
inline constexpr uint32_t kRealTimeSettingsStreamVersion = 1;
inline constexpr char16_t kRealTimeSettingsStream[] = u"RealTime Settings";

class CRealTimeSettings final
    : public KivObject<IKivRealTimeSettings3, IKivRealTimeSettingsInternal, IKivPersistStream> {
 public:
  // The stream fields at their defaults.
  void Reset();

  KivResult GetLinkValueA(int32_t* value) override;
  KivResult SetLinkValueA(int32_t value) override;
  KivResult GetLinkValueB(int32_t* value) override;
  KivResult SetLinkValueB(int32_t value) override;
  KivResult GetSocketValue(int32_t* value) override;
  KivResult SetSocketValue(int32_t value) override;
  KivResult GetGroupAddress(std::u16string* address) override;
  KivResult SetGroupAddress(const std::u16string& address) override;
  KivResult GetPort(int32_t* port) override;
  KivResult SetPort(int32_t port) override;
  KivResult GetInterfaceAddress(std::u16string* address) override;
  KivResult SetInterfaceAddress(const std::u16string& address) override;
  KivResult GetCacheFolder(std::u16string* folder) override;
  KivResult SetCacheFolder(const std::u16string& folder) override;
  KivResult GetFixedCacheSize(KivBool* fixed) override;
  KivResult SetFixedCacheSize(KivBool fixed) override;
  KivResult GetMaximumCacheSize(uint32_t* size) override;
  KivResult SetMaximumCacheSize(uint32_t size) override;
  KivResult GetReceiveBufferSize(uint32_t* size) override;
  KivResult SetReceiveBufferSize(uint32_t size) override;

  KivResult SetChangeCallback(CRealTimeSettingsChanges* changes) override;

  // IKivPersistStream over the stream fields. Load takes the numbers only
  // when the 20-byte head reads whole with version 1, and the texts only
  // when all three read; the interface address is matched against this
  // machine's and a cache folder that no longer exists is dropped. Load and
  // InitNew tell nobody: the root is the one loading.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult Load(IKivStream* stream) override;
  KivResult Save(IKivStream* stream, KivBool clearDirty) override;
  KivResult GetSizeMax(uint64_t* size) override;
  KivResult InitNew() override;

 private:
  template <class T>
  KivResult Store(T& field, const T& value);
  void Changed();
  // The stored number, or `fallback` when the key or value is missing.
  static uint32_t ReadRegistry(const char16_t* name, uint32_t fallback);
  KivResult WriteRegistry(const char16_t* name, uint32_t value);

  int32_t linkValueA_ = 200;
  int32_t linkValueB_ = 5000;
  int32_t socketValue_ = 1;
  int32_t port_ = 4567;
  std::u16string groupAddress_ = u"239.1.1.1";
  std::u16string interfaceAddress_ = u"0.0.0.0";
  std::u16string cacheFolder_;
  CRealTimeSettingsChanges* changes_ = nullptr;
  bool dirty_ = false;
};

}  // namespace velmar
