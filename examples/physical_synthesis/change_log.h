#ifndef CHANGE_LOG_H
#define CHANGE_LOG_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "logdb_fsyn_log_file.h"
#include "netlist.h"
#include "record_meaning.h"

/// One input and the net that it is to be connected to; null opens it.
struct CONNECTION {
   int m_type = 0;
   int m_index = 0;
   const NET* m_net = nullptr;
};

/// The only way in which the optimiser changes its netlist: each operation makes a record, carries it out
/// with apply_record(), as a replay will, and writes it. What is not in the log cannot have happened.
class CHANGE_LOG {
public:
   /// Begins a log; a file of that name is replaced.
   ///
   /// \param file_name  taken as it is
   /// \throw NETLIST_ERROR  the file cannot be written
   CHANGE_LOG(NETLIST& netlist, const std::string& file_name);

   const NETLIST& netlist() const { return m_netlist; }

   /// The records so far, by kind.
   const std::map<LOGDB_FSYN_LOG_ENTRY_TYPE, int>& counts() const { return m_counts; }

   /// \name Marks
   /// @{
   void begin_pre_placement();
   void begin_post_placement();
   void end();
   /// @}

   /// \name LUTs and connections
   /// @{

   /// A new function together with the connections for which it is meant.
   void change_lut(const ATOM& lut, std::uint64_t mask, const std::vector<CONNECTION>& connections);

   /// Connects inputs of one LUT, register, RAM or output pin. Those of other atoms cannot be rewired: there
   /// is no record for it.
   void connect(const ATOM& atom, const std::vector<CONNECTION>& connections);
   static bool can_connect(const ATOM& atom);

   /// Inverts inputs of a register or RAM, or stops inverting them, and connects them.
   void toggle_inversion_and_connect(const ATOM& atom, const std::vector<CONNECTION>& connections);

   /// Opens an input whose default does as well, or that nobody needs.
   void replace_by_default(const ATOM& atom, int type, int index);
   void take_off_net(const ATOM& atom, int type, int index);
   /// @}

   /// \name Atoms
   /// @{

   /// A register like another, with the same inputs; it drives a net of its own name.
   const ATOM& duplicate_register(const ATOM& model, const std::string& name);

   /// Stores what the atoms were and deletes them together.
   void delete_atoms(const std::vector<const ATOM*>& atoms);

   /// A clock buffer, named after the net that it drives.
   ///
   /// \param enable  null for none
   const NET& insert_clock_buffer(const NET& source, const std::string& name, const NET* enable,
                                  BUFFER_MOVES moves);
   /// @}

   /// \name Notes
   /// @{
   void set_global(const ATOM& atom, int type, int network);
   void set_usage(const ATOM& atom, int type, int index, int usage);
   void set_input_delay(const ATOM& pin, int steps);
   void set_port_width(const ATOM& ram, INPUT_TYPE port, int width);
   void set_port_clock(const ATOM& ram, INPUT_TYPE port, int line);
   void set_port_clock(const ATOM& ram, OUTPUT_TYPE port, int line);
   /// @}

private:
   void change(LOGDB_FSYN_LOG_ENTRY& record);
   void write(LOGDB_FSYN_LOG_ENTRY& record);
   template <class RECORD> void connect_slots(const ATOM& atom, const std::vector<CONNECTION>& connections);
   void connect_ram(const ATOM& ram, const std::vector<CONNECTION>& connections);
   void set_inverted(const ATOM& atom, int type, int index, bool inverted);
   void store(const ATOM& atom);

   NETLIST& m_netlist;
   LOGDB_FSYN_LOG_FILE m_log;
   std::map<LOGDB_FSYN_LOG_ENTRY_TYPE, int> m_counts;
};

#endif
