#ifndef EVALUATION_ORDER_H
#define EVALUATION_ORDER_H

#include <vector>

#include "netlist.h"

/// \file
/// The order in which values run through a netlist.

/// Whether the outputs of an atom follow its inputs at once: LUTs, multipliers, buffers.
bool is_combinational(const ATOM& atom);

/// All combinational atoms, each behind those that drive its inputs.
///
/// \throw NETLIST_ERROR  there is none: a signal runs back to itself
std::vector<const ATOM*> evaluation_order(const NETLIST& netlist);

#endif
