#include "evaluation_order.h"

#include <cstddef>
#include <unordered_map>

namespace {

/// The nets that an atom waits for.
std::size_t count_waited_for(const ATOM& atom) {
   std::size_t count = 0;
   for (const INPUT_TERMINAL& input : atom.m_inputs) {
      const bool waits = input.m_net != nullptr && input.m_net->m_driver != nullptr;
      count += waits && is_combinational(*input.m_net->m_driver) ? 1U : 0U;
   }
   return count;
}

} // namespace

bool is_combinational(const ATOM& atom) {
   return atom.m_kind == ATOM_KIND::LUT || atom.m_kind == ATOM_KIND::MULTIPLIER ||
          atom.m_kind == ATOM_KIND::CLOCK_BUFFER;
}

std::vector<const ATOM*> evaluation_order(const NETLIST& netlist) {
   std::unordered_map<const ATOM*, std::size_t> waiting;
   std::vector<const ATOM*> order;
   for (const auto& [name, atom] : netlist.atoms()) {
      if (!is_combinational(atom)) {
         continue;
      }
      waiting[&atom] = count_waited_for(atom);
      if (waiting[&atom] == 0) {
         order.push_back(&atom);
      }
   }
   for (std::size_t position = 0; position < order.size(); ++position) {
      for (const OUTPUT_TERMINAL& output : order[position]->m_outputs) {
         for (const SINK& sink : output.m_net->m_sinks) {
            if (is_combinational(*sink.m_atom) && --waiting[sink.m_atom] == 0) {
               order.push_back(sink.m_atom);
            }
         }
      }
   }
   for (const auto& [name, atom] : netlist.atoms()) {
      if (is_combinational(atom) && waiting[&atom] != 0) {
         throw NETLIST_ERROR("\"" + name + "\" is part of a loop without a register, or behind one");
      }
   }
   return order;
}
