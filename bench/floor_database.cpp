#include "floor_database.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>

#include "floor_simd.h"
#include "logdb.h"

namespace {

// Blocks that stay in the second-level cache between the system call and the scan.
constexpr std::size_t BLOCK_BYTES = 256U << 10U;
constexpr std::size_t LONGEST_LINE = 64U << 10U;
constexpr std::size_t BUFFER_BYTES = BLOCK_BYTES + LONGEST_LINE;

static_assert(sizeof(FLOOR_ENTRY) == sizeof(LOGDB_DATABASE_ENTRY));
static_assert(sizeof(FLOOR_STRING) == sizeof(MEM_STRING));

void* cache_aligned(std::size_t bytes) {
   void* block = std::aligned_alloc(64, bytes);
   if (block == nullptr) {
      throw std::bad_alloc();
   }
   return block;
}

/// The kind of a name, by a comparison that the length makes the only one.
LOGDB_ENTRY_TYPE_ENUM kind_of(const char* name, std::size_t length) {
   const auto known = [&](const char* text, LOGDB_ENTRY_TYPE_ENUM kind) {
      return std::memcmp(name, text, length) == 0 ? kind : static_cast<LOGDB_ENTRY_TYPE_ENUM>(-1);
   };
   switch (length) {
   case 8:
      return known("IO_RULES", IO_RULES);
   case 11:
      return known("RAM_PACKING", RAM_PACKING);
   case 13:
      return known("FSYN_LOG_FILE", FSYN_LOG_FILE);
   case 15:
      return known("IO_RULES_MATRIX", IO_RULES_MATRIX);
   case 16:
      return name[0] == 'R' ? known("REGISTER_PACKING", REGISTER_PACKING)
                            : known("IO_RULES_SUMMARY", IO_RULES_SUMMARY);
   case 28:
      return known("DSP_BALANCING_IMPLEMENTATION", DSP_BALANCING_IMPLEMENTATION);
   case 29:
      return known("FIT_COMPUTED_DQSBUSMUX_COUNTS", FIT_COMPUTED_DQSBUSMUX_COUNTS);
   default:
      return static_cast<LOGDB_ENTRY_TYPE_ENUM>(-1);
   }
}

/// With room behind each, for copies of 32 bytes.
constexpr char KIND_NAMES[8][64] = {"DSP_BALANCING_IMPLEMENTATION",
                                    "REGISTER_PACKING",
                                    "RAM_PACKING",
                                    "FIT_COMPUTED_DQSBUSMUX_COUNTS",
                                    "FSYN_LOG_FILE",
                                    "IO_RULES_SUMMARY",
                                    "IO_RULES",
                                    "IO_RULES_MATRIX"};
constexpr std::size_t KIND_NAME_LENGTHS[8] = {28, 16, 11, 29, 13, 16, 8, 15};

bool is_node_name(LOGDB_ENTRY_TYPE_ENUM kind, std::size_t position) {
   switch (kind) {
   case DSP_BALANCING_IMPLEMENTATION:
      return position == 1;
   case REGISTER_PACKING:
      return position == 3 || position == 4;
   case RAM_PACKING:
      return position == 8;
   default:
      return false;
   }
}

const bool HAS_AVX2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");

/// Builds the rows of the whole lines of a block.
template <bool JOIN> class ROW_BUILDER {
public:
   ROW_BUILDER(FLOOR_MEMORY& memory, FLOOR_REGION& list, const char* front, std::size_t front_length)
       : m_memory(memory), m_list(list), m_front(front), m_front_length(front_length) {}

   /// \param position  the separators; the last is a line feed
   /// \return where the text goes on behind the last line
   __attribute__((always_inline)) const char* build(const char* text, const std::uint32_t* position,
                                                    const std::uint32_t* end) {
      const char* field = text;
      // In registers until the end: a copy of characters may alias whatever is in memory.
      char* objects = m_memory.m_objects.m_cursor;
      char* characters = m_memory.m_characters.m_cursor;
      char* list = m_list.m_cursor;
      while (position != end) {
         const char* separator = text + *position++;
         if (*separator == '\n') {
            field = separator + 1; // a line without a field: the version line
            continue;
         }
         auto* entry = reinterpret_cast<FLOOR_ENTRY*>(objects);
         auto* first = reinterpret_cast<FLOOR_STRING*>(entry + 1);
         FLOOR_STRING* string = first;
         entry->m_entry_type = kind_of(field, static_cast<std::size_t>(separator - field));
         for (;;) {
            field = separator + 1;
            separator = text + *position++;
            if (*separator == '\n') {
               break;
            }
            const auto length = static_cast<std::size_t>(separator - field);
            if (JOIN && is_node_name(entry->m_entry_type, static_cast<std::size_t>(string - first))) {
               string->set_joined(m_front, m_front_length, field, length, characters);
            } else {
               string->set(field, length, characters);
            }
            ++string;
         }
         field = separator + 1;
         entry->m_data_vector = FLOOR_LIST<FLOOR_STRING>(first, string);
         objects = reinterpret_cast<char*>(string);
         std::memcpy(list, &entry, sizeof(entry));
         list += sizeof(entry);
      }
      m_memory.m_objects.m_cursor = objects;
      m_memory.m_characters.m_cursor = characters;
      m_list.m_cursor = list;
      return field;
   }

private:
   FLOOR_MEMORY& m_memory;
   FLOOR_REGION& m_list;
   const char* m_front;
   std::size_t m_front_length;
};

template <bool JOIN>
__attribute__((target("avx2,bmi,bmi2"))) const char*
build_avx2(ROW_BUILDER<JOIN>& builder, const char* text, const std::uint32_t* begin, const std::uint32_t* end) {
   return builder.build(text, begin, end);
}

template <bool JOIN>
const char* build(ROW_BUILDER<JOIN> builder, const char* text, const std::uint32_t* begin,
                  const std::uint32_t* end) {
   return HAS_AVX2 ? build_avx2(builder, text, begin, end) : builder.build(text, begin, end);
}

/// A file that is written in blocks.
class BLOCK_FILE {
public:
   explicit BLOCK_FILE(const std::string& path)
       : m_file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)),
         m_block(static_cast<char*>(cache_aligned(BLOCK_BYTES + LONGEST_LINE))), m_cursor(m_block) {
      if (m_file < 0) {
         throw std::runtime_error("cannot write " + path);
      }
   }

   ~BLOCK_FILE() {
      ::close(m_file);
      std::free(m_block);
   }

   BLOCK_FILE(const BLOCK_FILE&) = delete;
   BLOCK_FILE& operator=(const BLOCK_FILE&) = delete;

   void put(const char* text, std::size_t length) {
      std::memcpy(m_cursor, text, 32);
      for (std::size_t i = 32; i < length; i += 32) {
         std::memcpy(m_cursor + i, text + i, 32);
      }
      m_cursor += length;
   }

   void put(char byte) { *m_cursor++ = byte; }

   /// Ends a line; the separators in it count as wanted.
   void end_line(std::size_t separators) {
      put('\n');
      m_wanted += separators;
      if (m_cursor >= m_block + BLOCK_BYTES) {
         flush();
      }
   }

   void flush() {
      const auto length = static_cast<std::size_t>(m_cursor - m_block);
      if (count_commas(m_block, length) != m_wanted) {
         throw std::runtime_error("a field holds a separator");
      }
      if (::write(m_file, m_block, length) != static_cast<ssize_t>(length)) {
         throw std::runtime_error("cannot write");
      }
      m_cursor = m_block;
      m_wanted = 0;
   }

private:
   int m_file;
   char* m_block;
   char* m_cursor;
   std::size_t m_wanted = 0;
};

void put_entry(BLOCK_FILE& file, const FLOOR_ENTRY& entry, std::string_view root, bool cut) {
   const auto kind = static_cast<std::size_t>(entry.m_entry_type);
   if (kind >= std::size(KIND_NAMES)) {
      throw std::runtime_error("an entry of an unknown kind");
   }
   file.put(KIND_NAMES[kind], KIND_NAME_LENGTHS[kind]);
   file.put(',');
   std::size_t position = 0;
   for (const FLOOR_STRING& field : entry.m_data_vector) {
      const char* text = field.data();
      std::size_t length = field.size();
      if (cut && is_node_name(entry.m_entry_type, position)) {
         if (length <= root.size() || std::memcmp(text, root.data(), root.size()) != 0) {
            throw std::runtime_error("a node is outside the partition");
         }
         const std::size_t skipped = root.size() + (text[root.size()] == '|' ? 1 : 0);
         text += skipped;
         length -= skipped;
      }
      file.put(text, length);
      file.put(',');
      ++position;
   }
   file.end_line(position + 1);
}

} // namespace

FLOOR_DATABASE::FLOOR_DATABASE()
    : m_block(static_cast<char*>(cache_aligned(BUFFER_BYTES + 2 * SIMD_SLACK))), m_front(),
      m_positions(
          static_cast<std::uint32_t*>(cache_aligned((BUFFER_BYTES + 2 * SIMD_SLACK) * sizeof(std::uint32_t)))) {
   std::memset(m_block, 0, BUFFER_BYTES + 2 * SIMD_SLACK);
}

FLOOR_DATABASE::~FLOOR_DATABASE() {
   unload();
   std::free(m_block);
   std::free(m_positions);
}

void FLOOR_DATABASE::unload() {
   m_memory.release();
   m_list_region.release();
   m_list = nullptr;
   m_reserved_for = 0;
}

void FLOOR_DATABASE::rewind() {
   m_memory.rewind();
   m_list_region.rewind();
}

void FLOOR_DATABASE::reserve(int file) {
   struct stat status = {};
   if (::fstat(file, &status) != 0) {
      throw std::runtime_error("cannot look at the file");
   }
   const auto bytes = static_cast<std::size_t>(status.st_size);
   if (m_reserved_for < bytes || m_list == nullptr) {
      m_memory.reserve(bytes + BLOCK_BYTES);
      m_list_region.reserve(sizeof(FLOOR_ENTRY*) * (bytes + 1));
      m_list = reinterpret_cast<FLOOR_ENTRY**>(m_list_region.m_cursor);
      m_reserved_for = bytes;
   }
}

void FLOOR_DATABASE::load(const std::string& path, const char* root, FLOOR_LOAD extent) {
   const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
   if (file < 0) {
      throw std::runtime_error("cannot read " + path);
   }
   reserve(file);
   if (root != nullptr && std::strlen(root) >= sizeof(m_front)) {
      throw std::runtime_error("the partition root is too long");
   }
   const std::size_t front_length =
       root == nullptr ? 0 : static_cast<std::size_t>(std::snprintf(m_front, sizeof(m_front), "%s|", root));
   m_separators = 0;
   std::size_t kept = 0;
   std::size_t kept_separators = 0;
   for (;;) {
      const ssize_t bytes = ::read(file, m_block + kept, BLOCK_BYTES);
      if (bytes <= 0) {
         break;
      }
      if (extent == FLOOR_LOAD_READ) {
         continue;
      }
      const std::size_t length = kept + static_cast<std::size_t>(bytes);
      std::size_t count = find_separators(m_block, length, m_positions);
      m_separators += count - kept_separators;
      if (extent == FLOOR_LOAD_SCAN) {
         continue;
      }
      for (kept_separators = 0; count > 0 && m_block[m_positions[count - 1]] != '\n'; ++kept_separators) {
         --count;
      }
      const std::uint32_t* end = m_positions + count;
      const char* rest = root == nullptr ? build(ROW_BUILDER<false>(m_memory, m_list_region, nullptr, 0), m_block,
                                                 m_positions, end)
                                         : build(ROW_BUILDER<true>(m_memory, m_list_region, m_front, front_length),
                                                 m_block, m_positions, end);
      kept = static_cast<std::size_t>(m_block + length - rest);
      if (kept > LONGEST_LINE) {
         throw std::runtime_error("a line is too long");
      }
      std::memmove(m_block, rest, kept);
   }
   ::close(file);
}

void FLOOR_DATABASE::commit(const std::string& path, const char* root) const {
   BLOCK_FILE file(path);
   file.put('v');
   file.put('1');
   file.end_line(0);
   const std::string_view cut = root == nullptr ? "" : root;
   for (const FLOOR_ENTRY* entry : *this) {
      put_entry(file, *entry, cut, root != nullptr);
   }
   file.flush();
}
