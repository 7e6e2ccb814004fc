#include "log.h"

#include "record_lines.h"
#include "record_words.h"

namespace straightforward {

namespace {

class STREAM_SINK {
public:
   explicit STREAM_SINK(std::ostream& file) : m_file(file) {}

   template <class FIRST, class... REST> void line(const FIRST& first, const REST&... rest) {
      put(first);
      ((m_file << ' ', put(rest)), ...);
      m_file << std::endl;
   }

private:
   void put(HEXADECIMAL number) { m_file << std::hex << number.m_value << std::dec; }
   template <class FIELD> void put(const FIELD& field) { m_file << field; }

   std::ostream& m_file;
};

class STREAM_WORDS {
public:
   STREAM_WORDS(std::istream& file, std::string& word) : m_file(file), m_word(word) {}

   template <class RECORD> RECORD* make(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
      auto* record = new RECORD;
      record->m_type = kind;
      return record;
   }

   bool next() { return static_cast<bool>(m_file >> m_word); }
   bool is(const char* word) const { return m_word == word; }
   long index() const { return std::stol(m_word); }
   void keep(std::string& string) { string = m_word; }
   void text(std::string& string) { m_file >> string; }

   long number() {
      long value = 0;
      m_file >> value;
      return value;
   }

   unsigned long hexadecimal() {
      unsigned long value = 0;
      m_file >> std::hex >> value >> std::dec;
      return value;
   }

   void set(std::string& string, const char* word) { string = word; }
   void append(std::vector<std::string>& list) { list.push_back(m_word); }
   template <class T> void push(std::vector<T>& list, T value) { list.push_back(value); }
   void slots(std::vector<std::string>& list, std::size_t count) { list.resize(count, "UNCHANGED"); }

private:
   std::istream& m_file;
   std::string& m_word;
};

} // namespace

int kind_of_keyword(const std::string& word) {
   for (int kind = 0; kind < 46; ++kind) {
      if (RECORD_KEYWORDS[kind] != nullptr && word == RECORD_KEYWORDS[kind]) {
         return kind;
      }
   }
   return -1;
}

void LOG_WRITER::write(const LOGDB_FSYN_LOG_ENTRY& record) {
   STREAM_SINK sink(m_file);
   write_record<LIBRARY_RECORDS>(sink, record);
}

void LOG_WRITER::write(const RECORDS::RECORD& record) {
   STREAM_SINK sink(m_file);
   write_record<RECORDS>(sink, record);
}

std::unique_ptr<RECORDS::RECORD> LOG_READER::read() {
   STREAM_WORDS words(m_file, m_word);
   while (words.next()) {
      const int kind = kind_of_keyword(m_word);
      if (kind >= 0) {
         RECORD_WORDS<RECORDS, STREAM_WORDS> layout(words);
         return std::unique_ptr<RECORDS::RECORD>(layout.read(static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(kind)));
      }
   }
   return nullptr;
}

} // namespace straightforward
