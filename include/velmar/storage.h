// Structured storage: a tree of named storages and streams kept in a
// compound file (the CFB format, readable by standard tools), shaped like
// the platform's IStorage and IStream.
//
// A file is read whole when opened and written whole by Commit of the root:
// the new file is written beside the old one, synced and renamed over it,
// so a crash leaves the old file or the new one. Until then changes live in
// memory.
//
// Opening modes. A transacted storage (STGM_TRANSACTED) keeps its changes
// to itself until its Commit hands them to its parent (the root: writes the
// file); Revert drops them. A direct storage changes its parent at once
// (a direct root writes the file on Commit and when released). Streams are
// always direct inside their storage; their Commit and Revert do nothing.
// Every element opens exclusively: opening one that is already open gives
// STG_E_ACCESSDENIED. An element destroyed, or dropped by its parent's
// Revert, leaves its open objects answering STG_E_REVERTED. Open objects
// keep their parent alive.
//
// Names: 1 to 31 UTF-16 units, none of '/', '\\', ':', '!'; compared
// without regard to case, stored as given. Enumeration follows the
// compound file's order (shorter names first, then by letters).
//
// Thread-safety: none; one tree is used on one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "velmar/guid.h"
#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar {

// Mode flags, with the platform's values.
inline constexpr uint32_t STGM_READ = 0x00000000;
inline constexpr uint32_t STGM_WRITE = 0x00000001;
inline constexpr uint32_t STGM_READWRITE = 0x00000002;
inline constexpr uint32_t STGM_SHARE_EXCLUSIVE = 0x00000010;
inline constexpr uint32_t STGM_FAILIFTHERE = 0x00000000;
inline constexpr uint32_t STGM_CREATE = 0x00001000;
inline constexpr uint32_t STGM_DIRECT = 0x00000000;
inline constexpr uint32_t STGM_TRANSACTED = 0x00010000;

// Element types.
inline constexpr uint32_t STGTY_STORAGE = 1;
inline constexpr uint32_t STGTY_STREAM = 2;

// Seek origins.
inline constexpr uint32_t STREAM_SEEK_SET = 0;
inline constexpr uint32_t STREAM_SEEK_CUR = 1;
inline constexpr uint32_t STREAM_SEEK_END = 2;

// MoveElementTo flags.
inline constexpr uint32_t STGMOVE_MOVE = 0;
inline constexpr uint32_t STGMOVE_COPY = 1;

// Commit flags.
inline constexpr uint32_t STGC_DEFAULT = 0;

struct StatStg {
  std::u16string name;  // the root: its file path (empty in memory)
  uint32_t type = 0;    // STGTY_*
  uint64_t size = 0;    // streams: bytes
  uint32_t mode = 0;    // the mode it was opened with (open elements)
  Guid clsid;           // storages: class identity
};

struct IKivStream : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{1C8E3968-BC31-4BAB-8EB1-E3CEE42B105A}");
  // Reads up to `count` bytes at the seek position. S_FALSE when fewer were
  // there; `read` may be null.
  virtual KivResult Read(void* buffer, uint32_t count, uint32_t* read) = 0;
  // Writes at the seek position, growing the stream (a gap reads as zero).
  virtual KivResult Write(const void* buffer, uint32_t count, uint32_t* written) = 0;
  // STG_E_INVALIDFUNCTION for a bad origin or a position before 0.
  virtual KivResult Seek(int64_t move, uint32_t origin, uint64_t* newPosition) = 0;
  virtual KivResult SetSize(uint64_t size) = 0;
  // Copies `count` bytes from here to `dest`, advancing both positions.
  virtual KivResult CopyTo(IKivStream* dest, uint64_t count, uint64_t* read,
                           uint64_t* written) = 0;
  virtual KivResult Commit(uint32_t flags) = 0;
  virtual KivResult Revert() = 0;
  virtual KivResult Stat(StatStg* out) = 0;
};

struct IKivStorage : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{39E7F4AD-6298-49CD-8CAD-B3D796676497}");
  // STGM_CREATE replaces an element of that name (of either kind);
  // otherwise an existing name gives STG_E_FILEALREADYEXISTS.
  virtual KivResult CreateStream(std::u16string_view name, uint32_t mode, IKivStream** out) = 0;
  // STG_E_FILENOTFOUND when there is no stream of that name.
  virtual KivResult OpenStream(std::u16string_view name, uint32_t mode, IKivStream** out) = 0;
  virtual KivResult CreateStorage(std::u16string_view name, uint32_t mode,
                                  IKivStorage** out) = 0;
  virtual KivResult OpenStorage(std::u16string_view name, uint32_t mode, IKivStorage** out) = 0;
  // Copies every element and the class identity into `dest`; streams of the
  // same name are replaced, storages of the same name merged.
  virtual KivResult CopyTo(IKivStorage* dest) = 0;
  // Copies or moves one element into `dest` under `newName`, which must be free.
  virtual KivResult MoveElementTo(std::u16string_view name, IKivStorage* dest,
                                  std::u16string_view newName, uint32_t flags) = 0;
  virtual KivResult Commit(uint32_t flags) = 0;
  virtual KivResult Revert() = 0;
  virtual KivResult EnumElements(std::vector<StatStg>* out) = 0;
  virtual KivResult DestroyElement(std::u16string_view name) = 0;
  virtual KivResult RenameElement(std::u16string_view oldName, std::u16string_view newName) = 0;
  virtual KivResult SetClass(const Guid& clsid) = 0;
  virtual KivResult Stat(StatStg* out) = 0;
};

// Creates a compound file. Without STGM_CREATE an existing file gives
// STG_E_FILEALREADYEXISTS. A new file is written empty at once; an existing
// one is replaced only by the first Commit.
KivResult StgCreateDocfile(const std::filesystem::path& file, uint32_t mode, IKivStorage** out);
// Opens a compound file. STG_E_FILENOTFOUND when missing,
// STG_E_DOCFILECORRUPT when it is not a readable compound file.
KivResult StgOpenStorage(const std::filesystem::path& file, uint32_t mode, IKivStorage** out);
// S_OK when the file starts as a compound file does, S_FALSE when not.
KivResult StgIsStorageFile(const std::filesystem::path& file);
// A storage with no file: a temporary, or a tree built before its file exists.
KivResult StgCreateMemoryStorage(IKivStorage** out);
// A memory storage holding what a compound file's bytes hold.
KivResult StgOpenMemoryStorage(std::string_view bytes, uint32_t mode, IKivStorage** out);
// The compound file bytes of any storage of this library's (its current,
// uncommitted view). E_INVALIDARG for another implementation.
KivResult StgSaveToBytes(IKivStorage* storage, std::string* out);

// The class identity of a storage.
KivResult ReadClassStg(IKivStorage* storage, Guid* out);
KivResult WriteClassStg(IKivStorage* storage, const Guid& clsid);

}  // namespace velmar
