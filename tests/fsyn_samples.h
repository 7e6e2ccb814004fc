#ifndef FSYN_SAMPLES_H
#define FSYN_SAMPLES_H

#include <memory>
#include <string>
#include <tuple>
#include <typeinfo>
#include <vector>

#include "logdb_fsyn_log_entry.h"

/// \file
/// What the tests know about the 44 kinds of record, written down once more and apart from the library: value,
/// name and fields of each kind, and a sample record of each with its exact text.

/// A member of a record class, with the type that it must have.
template <class TYPE, class RECORD> struct FSYN_FIELD {
   const char* m_name;
   TYPE RECORD::*m_member;
};

/// Does not compile for a member of another type, or of another class.
template <class TYPE, class RECORD>
constexpr FSYN_FIELD<TYPE, RECORD> fsyn_field(const char* name, TYPE RECORD::*member) {
   return {name, member};
}

/// Value, suffix and own fields, in declared order, of the kind that a class is for.
template <class RECORD> struct FSYN_KIND;

#define FSYN_KIND_ROW(VALUE, SUFFIX, ...)                                                                         \
   template <> struct FSYN_KIND<LOGDB_FSYN_LOG_ENTRY_##SUFFIX> {                                                  \
      using RECORD = LOGDB_FSYN_LOG_ENTRY_##SUFFIX;                                                               \
      static constexpr int value = VALUE;                                                                         \
      static constexpr const char* suffix = #SUFFIX;                                                              \
      static constexpr auto fields() { return std::make_tuple(__VA_ARGS__); }                                     \
      static_assert(static_cast<int>(::SUFFIX) == VALUE);                                                         \
   }
#define FIELD(TYPE, NAME) fsyn_field<TYPE>(#NAME, &RECORD::NAME)
#define PORT FIELD(int, m_port_type), FIELD(unsigned short, m_port_index)
#define SETTING FIELD(int, m_port_type), FIELD(int, m_port_setting)

FSYN_KIND_ROW(0, PRE_PLACEMENT_FLOW);
FSYN_KIND_ROW(1, POST_PLACEMENT_FLOW);
FSYN_KIND_ROW(2, INSERT_ATOM, FIELD(MEM_STRING, m_related_name), FIELD(unsigned char, m_atom_kind));
FSYN_KIND_ROW(3, DELETE_ATOM, FIELD(MEM_VECTOR<MEM_STRING>, m_deleted_names), FIELD(int, m_delete_extra));
FSYN_KIND_ROW(6, CREATE_ITERM, PORT);
FSYN_KIND_ROW(7, CREATE_OTERM, FIELD(MEM_STRING, m_related_name), FIELD(int, m_port_type));
FSYN_KIND_ROW(8, SET_LUTMASK, FIELD(int, m_lut_mode), FIELD(unsigned long, m_lut_mask),
              FIELD(unsigned char, m_mask_option));
FSYN_KIND_ROW(9, SET_USAGE_AS, PORT, FIELD(int, m_value));
FSYN_KIND_ROW(10, RESET_DELAY_CHAIN, PORT, FIELD(int, m_chain_type));
FSYN_KIND_ROW(11, SET_CONNECTED_TO_DELAY_CHAIN, PORT, FIELD(int, m_chain_type), FIELD(unsigned char, m_connected));
FSYN_KIND_ROW(12, SET_DELAY_CHAIN_INDEX, PORT, FIELD(int, m_chain_type), FIELD(int, m_chain_index));
FSYN_KIND_ROW(13, SET_USER_DELAY_CHAIN, PORT, FIELD(int, m_chain_type), FIELD(unsigned char, m_user_delay_chain));
FSYN_KIND_ROW(14, CLEAR_INVERT, PORT);
FSYN_KIND_ROW(15, SET_INVERT, PORT);
FSYN_KIND_ROW(16, SET_GLOBAL, PORT, FIELD(int, m_value));
FSYN_KIND_ROW(17, CLEAR_GLOBAL, PORT);
FSYN_KIND_ROW(18, CLEAR_USAGE_AS, PORT);
FSYN_KIND_ROW(19, REPLACE_INPUT_TERM_BY_TYPE, PORT);
FSYN_KIND_ROW(20, REPLACE_OUTPUT_TERM_BY_TYPE, FIELD(int, m_port_type));
FSYN_KIND_ROW(21, REMOVE_UNORDERED_FANOUT_TERM, PORT);
FSYN_KIND_ROW(22, SET_INSTANCE_NAME, FIELD(int, m_value), FIELD(MEM_STRING, m_instance_name));
FSYN_KIND_ROW(23, MOVE_BOUNDARY_PORT_ID, FIELD(MEM_STRING, m_source_port_id), FIELD(MEM_STRING, m_target_port_id));
FSYN_KIND_ROW(24, SET_BOUNDARY_PORT_ID, PORT, FIELD(MEM_STRING, m_boundary_port_id));
FSYN_KIND_ROW(25, DISCONNECT_BOUNDARY_PORT_ID, PORT);
FSYN_KIND_ROW(26, SET_ITERM_PROPERTIES, PORT, FIELD(unsigned char, m_property1), FIELD(int, m_property2),
              FIELD(unsigned char, m_property3), FIELD(unsigned char, m_property4), FIELD(int, m_property5),
              FIELD(unsigned char, m_property6));
FSYN_KIND_ROW(27, STORE_NODE_INFO, FIELD(MEM_VECTOR<DB_INPUT_PORT_TYPE>, m_input_port_types),
              FIELD(MEM_VECTOR<MEM_STRING>, m_input_port_names), FIELD(unsigned long, m_lut_mask),
              FIELD(MEM_VECTOR<DB_OUTPUT_PORT_TYPE>, m_output_port_types),
              FIELD(MEM_VECTOR<MEM_STRING>, m_output_port_names), FIELD(int, m_node_type));
FSYN_KIND_ROW(28, ADD_REMOVE_CONNECTION_LCELL_COMB);
FSYN_KIND_ROW(29, ADD_REMOVE_CONNECTION_LCELL_FF);
FSYN_KIND_ROW(30, ADD_REMOVE_CONNECTION_IO);
FSYN_KIND_ROW(31, ADD_REMOVE_CONNECTION_RAM, FIELD(MEM_VECTOR<MEM_STRING>, m_ram_source_names),
              FIELD(MEM_VECTOR<DB_INPUT_PORT_TYPE>, m_ram_port_types),
              FIELD(MEM_VECTOR<unsigned short>, m_ram_port_indices));
FSYN_KIND_ROW(32, SET_OUTPUT_PORT_CLOCK, SETTING);
FSYN_KIND_ROW(33, SET_OUTPUT_PORT_CLEAR, SETTING);
FSYN_KIND_ROW(34, SET_INPUT_PORT_CLOCK, SETTING);
FSYN_KIND_ROW(35, SET_INPUT_PORT_CLEAR, SETTING);
FSYN_KIND_ROW(36, SET_INPUT_PORT_WIDTH, SETTING);
FSYN_KIND_ROW(37, CLEAR_ATOM_CONSTRAINTS);
FSYN_KIND_ROW(38, COPY_ATOM_LOCATION_CONSTRAINTS, FIELD(int, m_copy_extra), FIELD(MEM_STRING, m_other_atom_name));
FSYN_KIND_ROW(39, COPY_OTERM_TIMING_ASSIGNMENTS, FIELD(MEM_STRING, m_first_oterm_name),
              FIELD(MEM_STRING, m_second_oterm_name));
FSYN_KIND_ROW(40, SET_USER_LCELL);
FSYN_KIND_ROW(41, SET_INVERT_OBSERVABLE, FIELD(int, m_value));
FSYN_KIND_ROW(42, END_OF_LOG_PRINT);
FSYN_KIND_ROW(43, REVISION_NUMBER);
FSYN_KIND_ROW(44, CONFIRM_CLKBUF, FIELD(MEM_STRING, m_clkbuf_first_name), FIELD(MEM_STRING, m_clkbuf_second_name),
              FIELD(MEM_STRING, m_enable_name), FIELD(int, m_value));
FSYN_KIND_ROW(45, END_OF_LOG);

#undef SETTING
#undef PORT
#undef FIELD
#undef FSYN_KIND_ROW

template <class... RECORDS> struct FSYN_KIND_LIST {};

/// All record classes, in the order of their values.
using FSYN_KINDS = FSYN_KIND_LIST<
    LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW, LOGDB_FSYN_LOG_ENTRY_POST_PLACEMENT_FLOW,
    LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM, LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM, LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM,
    LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM, LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK, LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS,
    LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN, LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN,
    LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX, LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN,
    LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT, LOGDB_FSYN_LOG_ENTRY_SET_INVERT, LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL,
    LOGDB_FSYN_LOG_ENTRY_CLEAR_GLOBAL, LOGDB_FSYN_LOG_ENTRY_CLEAR_USAGE_AS,
    LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE, LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE,
    LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM, LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME,
    LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID, LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID,
    LOGDB_FSYN_LOG_ENTRY_DISCONNECT_BOUNDARY_PORT_ID, LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES,
    LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB,
    LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO,
    LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM, LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK,
    LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLEAR, LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK,
    LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLEAR, LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH,
    LOGDB_FSYN_LOG_ENTRY_CLEAR_ATOM_CONSTRAINTS, LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS,
    LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS, LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL,
    LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE, LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT,
    LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER, LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF, LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>;

/// Calls what.operator()<RECORD>() for every class, in the order of the values.
template <class WHAT> void for_each_fsyn_kind(WHAT&& what) {
   [&]<class... RECORDS>(FSYN_KIND_LIST<RECORDS...>) { (what.template operator()<RECORDS>(), ...); }(FSYN_KINDS());
}

/// Calls what(record) with the record as its own class, which the dynamic type says, not the tag.
///
/// \return false when it is of none of the classes
template <class WHAT> bool with_fsyn_record(const LOGDB_FSYN_LOG_ENTRY& entry, WHAT&& what) {
   bool found = false;
   for_each_fsyn_kind([&]<class RECORD>() {
      if (typeid(entry) == typeid(RECORD)) {
         what(static_cast<const RECORD&>(entry));
         found = true;
      }
   });
   return found;
}

/// Calls what(name, member) for the own fields of a record, in declared order. The slots of a connection record
/// count as its first field.
template <class RECORD, class WHAT> void for_each_fsyn_field(RECORD& record, WHAT&& what) {
   using KIND = std::remove_const_t<RECORD>;
   if constexpr (std::is_base_of_v<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION, KIND>) {
      what("m_port_sources", record.m_port_sources);
   }
   std::apply([&](const auto&... fields) { (what(fields.m_name, record.*fields.m_member), ...); },
              FSYN_KIND<KIND>::fields());
}

/// Name and readable value of each field of a record: the class, m_type, m_tag and m_node_name in front.
std::vector<std::pair<std::string, std::string>> fsyn_fields(const LOGDB_FSYN_LOG_ENTRY& record);

/// The same in one line; equal for equal records only.
std::string fsyn_description(const LOGDB_FSYN_LOG_ENTRY& record);

/// "PHYSICAL_SYNTHESIS_..." for a value of LOGDB_FSYN_LOG_ENTRY_TYPE; empty when it is no kind's.
std::string fsyn_keyword(int value);

using FSYN_RECORD = std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>;

/// A record as its own class; null when its class is another.
template <class RECORD> std::unique_ptr<RECORD> fsyn_as(FSYN_RECORD record) {
   const LOGDB_FSYN_LOG_ENTRY* entry = record.get();
   const bool fits = entry != nullptr && typeid(*entry) == typeid(RECORD);
   return std::unique_ptr<RECORD>(fits ? static_cast<RECORD*>(record.release()) : nullptr);
}

/// A record with every field set, none to its default.
struct FSYN_SAMPLE {
   std::string m_suffix;
   FSYN_RECORD m_record;
   std::string m_text;              ///< what writing it gives
   std::vector<std::string> m_lost; ///< the fields that read back with another value
};

/// One sample a kind, in the order of the values. The text of SET_INSTANCE_NAME is what the reader takes.
std::vector<FSYN_SAMPLE> fsyn_samples();

#endif
