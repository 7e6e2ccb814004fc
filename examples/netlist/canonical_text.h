#ifndef CANONICAL_TEXT_H
#define CANONICAL_TEXT_H

#include <string>

#include "netlist.h"

/// \file
/// One text for one netlist, however it came about: a line an atom in the order of the names, with everything
/// that the atom is and is connected to. Two netlists are the same when their texts are.
///
///     top|u1|q register out1.0=top|u1|q in10.0=top|u1|d in11.0=top|clock in13.0=!top|reset

/// The text of a netlist, each line with its line feed.
std::string canonical_text(const NETLIST& netlist);

#endif
