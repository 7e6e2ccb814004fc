#include <filesystem>
#include <stdexcept>

#include "checksum.h"
#include "contenders.h"
#include "logdb.h"
#include "logdb_fsyn_log_file.h"
#include "record_lines.h"

namespace {

class LIBRARY_DATABASE : public DATABASE_CONTENDER {
public:
   explicit LIBRARY_DATABASE(const char* root) : m_root(root) {}
   ~LIBRARY_DATABASE() override { LOGDB_DATABASE::unload_database(); }
   LIBRARY_DATABASE(const LIBRARY_DATABASE&) = delete;
   LIBRARY_DATABASE& operator=(const LIBRARY_DATABASE&) = delete;

   void take(const std::string& path) override { load(path); }

   void load(const std::string& path) override {
      initialize(path);
      if (m_root == nullptr) {
         LOGDB_DATABASE::load_database();
      } else {
         LOGDB_DATABASE::load_database(path.c_str(), m_root);
      }
   }

   void commit(const std::string& path) override {
      initialize(path);
      if (m_root == nullptr) {
         LOGDB_DATABASE::commit_database();
      } else {
         LOGDB_DATABASE::commit_database(path.c_str(), m_root);
      }
   }

   void unload() override { LOGDB_DATABASE::unload_database(); }

   std::uint64_t sum() const override {
      CHECKSUM sum;
      const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
      for (int i = 0; i < database->get_number_of_entries(); ++i) {
         const LOGDB_DATABASE_ENTRY* entry = database->get_entry(i);
         add_row(sum, entry->m_entry_type, entry->m_data_vector);
      }
      return sum.value();
   }

private:
   /// Picks the revision whose file a path is.
   static void initialize(const std::string& path) {
      const std::string name = std::filesystem::path(path).filename();
      const std::string revision = name.substr(0, name.find('.'));
      MEM_STRING file_name;
      LOGDB_DATABASE::make_db_filename(revision.c_str(), LOGDB_DB_TYPE_CMP, &file_name);
      if (path != file_name.c_str()) {
         throw std::runtime_error(path + " is not the file of a revision");
      }
      LOGDB_DATABASE::initialize(revision.c_str(), LOGDB_DB_TYPE_CMP);
   }

   const char* m_root;
};

class LIBRARY_LOG : public LOG_CONTENDER {
public:
   void write(const std::string& path, const RECORDS& records, const READY_LINES& /*lines*/, int rounds) override {
      LOGDB_FSYN_LOG_FILE log(path.c_str());
      log.init(true);
      for (int round = 0; round < rounds; ++round) {
         for (const auto& record : records) {
            log.write_fsyn_log_entry(record.get());
         }
      }
   }

   void read(const std::string& path) override {
      LOGDB_FSYN_LOG_FILE log(path.c_str());
      while (LOGDB_FSYN_LOG_ENTRY* record = log.read_fsyn_log_entry()) {
         m_records.emplace_back(record);
      }
   }

   void clear() override { RECORDS().swap(m_records); }

   std::size_t read_and_delete(const std::string& path) override {
      LOGDB_FSYN_LOG_FILE log(path.c_str());
      std::size_t count = 0;
      while (LOGDB_FSYN_LOG_ENTRY* record = log.read_fsyn_log_entry()) {
         delete record;
         ++count;
      }
      return count;
   }

   void append(const std::string& path, const std::string& from) override {
      // append_file lowers the name, and nobody knows the directories above.
      const std::filesystem::path old_directory = std::filesystem::current_path();
      std::filesystem::current_path(std::filesystem::path(from).parent_path());
      LOGDB_FSYN_LOG_FILE log(path.c_str());
      log.init(true);
      const bool appended = log.append_file(std::filesystem::path(from).filename().c_str());
      std::filesystem::current_path(old_directory);
      if (!appended) {
         throw std::runtime_error("cannot append " + from);
      }
   }

   std::size_t size() const override { return m_records.size(); }

   std::uint64_t sum() const override {
      CHECKSUM_SINK sink;
      for (const auto& record : m_records) {
         write_record<LIBRARY_RECORDS>(sink, *record);
      }
      return sink.value();
   }

private:
   RECORDS m_records;
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_library_database(const char* root) {
   return std::make_unique<LIBRARY_DATABASE>(root);
}

std::unique_ptr<LOG_CONTENDER> make_library_log() {
   return std::make_unique<LIBRARY_LOG>();
}
