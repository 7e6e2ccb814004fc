#include "log_recovery.h"

#include <filesystem>
#include <set>

#include "library_reports.h"
#include "record_meaning.h"
#include "text_file.h"

namespace {

std::uintmax_t common_bytes(const std::string& left, const std::string& right) {
   std::uintmax_t count = 0;
   while (count < left.size() && count < right.size() && left[count] == right[count]) {
      ++count;
   }
   return count;
}

} // namespace

WHOLE_RECORDS read_whole_records(const std::string& file_name, const std::string& whole_file_name) {
   const std::string text = read_text_file(file_name);
   std::error_code no_such_file;
   if (std::filesystem::equivalent(file_name, whole_file_name, no_such_file)) {
      throw NETLIST_ERROR("the whole records need a file of their own");
   }
   write_text_file(whole_file_name, "");
   // A keyword that was cut short is reported as an unknown word. It will be found below, like any other
   // damage.
   const LIBRARY_REPORTS reports;
   LOGDB_FSYN_LOG_FILE log(file_name.c_str());
   LOGDB_FSYN_LOG_FILE whole_log(whole_file_name.c_str());
   whole_log.init(true);

   WHOLE_RECORDS result;
   std::vector<std::uintmax_t> ends; // in the file written again, where each record ends
   while (LOGDB_FSYN_LOG_ENTRY* record = log.read_fsyn_log_entry()) {
      result.m_records.emplace_back(record);
      whole_log.write_fsyn_log_entry(record);
      ends.push_back(std::filesystem::file_size(whole_file_name));
   }
   whole_log.close();

   const std::uintmax_t sound_bytes = common_bytes(text, read_text_file(whole_file_name));
   while (!ends.empty() && ends.back() > sound_bytes) {
      ends.pop_back();
   }
   result.m_records.resize(ends.size());
   result.m_bytes = ends.empty() ? 0 : ends.back();
   result.m_rest = text.substr(result.m_bytes);
   std::filesystem::resize_file(whole_file_name, result.m_bytes);
   return result;
}

std::size_t count_up_to_last_whole_change(const std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>>& records) {
   std::size_t whole = 0;
   std::set<MEM_STRING> waiting; // atoms whose connections are still to come
   for (std::size_t position = 0; position < records.size(); ++position) {
      const LOGDB_FSYN_LOG_ENTRY& record = *records[position];
      if (waits_for_connections(record)) {
         waiting.insert(record.m_node_name);
      } else if (is_connection(record)) {
         waiting.erase(record.m_node_name);
      }
      if (waiting.empty()) {
         whole = position + 1;
      }
   }
   return whole;
}
