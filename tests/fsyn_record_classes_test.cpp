// The record classes of the physical-synthesis log: what they hold, how they start, how they are copied and
// deleted.

#include <cstdint>
#include <cstring>
#include <new>
#include <set>
#include <type_traits>

#include "fsyn_log_fixture.h"

namespace {

using FSYN_RECORD_CLASSES = FSYN_LOG_TEST;

using CONNECTION = LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION;

template <class MEMBER> struct MEMBER_TYPE;
template <class TYPE, class CLASS> struct MEMBER_TYPE<TYPE CLASS::*> { using type = TYPE; };
template <auto MEMBER> using TYPE_OF = typename MEMBER_TYPE<decltype(MEMBER)>::type;

// The members of the two base classes; those of the others are checked by the table of kinds.
static_assert(std::is_same_v<TYPE_OF<&LOGDB_FSYN_LOG_ENTRY::m_type>, LOGDB_FSYN_LOG_ENTRY_TYPE>);
// Whoever knows a record by its base alone copies it with clone(): half a record is none.
static_assert(!std::is_copy_assignable_v<LOGDB_FSYN_LOG_ENTRY>);
static_assert(std::is_same_v<TYPE_OF<&LOGDB_FSYN_LOG_ENTRY::m_tag>, unsigned int>);
static_assert(std::is_same_v<TYPE_OF<&LOGDB_FSYN_LOG_ENTRY::m_node_name>, MEM_STRING>);
static_assert(std::is_same_v<TYPE_OF<&CONNECTION::m_port_sources>, MEM_VECTOR<MEM_STRING>>);
static_assert(sizeof(unsigned int) == 4 && sizeof(unsigned short) == 2 && sizeof(unsigned long) == 8);

// The kind tag: unscoped, 32 bits.
static_assert(std::is_same_v<std::underlying_type_t<LOGDB_FSYN_LOG_ENTRY_TYPE>, int>);
static_assert(std::is_convertible_v<LOGDB_FSYN_LOG_ENTRY_TYPE, int>);
static_assert(DB_PAD_TO_CORE == 8);

static_assert(std::is_abstract_v<LOGDB_FSYN_LOG_ENTRY>);
static_assert(std::is_abstract_v<CONNECTION>);
static_assert(std::is_base_of_v<LOGDB_FSYN_LOG_ENTRY, CONNECTION>);
static_assert(std::has_virtual_destructor_v<LOGDB_FSYN_LOG_ENTRY>);
static_assert(std::is_same_v<decltype(&LOGDB_FSYN_LOG_ENTRY::clone),
                             LOGDB_FSYN_LOG_ENTRY* (LOGDB_FSYN_LOG_ENTRY::*)() const>);

template <class RECORD> constexpr bool is_connection = std::is_base_of_v<CONNECTION, RECORD>;

template <class RECORD>
constexpr bool is_marker = FSYN_KIND<RECORD>::value <= 1 || FSYN_KIND<RECORD>::value == 42 ||
                           FSYN_KIND<RECORD>::value == 43 || FSYN_KIND<RECORD>::value == 45;

/// How many slots a new record has.
constexpr std::size_t slot_count(int value) {
   return value == 28 ? 11 : value == 29 ? 9 : value == 30 ? 16 : 0;
}

std::uintptr_t address(const void* where) {
   return reinterpret_cast<std::uintptr_t>(where);
}

/// Checks that the members of a record stand one behind the other, as a compiler lays them out, with nothing else
/// in between, in front or behind.
class LAYOUT {
public:
   LAYOUT(const void* begin, std::size_t base_size) : m_begin(address(begin)), m_end(m_begin + base_size) {}

   template <class TYPE> void expect_next(const char* name, const TYPE& member) {
      const std::uintptr_t wanted = rounded(alignof(TYPE));
      EXPECT_EQ(address(&member) - m_begin, wanted - m_begin) << name;
      m_end = wanted + sizeof(TYPE);
   }

   std::size_t size() const { return rounded(alignof(void*)) - m_begin; }

private:
   std::uintptr_t rounded(std::size_t alignment) const { return (m_end + alignment - 1) / alignment * alignment; }

   std::uintptr_t m_begin;
   std::uintptr_t m_end;
};

TEST_F(FSYN_RECORD_CLASSES, there_are_44_kinds_from_0_to_45_without_4_and_5) {
   std::vector<int> values;
   for_each_fsyn_kind([&]<class RECORD>() { values.push_back(FSYN_KIND<RECORD>::value); });
   std::vector<int> wanted;
   for (int value = 0; value <= 45; ++value) {
      if (value != 4 && value != 5) {
         wanted.push_back(value);
      }
   }
   EXPECT_EQ(values, wanted);
   EXPECT_EQ(values.size(), 44U);
}

TEST_F(FSYN_RECORD_CLASSES, the_class_tree_has_the_four_connection_kinds_under_their_own_base) {
   for_each_fsyn_kind([]<class RECORD>() {
      static_assert(is_connection<RECORD> == (FSYN_KIND<RECORD>::value >= 28 && FSYN_KIND<RECORD>::value <= 31));
      static_assert(std::is_base_of_v<LOGDB_FSYN_LOG_ENTRY, RECORD>);
      static_assert(std::is_convertible_v<RECORD*, LOGDB_FSYN_LOG_ENTRY*>); // public and not ambiguous
      static_assert(!std::is_abstract_v<RECORD>);
      static_assert(std::is_default_constructible_v<RECORD>);
      static_assert(std::has_virtual_destructor_v<RECORD>);

      // Not virtual: the base stands at the front.
      RECORD record;
      EXPECT_EQ(address(static_cast<LOGDB_FSYN_LOG_ENTRY*>(&record)), address(&record))
          << FSYN_KIND<RECORD>::suffix;
   });
}

TEST_F(FSYN_RECORD_CLASSES, clone_is_the_virtual_operation_behind_the_two_destructors) {
   // A pointer to a virtual operation holds its offset in the table, plus one.
   const auto clone = &LOGDB_FSYN_LOG_ENTRY::clone;
   std::ptrdiff_t offset = 0;
   std::memcpy(&offset, &clone, sizeof offset);
   EXPECT_EQ(offset, static_cast<std::ptrdiff_t>(2 * sizeof(void*)) + 1);
}

TEST_F(FSYN_RECORD_CLASSES, a_record_that_says_nothing_of_its_kind_has_kind_0_and_tag_0) {
   struct OWN_RECORD : LOGDB_FSYN_LOG_ENTRY {
      LOGDB_FSYN_LOG_ENTRY* clone() const override { return nullptr; }
   };
   const OWN_RECORD record;
   EXPECT_EQ(static_cast<int>(record.m_type), 0);
   EXPECT_EQ(record.m_tag, 0U);
   EXPECT_EQ(record.m_node_name, "");
}

TEST_F(FSYN_RECORD_CLASSES, the_base_holds_type_tag_and_node_name_behind_the_table_of_operations) {
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL record;
   LAYOUT layout(&record, sizeof(void*));
   layout.expect_next("m_type", record.m_type);
   layout.expect_next("m_tag", record.m_tag);
   layout.expect_next("m_node_name", record.m_node_name);
   EXPECT_EQ(layout.size(), sizeof(LOGDB_FSYN_LOG_ENTRY));
   EXPECT_EQ(layout.size(), sizeof record);
}

TEST_F(FSYN_RECORD_CLASSES, every_class_holds_its_fields_in_the_declared_order_and_nothing_else) {
   for_each_fsyn_kind([]<class RECORD>() {
      SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
      RECORD record;
      LAYOUT layout(&record, sizeof(LOGDB_FSYN_LOG_ENTRY));
      for_each_fsyn_field(record, [&](const char* name, const auto& member) { layout.expect_next(name, member); });
      EXPECT_EQ(layout.size(), sizeof(RECORD));
   });
}

/// What a field of a new record holds: slots their word, everything else 0 or nothing.
template <class MEMBER> MEMBER default_of(const char* name, int value) {
   if constexpr (std::is_same_v<MEMBER, MEM_VECTOR<MEM_STRING>>) {
      if (std::strcmp(name, "m_port_sources") == 0) {
         return MEMBER(slot_count(value), "UNCHANGED");
      }
   }
   return MEMBER();
}

template <class RECORD> void expect_defaults(const RECORD& record) {
   constexpr int value = FSYN_KIND<RECORD>::value;
   EXPECT_EQ(record.m_type, value);
   EXPECT_EQ(record.m_tag, 0U);
   EXPECT_EQ(record.m_node_name, is_marker<RECORD> ? "DUMMY_NAME" : "");
   for_each_fsyn_field(record, [](const char* name, const auto& member) {
      EXPECT_EQ(member, default_of<std::remove_cvref_t<decltype(member)>>(name, value)) << name;
   });
}

TEST_F(FSYN_RECORD_CLASSES, a_new_record_has_its_kind_and_everything_else_at_its_default) {
   for_each_fsyn_kind([]<class RECORD>() {
      SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
      RECORD record;
      expect_defaults(record);
      const FSYN_RECORD on_the_heap(new (0) RECORD);
      expect_defaults(static_cast<const RECORD&>(*on_the_heap));
   });
}

TEST_F(FSYN_RECORD_CLASSES, a_record_in_memory_that_held_something_else_starts_the_same) {
   for_each_fsyn_kind([]<class RECORD>() {
      SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
      for (const int dirt : {0xA5, 0xFF, 0x01}) {
         alignas(RECORD) unsigned char place[sizeof(RECORD)];
         std::memset(place, dirt, sizeof place);
         void* where = place;
         // The compiler may not know what the memory holds, or it would be free to forget it.
         __asm__ volatile("" : "+r"(where) : : "memory");
         RECORD* record = ::new (where) RECORD;
         expect_defaults(*record);
         record->~RECORD();
      }
   });
}

TEST_F(FSYN_RECORD_CLASSES, records_from_a_heap_of_used_blocks_start_the_same) {
   for_each_fsyn_kind([]<class RECORD>() {
      SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
      for (int round = 0; round < 3; ++round) {
         void* used = std::malloc(sizeof(RECORD));
         ASSERT_NE(used, nullptr);
         std::memset(used, 0xEE, sizeof(RECORD));
         __asm__ volatile("" : : "r"(used) : "memory");
         std::free(used);
         const FSYN_RECORD record(new (0) RECORD);
         expect_defaults(static_cast<const RECORD&>(*record));
      }
   });
}

TEST_F(FSYN_RECORD_CLASSES, records_carry_their_dynamic_type) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      EXPECT_EQ(fsyn_fields(*sample.m_record)[0].second, sample.m_suffix);
      EXPECT_EQ(dynamic_cast<CONNECTION*>(sample.m_record.get()) != nullptr,
                sample.m_suffix.rfind("ADD_REMOVE_CONNECTION_", 0) == 0);
   }
}

// ---- clone()

/// clone() as an owner of the right class.
template <class RECORD> std::unique_ptr<RECORD> clone_of(const RECORD& record) {
   std::unique_ptr<RECORD> copy = fsyn_as<RECORD>(FSYN_RECORD(record.clone()));
   EXPECT_NE(copy.get(), &record);
   if (copy == nullptr) {
      ADD_FAILURE() << "not a " << FSYN_KIND<RECORD>::suffix;
      copy = std::make_unique<RECORD>();
   }
   return copy;
}

bool is_marker_sample(const FSYN_SAMPLE& sample) {
   return sample.m_text.find('\n') == sample.m_text.size() - 1;
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_most_kinds_is_equal_to_its_source) {
   int compared = 0;
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (!is_marker_sample(sample) && sample.m_suffix != "COPY_OTERM_TIMING_ASSIGNMENTS") {
         const FSYN_RECORD copy(sample.m_record->clone());
         EXPECT_EQ(fsyn_fields(*copy), fsyn_fields(*sample.m_record));
         ++compared;
      }
   }
   EXPECT_EQ(compared, 38);
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_marker_is_a_fresh_record) {
   int compared = 0;
   for_each_fsyn_kind([&]<class RECORD>() {
      if constexpr (is_marker<RECORD>) {
         SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
         RECORD record;
         record.m_node_name = "another name";
         record.m_tag = 77;
         expect_defaults(*clone_of(record));
         ++compared;
      }
   });
   EXPECT_EQ(compared, 5);
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_timing_copy_takes_the_two_terminals_and_nothing_else) {
   LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS record;
   record.m_node_name = "top|q[39]";
   record.m_tag = 39;
   record.m_first_oterm_name = "first";
   record.m_second_oterm_name = "second";
   const auto copy = clone_of(record);
   EXPECT_EQ(copy->m_type, COPY_OTERM_TIMING_ASSIGNMENTS);
   EXPECT_EQ(copy->m_tag, 0U);
   EXPECT_EQ(copy->m_node_name, "");
   EXPECT_EQ(copy->m_first_oterm_name, "first");
   EXPECT_EQ(copy->m_second_oterm_name, "second");
}

TEST_F(FSYN_RECORD_CLASSES, copies_carry_what_the_text_does_not) {
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM deleted;
   deleted.m_tag = 4000000000U;
   deleted.m_delete_extra = -7;
   EXPECT_EQ(clone_of(deleted)->m_tag, 4000000000U);
   EXPECT_EQ(clone_of(deleted)->m_delete_extra, -7);

   LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS location;
   location.m_copy_extra = 38;
   EXPECT_EQ(clone_of(location)->m_copy_extra, 38);

   LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM terminal;
   terminal.m_port_index = 65535;
   EXPECT_EQ(clone_of(terminal)->m_port_index, 65535);
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_keeps_any_byte_that_a_flag_was_given) {
   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM record;
   for (int byte = 0; byte < 256; ++byte) {
      record.m_atom_kind = static_cast<unsigned char>(byte);
      EXPECT_EQ(clone_of(record)->m_atom_kind, byte);
   }
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_delete_record_has_the_deleted_names_in_order) {
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM record;
   EXPECT_TRUE(clone_of(record)->m_deleted_names.empty());
   record.m_deleted_names = {"b", "a", "b", "", "END_OF_DELETE_ATOM"};
   EXPECT_EQ(clone_of(record)->m_deleted_names, record.m_deleted_names);
}

template <class RECORD> void expect_slot_copies(std::size_t count) {
   SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
   RECORD record;
   ASSERT_EQ(record.m_port_sources.size(), count);
   EXPECT_EQ(fsyn_fields(*clone_of(record)), fsyn_fields(record)) << "all UNCHANGED";

   record.m_tag = 5;
   record.m_node_name = "node";
   record.m_port_sources[0] = "first";
   record.m_port_sources[count - 1] = "last";
   EXPECT_EQ(fsyn_fields(*clone_of(record)), fsyn_fields(record));

   // A source with fewer slots than its kind: the copy's others stay as they start.
   record.m_port_sources = {"only"};
   MEM_VECTOR<MEM_STRING> wanted(count, "UNCHANGED");
   wanted[0] = "only";
   EXPECT_EQ(clone_of(record)->m_port_sources, wanted);
   record.m_port_sources.clear();
   EXPECT_EQ(clone_of(record)->m_port_sources, MEM_VECTOR<MEM_STRING>(count, "UNCHANGED"));

   // And with more: every slot that the source has.
   record.m_port_sources.assign(count + 3, "more");
   EXPECT_EQ(clone_of(record)->m_port_sources, record.m_port_sources);
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_connection_record_has_the_slots_of_its_kind_or_more) {
   expect_slot_copies<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB>(11);
   expect_slot_copies<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF>(9);
   expect_slot_copies<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO>(16);
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_ram_record_has_three_parallel_lists) {
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM record;
   auto copy = clone_of(record);
   EXPECT_TRUE(copy->m_ram_source_names.empty());
   EXPECT_TRUE(copy->m_ram_port_types.empty());
   EXPECT_TRUE(copy->m_ram_port_indices.empty());
   EXPECT_TRUE(copy->m_port_sources.empty());

   record.m_tag = 31;
   record.m_node_name = "ram";
   record.m_ram_source_names = {"c", "a", "UNCHANGED"};
   record.m_ram_port_types = {DB_INPUT_PORT_TYPE(3), DB_INPUT_PORT_TYPE(-1), DB_INPUT_PORT_TYPE(2)};
   record.m_ram_port_indices = {65535, 0, 7};
   EXPECT_EQ(fsyn_fields(*clone_of(record)), fsyn_fields(record));

   // The slots are not this kind's, whatever somebody put there.
   record.m_port_sources = {"stray"};
   EXPECT_TRUE(clone_of(record)->m_port_sources.empty());
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_ram_record_with_unequal_lists_is_written_like_its_source) {
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM record;
   record.m_node_name = "ram";
   record.m_ram_source_names = {"a", "b", "c"};
   record.m_ram_port_types = {DB_INPUT_PORT_TYPE(9)};
   record.m_ram_port_indices = {1, 2, 3, 4, 5};
   const auto copy = clone_of(record);
   EXPECT_EQ(copy->m_ram_source_names, record.m_ram_source_names);
   EXPECT_EQ(copy->m_ram_port_types.size(), 3U) << "what is missing is 0";
   EXPECT_EQ(copy->m_ram_port_indices.size(), 3U) << "what is left over is dropped";
   EXPECT_EQ(written(*copy), "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM\n"
                             "ram\n"
                             "9 1 a\n"
                             "0 2 b\n"
                             "0 3 c\n"
                             "End_of_ADD_REMOVE_Connection\n");
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_store_node_info_record_has_all_of_its_lists) {
   for (const std::size_t inputs : {0U, 1U, 10U, 11U, 12U, 40U}) {
      LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO record;
      record.m_tag = 27;
      record.m_node_name = "old";
      record.m_lut_mask = 0xFFFFFFFFFFFFFFFFUL;
      record.m_node_type = -27;
      for (std::size_t input = 0; input < inputs; ++input) {
         record.m_input_port_types.push_back(DB_INPUT_PORT_TYPE(static_cast<int>(input)));
         record.m_input_port_names.push_back(MEM_STRING("in") + std::to_string(input).c_str());
      }
      record.m_output_port_types = {DB_OUTPUT_PORT_TYPE(2), DB_OUTPUT_PORT_TYPE(1)};
      record.m_output_port_names = {"x", "y"};
      EXPECT_EQ(fsyn_fields(*clone_of(record)), fsyn_fields(record)) << inputs;
   }
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_of_a_store_node_info_record_with_unequal_lists_is_written_like_its_source) {
   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO record;
   record.m_node_name = "old";
   record.m_input_port_types = {DB_INPUT_PORT_TYPE(1), DB_INPUT_PORT_TYPE(2)};
   record.m_input_port_names = {"a"};
   record.m_output_port_types = {DB_OUTPUT_PORT_TYPE(3)};
   record.m_output_port_names = {"x", "unseen"};
   const auto copy = clone_of(record);
   EXPECT_EQ(written(*copy), "PHYSICAL_SYNTHESIS_STORE_NODE_INFO\n"
                             "old 0\n"
                             "Port 1 a\n"
                             "Port 2 \n"
                             "Output 3 x\n"
                             "LUTMASK\n"
                             "0 0\n");
}

/// Gives every string and list of a record something that needs storage of its own.
template <class RECORD> void fill_with_long_names(RECORD& record) {
   const MEM_STRING long_name(100, 'n');
   record.m_node_name = long_name;
   for_each_fsyn_field(record, [&](const char* /*name*/, auto& member) {
      using MEMBER = std::remove_cvref_t<decltype(member)>;
      if constexpr (std::is_same_v<MEMBER, MEM_STRING>) {
         member = long_name;
      } else if constexpr (std::is_same_v<MEMBER, MEM_VECTOR<MEM_STRING>>) {
         member.assign(20, long_name);
      } else if constexpr (!std::is_arithmetic_v<MEMBER>) {
         member.resize(20);
      }
   });
}

TEST_F(FSYN_RECORD_CLASSES, a_copy_shares_nothing_with_its_source) {
   for_each_fsyn_kind([]<class RECORD>() {
      SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
      auto source = std::make_unique<RECORD>();
      fill_with_long_names(*source);
      const auto copy = clone_of(*source);
      const std::string of_copy = fsyn_description(*copy);

      for_each_fsyn_field(*source, [](const char* /*name*/, auto& member) { member = {}; });
      source->m_node_name.assign(100, 'x');
      EXPECT_EQ(fsyn_description(*copy), of_copy);
      source.reset();
      EXPECT_EQ(fsyn_description(*copy), of_copy);
   });
}

TEST_F(FSYN_RECORD_CLASSES, deleting_a_record_through_its_base_releases_all_of_its_storage) {
   const std::size_t blocks = host_memory_statistics("LOGDB").m_live_blocks;
   for_each_fsyn_kind([&]<class RECORD>() {
      SCOPED_TRACE(FSYN_KIND<RECORD>::suffix);
      auto* record = new (0) RECORD;
      fill_with_long_names(*record);
      LOGDB_FSYN_LOG_ENTRY* copy = record->clone();
      EXPECT_GT(host_memory_statistics("LOGDB").m_live_blocks, blocks);
      LOGDB_FSYN_LOG_ENTRY* base = record;
      delete base;
      delete copy;
      EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, blocks);
   });
}

} // namespace
