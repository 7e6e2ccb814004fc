#include "generator.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "block_writer.h"
#include "record_families.h"
#include "record_lines.h"

namespace {

constexpr std::size_t SHORTEST_NAME = 30;
constexpr std::size_t LONGEST_NAME = 90;
constexpr unsigned int INSTANCES = 6000;

const std::vector<const char*> BLOCKS = {"core",  "cpu",     "alu",    "decode",    "fetch", "lsu",
                                         "dma",   "uart",    "spi",    "timer",     "cache", "fifo",
                                         "mixer", "channel", "fir",    "axi",       "ctrl",  "bridge",
                                         "phy",   "arbiter", "router", "scheduler", "queue", "crc"};

const std::vector<const char*> SIGNALS = {"state", "count",  "data",      "addr",  "valid", "ready",  "grant",
                                          "shift", "result", "operand",   "mask",  "write", "read",   "enable",
                                          "pend",  "select", "remainder", "carry", "level", "pointer"};

template <class LIST> const auto& pick(RANDOM& random, const LIST& list) {
   return list[random.below(static_cast<unsigned int>(list.size()))];
}

void add_number(std::string& text, const char* before, unsigned int number, const char* after) {
   text += before;
   text += std::to_string(number);
   text += after;
}

/// What a kind's share is in the logs of real designs, in records of 75,000.
struct SHARE {
   LOGDB_FSYN_LOG_ENTRY_TYPE m_kind;
   unsigned int m_weight;
};

constexpr std::array SHARES = {
    SHARE{ADD_REMOVE_CONNECTION_LCELL_COMB, 25568},
    SHARE{SET_LUTMASK, 14999},
    SHARE{STORE_NODE_INFO, 8043},
    SHARE{DELETE_ATOM, 8043},
    SHARE{ADD_REMOVE_CONNECTION_LCELL_FF, 5457},
    SHARE{SET_USAGE_AS, 2226},
    SHARE{CREATE_ITERM, 1520},
    SHARE{CLEAR_USAGE_AS, 1304},
    SHARE{CLEAR_GLOBAL, 899},
    SHARE{SET_INVERT, 885},
    SHARE{CLEAR_ATOM_CONSTRAINTS, 543},
    SHARE{SET_CONNECTED_TO_DELAY_CHAIN, 506},
    SHARE{INSERT_ATOM, 493},
    SHARE{CREATE_OTERM, 493},
    SHARE{COPY_ATOM_LOCATION_CONSTRAINTS, 493},
    SHARE{COPY_OTERM_TIMING_ASSIGNMENTS, 493},
    SHARE{REPLACE_INPUT_TERM_BY_TYPE, 456},
    SHARE{CLEAR_INVERT, 442},
    SHARE{SET_ITERM_PROPERTIES, 415},
    SHARE{REPLACE_OUTPUT_TERM_BY_TYPE, 382},
    SHARE{SET_DELAY_CHAIN_INDEX, 335},
    SHARE{SET_USER_DELAY_CHAIN, 335},
    SHARE{SET_INPUT_PORT_WIDTH, 264},
    SHARE{SET_INPUT_PORT_CLEAR, 149},
    SHARE{SET_INPUT_PORT_CLOCK, 149},
    SHARE{SET_OUTPUT_PORT_CLEAR, 149},
    SHARE{SET_OUTPUT_PORT_CLOCK, 149},
    SHARE{SET_BOUNDARY_PORT_ID, 69},
    SHARE{DISCONNECT_BOUNDARY_PORT_ID, 67},
    SHARE{CONFIRM_CLKBUF, 39},
    SHARE{SET_GLOBAL, 23},
    SHARE{ADD_REMOVE_CONNECTION_RAM, 16},
    SHARE{SET_USER_LCELL, 12},
    SHARE{ADD_REMOVE_CONNECTION_IO, 9},
    SHARE{MOVE_BOUNDARY_PORT_ID, 8},
    SHARE{RESET_DELAY_CHAIN, 6},
    SHARE{REMOVE_UNORDERED_FANOUT_TERM, 6},
    SHARE{SET_INVERT_OBSERVABLE, 6},
    SHARE{PRE_PLACEMENT_FLOW, 6},
    SHARE{POST_PLACEMENT_FLOW, 6},
    SHARE{END_OF_LOG_PRINT, 6},
    SHARE{END_OF_LOG, 6},
};

constexpr unsigned int ALL_SHARES = std::accumulate(
    SHARES.begin(), SHARES.end(), 0U, [](unsigned int sum, const SHARE& share) { return sum + share.m_weight; });

} // namespace

std::uint64_t RANDOM::next() {
   m_state += 0x9e3779b97f4a7c15U;
   std::uint64_t value = m_state;
   value = (value ^ value >> 30U) * 0xbf58476d1ce4e5b9U;
   value = (value ^ value >> 27U) * 0x94d049bb133111ebU;
   return value ^ value >> 31U;
}

NODE_NAMES::NODE_NAMES() {
   RANDOM random(7);
   for (unsigned int i = 0; i < INSTANCES; ++i) {
      std::string instance = "system_top";
      const unsigned int levels = 1 + random.below(2) + (random.percent(20) ? random.below(4) : 0);
      for (unsigned int level = 0; level < levels; ++level) {
         instance += '|';
         instance += pick(random, BLOCKS);
         if (random.percent(40)) {
            add_number(instance, "_", random.below(64), "");
         }
      }
      m_instances.push_back(instance);
   }
}

void NODE_NAMES::make(RANDOM& random, std::string& name) const {
   name = pick(random, m_instances);
   name += '|';
   name += pick(random, SIGNALS);
   while (name.size() < SHORTEST_NAME - 4) {
      name += '_';
      name += pick(random, SIGNALS);
   }
   if (random.percent(10)) {
      name += "_registered";
   }
   add_number(name, "[", random.below(64), "]");
   if (random.percent(30) || name.size() < SHORTEST_NAME) {
      add_number(name, "~", 10 + random.below(990), "");
   }
   name.resize(std::min(name.size(), LONGEST_NAME));
}

ENTRY_GENERATOR::ENTRY_GENERATOR() : m_random(1) {}

void ENTRY_GENERATOR::add_name() {
   m_fields.emplace_back();
   m_names.make(m_random, m_fields.back());
}

void ENTRY_GENERATOR::make_register_packing() {
   static const std::vector<std::string> reasons = {
       "only fan-out", "feeds one LUT", "source is a register", "equal controls",
       "only fan-out", "feeds one LUT", "controls differ",      "source has fan-out of 2"};
   static const std::vector<std::string> patterns = {"FED_BY_LUT", "FEEDS_LUT",  "CASCADE",
                                                     "FED_BY_RAM", "FED_BY_PIN", "FED_BY_ARITHMETIC"};
   const bool has_partner = m_random.percent(57);
   add(has_partner ? "PACKED" : "NOT_PACKED");
   add(has_partner || m_random.percent(30) ? pick(m_random, reasons) : "no partner");
   add(pick(m_random, patterns));
   add_name();
   if (has_partner) {
      add_name();
   } else {
      add("");
   }
}

void ENTRY_GENERATOR::make_ram_packing() {
   const bool shared = m_random.percent(30);
   add(shared ? "PACKED" : "SINGLE");
   add("block " + std::to_string(m_random.below(900)));
   add(m_random.percent(50) ? "SIMPLE_DUAL_PORT_BLOCK" : "SINGLE_PORT_BLOCK");
   add(std::to_string(1 + m_random.below(18)));
   add(std::to_string(32U << m_random.below(5)));
   add(m_random.percent(80) ? "SINGLE_CLOCK" : "DUAL_CLOCK");
   add(m_random.percent(20) ? "INITIALISED" : "");
   add(shared ? "shares the block" : "block is full");
   add_name();
}

void ENTRY_GENERATOR::make_io_rules() {
   add(m_random.percent(90) ? "Pass" : "Fail");
   add("IO_" + std::to_string(1000000 + m_random.below(40)).substr(1));
   add("Clock");
   add("A clock pin must drive clock terminals only");
   add(std::to_string(m_random.below(4)) + " of " + std::to_string(4 + m_random.below(60)) + " pins failed");
   add("");
}

void ENTRY_GENERATOR::make_io_rules_matrix() {
   std::string results = "Pass";
   for (int rule = 1; rule < 10; ++rule) {
      results += m_random.percent(60) ? ";Pass" : ";Inapplicable";
   }
   add("data_" + std::to_string(m_random.below(400)) + "[" + std::to_string(m_random.below(64)) + "]");
   add(results);
}

void ENTRY_GENERATOR::next() {
   m_fields.clear();
   const unsigned int kind = m_random.below(1000);
   if (kind < 930) {
      m_kind = REGISTER_PACKING;
      make_register_packing();
   } else if (kind < 965) {
      m_kind = RAM_PACKING;
      make_ram_packing();
   } else if (kind < 985) {
      m_kind = IO_RULES_MATRIX;
      make_io_rules_matrix();
   } else if (kind < 992) {
      m_kind = DSP_BALANCING_IMPLEMENTATION;
      add("DSP block (18 x 18 signed)");
      add_name();
   } else if (kind < 996) {
      m_kind = IO_RULES;
      make_io_rules();
   } else if (kind < 998) {
      m_kind = FIT_COMPUTED_DQSBUSMUX_COUNTS;
      add("memory_data_" + std::to_string(m_random.below(40)));
      add(std::to_string(m_random.below(9)));
   } else if (kind < 999) {
      m_kind = IO_RULES_SUMMARY;
      add("Number of I/O rules passed");
      add(std::to_string(m_random.below(40)));
   } else {
      m_kind = FSYN_LOG_FILE;
      add("system_top_" + std::to_string(m_random.below(1000)) + ".fsyn");
   }
}

RECORD_GENERATOR::RECORD_GENERATOR() : m_random(2) {}

LOGDB_FSYN_LOG_ENTRY_TYPE RECORD_GENERATOR::next_kind() {
   if (m_first) {
      m_first = false;
      return REVISION_NUMBER;
   }
   unsigned int ticket = m_random.below(ALL_SHARES);
   for (const SHARE& share : SHARES) {
      if (ticket < share.m_weight) {
         return share.m_kind;
      }
      ticket -= share.m_weight;
   }
   return END_OF_LOG;
}

void RECORD_GENERATOR::make_name(MEM_STRING& name) {
   m_names.make(m_random, m_name);
   name.assign(m_name.data(), m_name.size());
}

void RECORD_GENERATOR::add_names(MEM_VECTOR<MEM_STRING>& names, unsigned int count) {
   for (unsigned int i = 0; i < count; ++i) {
      make_name(names.emplace_back());
   }
}

template <class RECORD> void RECORD_GENERATOR::make_terminal(RECORD& record) {
   record.m_port_type = static_cast<int>(m_random.below(72));
   record.m_port_index = static_cast<unsigned short>(m_random.percent(80) ? 0 : m_random.below(40));
   if constexpr (requires { record.m_value; }) {
      record.m_value = static_cast<int>(m_random.below(6));
   }
   if constexpr (requires { record.m_chain_type; }) {
      record.m_chain_type = DB_PAD_TO_CORE;
   }
   if constexpr (requires { record.m_connected; }) {
      record.m_connected = static_cast<unsigned char>(m_random.below(2));
   }
   if constexpr (requires { record.m_chain_index; }) {
      record.m_chain_index = static_cast<int>(m_random.below(64));
   }
   if constexpr (requires { record.m_user_delay_chain; }) {
      record.m_user_delay_chain = static_cast<unsigned char>(m_random.below(2));
   }
}

template <class RECORD> void RECORD_GENERATOR::make_setting(RECORD& record) {
   record.m_port_type = static_cast<int>(30 + m_random.below(25));
   record.m_port_setting = static_cast<int>(m_random.below(40));
}

void RECORD_GENERATOR::make_connections(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION& record, unsigned int inputs) {
   const unsigned int changed = m_random.percent(85) ? 1 : m_random.below(3);
   for (unsigned int i = 0; i < changed; ++i) {
      MEM_STRING& source = record.m_port_sources[m_random.below(inputs)];
      if (m_random.percent(10)) {
         source = "NC";
      } else {
         make_name(source);
      }
   }
}

void RECORD_GENERATOR::make_ram_connections(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM& record) {
   const unsigned int count = 1 + m_random.below(8);
   add_names(record.m_ram_source_names, count);
   for (unsigned int i = 0; i < count; ++i) {
      record.m_ram_port_types.push_back(static_cast<DB_INPUT_PORT_TYPE>(30 + m_random.below(25)));
      record.m_ram_port_indices.push_back(static_cast<unsigned short>(m_random.below(18)));
   }
}

void RECORD_GENERATOR::make_node_info(LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO& record) {
   const unsigned int inputs = m_random.percent(75) ? 1 + m_random.below(2) : 2 + m_random.below(2);
   add_names(record.m_input_port_names, inputs);
   for (unsigned int i = 0; i < inputs; ++i) {
      record.m_input_port_types.push_back(static_cast<DB_INPUT_PORT_TYPE>(i));
   }
   add_names(record.m_output_port_names, 1);
   record.m_output_port_types.push_back(static_cast<DB_OUTPUT_PORT_TYPE>(0));
   record.m_lut_mask = m_random.next() & 0xffffU;
   record.m_node_type = static_cast<int>(m_random.below(2));
}

void RECORD_GENERATOR::make_clock_buffer(LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF& record) {
   make_name(record.m_clkbuf_first_name);
   make_name(record.m_clkbuf_second_name);
   if (m_random.percent(50)) {
      make_name(record.m_enable_name);
   }
   record.m_value = static_cast<int>(1 + m_random.below(5));
}

void RECORD_GENERATOR::fill(LOGDB_FSYN_LOG_ENTRY& record) {
   switch (record.m_type) {
   case PRE_PLACEMENT_FLOW:
   case POST_PLACEMENT_FLOW:
   case END_OF_LOG_PRINT:
   case REVISION_NUMBER:
   case END_OF_LOG:
      return; // these keep the name that they have
   default:
      make_name(record.m_node_name);
   }
   switch (record.m_type) {
   case INSERT_ATOM:
      static_cast<LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM&>(record).m_atom_kind =
          static_cast<unsigned char>(m_random.below(2));
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM&>(record).m_related_name);
      break;
   case DELETE_ATOM:
      add_names(static_cast<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM&>(record).m_deleted_names,
                m_random.percent(15) ? 1 + m_random.below(2) : 0);
      break;
   case CREATE_ITERM:
      static_cast<LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM&>(record).m_port_type = static_cast<int>(m_random.below(72));
      break;
   case CREATE_OTERM:
      static_cast<LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM&>(record).m_port_type = static_cast<int>(m_random.below(10));
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM&>(record).m_related_name);
      break;
   case SET_LUTMASK: {
      auto& mask = static_cast<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK&>(record);
      mask.m_lut_mask = m_random.percent(80) ? m_random.next() & 0xffffU : m_random.next();
      mask.m_lut_mode = m_random.percent(90) ? 0 : static_cast<int>(m_random.below(3));
      mask.m_mask_option = static_cast<unsigned char>(m_random.below(2));
      break;
   }
   case REPLACE_OUTPUT_TERM_BY_TYPE:
      static_cast<LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE&>(record).m_port_type =
          static_cast<int>(m_random.below(10));
      break;
   case MOVE_BOUNDARY_PORT_ID:
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID&>(record).m_source_port_id);
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID&>(record).m_target_port_id);
      break;
   case SET_BOUNDARY_PORT_ID:
      make_terminal(static_cast<LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID&>(record));
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID&>(record).m_boundary_port_id);
      break;
   case SET_ITERM_PROPERTIES: {
      auto& properties = static_cast<LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES&>(record);
      make_terminal(properties);
      properties.m_property1 = static_cast<unsigned char>(m_random.below(2));
      properties.m_property2 = static_cast<int>(m_random.below(100));
      properties.m_property5 = -1;
      properties.m_property6 = static_cast<unsigned char>(m_random.below(2));
      break;
   }
   case STORE_NODE_INFO:
      make_node_info(static_cast<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO&>(record));
      break;
   case ADD_REMOVE_CONNECTION_LCELL_COMB:
      make_connections(static_cast<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION&>(record), 7);
      break;
   case ADD_REMOVE_CONNECTION_LCELL_FF:
      make_connections(static_cast<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION&>(record), 5);
      break;
   case ADD_REMOVE_CONNECTION_IO:
      make_connections(static_cast<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION&>(record), 16);
      break;
   case ADD_REMOVE_CONNECTION_RAM:
      make_ram_connections(static_cast<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM&>(record));
      break;
   case COPY_ATOM_LOCATION_CONSTRAINTS:
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS&>(record).m_other_atom_name);
      break;
   case COPY_OTERM_TIMING_ASSIGNMENTS:
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS&>(record).m_first_oterm_name);
      make_name(static_cast<LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS&>(record).m_second_oterm_name);
      break;
   case SET_INVERT_OBSERVABLE:
      static_cast<LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE&>(record).m_value =
          static_cast<int>(m_random.below(2));
      break;
   case CONFIRM_CLKBUF:
      make_clock_buffer(static_cast<LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF&>(record));
      break;
#define TERMINAL_RECORD(KIND)                                                                                     \
   case KIND:                                                                                                     \
      make_terminal(static_cast<LOGDB_FSYN_LOG_ENTRY_##KIND&>(record));                                           \
      break;
      TERMINAL_RECORD(SET_USAGE_AS)
      TERMINAL_RECORD(RESET_DELAY_CHAIN)
      TERMINAL_RECORD(SET_CONNECTED_TO_DELAY_CHAIN)
      TERMINAL_RECORD(SET_DELAY_CHAIN_INDEX)
      TERMINAL_RECORD(SET_USER_DELAY_CHAIN)
      TERMINAL_RECORD(CLEAR_INVERT)
      TERMINAL_RECORD(SET_INVERT)
      TERMINAL_RECORD(SET_GLOBAL)
      TERMINAL_RECORD(CLEAR_GLOBAL)
      TERMINAL_RECORD(CLEAR_USAGE_AS)
      TERMINAL_RECORD(REPLACE_INPUT_TERM_BY_TYPE)
      TERMINAL_RECORD(REMOVE_UNORDERED_FANOUT_TERM)
      TERMINAL_RECORD(DISCONNECT_BOUNDARY_PORT_ID)
#undef TERMINAL_RECORD
#define SETTING_RECORD(KIND)                                                                                      \
   case KIND:                                                                                                     \
      make_setting(static_cast<LOGDB_FSYN_LOG_ENTRY_##KIND&>(record));                                            \
      break;
      SETTING_RECORD(SET_OUTPUT_PORT_CLOCK)
      SETTING_RECORD(SET_OUTPUT_PORT_CLEAR)
      SETTING_RECORD(SET_INPUT_PORT_CLOCK)
      SETTING_RECORD(SET_INPUT_PORT_CLEAR)
      SETTING_RECORD(SET_INPUT_PORT_WIDTH)
#undef SETTING_RECORD
   default:
      break;
   }
}

std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> RECORD_GENERATOR::next() {
   std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> record = make_record(next_kind());
   fill(*record);
   return record;
}

std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> make_record(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
   switch (kind) {
#define NEW_RECORD(KIND)                                                                                          \
   case ::KIND:                                                                                                   \
      return std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>(new (0) LOGDB_FSYN_LOG_ENTRY_##KIND);
      FOR_EACH_RECORD_KIND(NEW_RECORD)
#undef NEW_RECORD
   }
   return nullptr;
}

std::vector<LOGDB_DATABASE_ENTRY> generate_entries(std::size_t count) {
   std::vector<LOGDB_DATABASE_ENTRY> entries(count);
   ENTRY_GENERATOR generator;
   for (LOGDB_DATABASE_ENTRY& entry : entries) {
      generator.next();
      entry.m_entry_type = generator.m_kind;
      for (const std::string& field : generator.m_fields) {
         entry.m_data_vector.emplace_back(field.data(), field.size());
      }
   }
   return entries;
}

void generate_database_file(const std::string& path, std::size_t count) {
   BLOCK_WRITER file(path);
   file.text() += "v1\n";
   ENTRY_GENERATOR generator;
   for (std::size_t i = 0; i < count; ++i) {
      generator.next();
      std::string& text = file.text();
      text += logdb_get_debug_string(generator.m_kind);
      for (const std::string& field : generator.m_fields) {
         text += ',';
         text += field;
      }
      text += ",\n";
   }
   file.close();
}

std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>> generate_records(std::size_t count) {
   std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>> records(count);
   RECORD_GENERATOR generator;
   for (auto& record : records) {
      record = generator.next();
   }
   return records;
}

void generate_log_file(const std::string& path, std::size_t count) {
   BLOCK_WRITER file(path);
   RECORD_GENERATOR generator;
   for (std::size_t i = 0; i < count; ++i) {
      TEXT_SINK sink(file.text());
      write_record<LIBRARY_RECORDS>(sink, *generator.next());
   }
   file.close();
}
