#include "canonical_text.h"

#include <algorithm>
#include <tuple>

namespace {

std::string hexadecimal(std::uint64_t value) {
   std::string digits(16, '0');
   for (std::size_t position = digits.size(); position-- > 0; value >>= 4) {
      digits[position] = "0123456789abcdef"[value & 0xf];
   }
   return digits;
}

template <class TERMINAL> std::vector<TERMINAL> by_type_and_index(std::vector<TERMINAL> terminals) {
   std::sort(terminals.begin(), terminals.end(), [](const TERMINAL& left, const TERMINAL& right) {
      return std::tie(left.m_type, left.m_index) < std::tie(right.m_type, right.m_index);
   });
   return terminals;
}

template <class TERMINAL> std::string terminal_name(const char* direction, const TERMINAL& terminal) {
   return " " + (direction + std::to_string(terminal.m_type)) + "." + std::to_string(terminal.m_index);
}

std::string input_text(const INPUT_TERMINAL& input) {
   std::string text = terminal_name("in", input) + "=";
   text += input.m_inverted ? "!" : "";
   text += input.m_net == nullptr ? "-" : input.m_net->m_name;
   for (const auto& [name, value] : input.m_properties) {
      text += ";" + name + "=" + std::to_string(value);
   }
   return text;
}

std::string atom_text(const ATOM& atom) {
   std::string text = atom.m_name + " " + kind_name(atom.m_kind);
   if (atom.m_kind == ATOM_KIND::LUT) {
      text += " mask=" + hexadecimal(atom.m_lut_mask);
   }
   for (const OUTPUT_TERMINAL& output : by_type_and_index(atom.m_outputs)) {
      text += terminal_name("out", output) + "=" + output.m_net->m_name;
   }
   for (const INPUT_TERMINAL& input : by_type_and_index(atom.m_inputs)) {
      text += input_text(input);
   }
   if (!atom.m_modelled_on.empty()) {
      text += " modelled_on=" + atom.m_modelled_on;
   }
   for (const auto& [name, value] : atom.m_attributes) {
      text += " " + name + "=" + value;
   }
   return text + "\n";
}

} // namespace

std::string canonical_text(const NETLIST& netlist) {
   std::string text;
   for (const auto& [name, atom] : netlist.atoms()) {
      text += atom_text(atom);
   }
   return text;
}
