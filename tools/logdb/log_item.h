#ifndef TOOL_LOG_ITEM_H
#define TOOL_LOG_ITEM_H

#include <cstdint>
#include <deque>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "logdb_fsyn_log_entry.h"

/// \file
/// What both kinds of log are made of: an entry of a log database or a record of a physical-synthesis log.

enum class LOG_FORMAT { DATABASE, FSYN };

/// "logdb" or "fsyn", as --as spells it.
const char* format_name(LOG_FORMAT format);

/// What a field holds. NODE is a name in the design's hierarchy; NAME is another name of a record, such as that
/// of a boundary port; WORD is one of a few fixed words.
enum class FIELD_TYPE : unsigned char { TEXT, NODE, NAME, NUMBER, INDEX, FLAG, MASK, WORD };

const char* field_type_name(FIELD_TYPE type);

/// How a field stands among its neighbours. A list has a field an element; an empty one has a single field with
/// the index no_element.
enum class FIELD_SHAPE : unsigned char { SCALAR, LIST, SLOTS };

constexpr int no_element = -1;

struct FIELD {
   std::string_view m_name; ///< the position of a database field, the member's name without "m_" of a record's
   std::string_view m_value;
   int m_index = no_element;
   FIELD_TYPE m_type = FIELD_TYPE::TEXT;
   FIELD_SHAPE m_shape = FIELD_SHAPE::SCALAR;

   bool is_element() const { return m_shape == FIELD_SHAPE::SCALAR || m_index != no_element; }
};

/// Where in the compile a record belongs to: what the last marker in front of it said.
enum class PHASE : unsigned char { NONE, PRE, POST };

/// "pre-placement", "post-placement" or "no phase".
const char* phase_name(PHASE phase);

/// One entry or record. Everything in it is good until the next one is read.
struct LOG_ITEM {
   LOG_FORMAT m_format = LOG_FORMAT::DATABASE;
   int m_kind = -1;              ///< the kind's value; -1 when it is unknown
   std::string_view m_kind_name; ///< the debug name; of an unknown kind what the file says
   PHASE m_phase = PHASE::NONE;
   std::uint64_t m_number = 0; ///< from 1
   std::uint64_t m_line = 0;   ///< from 1
   std::uint64_t m_offset = 0; ///< in the file, unpacked
   std::string_view m_bytes;   ///< as they stand in the file, with the line end
   std::vector<FIELD> m_fields;

   std::deque<std::string> m_texts;                ///< values that do not stand in the file as they are
   std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> m_record; ///< of a physical-synthesis log

   /// The first node name; empty when there is none.
   std::string_view node() const;
};

/// The kinds of a format, by value: 8, or 46 with two empty names.
const std::vector<std::string_view>& kind_names(LOG_FORMAT format);

/// The datatype of a database field.
FIELD_TYPE database_field_type(int kind, std::size_t position);

/// Cuts a line of a database into its kind and its fields, as the library does.
void split_entry(std::string_view line, LOG_ITEM& item);

/// The names of positions: "0", "1" ...
std::string_view position_name(std::size_t position);

/// A new record of a kind. When there is no memory, an exception says so.
template <class RECORD> RECORD* new_record() {
   RECORD* const record = new (0) RECORD;
   return record != nullptr ? record : throw std::bad_alloc();
}

#endif
