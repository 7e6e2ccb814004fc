#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "checksum.h"
#include "contenders.h"
#include "floor_simd.h"
#include "logdb.h"
#include "peer_rows.h"

namespace {

constexpr std::size_t LONGEST_WITHOUT_STORAGE = 15;

/// Makes a string out of a piece of text behind which more can be read, as cheaply as its class allows.
struct PIECE {
   operator MEM_STRING() const {
      if (m_length > LONGEST_WITHOUT_STORAGE) {
         return MEM_STRING(m_text, m_length);
      }
      MEM_STRING string(m_text, LONGEST_WITHOUT_STORAGE);
      string.resize(m_length);
      return string;
   }

   const char* m_text;
   std::size_t m_length;
};

/// Takes a string over, as cheaply as its class allows.
struct MOVED {
   operator MEM_STRING() const {
      if (m_string->capacity() > LONGEST_WITHOUT_STORAGE) {
         return MEM_STRING(std::move(*m_string));
      }
      return PIECE{m_string->data(), m_string->size()};
   }

   MEM_STRING* m_string;
};

/// What a list is made of: a vector asks for the number first and then makes one string after the other in its place.
template <class POSITION, class MADE> class MAKER {
public:
   using iterator_category = std::forward_iterator_tag;
   using value_type = MEM_STRING;
   using difference_type = std::ptrdiff_t;
   using pointer = void;
   using reference = MADE;

   MAKER(const char* text, POSITION position) : m_text(text), m_position(position) {}

   MADE operator*() const {
      if constexpr (std::is_same_v<MADE, MOVED>) {
         return {m_position};
      } else {
         return {m_text + m_position[0] + 1, m_position[1] - m_position[0] - 1};
      }
   }

   MAKER& operator++() {
      ++m_position;
      return *this;
   }

   bool operator==(const MAKER& other) const { return m_position == other.m_position; }

private:
   const char* m_text;
   POSITION m_position;
};

constexpr std::size_t BLOCK_BYTES = 256U << 10U;

/// What the types and calls cost that a load is bound to, and nothing else: no stream, no host but its memory, and the
/// separators are found as the floor finds them. Each line goes into a string and its pieces into a list of strings, as
/// a tokenizer is given the one and fills the other; an entry comes from the allocation operator and takes the strings
/// over.
class TYPES_DATABASE : public DATABASE_CONTENDER {
public:
   TYPES_DATABASE() = default;
   ~TYPES_DATABASE() override { unload(); }
   TYPES_DATABASE(const TYPES_DATABASE&) = delete;
   TYPES_DATABASE& operator=(const TYPES_DATABASE&) = delete;

   void load(const std::string& path) override {
      const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
      std::size_t kept = 0;
      bool is_version_line = true;
      for (;;) {
         const ssize_t bytes = ::read(file, m_text.data() + kept, BLOCK_BYTES);
         if (bytes <= 0) {
            break;
         }
         const std::size_t length = kept + static_cast<std::size_t>(bytes);
         std::size_t count = find_separators(m_text.data(), length, m_separators.data());
         while (count > 0 && m_text[m_separators[count - 1]] != '\n') {
            --count;
         }
         const std::size_t rest = add_lines(m_separators.data(), m_separators.data() + count, is_version_line);
         is_version_line = false;
         kept = length - rest;
         if (kept > BLOCK_BYTES) {
            throw std::runtime_error("a line is too long");
         }
         std::memmove(m_text.data(), m_text.data() + rest, kept);
      }
      ::close(file);
   }

   void unload() override {
      for (const LOGDB_DATABASE_ENTRY* entry : m_entries) {
         delete entry;
      }
      MEM_VECTOR<LOGDB_DATABASE_ENTRY*>().swap(m_entries);
   }

   void take(const std::string& path) override { load(path); }

   void commit(const std::string& /*path*/) override { throw std::runtime_error("this contender only loads"); }

   std::uint64_t sum() const override {
      CHECKSUM sum;
      for (const LOGDB_DATABASE_ENTRY* entry : m_entries) {
         add_row(sum, entry->m_entry_type, entry->m_data_vector);
      }
      return sum.value();
   }

private:
   using PIECES = MAKER<const std::uint32_t*, PIECE>;
   using MOVES = MAKER<MEM_STRING*, MOVED>;

   /// \return where the text goes on behind the last line
   std::size_t add_lines(const std::uint32_t* separator, const std::uint32_t* end, bool is_version_line) {
      std::size_t line = is_version_line ? *separator++ + 1 : 0;
      while (separator != end) {
         const std::uint32_t* const first = separator;
         while (m_text[*separator] != '\n') {
            ++separator;
         }
         auto* entry = new (0) LOGDB_DATABASE_ENTRY;
         m_line.assign(m_text.data() + line, *separator - line);
         split(line, first, separator - 1);
         entry->m_entry_type = peer_kind_of(m_kind);
         MEM_STRING* const pieces = m_pieces.data();
         entry->m_data_vector.assign(MOVES(nullptr, pieces), MOVES(nullptr, pieces + m_pieces.size()));
         m_entries.push_back(entry);
         line = *separator++ + 1;
      }
      return line;
   }

   /// In the place of the tokenizer, which is another library's. The kind's name takes no new storage.
   [[gnu::noinline]] void split(std::size_t line, const std::uint32_t* first, const std::uint32_t* last) {
      m_kind.assign(m_text.data() + line, *first - line);
      m_pieces.assign(PIECES(m_text.data(), first), PIECES(m_text.data(), last));
   }

   std::vector<char> m_text = std::vector<char>(2 * BLOCK_BYTES + SIMD_SLACK);
   std::vector<std::uint32_t> m_separators = std::vector<std::uint32_t>(2 * BLOCK_BYTES + SIMD_SLACK);
   MEM_STRING m_kind;
   MEM_STRING m_line;
   MEM_VECTOR<MEM_STRING> m_pieces;
   MEM_VECTOR<LOGDB_DATABASE_ENTRY*> m_entries;
};

} // namespace

std::unique_ptr<DATABASE_CONTENDER> make_types_database() {
   return std::make_unique<TYPES_DATABASE>();
}
