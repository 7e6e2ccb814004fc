// Written by scripts/generate_translators.py from scripts/translators.json: do not edit.

#ifndef LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR_AUTO_H
#define LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR_AUTO_H

#include "logdb_export.h"
#include "logdb_types.h"
#include "xtl_hash.h"
#include "xtl_hash_ops.h"

/// Turns LOGDB_ENTRY_TYPE_ENUM values into texts and texts into values. Each value has a debug string, its
/// enumerator's name, and a user string for people to read. Programs use the functions below, which share one
/// object; it does not change once it is made. One thread at a time.
class LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR {
public:
   LOGDB_EXPORT LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR();

   /// The debug string of a value; it belongs to the library and stays. An illegal value is reported ("The
   /// calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM."), and the answer is empty.
   LOGDB_EXPORT const char* get_debug_string(LOGDB_ENTRY_TYPE_ENUM value) const;

   /// The user string of a value, in the same way.
   LOGDB_EXPORT const char* get_user_string(LOGDB_ENTRY_TYPE_ENUM value) const;

   /// The value whose debug or user string is the whole text, upper and lower case being the same; -1 when
   /// there is none, and for null.
   LOGDB_EXPORT LOGDB_ENTRY_TYPE_ENUM get_enum_by_string(const char* text) const;

   /// Whether there is such a value.
   LOGDB_EXPORT bool exists_enum_by_string(const char* text) const;

   /// Both strings of every value.
   XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS> m_string_to_enum;

   LOGDB_EXPORT static const char* const m_debug_string_table[8]; ///< by value
   LOGDB_EXPORT static const char* const m_user_string_table[8];  ///< by value
};

/// The one translator, made when it is first asked for and destroyed when the process ends or the library is
/// unloaded. It belongs to the library.
LOGDB_EXPORT LOGDB_ENTRY_TYPE_ENUM_TRANSLATOR* logdb_get_logdb_entry_type_enum_translator_instance();

/// \name The operations of the one translator
/// @{
LOGDB_EXPORT const char* logdb_get_debug_string(LOGDB_ENTRY_TYPE_ENUM value);
LOGDB_EXPORT const char* logdb_get_user_string(LOGDB_ENTRY_TYPE_ENUM value);
LOGDB_EXPORT LOGDB_ENTRY_TYPE_ENUM logdb_get_logdb_entry_type_enum_by_string(const char* text);
LOGDB_EXPORT bool logdb_exists_logdb_entry_type_enum_by_string(const char* text);
/// @}

#endif
