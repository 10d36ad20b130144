// The classes a host creates by identity, and the one call that makes them.
//
//   ComPtr<IKivVelmar> root;
//   KivResult r = KivCreateInstance(CLSID_KivVelmar, IKivVelmar::iid, root.PutVoid());
//
// The library's own classes and its built-in sources (text, native store)
// join the process-wide class table on the first call of KivCreateInstance
// or KivRegisterBuiltInClasses, once, from whichever thread comes first; a
// host registers nothing by hand. Objects live on the thread that makes them
// (the client thread, see client_thread.h).
//
// The table, in order (program ids are "KivVelmar.<word>.1", and the
// version-independent "KivVelmar.<word>"):
//
//   Velmar                        the root (velmar.h)
//   OutingFactory                 opens and creates outings (outing_factory.h)
//   TimeRegionNavigator           walks regions across selections
//   LapFinder                     laps of an outing (time_regions.h)
//   OutingFinder                  one region per outing
//   SegmentFinder                 passages through the circuit's segments
//   GlobalTimeFinder              outings aligned on the global clock
//   ChannelPropertyFactoryHelper  imports a native store's channel properties
//   EventPropertyFactoryHelper    imports a native store's event properties
//
// A class of the table that this build cannot make yet answers
// CLASS_E_CLASSNOTAVAILABLE, as an identity the library does not know does.
#pragma once

#include <array>

#include "velmar/guid.h"
#include "velmar/outing_factory.h"
#include "velmar/result.h"
#include "velmar/unknown.h"
#include "velmar/velmar.h"

namespace velmar {

inline constexpr Guid CLSID_KivTimeRegionNavigator = Guid::Literal("{8ED92F81-193F-4E5C-9F99-FF94911E9D44}");
inline constexpr Guid CLSID_KivLapFinder = Guid::Literal("{018B5E4F-602B-4180-A80A-1793F53CC035}");
inline constexpr Guid CLSID_KivOutingFinder = Guid::Literal("{4EE5B43E-117B-11D5-B563-00D0B7C9376F}");
inline constexpr Guid CLSID_KivSegmentFinder = Guid::Literal("{0A5C88BD-EDD1-4E4D-A92B-4EEE71573106}");
inline constexpr Guid CLSID_KivGlobalTimeFinder = Guid::Literal("{9588DA75-1FAD-40B7-9328-097C53045624}");
inline constexpr Guid CLSID_KivChannelPropertyFactoryHelper =
    Guid::Literal("{61FB1E13-0F70-4579-A65E-1AA8290F7CAA}");
inline constexpr Guid CLSID_KivEventPropertyFactoryHelper =
    Guid::Literal("{2C434636-F9A0-4884-B820-4024AA22355C}");

// The type library's identity.
inline constexpr Guid LIBID_KivVelmar = Guid::Literal("{826F39D7-4C97-471A-B443-1BC85847BEBF}");

// One row of the class table.
struct KivClassRow {
  Guid clsid;
  const char16_t* word;  // "Velmar", "OutingFactory"...
};

inline constexpr std::array<KivClassRow, 9> kKivClassTable{{
    {CLSID_KivVelmar, u"Velmar"},
    {CLSID_KivOutingFactory, u"OutingFactory"},
    {CLSID_KivTimeRegionNavigator, u"TimeRegionNavigator"},
    {CLSID_KivLapFinder, u"LapFinder"},
    {CLSID_KivOutingFinder, u"OutingFinder"},
    {CLSID_KivSegmentFinder, u"SegmentFinder"},
    {CLSID_KivGlobalTimeFinder, u"GlobalTimeFinder"},
    {CLSID_KivChannelPropertyFactoryHelper, u"ChannelPropertyFactoryHelper"},
    {CLSID_KivEventPropertyFactoryHelper, u"EventPropertyFactoryHelper"},
}};

// Puts the library's classes and sources into the process-wide table: the
// first call does the work, later ones (from any thread) wait for it and
// give its result.
[[nodiscard]] KivResult KivRegisterBuiltInClasses();

// Makes an object of class `clsid` and asks it for `iid`, registering the
// built-in classes first. E_POINTER for a null `out`;
// CLASS_E_CLASSNOTAVAILABLE for a class the library cannot make;
// E_NOINTERFACE when the object lacks `iid`; or the class's own failure.
[[nodiscard]] KivResult KivCreateInstance(const Guid& clsid, const Guid& iid, void** out);

template <class T>
[[nodiscard]] KivResult KivCreateInstance(const Guid& clsid, ComPtr<T>* out) {
  if (!out) return E_POINTER;
  return KivCreateInstance(clsid, T::iid, out->PutVoid());
}

}  // namespace velmar
