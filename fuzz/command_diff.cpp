// Never may two logs make diff crash, go on for ever or leave another way than with the status 0, 1 or 3, find a difference
// where there is none or none where there is one, or count other differences than the logs have items.

#include "fuzz_command.h"

namespace {

/// What diff --json tells: how many items are on one side alone, left less right.
std::ptrdiff_t balance(const FUZZ_ANSWER& answer) {
   std::ptrdiff_t balance = 0;
   for (const nlohmann::json& difference : fuzz_objects(answer.m_output)) {
      balance += (difference.contains("old") ? 1 : 0) - (difference.contains("new") ? 1 : 0);
   }
   return balance;
}

std::ptrdiff_t items(const std::string& format, const char* path) {
   const FUZZ_ANSWER count = fuzz_run(add_grep, {"-c", "--as", format, "", path});
   return std::stol(count.m_output);
}

class COMPARISON {
public:
   COMPARISON(std::string format, const char* left, const char* right)
       : m_format(std::move(format)), m_left(left), m_right(right) {}

   void check() const {
      const FUZZ_ANSWER plain = diff({}, m_left, m_right);
      const FUZZ_ANSWER json = diff({"--json"}, m_left, m_right);
      FUZZ_HOLDS(json.m_status == plain.m_status);
      FUZZ_HOLDS(diff({"--stat"}, m_left, m_right).m_status == plain.m_status);
      FUZZ_HOLDS(diff({"--color", "always"}, m_right, m_left).m_status == plain.m_status);
      const FUZZ_ANSWER first = diff({"--first", "-C", "2"}, m_left, m_right);
      const FUZZ_ANSWER unordered = diff({"--ignore-order", "--json"}, m_left, m_right);
      if (plain.m_status != 3) {
         FUZZ_HOLDS((plain.m_status == 0) == plain.m_output.empty());
         FUZZ_HOLDS(balance(json) == items(m_format, m_left) - items(m_format, m_right));
         FUZZ_HOLDS(balance(unordered) == balance(json));
         FUZZ_HOLDS(first.m_status == plain.m_status);
         FUZZ_HOLDS(plain.m_status != 0 || unordered.m_status == 0);
      }
      const FUZZ_ANSWER same = diff({}, m_left, m_left);
      FUZZ_HOLDS(same.m_status != 1 && same.m_output.empty());
   }

private:
   FUZZ_ANSWER diff(std::vector<std::string> arguments, const char* left, const char* right) const {
      arguments.insert(arguments.end(), {"--as", m_format, left, right});
      return fuzz_run(add_diff, arguments);
   }

   std::string m_format;
   const char* m_left;
   const char* m_right;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const auto [left_bytes, right_bytes] = fuzz_two_logs({reinterpret_cast<const char*>(data), size});
   const FUZZ_FILE left(left_bytes);
   const FUZZ_FILE right(right_bytes);
   for (const std::string& format : fuzz_formats()) {
      COMPARISON(format, left.path(), right.path()).check();
   }
   FUZZ_HOLDS(left.bytes() == left_bytes && right.bytes() == right_bytes);
   return 0;
}

FUZZ_MUTATOR(fuzz_mutate_two_logs)
