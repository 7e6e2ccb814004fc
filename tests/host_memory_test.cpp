#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

#include "environment_variable.h"
#include "host_standalone.h"
#include "mem.h"
#include "mem_alloc_sys.h"

#if defined(__SANITIZE_ADDRESS__)
#define WITH_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WITH_ADDRESS_SANITIZER
#endif
#endif

using ::testing::Eq;
using ::testing::ExitedWithCode;

namespace {

constexpr std::size_t kib = 1024;
constexpr std::size_t mib = 1024 * kib;

/// Whether this very process gets its blocks one by one from the C library.
const bool each_block_has_a_header = [] {
#ifdef WITH_ADDRESS_SANITIZER
   return true;
#else
   const char* source = std::getenv("LOGDB_MEMORY");
   return source != nullptr && std::string(source) == "malloc";
#endif
}();

void* allocate(std::size_t size, MEM_TRACKER& tracker) {
   return MEM_MANAGER::new_wrapper(size, &tracker, "h/mem_alloc_sys");
}

void release(void* block) {
   MEM_MANAGER::delete_wrapper(block, "LOGDB");
}

/// The strictest alignment that an object of a size can have: its size is a multiple of it.
std::size_t alignment_of_objects(std::size_t size) {
   return size % alignof(std::max_align_t) == 0 ? alignof(std::max_align_t) : alignof(double);
}

/// Sizes around everything where a manager may change its ways.
std::vector<std::size_t> telling_sizes() {
   std::vector<std::size_t> sizes;
   for (std::size_t size = 0; size <= 300; ++size) {
      sizes.push_back(size);
   }
   for (std::size_t power = 512; power <= 2 * mib; power *= 2) {
      for (const std::size_t base : {power, power + power / 4, power + power / 2, power + power / 4 * 3}) {
         for (const std::size_t size : {base - 17, base - 16, base - 1, base, base + 1, base + 16}) {
            sizes.push_back(size);
         }
      }
   }
   return sizes;
}

/// Each test has a domain of its own: its statistics begin at 0.
class HOST_MEMORY : public ::testing::Test {
protected:
   HOST_MEMORY() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

   static std::string new_domain_name() {
      static int tests = 0;
      return "domain of test " + std::to_string(++tests);
   }

   HOST_MEMORY_STATISTICS statistics() const { return host_memory_statistics(m_domain); }

   std::vector<HOST_MEMORY_TRACKER_STATISTICS> tracker_statistics() const {
      std::vector<HOST_MEMORY_TRACKER_STATISTICS> mine;
      for (const HOST_MEMORY_TRACKER_STATISTICS& tracker : host_memory_tracker_statistics()) {
         if (tracker.m_domain == m_domain) {
            mine.push_back(tracker);
         }
      }
      return mine;
   }

   ENVIRONMENT_VARIABLE m_usual_source{"LOGDB_MEMORY", nullptr}; // for processes that a test starts
   std::string m_domain_name = new_domain_name();
   const char* m_domain = m_domain_name.c_str();
   MEM_TRACKER m_tracker{m_domain, &typeid(char), nullptr};
   MEM_TRACKER m_other_tracker{m_domain, &typeid(int), nullptr};
};

using HOST_MEMORY_DEATH_TEST = HOST_MEMORY;

/// A block with a pattern at both ends that tells it from all others.
struct FILLED_BLOCK {
   unsigned char* m_bytes = nullptr;
   std::size_t m_size = 0;
   unsigned char m_first = 0;

   void fill() const {
      for (std::size_t index = 0; index < m_size; index = next(index)) {
         m_bytes[index] = static_cast<unsigned char>(m_first + index * 7);
      }
   }

   bool is_intact() const {
      for (std::size_t index = 0; index < m_size; index = next(index)) {
         if (m_bytes[index] != static_cast<unsigned char>(m_first + index * 7)) {
            return false;
         }
      }
      return true;
   }

private:
   std::size_t next(std::size_t index) const {
      return index + 1 == 2 * kib ? std::max(m_size - kib, index + 1) : index + 1;
   }
};

FILLED_BLOCK filled(void* bytes, std::size_t size, std::size_t number) {
   FILLED_BLOCK block;
   block.m_bytes = static_cast<unsigned char*>(bytes);
   block.m_size = size;
   block.m_first = static_cast<unsigned char>(number);
   block.fill();
   return block;
}

/// Numbers that look random and are the same in each run.
class RANDOM_NUMBERS {
public:
   std::size_t below(std::size_t limit) {
      m_state ^= m_state << 13U;
      m_state ^= m_state >> 7U;
      m_state ^= m_state << 17U;
      return m_state % limit;
   }

private:
   std::uint64_t m_state = 88172645463325252U;
};

} // namespace

// ---- Blocks

TEST_F(HOST_MEMORY, blocks_of_every_size_are_aligned_and_apart_from_each_other) {
   std::vector<FILLED_BLOCK> blocks;
   for (const std::size_t size : telling_sizes()) {
      for (int copy = 0; copy < 2; ++copy) {
         void* block = allocate(size, m_tracker);
         ASSERT_NE(block, nullptr);
         ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment_of_objects(size), 0U) << size;
         blocks.push_back(filled(block, size, blocks.size() * 31));
      }
   }
   EXPECT_EQ(statistics().m_live_blocks, blocks.size());
   for (const FILLED_BLOCK& block : blocks) {
      ASSERT_TRUE(block.is_intact()) << block.m_size;
      release(block.m_bytes);
   }
   EXPECT_EQ(statistics().m_live_blocks, 0U);
   EXPECT_EQ(statistics().m_live_bytes, 0U);
}

TEST_F(HOST_MEMORY, a_size_of_0_gives_a_block_of_its_own_each_time) {
   void* first = allocate(0, m_tracker);
   void* second = allocate(0, m_tracker);
   EXPECT_NE(first, nullptr);
   EXPECT_NE(second, nullptr);
   EXPECT_NE(first, second);
   EXPECT_EQ(statistics().m_live_blocks, 2U);
   release(first);
   release(second);
   EXPECT_EQ(statistics().m_live_blocks, 0U);
}

TEST_F(HOST_MEMORY, a_null_block_is_ignored) {
   const HOST_MEMORY_STATISTICS before = host_memory_statistics("LOGDB");
   MEM_MANAGER::delete_wrapper(nullptr, "LOGDB");
   MEM_MANAGER::delete_wrapper(nullptr, nullptr);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, before.m_live_blocks);
}

TEST_F(HOST_MEMORY, blocks_survive_any_order_of_allocation_and_release) {
   RANDOM_NUMBERS random;
   std::vector<FILLED_BLOCK> blocks;
   std::size_t total = 0;
   const std::vector<std::size_t> sizes = telling_sizes();
   for (int round = 0; round < 200000; ++round) {
      // Times of growth and times of decay, so that spans and chunks come and go.
      const bool grows = random.below(100) < (round / 20000 % 2 == 0 ? 60U : 40U);
      if (grows || blocks.empty()) {
         FILLED_BLOCK block;
         // Mostly the small ones; of the large ones few, because they are filled.
         block.m_size = random.below(500) == 0 ? sizes[random.below(sizes.size())] : random.below(400);
         block.m_bytes =
             static_cast<unsigned char*>(allocate(block.m_size, round % 3 == 0 ? m_other_tracker : m_tracker));
         block.m_first = static_cast<unsigned char>(round);
         block.fill();
         blocks.push_back(block);
         ++total;
      } else {
         std::swap(blocks[random.below(blocks.size())], blocks.back());
         ASSERT_TRUE(blocks.back().is_intact()) << "size " << blocks.back().m_size << " round " << round;
         release(blocks.back().m_bytes);
         blocks.pop_back();
      }
      ASSERT_EQ(statistics().m_live_blocks, blocks.size());
   }
   EXPECT_EQ(statistics().m_total_blocks, total);
   for (const FILLED_BLOCK& block : blocks) {
      ASSERT_TRUE(block.is_intact());
      release(block.m_bytes);
   }
   EXPECT_EQ(statistics().m_live_blocks, 0U);
   EXPECT_EQ(statistics().m_live_bytes, 0U);
}

TEST_F(HOST_MEMORY, released_blocks_are_used_again_in_whatever_order_they_were_released) {
   for (const std::size_t size : {16U, 48U, 500U, 3000U, 20000U, 100000U}) {
      const std::size_t count = 4 * mib / size;
      std::vector<void*> blocks(count);
      for (void*& block : blocks) {
         block = allocate(size, m_tracker);
      }
      const std::size_t reserved = host_memory_reserved_bytes();
      for (int pattern = 0; pattern < 4; ++pattern) {
         // Every other block, front to back and back to front; then all but every tenth.
         std::vector<std::size_t> released;
         for (std::size_t index = 0; index < count; ++index) {
            if (pattern < 2 ? index % 2 == 0 : index % 10 != 0) {
               released.push_back(index);
            }
         }
         if (pattern % 2 != 0) {
            std::reverse(released.begin(), released.end());
         }
         for (const std::size_t index : released) {
            release(blocks[index]);
         }
         for (const std::size_t index : released) {
            blocks[index] = allocate(size, m_tracker);
         }
         EXPECT_LE(host_memory_reserved_bytes(), reserved) << "size " << size << " pattern " << pattern;
      }
      std::sort(blocks.begin(), blocks.end());
      EXPECT_EQ(std::adjacent_find(blocks.begin(), blocks.end()), blocks.end()) << "one block for two";
      for (void* block : blocks) {
         release(block);
      }
   }
}

TEST_F(HOST_MEMORY, the_last_blocks_may_be_released_and_allocated_again_at_any_time) {
   for (const std::size_t size : {16U, 64U, 1024U, 4096U, 32768U}) {
      const std::size_t count = 512 * kib / size;
      for (int pass = 0; pass < 2; ++pass) {
         std::vector<FILLED_BLOCK> blocks;
         while (blocks.size() < count) {
            blocks.push_back(filled(allocate(size, m_tracker), size, blocks.size()));
            release(allocate(size, m_tracker));
            const FILLED_BLOCK last = blocks.back();
            release(last.m_bytes);
            blocks.back() = filled(allocate(size, m_tracker), size, last.m_first);
         }
         ASSERT_EQ(statistics().m_live_blocks, count);
         for (const FILLED_BLOCK& block : blocks) {
            ASSERT_TRUE(block.is_intact()) << size;
            release(block.m_bytes);
         }
         ASSERT_EQ(statistics().m_live_bytes, 0U);
      }
   }
}

TEST_F(HOST_MEMORY, strings_that_come_and_go_use_no_more_memory) {
   void* stays = allocate(40, m_tracker);
   const std::size_t reserved = host_memory_reserved_bytes();
   for (int round = 0; round < 100000; ++round) {
      void* first = allocate(40, m_tracker);
      void* second = allocate(40, m_tracker);
      release(round % 2 == 0 ? first : second);
      release(round % 2 == 0 ? second : first);
   }
   EXPECT_EQ(host_memory_reserved_bytes(), reserved);
   release(stays);
}

// ---- No memory

TEST_F(HOST_MEMORY, a_size_that_no_memory_can_have_throws_and_counts_nothing) {
   constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
   for (const std::size_t size : {most, most - 1, most - 15, most - 16, most - 4095, most - 2 * mib, most / 2 + 1,
                                  most / 2, most / 2 - 16, most / 2 - 2 * mib, most / 2 - 6 * mib}) {
      EXPECT_THROW(allocate(size, m_tracker), std::bad_alloc) << size;
      EXPECT_THROW(MEM_MANAGER::new_wrapper(size, nullptr, ""), std::bad_alloc) << size;
   }
   EXPECT_EQ(statistics().m_total_blocks, 0U);
   EXPECT_EQ(statistics().m_peak_bytes, 0U);
}

#ifndef WITH_ADDRESS_SANITIZER // which itself cannot live in a limited address space

namespace {

/// The address space of the process.
std::size_t address_space_bytes() {
   std::ifstream file("/proc/self/statm");
   std::size_t pages = 0;
   file >> pages;
   return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

bool limit_address_space(std::size_t bytes) {
   rlimit limit = {};
   limit.rlim_cur = limit.rlim_max = bytes;
   return ::setrlimit(RLIMIT_AS, &limit) == 0;
}

/// Allocates until there is no more memory. Ends the process if that never happens.
std::vector<void*> exhaust_memory(std::size_t size, MEM_TRACKER& tracker) {
   constexpr std::size_t most = 120 * mib;
   std::vector<void*> blocks;
   blocks.reserve(2 * most / size);
   if (!limit_address_space(address_space_bytes() + most)) {
      std::_Exit(98);
   }
   while (blocks.size() < blocks.capacity()) {
      try {
         blocks.push_back(allocate(size, tracker));
      } catch (const std::bad_alloc&) {
         return blocks;
      }
   }
   std::_Exit(97);
}

} // namespace

TEST_F(HOST_MEMORY_DEATH_TEST, when_memory_is_exhausted_it_throws_and_goes_on_with_what_is_released) {
   for (const std::size_t size : {32U, 1000U, 9000U, 40000U, 500000U, 3000000U}) {
      EXPECT_EXIT(
          {
             std::vector<void*> blocks = exhaust_memory(size, m_tracker);
             const bool counted = statistics().m_live_blocks == blocks.size();
             for (int round = 0; round < 100; ++round) { // exhausted, but for one block
                release(blocks.back());
                blocks.back() = allocate(size, m_tracker);
             }
             for (void* block : blocks) {
                release(block);
             }
             release(allocate(20 * mib, m_other_tracker)); // given back: enough for something else
             std::exit(counted && statistics().m_live_blocks == 0 ? 0 : 1);
          },
          ExitedWithCode(0), Eq(""));
   }
}

TEST_F(HOST_MEMORY_DEATH_TEST, when_the_c_library_has_no_memory_it_throws_too) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_MEMORY", "malloc");
   EXPECT_EXIT(
       {
          const std::vector<void*> blocks = exhaust_memory(9000, m_tracker);
          std::_Exit(statistics().m_live_blocks == blocks.size() ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_MEMORY_DEATH_TEST, idle_memory_of_one_size_serves_another_when_there_is_no_more) {
   EXPECT_EXIT(
       {
          // One block of each size: many sizes have a part of a chunk, and keep it when it is empty.
          for (std::size_t size = 16; size <= 1024; size += 16) {
             release(allocate(size, m_tracker));
          }
          bool good = limit_address_space(1);
          std::size_t blocks = 0;
          try {
             for (;; ++blocks) {
                allocate(30000, m_other_tracker);
             }
          } catch (const std::bad_alloc&) {
             good = good && blocks >= 30;
          }
          std::_Exit(good ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
}

#endif

// ---- Statistics

TEST_F(HOST_MEMORY, blocks_and_bytes_of_a_domain_are_counted) {
   EXPECT_EQ(statistics().m_total_blocks, 0U);
   void* small = allocate(40, m_tracker);
   void* large = allocate(100000, m_other_tracker);
   EXPECT_EQ(statistics().m_live_blocks, 2U);
   EXPECT_EQ(statistics().m_total_blocks, 2U);
   EXPECT_GE(statistics().m_live_bytes, 100040U);
   EXPECT_EQ(statistics().m_peak_bytes, statistics().m_live_bytes);
   release(large);
   EXPECT_EQ(statistics().m_live_blocks, 1U);
   EXPECT_EQ(statistics().m_total_blocks, 2U);
   EXPECT_LT(statistics().m_live_bytes, 100U);
   release(small);
   EXPECT_EQ(statistics().m_live_blocks, 0U);
   EXPECT_EQ(statistics().m_live_bytes, 0U);
   EXPECT_EQ(statistics().m_total_blocks, 2U);
   EXPECT_GE(statistics().m_peak_bytes, 100040U);
}

TEST_F(HOST_MEMORY, the_bytes_of_a_block_are_its_size_rounded_up) {
   for (const std::size_t size : telling_sizes()) {
      void* block = allocate(size, m_tracker);
      const std::size_t bytes = statistics().m_live_bytes;
      ASSERT_GE(bytes, std::max<std::size_t>(size, 1));
      ASSERT_EQ(bytes % 8, 0U);
      if (size <= kib) {
         ASSERT_LT(bytes, std::max<std::size_t>(size, 9) + 8) << "small blocks are rounded to 8 bytes, no more";
      } else if (size <= 16 * kib) {
         ASSERT_LE(bytes * 4, size * 5 + 64) << size;
      } else {
         ASSERT_LE(bytes, 2 * size) << size;
      }
      release(block);
      ASSERT_EQ(statistics().m_live_bytes, 0U) << size;
   }
}

TEST_F(HOST_MEMORY, the_peak_is_the_most_that_was_alive_at_one_time) {
   std::vector<void*> blocks(10);
   for (void*& block : blocks) {
      block = allocate(64, m_tracker);
   }
   for (void* block : blocks) {
      release(block);
   }
   EXPECT_EQ(statistics().m_peak_bytes, 640U);
   for (int round = 0; round < 100; ++round) {
      release(allocate(128, m_tracker));
   }
   EXPECT_EQ(statistics().m_peak_bytes, 640U);
   void* first = allocate(512, m_tracker);
   void* second = allocate(256, m_tracker);
   EXPECT_EQ(statistics().m_peak_bytes, 768U);
   release(first);
   release(second);
   release(allocate(16, m_tracker));
   EXPECT_EQ(statistics().m_peak_bytes, 768U);
   ASSERT_EQ(tracker_statistics().size(), 1U);
   EXPECT_EQ(tracker_statistics()[0].m_statistics.m_peak_bytes, 768U);
}

TEST_F(HOST_MEMORY, the_peak_of_a_domain_is_that_of_the_sum) {
   release(allocate(512, m_tracker));
   release(allocate(256, m_other_tracker));
   EXPECT_EQ(statistics().m_peak_bytes, 512U);
   ASSERT_EQ(tracker_statistics().size(), 2U);
   EXPECT_EQ(tracker_statistics()[0].m_statistics.m_peak_bytes, 512U);
   EXPECT_EQ(tracker_statistics()[1].m_statistics.m_peak_bytes, 256U);
   void* first = allocate(512, m_tracker);
   void* second = allocate(256, m_other_tracker);
   EXPECT_EQ(statistics().m_peak_bytes, 768U);
   EXPECT_EQ(tracker_statistics()[0].m_statistics.m_peak_bytes, 512U);
   release(first);
   release(second);
}

TEST_F(HOST_MEMORY, each_element_type_has_its_own_statistics_in_the_order_of_appearance) {
   MEM_TRACKER string_tracker = {m_domain, &typeid(MEM_STRING), nullptr};
   void* of_int = allocate(8, m_other_tracker);
   void* of_string = allocate(100, string_tracker);
   void* of_char = allocate(20, m_tracker);
   void* of_int_too = allocate(40, m_other_tracker);
   release(of_char);
   const std::vector<HOST_MEMORY_TRACKER_STATISTICS> all = tracker_statistics();
   ASSERT_EQ(all.size(), 3U);
   EXPECT_EQ(all[0].m_type, "int");
   EXPECT_EQ(all[0].m_statistics.m_live_blocks, 2U);
   EXPECT_EQ(all[0].m_statistics.m_live_bytes, 56U);
   EXPECT_EQ(all[0].m_statistics.m_peak_bytes, 56U);
   EXPECT_EQ(all[0].m_statistics.m_total_blocks, 2U);
   EXPECT_THAT(all[1].m_type, ::testing::StartsWith("std::__cxx11::basic_string<char, "));
   EXPECT_EQ(all[1].m_statistics.m_live_bytes, 104U);
   EXPECT_EQ(all[2].m_type, "char");
   EXPECT_EQ(all[2].m_statistics.m_live_blocks, 0U);
   EXPECT_EQ(all[2].m_statistics.m_live_bytes, 0U);
   EXPECT_EQ(all[2].m_statistics.m_peak_bytes, 24U);
   EXPECT_EQ(all[2].m_statistics.m_total_blocks, 1U);
   for (void* block : {of_int, of_string, of_int_too}) {
      release(block);
   }
}

TEST_F(HOST_MEMORY, trackers_of_the_same_domain_and_type_are_one) {
   const std::string same_name = m_domain;
   MEM_TRACKER same_tracker = {same_name.c_str(), &typeid(char), nullptr};
   void* first = allocate(16, m_tracker);
   void* second = allocate(16, same_tracker);
   ASSERT_EQ(tracker_statistics().size(), 1U);
   EXPECT_EQ(tracker_statistics()[0].m_statistics.m_live_blocks, 2U);
   release(first);
   release(second);
}

TEST_F(HOST_MEMORY, domains_are_apart) {
   MEM_TRACKER elsewhere = {"domains_are_apart, the other one", &typeid(char), nullptr};
   void* here = allocate(16, m_tracker);
   void* there = allocate(32, elsewhere);
   EXPECT_EQ(statistics().m_live_bytes, 16U);
   EXPECT_EQ(host_memory_statistics("domains_are_apart, the other one").m_live_bytes, 32U);
   release(here);
   EXPECT_EQ(host_memory_statistics("domains_are_apart, the other one").m_live_bytes, 32U);
   release(there);
}

TEST_F(HOST_MEMORY, a_domain_that_is_not_known_has_all_zero) {
   for (const char* domain : {"no such domain", static_cast<const char*>(nullptr)}) {
      const HOST_MEMORY_STATISTICS unknown = host_memory_statistics(domain);
      EXPECT_EQ(unknown.m_live_blocks, 0U);
      EXPECT_EQ(unknown.m_live_bytes, 0U);
      EXPECT_EQ(unknown.m_peak_bytes, 0U);
      EXPECT_EQ(unknown.m_total_blocks, 0U);
   }
}

TEST_F(HOST_MEMORY, a_null_tracker_counts_for_nobody) {
   const auto before = host_memory_tracker_statistics();
   std::vector<FILLED_BLOCK> blocks;
   for (const std::size_t size : {0U, 16U, 40U, 5000U, 50000U, 3000000U}) {
      blocks.push_back(filled(MEM_MANAGER::new_wrapper(size, nullptr, nullptr), size, 9));
   }
   const auto after = host_memory_tracker_statistics();
   ASSERT_EQ(after.size(), before.size());
   for (std::size_t index = 0; index < after.size(); ++index) {
      EXPECT_EQ(after[index].m_statistics.m_total_blocks, before[index].m_statistics.m_total_blocks);
   }
   for (const FILLED_BLOCK& block : blocks) {
      EXPECT_TRUE(block.is_intact());
      release(block.m_bytes);
   }
}

TEST_F(HOST_MEMORY, a_tracker_without_names_is_counted_under_empty_ones) {
   MEM_TRACKER nameless = {nullptr, nullptr, nullptr};
   release(allocate(16, nameless));
   const auto all = host_memory_tracker_statistics();
   EXPECT_TRUE(std::any_of(all.begin(), all.end(), [](const HOST_MEMORY_TRACKER_STATISTICS& tracker) {
      return tracker.m_domain.empty() && tracker.m_type.empty();
   }));
}

namespace {

/// The type of a library that can be unloaded: its name vanishes with it.
class VANISHING_TYPE : public std::type_info {
public:
   explicit VANISHING_TYPE(const char* name) : std::type_info(name) {}
};

/// A tracker with all that belongs to it.
struct VANISHING_LIBRARY {
   explicit VANISHING_LIBRARY(std::string domain) : m_domain(std::move(domain)) {}
   ~VANISHING_LIBRARY() {
      m_domain.assign(m_domain.size(), 'x');
      m_type_name.assign(m_type_name.size(), 'x');
      std::memset(static_cast<void*>(&m_tracker), 0xa5, sizeof(m_tracker));
   }
   VANISHING_LIBRARY(const VANISHING_LIBRARY&) = delete;
   VANISHING_LIBRARY& operator=(const VANISHING_LIBRARY&) = delete;

   std::string m_domain;
   std::string m_type_name = typeid(long).name();
   VANISHING_TYPE m_type{m_type_name.c_str()};
   MEM_TRACKER m_tracker{m_domain.c_str(), &m_type, nullptr};
};

} // namespace

TEST_F(HOST_MEMORY, a_tracker_may_vanish_before_its_blocks) {
   std::vector<FILLED_BLOCK> blocks;
   {
      const auto library = std::make_unique<VANISHING_LIBRARY>(m_domain);
      for (const std::size_t size : {16U, 40U, 5000U, 50000U, 3000000U}) {
         blocks.push_back(filled(allocate(size, library->m_tracker), size, 5));
      }
   }
   EXPECT_EQ(statistics().m_live_blocks, 5U);
   for (const FILLED_BLOCK& block : blocks) {
      EXPECT_TRUE(block.is_intact());
      release(block.m_bytes);
   }
   EXPECT_EQ(statistics().m_live_blocks, 0U);
   ASSERT_EQ(tracker_statistics().size(), 1U);
   EXPECT_EQ(tracker_statistics()[0].m_type, "long");
   MEM_TRACKER back_again = {m_domain, &typeid(long), nullptr};
   release(allocate(16, back_again));
   ASSERT_EQ(tracker_statistics().size(), 1U);
   EXPECT_EQ(tracker_statistics()[0].m_statistics.m_total_blocks, 6U);
}

TEST_F(HOST_MEMORY, strings_and_vectors_of_the_library_are_counted_by_their_element_type) {
   const auto live_blocks_of = [](const std::string& type) {
      for (const HOST_MEMORY_TRACKER_STATISTICS& tracker : host_memory_tracker_statistics()) {
         if (tracker.m_domain == "LOGDB" && tracker.m_type == type) {
            return tracker.m_statistics.m_live_blocks;
         }
      }
      return std::size_t{0};
   };
   const std::size_t char_before = live_blocks_of("char");
   const std::size_t short_before = live_blocks_of("short");
   {
      const MEM_STRING with_storage(100, 'x');
      const MEM_STRING without_storage(15, 'x');
      const MEM_VECTOR<short> numbers = {1, 2, 3};
      EXPECT_EQ(live_blocks_of("char"), char_before + 1);
      EXPECT_EQ(live_blocks_of("short"), short_before + 1);
   }
   EXPECT_EQ(live_blocks_of("char"), char_before);
   EXPECT_EQ(live_blocks_of("short"), short_before);
}

// ---- Domains

TEST_F(HOST_MEMORY, a_domain_is_registered_as_often_as_initializers_live) {
   EXPECT_EQ(host_memory_domain_registrations(m_domain), 0U);
   {
      const MEM_INITIALIZER first(m_domain);
      EXPECT_EQ(host_memory_domain_registrations(m_domain), 1U);
      {
         const std::string same_name = m_domain;
         const MEM_INITIALIZER second(same_name.c_str());
         const MEM_INITIALIZER other("another domain");
         EXPECT_EQ(host_memory_domain_registrations(m_domain), 2U);
         EXPECT_EQ(host_memory_domain_registrations("another domain"), 1U);
      }
      EXPECT_EQ(host_memory_domain_registrations(m_domain), 1U);
      EXPECT_EQ(host_memory_domain_registrations("another domain"), 0U);
   }
   EXPECT_EQ(host_memory_domain_registrations(m_domain), 0U);
}

TEST_F(HOST_MEMORY, a_null_domain_is_none) {
   const MEM_INITIALIZER nothing(nullptr);
   EXPECT_EQ(host_memory_domain_registrations(nullptr), 0U);
   EXPECT_EQ(host_memory_domain_registrations(""), 0U);
}

TEST_F(HOST_MEMORY, blocks_outlive_the_registration_of_their_domain) {
   void* block = nullptr;
   {
      const MEM_INITIALIZER initializer(m_domain);
      block = allocate(40, m_tracker);
   }
   EXPECT_EQ(statistics().m_live_blocks, 1U);
   void* later = allocate(40, m_tracker);
   release(block);
   release(later);
   EXPECT_EQ(statistics().m_live_blocks, 0U);
   EXPECT_EQ(statistics().m_total_blocks, 2U);
}

// ---- The operating system's memory

TEST_F(HOST_MEMORY, reserved_bytes_cover_the_live_ones_and_go_back_with_them) {
   for (const std::size_t size : {16U, 60U, 160U, 5000U, 100000U, 5000000U}) {
      const std::size_t before = host_memory_reserved_bytes();
      std::vector<void*> blocks(24 * mib / size);
      for (void*& block : blocks) {
         block = allocate(size, m_tracker);
      }
      EXPECT_GE(host_memory_reserved_bytes() + 4 * mib, before + statistics().m_live_bytes) << size;
      if (!each_block_has_a_header) {
         EXPECT_LE(host_memory_reserved_bytes(), before + statistics().m_live_bytes / 10 * 11 + 4 * mib) << size;
      }
      for (void* block : blocks) {
         release(block);
      }
      EXPECT_LE(host_memory_reserved_bytes(), before + 4 * mib) << size << ", released in order";
      RANDOM_NUMBERS random;
      for (void*& block : blocks) {
         block = allocate(size, m_tracker);
      }
      for (std::size_t count = blocks.size(); count != 0; --count) {
         std::swap(blocks[random.below(count)], blocks[count - 1]);
         release(blocks[count - 1]);
      }
      EXPECT_LE(host_memory_reserved_bytes(), before + 4 * mib) << size << ", released in disorder";
   }
}

#ifndef WITH_ADDRESS_SANITIZER // whose memory is never small

namespace {

/// The bytes in memory of the mapping that an address is in.
std::size_t resident_bytes_around(const void* address) {
   std::ifstream file("/proc/self/smaps");
   bool is_in_it = false;
   for (std::string line; std::getline(file, line);) {
      unsigned long begin = 0;
      unsigned long end = 0;
      unsigned long size = 0;
      if (std::sscanf(line.c_str(), "%lx-%lx ", &begin, &end) == 2) {
         const auto place = reinterpret_cast<std::uintptr_t>(address);
         is_in_it = begin <= place && place < end;
      } else if (is_in_it && std::sscanf(line.c_str(), "Rss: %lu kB", &size) == 1) {
         return size * kib;
      }
   }
   return 0;
}

} // namespace

TEST_F(HOST_MEMORY_DEATH_TEST, a_program_with_three_strings_stays_small) {
   EXPECT_EXIT(
       {
          const MEM_STRING first(20, 'x');
          const MEM_STRING second(40, 'x');
          const MEM_STRING third(2000, 'x');
          const std::size_t resident = resident_bytes_around(first.data());
          std::_Exit(resident > 0 && resident <= 128 * kib && host_memory_reserved_bytes() <= 4 * mib ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
}

#endif

// ---- The C library as the source

TEST_F(HOST_MEMORY_DEATH_TEST, with_the_variable_blocks_come_one_by_one_from_the_c_library) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_MEMORY", "malloc");
   EXPECT_EXIT(
       {
          bool good = true;
          for (const std::size_t size : {0U, 1U, 40U, 2000U, 100000U}) {
             release(allocate(size, m_tracker)); // what the manager notes once for a type is behind us
             const std::size_t reserved = host_memory_reserved_bytes();
             void* block = allocate(size, m_tracker);
             const std::size_t added = host_memory_reserved_bytes() - reserved;
             good = good && added >= size && added <= size + 64 && statistics().m_live_blocks == 1;
             good = good && reinterpret_cast<std::uintptr_t>(block) % alignment_of_objects(size) == 0;
             std::memset(block, 0xff, size);
             release(block);
             good = good && host_memory_reserved_bytes() == reserved && statistics().m_live_bytes == 0;
          }
          std::exit(good && statistics().m_total_blocks == 10 ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
}

#ifndef WITH_ADDRESS_SANITIZER // which has an allocator of its own

TEST_F(HOST_MEMORY_DEATH_TEST, the_c_library_knows_of_the_blocks_only_with_the_variable) {
   for (const char* source : {"", "mallocs", "MALLOC", "malloc"}) {
      const ENVIRONMENT_VARIABLE variable("LOGDB_MEMORY", source);
      EXPECT_EXIT(
          {
             release(allocate(1000, m_tracker));
             const std::size_t before = ::mallinfo2().uordblks;
             for (int count = 0; count < 1000; ++count) {
                allocate(1000, m_tracker);
             }
             const std::size_t added = ::mallinfo2().uordblks - before;
             const bool is_malloc = std::string(source) == "malloc";
             std::_Exit(is_malloc ? added < 1000000 : added > 100000);
          },
          ExitedWithCode(0), Eq(""));
   }
}

#endif

TEST_F(HOST_MEMORY_DEATH_TEST, statistics_are_the_same_with_the_c_library_as_the_source) {
   for (const char* source : {"", "malloc"}) {
      const ENVIRONMENT_VARIABLE variable("LOGDB_MEMORY", source);
      EXPECT_EXIT(
          {
             void* first = allocate(40, m_tracker);
             void* second = allocate(0, m_other_tracker);
             release(allocate(1000, m_tracker));
             release(first);
             const HOST_MEMORY_STATISTICS sum = statistics();
             const bool good = sum.m_live_blocks == 1 && sum.m_live_bytes == 16 && sum.m_total_blocks == 3 &&
                               sum.m_peak_bytes == 40 + 16 + 1000 && tracker_statistics().size() == 2;
             release(second);
             std::exit(good && statistics().m_live_bytes == 0 ? 0 : 1);
          },
          ExitedWithCode(0), Eq(""));
   }
}

#ifdef WITH_ADDRESS_SANITIZER

TEST_F(HOST_MEMORY_DEATH_TEST, the_address_sanitizer_sees_every_overrun_and_every_use_after_release) {
   auto* block = static_cast<volatile char*>(allocate(40, m_tracker));
   EXPECT_DEATH(block[40] = 'x', "AddressSanitizer");
   EXPECT_DEATH(block[-1] = 'x', "AddressSanitizer");
   release(const_cast<char*>(block));
   EXPECT_DEATH(block[0] = 'x', "AddressSanitizer: heap-use-after-free");
   EXPECT_DEATH(release(const_cast<char*>(block)), "AddressSanitizer");
}

#endif

// ---- Beginning and end of a process

namespace {

MEM_TRACKER early_tracker = {"early and late", &typeid(char), nullptr};

/// Allocates before and releases after any static object of the manager could live.
class EARLY_AND_LATE_USER {
public:
   EARLY_AND_LATE_USER()
       : m_initializer("early and late"), m_block(allocate(40, early_tracker)), m_string(100, 'x') {}

   ~EARLY_AND_LATE_USER() {
      release(m_block);
      void* late_block = allocate(40, early_tracker);
      if (m_string != MEM_STRING(100, 'x') || host_memory_statistics("early and late").m_live_blocks != 1 ||
          host_memory_domain_registrations("early and late") != 1) {
         std::_Exit(77);
      }
      release(late_block);
   }

private:
   MEM_INITIALIZER m_initializer;
   void* m_block;
   MEM_STRING m_string;
};

const EARLY_AND_LATE_USER early_and_late_user __attribute__((init_priority(101)));

} // namespace

TEST_F(HOST_MEMORY_DEATH_TEST,
       the_manager_works_before_static_objects_are_constructed_and_after_they_are_destroyed) {
   EXPECT_EQ(host_memory_statistics("early and late").m_live_blocks, 1U);
   EXPECT_EQ(host_memory_domain_registrations("early and late"), 1U);
   for (const char* source : {"", "malloc"}) {
      const ENVIRONMENT_VARIABLE variable("LOGDB_MEMORY", source);
      EXPECT_EXIT(std::exit(0), ExitedWithCode(0), Eq(""));
   }
}

TEST_F(HOST_MEMORY_DEATH_TEST, a_forked_process_goes_on_by_itself) {
   testing::FLAGS_gtest_death_test_style = "fast";
   std::vector<void*> blocks(10000);
   for (void*& block : blocks) {
      block = allocate(60, m_tracker);
   }
   EXPECT_EXIT(
       {
          for (void* block : blocks) {
             release(block);
          }
          std::_Exit(statistics().m_live_blocks == 0 ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
   EXPECT_EQ(statistics().m_live_blocks, 10000U);
   for (void* block : blocks) {
      release(block);
   }
   EXPECT_EQ(statistics().m_live_blocks, 0U);
}
