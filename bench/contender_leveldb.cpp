#include <leveldb/db.h>
#include <leveldb/write_batch.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "peer_rows.h"

namespace {

void check(const leveldb::Status& status) {
   if (!status.ok()) {
      throw std::runtime_error(status.ToString());
   }
}

/// A key an entry, its place in the list; the value is the kind, the number of fields, and each field behind
/// its length.
class LEVELDB_DATABASE : public PEER_DATABASE {
public:
   void prepare(const std::string& path) override {
      if (!std::filesystem::exists(path + ".leveldb")) {
         take(path);
         commit(path + ".leveldb");
         unload();
      }
   }

   void take(const std::string& path) override { read_rows(path, m_rows); }
   bool writes_database_file() const override { return false; }

   void load(const std::string& path) override {
      const std::string prepared = path + ".leveldb";
      const auto database = open(std::filesystem::exists(prepared) ? prepared : path);
      leveldb::ReadOptions options;
      options.fill_cache = false;
      const std::unique_ptr<leveldb::Iterator> iterator(database->NewIterator(options));
      for (iterator->SeekToFirst(); iterator->Valid(); iterator->Next()) {
         take_row(iterator->value());
      }
      check(iterator->status());
   }

   void commit(const std::string& path) override {
      const auto database = open(path);
      leveldb::WriteBatch batch;
      std::string value;
      std::uint64_t index = 0;
      for (const straightforward::ENTRY& row : m_rows) {
         make_value(row, value);
         const std::uint64_t key = __builtin_bswap64(index++); // in the order of the bytes
         batch.Put(leveldb::Slice(reinterpret_cast<const char*>(&key), sizeof(key)), value);
         if (index % 1000 == 0) {
            check(database->Write(leveldb::WriteOptions(), &batch));
            batch.Clear();
         }
      }
      check(database->Write(leveldb::WriteOptions(), &batch));
   }

private:
   static std::unique_ptr<leveldb::DB> open(const std::string& path) {
      leveldb::Options options;
      options.create_if_missing = true;
      options.compression = leveldb::kNoCompression;
      options.write_buffer_size = 64U << 20U;
      leveldb::DB* database = nullptr;
      check(leveldb::DB::Open(options, path, &database));
      return std::unique_ptr<leveldb::DB>(database);
   }

   static void make_value(const straightforward::ENTRY& row, std::string& value) {
      value.clear();
      value.push_back(static_cast<char>(row.m_kind));
      value.push_back(static_cast<char>(row.m_fields.size()));
      for (const std::string& field : row.m_fields) {
         const auto length = static_cast<std::uint32_t>(field.size());
         value.append(reinterpret_cast<const char*>(&length), sizeof(length));
         value += field;
      }
   }

   void take_row(const leveldb::Slice& value) {
      straightforward::ENTRY& row = m_rows.emplace_back();
      const char* position = value.data();
      row.m_kind = static_cast<LOGDB_ENTRY_TYPE_ENUM>(*position++);
      const auto fields = static_cast<std::size_t>(*position++);
      row.m_fields.reserve(fields);
      for (std::size_t i = 0; i < fields; ++i) {
         std::uint32_t length = 0;
         std::memcpy(&length, position, sizeof(length));
         position += sizeof(length);
         row.m_fields.emplace_back(position, length);
         position += length;
      }
   }
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_leveldb_database() {
   return std::make_unique<LEVELDB_DATABASE>();
}
