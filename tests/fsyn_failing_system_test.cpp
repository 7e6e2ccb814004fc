#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "fsyn_log_fixture.h"
#include "logdb_fsyn_database.h"

namespace {

// It holds a file and its buffer.
static_assert(!std::is_copy_constructible_v<LOGDB_FSYN_FILE_STREAM>);
static_assert(!std::is_copy_assignable_v<LOGDB_FSYN_FILE_STREAM>);

constexpr int unlimited = std::numeric_limits<int>::max();

/// How many objects there is still memory for.
int allocations_left = unlimited;

/// How many of the next calls a signal interrupts, and how many then fail for good.
int interrupted_calls = 0;
int failing_opens = 0;

/// Whether there are arrays for those who answer for themselves when there are none.
bool has_arrays = true;

/// The most bytes that one write takes.
std::size_t write_limit = std::numeric_limits<std::size_t>::max();

bool is_interrupted() {
   if (interrupted_calls == 0) {
      return false;
   }
   --interrupted_calls;
   errno = EINTR;
   return true;
}

} // namespace

// The library's allocation operator again, with an end to the memory.
void* operator new(std::size_t size, int /*tag*/) noexcept {
   if (allocations_left == 0) {
      return nullptr;
   }
   if (allocations_left != unlimited) {
      --allocations_left;
   }
   return std::calloc(size, 1);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
   return has_arrays ? std::malloc(size) : nullptr;
}

// The C library's calls, on a system where signals come in and things go wrong.
extern "C" int open(const char* file_name, int flags, ...) {
   va_list args;
   va_start(args, flags);
   const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
   va_end(args);
   if (is_interrupted()) {
      return -1;
   }
   if (failing_opens > 0) {
      --failing_opens;
      errno = EMFILE;
      return -1;
   }
   return static_cast<int>(syscall(SYS_openat, AT_FDCWD, file_name, flags, mode));
}

extern "C" ssize_t read(int file, void* buffer, std::size_t size) {
   return is_interrupted() ? -1 : syscall(SYS_read, file, buffer, size);
}

extern "C" ssize_t write(int file, const void* bytes, std::size_t size) {
   return is_interrupted() ? -1 : syscall(SYS_write, file, bytes, std::min(size, write_limit));
}

namespace {

using TEXTS = std::vector<std::string>;

class FSYN_FAILING_SYSTEM : public FSYN_LOG_TEST {
protected:
   ~FSYN_FAILING_SYSTEM() override {
      allocations_left = unlimited;
      interrupted_calls = 0;
      failing_opens = 0;
      write_limit = std::numeric_limits<std::size_t>::max();
      has_arrays = true;
   }
};

// ---- No memory

TEST_F(FSYN_FAILING_SYSTEM, a_record_of_any_kind_that_cannot_be_copied_has_no_copy) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      const std::string before = fsyn_description(*sample.m_record);
      allocations_left = 0;
      EXPECT_EQ(sample.m_record->clone(), nullptr) << sample.m_suffix;
      allocations_left = unlimited;
      EXPECT_EQ(fsyn_description(*sample.m_record), before);
      EXPECT_NE(FSYN_RECORD(sample.m_record->clone()), nullptr) << sample.m_suffix;
   }
}

TEST_F(FSYN_FAILING_SYSTEM, a_record_of_any_kind_that_has_no_room_is_reported_and_not_read) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      write_file("log.fsyn", sample.m_text);
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      allocations_left = 1; // the stream's
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr) << sample.m_suffix;
      EXPECT_EQ(take_reports(), TEXTS{"log_entry != 0"}) << sample.m_suffix;
      allocations_left = unlimited;
   }
}

TEST_F(FSYN_FAILING_SYSTEM, a_log_without_room_for_its_stream_takes_and_gives_nothing) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
   allocations_left = 0;
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   log.print_line("line");
   EXPECT_EQ(take_reports(), TEXTS{"m_file_stream"});
   EXPECT_STREQ(log.read_line(), "LOGDB_FSYN_EOF");
   EXPECT_EQ(take_reports(), TEXTS{"m_file_stream"});
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(take_reports(), TEXTS{"m_file_stream"});
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL record;
   record.m_node_name = "n";
   log.write_fsyn_log_entry(&record);
   EXPECT_EQ(take_reports(), TEXTS(2, "m_file_stream")) << "one a line";
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
   allocations_left = unlimited;
   log.print_line("line");
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\nline\n") << "with room it goes on";
}

TEST_F(FSYN_FAILING_SYSTEM, a_log_that_has_no_room_to_be_read_is_not_appended) {
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   allocations_left = 0;
   EXPECT_TRUE(log.append_file("other.fsyn")) << "the file is there";
   EXPECT_EQ(take_reports(), TEXTS(2, "m_file_stream"));
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
}

TEST_F(FSYN_FAILING_SYSTEM, a_log_that_has_no_room_for_what_it_reads_does_not_pass_for_an_empty_one) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   has_arrays = false;
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(take_reports(), TEXTS{"m_file_stream"});
   EXPECT_STREQ(log.read_line(), "LOGDB_FSYN_EOF");
   EXPECT_EQ(take_reports(), TEXTS{"m_file_stream"});
   has_arrays = true;
   EXPECT_NE(FSYN_RECORD(log.read_fsyn_log_entry()), nullptr) << "with room it goes on";
}

// ---- Signals, and writes that take a part

TEST_F(FSYN_FAILING_SYSTEM, signals_do_not_lose_a_line_or_a_word) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   interrupted_calls = 3;
   log.print_line("first");
   EXPECT_EQ(interrupted_calls, 0) << "while the file was opened";
   interrupted_calls = 3;
   log.print_line("second");
   EXPECT_EQ(interrupted_calls, 0) << "while the line was written";
   log.close();
   EXPECT_EQ(read_file("log.fsyn"), "first\nsecond\n");
   LOGDB_FSYN_LOG_FILE reading("log.fsyn");
   interrupted_calls = 3;
   EXPECT_STREQ(reading.read_line(), "first");
   EXPECT_EQ(interrupted_calls, 0);
   EXPECT_STREQ(reading.read_line(), "second");
   interrupted_calls = 3;
   EXPECT_STREQ(reading.read_line(), "LOGDB_FSYN_EOF");
}

TEST_F(FSYN_FAILING_SYSTEM, a_process_without_standard_input_opens_its_log_once) {
   write_file("log.fsyn", "word\n");
   const int standard_input = dup(0);
   ASSERT_EQ(close(0), 0);
   {
      LOGDB_FSYN_LOG_FILE log("log.fsyn"); // which is file 0 then
      errno = EINTR;                       // of a call before
      EXPECT_STREQ(log.read_line(), "word");
   }
   EXPECT_EQ(fcntl(0, F_GETFD), -1) << "closed again";
   ASSERT_EQ(dup2(standard_input, 0), 0);
   close(standard_input);
}

TEST_F(FSYN_FAILING_SYSTEM, a_line_that_is_taken_in_parts_arrives_whole) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   write_limit = 3;
   log.print_line("a line of %d bytes", 18);
   EXPECT_EQ(read_file("log.fsyn"), "a line of 18 bytes\n");
}

TEST_F(FSYN_FAILING_SYSTEM, a_device_that_takes_no_byte_gets_no_later_line) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   write_limit = 0;
   errno = EINTR; // of a call long ago: one that takes nothing says nothing of why
   log.print_line("first");
   write_limit = 100;
   log.print_line("second");
   EXPECT_EQ(read_file("log.fsyn"), "") << "a gap would hide that something is missing";
}

// ---- Files that cannot be opened

TEST_F(FSYN_FAILING_SYSTEM, a_log_that_cannot_be_opened_gives_no_words_and_is_not_appended) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
   failing_opens = 1;
   LOGDB_FSYN_LOG_FILE reading("log.fsyn");
   EXPECT_STREQ(reading.read_line(), "LOGDB_FSYN_EOF");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   log.print_line("PHYSICAL_SYNTHESIS_END_OF_LOG");
   failing_opens = 1;
   EXPECT_TRUE(log.append_file("log.fsyn")) << "the file is there";
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\nPHYSICAL_SYNTHESIS_END_OF_LOG\n");
}

TEST_F(FSYN_FAILING_SYSTEM, a_log_that_cannot_be_opened_for_lines_takes_none) {
   failing_opens = 1;
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   log.print_line("first");
   log.print_line("second");
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   log.close();
   log.print_line("third");
   EXPECT_EQ(read_file("log.fsyn"), "third\n") << "a closed log tries again";
}

} // namespace
