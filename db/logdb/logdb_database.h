#ifndef LOGDB_DATABASE_H
#define LOGDB_DATABASE_H

#include <iosfwd>

#include "logdb.h"
#include "xtl_tokenizer.h"

/// What a LOGDB_DATABASE does. Everything is public to the sources and tests of this tree; nothing is exported.
///
/// The stream operations work on any stream. They neither open, close nor flush it. The readers leave it in the
/// state and at the position in which std::istream::getline would; its gcount is unspecified. The writers do not
/// look at its state.
class LOGDB_DATABASE_IMPL {
public:
   LOGDB_DATABASE_IMPL();
   ~LOGDB_DATABASE_IMPL();
   LOGDB_DATABASE_IMPL(const LOGDB_DATABASE_IMPL&) = delete;
   LOGDB_DATABASE_IMPL& operator=(const LOGDB_DATABASE_IMPL&) = delete;

   /// Destroys every entry, first to last, and releases the list's storage.
   void delete_database();

   /// \name Entries: as the operations of LOGDB_DATABASE
   /// @{
   int get_number_of_entries() const;
   const LOGDB_DATABASE_ENTRY* get_entry(int index) const;
   LOGDB_DATABASE_ENTRY* add_entry(const LOGDB_DATABASE_ENTRY* new_entry);
   LOGDB_DATABASE_ENTRY* replace_entry(int index, const LOGDB_DATABASE_ENTRY* new_entry);
   /// @}

   /// \name Files: as the operations of LOGDB_DATABASE
   /// @{
   static const char* logdb_type_to_dbm_type(LOGDB_DB_TYPE db_type);
   static void make_db_filename(const char* revision_name, LOGDB_DB_TYPE db_type, MEM_STRING* out);
   static void make_db_extension(LOGDB_DB_TYPE db_type, MEM_STRING* out);
   static void copy_database_file(const char* revision_name, LOGDB_DB_TYPE from_type, LOGDB_DB_TYPE to_type);
   static void delete_database_file(const char* revision_name, LOGDB_DB_TYPE db_type);
   /// @}

   /// \name Writing
   /// @{

   /// One field: the bytes, then the separator. A field with a separator in it is reported, and written.
   void write_string(std::ostream* out, const MEM_STRING& s) const;

   /// The kind's debug string, as a field. An illegal kind is reported and written as an empty field.
   void write_enum(std::ostream* out, LOGDB_ENTRY_TYPE_ENUM type) const;

   /// One line: the kind, the fields, a line feed.
   void write_entry(std::ostream* out, const LOGDB_DATABASE_ENTRY* entry) const;

   /// A whole file: the version line, then a line an entry.
   void write_database(std::ostream* out) const;

   /// The same with node names relative to a partition root.
   void write_database_without_partition_hpath(std::ostream* out, const MEM_STRING& partition_root) const;

   /// One line with node names relative to a partition root. A name outside the partition is reported and left
   /// out, separator included.
   ///
   /// \param scratch  overwritten
   void write_entry_without_partition_hpath(std::ostream* out, const LOGDB_DATABASE_ENTRY* entry,
                                            const MEM_STRING& partition_root, MEM_STRING* scratch) const;

   /// @}
   /// \name Reading
   /// @{

   /// One line, without its line feed, up to its first zero byte.
   ///
   /// \return true when a whole line of at most 32767 bytes was read; else the stream is no longer good, and
   ///         line has what was read of it
   bool read_line(std::istream* in, MEM_STRING* line);

   /// One entry. When no line can be read, the entry has the kind -1 and no fields, and the answer is false. A
   /// line without any piece leaves the kind as it was.
   bool read_entry(std::istream* in, LOGDB_DATABASE_ENTRY* entry);

   /// A whole file in place of what the list held.
   ///
   /// \return false when a line could not be read; the entries in front of it are in the list
   bool read_database(std::istream* in);

   /// The lines of a file, added to the list.
   bool read_lines(std::istream* in);

   /// Puts the root and a "|" in front of every node name of every entry. Null counts as empty.
   void prepend_partition_hpath(const char* partition_root);

   /// The same for one entry.
   void prepend_partition_hpath_to_entry(const MEM_STRING& partition_root, LOGDB_DATABASE_ENTRY* entry);

   /// @}

   MEM_VECTOR<LOGDB_DATABASE_ENTRY*> m_entry_vector; ///< the entries, owned, never null
   XTL_TOKENIZER m_tokenizer;                        ///< splits entry lines
   MEM_STRING m_hpath_buffer;                        ///< where prefixed names are built
};

#endif
