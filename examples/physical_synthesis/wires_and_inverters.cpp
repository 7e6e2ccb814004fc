#include <set>

#include "lut_view.h"
#include "passes.h"

namespace {

struct BY_NAME {
   bool operator()(const ATOM* left, const ATOM* right) const { return left->m_name < right->m_name; }
};

/// The atoms that read a net, each once.
std::set<const ATOM*, BY_NAME> readers(const NET& net) {
   std::set<const ATOM*, BY_NAME> atoms;
   for (const SINK& sink : net.m_sinks) {
      atoms.insert(sink.m_atom);
   }
   return atoms;
}

/// All inputs of an atom that are on one net, to be connected to another.
std::vector<CONNECTION> reconnections(const ATOM& atom, const NET& from, const NET& to) {
   std::vector<CONNECTION> connections;
   for (const INPUT_TERMINAL& input : atom.m_inputs) {
      if (input.m_net == &from) {
         connections.push_back({input.m_type, input.m_index, &to});
      }
   }
   return connections;
}

bool can_invert(const CONNECTION& connection) {
   return connection.m_type == REGISTER_ENABLE || connection.m_type == REGISTER_CLEAR ||
          connection.m_type == RAM_WRITE_ENABLE || connection.m_type == RAM_READ_ENABLE;
}

bool can_invert_all(const std::vector<CONNECTION>& connections) {
   for (const CONNECTION& connection : connections) {
      if (!can_invert(connection)) {
         return false;
      }
   }
   return true;
}

/// Pushes an inverter into one reader; false when that reader cannot invert.
bool absorb(const ATOM& reader, const NET& inverted, const NET& source, CHANGE_LOG& log) {
   const std::vector<CONNECTION> connections = reconnections(reader, inverted, source);
   if (reader.m_kind == ATOM_KIND::LUT) {
      std::uint64_t mask = reader.m_lut_mask;
      for (const CONNECTION& connection : connections) {
         mask = with_input_inverted(mask, connection.m_index);
      }
      log.change_lut(reader, mask, connections);
      return true;
   }
   if (!CHANGE_LOG::can_connect(reader) || !can_invert_all(connections)) {
      return false;
   }
   log.toggle_inversion_and_connect(reader, connections);
   return true;
}

} // namespace

bool bypass_wires(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   int moved = 0;
   for (const ATOM* lut : all_luts(log.netlist())) {
      const INPUT_TERMINAL* input = wire_input(*lut);
      if (input == nullptr) {
         continue;
      }
      const NET& wire = *lut->output_net();
      for (const ATOM* reader : readers(wire)) {
         if (CHANGE_LOG::can_connect(*reader)) {
            log.connect(*reader, reconnections(*reader, wire, *input->m_net));
            ++moved;
         }
      }
   }
   done["readers led around a wire"] += moved;
   return moved > 0;
}

bool absorb_inverters(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   int absorbed = 0;
   for (const ATOM* lut : all_luts(log.netlist())) {
      const INPUT_TERMINAL* input = inverter_input(*lut);
      if (input == nullptr) {
         continue;
      }
      for (const ATOM* reader : readers(*lut->output_net())) {
         absorbed += absorb(*reader, *lut->output_net(), *input->m_net, log) ? 1 : 0;
      }
   }
   done["inverters pushed into a reader"] += absorbed;
   return absorbed > 0;
}
