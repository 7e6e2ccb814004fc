#include "fsyn_fields.h"

#include <array>
#include <charconv>
#include <cstdio>

std::string mask_text(unsigned long mask) {
   std::array<char, 20> text = {};
   std::snprintf(text.data(), text.size(), "0x%016lx", mask);
   return text.data();
}

std::string_view lut_mode_text(int mode) {
   return mode == 0 ? "NORMAL" : mode == 1 ? "SUM" : "CARRY";
}

void FSYN_TEXT_WRITER::put_half(unsigned long half) {
   std::array<char, 16> text = {};
   const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), half, 16);
   put_word({text.data(), static_cast<std::size_t>(end.ptr - text.data())});
}

void list_fields(LOG_ITEM& item) {
   item.m_fields.clear();
   item.m_texts.clear();
   logdb_fsyn_visit_kind(item.m_kind, [&item]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
      FSYN_FIELD_LISTER lister(item);
      LOGDB_FSYN_KIND<RECORD>::layout(lister, static_cast<const RECORD&>(*item.m_record));
   });
}

void make_empty_record(int kind, LOG_ITEM& item) {
   item.m_format = LOG_FORMAT::FSYN;
   item.m_kind = kind;
   item.m_fields.clear();
   logdb_fsyn_visit_kind(kind, [&item]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
      item.m_record.reset(new_record<RECORD>());
      list_fields(item);
   });
}

std::string record_text(const LOGDB_FSYN_LOG_ENTRY& record) {
   std::string text;
   logdb_fsyn_visit_kind(record.m_type, [&]<class RECORD>(LOGDB_FSYN_KIND<RECORD>) {
      FSYN_TEXT_WRITER writer(text);
      writer.word(LOGDB_FSYN_KIND<RECORD>::m_keyword);
      LOGDB_FSYN_KIND<RECORD>::layout(writer, static_cast<const RECORD&>(record));
   });
   return text;
}
