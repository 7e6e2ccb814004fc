#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "logdb.h"
#include "logdb_database_fixture.h"

namespace {

/// What the clock answers. Empty: the time of day.
std::deque<std::time_t> clock_script;
int clock_reads = 0;

} // namespace

// The library's clock: a test that leaves it alone gets the time of day.
extern "C" std::time_t time(std::time_t* out) noexcept {
   ++clock_reads;
   std::time_t now = 0;
   if (clock_script.empty()) {
      timespec precise = {};
      clock_gettime(CLOCK_REALTIME, &precise);
      now = precise.tv_sec;
   } else {
      now = clock_script.front();
      clock_script.pop_front();
   }
   if (out != nullptr) {
      *out = now;
   }
   return now;
}

namespace {

static_assert(sizeof(LOGDB_DATABASE) == sizeof(void*));
static_assert(!std::is_polymorphic_v<LOGDB_DATABASE>);
static_assert(std::is_standard_layout_v<LOGDB_DATABASE>);
static_assert(std::is_default_constructible_v<LOGDB_DATABASE>);
static_assert(!std::is_copy_constructible_v<LOGDB_DATABASE>);
static_assert(!std::is_copy_assignable_v<LOGDB_DATABASE>);

static_assert(std::is_same_v<decltype(logdb_revision_name), MEM_STRING>);
static_assert(std::is_same_v<decltype(logdb_db_type), LOGDB_DB_TYPE>);
static_assert(std::is_same_v<decltype(logdb_filename_singleton), char[1024]>);
static_assert(std::is_same_v<decltype(logdb_msg_debug("text")), bool>);

using PLAIN_OPERATION = void (*)();
using NAMED_OPERATION = void (*)(const char*, const char*);
static_assert(
    std::is_same_v<decltype(static_cast<PLAIN_OPERATION>(&LOGDB_DATABASE::load_database)), PLAIN_OPERATION>);
static_assert(
    std::is_same_v<decltype(static_cast<NAMED_OPERATION>(&LOGDB_DATABASE::load_database)), NAMED_OPERATION>);
static_assert(
    std::is_same_v<decltype(static_cast<PLAIN_OPERATION>(&LOGDB_DATABASE::commit_database)), PLAIN_OPERATION>);
static_assert(
    std::is_same_v<decltype(static_cast<NAMED_OPERATION>(&LOGDB_DATABASE::commit_database)), NAMED_OPERATION>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::initialize), void (*)(const char*, LOGDB_DB_TYPE)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::unload_database), void (*)()>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::get_database), LOGDB_DATABASE* (*)()>);
static_assert(
    std::is_same_v<decltype(&LOGDB_DATABASE::should_preserve_postfit_entries), bool (*)(LOGDB_ENTRY_TYPE_ENUM)>);

constexpr const char* not_been = "report: LOGDB has not been initialized with the revision name and db_type.";
constexpr const char* not_bee = "report: LOGDB has not bee initialized with the revision name and db_type.";
constexpr const char* not_loaded = "report: Commiting logdb database when database is not loaded";
constexpr const char* other_loaded =
    "report: Logdb load_database can not called when a different database is already loaded.";
constexpr const char* unknown_kind = "report: unknown logdb_db_type";

class LOGDB_DATABASE_LIFECYCLE : public LOGDB_DATABASE_TEST {
protected:
   ~LOGDB_DATABASE_LIFECYCLE() override { clock_script.clear(); }

   /// The file that load_database() and commit_database() use.
   std::string current_file() const {
      MEM_STRING name;
      LOGDB_DATABASE::make_db_filename(logdb_revision_name.c_str(), logdb_db_type, &name);
      return std::string(name);
   }

   static std::size_t open_files() {
      std::size_t count = 0;
      for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd")) {
         count += file.path().empty() ? 0u : 1u;
      }
      return count;
   }

   /// The recorded name with every byte of its array.
   static std::string whole_recorded_name() { return {logdb_filename_singleton, sizeof logdb_filename_singleton}; }
};

// ---- initialize

TEST_F(LOGDB_DATABASE_LIFECYCLE, initialize_sets_the_revision_and_the_kind_and_says_nothing) {
   char name[] = "my_revision";
   LOGDB_DATABASE::initialize(name, LOGDB_DB_TYPE_CMP_BB);
   name[0] = '#'; // the text was copied
   EXPECT_EQ(logdb_revision_name, "my_revision");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_CMP_BB);
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, initialize_checks_nothing) {
   LOGDB_DATABASE::initialize("", static_cast<LOGDB_DB_TYPE>(77));
   EXPECT_EQ(logdb_revision_name, "");
   EXPECT_EQ(logdb_db_type, 77);
   LOGDB_DATABASE::initialize("r", LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(logdb_revision_name, "r");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, initialize_takes_a_null_revision_as_the_empty_one) {
   LOGDB_DATABASE::initialize("something", LOGDB_DB_TYPE_MAP);
   LOGDB_DATABASE::initialize(nullptr, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(logdb_revision_name, "");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_CMP);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, initialize_takes_the_current_revision_itself) {
   LOGDB_DATABASE::initialize("a revision name that is longer than a short string", LOGDB_DB_TYPE_MAP);
   LOGDB_DATABASE::initialize(logdb_revision_name.c_str(), LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(logdb_revision_name, "a revision name that is longer than a short string");
   LOGDB_DATABASE::initialize(logdb_revision_name.c_str() + 2, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(logdb_revision_name, "revision name that is longer than a short string");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, initialize_leaves_a_loaded_database_loaded) {
   load();
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::initialize("other", LOGDB_DB_TYPE_MAP);
   EXPECT_EQ(LOGDB_DATABASE::get_database(), database);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
   EXPECT_EQ(events(), EVENTS{});
}

// ---- load_database()

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_without_a_file_gives_an_empty_database) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   const std::string file = current_file();
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
   ASSERT_NE(LOGDB_DATABASE::get_database(), nullptr);
   EXPECT_EQ(LOGDB_DATABASE::get_database()->get_number_of_entries(), 0);
   EXPECT_STREQ(logdb_filename_singleton, "");
   EXPECT_FALSE(std::filesystem::exists(file)) << "loading makes no file";
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_reads_the_file_of_the_revision_and_kind) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_MAP_BB);
   const std::string file = current_file();
   EXPECT_EQ(file, database_path("top", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_MAP_BB)));
   write_file(file, "v1\nREGISTER_PACKING,a,b,\nIO_RULES,\n");
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Loading logdb database " + file + "...", "Reading log db version v1",
                     "Read 2 entries from log db", "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(loaded(), (ENTRIES{{REGISTER_PACKING, {"a", "b"}}, {IO_RULES, {}}}));
   EXPECT_STREQ(logdb_filename_singleton, "");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_leaves_node_names_alone) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   write_file(current_file(), "v1\nDSP_BALANCING_IMPLEMENTATION,g,a|b,\n");
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "a|b"}}}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_neither_reads_nor_writes_the_recorded_name) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   std::strcpy(logdb_filename_singleton, "left here");
   const std::string before = whole_recorded_name();
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(whole_recorded_name(), before);
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(whole_recorded_name(), before);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_second_load_is_silent_and_reads_nothing) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   write_file(current_file(), "v1\nIO_RULES,old,\n");
   LOGDB_DATABASE::load_database();
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   events();

   write_file(current_file(), "v1\nIO_RULES,new,\nIO_RULES,newer,\n");
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events(), EVENTS{});
   EXPECT_EQ(LOGDB_DATABASE::get_database(), database);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"old"}}}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_second_load_is_silent_after_a_load_by_name_too) {
   write_file(path("named"), "v1\nIO_RULES,named,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(path("named").c_str(), "");
   events();
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events(), EVENTS{});
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"named"}}}));
   EXPECT_EQ(logdb_filename_singleton, path("named"));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_second_load_reports_that_the_kind_is_0) {
   load();
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_NONE);
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events(), EVENTS{not_been});
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_after_unload_reads_the_file_again) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   write_file(current_file(), "v1\nIO_RULES,old,\n");
   LOGDB_DATABASE::load_database();
   LOGDB_DATABASE::unload_database();
   write_file(current_file(), "v1\nIO_RULES,new,\n");
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"new"}}}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_without_a_kind_reports_it_and_goes_on_without_a_name) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_NONE);
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events_at_any_speed(), (EVENTS{not_been, unknown_kind, "Loading logdb database ...",
                                            "Done loading logdb database . Spent 0 seconds."}));
   ASSERT_NE(LOGDB_DATABASE::get_database(), nullptr);
   EXPECT_EQ(LOGDB_DATABASE::get_database()->get_number_of_entries(), 0);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_of_an_unknown_kind_that_is_not_0_reports_the_name_alone) {
   LOGDB_DATABASE::initialize("top", static_cast<LOGDB_DB_TYPE>(5));
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events_at_any_speed(), (EVENTS{unknown_kind, "Loading logdb database ...",
                                            "Done loading logdb database . Spent 0 seconds."}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_load_that_fails_reports_it_and_keeps_the_entries_in_front) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   const std::string file = current_file();
   write_file(file, "v1\nIO_RULES,a,\nIO_RULES,b,\nIO_RULES,cut");
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...", "Reading log db version v1",
                                            "Failed reading log db entry line", "Read 2 entries from log db",
                                            "report: Failed reading log-db file",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}, {IO_RULES, {"b"}}}));
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events(), EVENTS{}) << "it counts as loaded";
}

// ---- load_database(file_name, partition_root)

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_reads_the_file_prefixes_it_and_records_its_name) {
   const std::string file = path("named");
   write_file(file, "v1\nDSP_BALANCING_IMPLEMENTATION,g,a|b,\n");
   std::memset(logdb_filename_singleton, 'x', sizeof logdb_filename_singleton);
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), "top|u1");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Loading logdb database " + file + "...", "Reading log db version v1",
                     "Read 1 entries from log db", "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a|b"}}}));
   std::string expected = file;
   expected.resize(sizeof logdb_filename_singleton, '\0'); // as strncpy leaves it
   EXPECT_EQ(whole_recorded_name(), expected);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_of_a_missing_file_gives_an_empty_database_and_records_no_name) {
   const std::string file = path("missing");
   std::strcpy(logdb_filename_singleton, "left here");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), "root");
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_STREQ(logdb_filename_singleton, "");
   EXPECT_EQ(loaded(), ENTRIES{});

   // No name is recorded, so the very same one is a different one.
   LOGDB_DATABASE::load_database(file.c_str(), "root");
   EXPECT_EQ(events(), (EVENTS{"Already loaded . Requesting to load " + file + ".", other_loaded}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_reports_nothing_about_the_root_of_a_missing_file) {
   const std::string file = path("missing");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), nullptr);
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_load_by_name_that_fails_applies_no_root_and_records_no_name) {
   const std::string file = path("damaged");
   write_file(file, "v1\nDSP_BALANCING_IMPLEMENTATION,g,a|b,\nIO_RULES,cut");
   std::strcpy(logdb_filename_singleton, "left here");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), nullptr);
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...", "Reading log db version v1",
                                            "Failed reading log db entry line", "Read 1 entries from log db",
                                            "report: Failed reading log-db file",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "a|b"}}}));
   EXPECT_STREQ(logdb_filename_singleton, "");
   LOGDB_DATABASE::load_database(file.c_str(), "top");
   EXPECT_EQ(events(), (EVENTS{"Already loaded . Requesting to load " + file + ".", other_loaded}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_null_root_is_reported_after_the_reading_and_counts_as_empty) {
   const std::string file = path("named");
   write_file(file, "v1\nDSP_BALANCING_IMPLEMENTATION,g,a|b,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), nullptr);
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...", "Reading log db version v1",
                                            "Read 1 entries from log db", "report: partition_root != 0",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "|a|b"}}}));
   EXPECT_EQ(logdb_filename_singleton, file);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_of_the_loaded_name_says_so_and_reads_nothing) {
   const std::string file = path("named");
   write_file(file, "v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), "top");
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   write_file(file, "v1\n");
   events();
   LOGDB_DATABASE::load_database(file.c_str(), "another root");
   EXPECT_EQ(events(), EVENTS{"Already loaded " + file + ". Requesting to load " + file + "."});
   EXPECT_EQ(LOGDB_DATABASE::get_database(), database);
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}}}));
   EXPECT_EQ(logdb_filename_singleton, file);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_of_another_name_is_reported) {
   const std::string file = path("named");
   write_file(file, "v1\nIO_RULES,a,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), "");
   events();
   for (const std::string& other :
        {path("NAMED"), path("name"), file + "x", std::string(), std::string("named")}) {
      LOGDB_DATABASE::load_database(other.c_str(), "");
      EXPECT_EQ(events(),
                (EVENTS{"Already loaded " + file + ". Requesting to load " + other + ".", other_loaded}));
      EXPECT_EQ(logdb_filename_singleton, file);
      EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
   }
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_after_a_plain_load_is_reported) {
   const std::string file = path("named");
   write_file(file, "v1\n");
   load();
   LOGDB_DATABASE::load_database(file.c_str(), "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded . Requesting to load " + file + ".", other_loaded}));
   const std::string plain = current_file();
   LOGDB_DATABASE::load_database(plain.c_str(), "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded . Requesting to load " + plain + ".", other_loaded}));
   LOGDB_DATABASE::load_database("", "");
   EXPECT_EQ(events(), EVENTS{"Already loaded . Requesting to load ."}) << "the empty name is the recorded one";
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_without_a_kind_reports_it_first_and_loads) {
   const std::string file = path("named");
   write_file(file, "v1\nIO_RULES,a,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_NONE);
   LOGDB_DATABASE::load_database(file.c_str(), "");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{not_been, "Loading logdb database " + file + "...", "Reading log db version v1",
                     "Read 1 entries from log db", "Done loading logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(logdb_filename_singleton, file);
   LOGDB_DATABASE::load_database(file.c_str(), "");
   EXPECT_EQ(events(), (EVENTS{not_been, "Already loaded " + file + ". Requesting to load " + file + "."}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_name_does_not_look_at_the_revision) {
   write_file(path("named"), "v1\nIO_RULES,a,\n");
   LOGDB_DATABASE::initialize("top", static_cast<LOGDB_DB_TYPE>(9)); // a kind that has no file name
   LOGDB_DATABASE::load_database(path("named").c_str(), "");
   EXPECT_EQ(events().size(), 4u);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, load_by_a_null_name_is_load_by_the_empty_name) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(nullptr, "");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Loading logdb database ...", "Done loading logdb database . Spent 0 seconds."}));
   EXPECT_EQ(loaded(), ENTRIES{});
   LOGDB_DATABASE::load_database(nullptr, "");
   EXPECT_EQ(events(), EVENTS{"Already loaded . Requesting to load ."});
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, the_recorded_name_can_be_asked_for_itself) {
   const std::string file = path("named");
   write_file(file, "v1\nIO_RULES,a,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(file.c_str(), "");
   events();
   LOGDB_DATABASE::load_database(logdb_filename_singleton, "");
   EXPECT_EQ(events(), EVENTS{"Already loaded " + file + ". Requesting to load " + file + "."});
}

// ---- commit_database()

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_writes_the_file_of_the_revision_and_kind) {
   load(LOGDB_DB_TYPE_MAP);
   add(REGISTER_PACKING, {"a", "", "b"});
   add(IO_RULES, {});
   const std::string file = current_file();
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + file + "...", "Wrote log database with 2 entries",
                     "Done comiting logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(read_file(file), "v1\nREGISTER_PACKING,a,,b,\nIO_RULES,\n");
   EXPECT_STREQ(logdb_filename_singleton, "");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_leaves_the_database_as_it_is) {
   load();
   add(REGISTER_PACKING, {"a", "b", "c", "top|u1|d", "top|u1|e"});
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   const LOGDB_DATABASE_ENTRY* entry = database->get_entry(0);
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::commit_database(path("named").c_str(), "top|u1");
   EXPECT_EQ(LOGDB_DATABASE::get_database(), database);
   EXPECT_EQ(database->get_entry(0), entry);
   EXPECT_EQ(loaded(), (ENTRIES{{REGISTER_PACKING, {"a", "b", "c", "top|u1|d", "top|u1|e"}}}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_replaces_a_longer_file) {
   load();
   write_file(current_file(), std::string(100000, 'x'));
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(current_file()), "v1\n");
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(current_file()), "v1\n");
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(current_file()), "v1\nIO_RULES,a,\n");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_after_initialize_goes_to_the_new_revision) {
   load();
   const std::string old_file = current_file();
   write_file(old_file, "old");
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::initialize("other", LOGDB_DB_TYPE_MAP);
   const std::string new_file = current_file();
   ASSERT_NE(new_file, old_file);
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(new_file), "v1\nIO_RULES,a,\n");
   EXPECT_EQ(read_file(old_file), "old");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_of_a_database_that_was_loaded_by_name_goes_to_the_revision) {
   write_file(path("named"), "v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(path("named").c_str(), "root");
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(current_file()), "v1\nDSP_BALANCING_IMPLEMENTATION,g,root|a,\n");
   EXPECT_EQ(read_file(path("named")), "v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\n");
   EXPECT_EQ(logdb_filename_singleton, path("named")) << "a commit records no name and forgets none";
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_with_nothing_loaded_is_reported_and_harms_no_file) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   write_file(current_file(), "precious");
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events(), EVENTS{not_loaded});
   EXPECT_EQ(read_file(current_file()), "precious");

   LOGDB_DATABASE::commit_database(current_file().c_str(), "");
   EXPECT_EQ(events(), EVENTS{not_loaded});
   EXPECT_EQ(read_file(current_file()), "precious");
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_with_nothing_loaded_and_no_kind_makes_both_reports) {
   write_file(path("named"), "precious");
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events(), (EVENTS{not_loaded, not_bee}));
   LOGDB_DATABASE::commit_database(path("named").c_str(), "");
   EXPECT_EQ(events(), (EVENTS{not_loaded, not_bee}));
   EXPECT_EQ(read_file(path("named")), "precious");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_without_a_kind_is_reported_and_has_no_file) {
   load();
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_NONE);
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{not_bee, unknown_kind, "Commiting logdb database ...", "Wrote log database with 1 entries",
                     "Done comiting logdb database . Spent 0 seconds."}));
   EXPECT_TRUE(std::filesystem::is_empty(m_directory));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_commit_that_cannot_open_its_file_is_not_reported) {
   load();
   add(IO_RULES, {"a"});
   const std::string directory = path("directory");
   std::filesystem::create_directory(directory);
   for (const std::string& file : {directory, path("no/such/directory/file"), std::string()}) {
      LOGDB_DATABASE::commit_database(file.c_str(), "");
      EXPECT_EQ(events_at_any_speed(),
                (EVENTS{"Commiting logdb database " + file + "...", "Wrote log database with 1 entries",
                        "Done comiting logdb database " + file + ". Spent 0 seconds."}));
   }
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));

   std::filesystem::create_directory(current_file());
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + current_file() + "...", "Wrote log database with 1 entries",
                     "Done comiting logdb database " + current_file() + ". Spent 0 seconds."}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_commit_to_a_full_disk_is_not_reported) {
   // By a link, so that nothing can happen to the device itself.
   const std::string file = path("full");
   std::filesystem::create_symlink("/dev/full", file);
   load();
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::commit_database(file.c_str(), "");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + file + "...", "Wrote log database with 1 entries",
                     "Done comiting logdb database " + file + ". Spent 0 seconds."}));
   for (int count = 0; count < 20000; ++count) {
      add(IO_RULES, {"more than any buffer holds"});
   }
   LOGDB_DATABASE::commit_database(file.c_str(), "");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + file + "...", "Wrote log database with 20001 entries",
                     "Done comiting logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(LOGDB_DATABASE::get_database()->get_number_of_entries(), 20001);
   EXPECT_TRUE(std::filesystem::is_symlink(file)) << "a file is written where it is, not replaced by another";
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, reports_of_the_writing_come_between_the_messages_of_a_commit) {
   load();
   add(IO_RULES, {"a,b"});
   const std::string file = current_file();
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + file + "...",
                     "report: log database write failed: string has field separator character",
                     "Wrote log database with 1 entries",
                     "Done comiting logdb database " + file + ". Spent 0 seconds."}));
}

// ---- commit_database(file_name, partition_root)

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_by_name_writes_names_relative_to_the_root) {
   load();
   add(DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a|b"});
   const std::string file = path("named");
   LOGDB_DATABASE::commit_database(file.c_str(), "top|u1");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + file + "...", "Wrote log database with 1 entries",
                     "Done comiting logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(read_file(file), "v1\nDSP_BALANCING_IMPLEMENTATION,g,a|b,\n");
   EXPECT_STREQ(logdb_filename_singleton, "");
   EXPECT_FALSE(std::filesystem::exists(current_file()));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_by_name_without_a_kind_reports_it_and_writes) {
   load();
   add(IO_RULES, {"a"});
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_NONE);
   const std::string file = path("named");
   LOGDB_DATABASE::commit_database(file.c_str(), "");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{not_bee, "Commiting logdb database " + file + "...", "Wrote log database with 1 entries",
                     "Done comiting logdb database " + file + ". Spent 0 seconds."}));
   EXPECT_EQ(read_file(file), "v1\nIO_RULES,a,\n");
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, commit_by_name_takes_null_as_empty) {
   load();
   add(DSP_BALANCING_IMPLEMENTATION, {"g", "|a"});
   LOGDB_DATABASE::commit_database(path("named").c_str(), nullptr);
   EXPECT_EQ(read_file(path("named")), "v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\n");
   events();
   LOGDB_DATABASE::commit_database(nullptr, "");
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Commiting logdb database ...", "Wrote log database with 1 entries",
                                            "Done comiting logdb database . Spent 0 seconds."}));
}

// ---- unload_database and get_database

TEST_F(LOGDB_DATABASE_LIFECYCLE, unload_with_nothing_loaded_says_so_all_the_same) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   std::strcpy(logdb_filename_singleton, "left here");
   LOGDB_DATABASE::unload_database();
   EXPECT_EQ(events(), EVENTS{"Unloaded logdb database."});
   EXPECT_STREQ(logdb_filename_singleton, "");
   EXPECT_EQ(logdb_revision_name, "top");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, unload_destroys_the_database_and_keeps_the_revision_and_kind) {
   const std::size_t blocks_before = host_memory_statistics("LOGDB").m_live_blocks;
   write_file(path("named"), "v1\nIO_RULES,a field that is too long for a short string,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(path("named").c_str(), "");
   EXPECT_GT(host_memory_statistics("LOGDB").m_live_blocks, blocks_before);
   events();
   LOGDB_DATABASE::unload_database();
   EXPECT_EQ(events(), EVENTS{"Unloaded logdb database."});
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, blocks_before);
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
   EXPECT_STREQ(logdb_filename_singleton, "");
   EXPECT_EQ(logdb_revision_name, "top");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::unload_database();
   EXPECT_EQ(events(), EVENTS{"Unloaded logdb database."});
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, another_file_can_be_loaded_after_unload) {
   write_file(path("one"), "v1\nIO_RULES,one,\n");
   write_file(path("two"), "v1\nIO_RULES,two,\n");
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(path("one").c_str(), "");
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database(path("two").c_str(), "");
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"two"}}}));
   EXPECT_EQ(logdb_filename_singleton, path("two"));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_database_of_the_programs_own_is_not_the_loaded_one) {
   LOGDB_DATABASE own;
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"own"});
   own.add_entry(&entry);
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events(), EVENTS{not_loaded});

   LOGDB_DATABASE::load_database();
   EXPECT_NE(LOGDB_DATABASE::get_database(), &own);
   add(IO_RULES, {"loaded"});
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(read_file(current_file()), "v1\nIO_RULES,loaded,\n");
   LOGDB_DATABASE::unload_database();
   EXPECT_EQ(entries_of(own), (ENTRIES{{IO_RULES, {"own"}}}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, no_file_stays_open) {
   write_file(path("good"), "v1\nIO_RULES,a,\n");
   write_file(path("damaged"), "v1\nIO_RULES,a");
   load();
   LOGDB_DATABASE::unload_database();
   const std::size_t before = open_files();
   for (const char* name : {"good", "damaged", "missing"}) {
      LOGDB_DATABASE::load_database(path(name).c_str(), "");
      EXPECT_EQ(open_files(), before) << name;
      LOGDB_DATABASE::commit_database();
      LOGDB_DATABASE::commit_database(path("out").c_str(), "");
      EXPECT_EQ(open_files(), before) << name;
      LOGDB_DATABASE::unload_database();
   }
   events();
}

// ---- Time

TEST_F(LOGDB_DATABASE_LIFECYCLE, durations_are_the_difference_of_two_readings_of_the_clock) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   const std::string file = current_file();

   clock_script = {1000, 1007};
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events().back(), "Done loading logdb database " + file + ". Spent 7 seconds.");
   EXPECT_TRUE(clock_script.empty());

   clock_script = {5, 100005};
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events().back(), "Done comiting logdb database " + file + ". Spent 100000 seconds.");
   EXPECT_TRUE(clock_script.empty());

   clock_script = {50, 50};
   LOGDB_DATABASE::commit_database(path("named").c_str(), "");
   EXPECT_EQ(events().back(), "Done comiting logdb database " + path("named") + ". Spent 0 seconds.");
   EXPECT_TRUE(clock_script.empty());

   LOGDB_DATABASE::unload_database();
   clock_script = {1000, 997}; // somebody has set the clock back
   LOGDB_DATABASE::load_database(path("named").c_str(), "");
   EXPECT_EQ(events().back(), "Done loading logdb database " + path("named") + ". Spent -3 seconds.");
   EXPECT_TRUE(clock_script.empty());
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, the_clock_is_read_after_the_first_message_and_before_the_last) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   write_file(current_file(), "v1\n");
   std::vector<int> reads_at_message;
   const HOST_DEBUG_MESSAGE_HANDLER old_handler =
       host_set_debug_message_handler([&reads_at_message](const char*, const char*) {
          reads_at_message.push_back(clock_reads);
          return true;
       });
   clock_reads = 0;
   LOGDB_DATABASE::load_database();   // loading, version, entries, done
   LOGDB_DATABASE::load_database();   // nothing
   LOGDB_DATABASE::commit_database(); // committing, wrote, done
   LOGDB_DATABASE::commit_database(path("named").c_str(), "");
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database(path("named").c_str(), "");
   LOGDB_DATABASE::load_database(path("named").c_str(), ""); // already loaded
   host_set_debug_message_handler(old_handler);
   EXPECT_EQ(reads_at_message, (std::vector<int>{0, 1, 1, 2, 2, 3, 4, 4, 5, 6, 6, 6, 7, 7, 8, 8}));
}

// ---- should_preserve_postfit_entries

TEST_F(LOGDB_DATABASE_LIFECYCLE, three_kinds_survive_a_post_fit_pass) {
   EXPECT_TRUE(LOGDB_DATABASE::should_preserve_postfit_entries(DSP_BALANCING_IMPLEMENTATION));
   EXPECT_TRUE(LOGDB_DATABASE::should_preserve_postfit_entries(REGISTER_PACKING));
   EXPECT_FALSE(LOGDB_DATABASE::should_preserve_postfit_entries(RAM_PACKING));
   EXPECT_FALSE(LOGDB_DATABASE::should_preserve_postfit_entries(FIT_COMPUTED_DQSBUSMUX_COUNTS));
   EXPECT_TRUE(LOGDB_DATABASE::should_preserve_postfit_entries(FSYN_LOG_FILE));
   EXPECT_FALSE(LOGDB_DATABASE::should_preserve_postfit_entries(IO_RULES_SUMMARY));
   EXPECT_FALSE(LOGDB_DATABASE::should_preserve_postfit_entries(IO_RULES));
   EXPECT_FALSE(LOGDB_DATABASE::should_preserve_postfit_entries(IO_RULES_MATRIX));
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, an_unknown_kind_does_not_survive_a_post_fit_pass_and_is_reported) {
   for (const int kind : {8, -1, 100, INT_MAX, INT_MIN}) {
      EXPECT_FALSE(LOGDB_DATABASE::should_preserve_postfit_entries(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind)));
      EXPECT_EQ(events(), EVENTS{"report: Unsupported LOGDB_ENTRY_TYPE"}) << kind;
   }
}

// ---- logdb_msg_debug

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_debug_message_is_formatted_and_goes_to_the_host) {
   EXPECT_TRUE(logdb_msg_debug("%d%% of %s, %5.2f and %c", 42, "something", 1.5, 'x'));
   EXPECT_TRUE(logdb_msg_debug("plain"));
   const std::string long_text(100000, 'y');
   EXPECT_TRUE(logdb_msg_debug("%s", long_text.c_str()));
   EXPECT_EQ(events(), (EVENTS{"42% of something,  1.50 and x", "plain", long_text}));
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_debug_message_answers_what_the_host_answers) {
   const HOST_DEBUG_MESSAGE_HANDLER old_handler =
       host_set_debug_message_handler([](const char* domain, const char* text) {
          EXPECT_STREQ(domain, "LOGDB");
          return std::strcmp(text, "yes 1") == 0;
       });
   EXPECT_TRUE(logdb_msg_debug("yes %d", 1));
   EXPECT_FALSE(logdb_msg_debug("no %d", 1));
   host_set_debug_message_handler(old_handler);
}

// ---- The process

TEST_F(LOGDB_DATABASE_LIFECYCLE, the_memory_domain_is_registered_once_while_the_library_is_there) {
   EXPECT_EQ(host_memory_domain_registrations("LOGDB"), 1u);
   load();
   LOGDB_DATABASE::unload_database();
   EXPECT_EQ(host_memory_domain_registrations("LOGDB"), 1u);
}

// ---- What a handler finds when a message or a report reaches it

/// Calls something with the text of each debug message as long as it lives.
class MESSAGE_WATCH {
public:
   template <class WHAT>
   explicit MESSAGE_WATCH(WHAT what)
       : m_old_handler(host_set_debug_message_handler([what](const char* /*domain*/, const char* text) {
            what(std::string(text));
            return true;
         })) {}
   ~MESSAGE_WATCH() { host_set_debug_message_handler(m_old_handler); }
   MESSAGE_WATCH(const MESSAGE_WATCH&) = delete;
   MESSAGE_WATCH& operator=(const MESSAGE_WATCH&) = delete;

private:
   HOST_DEBUG_MESSAGE_HANDLER m_old_handler;
};

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_commit_says_that_it_is_done_when_the_file_is_whole) {
   load();
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"a"});
   LOGDB_DATABASE::get_database()->add_entry(&entry);
   std::string seen;
   {
      const MESSAGE_WATCH watch([&](const std::string& text) {
         if (text.rfind("Done comiting", 0) == 0) {
            seen = read_file(path("commit.logdb"));
         }
      });
      LOGDB_DATABASE::commit_database(path("commit.logdb").c_str(), "");
   }
   EXPECT_EQ(seen, "v1\nIO_RULES,a,\n");
   LOGDB_DATABASE::unload_database();
   m_host.take_events();
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, an_unload_says_so_when_nothing_is_loaded_any_more) {
   load();
   const LOGDB_DATABASE* seen = LOGDB_DATABASE::get_database();
   {
      const MESSAGE_WATCH watch([&](const std::string& text) {
         if (text == "Unloaded logdb database.") {
            seen = LOGDB_DATABASE::get_database();
         }
      });
      LOGDB_DATABASE::unload_database();
   }
   EXPECT_EQ(seen, nullptr);
   m_host.take_events();
}

TEST_F(LOGDB_DATABASE_LIFECYCLE, a_null_root_is_reported_before_it_gets_in_front_of_any_name) {
   write_file(path("file"), "v1\nDSP_BALANCING_IMPLEMENTATION,a,n,\n");
   std::string seen;
   const HOST_INTERNAL_ERROR_HANDLER old_handler =
       host_set_internal_error_handler([&](const char* text, const char*, const char*, int) {
          seen += text;
          seen += ": " + std::string(LOGDB_DATABASE::get_database()->get_entry(0)->m_data_vector.at(1).c_str());
       });
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(path("file").c_str(), nullptr);
   host_set_internal_error_handler(old_handler);
   EXPECT_EQ(seen, "partition_root != 0: n");
   EXPECT_EQ(LOGDB_DATABASE::get_database()->get_entry(0)->m_data_vector.at(1), "|n");
   LOGDB_DATABASE::unload_database();
   m_host.take_events();
}

[[noreturn]] void exit_with_the_state_of_a_new_process() {
   EXPECT_EQ(logdb_revision_name, "");
   EXPECT_EQ(logdb_db_type, LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(std::string(logdb_filename_singleton, sizeof logdb_filename_singleton), std::string(1024, '\0'));
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
   EXPECT_EQ(host_memory_domain_registrations("LOGDB"), 1u);
   std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

TEST(LOGDB_DATABASE_IN_A_NEW_PROCESS, the_process_starts_uninitialised_with_nothing_loaded) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(exit_with_the_state_of_a_new_process(), ::testing::ExitedWithCode(0), "");
}

[[noreturn]] void exit_with_a_database_loaded() {
   host_set_debug_message_handler([](const char*, const char* text) {
      std::fprintf(stderr, "%s\n", text);
      return true;
   });
   LOGDB_DATABASE::initialize("a revision that nobody has", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database("/no/such/file", "");
   LOGDB_DATABASE_ENTRY entry;
   entry.m_data_vector.emplace_back("a field that is too long for a short string");
   LOGDB_DATABASE::get_database()->add_entry(&entry);
   std::exit(0);
}

TEST(LOGDB_DATABASE_IN_A_NEW_PROCESS, a_database_that_is_still_loaded_at_the_end_is_left_alone) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(exit_with_a_database_loaded(), ::testing::ExitedWithCode(0),
               "^Loading logdb database /no/such/file...\n"
               "Done loading logdb database /no/such/file. Spent . seconds.\n$");
}

} // namespace
