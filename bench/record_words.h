#ifndef RECORD_WORDS_H
#define RECORD_WORDS_H

#include <cstddef>

#include "record_families.h"

/// \file
/// The words of each record kind, for everything that reads logs without the library.

/// Reads the words after a keyword into a record. The source has:
///
///     make<RECORD>(kind)          a new record
///     next()                      goes on to the next word; false at the end of the file
///     is(word), index(), keep(string)
///                                 the current word: compared, as a number, put into a string
///     text(string), number(), hexadecimal()
///                                 the next word, read as such
///     set(string, word)           sets a string to a fixed word
///     append(list)                appends the current word to a list of strings
///     push(list, value)           appends a value to a list of numbers
///     slots(list, count)          fills a list with "UNCHANGED"
template <class FAMILY, class SOURCE> class RECORD_WORDS {
public:
   using RECORD = typename FAMILY::RECORD;

   explicit RECORD_WORDS(SOURCE& source) : m_source(source) {}

   RECORD* read(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
      switch (kind) {
      case ::PRE_PLACEMENT_FLOW:
      case ::POST_PLACEMENT_FLOW:
      case ::END_OF_LOG_PRINT:
      case ::REVISION_NUMBER:
      case ::END_OF_LOG: {
         auto* record = m_source.template make<typename FAMILY::END_OF_LOG>(kind);
         m_source.set(record->m_node_name, "DUMMY_NAME");
         return record;
      }
      case ::INSERT_ATOM: {
         auto* record = named<typename FAMILY::INSERT_ATOM>(kind);
         record->m_atom_kind = flag();
         m_source.text(record->m_related_name);
         return record;
      }
      case ::DELETE_ATOM:
         return read_deleted(named<typename FAMILY::DELETE_ATOM>(kind));
      case ::CREATE_ITERM: {
         auto* record = named<typename FAMILY::CREATE_ITERM>(kind);
         record->m_port_type = number();
         return record;
      }
      case ::CREATE_OTERM: {
         auto* record = named<typename FAMILY::CREATE_OTERM>(kind);
         record->m_port_type = number();
         m_source.text(record->m_related_name);
         return record;
      }
      case ::SET_LUTMASK:
         return read_mask(named<typename FAMILY::SET_LUTMASK>(kind));
      case ::SET_USAGE_AS:
      case ::SET_GLOBAL: {
         auto* record = port<typename FAMILY::SET_GLOBAL>(kind);
         record->m_value = number();
         return record;
      }
      case ::RESET_DELAY_CHAIN: {
         auto* record = port<typename FAMILY::RESET_DELAY_CHAIN>(kind);
         record->m_chain_type = number();
         return record;
      }
      case ::SET_CONNECTED_TO_DELAY_CHAIN: {
         auto* record = port<typename FAMILY::SET_CONNECTED_TO_DELAY_CHAIN>(kind);
         record->m_chain_type = number();
         record->m_connected = flag();
         return record;
      }
      case ::SET_DELAY_CHAIN_INDEX: {
         auto* record = port<typename FAMILY::SET_DELAY_CHAIN_INDEX>(kind);
         record->m_chain_type = number();
         record->m_chain_index = number();
         return record;
      }
      case ::SET_USER_DELAY_CHAIN: {
         auto* record = port<typename FAMILY::SET_USER_DELAY_CHAIN>(kind);
         record->m_chain_type = number();
         record->m_user_delay_chain = flag();
         return record;
      }
      case ::CLEAR_INVERT:
      case ::SET_INVERT:
      case ::CLEAR_GLOBAL:
      case ::CLEAR_USAGE_AS:
      case ::REPLACE_INPUT_TERM_BY_TYPE:
      case ::REMOVE_UNORDERED_FANOUT_TERM:
      case ::DISCONNECT_BOUNDARY_PORT_ID:
         return port<typename FAMILY::SET_INVERT>(kind);
      case ::REPLACE_OUTPUT_TERM_BY_TYPE: {
         auto* record = named<typename FAMILY::REPLACE_OUTPUT_TERM_BY_TYPE>(kind);
         record->m_port_type = number();
         return record;
      }
      case ::SET_INSTANCE_NAME: {
         auto* record = named<typename FAMILY::SET_INSTANCE_NAME>(kind);
         record->m_value = number();
         m_source.text(record->m_instance_name);
         return record;
      }
      case ::MOVE_BOUNDARY_PORT_ID: {
         auto* record = named<typename FAMILY::MOVE_BOUNDARY_PORT_ID>(kind);
         m_source.text(record->m_source_port_id);
         m_source.text(record->m_target_port_id);
         return record;
      }
      case ::SET_BOUNDARY_PORT_ID: {
         auto* record = port<typename FAMILY::SET_BOUNDARY_PORT_ID>(kind);
         m_source.text(record->m_boundary_port_id);
         return record;
      }
      case ::SET_ITERM_PROPERTIES:
         return read_properties(port<typename FAMILY::SET_ITERM_PROPERTIES>(kind));
      case ::STORE_NODE_INFO:
         return read_node_info(named<typename FAMILY::STORE_NODE_INFO>(kind));
      case ::ADD_REMOVE_CONNECTION_LCELL_COMB:
         return read_connections(kind, 11);
      case ::ADD_REMOVE_CONNECTION_LCELL_FF:
         return read_connections(kind, 9);
      case ::ADD_REMOVE_CONNECTION_IO:
         return read_connections(kind, 16);
      case ::ADD_REMOVE_CONNECTION_RAM:
         return read_ram_connections(named<typename FAMILY::ADD_REMOVE_CONNECTION_RAM>(kind));
      case ::SET_OUTPUT_PORT_CLOCK:
      case ::SET_OUTPUT_PORT_CLEAR:
      case ::SET_INPUT_PORT_CLOCK:
      case ::SET_INPUT_PORT_CLEAR:
      case ::SET_INPUT_PORT_WIDTH: {
         auto* record = named<typename FAMILY::SET_INPUT_PORT_WIDTH>(kind);
         record->m_port_type = number();
         record->m_port_setting = number();
         return record;
      }
      case ::CLEAR_ATOM_CONSTRAINTS:
      case ::SET_USER_LCELL:
         return named<typename FAMILY::SET_USER_LCELL>(kind);
      case ::COPY_ATOM_LOCATION_CONSTRAINTS: {
         auto* record = named<typename FAMILY::COPY_ATOM_LOCATION_CONSTRAINTS>(kind);
         m_source.text(record->m_other_atom_name);
         return record;
      }
      case ::COPY_OTERM_TIMING_ASSIGNMENTS: {
         auto* record = named<typename FAMILY::COPY_OTERM_TIMING_ASSIGNMENTS>(kind);
         m_source.text(record->m_first_oterm_name);
         m_source.text(record->m_second_oterm_name);
         return record;
      }
      case ::SET_INVERT_OBSERVABLE: {
         auto* record = named<typename FAMILY::SET_INVERT_OBSERVABLE>(kind);
         record->m_value = number();
         return record;
      }
      case ::CONFIRM_CLKBUF:
         return read_clock_buffer(named<typename FAMILY::CONFIRM_CLKBUF>(kind));
      }
      return nullptr;
   }

private:
   int number() { return static_cast<int>(m_source.number()); }
   unsigned char flag() { return m_source.number() != 0 ? 1 : 0; }

   template <class CLASS> CLASS* named(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
      auto* record = m_source.template make<CLASS>(kind);
      m_source.text(record->m_node_name);
      return record;
   }

   template <class CLASS> CLASS* port(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
      auto* record = named<CLASS>(kind);
      record->m_port_type = number();
      record->m_port_index = static_cast<unsigned short>(m_source.number());
      return record;
   }

   template <class CLASS> void read_halves(CLASS* record) {
      const unsigned long low = m_source.hexadecimal();
      record->m_lut_mask = m_source.hexadecimal() << 32U | low;
   }

   template <class CLASS> CLASS* read_deleted(CLASS* record) {
      while (m_source.next() && !m_source.is("END_OF_DELETE_ATOM")) {
         m_source.append(record->m_deleted_names);
      }
      return record;
   }

   template <class CLASS> CLASS* read_mask(CLASS* record) {
      read_halves(record);
      record->m_mask_option = flag();
      m_source.next();
      record->m_lut_mode = m_source.is("NORMAL") ? 0 : m_source.is("SUM") ? 1 : 2;
      return record;
   }

   template <class CLASS> CLASS* read_properties(CLASS* record) {
      record->m_property1 = flag();
      record->m_property2 = number();
      record->m_property3 = flag();
      record->m_property4 = flag();
      record->m_property5 = number();
      record->m_property6 = flag();
      return record;
   }

   template <class CLASS> CLASS* read_node_info(CLASS* record) {
      record->m_node_type = number();
      bool more = m_source.next();
      for (; more && m_source.is("Port"); more = m_source.next()) {
         m_source.push(record->m_input_port_types, static_cast<DB_INPUT_PORT_TYPE>(number()));
         m_source.next();
         m_source.append(record->m_input_port_names);
      }
      for (; more && m_source.is("Output"); more = m_source.next()) {
         m_source.push(record->m_output_port_types, static_cast<DB_OUTPUT_PORT_TYPE>(number()));
         m_source.next();
         m_source.append(record->m_output_port_names);
      }
      read_halves(record);
      return record;
   }

   RECORD* read_connections(LOGDB_FSYN_LOG_ENTRY_TYPE kind, std::size_t slots) {
      auto* record = m_source.template make<typename FAMILY::ADD_REMOVE_CONNECTION_IO>(kind);
      m_source.slots(record->m_port_sources, slots);
      m_source.text(record->m_node_name);
      while (m_source.next() && !m_source.is("End_of_ADD_REMOVE_Connection")) {
         const auto slot = static_cast<std::size_t>(m_source.index());
         m_source.next();
         if (slot < slots) {
            m_source.keep(record->m_port_sources[slot]);
         }
      }
      return record;
   }

   template <class CLASS> CLASS* read_ram_connections(CLASS* record) {
      while (m_source.next() && !m_source.is("End_of_ADD_REMOVE_Connection")) {
         m_source.push(record->m_ram_port_types, static_cast<DB_INPUT_PORT_TYPE>(m_source.index()));
         m_source.push(record->m_ram_port_indices, static_cast<unsigned short>(m_source.number()));
         m_source.next();
         m_source.append(record->m_ram_source_names);
      }
      return record;
   }

   template <class CLASS> CLASS* read_clock_buffer(CLASS* record) {
      record->m_value = number();
      m_source.text(record->m_clkbuf_second_name);
      m_source.text(record->m_clkbuf_first_name);
      m_source.next();
      if (m_source.is("NO_ENABLE")) {
         m_source.set(record->m_enable_name, "");
      } else {
         m_source.keep(record->m_enable_name);
      }
      return record;
   }

   SOURCE& m_source;
};

#endif
