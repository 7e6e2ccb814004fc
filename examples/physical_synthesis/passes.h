#ifndef PASSES_H
#define PASSES_H

#include <map>
#include <string>

#include "change_log.h"

/// \file
/// The optimisation, pass by pass. Each looks at the netlist and changes it through the log alone.

/// What the passes did, counted by what a person would call it.
using ACHIEVEMENTS = std::map<std::string, int>;

/// Before placement.
/// @{

/// Opens enables and clears that are tied to what an open one is anyway.
void remove_constant_controls(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Takes constants, repeated nets and inputs without influence out of the LUTs. Whether there were any.
bool simplify_luts(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Leads readers of LUTs that are plain wires to what drives the wire. Whether there were any.
bool bypass_wires(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Pushes inverters into what they feed: into the function of a LUT, or into an input that can invert.
/// Whether there were any.
bool absorb_inverters(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Deletes atoms from which no path leads to an output pin.
void sweep_dangling(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Settles the width and the clock line of the ports of RAMs; data that is written and never read is taken
/// off.
void settle_rams(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// @}
/// After placement.
/// @{

/// Moves large groups of registers that share an enable to a clock that stops instead.
void gate_clocks(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Puts clocks and clears with many readers onto buffers.
void insert_clock_buffers(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Duplicates registers with many readers, and shares the readers out.
void duplicate_registers(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Leads the latest signals of each LUT to its fastest inputs.
void permute_lut_inputs(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// Delays input pins that go straight into registers, so that these do not take the next value.
void delay_inputs(CHANGE_LOG& log, ACHIEVEMENTS& done);

/// @}

/// All of it, from the first record of the log to the last.
void optimise(CHANGE_LOG& log, ACHIEVEMENTS& done);

#endif
