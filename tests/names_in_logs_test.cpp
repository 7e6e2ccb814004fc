// What a log names stays a name: no file of that name is looked into, made or run, whatever is done with the log.

#include <gtest/gtest.h>

#include <sys/inotify.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "fsyn_log_fixture.h"
#include "logdb.h"

namespace {

/// A folder with a log that can be read and a program that can be run, and what the system tells of it.
class NAMES_IN_LOGS : public FSYN_LOG_TEST {
protected:
   NAMES_IN_LOGS() : m_events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
      std::filesystem::create_directory("named");
      write_file(m_log, "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
      write_file(m_program, "#!/bin/sh\necho run >named/was_run\n");
      std::filesystem::permissions(m_program, std::filesystem::perms::owner_all);
      EXPECT_GE(inotify_add_watch(m_events, "named", IN_ALL_EVENTS), 0);
   }
   ~NAMES_IN_LOGS() override { ::close(m_events); }

   /// Whether anything at all was done with the folder or a file in it since the last call.
   bool was_touched() const {
      char events[4096];
      bool touched = false;
      while (::read(m_events, events, sizeof events) > 0) {
         touched = true;
      }
      return touched;
   }

   const std::string m_log = "named/other.fsyn";
   const std::string m_program = "named/program";

private:
   int m_events;
};

TEST_F(NAMES_IN_LOGS, the_watch_sees_who_opens_a_file) {
   EXPECT_FALSE(was_touched());
   std::ifstream(m_log).get();
   EXPECT_TRUE(was_touched());
   EXPECT_FALSE(was_touched());
}

TEST_F(NAMES_IN_LOGS, a_database_is_loaded_changed_and_committed_without_a_look_at_the_files_that_it_names) {
   std::string text = "v1\n";
   for (const char* kind : {"FSYN_LOG_FILE", "REGISTER_PACKING", "DSP_BALANCING_IMPLEMENTATION"}) {
      for (const std::string& name : {m_log, m_program, "|" + m_program, "`" + m_program + "`",
                                      "$(" + m_program + ")", ";" + m_program, "%n%s" + m_program}) {
         text.append(kind).append(",").append(name).append(",a,b,").append(name).append(",").append(name).append(
             ",\n");
      }
   }
   write_file("names.logdb", text);
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database("names.logdb", "named");
   LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   ASSERT_NE(database, nullptr);
   ASSERT_EQ(database->get_number_of_entries(), 21);
   database->add_entry(database->get_entry(0));
   database->replace_entry(1, database->get_entry(2));
   LOGDB_DATABASE::commit_database("copy.logdb", "named");
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::initialize("", LOGDB_DB_TYPE_NONE);
   EXPECT_FALSE(was_touched());
   EXPECT_GT(std::filesystem::file_size("copy.logdb"), text.size());
}

TEST_F(NAMES_IN_LOGS, a_log_is_read_and_appended_without_a_look_at_the_files_that_it_names) {
   std::string text;
   for (const std::string& name : {m_log, m_program, "|" + m_program, "`" + m_program + "`"}) {
      text += "PHYSICAL_SYNTHESIS_SET_USER_LCELL\n" + name + "\nPHYSICAL_SYNTHESIS_INSERT_ATOM\n" + name + " 1\n" +
              name + "\n";
   }
   write_file("names.fsyn", text);
   LOGDB_FSYN_LOG_FILE log("copy.fsyn");
   log.init(true);
   EXPECT_TRUE(log.append_file("names.fsyn"));
   log.close();
   EXPECT_EQ(read_file("copy.fsyn"), text);
   int records = 0;
   while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
      EXPECT_NE(FSYN_RECORD(record->clone()), nullptr);
      ++records;
   }
   EXPECT_EQ(records, 8);
   EXPECT_FALSE(was_touched());
}

} // namespace
