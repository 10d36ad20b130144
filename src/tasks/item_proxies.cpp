#include "tasks/item_proxies.h"

#include "media/media_channel_player.h"
#include "velmar/data_selection.h"

namespace velmar {

bool CMediaChannelProxy::Span(KivTime* start, KivTime* end) const {
  auto selection = QueryAs<IKivDataSelection>(this->selection());
  return selection && Succeeded(selection->GetStartTime(start)) && Succeeded(selection->GetEndTime(end));
}

KivResult CMediaChannelProxy::CreateClipPlayer(void* window, KivBool adjustForDistance, IKivClipPlayer** player) {
  if (!player) return E_POINTER;
  *player = nullptr;
  if (!real()) return KIV_E_PENDING;
  auto spanned = QueryAs<IKivSpanMediaChannel>(real());
  KivTime start = 0, end = 0;
  if (!spanned || !Span(&start, &end)) return real()->CreateClipPlayer(window, adjustForDistance, player);
  return spanned->CreatePlayerOver(start, end, adjustForDistance, player);
}

KivResult CMediaChannelProxy::GetDiagnostics(KivBool adjustForDistance, std::u16string* text) {
  if (!text) return E_POINTER;
  if (!real()) return KIV_E_PENDING;
  auto spanned = QueryAs<IKivSpanMediaChannel>(real());
  KivTime start = 0, end = 0;
  if (spanned && Span(&start, &end)) return spanned->DiagnosticsOver(start, end, adjustForDistance, text);
  auto diagnostic = QueryAs<IKivMediaChannelDiagnostic>(real());
  return diagnostic ? diagnostic->GetDiagnostics(adjustForDistance, text) : E_FAIL;
}

}  // namespace velmar
