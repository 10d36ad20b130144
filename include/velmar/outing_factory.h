// The outing factory: the one way in to outings. It turns a type (the GUID
// of a row of its type table, or one an add-in factory knows) and a list of
// paths into outing objects, and keeps the machine-wide fast-lap settings.
//
// Arrays in: a Variant of kind kArray, one element per path (or class id),
// each a text; an empty element stands for a null text. An element that is
// itself an array makes the array more than one-dimensional: E_INVALIDARG.
// Arrays out: one outing per path, null where that path failed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/guid.h"
#include "velmar/outing.h"
#include "velmar/types.h"
#include "velmar/unknown.h"
#include "velmar/variant.h"

namespace velmar {

inline constexpr Guid CLSID_KivOutingFactory = Guid::Literal("{622E8A36-DCA2-41A9-ADD4-87CB0B9A5B5E}");
inline constexpr char16_t kOutingFactoryProgId[] = u"KivVelmar.OutingFactory.1";
// The component category of add-in outing factories.
inline constexpr Guid CATID_KivOutingFactories = Guid::Literal("{552A5EDD-3DA7-4A69-BB5B-BE9D753C671D}");

// The type GUIDs of the built-in sources.
inline constexpr Guid kTarnOutingTypeId = Guid::Literal("{9EC637DD-9F67-4e6a-A264-6BEE79750B56}");
inline constexpr Guid kMatFileOutingTypeId = Guid::Literal("{F44BF473-A14F-44c7-B9A0-EDD2DBDABCA7}");
inline constexpr Guid kTextOutingTypeId = Guid::Literal("{3F4B8C0F-F636-4c4b-A8B3-98BF06470C97}");
inline constexpr Guid kRealTimeOutingTypeId = Guid::Literal("{3898D9FF-9D2D-4298-902D-03EFBAE85C9D}");
inline constexpr Guid kSpreadsheetOutingTypeId = Guid::Literal("{53B7194B-174E-42f4-9EE6-C6CDCF8BDED4}");

// One type as a client sees it.
struct OutingTypeRecord {
  std::u16string extension;  // the main extension, without a dot; may be empty
  std::u16string label;      // "ASCII Dataset"...
  std::u16string typeId;     // braced upper-case GUID text
  friend bool operator==(const OutingTypeRecord&, const OutingTypeRecord&) = default;
};
using OutingTypeList = std::vector<OutingTypeRecord>;
using OutingList = std::vector<ComPtr<IKivOuting>>;

// A Variant array of texts, for the `paths` and `classIds` arguments.
inline Variant MakeTextArray(const std::vector<std::u16string>& texts) {
  std::vector<Variant> elements;
  elements.reserve(texts.size());
  for (const std::u16string& text : texts) elements.push_back(Variant::Text(text));
  return Variant::Array(std::move(elements));
}

// The old entry, by row number.
struct IKivOutingFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{01CCF8D9-4BF6-4EC8-9E03-51B801713D20}");
  // `typeIndex` 1 to 4, else E_INVALIDARG; then CreateEx(create, false, that row's type, ...).
  virtual KivResult CreateOutings(KivBool create, int32_t typeIndex, const Variant* paths, OutingList* outings) = 0;
};

struct IKivNewOutingFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{6179BD6A-1E96-42FC-998E-D1D6C94DE84D}");
  // CreateEx with overrideProperties false.
  virtual KivResult Create(KivBool create, const std::u16string& typeId, const Variant* paths,
                           OutingList* outings) = 0;
  // The file types, text first, then the add-ins' types.
  virtual KivResult GetTypes(OutingTypeList* types) = 0;
};

struct IKivNewOutingFactory2 : IKivNewOutingFactory {
  static constexpr Guid iid = Guid::Literal("{9FB7E041-5FBC-4816-B31A-FCA9632E6FA0}");
  using Parent = IKivNewOutingFactory;
  // The stored value; false when none is stored.
  virtual KivResult GetFastLapFilterEnabled(KivBool* enabled) = 0;
  // Stores the value and hands it to every cache and add-in factory.
  virtual KivResult SetFastLapFilterEnabled(KivBool enabled) = 0;
  // The stored value; 5 seconds when none is stored.
  virtual KivResult GetFastLapMinimumTime(KivTime* minimum) = 0;
  virtual KivResult SetFastLapMinimumTime(KivTime minimum) = 0;
};

struct IKivNewOutingFactory3 : IKivNewOutingFactory2 {
  static constexpr Guid iid = Guid::Literal("{948B1828-80C5-4971-B280-F9D4F7DF3555}");
  using Parent = IKivNewOutingFactory2;
  // One outing per path; for a path with no file, `create` makes a new data
  // set, otherwise the path gets an empty outing (type 0). S_OK when some
  // path was present, S_FALSE when none was, or the last path's failure.
  virtual KivResult CreateEx(KivBool create, KivBool overrideProperties, const std::u16string& typeId,
                             const Variant* paths, OutingList* outings) = 0;
};

struct IKivNewOutingFactory4 : IKivNewOutingFactory3 {
  static constexpr Guid iid = Guid::Literal("{83FAF09A-BB26-4349-86F4-F1C67026EBE1}");
  using Parent = IKivNewOutingFactory3;
  // The order in which add-in factories are asked, as class id texts. Only
  // before the list was needed: E_FAIL afterwards.
  virtual KivResult SetAddInOrder(const Variant* classIds) = 0;
};

struct IKivNewOutingFactory5 : IKivNewOutingFactory4 {
  static constexpr Guid iid = Guid::Literal("{BAC5E19F-A7A0-4F6F-9390-9FA27871ADFD}");
  using Parent = IKivNewOutingFactory4;
  virtual KivResult IsRealTimeType(const std::u16string& typeId, KivBool* realTime) = 0;
  // Only the built-in types; add-ins are not asked.
  virtual KivResult SupportsType(const std::u16string& typeId, KivBool* supported) = 0;
};

}  // namespace velmar
