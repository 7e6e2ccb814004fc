#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>

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
   SIDE(const DIFF_OPTIONS& options, const std::string& path) : m_file(path), m_format(options.m_log.format()) {}

   void read() {
      const std::unique_ptr<LOG_READER> reader = open();
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
      const std::unique_ptr<LOG_READER> reader = open();
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
   std::unique_ptr<LOG_READER> open() const {
      return open_log(recognise_input(m_file.open(), m_file.path(), m_format), display_name(m_file.path()));
   }

   REREADABLE m_file;
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

/// How many differences of each sort there are, by the name of the kind.
using COUNTS = std::map<std::string, std::array<std::uint64_t, 4>>;

COUNTS count_by_kind(const std::vector<DIFFERENCE>& differences, const SIDE& left, const SIDE& right) {
   COUNTS counts;
   for (const DIFFERENCE& difference : differences) {
      const KEPT_ITEM& item =
          difference.m_left != nowhere ? left.item(difference.m_left) : right.item(difference.m_right);
      ++counts[item.m_kind][static_cast<std::size_t>(difference.m_change)];
   }
   return counts;
}

void print_stat(OUTPUT& output, const COUNTS& counts) {
   std::size_t width = 5;
   for (const auto& [kind, row] : counts) {
      width = std::max(width, kind.size());
   }
   const auto print_row = [&](const std::string& name, const std::vector<std::string>& cells) {
      output.data(name);
      output << std::string(width - name.size(), ' ');
      for (const std::string& cell : cells) {
         output << std::string(cell.size() < 10 ? 10 - cell.size() : 1, ' ') << cell;
      }
      output << '\n';
   };
   print_row("kind", {"removed", "added", "changed", "moved"});
   std::array<std::uint64_t, 4> total = {};
   for (const auto& [kind, row] : counts) {
      print_row(kind, {grouped(row[0]), grouped(row[1]), grouped(row[2]), grouped(row[3])});
      std::transform(row.begin(), row.end(), total.begin(), total.begin(), std::plus<>());
   }
   print_row("total", {grouped(total[0]), grouped(total[1]), grouped(total[2]), grouped(total[3])});
}

void print_stat_as_json(OUTPUT& output, const COUNTS& counts) {
   for (const auto& [kind, row] : counts) {
      std::string json = "{\"kind\":";
      append_json_string(json, kind);
      for (const CHANGE change : {CHANGE::REMOVED, CHANGE::ADDED, CHANGE::CHANGED, CHANGE::MOVED}) {
         json += std::string(",\"") + change_name(change) +
                 "\":" + std::to_string(row[static_cast<std::size_t>(change)]);
      }
      output << json << "}\n";
   }
}

void check_formats(LOG_FORMAT left, LOG_FORMAT right) {
   if (left != right) {
      throw TOOL_ERROR(STATUS::USAGE, "diff: a log database and a physical-synthesis log have nothing in common");
   }
}

/// Finds where two runs part, and what led there. Nothing is kept but that.
class PARTING {
public:
   PARTING(const DIFF_OPTIONS& options, OUTPUT& output)
       : m_options(options), m_output(output), m_left(open_log(options.m_left, options.m_log.format())),
         m_right(open_log(options.m_right, options.m_log.format())) {
      check_formats(m_left->format(), m_right->format());
   }

   STATUS run() {
      const STATUS status = find();
      m_output.flush();
      for (const LOG_READER* reader : {m_left.get(), m_right.get()}) {
         if (!reader->trouble().empty()) {
            tell(reader->trouble());
         }
      }
      return m_left->has_failed() || m_right->has_failed() ? STATUS::INPUT : status;
   }

private:
   STATUS find() {
      while (true) {
         bool has_left = m_left->next(m_left_item);
         bool has_right = m_right->next(m_right_item);
         if (!has_left && !has_right) {
            return STATUS::FINE;
         }
         if (!has_left || !has_right || content_hash(m_left_item) != content_hash(m_right_item)) {
            const std::vector<std::string> left = collect(*m_left, m_left_item, has_left);
            const std::vector<std::string> right = collect(*m_right, m_right_item, has_right);
            print(left, right);
            return STATUS::FINDINGS;
         }
         m_context.push_back(text_of(m_left_item, false));
         if (m_context.size() > m_options.m_context) {
            m_context.pop_front();
         }
      }
   }

   std::string text_of(const LOG_ITEM& item, bool with_line) const {
      const std::string number = std::to_string(item.m_number);
      const std::string line = std::to_string(item.m_line);
      if (m_options.m_json) {
         std::string json = "{\"number\":" + number + ",\"line\":" + line + ",";
         append_json_members(json, item);
         return json + "}";
      }
      return "#" + number + (with_line ? " line " + line : "") + " " + line_of(item);
   }

   /// An item and those behind it.
   std::vector<std::string> collect(LOG_READER& reader, LOG_ITEM& item, bool has_item) const {
      std::vector<std::string> texts;
      for (; has_item && texts.size() <= m_options.m_context; has_item = reader.next(item)) {
         texts.push_back(text_of(item, true));
      }
      return texts;
   }

   void print(const std::vector<std::string>& left, const std::vector<std::string>& right) {
      if (m_options.m_json) {
         m_output << "{\"common\":[" << joined(m_context) << "],\"old\":[" << joined(left) << "],\"new\":["
                  << joined(right) << "]}\n";
         return;
      }
      for (const std::string& text : m_context) {
         m_output << "  ";
         m_output.data(text);
         m_output << '\n';
      }
      print_side(STYLE::BAD, "- ", left);
      print_side(STYLE::GOOD, "+ ", right);
   }

   void print_side(STYLE style, const std::string& sign, const std::vector<std::string>& texts) {
      for (const std::string& text : texts) {
         m_output.styled(style, sign + text);
         m_output << '\n';
      }
      if (texts.empty()) {
         m_output.styled(style, sign + "(the log ends)");
         m_output << '\n';
      }
   }

   template <class TEXTS> static std::string joined(const TEXTS& texts) {
      std::string all;
      for (const std::string& text : texts) {
         all += (all.empty() ? "" : ",") + text;
      }
      return all;
   }

   const DIFF_OPTIONS& m_options;
   OUTPUT& m_output;
   std::unique_ptr<LOG_READER> m_left;
   std::unique_ptr<LOG_READER> m_right;
   LOG_ITEM m_left_item;
   LOG_ITEM m_right_item;
   std::deque<std::string> m_context;
};

STATUS diff(const DIFF_OPTIONS& options) {
   if (options.m_left == "-" && options.m_right == "-") {
      throw TOOL_ERROR(STATUS::USAGE, "diff: standard input can be one of the logs only");
   }
   OUTPUT output(options.m_log.colour());
   if (options.m_first) {
      return PARTING(options, output).run();
   }
   SIDE left(options, options.m_left);
   SIDE right(options, options.m_right);
   left.read();
   right.read();
   check_formats(left.kind(), right.kind());
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
      const COUNTS counts = count_by_kind(differences, left, right);
      options.m_json ? print_stat_as_json(output, counts) : print_stat(output, counts);
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
       "Needs 16 bytes an item of both files, and what differs; --first needs the memory of one record. What is"
       " no plain file, such as a pipe, is kept in a temporary file, because it is read twice.";
   command.m_examples = {{"diff old.logdb new.logdb", "what last night's compile decided differently"},
                         {"diff --stat old.fsyn new.fsyn", "how many changes of which kind"},
                         {"diff --first old.fsyn new.fsyn", "the first decision in which the runs part"}};
   auto options = std::make_shared<DIFF_OPTIONS>();
   command.add_option("A", options->m_left, "The old log").required();
   command.add_option("B", options->m_right, "The new log").required();
   add_format_option(command, options->m_log);
   add_colour_option(command, options->m_log);
   const OPTION order =
       command.add_flag("--ignore-order", options->m_ignores_order, "Do not care when something was decided");
   const OPTION stat = command.add_flag("--stat", options->m_stat, "Count the differences by kind");
   command.add_flag("--json", options->m_json,
                    "One JSON object a difference, a kind with --stat, or in all with --first");
   const OPTION first = command.add_flag("--first", options->m_first, "Only where the logs part, with context")
                            .excludes(stat)
                            .excludes(order);
   command.add_option("-C,--context", options->m_context, "How many items --first shows around it")
       .value_name("N")
       .show_default()
       .needs(first);
   command.m_run = [options] { return diff(*options); };
}
