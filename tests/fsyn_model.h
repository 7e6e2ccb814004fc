#ifndef FSYN_MODEL_H
#define FSYN_MODEL_H

#include <string>
#include <string_view>
#include <vector>

#include "fsyn_samples.h"

/// \file
/// A second writer and a second reader of the physical-synthesis log, as plain as they can be and slow. Where
/// the library and this model differ, one of the two is wrong about the format.

/// What a program sees that reads a whole log.
struct FSYN_READING {
   std::vector<std::string> m_records; ///< fsyn_description of each
   std::vector<std::string> m_events;  ///< reports, marked "report: ", and debug messages, in order

   bool operator==(const FSYN_READING&) const = default;
};

/// What the library writes for a record; for SET_INSTANCE_NAME all three lines, which it does not.
std::string fsyn_model_text(const LOGDB_FSYN_LOG_ENTRY& record);

/// What the library reads from these bytes, up to the first null.
FSYN_READING fsyn_model_reading(std::string_view bytes);

/// The record that a record becomes when it is written and read; null for a log that does not give exactly one.
FSYN_RECORD fsyn_model_read_back(const LOGDB_FSYN_LOG_ENTRY& record);

/// What the debug message says when the file ends inside a list of a record of this kind.
std::string fsyn_list_ends_message(int value);

#endif
