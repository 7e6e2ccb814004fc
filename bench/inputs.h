#ifndef INPUTS_H
#define INPUTS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A database file and what is in it.
struct DATABASE_INPUT {
   std::string m_path;
   std::size_t m_entries = 0;
   std::uint64_t m_sum = 0;           ///< see sum_of_rows()
   std::uint64_t m_partition_sum = 0; ///< with BENCH_PARTITION_ROOT in front of node names
};

/// A log file and what is in it.
struct LOG_INPUT {
   std::string m_path;
   std::size_t m_records = 0;
   std::uint64_t m_sum = 0; ///< see sum_of_lines()
};

/// The files that the benchmarks read, each made when it is first asked for, in a directory of their own
/// under TMPDIR. A name is a number, and then the file is generated; or it is a design of the directory that
/// LOGDB_BENCH_DATA says.
class INPUTS {
public:
   INPUTS();
   ~INPUTS();
   INPUTS(const INPUTS&) = delete;
   INPUTS& operator=(const INPUTS&) = delete;

   const DATABASE_INPUT& database(const std::string& name);
   const LOG_INPUT& log(const std::string& name);

   /// The names in LOGDB_BENCH_DATA of files that end so (".logdb"), packed with gzip or not; none by
   /// default.
   static std::vector<std::string> given(const std::string& suffix);

   /// Where a benchmark may write a database, and a log.
   std::string database_output() const;
   std::string log_output() const;

   const std::string& directory() const { return m_directory; }

private:
   std::string m_directory;
   std::map<std::string, DATABASE_INPUT> m_databases;
   std::map<std::string, LOG_INPUT> m_logs;
};

/// Drops a file from the page cache.
///
/// \return whether nothing of it is left there; never so for a file that lives in memory
bool drop_from_page_cache(const std::string& path);

/// What a directory is on: "ext4", "tmpfs" ...
std::string file_system_of(const std::string& directory);

/// Whether a file holds the bytes of a text so many times over.
bool holds(const std::string& path, const std::string& text, int rounds);

/// Whether two files hold the same bytes.
bool same_bytes(const std::string& path, const std::string& expected);

#endif
