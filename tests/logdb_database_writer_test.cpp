#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <locale>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "dbm.h"
#include "logdb_database.h"
#include "logdb_database_fixture.h"

namespace {

static_assert(!std::is_copy_constructible_v<LOGDB_DATABASE_IMPL> &&
              !std::is_copy_assignable_v<LOGDB_DATABASE_IMPL>);
static_assert(std::is_same_v<decltype(LOGDB_DATABASE_FIELD_SEPARATOR), const char[2]>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::write_string),
                             void (LOGDB_DATABASE_IMPL::*)(std::ostream*, const MEM_STRING&) const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::write_enum),
                             void (LOGDB_DATABASE_IMPL::*)(std::ostream*, LOGDB_ENTRY_TYPE_ENUM) const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::write_entry),
                             void (LOGDB_DATABASE_IMPL::*)(std::ostream*, const LOGDB_DATABASE_ENTRY*) const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::write_database),
                             void (LOGDB_DATABASE_IMPL::*)(std::ostream*) const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::write_database_without_partition_hpath),
                             void (LOGDB_DATABASE_IMPL::*)(std::ostream*, const MEM_STRING&) const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE_IMPL::write_entry_without_partition_hpath),
                             void (LOGDB_DATABASE_IMPL::*)(std::ostream*, const LOGDB_DATABASE_ENTRY*,
                                                           const MEM_STRING&, MEM_STRING*) const>);

constexpr const char* has_separator = "report: log database write failed: string has field separator character";
constexpr const char* illegal_kind = "report: The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.";

/// A buffer that tells whether it was flushed.
class FLUSH_COUNTER : public std::stringbuf {
public:
   int m_flushes = 0;

protected:
   int sync() override {
      ++m_flushes;
      return std::stringbuf::sync();
   }
};

/// A locale in which a line does not end in a line feed.
class STRANGE_NEWLINE : public std::ctype<char> {
protected:
   char do_widen(char letter) const override { return letter == '\n' ? '$' : letter; }

   const char* do_widen(const char* first, const char* last, char* to) const override {
      for (; first != last; ++first, ++to) {
         *to = do_widen(*first);
      }
      return last;
   }
};

class LOGDB_DATABASE_WRITER : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override { m_impl = std::make_unique<LOGDB_DATABASE_IMPL>(); }

   void TearDown() override {
      m_impl.reset();
      LOGDB_DATABASE_TEST::TearDown();
   }

   const LOGDB_DATABASE_IMPL& impl() const { return *m_impl; }

   void add_plain(const PLAIN_ENTRY& entry) {
      const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
      ASSERT_NE(m_impl->add_entry(&copy), nullptr);
   }

   std::string string_text(std::string_view field) const {
      std::ostringstream out;
      impl().write_string(&out, MEM_STRING(field));
      EXPECT_TRUE(out.good());
      return out.str();
   }

   std::string entry_text(const PLAIN_ENTRY& entry) const {
      const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
      std::ostringstream out;
      impl().write_entry(&out, &copy);
      EXPECT_TRUE(out.good());
      return out.str();
   }

   std::string relative_entry_text(const PLAIN_ENTRY& entry, std::string_view root) const {
      const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
      std::ostringstream out;
      MEM_STRING scratch = "whatever was here";
      impl().write_entry_without_partition_hpath(&out, &copy, MEM_STRING(root), &scratch);
      EXPECT_TRUE(out.good());
      EXPECT_EQ(plain(copy), entry) << "writing changes nothing in memory";
      return out.str();
   }

   std::string database_text() const {
      std::ostringstream out;
      impl().write_database(&out);
      EXPECT_TRUE(out.good());
      return out.str();
   }

   std::unique_ptr<LOGDB_DATABASE_IMPL> m_impl;
};

TEST_F(LOGDB_DATABASE_WRITER, the_separator_is_a_comma) {
   EXPECT_STREQ(LOGDB_DATABASE_FIELD_SEPARATOR, ",");
}

// ---- write_string

TEST_F(LOGDB_DATABASE_WRITER, a_field_is_its_bytes_and_a_separator) {
   EXPECT_EQ(string_text("abc"), "abc,");
   EXPECT_EQ(string_text(""), ",");
   EXPECT_EQ(string_text(" padded\t"), " padded\t,");
   EXPECT_EQ(string_text("\"quoted\\\""), "\"quoted\\\",");
   EXPECT_EQ(string_text("top|u1|q~0"), "top|u1|q~0,");
   EXPECT_EQ(string_text("return\r"), "return\r,");
   EXPECT_EQ(string_text("line\nfeed"), "line\nfeed,");
   EXPECT_EQ(string_text("%s%n"), "%s%n,");
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_WRITER, every_byte_but_the_separator_is_written_as_it_is_and_not_reported) {
   for (int byte = 0; byte < 256; ++byte) {
      const std::string field = std::string("a") + static_cast<char>(byte) + "b";
      EXPECT_EQ(string_text(field), field + ",");
      EXPECT_EQ(events(), byte == ',' ? EVENTS{has_separator} : EVENTS{}) << byte;
   }
}

TEST_F(LOGDB_DATABASE_WRITER, a_separator_in_a_field_is_reported_once_and_written) {
   for (const char* field : {",", "a,", ",a", "a,b", ",,,", "a,b,c,d"}) {
      EXPECT_EQ(string_text(field), std::string(field) + ",");
      EXPECT_EQ(events(), EVENTS{has_separator}) << field;
   }
}

TEST_F(LOGDB_DATABASE_WRITER, a_separator_behind_a_zero_byte_is_seen) {
   const std::string field("a\0,b", 4);
   EXPECT_EQ(string_text(field), field + ",");
   EXPECT_EQ(events(), EVENTS{has_separator});
}

TEST_F(LOGDB_DATABASE_WRITER, a_field_may_be_of_any_length) {
   for (const std::size_t length : {32766u, 32767u, 32768u, 100000u, 3000000u}) {
      const std::string field(length, 'x');
      EXPECT_TRUE(string_text(field) == field + ",") << length;
   }
   const std::string comma_at_the_end = std::string(3000000, 'x') + ",";
   EXPECT_TRUE(string_text(comma_at_the_end) == comma_at_the_end + ",");
   EXPECT_EQ(events(), EVENTS{has_separator});
}

// ---- write_enum

TEST_F(LOGDB_DATABASE_WRITER, a_kind_is_its_debug_string_as_a_field) {
   const char* const names[8] = {"DSP_BALANCING_IMPLEMENTATION",
                                 "REGISTER_PACKING",
                                 "RAM_PACKING",
                                 "FIT_COMPUTED_DQSBUSMUX_COUNTS",
                                 "FSYN_LOG_FILE",
                                 "IO_RULES_SUMMARY",
                                 "IO_RULES",
                                 "IO_RULES_MATRIX"};
   for (int kind = 0; kind < 8; ++kind) {
      std::ostringstream out;
      impl().write_enum(&out, static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind));
      EXPECT_EQ(out.str(), std::string(names[kind]) + ",");
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_WRITER, an_illegal_kind_is_reported_and_is_an_empty_field) {
   for (const int kind : {-1, 8, INT_MAX, INT_MIN}) {
      std::ostringstream out;
      impl().write_enum(&out, static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind));
      EXPECT_EQ(out.str(), ",");
      EXPECT_EQ(events(), EVENTS{illegal_kind}) << kind;
   }
}

// ---- write_entry

TEST_F(LOGDB_DATABASE_WRITER, an_entry_is_a_line) {
   EXPECT_EQ(entry_text({REGISTER_PACKING, {"a", "b", "c"}}), "REGISTER_PACKING,a,b,c,\n");
   EXPECT_EQ(entry_text({RAM_PACKING, {"a", ""}}), "RAM_PACKING,a,,\n");
   EXPECT_EQ(entry_text({IO_RULES, {""}}), "IO_RULES,,\n");
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_WRITER, an_entry_without_fields_is_its_kind_and_a_separator) {
   EXPECT_EQ(entry_text({DSP_BALANCING_IMPLEMENTATION, {}}), "DSP_BALANCING_IMPLEMENTATION,\n");
}

TEST_F(LOGDB_DATABASE_WRITER, an_entry_of_an_illegal_kind_is_written_without_a_name) {
   EXPECT_EQ(entry_text({-1, {"a", "b"}}), ",a,b,\n");
   EXPECT_EQ(events(), EVENTS{illegal_kind});
   EXPECT_EQ(entry_text({8, {}}), ",\n");
   EXPECT_EQ(events(), EVENTS{illegal_kind});
}

TEST_F(LOGDB_DATABASE_WRITER, reports_of_an_entry_come_in_field_order) {
   EXPECT_EQ(entry_text({99, {"a,b", "c", ","}}), ",a,b,c,,,\n");
   EXPECT_EQ(events(), (EVENTS{illegal_kind, has_separator, has_separator}));
}

TEST_F(LOGDB_DATABASE_WRITER, node_names_are_written_whole) {
   EXPECT_EQ(entry_text({REGISTER_PACKING, {"a", "b", "c", "top|u1|d", "|"}}),
             "REGISTER_PACKING,a,b,c,top|u1|d,|,\n");
}

// ---- write_database

TEST_F(LOGDB_DATABASE_WRITER, an_empty_database_is_the_version_line) {
   EXPECT_EQ(database_text(), "v1\n");
   EXPECT_EQ(events(), EVENTS{"Wrote log database with 0 entries"});
}

TEST_F(LOGDB_DATABASE_WRITER, a_database_is_the_version_line_and_a_line_an_entry) {
   add_plain({RAM_PACKING, {"a", ""}});
   add_plain({DSP_BALANCING_IMPLEMENTATION, {}});
   add_plain({FSYN_LOG_FILE, {"file.log"}});
   EXPECT_EQ(database_text(), "v1\nRAM_PACKING,a,,\nDSP_BALANCING_IMPLEMENTATION,\nFSYN_LOG_FILE,file.log,\n");
   EXPECT_EQ(events(), EVENTS{"Wrote log database with 3 entries"});
   EXPECT_EQ(database_text(), "v1\nRAM_PACKING,a,,\nDSP_BALANCING_IMPLEMENTATION,\nFSYN_LOG_FILE,file.log,\n");
   EXPECT_EQ(impl().get_number_of_entries(), 3);
}

TEST_F(LOGDB_DATABASE_WRITER, reports_come_before_the_message_of_a_database) {
   add_plain({IO_RULES, {"a,b"}});
   add_plain({-1, {"c"}});
   EXPECT_EQ(database_text(), "v1\nIO_RULES,a,b,\n,c,\n");
   EXPECT_EQ(events(), (EVENTS{has_separator, illegal_kind, "Wrote log database with 2 entries"}));
}

TEST_F(LOGDB_DATABASE_WRITER, a_large_database_is_written_whole) {
   std::string expected = "v1\n";
   for (int number = 0; number < 20000; ++number) {
      const std::string field = "field_" + std::to_string(number);
      add_plain({IO_RULES, {field, "", field}});
      expected += "IO_RULES," + field + ",," + field + ",\n";
   }
   EXPECT_TRUE(database_text() == expected);
   EXPECT_EQ(events(), EVENTS{"Wrote log database with 20000 entries"});
}

TEST_F(LOGDB_DATABASE_WRITER, lines_about_as_long_as_any_buffer_are_written_whole) {
   constexpr std::size_t kibibyte = 1024;
   for (const std::size_t size : {8 * kibibyte, 64 * kibibyte, 256 * kibibyte}) {
      for (std::size_t length = size - 18; length <= size + 2; ++length) {
         m_impl->delete_database();
         const std::string field(length, 'f');
         const std::string node = "top|" + field;
         add_plain({IO_RULES, {"a"}});
         add_plain({IO_RULES, {field}});
         add_plain({DSP_BALANCING_IMPLEMENTATION, {"", node}});
         add_plain({IO_RULES, {"b"}});
         ASSERT_TRUE(database_text() == "v1\nIO_RULES,a,\nIO_RULES," + field +
                                            ",\nDSP_BALANCING_IMPLEMENTATION,," + node + ",\nIO_RULES,b,\n")
             << length;
         std::ostringstream relative;
         impl().write_database_without_partition_hpath(&relative, "top");
         ASSERT_TRUE(relative.str() == "v1\nIO_RULES,a,\nIO_RULES," + field + ",\nDSP_BALANCING_IMPLEMENTATION,," +
                                           field + ",\nIO_RULES,b,\n")
             << length;
      }
   }
}

TEST_F(LOGDB_DATABASE_WRITER, fields_that_only_together_are_longer_than_any_buffer_are_written_whole) {
   const PLAIN_ENTRY entry = {IO_RULES, std::vector<std::string>(40, std::string(100000, 'f'))};
   std::string line = "IO_RULES,";
   for (const std::string& field : entry.m_fields) {
      line += field + ",";
   }
   add_plain({IO_RULES, {"a"}});
   add_plain(entry);
   add_plain({IO_RULES, {"b"}});
   EXPECT_TRUE(database_text() == "v1\nIO_RULES,a,\n" + line + "\nIO_RULES,b,\n");
   m_impl->delete_database();
   add_plain({IO_RULES, {"a"}});
   add_plain({IO_RULES, std::vector<std::string>(500000)});
   add_plain({IO_RULES, {"b"}});
   EXPECT_TRUE(database_text() == "v1\nIO_RULES,a,\nIO_RULES," + std::string(500000, ',') + "\nIO_RULES,b,\n");
}

TEST_F(LOGDB_DATABASE_WRITER, separators_in_a_long_line_are_found_wherever_they_are) {
   for (std::size_t position = 0; position < 300; ++position) {
      std::string field(300, 'f');
      field[position] = ',';
      add_plain({IO_RULES, {field}});
      EXPECT_EQ(database_text(), "v1\nIO_RULES," + field + ",\n");
      EXPECT_EQ(events(), (EVENTS{has_separator, "Wrote log database with 1 entries"})) << position;
      m_impl->delete_database();
   }
   for (const std::size_t length : {4079u, 4080u, 4081u, 8160u, 100000u}) {
      const std::string commas(length, ',');
      add_plain({IO_RULES, {commas}});
      EXPECT_TRUE(database_text() == "v1\nIO_RULES," + commas + ",\n") << length;
      EXPECT_EQ(events(), (EVENTS{has_separator, "Wrote log database with 1 entries"})) << length;
      m_impl->delete_database();
   }
}

TEST_F(LOGDB_DATABASE_WRITER, separators_in_a_field_are_found_among_thousands_of_empty_fields) {
   // Eight counters of one byte each that overflowed would lose 2048 of the separators in this line.
   std::vector<std::string> fields(2101);
   fields.front() = std::string(2048, ',');
   add_plain({IO_RULES, fields});
   EXPECT_EQ(database_text(), "v1\nIO_RULES" + std::string(4150, ',') + "\n");
   EXPECT_EQ(events(), (EVENTS{has_separator, "Wrote log database with 1 entries"}));
}

TEST_F(LOGDB_DATABASE_WRITER, what_the_stream_held_stays_in_front) {
   add_plain({IO_RULES, {"a"}});
   std::ostringstream out;
   out << "in front\n";
   impl().write_database(&out);
   out << "behind\n";
   EXPECT_EQ(out.str(), "in front\nv1\nIO_RULES,a,\nbehind\n");
}

TEST_F(LOGDB_DATABASE_WRITER, nothing_is_flushed) {
   for (int number = 0; number < 3000; ++number) {
      add_plain({DSP_BALANCING_IMPLEMENTATION, {"g", "top|n"}});
   }
   FLUSH_COUNTER buffer;
   std::ostream out(&buffer);
   impl().write_database(&out);
   impl().write_database_without_partition_hpath(&out, "top");
   EXPECT_EQ(buffer.m_flushes, 0);
}

TEST_F(LOGDB_DATABASE_WRITER, a_line_ends_in_a_line_feed_whatever_the_locale_says) {
   add_plain({DSP_BALANCING_IMPLEMENTATION, {"g", "top|n"}});
   std::ostringstream out;
   out.imbue(std::locale(std::locale::classic(), new STRANGE_NEWLINE));
   ASSERT_EQ(out.widen('\n'), '$');
   impl().write_database(&out);
   impl().write_database_without_partition_hpath(&out, "top");
   EXPECT_EQ(out.str(), "v1\nDSP_BALANCING_IMPLEMENTATION,g,top|n,\nv1\nDSP_BALANCING_IMPLEMENTATION,g,n,\n");
}

TEST_F(LOGDB_DATABASE_WRITER, a_stream_that_has_failed_is_not_noticed) {
   add_plain({DSP_BALANCING_IMPLEMENTATION, {"a,b", "other"}});
   for (const std::ios::iostate state :
        {std::ios::failbit, std::ios::badbit, std::ios::eofbit, std::ios::badbit | std::ios::eofbit}) {
      std::ostringstream out;
      out.setstate(state);
      impl().write_database(&out);
      EXPECT_EQ(events(), (EVENTS{has_separator, "Wrote log database with 1 entries"}));
      impl().write_database_without_partition_hpath(&out, "top");
      EXPECT_EQ(events(), (EVENTS{has_separator, "report: Detected node other is not part of partition top.",
                                  "Wrote log database with 1 entries"}));
      EXPECT_EQ(out.str(), "") << "the stream itself takes nothing";
      EXPECT_TRUE(!out.good());
   }
}

// ---- Relative to a partition root

TEST_F(LOGDB_DATABASE_WRITER, the_root_and_a_level_separator_behind_it_are_cut_off) {
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a|b"}}, "top|u1"),
             "DSP_BALANCING_IMPLEMENTATION,g,a|b,\n");
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1x|n"}}, "top|u1"),
             "DSP_BALANCING_IMPLEMENTATION,g,x|n,\n");
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1||n"}}, "top|u1"),
             "DSP_BALANCING_IMPLEMENTATION,g,|n,\n")
       << "one separator alone";
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|"}}, "top|u1"),
             "DSP_BALANCING_IMPLEMENTATION,g,,\n");
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|n"}}, "top|u1|"),
             "DSP_BALANCING_IMPLEMENTATION,g,n,\n")
       << "a separator that the root ends in is part of the root";
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1||n"}}, "top|u1|"),
             "DSP_BALANCING_IMPLEMENTATION,g,n,\n");
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_WRITER, a_name_outside_the_partition_is_reported_and_left_out) {
   for (const char* name :
        {"top|u1", "top", "top|u", "", "x", "top|u2|a", "TOP|U1|a", "|top|u1|a", "a top|u1|a"}) {
      EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", name, "more"}}, "top|u1"),
                "DSP_BALANCING_IMPLEMENTATION,g,more,\n");
      EXPECT_EQ(events(),
                EVENTS{std::string("report: Detected node ") + name + " is not part of partition top|u1."});
   }
}

TEST_F(LOGDB_DATABASE_WRITER, with_an_empty_root_every_name_but_the_empty_one_is_inside) {
   EXPECT_EQ(relative_entry_text({REGISTER_PACKING, {"a", "b", "c", "|d", "e|f"}}, ""),
             "REGISTER_PACKING,a,b,c,d,e|f,\n");
   EXPECT_EQ(relative_entry_text({REGISTER_PACKING, {"a", "b", "c", "|", "||"}}, ""),
             "REGISTER_PACKING,a,b,c,,|,\n");
   EXPECT_EQ(events(), EVENTS{});
   EXPECT_EQ(relative_entry_text({REGISTER_PACKING, {"", "", "", "", ""}}, ""), "REGISTER_PACKING,,,,\n");
   EXPECT_EQ(events(), (EVENTS{"report: Detected node  is not part of partition .",
                               "report: Detected node  is not part of partition ."}));
}

TEST_F(LOGDB_DATABASE_WRITER, the_node_name_positions_alone_are_cut) {
   const std::vector<std::string> names(12, "top|n");
   const std::string node_positions[8] = {"1", "34", "8", "", "", "", "", ""};
   for (int kind = 0; kind < 8; ++kind) {
      std::string expected = logdb_get_debug_string(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind));
      for (std::size_t position = 0; position < names.size(); ++position) {
         const bool is_node =
             position < 10 && node_positions[kind].find(static_cast<char>('0' + position)) != std::string::npos;
         expected += is_node ? ",n" : ",top|n";
      }
      EXPECT_EQ(relative_entry_text({kind, names}, "top"), expected + ",\n");
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_WRITER, an_illegal_kind_has_no_node_names) {
   EXPECT_EQ(relative_entry_text({-1, {"top|a", "top|b", "c", "top|d", "e"}}, "top"), ",top|a,top|b,c,top|d,e,\n");
   EXPECT_EQ(events(), EVENTS{illegal_kind});
}

TEST_F(LOGDB_DATABASE_WRITER, a_separator_in_a_relative_name_is_reported_when_it_is_in_the_written_part) {
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"a,b", "top|c,d"}}, "top"),
             "DSP_BALANCING_IMPLEMENTATION,a,b,c,d,\n");
   EXPECT_EQ(events(), (EVENTS{has_separator, has_separator}));
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"a", "t,p|c"}}, "t,p"),
             "DSP_BALANCING_IMPLEMENTATION,a,c,\n");
   EXPECT_EQ(events(), EVENTS{});
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"a", "x,y"}}, "top"),
             "DSP_BALANCING_IMPLEMENTATION,a,\n");
   EXPECT_EQ(events(), EVENTS{"report: Detected node x,y is not part of partition top."})
       << "not written, not looked at";
}

TEST_F(LOGDB_DATABASE_WRITER, roots_and_names_are_compared_as_bytes) {
   const std::string root("t\0p", 3);
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", root + "|n"}}, root),
             "DSP_BALANCING_IMPLEMENTATION,g,n,\n");
   EXPECT_EQ(events(), EVENTS{});
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", std::string("t\0x|n", 5)}}, root),
             "DSP_BALANCING_IMPLEMENTATION,g,\n");
   EXPECT_EQ(events(), EVENTS{"report: Detected node t is not part of partition t."}) << "formatted as C texts";
}

TEST_F(LOGDB_DATABASE_WRITER, long_names_and_roots_are_reported_in_full) {
   const std::string name = "n%s" + std::string(5000, 'n');
   const std::string root = "r%n" + std::string(5000, 'r');
   EXPECT_EQ(relative_entry_text({DSP_BALANCING_IMPLEMENTATION, {"g", name}}, root),
             "DSP_BALANCING_IMPLEMENTATION,g,\n");
   EXPECT_EQ(events(), EVENTS{"report: Detected node " + name + " is not part of partition " + root + "."});
}

TEST_F(LOGDB_DATABASE_WRITER, the_scratch_string_holds_the_relative_name) {
   const LOGDB_DATABASE_ENTRY entry = entry_of(REGISTER_PACKING, {"a", "b", "c", "top|first", "top|second"});
   std::ostringstream out;
   MEM_STRING scratch = "before";
   impl().write_entry_without_partition_hpath(&out, &entry, "top", &scratch);
   EXPECT_EQ(out.str(), "REGISTER_PACKING,a,b,c,first,second,\n");
   EXPECT_EQ(scratch, "second");
}

TEST_F(LOGDB_DATABASE_WRITER, a_relative_database_has_the_same_frame) {
   EXPECT_EQ(impl().get_number_of_entries(), 0);
   std::ostringstream empty;
   impl().write_database_without_partition_hpath(&empty, "top");
   EXPECT_EQ(empty.str(), "v1\n");
   EXPECT_EQ(events(), EVENTS{"Wrote log database with 0 entries"});

   add_plain({DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}});
   add_plain({DSP_BALANCING_IMPLEMENTATION, {"g", "elsewhere"}});
   add_plain({IO_RULES, {"top|b"}});
   std::ostringstream out;
   impl().write_database_without_partition_hpath(&out, "top");
   EXPECT_EQ(out.str(),
             "v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\nDSP_BALANCING_IMPLEMENTATION,g,\nIO_RULES,top|b,\n");
   EXPECT_EQ(events(), (EVENTS{"report: Detected node elsewhere is not part of partition top.",
                               "Wrote log database with 3 entries"}));
   EXPECT_EQ(entries_of(impl()), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}},
                                          {DSP_BALANCING_IMPLEMENTATION, {"g", "elsewhere"}},
                                          {IO_RULES, {"top|b"}}}));
}

// ---- Names of files, on the implementation

TEST_F(LOGDB_DATABASE_WRITER, the_implementation_names_copies_and_deletes_files_as_the_facade_does) {
   EXPECT_EQ(LOGDB_DATABASE_IMPL::logdb_type_to_dbm_type(LOGDB_DB_TYPE_MAP_BB), DBM_TYPE_MAP_BB);
   MEM_STRING map;
   MEM_STRING cmp;
   LOGDB_DATABASE_IMPL::make_db_filename("top", LOGDB_DB_TYPE_MAP, &map);
   LOGDB_DATABASE_IMPL::make_db_filename("top", LOGDB_DB_TYPE_CMP, &cmp);
   EXPECT_EQ(std::string(map), database_path("top", DBM_TYPE_MAP));
   MEM_STRING extension;
   LOGDB_DATABASE_IMPL::make_db_extension(LOGDB_DB_TYPE_CMP, &extension);
   EXPECT_EQ(extension, MEM_STRING(DBM_TYPE_CMP) + ".logdb");
   EXPECT_EQ(events(), EVENTS{});

   write_file(std::string(map), "bytes");
   LOGDB_DATABASE_IMPL::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Copied logdb file " + std::string(map) + " to " + std::string(cmp) + "."});
   EXPECT_EQ(read_file(std::string(cmp)), "bytes");
   LOGDB_DATABASE_IMPL::delete_database_file("top", LOGDB_DB_TYPE_MAP);
   EXPECT_EQ(events(), EVENTS{"Deleted logdb file " + std::string(map) + "."});
   EXPECT_FALSE(std::filesystem::exists(map));
}

} // namespace
