#include "lut_view.h"
#include "passes.h"

namespace {

bool is_control(const INPUT_TERMINAL& input) {
   return input.m_type == REGISTER_ENABLE || input.m_type == REGISTER_CLEAR || input.m_type == RAM_READ_ENABLE;
}

} // namespace

void remove_constant_controls(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   for (const auto& [name, atom] : log.netlist().atoms()) {
      for (const INPUT_TERMINAL& input : atom.m_inputs) {
         const std::optional<bool> value = constant_value(input.m_net);
         if (is_control(input) && value && (*value != input.m_inverted) == value_when_open(input.m_type)) {
            log.replace_by_default(atom, input.m_type, input.m_index);
            ++done["constant control inputs opened"];
         }
      }
   }
}
