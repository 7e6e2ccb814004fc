#include <algorithm>

#include "passes.h"

namespace {

/// One more than the highest connected index of a port.
int width_in_use(const ATOM& ram, int port) {
   int width = 0;
   for (const INPUT_TERMINAL& input : ram.m_inputs) {
      if (input.m_type == port && input.m_net != nullptr) {
         width = std::max(width, input.m_index + 1);
      }
   }
   return width;
}

bool is_read(const ATOM& ram, int bit) {
   const OUTPUT_TERMINAL* output = ram.find_output(RAM_READ_DATA, bit);
   return output != nullptr && !output->m_net->m_sinks.empty();
}

void take_unread_data_off(const ATOM& ram, CHANGE_LOG& log, ACHIEVEMENTS& done) {
   for (const INPUT_TERMINAL& input : ram.m_inputs) {
      if (input.m_type == RAM_WRITE_DATA && input.m_net != nullptr && !is_read(ram, input.m_index)) {
         log.take_off_net(ram, input.m_type, input.m_index);
         ++done["unread RAM data bits taken off"];
      }
   }
}

/// A RAM block has two clock lines; a port that shares the first leaves the other to a neighbour.
void settle_clock_lines(const ATOM& ram, CHANGE_LOG& log) {
   const NET* write_clock = ram.input_net(RAM_WRITE_CLOCK);
   const NET* read_clock = ram.input_net(RAM_READ_CLOCK);
   if (write_clock != nullptr) {
      log.set_port_clock(ram, RAM_WRITE_DATA, 0);
   }
   if (read_clock != nullptr) {
      log.set_port_clock(ram, RAM_READ_DATA, write_clock == nullptr || write_clock == read_clock ? 0 : 1);
   }
}

} // namespace

void settle_rams(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   for (const auto& [name, atom] : log.netlist().atoms()) {
      if (atom.m_kind != ATOM_KIND::RAM) {
         continue;
      }
      take_unread_data_off(atom, log, done);
      for (const INPUT_TYPE port : {RAM_WRITE_ADDRESS, RAM_WRITE_DATA, RAM_READ_ADDRESS}) {
         log.set_port_width(atom, port, width_in_use(atom, port));
      }
      settle_clock_lines(atom, log);
      ++done["RAMs settled"];
   }
}
