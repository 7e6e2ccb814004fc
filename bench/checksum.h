#ifndef CHECKSUM_H
#define CHECKSUM_H

#include <cstddef>
#include <cstdint>
#include <cstring>

/// A sum over numbers and texts in order, by which each contender shows that it did the work. Fast enough to
/// go over a gigabyte of rows, and no more than that.
class CHECKSUM {
public:
   void add(std::uint64_t number) {
      m_value = (m_value ^ number) * 0x9e3779b97f4a7c15U;
      m_value ^= m_value >> 32U;
   }

   void add(const char* text, std::size_t length) {
      add(length);
      for (; length >= sizeof(std::uint64_t); text += sizeof(std::uint64_t), length -= sizeof(std::uint64_t)) {
         std::uint64_t word = 0;
         std::memcpy(&word, text, sizeof(word));
         add(word);
      }
      std::uint64_t rest = 0;
      std::memcpy(&rest, text, length);
      add(rest);
   }

   std::uint64_t value() const { return m_value; }

private:
   std::uint64_t m_value = 1;
};

/// Adds an entry: its kind, how many fields it has, and the fields.
template <class FIELDS> void add_row(CHECKSUM& sum, int kind, const FIELDS& fields) {
   sum.add(static_cast<std::uint64_t>(kind));
   sum.add(fields.size());
   for (const auto& field : fields) {
      sum.add(field.data(), field.size());
   }
}

#endif
