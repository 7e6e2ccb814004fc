#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>

#include "peer_rows.h"

namespace {

constexpr int FIELDS = 9; // the most that a kind has

class SQLITE {
public:
   SQLITE(const std::string& path, int flags) {
      if (sqlite3_open_v2(path.c_str(), &m_database, flags | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
         fail();
      }
      run("PRAGMA journal_mode = OFF");
      run("PRAGMA synchronous = OFF");
      run("PRAGMA locking_mode = EXCLUSIVE");
      run("PRAGMA mmap_size = 2147418112");
   }
   ~SQLITE() { sqlite3_close(m_database); }
   SQLITE(const SQLITE&) = delete;
   SQLITE& operator=(const SQLITE&) = delete;

   void run(const char* statement) {
      if (sqlite3_exec(m_database, statement, nullptr, nullptr, nullptr) != SQLITE_OK) {
         fail();
      }
   }

   sqlite3_stmt* prepare(const char* statement) {
      sqlite3_stmt* prepared = nullptr;
      if (sqlite3_prepare_v2(m_database, statement, -1, &prepared, nullptr) != SQLITE_OK) {
         fail();
      }
      return prepared;
   }

   [[noreturn]] void fail() const { throw std::runtime_error(sqlite3_errmsg(m_database)); }

private:
   sqlite3* m_database = nullptr;
};

/// A table with a row an entry and a column a field, written in one transaction by one prepared statement.
class SQLITE_DATABASE : public PEER_DATABASE {
public:
   void prepare(const std::string& path) override {
      if (!std::filesystem::exists(path + ".sqlite")) {
         take(path);
         commit_to(path + ".sqlite");
         unload();
      }
   }

   void take(const std::string& path) override { read_rows(path, m_rows); }
   void commit(const std::string& path) override { commit_to(path); }
   bool writes_database_file() const override { return false; }

   void load(const std::string& path) override {
      const std::string prepared = path + ".sqlite";
      SQLITE database(std::filesystem::exists(prepared) ? prepared : path, SQLITE_OPEN_READONLY);
      sqlite3_stmt* select =
          database.prepare("SELECT kind, f0, f1, f2, f3, f4, f5, f6, f7, f8 FROM entry ORDER BY rowid");
      while (sqlite3_step(select) == SQLITE_ROW) {
         take_row(select);
      }
      sqlite3_finalize(select);
   }

private:
   void take_row(sqlite3_stmt* select) {
      straightforward::ENTRY& row = m_rows.emplace_back();
      row.m_kind = static_cast<LOGDB_ENTRY_TYPE_ENUM>(sqlite3_column_int(select, 0));
      row.m_fields.reserve(5);
      for (int column = 1; column <= FIELDS && sqlite3_column_type(select, column) != SQLITE_NULL; ++column) {
         const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(select, column));
         row.m_fields.emplace_back(text, static_cast<std::size_t>(sqlite3_column_bytes(select, column)));
      }
   }

   void commit_to(const std::string& path) {
      SQLITE database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
      database.run(
          "CREATE TABLE entry(kind INTEGER, f0 TEXT, f1 TEXT, f2 TEXT, f3 TEXT, f4 TEXT, f5 TEXT, f6 TEXT, "
          "f7 TEXT, f8 TEXT)");
      database.run("BEGIN");
      sqlite3_stmt* insert = database.prepare("INSERT INTO entry VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
      for (const straightforward::ENTRY& row : m_rows) {
         bind_row(insert, row);
         if (sqlite3_step(insert) != SQLITE_DONE) {
            database.fail();
         }
         sqlite3_reset(insert);
      }
      sqlite3_finalize(insert);
      database.run("COMMIT");
   }

   static void bind_row(sqlite3_stmt* insert, const straightforward::ENTRY& row) {
      sqlite3_bind_int(insert, 1, row.m_kind);
      int column = 2;
      for (const std::string& field : row.m_fields) {
         sqlite3_bind_text(insert, column++, field.data(), static_cast<int>(field.size()), nullptr);
      }
      for (; column <= FIELDS + 1; ++column) {
         sqlite3_bind_null(insert, column);
      }
   }
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_sqlite_database() {
   return std::make_unique<SQLITE_DATABASE>();
}
