// Never may a log make split crash, go on for ever or leave another way than with the status 0, or 3 for a log that check
// finds an error in, which leaves nothing, and never may the parts have an error, hold an item twice, in another order or not
// at all, or be for anything else than what they were asked for.

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "fuzz_command.h"
#include "logdb.h"

namespace {

using JSON = nlohmann::json;
using ITEMS = std::vector<JSON>;

/// A name for a folder, and a folder for that.
class PARTS_FOLDER {
public:
   PARTS_FOLDER() : m_path((std::filesystem::temp_directory_path() / "logdb_fuzz.XXXXXX").string()) {
      FUZZ_HOLDS(::mkdtemp(m_path.data()) != nullptr);
   }
   ~PARTS_FOLDER() { std::filesystem::remove_all(m_path); }
   PARTS_FOLDER(const PARTS_FOLDER&) = delete;
   PARTS_FOLDER& operator=(const PARTS_FOLDER&) = delete;

   std::string parts() const { return m_path + "/parts"; }

private:
   std::string m_path;
};

/// The items of a log without those that every part has of its own.
ITEMS items_of(const std::string& path, const std::string& format) {
   ITEMS items = fuzz_items(path, format);
   if (format == "fsyn") {
      std::erase_if(items, fuzz_is_marker);
   }
   return items;
}

/// Whether items stand among others in the same order.
bool is_part_of(const ITEMS& part, const ITEMS& whole) {
   auto place = whole.begin();
   for (const JSON& item : part) {
      place = std::find(place, whole.end(), item);
      if (place == whole.end()) {
         return false;
      }
      ++place;
   }
   return true;
}

/// What is asked for.
struct WAY {
   std::string m_by;
   std::size_t m_levels;
};

/// The node that an item is about: what a record names first, or the first name in the fields of an entry.
std::string node_of(const JSON& item) {
   if (!item.contains("fields")) {
      return item.at("node_name").get<std::string>();
   }
   const auto fields = item.at("fields").get<std::vector<std::string>>();
   for (const LOGDB_DATA_FORMAT_INFO& kind : LOGDB_DATA_FORMAT) {
      const auto type = static_cast<LOGDB_ENTRY_TYPE_ENUM>(&kind - LOGDB_DATA_FORMAT);
      const auto* const end = kind.m_datatypes + std::min<std::size_t>(kind.m_num_fields, fields.size());
      const auto* const found = std::find(kind.m_datatypes, end, NODE_NAME);
      if (item.at("kind") == logdb_get_debug_string(type) && found != end) {
         return fields[static_cast<std::size_t>(found - kind.m_datatypes)];
      }
   }
   return {};
}

/// The first levels of what is above a node.
std::string partition_of(const std::string& node, std::size_t levels) {
   const std::size_t last_bar = node.rfind('|');
   std::size_t end = 0;
   std::size_t level = 0;
   while (last_bar != std::string::npos && end < last_bar && (node[end] != '|' || ++level < levels)) {
      ++end;
   }
   return node.substr(0, end);
}

/// What all items of a part have in common.
std::string meaning_of(const JSON& item, const WAY& way) {
   const std::string phase = item.contains("phase") ? item.at("phase").get<std::string>() : "no phase";
   return way.m_by == "kind"    ? item.at("kind").get<std::string>()
          : way.m_by == "phase" ? phase
                                : partition_of(node_of(item), way.m_levels);
}

void check_parts(const std::string& output, const std::string& folder, const std::string& format, const WAY& way,
                 const ITEMS& whole) {
   std::map<JSON, std::ptrdiff_t> left;
   for (const JSON& item : whole) {
      ++left[item];
   }
   std::set<std::string> meanings;
   std::size_t files = 0;
   for (const std::string_view line : fuzz_lines(output)) {
      const std::size_t tab = line.rfind('\t');
      FUZZ_HOLDS(tab != std::string_view::npos);
      const std::string path(line.substr(0, tab));
      FUZZ_HOLDS(path.starts_with(folder + "/") && path.ends_with("." + format));
      FUZZ_HOLDS(fuzz_is_sound(path, format));
      const ITEMS part = items_of(path, format);
      FUZZ_HOLDS(!part.empty() && line.substr(tab + 1) == std::to_string(part.size()));
      FUZZ_HOLDS(is_part_of(part, whole));
      for (const JSON& item : part) {
         --left[item];
         // Kinds without a name are in one file together.
         FUZZ_HOLDS(meaning_of(item, way) == meaning_of(part.front(), way) ||
                    path.ends_with("/unknown." + format));
      }
      FUZZ_HOLDS(meanings.insert(meaning_of(part.front(), way)).second);
      ++files;
   }
   FUZZ_HOLDS(std::all_of(left.begin(), left.end(), [](const auto& item) { return item.second == 0; }));
   std::error_code error;
   const std::filesystem::directory_iterator found(folder, error);
   FUZZ_HOLDS(static_cast<std::size_t>(std::distance(begin(found), end(found))) == files);
}

void check_split(const FUZZ_FILE& file, const std::string& format, const WAY& way) {
   const PARTS_FOLDER folder;
   const FUZZ_ANSWER answer = fuzz_run(add_split, {"--by", way.m_by, "--levels", std::to_string(way.m_levels),
                                                   "--as", format, "--directory", folder.parts(), file.path()});
   FUZZ_HOLDS(answer.m_status == (fuzz_is_sound(file.path(), format) ? 0 : 3));
   if (answer.m_status == 0) {
      check_parts(answer.m_output, folder.parts(), format, way, items_of(file.path(), format));
   } else {
      FUZZ_HOLDS(answer.m_output.empty() && !std::filesystem::exists(folder.parts()));
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const std::string_view bytes(reinterpret_cast<const char*>(data), size);
   if (fuzz_may_be_packed(bytes)) {
      return 0;
   }
   const FUZZ_FILE file(bytes);
   const std::vector<std::string> ways = {"kind", "partition", "phase"};
   const std::size_t choice = fuzz_choice(bytes);
   for (const std::string& format : fuzz_formats()) {
      check_split(file, format, {ways[choice % ways.size()], 1 + choice / ways.size() % 3});
   }
   FUZZ_HOLDS(file.bytes() == bytes);
   return 0;
}

FUZZ_MUTATOR(fuzz_mutate_log)
