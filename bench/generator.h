#ifndef GENERATOR_H
#define GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "logdb.h"
#include "logdb_fsyn_log_entry.h"

/// \file
/// Logs as a compile of a large design leaves them, made from a fixed seed: the same on every machine, of any
/// size, and the first n of a larger log are the log of size n.

/// Numbers that look random.
class RANDOM {
public:
   explicit RANDOM(std::uint64_t seed) : m_state(seed) {}

   std::uint64_t next();

   /// A number from 0 up to, and not including, a limit.
   unsigned int below(unsigned int limit) { return static_cast<unsigned int>((next() >> 32U) * limit >> 32U); }

   bool percent(unsigned int chance) { return below(100) < chance; }

private:
   std::uint64_t m_state;
};

/// Hierarchical node names of 30 to 90 bytes, their levels separated by "|": about 40 bytes on average, few
/// long ones.
class NODE_NAMES {
public:
   NODE_NAMES();

   /// Replaces a string with a name, one of some millions.
   void make(RANDOM& random, std::string& name) const;

private:
   std::vector<std::string> m_instances;
};

/// Entries of a log database: mostly REGISTER_PACKING, the other kinds as seldom as a fitter writes them;
/// five fields and 110 bytes a line on average.
class ENTRY_GENERATOR {
public:
   ENTRY_GENERATOR();

   /// Makes the next entry, which is then in m_kind and m_fields.
   void next();

   LOGDB_ENTRY_TYPE_ENUM m_kind = DSP_BALANCING_IMPLEMENTATION;
   std::vector<std::string> m_fields;

private:
   void add(const std::string& field) { m_fields.push_back(field); }
   void add_name();
   void make_register_packing();
   void make_ram_packing();
   void make_io_rules();
   void make_io_rules_matrix();

   RANDOM m_random;
   NODE_NAMES m_names;
};

/// Records of a physical-synthesis log: every kind but SET_INSTANCE_NAME, as often as an optimiser writes
/// them; a bit less than four lines a record.
class RECORD_GENERATOR {
public:
   RECORD_GENERATOR();

   std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> next();

private:
   LOGDB_FSYN_LOG_ENTRY_TYPE next_kind();
   void make_name(MEM_STRING& name);
   void add_names(MEM_VECTOR<MEM_STRING>& names, unsigned int count);
   template <class RECORD> void make_terminal(RECORD& record);
   template <class RECORD> void make_setting(RECORD& record);
   void make_connections(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION& record, unsigned int inputs);
   void make_ram_connections(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM& record);
   void make_node_info(LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO& record);
   void make_clock_buffer(LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF& record);
   void fill(LOGDB_FSYN_LOG_ENTRY& record);

   RANDOM m_random;
   NODE_NAMES m_names;
   std::string m_name;
   bool m_first = true;
};

/// A record of a kind, as its constructor leaves it.
std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> make_record(LOGDB_FSYN_LOG_ENTRY_TYPE kind);

/// The first entries, in memory.
std::vector<LOGDB_DATABASE_ENTRY> generate_entries(std::size_t count);

/// The first entries, as a database file.
void generate_database_file(const std::string& path, std::size_t count);

/// The first records, in memory.
std::vector<std::unique_ptr<LOGDB_FSYN_LOG_ENTRY>> generate_records(std::size_t count);

/// The first records, as a log file.
void generate_log_file(const std::string& path, std::size_t count);

#endif
