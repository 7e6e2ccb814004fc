#ifndef LOGDB_H
#define LOGDB_H

#include "logdb_entry_datatype_enum_translator_auto.h"
#include "logdb_entry_type_enum_translator_auto.h"
#include "logdb_export.h"
#include "logdb_types.h"
#include "mem_alloc_sys.h"

/// \file
/// The log database: an ordered list of typed entries that a compile stage keeps of its decisions, so that a
/// later run reports or repeats them. It lives in one text file beside the project database of a revision.
///
///     LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
///     LOGDB_DATABASE::load_database();                // what an earlier run committed, or empty
///
///     LOGDB_DATABASE_ENTRY entry;
///     entry.m_entry_type = REGISTER_PACKING;
///     entry.m_data_vector = {"PACKED", "only fan-out", "LUT_FEEDS_REGISTER", "top|u1|q", "top|u1|d~0"};
///     LOGDB_DATABASE::get_database()->add_entry(&entry);
///
///     LOGDB_DATABASE::commit_database();              // the file now holds the entry
///     LOGDB_DATABASE::unload_database();
///
/// A process works with one loaded database at a time, from one thread at a time. Nothing here throws on its
/// own account. A condition that should hold and does not is reported to the host (MSG_INTERNAL_ERROR::report)
/// with the domain "LOGDB"; when the report returns, the operation goes on as described. Progress and trouble
/// with files go to the host's debug messages.

class LOGDB_DATABASE_IMPL;

/// One entry: a kind and its fields. Copies are deep; two entries share nothing.
struct LOGDB_DATABASE_ENTRY {
   /// The kind. -1 for an entry whose kind's name in a file is unknown.
   LOGDB_ENTRY_TYPE_ENUM m_entry_type = DSP_BALANCING_IMPLEMENTATION;

   /// The fields, in order: any bytes, any number, empty ones included. What a file cannot carry: a field that
   /// holds a comma is reported when it is written and reads back as several; a line feed or a zero byte cuts
   /// the line; a line of more than 32767 bytes does not read back.
   MEM_VECTOR<MEM_STRING> m_data_vector;
};

/// What the fields of one entry kind hold.
struct LOGDB_DATA_FORMAT_INFO {
   unsigned int m_num_fields;                    ///< positions that have a datatype
   const LOGDB_ENTRY_DATATYPE_ENUM* m_datatypes; ///< the datatype of each, never null
};

/// The datatypes of each kind by field position. They tell which fields are node names; they do not limit how
/// many fields an entry has.
/// @{
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_DSP_BALANCING_IMPLEMENTATION_DATA_FORMAT[2];
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_REGISTER_PACKING_DATA_FORMAT[5];
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_RAM_PACKING_DATA_FORMAT[9];
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_FIT_COMPUTED_DQSBUSMUX_COUNTS_FORMAT[2];
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOG_FSYN_LOG_FILE_FORMAT[1]; ///< spelled so since ever
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_IO_RULES_SUMMARY_FORMAT[2];
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_IO_RULES_FORMAT[6];
extern LOGDB_EXPORT const LOGDB_ENTRY_DATATYPE_ENUM LOGDB_IO_RULES_MATRIX_FORMAT[2];

/// The above, indexed by LOGDB_ENTRY_TYPE_ENUM.
extern LOGDB_EXPORT const LOGDB_DATA_FORMAT_INFO LOGDB_DATA_FORMAT[8];
/// @}

/// What separates and ends the fields in a database file: ",".
extern LOGDB_EXPORT const char LOGDB_DATABASE_FIELD_SEPARATOR[2];

/// The state of the process.
/// @{
extern LOGDB_EXPORT MEM_STRING logdb_revision_name; ///< the revision that initialize was given; empty at first
extern LOGDB_EXPORT LOGDB_DB_TYPE logdb_db_type;    ///< the kind that it was given; LOGDB_DB_TYPE_NONE at first

/// The name of the file that load_database(file_name, partition_root) loaded, else empty. A name of 1024 bytes
/// or more fills the array with its first 1024, and no zero byte ends it: bound every read.
extern LOGDB_EXPORT char logdb_filename_singleton[1024];
/// @}

/// Sends one line to the host's debug messages, in the domain "LOGDB".
///
/// \param format  a printf format, followed by its arguments; no line feed at the end
/// \return what the host answers: whether the line was printed
LOGDB_EXPORT bool logdb_msg_debug(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// A log database. Programs work on the loaded one, get_database(); they may also make their own, which hold
/// entries like any other but are never loaded, committed or unloaded.
class LOGDB_DATABASE {
public:
   /// \name The loaded database
   /// @{

   /// Sets the revision and the kind that the process works on. Nothing is checked; a loaded database stays
   /// loaded, and what follows uses the new names.
   ///
   /// \param revision_name  copied; null counts as empty
   /// \param db_type        LOGDB_DB_TYPE_NONE makes the process uninitialised again
   LOGDB_EXPORT static void initialize(const char* revision_name, LOGDB_DB_TYPE db_type);

   /// Loads the database of the revision and kind. When a database is loaded already, nothing happens: the
   /// file is not read again. When the file does not exist, the database is loaded empty.
   ///
   /// Reports: "LOGDB has not been initialized with the revision name and db_type.", and then "unknown
   /// logdb_db_type"; "Failed reading log-db file", and then the database is loaded with the entries in front of
   /// the line that could not be read.
   LOGDB_EXPORT static void load_database();

   /// Loads a named file and puts a partition root and "|" in front of every node name in it.
   ///
   /// When a database is loaded already, nothing is read; a name other than the loaded one's is reported
   /// ("Logdb load_database can not called when a different database is already loaded."). Only a file that
   /// was read successfully counts as loaded by name, and only with a name of at most 1024 bytes: after any
   /// other, and after load_database(), every name but the empty one is a different one.
   ///
   /// \param file_name       the file; when it does not exist, the database is loaded empty. Null counts as
   ///                        empty
   /// \param partition_root  may be empty, and then names get a leading "|". Null is reported ("partition_root
   ///                        != 0") and counts as empty
   ///
   /// Reports besides: as load_database(). After a failed read no name is changed.
   LOGDB_EXPORT static void load_database(const char* file_name, const char* partition_root);

   /// Writes the loaded database to the file of the revision and kind as initialize set them last, replacing
   /// the file. The database stays loaded, unchanged.
   ///
   /// Reports: "Commiting logdb database when database is not loaded", and then no file is touched; "LOGDB has
   /// not bee initialized with the revision name and db_type.", and then "unknown logdb_db_type". A field with
   /// a comma in it is reported too ("log database write failed: string has field separator character"), and
   /// written. A file that cannot be opened, written or closed is not reported.
   LOGDB_EXPORT static void commit_database();

   /// Writes the loaded database to a named file, its node names relative to a partition: the root, and a "|"
   /// that follows it, is cut off in front.
   ///
   /// The test is on bytes: to the root "top|u1" the name "top|u1x|n" belongs too, and "x|n" is written. A node
   /// name that does not begin with the root, or is no longer than it, is reported ("Detected node %s is not
   /// part of partition %s.") and left out of its line, and the fields behind it move up by one.
   ///
   /// \param file_name       the file, replaced. Null counts as empty
   /// \param partition_root  the root without a "|" at its end; it may be empty. Null counts as empty
   ///
   /// Reports besides: as commit_database().
   LOGDB_EXPORT static void commit_database(const char* file_name, const char* partition_root);

   /// Destroys the loaded database, if any, with its entries; every pointer into it is dead. The revision and
   /// kind stay.
   LOGDB_EXPORT static void unload_database();

   /// The loaded database, or null. It belongs to the library, until unload_database().
   LOGDB_EXPORT static LOGDB_DATABASE* get_database();

   /// @}
   /// \name Kinds
   /// @{

   /// Whether entries of a kind survive a post-fit pass. The library itself does not ask. An unknown kind is
   /// reported ("Unsupported LOGDB_ENTRY_TYPE"), and the answer is false.
   LOGDB_EXPORT static bool should_preserve_postfit_entries(LOGDB_ENTRY_TYPE_ENUM entry_type);

   /// The datatype of a field.
   ///
   /// \param type      an entry kind
   /// \param position  a field position, from 0
   /// \return the datatype, or -1 for a position that has none and for every position of an unknown kind
   LOGDB_EXPORT static LOGDB_ENTRY_DATATYPE_ENUM get_enum_datatype_by_vec_position(LOGDB_ENTRY_TYPE_ENUM type,
                                                                                   unsigned int position);

   /// @}
   /// \name Files
   /// These take the revision as an argument, and neither look at the loaded database nor change it.
   /// @{

   /// The host's database type name of a kind (DBM_TYPE_MAP ...). An unknown kind is reported ("unknown
   /// logdb_db_type"), and the answer is null.
   LOGDB_EXPORT static const char* logdb_type_to_dbm_type(LOGDB_DB_TYPE db_type);

   /// The name of a database file: the project database file of the revision and kind, then ".logdb".
   ///
   /// \param revision_name  null counts as empty
   /// \param out            receives the name; unchanged for an unknown kind, which is reported ("unknown
   ///                       logdb_db_type")
   LOGDB_EXPORT static void make_db_filename(const char* revision_name, LOGDB_DB_TYPE db_type, MEM_STRING* out);

   /// What the file names of a kind end in: the kind's database type name, then ".logdb"; no dot in front.
   ///
   /// \param out  receives the extension; unchanged for an unknown kind, which is reported ("unknown
   ///             logdb_db_type")
   LOGDB_EXPORT static void make_db_extension(LOGDB_DB_TYPE db_type, MEM_STRING* out);

   /// Copies the database file of one kind to that of another, replacing it. When there is none to copy,
   /// no file changes, and the message of a copy is sent all the same. A copy that fails is reported ("failed copying
   /// logdb file").
   LOGDB_EXPORT static void copy_database_file(const char* revision_name, LOGDB_DB_TYPE from_type,
                                               LOGDB_DB_TYPE to_type);

   /// Deletes a database file, if it is there.
   LOGDB_EXPORT static void delete_database_file(const char* revision_name, LOGDB_DB_TYPE db_type);

   /// @}

   /// An empty database.
   LOGDB_EXPORT LOGDB_DATABASE();
   LOGDB_EXPORT ~LOGDB_DATABASE();
   LOGDB_DATABASE(const LOGDB_DATABASE&) = delete;
   LOGDB_DATABASE& operator=(const LOGDB_DATABASE&) = delete;

   /// \name Entries
   /// The database owns its entries. A pointer to one is good until that entry is replaced or the database is
   /// destroyed (the loaded one: unloaded). An index outside the list is reported ("index >= 0 && index <
   /// static_cast<int>(m_entry_vector.size())"), a null entry too ("new_entry != 0"); the list then stays as it
   /// is, and the answer is null.
   /// @{

   /// The number of entries.
   LOGDB_EXPORT int get_number_of_entries() const;

   /// The entry at an index, from 0, in the order in which they were added.
   LOGDB_EXPORT const LOGDB_DATABASE_ENTRY* get_entry(int index) const;

   /// Adds a copy of an entry at the end. The argument stays the caller's.
   ///
   /// \return the copy
   LOGDB_EXPORT LOGDB_DATABASE_ENTRY* add_entry(const LOGDB_DATABASE_ENTRY* new_entry);

   /// Puts a copy of an entry in the place of another, which is destroyed. The argument may be the very entry
   /// that is replaced.
   ///
   /// \return the copy
   LOGDB_EXPORT LOGDB_DATABASE_ENTRY* replace_entry(int index, const LOGDB_DATABASE_ENTRY* new_entry);

   /// @}

private:
   static LOGDB_DATABASE_IMPL* make_loaded_database();

   LOGDB_DATABASE_IMPL* m_impl;
};

#endif
