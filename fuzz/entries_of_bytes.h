#ifndef ENTRIES_OF_BYTES_H
#define ENTRIES_OF_BYTES_H

#include "database_rules.h"
#include "fuzz_support.h"

/// Entries made of an input: the kind, how many fields, the fields.
inline PLAIN_ENTRIES entries_of_bytes(FUZZ_BYTES& bytes) {
   PLAIN_ENTRIES entries;
   while (!bytes.is_empty()) {
      PLAIN_ENTRY entry;
      const std::uint8_t head = bytes.byte();
      // Mostly one of the eight kinds; now and then any number.
      entry.m_type = head < 240 ? head % 8 : static_cast<int>(bytes.number(4));
      for (std::size_t fields = bytes.byte() % 12; fields != 0; --fields) {
         const MEM_STRING field = bytes.text();
         entry.m_fields.emplace_back(field.data(), field.size());
      }
      entries.push_back(entry);
   }
   return entries;
}

/// The same for the library.
inline LOGDB_DATABASE_ENTRY library_entry(const PLAIN_ENTRY& plain) {
   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = static_cast<LOGDB_ENTRY_TYPE_ENUM>(plain.m_type);
   for (const std::string& field : plain.m_fields) {
      entry.m_data_vector.emplace_back(field.data(), field.size());
   }
   return entry;
}

#endif
