#ifndef CONSISTENCY_H
#define CONSISTENCY_H

#include <string>
#include <vector>

#include "netlist.h"

/// \file
/// Whether a netlist hangs together.

/// What is wrong, a sentence each; empty for a sound netlist. Checked: each net that is read has a driver,
/// nets and terminals know each other, no LUT depends on an input that is open or missing, and no signal runs
/// through LUTs, multipliers and buffers back to itself.
std::vector<std::string> find_inconsistencies(const NETLIST& netlist);

/// \throw NETLIST_ERROR  the first of them
void check_consistency(const NETLIST& netlist);

#endif
