// The records object a read gives: an array of fixed-layout records and the
// storage of every text, array and GUID they point to.
//
// Thread-safety: filled by one thread, then only read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "velmar/tarn_store.h"

namespace velmar::store {

// Owns the pieces that records point to. Addresses stay fixed for the
// arena's life.
class RecordArena {
 public:
  // A copy of a zero-terminated text; null stays null.
  const char16_t* Text(const char16_t* text);
  const Guid* Id(const Guid& guid);
  // Uninitialised storage for `count` objects of a trivial type T.
  template <class T>
  T* Array(size_t count) {
    return reinterpret_cast<T*>(Allocate(count * sizeof(T)));
  }
  // A copy of `bytes`; null for none.
  const uint8_t* Bytes(std::span<const std::byte> bytes);
  // Takes over a filled vector without copying it.
  template <class T>
  const T* Adopt(std::vector<T>&& values) {
    auto held = std::make_shared<std::vector<T>>(std::move(values));
    adopted_.push_back(held);
    return held->data();
  }

 private:
  std::byte* Allocate(size_t size);
  std::vector<std::unique_ptr<std::byte[]>> pieces_;
  std::vector<std::shared_ptr<const void>> adopted_;
};

template <class Record>
class RecordsObject final : public KivObject<IKivTarnRecords<Record>> {
 public:
  KivResult GetRecords(uint32_t* count, const Record** records) override {
    if (!count || !records) return E_POINTER;
    *count = static_cast<uint32_t>(records_.size());
    *records = records_.empty() ? nullptr : records_.data();
    return S_OK;
  }

  // A zeroed record at the end of the array.
  Record& Add() {
    Record r;
    std::memset(&r, 0, sizeof r);
    return records_.emplace_back(r);
  }
  std::vector<Record>& records() { return records_; }
  RecordArena& arena() { return arena_; }

 private:
  std::vector<Record> records_;
  RecordArena arena_;
};

}  // namespace velmar::store
