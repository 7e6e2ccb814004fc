#ifndef TOOL_RULES_H
#define TOOL_RULES_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// \file
/// The rules that logs are checked by. Their numbers are for ever: scripts and people refer to them.

/// How bad it is: an ERROR does not read back as it was meant, a WARNING does, but it will cause trouble or was
/// probably meant differently.
enum class SEVERITY { WARNING, ERROR };

struct RULE {
   int m_number;
   SEVERITY m_severity;
   const char* m_title;
   const char* m_explanation; ///< what happens, and why
   const char* m_remedy;      ///< what to do
};

/// All rules, by number.
const std::vector<RULE>& rules();

/// Null when there is none of this number.
const RULE* find_rule(int number);

/// "LDB012".
std::string rule_name(int number);

/// Something that is not as it should be.
struct FINDING {
   int m_rule = 0;
   std::uint64_t m_line = 0;
   std::uint64_t m_column = 1;
   std::uint64_t m_number = 0; ///< of the entry or record; 0 when it is in none
   std::string m_text;

   bool is_error() const { return find_rule(m_rule)->m_severity == SEVERITY::ERROR; }
};

using FINDING_SINK = std::function<void(const FINDING&)>;

#endif
