#include "outing/cache/outing_source.h"

#include <array>
#include <cstddef>
#include <mutex>

namespace velmar {
namespace {

struct SourceTable {
  std::mutex mu;
  std::array<std::shared_ptr<IOutingSource>, 6> sources;  // GUARDED_BY(mu), by OutingType
};

SourceTable& Table() {
  // Never destroyed: caches still open at exit may outlive static destruction.
  static SourceTable* const table = new SourceTable();
  return *table;
}

bool IsSourceType(OutingType type) {
  const auto index = static_cast<size_t>(type);
  return index > 0 && index < Table().sources.size();
}

}  // namespace

KivResult RegisterOutingSource(OutingType type, std::shared_ptr<IOutingSource> source,
                               std::shared_ptr<IOutingSource>* previous) {
  if (!IsSourceType(type)) return E_INVALIDARG;
  SourceTable& table = Table();
  std::shared_ptr<IOutingSource> old;
  {
    std::lock_guard lock(table.mu);
    old = std::exchange(table.sources[static_cast<size_t>(type)], std::move(source));
  }
  if (previous) *previous = std::move(old);
  return S_OK;
}

std::shared_ptr<IOutingSource> FindOutingSource(OutingType type) {
  if (!IsSourceType(type)) return nullptr;
  SourceTable& table = Table();
  std::lock_guard lock(table.mu);
  return table.sources[static_cast<size_t>(type)];
}

ScopedOutingSource::ScopedOutingSource(OutingType type, std::shared_ptr<IOutingSource> source) : type_(type) {
  (void)RegisterOutingSource(type, std::move(source), &previous_);
}

ScopedOutingSource::~ScopedOutingSource() { (void)RegisterOutingSource(type_, std::move(previous_)); }

}  // namespace velmar
