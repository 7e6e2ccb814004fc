#include "logdb_database.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>

#include "cfg.h"
#include "dbm.h"
#include "fio.h"
#include "gen.h"
#include "logdb_report.h"

#define LOGDB_SOURCE_FILE "logdb_database"

// The domain is registered first and unregistered last, around everything that uses memory. In a program that holds the
// library, static objects of its own may use a database before any of an ordinary priority is made, and after those end.
[[gnu::init_priority(200)]] static const MEM_INITIALIZER logdb_memory_initializer("LOGDB");

[[gnu::init_priority(200)]] MEM_STRING logdb_revision_name;
LOGDB_DB_TYPE logdb_db_type = LOGDB_DB_TYPE_NONE;
char logdb_filename_singleton[1024];
static LOGDB_DATABASE* logdb_database_singleton = nullptr;

const char LOGDB_DATABASE_FIELD_SEPARATOR[2] = ",";

const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_DSP_BALANCING_IMPLEMENTATION_DATA_FORMAT[2] = {GENERIC_STRING, NODE_NAME};
const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_REGISTER_PACKING_DATA_FORMAT[5] = {GENERIC_STRING, GENERIC_STRING,
                                                                         GENERIC_STRING, NODE_NAME, NODE_NAME};
const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_RAM_PACKING_DATA_FORMAT[9] = {GENERIC_STRING, GENERIC_STRING, GENERIC_STRING,
                                                                    GENERIC_STRING, GENERIC_STRING, GENERIC_STRING,
                                                                    GENERIC_STRING, GENERIC_STRING, NODE_NAME};
const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_FIT_COMPUTED_DQSBUSMUX_COUNTS_FORMAT[2] = {GENERIC_STRING, GENERIC_STRING};
// Programs link to this name as it is: without the DB of its siblings.
const LOGDB_ENTRY_DATATYPE_ENUM LOG_FSYN_LOG_FILE_FORMAT[1] = {GENERIC_STRING};
const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_IO_RULES_SUMMARY_FORMAT[2] = {GENERIC_STRING, GENERIC_STRING};
const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_IO_RULES_FORMAT[6] = {GENERIC_STRING, GENERIC_STRING, GENERIC_STRING,
                                                            GENERIC_STRING, GENERIC_STRING, GENERIC_STRING};
const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_IO_RULES_MATRIX_FORMAT[2] = {GENERIC_STRING, GENERIC_STRING};

const LOGDB_DATA_FORMAT_INFO LOGDB_DATA_FORMAT[8] = {
    {2, LOGDB_DSP_BALANCING_IMPLEMENTATION_DATA_FORMAT},
    {5, LOGDB_REGISTER_PACKING_DATA_FORMAT},
    {9, LOGDB_RAM_PACKING_DATA_FORMAT},
    {2, LOGDB_FIT_COMPUTED_DQSBUSMUX_COUNTS_FORMAT},
    {1, LOG_FSYN_LOG_FILE_FORMAT},
    {2, LOGDB_IO_RULES_SUMMARY_FORMAT},
    {6, LOGDB_IO_RULES_FORMAT},
    {2, LOGDB_IO_RULES_MATRIX_FORMAT},
};

namespace {

constexpr LOGDB_ENTRY_TYPE_ENUM unknown_kind = static_cast<LOGDB_ENTRY_TYPE_ENUM>(-1);
constexpr LOGDB_ENTRY_DATATYPE_ENUM no_datatype = static_cast<LOGDB_ENTRY_DATATYPE_ENUM>(-1);

constexpr char field_separator = ',';
constexpr char hierarchy_separator = '|';

// Room for a line and the zero byte that ends it: the longest line that reads back has 32767 bytes.
constexpr std::size_t line_buffer_size = 32768;

// Files move in pieces of this many bytes.
constexpr std::size_t block_size = std::size_t{256} * 1024;

bool is_known_kind(LOGDB_ENTRY_TYPE_ENUM type) {
   return static_cast<unsigned int>(type) < std::size(LOGDB_DATA_FORMAT);
}

const char* text_or_empty(const char* text) {
   return text != nullptr ? text : "";
}

// The name of the loaded file. A long one fills the array to its end, without a zero byte, and is recorded by its
// first bytes only: no name is equal to it then but one that is just these bytes.
MEM_STRING loaded_file_name() {
   return {logdb_filename_singleton, strnlen(logdb_filename_singleton, sizeof logdb_filename_singleton)};
}

void set_loaded_file_name(const char* file_name) {
   const std::size_t length = strnlen(file_name, sizeof logdb_filename_singleton);
   std::memset(logdb_filename_singleton, 0, sizeof logdb_filename_singleton);
   std::memcpy(logdb_filename_singleton, file_name, length);
}

int seconds_since(std::time_t start) {
   return static_cast<int>(std::time(nullptr) - start);
}

// Both checks of a commit. The second says "bee" where a load says "been": people search for it so.
void check_initialized_for_commit() {
   if (logdb_database_singleton == nullptr) {
      LOGDB_REPORT("Commiting logdb database when database is not loaded");
   }
   if (logdb_db_type == LOGDB_DB_TYPE_NONE) {
      LOGDB_REPORT("LOGDB has not bee initialized with the revision name and db_type.");
   }
}

void check_initialized_for_load() {
   if (logdb_db_type == LOGDB_DB_TYPE_NONE) {
      LOGDB_REPORT("LOGDB has not been initialized with the revision name and db_type.");
   }
}

bool read_file(const char* file_name, LOGDB_DATABASE_IMPL& database) {
   // Without memory for the block the file is read in the small pieces of the stream's own.
   const std::unique_ptr<char[]> block(new (std::nothrow) char[block_size]);
   std::ifstream file;
   if (block != nullptr) {
      file.rdbuf()->pubsetbuf(block.get(), block_size);
   }
   file.open(file_name);
   const bool ok = database.read_database(&file);
   if (!ok) {
      LOGDB_REPORT("Failed reading log-db file");
   }
   return ok;
}

// What a stream has read ahead. These members are the buffer's own business, but a line that is there whole can
// be taken out of it in one piece, which is most of the speed of loading.
class GET_AREA : private std::streambuf {
public:
   static const char* begin(const std::streambuf& buffer) { return (buffer.*&GET_AREA::gptr)(); }
   static const char* end(const std::streambuf& buffer) { return (buffer.*&GET_AREA::egptr)(); }
   static void skip(std::streambuf& buffer, std::size_t bytes) {
      (buffer.*&GET_AREA::gbump)(static_cast<int>(bytes));
   }
};

// Whether reading would change nothing about the stream but its position: a stream that is not good, or that is
// tied to another, goes the ordinary way. One without a buffer is never good.
bool can_read_ahead(const std::istream& in) {
   return in.good() && in.tie() == nullptr;
}

bool has_next_byte(std::istream& in) {
   if (can_read_ahead(in) && GET_AREA::begin(*in.rdbuf()) < GET_AREA::end(*in.rdbuf())) {
      return true;
   }
   return in.peek() != std::istream::traits_type::eof();
}

// Takes lines out of what a stream has read ahead. What it has looked at already counts as long as the stream stands
// where the last line ended: whoever reads the stream from another place makes it look again.
class LINE_TAKER {
public:
   // Takes a line, if it is there whole and not too long. What is behind a zero byte in it is dropped.
   bool take(std::istream& in, MEM_STRING& line) {
      const char* const begin = can_read_ahead(in) ? GET_AREA::begin(*in.rdbuf()) : nullptr;
      const auto available = begin != nullptr ? static_cast<std::size_t>(GET_AREA::end(*in.rdbuf()) - begin) : 0;
      const void* const found =
          available != 0 ? std::memchr(begin, in.widen('\n'), std::min(available, line_buffer_size)) : nullptr;
      if (found == nullptr) [[unlikely]] {
         m_next = nullptr; // the stream may put other bytes in the same place
         return false;
      }
      const auto size = static_cast<std::size_t>(static_cast<const char*>(found) - begin);
      if (begin != m_next || begin + size > m_checked_end) [[unlikely]] {
         check_ahead(begin, std::min(available, std::max(size, check_size)));
      }
      line.assign(begin, std::min(size, static_cast<std::size_t>(m_checked_end - begin)));
      GET_AREA::skip(*in.rdbuf(), size + 1);
      m_next = begin + size + 1;
      return true;
   }

private:
   // Many lines are looked at together for zero bytes, of which a proper file has none.
   static constexpr std::size_t check_size = 4096;

   void check_ahead(const char* begin, std::size_t size) {
      const void* const zero = std::memchr(begin, '\0', size);
      m_checked_end = zero != nullptr ? static_cast<const char*>(zero) : begin + size;
   }

   const char* m_next = nullptr;        // behind the last line
   const char* m_checked_end = nullptr; // from there to here no byte is zero
};

// A copy that the database owns; null, and reported, when there is no memory for it.
std::unique_ptr<LOGDB_DATABASE_ENTRY> copy_entry(const LOGDB_DATABASE_ENTRY& entry) {
   std::unique_ptr<LOGDB_DATABASE_ENTRY> new_entry(new (0) LOGDB_DATABASE_ENTRY(entry));
   LOGDB_HOLDS(new_entry != 0);
   return new_entry;
}

// A string that is to move to a field. One without storage is copied with the bytes behind its end: a copy of a fixed
// size needs no call. The field is made where it is to be.
class MOVING_FIELD {
public:
   explicit MOVING_FIELD(MEM_STRING& from) : m_from(&from) {}

   operator MEM_STRING() const {
      return m_from->capacity() == longest_without_storage ? copy() : MEM_STRING(std::move(*m_from));
   }

private:
   static constexpr std::size_t longest_without_storage = 15;
   static_assert(sizeof(MEM_STRING) == sizeof(char*) + sizeof(std::size_t) + longest_without_storage + 1);

   MEM_STRING copy() const {
      MEM_STRING field(m_from->data(), longest_without_storage);
      field.resize(m_from->size());
      return field;
   }

   MEM_STRING* m_from;
};

// A vector asks for the number of fields first, and then makes one after the other with nothing to look at in between.
class FIELD_ITERATOR {
public:
   using iterator_category = std::forward_iterator_tag;
   using value_type = MEM_STRING;
   using difference_type = std::ptrdiff_t;
   using pointer = void;
   using reference = MOVING_FIELD;

   explicit FIELD_ITERATOR(MEM_STRING* from) : m_from(from) {}

   MOVING_FIELD operator*() const { return MOVING_FIELD(*m_from); }
   FIELD_ITERATOR& operator++() {
      ++m_from;
      return *this;
   }
   bool operator==(const FIELD_ITERATOR& other) const { return m_from == other.m_from; }

private:
   MEM_STRING* m_from;
};

bool is_detail_debug_on() {
   static const bool on = cfg_is_on("log_db_detail_debug_info", false);
   return on;
}

void debug_entry(const LOGDB_DATABASE_ENTRY& entry) {
   MEM_STRING text;
   gen_sprintf(&text, "  Read DB Entry: TYPE=%s: ", logdb_get_debug_string(entry.m_entry_type));
   for (const MEM_STRING& field : entry.m_data_vector) {
      text.append(field).append(", ");
   }
   logdb_msg_debug("%s", text.c_str());
}

// Reads entries one after the other, keeping what the next one can use again: the storage of the line and of
// its pieces, and the kinds that names stood for.
class ENTRY_READER {
public:
   explicit ENTRY_READER(LOGDB_DATABASE_IMPL& database) : m_database(database) {}

   bool read_entry(std::istream* in, LOGDB_DATABASE_ENTRY* entry) {
      if (!m_lines.take(*in, m_line) && !m_database.read_line(in, &m_line)) [[unlikely]] {
         logdb_msg_debug("Failed reading log db entry line");
         entry->m_entry_type = unknown_kind;
         entry->m_data_vector.clear();
         return false;
      }
      tokenize_line();
      if (m_tokens.empty()) [[unlikely]] {
         entry->m_data_vector.clear();
      } else {
         entry->m_entry_type = kind(m_tokens.front());
         move_fields_to(entry->m_data_vector);
      }
      if (is_detail_debug_on()) [[unlikely]] {
         debug_entry(*entry);
      }
      return true;
   }

private:
   // The list that is handed over holds a string with storage from the line before, so that the kind's name takes no
   // block a line. A host's tokenizer replaces it or adds pieces behind it: which, a text tells that is never a piece.
   void tokenize_line() {
      m_tokens.resize(1);
      m_tokens.front() = LOGDB_DATABASE_FIELD_SEPARATOR;
      m_database.m_tokenizer.tokenize(m_line, m_tokens);
      if (!m_tokens.empty() && m_tokens.front() == LOGDB_DATABASE_FIELD_SEPARATOR) [[unlikely]] {
         m_tokens.erase(m_tokens.begin());
      }
   }

   void move_fields_to(MEM_VECTOR<MEM_STRING>& fields) {
      fields.clear();
      fields.assign(FIELD_ITERATOR(&m_tokens.front() + 1), FIELD_ITERATOR(&m_tokens.front() + m_tokens.size()));
   }

   // A file has few kind names, again and again. Each is looked up once, as long as no other takes its place.
   LOGDB_ENTRY_TYPE_ENUM kind(const MEM_STRING& name) {
      const std::size_t first_byte = static_cast<unsigned char>(name.c_str()[0]);
      KNOWN_KIND& known = m_known_kinds[(name.size() + first_byte) % std::size(m_known_kinds)];
      if (std::string_view(name) != std::string_view(known.m_name)) [[unlikely]] {
         known.m_type = logdb_get_logdb_entry_type_enum_by_string(name.c_str());
         known.m_name = name;
      }
      return known.m_type;
   }

   struct KNOWN_KIND {
      MEM_STRING m_name;
      LOGDB_ENTRY_TYPE_ENUM m_type = unknown_kind;
   };

   LOGDB_DATABASE_IMPL& m_database;
   LINE_TAKER m_lines;
   MEM_STRING m_line;
   MEM_VECTOR<MEM_STRING> m_tokens;
   KNOWN_KIND m_known_kinds[32];
};

std::size_t count_separators(const char* begin, const char* end) {
   const __m128i separators = _mm_set1_epi8(field_separator);
   std::size_t count = 0;
   while (end - begin >= 16) {
      // One counter a byte, added up before it can overflow.
      const char* const part_end = begin + std::min<std::ptrdiff_t>((end - begin) / 16, 255) * 16;
      __m128i counters = _mm_setzero_si128();
      for (; begin != part_end; begin += 16) {
         const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(begin));
         counters = _mm_sub_epi8(counters, _mm_cmpeq_epi8(bytes, separators));
      }
      const __m128i sums = _mm_sad_epu8(counters, _mm_setzero_si128());
      count += static_cast<std::size_t>(_mm_cvtsi128_si64(sums) + _mm_extract_epi16(sums, 4));
   }
   return count + static_cast<std::size_t>(std::count(begin, end, field_separator));
}

// Gathers lines in a block, and hands the stream whole blocks. A block with anything to report is not handed over:
// the caller writes its entries field by field, so that a report comes when everything before it is in the stream.
class LINE_GATHERER {
public:
   explicit LINE_GATHERER(std::ostream* out)
       : m_out(out), m_block(new (std::nothrow) char[block_size + bytes_behind]) {
      for (std::size_t type = 0; type < std::size(m_kinds); ++type) {
         m_kinds[type] = logdb_get_debug_string(static_cast<LOGDB_ENTRY_TYPE_ENUM>(type));
      }
   }

   // Writes text that needs no look.
   void write(std::string_view text) { m_out->write(text.data(), static_cast<std::streamsize>(text.size())); }

   // Adds a line. Not taken are an entry of an unknown kind, one that does not fit into what is left of the block,
   // and one with a field that has no text.
   //
   // \param field_text  gives the text of the field at a position; its data is null when there is none
   template <class FIELD_TEXT> bool add(const LOGDB_DATABASE_ENTRY& entry, const FIELD_TEXT& field_text) {
      if (m_block == nullptr || !is_known_kind(entry.m_entry_type)) {
         return false;
      }
      const std::string_view kind = m_kinds[entry.m_entry_type];
      std::size_t room = block_size - m_used;
      if (room < kind.size() + 2) {
         return false;
      }
      room -= kind.size() + 2;
      char* end = m_block.get() + m_used;
      std::memcpy(end, kind.data(), kind.size());
      end += kind.size();
      *end++ = field_separator;
      unsigned int position = 0;
      for (const MEM_STRING& field : entry.m_data_vector) {
         const std::string_view text = field_text(field, position++);
         if (text.data() == nullptr || room < text.size() + 1) {
            return false;
         }
         room -= text.size() + 1;
         end = append_field(end, field, text);
      }
      *end++ = '\n';
      m_separators += entry.m_data_vector.size() + 1;
      m_used = static_cast<std::size_t>(end - m_block.get());
      return true;
   }

   // Hands over the lines in the block, or drops them if a field has a separator in it.
   //
   // \param is_end  whether nothing comes behind them. The last byte then goes by itself: after a failure the stream
   //                is in the same state as if every field had gone so, whichever byte it failed at
   // \return whether they were handed over
   bool flush(bool is_end) {
      const std::string_view lines(m_block.get(), m_used);
      const bool holds = count_separators(lines.data(), lines.data() + lines.size()) == m_separators;
      m_used = 0;
      m_separators = 0;
      if (holds && !lines.empty()) {
         write(lines.substr(0, lines.size() - (is_end ? 1 : 0)));
         if (is_end) {
            m_out->put(lines.back());
         }
      }
      return holds;
   }

private:
   // Every string has room for this many bytes, so that many can be copied of any.
   static constexpr std::size_t least_room = 16;
   static_assert(sizeof(MEM_STRING) == sizeof(char*) + sizeof(std::size_t) + least_room);
   static constexpr std::size_t bytes_behind = least_room;

   // Most fields are short: copies of a fixed size do without a call.
   static char* append_field(char* out, const MEM_STRING& field, std::string_view text) {
      if (text.data() != field.data()) {
         std::memcpy(out, text.data(), text.size());
      } else {
         std::memcpy(out, text.data(), least_room);
         for (std::size_t copied = least_room; copied < text.size(); copied += least_room) {
            const std::size_t from = std::min(copied, text.size() - least_room);
            std::memcpy(out + from, text.data() + from, least_room);
         }
      }
      out[text.size()] = field_separator;
      return out + text.size() + 1;
   }

   std::ostream* m_out;
   std::unique_ptr<char[]> m_block;
   std::string_view m_kinds[std::size(LOGDB_DATA_FORMAT)];
   std::size_t m_used = 0;
   std::size_t m_separators = 0; // those that the lines in the block should have
};

// The part of a node name that is written for a partition; its data is null for a name outside.
std::string_view cut_partition_root(std::string_view name, std::string_view root) {
   if (name.size() <= root.size() || name.substr(0, root.size()) != root) {
      return {};
   }
   return name.substr(root.size() + (name[root.size()] == hierarchy_separator ? 1 : 0));
}

// What is at a position of an entry; here, because the public operation is called through a table of the linker's.
LOGDB_ENTRY_DATATYPE_ENUM datatype_at(LOGDB_ENTRY_TYPE_ENUM type, unsigned int position) {
   if (!is_known_kind(type) || position >= LOGDB_DATA_FORMAT[type].m_num_fields) {
      return no_datatype;
   }
   return LOGDB_DATA_FORMAT[type].m_datatypes[position];
}

bool is_node_name(LOGDB_ENTRY_TYPE_ENUM type, unsigned int position) {
   return datatype_at(type, position) == NODE_NAME;
}

// A whole file; the two ways to write a field, in a gathered line and by itself, are the caller's.
template <class FIELD_TEXT, class WRITE_ENTRY>
void write_lines(std::ostream* out, const MEM_VECTOR<LOGDB_DATABASE_ENTRY*>& entries, const FIELD_TEXT& field_text,
                 const WRITE_ENTRY& write_entry) {
   LINE_GATHERER lines(out);
   lines.write("v1\n");
   const auto add = [&](const LOGDB_DATABASE_ENTRY* entry) {
      return lines.add(*entry, [&](const MEM_STRING& field, unsigned int position) {
         return field_text(entry->m_entry_type, field, position);
      });
   };
   auto first = entries.begin(); // of those in the block
   const auto flush = [&](auto end) {
      if (!lines.flush(end == entries.end())) {
         std::for_each(first, end, write_entry);
      }
      first = end;
   };
   for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
      if (!add(*entry)) {
         flush(entry);
         if (!add(*entry)) {
            write_entry(*entry);
            ++first;
         }
      }
   }
   flush(entries.end());
   logdb_msg_debug("Wrote log database with %u entries", static_cast<unsigned int>(entries.size()));
}

} // namespace

bool logdb_msg_debug(const char* format, ...) {
   // The host's interface takes a domain that could be written to.
   char domain[] = "LOGDB";
   va_list args;
   va_start(args, format);
   const bool printed = msg_local_vdebug(domain, format, args);
   va_end(args);
   return printed;
}

void LOGDB_DATABASE::initialize(const char* revision_name, LOGDB_DB_TYPE db_type) {
   logdb_revision_name = text_or_empty(revision_name);
   logdb_db_type = db_type;
}

LOGDB_DATABASE_IMPL* LOGDB_DATABASE::make_loaded_database() {
   logdb_database_singleton = new (0) LOGDB_DATABASE;
   return logdb_database_singleton != nullptr ? logdb_database_singleton->m_impl : nullptr;
}

void LOGDB_DATABASE::load_database() {
   check_initialized_for_load();
   if (logdb_database_singleton != nullptr) {
      return;
   }
   MEM_STRING name;
   make_db_filename(logdb_revision_name.c_str(), logdb_db_type, &name);
   logdb_msg_debug("Loading logdb database %s...", name.c_str());
   const std::time_t start = std::time(nullptr);
   LOGDB_DATABASE_IMPL* database = make_loaded_database();
   if (LOGDB_HOLDS(database != 0) && FIO_FILE_SYSTEM::exists(name.c_str())) {
      read_file(name.c_str(), *database);
   }
   logdb_msg_debug("Done loading logdb database %s. Spent %d seconds.", name.c_str(), seconds_since(start));
}

void LOGDB_DATABASE::load_database(const char* file_name, const char* partition_root) {
   file_name = text_or_empty(file_name);
   check_initialized_for_load();
   if (logdb_database_singleton != nullptr) {
      const MEM_STRING loaded_name = loaded_file_name();
      logdb_msg_debug("Already loaded %s. Requesting to load %s.", loaded_name.c_str(), file_name);
      if (loaded_name != file_name) {
         LOGDB_REPORT("Logdb load_database can not called when a different database is already loaded.");
      }
      return;
   }
   logdb_msg_debug("Loading logdb database %s...", file_name);
   const std::time_t start = std::time(nullptr);
   logdb_filename_singleton[0] = '\0';
   LOGDB_DATABASE_IMPL* database = make_loaded_database();
   if (LOGDB_HOLDS(database != 0) && FIO_FILE_SYSTEM::exists(file_name) && read_file(file_name, *database)) {
      LOGDB_HOLDS(partition_root != 0);
      database->prepend_partition_hpath(partition_root);
      set_loaded_file_name(file_name);
   }
   logdb_msg_debug("Done loading logdb database %s. Spent %d seconds.", file_name, seconds_since(start));
}

// Opens, writes and closes the file. The stream keeps any failure to itself.
template <class WRITE> static void commit_file(const char* file_name, const WRITE& write) {
   logdb_msg_debug("Commiting logdb database %s...", file_name);
   const std::time_t start = std::time(nullptr);
   std::ofstream file(file_name);
   write(&file);
   file.close();
   logdb_msg_debug("Done comiting logdb database %s. Spent %d seconds.", file_name, seconds_since(start));
}

void LOGDB_DATABASE::commit_database() {
   check_initialized_for_commit();
   if (logdb_database_singleton == nullptr || logdb_database_singleton->m_impl == nullptr) {
      return;
   }
   MEM_STRING name;
   make_db_filename(logdb_revision_name.c_str(), logdb_db_type, &name);
   commit_file(name.c_str(), [](std::ostream* out) { logdb_database_singleton->m_impl->write_database(out); });
}

void LOGDB_DATABASE::commit_database(const char* file_name, const char* partition_root) {
   check_initialized_for_commit();
   if (logdb_database_singleton == nullptr || logdb_database_singleton->m_impl == nullptr) {
      return;
   }
   const MEM_STRING root = text_or_empty(partition_root);
   commit_file(text_or_empty(file_name), [&root](std::ostream* out) {
      logdb_database_singleton->m_impl->write_database_without_partition_hpath(out, root);
   });
}

void LOGDB_DATABASE::unload_database() {
   logdb_filename_singleton[0] = '\0';
   delete logdb_database_singleton;
   logdb_database_singleton = nullptr;
   logdb_msg_debug("Unloaded logdb database.");
}

LOGDB_DATABASE* LOGDB_DATABASE::get_database() {
   return logdb_database_singleton;
}

bool LOGDB_DATABASE::should_preserve_postfit_entries(LOGDB_ENTRY_TYPE_ENUM entry_type) {
   switch (entry_type) {
   case DSP_BALANCING_IMPLEMENTATION:
   case REGISTER_PACKING:
   case FSYN_LOG_FILE:
      return true;
   case RAM_PACKING:
   case FIT_COMPUTED_DQSBUSMUX_COUNTS:
   case IO_RULES_SUMMARY:
   case IO_RULES:
   case IO_RULES_MATRIX:
      return false;
   }
   LOGDB_REPORT("Unsupported LOGDB_ENTRY_TYPE");
   return false;
}

LOGDB_ENTRY_DATATYPE_ENUM LOGDB_DATABASE::get_enum_datatype_by_vec_position(LOGDB_ENTRY_TYPE_ENUM type,
                                                                            unsigned int position) {
   return datatype_at(type, position);
}

const char* LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE db_type) {
   return LOGDB_DATABASE_IMPL::logdb_type_to_dbm_type(db_type);
}

void LOGDB_DATABASE::make_db_filename(const char* revision_name, LOGDB_DB_TYPE db_type, MEM_STRING* out) {
   LOGDB_DATABASE_IMPL::make_db_filename(revision_name, db_type, out);
}

void LOGDB_DATABASE::make_db_extension(LOGDB_DB_TYPE db_type, MEM_STRING* out) {
   LOGDB_DATABASE_IMPL::make_db_extension(db_type, out);
}

void LOGDB_DATABASE::copy_database_file(const char* revision_name, LOGDB_DB_TYPE from_type,
                                        LOGDB_DB_TYPE to_type) {
   LOGDB_DATABASE_IMPL::copy_database_file(revision_name, from_type, to_type);
}

void LOGDB_DATABASE::delete_database_file(const char* revision_name, LOGDB_DB_TYPE db_type) {
   LOGDB_DATABASE_IMPL::delete_database_file(revision_name, db_type);
}

// Without memory for the implementation the database has no entries and takes none.
LOGDB_DATABASE::LOGDB_DATABASE() : m_impl(new (0) LOGDB_DATABASE_IMPL) {}

LOGDB_DATABASE::~LOGDB_DATABASE() {
   delete m_impl;
   m_impl = nullptr;
}

int LOGDB_DATABASE::get_number_of_entries() const {
   return m_impl != nullptr ? m_impl->get_number_of_entries() : 0;
}

const LOGDB_DATABASE_ENTRY* LOGDB_DATABASE::get_entry(int index) const {
   return m_impl != nullptr ? m_impl->get_entry(index) : nullptr;
}

LOGDB_DATABASE_ENTRY* LOGDB_DATABASE::add_entry(const LOGDB_DATABASE_ENTRY* new_entry) {
   return m_impl != nullptr ? m_impl->add_entry(new_entry) : nullptr;
}

LOGDB_DATABASE_ENTRY* LOGDB_DATABASE::replace_entry(int index, const LOGDB_DATABASE_ENTRY* new_entry) {
   return m_impl != nullptr ? m_impl->replace_entry(index, new_entry) : nullptr;
}

LOGDB_DATABASE_IMPL::LOGDB_DATABASE_IMPL()
    : m_tokenizer(LOGDB_DATABASE_FIELD_SEPARATOR, true, MEM_STRING(), MEM_STRING(), MEM_STRING(), false) {}

LOGDB_DATABASE_IMPL::~LOGDB_DATABASE_IMPL() {
   delete_database();
}

void LOGDB_DATABASE_IMPL::delete_database() {
   for (LOGDB_DATABASE_ENTRY*& entry : m_entry_vector) {
      delete entry;
      entry = nullptr;
   }
   MEM_VECTOR<LOGDB_DATABASE_ENTRY*>().swap(m_entry_vector);
}

int LOGDB_DATABASE_IMPL::get_number_of_entries() const {
   return static_cast<int>(m_entry_vector.size());
}

const LOGDB_DATABASE_ENTRY* LOGDB_DATABASE_IMPL::get_entry(int index) const {
   if (!LOGDB_HOLDS(index >= 0 && index < static_cast<int>(m_entry_vector.size()))) {
      return nullptr;
   }
   return m_entry_vector[static_cast<std::size_t>(index)];
}

LOGDB_DATABASE_ENTRY* LOGDB_DATABASE_IMPL::add_entry(const LOGDB_DATABASE_ENTRY* new_entry) {
   if (!LOGDB_HOLDS(new_entry != 0)) {
      return nullptr;
   }
   std::unique_ptr<LOGDB_DATABASE_ENTRY> copy = copy_entry(*new_entry);
   if (copy == nullptr) {
      return nullptr;
   }
   m_entry_vector.push_back(copy.get());
   return copy.release();
}

LOGDB_DATABASE_ENTRY* LOGDB_DATABASE_IMPL::replace_entry(int index, const LOGDB_DATABASE_ENTRY* new_entry) {
   const bool index_holds = LOGDB_HOLDS(index >= 0 && index < static_cast<int>(m_entry_vector.size()));
   const bool entry_holds = LOGDB_HOLDS(new_entry != 0);
   if (!index_holds || !entry_holds) {
      return nullptr;
   }
   // The copy comes first: the entry that is replaced may be the one that is copied.
   std::unique_ptr<LOGDB_DATABASE_ENTRY> copy = copy_entry(*new_entry);
   if (copy == nullptr) {
      return nullptr;
   }
   LOGDB_DATABASE_ENTRY*& slot = m_entry_vector[static_cast<std::size_t>(index)];
   delete slot;
   slot = copy.release();
   return slot;
}

const char* LOGDB_DATABASE_IMPL::logdb_type_to_dbm_type(LOGDB_DB_TYPE db_type) {
   switch (db_type) {
   case LOGDB_DB_TYPE_MAP:
      return DBM_TYPE_MAP;
   case LOGDB_DB_TYPE_CMP:
      return DBM_TYPE_CMP;
   case LOGDB_DB_TYPE_MAP_BB:
      return DBM_TYPE_MAP_BB;
   case LOGDB_DB_TYPE_CMP_BB:
      return DBM_TYPE_CMP_BB;
   case LOGDB_DB_TYPE_NONE:
      break;
   }
   LOGDB_REPORT("unknown logdb_db_type");
   return nullptr;
}

void LOGDB_DATABASE_IMPL::make_db_filename(const char* revision_name, LOGDB_DB_TYPE db_type, MEM_STRING* out) {
   const char* type_name = logdb_type_to_dbm_type(db_type);
   if (type_name == nullptr || out == nullptr) {
      return;
   }
   *out = gen_generate_pdb_filename(text_or_empty(revision_name), type_name, nullptr);
   out->append(".").append("logdb");
}

void LOGDB_DATABASE_IMPL::make_db_extension(LOGDB_DB_TYPE db_type, MEM_STRING* out) {
   const char* type_name = logdb_type_to_dbm_type(db_type);
   if (type_name == nullptr || out == nullptr) {
      return;
   }
   *out = type_name;
   out->append(".").append("logdb");
}

void LOGDB_DATABASE_IMPL::copy_database_file(const char* revision_name, LOGDB_DB_TYPE from_type,
                                             LOGDB_DB_TYPE to_type) {
   MEM_STRING source;
   make_db_filename(revision_name, from_type, &source);
   MEM_STRING target;
   make_db_filename(revision_name, to_type, &target);
   if (FIO_FILE_SYSTEM::exists(source.c_str()) && !FIO_FILE_SYSTEM::copy(source, target, true, false)) {
      LOGDB_REPORT("failed copying logdb file");
      return;
   }
   // Also when there was nothing to copy: a stage that asks for the copy has nothing to clean up then.
   logdb_msg_debug("Copied logdb file %s to %s.", source.c_str(), target.c_str());
}

void LOGDB_DATABASE_IMPL::delete_database_file(const char* revision_name, LOGDB_DB_TYPE db_type) {
   MEM_STRING name;
   make_db_filename(revision_name, db_type, &name);
   FIO_FILE_SYSTEM::remove_if_exists(name);
   logdb_msg_debug("Deleted logdb file %s.", name.c_str());
}

void LOGDB_DATABASE_IMPL::write_string(std::ostream* out, const MEM_STRING& s) const {
   if (s.find_first_of(LOGDB_DATABASE_FIELD_SEPARATOR) != MEM_STRING::npos) {
      LOGDB_REPORT("log database write failed: string has field separator character");
   }
   out->write(s.data(), static_cast<std::streamsize>(s.size()));
   out->write(LOGDB_DATABASE_FIELD_SEPARATOR, 1);
}

void LOGDB_DATABASE_IMPL::write_enum(std::ostream* out, LOGDB_ENTRY_TYPE_ENUM type) const {
   write_string(out, logdb_get_debug_string(type));
}

void LOGDB_DATABASE_IMPL::write_entry(std::ostream* out, const LOGDB_DATABASE_ENTRY* entry) const {
   write_enum(out, entry->m_entry_type);
   for (const MEM_STRING& field : entry->m_data_vector) {
      write_string(out, field);
   }
   out->put('\n');
}

void LOGDB_DATABASE_IMPL::write_database(std::ostream* out) const {
   write_lines(
       out, m_entry_vector,
       [](LOGDB_ENTRY_TYPE_ENUM, const MEM_STRING& field, unsigned int) { return std::string_view(field); },
       [this, out](const LOGDB_DATABASE_ENTRY* entry) { write_entry(out, entry); });
}

void LOGDB_DATABASE_IMPL::write_database_without_partition_hpath(std::ostream* out,
                                                                 const MEM_STRING& partition_root) const {
   MEM_STRING scratch;
   write_lines(
       out, m_entry_vector,
       [&](LOGDB_ENTRY_TYPE_ENUM type, const MEM_STRING& field, unsigned int position) {
          return is_node_name(type, position) ? cut_partition_root(field, partition_root)
                                              : std::string_view(field);
       },
       [&](const LOGDB_DATABASE_ENTRY* entry) {
          write_entry_without_partition_hpath(out, entry, partition_root, &scratch);
       });
}

void LOGDB_DATABASE_IMPL::write_entry_without_partition_hpath(std::ostream* out, const LOGDB_DATABASE_ENTRY* entry,
                                                              const MEM_STRING& partition_root,
                                                              MEM_STRING* scratch) const {
   write_enum(out, entry->m_entry_type);
   unsigned int position = 0;
   for (const MEM_STRING& field : entry->m_data_vector) {
      if (!is_node_name(entry->m_entry_type, position++)) {
         write_string(out, field);
         continue;
      }
      const std::string_view rest = cut_partition_root(field, partition_root);
      if (rest.data() != nullptr) {
         *scratch = rest;
         write_string(out, *scratch);
      } else {
         // The field goes without its separator, and those behind it move up: a file for a partition has never
         // had a place for a node outside.
         MEM_STRING text;
         gen_sprintf(&text, "Detected node %s is not part of partition %s.", field.c_str(),
                     partition_root.c_str());
         LOGDB_REPORT(text.c_str());
      }
   }
   out->put('\n');
}

bool LOGDB_DATABASE_IMPL::read_line(std::istream* in, MEM_STRING* line) {
   if (LINE_TAKER().take(*in, *line)) {
      return true;
   }
   static char buffer[line_buffer_size];
   in->getline(buffer, sizeof buffer);
   *line = buffer;
   return in->good();
}

bool LOGDB_DATABASE_IMPL::read_entry(std::istream* in, LOGDB_DATABASE_ENTRY* entry) {
   return ENTRY_READER(*this).read_entry(in, entry);
}

bool LOGDB_DATABASE_IMPL::read_database(std::istream* in) {
   delete_database();
   const bool result = read_lines(in);
   logdb_msg_debug("Read %u entries from log db", static_cast<unsigned int>(m_entry_vector.size()));
   return result;
}

bool LOGDB_DATABASE_IMPL::read_lines(std::istream* in) {
   MEM_STRING version;
   if (!read_line(in, &version)) {
      if (!in->eof()) {
         logdb_msg_debug("Failed reading log db version info");
      }
      return in->eof();
   }
   logdb_msg_debug("Reading log db version %s", version.c_str());
   ENTRY_READER reader(*this);
   while (has_next_byte(*in)) {
      std::unique_ptr<LOGDB_DATABASE_ENTRY> new_entry(new (0) LOGDB_DATABASE_ENTRY);
      if (!LOGDB_HOLDS(new_entry != 0) || !reader.read_entry(in, new_entry.get())) {
         return false;
      }
      m_entry_vector.push_back(new_entry.get());
      static_cast<void>(new_entry.release());
   }
   // Past the end there is nothing to get; a stream that then does not say so could not be read.
   in->get();
   if (!in->eof()) {
      logdb_msg_debug("Failed reading log db file");
   }
   return in->eof();
}

void LOGDB_DATABASE_IMPL::prepend_partition_hpath(const char* partition_root) {
   const MEM_STRING root = text_or_empty(partition_root);
   for (LOGDB_DATABASE_ENTRY* entry : m_entry_vector) {
      prepend_partition_hpath_to_entry(root, entry);
   }
}

void LOGDB_DATABASE_IMPL::prepend_partition_hpath_to_entry(const MEM_STRING& partition_root,
                                                           LOGDB_DATABASE_ENTRY* entry) {
   unsigned int position = 0;
   for (MEM_STRING& field : entry->m_data_vector) {
      if (is_node_name(entry->m_entry_type, position++)) {
         m_hpath_buffer.assign(partition_root).append(1, hierarchy_separator).append(field);
         field = MEM_STRING(m_hpath_buffer); // with no more room than it needs
      }
   }
}
