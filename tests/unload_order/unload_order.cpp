// What happens when the library enters and leaves a process: a real dlopen and a real dlclose, watched by a memory
// manager that this program brings. Once with a library that has no host of its own, once with the one that ships,
// whose host this program replaces.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "logdb.h"

#if defined(__SANITIZE_ADDRESS__)
#define WITH_LEAK_CHECK
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define WITH_LEAK_CHECK
#endif
#endif
#ifdef WITH_LEAK_CHECK
#include <sanitizer/lsan_interface.h>

// A host in the process and the standalone one that comes with the library name the same constants. That is meant.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
   return "detect_odr_violation=0";
}
#endif

namespace {

std::vector<std::string> events;
std::vector<void*> live_blocks;

std::vector<std::string> take_events() {
   std::vector<std::string> taken;
   taken.swap(events);
   return taken;
}

void release_block(void* block) {
   EXPECT_EQ(std::erase(live_blocks, block), 1U) << "not a live block";
   std::free(block);
}

} // namespace

MEM_INITIALIZER::MEM_INITIALIZER(const char* domain) : m_domain(domain) {
   events.push_back("initializer of " + std::string(domain) + " constructed");
}

MEM_INITIALIZER::~MEM_INITIALIZER() {
   events.push_back("initializer of " + std::string(m_domain) + " destroyed");
}

void* MEM_MANAGER::new_wrapper(std::size_t size, MEM_TRACKER* tracker, const char* file) {
   events.push_back("block allocated for " + std::string(tracker->m_domain) + " by " + file);
   live_blocks.push_back(std::malloc(size + 1));
   return live_blocks.back();
}

void MEM_MANAGER::delete_wrapper(void* block, const char* domain) {
   events.push_back("block released by " + std::string(domain));
   release_block(block);
}

namespace {

const std::string long_name(100, 'r');

class UnloadOrder : public testing::TestWithParam<const char*> {
protected:
   void SetUp() override {
      ASSERT_EQ(dlopen(GetParam(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library is loaded already";
      events.clear();
      m_library = dlopen(GetParam(), RTLD_NOW | RTLD_LOCAL);
      ASSERT_NE(m_library, nullptr) << dlerror();
   }

   /// Unloads the library, and sees that it is gone.
   void unload() {
      ASSERT_EQ(dlclose(m_library), 0) << dlerror();
      EXPECT_EQ(dlopen(GetParam(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays in the process";
   }

   template <class SYMBOL> SYMBOL* symbol(const char* name) {
      void* address = dlsym(m_library, name);
      EXPECT_NE(address, nullptr) << dlerror();
      return reinterpret_cast<SYMBOL*>(address);
   }

   void initialize(const char* revision_name, LOGDB_DB_TYPE db_type) {
      symbol<void(const char*, LOGDB_DB_TYPE)>("_ZN14LOGDB_DATABASE10initializeEPKc13LOGDB_DB_TYPE")(revision_name,
                                                                                                     db_type);
   }

   const MEM_STRING& revision_name() { return *symbol<MEM_STRING>("_Z19logdb_revision_nameB5cxx11"); }

   void* m_library = nullptr;
};

TEST_P(UnloadOrder, loading_registers_the_domain_and_allocates_nothing) {
   EXPECT_EQ(take_events(), std::vector<std::string>({"initializer of LOGDB constructed"}));
   EXPECT_EQ(revision_name(), "");
   EXPECT_EQ(*symbol<LOGDB_DB_TYPE>("logdb_db_type"), LOGDB_DB_TYPE_NONE);
   EXPECT_STREQ(symbol<char>("logdb_filename_singleton"), "");
   unload();
   EXPECT_EQ(take_events(), std::vector<std::string>({"initializer of LOGDB destroyed"}));
}

TEST_P(UnloadOrder, unloading_releases_the_revision_name_and_then_the_domain) {
   initialize(long_name.c_str(), LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(revision_name(), long_name.c_str());
   EXPECT_EQ(take_events(), std::vector<std::string>({"initializer of LOGDB constructed",
                                                      "block allocated for LOGDB by h/mem_alloc_sys"}));
   ASSERT_EQ(live_blocks.size(), 1U);
   EXPECT_EQ(live_blocks.front(), revision_name().data());
   unload();
   EXPECT_EQ(take_events(),
             std::vector<std::string>({"block released by LOGDB", "initializer of LOGDB destroyed"}));
   EXPECT_EQ(live_blocks.size(), 0U);
}

TEST_P(UnloadOrder, a_library_that_is_loaded_again_starts_anew) {
   initialize(long_name.c_str(), LOGDB_DB_TYPE_CMP);
   unload();
   take_events();
   m_library = dlopen(GetParam(), RTLD_NOW | RTLD_LOCAL);
   ASSERT_NE(m_library, nullptr) << dlerror();
   EXPECT_EQ(take_events(), std::vector<std::string>({"initializer of LOGDB constructed"}));
   EXPECT_EQ(revision_name(), "");
   EXPECT_EQ(*symbol<LOGDB_DB_TYPE>("logdb_db_type"), LOGDB_DB_TYPE_NONE);
   unload();
}

TEST_P(UnloadOrder, translators_that_were_used_hinder_nothing) {
   EXPECT_STREQ(symbol<const char*(LOGDB_ENTRY_TYPE_ENUM)>("_Z22logdb_get_debug_string21LOGDB_ENTRY_TYPE_ENUM")(
                    REGISTER_PACKING),
                "REGISTER_PACKING");
   EXPECT_STREQ(symbol<const char*(LOGDB_ENTRY_DATATYPE_ENUM)>(
                    "_Z22logdb_get_debug_string25LOGDB_ENTRY_DATATYPE_ENUM")(NODE_NAME),
                "NODE_NAME");
   unload();
   EXPECT_EQ(take_events(),
             std::vector<std::string>({"initializer of LOGDB constructed", "initializer of LOGDB destroyed"}));
}

TEST_P(UnloadOrder, a_database_that_is_still_loaded_is_not_freed) {
#ifdef WITH_LEAK_CHECK
   __lsan::ScopedDisabler no_leak_check;
#endif
   initialize("no_such_revision", LOGDB_DB_TYPE_CMP);
   symbol<void()>("_ZN14LOGDB_DATABASE13load_databaseEv")();
   LOGDB_DATABASE* database = symbol<LOGDB_DATABASE*()>("_ZN14LOGDB_DATABASE12get_databaseEv")();
   ASSERT_NE(database, nullptr);
   {
      LOGDB_DATABASE_ENTRY entry;
      entry.m_data_vector.emplace_back(long_name.c_str());
      symbol<LOGDB_DATABASE_ENTRY*(LOGDB_DATABASE*, const LOGDB_DATABASE_ENTRY*)>(
          "_ZN14LOGDB_DATABASE9add_entryEPK20LOGDB_DATABASE_ENTRY")(database, &entry);
   }
   const std::vector<void*> blocks_of_the_database = live_blocks;
   EXPECT_GE(blocks_of_the_database.size(), 3U) << "the list, the fields, the text";
   take_events();
   unload();
   EXPECT_EQ(take_events(),
             std::vector<std::string>({"block released by LOGDB", "initializer of LOGDB destroyed"}))
       << "the revision name's block alone";
   EXPECT_EQ(live_blocks.size() + 1, blocks_of_the_database.size());
   while (!live_blocks.empty()) {
      release_block(live_blocks.back());
   }
}

INSTANTIATE_TEST_SUITE_P(Library, UnloadOrder, testing::Values(LOGDB_WITHOUT_HOST, LOGDB_AS_SHIPPED),
                         [](const testing::TestParamInfo<const char*>& library) {
                            return std::string(library.index == 0 ? "without_host" : "as_shipped");
                         });

} // namespace
