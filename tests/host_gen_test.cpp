#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>
#include <string>

#include "dbm.h"
#include "environment_variable.h"
#include "gen.h"
#include "host_standalone.h"

using ::testing::Eq;
using ::testing::ExitedWithCode;

namespace {

std::string name(const char* revision, const char* type_name, const char* directory = nullptr) {
   const MEM_STRING directory_text = directory == nullptr ? "" : directory;
   const MEM_STRING path =
       gen_generate_pdb_filename(revision, type_name, directory == nullptr ? nullptr : &directory_text);
   return {path.data(), path.size()};
}

[[noreturn]] void check_name_and_exit(const char* expected) {
   std::exit(name("top", "cmp") == expected ? 0 : 1);
}

/// LOGDB_PROJECT_DIRECTORY is read once, so whatever depends on it is looked at in processes of their own.
class HOST_GEN : public ::testing::Test {
protected:
   HOST_GEN() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
   void TearDown() override { host_set_project_directory(nullptr); }

   ENVIRONMENT_VARIABLE m_nothing_set{"LOGDB_PROJECT_DIRECTORY", nullptr};
};

using HOST_GEN_DEATH_TEST = HOST_GEN;

} // namespace

// ---- gen_sprintf

TEST_F(HOST_GEN, formatted_text_replaces_what_the_string_held) {
   MEM_STRING out = "what was there, longer than the text";
   gen_sprintf(&out, "  Read DB Entry: TYPE=%s: ", "RAM_PACKING");
   EXPECT_EQ(out, "  Read DB Entry: TYPE=RAM_PACKING: ");
   gen_sprintf(&out, "%d and %5.2f%%", -7, 12.5);
   EXPECT_EQ(out, "-7 and 12.50%");
   gen_sprintf(&out, "%s", "");
   EXPECT_EQ(out, "");
}

TEST_F(HOST_GEN, text_of_every_length_is_formatted_whole) {
   MEM_STRING out;
   for (std::size_t length = 0; length < 1100; ++length) {
      const std::string argument(length, 'n');
      gen_sprintf(&out, "<%s>%zu", argument.c_str(), length);
      EXPECT_EQ(std::string(out), "<" + argument + ">" + std::to_string(length));
   }
   const std::string megabyte(std::size_t{1} << 20U, 'n');
   gen_sprintf(&out, "%s", megabyte.c_str());
   EXPECT_EQ(std::string(out), megabyte);
}

TEST_F(HOST_GEN, zero_bytes_that_were_formatted_are_part_of_the_text) {
   MEM_STRING out;
   gen_sprintf(&out, "a%cb", '\0');
   EXPECT_EQ(out, MEM_STRING("a\0b", 3));
}

TEST_F(HOST_GEN, a_formatting_failure_leaves_the_string_empty) {
   MEM_STRING out = "what was there";
   gen_sprintf(&out, "%lc", static_cast<std::wint_t>(0x7fffffff));
   EXPECT_EQ(out, "");
}

// ---- gen_generate_pdb_filename

TEST_F(HOST_GEN, a_name_is_directory_revision_and_type) {
   host_set_project_directory("/project/db");
   EXPECT_EQ(name("top", "cmp"), "/project/db/top.cmp");
   EXPECT_EQ(name("", ""), "/project/db/.");
   EXPECT_EQ(name("my rev.2", DBM_TYPE_MAP_BB), "/project/db/my rev.2.map_bb");
}

TEST_F(HOST_GEN, each_database_type_has_a_name_of_its_own) {
   host_set_project_directory("db");
   EXPECT_EQ(name("r", DBM_TYPE_MAP), "db/r.map");
   EXPECT_EQ(name("r", DBM_TYPE_CMP), "db/r.cmp");
   EXPECT_EQ(name("r", DBM_TYPE_MAP_BB), "db/r.map_bb");
   EXPECT_EQ(name("r", DBM_TYPE_CMP_BB), "db/r.cmp_bb");
}

TEST_F(HOST_GEN, a_slash_at_the_end_of_the_directory_is_not_doubled) {
   host_set_project_directory("db/");
   EXPECT_EQ(name("top", "cmp"), "db/top.cmp");
   host_set_project_directory("/");
   EXPECT_EQ(name("top", "cmp"), "/top.cmp");
}

TEST_F(HOST_GEN, the_directory_is_copied) {
   std::string directory = "first";
   host_set_project_directory(directory.c_str());
   directory = "other";
   EXPECT_EQ(name("top", "cmp"), "first/top.cmp");
}

TEST_F(HOST_GEN, a_directory_in_the_call_is_taken_instead_of_the_projects) {
   host_set_project_directory("/project/db");
   EXPECT_EQ(name("top", "cmp", "/elsewhere"), "/elsewhere/top.cmp");
   EXPECT_EQ(name("top", "cmp", "elsewhere/"), "elsewhere/top.cmp");
   EXPECT_EQ(name("top", "cmp", ""), "top.cmp");
   EXPECT_EQ(name("top", "cmp"), "/project/db/top.cmp");
}

TEST_F(HOST_GEN, nothing_is_looked_up_on_disk) {
   host_set_project_directory("/no/such/folder");
   EXPECT_EQ(name("top", "cmp"), "/no/such/folder/top.cmp");
}

TEST_F(HOST_GEN, the_directory_is_no_tracked_memory) {
   const std::size_t before = host_memory_statistics("LOGDB").m_live_blocks;
   host_set_project_directory("/a/directory/that/is/too/long/for/a/string/without/storage");
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, before);
}

TEST_F(HOST_GEN_DEATH_TEST, without_anything_set_the_directory_is_the_working_directory) {
   EXPECT_EXIT(check_name_and_exit("./top.cmp"), ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_GEN_DEATH_TEST, an_empty_variable_is_as_none) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_PROJECT_DIRECTORY", "");
   EXPECT_EXIT(check_name_and_exit("./top.cmp"), ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_GEN_DEATH_TEST, the_variable_sets_the_directory) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_PROJECT_DIRECTORY", "/from/variable");
   EXPECT_EXIT(check_name_and_exit("/from/variable/top.cmp"), ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_GEN_DEATH_TEST, what_code_sets_wins_over_the_variable) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_PROJECT_DIRECTORY", "/from/variable");
   EXPECT_EXIT(
       {
          host_set_project_directory("/from/code");
          check_name_and_exit("/from/code/top.cmp");
       },
       ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_GEN_DEATH_TEST, null_and_empty_bring_the_variables_directory_back) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_PROJECT_DIRECTORY", "/from/variable/");
   for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
      EXPECT_EXIT(
          {
             host_set_project_directory("/from/code");
             host_set_project_directory(nothing);
             check_name_and_exit("/from/variable/top.cmp");
          },
          ExitedWithCode(0), Eq(""));
   }
}

TEST_F(HOST_GEN_DEATH_TEST, null_and_empty_bring_the_working_directory_back_without_a_variable) {
   for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
      EXPECT_EXIT(
          {
             host_set_project_directory("/from/code");
             host_set_project_directory(nothing);
             check_name_and_exit("./top.cmp");
          },
          ExitedWithCode(0), Eq(""));
   }
}

namespace {

/// Makes a name when the destructors of gen.cpp would have run.
class LATE_CALLER {
public:
   ~LATE_CALLER() {
      if (m_checks && name("top", "cmp") != "/a/directory/that/is/too/long/for/a/string/without/storage/top.cmp") {
         std::_Exit(77);
      }
   }
   bool m_checks = false;
};

LATE_CALLER late_caller __attribute__((init_priority(101)));

} // namespace

TEST_F(HOST_GEN_DEATH_TEST, the_directory_outlives_static_objects) {
   EXPECT_EXIT(
       {
          late_caller.m_checks = true;
          host_set_project_directory("/a/directory/that/is/too/long/for/a/string/without/storage");
          std::exit(0);
       },
       ExitedWithCode(0), Eq(""));
}

// ---- dbm.h

TEST_F(HOST_GEN, the_type_names_are_variables_that_a_host_may_set) {
   const char* const old_name = DBM_TYPE_MAP;
   DBM_TYPE_MAP = "mapped";
   EXPECT_STREQ(DBM_TYPE_MAP, "mapped");
   DBM_TYPE_MAP = old_name;
   EXPECT_STREQ(DBM_TYPE_MAP, "map");
}
