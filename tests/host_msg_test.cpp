#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "environment_variable.h"
#include "host_standalone.h"
#include "msg.h"

using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

namespace {

bool debug(const char* domain, const char* format, ...) __attribute__((format(printf, 2, 3)));
bool debug(const char* domain, const char* format, ...) {
   std::string writable_domain = domain;
   va_list args;
   va_start(args, format);
   const bool printed = msg_local_vdebug(writable_domain.data(), format, args);
   va_end(args);
   EXPECT_EQ(writable_domain, domain);
   return printed;
}

/// Each test begins and ends with the default handlers. What is printed is looked at in processes of their own.
class HOST_MSG : public ::testing::Test {
protected:
   HOST_MSG() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

   void TearDown() override {
      host_set_internal_error_handler(nullptr);
      host_set_debug_message_handler(nullptr);
   }

   void record_errors() {
      host_set_internal_error_handler([this](const char* text, const char* domain, const char* file, int line) {
         m_events.push_back(std::string(text) + "|" + domain + "|" + file + "|" + std::to_string(line));
      });
   }

   void record_messages(bool answer) {
      host_set_debug_message_handler([this, answer](const char* domain, const char* text) {
         m_events.push_back(std::string(domain) + "|" + text);
         return answer;
      });
   }

   ENVIRONMENT_VARIABLE m_no_abort{"LOGDB_ABORT_ON_INTERNAL_ERROR", nullptr};
   ENVIRONMENT_VARIABLE m_no_debug{"LOGDB_DEBUG", nullptr};
   std::vector<std::string> m_events;
};

using HOST_MSG_DEATH_TEST = HOST_MSG;

[[noreturn]] void report_and_exit(const char* text) {
   MSG_INTERNAL_ERROR::report(text, "LOGDB", "logdb_database", 123);
   std::exit(0);
}

} // namespace

// ---- Internal errors

TEST_F(HOST_MSG, an_internal_error_reaches_the_handler_with_its_four_values) {
   record_errors();
   MSG_INTERNAL_ERROR::report("index >= 0", "LOGDB", "logdb_database", 7);
   MSG_INTERNAL_ERROR::report("", "", "", -1);
   EXPECT_THAT(m_events, ElementsAre("index >= 0|LOGDB|logdb_database|7", "|||-1"));
}

TEST_F(HOST_MSG, the_handler_gets_control_bytes_as_they_are) {
   record_errors();
   MSG_INTERNAL_ERROR::report("a\n\x1b[2J", "D", "f", 1);
   EXPECT_THAT(m_events, ElementsAre("a\n\x1b[2J|D|f|1"));
}

TEST_F(HOST_MSG, null_texts_reach_the_handler_as_a_readable_mark) {
   record_errors();
   MSG_INTERNAL_ERROR::report(nullptr, nullptr, nullptr, 0);
   EXPECT_THAT(m_events, ElementsAre("(null)|(null)|(null)|0"));
}

TEST_F(HOST_MSG, setting_an_error_handler_gives_the_one_before) {
   EXPECT_FALSE(host_set_internal_error_handler([](const char*, const char*, const char*, int) {}));
   record_errors();
   const HOST_INTERNAL_ERROR_HANDLER recording = host_set_internal_error_handler(nullptr);
   ASSERT_TRUE(recording);
   recording("t", "D", "f", 1);
   EXPECT_THAT(m_events, ElementsAre("t|D|f|1"));
   EXPECT_FALSE(host_set_internal_error_handler(nullptr));
}

TEST_F(HOST_MSG, an_exception_of_the_error_handler_passes_through_and_the_handler_stays) {
   host_set_internal_error_handler([this](const char* text, const char*, const char*, int) {
      m_events.emplace_back(text);
      throw std::runtime_error(text);
   });
   EXPECT_THROW(MSG_INTERNAL_ERROR::report("first", "D", "f", 1), std::runtime_error);
   EXPECT_THROW(MSG_INTERNAL_ERROR::report("second", "D", "f", 1), std::runtime_error);
   EXPECT_THAT(m_events, ElementsAre("first", "second"));
}

TEST_F(HOST_MSG, an_error_handler_may_replace_itself_while_it_runs) {
   std::string text_of_the_handler(100, 'x'); // captured by value: gone if the running handler were destroyed
   host_set_internal_error_handler([this, text_of_the_handler](const char*, const char*, const char*, int) {
      record_errors();
      MSG_INTERNAL_ERROR::report("inner", "D", "f", 2);
      m_events.push_back(text_of_the_handler);
   });
   MSG_INTERNAL_ERROR::report("outer", "D", "f", 1);
   MSG_INTERNAL_ERROR::report("later", "D", "f", 3);
   EXPECT_THAT(m_events, ElementsAre("inner|D|f|2", std::string(100, 'x'), "later|D|f|3"));
}

TEST_F(HOST_MSG_DEATH_TEST, by_default_an_internal_error_is_one_line_on_standard_error_and_returns) {
   EXPECT_EXIT(report_and_exit("index >= 0 && index < 3"), ExitedWithCode(0),
               Eq("internal error [LOGDB] logdb_database:123: index >= 0 && index < 3\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, an_empty_handler_brings_the_printed_line_back) {
   EXPECT_EXIT(
       {
          record_errors();
          MSG_INTERNAL_ERROR::report("to the handler", "LOGDB", "logdb_database", 1);
          host_set_internal_error_handler(HOST_INTERNAL_ERROR_HANDLER());
          report_and_exit("printed");
       },
       ExitedWithCode(0), Eq("internal error [LOGDB] logdb_database:123: printed\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, with_the_variable_at_1_the_default_handler_prints_and_aborts) {
   const ENVIRONMENT_VARIABLE aborts("LOGDB_ABORT_ON_INTERNAL_ERROR", "1");
   EXPECT_EXIT(report_and_exit("broken"), KilledBySignal(SIGABRT),
               Eq("internal error [LOGDB] logdb_database:123: broken\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, any_other_value_of_the_abort_variable_does_not_abort) {
   for (const char* value : {"", "0", "11", "yes"}) {
      const ENVIRONMENT_VARIABLE variable("LOGDB_ABORT_ON_INTERNAL_ERROR", value);
      EXPECT_EXIT(report_and_exit("t"), ExitedWithCode(0), Eq("internal error [LOGDB] logdb_database:123: t\n"));
   }
}

TEST_F(HOST_MSG_DEATH_TEST, a_handler_that_code_sets_wins_over_the_abort_variable) {
   const ENVIRONMENT_VARIABLE aborts("LOGDB_ABORT_ON_INTERNAL_ERROR", "1");
   EXPECT_EXIT(
       {
          record_errors();
          MSG_INTERNAL_ERROR::report("t", "D", "f", 1);
          std::exit(m_events.size() == 1 ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_MSG_DEATH_TEST, an_error_reported_inside_the_handler_goes_to_the_default) {
   EXPECT_EXIT(
       {
          int calls = 0;
          host_set_internal_error_handler([&calls](const char*, const char*, const char*, int) {
             ++calls;
             MSG_INTERNAL_ERROR::report("inner", "LOGDB", "logdb_database", 5);
          });
          MSG_INTERNAL_ERROR::report("outer", "LOGDB", "logdb_database", 4);
          MSG_INTERNAL_ERROR::report("outer", "LOGDB", "logdb_database", 4);
          std::exit(calls == 2 ? 0 : 1);
       },
       ExitedWithCode(0),
       Eq("internal error [LOGDB] logdb_database:5: inner\ninternal error [LOGDB] logdb_database:5: inner\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, null_texts_are_printed_as_a_readable_mark) {
   EXPECT_EXIT(
       {
          MSG_INTERNAL_ERROR::report(nullptr, nullptr, nullptr, 0);
          std::exit(0);
       },
       ExitedWithCode(0), Eq("internal error [(null)] (null):0: (null)\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, control_bytes_in_any_text_are_printed_spelled_out) {
   EXPECT_EXIT(
       {
          MSG_INTERNAL_ERROR::report("a\nb\rc\td\x1b[2J\x7f\x01", "\x07", "\x08", 1);
          std::exit(0);
       },
       ExitedWithCode(0), Eq("internal error [\\x07] \\x08:1: a\\nb\\rc\\td\\x1b[2J\\x7f\\x01\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, names_in_utf_8_are_printed_as_they_are) {
   EXPECT_EXIT(report_and_exit("\u00e9 \u2192 \U0001f600 \u00a0"), ExitedWithCode(0),
               Eq("internal error [LOGDB] logdb_database:123: \u00e9 \u2192 \U0001f600 \u00a0\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, control_characters_and_broken_sequences_beyond_ascii_are_spelled_out) {
   // In turn: a control character in UTF-8 and alone, characters that are cut off, overlong forms, a surrogate, a
   // value beyond the last character, bytes of no use at all, and a character cut off by the end of the text.
   EXPECT_EXIT(report_and_exit("\xc2\x9b|\x9b|\xe2\x82|\xc3(|\xc0\x80|\xe0\x80\x80|\xf0\x80\x80\x80|\xed\xa0\x80|"
                               "\xf4\x90\x80\x80|\xf8\xff|\xc3"),
               ExitedWithCode(0),
               Eq("internal error [LOGDB] logdb_database:123: \\xc2\\x9b|\\x9b|\\xe2\\x82|\\xc3(|\\xc0\\x80|"
                  "\\xe0\\x80\\x80|\\xf0\\x80\\x80\\x80|\\xed\\xa0\\x80|\\xf4\\x90\\x80\\x80|\\xf8\\xff|\\xc3\n"));
}

// Where a name is read on a terminal, these make another of it, or of what stands beside it.
TEST_F(HOST_MSG_DEATH_TEST, characters_that_turn_the_direction_of_writing_or_end_a_line_are_spelled_out) {
   EXPECT_EXIT(report_and_exit("\u061c|\u200e|\u200f|\u2028|\u202e|\u2066|\u2069"), ExitedWithCode(0),
               Eq("internal error [LOGDB] logdb_database:123: \\xd8\\x9c|\\xe2\\x80\\x8e|\\xe2\\x80\\x8f|"
                  "\\xe2\\x80\\xa8|\\xe2\\x80\\xae|\\xe2\\x81\\xa6|\\xe2\\x81\\xa9\n"));
   const std::string neighbours = "\u061b\u061d\u200d\u2010\u2027\u202f\u2065\u206a\u2128";
   EXPECT_EXIT(report_and_exit(neighbours.c_str()), ExitedWithCode(0),
               Eq("internal error [LOGDB] logdb_database:123: " + neighbours + "\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, a_text_of_any_length_is_one_line) {
   const std::string long_text(100000, 'n');
   EXPECT_EXIT(report_and_exit(long_text.c_str()), ExitedWithCode(0),
               Eq("internal error [LOGDB] logdb_database:123: " + long_text + "\n"));
}

namespace {

/// Reports when the process ends.
class LATE_REPORTER {
public:
   ~LATE_REPORTER() {
      if (m_reports) {
         MSG_INTERNAL_ERROR::report("late", "LOGDB", "logdb_database", 9);
         debug("LOGDB", "late");
      }
   }
   bool m_reports = false;
};

LATE_REPORTER late_reporter __attribute__((init_priority(101))); // constructed first, destroyed last

} // namespace

TEST_F(HOST_MSG_DEATH_TEST, handlers_and_defaults_work_while_static_objects_are_destroyed) {
   const ENVIRONMENT_VARIABLE prints("LOGDB_DEBUG", "1");
   EXPECT_EXIT(
       {
          late_reporter.m_reports = true;
          host_set_debug_message_handler(
              [](const char*, const char* text) { return std::fprintf(stderr, "handler: %s\n", text) > 0; });
          std::exit(0);
       },
       ExitedWithCode(0), Eq("internal error [LOGDB] logdb_database:9: late\nhandler: late\n"));
}

// ---- Debug messages

TEST_F(HOST_MSG, a_debug_message_reaches_the_handler_formatted) {
   record_messages(true);
   debug("LOGDB", "Loading %s, %d%%", "x.logdb", 50);
   debug("OTHER", "%s", "");
   EXPECT_THAT(m_events, ElementsAre("LOGDB|Loading x.logdb, 50%", "OTHER|"));
}

TEST_F(HOST_MSG, the_answer_of_the_message_handler_comes_back) {
   record_messages(true);
   EXPECT_TRUE(debug("LOGDB", "t"));
   record_messages(false);
   EXPECT_FALSE(debug("LOGDB", "t"));
}

TEST_F(HOST_MSG, messages_of_every_length_reach_the_handler_whole) {
   record_messages(true);
   for (const std::size_t length : {0U, 1U, 1022U, 1023U, 1024U, 1025U, 100000U}) {
      m_events.clear();
      const std::string text(length, 'm');
      debug("D", "<%s>", text.c_str());
      EXPECT_THAT(m_events, ElementsAre("D|<" + text + ">"));
   }
}

TEST_F(HOST_MSG, a_message_that_cannot_be_formatted_is_not_printed) {
   record_messages(true);
   EXPECT_FALSE(debug("D", "%lc", static_cast<wint_t>(0x7fffffff)));
   EXPECT_TRUE(m_events.empty());
}

TEST_F(HOST_MSG, setting_a_message_handler_gives_the_one_before) {
   EXPECT_FALSE(host_set_debug_message_handler([](const char*, const char*) { return false; }));
   record_messages(true);
   const HOST_DEBUG_MESSAGE_HANDLER recording = host_set_debug_message_handler(nullptr);
   ASSERT_TRUE(recording);
   EXPECT_TRUE(recording("D", "t"));
   EXPECT_THAT(m_events, ElementsAre("D|t"));
   EXPECT_FALSE(host_set_debug_message_handler(nullptr));
}

TEST_F(HOST_MSG, an_exception_of_the_message_handler_passes_through_and_the_handler_stays) {
   host_set_debug_message_handler([this](const char*, const char* text) -> bool {
      m_events.emplace_back(text);
      throw std::runtime_error(text);
   });
   EXPECT_THROW(debug("D", "first"), std::runtime_error);
   EXPECT_THROW(debug("D", "second"), std::runtime_error);
   EXPECT_THAT(m_events, ElementsAre("first", "second"));
}

TEST_F(HOST_MSG, handlers_of_the_two_kinds_may_call_each_other) {
   host_set_internal_error_handler(
       [](const char* text, const char*, const char*, int) { debug("D", "%s", text); });
   record_messages(true);
   MSG_INTERNAL_ERROR::report("told on", "D", "f", 1);
   EXPECT_THAT(m_events, ElementsAre("D|told on"));
}

TEST_F(HOST_MSG_DEATH_TEST, by_default_debug_messages_are_silent_and_the_answer_is_false) {
   EXPECT_EXIT(std::exit(debug("LOGDB", "t") ? 1 : 0), ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_MSG_DEATH_TEST, with_the_variable_at_1_a_debug_message_is_one_line_and_the_answer_is_true) {
   const ENVIRONMENT_VARIABLE prints("LOGDB_DEBUG", "1");
   EXPECT_EXIT(std::exit(debug("LOGDB", "Loading %s\n\x1b", "x") ? 0 : 1), ExitedWithCode(0),
               Eq("[LOGDB] Loading x\\n\\x1b\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, any_other_value_of_the_debug_variable_stays_silent) {
   for (const char* value : {"", "0", "on"}) {
      const ENVIRONMENT_VARIABLE variable("LOGDB_DEBUG", value);
      EXPECT_EXIT(std::exit(debug("LOGDB", "t") ? 1 : 0), ExitedWithCode(0), Eq(""));
   }
}

TEST_F(HOST_MSG_DEATH_TEST, a_message_made_inside_the_handler_goes_to_the_default) {
   const ENVIRONMENT_VARIABLE prints("LOGDB_DEBUG", "1");
   EXPECT_EXIT(
       {
          host_set_debug_message_handler([](const char*, const char*) { return !debug("LOGDB", "inner"); });
          std::exit(debug("LOGDB", "outer") ? 1 : 0);
       },
       ExitedWithCode(0), Eq("[LOGDB] inner\n"));
}

TEST_F(HOST_MSG_DEATH_TEST, a_line_that_cannot_be_printed_is_answered_with_false) {
   const ENVIRONMENT_VARIABLE prints("LOGDB_DEBUG", "1");
   EXPECT_EXIT(
       {
          std::fclose(stderr);
          std::exit(debug("LOGDB", "t") ? 1 : 0);
       },
       ExitedWithCode(0), Eq(""));
}
