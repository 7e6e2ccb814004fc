#ifndef TOOL_SEQUENCE_DIFF_H
#define TOOL_SEQUENCE_DIFF_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// The pairs of equal elements, in order, that two sequences have in common. It looks for elements that occur once
/// in each, and then between them; where there are none, and too many elements to try all, none are paired. So the
/// time grows little more than with the length.
std::vector<std::pair<std::size_t, std::size_t>> common_elements(const std::vector<std::uint64_t>& left,
                                                                 const std::vector<std::uint64_t>& right);

#endif
