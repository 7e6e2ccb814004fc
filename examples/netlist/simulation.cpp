#include "simulation.h"

#include <functional>
#include <random>

#include "evaluation_order.h"
#include "lut_mask.h"

namespace {

/// The enables of the buffers between an input pin and a clock terminal.
std::vector<const INPUT_TERMINAL*> enables_on_clock(const ATOM& atom, int clock_type) {
   std::vector<const INPUT_TERMINAL*> enables;
   const NET* net = atom.input_net(clock_type);
   while (net != nullptr && net->m_driver != nullptr && net->m_driver->m_kind == ATOM_KIND::CLOCK_BUFFER) {
      const ATOM& buffer = *net->m_driver;
      if (const INPUT_TERMINAL* enable = buffer.find_input(BUFFER_ENABLE)) {
         enables.push_back(enable);
      }
      net = buffer.input_net(BUFFER_INPUT);
   }
   const bool from_pin =
       net != nullptr && net->m_driver != nullptr && net->m_driver->m_kind == ATOM_KIND::INPUT_PIN;
   const INPUT_TERMINAL* clock = atom.find_input(clock_type);
   if (net != nullptr && (!from_pin || clock->m_inverted)) {
      throw NETLIST_ERROR("the clock of \"" + atom.m_name + "\" does not come from a pin as it is");
   }
   return enables;
}

std::mt19937_64 random_bits(std::uint64_t seed, const ATOM& atom) {
   const std::string& name = atom.m_modelled_on.empty() ? atom.m_name : atom.m_modelled_on;
   return std::mt19937_64(seed ^ std::hash<std::string>()(name));
}

int digit_value(char digit) {
   const std::size_t value = std::string_view("0123456789abcdef").find(digit);
   if (value == std::string_view::npos) {
      throw NETLIST_ERROR("bad digit in the contents of a RAM");
   }
   return static_cast<int>(value);
}

/// An operand of a multiplier, its sign extended.
std::int64_t signed_operand(std::uint64_t bits) {
   const std::int64_t sign = std::int64_t{1} << (MULTIPLIER_OPERAND_BITS - 1);
   return (static_cast<std::int64_t>(bits) ^ sign) - sign;
}

} // namespace

SIMULATION::SIMULATION(const NETLIST& netlist) : m_values(netlist.net_numbers() + 1, 0) {
   for (const ATOM* atom : evaluation_order(netlist)) {
      m_steps.push_back(make_step(*atom));
   }
   for (const auto& [name, atom] : netlist.atoms()) {
      if (atom.m_kind == ATOM_KIND::REGISTER) {
         m_registers.push_back(make_register(atom));
      } else if (atom.m_kind == ATOM_KIND::RAM) {
         m_rams.push_back(
             {&atom, enables_on_clock(atom, RAM_WRITE_CLOCK), enables_on_clock(atom, RAM_READ_CLOCK), {}, 0});
         load_contents(m_rams.back());
      } else if (atom.m_kind == ATOM_KIND::INPUT_PIN) {
         m_pins[atom.output_net()->m_name] = atom.output_net();
      }
   }
}

SIMULATION::STEP SIMULATION::make_step(const ATOM& atom) const {
   STEP step;
   step.m_atom = &atom;
   step.m_lut_mask = atom.m_lut_mask;
   step.m_inputs.fill(m_values.size() - 1);
   if (atom.m_kind != ATOM_KIND::LUT) {
      return step;
   }
   for (const INPUT_TERMINAL& input : atom.m_inputs) {
      if (input.m_net != nullptr) {
         step.m_inputs.at(static_cast<std::size_t>(input.m_index)) = input.m_net->m_number;
      }
      if (input.m_inverted) {
         step.m_lut_mask = with_input_inverted(step.m_lut_mask, input.m_index);
      }
   }
   step.m_output = atom.output_net()->m_number;
   return step;
}

SIMULATION::REGISTER_STATE SIMULATION::make_register(const ATOM& atom) {
   REGISTER_STATE state;
   state.m_atom = &atom;
   state.m_data = atom.find_input(REGISTER_DATA);
   state.m_clock = atom.find_input(REGISTER_CLOCK);
   state.m_enable = atom.find_input(REGISTER_ENABLE);
   state.m_clear = atom.find_input(REGISTER_CLEAR);
   state.m_output = atom.output_net();
   state.m_clock_enables = enables_on_clock(atom, REGISTER_CLOCK);
   return state;
}

/// The contents are one number, four digits a word, the word at address 0 at its end.
void SIMULATION::load_contents(RAM_STATE& ram) const {
   const auto found = ram.m_atom->m_attributes.find("contents");
   if (found == ram.m_atom->m_attributes.end()) {
      return;
   }
   const std::string& digits = found->second;
   for (std::size_t position = 0; position < digits.size() && position / 4 < RAM_WORDS; ++position) {
      const int digit = digit_value(digits[digits.size() - 1 - position]);
      std::uint16_t& word = ram.m_words[position / 4];
      word = static_cast<std::uint16_t>(word | (digit << (4 * (position % 4))));
   }
}

void SIMULATION::randomize_state(std::uint64_t seed) {
   for (const REGISTER_STATE& state : m_registers) {
      set_outputs(*state.m_atom, random_bits(seed, *state.m_atom)());
   }
   for (RAM_STATE& ram : m_rams) {
      std::mt19937_64 bits = random_bits(seed, *ram.m_atom);
      for (std::uint16_t& word : ram.m_words) {
         word = static_cast<std::uint16_t>(bits());
      }
      ram.m_read_word = static_cast<std::uint16_t>(bits());
   }
}

void SIMULATION::set_input(std::string_view name, bool value) {
   const auto found = m_pins.find(name);
   if (found == m_pins.end()) {
      throw NETLIST_ERROR("there is no input pin \"" + std::string(name) + "\"");
   }
   set_net(found->second, value);
}

void SIMULATION::settle() {
   for (const RAM_STATE& ram : m_rams) {
      set_outputs(*ram.m_atom, ram.m_read_word);
   }
   do {
      for (const STEP& step : m_steps) {
         evaluate(step);
      }
   } while (clear_registers());
}

void SIMULATION::clock() {
   std::vector<bool> next_values;
   next_values.reserve(m_registers.size());
   for (const REGISTER_STATE& state : m_registers) {
      next_values.push_back(next_value(state));
   }
   for (RAM_STATE& ram : m_rams) {
      clock_ram(ram);
   }
   for (std::size_t position = 0; position < m_registers.size(); ++position) {
      set_outputs(*m_registers[position].m_atom, next_values[position] ? 1 : 0);
   }
   settle();
}

bool SIMULATION::value(const NET& net) const {
   return m_values[net.m_number] != 0;
}

bool SIMULATION::value(const INPUT_TERMINAL& input) const {
   const bool plain = input.m_net == nullptr ? value_when_open(input.m_type) : value(*input.m_net);
   return plain != input.m_inverted;
}

void SIMULATION::set_net(const NET* net, bool value) {
   m_values[net->m_number] = value ? 1 : 0;
}

void SIMULATION::set_outputs(const ATOM& atom, std::uint64_t bits) {
   for (const OUTPUT_TERMINAL& output : atom.m_outputs) {
      set_net(output.m_net, ((bits >> output.m_index) & 1U) != 0);
   }
}

bool SIMULATION::value_or(const INPUT_TERMINAL* input, bool value_without) const {
   return input == nullptr ? value_without : value(*input);
}

bool SIMULATION::value_at(const ATOM& atom, int type) const {
   return value_or(atom.find_input(type), value_when_open(type));
}

std::uint64_t SIMULATION::bits_at(const ATOM& atom, int type, int width) const {
   std::uint64_t bits = 0;
   for (const INPUT_TERMINAL& input : atom.m_inputs) {
      if (input.m_type == type && input.m_index < width && value(input)) {
         bits |= std::uint64_t{1} << input.m_index;
      }
   }
   return bits;
}

bool SIMULATION::all_on(const std::vector<const INPUT_TERMINAL*>& enables) const {
   for (const INPUT_TERMINAL* enable : enables) {
      if (!value(*enable)) {
         return false;
      }
   }
   return true;
}

void SIMULATION::evaluate(const STEP& step) {
   switch (step.m_atom->m_kind) {
   case ATOM_KIND::LUT: {
      unsigned input_value = 0;
      for (unsigned input = 0; input < LUT_INPUTS; ++input) {
         input_value |= static_cast<unsigned>(m_values[step.m_inputs[input]]) << input;
      }
      m_values[step.m_output] = static_cast<char>((step.m_lut_mask >> input_value) & 1U);
      break;
   }
   case ATOM_KIND::MULTIPLIER: {
      const std::int64_t a = signed_operand(bits_at(*step.m_atom, MULTIPLIER_A, MULTIPLIER_OPERAND_BITS));
      const std::int64_t b = signed_operand(bits_at(*step.m_atom, MULTIPLIER_B, MULTIPLIER_OPERAND_BITS));
      set_outputs(*step.m_atom, static_cast<std::uint64_t>(a * b));
      break;
   }
   default: // a clock buffer; its enable acts on the clocks, not on the value
      set_outputs(*step.m_atom, value_at(*step.m_atom, BUFFER_INPUT) ? 1 : 0);
      break;
   }
}

/// Clears what is to be cleared; whether that changed anything.
bool SIMULATION::clear_registers() {
   bool changed = false;
   for (const REGISTER_STATE& state : m_registers) {
      if (state.m_clear != nullptr && state.m_output != nullptr && value(*state.m_output) &&
          value(*state.m_clear)) {
         set_net(state.m_output, false);
         changed = true;
      }
   }
   return changed;
}

bool SIMULATION::next_value(const REGISTER_STATE& state) const {
   if (state.m_output == nullptr || value_or(state.m_clear, false)) {
      return false;
   }
   const bool has_clock = state.m_clock != nullptr && state.m_clock->m_net != nullptr;
   const bool takes_data = has_clock && all_on(state.m_clock_enables) && value_or(state.m_enable, true);
   return takes_data ? value_or(state.m_data, false) : value(*state.m_output);
}

/// A word that is read in the clock in which it is written is the old one.
void SIMULATION::clock_ram(RAM_STATE& ram) const {
   const ATOM& atom = *ram.m_atom;
   const bool reads = atom.input_net(RAM_READ_CLOCK) != nullptr && all_on(ram.m_read_enables);
   if (reads && value_at(atom, RAM_READ_ENABLE)) {
      ram.m_read_word = ram.m_words[bits_at(atom, RAM_READ_ADDRESS, RAM_ADDRESS_BITS)];
   }
   const bool writes = atom.input_net(RAM_WRITE_CLOCK) != nullptr && all_on(ram.m_write_enables);
   if (writes && value_at(atom, RAM_WRITE_ENABLE)) {
      ram.m_words[bits_at(atom, RAM_WRITE_ADDRESS, RAM_ADDRESS_BITS)] =
          static_cast<std::uint16_t>(bits_at(atom, RAM_WRITE_DATA, RAM_DATA_BITS));
   }
}
