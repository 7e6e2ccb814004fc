#ifndef STRAIGHTFORWARD_DATABASE_H
#define STRAIGHTFORWARD_DATABASE_H

#include <memory>
#include <string>
#include <vector>

#include "logdb_types.h"

/// The log database as one would write it down first, step after step: getline, a list of tokens, a string a
/// field, operator<<.
namespace straightforward {

struct ENTRY {
   LOGDB_ENTRY_TYPE_ENUM m_kind = static_cast<LOGDB_ENTRY_TYPE_ENUM>(-1);
   std::vector<std::string> m_fields;
};

using ENTRIES = std::vector<std::unique_ptr<ENTRY>>;

/// The kind of a name, or -1.
LOGDB_ENTRY_TYPE_ENUM kind_of(const std::string& name);

/// The name of a kind.
const char* name_of(LOGDB_ENTRY_TYPE_ENUM kind);

/// Whether a field is a node name.
bool is_node_name(LOGDB_ENTRY_TYPE_ENUM kind, std::size_t position);

/// \param root  null for names as they are; else the partition root that goes in front of node names
ENTRIES load(const std::string& path, const char* root);

/// \param root  null for names as they are; else the partition root that is cut off them
void commit(const std::string& path, const ENTRIES& entries, const char* root);

} // namespace straightforward

#endif
