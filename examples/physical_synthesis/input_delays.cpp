#include "passes.h"

namespace {

constexpr int DELAY_STEPS = 2;

bool feeds_registers_only(const NET& net) {
   for (const SINK& sink : net.m_sinks) {
      if (sink.terminal().m_type != REGISTER_DATA) {
         return false;
      }
   }
   return !net.m_sinks.empty();
}

} // namespace

void delay_inputs(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   for (const auto& [name, atom] : log.netlist().atoms()) {
      if (atom.m_kind == ATOM_KIND::INPUT_PIN && feeds_registers_only(*atom.output_net())) {
         log.set_input_delay(atom, DELAY_STEPS);
         ++done["input delays set"];
      }
   }
}
