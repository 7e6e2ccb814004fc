#ifndef HOST_DB_TYPES_H
#define HOST_DB_TYPES_H

/// Enumerations of the toolset's netlist that the physical-synthesis records carry. The library stores their
/// values and writes them as integers; it never asks what they mean, so only the one value that it checks has
/// a name here. The netlist has the others.

/// What an input terminal of an atom is for.
enum DB_INPUT_PORT_TYPE : int {};

/// What an output terminal of an atom is for.
enum DB_OUTPUT_PORT_TYPE : int {};

/// Which of the delay chains of an I/O cell is meant.
enum DB_DELAY_CHAIN_TYPE : int {
   DB_PAD_TO_CORE = 8, ///< from the pad into the core: the only one that physical synthesis sets
};

#endif
