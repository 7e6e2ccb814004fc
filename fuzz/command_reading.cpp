// Never may the bytes of a log make a command that reads it crash, go on for ever or leave another way than with the status
// 0, 1 or 3, or make two commands, or a command and the library, tell different things about what it holds.

#include "database_rules.h"
#include "fsyn_model.h"
#include "fuzz_command.h"
#include "json.h"

namespace {

using JSON = nlohmann::json;

/// What show says a database holds is what the rules of the format say.
void check_shown_entries(std::string_view bytes, int status, const std::vector<JSON>& shown) {
   const DATABASE_CONTENTS wanted = rules_of_reading(bytes);
   FUZZ_HOLDS(status == (wanted.m_ok ? 0 : 3));
   FUZZ_HOLDS(shown.size() == wanted.m_entries.size());
   for (std::size_t index = 0; index < shown.size(); ++index) {
      const JSON& fields = shown[index].at("fields");
      const std::vector<std::string>& wanted_fields = wanted.m_entries[index].m_fields;
      FUZZ_HOLDS(fields.size() == wanted_fields.size());
      for (std::size_t position = 0; position < fields.size(); ++position) {
         FUZZ_HOLDS(bytes_of_json_text(fields[position].get_ref<const std::string&>()) == wanted_fields[position]);
      }
   }
}

/// The library reads the same records.
void check_shown_records(std::string_view bytes, int status, const std::vector<JSON>& shown) {
   FUZZ_HOLDS(status == 0);
   FUZZ_HOLDS(shown.size() == fsyn_model_reading(bytes).m_records.size());
}

/// Those that count have ways of their own through a log.
void check_counts(const std::string& path, const std::string& format, std::size_t items, bool is_readable) {
   const FUZZ_ANSWER stats = fuzz_run(add_stats, {"--json", "--as", format, path});
   FUZZ_HOLDS((stats.m_status == 0) == is_readable);
   const std::vector<JSON> counted = fuzz_objects(stats.m_output);
   FUZZ_HOLDS(items == 0 || (counted.size() == 1 && counted[0].at("items") == items));
   const std::string count = std::to_string(items) + "\n";
   const int found = !is_readable ? 3 : items == 0 ? 1 : 0;
   const FUZZ_ANSWER all = fuzz_run(add_grep, {"-c", "--as", format, "", path});
   FUZZ_HOLDS(all.m_status == found && all.m_output == count);
   const FUZZ_ANSWER not_all = fuzz_run(add_grep, {"-c", "-v", "--as", format, "", path});
   FUZZ_HOLDS(not_all.m_status == (is_readable ? 1 : 3) && not_all.m_output == "0\n");
}

/// The quick way through a database and the way through its items find the same.
void check_search(const std::string& path, const std::string& format, const std::vector<JSON>& shown) {
   const std::vector<std::string> patterns = {"a", "[0-9]", "T", "|", "top", "1|n", "_"};
   const std::string& pattern = patterns[shown.size() % patterns.size()];
   const FUZZ_ANSWER lines = fuzz_run(add_grep, {"-c", "--as", format, pattern, path});
   const FUZZ_ANSWER items = fuzz_run(add_grep, {"--json", "--as", format, pattern, path});
   FUZZ_HOLDS(lines.m_output == std::to_string(fuzz_lines(items.m_output).size()) + "\n");
   FUZZ_HOLDS(lines.m_status == items.m_status);
}

/// The texts that an item has in its fields, lists and slots among them.
void add_texts(const JSON& value, std::vector<std::string>& texts) {
   if (value.is_string()) {
      texts.push_back(bytes_of_json_text(value.get_ref<const std::string&>()));
   }
   for (const JSON& element : value.is_structured() ? value : JSON::array()) {
      add_texts(element, texts);
   }
}

/// A node, or another text, to ask for: nothing in it means anything but itself.
std::string name_of_an_item(const std::vector<JSON>& shown, std::size_t choice) {
   std::vector<std::string> texts;
   if (!shown.empty()) {
      add_texts(shown[choice % shown.size()], texts);
   }
   std::string name = texts.empty() ? "top" : texts[choice / 7 % texts.size()];
   std::erase_if(name, [](char byte) { return std::string_view("*?[\\").find(byte) != std::string_view::npos; });
   // An instance of it, perhaps.
   const std::size_t bar = name.rfind('|');
   name.resize(choice / 5 % 2 == 0 || bar == std::string::npos ? name.size() : bar);
   return name.empty() || name.ends_with('|') ? "top" : name;
}

/// What blame tells is what show tells when it is asked for these nodes.
void check_blame_of(const std::string& path, const std::string& format, std::vector<std::string> blame,
                    std::vector<std::string> show) {
   blame.push_back(path);
   show.insert(show.end(), {"--json", "--as", format, path});
   blame.insert(blame.begin(), {"--json", "--as", format});
   const FUZZ_ANSWER told = fuzz_run(add_blame, blame);
   const FUZZ_ANSWER shown = fuzz_run(add_show, show);
   FUZZ_HOLDS(told.m_status == shown.m_status);
   std::vector<JSON> items = fuzz_objects(told.m_output);
   for (JSON& item : items) {
      FUZZ_HOLDS(item.at("file") == path);
      item.erase("file");
   }
   FUZZ_HOLDS(items == fuzz_objects(shown.m_output));
   blame.erase(blame.begin());
   const FUZZ_ANSWER lines = fuzz_run(add_blame, blame);
   FUZZ_HOLDS(lines.m_status == told.m_status && fuzz_lines(lines.m_output).size() == items.size());
}

void check_blame(const std::string& path, const std::string& format, const std::vector<JSON>& shown,
                 std::size_t choice) {
   const std::string name = name_of_an_item(shown, choice);
   check_blame_of(path, format, {"*"}, {"--node=*"});
   check_blame_of(path, format, {"--exact", "--", name}, {"--node=" + name});
   check_blame_of(path, format, {"--", name}, {"--node=" + name, "--node=" + name + "|*"});
}

/// What has no second way of being found out must work all the same.
void check_another(const std::string& path, const std::string& format, std::size_t choice) {
   using RUN = std::pair<void (*)(COMMAND_TABLE&), std::vector<std::string>>;
   const std::vector<RUN> runs = {
       {add_show, {}},
       {add_show, {"--csv"}},
       {add_show, {"--color", "always"}},
       {add_show, {"--fields", "number,line,kind,phase,node,0,node_name"}},
       {add_show, {"--node", "*u1*", "--kind", "*E*", "--range", "2:7"}},
       {add_stats, {}},
       {add_stats, {"--by", "node", "--top", "3"}},
       {add_stats, {"--by", "depth:2", "--json"}},
       {add_stats, {"--by", "phase", "--color", "always"}},
       {add_check, {"--partition-root", "top|u1"}},
       {add_check, {"--partition-root", "", "--json"}},
       {add_grep, {"--color", "always", "[a-t]"}},
       {add_grep, {"--glob", "*|*"}},
       {add_grep, {"-i", "--fixed", "Port"}},
       {add_grep, {"^$"}},
       {add_blame, {"--color", "always", "*u?|*"}},
       {add_blame, {"--exact", ""}},
       {add_summary, {}},
       {add_summary, {"--list", "--color", "always"}},
       {add_summary, {"--list", "--json"}},
   };
   auto [add, arguments] = runs[choice % runs.size()];
   arguments.insert(arguments.end(), {"--as", format, path});
   fuzz_run(add, arguments);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const std::string_view bytes(reinterpret_cast<const char*>(data), size);
   const bool is_packed = fuzz_may_be_packed(bytes);
   const FUZZ_FILE file(bytes);
   for (const std::string& format : fuzz_formats()) {
      const FUZZ_ANSWER show = fuzz_run(add_show, {"--json", "--as", format, file.path()});
      const std::vector<JSON> shown = fuzz_objects(show.m_output);
      if (!is_packed) {
         (format == "logdb" ? check_shown_entries : check_shown_records)(bytes, show.m_status, shown);
         check_counts(file.path(), format, shown.size(), show.m_status == 0);
         check_search(file.path(), format, shown);
         check_blame(file.path(), format, shown, fuzz_choice(bytes));
      }
      const FUZZ_ANSWER check = fuzz_run(add_check, {"--json", "--as", format, file.path()});
      FUZZ_HOLDS((check.m_status == 1) == !fuzz_objects(check.m_output).empty() || check.m_status == 3);
      FUZZ_HOLDS(check.m_status != 0 || show.m_status == 0);
      check_another(file.path(), format, fuzz_choice(bytes));
   }
   fuzz_run(add_show, {"--range", "1", file.path()});
   FUZZ_HOLDS(file.bytes() == bytes);
   return 0;
}

FUZZ_MUTATOR(fuzz_mutate_log)
