#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <istream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "logdb_database.h"
#include "logdb_database_fixture.h"

namespace {

static_assert(std::is_standard_layout_v<LOGDB_DATABASE_IMPL> && !std::is_polymorphic_v<LOGDB_DATABASE_IMPL>);
static_assert(offsetof(LOGDB_DATABASE_IMPL, m_entry_vector) == 0);
static_assert(std::is_same_v<decltype(LOGDB_DATABASE_IMPL::m_entry_vector), MEM_VECTOR<LOGDB_DATABASE_ENTRY*>>);
static_assert(offsetof(LOGDB_DATABASE_IMPL, m_tokenizer) == sizeof(MEM_VECTOR<LOGDB_DATABASE_ENTRY*>));
static_assert(std::is_same_v<decltype(LOGDB_DATABASE_IMPL::m_tokenizer), XTL_TOKENIZER>);
static_assert(offsetof(LOGDB_DATABASE_IMPL, m_hpath_buffer) ==
              offsetof(LOGDB_DATABASE_IMPL, m_tokenizer) + sizeof(XTL_TOKENIZER));
static_assert(std::is_same_v<decltype(LOGDB_DATABASE_IMPL::m_hpath_buffer), MEM_STRING>);
static_assert(sizeof(LOGDB_DATABASE_IMPL) == offsetof(LOGDB_DATABASE_IMPL, m_hpath_buffer) + sizeof(MEM_STRING));

static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::read_line),
                             bool (LOGDB_DATABASE_IMPL::*)(std::istream*, MEM_STRING*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::read_entry),
                             bool (LOGDB_DATABASE_IMPL::*)(std::istream*, LOGDB_DATABASE_ENTRY*)>);
static_assert(
    std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::read_database), bool (LOGDB_DATABASE_IMPL::*)(std::istream*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::prepend_partition_hpath),
                             void (LOGDB_DATABASE_IMPL::*)(const char*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::prepend_partition_hpath_to_entry),
                             void (LOGDB_DATABASE_IMPL::*)(const MEM_STRING&, LOGDB_DATABASE_ENTRY*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::delete_database), void (LOGDB_DATABASE_IMPL::*)()>);

constexpr std::size_t longest_line = 32767;

class LOGDB_DATABASE_READER : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override { m_impl = std::make_unique<LOGDB_DATABASE_IMPL>(); }

   void TearDown() override {
      m_impl.reset();
      LOGDB_DATABASE_TEST::TearDown();
   }

   /// What read_line answers and stores.
   struct LINE {
      bool m_read = false;
      std::string m_text;

      friend bool operator==(const LINE&, const LINE&) = default;
      friend std::ostream& operator<<(std::ostream& out, const LINE& line) {
         return out << line.m_read << ' ' << ::testing::PrintToString(line.m_text.substr(0, 100)) << ' '
                    << line.m_text.size();
      }
   };

   LINE next_line(std::istream& in) {
      MEM_STRING line = "what the string held before";
      const bool read = m_impl->read_line(&in, &line);
      return {read, std::string(line)};
   }

   /// What is still in a stream, whatever its state.
   static std::string rest_of(std::istream& in) {
      in.clear();
      return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
   }

   bool read(const std::string& bytes) {
      std::istringstream in(bytes);
      return m_impl->read_database(&in);
   }

   ENTRIES entries() const { return entries_of(*m_impl); }

   /// The entry that a line reads as, or kind -100 when the line cannot be read.
   PLAIN_ENTRY entry_from(const std::string& line) {
      std::istringstream in(line + "\n");
      LOGDB_DATABASE_ENTRY entry;
      return m_impl->read_entry(&in, &entry) ? plain(entry) : PLAIN_ENTRY{-100, {}};
   }

   std::unique_ptr<LOGDB_DATABASE_IMPL> m_impl;
};

// ---- read_line

TEST_F(LOGDB_DATABASE_READER, lines_are_read_one_by_one_without_their_line_feeds) {
   std::istringstream in("first\n\nthird, with a comma\n");
   EXPECT_EQ(next_line(in), (LINE{true, "first"}));
   EXPECT_TRUE(in.good());
   EXPECT_EQ(next_line(in), (LINE{true, ""}));
   EXPECT_EQ(next_line(in), (LINE{true, "third, with a comma"}));
   EXPECT_TRUE(in.good());
   EXPECT_EQ(next_line(in), (LINE{false, ""}));
   EXPECT_EQ(in.rdstate(), std::ios::eofbit | std::ios::failbit) << "no byte was consumed";
}

TEST_F(LOGDB_DATABASE_READER, a_line_is_all_that_is_consumed) {
   std::istringstream in("one\ntwo\nthree");
   EXPECT_EQ(next_line(in), (LINE{true, "one"}));
   EXPECT_EQ(in.tellg(), std::streampos(4));
   EXPECT_EQ(rest_of(in), "two\nthree");
}

TEST_F(LOGDB_DATABASE_READER, a_last_line_without_a_line_feed_is_no_line_but_its_text_is_kept) {
   std::istringstream in("whole\ncut");
   EXPECT_EQ(next_line(in), (LINE{true, "whole"}));
   EXPECT_EQ(next_line(in), (LINE{false, "cut"}));
   EXPECT_EQ(in.rdstate(), std::ios::eofbit);
   EXPECT_EQ(next_line(in), (LINE{false, ""}));
   EXPECT_EQ(in.rdstate(), std::ios::eofbit | std::ios::failbit);
}

TEST_F(LOGDB_DATABASE_READER, carriage_returns_blanks_and_high_bytes_stay_in_the_text) {
   std::istringstream in("windows\r\n  blanks \t\n\xff\x80\x01\n");
   EXPECT_EQ(next_line(in), (LINE{true, "windows\r"}));
   EXPECT_EQ(next_line(in), (LINE{true, "  blanks \t"}));
   EXPECT_EQ(next_line(in), (LINE{true, "\xff\x80\x01"}));
}

TEST_F(LOGDB_DATABASE_READER, the_text_of_a_line_ends_at_its_first_zero_byte) {
   std::istringstream in(std::string("a\0b\n\0\nc\n", 8));
   EXPECT_EQ(next_line(in), (LINE{true, "a"}));
   EXPECT_EQ(next_line(in), (LINE{true, ""}));
   EXPECT_EQ(next_line(in), (LINE{true, "c"}));
   EXPECT_TRUE(in.good());
}

TEST_F(LOGDB_DATABASE_READER, the_longest_line_has_32767_bytes) {
   for (const std::size_t length : {longest_line - 2, longest_line - 1, longest_line}) {
      std::istringstream in(std::string(length, 'x') + "\nnext\n");
      EXPECT_EQ(next_line(in), (LINE{true, std::string(length, 'x')}));
      EXPECT_TRUE(in.good());
      EXPECT_EQ(next_line(in), (LINE{true, "next"}));
   }
}

TEST_F(LOGDB_DATABASE_READER, a_longer_line_stops_in_front_of_its_32768th_byte) {
   for (const std::size_t length : {longest_line + 1, longest_line + 2, std::size_t{100000}}) {
      std::istringstream in(std::string(longest_line, 'x') + std::string(length - longest_line, 'y') + "\nnext\n");
      EXPECT_EQ(next_line(in), (LINE{false, std::string(longest_line, 'x')}));
      EXPECT_EQ(in.rdstate(), std::ios::failbit);
      EXPECT_EQ(rest_of(in), std::string(length - longest_line, 'y') + "\nnext\n");
   }
}

TEST_F(LOGDB_DATABASE_READER, a_line_of_32767_bytes_without_a_line_feed_ends_at_the_end_of_the_file) {
   std::istringstream in(std::string(longest_line, 'x'));
   EXPECT_EQ(next_line(in), (LINE{false, std::string(longest_line, 'x')}));
   EXPECT_EQ(in.rdstate(), std::ios::eofbit);
}

TEST_F(LOGDB_DATABASE_READER, zero_bytes_count_for_the_length_of_a_line) {
   std::istringstream in("ab" + std::string(longest_line - 2, '\0') + "\n" + "cd" +
                         std::string(longest_line - 1, '\0') + "\n");
   EXPECT_EQ(next_line(in), (LINE{true, "ab"}));
   EXPECT_EQ(next_line(in), (LINE{false, "cd"}));
   EXPECT_EQ(in.rdstate(), std::ios::failbit);
}

TEST_F(LOGDB_DATABASE_READER, a_stream_that_is_not_good_gives_no_line_and_an_empty_text) {
   for (const std::ios::iostate state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
      std::istringstream in("there\n");
      in.setstate(state);
      EXPECT_EQ(next_line(in), (LINE{false, ""}));
      EXPECT_EQ(in.rdstate(), state | std::ios::failbit);
      EXPECT_EQ(rest_of(in), "there\n");
   }
}

TEST_F(LOGDB_DATABASE_READER, nothing_of_an_earlier_line_is_left_in_a_later_one) {
   LOGDB_DATABASE_IMPL other;
   std::istringstream in(std::string(1000, 'x') + "\nshort\n");
   std::istringstream empty;
   EXPECT_EQ(next_line(in), (LINE{true, std::string(1000, 'x')}));
   MEM_STRING line = "before";
   EXPECT_FALSE(other.read_line(&empty, &line));
   EXPECT_EQ(line, "");
   EXPECT_EQ(next_line(in), (LINE{true, "short"}));
   EXPECT_FALSE(other.read_line(&empty, &line));
   EXPECT_EQ(line, "");
}

// ---- read_entry

TEST_F(LOGDB_DATABASE_READER, a_line_is_a_kind_and_fields) {
   EXPECT_EQ(entry_from("REGISTER_PACKING,a,b,c,"), (PLAIN_ENTRY{REGISTER_PACKING, {"a", "b", "c"}}));
   EXPECT_EQ(entry_from("RAM_PACKING,a,,"), (PLAIN_ENTRY{RAM_PACKING, {"a", ""}}));
   EXPECT_EQ(entry_from("RAM_PACKING,,,,"), (PLAIN_ENTRY{RAM_PACKING, {"", "", ""}}));
   EXPECT_EQ(entry_from("DSP_BALANCING_IMPLEMENTATION,"), (PLAIN_ENTRY{DSP_BALANCING_IMPLEMENTATION, {}}));
   EXPECT_EQ(events(), EVENTS{}) << "and no message";
}

TEST_F(LOGDB_DATABASE_READER, a_final_separator_that_is_missing_does_not_matter) {
   EXPECT_EQ(entry_from("IO_RULES,a,b"), (PLAIN_ENTRY{IO_RULES, {"a", "b"}}));
   EXPECT_EQ(entry_from("IO_RULES,,b"), (PLAIN_ENTRY{IO_RULES, {"", "b"}}));
   EXPECT_EQ(entry_from("IO_RULES"), (PLAIN_ENTRY{IO_RULES, {}}));
}

TEST_F(LOGDB_DATABASE_READER, any_number_of_fields_is_read) {
   std::string line = "FSYN_LOG_FILE,";
   std::vector<std::string> fields;
   for (int number = 0; number < 5000; ++number) {
      fields.push_back(std::to_string(number));
      line += fields.back() + ",";
   }
   EXPECT_EQ(entry_from(line), (PLAIN_ENTRY{FSYN_LOG_FILE, fields}));
   const std::string commas(longest_line, ',');
   EXPECT_EQ(entry_from(commas), (PLAIN_ENTRY{-1, std::vector<std::string>(longest_line - 1, "")}));
}

TEST_F(LOGDB_DATABASE_READER, fields_are_not_trimmed_unquoted_or_unescaped) {
   EXPECT_EQ(entry_from("IO_RULES, a ,\"b,c\",d\\,e,#f,'g',\r"),
             (PLAIN_ENTRY{IO_RULES, {" a ", "\"b", "c\"", "d\\", "e", "#f", "'g'", "\r"}}));
   EXPECT_EQ(entry_from(" IO_RULES,a,"), (PLAIN_ENTRY{-1, {"a"}})) << "nor is the kind";
   EXPECT_EQ(entry_from("IO_RULES ,a,"), (PLAIN_ENTRY{-1, {"a"}}));
   EXPECT_EQ(entry_from("IO_RULES,a;b\tc|d,"), (PLAIN_ENTRY{IO_RULES, {"a;b\tc|d"}}));
}

TEST_F(LOGDB_DATABASE_READER, a_kind_may_be_written_in_any_case_or_as_its_user_string) {
   for (const char* name : {"REGISTER_PACKING", "register_packing", "Register_Packing", "Register Packing log",
                            "REGISTER PACKING LOG", "register packing log"}) {
      EXPECT_EQ(entry_from(std::string(name) + ",a,"), (PLAIN_ENTRY{REGISTER_PACKING, {"a"}})) << name;
   }
   for (int kind = 0; kind < 8; ++kind) {
      const LOGDB_ENTRY_TYPE_ENUM type = static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind);
      EXPECT_EQ(entry_from(std::string(logdb_get_debug_string(type)) + ","), (PLAIN_ENTRY{kind, {}}));
      EXPECT_EQ(entry_from(std::string(logdb_get_user_string(type)) + ","), (PLAIN_ENTRY{kind, {}}));
   }
}

TEST_F(LOGDB_DATABASE_READER, an_unknown_kind_is_minus_1_and_silent) {
   EXPECT_EQ(entry_from("NO_SUCH_KIND,a,b,"), (PLAIN_ENTRY{-1, {"a", "b"}}));
   EXPECT_EQ(entry_from(",a,b,"), (PLAIN_ENTRY{-1, {"a", "b"}}));
   EXPECT_EQ(entry_from(","), (PLAIN_ENTRY{-1, {}}));
   EXPECT_EQ(entry_from(",,"), (PLAIN_ENTRY{-1, {""}}));
   EXPECT_EQ(entry_from("1,a,"), (PLAIN_ENTRY{-1, {"a"}}));
   EXPECT_EQ(entry_from("REGISTER_PACKING\r"), (PLAIN_ENTRY{-1, {}}));
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_READER, a_line_without_a_piece_leaves_the_kind_and_clears_the_fields) {
   std::istringstream in("\n\n");
   LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"a", "b"});
   EXPECT_TRUE(m_impl->read_entry(&in, &entry));
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{IO_RULES, {}}));
   entry = entry_of(77, {});
   EXPECT_TRUE(m_impl->read_entry(&in, &entry));
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{77, {}}));
   EXPECT_EQ(entry_from(""), (PLAIN_ENTRY{DSP_BALANCING_IMPLEMENTATION, {}}));
}

TEST_F(LOGDB_DATABASE_READER, what_an_entry_held_is_replaced) {
   std::istringstream in("RAM_PACKING,x,\n");
   LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"a", "b", "c"});
   EXPECT_TRUE(m_impl->read_entry(&in, &entry));
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{RAM_PACKING, {"x"}}));
}

TEST_F(LOGDB_DATABASE_READER, an_entry_is_one_line) {
   std::istringstream in("IO_RULES,a,\nRAM_PACKING,b,\nrest");
   LOGDB_DATABASE_ENTRY entry;
   EXPECT_TRUE(m_impl->read_entry(&in, &entry));
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{IO_RULES, {"a"}}));
   EXPECT_TRUE(in.good());
   EXPECT_EQ(rest_of(in), "RAM_PACKING,b,\nrest");
}

TEST_F(LOGDB_DATABASE_READER, an_entry_that_cannot_be_read_has_kind_minus_1_and_no_fields) {
   for (const std::string& bytes :
        {std::string(), std::string("IO_RULES,cut,"), "IO_RULES," + std::string(longest_line, 'x') + ",\n"}) {
      std::istringstream in(bytes);
      LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {"a", "b"});
      EXPECT_FALSE(m_impl->read_entry(&in, &entry));
      EXPECT_EQ(plain(entry), (PLAIN_ENTRY{-1, {}}));
      EXPECT_EQ(events(), EVENTS{"Failed reading log db entry line"});
   }
}

// ---- read_database

TEST_F(LOGDB_DATABASE_READER, a_file_is_a_version_and_entries) {
   EXPECT_TRUE(read("v1\nIO_RULES,a,\nRAM_PACKING,b,c,\n"));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Read 2 entries from log db"}));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}, {RAM_PACKING, {"b", "c"}}}));
}

TEST_F(LOGDB_DATABASE_READER, a_file_may_hold_the_version_alone) {
   EXPECT_TRUE(read("v1\n"));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Read 0 entries from log db"}));
   EXPECT_EQ(entries(), ENTRIES{});
}

TEST_F(LOGDB_DATABASE_READER, an_empty_file_is_an_empty_database) {
   EXPECT_TRUE(read(""));
   EXPECT_EQ(events(), EVENTS{"Read 0 entries from log db"});
   EXPECT_EQ(entries(), ENTRIES{});
}

TEST_F(LOGDB_DATABASE_READER, a_version_without_a_line_feed_is_an_empty_database_without_a_version_message) {
   for (const char* bytes : {"v1", "v", "anything at all", "REGISTER_PACKING,a,"}) {
      EXPECT_TRUE(read(bytes));
      EXPECT_EQ(events(), EVENTS{"Read 0 entries from log db"}) << bytes;
      EXPECT_EQ(entries(), ENTRIES{});
   }
}

TEST_F(LOGDB_DATABASE_READER, any_first_line_is_the_version) {
   for (const char* version : {"", "v2", "REGISTER_PACKING,a,", "v1\r", "%s%n%d", " "}) {
      EXPECT_TRUE(read(std::string(version) + "\nIO_RULES,a,\n"));
      EXPECT_EQ(events(),
                (EVENTS{std::string("Reading log db version ") + version, "Read 1 entries from log db"}));
      EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}}));
   }
   EXPECT_TRUE(read(std::string("v\0x", 3) + "\n"));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v", "Read 0 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_READER, the_longest_version_line_has_32767_bytes) {
   EXPECT_TRUE(read(std::string(longest_line, 'v') + "\nIO_RULES,a,\n"));
   EXPECT_EQ(events(),
             (EVENTS{"Reading log db version " + std::string(longest_line, 'v'), "Read 1 entries from log db"}));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}}));

   EXPECT_FALSE(read(std::string(longest_line + 1, 'v') + "\nIO_RULES,a,\n"));
   EXPECT_EQ(events(), (EVENTS{"Failed reading log db version info", "Read 0 entries from log db"}));
   EXPECT_EQ(entries(), ENTRIES{});
}

TEST_F(LOGDB_DATABASE_READER, an_entry_line_may_have_32767_bytes_and_no_more) {
   const std::string kind = "IO_RULES,";
   for (const std::size_t length : {longest_line - 1, longest_line}) {
      const std::string field(length - kind.size() - 1, 'f');
      EXPECT_TRUE(read("v1\n" + kind + field + ",\nRAM_PACKING,\n"));
      EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {field}}, {RAM_PACKING, {}}}));
      EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Read 2 entries from log db"}));
   }
   const std::string field(longest_line + 1 - kind.size() - 1, 'f');
   EXPECT_FALSE(read("v1\nRAM_PACKING,a,\n" + kind + field + ",\nRAM_PACKING,b,\n"));
   EXPECT_EQ(entries(), (ENTRIES{{RAM_PACKING, {"a"}}}));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Failed reading log db entry line",
                               "Read 1 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_READER, a_last_line_without_a_line_feed_fails_and_the_lines_in_front_are_kept) {
   EXPECT_FALSE(read("v1\nIO_RULES,a,\nIO_RULES,b,\nIO_RULES,c,"));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Failed reading log db entry line",
                               "Read 2 entries from log db"}));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}, {IO_RULES, {"b"}}}));

   EXPECT_FALSE(read("v1\nI"));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Failed reading log db entry line",
                               "Read 0 entries from log db"}));
   EXPECT_EQ(entries(), ENTRIES{});
}

TEST_F(LOGDB_DATABASE_READER, empty_lines_are_entries) {
   EXPECT_TRUE(read("v1\n\n\nIO_RULES,a,\n\n"));
   EXPECT_EQ(entries(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {}},
                                 {DSP_BALANCING_IMPLEMENTATION, {}},
                                 {IO_RULES, {"a"}},
                                 {DSP_BALANCING_IMPLEMENTATION, {}}}));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Read 4 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_READER, a_file_of_another_system_keeps_its_carriage_returns) {
   EXPECT_TRUE(read("v1\r\nIO_RULES,a,\r\nIO_RULES,\r\nIO_RULES\r\n"));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a", "\r"}}, {IO_RULES, {"\r"}}, {-1, {}}}));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1\r", "Read 3 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_READER, an_entry_line_ends_at_its_first_zero_byte) {
   EXPECT_TRUE(read(std::string("v1\nIO_RULES,a\0b,c,\nRAM_PACKING,d,\n", 34)));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}, {RAM_PACKING, {"d"}}}));
}

TEST_F(LOGDB_DATABASE_READER, an_unknown_kind_is_kept) {
   EXPECT_TRUE(read("v1\nNO_SUCH_KIND,a,b,\nIO_RULES,c,\n"));
   EXPECT_EQ(entries(), (ENTRIES{{-1, {"a", "b"}}, {IO_RULES, {"c"}}}));
   EXPECT_EQ(events(), (EVENTS{"Reading log db version v1", "Read 2 entries from log db"}));
}

TEST_F(LOGDB_DATABASE_READER, reading_replaces_what_the_list_held) {
   const LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {"old"});
   m_impl->add_entry(&entry);
   EXPECT_TRUE(read("v1\nIO_RULES,new,\n"));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"new"}}}));
   EXPECT_TRUE(read(""));
   EXPECT_EQ(entries(), ENTRIES{});

   m_impl->add_entry(&entry);
   EXPECT_FALSE(read(std::string(longest_line + 1, 'v')));
   EXPECT_EQ(entries(), ENTRIES{}) << "the old entries are gone whatever follows";
}

TEST_F(LOGDB_DATABASE_READER, the_list_can_be_changed_after_any_reading) {
   EXPECT_FALSE(read("v1\nIO_RULES,a,\ncut"));
   const LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {"added"});
   EXPECT_NE(m_impl->add_entry(&entry), nullptr);
   EXPECT_NE(m_impl->replace_entry(0, &entry), nullptr);
   EXPECT_EQ(entries(), ENTRIES(2, PLAIN_ENTRY{RAM_PACKING, {"added"}}));
   EXPECT_TRUE(read("v1\nIO_RULES,b,\n"));
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"b"}}}));
}

TEST_F(LOGDB_DATABASE_READER, the_end_of_a_file_is_read_into) {
   std::istringstream in("v1\nIO_RULES,a,\n");
   EXPECT_TRUE(m_impl->read_database(&in));
   EXPECT_EQ(in.rdstate(), std::ios::eofbit | std::ios::failbit) << "one byte is asked for at the end";

   std::istringstream cut("v1");
   EXPECT_TRUE(m_impl->read_database(&cut));
   EXPECT_EQ(cut.rdstate(), std::ios::eofbit);
}

TEST_F(LOGDB_DATABASE_READER, reading_stops_in_front_of_a_line_that_cannot_be_read) {
   std::istringstream in("v1\nIO_RULES,a,\n" + std::string(longest_line, 'x') + "rest\nIO_RULES,b,\n");
   EXPECT_FALSE(m_impl->read_database(&in));
   EXPECT_EQ(in.rdstate(), std::ios::failbit);
   EXPECT_EQ(rest_of(in), "rest\nIO_RULES,b,\n");
}

TEST_F(LOGDB_DATABASE_READER, a_stream_that_is_at_its_end_reads_as_empty_and_one_that_is_bad_does_not) {
   std::istringstream ended("v1\nIO_RULES,a,\n");
   ended.setstate(std::ios::eofbit);
   EXPECT_TRUE(m_impl->read_database(&ended));
   EXPECT_EQ(events(), EVENTS{"Read 0 entries from log db"});

   for (const std::ios::iostate state : {std::ios::failbit, std::ios::badbit}) {
      std::istringstream in("v1\nIO_RULES,a,\n");
      in.setstate(state);
      EXPECT_FALSE(m_impl->read_database(&in));
      EXPECT_EQ(events(), (EVENTS{"Failed reading log db version info", "Read 0 entries from log db"}));
      EXPECT_EQ(entries(), ENTRIES{});
   }
}

TEST_F(LOGDB_DATABASE_READER, reading_allocates_the_field_list_and_the_long_fields_of_an_entry_alone) {
   std::string bytes = "v1\n";
   const std::string long_field(60, 'f');
   constexpr std::size_t count = 2000;
   for (std::size_t number = 0; number < count; ++number) {
      bytes += "REGISTER_PACKING,short,a,b," + long_field + "," + long_field + ",\n";
   }
   std::istringstream in(bytes);
   const std::size_t before = host_memory_statistics("LOGDB").m_total_blocks;
   EXPECT_TRUE(m_impl->read_database(&in));
   const std::size_t allocated = host_memory_statistics("LOGDB").m_total_blocks - before;
   EXPECT_GE(allocated, count * 3);
   EXPECT_LE(allocated, count * 3 + 100) << "the list's growth and the buffers, none of them a line";
}

// ---- The list

TEST_F(LOGDB_DATABASE_READER, a_new_implementation_is_empty) {
   EXPECT_TRUE(m_impl->m_entry_vector.empty());
   EXPECT_EQ(m_impl->m_entry_vector.capacity(), 0u);
   EXPECT_EQ(m_impl->m_hpath_buffer, "");
   EXPECT_EQ(m_impl->get_number_of_entries(), 0);
   MEM_VECTOR<MEM_STRING> tokens;
   m_impl->m_tokenizer.tokenize("a,,\"b c\",\\,", tokens);
   EXPECT_EQ(tokens, (MEM_VECTOR<MEM_STRING>{"a", "", "\"b c\"", "\\"})) << "it splits at commas and nothing else";
}

TEST_F(LOGDB_DATABASE_READER, delete_database_destroys_every_entry_and_releases_the_list) {
   const std::size_t blocks = host_memory_statistics("LOGDB").m_live_blocks;
   EXPECT_TRUE(read("v1\nIO_RULES,a field that is too long for a short string,\nIO_RULES,b,\n"));
   m_impl->m_entry_vector.push_back(nullptr); // a hole does not stop it
   m_impl->m_entry_vector.insert(m_impl->m_entry_vector.begin(), nullptr);
   m_impl->delete_database();
   EXPECT_TRUE(m_impl->m_entry_vector.empty());
   EXPECT_EQ(m_impl->m_entry_vector.capacity(), 0u);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, blocks);
   m_impl->delete_database();
   EXPECT_EQ(m_impl->get_number_of_entries(), 0);
   m_host.take_events();
}

TEST_F(LOGDB_DATABASE_READER, the_implementation_keeps_entries_as_the_facade_does) {
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"a"});
   LOGDB_DATABASE_ENTRY* stored = m_impl->add_entry(&entry);
   ASSERT_NE(stored, nullptr);
   EXPECT_EQ(m_impl->m_entry_vector, MEM_VECTOR<LOGDB_DATABASE_ENTRY*>{stored});
   EXPECT_EQ(m_impl->get_entry(0), stored);
   LOGDB_DATABASE_ENTRY* replaced = m_impl->replace_entry(0, &entry);
   EXPECT_EQ(m_impl->m_entry_vector, MEM_VECTOR<LOGDB_DATABASE_ENTRY*>{replaced});
   EXPECT_EQ(m_impl->add_entry(nullptr), nullptr);
   EXPECT_EQ(m_impl->replace_entry(1, &entry), nullptr);
   EXPECT_EQ(m_impl->get_entry(-1), nullptr);
   EXPECT_EQ(
       m_host.take_report_texts("logdb_database"),
       (std::vector<std::string>{"new_entry != 0", "index >= 0 && index < static_cast<int>(m_entry_vector.size())",
                                 "index >= 0 && index < static_cast<int>(m_entry_vector.size())"}));
   EXPECT_EQ(m_impl->m_entry_vector, MEM_VECTOR<LOGDB_DATABASE_ENTRY*>{replaced});
}

// ---- Partition roots in front of node names

TEST_F(LOGDB_DATABASE_READER, a_root_is_put_in_front_of_the_node_names_of_an_entry) {
   LOGDB_DATABASE_ENTRY entry = entry_of(REGISTER_PACKING, {"a", "b", "c", "d", "e|f", "g"});
   m_impl->prepend_partition_hpath_to_entry("top|u1", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{REGISTER_PACKING, {"a", "b", "c", "top|u1|d", "top|u1|e|f", "g"}}));
   EXPECT_EQ(m_impl->m_hpath_buffer, "top|u1|e|f") << "where the last name was built";
   m_impl->prepend_partition_hpath_to_entry("x", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{REGISTER_PACKING, {"a", "b", "c", "x|top|u1|d", "x|top|u1|e|f", "g"}}));
}

TEST_F(LOGDB_DATABASE_READER, every_node_name_gets_the_root_the_empty_one_too) {
   LOGDB_DATABASE_ENTRY entry = entry_of(DSP_BALANCING_IMPLEMENTATION, {"", ""});
   m_impl->prepend_partition_hpath_to_entry("top", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{DSP_BALANCING_IMPLEMENTATION, {"", "top|"}}));
   m_impl->prepend_partition_hpath_to_entry("", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{DSP_BALANCING_IMPLEMENTATION, {"", "|top|"}}));
   m_impl->prepend_partition_hpath_to_entry("t|", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{DSP_BALANCING_IMPLEMENTATION, {"", "t|||top|"}})) << "used as it is given";
}

TEST_F(LOGDB_DATABASE_READER, the_node_name_positions_alone_get_the_root) {
   const std::string node_positions[8] = {"1", "34", "8", "", "", "", "", ""};
   for (int kind = -1; kind <= 8; ++kind) {
      PLAIN_ENTRY expected = {kind, std::vector<std::string>(10, "n")};
      LOGDB_DATABASE_ENTRY entry = entry_of(expected);
      m_impl->prepend_partition_hpath_to_entry("top", &entry);
      if (kind >= 0 && kind < 8) {
         for (const char position : node_positions[kind]) {
            expected.m_fields[static_cast<std::size_t>(position - '0')] = "top|n";
         }
      }
      EXPECT_EQ(plain(entry), expected);
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_READER, a_short_entry_gets_the_root_where_it_has_fields) {
   LOGDB_DATABASE_ENTRY entry = entry_of(REGISTER_PACKING, {"a", "b", "c", "d"});
   m_impl->prepend_partition_hpath_to_entry("top", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{REGISTER_PACKING, {"a", "b", "c", "top|d"}}));
   entry = entry_of(REGISTER_PACKING, {});
   m_impl->prepend_partition_hpath_to_entry("top", &entry);
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{REGISTER_PACKING, {}}));
}

TEST_F(LOGDB_DATABASE_READER, a_root_is_put_in_front_of_every_entry_of_the_list) {
   EXPECT_TRUE(read("v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\nIO_RULES,b,b,\nDSP_BALANCING_IMPLEMENTATION,g,c,\n"));
   m_impl->prepend_partition_hpath("top");
   EXPECT_EQ(entries(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}},
                                 {IO_RULES, {"b", "b"}},
                                 {DSP_BALANCING_IMPLEMENTATION, {"g", "top|c"}}}));
   m_impl->prepend_partition_hpath(nullptr);
   EXPECT_EQ(entries()[0], (PLAIN_ENTRY{DSP_BALANCING_IMPLEMENTATION, {"g", "|top|a"}}));
   m_impl->delete_database();
   m_impl->prepend_partition_hpath("top");
   EXPECT_EQ(entries(), ENTRIES{});
}

// ---- The switch for detail messages, which a process reads once: each test has a process of its own.

using TEXTS = std::vector<std::string>;

TEXTS messages_of_reading(const std::string& bytes) {
   RECORDING_HOST host;
   LOGDB_DATABASE_IMPL impl;
   std::istringstream in(bytes);
   impl.read_database(&in);
   for (const RECORDED_REPORT& report : host.take_reports()) {
      EXPECT_EQ(report.m_file, "h/logdb_entry_type_enum_translator_auto") << report.m_text;
   }
   return host.take_events();
}

[[noreturn]] void exit_after(void (*check)()) {
   check();
   std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

void check_that_it_is_off_by_default() {
   EXPECT_EQ(messages_of_reading("v1\nIO_RULES,a,\n"),
             (TEXTS{"Reading log db version v1", "Read 1 entries from log db"}));
}

void check_the_messages() {
   host_set_config("log_db_detail_debug_info", true);
   EXPECT_EQ(
       messages_of_reading("v1\nDSP_BALANCING_IMPLEMENTATION,x,y,\nregister packing LOG,,%s%n,\nIO_RULES,\n\n"),
       (TEXTS{"Reading log db version v1", "  Read DB Entry: TYPE=DSP_BALANCING_IMPLEMENTATION: x, y, ",
              "  Read DB Entry: TYPE=REGISTER_PACKING: , %s%n, ", "  Read DB Entry: TYPE=IO_RULES: ",
              "  Read DB Entry: TYPE=DSP_BALANCING_IMPLEMENTATION: ", "Read 4 entries from log db"}));
   const std::string field(30000, 'f');
   EXPECT_EQ(messages_of_reading("v1\nIO_RULES," + field + ",\ncut"),
             (TEXTS{"Reading log db version v1", "  Read DB Entry: TYPE=IO_RULES: " + field + ", ",
                    "Failed reading log db entry line", "Read 1 entries from log db"}));
}

void check_an_unknown_kind() {
   host_set_config("log_db_detail_debug_info", true);
   EXPECT_EQ(messages_of_reading("v1\nNO_SUCH_KIND,a,b,\n,\n"),
             (TEXTS{"Reading log db version v1",
                    "report: The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.",
                    "  Read DB Entry: TYPE=: a, b, ",
                    "report: The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.",
                    "  Read DB Entry: TYPE=: ", "Read 2 entries from log db"}));
}

void check_that_it_stays_on() {
   host_set_config("log_db_detail_debug_info", true);
   EXPECT_EQ(messages_of_reading("v1\nIO_RULES,a,\n").size(), 3u);
   host_set_config("log_db_detail_debug_info", false);
   EXPECT_EQ(
       messages_of_reading("v1\nIO_RULES,b,\n"),
       (TEXTS{"Reading log db version v1", "  Read DB Entry: TYPE=IO_RULES: b, ", "Read 1 entries from log db"}));
}

void check_that_it_stays_off() {
   EXPECT_EQ(messages_of_reading("v1\nIO_RULES,a,\n").size(), 2u);
   host_set_config("log_db_detail_debug_info", true);
   EXPECT_EQ(messages_of_reading("v1\nIO_RULES,b,\n"),
             (TEXTS{"Reading log db version v1", "Read 1 entries from log db"}));
}

void check_that_the_first_entry_reads_it() {
   EXPECT_EQ(messages_of_reading("v1\n"), (TEXTS{"Reading log db version v1", "Read 0 entries from log db"}));
   EXPECT_EQ(
       messages_of_reading("v1\ncut"),
       (TEXTS{"Reading log db version v1", "Failed reading log db entry line", "Read 0 entries from log db"}));
   host_set_config("log_db_detail_debug_info", true);
   EXPECT_EQ(
       messages_of_reading("v1\nIO_RULES,a,\n"),
       (TEXTS{"Reading log db version v1", "  Read DB Entry: TYPE=IO_RULES: a, ", "Read 1 entries from log db"}));
}

void check_that_names_are_shown_as_in_the_file() {
   host_set_config("log_db_detail_debug_info", true);
   LOGDB_DATABASE_IMPL impl;
   RECORDING_HOST host;
   std::istringstream in("v1\nDSP_BALANCING_IMPLEMENTATION,g,n,\n");
   EXPECT_TRUE(impl.read_database(&in));
   impl.prepend_partition_hpath("top");
   EXPECT_EQ(host.take_events(),
             (TEXTS{"Reading log db version v1", "  Read DB Entry: TYPE=DSP_BALANCING_IMPLEMENTATION: g, n, ",
                    "Read 1 entries from log db"}));
}

class LOGDB_DATABASE_DETAIL_SWITCH : public ::testing::Test {
protected:
   void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, is_off_by_default) {
   EXPECT_EXIT(exit_after(check_that_it_is_off_by_default), ::testing::ExitedWithCode(0), "");
}

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, makes_a_message_an_entry) {
   EXPECT_EXIT(exit_after(check_the_messages), ::testing::ExitedWithCode(0), "");
}

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, makes_a_report_and_a_message_without_a_name_for_an_unknown_kind) {
   EXPECT_EXIT(exit_after(check_an_unknown_kind), ::testing::ExitedWithCode(0), "");
}

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, stays_on_when_it_is_switched_off_later) {
   EXPECT_EXIT(exit_after(check_that_it_stays_on), ::testing::ExitedWithCode(0), "");
}

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, stays_off_when_it_is_switched_on_later) {
   EXPECT_EXIT(exit_after(check_that_it_stays_off), ::testing::ExitedWithCode(0), "");
}

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, is_read_with_the_first_entry_and_not_before) {
   EXPECT_EXIT(exit_after(check_that_the_first_entry_reads_it), ::testing::ExitedWithCode(0), "");
}

TEST_F(LOGDB_DATABASE_DETAIL_SWITCH, shows_names_as_they_are_in_the_file) {
   EXPECT_EXIT(exit_after(check_that_names_are_shown_as_in_the_file), ::testing::ExitedWithCode(0), "");
}

} // namespace
