// Written by scripts/generate_translators.py from scripts/translators.json: do not edit.
// The script lays it out:
// clang-format off

#include "logdb_entry_type_enum_translator_auto.h"

#include "msg.h"

namespace {

constexpr unsigned int last_value = 7;
constexpr unsigned long name_count = 16;

// Arrays of their own, because equal literals may share their place and the two tables share nothing.
constexpr char debug_string_0[] = "DSP_BALANCING_IMPLEMENTATION";
constexpr char debug_string_1[] = "REGISTER_PACKING";
constexpr char debug_string_2[] = "RAM_PACKING";
constexpr char debug_string_3[] = "FIT_COMPUTED_DQSBUSMUX_COUNTS";
constexpr char debug_string_4[] = "FSYN_LOG_FILE";
constexpr char debug_string_5[] = "IO_RULES_SUMMARY";
constexpr char debug_string_6[] = "IO_RULES";
constexpr char debug_string_7[] = "IO_RULES_MATRIX";
constexpr char user_string_0[] = "DSP Block Balancing Implementation";
constexpr char user_string_1[] = "Register Packing log";
constexpr char user_string_2[] = "RAM Packing log";
constexpr char user_string_3[] = "DQS bux muxes count log.";
constexpr char user_string_4[] = "Physical Synthesis Log";
constexpr char user_string_5[] = "I/O Rules Summary";
constexpr char user_string_6[] = "I/O Rules Log";
constexpr char user_string_7[] = "I/O Rules Matrix";

const char* table_text(const char* const* table, LOGDB_ENTRY_TYPE_ENUM value) {
   // Negative values are too large as well.
   if (static_cast<unsigned int>(value) > last_value) {
      MSG_INTERNAL_ERROR::report("The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.", "LOGDB",
                                 "h/logdb_entry_type_enum_translator_auto", __LINE__);
      return "";
   }
   return table[value];
}

// The value of a name; -1 for none. A name that there was no memory for when the names were taken up is in the tables.
int value_of_name(const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR& translator, const char* name) {
   const auto found = translator.m_string_to_enum.find(name);
   if (found != translator.m_string_to_enum.end()) {
      return found->m_data;
   }
   if (translator.m_string_to_enum.m_size >= name_count) {
      return -1;
   }
   const XTL_CASE_INSENSITIVE_CSTR_OPS names;
   for (int value = 0; value <= static_cast<int>(last_value); ++value) {
      if (names.equal(translator.m_debug_string_table[value], name) ||
          names.equal(translator.m_user_string_table[value], name)) {
         return value;
      }
   }
   return -1;
}

} // namespace

static_assert(DSP_BALANCING_IMPLEMENTATION == 0);
static_assert(REGISTER_PACKING == 1);
static_assert(RAM_PACKING == 2);
static_assert(FIT_COMPUTED_DQSBUSMUX_COUNTS == 3);
static_assert(FSYN_LOG_FILE == 4);
static_assert(IO_RULES_SUMMARY == 5);
static_assert(IO_RULES == 6);
static_assert(IO_RULES_MATRIX == 7);

const char* const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_debug_string_table[8] = {
    debug_string_0,
    debug_string_1,
    debug_string_2,
    debug_string_3,
    debug_string_4,
    debug_string_5,
    debug_string_6,
    debug_string_7,
};

const char* const LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::m_user_string_table[8] = {
    user_string_0,
    user_string_1,
    user_string_2,
    user_string_3,
    user_string_4,
    user_string_5,
    user_string_6,
    user_string_7,
};

LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR() {
   for (int value = 0; value <= static_cast<int>(last_value); ++value) {
      m_string_to_enum[m_debug_string_table[value]] = value;
      m_string_to_enum[m_user_string_table[value]] = value;
   }
}

const char* LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::get_debug_string(LOGDB_ENTRY_TYPE_ENUM value) const {
   return table_text(m_debug_string_table, value);
}

const char* LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::get_user_string(LOGDB_ENTRY_TYPE_ENUM value) const {
   return table_text(m_user_string_table, value);
}

LOGDB_ENTRY_TYPE_ENUM LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::get_enum_by_string(const char* text) const {
   return static_cast<LOGDB_ENTRY_TYPE_ENUM>(text != nullptr ? value_of_name(*this, text) : -1);
}

bool LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR::exists_enum_by_string(const char* text) const {
   return text != nullptr && value_of_name(*this, text) >= 0;
}

LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR* logdb_get_logdb_entry_type_enum_translator_instance() {
   static LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR translator;
   return &translator;
}

const char* logdb_get_debug_string(LOGDB_ENTRY_TYPE_ENUM value) {
   return logdb_get_logdb_entry_type_enum_translator_instance()->get_debug_string(value);
}

const char* logdb_get_user_string(LOGDB_ENTRY_TYPE_ENUM value) {
   return logdb_get_logdb_entry_type_enum_translator_instance()->get_user_string(value);
}

LOGDB_ENTRY_TYPE_ENUM logdb_get_logdb_entry_type_enum_by_string(const char* text) {
   return logdb_get_logdb_entry_type_enum_translator_instance()->get_enum_by_string(text);
}

bool logdb_exists_logdb_entry_type_enum_by_string(const char* text) {
   return logdb_get_logdb_entry_type_enum_translator_instance()->exists_enum_by_string(text);
}
