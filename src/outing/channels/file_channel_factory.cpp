#include "outing/channels/file_channel_factory.h"

#include "outing/channels/channel_header.h"
#include "velmar/velmar.h"

namespace velmar {

ComPtr<CFileChannel> MakeLoadedChannel(const std::u16string& name, std::u16string_view unitText, IKivUnknown* root,
                                       ComPtr<IKivSelectionRange> binding, ComPtr<CRawChannelSource> cache,
                                       ComPtr<IKivUnitTable>& unitTable, KivTime timeOffset) {
  if (!unitTable && Failed(CreateUnitsComponent(&unitTable))) unitTable = nullptr;
  ComPtr<IKivChannelPropertyFactory> properties;
  if (auto velmar = QueryAs<IKivVelmar>(root); !velmar || Failed(velmar->GetChannelPropertyFactory(properties.Put()))) {
    properties = nullptr;
  }
  // Written names carry "_" for blanks: the second lookup tries blanks.
  const HeaderChannel header = ResolveHeaderChannel(name, unitText, properties.Get(), unitTable.Get(), true);
  auto made = MakeKiv<CFileChannel>();
  made->Bind(name, header.key, std::move(binding), std::move(cache), header.unit, unitTable.As<IKivUnits>());
  if (timeOffset != 0) (void)made->SetTimeOffset(timeOffset);
  return made;
}

}  // namespace velmar
