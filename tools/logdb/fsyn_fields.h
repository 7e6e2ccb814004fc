#ifndef TOOL_FSYN_FIELDS_H
#define TOOL_FSYN_FIELDS_H

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "log_item.h"
#include "logdb_fsyn_record_reader.h"

/// \file
/// What the command does with the library's one description of records: it lists their fields and writes their
/// text.

/// A member's name without its "m_".
inline std::string_view field_name(const char* member) {
   return std::string_view(member).substr(2);
}

/// Names that are not in the design's hierarchy.
inline bool is_node_field(std::string_view name) {
   return name != "instance_name" && name != "source_port_id" && name != "target_port_id" &&
          name != "boundary_port_id";
}

template <class T> FIELD_TYPE field_type(std::string_view name) {
   using VALUE = std::remove_const_t<T>;
   if constexpr (std::is_same_v<VALUE, MEM_STRING>) {
      return is_node_field(name) ? FIELD_TYPE::NODE : FIELD_TYPE::NAME;
   } else if constexpr (std::is_same_v<VALUE, unsigned char>) {
      return FIELD_TYPE::FLAG;
   } else if constexpr (std::is_same_v<VALUE, unsigned short>) {
      return FIELD_TYPE::INDEX;
   } else if constexpr (std::is_same_v<VALUE, unsigned long>) {
      return FIELD_TYPE::MASK;
   } else {
      return FIELD_TYPE::NUMBER;
   }
}

/// A mask as people write it: 0x and sixteen digits.
std::string mask_text(unsigned long mask);

/// The word for the mode of a LUT mask.
std::string_view lut_mode_text(int mode);

/// Lists the fields of a record.
class FSYN_FIELD_LISTER {
public:
   explicit FSYN_FIELD_LISTER(LOG_ITEM& item) : m_item(item) {}

   template <class... FIELDS> void line(const LOGDB_FSYN_FIELD<FIELDS>&... fields) { (add(fields), ...); }
   template <class T> void line_with_blank(const LOGDB_FSYN_FIELD<T>& field) { add(field); }
   template <class T> void lost_name(const LOGDB_FSYN_FIELD<T>& field) { add(field); }
   template <class T> void names_until(const LOGDB_FSYN_FIELD<T>& names, std::string_view) { add_list(names); }
   template <class T> void slots_until(const LOGDB_FSYN_FIELD<T>& slots, std::string_view);
   template <class A, class B, class C>
   void ram_inputs_until(const LOGDB_FSYN_FIELD<A>& types, const LOGDB_FSYN_FIELD<B>& indices,
                         const LOGDB_FSYN_FIELD<C>& names, std::string_view) {
      add_list(types);
      add_list(indices);
      add_list(names);
   }
   template <class A, class B>
   void ports(std::string_view, const LOGDB_FSYN_FIELD<A>& types, const LOGDB_FSYN_FIELD<B>& names) {
      add_list(types);
      add_list(names);
   }
   void word(std::string_view) {}
   template <class MASK, class... FIELDS>
   void lut_mask(const LOGDB_FSYN_FIELD<MASK>& mask, const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      add(mask);
      (add(fields), ...);
   }
   template <class T> void lut_mode(const LOGDB_FSYN_FIELD<T>& mode) {
      push(field_name(mode.m_name), lut_mode_text(mode.m_value), FIELD_TYPE::WORD);
   }
   // No name is no node.
   template <class T> void optional_name(const LOGDB_FSYN_FIELD<T>& name, std::string_view) {
      push(field_name(name.m_name), name.m_value, name.m_value.empty() ? FIELD_TYPE::NAME : FIELD_TYPE::NODE);
   }
   template <class RECORD> void pad_to_core(const RECORD&) {}

private:
   void push(std::string_view name, std::string_view value, FIELD_TYPE type, int index = no_element,
             FIELD_SHAPE shape = FIELD_SHAPE::SCALAR) {
      m_item.m_fields.push_back({name, value, index, type, shape});
   }

   template <class T> std::string_view text_of(const T& value) {
      if constexpr (std::is_same_v<T, MEM_STRING>) {
         return value;
      } else if constexpr (std::is_same_v<T, unsigned long>) {
         return m_item.m_texts.emplace_back(mask_text(value));
      } else {
         return m_item.m_texts.emplace_back(std::to_string(static_cast<long>(value)));
      }
   }

   template <class T> void add(const LOGDB_FSYN_FIELD<T>& field) {
      const std::string_view name = field_name(field.m_name);
      push(name, text_of(field.m_value), field_type<T>(name));
   }

   template <class T> void add_list(const LOGDB_FSYN_FIELD<T>& list) {
      using ELEMENT = typename std::remove_const_t<T>::value_type;
      const std::string_view name = field_name(list.m_name);
      int index = 0;
      for (const ELEMENT& element : list.m_value) {
         push(name, text_of(element), field_type<ELEMENT>(name), index++, FIELD_SHAPE::LIST);
      }
      if (index == 0) {
         push(name, {}, field_type<ELEMENT>(name), no_element, FIELD_SHAPE::LIST);
      }
   }

   LOG_ITEM& m_item;
};

template <class T> void FSYN_FIELD_LISTER::slots_until(const LOGDB_FSYN_FIELD<T>& slots, std::string_view) {
   const std::string_view name = field_name(slots.m_name);
   bool is_empty = true;
   for (std::size_t index = 0; index < slots.m_value.size(); ++index) {
      if (slots.m_value[index] != logdb_fsyn_unchanged_slot) {
         push(name, slots.m_value[index], FIELD_TYPE::NODE, static_cast<int>(index), FIELD_SHAPE::SLOTS);
         is_empty = false;
      }
   }
   if (is_empty) {
      push(name, {}, FIELD_TYPE::NODE, no_element, FIELD_SHAPE::SLOTS);
   }
}

/// Writes the text of a record, as the library does.
class FSYN_TEXT_WRITER {
public:
   explicit FSYN_TEXT_WRITER(std::string& text) : m_text(text) {}

   template <class... FIELDS> void line(const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      (put(fields.m_value), ...);
      end_line();
   }
   template <class T> void line_with_blank(const LOGDB_FSYN_FIELD<T>& field) {
      put(field.m_value);
      m_text += " \n";
      m_is_first = true;
   }
   template <class T> void lost_name(const LOGDB_FSYN_FIELD<T>& name) { line(name); }
   template <class T> void names_until(const LOGDB_FSYN_FIELD<T>& names, std::string_view terminator) {
      for (const MEM_STRING& name : names.m_value) {
         word(name);
      }
      word(terminator);
   }
   template <class T> void slots_until(const LOGDB_FSYN_FIELD<T>& slots, std::string_view terminator) {
      for (std::size_t index = 0; index < slots.m_value.size(); ++index) {
         if (slots.m_value[index] != logdb_fsyn_unchanged_slot) {
            put(static_cast<long>(index));
            word(slots.m_value[index]);
         }
      }
      word(terminator);
   }
   template <class A, class B, class C>
   void ram_inputs_until(const LOGDB_FSYN_FIELD<A>& types, const LOGDB_FSYN_FIELD<B>& indices,
                         const LOGDB_FSYN_FIELD<C>& names, std::string_view terminator) {
      for (std::size_t index = 0; index < names.m_value.size(); ++index) {
         put(types.m_value[index]);
         put(indices.m_value[index]);
         word(names.m_value[index]);
      }
      word(terminator);
   }
   template <class A, class B>
   void ports(std::string_view group, const LOGDB_FSYN_FIELD<A>& types, const LOGDB_FSYN_FIELD<B>& names) {
      for (std::size_t index = 0; index < types.m_value.size(); ++index) {
         put_word(group);
         put(types.m_value[index]);
         word(names.m_value[index]);
      }
   }
   void word(std::string_view text) {
      put_word(text);
      end_line();
   }
   template <class MASK, class... FIELDS>
   void lut_mask(const LOGDB_FSYN_FIELD<MASK>& mask, const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      put_half(mask.m_value & 0xFFFFFFFFU);
      put_half(mask.m_value >> 32U);
      (put(fields.m_value), ...);
      end_line();
   }
   template <class T> void lut_mode(const LOGDB_FSYN_FIELD<T>& mode) { word(lut_mode_text(mode.m_value)); }
   template <class T> void optional_name(const LOGDB_FSYN_FIELD<T>& name, std::string_view word_for_none) {
      word(name.m_value.empty() ? word_for_none : std::string_view(name.m_value));
   }
   template <class RECORD> void pad_to_core(const RECORD&) {}

private:
   void put_word(std::string_view text) {
      if (!m_is_first) {
         m_text += ' ';
      }
      m_text += text;
      m_is_first = false;
   }
   void put(const MEM_STRING& name) { put_word(name); }
   template <class NUMBER, std::enable_if_t<!std::is_class_v<NUMBER>, int> = 0> void put(NUMBER number) {
      put_word(std::to_string(static_cast<long>(number)));
   }
   void put_half(unsigned long half);
   void end_line() {
      m_text += '\n';
      m_is_first = true;
   }

   std::string& m_text;
   bool m_is_first = true;
};

/// The fields of the record in an item, listed in the item.
void list_fields(LOG_ITEM& item);

/// Puts a new record of a kind into an item, to see which fields it has; nothing for a number that is no kind.
void make_empty_record(int kind, LOG_ITEM& item);

/// The text of a record, keyword line included.
std::string record_text(const LOGDB_FSYN_LOG_ENTRY& record);

#endif
