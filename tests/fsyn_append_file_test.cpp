// append_file: one log copied to the end of another, record by record.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "fsyn_log_fixture.h"

namespace {

using REPORTS = std::vector<std::string>;

const char* const user_lcell = "PHYSICAL_SYNTHESIS_SET_USER_LCELL\n";

class FSYN_APPEND_FILE : public FSYN_LOG_TEST {
protected:
   FSYN_APPEND_FILE() : m_log("log.fsyn") { m_log.init(true); }

   LOGDB_FSYN_LOG_FILE m_log;
};

/// Runs something in a child process, which may take 10 seconds and write files of 4 million bytes; whether it
/// said true.
template <class WHAT> bool ends_with_true(WHAT&& what) {
   const pid_t child = fork();
   if (child == 0) {
      const rlimit size = {4000000, 4000000};
      const rlimit no_core = {0, 0};
      setrlimit(RLIMIT_FSIZE, &size);
      setrlimit(RLIMIT_CORE, &no_core);
      signal(SIGXFSZ, SIG_DFL);
      alarm(10);
      _exit(what() ? 0 : 1);
   }
   int status = 0;
   EXPECT_EQ(waitpid(child, &status, 0), child);
   return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(FSYN_APPEND_FILE, every_record_goes_behind_what_the_log_holds) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n");
   write_file("other.fsyn", read_file(LOGDB_TEST_DIRECTORY "/golden/all_kinds.fsyn"));
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   std::string wanted = "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n";
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         wanted += fsyn_model_text(*fsyn_model_read_back(*sample.m_record));
      }
   }
   EXPECT_EQ(read_file("log.fsyn"), wanted);
   EXPECT_EQ(read_file("other.fsyn"), read_file(LOGDB_TEST_DIRECTORY "/golden/all_kinds.fsyn"));
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_TRUE(m_host.take_messages().empty());
}

TEST_F(FSYN_APPEND_FILE, the_ends_of_a_log_are_copied_and_so_is_what_follows_them) {
   const std::string text = std::string("PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\nPHYSICAL_SYNTHESIS_END_OF_LOG\n") +
                            user_lcell + "n\nPHYSICAL_SYNTHESIS_END_OF_LOG\n";
   write_file("other.fsyn", text);
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_EQ(read_file("log.fsyn"), text);
}

TEST_F(FSYN_APPEND_FILE, a_missing_log_is_false_and_nothing_is_written) {
   EXPECT_FALSE(m_log.append_file("missing.fsyn"));
   EXPECT_FALSE(m_log.append_file("missing/other.fsyn"));
   EXPECT_TRUE(std::filesystem::is_empty("."));
   EXPECT_EQ(m_log.m_file_stream, nullptr);
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_APPEND_FILE, an_empty_log_is_true_and_nothing_is_written) {
   write_file("other.fsyn", "");
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   EXPECT_EQ(m_log.m_file_stream, nullptr);
}

TEST_F(FSYN_APPEND_FILE, a_folder_is_there_and_has_no_records) {
   std::filesystem::create_directory("folder");
   EXPECT_TRUE(m_log.append_file("folder"));
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
}

TEST_F(FSYN_APPEND_FILE, an_empty_name_is_reported_and_false) {
   EXPECT_FALSE(m_log.append_file(""));
   EXPECT_EQ(take_reports(), REPORTS{"m_file_name.size() > 0"});
}

TEST_F(FSYN_APPEND_FILE, the_other_name_is_lowered_and_ones_own_is_not) {
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
   write_file("Upper.fsyn", "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n");
   EXPECT_TRUE(m_log.append_file("OTHER.Fsyn"));
   EXPECT_FALSE(m_log.append_file("Upper.fsyn"));
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
   LOGDB_FSYN_LOG_FILE upper("Upper.fsyn");
   upper.init(true);
   EXPECT_TRUE(upper.append_file("other.fsyn"));
   EXPECT_EQ(read_file("Upper.fsyn"), "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\nPHYSICAL_SYNTHESIS_END_OF_LOG\n");
}

TEST_F(FSYN_APPEND_FILE, a_log_that_is_not_enabled_reads_the_other_and_writes_nothing) {
   write_file("other.fsyn", "stray PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME n 1 name "
                            "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN n 1 2 3 PHYSICAL_SYNTHESIS_END_OF_LOG");
   m_log.init(false);
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_FALSE(std::filesystem::exists("log.fsyn"));
   EXPECT_EQ(take_reports(), REPORTS{"Unrecognized line in the log"});
}

TEST_F(FSYN_APPEND_FILE, what_does_not_read_back_is_not_copied) {
   write_file("other.fsyn", "stray\n"
                            "PHYSICAL_SYNTHESIS_INSERT_ATOM\nn 7\nr\n"
                            "PHYSICAL_SYNTHESIS_SET_LUTMASK\nn\nF 0x1 3\nADD\n"
                            "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN\nn 1 2 3\n"
                            "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_FF\nn\n99 x\n8 y\n2 UNCHANGED\n"
                            "End_of_ADD_REMOVE_Connection\n");
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_INSERT_ATOM\nn 1\nr\n"
                                    "PHYSICAL_SYNTHESIS_SET_LUTMASK\nn\nf 1 1\nNORMAL\n"
                                    "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN\nn 1 2 3\n"
                                    "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_FF\nn\n8 y\n"
                                    "End_of_ADD_REMOVE_Connection\n");
   EXPECT_EQ(take_reports(),
             (REPORTS{"Unrecognized line in the log", "Unrecognized lutmask type",
                      "((LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE"}));
}

TEST_F(FSYN_APPEND_FILE, a_log_that_was_cut_is_copied_with_its_cut_list_closed) {
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_DELETE_ATOM\nn\na\nb\n");
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_DELETE_ATOM\nn\na\nb\nEND_OF_DELETE_ATOM\n");
   EXPECT_EQ(m_host.take_messages(),
             REPORTS{"The log ends inside a list of a PHYSICAL_SYNTHESIS_DELETE_ATOM record"});
}

TEST_F(FSYN_APPEND_FILE, copying_stops_where_the_word_for_the_end_stands_for_a_keyword) {
   write_file("other.fsyn", std::string(user_lcell) + "n\nLOGDB_FSYN_EOF\n" + user_lcell + "m\n");
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_EQ(read_file("log.fsyn"), std::string(user_lcell) + "n\n");
}

TEST_F(FSYN_APPEND_FILE, copying_an_instance_name_stops_the_process_as_writing_it_does) {
   write_file("other.fsyn",
              "PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\nPHYSICAL_SYNTHESIS_SET_INSTANCE_NAME\nn 1\nname\n"
              "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
   EXPECT_FALSE(ends_with_true([this] {
      signal(SIGILL, SIG_DFL);
      return m_log.append_file("other.fsyn");
   }));
   EXPECT_EQ(read_file("log.fsyn"),
             "PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\nPHYSICAL_SYNTHESIS_SET_INSTANCE_NAME\nn 1\n");
}

TEST_F(FSYN_APPEND_FILE, the_log_can_be_written_before_and_after) {
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_POST_PLACEMENT_FLOW\n");
   LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW before;
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG after;
   m_log.write_fsyn_log_entry(&before);
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   m_log.write_fsyn_log_entry(&after);
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n"
                                    "PHYSICAL_SYNTHESIS_POST_PLACEMENT_FLOW\n"
                                    "PHYSICAL_SYNTHESIS_POST_PLACEMENT_FLOW\n"
                                    "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
}

TEST_F(FSYN_APPEND_FILE, a_log_that_is_being_read_takes_nothing_and_reads_on) {
   write_file("log.fsyn", "A B\n");
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
   EXPECT_EQ(m_log.read_line(), std::string("A"));
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_EQ(m_log.read_line(), std::string("B"));
   EXPECT_EQ(read_file("log.fsyn"), "A B\n");
}

TEST_F(FSYN_APPEND_FILE, the_other_log_is_closed_again) {
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
   const auto open_files = [] {
      return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                           std::filesystem::directory_iterator());
   };
   m_log.print_line("PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW");
   const auto before = open_files();
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   EXPECT_FALSE(m_log.append_file("missing.fsyn"));
   EXPECT_EQ(open_files(), before);
}

TEST_F(FSYN_APPEND_FILE, a_host_that_throws_from_a_report_leaves_nothing_behind) {
   write_file("other.fsyn", "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN a_name_that_needs_storage_of_its_own 1 2 3");
   HOST_INTERNAL_ERROR_HANDLER old = host_set_internal_error_handler(
       [](const char*, const char*, const char*, int) { throw std::string("stop"); });
   EXPECT_THROW(m_log.append_file("other.fsyn"), std::string);
   host_set_internal_error_handler(old);
   EXPECT_EQ(read_file("log.fsyn"),
             "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN\na_name_that_needs_storage_of_its_own 1 2 3\n");
}

TEST_F(FSYN_APPEND_FILE, what_another_log_is_given_while_it_is_copied_is_copied_too) {
   write_file("other.fsyn", std::string(user_lcell) + "early\nstray\n");
   m_log.print_line("first");
   HOST_INTERNAL_ERROR_HANDLER old =
       host_set_internal_error_handler([](const char*, const char*, const char*, int) {
          std::ofstream("other.fsyn", std::ios::app) << user_lcell << "late\n";
       });
   EXPECT_TRUE(m_log.append_file("other.fsyn"));
   host_set_internal_error_handler(old);
   EXPECT_EQ(read_file("log.fsyn"), "first\n" + std::string(user_lcell) + "early\n" + user_lcell + "late\n");
}

TEST_F(FSYN_APPEND_FILE, a_log_that_comes_through_a_pipe_is_copied_to_its_end) {
   ASSERT_EQ(::mkfifo("pipe.fsyn", 0600), 0);
   m_log.print_line("first");
   EXPECT_TRUE(ends_with_true([this] {
      const std::string text = std::string(user_lcell) + "n\nstray\n";
      // Both ends, so that nothing waits for somebody to open the other; the report of the stray word closes them.
      const int pipe = ::open("pipe.fsyn", O_RDWR);
      host_set_internal_error_handler([pipe](const char*, const char*, const char*, int) { ::close(pipe); });
      return ::write(pipe, text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
             m_log.append_file("pipe.fsyn");
   }));
   EXPECT_EQ(read_file("log.fsyn"), "first\n" + std::string(user_lcell) + "n\n");
}

// ---- A log that is appended to itself

/// Some records, more bytes than are read at once.
std::string long_log() {
   std::string text;
   for (int record = 0; record < 20000; ++record) {
      text += std::string(user_lcell) + "n" + std::to_string(record) + "\n";
   }
   return text;
}

TEST_F(FSYN_APPEND_FILE, a_log_that_is_appended_to_itself_is_copied_once) {
   for (const std::string& text : {std::string(user_lcell) + "n\n", long_log()}) {
      write_file("log.fsyn", text);
      m_log.close();
      EXPECT_TRUE(ends_with_true([this] { return m_log.append_file("log.fsyn"); }));
      EXPECT_TRUE(read_file("log.fsyn") == text + text) << read_file("log.fsyn").size() << " of " << text.size();
   }
}

TEST_F(FSYN_APPEND_FILE, a_log_that_is_being_written_is_appended_to_itself_once) {
   const std::string text = std::string(user_lcell) + "n\n";
   EXPECT_TRUE(ends_with_true([this] {
      m_log.print_line("PHYSICAL_SYNTHESIS_SET_USER_LCELL");
      m_log.print_line("n");
      const bool result = m_log.append_file("LOG.fsyn");
      m_log.print_line("end");
      return result;
   }));
   EXPECT_EQ(read_file("log.fsyn"), text + text + "end\n");
}

TEST_F(FSYN_APPEND_FILE, another_name_of_the_same_file_is_the_same_log) {
   const std::string text = std::string(user_lcell) + "n\n";
   for (const char* name : {"./log.fsyn", "link.fsyn", "hard.fsyn"}) {
      write_file("log.fsyn", text);
      std::filesystem::remove("link.fsyn");
      std::filesystem::remove("hard.fsyn");
      std::filesystem::create_symlink("log.fsyn", "link.fsyn");
      std::filesystem::create_hard_link("log.fsyn", "hard.fsyn");
      m_log.close();
      EXPECT_TRUE(ends_with_true([&] { return m_log.append_file(name); })) << name;
      EXPECT_EQ(read_file("log.fsyn"), text + text) << name;
   }
}

TEST_F(FSYN_APPEND_FILE, the_file_that_is_open_counts_and_not_the_name_that_was_set_since) {
   const std::string text = std::string(user_lcell) + "n\n";
   EXPECT_TRUE(ends_with_true([this] {
      m_log.print_line("PHYSICAL_SYNTHESIS_SET_USER_LCELL");
      m_log.print_line("n");
      m_log.set_file_name("renamed.fsyn");
      return m_log.append_file("log.fsyn");
   }));
   EXPECT_EQ(std::filesystem::file_size("log.fsyn"), 2 * text.size());
}

TEST_F(FSYN_APPEND_FILE, the_file_that_is_open_counts_when_it_was_moved_since) {
   const std::string text = std::string(user_lcell) + "n\n";
   EXPECT_TRUE(ends_with_true([this] {
      m_log.print_line("PHYSICAL_SYNTHESIS_SET_USER_LCELL");
      m_log.print_line("n");
      std::filesystem::rename("log.fsyn", "moved.fsyn");
      return m_log.append_file("moved.fsyn");
   }));
   EXPECT_EQ(std::filesystem::file_size("moved.fsyn"), 2 * text.size());
}

TEST_F(FSYN_APPEND_FILE, a_log_that_ends_inside_a_record_is_appended_to_itself_once_too) {
   write_file("log.fsyn", std::string(user_lcell) + "n\nPHYSICAL_SYNTHESIS_DELETE_ATOM\nd\na");
   EXPECT_TRUE(ends_with_true([this] { return m_log.append_file("log.fsyn"); }));
   // The first copied line goes on where the cut one ended; the name was read before.
   EXPECT_EQ(read_file("log.fsyn"), std::string(user_lcell) + "n\nPHYSICAL_SYNTHESIS_DELETE_ATOM\nd\na" +
                                        user_lcell +
                                        "n\nPHYSICAL_SYNTHESIS_DELETE_ATOM\nd\na\nEND_OF_DELETE_ATOM\n");
}

TEST_F(FSYN_APPEND_FILE, a_device_has_no_end_to_stop_at) {
   m_log.print_line("PHYSICAL_SYNTHESIS_SET_USER_LCELL");
   EXPECT_TRUE(m_log.append_file("/dev/null"));
   EXPECT_EQ(read_file("log.fsyn"), user_lcell);
   LOGDB_FSYN_LOG_FILE device("/dev/null");
   device.init(true);
   device.print_line("PHYSICAL_SYNTHESIS_SET_USER_LCELL");
   EXPECT_TRUE(device.append_file("/dev/null"));
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_APPEND_FILE, a_log_that_is_not_enabled_can_be_appended_to_itself) {
   write_file("log.fsyn", std::string(user_lcell) + "n\n");
   m_log.init(false);
   EXPECT_TRUE(ends_with_true([this] { return m_log.append_file("log.fsyn"); }));
   EXPECT_EQ(read_file("log.fsyn"), std::string(user_lcell) + "n\n");
}

} // namespace
