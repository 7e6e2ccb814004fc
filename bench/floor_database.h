#ifndef FLOOR_DATABASE_H
#define FLOOR_DATABASE_H

#include <cstddef>
#include <string>

#include "floor_memory.h"
#include "logdb_types.h"

/// An entry of the layout of LOGDB_DATABASE_ENTRY.
struct FLOOR_ENTRY {
   LOGDB_ENTRY_TYPE_ENUM m_entry_type;
   FLOOR_LIST<FLOOR_STRING> m_data_vector;
};

/// How much of a load is done.
enum FLOOR_LOAD {
   FLOOR_LOAD_READ, ///< the bytes of the file pass by
   FLOOR_LOAD_SCAN, ///< and their separators are found
   FLOOR_LOAD_ROWS, ///< and rows are built: the whole
};

/// The log database without anything that costs time: no host, no checks, no calls that are not needed. Reads
/// and writes well-formed files alone.
class FLOOR_DATABASE {
public:
   FLOOR_DATABASE();
   ~FLOOR_DATABASE();
   FLOOR_DATABASE(const FLOOR_DATABASE&) = delete;
   FLOOR_DATABASE& operator=(const FLOOR_DATABASE&) = delete;

   /// \param root  null for names as they are; else the partition root that goes in front of node names
   void load(const std::string& path, const char* root, FLOOR_LOAD extent = FLOOR_LOAD_ROWS);

   /// \param root  null for names as they are; else the partition root that is cut off them
   void commit(const std::string& path, const char* root) const;

   void unload();

   /// Forgets the rows and keeps the memory: the next load finds its pages in place.
   void rewind();

   const FLOOR_ENTRY* const* begin() const { return m_list; }
   const FLOOR_ENTRY* const* end() const { return reinterpret_cast<FLOOR_ENTRY* const*>(m_list_region.m_cursor); }

   /// Bytes that rows and list take.
   std::size_t used() const { return m_memory.used() + m_list_region.used(); }

   /// Separators that were found.
   std::size_t separators() const { return m_separators; }

private:
   void reserve(int file);

   FLOOR_MEMORY m_memory;
   FLOOR_REGION m_list_region;
   FLOOR_ENTRY** m_list = nullptr;
   std::size_t m_reserved_for = 0;
   std::size_t m_separators = 0;
   char* m_block;
   char m_front[64];
   std::uint32_t* m_positions;
};

#endif
