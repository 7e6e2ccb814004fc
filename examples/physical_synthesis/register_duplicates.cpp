#include <algorithm>

#include "passes.h"

namespace {

/// What one register may drive without a delay that hurts.
constexpr std::size_t MOST_READERS = 10;

/// The readers that can be led to a duplicate, neighbours in the hierarchy side by side.
std::vector<SINK> movable_readers(const NET& net) {
   std::vector<SINK> readers;
   for (const SINK& sink : net.m_sinks) {
      if (CHANGE_LOG::can_connect(*sink.m_atom)) {
         readers.push_back(sink);
      }
   }
   std::sort(readers.begin(), readers.end(), [](const SINK& left, const SINK& right) {
      return std::tie(left.m_atom->m_name, left.m_input) < std::tie(right.m_atom->m_name, right.m_input);
   });
   return readers;
}

/// Leads readers to a net; those of one atom in one change.
void move_readers(const std::vector<SINK>& readers, const NET& net, CHANGE_LOG& log) {
   std::size_t position = 0;
   while (position < readers.size()) {
      const ATOM& atom = *readers[position].m_atom;
      std::vector<CONNECTION> connections;
      for (; position < readers.size() && readers[position].m_atom == &atom; ++position) {
         const INPUT_TERMINAL& input = readers[position].terminal();
         connections.push_back({input.m_type, input.m_index, &net});
      }
      log.connect(atom, connections);
   }
}

/// Leaves the first readers to the register, and gives each further lot a duplicate.
void share_readers_out(const ATOM& reg, CHANGE_LOG& log, ACHIEVEMENTS& done) {
   const std::vector<SINK> readers = movable_readers(*reg.output_net());
   int number = 0;
   for (std::size_t begin = MOST_READERS; begin < readers.size(); begin += MOST_READERS) {
      const std::size_t end = std::min(begin + MOST_READERS, readers.size());
      const ATOM& duplicate = log.duplicate_register(reg, reg.m_name + "~duplicate" + std::to_string(++number));
      const auto first = readers.begin() + static_cast<std::ptrdiff_t>(begin);
      const auto last = readers.begin() + static_cast<std::ptrdiff_t>(end);
      move_readers({first, last}, *duplicate.output_net(), log);
      ++done["registers duplicated"];
   }
}

} // namespace

void duplicate_registers(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   std::vector<const ATOM*> busy;
   for (const auto& [name, atom] : log.netlist().atoms()) {
      if (atom.m_kind == ATOM_KIND::REGISTER && atom.output_net()->m_sinks.size() > MOST_READERS) {
         busy.push_back(&atom);
      }
   }
   for (const ATOM* reg : busy) {
      share_readers_out(*reg, log, done);
   }
}
