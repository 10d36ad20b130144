// The `.trn` store server: the component that owns native data sets.
//
// A `.trn` file holds one outing: its details record, sampled channels,
// events, lap markers, constants, named binary blobs and media clips. The
// library never touches the file itself; it opens it through the factory
// below and reads fixed-size records through the list interfaces that the
// main interface answers for. Writes go through a write handle, one
// exclusive write per file from `GetWriteHandle` to the handle's last release.
//
// Threading: every object of the store (factory, main object, records
// objects, write handle) is used by one thread, the library's "DAE_Thread",
// and released there. Objects are not safe to call from two threads at once.
// Two opened objects on one file (in one process or in two) are safe: the
// file's own locking orders their writes, and readers are not blocked by a
// writer.
//
// Reads take `waitLimit` first: how long, in milliseconds, to wait for the
// file while another process holds a lock on it; kWaitForever waits without
// a limit (a read inside a write job). A read that ran out of time gives
// STG_E_SHAREVIOLATION.
//
// Lists come back as records objects: `GetRecords` gives an array of fixed
// layout records that stays valid, with every text and array the records
// point to, for as long as the records object lives. Texts are
// zero-terminated UTF-16; a null text pointer means "no text". A read that
// finds nothing gives S_OK with an object holding no records.
//
// Result codes of every operation: E_POINTER for a null out argument or a
// null array with a count; E_INVALIDARG for a bad argument or an unknown id;
// E_BADFILEVERSION (0x8000000F) from reads and writes on a file of a format
// version this store does not know; STG_E_DOCFILECORRUPT for a file that is
// not a store file or is damaged; STG_E_SHAREVIOLATION when another writer
// held the file for longer than waitLimit; STG_E_FILENOTFOUND,
// STG_E_ACCESSDENIED, STG_E_READFAULT, STG_E_WRITEFAULT, STG_E_MEDIUMFULL
// from the file system. A write with a count of 0 does nothing and gives
// S_FALSE.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

static_assert(sizeof(void*) == 8, "the store's record layouts assume 64-bit pointers");

// Waits for a locked file without a limit.
inline constexpr uint32_t kWaitForever = 0xFFFFFFFF;
// The usual wait of a read outside a write job, in milliseconds.
inline constexpr uint32_t kDefaultWaitLimit = 1000;

// Class identity of the store's factory object.
inline constexpr Guid CLSID_TarnStoreFactory = Guid::Literal("{032C2600-41D7-4E6B-B032-AD18B2616FA9}");

// ---------------------------------------------------------------------------
// Records. All integers little-endian, pointers native, layouts fixed.

// Sample types of a channel's stored values.
enum class TarnSampleType : uint32_t {
  kUInt8 = 0,
  kUInt16 = 1,
  kUInt32 = 2,
  kInt8 = 3,
  kInt16 = 4,
  kInt32 = 5,
  kFloat = 6,
  kDouble = 7,
};
inline constexpr uint32_t kTarnSampleTypeCount = 8;
// Bytes per sample of a type 0..7; 0 for any other value.
constexpr size_t TarnSampleSize(uint32_t type) {
  constexpr size_t kSizes[kTarnSampleTypeCount] = {1, 2, 4, 1, 2, 4, 4, 8};
  return type < kTarnSampleTypeCount ? kSizes[type] : 0;
}

// The outing's details: one record per file.
struct TarnOutingRecord {
  KivTime fastLapTime;           // 0
  double createDate;             // 8: days since 30 December 1899, UTC
  const char16_t* trackName;     // 16
  const char16_t* driverName;    // 24
  const char16_t* shortComment;  // 32
  const char16_t* longComment;   // 40
  const char16_t* timeZone;      // 48
  const char16_t* systemDetails; // 56
  uint64_t reserved;             // 64: kept as written
  const char16_t* carName;       // 72
  uint32_t sessionNumber;        // 80
  uint32_t outingNumber;         // 84
  uint32_t firstLapNumber;       // 88
  uint32_t fastLapNumber;        // 92
  uint32_t lastLapNumber;        // 96
  uint32_t datasetType;          // 100
  int32_t utcDifference;         // 104: minutes
  uint8_t engineTest;            // 108: 1 for an engine test
  uint8_t padding[3];
};

// A channel's description. The store keeps every field as written; it uses
// only the id and the sample type.
struct TarnChannelDescription {
  uint64_t id;                  // 0: given by the store on add
  double displayMaximum;        // 8
  double displayMinimum;        // 16
  double rangeHigh;             // 24
  double rangeLow;              // 32
  const char16_t* displayName;  // 40
  const char16_t* tagName;      // 48
  const char16_t* userType;     // 56
  uint32_t decimalPlaces;       // 64
  int32_t quantityId;           // 68
  uint32_t unitId;              // 72
  uint32_t colour;              // 76
  uint64_t revision;            // 80
  uint32_t flags;               // 88
  uint32_t sampleType;          // 92: TarnSampleType, 0..7
  uint8_t autoscale;            // 96
  uint8_t reserved;             // 97
  uint8_t padding[6];
};

// One block of a channel's samples, periodic (one period) or aperiodic (a
// time per sample).
struct TarnChannelData {
  uint64_t channelId;      // 0: filled on read; on write the ids argument says
  const int64_t* times;    // 8: periodic: one value, the period; else one time per sample
  KivTime firstTime;       // 16: aperiodic: equal to times[0]
  const void* samples;     // 24: `count` values of the channel's sample type
  int32_t count;           // 32: greater than 0
  uint8_t periodic;        // 36: 1 if periodic
  uint8_t continuous;      // 37: the block continues the one before
  uint8_t padding[2];
};

struct TarnEventName {
  uint64_t id;            // 0
  const char16_t* name;   // 8
};

// One occurrence of an event. The name says which event set it joins; a new
// name makes a new set.
struct TarnEventRecord {
  uint64_t id;                 // 0: given by the store on add
  KivTime time;                // 8
  const char16_t* name;        // 16: required
  const char16_t* source;      // 24
  const char16_t* message;     // 32
  const uint8_t* payload;      // 40: null when payloadSize is 0
  const uint8_t* fixedData;    // 48: a 32-byte block, or null
  uint64_t nameId;             // 56: filled on read
  uint32_t payloadSize;        // 64
  uint32_t kind;               // 68: 0 recorded, 1 added in analysis
};
inline constexpr size_t kTarnEventFixedDataSize = 32;

// A lap marker: the end of a lap at baseTime + timeOffset. The store numbers
// the markers itself, in time order from the outing's first lap number.
struct TarnLapMarker {
  uint64_t id;            // 0
  KivTime baseTime;       // 8
  KivTime timeOffset;     // 16
  double distanceOrigin;  // 24
  uint32_t lapNumber;     // 32: filled on read
  uint8_t crossing;       // 36: 1 a crossing of the line, 0 a car halt
  uint8_t padding[3];
};

struct TarnBlobDescription {
  uint64_t id;            // 0
  const Guid* type;       // 8
  const char16_t* name;   // 16
};

// A blob with its content: what a blob read gives and what blob writes take.
struct TarnBlobRecord {
  uint64_t id;            // 0
  const Guid* type;       // 8
  const char16_t* name;   // 16
  const uint8_t* data;    // 24: null when size is 0
  uint32_t size;          // 32
  uint8_t padding[4];
};

struct TarnConstantRecord {
  uint64_t id;            // 0: ignored on add
  double value;           // 8: ignored when there is a text
  const char16_t* name;   // 16: required
  const char16_t* text;   // 24: a text constant's value, or null
  const char16_t* unit;   // 32
};

// A media channel: a named sequence of video clips. The fields the store
// does not use are kept as written.
struct TarnMediaChannelRecord {
  uint64_t id;            // 0
  const char16_t* name;   // 8
  uint32_t reserved16;    // 16
  uint32_t type;          // 20: 3 for a channel added by a user
  uint32_t reserved24;    // 24
  uint32_t reserved28;    // 28
  uint32_t reserved32;    // 32
  uint32_t fileNumber;    // 36
  uint64_t reserved40;    // 40
};

struct TarnMediaFrame {
  KivTime time;           // 0
  uint32_t frameNumber;   // 8
  uint8_t padding[4];
};

struct TarnMediaClipRecord {
  uint64_t id;                   // 0
  const char16_t* path;          // 8: the video file
  uint64_t channelId;            // 16
  uint64_t reserved;             // 24
  KivTime start;                 // 32
  KivTime end;                   // 40
  uint32_t frameCount;           // 48
  uint8_t padding[4];
  const TarnMediaFrame* frames;  // 56
};

// ---------------------------------------------------------------------------
// Records objects: one interface per record type.

template <class Record>
struct TarnRecordsIdentity;

template <class Record>
struct IKivTarnRecords : IKivUnknown {
  static constexpr Guid iid = TarnRecordsIdentity<Record>::iid;
  // Slot 3. The array stays valid while this object lives; null with count 0.
  virtual KivResult GetRecords(uint32_t* count, const Record** records) = 0;
};

#define VELMAR_TARN_RECORDS(Record, Alias, text)                      \
  template <>                                                         \
  struct TarnRecordsIdentity<Record> {                                \
    static constexpr Guid iid = Guid::Literal(text);                  \
  };                                                                  \
  using Alias = IKivTarnRecords<Record>;
VELMAR_TARN_RECORDS(TarnOutingRecord, IKivTarnOutingRecords, "{4374ACB9-F83D-4B1F-8AE7-E79AC066B778}")
VELMAR_TARN_RECORDS(TarnChannelDescription, IKivTarnChannelRecords, "{CBC3590F-1BA3-49A6-981D-F48229D3CEB5}")
VELMAR_TARN_RECORDS(TarnChannelData, IKivTarnChannelDataRecords, "{6C3884CB-2AAD-4446-B81F-C8BEA6702ADF}")
VELMAR_TARN_RECORDS(TarnEventName, IKivTarnEventNameRecords, "{6FEC3F64-5911-4D49-9284-8F220774ACA0}")
VELMAR_TARN_RECORDS(TarnEventRecord, IKivTarnEventRecords, "{C76ED8D8-6677-4327-8556-DA4752021E4B}")
VELMAR_TARN_RECORDS(TarnLapMarker, IKivTarnLapMarkerRecords, "{5B2BE956-D1CA-4DFD-8454-764BE63236F4}")
VELMAR_TARN_RECORDS(TarnBlobDescription, IKivTarnBlobRecords, "{825A758E-3EA7-4C59-8D7C-23E1CC7A2768}")
VELMAR_TARN_RECORDS(TarnBlobRecord, IKivTarnBlobDataRecords, "{3A666AE9-2C2E-4797-83F1-CBB075A2613F}")
VELMAR_TARN_RECORDS(TarnConstantRecord, IKivTarnConstantRecords, "{4DCA121A-7B77-4B54-81C4-2AC6CC27A0F0}")
VELMAR_TARN_RECORDS(TarnMediaChannelRecord, IKivTarnMediaChannelRecords, "{E475F422-0844-4A4E-88A7-BFB4A75F3989}")
VELMAR_TARN_RECORDS(TarnMediaClipRecord, IKivTarnMediaClipRecords, "{3C57BDA1-06A9-4E02-8E5E-453D82AE9870}")
#undef VELMAR_TARN_RECORDS

// ---------------------------------------------------------------------------
// Opening.

struct IKivTarnStoreFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C56F2F96-CC2A-11D4-891A-00508B60DCA6}");
  // Slot 3: opens an existing file and gives interface `iid` of its main
  // object. A missing file: STG_E_FILENOTFOUND; not a store file or damaged:
  // STG_E_DOCFILECORRUPT. A file of an unknown format version opens, and its
  // reads give E_BADFILEVERSION. A file that can't be written opens for
  // reading; its write handle gives STG_E_ACCESSDENIED.
  virtual KivResult OpenFile(const std::u16string& path, const Guid& iid, void** out) = 0;
  // Slot 4: the format version a file was written with, without opening it
  // for use. Not a store file: STG_E_DOCFILECORRUPT.
  virtual KivResult GetFileVersion(const std::u16string& path, uint32_t* version) = 0;
  // Slot 5: creates a new, empty file (one details record, first lap 1) and
  // opens it. The file appears complete or not at all. An existing path:
  // STG_E_FILEALREADYEXISTS.
  virtual KivResult CreateFile(const std::u16string& path, const Guid& iid, void** out) = 0;
};

// The main interface. The others are queried from it, in the order details,
// write access, blobs, channels, events, lap markers, constants, media.
struct IKivTarnStore : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C56F2F9F-CC2A-11D4-891A-00508B60DCA6}");
  // Slot 3: first and last movement of the car. S_OK when known; S_FALSE,
  // with both 0, when the file doesn't say.
  virtual KivResult GetMovementRange(uint32_t waitLimit, KivTime* first, KivTime* last) = 0;
  // Slot 4: the path the object was opened with.
  virtual KivResult GetFileName(std::u16string* path) = 0;
  // Slot 5: the span of the outing: as set by a writer, widened by every
  // block of samples written; (0, 0) for a file with neither.
  virtual KivResult GetOutingRange(uint32_t waitLimit, KivTime* start, KivTime* end) = 0;
};

struct IKivTarnOutingDetails : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3ED25791-E7A2-11D4-891F-00508B60DCA6}");
  // Slot 3: the details records, one in a file made by this store.
  virtual KivResult GetDetails(uint32_t waitLimit, IKivTarnOutingRecords** records) = 0;
};

struct IKivTarnBlobs : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C56F2F98-CC2A-11D4-891A-00508B60DCA6}");
  // Slot 3: every blob, in the order added.
  virtual KivResult GetBlobList(uint32_t waitLimit, IKivTarnBlobRecords** records) = 0;
  // Slot 4: one blob with its content.
  virtual KivResult GetBlobData(uint32_t waitLimit, uint64_t id, IKivTarnBlobDataRecords** records) = 0;
};

struct IKivTarnChannels : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C56F2F99-CC2A-11D4-891A-00508B60DCA6}");
  // Slot 3: every channel's description, in the order added. Touches no samples.
  virtual KivResult GetChannelList(uint32_t waitLimit, IKivTarnChannelRecords** records) = 0;
  // Slot 4: the samples of one channel with a time from `from` to `to`, both
  // included, in time order, as the blocks written, cut to the window. A
  // channel whose sample type isn't 0..7: DISP_E_TYPEMISMATCH.
  virtual KivResult GetChannelData(uint32_t waitLimit, uint64_t id, KivTime from, KivTime to,
                                   IKivTarnChannelDataRecords** records) = 0;
};

struct IKivTarnEvents : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C56F2F9A-CC2A-11D4-891A-00508B60DCA6}");
  // Slot 3: the names of the event sets.
  virtual KivResult GetEventNames(uint32_t waitLimit, IKivTarnEventNameRecords** records) = 0;
  // Slot 4: the events of the sets `ids` with a time from `from` to `to`,
  // both included, ordered by time, then by id.
  virtual KivResult GetEventData(uint32_t waitLimit, uint32_t count, const uint64_t* ids, KivTime from,
                                 KivTime to, IKivTarnEventRecords** records) = 0;
};

struct IKivTarnLapMarkers : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3ED25792-E7A2-11D4-891F-00508B60DCA6}");
  // Slot 3: the markers in time order (baseTime + timeOffset, then id).
  virtual KivResult GetLapMarkers(uint32_t waitLimit, IKivTarnLapMarkerRecords** records) = 0;
};

struct IKivTarnConstants : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{16936CD0-4DCF-11D5-AEA7-00508B0900A9}");
  // Slot 3: every constant, in the order added.
  virtual KivResult GetConstants(uint32_t waitLimit, IKivTarnConstantRecords** records) = 0;
};

struct IKivTarnMedia : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{AE4D8C9F-408C-4BC0-9E5A-43F9F6F1A21F}");
  // Slot 3: every media channel, in the order added.
  virtual KivResult GetMediaChannels(uint32_t waitLimit, IKivTarnMediaChannelRecords** records) = 0;
  // Slot 4: the clips of one media channel that overlap `from` to `to`, by start.
  virtual KivResult GetMediaClips(uint32_t waitLimit, uint64_t channelId, KivTime from, KivTime to,
                                  IKivTarnMediaClipRecords** records) = 0;
};

struct IKivTarnWriteAccess : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{79BD19E1-F6C1-11D4-8924-00508B60DCA6}");
  // Slot 3: starts the one write on this file and gives interface `iid` of
  // its handle. Waits up to waitLimit for another writer, then gives
  // STG_E_SHAREVIOLATION; so does a second handle on the same object while
  // one lives. Reads on this object see the handle's writes at once; other
  // readers see them when the handle's last release commits them.
  virtual KivResult GetWriteHandle(uint32_t waitLimit, const Guid& iid, void** handle) = 0;
};

// ---------------------------------------------------------------------------
// The write handle. It answers queries for the writer interfaces below.
//
// Every write operation is all or nothing: one that fails leaves the file as
// before it, and the handle goes on. A failure of the file itself (a read or
// write fault, a full disk) ends the handle: every later operation gives that
// failure, and nothing of the handle is kept. The last release of a handle
// commits what it wrote, unless it failed or was aborted.

struct IKivTarnWriteHandle : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{FAFFAB04-FE3A-493B-9A9F-DA53791991BC}");
  // Slot 3: commits now and ends the handle; later operations give
  // STG_E_REVERTED. After a failure: that failure, and nothing is kept.
  virtual KivResult Commit() = 0;
  // Slot 4: drops everything written through the handle and ends it.
  virtual KivResult Abort() = 0;
  // Slot 5: S_OK while the handle can write; else the failure that ended it,
  // or STG_E_REVERTED once committed or aborted.
  virtual KivResult GetStatus(KivResult* status) = 0;
};

struct IKivTarnDetailsWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{75703383-F114-11D4-8923-00508B60DCA6}");
  // Slot 3: replaces the details record.
  virtual KivResult WriteDetails(const TarnOutingRecord* record) = 0;
  // Slot 4: first and last movement; first not after last.
  virtual KivResult SetMovementRange(KivTime first, KivTime last) = 0;
  // Slot 5: the file no longer knows the movement range.
  virtual KivResult ClearMovementRange() = 0;
  // Slot 6: sets the outing's span; start not after end.
  virtual KivResult SetOutingRange(KivTime start, KivTime end) = 0;
};

struct IKivTarnLapMarkerWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{75703386-F114-11D4-8923-00508B60DCA6}");
  // Slot 3: adds markers set by a user; a reset removes them again.
  virtual KivResult AddLapMarkers(uint32_t count, const TarnLapMarker* records,
                                  std::vector<uint64_t>* ids) = 0;
  // Slot 4: adds markers as recorded with the outing; a reset restores them.
  virtual KivResult AddRecordedLapMarkers(uint32_t count, const TarnLapMarker* records,
                                          std::vector<uint64_t>* ids) = 0;
  // Slot 5: removes markers.
  virtual KivResult RemoveLapMarkers(uint32_t count, const uint64_t* ids) = 0;
  // Slot 6: back to the recorded markers, unshifted; the user's are gone.
  virtual KivResult ResetLapMarkers() = 0;
  // Slot 7: sets each marker's time offset and keeps the distance it was
  // shifted by.
  virtual KivResult ShiftLapMarkers(uint32_t count, const uint64_t* ids, const KivTime* offsets,
                                    const double* shifts) = 0;
  // Slot 8: the number of the first lap; the details record follows.
  virtual KivResult SetFirstLapNumber(uint32_t number) = 0;
};

struct IKivTarnBlobWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{75703388-F114-11D4-8923-00508B60DCA6}");
  // Slot 3: adds blobs: type and name required, content optional.
  virtual KivResult AddBlobs(uint32_t count, const TarnBlobRecord* records, std::vector<uint64_t>* ids) = 0;
  // Slot 4: replaces the type, name (each if given) and content of blobs by id.
  virtual KivResult ModifyBlobs(uint32_t count, const TarnBlobRecord* records) = 0;
  // Slot 5
  virtual KivResult RemoveBlobs(uint32_t count, const uint64_t* ids) = 0;
};

struct IKivTarnEventWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{7570338A-F114-11D4-8923-00508B60DCA6}");
  // Slot 3: adds events; kind 0 or 1; payload pointer and size both given or both empty.
  virtual KivResult AddEvents(uint32_t count, const TarnEventRecord* records, std::vector<uint64_t>* ids) = 0;
  // Slot 4: replaces the events with the records' ids, fields as on add.
  virtual KivResult ModifyEvents(uint32_t count, const TarnEventRecord* records) = 0;
  // Slot 5: removes events; a set left with no event goes with its last one.
  virtual KivResult RemoveEvents(uint32_t count, const uint64_t* ids) = 0;
};

struct IKivTarnChannelWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{7570338C-F114-11D4-8923-00508B60DCA6}");
  // Slot 3: adds channels, without samples.
  virtual KivResult AddChannels(uint32_t count, const TarnChannelDescription* records,
                                std::vector<uint64_t>* ids) = 0;
  // Slot 4: replaces descriptions by id. The sample type of a channel with
  // samples can't change (E_INVALIDARG).
  virtual KivResult ModifyChannels(uint32_t count, const TarnChannelDescription* records) = 0;
  // Slot 5: removes channels with their samples.
  virtual KivResult RemoveChannels(uint32_t count, const uint64_t* ids) = 0;
  // Slot 6: removes every sample of the channels.
  virtual KivResult ClearChannelData(uint32_t count, const uint64_t* ids) = 0;
  // Slot 7: removes the samples of the channels with a time from `from` to `to`.
  virtual KivResult RemoveChannelData(uint32_t count, const uint64_t* ids, KivTime from, KivTime to) = 0;
  // Slot 8: clears every channel named in `ids`, then adds the blocks as slot 9.
  virtual KivResult ReplaceChannelData(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                                       std::vector<uint64_t>* blockIds) = 0;
  // Slot 9: adds block i to channel ids[i]; gives one block id per record.
  // Samples in the channel's sample type; a periodic block needs a period
  // above 0, an aperiodic one rising times with times[0] == firstTime.
  virtual KivResult AddChannelData(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                                   std::vector<uint64_t>* blockIds) = 0;
};

struct IKivTarnConstantWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{CF5C5740-4DD1-11D5-AEA7-00508B0900A9}");
  // Slot 3
  virtual KivResult AddConstants(uint32_t count, const TarnConstantRecord* records,
                                 std::vector<uint64_t>* ids) = 0;
  // Slot 4: replaces value, name, text and unit by id.
  virtual KivResult ModifyConstants(uint32_t count, const TarnConstantRecord* records) = 0;
  // Slot 5
  virtual KivResult RemoveConstants(uint32_t count, const uint64_t* ids) = 0;
};

struct IKivTarnMediaWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{31F93887-97BF-47DD-AA0C-9D6AC1E09705}");
  // Slot 3: adds media channels; a name is required.
  virtual KivResult AddMediaChannels(uint32_t count, const TarnMediaChannelRecord* records,
                                     std::vector<uint64_t>* ids) = 0;
  // Slot 4: removes media channels with their clips.
  virtual KivResult RemoveMediaChannels(uint32_t count, const uint64_t* ids) = 0;
  // Slot 5: adds clips to existing channels; start not after end.
  virtual KivResult AddMediaClips(uint32_t count, const TarnMediaClipRecord* records,
                                  std::vector<uint64_t>* ids) = 0;
  // Slot 6: moves clips to a new start and end.
  virtual KivResult SetMediaClipTimes(uint32_t count, const uint64_t* ids, KivTime start, KivTime end) = 0;
};

// ---------------------------------------------------------------------------
// Layouts, as readers of the records rely on them.

#define VELMAR_TARN_AT(Record, field, offset) static_assert(offsetof(Record, field) == (offset))
static_assert(sizeof(TarnOutingRecord) == 112);
VELMAR_TARN_AT(TarnOutingRecord, createDate, 8);
VELMAR_TARN_AT(TarnOutingRecord, trackName, 16);
VELMAR_TARN_AT(TarnOutingRecord, driverName, 24);
VELMAR_TARN_AT(TarnOutingRecord, shortComment, 32);
VELMAR_TARN_AT(TarnOutingRecord, longComment, 40);
VELMAR_TARN_AT(TarnOutingRecord, timeZone, 48);
VELMAR_TARN_AT(TarnOutingRecord, systemDetails, 56);
VELMAR_TARN_AT(TarnOutingRecord, reserved, 64);
VELMAR_TARN_AT(TarnOutingRecord, carName, 72);
VELMAR_TARN_AT(TarnOutingRecord, sessionNumber, 80);
VELMAR_TARN_AT(TarnOutingRecord, outingNumber, 84);
VELMAR_TARN_AT(TarnOutingRecord, firstLapNumber, 88);
VELMAR_TARN_AT(TarnOutingRecord, fastLapNumber, 92);
VELMAR_TARN_AT(TarnOutingRecord, lastLapNumber, 96);
VELMAR_TARN_AT(TarnOutingRecord, datasetType, 100);
VELMAR_TARN_AT(TarnOutingRecord, utcDifference, 104);
VELMAR_TARN_AT(TarnOutingRecord, engineTest, 108);

static_assert(sizeof(TarnChannelDescription) == 104);
VELMAR_TARN_AT(TarnChannelDescription, displayMaximum, 8);
VELMAR_TARN_AT(TarnChannelDescription, displayMinimum, 16);
VELMAR_TARN_AT(TarnChannelDescription, rangeHigh, 24);
VELMAR_TARN_AT(TarnChannelDescription, rangeLow, 32);
VELMAR_TARN_AT(TarnChannelDescription, displayName, 40);
VELMAR_TARN_AT(TarnChannelDescription, tagName, 48);
VELMAR_TARN_AT(TarnChannelDescription, userType, 56);
VELMAR_TARN_AT(TarnChannelDescription, decimalPlaces, 64);
VELMAR_TARN_AT(TarnChannelDescription, quantityId, 68);
VELMAR_TARN_AT(TarnChannelDescription, unitId, 72);
VELMAR_TARN_AT(TarnChannelDescription, colour, 76);
VELMAR_TARN_AT(TarnChannelDescription, revision, 80);
VELMAR_TARN_AT(TarnChannelDescription, flags, 88);
VELMAR_TARN_AT(TarnChannelDescription, sampleType, 92);
VELMAR_TARN_AT(TarnChannelDescription, autoscale, 96);
VELMAR_TARN_AT(TarnChannelDescription, reserved, 97);

static_assert(sizeof(TarnChannelData) == 40);
VELMAR_TARN_AT(TarnChannelData, times, 8);
VELMAR_TARN_AT(TarnChannelData, firstTime, 16);
VELMAR_TARN_AT(TarnChannelData, samples, 24);
VELMAR_TARN_AT(TarnChannelData, count, 32);
VELMAR_TARN_AT(TarnChannelData, periodic, 36);
VELMAR_TARN_AT(TarnChannelData, continuous, 37);

static_assert(sizeof(TarnEventName) == 16);
VELMAR_TARN_AT(TarnEventName, name, 8);

static_assert(sizeof(TarnEventRecord) == 72);
VELMAR_TARN_AT(TarnEventRecord, time, 8);
VELMAR_TARN_AT(TarnEventRecord, name, 16);
VELMAR_TARN_AT(TarnEventRecord, source, 24);
VELMAR_TARN_AT(TarnEventRecord, message, 32);
VELMAR_TARN_AT(TarnEventRecord, payload, 40);
VELMAR_TARN_AT(TarnEventRecord, fixedData, 48);
VELMAR_TARN_AT(TarnEventRecord, nameId, 56);
VELMAR_TARN_AT(TarnEventRecord, payloadSize, 64);
VELMAR_TARN_AT(TarnEventRecord, kind, 68);

static_assert(sizeof(TarnLapMarker) == 40);
VELMAR_TARN_AT(TarnLapMarker, baseTime, 8);
VELMAR_TARN_AT(TarnLapMarker, timeOffset, 16);
VELMAR_TARN_AT(TarnLapMarker, distanceOrigin, 24);
VELMAR_TARN_AT(TarnLapMarker, lapNumber, 32);
VELMAR_TARN_AT(TarnLapMarker, crossing, 36);

static_assert(sizeof(TarnBlobDescription) == 24);
VELMAR_TARN_AT(TarnBlobDescription, type, 8);
VELMAR_TARN_AT(TarnBlobDescription, name, 16);

static_assert(sizeof(TarnBlobRecord) == 40);
VELMAR_TARN_AT(TarnBlobRecord, type, 8);
VELMAR_TARN_AT(TarnBlobRecord, name, 16);
VELMAR_TARN_AT(TarnBlobRecord, data, 24);
VELMAR_TARN_AT(TarnBlobRecord, size, 32);

static_assert(sizeof(TarnConstantRecord) == 40);
VELMAR_TARN_AT(TarnConstantRecord, value, 8);
VELMAR_TARN_AT(TarnConstantRecord, name, 16);
VELMAR_TARN_AT(TarnConstantRecord, text, 24);
VELMAR_TARN_AT(TarnConstantRecord, unit, 32);

static_assert(sizeof(TarnMediaChannelRecord) == 48);
VELMAR_TARN_AT(TarnMediaChannelRecord, name, 8);
VELMAR_TARN_AT(TarnMediaChannelRecord, type, 20);
VELMAR_TARN_AT(TarnMediaChannelRecord, fileNumber, 36);
VELMAR_TARN_AT(TarnMediaChannelRecord, reserved40, 40);

static_assert(sizeof(TarnMediaFrame) == 16);
VELMAR_TARN_AT(TarnMediaFrame, frameNumber, 8);

static_assert(sizeof(TarnMediaClipRecord) == 64);
VELMAR_TARN_AT(TarnMediaClipRecord, path, 8);
VELMAR_TARN_AT(TarnMediaClipRecord, channelId, 16);
VELMAR_TARN_AT(TarnMediaClipRecord, start, 32);
VELMAR_TARN_AT(TarnMediaClipRecord, end, 40);
VELMAR_TARN_AT(TarnMediaClipRecord, frameCount, 48);
VELMAR_TARN_AT(TarnMediaClipRecord, frames, 56);
#undef VELMAR_TARN_AT

// ---------------------------------------------------------------------------

// Makes the store's factory object (class CLSID_TarnStoreFactory).
[[nodiscard]] KivResult CreateTarnStoreFactory(ComPtr<IKivTarnStoreFactory>* out);

}  // namespace velmar
