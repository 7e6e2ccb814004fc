#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "line_format.h"
#include "peer_rows.h"
#include "record_words.h"
#include "straightforward/log.h"

namespace {

constexpr std::size_t BUFFER_BYTES = 256U << 10U;

/// An open stream with a large buffer.
class FILE_STREAM {
public:
   FILE_STREAM(const std::string& path, const char* mode) : m_file(std::fopen(path.c_str(), mode)) {
      if (m_file == nullptr) {
         throw std::runtime_error("cannot open " + path);
      }
      std::setvbuf(m_file, nullptr, _IOFBF, BUFFER_BYTES);
   }
   ~FILE_STREAM() { std::fclose(m_file); }
   FILE_STREAM(const FILE_STREAM&) = delete;
   FILE_STREAM& operator=(const FILE_STREAM&) = delete;

   FILE* get() const { return m_file; }

private:
   FILE* m_file;
};

class STDIO_DATABASE : public PEER_DATABASE {
public:
   void take(const std::string& path) override { load(path); }

   void load(const std::string& path) override { read_rows(path, m_rows); }

   void commit(const std::string& path) override {
      const FILE_STREAM file(path, "we");
      std::fputs("v1\n", file.get());
      for (const straightforward::ENTRY& row : m_rows) {
         std::fputs(straightforward::name_of(row.m_kind), file.get());
         putc_unlocked(',', file.get());
         for (const std::string& field : row.m_fields) {
            if (std::strchr(field.c_str(), ',') != nullptr) {
               throw std::runtime_error("a field holds a separator");
            }
            std::fputs(field.c_str(), file.get());
            putc_unlocked(',', file.get());
         }
         putc_unlocked('\n', file.get());
      }
   }
};

void add_line(std::vector<straightforward::ENTRY>& rows, const char* line) {
   straightforward::ENTRY& row = rows.emplace_back();
   const char* end = std::strchr(line, ',');
   row.m_kind = peer_kind_of(std::string_view(line, static_cast<std::size_t>(end - line)));
   row.m_fields.reserve(5);
   for (const char* field = end + 1; (end = std::strchr(field, ',')) != nullptr; field = end + 1) {
      row.m_fields.emplace_back(field, end);
   }
}

/// One fprintf a line.
class FILE_SINK {
public:
   explicit FILE_SINK(FILE* file) : m_file(file) {}

   template <class... FIELDS> void line(const FIELDS&... fields) {
      static constexpr LINE_FORMAT<CONVERSIONS, FIELDS...> format;
      std::fprintf(m_file, format.m_text, argument(fields)...);
      std::fflush(m_file);
   }

private:
   struct CONVERSIONS {
      static constexpr char NUMBER[] = "%d";
      static constexpr char HEX[] = "%lx";
      static constexpr char TEXT[] = "%s";
      static constexpr char END[] = "\n";
   };

   static int argument(int number) { return number; }
   static unsigned long argument(HEXADECIMAL number) { return number.m_value; }
   static const char* argument(const char* word) { return word; }
   template <class STRING> static const char* argument(const STRING& string) { return string.c_str(); }

   FILE* m_file;
};

/// Words by fscanf.
class FILE_WORDS {
public:
   explicit FILE_WORDS(FILE* file) : m_file(file) {}

   template <class RECORD> RECORD* make(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
      auto* record = new RECORD;
      record->m_type = kind;
      return record;
   }

   bool next() { return std::fscanf(m_file, "%4096s", m_word) == 1; }
   bool is(const char* word) const { return std::strcmp(m_word, word) == 0; }
   long index() const { return std::strtol(m_word, nullptr, 10); }
   void keep(std::string& string) { string = m_word; }

   void text(std::string& string) {
      next();
      keep(string);
   }

   long number() {
      next();
      return index();
   }

   unsigned long hexadecimal() {
      next();
      return std::strtoul(m_word, nullptr, 16);
   }

   void set(std::string& string, const char* word) { string = word; }
   void append(std::vector<std::string>& list) { list.emplace_back(m_word); }
   template <class T> void push(std::vector<T>& list, T value) { list.push_back(value); }
   void slots(std::vector<std::string>& list, std::size_t count) { list.resize(count, "UNCHANGED"); }

   std::unique_ptr<straightforward::RECORDS::RECORD> read() {
      while (next()) {
         const int kind = straightforward::kind_of_keyword(m_word);
         if (kind >= 0) {
            RECORD_WORDS<straightforward::RECORDS, FILE_WORDS> layout(*this);
            return std::unique_ptr<straightforward::RECORDS::RECORD>(
                layout.read(static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(kind)));
         }
      }
      return nullptr;
   }

private:
   FILE* m_file;
   char m_word[4097] = "";
};

class STDIO_LOG : public LOG_CONTENDER {
public:
   void write(const std::string& path, const RECORDS& records, const READY_LINES& /*lines*/, int rounds) override {
      const FILE_STREAM file(path, "ae");
      FILE_SINK sink(file.get());
      for (int round = 0; round < rounds; ++round) {
         for (const auto& record : records) {
            write_record<LIBRARY_RECORDS>(sink, *record);
         }
      }
   }

   void read(const std::string& path) override {
      const FILE_STREAM file(path, "re");
      FILE_WORDS words(file.get());
      while (auto record = words.read()) {
         m_records.push_back(std::move(record));
      }
   }

   void clear() override { KEPT().swap(m_records); }

   std::size_t read_and_delete(const std::string& path) override {
      const FILE_STREAM file(path, "re");
      FILE_WORDS words(file.get());
      std::size_t count = 0;
      while (words.read() != nullptr) {
         ++count;
      }
      return count;
   }

   void append(const std::string& path, const std::string& from) override {
      const FILE_STREAM source(from, "re");
      const FILE_STREAM target(path, "ae");
      FILE_WORDS words(source.get());
      FILE_SINK sink(target.get());
      while (const auto record = words.read()) {
         write_record<straightforward::RECORDS>(sink, *record);
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

std::unique_ptr<DATABASE_CONTENDER> make_stdio_database() {
   return std::make_unique<STDIO_DATABASE>();
}

std::unique_ptr<LOG_CONTENDER> make_stdio_log() {
   return std::make_unique<STDIO_LOG>();
}

void read_rows(const std::string& path, std::vector<straightforward::ENTRY>& rows) {
   const FILE_STREAM file(path, "re");
   char line[32768];
   if (std::fgets(line, sizeof(line), file.get()) == nullptr) {
      return;
   }
   while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
      add_line(rows, line);
   }
}
