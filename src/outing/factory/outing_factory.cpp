#include "outing/factory/outing_factory.h"

#include <filesystem>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include "outing/cache/empty_outing.h"
#include "outing/laps/fast_lap_registry.h"
#include "outing/cache/outing_source.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// The sources, in table order, whose caches take the fast-lap settings.
template <class Fn>
void ForEachSource(Fn&& fn) {
  for (OutingType type : {OutingType::kTarn, OutingType::kMatFile, OutingType::kText, OutingType::kRealTime,
                          OutingType::kSpreadsheet}) {
    if (std::shared_ptr<IOutingSource> source = FindOutingSource(type)) fn(*source);
  }
}

// Whether anything is at `path`, by a query of its attributes.
bool FileExists(const std::u16string& path) {
  std::error_code ec;
  const std::filesystem::file_status status = std::filesystem::status(WideToUtf8(path), ec);
  return !ec && std::filesystem::exists(status);
}

// The empty outing of a path. E_OUTOFMEMORY when it cannot be made.
KivResult OpenEmpty(const std::optional<std::u16string>& path, const Guid& type, bool overrideProperties,
                    ComPtr<IKivOuting>* outing) {
  if (!path) return E_OUTOFMEMORY;
  IKivOuting* made = nullptr;
  if (Failed(OpenEmptyOuting(*path, type, overrideProperties, &made))) return E_OUTOFMEMORY;
  *outing = ComPtr<IKivOuting>::Adopt(made);
  return S_OK;
}

// Every null element gets the empty outing of its path. S_FALSE, or
// E_OUTOFMEMORY when the last element stays null.
KivResult FillWithEmptyOutings(const TextArray& paths, const Guid& type, bool overrideProperties,
                               OutingList* outings) {
  outings->resize(paths.size());
  KivResult last = S_FALSE;
  for (size_t i = 0; i < paths.size(); ++i) {
    last = S_FALSE;
    if (!(*outings)[i] && Failed(OpenEmpty(paths[i], type, overrideProperties, &(*outings)[i]))) last = E_OUTOFMEMORY;
  }
  return last;
}

// An add-in takes the stored settings before it makes outings.
void PassStoredFastLap(IKivNewOutingFactory2& factory) {
  const FastLapSettings settings = ReadFastLapSettings();
  (void)factory.SetFastLapFilterEnabled(ToKivBool(settings.filterEnabled));
  (void)factory.SetFastLapMinimumTime(settings.minimumTime);
}

// The newest creation an add-in offers; the caller's overrideProperties is
// not passed on.
KivResult CreateWithAddIn(IKivNewOutingFactory& factory, bool create, const std::u16string& typeId,
                          const Variant& paths, OutingList* outings) {
  if (ComPtr<IKivNewOutingFactory3> third = QueryAs<IKivNewOutingFactory3>(&factory)) {
    PassStoredFastLap(*third);
    return third->CreateEx(ToKivBool(create), KIV_FALSE, typeId, &paths, outings);
  }
  if (ComPtr<IKivNewOutingFactory2> second = QueryAs<IKivNewOutingFactory2>(&factory)) PassStoredFastLap(*second);
  return factory.Create(ToKivBool(create), typeId, &paths, outings);
}

}  // namespace

COutingFactory::COutingFactory(COutingFactoryAddIns& addIns) : addIns_(addIns) {
  const FastLapSettings stored = ReadFastLapSettings();
  ForEachSource([&](IOutingSource& source) {
    source.SetFastLapFilter(stored.filterEnabled);
    source.SetFastLapMinimumTime(stored.minimumTime);
  });
}

KivResult COutingFactory::CreateOutings(KivBool create, int32_t typeIndex, const Variant* paths,
                                        OutingList* outings) {
  if (typeIndex < 1 || typeIndex > 4) return E_INVALIDARG;
  const OutingTypeRow& row = OutingTypeRowOf(static_cast<OutingType>(typeIndex));
  return CreateEx(create, KIV_FALSE, row.typeId.ToWide(), paths, outings);
}

KivResult COutingFactory::Create(KivBool create, const std::u16string& typeId, const Variant* paths,
                                 OutingList* outings) {
  return CreateEx(create, KIV_FALSE, typeId, paths, outings);
}

KivResult COutingFactory::CreateEx(KivBool create, KivBool overrideProperties, const std::u16string& typeId,
                                   const Variant* paths, OutingList* outings) {
  if (!paths || !outings) return E_POINTER;
  const std::optional<Guid> type = Guid::Parse(typeId);
  if (!type) return E_INVALIDARG;
  try {
    TextArray texts;
    if (!ReadTextArray(*paths, &texts)) return E_INVALIDARG;
    const OutingTypeRow& row = FindOutingTypeRow(*type);
    if (!row.known()) {
      return CreateByAddIn(FromKivBool(create), FromKivBool(overrideProperties), typeId, *type, *paths, texts,
                           outings);
    }
    return CreateBuiltIn(row, FromKivBool(create), FromKivBool(overrideProperties), texts, outings);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult COutingFactory::CreateBuiltIn(const OutingTypeRow& row, bool create, bool overrideProperties,
                                        const TextArray& paths, OutingList* outings) {
  OutingList made(paths.size());
  bool anyPresent = false;
  KivResult last = S_OK;
  for (size_t i = 0; i < paths.size(); ++i) {
    bool present = false;
    last = OpenPath(row, create, overrideProperties, paths[i], &made[i], &present);
    anyPresent = anyPresent || present;
  }
  *outings = std::move(made);
  if (Failed(last)) return last;
  return anyPresent ? S_OK : S_FALSE;
}

KivResult COutingFactory::OpenPath(const OutingTypeRow& row, bool create, bool overrideProperties,
                                   const std::optional<std::u16string>& path, ComPtr<IKivOuting>* outing,
                                   bool* present) {
  // A type whose source is not there cannot make its outing object, nor can
  // a null path: both fail as an object that cannot be made.
  const std::shared_ptr<IOutingSource> source = FindOutingSource(row.type);
  if (!source || !path) return E_OUTOFMEMORY;
  OpenedOuting opened;
  if (Failed(source->Open(*path, row.typeId, overrideProperties, &opened))) return E_OUTOFMEMORY;
  // A stream address has no file to look for; a missing file may be made.
  if (row.realTime || FileExists(*path) || (create && opened.cache->CreateDataSet())) {
    *present = true;
    *outing = std::move(opened.outing);
    return S_OK;
  }
  opened = {};  // the outing goes, and its cache with it when nobody else holds it
  return OpenEmpty(path, row.typeId, overrideProperties, outing);
}

KivResult COutingFactory::CreateByAddIn(bool create, bool overrideProperties, const std::u16string& typeId,
                                        const Guid& type, const Variant& paths, const TextArray& texts,
                                        OutingList* outings) {
  KivResult taken = E_FAIL;
  OutingList made;
  addIns_.ForEachFactory([&](IKivNewOutingFactory& factory) {
    made.clear();
    taken = CreateWithAddIn(factory, create, typeId, paths, &made);
    return Succeeded(taken);
  });
  if (Succeeded(taken) && taken != S_FALSE) {
    *outings = std::move(made);
    return taken;
  }
  // S_FALSE from an add-in keeps what it made; nobody taking it keeps nothing.
  if (Failed(taken)) made.clear();
  const KivResult filled = FillWithEmptyOutings(texts, type, overrideProperties, &made);
  *outings = std::move(made);
  return filled;
}

KivResult COutingFactory::GetTypes(OutingTypeList* types) {
  if (!types) return E_POINTER;
  return addIns_.GetTypes(types);
}

KivResult COutingFactory::GetFastLapFilterEnabled(KivBool* enabled) {
  if (!enabled) return E_POINTER;
  *enabled = ToKivBool(ReadFastLapFilterEnabled());
  return S_OK;
}

KivResult COutingFactory::SetFastLapFilterEnabled(KivBool enabled) {
  const bool value = FromKivBool(enabled);
  (void)WriteFastLapFilterEnabled(value);  // a registry that cannot be written keeps the old value
  ForEachSource([&](IOutingSource& source) { source.SetFastLapFilter(value); });
  addIns_.ForEachFactory([&](IKivNewOutingFactory& factory) {
    if (auto second = QueryAs<IKivNewOutingFactory2>(&factory)) (void)second->SetFastLapFilterEnabled(ToKivBool(value));
    return false;
  });
  return S_OK;
}

KivResult COutingFactory::GetFastLapMinimumTime(KivTime* minimum) {
  if (!minimum) return E_POINTER;
  *minimum = ReadFastLapMinimumTime();
  return S_OK;
}

KivResult COutingFactory::SetFastLapMinimumTime(KivTime minimum) {
  (void)WriteFastLapMinimumTime(minimum);
  ForEachSource([&](IOutingSource& source) { source.SetFastLapMinimumTime(minimum); });
  addIns_.ForEachFactory([&](IKivNewOutingFactory& factory) {
    if (auto second = QueryAs<IKivNewOutingFactory2>(&factory)) (void)second->SetFastLapMinimumTime(minimum);
    return false;
  });
  return S_OK;
}

KivResult COutingFactory::SetAddInOrder(const Variant* classIds) { return addIns_.SetOrder(classIds); }

KivResult COutingFactory::IsRealTimeType(const std::u16string& typeId, KivBool* realTime) {
  if (!realTime) return E_POINTER;
  *realTime = KIV_FALSE;
  const std::optional<Guid> type = Guid::Parse(typeId);
  if (!type) return E_INVALIDARG;
  const OutingTypeRow& row = FindOutingTypeRow(*type);
  if (row.known()) {
    *realTime = ToKivBool(row.realTime);
    return S_OK;
  }
  addIns_.ForEachFactory([&](IKivNewOutingFactory& factory) {
    ComPtr<IKivNewOutingFactory5> fifth = QueryAs<IKivNewOutingFactory5>(&factory);
    KivBool supported = KIV_FALSE;
    if (!fifth || Failed(fifth->SupportsType(typeId, &supported)) || !FromKivBool(supported)) return false;
    KivBool theirs = KIV_FALSE;
    if (Succeeded(fifth->IsRealTimeType(typeId, &theirs))) *realTime = ToKivBool(FromKivBool(theirs));
    return true;
  });
  return S_OK;
}

KivResult COutingFactory::SupportsType(const std::u16string& typeId, KivBool* supported) {
  if (!supported) return E_POINTER;
  *supported = KIV_FALSE;
  const std::optional<Guid> type = Guid::Parse(typeId);
  if (!type) return E_INVALIDARG;
  *supported = ToKivBool(FindOutingTypeRow(*type).known());
  return S_OK;
}

KivResult CreateOutingFactory(IKivUnknown** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    ComPtr<COutingFactory> factory = MakeKiv<COutingFactory>();
    return GiveOut(factory->PrimaryUnknown(), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult RegisterOutingFactoryClass(ClassRegistry& registry) {
  ClassRegistry::ClassInfo info;
  info.clsid = CLSID_KivOutingFactory;
  info.prog_id = kOutingFactoryProgId;
  info.display_name = u"OutingFactory";
  info.create = &CreateOutingFactory;
  return registry.Register(std::move(info));
}

}  // namespace velmar
