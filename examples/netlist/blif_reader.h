#ifndef BLIF_READER_H
#define BLIF_READER_H

#include <istream>
#include <string>

#include "netlist.h"

/// \file
/// Reads a netlist in BLIF, the Berkeley Logic Interchange Format: .model, .inputs, .outputs, .names,
/// .subckt, .cname, .param, .end; "\" at the end of a line continues it, "#" begins a comment.
///
/// A .names with up to six inputs is a LUT that bears the name of its output. A .subckt is a REGISTER, a RAM
/// or a MULTIPLIER, its pins named as in ports.cpp, its name in the .cname that must follow. The contents of
/// a RAM are in .param CONTENTS: a hexadecimal number, the word at address 0 lowest. A pin NAME is an atom
/// "NAME~input", which drives the net NAME, or "NAME~output", which reads it.

/// Reads a file.
///
/// \throw NETLIST_ERROR  the file cannot be read, or is not such a netlist: "board.blif:12: ..."
NETLIST read_blif_file(const std::string& file_name);

/// Reads a stream.
///
/// \param name  what to call it in errors
NETLIST read_blif(std::istream& stream, const std::string& name);

#endif
