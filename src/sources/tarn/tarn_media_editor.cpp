#include "sources/tarn/tarn_media_editor.h"

#include "platform/async/dispatcher.h"
#include "sources/tarn/tarn_media_steps.h"
#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {
namespace {

KivResult Queue(CTarnOutingCache* cache, CWBTarnMediaChannelSM::MakeJob make) {
  if (!cache || !cache->transaction()) return E_FAIL;
  return cache->transaction()->AddWriteBackStep(
      MakeKiv<CWBTarnMediaChannelSM>(cache->media_write_back(), std::move(make)));
}

// Posts an add's percentages to the client thread, where the transaction's
// owner hears them. The commit holds the cache until the job has come back,
// and the posts come back before it, so the plain pointer stays good.
std::function<void(uint32_t)> ProgressPoster(CTarnOutingCache* cache) {
  Dispatcher::Target client = Dispatcher::CurrentTarget();
  return [client, cache](uint32_t percent) {
    (void)client.Post([cache, percent] { cache->NotifyTransactionProgress(100, percent); });
  };
}

}  // namespace

KivResult CMediaChannelEditorBase::AddMediaChannel(const std::u16string& name, const std::u16string& sourceFile,
                                                   const std::u16string& folder, KivTime start, KivTime end,
                                                   KivBool move) {
  if (name.empty() || sourceFile.empty() || folder.empty()) return E_INVALIDARG;
  CTarnOutingCache* cache = MediaEditCache();
  MediaChannelAddition add{name, sourceFile, folder, start, end, FromKivBool(move)};
  auto progress = ProgressPoster(cache);
  return Queue(cache, [add, progress](CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access) {
    return ComPtr<CWriteBackJobItem>(MakeKiv<CWBTarnAddMediaChannelJobItem>(owner, std::move(access), add, progress));
  });
}

KivResult CMediaChannelEditorBase::ModifyMediaChannel(const std::u16string& name, KivTime start, KivTime end) {
  if (name.empty()) return E_INVALIDARG;
  return Queue(MediaEditCache(), [name, start, end](CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> a) {
    return ComPtr<CWriteBackJobItem>(MakeKiv<CWBTarnModifyMediaChannelJobItem>(owner, std::move(a), name, start, end));
  });
}

KivResult CMediaChannelEditorBase::RemoveMediaChannel(const std::u16string& name) {
  if (name.empty()) return E_INVALIDARG;
  return Queue(MediaEditCache(), [name](CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access) {
    return ComPtr<CWriteBackJobItem>(MakeKiv<CWBTarnRemoveMediaChannelJobItem>(owner, std::move(access), name));
  });
}

}  // namespace velmar
