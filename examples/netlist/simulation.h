#ifndef SIMULATION_H
#define SIMULATION_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "netlist.h"

/// \file
/// Runs a netlist clock by clock. All registers and RAMs take part in each clock, unless a clock buffer with
/// an enable holds them back; a clear acts at once.

/// A netlist with values. The netlist must stay as it is meanwhile.
class SIMULATION {
public:
   /// Everything is 0, as after power-up, and RAMs hold their contents.
   ///
   /// \throw NETLIST_ERROR  a clock that does not come from a pin through buffers, or a loop without a register
   explicit SIMULATION(const NETLIST& netlist);

   /// Fills registers and RAMs with random bits that depend on the seed and the names alone; a duplicate gets
   /// those of the atom that it is modelled on. Two netlists thus start in the same state.
   void randomize_state(std::uint64_t seed);

   /// Sets an input pin, named without "~input".
   void set_input(std::string_view name, bool value);

   /// Lets the values run through, up to the inputs of registers and RAMs and to the pins.
   void settle();

   /// One clock, then settle().
   void clock();

   /// The value of a net.
   bool value(const NET& net) const;

   /// The value at an input terminal, inverted where the terminal inverts.
   bool value(const INPUT_TERMINAL& input) const;

private:
   using WORDS = std::array<std::uint16_t, RAM_WORDS>;

   /// What one combinational atom computes. LUTs are most of them, and are laid out flat.
   struct STEP {
      const ATOM* m_atom = nullptr;
      std::uint64_t m_lut_mask = 0;
      std::array<std::size_t, LUT_INPUTS> m_inputs{}; ///< numbers of nets
      std::size_t m_output = 0;
   };

   /// Inputs that a register does not have are null.
   struct REGISTER_STATE {
      const ATOM* m_atom = nullptr;
      const INPUT_TERMINAL* m_data = nullptr;
      const INPUT_TERMINAL* m_clock = nullptr;
      const INPUT_TERMINAL* m_enable = nullptr;
      const INPUT_TERMINAL* m_clear = nullptr;
      const NET* m_output = nullptr;                      ///< null for a register that is not finished yet
      std::vector<const INPUT_TERMINAL*> m_clock_enables; ///< of the buffers on its clock
   };

   struct RAM_STATE {
      const ATOM* m_atom = nullptr;
      std::vector<const INPUT_TERMINAL*> m_write_enables; ///< of the buffers on its write clock
      std::vector<const INPUT_TERMINAL*> m_read_enables;  ///< and on its read clock
      WORDS m_words{};
      std::uint16_t m_read_word = 0;
   };

   STEP make_step(const ATOM& atom) const;
   static REGISTER_STATE make_register(const ATOM& atom);
   void load_contents(RAM_STATE& ram) const;
   void set_net(const NET* net, bool value);
   void set_outputs(const ATOM& atom, std::uint64_t bits);
   bool value_or(const INPUT_TERMINAL* input, bool value_without) const;
   bool value_at(const ATOM& atom, int type) const;
   std::uint64_t bits_at(const ATOM& atom, int type, int width) const;
   bool all_on(const std::vector<const INPUT_TERMINAL*>& enables) const;
   void evaluate(const STEP& step);
   bool clear_registers();
   bool next_value(const REGISTER_STATE& state) const;
   void clock_ram(RAM_STATE& ram) const;

   std::vector<STEP> m_steps;
   std::vector<REGISTER_STATE> m_registers;
   std::vector<RAM_STATE> m_rams;
   std::map<std::string, const NET*, std::less<>> m_pins;
   std::vector<char> m_values; ///< by the number of the net; the last one is 0 for what is open
};

#endif
