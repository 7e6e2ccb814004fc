#ifndef LUT_MASK_H
#define LUT_MASK_H

#include <cstdint>
#include <vector>

/// \file
/// Arithmetic on the function of a LUT: a 64-bit mask, bit i for the input value i.

/// The mask of the function that is its input alone.
std::uint64_t input_mask(int input);

/// The function with one input held at a value; it no longer depends on that input.
std::uint64_t with_input_held(std::uint64_t mask, int input, bool value);

/// The function with one input inverted.
std::uint64_t with_input_inverted(std::uint64_t mask, int input);

/// Whether the function depends on an input.
bool depends_on(std::uint64_t mask, int input);

/// The function with its inputs moved.
///
/// \param places  places[i] is where input i goes; all of 0 to 5 must be there
std::uint64_t with_inputs_moved(std::uint64_t mask, const std::vector<int>& places);

#endif
