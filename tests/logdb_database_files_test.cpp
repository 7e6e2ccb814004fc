#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <climits>
#include <filesystem>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "dbm.h"
#include "gen.h"
#include "logdb.h"
#include "logdb_database_fixture.h"

namespace {

static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::logdb_type_to_dbm_type), const char* (*)(LOGDB_DB_TYPE)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::make_db_filename),
                             void (*)(const char*, LOGDB_DB_TYPE, MEM_STRING*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::make_db_extension), void (*)(LOGDB_DB_TYPE, MEM_STRING*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::copy_database_file),
                             void (*)(const char*, LOGDB_DB_TYPE, LOGDB_DB_TYPE)>);
static_assert(
    std::is_same_v<decltype(&LOGDB_DATABASE::delete_database_file), void (*)(const char*, LOGDB_DB_TYPE)>);

constexpr const char* unknown_kind = "report: unknown logdb_db_type";
constexpr const char* copy_failed = "report: failed copying logdb file";

constexpr LOGDB_DB_TYPE all_kinds[] = {LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP, LOGDB_DB_TYPE_MAP_BB,
                                       LOGDB_DB_TYPE_CMP_BB};
constexpr int unknown_kinds[] = {0, 5, -1, 100, INT_MAX, INT_MIN};

class LOGDB_DATABASE_FILES : public LOGDB_DATABASE_TEST {
protected:
   static std::string name_of(const char* revision, LOGDB_DB_TYPE kind) {
      MEM_STRING name;
      LOGDB_DATABASE::make_db_filename(revision, kind, &name);
      return std::string(name);
   }
};

TEST_F(LOGDB_DATABASE_FILES, each_kind_has_the_type_name_of_the_host) {
   EXPECT_EQ(LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_MAP), DBM_TYPE_MAP);
   EXPECT_EQ(LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP), DBM_TYPE_CMP);
   EXPECT_EQ(LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_MAP_BB), DBM_TYPE_MAP_BB);
   EXPECT_EQ(LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP_BB), DBM_TYPE_CMP_BB);
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_FILES, the_type_name_is_what_the_host_has_set_last) {
   const char* const mine = "mine";
   const char** const variables[] = {&DBM_TYPE_MAP, &DBM_TYPE_CMP, &DBM_TYPE_MAP_BB, &DBM_TYPE_CMP_BB};
   for (std::size_t position = 0; position < 4; ++position) {
      const char* const before = std::exchange(*variables[position], mine);
      for (std::size_t other = 0; other < 4; ++other) {
         EXPECT_EQ(LOGDB_DATABASE::logdb_type_to_dbm_type(all_kinds[other]), *variables[other]);
      }
      EXPECT_EQ(name_of("top", all_kinds[position]), database_path("top", "mine"));
      MEM_STRING extension;
      LOGDB_DATABASE::make_db_extension(all_kinds[position], &extension);
      EXPECT_EQ(extension, "mine.logdb");
      *variables[position] = before;
   }
}

TEST_F(LOGDB_DATABASE_FILES, an_unknown_kind_is_reported_and_has_no_type_name) {
   for (const int kind : unknown_kinds) {
      EXPECT_EQ(LOGDB_DATABASE::logdb_type_to_dbm_type(static_cast<LOGDB_DB_TYPE>(kind)), nullptr);
      EXPECT_EQ(events(), EVENTS{unknown_kind}) << kind;
   }
}

TEST_F(LOGDB_DATABASE_FILES, a_file_name_is_the_project_database_file_with_logdb_behind) {
   for (const LOGDB_DB_TYPE kind : all_kinds) {
      const char* type_name = LOGDB_DATABASE::logdb_type_to_dbm_type(kind);
      for (const char* revision : {"top", "a.b-c d", "", "a revision name that is longer than any short string"}) {
         MEM_STRING name = "what was here before and is longer than nothing";
         LOGDB_DATABASE::make_db_filename(revision, kind, &name);
         EXPECT_EQ(name, gen_generate_pdb_filename(revision, type_name, nullptr) + ".logdb");
         EXPECT_EQ(std::string(name), database_path(revision, type_name));
      }
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_FILES, a_null_revision_is_the_empty_one) {
   MEM_STRING name = "before";
   LOGDB_DATABASE::make_db_filename(nullptr, LOGDB_DB_TYPE_CMP, &name);
   EXPECT_EQ(std::string(name), database_path("", DBM_TYPE_CMP));
}

TEST_F(LOGDB_DATABASE_FILES, a_file_name_can_replace_its_own_revision) {
   MEM_STRING name = "a revision name that is longer than any short string";
   const std::string revision(name);
   LOGDB_DATABASE::make_db_filename(name.c_str(), LOGDB_DB_TYPE_CMP, &name);
   EXPECT_EQ(std::string(name), database_path(revision, DBM_TYPE_CMP));
}

TEST_F(LOGDB_DATABASE_FILES, an_extension_is_the_type_name_with_logdb_behind_and_no_dot_in_front) {
   for (const LOGDB_DB_TYPE kind : all_kinds) {
      MEM_STRING extension = "what was here before";
      LOGDB_DATABASE::make_db_extension(kind, &extension);
      EXPECT_EQ(extension, MEM_STRING(LOGDB_DATABASE::logdb_type_to_dbm_type(kind)) + ".logdb");
      EXPECT_NE(extension.front(), '.');
      EXPECT_TRUE(name_of("top", kind).ends_with("." + std::string(extension)));
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_FILES, an_unknown_kind_is_reported_and_leaves_the_string_as_it_was) {
   for (const int kind : unknown_kinds) {
      MEM_STRING name = "untouched";
      LOGDB_DATABASE::make_db_filename("top", static_cast<LOGDB_DB_TYPE>(kind), &name);
      EXPECT_EQ(name, "untouched");
      EXPECT_EQ(events(), EVENTS{unknown_kind}) << kind;

      LOGDB_DATABASE::make_db_extension(static_cast<LOGDB_DB_TYPE>(kind), &name);
      EXPECT_EQ(name, "untouched");
      EXPECT_EQ(events(), EVENTS{unknown_kind}) << kind;
   }
}

// ---- copy_database_file

TEST_F(LOGDB_DATABASE_FILES, a_copy_has_the_bytes_of_its_source) {
   std::string bytes = "v1\nany bytes";
   bytes.append(1, '\0');
   bytes.append(300000, '\xff');
   for (const LOGDB_DB_TYPE from : all_kinds) {
      for (const LOGDB_DB_TYPE to : all_kinds) {
         write_file(name_of("top", from), bytes);
         LOGDB_DATABASE::copy_database_file("top", from, to);
         EXPECT_EQ(events(),
                   EVENTS{"Copied logdb file " + name_of("top", from) + " to " + name_of("top", to) + "."});
         EXPECT_EQ(read_file(name_of("top", to)), bytes);
         EXPECT_EQ(read_file(name_of("top", from)), bytes);
         std::filesystem::remove(name_of("top", to));
      }
   }
}

TEST_F(LOGDB_DATABASE_FILES, a_copy_replaces_the_target_and_is_as_new_as_the_copying) {
   const std::string source = name_of("top", LOGDB_DB_TYPE_MAP);
   const std::string target = name_of("top", LOGDB_DB_TYPE_CMP);
   write_file(source, "new");
   write_file(target, "old and longer");
   const auto long_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1000);
   std::filesystem::last_write_time(source, long_ago);
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Copied logdb file " + source + " to " + target + "."});
   EXPECT_EQ(read_file(target), "new");
   EXPECT_GT(std::filesystem::last_write_time(target), long_ago + std::chrono::hours(999));
   EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_directory), {}), 2) << "no temporary file stays";
}

TEST_F(LOGDB_DATABASE_FILES, a_missing_source_is_not_copied_and_the_message_is_the_same) {
   const std::string source = name_of("top", LOGDB_DB_TYPE_MAP);
   const std::string target = name_of("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Copied logdb file " + source + " to " + target + "."});
   EXPECT_TRUE(std::filesystem::is_empty(m_directory));

   write_file(target, "stays");
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Copied logdb file " + source + " to " + target + "."});
   EXPECT_EQ(read_file(target), "stays");
}

TEST_F(LOGDB_DATABASE_FILES, a_copy_that_fails_is_reported_and_has_no_message) {
   write_file(name_of("top", LOGDB_DB_TYPE_MAP), "source");
   std::filesystem::create_directory(name_of("top", LOGDB_DB_TYPE_CMP));
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{copy_failed});
   EXPECT_TRUE(std::filesystem::is_empty(name_of("top", LOGDB_DB_TYPE_CMP)));
   EXPECT_EQ(read_file(name_of("top", LOGDB_DB_TYPE_MAP)), "source");
}

TEST_F(LOGDB_DATABASE_FILES, a_directory_is_not_copied) {
   std::filesystem::create_directory(name_of("top", LOGDB_DB_TYPE_MAP));
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{copy_failed});
   EXPECT_FALSE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_CMP)));
}

TEST_F(LOGDB_DATABASE_FILES, a_copy_of_an_unknown_kind_has_no_source) {
   write_file(name_of("top", LOGDB_DB_TYPE_CMP), "stays");
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_NONE, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), (EVENTS{unknown_kind, "Copied logdb file  to " + name_of("top", LOGDB_DB_TYPE_CMP) + "."}));
   EXPECT_EQ(read_file(name_of("top", LOGDB_DB_TYPE_CMP)), "stays");
}

TEST_F(LOGDB_DATABASE_FILES, a_copy_to_an_unknown_kind_fails) {
   write_file(name_of("top", LOGDB_DB_TYPE_CMP), "stays");
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_CMP, static_cast<LOGDB_DB_TYPE>(5));
   EXPECT_EQ(events(), (EVENTS{unknown_kind, copy_failed}));
   EXPECT_EQ(read_file(name_of("top", LOGDB_DB_TYPE_CMP)), "stays");
}

TEST_F(LOGDB_DATABASE_FILES, a_copy_of_unknown_kinds_reports_each) {
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_NONE, LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(events(), (EVENTS{unknown_kind, unknown_kind, "Copied logdb file  to ."}));
   EXPECT_TRUE(std::filesystem::is_empty(m_directory));
}

TEST_F(LOGDB_DATABASE_FILES, a_copy_takes_a_null_revision_as_the_empty_one) {
   write_file(name_of("", LOGDB_DB_TYPE_MAP), "of the empty revision");
   LOGDB_DATABASE::copy_database_file(nullptr, LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(read_file(name_of("", LOGDB_DB_TYPE_CMP)), "of the empty revision");
}

// ---- delete_database_file

TEST_F(LOGDB_DATABASE_FILES, a_deleted_file_is_gone_and_the_others_stay) {
   for (const LOGDB_DB_TYPE kind : all_kinds) {
      write_file(name_of("top", kind), "x");
   }
   write_file(name_of("other", LOGDB_DB_TYPE_CMP), "x");
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Deleted logdb file " + name_of("top", LOGDB_DB_TYPE_CMP) + "."});
   EXPECT_FALSE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_CMP)));
   EXPECT_TRUE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_MAP)));
   EXPECT_TRUE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_MAP_BB)));
   EXPECT_TRUE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_CMP_BB)));
   EXPECT_TRUE(std::filesystem::exists(name_of("other", LOGDB_DB_TYPE_CMP)));
}

TEST_F(LOGDB_DATABASE_FILES, deleting_what_is_not_there_has_the_same_message) {
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Deleted logdb file " + name_of("top", LOGDB_DB_TYPE_CMP) + "."});
}

TEST_F(LOGDB_DATABASE_FILES, a_file_that_cannot_be_deleted_has_the_same_message) {
   std::filesystem::create_directory(name_of("top", LOGDB_DB_TYPE_CMP));
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(events(), EVENTS{"Deleted logdb file " + name_of("top", LOGDB_DB_TYPE_CMP) + "."});
   EXPECT_TRUE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_CMP)));
}

TEST_F(LOGDB_DATABASE_FILES, deleting_an_unknown_kind_deletes_nothing) {
   write_file(name_of("top", LOGDB_DB_TYPE_CMP), "stays");
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(events(), (EVENTS{unknown_kind, "Deleted logdb file ."}));
   EXPECT_TRUE(std::filesystem::exists(name_of("top", LOGDB_DB_TYPE_CMP)));
}

TEST_F(LOGDB_DATABASE_FILES, deleting_takes_a_null_revision_as_the_empty_one) {
   write_file(name_of("", LOGDB_DB_TYPE_CMP), "x");
   LOGDB_DATABASE::delete_database_file(nullptr, LOGDB_DB_TYPE_CMP);
   EXPECT_FALSE(std::filesystem::exists(name_of("", LOGDB_DB_TYPE_CMP)));
}

// ---- Independence of the loaded database

TEST_F(LOGDB_DATABASE_FILES, the_file_operations_neither_look_at_the_state_of_the_process_nor_change_it) {
   LOGDB_DATABASE::initialize("of the process", LOGDB_DB_TYPE_NONE);
   write_file(name_of("top", LOGDB_DB_TYPE_MAP), "v1\n");
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_MAP);
   EXPECT_EQ(events().size(), 2u) << "and no report";
   EXPECT_EQ(logdb_revision_name, "of the process");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
   EXPECT_STREQ(logdb_filename_singleton, "");
}

TEST_F(LOGDB_DATABASE_FILES, deleting_the_file_of_the_loaded_database_leaves_it_to_be_written_again) {
   load(LOGDB_DB_TYPE_CMP);
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::delete_database_file("revision", LOGDB_DB_TYPE_CMP);
   EXPECT_FALSE(std::filesystem::exists(name_of("revision", LOGDB_DB_TYPE_CMP)));
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(name_of("revision", LOGDB_DB_TYPE_CMP)), "v1\nIO_RULES,a,\n");
}

TEST_F(LOGDB_DATABASE_FILES, copying_over_the_file_of_the_loaded_database_leaves_it_alone) {
   load(LOGDB_DB_TYPE_CMP);
   add(IO_RULES, {"a"});
   write_file(name_of("revision", LOGDB_DB_TYPE_MAP), "v1\nIO_RULES,b,\nIO_RULES,c,\n");
   LOGDB_DATABASE::copy_database_file("revision", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
   EXPECT_EQ(logdb_revision_name, "revision");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_CMP);
}

TEST_F(LOGDB_DATABASE_FILES, a_log_can_be_carried_from_one_kind_to_another) {
   load(LOGDB_DB_TYPE_MAP);
   add(REGISTER_PACKING, {"a", "b"});
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::copy_database_file("revision", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP_BB);
   load(LOGDB_DB_TYPE_CMP_BB);
   EXPECT_EQ(loaded(), (ENTRIES{{REGISTER_PACKING, {"a", "b"}}}));
}

} // namespace
