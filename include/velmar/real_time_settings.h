// Where and how a real-time outing listens. The stream fields live in the
// settings file; the cache sizes are the user's, in the registry
// ("SOFTWARE\Halvane\Kivara\Real-time Settings"), read on every get and
// written at once.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/guid.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// Setters of the stream fields compare first (texts case sensitively) and
// change nothing when equal; otherwise every listener hears
// RealTimeSettingsChanged.
struct IKivRealTimeSettings : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5CFE85C3-D509-4A4F-8280-1D386302FC61}");
  virtual KivResult GetLinkValueA(int32_t* value) = 0;
  // Below 1: E_FAIL.
  virtual KivResult SetLinkValueA(int32_t value) = 0;
  virtual KivResult GetLinkValueB(int32_t* value) = 0;
  virtual KivResult SetLinkValueB(int32_t value) = 0;
  virtual KivResult GetSocketValue(int32_t* value) = 0;
  // Below 1: E_FAIL.
  virtual KivResult SetSocketValue(int32_t value) = 0;
  // E_FAIL on an empty text.
  virtual KivResult GetGroupAddress(std::u16string* address) = 0;
  virtual KivResult SetGroupAddress(const std::u16string& address) = 0;
  virtual KivResult GetPort(int32_t* port) = 0;
  virtual KivResult SetPort(int32_t port) = 0;
  // "0.0.0.0" is answered with this machine's first address.
  virtual KivResult GetInterfaceAddress(std::u16string* address) = 0;
  virtual KivResult SetInterfaceAddress(const std::u16string& address) = 0;
  // An empty folder is answered with the system's temporary folder.
  virtual KivResult GetCacheFolder(std::u16string* folder) = 0;
  virtual KivResult SetCacheFolder(const std::u16string& folder) = 0;
};

// The registry-backed values. Setters write even an unchanged value and then
// tell the listeners; a key or value that can't be written gives E_FAIL and
// tells nobody.
struct IKivRealTimeSettings2 : IKivRealTimeSettings {
  static constexpr Guid iid = Guid::Literal("{E11CACC8-FF2A-4613-ABEB-EE543AB66F99}");
  using Parent = IKivRealTimeSettings;
  virtual KivResult GetFixedCacheSize(KivBool* fixed) = 0;
  virtual KivResult SetFixedCacheSize(KivBool fixed) = 0;
  virtual KivResult GetMaximumCacheSize(uint32_t* size) = 0;
  // Below 2: E_INVALIDARG.
  virtual KivResult SetMaximumCacheSize(uint32_t size) = 0;
};

struct IKivRealTimeSettings3 : IKivRealTimeSettings2 {
  static constexpr Guid iid = Guid::Literal("{40B86BA4-5FBD-457A-BD9F-0710642E64D6}");
  using Parent = IKivRealTimeSettings2;
  virtual KivResult GetReceiveBufferSize(uint32_t* size) = 0;
  // Outside 1 to 100: E_INVALIDARG.
  virtual KivResult SetReceiveBufferSize(uint32_t size) = 0;
};

}  // namespace velmar
