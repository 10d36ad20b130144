// A fixed-length array of samples or times whose address never changes,
// shared by reference between a source's raw data and every block that reads
// it. Copying a LockedArray shares the elements; it never copies them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace velmar {

template <class T>
class LockedArray {
 public:
  LockedArray() = default;

  // `count` elements left uninitialised: fill them through Writable() before sharing.
  static LockedArray Uninitialized(size_t count) {
    LockedArray a;
    if (count == 0) return a;
    std::shared_ptr<T[]> elements(std::make_unique_for_overwrite<T[]>(count));
    a.writable_ = elements.get();
    a.data_ = std::move(elements);
    a.size_ = count;
    return a;
  }
  // Takes over a vector's elements without copying them.
  static LockedArray FromVector(std::vector<T> elements) {
    LockedArray a;
    if (elements.empty()) return a;
    auto holder = std::make_shared<std::vector<T>>(std::move(elements));
    a.size_ = holder->size();
    a.data_ = std::shared_ptr<const T[]>(holder, holder->data());
    return a;
  }
  static LockedArray Copy(std::span<const T> elements) {
    LockedArray a = Uninitialized(elements.size());
    std::copy(elements.begin(), elements.end(), a.writable_);
    return a;
  }
  // Refers to memory that `owner` keeps alive (a mapped file, a buffer of a
  // reader), without copying it.
  static LockedArray Borrow(std::span<const T> elements, std::shared_ptr<const void> owner) {
    LockedArray a;
    if (elements.empty()) return a;
    a.data_ = std::shared_ptr<const T[]>(std::move(owner), elements.data());
    a.size_ = elements.size();
    return a;
  }

  std::span<const T> view() const { return {data_.get(), size_}; }
  // The elements of an array made by Uninitialized, for its maker to fill
  // before sharing it; empty for any other array.
  std::span<T> Writable() { return writable_ ? std::span<T>(writable_, size_) : std::span<T>(); }
  const T* data() const { return data_.get(); }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  // How many holders share the elements (the maker counts as one).
  long use_count() const { return data_.use_count(); }

 private:
  std::shared_ptr<const T[]> data_;
  T* writable_ = nullptr;
  size_t size_ = 0;
};

}  // namespace velmar
