#ifndef TOOL_FSYN_JSON_H
#define TOOL_FSYN_JSON_H

#include <charconv>
#include <limits>
#include <set>
#include <string>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "fsyn_fields.h"
#include "json.h"

/// A record in JSON that is none.
class BAD_RECORD : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

/// Fills a record from the members of a JSON object.
class FSYN_JSON_READER {
public:
   explicit FSYN_JSON_READER(const nlohmann::json& object) : m_object(object) {}

   template <class... FIELDS> void line(const LOGDB_FSYN_FIELD<FIELDS>&... fields) { (read(fields), ...); }
   template <class T> void line_with_blank(const LOGDB_FSYN_FIELD<T>& field) { read(field); }
   template <class T> void lost_name(const LOGDB_FSYN_FIELD<T>& field) { read(field); }
   template <class T> void names_until(const LOGDB_FSYN_FIELD<T>& names, std::string_view) { read_list(names); }

   template <class T> void slots_until(const LOGDB_FSYN_FIELD<T>& slots, std::string_view) {
      const nlohmann::json& member = get(slots.m_name);
      if (!member.is_object()) {
         fail(slots.m_name, "is no object");
      }
      for (const auto& [key, value] : member.items()) {
         std::size_t index = slots.m_value.size();
         const std::from_chars_result end = std::from_chars(key.data(), key.data() + key.size(), index);
         if (end.ec != std::errc() || end.ptr != key.data() + key.size() || index >= slots.m_value.size()) {
            fail(slots.m_name, "has no slot '" + key + "'");
         }
         slots.m_value[index] = name_of(value, slots.m_name);
      }
   }

   template <class A, class B, class C>
   void ram_inputs_until(const LOGDB_FSYN_FIELD<A>& types, const LOGDB_FSYN_FIELD<B>& indices,
                         const LOGDB_FSYN_FIELD<C>& names, std::string_view) {
      read_list(types);
      read_list(indices);
      read_list(names);
      if (types.m_value.size() != names.m_value.size() || indices.m_value.size() != names.m_value.size()) {
         fail(names.m_name, "and its neighbours have different lengths");
      }
   }

   template <class A, class B>
   void ports(std::string_view, const LOGDB_FSYN_FIELD<A>& types, const LOGDB_FSYN_FIELD<B>& names) {
      read_list(types);
      read_list(names);
      if (types.m_value.size() != names.m_value.size()) {
         fail(names.m_name, "and its types have different lengths");
      }
   }

   void word(std::string_view) {}

   template <class... FIELDS>
   void lut_mask(const LOGDB_FSYN_FIELD<unsigned long>& mask, const LOGDB_FSYN_FIELD<FIELDS>&... fields) {
      const std::string text = name_of(get(mask.m_name), mask.m_name);
      const char* end = text.data() + text.size();
      const bool is_prefixed = text.starts_with("0x") && text.size() > 2;
      if (!is_prefixed || std::from_chars(text.data() + 2, end, mask.m_value, 16).ptr != end) {
         fail(mask.m_name, "is no mask such as \"0x00000000000000ff\"");
      }
      (read(fields), ...);
   }

   void lut_mode(const LOGDB_FSYN_FIELD<int>& mode) {
      const std::string word = name_of(get(mode.m_name), mode.m_name);
      for (mode.m_value = 0; mode.m_value < 3; ++mode.m_value) {
         if (word == lut_mode_text(mode.m_value)) {
            return;
         }
      }
      fail(mode.m_name, "is none of NORMAL, SUM and CARRY");
   }

   template <class T> void optional_name(const LOGDB_FSYN_FIELD<T>& name, std::string_view) { read(name); }
   template <class RECORD> void pad_to_core(const RECORD&) {}

   /// Complains of members that the kind does not have.
   void finish() const {
      for (const auto& [name, value] : m_object.items()) {
         const bool is_known = m_read.count(name) != 0 || name == "kind" || name == "number" || name == "line" ||
                               name == "phase" || name == "file";
         if (!is_known) {
            throw BAD_RECORD("the kind has no member '" + name + "'");
         }
      }
   }

private:
   [[noreturn]] static void fail(const char* member, const std::string& what) {
      throw BAD_RECORD("'" + std::string(field_name(member)) + "' " + what);
   }

   const nlohmann::json& get(const char* member) {
      const std::string name(field_name(member));
      m_read.insert(name);
      const auto found = m_object.find(name);
      if (found == m_object.end()) {
         fail(member, "is missing");
      }
      return *found;
   }

   static std::string name_of(const nlohmann::json& value, const char* member) {
      if (!value.is_string()) {
         fail(member, "is no string");
      }
      return bytes_of_json_text(value.get_ref<const std::string&>());
   }

   template <class T> static void convert(const nlohmann::json& value, const char* member, T& result) {
      if constexpr (std::is_same_v<T, MEM_STRING>) {
         result = name_of(value, member);
      } else {
         if (!value.is_number_integer()) {
            fail(member, "is no whole number");
         }
         // Port types are enumerations that hold any int.
         using NUMBER =
             typename std::conditional_t<std::is_enum_v<T>, std::type_identity<int>, std::type_identity<T>>::type;
         const auto number = value.get<long>();
         // What is above the largest long is stored as an unsigned number and would come out negative.
         const bool is_wrapped = value.is_number_unsigned() && number < 0;
         if (is_wrapped || number < static_cast<long>(std::numeric_limits<NUMBER>::min()) ||
             number > static_cast<long>(std::numeric_limits<NUMBER>::max())) {
            fail(member, "does not fit: " + value.dump());
         }
         result = static_cast<T>(number);
      }
   }

   template <class T> void read(const LOGDB_FSYN_FIELD<T>& field) {
      convert(get(field.m_name), field.m_name, field.m_value);
   }

   template <class T> void read_list(const LOGDB_FSYN_FIELD<T>& list) {
      const nlohmann::json& member = get(list.m_name);
      if (!member.is_array()) {
         fail(list.m_name, "is no array");
      }
      for (const nlohmann::json& value : member) {
         convert(value, list.m_name, list.m_value.emplace_back());
      }
   }

   const nlohmann::json& m_object;
   std::set<std::string> m_read;
};

#endif
