#include "packing_log.h"

#include <array>
#include <charconv>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "netlist_error.h"

namespace {

constexpr std::array<std::pair<PATTERN, std::string_view>, 6> PATTERN_NAMES = {{
    {PATTERN::BEHIND_LUT, "REGISTER_BEHIND_LUT"},
    {PATTERN::LUT_BEHIND, "LUT_BEHIND_REGISTER"},
    {PATTERN::CHAIN, "REGISTER_CHAIN"},
    {PATTERN::AT_PIN, "REGISTER_AT_PIN"},
    {PATTERN::BEHIND_MULTIPLIER, "REGISTER_BEHIND_MULTIPLIER"},
    {PATTERN::BEFORE_MULTIPLIER, "REGISTER_BEFORE_MULTIPLIER"},
}};

std::string_view pattern_name(PATTERN pattern) {
   for (const auto& [value, name] : PATTERN_NAMES) {
      if (value == pattern) {
         return name;
      }
   }
   return "";
}

/// Fields are raw text that ends at a comma; what we write into them must not have one.
void add_entry(LOGDB_DATABASE& database, LOGDB_ENTRY_TYPE_ENUM kind,
               std::initializer_list<std::string_view> fields) {
   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = kind;
   for (const std::string_view field : fields) {
      entry.m_data_vector.emplace_back(field);
   }
   database.add_entry(&entry);
}

/// The fields of one entry, with errors that say which entry it is.
class ENTRY_FIELDS {
public:
   ENTRY_FIELDS(const LOGDB_DATABASE_ENTRY& entry, int index) : m_entry(entry), m_index(index) {
      // The node names are the fields whose position matters most: a name that was left out when a partition
      // was written lets all that follow move up.
      if (entry.m_data_vector.size() != LOGDB_DATA_FORMAT[entry.m_entry_type].m_num_fields) {
         fail("it has " + std::to_string(entry.m_data_vector.size()) + " fields");
      }
   }

   std::string text(std::size_t position) const {
      const MEM_STRING& field = m_entry.m_data_vector[position];
      return {field.data(), field.size()};
   }

   int number(std::size_t position) const {
      const std::string digits = text(position);
      int value = 0;
      const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
      if (error != std::errc() || end != digits.data() + digits.size()) {
         fail("\"" + digits + "\" is no number");
      }
      return value;
   }

   /// True for one word, false for the other.
   bool choice(std::size_t position, std::string_view yes, std::string_view no) const {
      if (text(position) != yes && text(position) != no) {
         fail("\"" + text(position) + "\" is neither " + std::string(yes) + " nor " + std::string(no));
      }
      return text(position) == yes;
   }

   PATTERN pattern(std::size_t position) const {
      for (const auto& [value, name] : PATTERN_NAMES) {
         if (name == text(position)) {
            return value;
         }
      }
      fail("\"" + text(position) + "\" is no pattern");
   }

private:
   [[noreturn]] void fail(const std::string& what) const {
      throw NETLIST_ERROR("entry " + std::to_string(m_index) + " of the database is no packing decision: " + what);
   }

   const LOGDB_DATABASE_ENTRY& m_entry;
   int m_index;
};

void log_multiplier(const MULTIPLIER_DECISION& decision, LOGDB_DATABASE& database) {
   add_entry(database, DSP_BALANCING_IMPLEMENTATION, {decision.m_implementation, decision.m_multiplier});
}

MULTIPLIER_DECISION logged_multiplier(const ENTRY_FIELDS& fields) {
   return {fields.text(0), fields.text(1)};
}

void log_ram(const RAM_DECISION& decision, LOGDB_DATABASE& database) {
   add_entry(database, RAM_PACKING,
             {decision.m_shared ? "SHARED" : "ALONE", std::to_string(decision.m_block), decision.m_half,
              decision.m_mode, std::to_string(decision.m_width), std::to_string(decision.m_depth),
              decision.m_start, decision.m_reason, decision.m_ram});
}

RAM_DECISION logged_ram(const ENTRY_FIELDS& fields) {
   RAM_DECISION decision;
   decision.m_shared = fields.choice(0, "SHARED", "ALONE");
   decision.m_block = fields.number(1);
   decision.m_half = fields.text(2);
   decision.m_mode = fields.text(3);
   decision.m_width = fields.number(4);
   decision.m_depth = fields.number(5);
   decision.m_start = fields.text(6);
   decision.m_reason = fields.text(7);
   decision.m_ram = fields.text(8);
   return decision;
}

void log_register(const REGISTER_DECISION& decision, LOGDB_DATABASE& database) {
   add_entry(database, REGISTER_PACKING,
             {decision.m_packed ? "PACKED" : "APART", decision.m_reason, pattern_name(decision.m_pattern),
              decision.m_register, decision.m_partner});
}

REGISTER_DECISION logged_register(const ENTRY_FIELDS& fields) {
   REGISTER_DECISION decision;
   decision.m_packed = fields.choice(0, "PACKED", "APART");
   decision.m_reason = fields.text(1);
   decision.m_pattern = fields.pattern(2);
   decision.m_register = fields.text(3);
   decision.m_partner = fields.text(4);
   return decision;
}

/// The kind of an entry whose kind's name nobody knows is -1: the file was damaged, or is a newer one's.
void check_kind(const LOGDB_DATABASE_ENTRY& entry, int index) {
   if (entry.m_entry_type < 0) {
      throw NETLIST_ERROR("entry " + std::to_string(index) + " of the database is of an unknown kind");
   }
}

} // namespace

void log_decisions(const DECISIONS& decisions, LOGDB_DATABASE& database) {
   for (const MULTIPLIER_DECISION& decision : decisions.m_multipliers) {
      log_multiplier(decision, database);
   }
   for (const RAM_DECISION& decision : decisions.m_rams) {
      log_ram(decision, database);
   }
   for (const REGISTER_DECISION& decision : decisions.m_registers) {
      log_register(decision, database);
   }
}

DECISIONS logged_decisions(const LOGDB_DATABASE& database) {
   DECISIONS decisions;
   for (int index = 0; index < database.get_number_of_entries(); ++index) {
      const LOGDB_DATABASE_ENTRY& entry = *database.get_entry(index);
      switch (entry.m_entry_type) {
      case DSP_BALANCING_IMPLEMENTATION:
         decisions.m_multipliers.push_back(logged_multiplier({entry, index}));
         break;
      case RAM_PACKING:
         decisions.m_rams.push_back(logged_ram({entry, index}));
         break;
      case REGISTER_PACKING:
         decisions.m_registers.push_back(logged_register({entry, index}));
         break;
      default:
         check_kind(entry, index);
         break;
      }
   }
   return decisions;
}

std::vector<LOGDB_DATABASE_ENTRY> entries_of_other_stages(const LOGDB_DATABASE& database) {
   std::vector<LOGDB_DATABASE_ENTRY> entries;
   for (int index = 0; index < database.get_number_of_entries(); ++index) {
      const LOGDB_DATABASE_ENTRY& entry = *database.get_entry(index);
      check_kind(entry, index);
      const bool is_ours = entry.m_entry_type == DSP_BALANCING_IMPLEMENTATION ||
                           entry.m_entry_type == RAM_PACKING || entry.m_entry_type == REGISTER_PACKING;
      if (!is_ours) {
         entries.push_back(entry);
      }
   }
   return entries;
}
