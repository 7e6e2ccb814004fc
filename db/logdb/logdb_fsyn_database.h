#ifndef LOGDB_FSYN_DATABASE_H
#define LOGDB_FSYN_DATABASE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "logdb_fsyn_log_entry.h"

/// \file
/// What the sources that work with physical-synthesis records share: the description of every kind, and the
/// file stream under a log.
///
/// A record's text is described once, in LOGDB_FSYN_LAYOUT. Each layout says, line by line, which members stand
/// there, to an IO that does with them what it likes: the writer prints them, the reader fills them, a tool
/// shows them. An IO offers:
///
///     line(FIELD...)                         one line of fields
///     line_with_blank(FIELD)                 one field, with a blank behind it in the text
///     names_until(FIELD, terminator)         a line a name, then the terminator
///     slots_until(FIELD, terminator)         a line a slot that is not UNCHANGED, its index in front
///     ram_inputs_until(types, indices, names, terminator)    a line an input
///     ports(word, types, names)              a line a port, the word in front
///     word(word)                             a line that is always the same
///     lut_mask(mask)                         two halves in hexadecimal, low half first
///     lut_mask(mask, FIELD)                  the same, and a field on the same line
///     lut_mode(FIELD)                        NORMAL, SUM or CARRY
///     optional_name(FIELD, word)             a name, or the word for none
///     lost_name(FIELD)                       a name that the reader takes and the writer cannot write
///     pad_to_core(record)                    nothing in the text: the record must have this delay chain

/// A member of a record with its name. How it is converted follows from its type: a string is a name, an
/// unsigned char a flag, everything else a decimal number.
template <class T> struct LOGDB_FSYN_FIELD {
   const char* m_name;
   T& m_value;
};

template <class T> LOGDB_FSYN_FIELD<T> logdb_fsyn_field(const char* name, T& value) {
   return {name, value};
}

/// The lines after the keyword, by layout. `record` is const for an IO that does not change it.
struct LOGDB_FSYN_LAYOUT {
#define FIELD(member) logdb_fsyn_field(#member, record.member)

   template <class IO, class RECORD> static void marker(IO& /*io*/, RECORD& /*record*/) {}

   template <class IO, class RECORD> static void node(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
   }

   template <class IO, class RECORD> static void node_value(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.line(FIELD(m_value));
   }

   template <class IO, class RECORD> static void node_type(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type));
   }

   template <class IO, class RECORD> static void port(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index));
   }

   template <class IO, class RECORD> static void port_value(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index), FIELD(m_value));
   }

   template <class IO, class RECORD> static void port_setting(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_setting));
   }

   template <class IO, class RECORD> static void insert_atom(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_atom_kind));
      io.line(FIELD(m_related_name));
   }

   template <class IO, class RECORD> static void delete_atom(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.names_until(FIELD(m_deleted_names), "END_OF_DELETE_ATOM");
   }

   template <class IO, class RECORD> static void create_oterm(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type));
      io.line(FIELD(m_related_name));
   }

   template <class IO, class RECORD> static void lutmask(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.lut_mask(FIELD(m_lut_mask), FIELD(m_mask_option));
      io.lut_mode(FIELD(m_lut_mode));
   }

   template <class IO, class RECORD> static void usage(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.line(FIELD(m_port_type), FIELD(m_port_index), FIELD(m_value));
   }

   template <class IO, class RECORD> static void reset_chain(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index), FIELD(m_chain_type));
      io.pad_to_core(record);
   }

   template <class IO, class RECORD> static void connected_chain(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index), FIELD(m_chain_type),
              FIELD(m_connected));
      io.pad_to_core(record);
   }

   template <class IO, class RECORD> static void chain_index(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index), FIELD(m_chain_type),
              FIELD(m_chain_index));
      io.pad_to_core(record);
   }

   template <class IO, class RECORD> static void user_chain(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index), FIELD(m_chain_type),
              FIELD(m_user_delay_chain));
      io.pad_to_core(record);
   }

   template <class IO, class RECORD> static void instance_name(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_value));
      io.lost_name(FIELD(m_instance_name));
   }

   template <class IO, class RECORD> static void move_boundary_port(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.line(FIELD(m_source_port_id), FIELD(m_target_port_id));
   }

   template <class IO, class RECORD> static void boundary_port(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index));
      io.line(FIELD(m_boundary_port_id));
   }

   template <class IO, class RECORD> static void properties(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_port_type), FIELD(m_port_index));
      io.line(FIELD(m_property1), FIELD(m_property2), FIELD(m_property3), FIELD(m_property4), FIELD(m_property5),
              FIELD(m_property6));
   }

   template <class IO, class RECORD> static void node_info(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_node_type));
      io.ports("Port", FIELD(m_input_port_types), FIELD(m_input_port_names));
      io.ports("Output", FIELD(m_output_port_types), FIELD(m_output_port_names));
      io.word("LUTMASK");
      io.lut_mask(FIELD(m_lut_mask));
   }

   template <class IO, class RECORD> static void connections(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.slots_until(FIELD(m_port_sources), "End_of_ADD_REMOVE_Connection");
   }

   template <class IO, class RECORD> static void ram_connections(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.ram_inputs_until(FIELD(m_ram_port_types), FIELD(m_ram_port_indices), FIELD(m_ram_source_names),
                          "End_of_ADD_REMOVE_Connection");
   }

   template <class IO, class RECORD> static void copy_location(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name), FIELD(m_other_atom_name));
   }

   template <class IO, class RECORD> static void copy_timing(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.line_with_blank(FIELD(m_first_oterm_name));
      io.line_with_blank(FIELD(m_second_oterm_name));
   }

   template <class IO, class RECORD> static void clkbuf(IO& io, RECORD& record) {
      io.line(FIELD(m_node_name));
      io.line(FIELD(m_value), FIELD(m_clkbuf_second_name));
      io.line(FIELD(m_clkbuf_first_name));
      io.optional_name(FIELD(m_enable_name), "NO_ENABLE");
   }

#undef FIELD
};

/// What is known of a record class at compile time.
template <class RECORD> struct LOGDB_FSYN_KIND;

#define LOGDB_FSYN_RECORD(value, suffix, layout_name, copy)                                                       \
   static_assert(suffix == (value));                                                                              \
   template <> struct LOGDB_FSYN_KIND<LOGDB_FSYN_LOG_ENTRY_##suffix> {                                            \
      using RECORD = LOGDB_FSYN_LOG_ENTRY_##suffix;                                                               \
      static constexpr LOGDB_FSYN_LOG_ENTRY_TYPE m_type = suffix;                                                 \
      static constexpr std::string_view m_name = #suffix;                                                         \
      static constexpr const char* m_chain_check =                                                                \
          "((LOGDB_FSYN_LOG_ENTRY_" #suffix " *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE";                    \
      static constexpr std::string_view m_keyword = (suffix) == REVISION_NUMBER                                   \
                                                        ? "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0"    \
                                                        : "PHYSICAL_SYNTHESIS_" #suffix;                          \
      template <class IO, class R> static void layout(IO& io, R& record) {                                        \
         LOGDB_FSYN_LAYOUT::layout_name(io, record);                                                              \
      }                                                                                                           \
   };
#include "logdb_fsyn_record_kinds.inc"

/// Calls `visitor` with the LOGDB_FSYN_KIND of a kind.
///
/// \return false, and no call, for a value that is no kind
template <class VISITOR> bool logdb_fsyn_visit_kind(int type, VISITOR&& visitor) {
   switch (type) {
#define LOGDB_FSYN_RECORD(value, suffix, layout, copy)                                                            \
   case value:                                                                                                    \
      visitor(LOGDB_FSYN_KIND<LOGDB_FSYN_LOG_ENTRY_##suffix>());                                                  \
      return true;
#include "logdb_fsyn_record_kinds.inc"
   default:
      return false;
   }
}

/// The value of the kind that a keyword stands for, or -1. The whole word counts, upper and lower case differ.
int logdb_fsyn_kind_of_keyword(std::string_view word);

/// The file under a log. It appends lines or reads words; an operation of the other direction does nothing. A
/// file that could not be opened takes no lines and has no words.
class LOGDB_FSYN_FILE_STREAM {
public:
   enum DIRECTION { APPENDING, READING };

   /// The longest word that is handed out whole.
   static constexpr std::size_t max_word_size = 4096;

   /// Opens the file; for appending it is made if it is not there.
   LOGDB_FSYN_FILE_STREAM(const char* file_name, DIRECTION direction);

   /// Closes it.
   ~LOGDB_FSYN_FILE_STREAM();

   LOGDB_FSYN_FILE_STREAM(const LOGDB_FSYN_FILE_STREAM&) = delete;
   LOGDB_FSYN_FILE_STREAM& operator=(const LOGDB_FSYN_FILE_STREAM&) = delete;

   /// Whether there was memory for what the stream needs.
   bool is_complete() const { return !m_lacks_buffer; }

   /// Hands bytes to the operating system, with one write unless that takes only a part. When they cannot be
   /// written whole, no later bytes are; a part of them may be in the file.
   void append(const char* bytes, std::size_t size);

   /// The next word, cut to max_word_size bytes; its data is null at the end. It is good until the next call.
   std::string_view next_word();

   /// Ends the reading where the file of a log ends now, if it is this file. So what is read can be appended to
   /// it.
   ///
   /// \param open_stream  the log's stream; null when none is open, and then its name counts
   void stop_at_end_of(const LOGDB_FSYN_FILE_STREAM* open_stream, const char* file_name);

private:
   const char* next_edge();
   bool find_edges();
   std::string_view next_word_by_itself();
   const char* find_word_end(const char* begin) const;
   const char* complete_word();
   bool refill(char* to);

   int m_file;
   bool m_lacks_buffer = false;     // it was to read, and has nowhere to read to
   bool m_failed = false;           // nothing more is written
   bool m_at_end_of_file = false;   // nothing more is read from the file
   std::size_t m_bytes_to_read = 0; // what may still be read from the file
   char* m_buffer = nullptr;        // what was read from the file
   const char* m_next = nullptr;    // the first byte in it that was not handed out
   const char* m_end = nullptr;     // behind the last

   // What is in the buffer is looked at in steps of so many bytes as an integer has bits.
   const char* m_step_end = nullptr; // behind the last step
   std::uint64_t m_edges = 0;        // a bit a byte of it: where words begin and end that were not handed out
   std::uint64_t m_is_in_word = 0;   // 1 if its last byte is one of a word, else 0
};

#endif
