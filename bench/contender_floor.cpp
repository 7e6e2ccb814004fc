#include <filesystem>

#include "checksum.h"
#include "contenders.h"
#include "floor_database.h"
#include "record_lines.h"

namespace {

class FLOOR_DATABASE_CONTENDER : public DATABASE_CONTENDER {
public:
   explicit FLOOR_DATABASE_CONTENDER(const char* root) : m_root(root) {}

   void take(const std::string& path) override { load(path); }
   void load(const std::string& path) override { m_database.load(path, m_root); }
   void commit(const std::string& path) override { m_database.commit(path, m_root); }
   void unload() override { m_database.unload(); }

   std::uint64_t sum() const override {
      CHECKSUM sum;
      for (const FLOOR_ENTRY* entry : m_database) {
         add_row(sum, entry->m_entry_type, entry->m_data_vector);
      }
      return sum.value();
   }

private:
   const char* m_root;
   FLOOR_DATABASE m_database;
};

/// \tparam REUSE  whether a record that is deleted makes room for the next. Else deleting does nothing, and all
///                 memory is given back at the end
template <bool REUSE> class FLOOR_LOG_CONTENDER : public LOG_CONTENDER {
public:
   void write(const std::string& path, const RECORDS& /*records*/, const READY_LINES& lines, int rounds) override {
      FLOOR_LOG_WRITER writer(path);
      for (int round = 0; round < rounds; ++round) {
         writer.write(lines);
      }
   }

   void read(const std::string& path) override {
      m_memory.reserve(std::filesystem::file_size(path) + (1U << 20U));
      FLOOR_LOG_READER reader(path, m_memory);
      while (FLOOR_RECORDS::RECORD* record = reader.read()) {
         m_records.push_back(record);
      }
   }

   void clear() override {
      std::vector<FLOOR_RECORDS::RECORD*>().swap(m_records);
      m_memory.release();
   }

   std::size_t read_and_delete(const std::string& path) override {
      m_memory.reserve(std::filesystem::file_size(path) + (1U << 20U));
      FLOOR_LOG_READER reader(path, m_memory);
      std::size_t count = 0;
      for (; reader.read() != nullptr; ++count) {
         if (REUSE) {
            m_memory.rewind();
         }
      }
      m_memory.release();
      return count;
   }

   void append(const std::string& path, const std::string& from) override { floor_append_log(path, from); }

   std::size_t size() const override { return m_records.size(); }

   std::uint64_t sum() const override {
      CHECKSUM_SINK sink;
      for (const FLOOR_RECORDS::RECORD* record : m_records) {
         write_record<FLOOR_RECORDS>(sink, *record);
      }
      return sink.value();
   }

private:
   FLOOR_MEMORY m_memory;
   std::vector<FLOOR_RECORDS::RECORD*> m_records;
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_floor_database(const char* root) {
   return std::make_unique<FLOOR_DATABASE_CONTENDER>(root);
}

std::unique_ptr<LOG_CONTENDER> make_floor_log() {
   return std::make_unique<FLOOR_LOG_CONTENDER<false>>();
}

std::unique_ptr<LOG_CONTENDER> make_floor_reuse_log() {
   return std::make_unique<FLOOR_LOG_CONTENDER<true>>();
}
