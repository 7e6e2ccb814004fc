#include "lut_view.h"

namespace {

/// The only connected input; null when there is none or more than one.
const INPUT_TERMINAL* only_input(const ATOM& lut) {
   const INPUT_TERMINAL* only = nullptr;
   for (const INPUT_TERMINAL& input : lut.m_inputs) {
      if (input.m_net == nullptr) {
         continue;
      }
      if (only != nullptr) {
         return nullptr;
      }
      only = &input;
   }
   return only;
}

const INPUT_TERMINAL* input_of_function(const ATOM& lut, bool inverted) {
   const INPUT_TERMINAL* only = lut.m_kind == ATOM_KIND::LUT ? only_input(lut) : nullptr;
   if (only == nullptr) {
      return nullptr;
   }
   const std::uint64_t wire = input_mask(only->m_index);
   return lut.m_lut_mask == (inverted ? ~wire : wire) ? only : nullptr;
}

} // namespace

std::vector<const ATOM*> all_luts(const NETLIST& netlist) {
   std::vector<const ATOM*> luts;
   for (const auto& [name, atom] : netlist.atoms()) {
      if (atom.m_kind == ATOM_KIND::LUT) {
         luts.push_back(&atom);
      }
   }
   return luts;
}

std::optional<bool> constant_value(const NET* net) {
   if (net == nullptr || net->m_driver == nullptr || net->m_driver->m_kind != ATOM_KIND::LUT) {
      return std::nullopt;
   }
   for (const INPUT_TERMINAL& input : net->m_driver->m_inputs) {
      if (input.m_net != nullptr) {
         return std::nullopt;
      }
   }
   return (net->m_driver->m_lut_mask & 1U) != 0;
}

const INPUT_TERMINAL* wire_input(const ATOM& lut) {
   return input_of_function(lut, false);
}

const INPUT_TERMINAL* inverter_input(const ATOM& lut) {
   return input_of_function(lut, true);
}
