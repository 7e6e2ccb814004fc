#ifndef FLOOR_SIMD_H
#define FLOOR_SIMD_H

#include <cstddef>
#include <cstdint>

/// \file
/// Scans of text, 64 bytes at a time: with AVX2 when the machine has it, with SSE2 else. Texts may be read up
/// to 63 bytes beyond their end, and positions written up to 64 beyond the last.

/// Bytes that must be readable behind a text, and positions that must be writable behind the last.
constexpr std::size_t SIMD_SLACK = 64;

/// The positions of all commas and line feeds.
///
/// \return how many there are
std::size_t find_separators(const char* text, std::size_t length, std::uint32_t* positions);

/// The positions where words begin and end, alternating: white space separates words. A word that reaches to
/// the end of the text has no end position.
///
/// \return how many positions there are
std::size_t find_words(const char* text, std::size_t length, std::uint32_t* positions);

/// The number of commas.
std::size_t count_commas(const char* text, std::size_t length);

#endif
