// IKivMediaChannelFactory2 of a `.trn` outing: each edit checks its
// arguments, builds its step and queues it in the cache's transaction.
// Nothing reaches the file before the commit.
//
// Client thread only.
#pragma once

#include "velmar/media.h"

namespace velmar {

class CTarnOutingCache;

class CMediaChannelEditorBase : public IKivMediaChannelFactory2 {
 public:
  KivResult AddMediaChannel(const std::u16string& name, const std::u16string& sourceFile,
                            const std::u16string& folder, KivTime start, KivTime end, KivBool move) override;
  KivResult ModifyMediaChannel(const std::u16string& name, KivTime start, KivTime end) override;
  KivResult RemoveMediaChannel(const std::u16string& name) override;

 protected:
  ~CMediaChannelEditorBase() = default;
  // The outing's cache.
  virtual CTarnOutingCache* MediaEditCache() = 0;
};

}  // namespace velmar
