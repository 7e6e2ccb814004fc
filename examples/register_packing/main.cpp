// A packing stage that keeps its decisions in a log database.
//
//    register_packing pack NETLIST      decides, and commits what it decided
//    register_packing repeat NETLIST    loads what was decided, and does the same without searching
//
// With --partition, one block of the hierarchy is packed by itself. Its entries go into a file of its own
// with names relative to the block, so that they can be repeated wherever else the block stands.

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>

#include "blif_reader.h"
#include "library_reports.h"
#include "logdb.h"
#include "packed_netlist.h"
#include "packing_log.h"
#include "packing_search.h"
#include "text_file.h"

namespace {

enum EXIT_STATUS { FINE = 0, DIFFERENT = 1, USAGE = 2, FAILED = 3 };

struct OPTIONS {
   std::string m_netlist;
   std::string m_revision = "board";
   std::string m_directory = ".";
   std::string m_partition;
   std::string m_partition_file;
   std::string m_packed_file;
   std::string m_expected_file;
   TARGET m_target;
};

/// The database of a run: the revision's, or the partition's file. It is loaded while the object lives.
class RUN_DATABASE {
public:
   explicit RUN_DATABASE(const OPTIONS& options) : m_options(options) {
      host_set_project_directory(options.m_directory.c_str());
      LOGDB_DATABASE::initialize(options.m_revision.c_str(), LOGDB_DB_TYPE_CMP);
      load();
   }

   ~RUN_DATABASE() { LOGDB_DATABASE::unload_database(); }
   RUN_DATABASE(const RUN_DATABASE&) = delete;
   RUN_DATABASE& operator=(const RUN_DATABASE&) = delete;

   std::string file_name() const {
      if (!m_options.m_partition.empty()) {
         return m_options.m_partition_file;
      }
      MEM_STRING name;
      LOGDB_DATABASE::make_db_filename(m_options.m_revision.c_str(), LOGDB_DB_TYPE_CMP, &name);
      return {name.data(), name.size()};
   }

   /// Replaces the packing decisions that the database holds. What other stages put there stays.
   void store(const DECISIONS& decisions) {
      const std::vector<LOGDB_DATABASE_ENTRY> others = entries_of_other_stages(*LOGDB_DATABASE::get_database());
      clear();
      for (const LOGDB_DATABASE_ENTRY& entry : others) {
         LOGDB_DATABASE::get_database()->add_entry(&entry);
      }
      log_decisions(decisions, *LOGDB_DATABASE::get_database());
      commit();
      // A file that cannot be written is not reported; what can be read back has been written.
      LOGDB_DATABASE::unload_database();
      load();
      const std::size_t expected = others.size() + decisions.size();
      if (static_cast<std::size_t>(LOGDB_DATABASE::get_database()->get_number_of_entries()) != expected) {
         throw NETLIST_ERROR("cannot write " + file_name());
      }
   }

   DECISIONS decisions() const { return logged_decisions(*LOGDB_DATABASE::get_database()); }

private:
   /// Entries cannot be removed one by one: a database whose file is gone is loaded empty.
   void clear() {
      LOGDB_DATABASE::unload_database();
      std::filesystem::remove(file_name());
      load();
   }

   void load() {
      if (m_options.m_partition.empty()) {
         LOGDB_DATABASE::load_database();
      } else {
         LOGDB_DATABASE::load_database(m_options.m_partition_file.c_str(), m_options.m_partition.c_str());
      }
      m_reports.throw_if_any();
   }

   void commit() {
      if (m_options.m_partition.empty()) {
         LOGDB_DATABASE::commit_database();
      } else {
         LOGDB_DATABASE::commit_database(m_options.m_partition_file.c_str(), m_options.m_partition.c_str());
      }
      m_reports.throw_if_any();
   }

   const OPTIONS& m_options;
   LIBRARY_REPORTS m_reports;
};

void print_summary(const PACKED_NETLIST& packed) {
   const PACKING_SUMMARY summary = packed.summary();
   std::cout << "  " << summary.m_logic_cells << " logic cells, " << summary.m_ram_blocks << " RAM blocks, "
             << summary.m_multiplier_blocks << " multiplier blocks; " << summary.m_packed_registers << " of "
             << summary.m_registers << " registers packed with another atom\n";
}

void write_packed(const OPTIONS& options, const PACKED_NETLIST& packed) {
   if (!options.m_packed_file.empty()) {
      write_text_file(options.m_packed_file, packed.text());
   }
}

EXIT_STATUS pack(const OPTIONS& options) {
   const NETLIST netlist = read_blif_file(options.m_netlist);
   const PARTITION partition(options.m_partition);
   PACKED_NETLIST packed(netlist, partition, options.m_target);
   const SEARCH_RESULT result = search_packing(netlist, partition, options.m_target, packed);
   if (result.m_decisions.size() == 0) {
      throw NETLIST_ERROR("there is nothing to pack in \"" + options.m_partition + "\"");
   }
   packed.place_rest();
   RUN_DATABASE database(options);
   database.store(result.m_decisions);
   std::cout << "  examined " << result.m_examined << " possibilities, logged " << result.m_decisions.size()
             << " decisions in " << database.file_name() << "\n";
   print_summary(packed);
   write_packed(options, packed);
   return FINE;
}

EXIT_STATUS repeat(const OPTIONS& options) {
   const NETLIST netlist = read_blif_file(options.m_netlist);
   const PARTITION partition(options.m_partition);
   const RUN_DATABASE database(options);
   const DECISIONS decisions = database.decisions();
   if (decisions.size() == 0) {
      throw NETLIST_ERROR("no decisions in " + database.file_name());
   }
   PACKED_NETLIST packed(netlist, partition, options.m_target);
   packed.apply(decisions);
   packed.place_rest();
   std::cout << "  repeated " << decisions.size() << " decisions of " << database.file_name()
             << ", without searching\n";
   print_summary(packed);
   write_packed(options, packed);
   if (options.m_expected_file.empty()) {
      return FINE;
   }
   const std::string difference = first_difference(read_text_file(options.m_expected_file), packed.text());
   std::cout << "  the packed netlist is " << (difference.empty() ? "identical with " : "not that of ")
             << options.m_expected_file << (difference.empty() ? "" : ": " + difference) << "\n";
   return difference.empty() ? FINE : DIFFERENT;
}

void add_options(CLI::App& command, OPTIONS& options) {
   command.add_option("netlist", options.m_netlist, "the netlist, in BLIF")->required()->check(CLI::ExistingFile);
   command.add_option("--revision", options.m_revision, "names the database")->capture_default_str();
   command.add_option("--directory", options.m_directory, "where the database is")->capture_default_str();
   CLI::Option* file = command.add_option("--partition-file", options.m_partition_file,
                                          "the database of one block of the hierarchy");
   command.add_option("--partition", options.m_partition, "the block: its path in the hierarchy")->needs(file);
   file->needs("--partition");
   command.add_option("--multiplier-blocks", options.m_target.m_multiplier_blocks, "how many the target has")
       ->capture_default_str();
   command.add_option("--packed", options.m_packed_file, "write the packed netlist to this file");
}

int run(int argument_count, char** arguments) {
   OPTIONS options;
   CLI::App application("Packs a netlist, and keeps its decisions in a log database");
   application.require_subcommand(1);
   application.footer(
       "Exit status: 0 fine, 1 packed netlists differ, 2 usage, 3 a file that does not fit or cannot be used");
   CLI::App& pack_command = *application.add_subcommand("pack", "decide and log");
   add_options(pack_command, options);
   CLI::App& repeat_command = *application.add_subcommand("repeat", "do what was logged, without searching");
   add_options(repeat_command, options);
   repeat_command.add_option("--expect", options.m_expected_file, "compare with the packed netlist in this file");
   try {
      application.parse(argument_count, arguments);
   } catch (const CLI::ParseError& error) {
      return application.exit(error) == 0 ? FINE : USAGE;
   }
   return pack_command.parsed() ? pack(options) : repeat(options);
}

} // namespace

int main(int argument_count, char** arguments) {
   try {
      return run(argument_count, arguments);
   } catch (const std::exception& error) {
      std::cerr << "register_packing: " << printable(error.what()) << "\n";
      return FAILED;
   }
}
