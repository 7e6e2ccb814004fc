#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <unordered_map>

#include "command.h"
#include "json.h"
#include "log_options.h"
#include "text.h"

namespace {

struct SUMMARY_OPTIONS {
   LOG_OPTIONS m_log;
   bool m_list = false;
   bool m_json = false;
};

/// What became of an atom.
struct ATOM {
   bool m_is_born = false;
   bool m_is_dead = false;
   bool m_is_rewired = false;
   bool m_has_mask = false;
   std::uint64_t m_changes = 0;
   std::uint64_t m_overwritten_masks = 0;
   std::uint64_t m_undone = 0;
};

std::string_view value_of(const LOG_ITEM& item, std::string_view name) {
   const auto found = std::find_if(item.m_fields.begin(), item.m_fields.end(),
                                   [name](const FIELD& field) { return field.m_name == name; });
   return found == item.m_fields.end() ? std::string_view() : found->m_value;
}

/// Which settings the kinds make and take back, so that a later record undoes an earlier one.
struct SETTING {
   int m_set;
   int m_clear;
};

constexpr std::array settings = {SETTING{SET_INVERT, CLEAR_INVERT},
                                 SETTING{SET_GLOBAL, CLEAR_GLOBAL},
                                 SETTING{SET_USAGE_AS, CLEAR_USAGE_AS},
                                 SETTING{SET_DELAY_CHAIN_INDEX, RESET_DELAY_CHAIN},
                                 SETTING{SET_CONNECTED_TO_DELAY_CHAIN, RESET_DELAY_CHAIN},
                                 SETTING{SET_USER_DELAY_CHAIN, RESET_DELAY_CHAIN}};

class NET_EFFECT {
public:
   void take(const LOG_ITEM& item) {
      ++m_records;
      const bool is_marker = item.m_fields.empty();
      if (is_marker || item.m_kind == STORE_NODE_INFO) {
         return;
      }
      ++m_changes;
      ATOM& atom = atom_of(value_of(item, "node_name"));
      ++atom.m_changes;
      switch (item.m_kind) {
      case INSERT_ATOM:
      case CONFIRM_CLKBUF:
         atom.m_is_born = true;
         atom.m_is_dead = false;
         break;
      case DELETE_ATOM:
         take_deletion(item, atom);
         break;
      case ADD_REMOVE_CONNECTION_LCELL_COMB:
      case ADD_REMOVE_CONNECTION_LCELL_FF:
      case ADD_REMOVE_CONNECTION_IO:
      case ADD_REMOVE_CONNECTION_RAM:
         atom.m_is_rewired = true;
         break;
      case SET_LUTMASK:
         atom.m_overwritten_masks += atom.m_has_mask ? 1 : 0;
         atom.m_has_mask = true;
         break;
      default:
         take_setting(item, atom);
      }
   }

   std::uint64_t records() const { return m_records; }
   std::uint64_t changes() const { return m_changes; }
   const std::map<std::string, ATOM, std::less<>>& atoms() const { return m_atoms; }

private:
   ATOM& atom_of(std::string_view name) {
      const auto found = m_atoms.find(name);
      return found == m_atoms.end() ? m_atoms[std::string(name)] : found->second;
   }

   void take_deletion(const LOG_ITEM& item, ATOM& atom) {
      atom.m_is_dead = true;
      for (const FIELD& field : item.m_fields) {
         if (field.m_name == "deleted_names" && field.is_element()) {
            atom_of(field.m_value).m_is_dead = true;
         }
      }
   }

   void take_setting(const LOG_ITEM& item, ATOM& atom) {
      const std::string terminal = std::string(value_of(item, "node_name")) + ' ' +
                                   std::string(value_of(item, "port_type")) + ' ' +
                                   std::string(value_of(item, "port_index")) + ' ';
      for (const SETTING& setting : settings) {
         const std::string key = terminal + std::to_string(setting.m_set);
         if (item.m_kind == setting.m_set) {
            // Set once more, or to another value: what was set before had no effect in the end.
            atom.m_undone += m_set[key]++ == 0 ? 0 : 1;
         } else if (item.m_kind == setting.m_clear) {
            const auto found = m_set.find(key);
            if (found != m_set.end()) {
               ++atom.m_undone;
               m_set.erase(found);
            }
         }
      }
   }

   std::map<std::string, ATOM, std::less<>> m_atoms;
   std::unordered_map<std::string, unsigned> m_set;
   std::uint64_t m_records = 0;
   std::uint64_t m_changes = 0;
};

/// A group of atoms and how it is told.
struct GROUP {
   const char* m_key;
   const char* m_title;
   bool (*m_holds)(const ATOM&);
};

const std::array groups = {
    GROUP{"born", "atoms that were born and live",
          [](const ATOM& atom) { return atom.m_is_born && !atom.m_is_dead; }},
    GROUP{"died", "atoms of the netlist that died",
          [](const ATOM& atom) { return !atom.m_is_born && atom.m_is_dead; }},
    GROUP{"born_and_died", "atoms that were born and died",
          [](const ATOM& atom) { return atom.m_is_born && atom.m_is_dead; }},
    GROUP{"rewired", "atoms of the netlist that survived rewired",
          [](const ATOM& atom) { return !atom.m_is_born && !atom.m_is_dead && atom.m_is_rewired; }},
    GROUP{"changed_otherwise", "atoms of the netlist that changed otherwise",
          [](const ATOM& atom) { return !atom.m_is_born && !atom.m_is_dead && !atom.m_is_rewired; }},
    GROUP{"changed_and_died", "atoms that were changed in vain, as they died",
          [](const ATOM& atom) { return !atom.m_is_born && atom.m_is_dead && atom.m_changes > 1; }},
    GROUP{"mask_overwritten", "atoms whose mask was set more than once",
          [](const ATOM& atom) { return atom.m_overwritten_masks != 0; }},
    GROUP{"undone", "atoms with a setting that was undone or set anew",
          [](const ATOM& atom) { return atom.m_undone != 0; }},
};

std::vector<std::string_view> members(const NET_EFFECT& effect, const GROUP& group) {
   std::vector<std::string_view> names;
   for (const auto& [name, atom] : effect.atoms()) {
      if (group.m_holds(atom)) {
         names.push_back(name);
      }
   }
   return names;
}

std::uint64_t total(const NET_EFFECT& effect, std::uint64_t ATOM::*count) {
   std::uint64_t sum = 0;
   for (const auto& [name, atom] : effect.atoms()) {
      sum += atom.*count;
   }
   return sum;
}

void print(OUTPUT& output, const SUMMARY_OPTIONS& options, const NET_EFFECT& effect) {
   output << counted(effect.records(), "record", "records") << ", "
          << counted(effect.changes(), "change", "changes") << " to "
          << counted(effect.atoms().size(), "atom", "atoms") << '\n';
   for (const GROUP& group : groups) {
      const std::vector<std::string_view> names = members(effect, group);
      std::string figures = grouped(names.size());
      figures.insert(0, figures.size() < 10 ? 10 - figures.size() : 0, ' ');
      output << figures << "  ";
      output.styled(STYLE::LABEL, group.m_title);
      output << '\n';
      for (const std::string_view name : options.m_list ? names : std::vector<std::string_view>()) {
         output << "            ";
         output.styled(STYLE::NODE, name);
         output << '\n';
      }
   }
   output << counted(total(effect, &ATOM::m_overwritten_masks), "mask", "masks") << " overwritten, "
          << counted(total(effect, &ATOM::m_undone), "setting", "settings") << " undone by later ones\n";
}

void print_json(OUTPUT& output, const SUMMARY_OPTIONS& options, const NET_EFFECT& effect) {
   std::string json = "{\"records\":" + std::to_string(effect.records()) +
                      ",\"changes\":" + std::to_string(effect.changes()) +
                      ",\"atoms\":" + std::to_string(effect.atoms().size());
   for (const GROUP& group : groups) {
      const std::vector<std::string_view> names = members(effect, group);
      json += std::string(",\"") + group.m_key + "\":";
      if (!options.m_list) {
         json += std::to_string(names.size());
         continue;
      }
      json += "[";
      for (const std::string_view name : names) {
         json += json.back() == '[' ? "" : ",";
         append_json_string(json, name);
      }
      json += "]";
   }
   output << json << ",\"masks_overwritten\":" << std::to_string(total(effect, &ATOM::m_overwritten_masks))
          << ",\"settings_undone\":" << std::to_string(total(effect, &ATOM::m_undone)) << "}\n";
}

STATUS summary(SUMMARY_OPTIONS& options) {
   OUTPUT output(options.m_log.colour());
   NET_EFFECT effect;
   const STATUS status = for_each_item(options.m_log, [&effect](const LOG_READER&, const LOG_ITEM& item) {
      effect.take(item);
      return true;
   });
   if (status != STATUS::FINE && effect.records() == 0) {
      return status;
   }
   if (options.m_json) {
      print_json(output, options, effect);
   } else {
      print(output, options, effect);
   }
   output.flush();
   return status;
}

} // namespace

void add_summary(COMMAND_TABLE& table) {
   COMMAND& command = table.add("summary", "Tell the net effect of a physical-synthesis log");
   command.m_description = "Follows every atom through a physical-synthesis log and tells what is left in the "
                           "end: atoms that were born,"
                           " that died, that survived with other connections; masks that were overwritten and "
                           "settings that a later record"
                           " undid. Several files are taken for one log, in their order.\n"
                           "Needs memory for each atom that is named.";
   command.m_examples = {{"summary top.fsyn", "what physical synthesis did in the end"},
                         {"summary --list top.fsyn", "the same with the names of the atoms"},
                         {"summary --json top.fsyn", "the same for a script"}};
   auto options = std::make_shared<SUMMARY_OPTIONS>();
   options->m_log.m_takes_databases = false;
   add_log_options(command, options->m_log);
   command.add_flag("--list", options->m_list, "Name the atoms");
   command.add_flag("--json", options->m_json, "One JSON object");
   command.m_run = [options] { return summary(*options); };
}
