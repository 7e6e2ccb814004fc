// Never may a text stand for a value whose name it is not, or a number have a name that is not in the table.

#include <strings.h>

#include <algorithm>

#include "fuzz_support.h"
#include "logdb.h"

namespace {

/// The two names of a value, once more and apart from the library.
struct NAMES {
   const char* m_debug_string;
   const char* m_user_string;
};

constexpr NAMES entry_types[] = {
    {"DSP_BALANCING_IMPLEMENTATION", "DSP Block Balancing Implementation"},
    {"REGISTER_PACKING", "Register Packing log"},
    {"RAM_PACKING", "RAM Packing log"},
    {"FIT_COMPUTED_DQSBUSMUX_COUNTS", "DQS bux muxes count log."},
    {"FSYN_LOG_FILE", "Physical Synthesis Log"},
    {"IO_RULES_SUMMARY", "I/O Rules Summary"},
    {"IO_RULES", "I/O Rules Log"},
    {"IO_RULES_MATRIX", "I/O Rules Matrix"},
};

constexpr NAMES datatypes[] = {{"GENERIC_STRING", "GENERIC_STRING"}, {"NODE_NAME", "NODE_NAME"}};

template <class VALUE, class TRANSLATOR, std::size_t count>
void check(FUZZ_HOST& host, const TRANSLATOR& translator, const NAMES (&names)[count], const std::string& text,
           int number, const char* report) {
   int wanted = -1;
   for (std::size_t value = 0; value < count; ++value) {
      if (strcasecmp(text.c_str(), names[value].m_debug_string) == 0 ||
          strcasecmp(text.c_str(), names[value].m_user_string) == 0) {
         wanted = static_cast<int>(value);
      }
   }
   FUZZ_HOLDS(static_cast<int>(translator.get_enum_by_string(text.c_str())) == wanted);
   FUZZ_HOLDS(translator.exists_enum_by_string(text.c_str()) == (wanted != -1));

   const bool is_legal = number >= 0 && number < static_cast<int>(count);
   const std::string debug_string = translator.get_debug_string(static_cast<VALUE>(number));
   const std::string user_string = translator.get_user_string(static_cast<VALUE>(number));
   FUZZ_HOLDS(debug_string == (is_legal ? names[number].m_debug_string : ""));
   FUZZ_HOLDS(user_string == (is_legal ? names[number].m_user_string : ""));
   FUZZ_HOLDS(host.take_reports() == std::vector<std::string>(is_legal ? 0 : 2, report));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   FUZZ_BYTES bytes(data, size);
   // Mostly a number near the legal ones.
   const auto near = static_cast<int>(static_cast<std::int8_t>(bytes.byte()));
   const int number = near == 100 ? static_cast<int>(bytes.number(4)) : near;
   const std::string text(bytes.rest());
   check<LOGDB_ENTRY_TYPE_ENUM>(host, *logdb_get_logdb_entry_type_enum_translator_instance(), entry_types, text,
                                number, "The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.");
   check<LOGDB_ENTRY_DATATYPE_ENUM>(host, *logdb_get_logdb_entry_datatype_enum_translator_instance(), datatypes,
                                    text, number,
                                    "The calling function has passed an illegal LOGDB_ENTRY_DATATYPE_ENUM.");
   return 0;
}

#ifdef LOGDB_FUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
   static const std::vector<std::string> words = [] {
      std::vector<std::string> all = {"GENERIC_STRING", "node_name"};
      for (const NAMES& names : entry_types) {
         all.emplace_back(names.m_debug_string);
         all.emplace_back(names.m_user_string);
      }
      return all;
   }();
   if (seed % 3 == 0 || size == 0) {
      return LLVMFuzzerMutate(data, size, most);
   }
   // Behind the number that the input begins with stands one name.
   const std::string& word = words[seed / 3 % words.size()];
   const std::size_t taken = std::min(word.size(), most - 1);
   std::copy_n(word.begin(), taken, data + 1);
   return seed / 64 % 3 != 0 ? taken + 1 : LLVMFuzzerMutate(data, taken + 1, most);
}
#endif
