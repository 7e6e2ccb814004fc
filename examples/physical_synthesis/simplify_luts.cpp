#include "lut_view.h"
#include "passes.h"

namespace {

/// An input that shows the same net as an earlier one of the LUT.
const INPUT_TERMINAL* earlier_input(const ATOM& lut, const INPUT_TERMINAL& input) {
   for (const INPUT_TERMINAL& other : lut.m_inputs) {
      if (&other == &input) {
         return nullptr;
      }
      if (other.m_net == input.m_net) {
         return &other;
      }
   }
   return nullptr;
}

/// The function when two inputs always have the same value: the second is held at whatever the first is.
std::uint64_t with_inputs_joined(std::uint64_t mask, int first, int second) {
   return (with_input_held(mask, second, false) & ~input_mask(first)) |
          (with_input_held(mask, second, true) & input_mask(first));
}

/// Simplifies one LUT; whether there was something to simplify.
bool simplify(const ATOM& lut, CHANGE_LOG& log) {
   std::uint64_t mask = lut.m_lut_mask;
   std::vector<CONNECTION> opened;
   for (const INPUT_TERMINAL& input : lut.m_inputs) {
      if (input.m_net == nullptr) {
         continue;
      }
      if (const std::optional<bool> value = constant_value(input.m_net)) {
         mask = with_input_held(mask, input.m_index, *value);
      } else if (const INPUT_TERMINAL* earlier = earlier_input(lut, input)) {
         mask = with_inputs_joined(mask, earlier->m_index, input.m_index);
      }
   }
   for (const INPUT_TERMINAL& input : lut.m_inputs) {
      if (input.m_net != nullptr && !depends_on(mask, input.m_index)) {
         opened.push_back({LUT_INPUT, input.m_index, nullptr});
      }
   }
   if (!opened.empty()) {
      log.change_lut(lut, mask, opened);
   }
   return !opened.empty();
}

} // namespace

bool simplify_luts(CHANGE_LOG& log, ACHIEVEMENTS& done) {
   int simplified = 0;
   for (const ATOM* lut : all_luts(log.netlist())) {
      simplified += simplify(*lut, log) ? 1 : 0;
   }
   done["LUTs simplified"] += simplified;
   return simplified > 0;
}
