#ifndef PACKING_SEARCH_H
#define PACKING_SEARCH_H

#include "packed_netlist.h"

/// \file
/// The search that a log spares the next run: tries out what could be packed with what.

struct SEARCH_RESULT {
   DECISIONS m_decisions;
   int m_examined = 0; ///< possibilities that were looked at
};

/// Decides about all memories, multipliers and registers of a partition and packs them accordingly.
///
/// Multipliers: the largest get the blocks that there are. Memories: those that need half a block share one
/// with the nearest in the hierarchy. Registers: into multipliers and pins where possible, then with the LUT
/// in front, with the LUT behind, in chains.
SEARCH_RESULT search_packing(const NETLIST& netlist, const PARTITION& partition, const TARGET& target,
                             PACKED_NETLIST& packed);

#endif
