// Shows what the library makes of files, for the comparison with a second implementation of the formats.
//
// Reads lines KIND<TAB>PATH[<TAB>ROOT] from standard input and prints a line of JSON for each. Every byte of a name
// or a field is one character of a string.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host_standalone.h"
#include "logdb.h"
#include "logdb_fsyn_database.h"
#include "logdb_fsyn_log_file.h"

using nlohmann::json;

namespace {

// JSON strings are UTF-8; a byte from 128 on becomes the two bytes of the character with its number.
template <class STRING> std::string characters(const STRING& bytes) {
   std::string text;
   for (const char byte : bytes) {
      const auto value = static_cast<unsigned char>(byte);
      if (value < 0x80) {
         text += byte;
      } else {
         text += static_cast<char>(0xc0 | value >> 6);
         text += static_cast<char>(0x80 | (value & 0x3f));
      }
   }
   return text;
}

std::string read_file(const std::string& path) {
   std::ifstream file(path, std::ios::binary);
   return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

json to_json(const MEM_STRING& name) {
   return characters(name);
}

template <class NUMBER> json to_json(const NUMBER& number) {
   return static_cast<std::conditional_t<std::is_same_v<NUMBER, unsigned long>, unsigned long, long>>(number);
}

template <class T> json to_json(const MEM_VECTOR<T>& list) {
   json array = json::array();
   for (const T& element : list) {
      array.push_back(to_json(element));
   }
   return array;
}

// Collects the members that a record's text carries.
class MEMBER_COLLECTOR {
public:
   explicit MEMBER_COLLECTOR(json& record) : m_record(record) {}

   template <class... FIELDS> void line(const FIELDS&... fields) { (add(fields), ...); }
   template <class FIELD> void line_with_blank(const FIELD& name) { add(name); }
   template <class FIELD> void names_until(const FIELD& names, std::string_view /*terminator*/) { add(names); }
   template <class FIELD> void slots_until(const FIELD& slots, std::string_view /*terminator*/) { add(slots); }
   template <class TYPES, class INDICES, class NAMES>
   void ram_inputs_until(const TYPES& types, const INDICES& indices, const NAMES& names,
                         std::string_view /*terminator*/) {
      line(types, indices, names);
   }
   template <class TYPES, class NAMES>
   void ports(std::string_view /*word*/, const TYPES& types, const NAMES& names) {
      line(types, names);
   }
   void word(std::string_view /*word*/) {}
   template <class... FIELDS> void lut_mask(const FIELDS&... fields) { (add(fields), ...); }
   template <class FIELD> void lut_mode(const FIELD& mode) { add(mode); }
   template <class FIELD> void optional_name(const FIELD& name, std::string_view /*word_for_none*/) { add(name); }
   template <class FIELD> void lost_name(const FIELD& name) { add(name); }
   template <class RECORD> void pad_to_core(const RECORD& /*record*/) {}

private:
   template <class FIELD> void add(const FIELD& field) { m_record[field.m_name] = to_json(field.m_value); }

   json& m_record;
};

json to_json(const LOGDB_FSYN_LOG_ENTRY& entry) {
   json record;
   logdb_fsyn_visit_kind(entry.m_type, [&](auto kind) {
      using KIND = decltype(kind);
      record["kind"] = KIND::m_name;
      MEMBER_COLLECTOR collector(record);
      KIND::layout(collector, static_cast<const typename KIND::RECORD&>(entry));
   });
   return record;
}

json entries() {
   json list = json::array();
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   for (int index = 0; index < database->get_number_of_entries(); ++index) {
      const LOGDB_DATABASE_ENTRY* entry = database->get_entry(index);
      list.push_back({static_cast<int>(entry->m_entry_type), to_json(entry->m_data_vector)});
   }
   return list;
}

class DUMP {
public:
   DUMP() : m_folder(std::filesystem::temp_directory_path() / ("logdb_dump_" + std::to_string(::getpid()))) {
      std::filesystem::create_directory(m_folder);
      host_set_project_directory(m_folder.c_str());
      host_set_internal_error_handler([this](const char* text, const char*, const char*, int) {
         m_reports.push_back(characters(std::string(text)));
      });
      host_set_debug_message_handler([this](const char*, const char* text) {
         m_list_messages += std::string_view(text).starts_with("The log ends inside a list") ? 1 : 0;
         return true;
      });
   }
   ~DUMP() {
      std::error_code ignored;
      std::filesystem::remove_all(m_folder, ignored);
   }
   DUMP(const DUMP&) = delete;
   DUMP& operator=(const DUMP&) = delete;

   json answer(const std::string& kind, const std::string& path, const std::optional<std::string>& root) {
      m_reports = json::array();
      m_list_messages = 0;
      if (!is_kind(kind)) {
         throw std::invalid_argument("unknown question: " + kind);
      }
      json result = kind == "log" ? log(path) : kind == "copy" ? copy(path) : database(kind, path, root);
      result["reports"] = m_reports;
      return result;
   }

private:
   static bool is_kind(std::string_view kind) {
      return kind == "database" || kind == "partition" || kind == "write" || kind == "log" || kind == "copy";
   }

   json database(const std::string& kind, const std::string& path, const std::optional<std::string>& root) {
      LOGDB_DATABASE::initialize("dump", LOGDB_DB_TYPE_CMP);
      if (kind == "partition") {
         LOGDB_DATABASE::load_database(path.c_str(), root.value_or("").c_str());
      } else {
         const std::filesystem::path link = m_folder / "dump.cmp.logdb";
         std::filesystem::remove(link);
         std::filesystem::create_symlink(std::filesystem::absolute(path), link);
         LOGDB_DATABASE::load_database();
      }
      json result;
      result["ok"] = m_reports.empty();
      result["entries"] = entries();
      if (kind == "write") {
         result["bytes"] = characters(read_file(commit(root)));
      }
      LOGDB_DATABASE::unload_database();
      return result;
   }

   std::string commit(const std::optional<std::string>& root) {
      std::string out = (m_folder / "out.cmp.logdb").string();
      if (root) {
         LOGDB_DATABASE::commit_database(out.c_str(), root->c_str());
      } else {
         LOGDB_DATABASE::initialize("out", LOGDB_DB_TYPE_CMP);
         LOGDB_DATABASE::commit_database();
      }
      return out;
   }

   json log(const std::string& path) {
      LOGDB_FSYN_LOG_FILE file(path.c_str());
      json result;
      result["records"] = json::array();
      while (LOGDB_FSYN_LOG_ENTRY* entry = file.read_fsyn_log_entry()) {
         const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> owner(entry);
         result["records"].push_back(to_json(*entry));
      }
      result["messages"] = m_list_messages;
      return result;
   }

   // The names of logs are lowered, so the log is copied from a name that stays as it is.
   json copy(const std::string& path) {
      const std::filesystem::path in = m_folder / "in.fsyn";
      const std::filesystem::path out = m_folder / "out.fsyn";
      std::filesystem::copy_file(path, in, std::filesystem::copy_options::overwrite_existing);
      std::filesystem::remove(out);
      LOGDB_FSYN_LOG_FILE file(out.c_str());
      file.init(true);
      file.append_file(in.c_str());
      file.close();
      return {{"bytes", characters(read_file(out.string()))}};
   }

   std::filesystem::path m_folder;
   json m_reports;
   int m_list_messages = 0;
};

} // namespace

int main() {
   std::ios::sync_with_stdio(false);
   DUMP dump;
   std::string line;
   while (std::getline(std::cin, line)) {
      std::istringstream words(line);
      std::string kind;
      std::string path;
      std::string root;
      std::getline(words, kind, '\t');
      std::getline(words, path, '\t');
      const bool has_root = !words.eof(); // a tab ended the path: the root behind it may be empty
      std::getline(words, root);
      std::cout << dump.answer(kind, path, has_root ? std::optional(root) : std::nullopt).dump() << std::endl;
   }
}
