// Never may a log make rebase crash, go on for ever or leave another way than with the status 0, or 3 for a log that check
// finds an error in or a name that would not read back, and never may names that went to another root differ from what the
// library makes of them, or not come back to the same bytes.

#include "database_rules.h"
#include "fuzz_command.h"

namespace {

const std::string other_root = "chip|core~1";

FUZZ_ANSWER rebase(std::string_view bytes, const std::string& format, const std::string& from,
                   const std::string& to) {
   const FUZZ_FILE file(bytes);
   FUZZ_ANSWER answer = fuzz_run(add_rebase, {"--from=" + from, "--to=" + to, "--as", format, file.path()});
   FUZZ_HOLDS(answer.m_status != 1);
   FUZZ_HOLDS(answer.m_status == 0 || answer.m_output.empty());
   FUZZ_HOLDS(file.bytes() == bytes);
   return answer;
}

bool is_sound(std::string_view bytes, const std::string& format) {
   const FUZZ_FILE file(bytes);
   return fuzz_is_sound(file.path(), format);
}

std::vector<std::string_view> words(std::string_view text) {
   std::vector<std::string_view> words;
   constexpr std::string_view white_space = " \t\n\v\f\r";
   for (std::size_t begin = text.find_first_not_of(white_space); begin != std::string_view::npos;
        begin = text.find_first_not_of(white_space)) {
      const std::size_t end = std::min(text.find_first_of(white_space, begin), text.size());
      words.push_back(text.substr(begin, end - begin));
      text.remove_prefix(end);
   }
   return words;
}

/// What moves nowhere is the same log: a database but for its version line, a log but for white space.
void check_unmoved(std::string_view bytes, const std::string& format, const std::string& unmoved) {
   if (format == "logdb") {
      FUZZ_HOLDS(unmoved == "v1\n" + std::string(fuzz_behind_version(bytes)));
   } else {
      FUZZ_HOLDS(words(unmoved) == words(bytes));
   }
}

/// All names below a root, as the library puts them there when it loads a relative file.
void check_prefixed(std::string_view bytes, const std::string& format, const std::string& prefixed) {
   FUZZ_HOLDS(is_sound(prefixed, format));
   if (format == "logdb") {
      PLAIN_ENTRIES entries = rules_of_reading(bytes).m_entries;
      rules_of_prefixing(other_root, entries);
      FUZZ_HOLDS(rules_of_reading(prefixed).m_entries == entries);
   }
}

/// The part of a name in front of a bar; the root of everything where there is none.
std::string root_in(std::string_view bytes) {
   if (bytes.empty()) {
      return {};
   }
   const std::size_t bar = bytes.find('|', fuzz_choice(bytes) % bytes.size());
   if (bar == std::string_view::npos) {
      return {};
   }
   const std::size_t begin = bytes.find_last_of(std::string_view(", \t\n\v\f\r\0", 8), bar) + 1;
   const std::string root(bytes.substr(begin, bar - begin));
   return root.ends_with('|') ? std::string() : root;
}

void check_there_and_back(std::string_view bytes, const std::string& format, const std::string& from,
                          const std::string& unmoved) {
   const FUZZ_ANSWER there = rebase(bytes, format, from, other_root);
   if (there.m_status != 0) {
      // A word that is a whole record's end, a name that gets too long.
      FUZZ_HOLDS(there.m_messages.find("would not read back: LDB") != std::string::npos);
      return;
   }
   if (from.empty()) {
      check_prefixed(bytes, format, there.m_output);
   }
   if (from.empty() || bytes.find(other_root) == std::string_view::npos) {
      const FUZZ_ANSWER back = rebase(there.m_output, format, other_root, from);
      FUZZ_HOLDS(back.m_status == 0);
      FUZZ_HOLDS(back.m_output == unmoved);
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const std::string_view bytes(reinterpret_cast<const char*>(data), size);
   if (fuzz_may_be_packed(bytes)) {
      return 0;
   }
   for (const std::string& format : fuzz_formats()) {
      const FUZZ_ANSWER unmoved = rebase(bytes, format, "top", "top");
      FUZZ_HOLDS((unmoved.m_status == 0) == is_sound(bytes, format));
      if (unmoved.m_status == 0) {
         check_unmoved(bytes, format, unmoved.m_output);
         check_there_and_back(bytes, format, "", unmoved.m_output);
         check_there_and_back(bytes, format, root_in(bytes), unmoved.m_output);
         rebase(bytes, format, root_in(bytes), "");
      }
   }
   return 0;
}

FUZZ_MUTATOR(fuzz_mutate_log)
