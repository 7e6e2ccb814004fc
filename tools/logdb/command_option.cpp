#include <algorithm>

#include <CLI/CLI.hpp>

#include "command.h"

namespace {

std::string unshielded(std::string word) {
   std::erase(word, word_shield);
   return word;
}

/// What is wrong with a number: the parser takes -1 for a very large one.
std::string number_complaint(const std::string& word) {
   const bool is_number = !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
   return is_number ? std::string() : "'" + word + "' is no number";
}

} // namespace

OPTION& OPTION::required(bool is_required) {
   m_option->required(is_required);
   return *this;
}

OPTION& OPTION::value_name(const std::string& name) {
   m_option->type_name(name);
   return *this;
}

OPTION& OPTION::show_default() {
   m_option->capture_default_str();
   return *this;
}

OPTION& OPTION::one_at_a_time() {
   m_option->allow_extra_args(false);
   return *this;
}

OPTION& OPTION::comma_separated() {
   m_option->delimiter(',');
   return one_at_a_time();
}

OPTION& OPTION::positive() {
   m_option->check(CLI::Validator(
       [](const std::string& word) {
          const bool is_positive = word.find_first_not_of('0') != std::string::npos;
          return is_positive ? std::string() : "'" + word + "' is too small; it begins with 1";
       },
       "", "positive"));
   return *this;
}

OPTION& OPTION::one_of(const std::vector<std::string>& choices) {
   m_option->check(CLI::Validator(
       [choices](const std::string& word) {
          if (std::find(choices.begin(), choices.end(), word) != choices.end()) {
             return std::string();
          }
          std::string text = "'" + word + "' is none of";
          for (const std::string& choice : choices) {
             text += (&choice == &choices.front() ? " " : ", ") + choice;
          }
          return text + suggestion(word, choices);
       },
       "", "choices"));
   std::string names;
   for (const std::string& choice : choices) {
      names += (names.empty() ? "" : ", ") + choice;
   }
   m_option->description(m_option->get_description() + ": " + names);
   return *this;
}

OPTION& OPTION::needs(const OPTION& other) {
   m_option->needs(other.m_option);
   return *this;
}

OPTION& OPTION::excludes(const OPTION& other) {
   m_option->excludes(other.m_option);
   return *this;
}

bool OPTION::is_given() const {
   return m_option->count() != 0;
}

OPTION COMMAND::add_option(const std::string& names, std::string& value, const std::string& text) {
   return OPTION(*m_app->add_option(names, value, text)->transform(unshielded));
}

OPTION COMMAND::add_option(const std::string& names, std::vector<std::string>& values, const std::string& text) {
   return OPTION(*m_app->add_option(names, values, text)->transform(unshielded));
}

OPTION COMMAND::add_option(const std::string& names, std::size_t& value, const std::string& text) {
   CLI::Option* option = m_app->add_option(names, value, text)->transform(unshielded);
   return OPTION(*option->check(CLI::Validator(number_complaint, "", "number")));
}

OPTION COMMAND::add_flag(const std::string& names, bool& value, const std::string& text) {
   return OPTION(*m_app->add_flag(names, value, text));
}

OPTION COMMAND::option(const std::string& name) {
   return OPTION(*m_app->get_option(name));
}
