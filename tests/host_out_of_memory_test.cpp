// A host whose memory manager has no more blocks: it throws, as it should, or answers null. Every operation is tried
// with each number of blocks that is too small for it; the exception passes through, and everything is as before.

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "fsyn_samples.h"
#include "logdb.h"
#include "logdb_database_fixture.h"
#include "logdb_fsyn_log_file.h"
#include "mem.h"

namespace {

constexpr int unlimited = std::numeric_limits<int>::max();

/// How many blocks the manager still has, and how many are out.
int blocks_left = unlimited;
int live_blocks = 0;

/// Whether it answers null instead of throwing.
bool answers_null = false;

} // namespace

// The memory manager of the process, in the place of the standalone host's.
void* MEM_MANAGER::new_wrapper(std::size_t size, MEM_TRACKER* /*tracker*/, const char* /*file*/) {
   if (blocks_left == 0) {
      if (answers_null) {
         return nullptr;
      }
      throw std::bad_alloc();
   }
   if (blocks_left != unlimited) {
      --blocks_left;
   }
   ++live_blocks;
   return std::malloc(size);
}

void MEM_MANAGER::delete_wrapper(void* block, const char* /*domain*/) {
   live_blocks -= block != nullptr ? 1 : 0;
   std::free(block);
}

namespace {

class HOST_OUT_OF_MEMORY : public LOGDB_DATABASE_TEST, public ::testing::WithParamInterface<bool> {
protected:
   HOST_OUT_OF_MEMORY() { answers_null = GetParam(); }
   ~HOST_OUT_OF_MEMORY() override { answers_null = false; }

   /// Runs what needs blocks with 0, 1, 2 ... of them until there are enough; how many that took. After each run that
   /// had too few, what `after` says has to hold.
   template <class WHAT, class AFTER> static int blocks_needed_by(const WHAT& what, const AFTER& after) {
      for (int blocks = 0; blocks < 10000; ++blocks) {
         blocks_left = blocks;
         bool enough = true;
         try {
            what();
         } catch (const std::bad_alloc&) {
            enough = false;
         }
         blocks_left = unlimited;
         if (enough) {
            return blocks;
         }
         after();
         if (HasFatalFailure() || HasNonfatalFailure()) {
            return -1;
         }
      }
      return -1;
   }
};

const std::string long_name = "a_name_that_needs_storage_of_its_own|and|some|more";

TEST_P(HOST_OUT_OF_MEMORY, an_entry_that_cannot_be_copied_is_not_added) {
   LOGDB_DATABASE database;
   const LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {long_name, "b", long_name});
   int count = 0;
   EXPECT_GT(blocks_needed_by([&] { database.add_entry(&entry); },
                              [&] { EXPECT_EQ(database.get_number_of_entries(), count); }),
             2);
   EXPECT_EQ(entries_of(database), ENTRIES{plain(entry)});
   count = 1;
   const LOGDB_DATABASE_ENTRY other = entry_of(IO_RULES, {"c", long_name});
   EXPECT_GT(blocks_needed_by([&] { database.replace_entry(0, &other); },
                              [&] { EXPECT_EQ(entries_of(database), ENTRIES{plain(entry)}); }),
             1);
   EXPECT_EQ(entries_of(database), ENTRIES{plain(other)});
}

TEST_P(HOST_OUT_OF_MEMORY, reading_gives_what_was_complete_and_reads_all_of_it_the_next_time) {
   std::string bytes = "v1\n";
   ENTRIES all;
   for (int number = 0; number < 20; ++number) {
      const std::string field = long_name + std::to_string(number);
      bytes += "RAM_PACKING," + field + ",b,\n";
      all.push_back({RAM_PACKING, {field, "b"}});
   }
   write_file(path("f"), bytes);
   const auto read = [&] {
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::load_database(path("f").c_str(), "");
   };
   const auto has_a_beginning = [&] {
      const ENTRIES entries = LOGDB_DATABASE::get_database() == nullptr ? ENTRIES() : loaded();
      ASSERT_LE(entries.size(), all.size());
      EXPECT_EQ(entries, ENTRIES(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(entries.size())));
   };
   EXPECT_GT(blocks_needed_by(read, has_a_beginning), 40);
   EXPECT_EQ(loaded(), all);
   LOGDB_DATABASE::unload_database();
   events();
}

TEST_P(HOST_OUT_OF_MEMORY, a_process_that_could_not_load_or_commit_can_do_so_later) {
   load();
   add(DSP_BALANCING_IMPLEMENTATION, {"1", "top|" + long_name});
   add(IO_RULES, {"c"});
   const ENTRIES added = loaded();
   EXPECT_GE(blocks_needed_by([&] { LOGDB_DATABASE::commit_database(path("f").c_str(), "top"); },
                              [&] { EXPECT_EQ(loaded(), added); }),
             0);
   EXPECT_EQ(read_file(path("f")), "v1\nDSP_BALANCING_IMPLEMENTATION,1," + long_name + ",\nIO_RULES,c,\n");
   LOGDB_DATABASE::unload_database();
   EXPECT_GT(blocks_needed_by([&] { LOGDB_DATABASE::load_database(path("f").c_str(), "top"); },
                              [] { LOGDB_DATABASE::unload_database(); }),
             0);
   EXPECT_EQ(loaded(), added);
   LOGDB_DATABASE::unload_database();
   events();
}

TEST_P(HOST_OUT_OF_MEMORY, a_record_of_any_kind_is_copied_whole_or_not_at_all) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      SCOPED_TRACE(sample.m_suffix);
      std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> copy;
      EXPECT_GE(blocks_needed_by([&] { copy.reset(sample.m_record->clone()); }, [&] { EXPECT_EQ(copy, nullptr); }),
                0);
      ASSERT_NE(copy, nullptr);
      EXPECT_EQ(copy->m_type, sample.m_record->m_type);
   }
}

TEST_P(HOST_OUT_OF_MEMORY, a_log_that_stopped_for_want_of_memory_is_read_from_its_start_by_the_next) {
   const std::string log_name = path("all.fsyn");
   write_file(log_name, read_file(LOGDB_TEST_DIRECTORY "/golden/all_kinds.fsyn"));
   int records = 0;
   const auto read_all = [&] {
      records = 0;
      LOGDB_FSYN_LOG_FILE log(log_name.c_str());
      while (const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> record{log.read_fsyn_log_entry()}) {
         ++records;
      }
   };
   read_all();
   const int all = records;
   int most = 0;
   const auto no_fewer_than_with_less_memory = [&] {
      EXPECT_GE(records, most);
      most = records;
   };
   EXPECT_GT(blocks_needed_by(read_all, no_fewer_than_with_less_memory), 2);
   EXPECT_EQ(records, all);
   events();
}

INSTANTIATE_TEST_SUITE_P(, HOST_OUT_OF_MEMORY, ::testing::Bool(),
                         [](const auto& chosen) { return chosen.param ? "answers_null" : "throws"; });

class NO_BLOCK_IS_LEFT : public ::testing::Environment {
   void TearDown() override { EXPECT_EQ(live_blocks, 0); }
};

const ::testing::Environment* const no_block_is_left = ::testing::AddGlobalTestEnvironment(new NO_BLOCK_IS_LEFT);

} // namespace
