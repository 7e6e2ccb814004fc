#include "fsyn_model.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>

namespace {

// ---- Writing

std::string field(const MEM_STRING& name) {
   return name.c_str(); // up to its first zero byte
}

std::string field(const char* word) {
   return word;
}

std::string field(long number) {
   return std::to_string(number);
}

std::string hexadecimal(unsigned long number) {
   std::string digits;
   do {
      digits.insert(digits.begin(), "0123456789abcdef"[number % 16]);
      number /= 16;
   } while (number != 0);
   return digits;
}

template <class FIRST, class... MORE> std::string line(const FIRST& first, const MORE&... more) {
   std::string text = field(first);
   ((text += " " + field(more)), ...);
   return text.substr(0, 4095) + "\n";
}

std::string mask_halves(unsigned long mask) {
   return hexadecimal(mask & 0xFFFFFFFFUL) + " " + hexadecimal(mask >> 32);
}

MEM_STRING name_at(const MEM_VECTOR<MEM_STRING>& names, std::size_t index) {
   return index < names.size() ? names[index] : MEM_STRING();
}

template <class NUMBER> long number_at(const MEM_VECTOR<NUMBER>& numbers, std::size_t index) {
   return index < numbers.size() ? static_cast<long>(numbers[index]) : 0;
}

/// The kinds whose second line is the node name and the port, or what a class adds to it.
template <class RECORD> std::string port_line(const RECORD& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_index);
}

template <class RECORD> std::string setting_line(const RECORD& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_setting);
}

template <class RECORD> std::string lines(const RECORD& r) {
   constexpr std::size_t field_count = std::tuple_size_v<decltype(FSYN_KIND<RECORD>::fields())>;
   if constexpr (requires { r.m_port_setting; }) {
      return setting_line(r);
   } else if constexpr (field_count == 2 && requires { r.m_port_index; }) {
      return port_line(r);
   } else {
      static_assert(field_count == 0);
      // Markers: nothing. The others: whom it is about.
      switch (FSYN_KIND<RECORD>::value) {
      case 37:
      case 40:
         return line(r.m_node_name);
      default:
         return "";
      }
   }
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM& r) {
   return line(r.m_node_name, r.m_atom_kind) + line(r.m_related_name);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM& r) {
   std::string text = line(r.m_node_name);
   for (const MEM_STRING& name : r.m_deleted_names) {
      text += line(name);
   }
   return text + line("END_OF_DELETE_ATOM");
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM& r) {
   return line(r.m_node_name, r.m_port_type);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM& r) {
   return line(r.m_node_name, r.m_port_type) + line(r.m_related_name);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK& r) {
   const char* mode = r.m_lut_mode == 0 ? "NORMAL" : r.m_lut_mode == 1 ? "SUM" : "CARRY";
   return line(r.m_node_name) + line(mask_halves(r.m_lut_mask).c_str(), r.m_mask_option) + line(mode);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS& r) {
   return line(r.m_node_name) + line(r.m_port_type, r.m_port_index, r.m_value);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_index, r.m_chain_type);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_index, r.m_chain_type, r.m_connected);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_index, r.m_chain_type, r.m_chain_index);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_index, r.m_chain_type, r.m_user_delay_chain);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL& r) {
   return line(r.m_node_name, r.m_port_type, r.m_port_index, r.m_value);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE& r) {
   return line(r.m_node_name, r.m_port_type);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME& r) {
   return line(r.m_node_name, r.m_value) + line(r.m_instance_name);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID& r) {
   return line(r.m_node_name) + line(r.m_source_port_id, r.m_target_port_id);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID& r) {
   return port_line(r) + line(r.m_boundary_port_id);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES& r) {
   return port_line(r) +
          line(r.m_property1, r.m_property2, r.m_property3, r.m_property4, r.m_property5, r.m_property6);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO& r) {
   std::string text = line(r.m_node_name, r.m_node_type);
   for (std::size_t i = 0; i < r.m_input_port_types.size(); ++i) {
      text += line("Port", r.m_input_port_types[i], name_at(r.m_input_port_names, i));
   }
   for (std::size_t i = 0; i < r.m_output_port_types.size(); ++i) {
      text += line("Output", r.m_output_port_types[i], name_at(r.m_output_port_names, i));
   }
   return text + line("LUTMASK") + line(mask_halves(r.m_lut_mask).c_str());
}

std::string slot_lines(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION& r) {
   std::string text = line(r.m_node_name);
   for (std::size_t i = 0; i < r.m_port_sources.size(); ++i) {
      if (r.m_port_sources[i] != "UNCHANGED") {
         text += line(static_cast<long>(i), r.m_port_sources[i]);
      }
   }
   return text + line("End_of_ADD_REMOVE_Connection");
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB& r) {
   return slot_lines(r);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF& r) {
   return slot_lines(r);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO& r) {
   return slot_lines(r);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM& r) {
   std::string text = line(r.m_node_name);
   for (std::size_t i = 0; i < r.m_ram_source_names.size(); ++i) {
      text += line(number_at(r.m_ram_port_types, i), number_at(r.m_ram_port_indices, i), r.m_ram_source_names[i]);
   }
   return text + line("End_of_ADD_REMOVE_Connection");
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS& r) {
   return line(r.m_node_name, r.m_other_atom_name);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS& r) {
   return line(r.m_node_name) + line(r.m_first_oterm_name, "") + line(r.m_second_oterm_name, "");
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE& r) {
   return line(r.m_node_name) + line(r.m_value);
}

std::string lines(const LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF& r) {
   return line(r.m_node_name) + line(r.m_value, r.m_clkbuf_second_name) + line(r.m_clkbuf_first_name) +
          line(r.m_enable_name.empty() ? "NO_ENABLE" : r.m_enable_name);
}

// ---- Reading

class WORDS {
public:
   explicit WORDS(std::string_view bytes) : m_bytes(bytes) {}

   /// The next word; nothing at the end of the file, and from then on.
   std::optional<std::string> next() {
      while (!m_ended && m_at < m_bytes.size() && white(m_bytes[m_at])) {
         ++m_at;
      }
      m_ended = m_ended || m_at == m_bytes.size() || m_bytes[m_at] == '\0';
      if (m_ended) {
         return std::nullopt;
      }
      const std::size_t start = m_at;
      while (m_at < m_bytes.size() && !white(m_bytes[m_at]) && m_bytes[m_at] != '\0') {
         ++m_at;
      }
      return std::string(m_bytes.substr(start, std::min<std::size_t>(m_at - start, 4096)));
   }

   /// The next word where a field is expected.
   std::string field() { return next().value_or("LOGDB_FSYN_EOF"); }

private:
   static bool white(char byte) { return byte != '\0' && std::strchr(" \t\n\v\f\r", byte) != nullptr; }

   std::string_view m_bytes;
   std::size_t m_at = 0;
   bool m_ended = false;
};

using EVENTS = std::vector<std::string>;

long decimal(const std::string& word) {
   return std::strtol(word.c_str(), nullptr, 10);
}

unsigned long mask(WORDS& words) {
   const unsigned long low = std::strtoul(words.field().c_str(), nullptr, 16);
   const unsigned long high = std::strtoul(words.field().c_str(), nullptr, 16);
   return high << 32 | low;
}

void take_one(WORDS& words, MEM_STRING& name) {
   name = words.field().c_str();
}

void take_one(WORDS& words, int& number) {
   number = static_cast<int>(decimal(words.field()));
}

void take_one(WORDS& words, unsigned short& number) {
   number = static_cast<unsigned short>(decimal(words.field()));
}

void take_one(WORDS& words, unsigned char& flag) {
   flag = decimal(words.field()) != 0 ? 1 : 0;
}

template <class... FIELDS> void take(WORDS& words, FIELDS&... fields) {
   (take_one(words, fields), ...);
}

/// Node name and own fields in their order; markers have no words.
template <class RECORD> void take_record(WORDS& words, RECORD& r, EVENTS& /*events*/) {
   if (r.m_node_name != "DUMMY_NAME") {
      take(words, r.m_node_name);
      for_each_fsyn_field(r, [&](const char* /*name*/, auto& member) { take_one(words, member); });
   }
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM& r, EVENTS& /*events*/) {
   take(words, r.m_node_name, r.m_atom_kind, r.m_related_name);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM& r, EVENTS& events) {
   take(words, r.m_node_name);
   for (;;) {
      const std::optional<std::string> word = words.next();
      if (!word) {
         events.push_back(fsyn_list_ends_message(r.m_type));
         return;
      }
      if (*word == "END_OF_DELETE_ATOM") {
         return;
      }
      r.m_deleted_names.emplace_back(word->c_str());
   }
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM& r, EVENTS& /*events*/) {
   take(words, r.m_node_name, r.m_port_type);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM& r, EVENTS& /*events*/) {
   take(words, r.m_node_name, r.m_port_type, r.m_related_name);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK& r, EVENTS& events) {
   take(words, r.m_node_name);
   r.m_lut_mask = mask(words);
   take(words, r.m_mask_option);
   const std::string mode = words.field();
   r.m_lut_mode = mode == "SUM" ? 1 : mode == "CARRY" ? 2 : 0;
   if (r.m_lut_mode == 0 && mode != "NORMAL") {
      events.emplace_back("report: Unrecognized lutmask type");
   }
}

/// Port groups that begin with one word. The word after the last one is left in `word`.
template <class TYPE>
void take_groups(WORDS& words, const char* keyword, std::optional<std::string>& word, MEM_VECTOR<TYPE>& types,
                 MEM_VECTOR<MEM_STRING>& names) {
   while (word && *word == keyword) {
      int type = 0;
      MEM_STRING name;
      take(words, type, name);
      types.push_back(static_cast<TYPE>(type));
      names.push_back(name);
      word = words.next();
   }
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO& r, EVENTS& /*events*/) {
   take(words, r.m_node_name, r.m_node_type);
   std::optional<std::string> word = words.next();
   take_groups(words, "Port", word, r.m_input_port_types, r.m_input_port_names);
   take_groups(words, "Output", word, r.m_output_port_types, r.m_output_port_names);
   r.m_lut_mask = mask(words);
}

void take_slots(WORDS& words, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION& r, EVENTS& events) {
   take(words, r.m_node_name);
   for (;;) {
      const std::optional<std::string> index_word = words.next();
      if (index_word && *index_word == "End_of_ADD_REMOVE_Connection") {
         return;
      }
      const std::optional<std::string> name = words.next();
      if (!name) {
         events.push_back(fsyn_list_ends_message(r.m_type));
         return;
      }
      const int index = static_cast<int>(decimal(*index_word));
      if (index >= 0 && index < static_cast<int>(r.m_port_sources.size())) {
         r.m_port_sources[static_cast<std::size_t>(index)] = name->c_str();
      }
   }
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB& r, EVENTS& events) {
   take_slots(words, r, events);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF& r, EVENTS& events) {
   take_slots(words, r, events);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO& r, EVENTS& events) {
   take_slots(words, r, events);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM& r, EVENTS& events) {
   take(words, r.m_node_name);
   for (;;) {
      const std::optional<std::string> type = words.next();
      if (type && *type == "End_of_ADD_REMOVE_Connection") {
         return;
      }
      const std::optional<std::string> index = words.next();
      const std::optional<std::string> name = words.next();
      if (!name) {
         events.push_back(fsyn_list_ends_message(r.m_type));
         return;
      }
      r.m_ram_port_types.push_back(static_cast<DB_INPUT_PORT_TYPE>(static_cast<int>(decimal(*type))));
      r.m_ram_port_indices.push_back(static_cast<unsigned short>(decimal(*index)));
      r.m_ram_source_names.emplace_back(name->c_str());
   }
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS& r, EVENTS& /*events*/) {
   take(words, r.m_node_name, r.m_other_atom_name);
}

void take_record(WORDS& words, LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF& r, EVENTS& /*events*/) {
   take(words, r.m_node_name, r.m_value, r.m_clkbuf_second_name, r.m_clkbuf_first_name, r.m_enable_name);
   if (r.m_enable_name == "NO_ENABLE") {
      r.m_enable_name.clear();
   }
}

template <class RECORD> FSYN_RECORD make_record(WORDS& words, EVENTS& events) {
   auto* record = new (0) RECORD;
   take_record(words, *record, events);
   return FSYN_RECORD(record);
}

using MAKERS = std::map<std::string, FSYN_RECORD (*)(WORDS&, EVENTS&)>;

MAKERS makers_by_keyword() {
   MAKERS makers;
   for_each_fsyn_kind(
       [&]<class RECORD>() { makers[fsyn_keyword(FSYN_KIND<RECORD>::value)] = make_record<RECORD>; });
   return makers;
}

FSYN_RECORD read_record(WORDS& words, EVENTS& events) {
   static const MAKERS makers = makers_by_keyword();
   for (;;) {
      const std::string word = words.field();
      if (word == "LOGDB_FSYN_EOF") {
         return nullptr;
      }
      if (const auto found = makers.find(word); found != makers.end()) {
         return found->second(words, events);
      }
      events.emplace_back("report: Unrecognized line in the log");
   }
}

} // namespace

std::string fsyn_list_ends_message(int value) {
   return "The log ends inside a list of a " + fsyn_keyword(value) + " record";
}

std::string fsyn_model_text(const LOGDB_FSYN_LOG_ENTRY& record) {
   std::string text = fsyn_keyword(record.m_type) + "\n";
   with_fsyn_record(record, [&](const auto& concrete) { text += lines(concrete); });
   return text;
}

FSYN_READING fsyn_model_reading(std::string_view bytes) {
   FSYN_READING reading;
   WORDS words(bytes);
   while (const FSYN_RECORD record = read_record(words, reading.m_events)) {
      reading.m_records.push_back(fsyn_description(*record));
   }
   return reading;
}

FSYN_RECORD fsyn_model_read_back(const LOGDB_FSYN_LOG_ENTRY& record) {
   const std::string text = fsyn_model_text(record);
   WORDS words(text);
   EVENTS events;
   FSYN_RECORD back = read_record(words, events);
   if (words.next() || !events.empty()) {
      back.reset();
   }
   return back;
}
