// One opened `.trn` file: its connection, what the open found out about it,
// and whether a write handle holds it. Shared by the main object and its
// write handle, so the connection lives until both are gone.
//
// Thread-safety: none; used on the store's one thread.
#pragma once

#include <memory>
#include <string>

#include "platform/store/sqlite_db.h"
#include "velmar/result.h"

namespace velmar::store {

class TarnFile {
 public:
  TarnFile(std::unique_ptr<Connection> db, std::u16string path, KivResult status, bool readOnly)
      : db_(std::move(db)), path_(std::move(path)), status_(status), readOnly_(readOnly) {}

  Connection& db() { return *db_; }
  const std::u16string& path() const { return path_; }
  // S_OK, or E_BADFILEVERSION for a file of another format version.
  KivResult status() const { return status_; }
  bool readOnly() const { return readOnly_; }
  bool writing() const { return writing_; }
  void set_writing(bool w) { writing_ = w; }

 private:
  std::unique_ptr<Connection> db_;
  std::u16string path_;
  KivResult status_;
  bool readOnly_;
  bool writing_ = false;
};

// A consistent view for one read: a read transaction of its own, or the
// write handle's transaction when one is open. Sets the wait limit first.
class ReadScope {
 public:
  ReadScope(TarnFile& file, uint32_t waitLimit);
  ~ReadScope();
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;
  // S_OK when the read may go on; else why not.
  KivResult status() const { return status_; }

 private:
  TarnFile& file_;
  KivResult status_ = S_OK;
  bool began_ = false;
};

}  // namespace velmar::store
