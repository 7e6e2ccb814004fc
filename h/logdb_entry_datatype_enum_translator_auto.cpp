// Written by scripts/generate_translators.py from scripts/translators.json: do not edit.
// The script lays it out:
// clang-format off

#include "logdb_entry_datatype_enum_translator_auto.h"

#include "msg.h"

namespace {

constexpr unsigned int last_value = 1;
constexpr unsigned long name_count = 2;

// Arrays of their own, because equal literals may share their place and the two tables share nothing.
constexpr char debug_string_0[] = "GENERIC_STRING";
constexpr char debug_string_1[] = "NODE_NAME";
constexpr char user_string_0[] = "GENERIC_STRING";
constexpr char user_string_1[] = "NODE_NAME";

const char* table_text(const char* const* table, LOGDB_ENTRY_DATATYPE_ENUM value) {
   // Negative values are too large as well.
   if (static_cast<unsigned int>(value) > last_value) {
      MSG_INTERNAL_ERROR::report("The calling function has passed an illegal LOGDB_ENTRY_DATATYPE_ENUM.", "LOGDB",
                                 "h/logdb_entry_datatype_enum_translator_auto", __LINE__);
      return "";
   }
   return table[value];
}

// The value of a name; -1 for none. A name that there was no memory for when the names were taken up is in the tables.
int value_of_name(const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR& translator, const char* name) {
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

static_assert(GENERIC_STRING == 0);
static_assert(NODE_NAME == 1);

const char* const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_debug_string_table[2] = {
    debug_string_0,
    debug_string_1,
};

const char* const LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::m_user_string_table[2] = {
    user_string_0,
    user_string_1,
};

LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR() {
   for (int value = 0; value <= static_cast<int>(last_value); ++value) {
      m_string_to_enum[m_debug_string_table[value]] = value;
      m_string_to_enum[m_user_string_table[value]] = value;
   }
}

const char* LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::get_debug_string(LOGDB_ENTRY_DATATYPE_ENUM value) const {
   return table_text(m_debug_string_table, value);
}

const char* LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::get_user_string(LOGDB_ENTRY_DATATYPE_ENUM value) const {
   return table_text(m_user_string_table, value);
}

LOGDB_ENTRY_DATATYPE_ENUM LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::get_enum_by_string(const char* text) const {
   return static_cast<LOGDB_ENTRY_DATATYPE_ENUM>(text != nullptr ? value_of_name(*this, text) : -1);
}

bool LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR::exists_enum_by_string(const char* text) const {
   return text != nullptr && value_of_name(*this, text) >= 0;
}

LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR* logdb_get_logdb_entry_datatype_enum_translator_instance() {
   static LOGDB_ENTRY_DATATYPE_ENUM_TRANSLATOR translator;
   return &translator;
}

const char* logdb_get_debug_string(LOGDB_ENTRY_DATATYPE_ENUM value) {
   return logdb_get_logdb_entry_datatype_enum_translator_instance()->get_debug_string(value);
}

const char* logdb_get_user_string(LOGDB_ENTRY_DATATYPE_ENUM value) {
   return logdb_get_logdb_entry_datatype_enum_translator_instance()->get_user_string(value);
}

LOGDB_ENTRY_DATATYPE_ENUM logdb_get_logdb_entry_datatype_enum_by_string(const char* text) {
   return logdb_get_logdb_entry_datatype_enum_translator_instance()->get_enum_by_string(text);
}

bool logdb_exists_logdb_entry_datatype_enum_by_string(const char* text) {
   return logdb_get_logdb_entry_datatype_enum_translator_instance()->exists_enum_by_string(text);
}
