#include "outing/blocks/data_block.h"

#include "outing/time/time.h"

namespace velmar {

bool OffsetFits(KivTime first, KivTime last, KivTime offset) {
  auto a = CheckedAddTicks(first, offset);
  auto b = CheckedAddTicks(last, offset);
  return a && b && !IsUnboundedTime(*a) && !IsUnboundedTime(*b);
}

KivResult IKivDataBlockImplBase::GetContinuous(KivBool* continuous) {
  if (!continuous) return E_POINTER;
  *continuous = ToKivBool(continuous_);
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetPeriodic(KivBool* periodic) {
  if (!periodic) return E_POINTER;
  *periodic = ToKivBool(IsPeriodic());
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetStartTime(KivTime* start) {
  if (!start) return E_POINTER;
  *start = StartTime();
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetEndTime(KivTime* end) {
  if (!end) return E_POINTER;
  *end = EndTime();
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetInterval(KivTime* interval) {
  if (!interval) return E_POINTER;
  *interval = GetIntervalReference();
  return IsPeriodic() ? S_OK : E_UNEXPECTED;
}

KivResult IKivDataBlockImplBase::GetTimes(std::vector<KivTime>* times) {
  if (!times) return E_POINTER;
  std::span<const KivTime> t;
  if (KivResult r = TimesArray(&t); Failed(r)) return r;
  times->assign(t.begin(), t.end());
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetTimesReference(std::span<const KivTime>* times) {
  if (!times) return E_POINTER;
  return TimesArray(times);
}

KivResult IKivDataBlockImplBase::GetValues(std::vector<double>* values) {
  if (!values) return E_POINTER;
  std::span<const double> v;
  if (KivResult r = ValuesArray(true, &v); Failed(r)) return r;
  values->assign(v.begin(), v.end());
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetValuesReference(std::span<const double>* values) {
  if (!values) return E_POINTER;
  return ValuesArray(true, values);
}

KivResult IKivDataBlockImplBase::SetTimeOffset(KivTime offset) {
  if (offset == timeOffset_) return S_OK;
  if (!OffsetFits(firstTime_, lastTime_, offset)) return E_INVALIDARG;
  if (KivResult r = ApplyOffset(timeOffset_, offset); Failed(r)) return r;
  timeOffset_ = offset;
  return S_OK;
}

KivResult IKivDataBlockImplBase::Place(uint32_t blockIndex, KivTime timeOffset, bool continuous) {
  if (KivResult r = SetTimeOffset(timeOffset); Failed(r)) return r;
  blockIndex_ = blockIndex;
  continuous_ = continuous;
  return S_OK;
}

KivResult IKivDataBlockImplBase::GetSample(uint32_t index, KivTime* time, double* value) {
  if (!time || !value) return E_POINTER;
  std::span<const double> v;
  if (KivResult r = ValuesArray(true, &v); Failed(r)) return r;
  if (index >= v.size()) return E_FAIL;
  if (KivResult r = GetTimeAt(index, time); Failed(r)) return r;
  *value = v[index];
  return S_OK;
}

}  // namespace velmar

namespace velmar {

KivTime CrossingTime(KivTime t0, KivTime t1, double va, double vb, double value) {
  const double span = static_cast<double>(t1 - t0);
  const double step = (value - va) * span / (vb - va) + 0.5;
  if (!(step >= 0.0)) return t0;  // also NaN
  if (step >= span) return t1;
  return t0 + static_cast<KivTime>(step);
}

double LinearValue(KivTime t0, KivTime t1, double va, double vb, KivTime t) {
  if (t1 == t0) return va;
  return va + (vb - va) * static_cast<double>(t - t0) / static_cast<double>(t1 - t0);
}

}  // namespace velmar
