#ifndef RECORDS_OF_BYTES_H
#define RECORDS_OF_BYTES_H

#include <vector>

#include "fsyn_samples.h"
#include "fuzz_support.h"

/// Fills the members of a record from an input.
struct FUZZ_FILLER {
   FUZZ_BYTES& m_bytes;
   std::size_t m_list_size = 0;

   void fill(MEM_STRING& name) const { name = m_bytes.text(); }
   void fill(MEM_VECTOR<MEM_STRING>& names) const {
      names.resize(m_list_size);
      for (MEM_STRING& name : names) {
         fill(name);
      }
   }
   template <class NUMBER> void fill(MEM_VECTOR<NUMBER>& numbers) const {
      // Lists that should be of one length need not be.
      numbers.resize(m_bytes.byte() < 200 ? m_list_size : m_bytes.count(6));
      for (NUMBER& number : numbers) {
         fill(number);
      }
   }
   template <class NUMBER> void fill(NUMBER& number) const {
      // Small ones take one byte.
      const std::uint8_t head = m_bytes.byte();
      number = static_cast<NUMBER>(head < 224 ? head : m_bytes.number(sizeof(NUMBER)));
   }
};

/// Records made of an input, all kinds but SET_INSTANCE_NAME, which cannot be written.
inline std::vector<FSYN_RECORD> records_of_bytes(FUZZ_BYTES& bytes) {
   std::vector<FSYN_RECORD> records;
   while (!bytes.is_empty()) {
      const int kind = bytes.byte() % 44;
      const FUZZ_FILLER filler{bytes, bytes.byte() % 6U};
      int index = 0;
      for_each_fsyn_kind([&]<class RECORD>() {
         if (index++ != kind || FSYN_KIND<RECORD>::value == SET_INSTANCE_NAME) {
            return;
         }
         auto* record = new (0) RECORD;
         records.emplace_back(record);
         filler.fill(record->m_node_name);
         for_each_fsyn_field(*record, [&](const char* /*name*/, auto& member) { filler.fill(member); });
      });
   }
   return records;
}

#endif
