// Never may a log or a text of JSON make convert crash, go on for ever or leave another way than with the status 0, or 3 and
// a reason, and never may what it answers with 0 not come back byte for byte.

#include "fuzz_command.h"

namespace {

FUZZ_ANSWER convert(std::string_view bytes, const std::string& format) {
   const FUZZ_FILE file(bytes);
   FUZZ_ANSWER answer = fuzz_run(add_convert, {"--as", format, file.path()});
   FUZZ_HOLDS(answer.m_status != 1);
   FUZZ_HOLDS(file.bytes() == bytes);
   return answer;
}

/// A log becomes JSON, and that the same log. Whether it becomes JSON.
bool check_log(std::string_view bytes, const std::string& format) {
   const FUZZ_ANSWER json = convert(bytes, format);
   if (json.m_status != 0) {
      return false;
   }
   FUZZ_HOLDS(json.m_output.starts_with("{\"format\":\"" + format + "\""));
   const FUZZ_ANSWER log = convert(json.m_output, format);
   FUZZ_HOLDS(log.m_status == 0);
   FUZZ_HOLDS(log.m_output == bytes);
   return true;
}

/// Lines of JSON become a log, and that JSON and the same log again.
void check_json(std::string_view bytes) {
   const FUZZ_ANSWER log = convert(bytes, "logdb");
   FUZZ_HOLDS(log.m_status != 0 || check_log(log.m_output, "logdb") || check_log(log.m_output, "fsyn"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const std::string_view bytes(reinterpret_cast<const char*>(data), size);
   if (fuzz_may_be_packed(bytes)) {
      return 0;
   }
   if (bytes.starts_with('{')) {
      check_json(bytes);
      return 0;
   }
   for (const std::string& format : fuzz_formats()) {
      check_log(bytes, format);
      // Damage in the middle of the way.
      const FUZZ_ANSWER json = convert(bytes, format);
      std::string damaged = json.m_output;
      if (!damaged.empty()) {
         const std::size_t choice = fuzz_choice(bytes);
         damaged[choice % damaged.size()] = "\"{}[],:0\\ \n"[choice / damaged.size() % 11];
         if (damaged.starts_with('{')) {
            check_json(damaged);
         }
      }
   }
   return 0;
}

#ifdef LOGDB_FUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
   if (size != 0 && data[0] == '{' && seed % 3 != 0) {
      static const std::vector<std::string> words = {"{\"format\":\"logdb\",\"version\":\"v1\"}\n",
                                                     "{\"format\":\"fsyn\"}\n",
                                                     "{\"kind\":\"IO_RULES\",\"fields\":[\"1\",\"rule\"]}\n",
                                                     "\"kind\":",
                                                     "\"fields\":[]",
                                                     "\"node_name\":\"n\"",
                                                     "\"\\u0000\"",
                                                     "\"\\uef80\"",
                                                     "\"\\ud800\"",
                                                     "-1",
                                                     "70000",
                                                     "null",
                                                     "{}",
                                                     "[[["};
      return fuzz_mutate_words(data, size, most, seed / 3, words, ",{}[]:\n");
   }
   return seed % 3 == 0 ? LLVMFuzzerMutate(data, size, most) : fuzz_mutate_log(data, size, most, seed / 3);
}
#endif
