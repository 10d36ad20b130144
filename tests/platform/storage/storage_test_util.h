// Small helpers for storage tests: whole-stream reads and writes.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "velmar/storage.h"

namespace velmar::testing {

inline constexpr uint32_t kRW = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
inline constexpr uint32_t kRWT = kRW | STGM_TRANSACTED;

inline KivResult PutStream(IKivStorage* storage, std::u16string_view name,
                           const std::string& bytes) {
  ComPtr<IKivStream> s;
  KivResult r = storage->CreateStream(name, kRW | STGM_CREATE, s.Put());
  if (Failed(r)) return r;
  uint32_t written = 0;
  r = s->Write(bytes.data(), static_cast<uint32_t>(bytes.size()), &written);
  if (Succeeded(r) && written != bytes.size()) r = E_FAIL;
  return r;
}

// The whole stream, or "<error>" when it cannot be opened.
inline std::string GetStream(IKivStorage* storage, std::u16string_view name) {
  ComPtr<IKivStream> s;
  if (Failed(storage->OpenStream(name, kRW, s.Put()))) return "<error>";
  StatStg st;
  EXPECT_EQ(s->Stat(&st), S_OK);
  std::string bytes(st.size, '\0');
  uint32_t read = 0;
  EXPECT_EQ(s->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &read), S_OK);
  EXPECT_EQ(read, bytes.size());
  return bytes;
}

inline ComPtr<IKivStorage> SubStorage(IKivStorage* parent, std::u16string_view name,
                                      uint32_t mode = kRWT) {
  ComPtr<IKivStorage> sub;
  KivResult r = parent->OpenStorage(name, mode, sub.Put());
  if (r == STG_E_FILENOTFOUND) r = parent->CreateStorage(name, mode, sub.Put());
  EXPECT_EQ(r, S_OK);
  return sub;
}

// The class identity a storage holds.
inline Guid ClassOf(IKivStorage* storage) {
  Guid clsid;
  EXPECT_EQ(ReadClassStg(storage, &clsid), S_OK);
  return clsid;
}

// The elements a storage holds, in its order.
inline std::vector<StatStg> Elements(IKivStorage* storage) {
  std::vector<StatStg> elements;
  EXPECT_EQ(storage->EnumElements(&elements), S_OK);
  return elements;
}

inline std::vector<std::u16string> ElementNames(IKivStorage* storage) {
  std::vector<StatStg> elements;
  EXPECT_EQ(storage->EnumElements(&elements), S_OK);
  std::vector<std::u16string> names;
  for (const auto& e : elements) names.push_back(e.name);
  return names;
}

inline std::string FileBytes(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace velmar::testing
