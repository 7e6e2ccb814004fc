// Never may a damaged log make salvage crash, go on for ever or leave another way than with the status 0, 1 or 3, or make
// it write anything that stands not so in the log, has an error in it, or would not be kept once more.

#include "fuzz_command.h"

namespace {

/// Whether the lines of a text stand in another one in the same order. A record may begin in the middle of a line.
bool is_part_of(std::string_view text, std::string_view whole) {
   std::size_t place = 0;
   for (const std::string_view line : fuzz_lines(text)) {
      place = whole.find(line, place);
      if (place == std::string_view::npos) {
         return false;
      }
      place += line.size();
   }
   return true;
}

void check_saved(std::string_view bytes, const std::string& format) {
   const FUZZ_FILE damaged(bytes);
   const FUZZ_ANSWER saved = fuzz_run(add_salvage, {"--as", format, damaged.path()});
   FUZZ_HOLDS(damaged.bytes() == bytes);
   if (saved.m_status == 3) {
      return;
   }
   constexpr std::string_view version = "v1\n";
   const bool is_database = format == "logdb";
   FUZZ_HOLDS(!is_database || saved.m_output.starts_with(version));
   FUZZ_HOLDS(is_part_of(std::string_view(saved.m_output).substr(is_database ? version.size() : 0), bytes));
   const FUZZ_FILE file(saved.m_output);
   // An unknown kind and a carriage return may be what was meant, and nothing of them is lost.
   const FUZZ_ANSWER check =
       fuzz_run(add_check, {"--errors-only", "--ignore", "LDB005,LDB009", "--as", format, file.path()});
   FUZZ_HOLDS(check.m_status == 0);
   const FUZZ_ANSWER again = fuzz_run(add_salvage, {"--as", format, file.path()});
   FUZZ_HOLDS(again.m_output == saved.m_output);
   // What is well is kept as it is.
   const FUZZ_ANSWER well = fuzz_run(add_check, {"--errors-only", "--as", format, damaged.path()});
   FUZZ_HOLDS((well.m_status == 0) == (saved.m_status == 0));
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
      check_saved(bytes, format);
   }
   return 0;
}

FUZZ_MUTATOR(fuzz_mutate_log)
