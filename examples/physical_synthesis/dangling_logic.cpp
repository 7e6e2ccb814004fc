#include <set>

#include "passes.h"

namespace {

/// Everything in front of the atoms in the list, they themselves included.
std::set<const ATOM*> everything_in_front(std::vector<const ATOM*> atoms) {
   std::set<const ATOM*> found(atoms.begin(), atoms.end());
   while (!atoms.empty()) {
      const ATOM* atom = atoms.back();
      atoms.pop_back();
      for (const INPUT_TERMINAL& input : atom->m_inputs) {
         if (input.m_net != nullptr && found.insert(input.m_net->m_driver).second) {
            atoms.push_back(input.m_net->m_driver);
         }
      }
   }
   return found;
}

/// The dangling atoms that can only go together with the first: those behind it, which read it directly or
/// over others. Nothing else reads a dangling atom, or it would not dangle.
std::vector<const ATOM*> cone_behind(const ATOM* first) {
   std::set<const ATOM*> seen = {first};
   std::vector<const ATOM*> cone = {first};
   for (std::size_t position = 0; position < cone.size(); ++position) {
      for (const OUTPUT_TERMINAL& output : cone[position]->m_outputs) {
         for (const SINK& sink : output.m_net->m_sinks) {
            if (seen.insert(sink.m_atom).second) {
               cone.push_back(sink.m_atom);
            }
         }
      }
   }
   return cone;
}

} // namespace

void sweep_dangling(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   std::vector<const ATOM*> output_pins;
   for (const auto& [name, atom] : log.netlist().atoms()) {
      if (atom.m_kind == ATOM_KIND::OUTPUT_PIN) {
         output_pins.push_back(&atom);
      }
   }
   const std::set<const ATOM*> used = everything_in_front(output_pins);
   std::vector<std::string> dangling;
   for (const auto& [name, atom] : log.netlist().atoms()) {
      if (!used.contains(&atom) && atom.m_kind != ATOM_KIND::INPUT_PIN) {
         dangling.push_back(name);
      }
   }
   for (const std::string& name : dangling) {
      // An earlier cone may have taken it along.
      if (const ATOM* atom = log.netlist().find_atom(name)) {
         const std::vector<const ATOM*> cone = cone_behind(atom);
         done["dangling atoms deleted"] += static_cast<int>(cone.size());
         log.delete_atoms(cone);
      }
   }
}
