#ifndef RECORD_FAMILIES_H
#define RECORD_FAMILIES_H

#include "logdb_fsyn_log_entry.h"

/// \file
/// The record classes under short names, once as the library has them and once with any other string and
/// list. The line and word layouts (record_lines.h, record_words.h) are written for either.

/// Applies a macro to each kind that has a class.
// clang-format off
#define FOR_EACH_RECORD_KIND(APPLY)                                                                              \
   APPLY(PRE_PLACEMENT_FLOW) APPLY(POST_PLACEMENT_FLOW) APPLY(INSERT_ATOM) APPLY(DELETE_ATOM)                    \
   APPLY(CREATE_ITERM) APPLY(CREATE_OTERM) APPLY(SET_LUTMASK) APPLY(SET_USAGE_AS) APPLY(RESET_DELAY_CHAIN)       \
   APPLY(SET_CONNECTED_TO_DELAY_CHAIN) APPLY(SET_DELAY_CHAIN_INDEX) APPLY(SET_USER_DELAY_CHAIN)                  \
   APPLY(CLEAR_INVERT) APPLY(SET_INVERT) APPLY(SET_GLOBAL) APPLY(CLEAR_GLOBAL) APPLY(CLEAR_USAGE_AS)             \
   APPLY(REPLACE_INPUT_TERM_BY_TYPE) APPLY(REPLACE_OUTPUT_TERM_BY_TYPE) APPLY(REMOVE_UNORDERED_FANOUT_TERM)      \
   APPLY(SET_INSTANCE_NAME) APPLY(MOVE_BOUNDARY_PORT_ID) APPLY(SET_BOUNDARY_PORT_ID)                             \
   APPLY(DISCONNECT_BOUNDARY_PORT_ID) APPLY(SET_ITERM_PROPERTIES) APPLY(STORE_NODE_INFO)                         \
   APPLY(ADD_REMOVE_CONNECTION_LCELL_COMB) APPLY(ADD_REMOVE_CONNECTION_LCELL_FF)                                 \
   APPLY(ADD_REMOVE_CONNECTION_IO) APPLY(ADD_REMOVE_CONNECTION_RAM) APPLY(SET_OUTPUT_PORT_CLOCK)                 \
   APPLY(SET_OUTPUT_PORT_CLEAR) APPLY(SET_INPUT_PORT_CLOCK) APPLY(SET_INPUT_PORT_CLEAR)                          \
   APPLY(SET_INPUT_PORT_WIDTH) APPLY(CLEAR_ATOM_CONSTRAINTS) APPLY(COPY_ATOM_LOCATION_CONSTRAINTS)               \
   APPLY(COPY_OTERM_TIMING_ASSIGNMENTS) APPLY(SET_USER_LCELL) APPLY(SET_INVERT_OBSERVABLE)                       \
   APPLY(END_OF_LOG_PRINT) APPLY(REVISION_NUMBER) APPLY(CONFIRM_CLKBUF) APPLY(END_OF_LOG)
// clang-format on

/// The keyword of each kind, by value; null for 4 and 5.
extern const char* const RECORD_KEYWORDS[46];

/// The library's classes.
struct LIBRARY_RECORDS {
   using RECORD = LOGDB_FSYN_LOG_ENTRY;
   using CONNECTION_RECORD = LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION;
#define LIBRARY_RECORD(KIND) using KIND = LOGDB_FSYN_LOG_ENTRY_##KIND;
   FOR_EACH_RECORD_KIND(LIBRARY_RECORD)
#undef LIBRARY_RECORD
};

/// Classes of the same members, for a string and a list of one's own.
template <class STRING, template <class> class LIST> struct OWN_RECORDS {
   struct RECORD {
      virtual ~RECORD() = default;
      LOGDB_FSYN_LOG_ENTRY_TYPE m_type = ::PRE_PLACEMENT_FLOW;
      unsigned int m_tag = 0;
      STRING m_node_name;
   };
   struct TYPE_RECORD : RECORD {
      int m_port_type = 0;
   };
   struct PORT_RECORD : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
   };
   struct PORT_VALUE_RECORD : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      int m_value = 0;
   };
   struct SETTING_RECORD : RECORD {
      int m_port_type = 0;
      int m_port_setting = 0;
   };
   struct CONNECTION_RECORD : RECORD {
      LIST<STRING> m_port_sources;
   };

   using PRE_PLACEMENT_FLOW = RECORD;
   using POST_PLACEMENT_FLOW = RECORD;
   struct INSERT_ATOM : RECORD {
      unsigned char m_atom_kind = 0;
      STRING m_related_name;
   };
   struct DELETE_ATOM : RECORD {
      LIST<STRING> m_deleted_names;
      int m_delete_extra = 0;
   };
   using CREATE_ITERM = PORT_RECORD;
   struct CREATE_OTERM : RECORD {
      STRING m_related_name;
      int m_port_type = 0;
   };
   struct SET_LUTMASK : RECORD {
      int m_lut_mode = 0;
      unsigned long m_lut_mask = 0;
      unsigned char m_mask_option = 0;
   };
   using SET_USAGE_AS = PORT_VALUE_RECORD;
   struct RESET_DELAY_CHAIN : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      int m_chain_type = 0;
   };
   struct SET_CONNECTED_TO_DELAY_CHAIN : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      int m_chain_type = 0;
      unsigned char m_connected = 0;
   };
   struct SET_DELAY_CHAIN_INDEX : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      int m_chain_type = 0;
      int m_chain_index = 0;
   };
   struct SET_USER_DELAY_CHAIN : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      int m_chain_type = 0;
      unsigned char m_user_delay_chain = 0;
   };
   using CLEAR_INVERT = PORT_RECORD;
   using SET_INVERT = PORT_RECORD;
   using SET_GLOBAL = PORT_VALUE_RECORD;
   using CLEAR_GLOBAL = PORT_RECORD;
   using CLEAR_USAGE_AS = PORT_RECORD;
   using REPLACE_INPUT_TERM_BY_TYPE = PORT_RECORD;
   using REPLACE_OUTPUT_TERM_BY_TYPE = TYPE_RECORD;
   using REMOVE_UNORDERED_FANOUT_TERM = PORT_RECORD;
   struct SET_INSTANCE_NAME : RECORD {
      int m_value = 0;
      STRING m_instance_name;
   };
   struct MOVE_BOUNDARY_PORT_ID : RECORD {
      STRING m_source_port_id;
      STRING m_target_port_id;
   };
   struct SET_BOUNDARY_PORT_ID : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      STRING m_boundary_port_id;
   };
   using DISCONNECT_BOUNDARY_PORT_ID = PORT_RECORD;
   struct SET_ITERM_PROPERTIES : RECORD {
      int m_port_type = 0;
      unsigned short m_port_index = 0;
      unsigned char m_property1 = 0;
      int m_property2 = 0;
      unsigned char m_property3 = 0;
      unsigned char m_property4 = 0;
      int m_property5 = 0;
      unsigned char m_property6 = 0;
   };
   struct STORE_NODE_INFO : RECORD {
      LIST<DB_INPUT_PORT_TYPE> m_input_port_types;
      LIST<STRING> m_input_port_names;
      unsigned long m_lut_mask = 0;
      LIST<DB_OUTPUT_PORT_TYPE> m_output_port_types;
      LIST<STRING> m_output_port_names;
      int m_node_type = 0;
   };
   using ADD_REMOVE_CONNECTION_LCELL_COMB = CONNECTION_RECORD;
   using ADD_REMOVE_CONNECTION_LCELL_FF = CONNECTION_RECORD;
   using ADD_REMOVE_CONNECTION_IO = CONNECTION_RECORD;
   struct ADD_REMOVE_CONNECTION_RAM : CONNECTION_RECORD {
      LIST<STRING> m_ram_source_names;
      LIST<DB_INPUT_PORT_TYPE> m_ram_port_types;
      LIST<unsigned short> m_ram_port_indices;
   };
   using SET_OUTPUT_PORT_CLOCK = SETTING_RECORD;
   using SET_OUTPUT_PORT_CLEAR = SETTING_RECORD;
   using SET_INPUT_PORT_CLOCK = SETTING_RECORD;
   using SET_INPUT_PORT_CLEAR = SETTING_RECORD;
   using SET_INPUT_PORT_WIDTH = SETTING_RECORD;
   using CLEAR_ATOM_CONSTRAINTS = RECORD;
   struct COPY_ATOM_LOCATION_CONSTRAINTS : RECORD {
      int m_copy_extra = 0;
      STRING m_other_atom_name;
   };
   struct COPY_OTERM_TIMING_ASSIGNMENTS : RECORD {
      STRING m_first_oterm_name;
      STRING m_second_oterm_name;
   };
   using SET_USER_LCELL = RECORD;
   struct SET_INVERT_OBSERVABLE : RECORD {
      int m_value = 0;
   };
   using END_OF_LOG_PRINT = RECORD;
   using REVISION_NUMBER = RECORD;
   struct CONFIRM_CLKBUF : RECORD {
      STRING m_clkbuf_first_name;
      STRING m_clkbuf_second_name;
      STRING m_enable_name;
      int m_value = 0;
   };
   using END_OF_LOG = RECORD;
};

#endif
