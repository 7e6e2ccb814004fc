#ifndef DATABASE_RULES_H
#define DATABASE_RULES_H

#include <string>
#include <string_view>
#include <vector>

#include "logdb.h"

/// \file
/// The rules of the database format once more, as plain as they can be and slow. Where the library differs, one of the
/// two is wrong.

/// One entry: the value of its kind, and its fields.
struct PLAIN_ENTRY {
   int m_type = 0;
   std::vector<std::string> m_fields;

   bool operator==(const PLAIN_ENTRY&) const = default;
};

using PLAIN_ENTRIES = std::vector<PLAIN_ENTRY>;

struct DATABASE_CONTENTS {
   bool m_ok = true;
   PLAIN_ENTRIES m_entries;
};

/// What is written, and the reports about it in order.
struct DATABASE_TEXT {
   std::string m_bytes;
   std::vector<std::string> m_reports;
};

/// What entries of the library hold.
PLAIN_ENTRIES contents_of(const MEM_VECTOR<LOGDB_DATABASE_ENTRY*>& entries);

/// What these bytes mean.
DATABASE_CONTENTS rules_of_reading(std::string_view bytes);

/// What writing these entries gives.
///
/// \param root  the partition root, or null to write names as they are
DATABASE_TEXT rules_of_writing(const PLAIN_ENTRIES& entries, const std::string* root);

/// Puts a root in front of every node name.
void rules_of_prefixing(const std::string& root, PLAIN_ENTRIES& entries);

/// The names of the kinds, debug and user, and a few words that files have.
const std::vector<std::string>& database_words();

#endif
