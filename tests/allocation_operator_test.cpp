#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "host_standalone.h"
#include "logdb.h"
#include "mem_alloc_sys.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BUILT_WITH_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define BUILT_WITH_ADDRESS_SANITIZER
#endif

#ifdef BUILT_WITH_ADDRESS_SANITIZER
// The sanitizer's calloc ends the process where the C library's answers null.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
   return "allocator_may_return_null=1";
}
#endif

namespace {

/// What the memory manager was asked for last.
struct {
   std::size_t m_size = 0;
   const MEM_TRACKER* m_tracker = nullptr;
   const char* m_file = nullptr;
   const char* m_releasing_domain = nullptr;
} last_request;

} // namespace

// They stand in front of the host's, note what they were called with, and hand it on.
void* MEM_MANAGER::new_wrapper(std::size_t size, MEM_TRACKER* tracker, const char* file) {
   using OPERATION = void* (*)(std::size_t, MEM_TRACKER*, const char*);
   static const auto host =
       reinterpret_cast<OPERATION>(::dlsym(RTLD_NEXT, "_ZN11MEM_MANAGER11new_wrapperEmP11MEM_TRACKERPKc"));
   last_request.m_size = size;
   last_request.m_tracker = tracker;
   last_request.m_file = file;
   return host(size, tracker, file);
}

void MEM_MANAGER::delete_wrapper(void* block, const char* domain) {
   using OPERATION = void (*)(void*, const char*);
   static const auto host =
       reinterpret_cast<OPERATION>(::dlsym(RTLD_NEXT, "_ZN11MEM_MANAGER14delete_wrapperEPvPKc"));
   last_request.m_releasing_domain = domain;
   host(block, domain);
}

namespace {

using ALLOCATION_OPERATOR = void* (*)(std::size_t, int) noexcept;
static_assert(std::is_same_v<decltype(static_cast<ALLOCATION_OPERATOR>(&operator new)), ALLOCATION_OPERATOR>);
static_assert(noexcept(operator new (std::size_t{1}, 0)));

bool is_zero(const void* block, std::size_t size) {
   const volatile unsigned char* bytes = static_cast<const volatile unsigned char*>(block);
   for (std::size_t position = 0; position < size; ++position) {
      if (bytes[position] != 0) {
         return false;
      }
   }
   return true;
}

/// Leaves blocks of this size behind in the heap that are full of other bytes.
void soil_the_heap(std::size_t size) {
   std::vector<void*> blocks;
   for (int count = 0; count < 16; ++count) {
      void* block = std::malloc(size);
      ASSERT_NE(block, nullptr);
      std::memset(block, 0xA5, size);
      blocks.push_back(block);
   }
   for (void* block : blocks) {
      std::free(block);
   }
}

TEST(ALLOCATION_OPERATOR, blocks_are_zero_although_the_heap_is_not) {
   for (const std::size_t size : {1u, 7u, 8u, 24u, 32u, 100u, 1000u, 4096u, 70000u, 1000000u}) {
      soil_the_heap(size);
      for (int count = 0; count < 4; ++count) {
         void* block = operator new(size, 0);
         ASSERT_NE(block, nullptr);
         EXPECT_TRUE(is_zero(block, size)) << size;
         std::memset(block, 0xA5, size);
         operator delete(block);
      }
   }
}

TEST(ALLOCATION_OPERATOR, the_int_is_ignored) {
   for (const int tag : {0, 1, -1, INT_MAX, INT_MIN}) {
      void* block = operator new(64, tag);
      ASSERT_NE(block, nullptr) << tag;
      EXPECT_TRUE(is_zero(block, 64)) << tag;
      operator delete(block);
   }
}

TEST(ALLOCATION_OPERATOR, blocks_are_aligned_for_any_ordinary_type) {
   for (std::size_t size = 1; size < 200; ++size) {
      void* block = operator new(size, 0);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u) << size;
      operator delete(block);
   }
}

TEST(ALLOCATION_OPERATOR, blocks_take_little_more_than_was_asked_for) {
   for (const std::size_t size : {100u, 1000u, 10000u, 1000000u}) {
      void* block = operator new(size, 0);
      ASSERT_NE(block, nullptr);
      EXPECT_GE(::malloc_usable_size(block), size);
      EXPECT_LT(::malloc_usable_size(block), 2 * size);
      operator delete(block);
   }
}

TEST(ALLOCATION_OPERATOR, exhausted_memory_yields_null) {
   // Through a volatile, for the compiler knows that no such block exists.
   const volatile std::size_t too_much = static_cast<std::size_t>(PTRDIFF_MAX);
   EXPECT_EQ(operator new(too_much, 0), nullptr);
   EXPECT_EQ(operator new(too_much - 4096, 1), nullptr);
}

struct COUNTS_CONSTRUCTIONS {
   COUNTS_CONSTRUCTIONS() { ++constructions; }
   static inline int constructions = 0;
   char m_bytes[std::size_t{1} << 60];
};

TEST(ALLOCATION_OPERATOR, no_constructor_runs_when_there_is_no_memory) {
   EXPECT_EQ(new (0) COUNTS_CONSTRUCTIONS, nullptr);
   EXPECT_EQ(COUNTS_CONSTRUCTIONS::constructions, 0);
}

struct THROWS_WHEN_MADE {
   THROWS_WHEN_MADE() { throw std::runtime_error("made"); }
   char m_bytes[100000];
};

/// How many bytes of the C library's heap are in use.
std::size_t bytes_of_the_heap() {
   const struct mallinfo2 heap = ::mallinfo2();
   return heap.uordblks + heap.hblkhd;
}

TEST(ALLOCATION_OPERATOR, a_constructor_that_throws_gives_its_block_back) {
   const std::size_t before = bytes_of_the_heap();
   for (int round = 0; round < 10; ++round) {
      EXPECT_THROW(new (0) THROWS_WHEN_MADE, std::runtime_error);
   }
   // Where the figures are not those of the heap, under a sanitizer or valgrind, lost blocks are looked for anyway.
   EXPECT_LT(bytes_of_the_heap(), before + sizeof(THROWS_WHEN_MADE));
}

TEST(ALLOCATION_OPERATOR, an_object_leaves_through_the_ordinary_delete) {
   soil_the_heap(sizeof(LOGDB_DATABASE_ENTRY));
   LOGDB_DATABASE_ENTRY* entry = new (0) LOGDB_DATABASE_ENTRY;
   ASSERT_NE(entry, nullptr);
   EXPECT_EQ(entry->m_entry_type, DSP_BALANCING_IMPLEMENTATION);
   EXPECT_TRUE(entry->m_data_vector.empty());
   entry->m_data_vector.emplace_back("a field that is too long for the string object itself");
   delete entry;
}

// ---- The allocator of strings and vectors

static_assert(sizeof(MEM_STRING) == 32 && sizeof(MEM_VECTOR<int>) == 24);
static_assert(std::is_same_v<MEM_STRING::allocator_type, MEM_STL_ALLOCATOR<char>>);
static_assert(std::is_same_v<MEM_VECTOR<MEM_STRING>::allocator_type, MEM_STL_ALLOCATOR<MEM_STRING>>);
static_assert(std::is_empty_v<MEM_STL_ALLOCATOR<int>>);

TEST(MEM_STL_ALLOCATOR, all_allocators_are_equal) {
   const MEM_STL_ALLOCATOR<int> integers;
   const MEM_STL_ALLOCATOR<char> characters(integers);
   EXPECT_TRUE(integers == characters);
   EXPECT_FALSE(integers != characters);
}

TEST(MEM_STL_ALLOCATOR, blocks_are_tracked_in_the_domain_of_the_library) {
   const HOST_MEMORY_STATISTICS before = host_memory_statistics("LOGDB");
   MEM_STL_ALLOCATOR<double> allocator;
   double* block = allocator.allocate(100);
   ASSERT_NE(block, nullptr);
   block[0] = block[99] = 1.5;
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, before.m_live_blocks + 1);
   EXPECT_GE(host_memory_statistics("LOGDB").m_live_bytes, before.m_live_bytes + 100 * sizeof(double));
   allocator.deallocate(block, 100);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, before.m_live_blocks);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_bytes, before.m_live_bytes);
}

TEST(MEM_STL_ALLOCATOR, the_host_hears_for_whom_a_block_is_and_who_asks) {
   MEM_STL_ALLOCATOR<double> allocator;
   double* block = allocator.allocate(3);
   EXPECT_EQ(last_request.m_size, 3 * sizeof(double));
   ASSERT_NE(last_request.m_tracker, nullptr);
   EXPECT_STREQ(last_request.m_tracker->m_domain, "LOGDB");
   EXPECT_TRUE(*last_request.m_tracker->m_type == typeid(double));
   EXPECT_STREQ(last_request.m_file, "h/mem_alloc_sys");
   last_request.m_releasing_domain = nullptr;
   allocator.deallocate(block, 3);
   EXPECT_STREQ(last_request.m_releasing_domain, "LOGDB");
}

TEST(MEM_STL_ALLOCATOR, the_largest_count_whose_bytes_can_be_counted_is_the_hosts_to_refuse) {
   MEM_STL_ALLOCATOR<double> allocator;
   constexpr std::size_t largest = SIZE_MAX / sizeof(double);
   EXPECT_THROW(static_cast<void>(allocator.allocate(largest)), std::bad_alloc);
   EXPECT_EQ(last_request.m_size, largest * sizeof(double));
}

TEST(MEM_STL_ALLOCATOR, a_count_whose_bytes_cannot_be_counted_is_refused) {
   MEM_STL_ALLOCATOR<double> allocator;
   EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX / sizeof(double) + 1)), std::bad_array_new_length);
   EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX)), std::bad_array_new_length);
}

} // namespace
