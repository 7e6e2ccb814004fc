#include "cfg.h"

#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host_standalone.h"

namespace {

using SWITCHES = std::map<std::string, bool, std::less<>>;

std::optional<bool> on_or_off(std::string_view word) {
   constexpr std::array<std::string_view, 4> on_words = {"on", "1", "true", "yes"};
   constexpr std::array<std::string_view, 4> off_words = {"off", "0", "false", "no"};
   for (std::size_t index = 0; index < on_words.size(); ++index) {
      if (word == on_words[index]) {
         return true;
      }
      if (word == off_words[index]) {
         return false;
      }
   }
   return std::nullopt;
}

/// Takes the switches out of "name=on,name=off". What is not of this form sets nothing.
SWITCHES parse_switches(std::string_view text) {
   SWITCHES switches;
   while (!text.empty()) {
      const std::size_t comma = text.find(',');
      const std::string_view item = text.substr(0, comma);
      text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
      const std::size_t equals = item.find('=');
      if (equals == std::string_view::npos) {
         continue;
      }
      const std::optional<bool> value = on_or_off(item.substr(equals + 1));
      if (value.has_value()) {
         switches.insert_or_assign(std::string(item.substr(0, equals)), *value);
      }
   }
   return switches;
}

/// The switches that are set. Never destroyed: destructors of static objects may still ask.
SWITCHES& switches() {
   static auto* const set_switches = [] {
      const char* text = std::getenv("LOGDB_CONFIG");
      return new SWITCHES(parse_switches(text == nullptr ? "" : text));
   }();
   return *set_switches;
}

} // namespace

bool cfg_is_on(const char* name, bool default_value) {
   if (name == nullptr) {
      return default_value;
   }
   const auto found = switches().find(std::string_view(name));
   return found == switches().end() ? default_value : found->second;
}

void host_set_config(const char* name, bool on) {
   if (name != nullptr) {
      switches().insert_or_assign(name, on);
   }
}

void host_clear_config(const char* name) {
   if (name != nullptr) {
      switches().erase(name);
   }
}
