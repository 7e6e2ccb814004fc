// One operation of the library in a folder, on a system where something may go wrong in it, and then the question whether
// everything still works.
//
//     library_steps OPERATION FOLDER ENTRIES
//
// with databases of that many entries. Prints lines: what the operation reported, and "ok" when nothing is amiss afterwards. The sweep reads them.
//
//     library_steps write-until-killed FOLDER
//
// appends lines to FOLDER/log.fsyn for ever, and counts in FOLDER/count those whose call has returned.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host_standalone.h"
#include "logdb.h"
#include "logdb_fsyn_log_file.h"

namespace {

using LIBRARY_LOG = LOGDB_FSYN_LOG_FILE;

/// The functions of the library of failing calls; without it nothing goes wrong.
void arm(bool on) {
   static const auto function = reinterpret_cast<void (*)(int)>(dlsym(RTLD_DEFAULT, "logdb_fault_arm"));
   if (function != nullptr) {
      function(on ? 1 : 0);
   }
}

std::size_t live_blocks() {
   static const auto function =
       reinterpret_cast<std::size_t (*)()>(dlsym(RTLD_DEFAULT, "logdb_fault_live_blocks"));
   return function != nullptr ? function() : 0;
}

[[noreturn]] void fail(const char* what) {
   arm(false);
   std::printf("amiss: %s\n", what);
   std::fflush(stdout);
   std::_Exit(1);
}

void holds(bool condition, const char* what) {
   if (!condition) {
      fail(what);
   }
}

std::string bytes_of(const std::string& path) {
   std::ifstream file(path, std::ios::binary);
   return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write_file(const std::string& path, const std::string& bytes) {
   std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// How many entries the database has, and how many records the log that is read.
int entry_count = 0;

/// How many records the log has that others are appended to, and how many are appended.
constexpr int old_records = 3;
constexpr int appended_records = 6;

std::string name_of(int number) {
   return "top|u" + std::to_string(number) + "|a_register_with_a_name_of_its_own";
}

std::string database_text() {
   std::string text = "v1\n";
   for (int number = 0; number < entry_count; ++number) {
      text += "REGISTER_PACKING,PACKED,only fan-out,," + name_of(number) + ",top|d,\n";
   }
   return text;
}

std::string log_text(int records) {
   std::string text;
   for (int number = 0; number < records; ++number) {
      text += "PHYSICAL_SYNTHESIS_SET_INVERT\n" + name_of(number) + " 11 2\n";
   }
   return text;
}

/// Keeps what is reported. The texts have their storage before anything goes wrong.
std::vector<std::string> reports;

void take_reports_from_the_host() {
   reports.reserve(100000);
   host_set_internal_error_handler([](const char* text, const char*, const char*, int) {
      arm(false);
      reports.emplace_back(text);
      arm(true);
   });
   host_set_debug_message_handler([](const char*, const char*) { return false; });
}

class STEPS {
public:
   explicit STEPS(std::string folder) : m_folder(std::move(folder)) {
      m_map = m_folder + "/top.map.logdb";
      m_cmp = m_folder + "/top.cmp.logdb";
      m_log = m_folder + "/log.fsyn";
      m_other_log = m_folder + "/other.fsyn";
      m_long_log = m_folder + "/long.fsyn";
   }

   /// The state that every operation starts from.
   void prepare() const {
      host_set_project_directory(m_folder.c_str());
      LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_MAP);
      write_file(m_map, database_text());
      write_file(m_cmp, "v1\nIO_RULES,old,\n");
      write_file(m_log, log_text(old_records));
      write_file(m_other_log, log_text(appended_records));
      write_file(m_long_log, log_text(entry_count));
   }

   void load() const {
      LOGDB_DATABASE::load_database();
      check_list_is_the_beginning("");
   }

   void load_named() const {
      LOGDB_DATABASE::load_database(m_map.c_str(), "chip");
      LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
      arm(false);
      // Names have the root in front of them, or the file failed and none has.
      const bool prefixed = database != nullptr && database->get_number_of_entries() > 0 && reports.empty();
      check_list_is_the_beginning(prefixed ? "chip|" : "");
   }

   void commit() const {
      LOGDB_DATABASE::commit_database();
      check_list_is_whole();
   }

   void commit_named() const {
      LOGDB_DATABASE::commit_database(m_cmp.c_str(), "top");
      check_list_is_whole();
   }

   void copy() const {
      LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
      arm(false);
      const std::string copied = bytes_of(m_cmp);
      holds(copied == database_text() || copied == "v1\nIO_RULES,old,\n", "a copy that is neither old nor new");
      holds(bytes_of(m_map) == database_text(), "the source of a copy has changed");
      holds(!holds_a_temporary_file(), "a copy has left its temporary file");
      holds(reports.empty() || copied != database_text(), "a copy that is there was reported as failed");
      holds(!reports.empty() || copied == database_text(), "a copy that failed was not reported");
   }

   void remove() const {
      LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_MAP);
      arm(false);
      holds(!std::filesystem::exists(m_map) || bytes_of(m_map) == database_text(), "half a file is left");
   }

   void print_lines() const {
      LIBRARY_LOG log(m_log.c_str());
      log.init(true);
      for (int number = 0; number < 4; ++number) {
         log.print_line("line %d of a log", number);
      }
      log.close();
      arm(false);
      check_is_prefix(log_text(old_records),
                      "line 0 of a log\nline 1 of a log\nline 2 of a log\nline 3 of a log\n");
   }

   void write_records() const {
      LIBRARY_LOG log(m_log.c_str());
      log.init(true);
      arm(false);
      LOGDB_FSYN_LOG_ENTRY_SET_INVERT record;
      record.m_node_name = name_of(7).c_str();
      arm(true);
      log.write_fsyn_log_entry(&record);
      log.write_fsyn_log_entry(&record);
      log.close();
      arm(false);
      const std::string text = "PHYSICAL_SYNTHESIS_SET_INVERT\n" + name_of(7) + " 0 0\n";
      check_is_prefix(log_text(old_records), text + text);
   }

   void read_records() const {
      LIBRARY_LOG log(m_long_log.c_str());
      const int read = count_records(log);
      log.close();
      arm(false);
      holds(read <= entry_count, "more records than there are");
      holds(bytes_of(m_long_log) == log_text(entry_count), "reading has changed the file");
   }

   void append() const {
      LIBRARY_LOG log(m_log.c_str());
      log.init(true);
      log.append_file(m_other_log.c_str());
      log.close();
      arm(false);
      const std::string bytes = bytes_of(m_log);
      holds(bytes.substr(0, log_text(old_records).size()) == log_text(old_records),
            "what was in the log has changed");
      holds(bytes.size() <= log_text(old_records).size() + log_text(appended_records).size(),
            "more was appended than there is");
      holds(bytes_of(m_other_log) == log_text(appended_records), "the log that was appended has changed");
   }

   void delete_log() const {
      LIBRARY_LOG log(m_log.c_str());
      const bool gone = log.delete_file();
      arm(false);
      holds(gone == !std::filesystem::exists(m_log), "a log is not gone as its deletion says");
   }

   /// What an operation finds loaded.
   void load_first() const {
      LOGDB_DATABASE::load_database();
      check_list_is_whole();
   }

   /// Everything works once more.
   void check_everything_works() const {
      LOGDB_DATABASE::unload_database();
      reports.clear();
      prepare();
      LOGDB_DATABASE::load_database();
      check_list_is_whole();
      std::filesystem::remove(m_map);
      LOGDB_DATABASE::commit_database();
      holds(bytes_of(m_map) == database_text(), "a further commit does not work");
      LOGDB_DATABASE::unload_database();
      LIBRARY_LOG log(m_long_log.c_str());
      holds(count_records(log) == entry_count, "a further reading does not work");
      log.close();
      LIBRARY_LOG writer(m_log.c_str());
      writer.init(true);
      holds(writer.append_file(m_other_log.c_str()), "a further appending does not work");
      writer.close();
      holds(bytes_of(m_log) == log_text(old_records) + log_text(appended_records),
            "a further appending is not whole");
      holds(reports.empty(), "a further run reports something");
   }

private:
   static int count_records(LIBRARY_LOG& log) {
      int count = 0;
      while (const auto record = std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>(log.read_fsyn_log_entry())) {
         ++count;
      }
      return count;
   }

   static bool is_entry(const LOGDB_DATABASE_ENTRY* entry, int number, const std::string& root) {
      return entry != nullptr && entry->m_entry_type == REGISTER_PACKING && entry->m_data_vector.size() == 5 &&
             entry->m_data_vector[0] == "PACKED" &&
             std::string(entry->m_data_vector[3].c_str()) == root + name_of(number);
   }

   static void check_list_is_the_beginning(const std::string& root) {
      arm(false);
      const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
      const int count = database != nullptr ? database->get_number_of_entries() : 0;
      holds(count <= entry_count, "more entries than there are");
      for (int number = 0; number < count; ++number) {
         holds(is_entry(database->get_entry(number), number, root), "an entry that is not in the file");
      }
      holds(count == entry_count || !reports.empty(), "a file that was not read whole was not reported");
   }

   static void check_list_is_whole() {
      arm(false);
      const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
      holds(database != nullptr && database->get_number_of_entries() == entry_count, "the list has lost entries");
      for (int number = 0; number < entry_count; ++number) {
         holds(is_entry(database->get_entry(number), number, ""), "an entry has changed");
      }
   }

   /// A log holds what it held, and of what was added the beginning. A line that there was no memory for is
   /// reported, and those behind it are added all the same.
   void check_is_prefix(const std::string& before, const std::string& added) const {
      const std::string bytes = bytes_of(m_log);
      holds(bytes.compare(0, before.size(), before) == 0, "what was in the log has changed");
      const std::string found = bytes.substr(before.size());
      if (reports.empty()) {
         holds(added.compare(0, found.size(), found) == 0, "a log that has a gap");
      } else {
         holds(found.size() <= added.size() && added.substr(added.size() - found.size()) == found,
               "a log with other lines than those that were not reported");
      }
   }

   bool holds_a_temporary_file() const {
      for (const auto& file : std::filesystem::directory_iterator(m_folder)) {
         if (file.path().filename().string().starts_with(".")) {
            return true;
         }
      }
      return false;
   }

   std::string m_folder;
   std::string m_map;
   std::string m_cmp;
   std::string m_log;
   std::string m_other_log;
   std::string m_long_log;
};

using OPERATION = void (STEPS::*)() const;

struct NAMED_OPERATION {
   OPERATION m_operation;
   bool m_needs_loaded_database;
};

const std::map<std::string, NAMED_OPERATION>& operations() {
   static const std::map<std::string, NAMED_OPERATION> all = {
       {"load", {&STEPS::load, false}},
       {"load-named", {&STEPS::load_named, false}},
       {"commit", {&STEPS::commit, true}},
       {"commit-named", {&STEPS::commit_named, true}},
       {"copy", {&STEPS::copy, false}},
       {"delete", {&STEPS::remove, false}},
       {"print-line", {&STEPS::print_lines, false}},
       {"write-record", {&STEPS::write_records, false}},
       {"read", {&STEPS::read_records, false}},
       {"append-file", {&STEPS::append, false}},
       {"delete-log", {&STEPS::delete_log, false}},
   };
   return all;
}

int run(const STEPS& steps, const NAMED_OPERATION& operation) {
   // Once with a system that works: what a process makes once is there then, and is no leak.
   steps.prepare();
   steps.check_everything_works();
   steps.prepare();
   if (operation.m_needs_loaded_database) {
      steps.load_first();
   }
   const std::size_t tracked_before = host_memory_statistics("LOGDB").m_live_blocks;
   try {
      arm(true);
      (steps.*operation.m_operation)();
   } catch (const std::bad_alloc&) {
      arm(false);
      reports.emplace_back("no memory");
   }
   arm(false);
   for (const std::string& report : reports) {
      std::printf("report: %s\n", report.c_str());
   }
   if (!operation.m_needs_loaded_database) {
      LOGDB_DATABASE::unload_database();
      holds(host_memory_statistics("LOGDB").m_live_blocks == tracked_before, "tracked blocks are left");
      holds(live_blocks() == 0, "blocks are left");
   }
   steps.check_everything_works();
   std::printf("ok\n");
   return 0;
}

[[noreturn]] void write_until_killed(const std::string& folder) {
   const int file = ::open((folder + "/count").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
   holds(file >= 0 && ::ftruncate(file, sizeof(std::uint64_t)) == 0, "no file to count in");
   void* memory = ::mmap(nullptr, sizeof(std::uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
   holds(memory != MAP_FAILED, "no memory to count in");
   auto* count = new (memory) std::atomic<std::uint64_t>(0);
   LIBRARY_LOG log((folder + "/log.fsyn").c_str());
   log.init(true);
   for (std::uint64_t number = 0;; ++number) {
      // Two lines a record; the second says which one it is.
      log.print_line(number % 2 == 0 ? "PHYSICAL_SYNTHESIS_SET_INVERT" : "top|u%lu|a_register 11 2", number);
      count->store(number + 1);
   }
}

} // namespace

int main(int argc, char** argv) {
   const std::string operation = argc >= 3 ? argv[1] : "";
   if (operation == "write-until-killed") {
      write_until_killed(argv[2]);
   }
   const auto found = operations().find(operation);
   if (argc != 4 || found == operations().end()) {
      for (const auto& [name, unused] : operations()) {
         std::printf("%s\n", name.c_str());
      }
      return argc == 1 ? 0 : 2;
   }
   entry_count = std::atoi(argv[3]);
   take_reports_from_the_host();
   return run(STEPS(argv[2]), found->second);
}
