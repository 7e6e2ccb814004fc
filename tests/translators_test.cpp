#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <cstddef>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "logdb_entry_datatype_enum_translator_auto.h"
#include "logdb_entry_type_enum_translator_auto.h"
#include "logdb_types.h"
#include "recording_host.h"

namespace {

static_assert(sizeof(LOGDB_DB_TYPE) == 4 && std::is_same_v<std::underlying_type_t<LOGDB_DB_TYPE>, int>);
static_assert(LOGDB_DB_TYPE_NONE == 0 && LOGDB_DB_TYPE_MAP == 1 && LOGDB_DB_TYPE_CMP == 2);
static_assert(LOGDB_DB_TYPE_MAP_BB == 3 && LOGDB_DB_TYPE_CMP_BB == 4);

static_assert(sizeof(LOGDB_ENTRY_TYPE_ENUM) == 4);
static_assert(std::is_same_v<std::underlying_type_t<LOGDB_ENTRY_TYPE_ENUM>, int>);
static_assert(DSP_BALANCING_IMPLEMENTATION == 0 && REGISTER_PACKING == 1 && RAM_PACKING == 2);
static_assert(FIT_COMPUTED_DQSBUSMUX_COUNTS == 3 && FSYN_LOG_FILE == 4 && IO_RULES_SUMMARY == 5);
static_assert(IO_RULES == 6 && IO_RULES_MATRIX == 7);

static_assert(sizeof(LOGDB_ENTRY_DATATYPE_ENUM) == 4);
static_assert(std::is_same_v<std::underlying_type_t<LOGDB_ENTRY_DATATYPE_ENUM>, int>);
static_assert(GENERIC_STRING == 0 && NODE_NAME == 1);

// What the two translators have in common: one shape, two enumerations.
template <class TRANSLATOR, class ENUM, std::size_t COUNT> constexpr bool has_the_shape_of_a_translator() {
   using HASH = XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS>;
   static_assert(!std::is_polymorphic_v<TRANSLATOR>);
   static_assert(std::is_standard_layout_v<TRANSLATOR>);
   static_assert(sizeof(TRANSLATOR) == sizeof(HASH));
   static_assert(std::is_same_v<decltype(TRANSLATOR::m_string_to_enum), HASH>);
   static_assert(std::is_default_constructible_v<TRANSLATOR>);
   static_assert(std::is_same_v<decltype(&TRANSLATOR::get_debug_string), const char* (TRANSLATOR::*)(ENUM) const>);
   static_assert(std::is_same_v<decltype(&TRANSLATOR::get_user_string), const char* (TRANSLATOR::*)(ENUM) const>);
   static_assert(
       std::is_same_v<decltype(&TRANSLATOR::get_enum_by_string), ENUM (TRANSLATOR::*)(const char*) const>);
   static_assert(
       std::is_same_v<decltype(&TRANSLATOR::exists_enum_by_string), bool (TRANSLATOR::*)(const char*) const>);
   static_assert(std::extent_v<decltype(TRANSLATOR::m_debug_string_table)> == COUNT);
   static_assert(std::extent_v<decltype(TRANSLATOR::m_user_string_table)> == COUNT);
   return true;
}
static_assert(has_the_shape_of_a_translator<LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR, LOGDB_ENTRY_TYPE_ENUM, 8>());
static_assert(has_the_shape_of_a_translator<LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR, LOGDB_ENTRY_DATATYPE_ENUM, 2>());

// Overloads: the cast finds the one that is meant, or none.
using TYPE_STRING = const char* (*)(LOGDB_ENTRY_TYPE_ENUM);
using DATATYPE_STRING = const char* (*)(LOGDB_ENTRY_DATATYPE_ENUM);
static_assert(std::is_same_v<decltype(static_cast<TYPE_STRING>(&logdb_get_debug_string)), TYPE_STRING>);
static_assert(std::is_same_v<decltype(static_cast<TYPE_STRING>(&logdb_get_user_string)), TYPE_STRING>);
static_assert(std::is_same_v<decltype(static_cast<DATATYPE_STRING>(&logdb_get_debug_string)), DATATYPE_STRING>);
static_assert(std::is_same_v<decltype(static_cast<DATATYPE_STRING>(&logdb_get_user_string)), DATATYPE_STRING>);
static_assert(std::is_same_v<decltype(&logdb_get_logdb_entry_type_enum_translator_instance),
                             LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR* (*)()>);
static_assert(std::is_same_v<decltype(&logdb_get_logdb_entry_datatype_enum_translator_instance),
                             LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR* (*)()>);
static_assert(
    std::is_same_v<decltype(&logdb_get_logdb_entry_type_enum_by_string), LOGDB_ENTRY_TYPE_ENUM (*)(const char*)>);
static_assert(std::is_same_v<decltype(&logdb_get_logdb_entry_datatype_enum_by_string),
                             LOGDB_ENTRY_DATATYPE_ENUM (*)(const char*)>);
static_assert(std::is_same_v<decltype(&logdb_exists_logdb_entry_type_enum_by_string), bool (*)(const char*)>);
static_assert(std::is_same_v<decltype(&logdb_exists_logdb_entry_datatype_enum_by_string), bool (*)(const char*)>);

constexpr const char* type_debug_strings[8] = {"DSP_BALANCING_IMPLEMENTATION",
                                               "REGISTER_PACKING",
                                               "RAM_PACKING",
                                               "FIT_COMPUTED_DQSBUSMUX_COUNTS",
                                               "FSYN_LOG_FILE",
                                               "IO_RULES_SUMMARY",
                                               "IO_RULES",
                                               "IO_RULES_MATRIX"};
constexpr const char* type_user_strings[8] = {"DSP Block Balancing Implementation",
                                              "Register Packing log",
                                              "RAM Packing log",
                                              "DQS bux muxes count log.",
                                              "Physical Synthesis Log",
                                              "I/O Rules Summary",
                                              "I/O Rules Log",
                                              "I/O Rules Matrix"};
constexpr const char* datatype_strings[2] = {"GENERIC_STRING", "NODE_NAME"};

constexpr const char* type_file = "h/logdb_entry_type_enum_translator_auto";
constexpr const char* datatype_file = "h/logdb_entry_datatype_enum_translator_auto";

LOGDB_ENTRY_TYPE_ENUM type_of(int value) {
   return static_cast<LOGDB_ENTRY_TYPE_ENUM>(value);
}

LOGDB_ENTRY_DATATYPE_ENUM datatype_of(int value) {
   return static_cast<LOGDB_ENTRY_DATATYPE_ENUM>(value);
}

std::string in_case(const char* text, int (*convert)(int)) {
   std::string converted;
   for (const char* letter = text; *letter != '\0'; ++letter) {
      converted += static_cast<char>(convert(static_cast<unsigned char>(*letter)));
   }
   return converted;
}

std::string in_mixed_case(const char* text) {
   std::string converted = text;
   for (std::size_t position = 0; position < converted.size(); ++position) {
      const unsigned char letter = static_cast<unsigned char>(converted[position]);
      converted[position] = static_cast<char>(position % 2 == 0 ? std::tolower(letter) : std::toupper(letter));
   }
   return converted;
}

class TRANSLATORS : public HOST_TEST {};

TEST_F(TRANSLATORS, each_entry_kind_has_its_debug_and_user_string) {
   for (int value = 0; value < 8; ++value) {
      EXPECT_STREQ(logdb_get_debug_string(type_of(value)), type_debug_strings[value]);
      EXPECT_STREQ(logdb_get_user_string(type_of(value)), type_user_strings[value]);
   }
   EXPECT_STREQ(logdb_get_debug_string(FSYN_LOG_FILE), "FSYN_LOG_FILE");
   EXPECT_STREQ(logdb_get_user_string(FSYN_LOG_FILE), "Physical Synthesis Log");
   EXPECT_STREQ(logdb_get_user_string(FIT_COMPUTED_DQSBUSMUX_COUNTS), "DQS bux muxes count log.");
}

TEST_F(TRANSLATORS, each_datatype_has_its_name_as_debug_and_user_string) {
   for (int value = 0; value < 2; ++value) {
      EXPECT_STREQ(logdb_get_debug_string(datatype_of(value)), datatype_strings[value]);
      EXPECT_STREQ(logdb_get_user_string(datatype_of(value)), datatype_strings[value]);
   }
}

TEST_F(TRANSLATORS, the_tables_hold_the_strings_in_value_order) {
   for (int value = 0; value < 8; ++value) {
      EXPECT_STREQ(LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_debug_string_table[value], type_debug_strings[value]);
      EXPECT_STREQ(LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_user_string_table[value], type_user_strings[value]);
   }
   for (int value = 0; value < 2; ++value) {
      EXPECT_STREQ(LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_debug_string_table[value], datatype_strings[value]);
      EXPECT_STREQ(LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_user_string_table[value], datatype_strings[value]);
   }
}

TEST_F(TRANSLATORS, the_string_getters_answer_with_the_element_of_the_table) {
   for (int value = 0; value < 8; ++value) {
      EXPECT_EQ(logdb_get_debug_string(type_of(value)),
                LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_debug_string_table[value]);
      EXPECT_EQ(logdb_get_user_string(type_of(value)),
                LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_user_string_table[value]);
   }
   for (int value = 0; value < 2; ++value) {
      EXPECT_EQ(logdb_get_debug_string(datatype_of(value)),
                LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_debug_string_table[value]);
      EXPECT_EQ(logdb_get_user_string(datatype_of(value)),
                LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_user_string_table[value]);
   }
}

TEST_F(TRANSLATORS, the_two_datatype_tables_have_their_own_copies_of_the_texts) {
   const char* const* debug = LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_debug_string_table;
   const char* const* user = LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_user_string_table;
   EXPECT_NE(debug, user);
   EXPECT_NE(debug[0], user[0]);
   EXPECT_NE(debug[1], user[1]);
}

TEST_F(TRANSLATORS, both_strings_of_an_entry_kind_in_any_case_give_it_back) {
   for (int value = 0; value < 8; ++value) {
      for (const char* text : {type_debug_strings[value], type_user_strings[value]}) {
         for (const std::string& written :
              {std::string(text), in_case(text, std::tolower), in_case(text, std::toupper), in_mixed_case(text)}) {
            EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string(written.c_str()), value) << written;
            EXPECT_TRUE(logdb_exists_logdb_entry_type_enum_by_string(written.c_str())) << written;
         }
      }
   }
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string("i/o rules matrix"), IO_RULES_MATRIX);
}

TEST_F(TRANSLATORS, the_name_of_a_datatype_in_any_case_gives_it_back) {
   for (int value = 0; value < 2; ++value) {
      const char* text = datatype_strings[value];
      for (const std::string& written :
           {std::string(text), in_case(text, std::tolower), in_case(text, std::toupper), in_mixed_case(text)}) {
         EXPECT_EQ(logdb_get_logdb_entry_datatype_enum_by_string(written.c_str()), value) << written;
         EXPECT_TRUE(logdb_exists_logdb_entry_datatype_enum_by_string(written.c_str())) << written;
      }
   }
}

TEST_F(TRANSLATORS, texts_are_compared_as_a_whole) {
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string("IO_RULES"), IO_RULES);
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string("IO_RULES_SUMMARY"), IO_RULES_SUMMARY);
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string("IO_RULES_MATRIX"), IO_RULES_MATRIX);
}

TEST_F(TRANSLATORS, a_text_that_differs_in_more_than_case_is_no_entry_kind_and_nothing_is_reported) {
   for (const char* text : {"",
                            " ",
                            "IO_RULE",
                            "IO_RULES_",
                            "IO_RULES ",
                            " IO_RULES",
                            "IO_RULES_SUMMARY_",
                            "IO RULES",
                            "RAM PACKING",
                            "RAM_Packing_log",
                            "RAM Packing log.",
                            "DQS bux muxes count log",
                            "DQS bus muxes count log.",
                            "GENERIC_STRING",
                            "NODE_NAME",
                            "0",
                            "7",
                            "-1",
                            "REGISTER_PACKING,",
                            "REGISTER_PACKING\r"}) {
      EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string(text), -1) << text;
      EXPECT_FALSE(logdb_exists_logdb_entry_type_enum_by_string(text)) << text;
   }
}

TEST_F(TRANSLATORS, a_text_that_differs_in_more_than_case_is_no_datatype_and_nothing_is_reported) {
   for (const char* text :
        {"", "NODE NAME", "NODE_NAM", "NODE_NAME_", "GENERIC", "IO_RULES", "REGISTER_PACKING", "1"}) {
      EXPECT_EQ(logdb_get_logdb_entry_datatype_enum_by_string(text), -1) << text;
      EXPECT_FALSE(logdb_exists_logdb_entry_datatype_enum_by_string(text)) << text;
   }
}

TEST_F(TRANSLATORS, a_null_text_is_nothing) {
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string(nullptr), -1);
   EXPECT_FALSE(logdb_exists_logdb_entry_type_enum_by_string(nullptr));
   EXPECT_EQ(logdb_get_logdb_entry_datatype_enum_by_string(nullptr), -1);
   EXPECT_FALSE(logdb_exists_logdb_entry_datatype_enum_by_string(nullptr));
}

TEST_F(TRANSLATORS, an_illegal_entry_kind_is_reported_and_has_no_text) {
   for (const int value : {8, 9, 1000, INT_MAX, -1, -2, INT_MIN}) {
      EXPECT_STREQ(logdb_get_debug_string(type_of(value)), "") << value;
      EXPECT_EQ(m_host.take_report_texts(type_file),
                std::vector<std::string>{"The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM."})
          << value;
      EXPECT_STREQ(logdb_get_user_string(type_of(value)), "") << value;
      EXPECT_EQ(m_host.take_report_texts(type_file),
                std::vector<std::string>{"The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM."})
          << value;
   }
}

TEST_F(TRANSLATORS, an_illegal_datatype_is_reported_and_has_no_text) {
   for (const int value : {2, 3, 7, INT_MAX, -1, -2, INT_MIN}) {
      EXPECT_STREQ(logdb_get_debug_string(datatype_of(value)), "") << value;
      EXPECT_EQ(m_host.take_report_texts(datatype_file),
                std::vector<std::string>{"The calling function has passed an illegal LOGDB_ENTRY_DATATYPE_ENUM."})
          << value;
      EXPECT_STREQ(logdb_get_user_string(datatype_of(value)), "") << value;
      EXPECT_EQ(m_host.take_report_texts(datatype_file),
                std::vector<std::string>{"The calling function has passed an illegal LOGDB_ENTRY_DATATYPE_ENUM."})
          << value;
   }
}

TEST_F(TRANSLATORS, the_instances_are_one_each) {
   const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR* type_translator = logdb_get_logdb_entry_type_enum_translator_instance();
   const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR* datatype_translator =
       logdb_get_logdb_entry_datatype_enum_translator_instance();
   ASSERT_NE(type_translator, nullptr);
   ASSERT_NE(datatype_translator, nullptr);
   logdb_get_debug_string(RAM_PACKING);
   logdb_exists_logdb_entry_datatype_enum_by_string("x");
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_translator_instance(), type_translator);
   EXPECT_EQ(logdb_get_logdb_entry_datatype_enum_translator_instance(), datatype_translator);
}

TEST_F(TRANSLATORS, the_free_functions_answer_as_the_members_of_the_instance) {
   const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR* types = logdb_get_logdb_entry_type_enum_translator_instance();
   for (int value = 0; value < 8; ++value) {
      EXPECT_EQ(types->get_debug_string(type_of(value)), logdb_get_debug_string(type_of(value)));
      EXPECT_EQ(types->get_user_string(type_of(value)), logdb_get_user_string(type_of(value)));
      EXPECT_EQ(types->get_enum_by_string(type_user_strings[value]), value);
      EXPECT_TRUE(types->exists_enum_by_string(type_debug_strings[value]));
   }
   EXPECT_EQ(types->get_enum_by_string("nothing"), -1);
   EXPECT_FALSE(types->exists_enum_by_string("nothing"));

   const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR* datatypes =
       logdb_get_logdb_entry_datatype_enum_translator_instance();
   for (int value = 0; value < 2; ++value) {
      EXPECT_EQ(datatypes->get_debug_string(datatype_of(value)), logdb_get_debug_string(datatype_of(value)));
      EXPECT_EQ(datatypes->get_user_string(datatype_of(value)), logdb_get_user_string(datatype_of(value)));
      EXPECT_EQ(datatypes->get_enum_by_string(datatype_strings[value]), value);
      EXPECT_TRUE(datatypes->exists_enum_by_string(datatype_strings[value]));
   }
   EXPECT_EQ(datatypes->get_enum_by_string("nothing"), -1);
   EXPECT_FALSE(datatypes->exists_enum_by_string("nothing"));
}

TEST_F(TRANSLATORS, the_hash_of_the_entry_kinds_holds_the_16_constants_themselves) {
   const auto& hash = logdb_get_logdb_entry_type_enum_translator_instance()->m_string_to_enum;
   EXPECT_EQ(hash.m_size, 16u);
   EXPECT_EQ(hash.m_bucket_count, 61u);
   for (int value = 0; value < 8; ++value) {
      const auto debug = hash.find(type_debug_strings[value]);
      ASSERT_NE(debug.m_node, nullptr);
      EXPECT_EQ(debug.m_node->m_key, LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_debug_string_table[value]);
      EXPECT_EQ(debug.m_node->m_data, value);
      const auto user = hash.find(type_user_strings[value]);
      ASSERT_NE(user.m_node, nullptr);
      EXPECT_EQ(user.m_node->m_key, LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_user_string_table[value]);
      EXPECT_EQ(user.m_node->m_data, value);
   }
}

TEST_F(TRANSLATORS, the_hash_of_the_datatypes_holds_the_2_debug_strings_themselves) {
   const auto& hash = logdb_get_logdb_entry_datatype_enum_translator_instance()->m_string_to_enum;
   EXPECT_EQ(hash.m_size, 2u);
   EXPECT_EQ(hash.m_bucket_count, 61u);
   for (int value = 0; value < 2; ++value) {
      const auto found = hash.find(datatype_strings[value]);
      ASSERT_NE(found.m_node, nullptr);
      EXPECT_EQ(found.m_node->m_key, LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_debug_string_table[value]);
      EXPECT_EQ(found.m_node->m_data, value);
   }
}

TEST_F(TRANSLATORS, a_translator_of_the_programs_own_is_complete) {
   const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR types;
   EXPECT_NE(&types, logdb_get_logdb_entry_type_enum_translator_instance());
   EXPECT_EQ(types.m_string_to_enum.m_size, 16u);
   EXPECT_EQ(types.get_enum_by_string("ram packing LOG"), RAM_PACKING);
   EXPECT_STREQ(types.get_user_string(IO_RULES), "I/O Rules Log");

   const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR datatypes;
   EXPECT_NE(&datatypes, logdb_get_logdb_entry_datatype_enum_translator_instance());
   EXPECT_EQ(datatypes.m_string_to_enum.m_size, 2u);
   EXPECT_EQ(datatypes.get_enum_by_string("node_NAME"), NODE_NAME);
   EXPECT_STREQ(datatypes.get_debug_string(GENERIC_STRING), "GENERIC_STRING");
}

TEST_F(TRANSLATORS, a_translator_of_the_programs_own_reports_as_the_instance_does) {
   const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR types;
   EXPECT_STREQ(types.get_debug_string(type_of(8)), "");
   EXPECT_STREQ(types.get_user_string(type_of(-1)), "");
   EXPECT_EQ(m_host.take_report_texts(type_file).size(), 2u);
   const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR datatypes;
   EXPECT_STREQ(datatypes.get_debug_string(datatype_of(2)), "");
   EXPECT_STREQ(datatypes.get_user_string(datatype_of(-1)), "");
   EXPECT_EQ(m_host.take_report_texts(datatype_file).size(), 2u);
}

TEST_F(TRANSLATORS, translating_says_nothing) {
   logdb_get_debug_string(RAM_PACKING);
   logdb_get_logdb_entry_type_enum_by_string("unknown");
   logdb_get_user_string(NODE_NAME);
   EXPECT_TRUE(m_host.take_events().empty());
}

} // namespace
