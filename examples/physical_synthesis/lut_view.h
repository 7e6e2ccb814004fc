#ifndef LUT_VIEW_H
#define LUT_VIEW_H

#include <optional>
#include <vector>

#include "lut_mask.h"
#include "netlist.h"

/// \file
/// What a LUT amounts to, as several passes ask.

/// The LUTs of a netlist, in the order of their names.
std::vector<const ATOM*> all_luts(const NETLIST& netlist);

/// The value of a net that a LUT without connected inputs drives; none for any other net.
std::optional<bool> constant_value(const NET* net);

/// The only connected input of a LUT whose function is that input, or its inverse.
/// @{
const INPUT_TERMINAL* wire_input(const ATOM& lut);
const INPUT_TERMINAL* inverter_input(const ATOM& lut);
/// @}

#endif
