#include "equivalence.h"

#include <random>

#include "simulation.h"

namespace {

/// A net that must have one value in both netlists.
struct PAIR {
   const INPUT_TERMINAL* m_original_pin = nullptr;
   const INPUT_TERMINAL* m_changed_pin = nullptr;
   const NET* m_original_net = nullptr;
   const NET* m_changed_net = nullptr;
   std::string m_name;
};

/// The two simulations side by side.
class COMPARISON {
public:
   COMPARISON(const NETLIST& original, const NETLIST& changed) : m_original(original), m_changed(changed) {
      for (const auto& [name, atom] : original.atoms()) {
         const ATOM* other = changed.find_atom(name);
         if (atom.m_kind == ATOM_KIND::INPUT_PIN) {
            m_inputs.push_back(atom.output_net()->m_name);
         } else if (atom.m_kind == ATOM_KIND::OUTPUT_PIN) {
            require(other, name);
            m_pins.push_back({atom.find_input(PIN_DATA), other->find_input(PIN_DATA), nullptr, nullptr, name});
         } else if (atom.m_kind == ATOM_KIND::REGISTER && other != nullptr) {
            m_registers.push_back({nullptr, nullptr, atom.output_net(), other->output_net(), name});
         }
      }
   }

   void randomize(std::uint64_t seed) {
      m_original.randomize_state(seed);
      m_changed.randomize_state(seed);
   }

   /// Some inputs rest, some are mostly 0 or mostly 1, the others change all the time: a random reset that
   /// ends in every second clock would hide the rest of the design.
   void choose_activity(std::mt19937_64& bits) {
      m_activity.clear();
      for (std::size_t input = 0; input < m_inputs.size(); ++input) {
         constexpr double probabilities[] = {0.0, 0.05, 0.5, 0.95, 1.0};
         m_activity.push_back(probabilities[bits() % std::size(probabilities)]);
      }
   }

   void set_inputs(std::mt19937_64& bits) {
      for (std::size_t input = 0; input < m_inputs.size(); ++input) {
         const bool value = std::bernoulli_distribution(m_activity[input])(bits);
         m_original.set_input(m_inputs[input], value);
         m_changed.set_input(m_inputs[input], value);
      }
   }

   void settle() {
      m_original.settle();
      m_changed.settle();
   }

   void clock() {
      m_original.clock();
      m_changed.clock();
   }

   /// The name of the first pin or register with two values; empty when there is none.
   std::string difference() const {
      for (const PAIR& pin : m_pins) {
         if (m_original.value(*pin.m_original_pin) != m_changed.value(*pin.m_changed_pin)) {
            return pin.m_name;
         }
      }
      for (const PAIR& reg : m_registers) {
         if (m_original.value(*reg.m_original_net) != m_changed.value(*reg.m_changed_net)) {
            return reg.m_name;
         }
      }
      return "";
   }

   int pins() const { return static_cast<int>(m_pins.size()); }
   int registers() const { return static_cast<int>(m_registers.size()); }

private:
   static void require(const ATOM* atom, const std::string& name) {
      if (atom == nullptr) {
         throw NETLIST_ERROR("the changed netlist has no pin \"" + name + "\"");
      }
   }

   SIMULATION m_original;
   SIMULATION m_changed;
   std::vector<std::string> m_inputs;
   std::vector<double> m_activity;
   std::vector<PAIR> m_pins;
   std::vector<PAIR> m_registers;
};

} // namespace

EQUIVALENCE compare_by_simulation(const NETLIST& original, const NETLIST& changed, int starts, int clocks) {
   EQUIVALENCE result;
   std::mt19937_64 bits(1);
   for (int start = 0; start < starts; ++start) {
      COMPARISON comparison(original, changed);
      result.m_pins = comparison.pins();
      result.m_registers = comparison.registers();
      if (start > 0) {
         comparison.randomize(bits());
      }
      comparison.choose_activity(bits);
      for (int clock = 0; clock < clocks; ++clock, ++result.m_clocks) {
         comparison.set_inputs(bits);
         comparison.settle();
         const std::string name = comparison.difference();
         if (!name.empty()) {
            result.m_equal = false;
            result.m_difference = "\"" + name + "\" differs in clock " + std::to_string(clock) + " of start " +
                                  std::to_string(start);
            return result;
         }
         comparison.clock();
      }
   }
   return result;
}
