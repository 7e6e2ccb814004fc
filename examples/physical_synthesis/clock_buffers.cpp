#include <algorithm>
#include <tuple>

#include "passes.h"

namespace {

/// A clock buffer pays for this many registers.
constexpr std::size_t REGISTERS_FOR_A_GATE = 64;
constexpr std::size_t READERS_FOR_A_BUFFER = 64;

/// The inputs of one type that read a net.
std::size_t count_readers(const NET& net, int input_type) {
   return static_cast<std::size_t>(std::count_if(net.m_sinks.begin(), net.m_sinks.end(), [&](const SINK& sink) {
      return sink.terminal().m_type == input_type;
   }));
}

/// Registers by clock and enable, in the order of the names of these.
using GROUPS = std::map<std::tuple<std::string, std::string>, std::vector<const ATOM*>>;

GROUPS groups_by_enable(const NETLIST& netlist) {
   GROUPS groups;
   for (const auto& [name, atom] : netlist.atoms()) {
      const INPUT_TERMINAL* enable = atom.find_input(REGISTER_ENABLE);
      const NET* clock = atom.input_net(REGISTER_CLOCK);
      if (enable != nullptr && enable->m_net != nullptr && !enable->m_inverted && clock != nullptr) {
         groups[{clock->m_name, enable->m_net->m_name}].push_back(&atom);
      }
   }
   return groups;
}

/// All nets that an atom drives and that have enough inputs of one type on them.
std::vector<const NET*> busy_nets(const NETLIST& netlist, int input_type) {
   std::vector<const NET*> nets;
   for (const auto& [name, atom] : netlist.atoms()) {
      const NET* net = atom.m_kind == ATOM_KIND::CLOCK_BUFFER ? nullptr : atom.output_net();
      if (net != nullptr && count_readers(*net, input_type) >= READERS_FOR_A_BUFFER) {
         nets.push_back(net);
      }
   }
   return nets;
}

/// The global networks of the target have numbers; each buffer drives one.
void insert_buffers(CHANGE_LOG& log, int input_type, BUFFER_MOVES moves, int& network, ACHIEVEMENTS& done) {
   for (const NET* net : busy_nets(log.netlist(), input_type)) {
      const NET& buffered = log.insert_clock_buffer(*net, net->m_name + "~buffer", nullptr, moves);
      log.set_global(*buffered.m_driver, BUFFER_INPUT, network++);
      ++done["clock buffers inserted"];
   }
}

} // namespace

void gate_clocks(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   for (const auto& [key, registers] : groups_by_enable(log.netlist())) {
      if (registers.size() < REGISTERS_FOR_A_GATE) {
         continue;
      }
      const NET& clock = *registers.front()->input_net(REGISTER_CLOCK);
      const NET& enable = *registers.front()->input_net(REGISTER_ENABLE);
      const NET& gated = log.insert_clock_buffer(clock, enable.m_name + "~gated_clock", &enable, MOVES_NOTHING);
      for (const ATOM* reg : registers) {
         log.connect(*reg, {{REGISTER_CLOCK, 0, &gated}, {REGISTER_ENABLE, 0, nullptr}});
      }
      ++done["clock buffers inserted"];
      done["registers moved to a gated clock"] += static_cast<int>(registers.size());
   }
}

void insert_clock_buffers(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   int network = 0;
   insert_buffers(log, REGISTER_CLOCK, MOVES_CLOCKS, network, done);
   insert_buffers(log, REGISTER_CLEAR, MOVES_CLEARS, network, done);
}
