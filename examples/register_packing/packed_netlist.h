#ifndef PACKED_NETLIST_H
#define PACKED_NETLIST_H

#include <map>
#include <string>
#include <vector>

#include "decisions.h"
#include "netlist.h"
#include "partition.h"

/// \file
/// The result of packing: which atoms share a cell or a block of the target. Whoever packs, a search or a log
/// that is repeated, does it through this class, and it refuses what the target cannot do.

/// What the target offers.
struct TARGET {
   int m_multiplier_blocks = 10;
};

/// How a memory uses a RAM block.
struct RAM_USAGE {
   std::string m_mode;  ///< READ_WRITE or READ_ONLY
   int m_width = 0;     ///< data bits that are read
   int m_depth = 0;     ///< words that the connected address bits reach
   std::string m_start; ///< CONTENTS or EMPTY

   bool operator==(const RAM_USAGE&) const = default;
};

RAM_USAGE ram_usage(const ATOM& ram);

/// How many of each kind there are.
struct PACKING_SUMMARY {
   int m_logic_cells = 0;
   int m_registers = 0;
   int m_packed_registers = 0; ///< those that share a cell or block with another atom
   int m_ram_blocks = 0;
   int m_multiplier_blocks = 0;
};

/// The atoms of one partition as they are packed so far. Pins count to the whole design alone.
///
/// A logic cell holds a LUT and a register, and a second register when the first one drives it.
class PACKED_NETLIST {
public:
   /// All three must live longer.
   PACKED_NETLIST(const NETLIST& netlist, const PARTITION& partition, const TARGET& target);

   /// Why a decision cannot be carried out now; empty when it can. What was decided not to be packed only has
   /// to be about atoms that exist. Reasons may go into the log: about atoms that exist they name none, since
   /// the library makes only the node-name fields of an entry relative to a partition.
   /// @{
   std::string obstacle(const MULTIPLIER_DECISION& decision) const;
   std::string obstacle(const RAM_DECISION& decision) const;
   std::string obstacle(const REGISTER_DECISION& decision) const;
   /// @}

   /// Carries a decision out.
   ///
   /// \throw NETLIST_ERROR  there is an obstacle
   /// @{
   void apply(const MULTIPLIER_DECISION& decision);
   void apply(const RAM_DECISION& decision);
   void apply(const REGISTER_DECISION& decision);
   /// @}

   /// Carries all out, in their order.
   void apply(const DECISIONS& decisions);

   /// Gives each LUT and register that is left a logic cell of its own.
   ///
   /// \throw NETLIST_ERROR  nobody decided about a memory or a multiplier
   void place_rest();

   PACKING_SUMMARY summary() const;

   /// One text for one packing: a line a cell or block, with its atoms named relative to the partition.
   std::string text() const;

private:
   struct LOGIC_CELL {
      const ATOM* m_lut = nullptr;
      std::vector<const ATOM*> m_registers;
   };

   struct MULTIPLIER_PLACE {
      std::string m_implementation;
      std::vector<const ATOM*> m_registers;
   };

   using RAM_BLOCK = std::map<std::string, const ATOM*>; ///< by half

   const ATOM* find_member(const std::string& name, ATOM_KIND kind) const;
   std::string obstacle_behind_lut(const ATOM& reg, const ATOM& lut) const;
   std::string obstacle_lut_behind(const ATOM& reg, const ATOM& lut) const;
   std::string obstacle_chain(const ATOM& reg, const ATOM& source) const;
   std::string obstacle_at_pin(const ATOM& reg, const ATOM& pin) const;
   std::string obstacle_behind_multiplier(const ATOM& reg, const ATOM& multiplier) const;
   std::string obstacle_before_multiplier(const ATOM& reg, const ATOM& multiplier) const;
   bool is_block(const ATOM& multiplier) const;
   LOGIC_CELL& cell_of(const ATOM& atom);
   const LOGIC_CELL* find_cell(const ATOM& atom) const;
   void place_in_cell(const ATOM& atom, LOGIC_CELL& cell);

   const NETLIST& m_netlist;
   const PARTITION& m_partition;
   const TARGET& m_target;
   std::vector<LOGIC_CELL> m_cells;
   std::map<const ATOM*, std::size_t> m_cell_of_atom; ///< index in m_cells
   std::map<std::string, std::vector<const ATOM*>> m_pins;
   std::map<std::string, MULTIPLIER_PLACE> m_multipliers;
   std::map<int, RAM_BLOCK> m_ram_blocks;
   std::map<std::string, int> m_block_of_ram;
   std::map<const ATOM*, const ATOM*> m_host_of_register; ///< the pin or multiplier that holds it
};

/// Whether two registers have the same clock, enable and clear, inversions included.
bool same_controls(const ATOM& left, const ATOM& right);

#endif
