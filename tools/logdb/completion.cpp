#include <memory>

#include "command.h"
#include "log_options.h"

namespace {

std::string joined(const std::vector<std::string>& words) {
   std::string text;
   for (const std::string& word : words) {
      text += (text.empty() ? "" : " ") + word;
   }
   return text;
}

std::vector<std::string> option_words(const COMMAND& command) {
   std::vector<std::string> words;
   for (const OPTION_DESCRIPTION& option : visible_options(command)) {
      for (const std::string& name : option.m_short_names) {
         words.push_back("-" + name);
      }
      for (const std::string& name : option.m_long_names) {
         words.push_back("--" + name);
      }
   }
   return words;
}

std::string bash_completion(COMMAND_TABLE& table) {
   std::string text = "# bash completion for logdb\n_logdb() {\n"
                      "   local word=${COMP_WORDS[COMP_CWORD]} words=\n"
                      "   COMPREPLY=()\n"
                      "   if ((COMP_CWORD == 1)); then\n"
                      "      words=\"" +
                      joined(table.names()) +
                      " help\"\n"
                      "   elif [[ $word == -* ]]; then\n"
                      "      case ${COMP_WORDS[1]} in\n";
   for (const COMMAND& command : table.commands()) {
      text += "      " + command.m_name + ") words=\"" + joined(option_words(command)) + "\" ;;\n";
   }
   return text +
          "      esac\n"
          "   else\n"
          "      case ${COMP_WORDS[1]} in\n"
          "      help) words=\"" +
          joined(table.names()) +
          "\" ;;\n"
          "      completion) words=\"bash zsh fish\" ;;\n"
          "      esac\n"
          "   fi\n"
          "   if [[ -n $words ]]; then\n"
          "      mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
          "   fi\n"
          "}\n"
          "complete -o default -F _logdb logdb\n";
}

/// A text between single quotes, for zsh and fish.
std::string shell_quoted(const std::string& text) {
   std::string result = "'";
   for (const char byte : text) {
      result += byte == '\'' ? "'\\''" : std::string(1, byte);
   }
   return result + "'";
}

std::string zsh_completion(COMMAND_TABLE& table) {
   std::string text = "#compdef logdb\n_logdb() {\n"
                      "   if ((CURRENT == 2)); then\n"
                      "      local -a commands=(\n";
   for (const COMMAND& command : table.commands()) {
      text += "         " + shell_quoted(command.m_name + ":" + command.m_summary) + "\n";
   }
   text += "      )\n"
           "      _describe command commands\n"
           "      return\n"
           "   fi\n"
           "   if [[ $PREFIX != -* ]]; then\n"
           "      _files\n"
           "      return\n"
           "   fi\n"
           "   case $words[2] in\n";
   for (const COMMAND& command : table.commands()) {
      text += "   " + command.m_name + ") compadd -- " + joined(option_words(command)) + " ;;\n";
   }
   // A file of $fpath is run when it is needed first; a script that is sourced only makes itself known.
   return text + "   esac\n}\n"
                 "if [[ $funcstack[1] == _logdb ]]; then\n"
                 "   _logdb \"$@\"\n"
                 "else\n"
                 "   compdef _logdb logdb\n"
                 "fi\n";
}

std::string fish_completion(COMMAND_TABLE& table) {
   std::string text = "# fish completion for logdb\n";
   for (const COMMAND& command : table.commands()) {
      text += "complete -c logdb -n __fish_use_subcommand -f -a " + command.m_name + " -d " +
              shell_quoted(command.m_summary) + "\n";
      for (const OPTION_DESCRIPTION& option : visible_options(command)) {
         text += "complete -c logdb -n '__fish_seen_subcommand_from " + command.m_name + "'";
         for (const std::string& name : option.m_short_names) {
            text += " -s " + name;
         }
         for (const std::string& name : option.m_long_names) {
            text += " -l " + name;
         }
         text +=
             std::string(option.m_value_name.empty() ? "" : " -r") + " -d " + shell_quoted(option.m_text) + "\n";
      }
   }
   return text;
}

} // namespace

void add_completion(COMMAND_TABLE& table) {
   COMMAND& command = table.add("completion", "Print a completion script for a shell");
   command.m_description =
       "Prints what a shell has to know to complete commands and options. It is made from the table"
       " that the command line is parsed with.";
   command.m_examples = {{"completion bash", "for ~/.local/share/bash-completion/completions/logdb"},
                         {"completion zsh", "for a file _logdb in a folder of $fpath"},
                         {"completion fish", "for ~/.config/fish/completions/logdb.fish"}};
   auto shell = std::make_shared<std::string>();
   command.add_option("SHELL", *shell, "The shell").required().one_of({"bash", "zsh", "fish"});
   command.m_run = [shell, &table] {
      OUTPUT output(COLOUR_CHOICE::NEVER);
      output << (*shell == "bash"  ? bash_completion(table)
                 : *shell == "zsh" ? zsh_completion(table)
                                   : fish_completion(table));
      output.flush();
      return STATUS::FINE;
   };
}
