#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <unordered_map>

#include <CLI/CLI.hpp>

#include "command.h"
#include "item_key.h"
#include "item_printer.h"
#include "json.h"
#include "log_options.h"
#include "sequence_diff.h"
#include "text.h"

namespace {

struct DIFF_OPTIONS {
   LOG_OPTIONS m_log;
   std::string m_left;
   std::string m_right;
   std::size_t m_context = 3;
   bool m_ignores_order = false;
   bool m_stat = false;
   bool m_first = false;
   bool m_json = false;
};

/// What is kept of each item of a file.
struct DIGESTS {
   std::vector<std::uint64_t> m_contents;
   std::vector<std::uint64_t> m_keys;
};

/// What is kept of an item that differs.
struct KEPT_ITEM {
   std::string m_kind;
   std::string m_line;
   std::string m_json;
   std::vector<std::pair<std::string, std::string>> m_fields;
};

enum class CHANGE { REMOVED, ADDED, CHANGED, MOVED };

constexpr std::size_t nowhere = ~std::size_t{0};

struct DIFFERENCE {
   CHANGE m_change;
   std::size_t m_left;
   std::size_t m_right;
};

const char* change_name(CHANGE change) {
   constexpr std::array names = {"removed", "added", "changed", "moved"};
   return names[static_cast<std::size_t>(change)];
}

KEPT_ITEM kept(const LOG_ITEM& item) {
   KEPT_ITEM copy = {std::string(item.m_kind_name), line_of(item), {}, {}};
   append_json_members(copy.m_json, item);
   for (const FIELD& field : item.m_fields) {
      if (field.is_element()) {
         copy.m_fields.emplace_back(field_label(field), field.m_value);
      }
   }
   return copy;
}

/// A file that is read twice: once for what is in it, once for what differs.
class SIDE {
public:
   SIDE(const DIFF_OPTIONS& options, const std::string& path) : m_path(path), m_format(options.m_log.format()) {
      if (path == "-") {
         throw TOOL_ERROR(STATUS::USAGE, "diff: files are read twice, so standard input cannot be one");
      }
   }

   void read() {
      const std::unique_ptr<LOG_READER> reader = open_log(m_path, m_format);
      m_kind = reader->format();
      for (LOG_ITEM item; reader->next(item);) {
         m_digests.m_contents.push_back(content_hash(item));
         m_digests.m_keys.push_back(key_hash(item));
      }
      if (!reader->trouble().empty()) {
         tell(reader->trouble());
      }
      if (reader->has_failed()) {
         throw TOOL_ERROR(STATUS::INPUT, reader->name() + ": cannot be read to its end");
      }
   }

   /// Fetches items by their places, which are in order.
   void fetch(const std::vector<std::size_t>& places) {
      const std::unique_ptr<LOG_READER> reader = open_log(m_path, m_format);
      auto next = places.begin();
      for (LOG_ITEM item; next != places.end() && reader->next(item);) {
         if (item.m_number - 1 == *next) {
            m_kept.emplace(*next++, kept(item));
         }
      }
   }

   const DIGESTS& digests() const { return m_digests; }
   const KEPT_ITEM& item(std::size_t place) const { return m_kept.at(place); }
   LOG_FORMAT kind() const { return m_kind; }

private:
   std::string m_path;
   std::optional<LOG_FORMAT> m_format;
   LOG_FORMAT m_kind = LOG_FORMAT::DATABASE;
   DIGESTS m_digests;
   std::unordered_map<std::size_t, KEPT_ITEM> m_kept;
};

/// Pairs what was removed with what was added, by a value that they share.
void pair_up(std::vector<std::size_t>& removed, std::vector<std::size_t>& added,
             const std::vector<std::uint64_t>& left, const std::vector<std::uint64_t>& right, CHANGE change,
             std::vector<DIFFERENCE>& differences) {
   std::unordered_map<std::uint64_t, std::deque<std::size_t>> places;
   for (const std::size_t place : added) {
      places[right[place]].push_back(place);
   }
   std::vector<std::size_t> left_over;
   std::vector<std::size_t> taken;
   for (const std::size_t place : removed) {
      const auto found = places.find(left[place]);
      if (found == places.end() || found->second.empty()) {
         left_over.push_back(place);
         continue;
      }
      taken.push_back(found->second.front());
      differences.push_back({change, place, found->second.front()});
      found->second.pop_front();
   }
   std::sort(taken.begin(), taken.end());
   std::vector<std::size_t> added_left;
   std::set_difference(added.begin(), added.end(), taken.begin(), taken.end(), std::back_inserter(added_left));
   removed = std::move(left_over);
   added = std::move(added_left);
}

std::vector<std::size_t> places_without(std::size_t count, const std::vector<std::size_t>& paired) {
   std::vector<std::size_t> rest;
   auto next = paired.begin();
   for (std::size_t place = 0; place < count; ++place) {
      if (next != paired.end() && *next == place) {
         ++next;
      } else {
         rest.push_back(place);
      }
   }
   return rest;
}

std::vector<DIFFERENCE> compare(const DIGESTS& left, const DIGESTS& right, bool ignores_order) {
   std::vector<std::size_t> left_paired;
   std::vector<std::size_t> right_paired;
   if (!ignores_order) {
      for (const auto& [left_place, right_place] : common_elements(left.m_contents, right.m_contents)) {
         left_paired.push_back(left_place);
         right_paired.push_back(right_place);
      }
   }
   std::vector<std::size_t> removed = places_without(left.m_contents.size(), left_paired);
   std::vector<std::size_t> added = places_without(right.m_contents.size(), right_paired);
   std::vector<DIFFERENCE> differences;
   pair_up(removed, added, left.m_contents, right.m_contents, CHANGE::MOVED, differences);
   if (ignores_order) {
      differences.clear();
   }
   pair_up(removed, added, left.m_keys, right.m_keys, CHANGE::CHANGED, differences);
   for (const std::size_t place : removed) {
      differences.push_back({CHANGE::REMOVED, place, nowhere});
   }
   for (const std::size_t place : added) {
      differences.push_back({CHANGE::ADDED, nowhere, place});
   }
   std::sort(differences.begin(), differences.end(), [](const DIFFERENCE& one, const DIFFERENCE& other) {
      return std::pair(std::min(one.m_left, one.m_right), one.m_change) <
             std::pair(std::min(other.m_left, other.m_right), other.m_change);
   });
   return differences;
}

class DIFF_PRINTER {
public:
   DIFF_PRINTER(OUTPUT& output, const SIDE& left, const SIDE& right)
       : m_output(output), m_left(left), m_right(right) {}

   void print(const DIFFERENCE& difference) {
      switch (difference.m_change) {
      case CHANGE::REMOVED:
         print_side(STYLE::BAD, '-', difference.m_left, m_left);
         break;
      case CHANGE::ADDED:
         print_side(STYLE::GOOD, '+', difference.m_right, m_right);
         break;
      case CHANGE::CHANGED:
         print_changed(difference);
         break;
      case CHANGE::MOVED:
         m_output.styled(STYLE::LABEL, "> #" + std::to_string(difference.m_left + 1) + " to #" +
                                           std::to_string(difference.m_right + 1));
         m_output << ' ';
         m_output.data(m_left.item(difference.m_left).m_line);
         m_output << '\n';
      }
   }

   void print_json(const DIFFERENCE& difference) {
      std::string json = std::string("{\"change\":\"") + change_name(difference.m_change) + "\"";
      append_side(json, "old", difference.m_left, m_left);
      append_side(json, "new", difference.m_right, m_right);
      m_output << json << "}\n";
   }

private:
   void print_side(STYLE style, char sign, std::size_t place, const SIDE& side) {
      m_output.styled(style,
                      std::string(1, sign) + " #" + std::to_string(place + 1) + " " + side.item(place).m_line);
      m_output << '\n';
   }

   void print_changed(const DIFFERENCE& difference) {
      const KEPT_ITEM& old_item = m_left.item(difference.m_left);
      const KEPT_ITEM& new_item = m_right.item(difference.m_right);
      m_output.styled(STYLE::WARNING, "~ #" + std::to_string(difference.m_left + 1));
      if (difference.m_left != difference.m_right) {
         m_output.styled(STYLE::WARNING, " to #" + std::to_string(difference.m_right + 1));
      }
      m_output << ' ';
      m_output.data(old_item.m_line);
      m_output << '\n';
      std::map<std::string, std::string> new_fields(new_item.m_fields.begin(), new_item.m_fields.end());
      for (const auto& [name, value] : old_item.m_fields) {
         const auto found = new_fields.find(name);
         if (found == new_fields.end() || found->second != value) {
            print_field(name, &value, found == new_fields.end() ? nullptr : &found->second);
         }
         if (found != new_fields.end()) {
            new_fields.erase(found);
         }
      }
      for (const auto& [name, value] : new_fields) {
         print_field(name, nullptr, &value);
      }
   }

   void print_field(const std::string& name, const std::string* old_value, const std::string* new_value) {
      m_output << "     ";
      m_output.styled(STYLE::LABEL, name);
      m_output << ": ";
      m_output.styled(STYLE::BAD, old_value == nullptr ? "(none)" : "'" + *old_value + "'");
      m_output << " is now ";
      m_output.styled(STYLE::GOOD, new_value == nullptr ? "(none)" : "'" + *new_value + "'");
      m_output << '\n';
   }

   static void append_side(std::string& json, const char* name, std::size_t place, const SIDE& side) {
      if (place != nowhere) {
         json += std::string(",\"") + name + "\":{\"number\":" + std::to_string(place + 1) + "," +
                 side.item(place).m_json + "}";
      }
   }

   OUTPUT& m_output;
   const SIDE& m_left;
   const SIDE& m_right;
};

void print_stat(OUTPUT& output, const std::vector<DIFFERENCE>& differences, const SIDE& left, const SIDE& right) {
   std::map<std::string, std::array<std::uint64_t, 4>> counts;
   for (const DIFFERENCE& difference : differences) {
      const KEPT_ITEM& item =
          difference.m_left != nowhere ? left.item(difference.m_left) : right.item(difference.m_right);
      ++counts[item.m_kind][static_cast<std::size_t>(difference.m_change)];
      ++counts["total"][static_cast<std::size_t>(difference.m_change)];
   }
   std::size_t width = 5;
   for (const auto& [kind, row] : counts) {
      width = std::max(width, kind.size());
   }
   const auto print_row = [&](const std::string& name, const std::vector<std::string>& cells) {
      output << name << std::string(width - name.size(), ' ');
      for (const std::string& cell : cells) {
         output << std::string(cell.size() < 10 ? 10 - cell.size() : 1, ' ') << cell;
      }
      output << '\n';
   };
   print_row("kind", {"removed", "added", "changed", "moved"});
   const auto total = counts["total"];
   counts.erase("total");
   for (const auto& [kind, row] : counts) {
      print_row(kind, {grouped(row[0]), grouped(row[1]), grouped(row[2]), grouped(row[3])});
   }
   print_row("total", {grouped(total[0]), grouped(total[1]), grouped(total[2]), grouped(total[3])});
}

/// Where two runs part, with what led there. Nothing is kept but that.
STATUS print_first(const DIFF_OPTIONS& options, OUTPUT& output) {
   const std::unique_ptr<LOG_READER> left = open_log(options.m_left, options.m_log.format());
   const std::unique_ptr<LOG_READER> right = open_log(options.m_right, options.m_log.format());
   std::deque<std::string> context;
   LOG_ITEM left_item;
   LOG_ITEM right_item;
   while (true) {
      const bool has_left = left->next(left_item);
      const bool has_right = right->next(right_item);
      if (!has_left && !has_right) {
         return left->has_failed() || right->has_failed() ? STATUS::INPUT : STATUS::FINE;
      }
      if (has_left && has_right && content_hash(left_item) == content_hash(right_item)) {
         context.push_back("  #" + std::to_string(left_item.m_number) + " " + line_of(left_item));
         if (context.size() > options.m_context) {
            context.pop_front();
         }
         continue;
      }
      for (const std::string& line : context) {
         output.data(line);
         output << '\n';
      }
      const auto print_side = [&](LOG_READER& reader, LOG_ITEM& item, bool has_item, STYLE style,
                                  const char* sign) {
         if (!has_item) {
            output.styled(style, std::string(sign) + " (the log ends)");
            output << '\n';
         }
         for (std::size_t count = 0; has_item && count <= options.m_context; ++count) {
            output.styled(style, std::string(sign) + " #" + std::to_string(item.m_number) + " line " +
                                     std::to_string(item.m_line) + " " + line_of(item));
            output << '\n';
            has_item = reader.next(item);
         }
      };
      print_side(*left, left_item, has_left, STYLE::BAD, "-");
      print_side(*right, right_item, has_right, STYLE::GOOD, "+");
      return STATUS::FINDINGS;
   }
}

STATUS diff(const DIFF_OPTIONS& options) {
   OUTPUT output(options.m_log.colour());
   if (options.m_first) {
      const STATUS status = print_first(options, output);
      output.flush();
      return status;
   }
   SIDE left(options, options.m_left);
   SIDE right(options, options.m_right);
   left.read();
   right.read();
   if (left.kind() != right.kind()) {
      throw TOOL_ERROR(STATUS::USAGE, "diff: a log database and a physical-synthesis log have nothing in common");
   }
   const std::vector<DIFFERENCE> differences = compare(left.digests(), right.digests(), options.m_ignores_order);
   std::vector<std::size_t> left_places;
   std::vector<std::size_t> right_places;
   for (const DIFFERENCE& difference : differences) {
      if (difference.m_left != nowhere) {
         left_places.push_back(difference.m_left);
      }
      if (difference.m_right != nowhere) {
         right_places.push_back(difference.m_right);
      }
   }
   std::sort(left_places.begin(), left_places.end());
   std::sort(right_places.begin(), right_places.end());
   left.fetch(left_places);
   right.fetch(right_places);
   if (options.m_stat) {
      print_stat(output, differences, left, right);
   } else {
      DIFF_PRINTER printer(output, left, right);
      for (const DIFFERENCE& difference : differences) {
         if (options.m_json) {
            printer.print_json(difference);
         } else {
            printer.print(difference);
         }
      }
   }
   output.flush();
   return differences.empty() ? STATUS::FINE : STATUS::FINDINGS;
}

} // namespace

void add_diff(COMMAND_TABLE& table) {
   COMMAND& command = table.add("diff", "Compare two logs, decision by decision");
   command.m_description =
       "Tells which entries or records of A are missing in B (-), which are new (+), which were decided "
       "differently"
       " (~, with the fields that differ) and which were only decided at another time (>). Two items are about "
       "the same"
       " thing when they have the same kind, node names and terminal. --first stops where two runs part, and "
       "shows what"
       " led there. The status is 1 when the logs differ.\n"
       "Needs 16 bytes an item of both files, and what differs; --first needs the memory of one record.";
   command.m_examples = {{"diff old.logdb new.logdb", "what last night's compile decided differently"},
                         {"diff --stat old.fsyn new.fsyn", "how many changes of which kind"},
                         {"diff --first old.fsyn new.fsyn", "the first decision in which the runs part"}};
   auto options = std::make_shared<DIFF_OPTIONS>();
   CLI::App& app = *command.m_app;
   app.add_option("A", options->m_left, "The old log")->required();
   app.add_option("B", options->m_right, "The new log")->required();
   add_format_option(app, options->m_log);
   add_colour_option(app, options->m_log);
   app.add_flag("--ignore-order", options->m_ignores_order, "Do not care when something was decided");
   auto* stat = app.add_flag("--stat", options->m_stat, "Count the differences by kind");
   auto* json = app.add_flag("--json", options->m_json, "One JSON object a difference")->excludes(stat);
   app.add_flag("--first", options->m_first, "Only where the logs part, with context")
       ->excludes(stat)
       ->excludes(json);
   app.add_option("-C,--context", options->m_context, "How many items --first shows around it")
       ->type_name("N")
       ->capture_default_str();
   command.m_run = [options] { return diff(*options); };
}
