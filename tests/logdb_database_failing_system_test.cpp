#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <limits>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "logdb_database.h"
#include "logdb_database_fixture.h"
#include "xtl_hash.h"

namespace {

constexpr int unlimited = std::numeric_limits<int>::max();

/// How many objects there is still memory for.
int allocations_left = unlimited;

/// How many there have been.
int allocations = 0;

/// A block of this size or more is never there.
std::size_t size_limit = std::numeric_limits<std::size_t>::max();

/// Whether there are arrays for those who can do without.
bool has_optional_arrays = true;

/// How many bytes files give before reading them fails.
constexpr std::size_t any_number = std::numeric_limits<std::size_t>::max();
std::size_t readable_bytes = any_number;

/// Memory for so many objects as long as it lives.
class SCARCE_MEMORY {
public:
   explicit SCARCE_MEMORY(int objects) { allocations_left = objects; }
   ~SCARCE_MEMORY() { allocations_left = unlimited; }
   SCARCE_MEMORY(const SCARCE_MEMORY&) = delete;
   SCARCE_MEMORY& operator=(const SCARCE_MEMORY&) = delete;
};

} // namespace

// The library's allocation operator again, with an end to the memory.
void* operator new(std::size_t size, int /*tag*/) noexcept {
   if (allocations_left == 0 || size >= size_limit) {
      return nullptr;
   }
   if (allocations_left != unlimited) {
      --allocations_left;
   }
   ++allocations;
   return std::calloc(size, 1);
}

// What asks so can do without the array.
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
   return has_optional_arrays ? std::malloc(size) : nullptr;
}

// The C library's call, which fails as on a broken disk.
extern "C" ssize_t read(int file, void* buffer, std::size_t size) {
   if (readable_bytes == 0) {
      errno = EIO;
      return -1;
   }
   const ssize_t got = syscall(SYS_read, file, buffer, std::min(size, readable_bytes));
   if (readable_bytes != any_number && got > 0) {
      readable_bytes -= static_cast<std::size_t>(got);
   }
   return got;
}

namespace {

class LOGDB_DATABASE_OUT_OF_MEMORY : public LOGDB_DATABASE_TEST {};

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, an_entry_that_cannot_be_stored_is_reported_and_the_list_stays) {
   LOGDB_DATABASE_IMPL impl;
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"a", std::string(100, 'f')});
   const LOGDB_DATABASE_ENTRY* stored = impl.add_entry(&entry);
   ASSERT_NE(stored, nullptr);
   {
      const SCARCE_MEMORY memory(0);
      EXPECT_EQ(impl.add_entry(&entry), nullptr);
      EXPECT_EQ(events(), EVENTS{"report: new_entry != 0"});
      EXPECT_EQ(impl.replace_entry(0, &entry), nullptr);
      EXPECT_EQ(events(), EVENTS{"report: new_entry != 0"});
   }
   EXPECT_EQ(impl.get_entry(0), stored);
   EXPECT_EQ(entries_of(impl), ENTRIES{plain(entry)});
   EXPECT_NE(impl.add_entry(&entry), nullptr);
   EXPECT_EQ(impl.get_number_of_entries(), 2);
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, reading_ends_at_the_entry_that_has_no_room) {
   const std::string bytes = "v1\nIO_RULES,a,\nIO_RULES,b,\nIO_RULES,c,\n";
   const ENTRIES all = {{IO_RULES, {"a"}}, {IO_RULES, {"b"}}, {IO_RULES, {"c"}}};
   logdb_get_logdb_entry_type_enum_translator_instance(); // has its memory
   for (int room = 0; room < 3; ++room) {
      LOGDB_DATABASE_IMPL impl;
      std::istringstream in(bytes);
      {
         const SCARCE_MEMORY memory(room);
         EXPECT_FALSE(impl.read_database(&in));
      }
      EXPECT_EQ(entries_of(impl), ENTRIES(all.begin(), all.begin() + room));
      const EVENTS found = events();
      EXPECT_EQ(found.front(), "Reading log db version v1");
      EXPECT_EQ(found.back(), "Read " + std::to_string(room) + " entries from log db");
      EXPECT_EQ(found.size(), 3u) << "and a report between them";
      std::istringstream again(bytes);
      EXPECT_TRUE(impl.read_database(&again));
      EXPECT_EQ(entries_of(impl), all);
      events();
   }
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_process_that_cannot_load_goes_on) {
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   const std::string file = database_path("top", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   const std::string out = path("out");
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"b"});
   logdb_get_logdb_entry_type_enum_translator_instance(); // has its memory
   for (const bool by_name : {false, true}) {
      bool complete = false;
      for (int room = 0; !complete; ++room) {
         ASSERT_LT(room, 100);
         write_file(file, "v1\nIO_RULES,a,\n");
         write_file(out, "");
         events();
         {
            const SCARCE_MEMORY memory(room);
            by_name ? LOGDB_DATABASE::load_database(file.c_str(), "") : LOGDB_DATABASE::load_database();
            if (LOGDB_DATABASE* database = LOGDB_DATABASE::get_database(); database != nullptr) {
               database->get_number_of_entries();
               database->get_entry(0);
               database->add_entry(&entry);
               database->replace_entry(0, &entry);
            }
            by_name ? LOGDB_DATABASE::commit_database(out.c_str(), "") : LOGDB_DATABASE::commit_database();
            LOGDB_DATABASE::unload_database();
         }
         const EVENTS found = events();
         complete = std::none_of(found.begin(), found.end(),
                                 [](const std::string& event) { return event.starts_with("report: "); });
      }
      EXPECT_EQ(read_file(by_name ? out : file), "v1\nIO_RULES,b,\nIO_RULES,b,\n")
          << "what goes without a report is complete";
   }
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_database_without_memory_takes_no_entries) {
   const SCARCE_MEMORY memory(0);
   LOGDB_DATABASE database;
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"a"});
   EXPECT_EQ(database.get_number_of_entries(), 0);
   EXPECT_EQ(database.get_entry(0), nullptr);
   EXPECT_EQ(database.add_entry(&entry), nullptr);
   EXPECT_EQ(database.replace_entry(0, &entry), nullptr);
   events();
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY,
       files_are_written_and_read_in_small_pieces_when_there_is_no_room_for_large_ones) {
   load();
   std::string expected = "v1\n";
   std::string relative = "v1\n";
   for (int number = 0; number < 5000; ++number) {
      const std::string field = std::to_string(number);
      add(DSP_BALANCING_IMPLEMENTATION, {field, "top|" + field});
      expected += "DSP_BALANCING_IMPLEMENTATION," + field + ",top|" + field + ",\n";
      relative += "DSP_BALANCING_IMPLEMENTATION," + field + "," + field + ",\n";
   }
   const ENTRIES entries = loaded();
   has_optional_arrays = false;
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::commit_database(path("relative").c_str(), "top");
   const std::string file = database_path("revision", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   EXPECT_TRUE(read_file(file) == expected);
   EXPECT_TRUE(read_file(path("relative")) == relative);
   EXPECT_EQ(events().size(), 6u);

   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database();
   EXPECT_TRUE(loaded() == entries);
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database(path("relative").c_str(), "top");
   EXPECT_TRUE(loaded() == entries);
   has_optional_arrays = true;
   for (const std::string& event : events()) {
      EXPECT_FALSE(event.starts_with("report: ")) << event;
   }
}

// ---- Files

constexpr const char* failed = "report: Failed reading log-db file";

class LOGDB_DATABASE_ON_A_BROKEN_DISK : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override { LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP); }
};

TEST_F(LOGDB_DATABASE_ON_A_BROKEN_DISK, an_error_at_any_byte_keeps_the_lines_in_front) {
   const std::string bytes = "v1\nIO_RULES,a,\nREGISTER_PACKING,b,\n";
   const ENTRIES all = {{IO_RULES, {"a"}}, {REGISTER_PACKING, {"b"}}};
   const std::string file = path("file");
   write_file(file, bytes);
   for (std::size_t size = 0; size <= bytes.size(); ++size) {
      const std::string readable = bytes.substr(0, size);
      const auto line_ends = static_cast<std::size_t>(std::count(readable.begin(), readable.end(), '\n'));
      const std::size_t count = line_ends == 0 ? 0 : line_ends - 1;
      EVENTS expected = {"Loading logdb database " + file + "..."};
      if (line_ends == 0) {
         expected.emplace_back("Failed reading log db version info");
      } else {
         expected.emplace_back("Reading log db version v1");
         expected.emplace_back(readable.back() == '\n' ? "Failed reading log db file"
                                                       : "Failed reading log db entry line");
      }
      expected.push_back("Read " + std::to_string(count) + " entries from log db");
      expected.emplace_back(failed);
      expected.push_back("Done loading logdb database " + file + ". Spent 0 seconds.");

      readable_bytes = size;
      LOGDB_DATABASE::load_database(file.c_str(), "top");
      readable_bytes = any_number;
      EXPECT_EQ(events_at_any_speed(), expected) << size;
      EXPECT_EQ(loaded(), ENTRIES(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count))) << size;
      EXPECT_STREQ(logdb_filename_singleton, "");
      LOGDB_DATABASE::unload_database();
      events();
   }
}

TEST_F(LOGDB_DATABASE_ON_A_BROKEN_DISK, an_error_far_into_a_file_keeps_the_lines_in_front) {
   std::string bytes = "v1\n";
   for (int number = 0; number < 100000; ++number) {
      bytes += "IO_RULES," + std::to_string(1000000 + number) + ",\n"; // lines of 18 bytes
   }
   write_file(path("file"), bytes);
   for (const std::size_t size : {std::size_t{3 + 18 * 1000}, std::size_t{3 + 18 * 1000 + 7}, std::size_t{262144},
                                  std::size_t{262143}, std::size_t{262145}, std::size_t{1000001}}) {
      readable_bytes = size;
      LOGDB_DATABASE::load_database(path("file").c_str(), "");
      readable_bytes = any_number;
      const std::size_t count = (size - 3) / 18;
      const EVENTS found = events();
      ASSERT_EQ(found.size(), 6u);
      EXPECT_EQ(found[2],
                (size - 3) % 18 == 0 ? "Failed reading log db file" : "Failed reading log db entry line");
      EXPECT_EQ(found[3], "Read " + std::to_string(count) + " entries from log db");
      EXPECT_EQ(found[4], failed);
      ASSERT_EQ(loaded().size(), count);
      EXPECT_EQ(loaded().back(), (PLAIN_ENTRY{IO_RULES, {std::to_string(1000000 + count - 1)}}));
      LOGDB_DATABASE::unload_database();
      events();
   }
}

// ---- The hash

using STRING_HASH = XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS>;

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_key_that_cannot_be_added_has_a_value_outside_the_map) {
   STRING_HASH hash;
   hash["a"] = 1;
   {
      const SCARCE_MEMORY memory(0);
      int& spare = hash["b"];
      EXPECT_EQ(spare, 0);
      spare = 5;
      EXPECT_EQ(hash["c"], 0) << "nothing of the one before is left";
      EXPECT_EQ(hash["A"], 1);
   }
   EXPECT_EQ(hash.m_size, 1u);
   EXPECT_EQ(hash.m_collisions, 0u);
   EXPECT_FALSE(hash.exists("b"));
   EXPECT_EQ(hash["b"], 0);
   EXPECT_EQ(hash.m_size, 2u);
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_map_that_cannot_grow_goes_on_with_its_buckets) {
   STRING_HASH hash;
   std::deque<std::string> keys;
   for (int number = 0; number < 51; ++number) {
      hash[keys.emplace_back("key" + std::to_string(number)).c_str()] = number;
   }
   {
      const SCARCE_MEMORY memory(1); // the element, not the buckets
      hash[keys.emplace_back("key51").c_str()] = 51;
   }
   EXPECT_EQ(hash.m_bucket_count, 61u);
   EXPECT_EQ(hash.m_size, 52u);
   for (int number = 0; number < 52; ++number) {
      EXPECT_EQ(hash[keys[static_cast<std::size_t>(number)].c_str()], number);
   }
   hash[keys.emplace_back("key52").c_str()] = 52;
   EXPECT_EQ(hash.m_bucket_count, xtl_hash_50_percent_increase_size(65)) << "and grows when it can";
   for (int number = 0; number < 53; ++number) {
      EXPECT_EQ(hash[keys[static_cast<std::size_t>(number)].c_str()], number);
   }
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_map_without_buckets_finds_and_takes_nothing_until_it_grows) {
   allocations_left = 0;
   EXPECT_FALSE(STRING_HASH().exists("a"));
   STRING_HASH hash;
   EXPECT_FALSE(hash.exists("a"));
   EXPECT_TRUE(hash.find("a") == hash.end());
   EXPECT_EQ(hash["a"], 0);
   EXPECT_FALSE(hash.exists("a"));
   EXPECT_EQ(hash.m_size, 0u);
   allocations_left = unlimited;
   hash.resize(1000);
   hash["a"] = 1;
   EXPECT_EQ(hash["A"], 1);
   EXPECT_EQ(hash.m_size, 1u);
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_map_does_not_grow_to_more_buckets_than_can_be_addressed) {
   STRING_HASH hash;
   hash["a"] = 1;
   size_limit = std::size_t{1} << 30; // what any size is, but one that has wrapped around
   // Counts whose buckets take about 2^64 bytes, where a size in bytes starts again at 0.
   const unsigned long wrapping = (1ul << 61) / 3 * 2 / 5 * 4;
   for (unsigned long count = wrapping - 400; count <= wrapping + 400; ++count) {
      const unsigned long before = hash.m_bucket_count;
      hash.resize(count);
      ASSERT_EQ(hash.m_bucket_count, before) << count;
   }
   size_limit = std::numeric_limits<std::size_t>::max();
   EXPECT_TRUE(hash.exists("a"));
}

// ---- The translators

/// How many objects an operation makes.
template <class OPERATION> int objects_made_by(const OPERATION& operation) {
   const int before = allocations;
   operation();
   return allocations - before;
}

TEST_F(LOGDB_DATABASE_OUT_OF_MEMORY, a_translator_that_has_no_room_for_a_name_knows_it_nevertheless) {
   for (int objects = 0; objects < 20; ++objects) {
      allocations_left = objects;
      const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR kinds;
      const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR datatypes;
      allocations_left = unlimited;
      for (int value = 0; value < 8; ++value) {
         for (const char* name : {kinds.m_debug_string_table[value], kinds.m_user_string_table[value]}) {
            EXPECT_EQ(kinds.get_enum_by_string(name), value) << name << " with " << objects;
            EXPECT_TRUE(kinds.exists_enum_by_string(name)) << name << " with " << objects;
         }
      }
      for (int value = 0; value < 2; ++value) {
         for (const char* name : {datatypes.m_debug_string_table[value], datatypes.m_user_string_table[value]}) {
            EXPECT_EQ(datatypes.get_enum_by_string(name), value) << name << " with " << objects;
            EXPECT_TRUE(datatypes.exists_enum_by_string(name)) << name << " with " << objects;
         }
      }
      EXPECT_EQ(datatypes.get_enum_by_string("node_name"), NODE_NAME);
      EXPECT_EQ(datatypes.get_enum_by_string("RAM_PACKING"), -1);
      EXPECT_FALSE(datatypes.exists_enum_by_string(""));
      EXPECT_EQ(kinds.get_enum_by_string("NODE_NAME"), -1);
      EXPECT_FALSE(kinds.exists_enum_by_string(""));
   }
}

[[noreturn]] void exit_with_the_translators_made_once() {
   EXPECT_EQ(allocations, 0) << "none is made before it is used";
   EXPECT_EQ(objects_made_by([] { logdb_get_user_string(RAM_PACKING); }), 17) << "the buckets and 16 keys";
   EXPECT_EQ(objects_made_by([] { logdb_get_logdb_entry_type_enum_by_string("RAM_PACKING"); }), 0);
   EXPECT_EQ(objects_made_by([] { logdb_get_logdb_entry_type_enum_translator_instance(); }), 0);
   EXPECT_EQ(objects_made_by([] { logdb_exists_logdb_entry_datatype_enum_by_string("x"); }), 3)
       << "the buckets and 2 keys";
   EXPECT_EQ(objects_made_by([] { logdb_get_debug_string(NODE_NAME); }), 0);
   std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

TEST(TRANSLATORS_IN_A_NEW_PROCESS, each_is_made_once_when_it_is_first_used) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(exit_with_the_translators_made_once(), ::testing::ExitedWithCode(0), "");
}

} // namespace
