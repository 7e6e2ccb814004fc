#include "logdb_fsyn_database.h"

#include <emmintrin.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

#include "fio.h"
#include "logdb.h"
#include "logdb_fsyn_log_file.h"
#include "logdb_fsyn_record_reader.h"
#include "logdb_report.h"

#define LOGDB_SOURCE_FILE "logdb_fsyn_database"

namespace {

constexpr const char* marker_node_name = "DUMMY_NAME";

// How many inputs a cell has; the numbers differ on purpose.
constexpr std::size_t slot_count(LOGDB_FSYN_LOG_ENTRY_TYPE type) {
   switch (type) {
   case ADD_REMOVE_CONNECTION_LCELL_COMB:
      return 11;
   case ADD_REMOVE_CONNECTION_LCELL_FF:
      return 9;
   default:
      return 16;
   }
}

// An element of a list that should be as long as another: empty or 0 when it is missing.
template <class T> const T& element_or_default(const MEM_VECTOR<T>& list, std::size_t index) {
   static const T missing = T();
   return index < list.size() ? list[index] : missing;
}

// How the records of a kind start, and what their copies take over.
struct whole {
   template <class RECORD> static void start(RECORD& /*record*/) {}
   template <class RECORD> static RECORD* copy(const RECORD& record) { return new (0) RECORD(record); }
};

struct fresh {
   template <class RECORD> static void start(RECORD& record) { record.m_node_name = marker_node_name; }
   template <class RECORD> static RECORD* copy(const RECORD& /*record*/) { return new (0) RECORD; }
};

// A new record with the tag and the node name of another; null when there is no memory.
template <class RECORD> std::unique_ptr<RECORD> copy_head(const RECORD& record) {
   std::unique_ptr<RECORD> copy(new (0) RECORD);
   if (copy != nullptr) {
      copy->m_tag = record.m_tag;
      copy->m_node_name = record.m_node_name;
   }
   return copy;
}

struct slots {
   template <class RECORD> static void start(RECORD& record) {
      constexpr std::size_t count = slot_count(LOGDB_FSYN_KIND<RECORD>::m_type);
      record.m_port_sources.reserve(count);
      for (std::size_t slot = 0; slot < count; ++slot) {
         record.m_port_sources.emplace_back(logdb_fsyn_unchanged_slot);
      }
   }
   template <class RECORD> static RECORD* copy(const RECORD& record) {
      std::unique_ptr<RECORD> copy = copy_head(record);
      if (copy != nullptr) {
         copy->m_port_sources.resize(std::max(copy->m_port_sources.size(), record.m_port_sources.size()));
         std::copy(record.m_port_sources.begin(), record.m_port_sources.end(), copy->m_port_sources.begin());
      }
      return copy.release();
   }
};

struct parallel {
   template <class RECORD> static void start(RECORD& /*record*/) {}
   template <class RECORD> static RECORD* copy(const RECORD& record) {
      std::unique_ptr<RECORD> copy = copy_head(record);
      if (copy != nullptr) {
         copy->m_ram_source_names = record.m_ram_source_names;
         copy->m_ram_port_types = record.m_ram_port_types;
         copy->m_ram_port_types.resize(record.m_ram_source_names.size());
         copy->m_ram_port_indices = record.m_ram_port_indices;
         copy->m_ram_port_indices.resize(record.m_ram_source_names.size());
      }
      return copy.release();
   }
};

// The node name and the tag stay behind: a copy is about the two terminals, whoever it is made for.
struct terminals {
   template <class RECORD> static void start(RECORD& /*record*/) {}
   template <class RECORD> static RECORD* copy(const RECORD& record) {
      std::unique_ptr<RECORD> copy(new (0) RECORD);
      if (copy != nullptr) {
         copy->m_first_oterm_name = record.m_first_oterm_name;
         copy->m_second_oterm_name = record.m_second_oterm_name;
      }
      return copy.release();
   }
};

} // namespace

LOGDB_FSYN_LOG_ENTRY::~LOGDB_FSYN_LOG_ENTRY() = default;
LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION::~LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION() = default;

#define LOGDB_FSYN_RECORD(value, suffix, layout, copy_rule)                                                       \
   LOGDB_FSYN_LOG_ENTRY_##suffix::LOGDB_FSYN_LOG_ENTRY_##suffix() {                                               \
      m_type = suffix;                                                                                            \
      copy_rule::start(*this);                                                                                    \
   }                                                                                                              \
   LOGDB_FSYN_LOG_ENTRY_##suffix::~LOGDB_FSYN_LOG_ENTRY_##suffix() = default;                                     \
   LOGDB_FSYN_LOG_ENTRY* LOGDB_FSYN_LOG_ENTRY_##suffix::clone() const {                                           \
      return copy_rule::copy(*this);                                                                              \
   }
#include "logdb_fsyn_record_kinds.inc"

namespace {

// Keywords are told apart by their length and their last eight bytes; a multiplier that spreads these over the
// table without two in one place is found by the compiler.
struct KEYWORD {
   std::string_view m_text;
   int m_type;
};

constexpr std::array keywords = {
#define LOGDB_FSYN_RECORD(value, suffix, layout, copy)                                                            \
   KEYWORD{LOGDB_FSYN_KIND<LOGDB_FSYN_LOG_ENTRY_##suffix>::m_keyword, suffix},
#include "logdb_fsyn_record_kinds.inc"
};

constexpr std::size_t keyword_table_size = 256;
constexpr std::size_t keyword_tail_size = sizeof(std::uint64_t);

constexpr std::size_t keyword_place(std::string_view word, std::uint64_t multiplier) {
   std::uint64_t tail = 0;
   if (std::is_constant_evaluated()) { // GCOVR_EXCL_START: the compiler's own run of this leaves no count
      for (std::size_t index = keyword_tail_size; index != 0; --index) {
         tail = tail << 8 | static_cast<unsigned char>(word[word.size() - keyword_tail_size + index - 1]);
      }
   } else { // GCOVR_EXCL_STOP
      std::memcpy(&tail, word.data() + word.size() - keyword_tail_size, keyword_tail_size);
   }
   return ((tail ^ word.size()) * multiplier) >> 56;
}

using KEYWORD_TABLE = std::array<unsigned char, keyword_table_size>;

constexpr unsigned char no_keyword = 0xff;

consteval bool fill_keyword_table(KEYWORD_TABLE& table, std::uint64_t multiplier) {
   table.fill(no_keyword);
   for (std::size_t index = 0; index < keywords.size(); ++index) {
      unsigned char& slot = table[keyword_place(keywords[index].m_text, multiplier)];
      if (slot != no_keyword) {
         return false;
      }
      slot = static_cast<unsigned char>(index);
   }
   return true;
}

struct KEYWORD_LOOKUP {
   std::uint64_t m_multiplier = 0x9e3779b97f4a7c15;
   KEYWORD_TABLE m_table = {};
};

consteval KEYWORD_LOOKUP make_keyword_lookup() {
   KEYWORD_LOOKUP lookup;
   while (!fill_keyword_table(lookup.m_table, lookup.m_multiplier)) {
      lookup.m_multiplier += 0x5851f42d4c957f2e;
   }
   return lookup;
}

constexpr KEYWORD_LOOKUP keyword_lookup = make_keyword_lookup();

} // namespace

int logdb_fsyn_kind_of_keyword(std::string_view word) {
   if (word.size() < keyword_tail_size) {
      return -1;
   }
   const unsigned char index = keyword_lookup.m_table[keyword_place(word, keyword_lookup.m_multiplier)];
   return index != no_keyword && keywords[index].m_text == word ? keywords[index].m_type : -1;
}

namespace {

constexpr std::size_t read_size = std::size_t{256} * 1024;

constexpr bool is_white_space(char byte) {
   return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// What stands between words in 64 bytes, one bit a byte.
struct SEPARATORS {
   std::uint64_t m_white_space = 0;
   bool m_has_zero = false;
};

constexpr std::size_t step_bytes = 64;

SEPARATORS find_separators(const char* begin) {
   constexpr std::size_t part_bytes = sizeof(__m128i);
   SEPARATORS found;
   __m128i least = _mm_set1_epi8(-1);
   for (std::size_t part = 0; part < step_bytes; part += part_bytes) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin + part));
      const __m128i from_tab = _mm_sub_epi8(bytes, _mm_set1_epi8('\t'));
      const __m128i tab_to_return = _mm_cmpeq_epi8(_mm_min_epu8(from_tab, _mm_set1_epi8('\r' - '\t')), from_tab);
      const __m128i white_space = _mm_or_si128(tab_to_return, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' ')));
      found.m_white_space |= static_cast<std::uint64_t>(_mm_movemask_epi8(white_space)) << part;
      least = _mm_min_epu8(least, bytes);
   }
   found.m_has_zero = _mm_movemask_epi8(_mm_cmpeq_epi8(least, _mm_setzero_si128())) != 0;
   return found;
}

int open_file(const char* file_name, LOGDB_FSYN_FILE_STREAM::DIRECTION direction) {
   const int flags = direction == LOGDB_FSYN_FILE_STREAM::APPENDING ? O_WRONLY | O_CREAT | O_APPEND : O_RDONLY;
   int file = -1;
   do {
      file = ::open(file_name, flags | O_CLOEXEC, 0666);
   } while (file < 0 && errno == EINTR);
   return file;
}

} // namespace

LOGDB_FSYN_FILE_STREAM::LOGDB_FSYN_FILE_STREAM(const char* file_name, DIRECTION direction)
    : m_file(open_file(file_name, direction)), m_bytes_to_read(std::numeric_limits<std::size_t>::max()) {
   if (direction == READING) {
      m_buffer = new (std::nothrow) char[read_size];
      m_next = m_buffer;
      m_end = m_buffer;
      m_step_end = m_buffer;
      m_lacks_buffer = m_buffer == nullptr;
   }
   m_at_end_of_file = m_file < 0 || m_buffer == nullptr;
   m_failed = m_file < 0 || direction == READING;
}

LOGDB_FSYN_FILE_STREAM::~LOGDB_FSYN_FILE_STREAM() {
   if (m_file >= 0) {
      ::close(m_file);
   }
   delete[] m_buffer;
}

void LOGDB_FSYN_FILE_STREAM::append(const char* bytes, std::size_t size) {
   while (!m_failed && size > 0) {
      const ssize_t written = ::write(m_file, bytes, size);
      if (written > 0) {
         bytes += written;
         size -= static_cast<std::size_t>(written);
      } else if (written == 0 || errno != EINTR) {
         m_failed = true;
      }
   }
}

std::string_view LOGDB_FSYN_FILE_STREAM::next_word() {
   const char* const begin = next_edge();
   const char* const end = begin != nullptr ? next_edge() : nullptr;
   if (end == nullptr) {
      const std::string_view word = next_word_by_itself();
      m_step_end = m_next; // no edge is left, and behind a word is none
      m_is_in_word = 0;
      return word;
   }
   m_next = end;
   return {begin, std::min(static_cast<std::size_t>(end - begin), max_word_size)};
}

// Where the next word begins, or ends when its beginning was the edge before; null when that is not known.
inline const char* LOGDB_FSYN_FILE_STREAM::next_edge() {
   while (m_edges == 0) {
      if (!find_edges()) {
         return nullptr;
      }
   }
   const char* const edge = m_step_end - step_bytes + std::countr_zero(m_edges);
   m_edges &= m_edges - 1;
   return edge;
}

// Finds the edges of words in the next step. A step with a zero byte in it, and what is shorter than one, is left to
// next_word_by_itself.
bool LOGDB_FSYN_FILE_STREAM::find_edges() {
   if (static_cast<std::size_t>(m_end - m_step_end) < step_bytes) {
      return false;
   }
   const SEPARATORS separators = find_separators(m_step_end);
   if (separators.m_has_zero) {
      return false;
   }
   const std::uint64_t words = ~separators.m_white_space;
   m_edges = words ^ (words << 1U | m_is_in_word);
   m_is_in_word = words >> (step_bytes - 1);
   m_step_end += step_bytes;
   return true;
}

std::string_view LOGDB_FSYN_FILE_STREAM::next_word_by_itself() {
   do {
      while (m_next != m_end && is_white_space(*m_next)) {
         ++m_next;
      }
   } while (m_next == m_end && refill(m_buffer));
   const char* end = find_word_end(m_next);
   if (end == m_end && end != m_next) {
      end = complete_word();
   }
   if (end == m_next) {
      // The end of the file, or a zero byte: there it stays.
      return {};
   }
   const std::string_view word(m_next, std::min(static_cast<std::size_t>(end - m_next), max_word_size));
   m_next = end;
   return word;
}

void LOGDB_FSYN_FILE_STREAM::stop_at_end_of(const LOGDB_FSYN_FILE_STREAM* open_stream, const char* file_name) {
   struct stat mine = {};
   struct stat other = {};
   const int found = open_stream != nullptr ? ::fstat(open_stream->m_file, &other) : ::stat(file_name, &other);
   if (found == 0 && ::fstat(m_file, &mine) == 0 && mine.st_dev == other.st_dev && mine.st_ino == other.st_ino &&
       S_ISREG(mine.st_mode)) {
      m_bytes_to_read = static_cast<std::size_t>(mine.st_size);
   }
}

// The first byte from here on that ends a word: white space or a zero byte; m_end if there is none.
const char* LOGDB_FSYN_FILE_STREAM::find_word_end(const char* begin) const {
   return std::find_if(begin, m_end, [](char byte) { return is_white_space(byte) || byte == '\0'; });
}

// The end of a word that reaches the end of what was read. It is moved to the front of the buffer, and the file
// is read on behind it; of an endless word only the part that is handed out is kept.
const char* LOGDB_FSYN_FILE_STREAM::complete_word() {
   auto kept = static_cast<std::size_t>(m_end - m_next);
   std::memmove(m_buffer, m_next, kept);
   m_next = m_buffer;
   m_end = m_buffer + kept;
   const char* end = m_end;
   while (end == m_end) {
      kept = std::min(static_cast<std::size_t>(m_end - m_buffer), max_word_size);
      if (!refill(m_buffer + kept)) {
         return m_end;
      }
      end = find_word_end(m_buffer + kept);
   }
   return end;
}

// Reads from the file to a place in the buffer.
bool LOGDB_FSYN_FILE_STREAM::refill(char* to) {
   if (m_at_end_of_file) {
      return false;
   }
   const std::size_t size = std::min(static_cast<std::size_t>(m_buffer + read_size - to), m_bytes_to_read);
   ssize_t bytes = 0;
   while ((bytes = ::read(m_file, to, size)) < 0 && errno == EINTR) {
   }
   if (bytes <= 0) {
      m_at_end_of_file = true;
      return false;
   }
   m_bytes_to_read -= static_cast<std::size_t>(bytes);
   m_next = m_buffer;
   m_end = to + bytes;
   return true;
}

namespace {

// The line that is being made, with its line feed. All logs share it.
constexpr std::size_t line_buffer_size = 4096;
char line_buffer[line_buffer_size];

// Whether the log has a stream; opens the file if it has none.
bool open_stream(LOGDB_FSYN_LOG_FILE& log, LOGDB_FSYN_FILE_STREAM::DIRECTION direction) {
   if (log.m_file_stream == nullptr) {
      log.m_file_stream = new (0) LOGDB_FSYN_FILE_STREAM(log.m_file_name.c_str(), direction);
      if (log.m_file_stream != nullptr && !log.m_file_stream->is_complete()) {
         log.close();
      }
   }
   LOGDB_FSYN_FILE_STREAM* m_file_stream = log.m_file_stream;
   return LOGDB_HOLDS(m_file_stream);
}

// Appends the first bytes of the line buffer as a line.
void append_line(LOGDB_FSYN_LOG_FILE& log, std::size_t size) {
   if (open_stream(log, LOGDB_FSYN_FILE_STREAM::APPENDING)) {
      line_buffer[size] = '\n';
      log.m_file_stream->append(line_buffer, size + 1);
   }
}

// Puts a line together: what print_line would make of "%s", "%d" and "%lx", cut at the same place.
class LINE {
public:
   void add(std::string_view text) {
      const std::size_t size = std::min(text.size(), line_buffer_size - 1 - m_size);
      std::memcpy(line_buffer + m_size, text.data(), size);
      m_size += size;
   }

   // A string ends at its first zero byte, as it does in print_line.
   void add(const MEM_STRING& text) { add(std::string_view(text.data(), strnlen(text.data(), text.size()))); }

   void add_blank() { add(std::string_view(" ")); }

   template <class NUMBER, std::enable_if_t<!std::is_class_v<NUMBER>, int> = 0> void add(NUMBER number) {
      add_number(static_cast<int>(number), 10);
   }

   void add_half(unsigned long half) { add_number(half & 0xffffffff, 16); }

   std::size_t size() const { return m_size; }

private:
   template <class NUMBER> void add_number(NUMBER number, int base) {
      char text[24];
      const std::to_chars_result end = std::to_chars(text, text + sizeof text, number, base);
      add(std::string_view(text, static_cast<std::size_t>(end.ptr - text)));
   }

   std::size_t m_size = 0;
};

// Writes the lines of a record to a log that is enabled.
class RECORD_WRITER {
public:
   explicit RECORD_WRITER(LOGDB_FSYN_LOG_FILE& log) : m_log(log) {}

   template <class FIRST, class... REST>
   void line(const LOGDB_FSYN_FIELD<FIRST>& first, const LOGDB_FSYN_FIELD<REST>&... rest) {
      print(first.m_value, rest.m_value...);
   }

   void word(std::string_view word) { print(word); }

   void line_with_blank(const LOGDB_FSYN_FIELD<const MEM_STRING>& name) {
      print(name.m_value, std::string_view(""));
   }

   void names_until(const LOGDB_FSYN_FIELD<const MEM_VECTOR<MEM_STRING>>& names, std::string_view terminator) {
      for (const MEM_STRING& name : names.m_value) {
         print(name);
      }
      print(terminator);
   }

   void slots_until(const LOGDB_FSYN_FIELD<const MEM_VECTOR<MEM_STRING>>& slots, std::string_view terminator) {
      for (std::size_t index = 0; index < slots.m_value.size(); ++index) {
         if (slots.m_value[index] != logdb_fsyn_unchanged_slot) {
            print(index, slots.m_value[index]);
         }
      }
      print(terminator);
   }

   void ram_inputs_until(const LOGDB_FSYN_FIELD<const MEM_VECTOR<DB_INPUT_PORT_TYPE>>& types,
                         const LOGDB_FSYN_FIELD<const MEM_VECTOR<unsigned short>>& indices,
                         const LOGDB_FSYN_FIELD<const MEM_VECTOR<MEM_STRING>>& names,
                         std::string_view terminator) {
      for (std::size_t index = 0; index < names.m_value.size(); ++index) {
         print(element_or_default(types.m_value, index), element_or_default(indices.m_value, index),
               names.m_value[index]);
      }
      print(terminator);
   }

   template <class TYPES>
   void ports(std::string_view word, const LOGDB_FSYN_FIELD<TYPES>& types,
              const LOGDB_FSYN_FIELD<const MEM_VECTOR<MEM_STRING>>& names) {
      for (std::size_t index = 0; index < types.m_value.size(); ++index) {
         print(word, types.m_value[index], element_or_default(names.m_value, index));
      }
   }

   void lut_mask(const LOGDB_FSYN_FIELD<const unsigned long>& mask) {
      const LINE line = mask_line(mask.m_value);
      append_line(m_log, line.size());
   }

   void lut_mask(const LOGDB_FSYN_FIELD<const unsigned long>& mask,
                 const LOGDB_FSYN_FIELD<const unsigned char>& option) {
      LINE line = mask_line(mask.m_value);
      line.add_blank();
      line.add(option.m_value);
      append_line(m_log, line.size());
   }

   void lut_mode(const LOGDB_FSYN_FIELD<const int>& mode) {
      print(std::string_view(mode.m_value == 0 ? "NORMAL" : mode.m_value == 1 ? "SUM" : "CARRY"));
   }

   void optional_name(const LOGDB_FSYN_FIELD<const MEM_STRING>& name, std::string_view word_for_none) {
      if (name.m_value.empty()) {
         print(word_for_none);
      } else {
         print(name.m_value);
      }
   }

   // No log holds an instance name: writing one stops the process here, and what reads the log afterwards counts
   // on finding it cut after the second line.
   void lost_name(const LOGDB_FSYN_FIELD<const MEM_STRING>& /*name*/) { __builtin_trap(); }

   // The check comes after the line, so that the log shows the record that went wrong.
   template <class RECORD> void pad_to_core(const RECORD& record) {
      if (record.m_chain_type != ::DB_PAD_TO_CORE) {
         LOGDB_REPORT(LOGDB_FSYN_KIND<RECORD>::m_chain_check);
      }
   }

private:
   template <class FIRST, class... REST> void print(const FIRST& first, const REST&... rest) {
      LINE line;
      line.add(first);
      ((line.add_blank(), line.add(rest)), ...);
      append_line(m_log, line.size());
   }

   static LINE mask_line(unsigned long mask) {
      LINE line;
      line.add_half(mask);
      line.add_blank();
      line.add_half(mask >> 32);
      return line;
   }

   LOGDB_FSYN_LOG_FILE& m_log;
};

// The words of a log that is open for reading, and whom to tell of what is wrong with them.
class LOG_WORDS {
public:
   LOG_WORDS(LOGDB_FSYN_FILE_STREAM& stream, std::string_view keyword) : m_stream(stream), m_keyword(keyword) {}

   std::string_view next_word() { return m_stream.next_word(); }

   static void unknown_lut_mode() { LOGDB_REPORT("Unrecognized lutmask type"); }

   void ended_inside_list() const {
      logdb_msg_debug("The log ends inside a list of a %.*s record", static_cast<int>(m_keyword.size()),
                      m_keyword.data());
   }

private:
   LOGDB_FSYN_FILE_STREAM& m_stream;
   std::string_view m_keyword;
};

} // namespace

LOGDB_FSYN_LOG_FILE::LOGDB_FSYN_LOG_FILE() = default;

LOGDB_FSYN_LOG_FILE::LOGDB_FSYN_LOG_FILE(const char* file_name)
    : m_file_name(file_name != nullptr ? file_name : "") {}

LOGDB_FSYN_LOG_FILE::LOGDB_FSYN_LOG_FILE(const LOGDB_FSYN_LOG_FILE& other) = default;

LOGDB_FSYN_LOG_FILE::~LOGDB_FSYN_LOG_FILE() {
   close();
}

void LOGDB_FSYN_LOG_FILE::init(bool enabled) {
   m_enabled = enabled;
}

void LOGDB_FSYN_LOG_FILE::set_file_name(MEM_STRING file_name) {
   m_file_name = std::move(file_name);
   for (char& byte : m_file_name) {
      byte = static_cast<char>(std::tolower(byte));
   }
}

bool LOGDB_FSYN_LOG_FILE::file_exists() {
   LOGDB_HOLDS(m_file_name.size() > 0);
   if (m_file_stream != nullptr) {
      return true;
   }
   std::FILE* file = std::fopen(m_file_name.c_str(), "r");
   if (file == nullptr) {
      return false;
   }
   std::fclose(file);
   return true;
}

bool LOGDB_FSYN_LOG_FILE::delete_file() {
   LOGDB_HOLDS(m_file_name.size() > 0);
   return FIO_FILE_SYSTEM::remove_if_exists(m_file_name);
}

void LOGDB_FSYN_LOG_FILE::print_line(const char* format, ...) {
   if (!m_enabled) {
      return;
   }
   va_list args;
   va_start(args, format);
   std::vsnprintf(line_buffer, line_buffer_size, format, args);
   va_end(args);
   append_line(*this, strnlen(line_buffer, line_buffer_size - 1));
}

char* LOGDB_FSYN_LOG_FILE::read_line() {
   static char word_buffer[LOGDB_FSYN_FILE_STREAM::max_word_size + 1];
   word_buffer[0] = '\0';
   std::string_view word;
   if (open_stream(*this, LOGDB_FSYN_FILE_STREAM::READING)) {
      word = m_file_stream->next_word();
   }
   if (word.empty()) {
      return const_cast<char*>(logdb_fsyn_end_of_file_word);
   }
   std::memcpy(word_buffer, word.data(), word.size());
   word_buffer[word.size()] = '\0';
   return word_buffer;
}

void LOGDB_FSYN_LOG_FILE::close() {
   delete m_file_stream;
   m_file_stream = nullptr;
}

bool LOGDB_FSYN_LOG_FILE::append_file(MEM_STRING file_name) {
   LOGDB_FSYN_LOG_FILE other;
   other.set_file_name(std::move(file_name));
   if (!other.file_exists()) {
      return false;
   }
   if (open_stream(other, LOGDB_FSYN_FILE_STREAM::READING)) {
      // Otherwise a log that is appended to itself would never end.
      other.m_file_stream->stop_at_end_of(m_file_stream, m_file_name.c_str());
   }
   while (LOGDB_FSYN_LOG_ENTRY* entry = other.read_fsyn_log_entry()) {
      const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> owner(entry);
      write_fsyn_log_entry(entry);
   }
   return true;
}

void LOGDB_FSYN_LOG_FILE::write_fsyn_log_entry(LOGDB_FSYN_LOG_ENTRY* log_entry) {
   if (!LOGDB_HOLDS(log_entry != 0)) {
      return;
   }
   const bool known = logdb_fsyn_visit_kind(log_entry->m_type, [this, log_entry](auto kind) {
      using KIND = decltype(kind);
      if (m_enabled) {
         RECORD_WRITER writer(*this);
         writer.word(KIND::m_keyword);
         KIND::layout(writer, static_cast<const typename KIND::RECORD&>(*log_entry));
      }
   });
   if (!known) {
      LOGDB_REPORT("Unrecognized log entry type");
   }
}

LOGDB_FSYN_LOG_ENTRY* LOGDB_FSYN_LOG_FILE::read_fsyn_log_entry() {
   if (!open_stream(*this, LOGDB_FSYN_FILE_STREAM::READING)) {
      return nullptr;
   }
   std::string_view word = m_file_stream->next_word();
   int type = -1;
   while (word.data() != nullptr && word != logdb_fsyn_end_of_file_word &&
          (type = logdb_fsyn_kind_of_keyword(word)) < 0) {
      LOGDB_REPORT("Unrecognized line in the log");
      word = m_file_stream->next_word();
   }
   LOGDB_FSYN_LOG_ENTRY* log_entry = nullptr;
   logdb_fsyn_visit_kind(type, [this, &log_entry](auto kind) {
      using KIND = decltype(kind);
      std::unique_ptr<typename KIND::RECORD> record(new (0) typename KIND::RECORD);
      if (record != nullptr) {
         LOG_WORDS words(*m_file_stream, KIND::m_keyword);
         LOGDB_FSYN_RECORD_READER reader(words);
         KIND::layout(reader, *record);
      }
      log_entry = record.release();
      LOGDB_HOLDS(log_entry != 0);
   });
   return log_entry;
}
