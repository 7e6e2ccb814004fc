// What a database costs: calls of the operating system, and memory.

#include <filesystem>
#include <string>

#include "logdb_database_fixture.h"
#include "system_calls.h"

namespace {

using LOGDB_DATABASE_SYSTEM_CALLS = LOGDB_DATABASE_TEST;

constexpr int entry_count = 40000;
constexpr long block_bytes = 65536; // what a read or a write moves at the least, a few of them left out
constexpr long small_calls = 20;

/// The lines of entries: in each, two fields that a string has no room for, one of them a node below the root, and two
/// that it has room for.
std::string many_lines(const std::string& root) {
   std::string text = "v1\n";
   for (int entry = 0; entry < entry_count; ++entry) {
      text += "REGISTER_PACKING,short,M9K,0123456789abcdef," + root + "a_partition:inst|of_some_length[12],\n";
   }
   return text;
}

TEST_F(LOGDB_DATABASE_SYSTEM_CALLS, a_database_is_read_in_large_blocks) {
   const std::string text = many_lines("top|");
   write_file(database_path("revision", "cmp"), text);
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
   const CALLS calls = calls_of([] { LOGDB_DATABASE::load_database(); });
   EXPECT_EQ(LOGDB_DATABASE::get_database()->get_number_of_entries(), entry_count);
   EXPECT_GE(calls.m_reads, 1);
   EXPECT_LE(calls.m_reads, static_cast<long>(text.size()) / block_bytes + small_calls);
   LOGDB_DATABASE::unload_database();
}

TEST_F(LOGDB_DATABASE_SYSTEM_CALLS, a_database_is_written_in_large_blocks) {
   const std::string text = many_lines("top|");
   write_file(database_path("revision", "cmp"), text);
   load();
   std::filesystem::remove(database_path("revision", "cmp"));
   const CALLS calls = calls_of([] { LOGDB_DATABASE::commit_database(); });
   EXPECT_EQ(read_file(database_path("revision", "cmp")), text);
   const CALLS calls_with_partition =
       calls_of([this] { LOGDB_DATABASE::commit_database(path("partition.logdb").c_str(), "top"); });
   EXPECT_EQ(read_file(path("partition.logdb")), many_lines(""));
   EXPECT_GE(calls_with_partition.m_writes, 1);
   EXPECT_LE(calls_with_partition.m_writes, calls.m_writes);
   EXPECT_LE(calls.m_writes, static_cast<long>(text.size()) / block_bytes + small_calls);
   LOGDB_DATABASE::unload_database();
}

TEST_F(LOGDB_DATABASE_SYSTEM_CALLS, a_load_takes_tracked_memory_only_for_what_entries_keep) {
   write_file(database_path("revision", "cmp"), many_lines("top|"));
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
   const std::size_t before = host_memory_statistics("LOGDB").m_total_blocks;
   LOGDB_DATABASE::load_database();
   const std::size_t blocks = host_memory_statistics("LOGDB").m_total_blocks - before;
   // A list of fields and two long fields; the list of entries, which doubles, and what lines are taken apart with.
   EXPECT_GE(blocks, std::size_t{3} * entry_count);
   EXPECT_LE(blocks, std::size_t{3} * entry_count + 40);
   LOGDB_DATABASE::unload_database();
}

} // namespace
