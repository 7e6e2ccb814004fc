#include <algorithm>
#include <charconv>
#include <map>
#include <memory>

#include "command.h"
#include "database_scanner.h"
#include "json.h"
#include "log_counters.h"
#include "log_options.h"
#include "text.h"

namespace {

struct STATS_OPTIONS {
   LOG_OPTIONS m_log;
   std::string m_by;
   bool m_has_by = false;
   std::size_t m_top = 10;
   bool m_json = false;
};

GROUPING parse_grouping(const std::string& by) {
   if (by == "kind" || by == "phase") {
      return {by == "kind" ? GROUPING::KIND : GROUPING::PHASE_OF, 0};
   }
   if (by == "node") {
      return {GROUPING::NODE, 0};
   }
   const std::string prefix = "depth:";
   std::size_t levels = 0;
   if (by.starts_with(prefix)) {
      const char* end = by.data() + by.size();
      const std::from_chars_result read = std::from_chars(by.data() + prefix.size(), end, levels);
      if (read.ec == std::errc() && read.ptr == end && levels != 0) {
         return {GROUPING::DEPTH, levels};
      }
   }
   if (by == "depth" || by.starts_with(prefix)) {
      throw TOOL_ERROR(STATUS::USAGE, "--by: '" + by + "' says no number of levels, such as depth:1");
   }
   const std::string nearest = suggestion(by.substr(0, by.find(':')), {"kind", "phase", "node", "depth"});
   throw TOOL_ERROR(STATUS::USAGE, "--by: '" + by + "' is none of kind, phase, node, depth:N" + nearest);
}

/// Counts the entries of a database on the quick way.
class ENTRY_COUNTER {
public:
   explicit ENTRY_COUNTER(LOG_COUNTERS& counters) : m_counters(counters) {}

   void field(unsigned position, std::string_view piece, unsigned bars) {
      if (position == 0) {
         const ENTRY_SHAPE& shape = m_shapes.find(piece);
         m_kind = shape.m_kind;
         m_nodes = shape.m_nodes;
      } else if (is_node_piece(m_nodes, position)) {
         m_counters.add_node(piece, bars);
      }
   }

   void line(std::string_view text, unsigned pieces, bool /*ends_in_comma*/) {
      // A line without any piece is an entry of the first kind.
      m_counters.add_kind(pieces == 0 ? 0 : m_kind);
      m_counters.add_size(text.size() + 1);
   }

private:
   LOG_COUNTERS& m_counters;
   RECENT_SHAPES m_shapes;
   int m_kind = -1;
   unsigned m_nodes = 0; // by position in the line, behind the kind
};

class COUNTING {
public:
   explicit COUNTING(const STATS_OPTIONS& options)
       : m_options(options), m_grouping(options.m_has_by ? parse_grouping(options.m_by) : GROUPING()) {}

   STATUS count_all() {
      STATUS status = STATUS::FINE;
      for (const std::string& path : m_options.m_log.paths()) {
         try {
            status = worse(status, count(path));
         } catch (const TOOL_ERROR& error) {
            if (error.m_status != STATUS::INPUT) {
               throw;
            }
            tell(error.what());
            status = STATUS::INPUT;
         }
      }
      return status;
   }

   const std::map<LOG_FORMAT, LOG_COUNTERS>& counters() const { return m_counters; }

private:
   STATUS count(const std::string& path) {
      RECOGNISED_INPUT input = open_recognised(path, m_options.m_log.format());
      if (input.m_format == LOG_FORMAT::DATABASE) {
         return count_entries(*input.m_input, display_name(path));
      }
      LOG_COUNTERS& counters = counters_of(input.m_format);
      return for_each_item(*open_log(std::move(input), display_name(path)),
                           [&counters](const LOG_READER&, const LOG_ITEM& item) {
                              counters.add(item);
                              return true;
                           });
   }

   STATUS count_entries(INPUT& input, const std::string& name) {
      LOG_COUNTERS& counters = counters_of(LOG_FORMAT::DATABASE);
      const std::uint64_t before = counters.items();
      ENTRY_COUNTER counter(counters);
      BLOCK_SOURCE blocks(input);
      bool has_version = false;
      for (std::string_view lines = blocks.next(); !lines.empty(); lines = blocks.next()) {
         if (!has_version) {
            lines.remove_prefix(lines.find('\n') + 1);
            has_version = true;
         }
         // What stands behind a zero byte is not read.
         if (!lines.empty() && std::memchr(lines.data(), 0, lines.size()) != nullptr) {
            count_one_by_one(lines, counters);
         } else {
            DATABASE_SCANNER<ENTRY_COUNTER>(counter).scan(lines);
         }
      }
      REST_INPUT rest(blocks);
      LINE line;
      if (!LINE_SOURCE(rest).next(line)) {
         return STATUS::FINE;
      }
      line.m_number = has_version ? counters.items() - before + 2 : 1;
      const READING_END end = end_of_reading(name, line);
      tell(end.m_trouble);
      return end.m_has_failed ? STATUS::INPUT : STATUS::FINE;
   }

   static void count_one_by_one(std::string_view lines, LOG_COUNTERS& counters) {
      LOG_ITEM item;
      for (std::size_t end = lines.find('\n'); end != std::string_view::npos; end = lines.find('\n')) {
         split_entry(lines.substr(0, end), item);
         item.m_bytes = lines.substr(0, end + 1);
         counters.add(item);
         lines.remove_prefix(end + 1);
      }
   }

   LOG_COUNTERS& counters_of(LOG_FORMAT format) {
      return m_counters.try_emplace(format, format, m_grouping).first->second;
   }

   const STATS_OPTIONS& m_options;
   GROUPING m_grouping;
   std::map<LOG_FORMAT, LOG_COUNTERS> m_counters;
};

using ROWS = std::vector<std::pair<std::string, std::uint64_t>>;

ROWS kind_rows(const LOG_COUNTERS& counters) {
   ROWS rows;
   const auto& names = kind_names(counters.format());
   for (int kind = -1; kind < static_cast<int>(names.size()); ++kind) {
      if (counters.kind_count(kind) != 0) {
         rows.emplace_back(kind < 0 ? "(unknown kind)" : std::string(names[static_cast<std::size_t>(kind)]),
                           counters.kind_count(kind));
      }
   }
   std::stable_sort(rows.begin(), rows.end(),
                    [](const auto& left, const auto& right) { return left.second > right.second; });
   return rows;
}

ROWS phase_rows(const LOG_COUNTERS& counters) {
   ROWS rows;
   for (const PHASE phase : {PHASE::NONE, PHASE::PRE, PHASE::POST}) {
      if (counters.phase_count(phase) != 0) {
         rows.emplace_back(phase_name(phase), counters.phase_count(phase));
      }
   }
   return rows;
}

ROWS depth_rows(const LOG_COUNTERS& counters) {
   ROWS rows;
   for (std::size_t depth = 0; depth < counters.depths().size(); ++depth) {
      if (counters.depths()[depth] != 0) {
         rows.emplace_back(std::to_string(depth), counters.depths()[depth]);
      }
   }
   return rows;
}

class STATS_PRINTER {
public:
   STATS_PRINTER(const STATS_OPTIONS& options, OUTPUT& output) : m_options(options), m_output(output) {}

   void print(const LOG_COUNTERS& counters) {
      const bool is_database = counters.format() == LOG_FORMAT::DATABASE;
      const GROUPING::WHAT what = counters.grouping().m_what;
      if (what == GROUPING::NOTHING) {
         m_output.styled(STYLE::BOLD, is_database ? "log databases" : "physical-synthesis logs");
         m_output << ": "
                  << (is_database ? counted(counters.items(), "entry", "entries")
                                  : counted(counters.items(), "record", "records"))
                  << ", " << readable_size(static_cast<double>(counters.sizes().sum())) << '\n';
      }
      if (counters.items() == 0) {
         return;
      }
      if (what == GROUPING::NOTHING || what == GROUPING::KIND) {
         print_rows("kind", kind_rows(counters), counters.items());
      }
      if (what == GROUPING::PHASE_OF || (what == GROUPING::NOTHING && !is_database)) {
         print_rows("phase", phase_rows(counters), counters.items());
      }
      if (what == GROUPING::NOTHING) {
         print_rows("levels above a node", depth_rows(counters), counters.names().count());
         print_lengths(is_database ? "bytes an entry" : "bytes a record", counters.sizes());
         print_lengths("bytes a node name", counters.names());
      }
      if (what >= GROUPING::NODE) {
         ROWS rows = counters.groups();
         const std::size_t more = rows.size() > m_options.m_top ? rows.size() - m_options.m_top : 0;
         rows.resize(rows.size() - more);
         print_rows(what == GROUPING::NODE ? "node" : "subtree", rows, counters.names().count());
         if (more != 0) {
            m_output << "  and " << grouped(more) << " more; --top shows them\n";
         }
      }
   }

private:
   void print_rows(const std::string& title, const ROWS& rows, std::uint64_t whole) {
      if (rows.empty()) {
         return;
      }
      std::size_t width = title.size();
      std::uint64_t most = 1;
      for (const auto& [name, count] : rows) {
         width = std::max(width, display_width(name));
         most = std::max(most, count);
      }
      m_output.styled(STYLE::LABEL, title);
      m_output << '\n';
      for (const auto& [name, count] : rows) {
         m_output << "  ";
         m_output.data(name);
         std::string figures = grouped(count);
         figures.insert(0, std::max<std::size_t>(12, figures.size() + 1) - figures.size(), ' ');
         m_output << std::string(width - display_width(name), ' ') << figures;
         print_share(count, whole);
         print_bar(width, count, most);
         m_output << '\n';
      }
   }

   void print_share(std::uint64_t count, std::uint64_t whole) {
      const std::uint64_t per_mille = whole == 0 ? 0 : (count * 1000 + whole / 2) / whole;
      std::string share = std::to_string(per_mille / 10) + "." + std::to_string(per_mille % 10) + "%";
      share.insert(0, 8 - std::min<std::size_t>(share.size(), 8), ' ');
      m_output << share;
   }

   // A picture is for people only.
   void print_bar(std::size_t width, std::uint64_t count, std::uint64_t most) {
      const std::size_t used = 2 + width + 12 + 8 + 2;
      if (!m_output.is_terminal() || used + 4 > m_output.width()) {
         return;
      }
      const std::size_t room = std::min<std::size_t>(m_output.width() - used, 40);
      std::string bar;
      for (std::size_t length = (count * room + most - 1) / most; length > 0; --length) {
         bar += "\u2588";
      }
      m_output << "  " << m_output.painted(STYLE::GOOD, bar);
   }

   void print_lengths(const std::string& title, const LENGTHS& lengths) {
      m_output.styled(STYLE::LABEL, title);
      m_output << "\n  median " << grouped(lengths.percentile(50)) << ", 99% at most "
               << grouped(lengths.percentile(99)) << ", longest " << grouped(lengths.longest()) << '\n';
   }

   const STATS_OPTIONS& m_options;
   OUTPUT& m_output;
};

std::string rows_as_json(const ROWS& rows) {
   std::string json = "{";
   for (const auto& [name, count] : rows) {
      json += json.size() == 1 ? "" : ",";
      append_json_string(json, name);
      json += ":" + std::to_string(count);
   }
   return json + "}";
}

std::string lengths_as_json(const LENGTHS& lengths) {
   return "{\"median\":" + std::to_string(lengths.percentile(50)) +
          ",\"p99\":" + std::to_string(lengths.percentile(99)) +
          ",\"longest\":" + std::to_string(lengths.longest()) + "}";
}

std::string counters_as_json(const STATS_OPTIONS& options, const LOG_COUNTERS& counters) {
   const GROUPING::WHAT what = counters.grouping().m_what;
   std::string json = std::string("{\"format\":\"") + format_name(counters.format()) +
                      "\",\"items\":" + std::to_string(counters.items()) +
                      ",\"bytes\":" + std::to_string(counters.sizes().sum());
   if (what == GROUPING::NOTHING || what == GROUPING::KIND) {
      json += ",\"kinds\":" + rows_as_json(kind_rows(counters));
   }
   if (what == GROUPING::NOTHING || what == GROUPING::PHASE_OF) {
      json += ",\"phases\":" + rows_as_json(phase_rows(counters));
   }
   if (what == GROUPING::NOTHING) {
      json += ",\"depths\":" + rows_as_json(depth_rows(counters)) +
              ",\"item_bytes\":" + lengths_as_json(counters.sizes()) +
              ",\"name_bytes\":" + lengths_as_json(counters.names());
   }
   if (what >= GROUPING::NODE) {
      ROWS rows = counters.groups();
      rows.resize(std::min(rows.size(), options.m_top));
      json += ",\"by\":" + rows_as_json(rows);
   }
   return json + "}\n";
}

STATUS stats(const STATS_OPTIONS& options) {
   OUTPUT output(options.m_log.colour());
   COUNTING counting(options);
   const STATUS status = counting.count_all();
   STATS_PRINTER printer(options, output);
   for (const auto& [format, counters] : counting.counters()) {
      if (options.m_json) {
         output << counters_as_json(options, counters);
      } else {
         printer.print(counters);
      }
   }
   output.flush();
   return status;
}

} // namespace

void add_stats(COMMAND_TABLE& table) {
   COMMAND& command = table.add("stats", "Count what logs hold");
   command.m_description =
       "Counts entries and records by kind and phase, node names by how deep they are in the hierarchy, and tells"
       " lengths. --by tells one count alone: kind, phase, node (the nodes that are named most often) or depth:N "
       "(the"
       " subtrees N levels down). All files are counted together, a table a format. On a terminal there are "
       "bars.\n"
       "Needs little memory, whatever the size of the files; with --by node, that of all different names.";
   command.m_examples = {{"stats top.logdb top.fsyn", "what there is"},
                         {"stats --by depth:2 top.logdb", "which instances the decisions are about"},
                         {"stats --by node --top 3 --json top.fsyn", "the nodes that were touched most often"}};
   auto options = std::make_shared<STATS_OPTIONS>();
   add_log_options(command, options->m_log);
   const OPTION by = command.add_option("--by", options->m_by, "Only this count: kind, phase, node or depth:N")
                         .value_name("WHAT");
   command.add_option("--top", options->m_top, "How many nodes or subtrees").value_name("N").show_default();
   command.add_flag("--json", options->m_json, "One JSON object a format");
   command.m_run = [options, by] {
      options->m_has_by = by.is_given();
      return stats(*options);
   };
}
