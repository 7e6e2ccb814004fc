// What the log costs: calls of the operating system, and memory.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <iterator>

#include "fsyn_log_fixture.h"
#include "system_calls.h"

namespace {

using FSYN_SYSTEM_CALLS = FSYN_LOG_TEST;

testing::AssertionResult has_writes(const CALLS& calls, long wanted) {
   const bool has = under_a_sanitizer ? calls.m_writes >= wanted : calls.m_writes == wanted;
   return (has ? testing::AssertionSuccess() : testing::AssertionFailure()) << calls.m_writes << " writes";
}

TEST_F(FSYN_SYSTEM_CALLS, a_line_is_one_write) {
   const std::string long_text(10000, 'x');
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   const CALLS calls = calls_of([&] {
      for (int line = 0; line < 250; ++line) {
         log.print_line("%s", "");
         log.print_line("line %d", line);
         log.print_line("%.*s", line * 20, long_text.c_str());
         log.print_line("%s", long_text.c_str());
      }
   });
   EXPECT_TRUE(has_writes(calls, 1000));
   const auto size = static_cast<long>(std::filesystem::file_size("log.fsyn"));
   EXPECT_TRUE(under_a_sanitizer || calls.m_written_bytes == size) << calls.m_written_bytes << " of " << size;
   EXPECT_TRUE(has_writes(calls_of([&] { log.close(); }), 0)) << "everything was written before";
}

TEST_F(FSYN_SYSTEM_CALLS, a_record_is_one_write_a_line) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         const CALLS calls = calls_of([&] { log.write_fsyn_log_entry(sample.m_record.get()); });
         EXPECT_TRUE(has_writes(calls, std::count(sample.m_text.begin(), sample.m_text.end(), '\n')))
             << sample.m_suffix;
         EXPECT_TRUE(under_a_sanitizer || calls.m_reads == 0) << sample.m_suffix << ": " << calls.m_reads;
      }
   }
}

TEST_F(FSYN_SYSTEM_CALLS, a_log_that_is_not_enabled_or_is_being_read_writes_nothing) {
   write_file("log.fsyn", "word\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL record;
   const auto write = [&] {
      log.print_line("lost");
      log.write_fsyn_log_entry(&record);
   };
   EXPECT_TRUE(has_writes(calls_of(write), 0));
   log.init(true);
   log.read_line();
   EXPECT_TRUE(has_writes(calls_of(write), 0));
}

TEST_F(FSYN_SYSTEM_CALLS, after_a_failed_line_the_file_is_left_alone) {
   LOGDB_FSYN_LOG_FILE log("/dev/full");
   log.init(true);
   EXPECT_TRUE(has_writes(calls_of([&] { log.print_line("lost"); }), 1));
   EXPECT_TRUE(has_writes(calls_of([&] { log.print_line("lost too"); }), 0));
}

TEST_F(FSYN_SYSTEM_CALLS, a_log_is_read_in_large_blocks) {
   std::string text;
   while (text.size() < 4000000) {
      text += "PHYSICAL_SYNTHESIS_SET_INVERT\ntop|a_name_of_some_length[12]~dup 11 0\n";
   }
   write_file("log.fsyn", text);
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   int records = 0;
   const CALLS calls = calls_of([&] {
      while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
         ++records;
      }
   });
   EXPECT_EQ(records, std::count(text.begin(), text.end(), '\n') / 2);
   EXPECT_LE(calls.m_reads, static_cast<long>(text.size() / 65536) + 2);
   EXPECT_TRUE(has_writes(calls, 0));
   EXPECT_EQ(calls_of([&] { EXPECT_EQ(log.read_fsyn_log_entry(), nullptr); }).m_reads, 0)
       << "the end stays the end";
}

TEST_F(FSYN_SYSTEM_CALLS, lines_and_words_take_no_tracked_memory) {
   LOGDB_FSYN_LOG_FILE writing("log.fsyn");
   writing.init(true);
   const std::vector<FSYN_SAMPLE> samples = fsyn_samples();
   const std::size_t before = host_memory_statistics("LOGDB").m_total_blocks;
   for (const FSYN_SAMPLE& sample : samples) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         writing.write_fsyn_log_entry(sample.m_record.get());
      }
   }
   LOGDB_FSYN_LOG_FILE reading("log.fsyn");
   const std::size_t of_the_name = host_memory_statistics("LOGDB").m_total_blocks - before;
   EXPECT_EQ(of_the_name, 0U) << "the name is short";
   while (std::strcmp(reading.read_line(), "LOGDB_FSYN_EOF") != 0) {
   }
   EXPECT_EQ(host_memory_statistics("LOGDB").m_total_blocks, before);
}

#ifndef UNDER_A_SANITIZER

bool takes_a_block(std::size_t size) {
   void* block = std::malloc(size);
   // The compiler may not leave out a block that nobody uses.
   __asm__ volatile("" : "+r"(block));
   return block != nullptr;
}

/// Makes the stack as long as whatever comes afterwards needs it. A function of its own, because what its caller
/// calls would otherwise begin where this ends.
[[gnu::noinline]] void lengthen_stack() {
   volatile char stack[200000];
   for (std::size_t at = 0; at < sizeof stack; at += 1000) {
      stack[at] = 1;
   }
}

/// Takes every block of memory that this process could still get.
void take_all_memory() {
   lengthen_stack();
   std::FILE* file = std::fopen("/proc/self/statm", "r");
   unsigned long pages = 0;
   if (file == nullptr || std::fscanf(file, "%lu", &pages) != 1) {
      _exit(90);
   }
   std::fclose(file);
   const rlim_t bytes = pages * static_cast<unsigned long>(sysconf(_SC_PAGESIZE));
   const rlimit limit = {bytes, bytes};
   if (setrlimit(RLIMIT_AS, &limit) != 0) {
      _exit(91);
   }
   for (std::size_t size = std::size_t{1} << 24; size > 2048; size /= 2) {
      while (takes_a_block(size)) {
      }
   }
   for (std::size_t size = 2048; size > 0; size -= 8) {
      while (takes_a_block(size)) {
      }
   }
}

std::size_t reports_without_memory = 0;
char last_report_without_memory[100];

/// Runs something in a child process without memory; the exit status.
template <class WHAT> int without_memory(WHAT&& what) {
   const pid_t child = fork();
   if (child == 0) {
      const rlimit no_core = {0, 0};
      setrlimit(RLIMIT_CORE, &no_core);
      host_set_internal_error_handler([](const char* text, const char*, const char*, int) {
         ++reports_without_memory;
         std::strncpy(last_report_without_memory, text, sizeof last_report_without_memory - 1);
      });
      host_set_debug_message_handler({});
      take_all_memory();
      _exit(what());
   }
   int status = 0;
   EXPECT_EQ(waitpid(child, &status, 0), child);
   EXPECT_TRUE(WIFEXITED(status)) << "status " << status;
   return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(FSYN_SYSTEM_CALLS, an_open_log_takes_lines_and_records_when_there_is_no_memory) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   log.print_line("first %d", 1);
   const std::vector<FSYN_SAMPLE> samples = fsyn_samples();
   std::string wanted = "first 1\n";
   for (const FSYN_SAMPLE& sample : samples) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         wanted += sample.m_text;
      }
   }
   EXPECT_EQ(without_memory([&] {
                for (const FSYN_SAMPLE& sample : samples) {
                   if (sample.m_suffix != "SET_INSTANCE_NAME") {
                      log.write_fsyn_log_entry(sample.m_record.get());
                   }
                }
                log.print_line("last %s", "line");
                return 0;
             }),
             0);
   EXPECT_EQ(read_file("log.fsyn"), wanted + "last line\n");
}

TEST_F(FSYN_SYSTEM_CALLS, an_open_log_gives_its_words_when_there_is_no_memory) {
   std::string text;
   for (int word = 0; word < 100000; ++word) {
      text += "word" + std::to_string(word) + (word % 3 == 0 ? "\n" : " ");
   }
   write_file("log.fsyn", text);
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.read_line();
   EXPECT_EQ(without_memory([&] {
                int words = 1;
                while (std::strcmp(log.read_line(), "LOGDB_FSYN_EOF") != 0) {
                   ++words;
                }
                return words == 100000 ? 0 : 1;
             }),
             0);
}

TEST_F(FSYN_SYSTEM_CALLS, a_log_that_cannot_be_opened_for_want_of_memory_is_reported_a_line) {
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   EXPECT_EQ(without_memory([&] {
                log.print_line("lost");
                const bool reported =
                    reports_without_memory == 1 && std::strcmp(last_report_without_memory, "m_file_stream") == 0;
                return reported && log.m_file_stream == nullptr ? 0 : 1;
             }),
             0);
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
}

TEST_F(FSYN_SYSTEM_CALLS, a_log_that_cannot_be_opened_for_want_of_memory_has_no_words) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(without_memory([&] {
                const bool no_words = std::strcmp(log.read_line(), "LOGDB_FSYN_EOF") == 0;
                return no_words && log.read_fsyn_log_entry() == nullptr ? 0 : 1;
             }),
             0);
}

TEST_F(FSYN_SYSTEM_CALLS, a_record_that_cannot_be_made_for_want_of_memory_is_null) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG PHYSICAL_SYNTHESIS_SET_USER_LCELL n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.read_line();
   const LOGDB_FSYN_LOG_ENTRY_SET_INVERT source;
   EXPECT_EQ(without_memory([&] {
                if (source.clone() != nullptr || reports_without_memory != 0) {
                   return 1;
                }
                if (log.read_fsyn_log_entry() != nullptr) {
                   return 2;
                }
                return reports_without_memory == 1 &&
                               std::strcmp(last_report_without_memory, "log_entry != 0") == 0
                           ? 0
                           : 3;
             }),
             0);
}

#endif

} // namespace
