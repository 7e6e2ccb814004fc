// A physical-synthesis stage that logs each change which it makes to its netlist.
//
//    physical_synthesis optimise NETLIST LOG    changes the netlist, and logs how
//    physical_synthesis replay NETLIST LOG      makes the same changes again, from the log
//    physical_synthesis recover NETLIST LOG     the same with a log whose writer was killed

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include "blif_reader.h"
#include "canonical_text.h"
#include "consistency.h"
#include "equivalence.h"
#include "interruption.h"
#include "library_reports.h"
#include "log_recovery.h"
#include "passes.h"
#include "text_file.h"

namespace {

enum EXIT_STATUS { FINE = 0, DIFFERENT = 1, USAGE = 2, FAILED = 3 };

struct OPTIONS {
   std::string m_netlist;
   std::string m_log;
   std::string m_result_file;
   std::string m_expected_file;
   std::string m_whole_log;
   std::uint64_t m_kill_at_bytes = 0;
};

/// Starts and clocks of the random simulation.
constexpr int STARTS = 24;
constexpr int CLOCKS = 24;

EXIT_STATUS prove_equivalence(const OPTIONS& options, const NETLIST& changed) {
   check_consistency(changed);
   const NETLIST original = read_blif_file(options.m_netlist);
   const EQUIVALENCE result = compare_by_simulation(original, changed, STARTS, CLOCKS);
   if (!result.m_equal) {
      std::cout << "  the netlist no longer does what it did: " << result.m_difference << "\n";
      return DIFFERENT;
   }
   std::cout << "  consistent, and does what the original does: " << result.m_pins << " pins and "
             << result.m_registers << " registers compared over " << result.m_clocks << " clocks from " << STARTS
             << " states\n";
   return FINE;
}

void write_result(const OPTIONS& options, const NETLIST& netlist) {
   if (!options.m_result_file.empty()) {
      write_text_file(options.m_result_file, canonical_text(netlist));
   }
}

void print_achievements(const ACHIEVEMENTS& done) {
   for (const auto& [what, count] : done) {
      if (count > 0) {
         std::cout << "    " << count << " " << what << "\n";
      }
   }
}

int total(const std::map<LOGDB_FSYN_LOG_ENTRY_TYPE, int>& counts) {
   int sum = 0;
   for (const auto& [kind, count] : counts) {
      sum += count;
   }
   return sum;
}

void print_kinds(const std::map<LOGDB_FSYN_LOG_ENTRY_TYPE, int>& counts) {
   for (const auto& [kind, count] : counts) {
      std::cout << "    " << count << " " << record_kind_name(kind) << "\n";
   }
}

/// How many records a log holds.
int count_records(const std::string& file_name) {
   LOGDB_FSYN_LOG_FILE log(file_name.c_str());
   int count = 0;
   while (const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> record{log.read_fsyn_log_entry()}) {
      ++count;
   }
   return count;
}

EXIT_STATUS run_optimise(const OPTIONS& options, bool print_all_kinds) {
   LIBRARY_REPORTS reports;
   NETLIST netlist = read_blif_file(options.m_netlist);
   if (options.m_kill_at_bytes > 0) {
      kill_at_file_size(options.m_kill_at_bytes);
   }
   const std::size_t atoms_before = netlist.atoms().size();
   CHANGE_LOG log(netlist, options.m_log);
   ACHIEVEMENTS done;
   optimise(log, done);
   reports.throw_if_any();
   // Lines that cannot be written are lost without a word, on a full disk for example.
   if (count_records(options.m_log) != total(log.counts())) {
      throw NETLIST_ERROR("the log " + options.m_log + " could not be written");
   }
   write_result(options, netlist);
   std::cout << "  " << atoms_before << " atoms before, " << netlist.atoms().size() << " after; "
             << total(log.counts()) << " records of " << log.counts().size() << " kinds in " << options.m_log
             << "\n";
   print_achievements(done);
   if (print_all_kinds) {
      print_kinds(log.counts());
   }
   return prove_equivalence(options, netlist);
}

/// Carries a record out; an error says which record it was.
void replay_record(const LOGDB_FSYN_LOG_ENTRY& record, int number, NETLIST& netlist) {
   try {
      apply_record(record, netlist);
   } catch (const NETLIST_ERROR& error) {
      throw NETLIST_ERROR("record " + std::to_string(number) + ", " + record_kind_name(record.m_type) +
                          ", does not fit the netlist: " + error.what());
   }
}

/// Replays a log that must be complete.
///
/// \return how many records there were
int replay_log(const std::string& file_name, NETLIST& netlist) {
   LIBRARY_REPORTS reports;
   LOGDB_FSYN_LOG_FILE log(file_name.c_str());
   if (!log.file_exists()) {
      throw NETLIST_ERROR("cannot read the log " + file_name);
   }
   int count = 0;
   bool ended = false;
   while (!ended) {
      const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> record(log.read_fsyn_log_entry());
      if (record == nullptr) {
         throw NETLIST_ERROR("the log " + file_name +
                             " has no END_OF_LOG: its writer did not finish (try recover)");
      }
      reports.throw_if_any();
      if ((count == 0) != (record->m_type == REVISION_NUMBER)) {
         throw NETLIST_ERROR("the log " + file_name + " must begin with its revision, and have it once");
      }
      ++count;
      replay_record(*record, count, netlist);
      ended = record->m_type == END_OF_LOG;
   }
   return count;
}

EXIT_STATUS run_replay(const OPTIONS& options) {
   NETLIST netlist = read_blif_file(options.m_netlist);
   const int count = replay_log(options.m_log, netlist);
   check_consistency(netlist);
   write_result(options, netlist);
   std::cout << "  replayed " << count << " records of " << options.m_log << "\n";
   if (options.m_expected_file.empty()) {
      return FINE;
   }
   const std::string difference =
       first_difference(read_text_file(options.m_expected_file), canonical_text(netlist));
   std::cout << "  the netlist is " << (difference.empty() ? "identical with " : "not that of ")
             << options.m_expected_file << (difference.empty() ? "" : ": " + difference) << "\n";
   return difference.empty() ? FINE : DIFFERENT;
}

std::string first_line(const std::string& text) {
   return text.substr(0, text.find('\n'));
}

void name_what_is_left_out(const WHOLE_RECORDS& log, std::size_t replayed) {
   for (std::size_t position = replayed; position < log.m_records.size(); ++position) {
      const LOGDB_FSYN_LOG_ENTRY& record = *log.m_records[position];
      std::cout << "  left out, a change half done: " << record_kind_name(record.m_type) << " of "
                << printable(record.m_node_name) << "\n";
   }
   if (!log.m_rest.empty()) {
      std::cout << "  left out, a record cut short: " << log.m_rest.size() << " bytes that begin with "
                << printable(first_line(log.m_rest)) << "\n";
   }
}

EXIT_STATUS run_recover(const OPTIONS& options) {
   NETLIST netlist = read_blif_file(options.m_netlist);
   const WHOLE_RECORDS log = read_whole_records(options.m_log, options.m_whole_log);
   const std::size_t replayed = count_up_to_last_whole_change(log.m_records);
   for (std::size_t position = 0; position < replayed; ++position) {
      replay_record(*log.m_records[position], static_cast<int>(position) + 1, netlist);
   }
   write_result(options, netlist);
   std::cout << "  " << log.m_records.size() << " whole records in " << log.m_bytes << " of "
             << log.m_bytes + log.m_rest.size() << " bytes, kept in " << options.m_whole_log << "; replayed "
             << replayed << "\n";
   name_what_is_left_out(log, replayed);
   return prove_equivalence(options, netlist);
}

void add_files(CLI::App& command, OPTIONS& options) {
   command.add_option("netlist", options.m_netlist, "the netlist, in BLIF")->required()->check(CLI::ExistingFile);
   command.add_option("log", options.m_log, "the log")->required();
   command.add_option("--result", options.m_result_file, "write the changed netlist to this file, as plain text");
}

int run(int argument_count, char** arguments) {
   OPTIONS options;
   bool print_all_kinds = false;
   CLI::App application("Optimises a netlist, and logs each change");
   application.require_subcommand(1);
   application.footer(
       "Exit status: 0 fine, 1 netlists differ, 2 usage, 3 a file that does not fit or cannot be used");
   CLI::App& optimise_command = *application.add_subcommand("optimise", "change the netlist and log how");
   add_files(optimise_command, options);
   optimise_command.add_flag("--kinds", print_all_kinds, "print how many records of each kind there are");
   optimise_command.add_option("--kill-at-bytes", options.m_kill_at_bytes,
                               "be killed as soon as the log has so many bytes");
   CLI::App& replay_command = *application.add_subcommand("replay", "make the logged changes again");
   add_files(replay_command, options);
   replay_command.add_option("--expect", options.m_expected_file, "compare with the netlist in this file");
   CLI::App& recover_command = *application.add_subcommand("recover", "replay a log that breaks off");
   add_files(recover_command, options);
   recover_command.add_option("--whole-log", options.m_whole_log, "where to keep the records that are whole")
       ->required();
   try {
      application.parse(argument_count, arguments);
   } catch (const CLI::ParseError& error) {
      return application.exit(error) == 0 ? FINE : USAGE;
   }
   if (optimise_command.parsed()) {
      return run_optimise(options, print_all_kinds);
   }
   return replay_command.parsed() ? run_replay(options) : run_recover(options);
}

} // namespace

int main(int argument_count, char** arguments) {
   try {
      return run(argument_count, arguments);
   } catch (const std::exception& error) {
      std::cerr << "physical_synthesis: " << printable(error.what()) << "\n";
      return FAILED;
   }
}
