#include "velmar/result.h"

namespace velmar {

const char* ResultName(KivResult r) {
  switch (r) {
    case S_OK: return "S_OK";
    case S_FALSE: return "S_FALSE";
    case E_NOTIMPL: return "not implemented";
    case E_NOINTERFACE: return "no such interface";
    case E_POINTER: return "null pointer";
    case E_ABORT: return "aborted";
    case E_FAIL: return "failed";
    case E_UNEXPECTED: return "unexpected";
    case E_ACCESSDENIED: return "access denied";
    case E_OUTOFMEMORY: return "out of memory";
    case E_INVALIDARG: return "invalid argument";
    case E_BADFILEVERSION: return "unknown file version";
    case E_JOB_DROPPED: return "job dropped";
    case DISP_E_BADINDEX: return "bad index";
    case CLASS_E_CLASSNOTAVAILABLE: return "class not available";
    case REGDB_E_CLASSNOTREG: return "class not registered";
    case STG_E_FILENOTFOUND: return "file not found";
    case STG_E_ACCESSDENIED: return "storage access denied";
    case STG_E_WRITEFAULT: return "write fault";
    case STG_E_READFAULT: return "read fault";
    case STG_E_MEDIUMFULL: return "disk full";
    case STG_E_DOCFILECORRUPT: return "file corrupt";
    case STG_E_FILEALREADYEXISTS: return "already exists";
    case STG_E_INVALIDNAME: return "invalid name";
    case STG_E_REVERTED: return "storage element reverted";
    case STG_E_INVALIDFUNCTION: return "invalid storage function";
    case STG_E_PATHNOTFOUND: return "path not found";
    case STG_E_SHAREVIOLATION: return "share violation";
    case STG_E_INVALIDPARAMETER: return "invalid storage parameter";
    case STG_E_INVALIDFLAG: return "invalid storage flag";
    case STG_E_OLDDLL: return "written by a newer version";
    case REG_E_NOTFOUND: return "registry key or value not found";
    case REG_E_WRONGTYPE: return "registry value of another type";
    case CO_E_CLASSSTRING: return "unknown program id";
    case E_MOD_NOT_FOUND: return "module not found";
    case E_PROC_NOT_FOUND: return "entry point not found";
    case KIV_E_PENDING: return "data pending";
    case KIV_E_NOT_SUPPORTED: return "not supported";
    case KIV_E_TXN_ALREADY_OPEN: return "a transaction is already open";
    case KIV_E_TXN_COMMITTING: return "a commit is running";
    case KIV_E_TXN_NOT_OPEN: return "no transaction is open";
    case KIV_E_TXN_EDIT_DURING_COMMIT: return "edit during commit";
    case KIV_E_CHANNEL_EXISTS: return "channel exists";
    case KIV_E_MARKER_EXISTS: return "marker exists at that time";
    case KIV_E_UNKNOWN_UNIT: return "unknown unit";
    case KIV_E_UNKNOWN_QUANTITY: return "unknown quantity";
    default: return r < 0 ? "error" : "success";
  }
}

}  // namespace velmar
