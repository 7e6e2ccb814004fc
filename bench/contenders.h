#ifndef CONTENDERS_H
#define CONTENDERS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "floor_log.h"
#include "logdb_fsyn_log_entry.h"

/// \file
/// Who takes part. Each contender does the same useful work: after a load or a read the program owns the rows
/// or records, after a commit they are in the kernel's hands, and after each line of a log that line is.

/// Loads, commits and unloads entries.
class DATABASE_CONTENDER {
public:
   virtual ~DATABASE_CONTENDER() = default;

   /// Makes what load() reads, out of a database file, next to it; nothing for those that read the file
   /// itself. What is there already is used again.
   virtual void prepare(const std::string& /*path*/) {}

   /// Makes the rows that commit() writes, out of a database file.
   virtual void take(const std::string& path) = 0;

   virtual void load(const std::string& path) = 0;
   virtual void commit(const std::string& path) = 0;
   virtual void unload() = 0;

   /// Removes what commit() made.
   virtual void remove(const std::string& path) const;

   /// Whether commit() writes a database file, byte by byte. Else what it writes is loaded to be compared.
   virtual bool writes_database_file() const { return true; }

   /// The rows, in order; see sum_of_rows().
   virtual std::uint64_t sum() const = 0;
};

/// Writes and reads records.
class LOG_CONTENDER {
public:
   using RECORDS = std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>>;

   virtual ~LOG_CONTENDER() = default;

   /// Appends records to a file, so many times over.
   ///
   /// \param lines  the lines of the records, for the one that gets them ready
   virtual void write(const std::string& path, const RECORDS& records, const READY_LINES& lines, int rounds) = 0;

   /// Reads a file and keeps its records.
   virtual void read(const std::string& path) = 0;

   /// Deletes the records that were kept.
   virtual void clear() = 0;

   /// Reads a file and deletes each record before the next.
   ///
   /// \return how many there were
   virtual std::size_t read_and_delete(const std::string& path) = 0;

   /// Copies the records of a file to the end of another.
   virtual void append(const std::string& path, const std::string& from) = 0;

   /// How many records are kept.
   virtual std::size_t size() const = 0;

   /// The records that are kept, in order; see sum_of_lines().
   virtual std::uint64_t sum() const = 0;
};

/// The contenders by name; null for a name that there is not. A "_partition" at the end of a name of the
/// database is the same work with node names relative to a partition.
std::unique_ptr<DATABASE_CONTENDER> make_database_contender(const std::string& name);
std::unique_ptr<LOG_CONTENDER> make_log_contender(const std::string& name);

/// The partition that node names are relative to.
constexpr char BENCH_PARTITION_ROOT[] = "board|chip_0";

/// \name One by one
/// @{
std::unique_ptr<DATABASE_CONTENDER> make_floor_database(const char* root);
std::unique_ptr<DATABASE_CONTENDER> make_library_database(const char* root);
std::unique_ptr<DATABASE_CONTENDER> make_straightforward_database(const char* root);
std::unique_ptr<DATABASE_CONTENDER> make_stdio_database();
std::unique_ptr<DATABASE_CONTENDER> make_sqlite_database();
std::unique_ptr<DATABASE_CONTENDER> make_leveldb_database();
std::unique_ptr<DATABASE_CONTENDER> make_libcsv_database();
std::unique_ptr<LOG_CONTENDER> make_floor_log();
std::unique_ptr<LOG_CONTENDER> make_floor_reuse_log();
std::unique_ptr<LOG_CONTENDER> make_library_log();
std::unique_ptr<LOG_CONTENDER> make_straightforward_log();
std::unique_ptr<LOG_CONTENDER> make_stdio_log();
std::unique_ptr<LOG_CONTENDER> make_spdlog_log();
/// @}

/// The sum over the rows of a database file that every contender must come to (add_row of checksum.h), by a
/// plain loop that no contender shares.
///
/// \param root     null, or the partition root in front of node names
/// \param entries  receives the number of entries
std::uint64_t sum_of_rows(const std::string& path, const char* root, std::size_t& entries);

/// The same over the lines of a log file (CHECKSUM_SINK of record_lines.h).
///
/// \param records  receives the number of records
std::uint64_t sum_of_lines(const std::string& path, std::size_t& records);

#endif
