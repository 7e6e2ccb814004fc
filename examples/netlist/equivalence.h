#ifndef EQUIVALENCE_H
#define EQUIVALENCE_H

#include <string>

#include "netlist.h"

/// \file
/// Whether a changed netlist still does what it did, by random simulation of both side by side.

/// What was compared.
struct EQUIVALENCE {
   bool m_equal = true;
   std::string m_difference; ///< the first, as a sentence for the user
   int m_pins = 0;           ///< output pins that were compared, each clock
   int m_registers = 0;      ///< registers that both have, likewise
   int m_clocks = 0;
};

/// Runs both from power-up and from random states, with equal random inputs, and compares all output pins and
/// all registers that both have, clock by clock.
///
/// \param starts  states to start from, the first being that after power-up
/// \param clocks  clocks for each
EQUIVALENCE compare_by_simulation(const NETLIST& original, const NETLIST& changed, int starts, int clocks);

#endif
