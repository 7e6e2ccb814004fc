#ifndef LOG_RECOVERY_H
#define LOG_RECOVERY_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "logdb_fsyn_log_file.h"

/// \file
/// Reads logs, those that break off included.
///
/// Each line of a log is in the file once it was printed, so a writer that is killed leaves all lines before
/// the last moment, and perhaps a piece of one. The reader does not mark a record that was cut short: it
/// fills in what is missing, with 0, with the name LOGDB_FSYN_EOF or by ending a list early, and the last
/// number may have lost digits. What tells the whole records from the cut one is writing them again: a whole
/// record gives exactly the bytes that stand in the file, its last line feed included; a cut one gives more,
/// or others. (A log that this stage did not write could have whole records that come out differently, a flag
/// of 2 for example, which reads as 1. They would be taken for damage: nothing is replayed that is not
/// certain.)

/// The records of a log up to the first that is not whole.
struct WHOLE_RECORDS {
   std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>> m_records;
   std::uintmax_t m_bytes = 0; ///< that they take in the file
   std::string m_rest;         ///< what stands behind them; empty when the whole file is sound
};

/// Reads a log, and writes its whole records to another file.
///
/// \param whole_file_name  another file, replaced; afterwards it holds the whole records alone
/// \throw NETLIST_ERROR  a file cannot be read or written
WHOLE_RECORDS read_whole_records(const std::string& file_name, const std::string& whole_file_name);

/// How many of the records, from the first on, leave no change half done: a new LUT function without its new
/// connections would be worse than nothing.
std::size_t count_up_to_last_whole_change(const std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>>& records);

#endif
