#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "command.h"
#include "log_options.h"
#include "rewriting.h"
#include "text.h"

namespace {

struct SPLIT_OPTIONS {
   LOG_OPTIONS m_log;
   std::string m_file;
   std::string m_by;
   std::string m_folder = ".";
   std::size_t m_levels = 2;
};

constexpr std::size_t most_outputs = 500;

/// A name that a file can have anywhere, with a number and an ending behind it.
std::string file_name_of(std::string_view text) {
   constexpr std::size_t longest_name = 200;
   std::string name;
   for (const char byte : text) {
      const bool is_plain = ('a' <= byte && byte <= 'z') || ('A' <= byte && byte <= 'Z') ||
                            ('0' <= byte && byte <= '9') || byte == '_' || byte == '-';
      name += is_plain ? byte : byte == '|' ? '.' : '_';
   }
   return name.empty() ? "none" : name.substr(0, longest_name);
}

class SPLIT {
public:
   explicit SPLIT(const SPLIT_OPTIONS& options) : m_options(options) {}

   STATUS run() {
      try {
         return split();
      } catch (...) {
         // A folder that is empty was made for nothing.
         m_parts.clear();
         std::error_code ignored;
         m_has_made_folder = m_has_made_folder && !std::filesystem::remove(m_options.m_folder, ignored);
         throw;
      }
   }

private:
   STATUS split() {
      for_each_sound_item(m_options.m_file, m_options.m_log.format(), [this](const WHOLE_ITEM& whole) {
         const LOG_ITEM& item = whole.m_item;
         // Every part gets its own beginning, phases and end.
         const bool is_marker = item.m_format == LOG_FORMAT::FSYN && item.m_fields.empty();
         if (!is_marker) {
            part_of(item).m_sink->write(item.m_bytes);
         }
         m_has_end = m_has_end || (is_marker && item.m_kind == END_OF_LOG);
      });
      for (auto& [name, part] : m_parts) {
         if (m_has_end) {
            part.m_sink->write(marker_text(END_OF_LOG));
         }
         part.m_sink->finish();
      }
      // Nothing may go wrong any more when the parts have their names.
      OUTPUT output(m_options.m_log.colour());
      for (const auto& [name, part] : m_parts) {
         output.data(part.m_path);
         output << '\t' << std::to_string(part.m_count) << '\n';
      }
      name_parts();
      output.flush();
      return STATUS::FINE;
   }

   struct PART {
      std::string m_path;
      bool m_is_new = false;
      std::unique_ptr<SINK> m_sink;
      std::uint64_t m_count = 0;
      PHASE m_phase = PHASE::NONE;
   };

   // When a name cannot be given, those that were given before and were nobody's are taken back.
   void name_parts() {
      std::vector<std::string_view> new_names;
      new_names.reserve(m_parts.size());
      try {
         for (auto& [name, part] : m_parts) {
            part.m_sink->close();
            if (part.m_is_new) {
               new_names.push_back(part.m_path);
            }
         }
      } catch (...) {
         for (const std::string_view name : new_names) {
            std::error_code ignored;
            std::filesystem::remove(name, ignored);
         }
         throw;
      }
   }

   std::string key_of(const LOG_ITEM& item) const {
      if (m_options.m_by == "kind") {
         return item.m_kind < 0 ? "unknown" : std::string(item.m_kind_name);
      }
      if (m_options.m_by == "phase") {
         return item.m_phase == PHASE::PRE ? "pre" : item.m_phase == PHASE::POST ? "post" : "none";
      }
      return std::string(subtree_of(item.node(), m_options.m_levels));
   }

   PART& part_of(const LOG_ITEM& item) {
      const std::string key = key_of(item);
      PART& part = m_parts[key];
      if (part.m_sink == nullptr) {
         begin(part, key, item);
      }
      ++part.m_count;
      if (item.m_phase != part.m_phase) {
         part.m_phase = item.m_phase;
         part.m_sink->write(marker_text(item.m_phase == PHASE::PRE ? PRE_PLACEMENT_FLOW : POST_PLACEMENT_FLOW));
      }
      return part;
   }

   void make_folder() {
      std::error_code error;
      m_has_made_folder = std::filesystem::create_directories(m_options.m_folder, error) || m_has_made_folder;
      if (error) {
         throw TOOL_ERROR(STATUS::OUTPUT, m_options.m_folder + ": " + error.message());
      }
   }

   void begin(PART& part, const std::string& key, const LOG_ITEM& item) {
      if (m_parts.size() > most_outputs) {
         throw TOOL_ERROR(STATUS::OUTPUT, "split: that would make more than " + std::to_string(most_outputs) +
                                              " files; --levels 1 makes fewer. Nothing was written.");
      }
      make_folder();
      std::string name = file_name_of(key);
      // Different names of nodes may give the same name of a file.
      for (int count = 2; !m_names.emplace(lower_case(name), true).second; ++count) {
         name = file_name_of(key) + "-" + std::to_string(count);
      }
      part.m_path =
          (std::filesystem::path(m_options.m_folder) / (name + "." + format_name(item.m_format))).string();
      std::error_code ignored;
      part.m_is_new = !std::filesystem::exists(part.m_path, ignored);
      if (is_same_file(part.m_path, m_options.m_file)) {
         throw TOOL_ERROR(STATUS::USAGE, part.m_path + ": is the input; --directory puts the parts elsewhere");
      }
      part.m_sink = open_sink(part.m_path, {}, false);
      part.m_sink->write(item.m_format == LOG_FORMAT::DATABASE ? version_line : marker_text(REVISION_NUMBER));
   }

   const SPLIT_OPTIONS& m_options;
   std::map<std::string, PART> m_parts;
   std::map<std::string, bool> m_names;
   bool m_has_end = false;
   bool m_has_made_folder = false;
};

} // namespace

void add_split(COMMAND_TABLE& table) {
   COMMAND& command = table.add("split", "Make several logs of one");
   command.m_description =
       "Writes the entries or records of a log to one file a kind, a phase or a partition, in a folder, and "
       "prints the"
       " names of the files with their numbers of items. A partition is what the first node lies in, at most"
       " --levels levels deep; in file names its bars are dots. Every file is a whole log of its own. None gets "
       "its name before all are on the disk.\n"
       "Needs 64 kB a file that is written.";
   command.m_examples = {{"split --by kind top.logdb -d parts", "a database a kind"},
                         {"split --by partition --levels 2 top.logdb -d parts", "a database an instance"},
                         {"split --by phase top.fsyn -d parts", "what was changed before and after placement"}};
   auto options = std::make_shared<SPLIT_OPTIONS>();
   command.add_option("FILE", options->m_file, "The log").required();
   command.add_option("--by", options->m_by, "What a file is for")
       .value_name("WHAT")
       .required()
       .one_of({"kind", "partition", "phase"});
   command.add_option("-d,--directory", options->m_folder, "Where to write").value_name("FOLDER").show_default();
   command.add_option("--levels", options->m_levels, "How many levels of the hierarchy make a partition")
       .value_name("N")
       .show_default()
       .positive();
   add_format_option(command, options->m_log);
   command.m_run = [options] { return SPLIT(*options).run(); };
}
