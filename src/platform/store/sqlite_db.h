// A thin, owning layer over one SQLite connection: cached prepared
// statements, a busy wait bounded by the caller's wait limit, and the
// mapping of SQLite results to the store's result codes.
//
// Thread-safety: a Connection and its statements are used by one thread at
// a time (the connection is opened without SQLite's own mutex).
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "velmar/result.h"

namespace velmar::store {

// The store's code for an SQLite result (extended codes understood).
[[nodiscard]] KivResult FromSqlite(int rc);

// A result that says the file itself failed (I/O, corruption, space, lock
// lost), as opposed to a request that was refused.
[[nodiscard]] bool IsFileFailure(KivResult r);

struct OpenOptions {
  bool create = false;
  bool readOnly = false;
  // An SQLite VFS registered by name; empty for the default one.
  std::string vfs;
};

class Statement;

class Connection {
 public:
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  [[nodiscard]] static KivResult Open(const std::string& path, const OpenOptions& options,
                                      std::unique_ptr<Connection>* out);

  // Bounds every wait for a lock from now on: milliseconds, or 0xFFFFFFFF
  // for no bound.
  void SetWaitLimit(uint32_t waitLimit);

  // Runs statements that give no rows.
  [[nodiscard]] KivResult Exec(const char* sql);
  // A prepared statement for `sql`, kept for the connection's life. `sql`
  // must be a string with static storage (it is the cache key).
  [[nodiscard]] KivResult Prepare(const char* sql, Statement* out);

  int64_t LastInsertId() const;
  int Changes() const;
  // True while a transaction is open on the connection.
  bool InTransaction() const;
  sqlite3* handle() const { return db_; }

 private:
  explicit Connection(sqlite3* db) : db_(db) {}
  static int OnBusy(void* self, int attempts);

  sqlite3* db_;
  bool waitForever_ = false;
  std::chrono::steady_clock::time_point deadline_{};
  std::unordered_map<const char*, sqlite3_stmt*> statements_;
};

// One use of a cached statement: bind, step, read columns. Resets the
// statement and clears its bindings when it goes.
class Statement {
 public:
  Statement() = default;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  Statement(Statement&& o) noexcept;
  Statement& operator=(Statement&& o) noexcept;
  ~Statement();

  // Binding, 1-based. A failed bind is kept and returned by the next Step.
  Statement& Bind(int index, int64_t value);
  Statement& Bind(int index, uint64_t value) { return Bind(index, static_cast<int64_t>(value)); }
  Statement& Bind(int index, uint32_t value) { return Bind(index, static_cast<int64_t>(value)); }
  Statement& Bind(int index, int32_t value) { return Bind(index, static_cast<int64_t>(value)); }
  Statement& Bind(int index, double value);
  // A null text binds SQL NULL.
  Statement& BindText(int index, const char16_t* text);
  Statement& BindText(int index, std::string_view utf8);
  // Bytes are used in place until the statement is stepped; null binds NULL.
  Statement& BindBlob(int index, const void* data, size_t size);
  Statement& BindNull(int index);

  // S_OK with a row, S_FALSE when done, or the failure.
  [[nodiscard]] KivResult Step();
  // Steps to the end and resets, keeping the bindings; for statements that
  // give no rows.
  [[nodiscard]] KivResult Run();
  // Makes the statement ready to bind and run again.
  void Reset();

  int64_t Int(int column) const;
  // SQL NULL reads as NaN: SQLite stores a NaN as NULL.
  double Real(int column) const;
  bool IsNull(int column) const;
  // Null for SQL NULL; valid until the next Step.
  const char16_t* Text(int column) const;
  std::u16string TextOr(int column, std::u16string_view fallback) const;
  std::span<const std::byte> Blob(int column) const;

 private:
  friend class Connection;
  explicit Statement(sqlite3_stmt* stmt) : stmt_(stmt) {}
  Statement& Check(int rc);

  sqlite3_stmt* stmt_ = nullptr;
  int bindError_ = SQLITE_OK;
};

// Runs `sql` once with a row expected; S_FALSE if none. The row's first
// column goes to `value`.
[[nodiscard]] KivResult QueryInt(Connection& db, const char* sql, int64_t* value);

// Runs `sql` once with ?1 bound to `id`; for statements that give no rows.
[[nodiscard]] KivResult RunWithId(Connection& db, const char* sql, uint64_t id);

// Runs `sql` with ?1 bound to `id`: S_OK when it gives a row, E_INVALIDARG
// (an unknown id) when it gives none.
[[nodiscard]] KivResult CheckIdKnown(Connection& db, const char* sql, uint64_t id);

// Runs `sql` once per id, bound to ?1. A run that changes no row means an
// unknown id: E_INVALIDARG.
[[nodiscard]] KivResult RunForIds(Connection& db, const char* sql, std::span<const uint64_t> ids);

// A savepoint for one all-or-nothing step inside a transaction.
class Savepoint {
 public:
  explicit Savepoint(Connection& db);
  ~Savepoint();  // rolls back unless released
  Savepoint(const Savepoint&) = delete;
  Savepoint& operator=(const Savepoint&) = delete;
  KivResult status() const { return status_; }
  [[nodiscard]] KivResult Release();

 private:
  Connection& db_;
  KivResult status_;
  bool open_ = false;
};

}  // namespace velmar::store
