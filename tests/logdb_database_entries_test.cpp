#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "logdb.h"
#include "logdb_database_fixture.h"

namespace {

static_assert(std::is_standard_layout_v<LOGDB_DATABASE_ENTRY> && !std::is_polymorphic_v<LOGDB_DATABASE_ENTRY>);
static_assert(sizeof(LOGDB_DATABASE_ENTRY) == 32);
static_assert(offsetof(LOGDB_DATABASE_ENTRY, m_entry_type) == 0);
static_assert(std::is_same_v<decltype(LOGDB_DATABASE_ENTRY::m_entry_type), LOGDB_ENTRY_TYPE_ENUM>);
static_assert(offsetof(LOGDB_DATABASE_ENTRY, m_data_vector) == 8);
static_assert(std::is_same_v<decltype(LOGDB_DATABASE_ENTRY::m_data_vector), MEM_VECTOR<MEM_STRING>>);

static_assert(sizeof(LOGDB_DATA_FORMAT_INFO) == 16);
static_assert(offsetof(LOGDB_DATA_FORMAT_INFO, m_num_fields) == 0);
static_assert(std::is_same_v<decltype(LOGDB_DATA_FORMAT_INFO::m_num_fields), unsigned int>);
static_assert(offsetof(LOGDB_DATA_FORMAT_INFO, m_datatypes) == 8);
static_assert(std::is_same_v<decltype(LOGDB_DATA_FORMAT_INFO::m_datatypes), const LOGDB_ENTRY_DATATYPE_ENUM*>);
static_assert(std::is_same_v<decltype(LOGDB_DATA_FORMAT), const LOGDB_DATA_FORMAT_INFO[8]>);

static_assert(
    std::is_same_v<decltype(LOGDB_DSP_BALANCING_IMPLEMENTATION_DATA_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[2]>);
static_assert(std::is_same_v<decltype(LOGDB_REGISTER_PACKING_DATA_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[5]>);
static_assert(std::is_same_v<decltype(LOGDB_RAM_PACKING_DATA_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[9]>);
static_assert(
    std::is_same_v<decltype(LOGDB_FIT_COMPUTED_DQSBUSMUX_COUNTS_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[2]>);
static_assert(std::is_same_v<decltype(LOG_FSYN_LOG_FILE_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[1]>);
static_assert(std::is_same_v<decltype(LOGDB_IO_RULES_SUMMARY_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[2]>);
static_assert(std::is_same_v<decltype(LOGDB_IO_RULES_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[6]>);
static_assert(std::is_same_v<decltype(LOGDB_IO_RULES_MATRIX_FORMAT), const LOGDB_ENTRY_DATATYPE_ENUM[2]>);

static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::get_number_of_entries), int (LOGDB_DATABASE::*)() const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::get_entry),
                             const LOGDB_DATABASE_ENTRY* (LOGDB_DATABASE::*)(int) const>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::add_entry),
                             LOGDB_DATABASE_ENTRY* (LOGDB_DATABASE::*)(const LOGDB_DATABASE_ENTRY*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::replace_entry),
                             LOGDB_DATABASE_ENTRY* (LOGDB_DATABASE::*)(int, const LOGDB_DATABASE_ENTRY*)>);
static_assert(std::is_same_v<decltype(&LOGDB_DATABASE::get_enum_datatype_by_vec_position),
                             LOGDB_ENTRY_DATATYPE_ENUM (*)(LOGDB_ENTRY_TYPE_ENUM, unsigned int)>);

constexpr const char* bad_index = "report: index >= 0 && index < static_cast<int>(m_entry_vector.size())";
constexpr const char* null_entry = "report: new_entry != 0";

class LOGDB_DATABASE_ENTRIES : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override { m_database = std::make_unique<LOGDB_DATABASE>(); }

   void TearDown() override {
      m_database.reset();
      LOGDB_DATABASE_TEST::TearDown();
   }

   LOGDB_DATABASE_ENTRY* add_plain(const PLAIN_ENTRY& entry) {
      const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
      return m_database->add_entry(&copy);
   }

   ENTRIES entries() const { return entries_of(*m_database); }

   std::unique_ptr<LOGDB_DATABASE> m_database;
};

const std::string long_field(100, 'f');

TEST_F(LOGDB_DATABASE_ENTRIES, a_new_database_has_none) {
   EXPECT_EQ(m_database->get_number_of_entries(), 0);
   EXPECT_EQ(m_database->get_entry(0), nullptr);
   EXPECT_EQ(events(), EVENTS{bad_index});
}

TEST_F(LOGDB_DATABASE_ENTRIES, they_stay_in_the_order_in_which_they_were_added) {
   const ENTRIES added = {
       {IO_RULES, {"a"}}, {REGISTER_PACKING, {"b", "", "c"}}, {IO_RULES, {"a"}}, {RAM_PACKING, {}}};
   for (std::size_t index = 0; index < added.size(); ++index) {
      const LOGDB_DATABASE_ENTRY* stored = add_plain(added[index]);
      ASSERT_NE(stored, nullptr);
      EXPECT_EQ(m_database->get_number_of_entries(), static_cast<int>(index) + 1);
      EXPECT_EQ(m_database->get_entry(static_cast<int>(index)), stored) << "the last added is the last";
   }
   EXPECT_EQ(entries(), added);
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_ENTRIES, an_added_entry_is_a_deep_copy) {
   auto entry = std::make_unique<LOGDB_DATABASE_ENTRY>(entry_of(RAM_PACKING, {"short", long_field}));
   const LOGDB_DATABASE_ENTRY* first = m_database->add_entry(entry.get());
   const LOGDB_DATABASE_ENTRY* second = m_database->add_entry(entry.get());
   ASSERT_NE(first, nullptr);
   ASSERT_NE(second, nullptr);
   EXPECT_NE(first, entry.get());
   EXPECT_NE(first, second);
   EXPECT_NE(first->m_data_vector[1].data(), entry->m_data_vector[1].data());
   EXPECT_NE(first->m_data_vector[1].data(), second->m_data_vector[1].data());

   entry->m_entry_type = IO_RULES;
   entry->m_data_vector[1][0] = '#';
   entry->m_data_vector.emplace_back("more");
   entry.reset();
   EXPECT_EQ(entries(), (ENTRIES{{RAM_PACKING, {"short", long_field}}, {RAM_PACKING, {"short", long_field}}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, the_two_copies_of_one_entry_are_independent) {
   const LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {long_field});
   LOGDB_DATABASE_ENTRY* first = m_database->add_entry(&entry);
   m_database->add_entry(&entry);
   first->m_data_vector[0] = "changed";
   first->m_entry_type = IO_RULES;
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"changed"}}, {RAM_PACKING, {long_field}}}));
   EXPECT_EQ(plain(entry), (PLAIN_ENTRY{RAM_PACKING, {long_field}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_stored_entry_can_be_added_again) {
   add_plain({RAM_PACKING, {"a", long_field}});
   for (int count = 1; count < 20; ++count) {
      ASSERT_NE(m_database->add_entry(m_database->get_entry(count - 1)), nullptr);
   }
   EXPECT_EQ(entries(), ENTRIES(20, PLAIN_ENTRY{RAM_PACKING, {"a", long_field}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_pointer_stays_good_while_others_are_added_and_replaced) {
   const LOGDB_DATABASE_ENTRY* first = add_plain({IO_RULES, {"first", long_field}});
   for (int count = 0; count < 3000; ++count) {
      add_plain({RAM_PACKING, {"later"}});
   }
   const LOGDB_DATABASE_ENTRY other = entry_of(IO_RULES_MATRIX, {});
   ASSERT_NE(m_database->replace_entry(1, &other), nullptr);
   EXPECT_EQ(m_database->get_entry(0), first);
   EXPECT_EQ(plain(*first), (PLAIN_ENTRY{IO_RULES, {"first", long_field}}));
   EXPECT_EQ(m_database->get_number_of_entries(), 3001);
}

TEST_F(LOGDB_DATABASE_ENTRIES, get_entry_makes_no_copy) {
   const LOGDB_DATABASE_ENTRY* stored = add_plain({IO_RULES, {"a"}});
   EXPECT_EQ(m_database->get_entry(0), stored);
   EXPECT_EQ(m_database->get_entry(0), stored);
}

TEST_F(LOGDB_DATABASE_ENTRIES, any_fields_are_stored_as_they_are) {
   const std::string zero("a\0b", 3);
   const ENTRIES added = {
       {DSP_BALANCING_IMPLEMENTATION, {}},
       {FSYN_LOG_FILE, {"more", "fields", "than", "its", "kind", "has"}},
       {REGISTER_PACKING, {"", "", ""}},
       {IO_RULES, {zero, "x,y", "line\nend", "return\r", "\xff\x80", std::string(40000, 'z')}},
       {IO_RULES_MATRIX, std::vector<std::string>(1000, "many")},
       {-1, {"unknown"}},
       {8, {"illegal"}},
       {INT_MAX, {}},
       {INT_MIN, {}},
   };
   for (const PLAIN_ENTRY& entry : added) {
      ASSERT_NE(add_plain(entry), nullptr);
   }
   EXPECT_EQ(entries(), added);
   EXPECT_EQ(events(), EVENTS{}) << "nothing is checked against the kind";
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_null_entry_is_reported_and_not_added) {
   EXPECT_EQ(m_database->add_entry(nullptr), nullptr);
   EXPECT_EQ(events(), EVENTS{null_entry});
   EXPECT_EQ(m_database->get_number_of_entries(), 0);
   add_plain({IO_RULES, {"a"}});
   EXPECT_EQ(m_database->add_entry(nullptr), nullptr);
   EXPECT_EQ(events(), EVENTS{null_entry});
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, an_index_outside_the_list_is_reported_by_get_entry) {
   add_plain({IO_RULES, {"a"}});
   add_plain({IO_RULES, {"b"}});
   for (const int index : {-1, 2, 3, 1000000, INT_MAX, INT_MIN}) {
      EXPECT_EQ(m_database->get_entry(index), nullptr) << index;
      EXPECT_EQ(events(), EVENTS{bad_index}) << index;
   }
   EXPECT_EQ(plain(*m_database->get_entry(1)), (PLAIN_ENTRY{IO_RULES, {"b"}}));
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_ENTRIES, an_index_outside_the_list_is_reported_by_replace_entry) {
   const LOGDB_DATABASE_ENTRY other = entry_of(RAM_PACKING, {"other"});
   EXPECT_EQ(m_database->replace_entry(0, &other), nullptr);
   EXPECT_EQ(events(), EVENTS{bad_index});
   EXPECT_EQ(entries(), ENTRIES{});

   add_plain({IO_RULES, {"a"}});
   add_plain({IO_RULES, {"b"}});
   for (const int index : {-1, 2, 3, 1000000, INT_MAX, INT_MIN}) {
      EXPECT_EQ(m_database->replace_entry(index, &other), nullptr) << index;
      EXPECT_EQ(events(), EVENTS{bad_index}) << index;
      EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}, {IO_RULES, {"b"}}}));
   }
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_null_entry_replaces_nothing) {
   const LOGDB_DATABASE_ENTRY* stored = add_plain({IO_RULES, {"a"}});
   EXPECT_EQ(m_database->replace_entry(0, nullptr), nullptr);
   EXPECT_EQ(events(), EVENTS{null_entry});
   EXPECT_EQ(m_database->get_entry(0), stored);
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, of_a_bad_index_and_a_null_entry_the_index_is_reported_first) {
   add_plain({IO_RULES, {"a"}});
   EXPECT_EQ(m_database->replace_entry(1, nullptr), nullptr);
   const EVENTS found = events();
   ASSERT_FALSE(found.empty());
   EXPECT_EQ(found.front(), bad_index);
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, replacing_keeps_the_length_and_the_other_positions) {
   for (const char* name : {"a", "b", "c"}) {
      add_plain({IO_RULES, {name}});
   }
   const LOGDB_DATABASE_ENTRY* first = m_database->get_entry(0);
   const LOGDB_DATABASE_ENTRY* last = m_database->get_entry(2);
   auto other = std::make_unique<LOGDB_DATABASE_ENTRY>(entry_of(RAM_PACKING, {"other", long_field}));
   const LOGDB_DATABASE_ENTRY* stored = m_database->replace_entry(1, other.get());
   ASSERT_NE(stored, nullptr);
   EXPECT_NE(stored, other.get());
   EXPECT_NE(stored->m_data_vector[1].data(), other->m_data_vector[1].data());
   other.reset();
   EXPECT_EQ(m_database->get_entry(0), first);
   EXPECT_EQ(m_database->get_entry(1), stored);
   EXPECT_EQ(m_database->get_entry(2), last);
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}, {RAM_PACKING, {"other", long_field}}, {IO_RULES, {"c"}}}));
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_ENTRIES, the_first_and_the_last_can_be_replaced) {
   for (const char* name : {"a", "b", "c"}) {
      add_plain({IO_RULES, {name}});
   }
   const LOGDB_DATABASE_ENTRY other = entry_of(FSYN_LOG_FILE, {});
   m_database->replace_entry(0, &other);
   m_database->replace_entry(2, &other);
   EXPECT_EQ(entries(), (ENTRIES{{FSYN_LOG_FILE, {}}, {IO_RULES, {"b"}}, {FSYN_LOG_FILE, {}}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, an_entry_can_replace_itself) {
   add_plain({RAM_PACKING, {"a", long_field}});
   add_plain({RAM_PACKING, {"b", long_field}});
   for (int count = 0; count < 10; ++count) {
      const LOGDB_DATABASE_ENTRY* stored = m_database->replace_entry(0, m_database->get_entry(0));
      ASSERT_NE(stored, nullptr);
      EXPECT_EQ(m_database->get_entry(0), stored);
      EXPECT_EQ(entries(), (ENTRIES{{RAM_PACKING, {"a", long_field}}, {RAM_PACKING, {"b", long_field}}}));
   }
   m_database->replace_entry(1, m_database->get_entry(0));
   EXPECT_EQ(entries(), ENTRIES(2, PLAIN_ENTRY{RAM_PACKING, {"a", long_field}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_replaced_entry_gives_its_storage_back) {
   add_plain({RAM_PACKING, {long_field, long_field, long_field}});
   const LOGDB_DATABASE_ENTRY other = entry_of(RAM_PACKING, {long_field, long_field, long_field});
   const std::size_t blocks = host_memory_statistics("LOGDB").m_live_blocks;
   const std::size_t bytes = host_memory_statistics("LOGDB").m_live_bytes;
   for (int count = 0; count < 100; ++count) {
      m_database->replace_entry(0, &other);
   }
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, blocks);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_bytes, bytes);
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_destroyed_database_gives_all_storage_back) {
   const std::size_t blocks = host_memory_statistics("LOGDB").m_live_blocks;
   for (int count = 0; count < 100; ++count) {
      add_plain({RAM_PACKING, {long_field, "short", long_field}});
   }
   EXPECT_GT(host_memory_statistics("LOGDB").m_live_blocks, blocks);
   m_database = std::make_unique<LOGDB_DATABASE>();
   m_database.reset();
   m_database = std::make_unique<LOGDB_DATABASE>();
   EXPECT_EQ(m_database->get_number_of_entries(), 0);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, blocks);
}

TEST_F(LOGDB_DATABASE_ENTRIES, counting_and_reading_copy_nothing) {
   add_plain({RAM_PACKING, {long_field, long_field}});
   const std::size_t allocated = host_memory_statistics("LOGDB").m_total_blocks;
   for (int count = 0; count < 100; ++count) {
      EXPECT_EQ(m_database->get_number_of_entries(), 1);
      EXPECT_NE(m_database->get_entry(0), nullptr);
   }
   EXPECT_EQ(host_memory_statistics("LOGDB").m_total_blocks, allocated);
}

TEST_F(LOGDB_DATABASE_ENTRIES, adding_and_replacing_copy_the_one_entry_alone) {
   for (int count = 0; count < 64; ++count) {
      add_plain({RAM_PACKING, {long_field, long_field}});
   }
   const LOGDB_DATABASE_ENTRY other = entry_of(IO_RULES, {long_field, long_field});
   const std::size_t before_replace = host_memory_statistics("LOGDB").m_total_blocks;
   m_database->replace_entry(10, &other);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_total_blocks, before_replace + 3)
       << "the field list and two fields";

   const std::size_t before_add = host_memory_statistics("LOGDB").m_total_blocks;
   m_database->add_entry(&other);
   EXPECT_LE(host_memory_statistics("LOGDB").m_total_blocks, before_add + 4) << "and the list when it grows";
}

TEST_F(LOGDB_DATABASE_ENTRIES, two_databases_have_nothing_in_common) {
   LOGDB_DATABASE other;
   add_plain({IO_RULES, {"a"}});
   other.add_entry(m_database->get_entry(0));
   other.add_entry(m_database->get_entry(0));
   const LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {});
   other.replace_entry(0, &entry);
   EXPECT_EQ(entries(), (ENTRIES{{IO_RULES, {"a"}}}));
   EXPECT_EQ(entries_of(other), (ENTRIES{{RAM_PACKING, {}}, {IO_RULES, {"a"}}}));
}

TEST_F(LOGDB_DATABASE_ENTRIES, the_loaded_database_works_like_any_other) {
   load();
   add(IO_RULES, {"a"});
   const LOGDB_DATABASE_ENTRY other = entry_of(RAM_PACKING, {"b"});
   LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   EXPECT_NE(database->replace_entry(0, &other), nullptr);
   EXPECT_EQ(database->replace_entry(1, &other), nullptr);
   EXPECT_EQ(database->add_entry(nullptr), nullptr);
   EXPECT_EQ(database->get_entry(-1), nullptr);
   EXPECT_EQ(events(), (EVENTS{bad_index, null_entry, bad_index}));
   EXPECT_EQ(loaded(), (ENTRIES{{RAM_PACKING, {"b"}}}));
}

// ---- Datatypes

/// The datatypes of each kind by position, written as digits.
constexpr const char* datatypes_by_kind[8] = {"01", "00011", "000000001", "00", "0", "00", "000000", "00"};

TEST_F(LOGDB_DATABASE_ENTRIES, every_position_of_every_kind_has_its_datatype) {
   for (int kind = 0; kind < 8; ++kind) {
      const std::string datatypes = datatypes_by_kind[kind];
      for (unsigned int position = 0; position < 20; ++position) {
         const int expected = position < datatypes.size() ? datatypes[position] - '0' : -1;
         EXPECT_EQ(
             LOGDB_DATABASE::get_enum_datatype_by_vec_position(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind), position),
             expected)
             << kind << ' ' << position;
      }
   }
   EXPECT_EQ(LOGDB_DATABASE::get_enum_datatype_by_vec_position(RAM_PACKING, 8), NODE_NAME);
   EXPECT_EQ(LOGDB_DATABASE::get_enum_datatype_by_vec_position(RAM_PACKING, 9), -1);
   EXPECT_EQ(LOGDB_DATABASE::get_enum_datatype_by_vec_position(IO_RULES, 5), GENERIC_STRING);
   EXPECT_EQ(LOGDB_DATABASE::get_enum_datatype_by_vec_position(FSYN_LOG_FILE, 1), -1);
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_ENTRIES, a_position_far_away_has_no_datatype) {
   for (int kind = 0; kind < 8; ++kind) {
      for (const unsigned int position : {0x7fffffffu, 0x80000000u, 0xffffffffu}) {
         EXPECT_EQ(
             LOGDB_DATABASE::get_enum_datatype_by_vec_position(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind), position),
             -1);
      }
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_ENTRIES, an_unknown_kind_has_no_datatypes) {
   for (const int kind : {-1, 8, 9, 1000, INT_MAX, INT_MIN}) {
      for (const unsigned int position : {0u, 1u, 3u, 8u, 0xffffffffu}) {
         EXPECT_EQ(
             LOGDB_DATABASE::get_enum_datatype_by_vec_position(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind), position),
             -1)
             << kind << ' ' << position;
      }
   }
   EXPECT_EQ(events(), EVENTS{});
}

TEST_F(LOGDB_DATABASE_ENTRIES, the_datatype_table_has_a_row_a_kind) {
   const LOGDB_ENTRY_DATATYPE_ENUM* const arrays[8] = {
       LOGDB_DSP_BALANCING_IMPLEMENTATION_DATA_FORMAT,
       LOGDB_REGISTER_PACKING_DATA_FORMAT,
       LOGDB_RAM_PACKING_DATA_FORMAT,
       LOGDB_FIT_COMPUTED_DQSBUSMUX_COUNTS_FORMAT,
       LOG_FSYN_LOG_FILE_FORMAT, // this one without the DB
       LOGDB_IO_RULES_SUMMARY_FORMAT,
       LOGDB_IO_RULES_FORMAT,
       LOGDB_IO_RULES_MATRIX_FORMAT,
   };
   for (int kind = 0; kind < 8; ++kind) {
      const std::string datatypes = datatypes_by_kind[kind];
      const LOGDB_DATA_FORMAT_INFO& row = LOGDB_DATA_FORMAT[kind];
      EXPECT_EQ(row.m_datatypes, arrays[kind]) << kind;
      ASSERT_EQ(row.m_num_fields, datatypes.size()) << kind;
      for (unsigned int position = 0; position < row.m_num_fields; ++position) {
         EXPECT_EQ(row.m_datatypes[position], datatypes[position] - '0') << kind << ' ' << position;
      }
   }
}

} // namespace
