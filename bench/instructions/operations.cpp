#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "generator.h"
#include "logdb.h"
#include "logdb_fsyn_log_file.h"

/// \file
/// One of the library's five operations on a small input, with the work in a function of its own, so that a tool can
/// count what runs inside it:
///
///     instruction_operations load|commit|write|read|append FOLDER
///
/// The folder is where the input is made; it has to be empty.

namespace {

constexpr std::size_t entry_count = 5000;
constexpr std::size_t record_count = 2000;

using RECORDS = std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>>;

void write_records(const char* file_name, const RECORDS& records) {
   LOGDB_FSYN_LOG_FILE log(file_name);
   log.init(true);
   for (const auto& record : records) {
      log.write_fsyn_log_entry(record.get());
   }
}

RECORDS read_records(const char* file_name) {
   LOGDB_FSYN_LOG_FILE log(file_name);
   RECORDS records;
   while (LOGDB_FSYN_LOG_ENTRY* record = log.read_fsyn_log_entry()) {
      records.emplace_back(record);
   }
   return records;
}

} // namespace

/// The work that is counted.
extern "C" [[gnu::noinline]] std::size_t measured_work(const std::string& operation, const RECORDS& records) {
   if (operation == "load") {
      LOGDB_DATABASE::load_database();
   } else if (operation == "commit") {
      LOGDB_DATABASE::commit_database();
   } else if (operation == "write") {
      write_records("written.fsyn", records);
   } else if (operation == "read") {
      return read_records("log.fsyn").size();
   } else if (operation == "append") {
      LOGDB_FSYN_LOG_FILE log("written.fsyn");
      log.init(true);
      log.append_file("log.fsyn");
   }
   return std::filesystem::exists("written.fsyn") ? record_count : entry_count;
}

int main(int argc, char** argv) {
   if (argc != 3) {
      std::fprintf(stderr, "usage: instruction_operations load|commit|write|read|append FOLDER\n");
      return 2;
   }
   const std::string operation = argv[1];
   std::filesystem::current_path(argv[2]);
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   MEM_STRING file_name;
   LOGDB_DATABASE::make_db_filename("top", LOGDB_DB_TYPE_CMP, &file_name);
   generate_database_file(file_name.c_str(), entry_count);
   if (operation == "commit") {
      LOGDB_DATABASE::load_database();
   }
   const RECORDS records = generate_records(record_count);
   write_records("log.fsyn", records);
   const std::size_t count = measured_work(operation, records);
   const bool is_of_entries = operation == "load" || operation == "commit";
   const bool good = count == (is_of_entries ? entry_count : record_count);
   if (is_of_entries) {
      LOGDB_DATABASE::unload_database();
   }
   return good ? 0 : 1;
}
