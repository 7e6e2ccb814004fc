#include <csv.h>

#include <cstdio>
#include <iterator>
#include <stdexcept>

#include "peer_rows.h"

namespace {

constexpr std::size_t BUFFER_BYTES = 256U << 10U;

/// Collects the fields of a line and makes an exact row of them.
class ROW_COLLECTOR {
public:
   explicit ROW_COLLECTOR(std::vector<straightforward::ENTRY>& rows) : m_rows(rows) {}

   static void on_field(void* text, std::size_t length, void* collector) {
      static_cast<ROW_COLLECTOR*>(collector)->m_fields.emplace_back(static_cast<const char*>(text), length);
   }

   static void on_line(int /*end*/, void* collector) { static_cast<ROW_COLLECTOR*>(collector)->end_line(); }

private:
   void end_line() {
      if (m_fields.size() > 1) { // not the version line
         straightforward::ENTRY& row = m_rows.emplace_back();
         row.m_kind = peer_kind_of(m_fields.front());
         // The empty text behind the last separator is no field.
         row.m_fields.assign(std::make_move_iterator(m_fields.begin() + 1),
                             std::make_move_iterator(m_fields.end() - 1));
      }
      m_fields.clear();
   }

   std::vector<straightforward::ENTRY>& m_rows;
   std::vector<std::string> m_fields;
};

class LIBCSV_DATABASE : public PEER_DATABASE {
public:
   void take(const std::string& path) override { load(path); }
   bool writes_database_file() const override { return false; } // it puts quotes around each field

   void load(const std::string& path) override {
      FILE* file = open(path, "re");
      csv_parser parser;
      csv_init(&parser, CSV_APPEND_NULL);
      ROW_COLLECTOR collector(m_rows);
      std::vector<char> block(BUFFER_BYTES);
      while (const std::size_t length = std::fread(block.data(), 1, block.size(), file)) {
         csv_parse(&parser, block.data(), length, ROW_COLLECTOR::on_field, ROW_COLLECTOR::on_line, &collector);
      }
      csv_fini(&parser, ROW_COLLECTOR::on_field, ROW_COLLECTOR::on_line, &collector);
      csv_free(&parser);
      std::fclose(file);
   }

   void commit(const std::string& path) override {
      FILE* file = open(path, "we");
      std::setvbuf(file, nullptr, _IOFBF, BUFFER_BYTES);
      std::fputs("v1\n", file);
      for (const straightforward::ENTRY& row : m_rows) {
         put(file, straightforward::name_of(row.m_kind));
         for (const std::string& field : row.m_fields) {
            put(file, field);
         }
         putc_unlocked('\n', file);
      }
      std::fclose(file);
   }

private:
   static FILE* open(const std::string& path, const char* mode) {
      FILE* file = std::fopen(path.c_str(), mode);
      if (file == nullptr) {
         throw std::runtime_error("cannot open " + path);
      }
      return file;
   }

   void put(FILE* file, std::string_view field) {
      m_quoted.resize(2 * field.size() + 2);
      std::fwrite(m_quoted.data(), 1, csv_write(m_quoted.data(), m_quoted.size(), field.data(), field.size()),
                  file);
      putc_unlocked(',', file);
   }

   std::vector<char> m_quoted;
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_libcsv_database() {
   return std::make_unique<LIBCSV_DATABASE>();
}
