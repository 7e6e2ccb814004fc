#ifndef RECORD_LINES_H
#define RECORD_LINES_H

#include <charconv>
#include <string>
#include <string_view>

#include "checksum.h"
#include "record_families.h"

/// \file
/// The lines of each record kind, for everything that writes records without the library.

/// A number that is written in hexadecimal.
struct HEXADECIMAL {
   unsigned long m_value;
};

/// Hands the lines of a record to a sink: one call of line(...) a line, with the fields of the line, which
/// are strings, words, ints and HEXADECIMAL numbers; one blank goes between two.
template <class FAMILY, class SINK> class RECORD_LINES {
public:
   RECORD_LINES(SINK& sink, const typename FAMILY::RECORD& record) : m_sink(sink), m_record(record) {}

   void write() {
      m_sink.line(RECORD_KEYWORDS[m_record.m_type]);
      switch (m_record.m_type) {
      case ::PRE_PLACEMENT_FLOW:
      case ::POST_PLACEMENT_FLOW:
      case ::END_OF_LOG_PRINT:
      case ::REVISION_NUMBER:
      case ::END_OF_LOG:
         break;
      case ::INSERT_ATOM:
         m_sink.line(name(), int{as<typename FAMILY::INSERT_ATOM>().m_atom_kind});
         m_sink.line(as<typename FAMILY::INSERT_ATOM>().m_related_name);
         break;
      case ::DELETE_ATOM:
         write_deleted(as<typename FAMILY::DELETE_ATOM>());
         break;
      case ::CREATE_ITERM:
         m_sink.line(name(), as<typename FAMILY::CREATE_ITERM>().m_port_type);
         break;
      case ::CREATE_OTERM:
         m_sink.line(name(), as<typename FAMILY::CREATE_OTERM>().m_port_type);
         m_sink.line(as<typename FAMILY::CREATE_OTERM>().m_related_name);
         break;
      case ::SET_LUTMASK:
         write_mask(as<typename FAMILY::SET_LUTMASK>());
         break;
      case ::SET_USAGE_AS:
         write_usage(as<typename FAMILY::SET_USAGE_AS>());
         break;
      case ::RESET_DELAY_CHAIN:
         write_port(as<typename FAMILY::RESET_DELAY_CHAIN>(),
                    as<typename FAMILY::RESET_DELAY_CHAIN>().m_chain_type);
         break;
      case ::SET_CONNECTED_TO_DELAY_CHAIN: {
         const auto& record = as<typename FAMILY::SET_CONNECTED_TO_DELAY_CHAIN>();
         write_port(record, record.m_chain_type, int{record.m_connected});
         break;
      }
      case ::SET_DELAY_CHAIN_INDEX: {
         const auto& record = as<typename FAMILY::SET_DELAY_CHAIN_INDEX>();
         write_port(record, record.m_chain_type, record.m_chain_index);
         break;
      }
      case ::SET_USER_DELAY_CHAIN: {
         const auto& record = as<typename FAMILY::SET_USER_DELAY_CHAIN>();
         write_port(record, record.m_chain_type, int{record.m_user_delay_chain});
         break;
      }
      case ::CLEAR_INVERT:
         write_port(as<typename FAMILY::CLEAR_INVERT>());
         break;
      case ::SET_INVERT:
         write_port(as<typename FAMILY::SET_INVERT>());
         break;
      case ::SET_GLOBAL:
         write_port(as<typename FAMILY::SET_GLOBAL>(), as<typename FAMILY::SET_GLOBAL>().m_value);
         break;
      case ::CLEAR_GLOBAL:
         write_port(as<typename FAMILY::CLEAR_GLOBAL>());
         break;
      case ::CLEAR_USAGE_AS:
         write_port(as<typename FAMILY::CLEAR_USAGE_AS>());
         break;
      case ::REPLACE_INPUT_TERM_BY_TYPE:
         write_port(as<typename FAMILY::REPLACE_INPUT_TERM_BY_TYPE>());
         break;
      case ::REPLACE_OUTPUT_TERM_BY_TYPE:
         m_sink.line(name(), as<typename FAMILY::REPLACE_OUTPUT_TERM_BY_TYPE>().m_port_type);
         break;
      case ::REMOVE_UNORDERED_FANOUT_TERM:
         write_port(as<typename FAMILY::REMOVE_UNORDERED_FANOUT_TERM>());
         break;
      case ::SET_INSTANCE_NAME:
         m_sink.line(name(), as<typename FAMILY::SET_INSTANCE_NAME>().m_value);
         m_sink.line(as<typename FAMILY::SET_INSTANCE_NAME>().m_instance_name);
         break;
      case ::MOVE_BOUNDARY_PORT_ID: {
         const auto& record = as<typename FAMILY::MOVE_BOUNDARY_PORT_ID>();
         m_sink.line(name());
         m_sink.line(record.m_source_port_id, record.m_target_port_id);
         break;
      }
      case ::SET_BOUNDARY_PORT_ID:
         write_port(as<typename FAMILY::SET_BOUNDARY_PORT_ID>());
         m_sink.line(as<typename FAMILY::SET_BOUNDARY_PORT_ID>().m_boundary_port_id);
         break;
      case ::DISCONNECT_BOUNDARY_PORT_ID:
         write_port(as<typename FAMILY::DISCONNECT_BOUNDARY_PORT_ID>());
         break;
      case ::SET_ITERM_PROPERTIES:
         write_properties(as<typename FAMILY::SET_ITERM_PROPERTIES>());
         break;
      case ::STORE_NODE_INFO:
         write_node_info(as<typename FAMILY::STORE_NODE_INFO>());
         break;
      case ::ADD_REMOVE_CONNECTION_LCELL_COMB:
      case ::ADD_REMOVE_CONNECTION_LCELL_FF:
      case ::ADD_REMOVE_CONNECTION_IO:
         write_connections(as<typename FAMILY::CONNECTION_RECORD>());
         break;
      case ::ADD_REMOVE_CONNECTION_RAM:
         write_ram_connections(as<typename FAMILY::ADD_REMOVE_CONNECTION_RAM>());
         break;
      case ::SET_OUTPUT_PORT_CLOCK:
         write_setting(as<typename FAMILY::SET_OUTPUT_PORT_CLOCK>());
         break;
      case ::SET_OUTPUT_PORT_CLEAR:
         write_setting(as<typename FAMILY::SET_OUTPUT_PORT_CLEAR>());
         break;
      case ::SET_INPUT_PORT_CLOCK:
         write_setting(as<typename FAMILY::SET_INPUT_PORT_CLOCK>());
         break;
      case ::SET_INPUT_PORT_CLEAR:
         write_setting(as<typename FAMILY::SET_INPUT_PORT_CLEAR>());
         break;
      case ::SET_INPUT_PORT_WIDTH:
         write_setting(as<typename FAMILY::SET_INPUT_PORT_WIDTH>());
         break;
      case ::CLEAR_ATOM_CONSTRAINTS:
      case ::SET_USER_LCELL:
         m_sink.line(name());
         break;
      case ::COPY_ATOM_LOCATION_CONSTRAINTS:
         m_sink.line(name(), as<typename FAMILY::COPY_ATOM_LOCATION_CONSTRAINTS>().m_other_atom_name);
         break;
      case ::COPY_OTERM_TIMING_ASSIGNMENTS: {
         const auto& record = as<typename FAMILY::COPY_OTERM_TIMING_ASSIGNMENTS>();
         m_sink.line(name());
         m_sink.line(record.m_first_oterm_name, ""); // these two lines end with a blank
         m_sink.line(record.m_second_oterm_name, "");
         break;
      }
      case ::SET_INVERT_OBSERVABLE:
         m_sink.line(name());
         m_sink.line(as<typename FAMILY::SET_INVERT_OBSERVABLE>().m_value);
         break;
      case ::CONFIRM_CLKBUF:
         write_clock_buffer(as<typename FAMILY::CONFIRM_CLKBUF>());
         break;
      }
   }

private:
   template <class CLASS> const CLASS& as() const { return static_cast<const CLASS&>(m_record); }

   const auto& name() const { return m_record.m_node_name; }

   template <class RECORD, class... MORE> void write_port(const RECORD& record, MORE... more) {
      m_sink.line(name(), record.m_port_type, int{record.m_port_index}, more...);
   }

   template <class RECORD> void write_setting(const RECORD& record) {
      m_sink.line(name(), record.m_port_type, record.m_port_setting);
   }

   template <class RECORD> void write_usage(const RECORD& record) {
      m_sink.line(name());
      m_sink.line(record.m_port_type, int{record.m_port_index}, record.m_value);
   }

   template <class RECORD> void write_deleted(const RECORD& record) {
      m_sink.line(name());
      for (const auto& deleted : record.m_deleted_names) {
         m_sink.line(deleted);
      }
      m_sink.line("END_OF_DELETE_ATOM");
   }

   template <class RECORD> void write_mask(const RECORD& record) {
      m_sink.line(name());
      m_sink.line(low_half(record), high_half(record), int{record.m_mask_option});
      m_sink.line(record.m_lut_mode == 0 ? "NORMAL" : record.m_lut_mode == 1 ? "SUM" : "CARRY");
   }

   template <class RECORD> void write_properties(const RECORD& record) {
      write_port(record);
      m_sink.line(int{record.m_property1}, record.m_property2, int{record.m_property3}, int{record.m_property4},
                  record.m_property5, int{record.m_property6});
   }

   template <class RECORD> void write_node_info(const RECORD& record) {
      m_sink.line(name(), record.m_node_type);
      for (std::size_t i = 0; i < record.m_input_port_types.size(); ++i) {
         m_sink.line("Port", static_cast<int>(record.m_input_port_types[i]), record.m_input_port_names[i]);
      }
      for (std::size_t i = 0; i < record.m_output_port_types.size(); ++i) {
         m_sink.line("Output", static_cast<int>(record.m_output_port_types[i]), record.m_output_port_names[i]);
      }
      m_sink.line("LUTMASK");
      m_sink.line(low_half(record), high_half(record));
   }

   template <class RECORD> void write_connections(const RECORD& record) {
      m_sink.line(name());
      int input = 0;
      for (const auto& source : record.m_port_sources) {
         if (std::string_view(source.data(), source.size()) != "UNCHANGED") {
            m_sink.line(input, source);
         }
         ++input;
      }
      m_sink.line("End_of_ADD_REMOVE_Connection");
   }

   template <class RECORD> void write_ram_connections(const RECORD& record) {
      m_sink.line(name());
      for (std::size_t i = 0; i < record.m_ram_source_names.size(); ++i) {
         m_sink.line(static_cast<int>(record.m_ram_port_types[i]), int{record.m_ram_port_indices[i]},
                     record.m_ram_source_names[i]);
      }
      m_sink.line("End_of_ADD_REMOVE_Connection");
   }

   template <class RECORD> void write_clock_buffer(const RECORD& record) {
      m_sink.line(name());
      m_sink.line(record.m_value, record.m_clkbuf_second_name);
      m_sink.line(record.m_clkbuf_first_name);
      if (record.m_enable_name.size() == 0) {
         m_sink.line("NO_ENABLE");
      } else {
         m_sink.line(record.m_enable_name);
      }
   }

   template <class RECORD> static HEXADECIMAL low_half(const RECORD& record) {
      return {record.m_lut_mask & 0xffffffffU};
   }

   template <class RECORD> static HEXADECIMAL high_half(const RECORD& record) {
      return {record.m_lut_mask >> 32U};
   }

   SINK& m_sink;
   const typename FAMILY::RECORD& m_record;
};

template <class FAMILY, class SINK> void write_record(SINK& sink, const typename FAMILY::RECORD& record) {
   RECORD_LINES<FAMILY, SINK>(sink, record).write();
}

/// Appends lines to a string, line feeds included.
class TEXT_SINK {
public:
   explicit TEXT_SINK(std::string& text) : m_text(text) {}

   template <class FIRST, class... REST> void line(const FIRST& first, const REST&... rest) {
      append(first);
      ((m_text += ' ', append(rest)), ...);
      m_text += '\n';
   }

private:
   void append(const char* word) { m_text += word; }
   void append(int number) { append_number(number, 10); }
   void append(HEXADECIMAL number) { append_number(number.m_value, 16); }
   template <class STRING> void append(const STRING& text) { m_text.append(text.data(), text.size()); }

   template <class NUMBER> void append_number(NUMBER number, int base) {
      char digits[24];
      m_text.append(digits, std::to_chars(digits, digits + sizeof(digits), number, base).ptr);
   }

   std::string& m_text;
};

/// Sums lines up, each for itself: the sum of a record's lines is that of the lines of its text.
class CHECKSUM_SINK {
public:
   template <class... FIELDS> void line(const FIELDS&... fields) {
      m_line.clear();
      TEXT_SINK(m_line).line(fields...);
      m_checksum.add(m_line.data(), m_line.size());
   }

   std::uint64_t value() const { return m_checksum.value(); }

private:
   std::string m_line;
   CHECKSUM m_checksum;
};

#endif
