// Result codes returned by every fallible operation of the library.
// 0 is success, 1 is "worked, nothing to do / empty answer", negative is failure.
#pragma once

#include <cstdint>

namespace velmar {

using KivResult = int32_t;

constexpr KivResult Code(uint32_t bits) { return static_cast<KivResult>(bits); }

inline constexpr bool Succeeded(KivResult r) { return r >= 0; }
inline constexpr bool Failed(KivResult r) { return r < 0; }

// Well-known platform values.
inline constexpr KivResult S_OK = 0;
inline constexpr KivResult S_FALSE = 1;
inline constexpr KivResult E_NOTIMPL = Code(0x80004001);
inline constexpr KivResult E_NOINTERFACE = Code(0x80004002);
inline constexpr KivResult E_POINTER = Code(0x80004003);
inline constexpr KivResult E_ABORT = Code(0x80004004);
inline constexpr KivResult E_FAIL = Code(0x80004005);
inline constexpr KivResult E_UNEXPECTED = Code(0x8000FFFF);
inline constexpr KivResult E_ACCESSDENIED = Code(0x80070005);
inline constexpr KivResult E_OUTOFMEMORY = Code(0x8007000E);
inline constexpr KivResult E_INVALIDARG = Code(0x80070057);
inline constexpr KivResult E_PENDING = Code(0x8000000A);
inline constexpr KivResult E_BOUNDS = Code(0x8000000B);
inline constexpr KivResult E_CHANGED_STATE = Code(0x8000000C);
inline constexpr KivResult E_BADFILEVERSION = Code(0x8000000F);  // unknown store file version
inline constexpr KivResult E_JOB_DROPPED = Code(0x80000008);     // job engine dropped the job: requeue
inline constexpr KivResult DISP_E_BADINDEX = Code(0x8002000B);
inline constexpr KivResult DISP_E_TYPEMISMATCH = Code(0x80020005);
inline constexpr KivResult REGDB_E_CLASSNOTREG = Code(0x80040154);
inline constexpr KivResult CLASS_E_CLASSNOTAVAILABLE = Code(0x80040111);
inline constexpr KivResult CONNECT_E_NOCONNECTION = Code(0x80040200);
inline constexpr KivResult STG_E_FILENOTFOUND = Code(0x80030002);
inline constexpr KivResult STG_E_ACCESSDENIED = Code(0x80030005);
inline constexpr KivResult STG_E_WRITEFAULT = Code(0x8003001D);
inline constexpr KivResult STG_E_READFAULT = Code(0x8003001E);
inline constexpr KivResult STG_E_MEDIUMFULL = Code(0x80030070);
inline constexpr KivResult STG_E_FILEALREADYEXISTS = Code(0x80030050);
inline constexpr KivResult STG_E_INVALIDNAME = Code(0x800300FC);
inline constexpr KivResult STG_E_REVERTED = Code(0x80030102);
inline constexpr KivResult STG_E_DOCFILECORRUPT = Code(0x80030109);
inline constexpr KivResult STG_E_INCOMPLETE = Code(0x80030201);
inline constexpr KivResult STG_E_INVALIDFUNCTION = Code(0x80030001);
inline constexpr KivResult STG_E_PATHNOTFOUND = Code(0x80030003);
inline constexpr KivResult STG_E_SHAREVIOLATION = Code(0x80030020);
inline constexpr KivResult STG_E_INVALIDPARAMETER = Code(0x80030057);
inline constexpr KivResult STG_E_INVALIDFLAG = Code(0x800300FF);
inline constexpr KivResult STG_E_OLDDLL = Code(0x80030105);  // written by a newer version
// Registry: a missing key or value (the platform's "file not found"), a value of another type.
inline constexpr KivResult REG_E_NOTFOUND = Code(0x80070002);
inline constexpr KivResult REG_E_WRONGTYPE = Code(0x8007065E);
// Component services: unknown program id, add-in module or its entry point missing.
inline constexpr KivResult CO_E_CLASSSTRING = Code(0x800401F3);
inline constexpr KivResult E_MOD_NOT_FOUND = Code(0x8007007E);
inline constexpr KivResult E_PROC_NOT_FOUND = Code(0x8007007F);

// The library's own codes, 0x8004F0nn.
inline constexpr KivResult KIV_E_NO_SUCH_COMMAND = Code(0x8004F001);
inline constexpr KivResult KIV_E_COMMAND_DISABLED = Code(0x8004F002);
inline constexpr KivResult KIV_E_BAD_COMMAND_ARG = Code(0x8004F003);
inline constexpr KivResult KIV_E_PENDING = Code(0x8004F004);  // data is being fetched; a notification follows
inline constexpr KivResult KIV_E_SECOND_SELECTION_REMOVED = Code(0x8004F006);
inline constexpr KivResult KIV_E_ACTIVE_SELECTION_REMOVED = Code(0x8004F007);
inline constexpr KivResult KIV_E_WATCH_SELECTION_REMOVED = Code(0x8004F008);
inline constexpr KivResult KIV_E_BAD_DISTANCE_CHANNEL = Code(0x8004F00A);
inline constexpr KivResult KIV_E_GLOBAL_TIME = Code(0x8004F00B);
inline constexpr KivResult KIV_E_MARKER_EXISTS = Code(0x8004F00C);
inline constexpr KivResult KIV_E_NOT_SUPPORTED = Code(0x8004F00F);
inline constexpr KivResult KIV_E_TXN_ALREADY_OPEN = Code(0x8004F010);
inline constexpr KivResult KIV_E_TXN_COMMITTING = Code(0x8004F011);
inline constexpr KivResult KIV_E_TXN_NOT_OPEN = Code(0x8004F012);
inline constexpr KivResult KIV_E_TXN_EDIT_DURING_COMMIT = Code(0x8004F013);
inline constexpr KivResult KIV_E_CHANNEL_EXISTS = Code(0x8004F014);
inline constexpr KivResult KIV_E_DUPLICATE_EVENT = Code(0x8004F015);
inline constexpr KivResult KIV_E_NO_CHANNEL_DATA = Code(0x8004F018);
inline constexpr KivResult KIV_E_NO_EVENT_DATA = Code(0x8004F019);
inline constexpr KivResult KIV_E_NOT_LOCKED = Code(0x8004F01A);
inline constexpr KivResult KIV_E_PRIORITIES_FULL = Code(0x8004F01E);
inline constexpr KivResult KIV_E_NO_DEFAULT_REGION = Code(0x8004F021);
inline constexpr KivResult KIV_E_FAVOURITE_EXISTS = Code(0x8004F023);
inline constexpr KivResult KIV_E_FAVOURITE_DUPLICATE = Code(0x8004F024);
inline constexpr KivResult KIV_E_UNKNOWN_UNIT = Code(0x8004F030);      // unit text or id not in the units table
inline constexpr KivResult KIV_E_UNKNOWN_QUANTITY = Code(0x8004F031);  // quantity id not in the units table

// A short English name for a code, for messages and test output.
const char* ResultName(KivResult r);

}  // namespace velmar
