#ifndef ENVIRONMENT_VARIABLE_H
#define ENVIRONMENT_VARIABLE_H

#include <cstdlib>
#include <optional>
#include <string>

/// Sets an environment variable, or takes it away (null), as long as it lives. The default host reads a variable
/// once, so a test sets it and then starts a process of its own: EXPECT_EXIT in the style of CHILD_PROCESS_TEST.
class ENVIRONMENT_VARIABLE {
public:
   ENVIRONMENT_VARIABLE(const char* name, const char* value) : m_name(name) {
      const char* old_value = std::getenv(name);
      if (old_value != nullptr) {
         m_old_value = old_value;
      }
      set(value);
   }
   ~ENVIRONMENT_VARIABLE() { set(m_old_value.has_value() ? m_old_value->c_str() : nullptr); }
   ENVIRONMENT_VARIABLE(const ENVIRONMENT_VARIABLE&) = delete;
   ENVIRONMENT_VARIABLE& operator=(const ENVIRONMENT_VARIABLE&) = delete;

private:
   void set(const char* value) {
      if (value != nullptr) {
         setenv(m_name.c_str(), value, 1);
      } else {
         unsetenv(m_name.c_str());
      }
   }

   std::string m_name;
   std::optional<std::string> m_old_value;
};

#endif
