// The log object: its name, its stream, its lines and its words.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <clocale>
#include <csignal>
#include <cstring>
#include <type_traits>

#include "fsyn_log_fixture.h"

namespace {

using FSYN_LOG_FILE = FSYN_LOG_TEST;
using REPORTS = std::vector<std::string>;
using WORDS = std::vector<std::string>;

const char* const empty_name_report = "m_file_name.size() > 0";
const std::string end_word = "LOGDB_FSYN_EOF";

static_assert(!std::is_polymorphic_v<LOGDB_FSYN_LOG_FILE>);
static_assert(std::is_copy_constructible_v<LOGDB_FSYN_LOG_FILE>);
static_assert(!std::is_copy_assignable_v<LOGDB_FSYN_LOG_FILE>);
static_assert(std::is_pointer_v<decltype(LOGDB_FSYN_LOG_FILE::m_file_stream)>);
static_assert(std::is_same_v<decltype(LOGDB_FSYN_LOG_FILE::m_file_name), MEM_STRING>);
static_assert(std::is_same_v<decltype(LOGDB_FSYN_LOG_FILE::m_enabled), bool>);

// The operations, with the types of their arguments and results.
using LOG = LOGDB_FSYN_LOG_FILE;
static_assert(std::is_constructible_v<LOG, char*>);
static_assert(std::is_same_v<decltype(&LOG::init), void (LOG::*)(bool)>);
static_assert(std::is_same_v<decltype(&LOG::set_file_name), void (LOG::*)(MEM_STRING)>);
static_assert(std::is_same_v<decltype(&LOG::file_exists), bool (LOG::*)()>);
static_assert(std::is_same_v<decltype(&LOG::delete_file), bool (LOG::*)()>);
static_assert(std::is_same_v<decltype(&LOG::read_line), char* (LOG::*)()>);
static_assert(std::is_same_v<decltype(&LOG::close), void (LOG::*)()>);
static_assert(std::is_same_v<decltype(&LOG::append_file), bool (LOG::*)(MEM_STRING)>);
static_assert(std::is_same_v<decltype(&LOG::read_fsyn_log_entry), LOGDB_FSYN_LOG_ENTRY* (LOG::*)()>);

/// A log that is enabled.
struct ENABLED_LOG : LOGDB_FSYN_LOG_FILE {
   explicit ENABLED_LOG(const char* name) : LOGDB_FSYN_LOG_FILE(name) { init(true); }
};

/// Runs something in a child process; whether it ended by itself, with the status 0.
template <class WHAT> bool in_child(WHAT&& what) {
   const pid_t child = fork();
   if (child == 0) {
      what();
      _exit(0);
   }
   int status = 0;
   EXPECT_EQ(waitpid(child, &status, 0), child);
   return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::size_t open_files() {
   std::size_t count = 0;
   for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
      ++count;
   }
   return count;
}

// ---- Construction, names

TEST_F(FSYN_LOG_FILE, a_new_log_has_no_name_no_stream_and_is_not_enabled) {
   LOGDB_FSYN_LOG_FILE log;
   EXPECT_EQ(log.m_file_name, "");
   EXPECT_EQ(log.m_file_stream, nullptr);
   EXPECT_FALSE(log.m_enabled);
}

TEST_F(FSYN_LOG_FILE, a_new_log_in_memory_that_held_something_else_starts_the_same) {
   alignas(LOGDB_FSYN_LOG_FILE) unsigned char place[sizeof(LOGDB_FSYN_LOG_FILE)];
   void* where = place;
   const auto make_dirty = [&] {
      std::memset(where, 0xA5, sizeof place);
      __asm__ volatile("" : "+r"(where) : : "memory");
   };
   make_dirty();
   LOGDB_FSYN_LOG_FILE* log = ::new (where) LOGDB_FSYN_LOG_FILE;
   EXPECT_EQ(log->m_file_stream, nullptr);
   EXPECT_FALSE(log->m_enabled);
   log->~LOGDB_FSYN_LOG_FILE();
   make_dirty();
   log = ::new (where) LOGDB_FSYN_LOG_FILE("name");
   EXPECT_EQ(log->m_file_stream, nullptr);
   EXPECT_FALSE(log->m_enabled);
   log->~LOGDB_FSYN_LOG_FILE();
}

TEST_F(FSYN_LOG_FILE, the_members_stand_in_their_order) {
   LOGDB_FSYN_LOG_FILE log;
   const auto place = [&log](const void* member) {
      return static_cast<const char*>(member) - reinterpret_cast<const char*>(&log);
   };
   EXPECT_EQ(place(&log.m_file_stream), 0);
   EXPECT_EQ(place(&log.m_file_name), 8);
   EXPECT_EQ(place(&log.m_enabled), 40);
   EXPECT_EQ(sizeof log, 48U);
}

TEST_F(FSYN_LOG_FILE, a_name_for_the_constructor_is_taken_as_it_is) {
   char name[] = "Run/Log.TXT";
   LOGDB_FSYN_LOG_FILE log(name);
   name[0] = 'x';
   EXPECT_EQ(log.m_file_name, "Run/Log.TXT");
   EXPECT_EQ(log.m_file_stream, nullptr);
   EXPECT_FALSE(log.m_enabled);
   EXPECT_EQ(LOGDB_FSYN_LOG_FILE("").m_file_name, "");
   EXPECT_EQ(LOGDB_FSYN_LOG_FILE(nullptr).m_file_name, "");
}

TEST_F(FSYN_LOG_FILE, a_name_that_is_set_is_lowered) {
   LOGDB_FSYN_LOG_FILE log("Before");
   log.set_file_name("Run/Log.TXT");
   EXPECT_EQ(log.m_file_name, "run/log.txt");
   log.set_file_name("ABCDEFGHIJKLMNOPQRSTUVWXYZ[]@`{|}~0189_ -.");
   EXPECT_EQ(log.m_file_name, "abcdefghijklmnopqrstuvwxyz[]@`{|}~0189_ -.");
   log.set_file_name("");
   EXPECT_EQ(log.m_file_name, "");
}

TEST_F(FSYN_LOG_FILE, every_byte_of_a_name_is_lowered_as_the_c_library_lowers_it) {
   ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
   for (int byte = 0; byte < 256; ++byte) {
      LOGDB_FSYN_LOG_FILE log;
      log.set_file_name(MEM_STRING(3, static_cast<char>(byte)));
      const int lower = byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte;
      EXPECT_EQ(log.m_file_name, MEM_STRING(3, static_cast<char>(lower))) << byte;
   }
}

TEST_F(FSYN_LOG_FILE, a_new_name_leaves_an_open_stream_on_its_file) {
   ENABLED_LOG log("first.fsyn");
   log.print_line("one");
   log.set_file_name("SECOND.fsyn");
   log.print_line("two");
   EXPECT_EQ(read_file("first.fsyn"), "one\ntwo\n");
   EXPECT_FALSE(std::filesystem::exists("second.fsyn"));
   log.close();
   log.print_line("three");
   EXPECT_EQ(read_file("first.fsyn"), "one\ntwo\n");
   EXPECT_EQ(read_file("second.fsyn"), "three\n");
}

// ---- init

TEST_F(FSYN_LOG_FILE, init_stores_the_flag_and_touches_no_file) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   EXPECT_TRUE(log.m_enabled);
   EXPECT_EQ(log.m_file_stream, nullptr);
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   log.init(false);
   EXPECT_FALSE(log.m_enabled);
}

TEST_F(FSYN_LOG_FILE, a_log_that_is_not_enabled_makes_no_file) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.print_line("never");
   log.init(false);
   log.print_line("never");
   EXPECT_EQ(log.m_file_stream, nullptr);
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
}

TEST_F(FSYN_LOG_FILE, init_changes_what_later_lines_do_at_any_time) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("one");
   log.init(false);
   EXPECT_NE(log.m_file_stream, nullptr);
   log.print_line("two");
   log.init(true);
   log.print_line("three");
   EXPECT_EQ(read_file("log.fsyn"), "one\nthree\n");
}

// ---- file_exists, delete_file

TEST_F(FSYN_LOG_FILE, a_file_exists_when_it_can_be_opened_for_reading) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_FALSE(log.file_exists());
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   write_file("log.fsyn", "");
   EXPECT_TRUE(log.file_exists());
   EXPECT_EQ(log.m_file_stream, nullptr);
   std::filesystem::create_directory("folder");
   EXPECT_TRUE(LOGDB_FSYN_LOG_FILE("folder").file_exists()) << "a folder can be opened";
   EXPECT_FALSE(LOGDB_FSYN_LOG_FILE("missing/log.fsyn").file_exists());
   EXPECT_FALSE(LOGDB_FSYN_LOG_FILE("log.fsyn/log.fsyn").file_exists());
}

TEST_F(FSYN_LOG_FILE, asking_for_a_file_leaves_none_open) {
   write_file("log.fsyn", "x\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   const std::size_t before = open_files();
   for (int i = 0; i < 10; ++i) {
      EXPECT_TRUE(log.file_exists());
   }
   EXPECT_EQ(open_files(), before);
}

TEST_F(FSYN_LOG_FILE, a_file_exists_while_its_stream_is_open_even_when_it_is_gone) {
   ENABLED_LOG writing("written.fsyn");
   writing.print_line("x");
   std::filesystem::remove("written.fsyn");
   EXPECT_TRUE(writing.file_exists());
   writing.close();
   EXPECT_FALSE(writing.file_exists());

   write_file("read.fsyn", "x y\n");
   LOGDB_FSYN_LOG_FILE reading("read.fsyn");
   EXPECT_EQ(reading.read_line(), std::string("x"));
   std::filesystem::remove("read.fsyn");
   EXPECT_TRUE(reading.file_exists());
}

TEST_F(FSYN_LOG_FILE, a_file_that_could_not_be_opened_exists_for_its_log) {
   LOGDB_FSYN_LOG_FILE reading("missing.fsyn");
   EXPECT_EQ(reading.read_line(), end_word);
   EXPECT_NE(reading.m_file_stream, nullptr);
   EXPECT_TRUE(reading.file_exists());
   reading.close();
   EXPECT_FALSE(reading.file_exists());

   ENABLED_LOG writing("missing/log.fsyn");
   writing.print_line("x");
   EXPECT_TRUE(writing.file_exists());
   EXPECT_FALSE(std::filesystem::exists("missing"));
}

TEST_F(FSYN_LOG_FILE, an_empty_name_is_reported_and_then_looked_for) {
   LOGDB_FSYN_LOG_FILE log;
   EXPECT_FALSE(log.file_exists());
   EXPECT_EQ(take_reports(), REPORTS{empty_name_report});
   EXPECT_FALSE(log.delete_file());
   EXPECT_EQ(take_reports(), REPORTS{empty_name_report});
}

TEST_F(FSYN_LOG_FILE, an_empty_name_with_an_open_stream_is_reported_and_exists) {
   write_file("log.fsyn", "x\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.read_line();
   log.set_file_name("");
   EXPECT_TRUE(log.file_exists());
   EXPECT_EQ(take_reports(), REPORTS{empty_name_report});
}

TEST_F(FSYN_LOG_FILE, an_empty_name_takes_no_lines_and_has_no_words) {
   ENABLED_LOG log("");
   log.print_line("x");
   log.close();
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(FSYN_LOG_FILE, deleting_removes_the_file_and_answers_what_the_host_answers) {
   write_file("log.fsyn", "x\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_TRUE(log.delete_file());
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   EXPECT_TRUE(log.delete_file()) << "no file is there afterwards";
   std::filesystem::create_directory("folder");
   EXPECT_FALSE(LOGDB_FSYN_LOG_FILE("folder").delete_file());
   EXPECT_TRUE(std::filesystem::exists("folder"));
}

TEST_F(FSYN_LOG_FILE, deleting_leaves_an_open_stream_open) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("lost");
   const LOGDB_FSYN_FILE_STREAM* stream = log.m_file_stream;
   EXPECT_TRUE(log.delete_file());
   EXPECT_EQ(log.m_file_stream, stream);
   log.print_line("lost too");
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   log.close();
   log.print_line("found");
   EXPECT_EQ(read_file("log.fsyn"), "found\n");
}

// ---- print_line

TEST_F(FSYN_LOG_FILE, a_line_is_formatted_as_printf_does) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("plain");
   log.print_line("%s %d %lx", "name", -5, 0xF0F0UL);
   log.print_line("%%|%5d|%-5d|%05.1f|%c|%x", 42, 42, 2.5, 'c', 255);
   log.print_line("%s", "");
   log.print_line("two\nlines");
   EXPECT_EQ(read_file("log.fsyn"), "plain\nname -5 f0f0\n%|   42|42   |002.5|c|ff\n\ntwo\nlines\n");
}

TEST_F(FSYN_LOG_FILE, the_first_line_opens_the_file_and_keeps_what_it_holds) {
   write_file("log.fsyn", "old\n");
   ENABLED_LOG log("log.fsyn");
   EXPECT_EQ(log.m_file_stream, nullptr);
   log.print_line("new");
   EXPECT_NE(log.m_file_stream, nullptr);
   EXPECT_EQ(read_file("log.fsyn"), "old\nnew\n");
}

TEST_F(FSYN_LOG_FILE, reopening_appends_and_never_truncates) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("one");
   log.close();
   EXPECT_EQ(log.m_file_stream, nullptr);
   log.print_line("two");
   log.close();
   { ENABLED_LOG("log.fsyn").print_line("three"); }
   EXPECT_EQ(read_file("log.fsyn"), "one\ntwo\nthree\n");
}

TEST_F(FSYN_LOG_FILE, every_line_goes_to_the_end_whoever_else_writes) {
   ENABLED_LOG first("log.fsyn");
   ENABLED_LOG second("log.fsyn");
   first.print_line("1");
   second.print_line("2");
   std::filesystem::resize_file("log.fsyn", 0);
   first.print_line("3");
   first.print_line("4");
   second.print_line("5");
   EXPECT_EQ(read_file("log.fsyn"), "3\n4\n5\n");
}

TEST_F(FSYN_LOG_FILE, a_line_has_at_most_4095_characters) {
   for (const int size : {4094, 4095, 4096, 4097, 5000, 1000000}) {
      std::filesystem::remove("log.fsyn");
      const std::string text(static_cast<std::size_t>(size), 'x');
      ENABLED_LOG log("log.fsyn");
      log.print_line("%s", text.c_str());
      log.print_line("next");
      EXPECT_EQ(read_file("log.fsyn"), text.substr(0, 4095) + "\nnext\n") << size;
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_LOG_FILE, the_cut_does_not_care_which_conversion_it_falls_into) {
   const std::string text(4090, 'x');
   ENABLED_LOG log("log.fsyn");
   log.print_line("%s %d %d", text.c_str(), 1234567, 89);
   log.print_line("%5000d", 7);
   log.print_line("%-5000dz", 7);
   EXPECT_EQ(read_file("log.fsyn"),
             text + " 1234\n" + std::string(4095, ' ') + "\n" + "7" + std::string(4094, ' ') + "\n");
}

TEST_F(FSYN_LOG_FILE, a_line_ends_at_its_first_zero_byte) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("ab%ccd", 0);
   log.print_line("%c", 0);
   log.print_line("next");
   EXPECT_EQ(read_file("log.fsyn"), "ab\n\nnext\n");
}

TEST_F(FSYN_LOG_FILE, a_text_that_cannot_be_formatted_gives_one_line_of_what_was_made) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("before %lc after", static_cast<wint_t>(0x7FFFFFFE)); // no character
   log.print_line("next");
   char buffer[4096] = "";
   ASSERT_LT(std::snprintf(buffer, sizeof buffer, "before %lc after", static_cast<wint_t>(0x7FFFFFFE)), 0);
   EXPECT_EQ(read_file("log.fsyn"), std::string(buffer) + "\nnext\n");
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_LOG_FILE, a_second_process_sees_every_line_as_soon_as_it_was_printed) {
   ENABLED_LOG log("log.fsyn");
   std::string wanted;
   for (int line = 0; line < 5; ++line) {
      log.print_line("line %d", line);
      wanted += "line " + std::to_string(line) + "\n";
      EXPECT_TRUE(in_child([&] {
         char bytes[200] = "";
         const int file = open("log.fsyn", O_RDONLY);
         const ssize_t size = read(file, bytes, sizeof bytes);
         _exit(size == static_cast<ssize_t>(wanted.size()) && wanted == bytes ? 0 : 1);
      })) << wanted;
   }
}

TEST_F(FSYN_LOG_FILE, a_process_that_is_killed_leaves_every_line_that_it_printed) {
   std::string wanted;
   for (int line = 0; line < 100; ++line) {
      wanted += "line " + std::to_string(line) + "\n";
   }
   EXPECT_FALSE(in_child([] {
      ENABLED_LOG log("log.fsyn");
      for (int line = 0; line < 100; ++line) {
         log.print_line("line %d", line);
      }
      kill(getpid(), SIGKILL);
   }));
   EXPECT_EQ(read_file("log.fsyn"), wanted);
}

TEST_F(FSYN_LOG_FILE, lines_of_two_processes_stay_whole) {
   const auto print_lines = [](char letter) {
      ENABLED_LOG log("log.fsyn");
      const std::string text(200, letter);
      for (int line = 0; line < 500; ++line) {
         log.print_line("%s", text.c_str());
      }
   };
   const pid_t child = fork();
   if (child == 0) {
      print_lines('c');
      _exit(0);
   }
   print_lines('p');
   int status = 0;
   ASSERT_EQ(waitpid(child, &status, 0), child);
   ASSERT_EQ(status, 0);

   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   int child_lines = 0;
   int parent_lines = 0;
   for (const std::string& word : words(log)) {
      child_lines += word == std::string(200, 'c');
      parent_lines += word == std::string(200, 'p');
   }
   EXPECT_EQ(child_lines, 500);
   EXPECT_EQ(parent_lines, 500);
   EXPECT_EQ(std::filesystem::file_size("log.fsyn"), 1000U * 201U);
}

TEST_F(FSYN_LOG_FILE, a_new_file_has_the_rights_that_the_mask_of_the_process_leaves) {
   const mode_t old = umask(027);
   ENABLED_LOG log("log.fsyn");
   log.print_line("x");
   umask(old);
   struct stat status = {};
   ASSERT_EQ(stat("log.fsyn", &status), 0);
   EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(FSYN_LOG_FILE, a_log_in_no_folder_loses_its_lines_until_it_is_closed) {
   ENABLED_LOG log("missing/log.fsyn");
   log.print_line("lost");
   EXPECT_NE(log.m_file_stream, nullptr);
   std::filesystem::create_directory("missing");
   log.print_line("lost too");
   EXPECT_TRUE(std::filesystem::is_empty("missing"));
   log.close();
   EXPECT_EQ(log.m_file_stream, nullptr);
   log.print_line("found");
   EXPECT_EQ(read_file("missing/log.fsyn"), "found\n");
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_LOG_FILE, a_folder_takes_no_lines_and_has_no_words) {
   std::filesystem::create_directory("folder");
   ENABLED_LOG log("folder");
   log.print_line("lost");
   log.close();
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_TRUE(std::filesystem::is_empty("folder"));
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_LOG_FILE, a_full_disk_loses_lines_without_a_word) {
   ENABLED_LOG log("/dev/full");
   log.print_line("lost");
   log.print_line("lost too");
   log.close();
   EXPECT_EQ(log.m_file_stream, nullptr);
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_TRUE(m_host.take_messages().empty());
}

TEST_F(FSYN_LOG_FILE, after_a_failed_line_nothing_is_written_until_the_log_is_closed) {
   // The child's files may grow to 10 bytes at first: the second line does not fit, the third would.
   EXPECT_TRUE(in_child([] {
      signal(SIGXFSZ, SIG_IGN);
      rlimit limit = {};
      getrlimit(RLIMIT_FSIZE, &limit);
      const rlim_t old = limit.rlim_cur;
      limit.rlim_cur = 10;
      setrlimit(RLIMIT_FSIZE, &limit);
      ENABLED_LOG log("log.fsyn");
      log.print_line("12345");
      log.print_line("1234567890");
      limit.rlim_cur = old;
      setrlimit(RLIMIT_FSIZE, &limit);
      log.print_line("lost");
      log.close();
      log.print_line("found");
   }));
   // What of the second line fitted is there; no later line follows it but those of the log that was opened anew.
   EXPECT_EQ(read_file("log.fsyn"), "12345\n1234found\n");
}

TEST_F(FSYN_LOG_FILE, a_reader_that_went_away_loses_lines_without_a_word) {
   ASSERT_EQ(mkfifo("pipe", 0600), 0);
   EXPECT_TRUE(in_child([] {
      signal(SIGPIPE, SIG_IGN);
      const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
      ENABLED_LOG log("pipe");
      log.print_line("read");
      char bytes[20] = "";
      const bool was_read = read(reader, bytes, sizeof bytes) == 5;
      ::close(reader);
      log.print_line("lost");
      const int second_reader = open("pipe", O_RDONLY | O_NONBLOCK);
      log.print_line("lost too");
      _exit(was_read && read(second_reader, bytes, sizeof bytes) <= 0 ? 0 : 1);
   }));
}

TEST_F(FSYN_LOG_FILE, a_signal_while_writing_loses_no_line) {
   ASSERT_EQ(mkfifo("pipe", 0600), 0);
   struct sigaction action = {};
   struct sigaction old_action = {};
   action.sa_handler = [](int) {}; // without SA_RESTART
   ASSERT_EQ(sigaction(SIGUSR1, &action, &old_action), 0);
   const pid_t writer = getpid();
   const pid_t child = fork();
   if (child == 0) {
      const int file = open("pipe", O_RDONLY);
      // The pipe fills up and the writer waits in its call, where the signals find it.
      for (int i = 0; i < 20; ++i) {
         usleep(1000);
         kill(writer, SIGUSR1);
      }
      std::size_t size = 0;
      char bytes[4096];
      for (ssize_t part = 0; (part = read(file, bytes, sizeof bytes)) > 0;) {
         size += static_cast<std::size_t>(part);
      }
      _exit(size == 2000U * 101U ? 0 : 1);
   }
   {
      ENABLED_LOG log("pipe");
      const std::string text(100, 'x');
      for (int line = 0; line < 2000; ++line) {
         log.print_line("%s", text.c_str());
      }
   }
   int status = 0;
   ASSERT_EQ(waitpid(child, &status, 0), child);
   EXPECT_EQ(status, 0);
   sigaction(SIGUSR1, &old_action, nullptr);
}

TEST_F(FSYN_LOG_FILE, a_log_of_more_than_4_gigabytes_grows_at_its_end) {
   write_file("log.fsyn", "first\n");
   std::filesystem::resize_file("log.fsyn", 5000000000U); // zero bytes that take no room on the disk
   ENABLED_LOG log("log.fsyn");
   EXPECT_TRUE(log.file_exists());
   log.print_line("last");
   EXPECT_EQ(std::filesystem::file_size("log.fsyn"), 5000000005U);
   log.close();
   EXPECT_EQ(words(log), WORDS{"first"});
   EXPECT_TRUE(log.delete_file());
}

// ---- read_line

TEST_F(FSYN_LOG_FILE, reading_gives_words_and_lines_mean_nothing) {
   write_file("log.fsyn", "A B\nC\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), std::string("A"));
   EXPECT_NE(log.m_file_stream, nullptr);
   EXPECT_EQ(log.read_line(), std::string("B"));
   EXPECT_EQ(log.read_line(), std::string("C"));
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_EQ(log.read_line(), end_word);
}

TEST_F(FSYN_LOG_FILE, reading_does_not_ask_whether_the_log_is_enabled) {
   write_file("log.fsyn", "A B");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(words(log), (WORDS{"A", "B"}));
   ENABLED_LOG enabled("log.fsyn");
   EXPECT_EQ(words(enabled), (WORDS{"A", "B"}));
}

TEST_F(FSYN_LOG_FILE, empty_files_and_files_of_white_space_have_no_words) {
   for (const char* bytes : {"", " ", "\n", " \t\n\v\f\r \n\n"}) {
      write_file("log.fsyn", bytes);
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      for (int i = 0; i < 3; ++i) {
         EXPECT_EQ(log.read_line(), end_word);
      }
   }
}

TEST_F(FSYN_LOG_FILE, the_six_white_space_bytes_separate_words_and_no_other_byte_does) {
   for (int byte = 1; byte < 256; ++byte) {
      const std::string text = std::string("a") + static_cast<char>(byte) + "b";
      write_file("log.fsyn", text);
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      const bool white = byte == ' ' || (byte >= 9 && byte <= 13);
      EXPECT_EQ(words(log), white ? (WORDS{"a", "b"}) : WORDS{text}) << byte;
   }
}

TEST_F(FSYN_LOG_FILE, a_zero_byte_ends_a_word_and_the_file) {
   write_file("log.fsyn", std::string("ab\0cd ef\n", 9));
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), std::string("ab"));
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_EQ(log.read_line(), end_word);
   write_file("log.fsyn", std::string("ab \0 cd\n", 8));
   log.close();
   EXPECT_EQ(words(log), WORDS{"ab"});
   EXPECT_EQ(log.read_line(), end_word);
   write_file("log.fsyn", std::string("\0ab", 3));
   log.close();
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_EQ(log.read_line(), end_word);
}

TEST_F(FSYN_LOG_FILE, the_word_for_the_end_in_a_file_reads_as_itself) {
   write_file("log.fsyn", "A LOGDB_FSYN_EOF B\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), std::string("A"));
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_EQ(log.read_line(), std::string("B"));
   EXPECT_EQ(log.read_line(), end_word);
}

TEST_F(FSYN_LOG_FILE, a_missing_file_has_no_words_and_is_not_made) {
   LOGDB_FSYN_LOG_FILE log("missing.fsyn");
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_FALSE(std::filesystem::exists("missing.fsyn"));
   write_file("missing.fsyn", "A\n");
   EXPECT_EQ(log.read_line(), end_word) << "the stream is in its failed state";
   log.close();
   EXPECT_EQ(log.read_line(), std::string("A"));
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_LOG_FILE, the_end_of_the_file_stays_the_end) {
   write_file("log.fsyn", "A B");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(words(log), (WORDS{"A", "B"}));
   { ENABLED_LOG("log.fsyn").print_line(" C"); }
   EXPECT_EQ(log.read_line(), end_word);
   log.close();
   EXPECT_EQ(words(log), (WORDS{"A", "B", "C"})) << "opened anew, it starts at the front";
}

TEST_F(FSYN_LOG_FILE, a_word_that_reaches_the_end_of_the_file_is_the_last) {
   write_file("log.fsyn", "A B");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), std::string("A"));
   EXPECT_EQ(log.read_line(), std::string("B"));
   { ENABLED_LOG("log.fsyn").print_line(" C"); }
   EXPECT_EQ(log.read_line(), end_word) << "the end was seen when the word was read";
}

TEST_F(FSYN_LOG_FILE, a_word_is_cut_to_4096_characters_and_nothing_gets_out_of_step) {
   for (const std::size_t size : {4095U, 4096U, 4097U, 5000U, 262144U, 262145U, 1000000U}) {
      const std::string word(size, 'w');
      write_file("log.fsyn", "before " + word + " after\n");
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      EXPECT_EQ(words(log), (WORDS{"before", word.substr(0, 4096), "after"})) << size;
      write_file("log.fsyn", word);
      log.close();
      EXPECT_EQ(words(log), WORDS{word.substr(0, 4096)}) << size << " characters up to the end";
   }
}

TEST_F(FSYN_LOG_FILE, a_zero_byte_in_the_skipped_rest_of_a_word_ends_it_too) {
   const std::string word(10000, 'w');
   write_file("log.fsyn", word + std::string("\0more", 5) + " after\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(words(log), WORDS{word.substr(0, 4096)});
}

TEST_F(FSYN_LOG_FILE, words_come_out_whole_wherever_they_fall) {
   // Words and gaps of many lengths, so that every kind of place in the file meets every border that reading has.
   std::string bytes;
   WORDS wanted;
   unsigned int state = 1;
   const auto next = [&state](unsigned int range) {
      state = state * 1664525U + 1013904223U;
      return state / 65536U % range;
   };
   while (bytes.size() < 1500000) {
      const std::size_t size = next(40) == 0 ? 1 + next(9000) : 1 + next(60);
      std::string word;
      while (word.size() < size) {
         word += static_cast<char>('!' + next(90));
      }
      bytes += word + std::string(next(30) == 0 ? 1 + next(300) : 1, " \t\n\v\f\r"[next(6)]);
      wanted.push_back(word.substr(0, 4096));
   }
   write_file("log.fsyn", bytes);
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_TRUE(words(log) == wanted);
}

TEST_F(FSYN_LOG_FILE, a_word_at_any_place_around_the_end_of_a_large_block_comes_out_whole) {
   for (const std::size_t block : {4096U, 8192U, 65536U, 131072U, 262144U, 524288U}) {
      for (const std::size_t distance : {0U, 1U, 2U, 15U, 16U, 17U, 31U}) {
         write_file("log.fsyn", "A" + std::string(block - 2 - distance, ' ') + "abcdefghijklmnop B");
         LOGDB_FSYN_LOG_FILE log("log.fsyn");
         EXPECT_EQ(words(log), (WORDS{"A", "abcdefghijklmnop", "B"})) << block << " - " << distance;
      }
   }
}

TEST_F(FSYN_LOG_FILE, a_file_that_comes_in_pieces_reads_the_same) {
   ASSERT_EQ(mkfifo("pipe", 0600), 0);
   const std::string bytes = "first  second\nthird " + std::string(5000, 'w') + " last";
   const pid_t child = fork();
   if (child == 0) {
      const int file = open("pipe", O_WRONLY);
      for (std::size_t at = 0; at < bytes.size(); at += at < 30 ? 1 : 700) {
         const std::size_t size = std::min<std::size_t>(at < 30 ? 1 : 700, bytes.size() - at);
         if (write(file, bytes.data() + at, size) != static_cast<ssize_t>(size)) {
            _exit(1);
         }
         usleep(200);
      }
      _exit(0);
   }
   LOGDB_FSYN_LOG_FILE log("pipe");
   EXPECT_EQ(words(log), (WORDS{"first", "second", "third", std::string(4096, 'w'), "last"}));
   int status = 0;
   ASSERT_EQ(waitpid(child, &status, 0), child);
   EXPECT_EQ(status, 0);
}

TEST_F(FSYN_LOG_FILE, a_signal_while_reading_does_not_end_the_file) {
   ASSERT_EQ(mkfifo("pipe", 0600), 0);
   struct sigaction action = {};
   struct sigaction old_action = {};
   static volatile sig_atomic_t signals = 0;
   action.sa_handler = [](int) { signals = signals + 1; }; // without SA_RESTART
   ASSERT_EQ(sigaction(SIGUSR1, &action, &old_action), 0);
   const pid_t reader = getpid();
   const pid_t child = fork();
   if (child == 0) {
      const int file = open("pipe", O_WRONLY);
      bool good = write(file, "A ", 2) == 2;
      for (int i = 0; i < 20; ++i) {
         usleep(1000);
         kill(reader, SIGUSR1);
      }
      good = write(file, "B", 1) == 1 && good;
      _exit(good ? 0 : 1);
   }
   LOGDB_FSYN_LOG_FILE log("pipe");
   EXPECT_EQ(words(log), (WORDS{"A", "B"}));
   EXPECT_GT(signals, 0);
   int status = 0;
   ASSERT_EQ(waitpid(child, &status, 0), child);
   EXPECT_EQ(status, 0);
   sigaction(SIGUSR1, &old_action, nullptr);
}

TEST_F(FSYN_LOG_FILE, a_file_that_vanishes_while_it_is_read_is_read_to_its_end) {
   const std::string word(1000, 'w');
   std::string bytes;
   for (int i = 0; i < 2000; ++i) {
      bytes += word + "\n";
   }
   write_file("log.fsyn", bytes);
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), word);
   std::filesystem::remove("log.fsyn");
   EXPECT_EQ(words(log).size(), 1999U);
}

TEST_F(FSYN_LOG_FILE, a_file_that_is_emptied_while_it_is_read_ends_early) {
   const std::string word(1000, 'w');
   std::string bytes;
   for (int i = 0; i < 2000; ++i) {
      bytes += word + "\n";
   }
   write_file("log.fsyn", bytes);
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), word);
   std::filesystem::resize_file("log.fsyn", 0);
   EXPECT_LT(words(log).size(), 1999U);
   EXPECT_EQ(log.read_line(), end_word);
}

TEST_F(FSYN_LOG_FILE, all_logs_share_one_word_buffer) {
   write_file("a.fsyn", "first second");
   write_file("b.fsyn", "other");
   LOGDB_FSYN_LOG_FILE a("a.fsyn");
   LOGDB_FSYN_LOG_FILE b("b.fsyn");
   const char* word = a.read_line();
   EXPECT_STREQ(word, "first");
   EXPECT_EQ(b.read_line(), word);
   EXPECT_STREQ(word, "other");
   EXPECT_EQ(a.read_line(), word);
   EXPECT_STREQ(word, "second");
   EXPECT_STREQ(a.read_line(), "LOGDB_FSYN_EOF");
   EXPECT_STREQ(word, "") << "the buffer is cleared at the start of every read";
}

TEST_F(FSYN_LOG_FILE, a_line_leaves_the_last_word_alone) {
   write_file("a.fsyn", "word");
   LOGDB_FSYN_LOG_FILE reading("a.fsyn");
   ENABLED_LOG writing("b.fsyn");
   const char* word = reading.read_line();
   writing.print_line("got %s", word);
   EXPECT_STREQ(word, "word");
   EXPECT_EQ(read_file("b.fsyn"), "got word\n");
}

// ---- close, destruction, copies

TEST_F(FSYN_LOG_FILE, closing_keeps_name_and_enabling) {
   ENABLED_LOG log("log.fsyn");
   log.close();
   EXPECT_EQ(log.m_file_stream, nullptr);
   log.print_line("A");
   log.close();
   log.close();
   EXPECT_EQ(log.m_file_name, "log.fsyn");
   EXPECT_TRUE(log.m_enabled);
   EXPECT_EQ(log.read_line(), std::string("A"));
   log.close();
   log.print_line("B");
   log.close();
   EXPECT_EQ(words(log), (WORDS{"A", "B"}));
}

TEST_F(FSYN_LOG_FILE, closing_and_destruction_leave_no_file_open) {
   const std::size_t before = open_files();
   {
      ENABLED_LOG writing("log.fsyn");
      writing.print_line("A");
      LOGDB_FSYN_LOG_FILE reading("log.fsyn");
      reading.read_line();
      LOGDB_FSYN_LOG_FILE missing("missing.fsyn");
      missing.read_line();
      EXPECT_EQ(open_files(), before + 2);
      writing.close();
      EXPECT_EQ(open_files(), before + 1);
   }
   EXPECT_EQ(open_files(), before);
}

TEST_F(FSYN_LOG_FILE, a_copy_has_the_name_the_flag_and_the_stream_of_its_source) {
   ENABLED_LOG log("log.fsyn");
   {
      const LOGDB_FSYN_LOG_FILE unopened(log);
      EXPECT_EQ(unopened.m_file_stream, nullptr);
      EXPECT_EQ(unopened.m_file_name, "log.fsyn");
      EXPECT_TRUE(unopened.m_enabled);
   }
   log.print_line("A");
   LOGDB_FSYN_LOG_FILE copy(log);
   EXPECT_EQ(copy.m_file_stream, log.m_file_stream);
   copy.print_line("B");
   log.print_line("C");
   EXPECT_EQ(read_file("log.fsyn"), "A\nB\nC\n");
   copy.m_file_stream = nullptr; // only one of the two may close it
}

TEST_F(FSYN_LOG_FILE, a_copy_reads_on_where_its_source_stopped) {
   write_file("log.fsyn", "A B C D\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.read_line();
   LOGDB_FSYN_LOG_FILE copy(log);
   EXPECT_EQ(copy.read_line(), std::string("B"));
   EXPECT_EQ(log.read_line(), std::string("C"));
   EXPECT_EQ(copy.read_line(), std::string("D"));
   log.m_file_stream = nullptr;
   copy.close();
   EXPECT_EQ(copy.read_line(), std::string("A"));
}

TEST_F(FSYN_LOG_FILE, a_copy_shares_neither_name_nor_flag) {
   ENABLED_LOG log("log.fsyn");
   LOGDB_FSYN_LOG_FILE copy(log);
   copy.set_file_name("other.fsyn");
   copy.init(false);
   EXPECT_EQ(log.m_file_name, "log.fsyn");
   EXPECT_TRUE(log.m_enabled);
}

// ---- The wrong direction

TEST_F(FSYN_LOG_FILE, a_log_that_is_written_has_no_words_and_goes_on_writing) {
   write_file("log.fsyn", "A B\n");
   ENABLED_LOG log("log.fsyn");
   log.print_line("C");
   EXPECT_EQ(log.read_line(), end_word);
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   log.print_line("D");
   EXPECT_EQ(read_file("log.fsyn"), "A B\nC\nD\n");
}

TEST_F(FSYN_LOG_FILE, a_log_that_is_read_takes_no_lines_and_goes_on_reading) {
   write_file("log.fsyn", "A B C\n");
   ENABLED_LOG log("log.fsyn");
   EXPECT_EQ(log.read_line(), std::string("A"));
   log.print_line("lost");
   EXPECT_EQ(log.read_line(), std::string("B"));
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG record;
   log.write_fsyn_log_entry(&record);
   EXPECT_EQ(words(log), WORDS{"C"});
   log.print_line("lost too");
   EXPECT_EQ(read_file("log.fsyn"), "A B C\n");
   log.close();
   log.print_line("found");
   EXPECT_EQ(read_file("log.fsyn"), "A B C\nfound\n");
}

TEST_F(FSYN_LOG_FILE, reading_a_missing_file_keeps_lines_from_making_it) {
   ENABLED_LOG log("log.fsyn");
   EXPECT_EQ(log.read_line(), end_word);
   log.print_line("lost");
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   log.close();
   log.print_line("found");
   EXPECT_EQ(read_file("log.fsyn"), "found\n");
}

TEST_F(FSYN_LOG_FILE, asking_a_disabled_log_for_a_line_does_not_choose_a_direction) {
   write_file("log.fsyn", "A\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.print_line("lost");
   EXPECT_EQ(log.m_file_stream, nullptr);
   EXPECT_EQ(log.read_line(), std::string("A"));
}

/// The descriptors of this process that lead to a file.
std::vector<int> descriptors_of(const std::string& path) {
   std::vector<int> found;
   for (int descriptor = 0; descriptor < 100; ++descriptor) {
      std::error_code ignored;
      const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), ignored);
      if (target == path) {
         found.push_back(descriptor);
      }
   }
   return found;
}

TEST_F(FSYN_LOG_FILE, where_standard_input_is_closed_a_log_takes_its_descriptor_and_gives_it_back) {
   EXPECT_TRUE(in_child([] {
      ::close(STDIN_FILENO);
      ENABLED_LOG log("log.fsyn");
      log.print_line("line");
      const bool is_taken = ::fcntl(STDIN_FILENO, F_GETFD) != -1;
      log.close();
      const bool is_given_back = ::fcntl(STDIN_FILENO, F_GETFD) == -1;
      const char* const line = log.read_line();
      if (!is_taken || !is_given_back || std::strcmp(line, "line") != 0) {
         _exit(1);
      }
   }));
   EXPECT_EQ(read_file("log.fsyn"), "line\n");
}

TEST_F(FSYN_LOG_FILE, programs_that_the_process_starts_do_not_hold_the_log_open) {
   ENABLED_LOG log("log.fsyn");
   log.print_line("line");
   LOGDB_FSYN_LOG_FILE reading("log.fsyn");
   EXPECT_STREQ(reading.read_line(), "line");
   const std::vector<int> descriptors = descriptors_of(std::filesystem::canonical("log.fsyn"));
   EXPECT_EQ(descriptors.size(), 2U);
   for (const int descriptor : descriptors) {
      EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
   }
}

} // namespace
