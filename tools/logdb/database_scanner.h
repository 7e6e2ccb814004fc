#ifndef TOOL_DATABASE_SCANNER_H
#define TOOL_DATABASE_SCANNER_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "input.h"
#include "line_source.h"

/// \file
/// The quick way through a database: the separators of 64 bytes are found at a time, and nothing is copied. It is
/// for commands that look at every entry and keep none. What is not plain, they look at once more, line by line.

/// Where bytes that matter stand in 64 bytes.
struct BYTE_MASKS {
   std::uint64_t m_ends = 0; ///< commas and line feeds
   std::uint64_t m_bars = 0;
};

constexpr std::size_t scan_step = 64;
constexpr std::size_t scan_chunk = 256;

/// Finds them in so many times 64 bytes. Answers whether there is a zero byte.
bool find_masks(const char* bytes, std::size_t steps, BYTE_MASKS* masks);

/// What an entry of a kind looks like.
struct ENTRY_SHAPE {
   int m_kind = -1;              ///< -1 for a name that is none
   unsigned m_pieces = 0;        ///< with the name of the kind
   unsigned m_nodes = 0;         ///< a bit for each piece that is a node name; see is_node_piece
   bool m_is_debug_name = false; ///< whether the name is spelled as it is written
};

/// Whether the piece at a position is a node name. A line may have more pieces than there are bits.
inline bool is_node_piece(unsigned nodes, unsigned position) {
   return position < 32 && ((nodes >> position) & 1U) != 0;
}

/// The shape of the kind that a name stands for.
ENTRY_SHAPE shape_of_kind(std::string_view name);

/// Remembers the shapes of the kinds that came last, as neighbours are mostly of a few kinds.
class RECENT_SHAPES {
public:
   const ENTRY_SHAPE& find(std::string_view name) {
      if (name != m_recent[m_place].m_name) {
         look_up(name);
      }
      return m_recent[m_place].m_shape;
   }

private:
   struct NAMED_SHAPE {
      std::string m_name = "\n"; // no line has it
      ENTRY_SHAPE m_shape;
   };
   void look_up(std::string_view name);

   std::array<NAMED_SHAPE, 4> m_recent;
   std::size_t m_place = 0;
   std::size_t m_oldest = 0;
};

/// Whether the machine counts the bits of a word with one instruction.
bool counts_bits_quickly();

/// Goes over whole lines. The visitor is told of each piece and then of the line:
///
///     field(position, piece, bars)        position 0 is the name of the kind
///     line(text, pieces, ends_in_comma)   the text without its line feed
template <class VISITOR> class DATABASE_SCANNER {
public:
   DATABASE_SCANNER(VISITOR& visitor) : m_visitor(visitor) {}

   /// \param lines  ends in a line feed
   /// \return false when the lines hold a zero byte; then some of them were visited
   bool scan(std::string_view lines) {
      m_line_begin = m_piece_begin = lines.data();
      std::array<BYTE_MASKS, scan_chunk> masks;
      const char* bytes = lines.data();
      std::size_t left = lines.size() / scan_step;
      while (left != 0) {
         const std::size_t steps = left < scan_chunk ? left : scan_chunk;
         if (find_masks(bytes, steps, masks.data())) {
            return false;
         }
         if (counts_bits_quickly()) {
            visit_quickly(bytes, steps, masks.data());
         } else {
            visit(bytes, steps, masks.data());
         }
         bytes += steps * scan_step;
         left -= steps;
      }
      return scan_tail(bytes, lines.size() % scan_step);
   }

private:
   bool scan_tail(const char* bytes, std::size_t size) {
      std::array<char, scan_step> padded;
      padded.fill(' ');
      std::memcpy(padded.data(), bytes, size);
      BYTE_MASKS masks;
      if (find_masks(padded.data(), 1, &masks)) {
         return false;
      }
      visit(bytes, 1, &masks);
      return true;
   }

   void visit(const char* bytes, std::size_t steps, const BYTE_MASKS* masks) {
      for (std::size_t index = 0; index < steps; ++index) {
         visit_step(bytes + index * scan_step, masks[index]);
      }
   }

#ifdef __x86_64__
   // The same with an instruction that not every machine has.
   __attribute__((target("popcnt"))) void visit_quickly(const char* bytes, std::size_t steps,
                                                        const BYTE_MASKS* masks) {
      for (std::size_t index = 0; index < steps; ++index) {
         visit_step(bytes + index * scan_step, masks[index]);
      }
   }
#else
   void visit_quickly(const char* bytes, std::size_t steps, const BYTE_MASKS* masks) {
      visit(bytes, steps, masks);
   }
#endif

   __attribute__((always_inline)) inline void visit_step(const char* bytes, const BYTE_MASKS& masks) {
      for (std::uint64_t ends = masks.m_ends; ends != 0; ends &= ends - 1) {
         const auto place = static_cast<unsigned>(std::countr_zero(ends));
         const char* end = bytes + place;
         const unsigned bars = m_bars + static_cast<unsigned>(std::popcount(masks.m_bars & ((1ULL << place) - 1)));
         if (*end == ',') {
            m_visitor.field(m_position++, std::string_view(m_piece_begin, end), bars - m_piece_bars);
         } else {
            end_line(end, bars);
         }
         m_piece_begin = end + 1;
         m_piece_bars = bars;
      }
      m_bars += static_cast<unsigned>(std::popcount(masks.m_bars));
   }

   void end_line(const char* end, unsigned bars) {
      const bool has_rest = end != m_piece_begin;
      if (has_rest) {
         m_visitor.field(m_position++, std::string_view(m_piece_begin, end), bars - m_piece_bars);
      }
      m_visitor.line(std::string_view(m_line_begin, end), m_position, !has_rest);
      m_line_begin = end + 1;
      m_position = 0;
   }

   VISITOR& m_visitor;
   const char* m_line_begin = nullptr;
   const char* m_piece_begin = nullptr;
   unsigned m_position = 0;
   unsigned m_bars = 0;
   unsigned m_piece_bars = 0;
};

/// The beginning of some whole lines, up to the first line that is too long to be read.
std::string_view readable_lines(std::string_view lines);

/// Hands out a database in pieces of many whole lines; a line that is too long to be read ends it.
class BLOCK_SOURCE {
public:
   explicit BLOCK_SOURCE(INPUT& input) : m_window(input) {}

   /// The next lines; empty at the end, or where a line is too long to be read, or has no end.
   std::string_view next() {
      m_window.drop(m_taken);
      m_taken = 0;
      const void* last = nullptr;
      std::size_t searched = 0;
      while (last == nullptr) {
         last = m_window.size() == searched
                    ? nullptr
                    : ::memrchr(m_window.begin() + searched, '\n', m_window.size() - searched);
         if (last == nullptr) {
            searched = m_window.size();
            if (searched > longest_database_line || !m_window.more()) {
               return {};
            }
         }
      }
      const std::string_view lines(m_window.begin(), static_cast<const char*>(last) + 1);
      m_taken = readable_lines(lines).size();
      return lines.substr(0, m_taken);
   }

   std::uint64_t offset() const { return m_window.offset(); }

   /// What is left when next() gave nothing.
   std::size_t rest() const { return m_window.size(); }
   std::string_view rest_of_text() const { return {m_window.begin(), m_window.size()}; }
   bool more() { return m_window.more(); }
   void drop(std::size_t count) { m_window.drop(count); }

private:
   INPUT_WINDOW m_window;
   std::size_t m_taken = 0;
};

/// What was left when the pieces ended, as an input of its own.
class REST_INPUT : public INPUT {
public:
   explicit REST_INPUT(BLOCK_SOURCE& blocks) : m_blocks(blocks) {}
   std::size_t read(char* to, std::size_t size) override;

private:
   BLOCK_SOURCE& m_blocks;
};

#endif
