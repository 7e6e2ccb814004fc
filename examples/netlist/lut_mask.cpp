#include "lut_mask.h"

#include <array>
#include <cstddef>

std::uint64_t input_mask(int input) {
   constexpr std::array<std::uint64_t, 6> masks = {0xaaaaaaaaaaaaaaaa, 0xcccccccccccccccc, 0xf0f0f0f0f0f0f0f0,
                                                   0xff00ff00ff00ff00, 0xffff0000ffff0000, 0xffffffff00000000};
   return masks.at(static_cast<std::size_t>(input));
}

std::uint64_t with_input_held(std::uint64_t mask, int input, bool value) {
   const int distance = 1 << input;
   if (value) {
      const std::uint64_t half = mask & input_mask(input);
      return half | (half >> distance);
   }
   const std::uint64_t half = mask & ~input_mask(input);
   return half | (half << distance);
}

std::uint64_t with_input_inverted(std::uint64_t mask, int input) {
   const int distance = 1 << input;
   return ((mask & input_mask(input)) >> distance) | ((mask & ~input_mask(input)) << distance);
}

bool depends_on(std::uint64_t mask, int input) {
   return with_input_held(mask, input, false) != with_input_held(mask, input, true);
}

std::uint64_t with_inputs_moved(std::uint64_t mask, const std::vector<int>& places) {
   std::uint64_t moved = 0;
   for (unsigned value = 0; value < 64; ++value) {
      unsigned moved_value = 0;
      for (std::size_t input = 0; input < places.size(); ++input) {
         moved_value |= ((value >> input) & 1U) << places[input];
      }
      moved |= ((mask >> value) & 1U) << moved_value;
   }
   return moved;
}
