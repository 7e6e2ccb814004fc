// Never may the bytes of a physical-synthesis log give other records, reports or messages than a plain second reader gives
// for them, or make the reader crash, leak, read on for ever or hold more than the file does.

#include "fsyn_model.h"
#include "fsyn_words.h"
#include "fuzz_support.h"
#include "logdb_fsyn_log_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const std::string_view bytes(reinterpret_cast<const char*>(data), size);
   const FSYN_READING wanted = fsyn_model_reading(bytes);
   const FUZZ_FILE file(bytes);
   LOGDB_FSYN_LOG_FILE log(file.path());
   std::vector<std::string> records;
   while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
      records.push_back(fsyn_description(*record));
      FUZZ_HOLDS(records.size() <= size);
   }
   FUZZ_HOLDS(records == wanted.m_records);
   FUZZ_HOLDS(host.take_events() == wanted.m_events);
   FUZZ_HOLDS(file.bytes() == bytes);
   return 0;
}

#ifdef LOGDB_FUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
   static const std::vector<std::string> words = [] {
      std::vector<std::string> all = fsyn_words();
      all.emplace_back(1, '\0');
      return all;
   }();
   if (seed % 3 == 0) {
      return LLVMFuzzerMutate(data, size, most);
   }
   return fuzz_mutate_words(data, size, most, seed / 3, words, " \n");
}
#endif
