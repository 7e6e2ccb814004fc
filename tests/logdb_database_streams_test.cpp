#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <functional>
#include <ios>
#include <istream>
#include <iterator>
#include <limits>
#include <locale>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

#include "logdb_database.h"
#include "logdb_database_fixture.h"

// Whatever stream the reader and the writer are given, bytes, state and position are those of a plain implementation
// on top of getline, peek, get and <<, which is written here again.

namespace {

constexpr std::size_t line_buffer_size = 32768;
constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

class BUFFER_ERROR : public std::runtime_error {
public:
   BUFFER_ERROR() : std::runtime_error("the buffer has failed") {}
};

enum class FAILURE { ends, ends_once, throws };

/// A source of bytes with a get area of a chosen size, 0 for none, that can fail in front of a chosen byte.
class SLICED_SOURCE : public std::streambuf {
public:
   explicit SLICED_SOURCE(const std::string& bytes, std::size_t slice = 0, std::size_t fail_at = never,
                          FAILURE failure = FAILURE::ends)
       : m_bytes(bytes), m_slice_size(slice), m_fail_at(fail_at), m_failure(failure) {}

   /// What was not consumed; the source does not fail any more.
   std::string rest() {
      m_fail_at = never;
      std::string bytes;
      for (int_type byte = sbumpc(); byte != traits_type::eof(); byte = sbumpc()) {
         bytes += traits_type::to_char_type(byte);
      }
      return bytes;
   }

   std::function<void()> m_at_access = [] {};

protected:
   int_type underflow() override {
      m_at_access();
      if (gptr() != nullptr && gptr() < egptr()) {
         return traits_type::to_int_type(*gptr());
      }
      if (m_next == m_fail_at) {
         fail();
         return traits_type::eof();
      }
      if (m_next == m_bytes.size()) {
         return traits_type::eof();
      }
      if (m_slice_size == 0) {
         return traits_type::to_int_type(m_bytes[m_next]);
      }
      const std::size_t end = std::min({m_bytes.size(), m_next + m_slice_size, std::max(m_fail_at, m_next)});
      m_slice = m_bytes.substr(m_next, end - m_next);
      m_next = end;
      setg(m_slice.data(), m_slice.data(), m_slice.data() + m_slice.size());
      return traits_type::to_int_type(*gptr());
   }

   int_type uflow() override {
      const int_type byte = underflow();
      if (byte != traits_type::eof()) {
         if (m_slice_size == 0) {
            ++m_next;
         } else {
            gbump(1);
         }
      }
      return byte;
   }

private:
   void fail() {
      if (m_failure == FAILURE::throws) {
         throw BUFFER_ERROR();
      }
      if (m_failure == FAILURE::ends_once) {
         m_fail_at = never;
      }
   }

   std::string m_bytes;
   std::size_t m_slice_size;
   std::size_t m_fail_at;
   FAILURE m_failure;
   std::size_t m_next = 0;
   std::string m_slice;
};

/// A sink with a put area of a chosen size, 0 for none, that takes so many bytes and then fails.
class SLICED_SINK : public std::streambuf {
public:
   explicit SLICED_SINK(std::size_t slice, std::size_t fail_at = never, FAILURE failure = FAILURE::ends)
       : m_slice(slice, '\0'), m_fail_at(fail_at), m_failure(failure) {
      setp(m_slice.data(), m_slice.data() + m_slice.size());
   }

   SLICED_SINK(const SLICED_SINK& other) : SLICED_SINK(other.m_slice.size(), other.m_fail_at, other.m_failure) {}

   /// All that was taken, what is still in the put area included.
   std::string bytes() const { return m_bytes + std::string(pbase(), pptr()); }

   int m_flushes = 0;

protected:
   int_type overflow(int_type byte) override {
      if (!empty_slice()) {
         return traits_type::eof();
      }
      if (traits_type::eq_int_type(byte, traits_type::eof())) {
         return traits_type::not_eof(byte);
      }
      if (m_slice.empty()) {
         if (m_bytes.size() == m_fail_at) {
            fail();
            return traits_type::eof();
         }
         m_bytes += traits_type::to_char_type(byte);
      } else {
         *pptr() = traits_type::to_char_type(byte);
         pbump(1);
      }
      return byte;
   }

   int sync() override {
      ++m_flushes;
      return empty_slice() ? 0 : -1;
   }

private:
   bool empty_slice() {
      const std::size_t waiting = static_cast<std::size_t>(pptr() - pbase());
      if (m_fail_at != never && m_bytes.size() + waiting > m_fail_at) {
         fail();
         return false;
      }
      m_bytes.append(pbase(), waiting);
      setp(m_slice.data(), m_slice.data() + m_slice.size());
      return true;
   }

   void fail() {
      if (m_failure == FAILURE::ends_once) {
         m_fail_at = never;
      }
      if (m_failure == FAILURE::throws) {
         throw BUFFER_ERROR();
      }
   }

   std::string m_slice;
   std::size_t m_fail_at;
   FAILURE m_failure;
   std::string m_bytes;
};

/// A locale that widens the line feed to another byte.
class WIDENED_NEWLINE : public std::ctype<char> {
public:
   explicit WIDENED_NEWLINE(char newline) : m_newline(newline) {}

protected:
   char do_widen(char letter) const override { return letter == '\n' ? m_newline : letter; }

   const char* do_widen(const char* first, const char* last, char* to) const override {
      for (; first != last; ++first, ++to) {
         *to = do_widen(*first);
      }
      return last;
   }

private:
   char m_newline;
};

std::locale with_newline(char newline) {
   return std::locale(std::locale::classic(), new WIDENED_NEWLINE(newline));
}

// ---- The plain reader

class PLAIN_READER {
public:
   bool read_line(std::istream& in, std::string* line) {
      m_buffer[0] = '\0';
      in.getline(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
      *line = m_buffer.data();
      return in.good();
   }

   bool read_entry(std::istream& in, PLAIN_ENTRY* entry) {
      std::string line;
      if (!read_line(in, &line)) {
         m_messages.emplace_back("Failed reading log db entry line");
         *entry = {-1, {}};
         return false;
      }
      std::vector<std::string> tokens;
      std::size_t start = 0;
      for (std::size_t end = line.find(','); end != std::string::npos; end = line.find(',', start)) {
         tokens.push_back(line.substr(start, end - start));
         start = end + 1;
      }
      if (start < line.size()) {
         tokens.push_back(line.substr(start));
      }
      if (!tokens.empty()) {
         entry->m_kind = logdb_get_logdb_entry_type_enum_by_string(tokens[0].c_str());
         tokens.erase(tokens.begin());
      }
      entry->m_fields = tokens;
      return true;
   }

   bool read_database(std::istream& in) {
      m_entries.clear();
      bool result = true;
      std::string version;
      if (read_line(in, &version)) {
         m_messages.push_back("Reading log db version " + version);
         while (result && !in.eof()) {
            if (in.peek() == std::istream::traits_type::eof()) {
               in.get();
               if (!in.eof()) {
                  result = false;
                  m_messages.emplace_back("Failed reading log db file");
               }
               break;
            }
            PLAIN_ENTRY entry;
            result = read_entry(in, &entry);
            if (result) {
               m_entries.push_back(entry);
            }
         }
      } else if (!in.eof()) {
         m_messages.emplace_back("Failed reading log db version info");
         result = false;
      }
      m_messages.push_back("Read " + std::to_string(m_entries.size()) + " entries from log db");
      return result;
   }

   std::vector<PLAIN_ENTRY> m_entries;
   std::vector<std::string> m_messages;

private:
   std::vector<char> m_buffer = std::vector<char>(line_buffer_size);
};

/// How an operation on a stream ended.
struct OUTCOME {
   std::string m_answer; ///< true, false, or what was thrown
   std::ios::iostate m_state = std::ios::goodbit;
   std::string m_rest; ///< the bytes that were not consumed, or all that were written
   std::vector<PLAIN_ENTRY> m_entries;
   std::vector<std::string> m_messages;

   friend bool operator==(const OUTCOME&, const OUTCOME&) = default;

   friend std::ostream& operator<<(std::ostream& out, const OUTCOME& outcome) {
      return out << outcome.m_answer << ", state " << static_cast<int>(outcome.m_state) << ", rest or bytes "
                 << ::testing::PrintToString(outcome.m_rest.substr(0, 200)) << " (" << outcome.m_rest.size()
                 << "), entries " << ::testing::PrintToString(outcome.m_entries) << ", messages "
                 << ::testing::PrintToString(outcome.m_messages);
   }
};

std::string answer_of(const std::function<bool()>& operation) {
   try {
      return operation() ? "true" : "false";
   } catch (const BUFFER_ERROR&) {
      return "the buffer's exception";
   } catch (const std::ios_base::failure&) {
      return "the stream's exception";
   }
}

using STREAM_SETUP = std::function<void(std::ios&)>;

void leave_as_it_is(std::ios&) {}

class LOGDB_DATABASE_STREAMS : public LOGDB_DATABASE_TEST {
protected:
   OUTCOME read_database(SLICED_SOURCE source, const STREAM_SETUP& setup) {
      std::istream in(&source);
      setup(in);
      LOGDB_DATABASE_IMPL impl;
      OUTCOME outcome;
      outcome.m_answer = answer_of([&] { return impl.read_database(&in); });
      outcome.m_state = in.rdstate();
      outcome.m_rest = source.rest();
      outcome.m_entries = entries_of(impl);
      outcome.m_messages = events();
      return outcome;
   }

   static OUTCOME read_plainly(SLICED_SOURCE source, const STREAM_SETUP& setup) {
      std::istream in(&source);
      setup(in);
      PLAIN_READER reader;
      OUTCOME outcome;
      outcome.m_answer = answer_of([&] { return reader.read_database(in); });
      outcome.m_state = in.rdstate();
      outcome.m_rest = source.rest();
      outcome.m_entries = reader.m_entries;
      outcome.m_messages = reader.m_messages;
      return outcome;
   }

   void expect_equal_reading(const SLICED_SOURCE& source, const STREAM_SETUP& setup, const std::string& what) {
      ASSERT_EQ(read_database(source, setup), read_plainly(source, setup)) << what;
   }

   void expect_equal_readings(const std::string& bytes, const STREAM_SETUP& setup = leave_as_it_is) {
      for (const std::size_t slice : {0u, 1u, 2u, 3u, 7u, 64u, 4096u, 1000000u}) {
         expect_equal_reading(SLICED_SOURCE(bytes, slice), setup, "slices of " + std::to_string(slice));
      }
   }

   /// The same with a failure in front of each of these bytes.
   void expect_equal_failures(const std::string& bytes, const std::vector<std::size_t>& positions,
                              const STREAM_SETUP& setup = leave_as_it_is) {
      for (const FAILURE failure : {FAILURE::ends, FAILURE::ends_once, FAILURE::throws}) {
         for (const std::size_t slice : {0u, 1u, 5u, 4096u}) {
            for (const std::size_t position : positions) {
               expect_equal_reading(SLICED_SOURCE(bytes, slice, position, failure), setup,
                                    "slices of " + std::to_string(slice) + ", failure " +
                                        std::to_string(static_cast<int>(failure)) + " at " +
                                        std::to_string(position));
               if (HasFatalFailure()) {
                  return;
               }
            }
         }
      }
   }

   static std::vector<std::size_t> all_positions(const std::string& bytes) {
      std::vector<std::size_t> positions;
      for (std::size_t position = 0; position <= bytes.size(); ++position) {
         positions.push_back(position);
      }
      return positions;
   }

   const std::vector<std::string> m_small_files = {
       "",
       "v1",
       "v1\n",
       "\n",
       "\n\n\n",
       "v1\nIO_RULES,a,\n",
       "v1\nIO_RULES,a,\nRAM_PACKING,b,,c,\nREGISTER_PACKING,\n",
       "v1\nIO_RULES,a,\n\n  ,b\r\nunknown,c,,,\ncut,",
       std::string("v1\nIO_RULES,a\0b,\n\0\nIO_RULES,c,\n", 31),
       "v1\n\xff\xfe,\xff,\n\xff",
       ",,,\n,,,\n,,,",
   };
};

// ---- Reading

TEST_F(LOGDB_DATABASE_STREAMS, small_files_read_alike_from_any_buffer) {
   for (const std::string& bytes : m_small_files) {
      SCOPED_TRACE(::testing::PrintToString(bytes));
      expect_equal_readings(bytes);
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, small_files_fail_alike_at_every_byte) {
   for (const std::string& bytes : m_small_files) {
      SCOPED_TRACE(::testing::PrintToString(bytes));
      expect_equal_failures(bytes, all_positions(bytes));
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, lines_near_the_limit_read_alike_from_any_buffer) {
   for (const std::size_t length : {32765u, 32766u, 32767u, 32768u, 32769u, 65535u, 65536u, 65537u}) {
      SCOPED_TRACE(length);
      const std::string field = std::string(length, 'x').replace(0, 9, "IO_RULES,");
      expect_equal_readings(field);
      expect_equal_readings(field + "\n");
      expect_equal_readings("v1\nIO_RULES,a,\n" + field);
      expect_equal_readings("v1\nIO_RULES,a,\n" + field + "\nIO_RULES,b,\n");
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, lines_near_the_limit_fail_alike) {
   for (const std::size_t length : {32766u, 32767u, 32768u}) {
      const std::string bytes = "v1\n" + std::string(length, 'x') + "\nIO_RULES,b,\n";
      std::vector<std::size_t> positions;
      for (std::size_t position = length + 1; position < length + 7; ++position) {
         positions.push_back(position); // about the line's end
      }
      expect_equal_failures(bytes, positions);
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, a_file_of_many_lines_reads_alike_from_any_buffer) {
   std::string bytes = "v1\n";
   for (int number = 0; number < 900; ++number) {
      bytes += "REGISTER_PACKING,PACKED,," + std::to_string(number) + ",top|u" + std::to_string(number * 7919) +
               "|q,\n";
   }
   ASSERT_GT(bytes.size(), line_buffer_size);
   expect_equal_readings(bytes);
   expect_equal_readings(bytes + "cut");
   expect_equal_failures(bytes, {1000, 4096, 32767, bytes.size() - 1, bytes.size()});
}

TEST_F(LOGDB_DATABASE_STREAMS, zero_bytes_anywhere_in_a_file_read_alike_from_any_buffer) {
   std::string bytes = "v1\n";
   for (int number = 0; number < 200; ++number) {
      bytes += "IO_RULES," + std::string(static_cast<std::size_t>(number * number % 90), 'x') + "," +
               std::to_string(number) + ",\n";
   }
   ASSERT_GT(bytes.size(), 2u * 4096u);
   std::string many = bytes;
   for (std::size_t position = 5; position < bytes.size(); position += 1 + position * 31 % 700) {
      many[position] = '\0';
      std::string one = bytes;
      one[position] = '\0';
      expect_equal_readings(one);
   }
   expect_equal_readings(many);
   for (std::size_t block = 4096; block < bytes.size(); block += 4096) {
      for (std::size_t position = block - 2; position < block + 6; ++position) {
         std::string one = bytes;
         one[position] = '\0';
         expect_equal_readings(one);
      }
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, a_line_ends_where_the_locale_of_the_stream_says) {
   for (const char newline : {'$', '\0', ',', '\r', '\xff'}) {
      SCOPED_TRACE(static_cast<int>(newline));
      const auto imbue = [newline](std::ios& stream) { stream.imbue(with_newline(newline)); };
      std::string bytes = "v1$IO_RULES,a\n,b,$RAM_PACKING,c,$";
      std::replace(bytes.begin(), bytes.end(), '$', newline);
      expect_equal_readings(bytes, imbue);
      expect_equal_readings("v1\nIO_RULES,a,\n", imbue);
      expect_equal_failures(bytes, all_positions(bytes), imbue);
   }
   const auto imbue = [](std::ios& stream) { stream.imbue(with_newline('$')); };
   const OUTCOME outcome = read_database(SLICED_SOURCE("v1$IO_RULES,a\n,b,$"), imbue);
   EXPECT_EQ(outcome.m_entries, (ENTRIES{{IO_RULES, {"a\n", "b"}}}));
}

TEST_F(LOGDB_DATABASE_STREAMS, a_stream_that_is_not_good_at_the_start_reads_alike) {
   for (const std::ios::iostate state :
        {std::ios::failbit, std::ios::badbit, std::ios::eofbit, std::ios::eofbit | std::ios::badbit,
         std::ios::eofbit | std::ios::failbit}) {
      const auto set_state = [state](std::ios& stream) { stream.setstate(state); };
      for (const std::string& bytes : m_small_files) {
         expect_equal_readings(bytes, set_state);
      }
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, a_stream_that_skips_blanks_or_does_not_reads_alike) {
   for (const bool skip : {false, true}) {
      const auto set_flag = [skip](std::ios& stream) {
         stream.setf(skip ? std::ios::skipws : std::ios::fmtflags(), std::ios::skipws);
      };
      expect_equal_readings("  v1\n \t\n\n   IO_RULES,a,\n IO_RULES,b,\n", set_flag);
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, a_stream_that_throws_by_its_own_settings_throws_alike) {
   for (const std::ios::iostate mask : {std::ios::badbit, std::ios::failbit, std::ios::eofbit,
                                        std::ios::badbit | std::ios::failbit | std::ios::eofbit}) {
      const auto set_mask = [mask](std::ios& stream) { stream.exceptions(mask); };
      for (const std::string& bytes : m_small_files) {
         SCOPED_TRACE(::testing::PrintToString(bytes) + " mask " + std::to_string(static_cast<int>(mask)));
         expect_equal_readings(bytes, set_mask);
         expect_equal_failures(bytes, all_positions(bytes), set_mask);
         if (HasFatalFailure()) {
            return;
         }
      }
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, a_stream_without_a_buffer_reads_as_a_failed_one) {
   std::istream in(nullptr);
   LOGDB_DATABASE_IMPL impl;
   EXPECT_FALSE(impl.read_database(&in));
   EXPECT_EQ(events(), (EVENTS{"Failed reading log db version info", "Read 0 entries from log db"}));
   EXPECT_EQ(in.rdstate(), std::ios::badbit | std::ios::failbit);
}

TEST_F(LOGDB_DATABASE_STREAMS, an_error_in_the_middle_keeps_the_entries_in_front_and_is_told_from_the_end) {
   const std::string bytes = "v1\nIO_RULES,a,\nIO_RULES,b,\n";
   const OUTCOME in_a_line = read_database(SLICED_SOURCE(bytes, 0, 20, FAILURE::throws), leave_as_it_is);
   EXPECT_EQ(in_a_line.m_answer, "false");
   EXPECT_EQ(in_a_line.m_entries, (ENTRIES{{IO_RULES, {"a"}}}));
   EXPECT_EQ(in_a_line.m_messages, (EVENTS{"Reading log db version v1", "Failed reading log db entry line",
                                           "Read 1 entries from log db"}));
   const OUTCOME between_lines = read_database(SLICED_SOURCE(bytes, 0, 15, FAILURE::throws), leave_as_it_is);
   EXPECT_EQ(between_lines.m_answer, "false");
   EXPECT_EQ(between_lines.m_entries, (ENTRIES{{IO_RULES, {"a"}}}));
   EXPECT_EQ(between_lines.m_messages,
             (EVENTS{"Reading log db version v1", "Failed reading log db file", "Read 1 entries from log db"}));
   const OUTCOME in_the_version = read_database(SLICED_SOURCE(bytes, 0, 1, FAILURE::throws), leave_as_it_is);
   EXPECT_EQ(in_the_version.m_answer, "false");
   EXPECT_EQ(in_the_version.m_messages,
             (EVENTS{"Failed reading log db version info", "Read 0 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_STREAMS, lines_leave_the_stream_where_getline_leaves_it) {
   std::vector<std::string> files = m_small_files;
   for (const std::size_t length : {32766u, 32767u, 32768u, 70000u}) {
      files.push_back("a\n" + std::string(length, 'x') + "\nb\n");
      files.push_back("a\n" + std::string(length, 'x'));
   }
   LOGDB_DATABASE_IMPL impl;
   for (const std::string& bytes : files) {
      for (const std::size_t slice : {0u, 1u, 5u, 4096u, 1000000u}) {
         SLICED_SOURCE source(bytes, slice);
         SLICED_SOURCE plain_source(bytes, slice);
         std::istream in(&source);
         std::istream plain_in(&plain_source);
         PLAIN_READER reader;
         for (int number = 0; number < 12; ++number) {
            MEM_STRING line = "before";
            std::string plain_line;
            ASSERT_EQ(impl.read_line(&in, &line), reader.read_line(plain_in, &plain_line));
            ASSERT_EQ(std::string(line), plain_line);
            ASSERT_EQ(in.rdstate(), plain_in.rdstate());
            if (number % 3 == 2) { // and go on behind what failed
               in.clear();
               plain_in.clear();
            }
         }
         ASSERT_EQ(source.rest(), plain_source.rest());
      }
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, entries_leave_the_stream_where_getline_leaves_it) {
   LOGDB_DATABASE_IMPL impl;
   for (const std::string& bytes : m_small_files) {
      for (const std::size_t slice : {0u, 1u, 5u, 4096u}) {
         SLICED_SOURCE source(bytes, slice);
         SLICED_SOURCE plain_source(bytes, slice);
         std::istream in(&source);
         std::istream plain_in(&plain_source);
         PLAIN_READER reader;
         LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"before"});
         PLAIN_ENTRY plain_entry = plain(entry);
         for (int number = 0; number < 6; ++number) {
            ASSERT_EQ(impl.read_entry(&in, &entry), reader.read_entry(plain_in, &plain_entry));
            ASSERT_EQ(plain(entry), plain_entry);
            ASSERT_EQ(in.rdstate(), plain_in.rdstate());
         }
         ASSERT_EQ(source.rest(), plain_source.rest());
         ASSERT_EQ(events(), reader.m_messages);
      }
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, files_and_strings_can_be_read_line_by_line_by_turns_with_others) {
   const std::string bytes = "v1\nIO_RULES,a,\nin between\nRAM_PACKING,b,\n\nlast\nREGISTER_PACKING,c,\n";
   write_file(path("file"), bytes);
   std::ifstream file(path("file"));
   std::istringstream text(bytes);
   for (std::istream* in : {static_cast<std::istream*>(&file), static_cast<std::istream*>(&text)}) {
      LOGDB_DATABASE_IMPL impl;
      MEM_STRING line;
      std::string other;
      LOGDB_DATABASE_ENTRY entry;
      EXPECT_TRUE(impl.read_line(in, &line));
      EXPECT_EQ(line, "v1");
      EXPECT_EQ(in->tellg(), std::streampos(3));
      EXPECT_TRUE(impl.read_entry(in, &entry));
      EXPECT_EQ(plain(entry), (PLAIN_ENTRY{IO_RULES, {"a"}}));
      EXPECT_EQ(in->tellg(), std::streampos(15));
      std::getline(*in, other);
      EXPECT_EQ(other, "in between");
      EXPECT_TRUE(impl.read_entry(in, &entry));
      EXPECT_EQ(plain(entry), (PLAIN_ENTRY{RAM_PACKING, {"b"}}));
      *in >> other;
      EXPECT_EQ(other, "last");
      EXPECT_TRUE(impl.read_database(in)) << "the rest of that line is the version";
      EXPECT_EQ(entries_of(impl), (ENTRIES{{REGISTER_PACKING, {"c"}}}));
      in->clear();
      in->seekg(15);
      EXPECT_TRUE(impl.read_line(in, &line));
      EXPECT_EQ(line, "in between");
   }
   EXPECT_EQ(events(), (EVENTS{"Reading log db version ", "Read 1 entries from log db", "Reading log db version ",
                               "Read 1 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_STREAMS, a_stream_can_be_written_while_it_is_read) {
   LOGDB_DATABASE_IMPL impl;
   std::stringstream stream;
   MEM_STRING line;
   stream << "first\nhalf";
   EXPECT_TRUE(impl.read_line(&stream, &line));
   EXPECT_EQ(line, "first");
   stream << " a line\nIO_RULES,a,\n";
   EXPECT_TRUE(impl.read_line(&stream, &line));
   EXPECT_EQ(line, "half a line");
   LOGDB_DATABASE_ENTRY entry;
   EXPECT_TRUE(impl.read_entry(&stream, &entry));
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{IO_RULES, {"a"}}));
   EXPECT_FALSE(impl.read_line(&stream, &line));
   stream.clear();
   stream << "last\n";
   EXPECT_TRUE(impl.read_line(&stream, &line));
   EXPECT_EQ(line, "last");
}

TEST_F(LOGDB_DATABASE_STREAMS, bytes_that_were_read_can_be_put_back) {
   LOGDB_DATABASE_IMPL impl;
   std::istringstream in("first\nsecond\n");
   MEM_STRING line;
   EXPECT_TRUE(impl.read_line(&in, &line));
   in.unget();
   EXPECT_EQ(in.peek(), '\n');
   EXPECT_TRUE(impl.read_line(&in, &line));
   EXPECT_EQ(line, "");
   EXPECT_TRUE(impl.read_line(&in, &line));
   EXPECT_EQ(line, "second");
}

TEST_F(LOGDB_DATABASE_STREAMS, a_stream_that_is_tied_to_another_flushes_it_before_it_is_read) {
   for (const std::size_t slice : {0u, 1u, 4096u}) {
      SLICED_SINK sink(100);
      std::ostream out(&sink);
      out << "a question";
      SLICED_SOURCE source("v1\nIO_RULES,a,\n", slice);
      std::vector<int> flushes_at_access;
      source.m_at_access = [&] { flushes_at_access.push_back(sink.m_flushes); };
      std::istream in(&source);
      in.tie(&out);
      LOGDB_DATABASE_IMPL impl;
      EXPECT_TRUE(impl.read_database(&in));
      ASSERT_FALSE(flushes_at_access.empty());
      EXPECT_GE(flushes_at_access.front(), 1);
      EXPECT_EQ(entries_of(impl), (ENTRIES{{IO_RULES, {"a"}}}));
      EXPECT_EQ(in.tie(), &out);
   }
}

TEST_F(LOGDB_DATABASE_STREAMS, every_line_flushes_what_the_stream_is_tied_to) {
   SLICED_SINK sink(100);
   std::ostream out(&sink);
   std::istringstream in("v1\nIO_RULES,a,\nIO_RULES,b,\n"); // all of it is there to be read from the start
   in.tie(&out);
   LOGDB_DATABASE_IMPL impl;
   MEM_STRING line;
   LOGDB_DATABASE_ENTRY entry;
   EXPECT_TRUE(impl.read_line(&in, &line));
   EXPECT_EQ(sink.m_flushes, 1);
   EXPECT_TRUE(impl.read_entry(&in, &entry));
   EXPECT_EQ(sink.m_flushes, 2);
   in.tie(nullptr);
   EXPECT_TRUE(impl.read_entry(&in, &entry));
   EXPECT_EQ(sink.m_flushes, 2);
}

TEST_F(LOGDB_DATABASE_STREAMS, an_exception_of_a_stream_leaves_a_list_that_works) {
   SLICED_SOURCE source("v1\nIO_RULES,a,\nIO_RULES,b,\n", 0, 20, FAILURE::throws);
   std::istream in(&source);
   in.exceptions(std::ios::badbit);
   LOGDB_DATABASE_IMPL impl;
   EXPECT_THROW(impl.read_database(&in), BUFFER_ERROR);
   EXPECT_EQ(entries_of(impl), (ENTRIES{{IO_RULES, {"a"}}}));
   std::istringstream again("v1\nRAM_PACKING,c,\n");
   EXPECT_TRUE(impl.read_database(&again));
   EXPECT_EQ(entries_of(impl), (ENTRIES{{RAM_PACKING, {"c"}}}));
}

// ---- Writing

class LOGDB_DATABASE_OUTPUT_STREAMS : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override {
      m_impl = std::make_unique<LOGDB_DATABASE_IMPL>();
      for (const PLAIN_ENTRY& entry : m_entries) {
         const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
         ASSERT_NE(m_impl->add_entry(&copy), nullptr);
      }
   }

   void TearDown() override {
      m_impl.reset();
      LOGDB_DATABASE_TEST::TearDown();
   }

   /// The plain writer.
   void write_plainly(std::ostream& out) const {
      out << "v1" << '\n';
      for (const PLAIN_ENTRY& entry : m_entries) {
         out << logdb_get_debug_string(static_cast<LOGDB_ENTRY_TYPE_ENUM>(entry.m_kind)) << ',';
         for (const std::string& field : entry.m_fields) {
            out << field << ',';
         }
         out << '\n';
      }
   }

   static OUTCOME outcome_of_writing(SLICED_SINK sink, const STREAM_SETUP& setup,
                                     const std::function<void(std::ostream&)>& write) {
      std::ostream out(&sink);
      setup(out);
      OUTCOME outcome;
      outcome.m_answer = answer_of([&] {
         write(out);
         return true;
      });
      outcome.m_state = out.rdstate();
      outcome.m_rest = sink.bytes();
      return outcome;
   }

   void expect_equal_writing(std::size_t slice, std::size_t fail_at, FAILURE failure,
                             const STREAM_SETUP& setup = leave_as_it_is) {
      const OUTCOME plainly = outcome_of_writing(SLICED_SINK(slice, fail_at, failure), setup,
                                                 [this](std::ostream& out) { write_plainly(out); });
      ASSERT_EQ(outcome_of_writing(SLICED_SINK(slice, fail_at, failure), setup,
                                   [this](std::ostream& out) { m_impl->write_database(&out); }),
                plainly)
          << slice << ' ' << fail_at << ' ' << static_cast<int>(failure);
      ASSERT_EQ(outcome_of_writing(
                    SLICED_SINK(slice, fail_at, failure), setup,
                    [this](std::ostream& out) { m_impl->write_database_without_partition_hpath(&out, "top"); }),
                plainly)
          << "without node names both writers are one: " << slice << ' ' << fail_at;
      events();
   }

   const ENTRIES m_entries = {
       {IO_RULES, {"a", "", "bcd"}},
       {REGISTER_PACKING, {}},
       {FSYN_LOG_FILE, {std::string("zero\0byte", 9), "line\nfeed"}},
       {IO_RULES_MATRIX, {std::string(200, 'x')}},
   };
   std::unique_ptr<LOGDB_DATABASE_IMPL> m_impl;
};

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, any_buffer_takes_the_same_bytes) {
   for (const std::size_t slice : {0u, 1u, 2u, 3u, 16u, 4096u}) {
      expect_equal_writing(slice, never, FAILURE::ends);
   }
}

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, a_buffer_that_fails_at_any_byte_has_taken_the_same_bytes) {
   std::ostringstream whole;
   write_plainly(whole);
   for (const FAILURE failure : {FAILURE::ends, FAILURE::ends_once, FAILURE::throws}) {
      for (const std::size_t slice : {0u, 1u, 3u, 16u}) {
         for (std::size_t position = 0; position <= whole.str().size(); ++position) {
            expect_equal_writing(slice, position, failure);
            if (HasFatalFailure()) {
               return;
            }
         }
      }
   }
}

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, a_stream_that_throws_by_its_own_settings_throws_alike) {
   std::ostringstream whole;
   write_plainly(whole);
   const auto throw_when_bad = [](std::ios& stream) { stream.exceptions(std::ios::badbit | std::ios::failbit); };
   for (const FAILURE failure : {FAILURE::ends, FAILURE::throws}) {
      for (std::size_t position = 0; position <= whole.str().size(); position += 5) {
         expect_equal_writing(0, position, failure, throw_when_bad);
         expect_equal_writing(16, position, failure, throw_when_bad);
         if (HasFatalFailure()) {
            return;
         }
      }
   }
}

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, the_bytes_do_not_depend_on_the_stream_formatting) {
   std::ostringstream plain;
   write_plainly(plain);
   std::ostringstream out;
   out.width(20);
   out.fill('*');
   out.setf(std::ios::left | std::ios::showbase | std::ios::uppercase);
   m_impl->write_database(&out);
   EXPECT_EQ(out.str(), plain.str());
}

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, a_stream_that_flushes_by_itself_has_flushed_everything) {
   std::ostringstream plain;
   write_plainly(plain);
   SLICED_SINK sink(100000);
   std::ostream out(&sink);
   out.setf(std::ios::unitbuf);
   m_impl->write_database(&out);
   EXPECT_GE(sink.m_flushes, 1);
   EXPECT_EQ(sink.bytes(), plain.str());
   const int flushes = sink.m_flushes;
   out.unsetf(std::ios::unitbuf);
   m_impl->write_database(&out);
   EXPECT_EQ(sink.m_flushes, flushes);
}

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, a_stream_without_a_buffer_takes_nothing) {
   std::ostream out(nullptr);
   m_impl->write_database(&out);
   EXPECT_TRUE(out.bad());
   EXPECT_EQ(events(), EVENTS{"Wrote log database with 4 entries"});
}

TEST_F(LOGDB_DATABASE_OUTPUT_STREAMS, a_stream_can_be_written_by_turns_with_others) {
   std::stringstream stream;
   const MEM_STRING field = "field";
   stream << "first ";
   m_impl->write_string(&stream, field);
   stream << " second ";
   m_impl->write_enum(&stream, RAM_PACKING);
   stream << 3;
   EXPECT_EQ(stream.tellp(), std::streampos(33));
   EXPECT_EQ(stream.str(), "first field, second RAM_PACKING,3");
}

} // namespace
