#ifndef FLOOR_LOG_H
#define FLOOR_LOG_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "floor_memory.h"
#include "record_families.h"

using FLOOR_RECORDS = OWN_RECORDS<FLOOR_STRING, FLOOR_LIST>;

/// Text that is ready to be written, line by line.
struct READY_LINES {
   std::string m_text;
   std::vector<std::uint32_t> m_lengths; ///< of each line, line feed included

   void take_lengths();
};

/// Writes ready lines with a write each to the end of a file.
class FLOOR_LOG_WRITER {
public:
   explicit FLOOR_LOG_WRITER(const std::string& path);
   ~FLOOR_LOG_WRITER();
   FLOOR_LOG_WRITER(const FLOOR_LOG_WRITER&) = delete;
   FLOOR_LOG_WRITER& operator=(const FLOOR_LOG_WRITER&) = delete;

   void write(const READY_LINES& lines);

   /// \param length  line feed included
   void write_line(const char* line, std::size_t length);

private:
   int m_file;
};

/// Copies the lines of a log to the end of another: from large blocks, with a write a line.
void floor_append_log(const std::string& path, const std::string& from);

/// Reads a physical-synthesis log without anything that costs time: words from large blocks, records of the
/// library's layout in memory that is freed as a whole. Well-formed files alone.
class FLOOR_LOG_READER {
public:
   /// \param memory  where the records are built
   FLOOR_LOG_READER(const std::string& path, FLOOR_MEMORY& memory);
   ~FLOOR_LOG_READER();
   FLOOR_LOG_READER(const FLOOR_LOG_READER&) = delete;
   FLOOR_LOG_READER& operator=(const FLOOR_LOG_READER&) = delete;

   /// The next record; null at the end of the file.
   FLOOR_RECORDS::RECORD* read();

   /// \name What RECORD_WORDS calls
   /// @{

   template <class RECORD> RECORD* make(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
      m_memory.m_objects.align(alignof(RECORD));
      auto* record = new (m_memory.m_objects.m_cursor) RECORD;
      m_memory.m_objects.m_cursor += sizeof(RECORD);
      record->m_type = kind;
      return record;
   }

   bool next() {
      if (m_next + 1 >= m_end && !fill()) {
         return false;
      }
      m_word = m_block + m_next[0];
      m_length = m_next[1] - m_next[0];
      m_next += 2;
      return true;
   }

   template <std::size_t SIZE> bool is(const char (&word)[SIZE]) const {
      return m_length == SIZE - 1 && std::memcmp(m_word, word, SIZE - 1) == 0;
   }

   long index() const { return decimal(m_word); }

   void keep(FLOOR_STRING& string) { string.set_in_place(m_word, m_length, m_memory.m_characters.m_cursor); }

   void text(FLOOR_STRING& string) {
      next();
      keep(string);
   }

   long number() {
      next();
      return decimal(m_word);
   }

   unsigned long hexadecimal() {
      next();
      unsigned long value = 0;
      for (const char* digit = m_word; digit != m_word + m_length; ++digit) {
         value = value << 4U | static_cast<unsigned long>(*digit <= '9' ? *digit - '0' : *digit - 'a' + 10);
      }
      return value;
   }

   template <std::size_t SIZE> void set(FLOOR_STRING& string, const char (&word)[SIZE]) { string.set_word(word); }

   void append(FLOOR_LIST<FLOOR_STRING>& list) { keep(list.add(m_memory.m_objects)); }

   template <class T> void push(FLOOR_LIST<T>& list, T value) { list.add(m_memory.m_numbers) = value; }

   void slots(FLOOR_LIST<FLOOR_STRING>& list, std::size_t count) {
      auto* begin = reinterpret_cast<FLOOR_STRING*>(m_memory.m_objects.m_cursor);
      for (std::size_t i = 0; i < count; ++i) {
         begin[i].set_word("UNCHANGED");
      }
      m_memory.m_objects.m_cursor += count * sizeof(FLOOR_STRING);
      list = FLOOR_LIST<FLOOR_STRING>(begin, begin + count);
   }

   /// @}

private:
   static long decimal(const char* text) {
      const bool negative = *text == '-';
      long value = 0;
      for (text += negative ? 1 : 0; *text >= '0' && *text <= '9'; ++text) {
         value = 10 * value + (*text - '0');
      }
      return negative ? -value : value;
   }

   bool fill();

   int m_file;
   FLOOR_MEMORY& m_memory;
   char* m_block;
   std::uint32_t* m_positions;
   std::uint32_t* m_next;
   std::uint32_t* m_end;
   std::size_t m_length_of_block = 0;
   const char* m_word = nullptr;
   std::size_t m_length = 0;
};

#endif
