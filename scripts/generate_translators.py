#!/usr/bin/env python3
"""Writes the translators of the entry enumerations, h/*_translator_auto.{h,cpp}.

    scripts/generate_translators.py            remakes the files in h/
    scripts/generate_translators.py --out DIR  writes them into DIR instead

The enumerations, with the debug string and the user string of each value, are in translators.json beside
this script. A new value goes there, into h/logdb_types.h, and then through this script.
"""

import argparse
import json
import pathlib

HEADER = """\
// Written by scripts/generate_translators.py from scripts/translators.json: do not edit.

#ifndef {upper}_TRANSLATOR_AUTO_H
#define {upper}_TRANSLATOR_AUTO_H

#include "logdb_export.h"
#include "logdb_types.h"
#include "xtl_hash.h"
#include "xtl_hash_ops.h"

/// Turns {upper} values into texts and texts into values. Each value has a debug string, its
/// enumerator's name, and a user string for people to read. Programs use the functions below, which share one
/// object; it does not change once it is made. One thread at a time.
class {upper}_TRANSLATOR {{
public:
   LOGDB_EXPORT {upper}_TRANSLATOR();

   /// The debug string of a value; it belongs to the library and stays. An illegal value is reported ("The
   /// calling function has passed an illegal {upper}."), and the answer is empty.
   LOGDB_EXPORT const char* get_debug_string({upper} value) const;

   /// The user string of a value, in the same way.
   LOGDB_EXPORT const char* get_user_string({upper} value) const;

   /// The value whose debug or user string is the whole text, upper and lower case being the same; -1 when
   /// there is none, and for null.
   LOGDB_EXPORT {upper} get_enum_by_string(const char* text) const;

   /// Whether there is such a value.
   LOGDB_EXPORT bool exists_enum_by_string(const char* text) const;

   /// Both strings of every value.
   XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS> m_string_to_enum;

   LOGDB_EXPORT static const char* const m_debug_string_table[{count}]; ///< by value
   LOGDB_EXPORT static const char* const m_user_string_table[{count}];  ///< by value
}};

/// The one translator, made when it is first asked for and destroyed when the process ends or the library is
/// unloaded. It belongs to the library.
LOGDB_EXPORT {upper}_TRANSLATOR* logdb_get_{lower}_translator_instance();

/// \\name The operations of the one translator
/// @{{
LOGDB_EXPORT const char* logdb_get_debug_string({upper} value);
LOGDB_EXPORT const char* logdb_get_user_string({upper} value);
LOGDB_EXPORT {upper} logdb_get_{lower}_by_string(const char* text);
LOGDB_EXPORT bool logdb_exists_{lower}_by_string(const char* text);
/// @}}

#endif
"""

SOURCE = """\
// Written by scripts/generate_translators.py from scripts/translators.json: do not edit.
// The script lays it out:
// clang-format off

#include "{lower}_translator_auto.h"

#include "msg.h"

namespace {{

constexpr unsigned int last_value = {last};
constexpr unsigned long name_count = {name_count};

// Arrays of their own, because equal literals may share their place and the two tables share nothing.
{arrays}

const char* table_text(const char* const* table, {upper} value) {{
   // Negative values are too large as well.
   if (static_cast<unsigned int>(value) > last_value) {{
      MSG_INTERNAL_ERROR::report("The calling function has passed an illegal {upper}.", "LOGDB",
                                 "h/{lower}_translator_auto", __LINE__);
      return "";
   }}
   return table[value];
}}

// The value of a name; -1 for none. A name that there was no memory for when the names were taken up is in the tables.
int value_of_name(const {upper}_TRANSLATOR& translator, const char* name) {{
   const auto found = translator.m_string_to_enum.find(name);
   if (found != translator.m_string_to_enum.end()) {{
      return found->m_data;
   }}
   if (translator.m_string_to_enum.m_size >= name_count) {{
      return -1;
   }}
   const XTL_CASE_INSENSITIVE_CSTR_OPS names;
   for (int value = 0; value <= static_cast<int>(last_value); ++value) {{
      if (names.equal(translator.m_debug_string_table[value], name) ||
          names.equal(translator.m_user_string_table[value], name)) {{
         return value;
      }}
   }}
   return -1;
}}

}} // namespace

{static_asserts}
const char* const {upper}_TRANSLATOR::m_debug_string_table[{count}] = {{
{debug_strings}
}};

const char* const {upper}_TRANSLATOR::m_user_string_table[{count}] = {{
{user_strings}
}};

{upper}_TRANSLATOR::{upper}_TRANSLATOR() {{
   for (int value = 0; value <= static_cast<int>(last_value); ++value) {{
      m_string_to_enum[m_debug_string_table[value]] = value;
      m_string_to_enum[m_user_string_table[value]] = value;
   }}
}}

const char* {upper}_TRANSLATOR::get_debug_string({upper} value) const {{
   return table_text(m_debug_string_table, value);
}}

const char* {upper}_TRANSLATOR::get_user_string({upper} value) const {{
   return table_text(m_user_string_table, value);
}}

{upper} {upper}_TRANSLATOR::get_enum_by_string(const char* text) const {{
   return static_cast<{upper}>(text != nullptr ? value_of_name(*this, text) : -1);
}}

bool {upper}_TRANSLATOR::exists_enum_by_string(const char* text) const {{
   return text != nullptr && value_of_name(*this, text) >= 0;
}}

{upper}_TRANSLATOR* logdb_get_{lower}_translator_instance() {{
   static {upper}_TRANSLATOR translator;
   return &translator;
}}

const char* logdb_get_debug_string({upper} value) {{
   return logdb_get_{lower}_translator_instance()->get_debug_string(value);
}}

const char* logdb_get_user_string({upper} value) {{
   return logdb_get_{lower}_translator_instance()->get_user_string(value);
}}

{upper} logdb_get_{lower}_by_string(const char* text) {{
   return logdb_get_{lower}_translator_instance()->get_enum_by_string(text);
}}

bool logdb_exists_{lower}_by_string(const char* text) {{
   return logdb_get_{lower}_translator_instance()->exists_enum_by_string(text);
}}
"""


def c_string(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def write_translator(description, out):
    upper = description["enum"]
    lower = upper.lower()
    debug = [value[0] for value in description["values"]]
    user = [value[1] for value in description["values"]]
    fields = {
        "upper": upper,
        "lower": lower,
        "count": len(debug),
        "last": len(debug) - 1,
        "name_count": len({name.lower() for name in debug + user}),
        "static_asserts": "".join(f"static_assert({name} == {value});\n" for value, name in enumerate(debug)),
        "arrays": "\n".join(
            f"constexpr char {table}_string_{value}[] = {c_string(text)};"
            for table, texts in (("debug", debug), ("user", user))
            for value, text in enumerate(texts)
        ),
        "debug_strings": "\n".join(f"    debug_string_{value}," for value in range(len(debug))),
        "user_strings": "\n".join(f"    user_string_{value}," for value in range(len(user))),
    }
    for suffix, template in ((".h", HEADER), (".cpp", SOURCE)):
        path = out / f"{lower}_translator_auto{suffix}"
        path.write_bytes(template.format(**fields).encode("ascii"))


def main():
    scripts = pathlib.Path(__file__).resolve().parent
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--out", type=pathlib.Path, default=scripts.parent / "h", help="folder to write into")
    out = parser.parse_args().out
    for description in json.loads((scripts / "translators.json").read_text(encoding="ascii")):
        write_translator(description, out)


if __name__ == "__main__":
    main()
