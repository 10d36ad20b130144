#include "tasks/media_channel_proxy.h"

namespace velmar {

void CMediaChannelProxy::ReadOffset() { binding_.Bind(QueryAs<IKivDataSelection>(selection()).Get()); }

void CMediaChannelProxy::DistanceChanged() {
  if (owner() && owner()->closing()) return;
  SetStatusRange(DataStatus::kUnknown, kTimeMin, kTimeMax);
}

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
  if (FromKivBool(adjustForDistance)) {
    DistanceRequest request;
    const KivResult r = binding_.Request(&request);
    if (r != S_FALSE) return Failed(r) ? r : spanned->CreatePlayerByDistance(request, player);
  }
  return spanned->CreatePlayerOver(start, end, adjustForDistance, player);
}

KivResult CMediaChannelProxy::GetDiagnostics(KivBool adjustForDistance, std::u16string* text) {
  if (!text) return E_POINTER;
  if (!real()) return KIV_E_PENDING;
  auto spanned = QueryAs<IKivSpanMediaChannel>(real());
  KivTime start = 0, end = 0;
  if (spanned && Span(&start, &end)) {
    if (FromKivBool(adjustForDistance)) {
      DistanceRequest request;
      const KivResult r = binding_.Request(&request);
      if (r != S_FALSE) return Failed(r) ? r : spanned->DiagnosticsByDistance(request, text);
    }
    return spanned->DiagnosticsOver(start, end, adjustForDistance, text);
  }
  auto diagnostic = QueryAs<IKivMediaChannelDiagnostic>(real());
  return diagnostic ? diagnostic->GetDiagnostics(adjustForDistance, text) : E_FAIL;
}

}  // namespace velmar
