#ifndef PEER_ROWS_H
#define PEER_ROWS_H

#include <string>
#include <string_view>
#include <vector>

#include "checksum.h"
#include "contenders.h"
#include "straightforward/database.h"

/// What the peers of the database have in common: rows with a string a field, built with as few allocations
/// as strings and vectors allow.
class PEER_DATABASE : public DATABASE_CONTENDER {
public:
   void unload() override { std::vector<straightforward::ENTRY>().swap(m_rows); }

   std::uint64_t sum() const override {
      CHECKSUM sum;
      for (const straightforward::ENTRY& row : m_rows) {
         add_row(sum, row.m_kind, row.m_fields);
      }
      return sum.value();
   }

protected:
   std::vector<straightforward::ENTRY> m_rows;
};

/// The kind of a name, or -1.
inline LOGDB_ENTRY_TYPE_ENUM peer_kind_of(std::string_view name) {
   for (int kind = 0; kind < 8; ++kind) {
      if (name == straightforward::name_of(static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind))) {
         return static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind);
      }
   }
   return static_cast<LOGDB_ENTRY_TYPE_ENUM>(-1);
}

/// Reads a database file into rows line by line with the C library.
void read_rows(const std::string& path, std::vector<straightforward::ENTRY>& rows);

#endif
