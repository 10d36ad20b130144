#include "sources/text/text_status.h"

namespace velmar {

const char* TextCodeName(TextCode code) {
  switch (code) {
    case TextCode::kOk: return "ok";
    case TextCode::kFileNotFound: return "file not found";
    case TextCode::kFileLocked: return "file is open elsewhere";
    case TextCode::kAccessDenied: return "access denied";
    case TextCode::kReadFailed: return "read failed";
    case TextCode::kFileChanged: return "file changed while being read";
    case TextCode::kTruncated: return "truncated file";
    case TextCode::kNoMagic: return "missing magic";
    case TextCode::kBadVersion: return "unsupported version";
    case TextCode::kOutOfMemory: return "out of memory";
    case TextCode::kBraceInToken: return "brace inside a token";
    case TextCode::kTokenTooLong: return "token too long";
    case TextCode::kHeaderWithoutTab: return "channel header without TAB";
    case TextCode::kNoColumns: return "channel header without columns";
    case TextCode::kShortRow: return "row shorter than the header";
    case TextCode::kLongRow: return "row longer than the header";
    case TextCode::kNonNumeric: return "non-numeric cell";
    case TextCode::kTrailingCharacters: return "characters after a number";
    case TextCode::kBadTime: return "unreadable time";
    case TextCode::kTimeNotRising: return "time not rising";
    case TextCode::kEventDropped: return "event row dropped";
    case TextCode::kConstantDropped: return "constant row dropped";
    case TextCode::kMissingValue: return "information key without value";
    case TextCode::kTooManyProblems: return "too many problems";
    case TextCode::kNotOpen: return "file not open";
    case TextCode::kNotWritable: return "file not open for writing";
    case TextCode::kWriteFailed: return "write failed";
    case TextCode::kDiskFull: return "disk full";
    case TextCode::kInvalidArgument: return "invalid argument";
  }
  return "unknown";
}

KivResult ToKivResult(TextCode code) {
  switch (code) {
    case TextCode::kOk: return S_OK;
    case TextCode::kFileNotFound: return STG_E_FILENOTFOUND;
    case TextCode::kFileLocked:
    case TextCode::kAccessDenied: return STG_E_ACCESSDENIED;
    case TextCode::kReadFailed:
    case TextCode::kFileChanged: return STG_E_READFAULT;
    case TextCode::kOutOfMemory: return E_OUTOFMEMORY;
    // A failed write is E_FAIL to the caller; the code keeps the cause for the
    // message.
    case TextCode::kInvalidArgument: return E_INVALIDARG;
    default: return E_FAIL;  // a file that is not a text data set, or a refused write
  }
}

std::string TextStatus::ToString() const {
  if (ok()) return "ok";
  std::string out;
  if (line_ != 0) out = "line " + std::to_string(line_) + ": ";
  out += message_.empty() ? TextCodeName(code_) : message_;
  return out;
}

}  // namespace velmar
