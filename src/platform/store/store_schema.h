// The `.trn` file layout: an SQLite database with one table per kind of
// data, and a format version in `store_info`.
//
// Tables:
//   store_info(key, value)     format_version; outing and movement ranges
//   details                    the one details record (id 1)
//   channels                   descriptions, one row per channel
//   blocks                     one row per block of samples as written
//   chunks                     the samples of a block, kSamplesPerChunk a row,
//                              each with its own first and last time; indexed
//                              by (channel_id, first_time) so a time window
//                              reads only the rows it needs
//   event_names, events        event sets and their occurrences
//   lap_markers                markers; recorded ones are hidden, not deleted,
//                              on removal, so a reset can restore them
//   constants, blobs           small named values and binary attachments
//   media_channels, media_clips
//
// Journal: write-ahead log (WAL), set when the file is made. A commit appends
// checksummed frames to the log and syncs it; a process killed at any point
// leaves the file as of the last commit, which the next opener recovers from
// the log. It was chosen over the rollback journal because a write handle is
// held for a whole commit, which may wait for data: with a rollback journal
// every reader in other processes would be locked out for that time, with a
// log they go on reading the last committed state. The log is folded into
// the file after each commit and when the last connection closes.
#pragma once

#include <cstdint>

#include "platform/store/sqlite_db.h"

namespace velmar::store {

inline constexpr int64_t kFormatVersion = 1;

// Makes every table and index, the version row and the default details
// record, in one transaction. The connection must be on a new, empty file.
[[nodiscard]] KivResult CreateSchema(Connection& db, double createDate);

// Checks that the file is a store file: S_OK for this format version,
// E_BADFILEVERSION for another (its number in `version`), STG_E_DOCFILECORRUPT
// for a file that isn't an SQLite database, has no version row, or lacks a
// table of this version.
[[nodiscard]] KivResult CheckSchema(Connection& db, int64_t* version);

}  // namespace velmar::store
