#ifndef LOGDB_DATABASE_MODEL_H
#define LOGDB_DATABASE_MODEL_H

#include <string>
#include <vector>

#include "logdb_database_fixture.h"

/// \file
/// A second reader of the database file, as plain as it can be and slow. Where the library and this model differ, one of
/// the two is wrong about the format.

/// The names of the kinds in a file.
extern const char* const model_kind_names[8];

/// What a program sees that loads a file.
struct MODEL_READ {
   bool m_ok = true; ///< whether no failure is reported
   std::vector<PLAIN_ENTRY> m_entries;
};

/// What these bytes are as a file.
MODEL_READ model_of_load(std::string bytes);

#endif
