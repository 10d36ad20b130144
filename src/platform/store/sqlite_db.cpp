#include "platform/store/sqlite_db.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>

namespace velmar::store {

KivResult FromSqlite(int rc) {
  switch (rc & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return S_OK;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return STG_E_SHAREVIOLATION;
    case SQLITE_NOMEM:
      return E_OUTOFMEMORY;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return STG_E_ACCESSDENIED;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
    case SQLITE_SCHEMA:
    // The store's statements are fixed; one that doesn't prepare means the
    // file's tables are not what this format has.
    case SQLITE_ERROR:
      return STG_E_DOCFILECORRUPT;
    case SQLITE_FULL:
      return STG_E_MEDIUMFULL;
    case SQLITE_IOERR:
      return (rc == SQLITE_IOERR_READ || rc == SQLITE_IOERR_SHORT_READ) ? STG_E_READFAULT
                                                                         : STG_E_WRITEFAULT;
    case SQLITE_CANTOPEN:
      return STG_E_FILENOTFOUND;
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_RANGE:
    case SQLITE_TOOBIG:
      return E_INVALIDARG;
    case SQLITE_INTERRUPT:
    case SQLITE_ABORT:
      return E_ABORT;
    default:
      return E_FAIL;
  }
}

bool IsFileFailure(KivResult r) {
  switch (r) {
    case E_INVALIDARG:
    case E_POINTER:
    case DISP_E_TYPEMISMATCH:
      return false;
    default:
      return Failed(r);
  }
}

Connection::~Connection() {
  for (auto& [sql, stmt] : statements_) sqlite3_finalize(stmt);
  sqlite3_close_v2(db_);
}

KivResult Connection::Open(const std::string& path, const OpenOptions& options,
                           std::unique_ptr<Connection>* out) {
  int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  flags |= options.readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
  if (options.create) flags |= SQLITE_OPEN_CREATE;
  sqlite3* db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db, flags, options.vfs.empty() ? nullptr : options.vfs.c_str());
  if (rc != SQLITE_OK) {
    sqlite3_close_v2(db);
    return FromSqlite(rc);
  }
  std::unique_ptr<Connection> c(new Connection(db));
  sqlite3_extended_result_codes(db, 1);
  sqlite3_busy_handler(db, &Connection::OnBusy, c.get());
  // A file from elsewhere is untrusted: no functions with side effects in
  // its schema, and no writes that could damage it through the schema.
  sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  // A commit is on the disk when it returns.
  if (KivResult r = c->Exec("PRAGMA synchronous=FULL"); Failed(r)) return r;
  *out = std::move(c);
  return S_OK;
}

void Connection::SetWaitLimit(uint32_t waitLimit) {
  waitForever_ = waitLimit == 0xFFFFFFFF;
  deadline_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitLimit);
}

int Connection::OnBusy(void* self, int attempts) {
  auto* c = static_cast<Connection*>(self);
  // Short sleeps first: a writer's commit usually takes milliseconds.
  constexpr int kSteps[] = {1, 2, 5, 10, 20, 50};
  auto pause = std::chrono::milliseconds(kSteps[std::min<size_t>(attempts, std::size(kSteps) - 1)]);
  if (!c->waitForever_) {
    auto left = c->deadline_ - std::chrono::steady_clock::now();
    if (left <= std::chrono::steady_clock::duration::zero()) return 0;
    pause = std::min(pause, std::chrono::duration_cast<std::chrono::milliseconds>(left) +
                                std::chrono::milliseconds(1));
  }
  std::this_thread::sleep_for(pause);
  return 1;
}

KivResult Connection::Exec(const char* sql) { return FromSqlite(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr)); }

KivResult Connection::Prepare(const char* sql, Statement* out) {
  auto it = statements_.find(sql);
  if (it == statements_.end()) {
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK) return FromSqlite(rc);
    it = statements_.emplace(sql, stmt).first;
  }
  *out = Statement(it->second);
  return S_OK;
}

int64_t Connection::LastInsertId() const { return sqlite3_last_insert_rowid(db_); }
int Connection::Changes() const { return sqlite3_changes(db_); }
bool Connection::InTransaction() const { return sqlite3_get_autocommit(db_) == 0; }

Statement::Statement(Statement&& o) noexcept
    : stmt_(std::exchange(o.stmt_, nullptr)), bindError_(o.bindError_) {}

Statement& Statement::operator=(Statement&& o) noexcept {
  if (this != &o) {
    this->~Statement();
    stmt_ = std::exchange(o.stmt_, nullptr);
    bindError_ = o.bindError_;
  }
  return *this;
}

Statement::~Statement() {
  if (stmt_) {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }
}

Statement& Statement::Check(int rc) {
  if (rc != SQLITE_OK && bindError_ == SQLITE_OK) bindError_ = rc;
  return *this;
}

Statement& Statement::Bind(int index, int64_t value) { return Check(sqlite3_bind_int64(stmt_, index, value)); }
Statement& Statement::Bind(int index, double value) { return Check(sqlite3_bind_double(stmt_, index, value)); }
Statement& Statement::BindNull(int index) { return Check(sqlite3_bind_null(stmt_, index)); }

Statement& Statement::BindText(int index, const char16_t* text) {
  if (!text) return BindNull(index);
  return Check(sqlite3_bind_text16(stmt_, index, text, -1, SQLITE_STATIC));
}

Statement& Statement::BindText(int index, std::string_view utf8) {
  return Check(sqlite3_bind_text(stmt_, index, utf8.data(), static_cast<int>(utf8.size()), SQLITE_STATIC));
}

Statement& Statement::BindBlob(int index, const void* data, size_t size) {
  if (!data) return BindNull(index);
  return Check(sqlite3_bind_blob64(stmt_, index, data, size, SQLITE_STATIC));
}

KivResult Statement::Step() {
  if (bindError_ != SQLITE_OK) return FromSqlite(bindError_);
  int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return S_OK;
  if (rc == SQLITE_DONE) return S_FALSE;
  return FromSqlite(rc);
}

KivResult Statement::Run() {
  KivResult r;
  while ((r = Step()) == S_OK) {
  }
  Reset();
  return Failed(r) ? r : S_OK;
}

void Statement::Reset() {
  sqlite3_reset(stmt_);
  bindError_ = SQLITE_OK;
}

int64_t Statement::Int(int column) const { return sqlite3_column_int64(stmt_, column); }
double Statement::Real(int column) const {
  return IsNull(column) ? std::numeric_limits<double>::quiet_NaN() : sqlite3_column_double(stmt_, column);
}
bool Statement::IsNull(int column) const { return sqlite3_column_type(stmt_, column) == SQLITE_NULL; }

const char16_t* Statement::Text(int column) const {
  if (IsNull(column)) return nullptr;
  return static_cast<const char16_t*>(sqlite3_column_text16(stmt_, column));
}

std::u16string Statement::TextOr(int column, std::u16string_view fallback) const {
  const char16_t* t = Text(column);
  return t ? std::u16string(t) : std::u16string(fallback);
}

std::span<const std::byte> Statement::Blob(int column) const {
  const void* p = sqlite3_column_blob(stmt_, column);
  int n = sqlite3_column_bytes(stmt_, column);
  if (!p || n <= 0) return {};
  return {static_cast<const std::byte*>(p), static_cast<size_t>(n)};
}

KivResult QueryInt(Connection& db, const char* sql, int64_t* value) {
  Statement s;
  if (KivResult r = db.Prepare(sql, &s); Failed(r)) return r;
  KivResult r = s.Step();
  if (r == S_OK) *value = s.Int(0);
  return r;
}

KivResult RunWithId(Connection& db, const char* sql, uint64_t id) {
  Statement s;
  if (KivResult r = db.Prepare(sql, &s); Failed(r)) return r;
  return s.Bind(1, id).Run();
}

KivResult CheckIdKnown(Connection& db, const char* sql, uint64_t id) {
  Statement s;
  if (KivResult r = db.Prepare(sql, &s); Failed(r)) return r;
  KivResult r = s.Bind(1, id).Step();
  if (Failed(r)) return r;
  return r == S_OK ? S_OK : E_INVALIDARG;
}

KivResult RunForIds(Connection& db, const char* sql, std::span<const uint64_t> ids) {
  Statement s;
  if (KivResult r = db.Prepare(sql, &s); Failed(r)) return r;
  for (uint64_t id : ids) {
    if (KivResult r = s.Bind(1, id).Run(); Failed(r)) return r;
    if (db.Changes() == 0) return E_INVALIDARG;
  }
  return S_OK;
}

Savepoint::Savepoint(Connection& db) : db_(db), status_(db.Exec("SAVEPOINT step")) { open_ = Succeeded(status_); }

Savepoint::~Savepoint() {
  if (!open_) return;
  // When SQLite has already given up the whole transaction (a file failure),
  // there is nothing left to roll back to.
  if (db_.InTransaction()) {
    (void)db_.Exec("ROLLBACK TO step");
    (void)db_.Exec("RELEASE step");
  }
}

KivResult Savepoint::Release() {
  if (!open_) return status_;
  open_ = false;
  return db_.Exec("RELEASE step");
}

}  // namespace velmar::store
