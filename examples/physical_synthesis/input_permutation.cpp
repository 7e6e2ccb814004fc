#include <algorithm>
#include <array>
#include <unordered_map>

#include "evaluation_order.h"
#include "lut_mask.h"
#include "passes.h"

namespace {

/// From each input of a LUT to its output, in tenths of a LUT's delay: the higher the input the faster.
constexpr std::array<int, LUT_INPUTS> INPUT_DELAY = {10, 9, 8, 7, 6, 5};
constexpr int MULTIPLIER_DELAY = 30;
constexpr int RAM_DELAY = 20;

/// The use of the input that decides when the output of its LUT is there.
constexpr int USED_BY_CRITICAL_SIGNAL = 1;

/// When signals are there. Registers and pins are at 0; buffers carry no data and cost nothing.
class ARRIVALS {
public:
   int of(const NET* net) const {
      if (net == nullptr) {
         return 0;
      }
      if (net->m_driver->m_kind == ATOM_KIND::RAM) {
         return RAM_DELAY;
      }
      const auto found = m_arrivals.find(net);
      return found == m_arrivals.end() ? 0 : found->second;
   }

   /// At the output of an atom whose inputs are known.
   int behind(const ATOM& atom) const {
      int latest = 0;
      for (const INPUT_TERMINAL& input : atom.m_inputs) {
         if (input.m_net != nullptr) {
            latest = std::max(latest, of(input.m_net) + delay(atom, input.m_index));
         }
      }
      return latest;
   }

   void set(const ATOM& atom) {
      for (const OUTPUT_TERMINAL& output : atom.m_outputs) {
         m_arrivals[output.m_net] = behind(atom);
      }
   }

private:
   static int delay(const ATOM& atom, int input) {
      if (atom.m_kind == ATOM_KIND::LUT) {
         return INPUT_DELAY.at(static_cast<std::size_t>(input));
      }
      return atom.m_kind == ATOM_KIND::MULTIPLIER ? MULTIPLIER_DELAY : 0;
   }

   std::unordered_map<const NET*, int> m_arrivals;
};

/// The inputs of a LUT as they should lie: indices in rising order, the signals on them by arrival.
struct ORDER {
   std::vector<int> m_indices;
   std::vector<const INPUT_TERMINAL*> m_signals;

   int arrival(const ARRIVALS& arrivals) const {
      int latest = 0;
      for (std::size_t position = 0; position < m_indices.size(); ++position) {
         if (const NET* net = m_signals[position]->m_net) {
            latest =
                std::max(latest, arrivals.of(net) + INPUT_DELAY.at(static_cast<std::size_t>(m_indices[position])));
         }
      }
      return latest;
   }
};

ORDER best_order(const ATOM& lut, const ARRIVALS& arrivals) {
   ORDER order;
   for (const INPUT_TERMINAL& input : lut.m_inputs) {
      order.m_indices.push_back(input.m_index);
      order.m_signals.push_back(&input);
   }
   std::sort(order.m_indices.begin(), order.m_indices.end());
   std::stable_sort(order.m_signals.begin(), order.m_signals.end(),
                    [&](const INPUT_TERMINAL* left, const INPUT_TERMINAL* right) {
                       const bool left_open = left->m_net == nullptr;
                       const bool right_open = right->m_net == nullptr;
                       return std::make_tuple(!left_open, arrivals.of(left->m_net)) <
                              std::make_tuple(!right_open, arrivals.of(right->m_net));
                    });
   return order;
}

void carry_out(const ATOM& lut, const ORDER& order, CHANGE_LOG& log) {
   std::vector<int> places = {0, 1, 2, 3, 4, 5};
   std::vector<CONNECTION> connections;
   for (std::size_t position = 0; position < order.m_indices.size(); ++position) {
      const INPUT_TERMINAL& signal = *order.m_signals[position];
      places[static_cast<std::size_t>(signal.m_index)] = order.m_indices[position];
      if (signal.m_index != order.m_indices[position]) {
         connections.push_back({LUT_INPUT, order.m_indices[position], signal.m_net});
      }
   }
   const int last = order.m_indices.back();
   log.change_lut(lut, with_inputs_moved(lut.m_lut_mask, places), connections);
   log.set_usage(lut, LUT_INPUT, last, USED_BY_CRITICAL_SIGNAL);
}

} // namespace

void permute_lut_inputs(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   ARRIVALS arrivals;
   for (const ATOM* atom : evaluation_order(log.netlist())) {
      if (atom->m_kind == ATOM_KIND::LUT && !atom->m_inputs.empty()) {
         const ORDER order = best_order(*atom, arrivals);
         if (order.arrival(arrivals) < arrivals.behind(*atom)) {
            carry_out(*atom, order, log);
            ++done["LUTs with inputs permuted"];
         }
      }
      arrivals.set(*atom);
   }
}
