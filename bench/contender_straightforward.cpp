#include "checksum.h"
#include "contenders.h"
#include "record_lines.h"
#include "straightforward/database.h"
#include "straightforward/log.h"

namespace {

class STRAIGHTFORWARD_DATABASE : public DATABASE_CONTENDER {
public:
   explicit STRAIGHTFORWARD_DATABASE(const char* root) : m_root(root) {}

   void take(const std::string& path) override { load(path); }
   void load(const std::string& path) override { m_entries = straightforward::load(path, m_root); }
   void commit(const std::string& path) override { straightforward::commit(path, m_entries, m_root); }
   void unload() override { straightforward::ENTRIES().swap(m_entries); }

   std::uint64_t sum() const override {
      CHECKSUM sum;
      for (const auto& entry : m_entries) {
         add_row(sum, entry->m_kind, entry->m_fields);
      }
      return sum.value();
   }

private:
   const char* m_root;
   straightforward::ENTRIES m_entries;
};

class STRAIGHTFORWARD_LOG : public LOG_CONTENDER {
public:
   void write(const std::string& path, const RECORDS& records, const READY_LINES& /*lines*/, int rounds) override {
      straightforward::LOG_WRITER writer(path);
      for (int round = 0; round < rounds; ++round) {
         for (const auto& record : records) {
            writer.write(*record);
         }
      }
   }

   void read(const std::string& path) override {
      straightforward::LOG_READER reader(path);
      while (auto record = reader.read()) {
         m_records.push_back(std::move(record));
      }
   }

   void clear() override { KEPT().swap(m_records); }

   std::size_t read_and_delete(const std::string& path) override {
      straightforward::LOG_READER reader(path);
      std::size_t count = 0;
      while (reader.read() != nullptr) {
         ++count;
      }
      return count;
   }

   void append(const std::string& path, const std::string& from) override {
      straightforward::LOG_READER reader(from);
      straightforward::LOG_WRITER writer(path);
      while (const auto record = reader.read()) {
         writer.write(*record);
      }
   }

   std::size_t size() const override { return m_records.size(); }

   std::uint64_t sum() const override {
      CHECKSUM_SINK sink;
      for (const auto& record : m_records) {
         write_record<straightforward::RECORDS>(sink, *record);
      }
      return sink.value();
   }

private:
   using KEPT = std::vector<std::unique_ptr<straightforward::RECORDS::RECORD>>;

   KEPT m_records;
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_straightforward_database(const char* root) {
   return std::make_unique<STRAIGHTFORWARD_DATABASE>(root);
}

std::unique_ptr<LOG_CONTENDER> make_straightforward_log() {
   return std::make_unique<STRAIGHTFORWARD_LOG>();
}
