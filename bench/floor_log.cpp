#include "floor_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <stdexcept>

#include "floor_simd.h"
#include "record_words.h"

namespace {

constexpr std::size_t BLOCK_BYTES = 256U << 10U;
constexpr std::size_t LONGEST_WORD = 64U << 10U;
constexpr std::size_t BUFFER_BYTES = BLOCK_BYTES + LONGEST_WORD + SIMD_SLACK;

#define SAME_LAYOUT(KIND) static_assert(sizeof(FLOOR_RECORDS::KIND) == sizeof(LIBRARY_RECORDS::KIND));
FOR_EACH_RECORD_KIND(SAME_LAYOUT)
#undef SAME_LAYOUT

/// The kind of a keyword, by one multiplication and one comparison. The multiplier is searched for at the
/// start, so that no two keywords share a place.
class KEYWORDS {
public:
   KEYWORDS() {
      for (m_multiplier = 0x9e3779b97f4a7c15U; !fill(); m_multiplier += 2 * 0x632be59bd9b4e019U) {
      }
   }

   /// \return the kind, or -1
   int find(const char* word, std::size_t length) const {
      if (length < sizeof(PREFIX) + 8) {
         return -1;
      }
      const PLACE& place = m_places[hash(word, length)];
      return place.m_length == length && std::memcmp(place.m_keyword, word, length) == 0 ? place.m_kind : -1;
   }

private:
   static constexpr char PREFIX[] = "PHYSICAL_SYNTHESIS_";

   struct PLACE {
      const char* m_keyword = "";
      std::size_t m_length = 0;
      int m_kind = -1;
   };

   std::size_t hash(const char* word, std::size_t length) const {
      std::uint64_t front = 0;
      std::uint64_t back = 0;
      std::memcpy(&front, word + sizeof(PREFIX) - 1, sizeof(front));
      std::memcpy(&back, word + length - sizeof(back), sizeof(back));
      return ((front ^ back << 7U ^ length) * m_multiplier) >> 56U;
   }

   bool fill() {
      for (PLACE& place : m_places) {
         place = PLACE();
      }
      for (int kind = 0; kind < 46; ++kind) {
         const char* keyword = RECORD_KEYWORDS[kind];
         if (keyword == nullptr) {
            continue;
         }
         PLACE& place = m_places[hash(keyword, std::strlen(keyword))];
         if (place.m_kind >= 0) {
            return false;
         }
         place.m_keyword = keyword;
         place.m_length = std::strlen(keyword);
         place.m_kind = kind;
      }
      return true;
   }

   std::uint64_t m_multiplier = 0;
   PLACE m_places[256];
};

} // namespace

FLOOR_LOG_WRITER::FLOOR_LOG_WRITER(const std::string& path)
    : m_file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
   if (m_file < 0) {
      throw std::runtime_error("cannot write " + path);
   }
}

FLOOR_LOG_WRITER::~FLOOR_LOG_WRITER() {
   ::close(m_file);
}

void FLOOR_LOG_WRITER::write(const READY_LINES& lines) {
   const char* line = lines.m_text.data();
   for (const std::uint32_t length : lines.m_lengths) {
      write_line(line, length);
      line += length;
   }
}

void FLOOR_LOG_WRITER::write_line(const char* line, std::size_t length) {
   if (::write(m_file, line, length) != static_cast<ssize_t>(length)) {
      throw std::runtime_error("cannot write");
   }
}

void floor_append_log(const std::string& path, const std::string& from) {
   const int file = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
   if (file < 0) {
      throw std::runtime_error("cannot read " + from);
   }
   FLOOR_LOG_WRITER writer(path);
   std::vector<char> block(BLOCK_BYTES + LONGEST_WORD);
   std::size_t kept = 0;
   for (;;) {
      const ssize_t bytes = ::read(file, block.data() + kept, BLOCK_BYTES);
      if (bytes <= 0) {
         break;
      }
      const char* line = block.data();
      const char* end = line + kept + bytes;
      while (const void* line_feed = std::memchr(line, '\n', static_cast<std::size_t>(end - line))) {
         const char* next = static_cast<const char*>(line_feed) + 1;
         writer.write_line(line, static_cast<std::size_t>(next - line));
         line = next;
      }
      kept = static_cast<std::size_t>(end - line);
      if (kept > LONGEST_WORD) {
         throw std::runtime_error("a line is too long");
      }
      std::memmove(block.data(), line, kept);
   }
   ::close(file);
}

void READY_LINES::take_lengths() {
   m_lengths.clear();
   std::size_t line = 0;
   for (std::size_t end = m_text.find('\n'); end != std::string::npos; end = m_text.find('\n', line)) {
      m_lengths.push_back(static_cast<std::uint32_t>(end + 1 - line));
      line = end + 1;
   }
}

FLOOR_LOG_READER::FLOOR_LOG_READER(const std::string& path, FLOOR_MEMORY& memory)
    : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), m_memory(memory),
      m_block(static_cast<char*>(std::aligned_alloc(64, BUFFER_BYTES + SIMD_SLACK))),
      m_positions(static_cast<std::uint32_t*>(
          std::aligned_alloc(64, (BUFFER_BYTES + SIMD_SLACK) * sizeof(std::uint32_t)))),
      m_next(m_positions), m_end(m_positions) {
   if (m_block == nullptr || m_positions == nullptr) {
      throw std::bad_alloc();
   }
   if (m_file < 0) {
      throw std::runtime_error("cannot read " + path);
   }
}

FLOOR_LOG_READER::~FLOOR_LOG_READER() {
   ::close(m_file);
   std::free(m_block);
   std::free(m_positions);
}

bool FLOOR_LOG_READER::fill() {
   const std::size_t rest = m_next < m_end ? m_length_of_block - *m_next : 0;
   if (rest > LONGEST_WORD) {
      throw std::runtime_error("a word is too long");
   }
   std::memmove(m_block, m_block + m_length_of_block - rest, rest);
   const ssize_t bytes = ::read(m_file, m_block + rest, BLOCK_BYTES);
   m_length_of_block = rest + static_cast<std::size_t>(bytes > 0 ? bytes : 0);
   if (bytes <= 0 && rest > 0) {
      m_block[m_length_of_block++] = '\n'; // a last word that nothing ends
   }
   m_next = m_positions;
   m_end = m_positions + find_words(m_block, m_length_of_block, m_positions);
   return m_next + 1 < m_end;
}

FLOOR_RECORDS::RECORD* FLOOR_LOG_READER::read() {
   static const KEYWORDS keywords;
   RECORD_WORDS<FLOOR_RECORDS, FLOOR_LOG_READER> words(*this);
   while (next()) {
      const int kind = keywords.find(m_word, m_length);
      if (kind >= 0) {
         return words.read(static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(kind));
      }
   }
   return nullptr;
}
