#include "contenders.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>

#include "checksum.h"
#include "straightforward/database.h"

namespace {

template <class CONTENDER, class MAKERS>
std::unique_ptr<CONTENDER> make_named(const MAKERS& makers, const std::string& name) {
   const auto maker = makers.find(name);
   return maker == makers.end() ? nullptr : maker->second();
}

} // namespace

void DATABASE_CONTENDER::remove(const std::string& path) const {
   std::filesystem::remove_all(path);
}

std::unique_ptr<DATABASE_CONTENDER> make_database_contender(const std::string& name) {
   static const std::map<std::string, std::function<std::unique_ptr<DATABASE_CONTENDER>()>> makers = {
       {"floor", [] { return make_floor_database(nullptr); }},
       {"floor_partition", [] { return make_floor_database(BENCH_PARTITION_ROOT); }},
       {"library", [] { return make_library_database(nullptr); }},
       {"library_partition", [] { return make_library_database(BENCH_PARTITION_ROOT); }},
       {"straightforward", [] { return make_straightforward_database(nullptr); }},
       {"straightforward_partition", [] { return make_straightforward_database(BENCH_PARTITION_ROOT); }},
       {"stdio", make_stdio_database},
       {"sqlite", make_sqlite_database},
       {"leveldb", make_leveldb_database},
       {"libcsv", make_libcsv_database},
   };
   return make_named<DATABASE_CONTENDER>(makers, name);
}

std::unique_ptr<LOG_CONTENDER> make_log_contender(const std::string& name) {
   static const std::map<std::string, std::function<std::unique_ptr<LOG_CONTENDER>()>> makers = {
       {"floor", make_floor_log},     {"floor_reuse", make_floor_reuse_log},
       {"library", make_library_log}, {"straightforward", make_straightforward_log},
       {"stdio", make_stdio_log},     {"spdlog", make_spdlog_log},
   };
   return make_named<LOG_CONTENDER>(makers, name);
}

std::uint64_t sum_of_rows(const std::string& path, const char* root, std::size_t& entries) {
   CHECKSUM sum;
   entries = 0;
   std::ifstream file(path);
   std::string line;
   std::getline(file, line);
   while (std::getline(file, line)) {
      const std::size_t name_end = line.find(',');
      const LOGDB_ENTRY_TYPE_ENUM kind = straightforward::kind_of(line.substr(0, name_end));
      std::vector<std::string> fields;
      std::size_t field = name_end + 1;
      for (std::size_t end = line.find(',', field); end != std::string::npos; end = line.find(',', field)) {
         const bool joined = root != nullptr && straightforward::is_node_name(kind, fields.size());
         fields.push_back((joined ? std::string(root) + "|" : "") + line.substr(field, end - field));
         field = end + 1;
      }
      add_row(sum, kind, fields);
      ++entries;
   }
   return sum.value();
}

std::uint64_t sum_of_lines(const std::string& path, std::size_t& records) {
   CHECKSUM sum;
   records = 0;
   std::ifstream file(path);
   std::string line;
   while (std::getline(file, line)) {
      records += line.compare(0, 19, "PHYSICAL_SYNTHESIS_") == 0 ? 1 : 0;
      line += '\n';
      sum.add(line.data(), line.size());
   }
   return sum.value();
}
