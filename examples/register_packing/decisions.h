#ifndef DECISIONS_H
#define DECISIONS_H

#include <string>
#include <vector>

/// \file
/// What the packing stage decides, atom by atom. Atoms are named in full.

/// How a register and its partner lie together.
enum class PATTERN {
   BEHIND_LUT,        ///< the LUT drives the register's data, in one logic cell
   LUT_BEHIND,        ///< the register drives the LUT, in one logic cell
   CHAIN,             ///< another register drives it, in the same logic cell
   AT_PIN,            ///< an input pin drives it, in the pin
   BEHIND_MULTIPLIER, ///< a multiplier drives it, in the multiplier's block
   BEFORE_MULTIPLIER, ///< it drives a multiplier, in the multiplier's block
};

struct REGISTER_DECISION {
   bool m_packed = false;
   std::string m_reason;
   PATTERN m_pattern = PATTERN::BEHIND_LUT;
   std::string m_register;
   std::string m_partner;
};

/// Where a memory goes. A block has two halves; a memory that needs half of the words can share it.
struct RAM_DECISION {
   bool m_shared = false;
   int m_block = 0;
   std::string m_half;  ///< WHOLE, LOWER or UPPER
   std::string m_mode;  ///< READ_WRITE or READ_ONLY
   int m_width = 0;     ///< data bits in use
   int m_depth = 0;     ///< words in use
   std::string m_start; ///< CONTENTS or EMPTY
   std::string m_reason;
   std::string m_ram;
};

/// What a multiplier is made of.
struct MULTIPLIER_DECISION {
   std::string m_implementation; ///< BLOCK or LOGIC_CELLS
   std::string m_multiplier;
};

/// All of them, in the order in which they were taken. Later ones build on earlier ones: multipliers come
/// before registers, and a register that others follow comes before these.
struct DECISIONS {
   std::vector<MULTIPLIER_DECISION> m_multipliers;
   std::vector<RAM_DECISION> m_rams;
   std::vector<REGISTER_DECISION> m_registers;

   std::size_t size() const { return m_multipliers.size() + m_rams.size() + m_registers.size(); }
};

#endif
