#ifndef PORTS_H
#define PORTS_H

#include <string_view>

/// \file
/// The kinds of atom and the ports that they have. A port has a type, a number that the records of the
/// physical-synthesis log carry, and an index counts the terminals of one type: a LUT's third input is type
/// LUT_INPUT, index 2.

enum class ATOM_KIND { LUT, REGISTER, RAM, MULTIPLIER, INPUT_PIN, OUTPUT_PIN, CLOCK_BUFFER };

/// What an input terminal is for.
enum INPUT_TYPE : int {
   LUT_INPUT = 0,
   REGISTER_DATA = 10,
   REGISTER_CLOCK = 11,
   REGISTER_ENABLE = 12,
   REGISTER_CLEAR = 13, ///< asynchronous
   PIN_DATA = 20,
   PIN_PAD = 21, ///< an input pin's own, which nothing drives: delay chains are set on it
   RAM_WRITE_CLOCK = 30,
   RAM_WRITE_ENABLE = 31,
   RAM_WRITE_ADDRESS = 32,
   RAM_WRITE_DATA = 33,
   RAM_READ_CLOCK = 34,
   RAM_READ_ENABLE = 35,
   RAM_READ_ADDRESS = 36,
   MULTIPLIER_A = 40,
   MULTIPLIER_B = 41,
   BUFFER_INPUT = 50,
   BUFFER_ENABLE = 51,
};

/// What an output terminal is for.
enum OUTPUT_TYPE : int {
   LUT_OUTPUT = 0,
   REGISTER_OUTPUT = 1,
   PIN_OUTPUT = 2,
   RAM_READ_DATA = 3,
   MULTIPLIER_RESULT = 4,
   BUFFER_OUTPUT = 5,
};

/// The target's sizes.
/// @{
inline constexpr int LUT_INPUTS = 6;
inline constexpr int RAM_ADDRESS_BITS = 9;
inline constexpr int RAM_WORDS = 1 << RAM_ADDRESS_BITS;
inline constexpr int RAM_DATA_BITS = 16;
inline constexpr int MULTIPLIER_OPERAND_BITS = 18;
inline constexpr int MULTIPLIER_RESULT_BITS = 36;
/// @}

/// One port of a kind of atom.
struct PORT {
   ATOM_KIND m_kind;
   const char* m_name; ///< as netlist files spell it
   bool m_is_output;
   int m_type;  ///< an INPUT_TYPE or an OUTPUT_TYPE
   int m_width; ///< how many terminals it can have
};

/// The port of that name, or null.
const PORT* find_port(ATOM_KIND kind, std::string_view name);

/// The input or output port of that type, or null.
const PORT* find_port(ATOM_KIND kind, bool is_output, int type);

/// What an input is that nothing is connected to: true for the enables of registers and of RAM reads.
bool value_when_open(int input_type);

/// "lut", "register" ...
const char* kind_name(ATOM_KIND kind);

#endif
