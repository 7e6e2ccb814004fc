// Never may appending one log to another, or to itself, change what is already in either file, add other bytes than the
// texts of the records that are read from it, or go on for ever.

#include "fsyn_model.h"
#include "fuzz_support.h"
#include "logdb_fsyn_log_file.h"

namespace {

/// What appending these bytes adds; false for a record that cannot be written.
bool texts_of_records(std::string_view bytes, std::string& texts) {
   const FUZZ_FILE file(bytes);
   LOGDB_FSYN_LOG_FILE log(file.path());
   while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
      if (record->m_type == SET_INSTANCE_NAME) {
         return false;
      }
      texts += fsyn_model_text(*record);
   }
   return true;
}

void check(std::string_view source_bytes, std::string_view target_bytes, bool is_enabled) {
   std::string added;
   if (!texts_of_records(source_bytes, added)) {
      is_enabled = false;
   }
   const FUZZ_FILE source(source_bytes);
   const FUZZ_FILE target(target_bytes);
   LOGDB_FSYN_LOG_FILE log(target.path());
   log.init(is_enabled);
   FUZZ_HOLDS(log.append_file(source.path()));
   FUZZ_HOLDS(source.bytes() == source_bytes);
   FUZZ_HOLDS(target.bytes() == std::string(target_bytes) + (is_enabled ? added : ""));
   log.close();

   LOGDB_FSYN_LOG_FILE self(source.path());
   self.init(is_enabled);
   FUZZ_HOLDS(self.append_file(source.path()));
   FUZZ_HOLDS(source.bytes() == std::string(source_bytes) + (is_enabled ? added : ""));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   const FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   // The input is the log that is appended; its beginning, up to a line with a bar, is the one that it is appended to.
   const std::string_view bytes(reinterpret_cast<const char*>(data), size);
   const std::size_t bar = bytes.find("|\n");
   const bool has_target = bar != std::string_view::npos;
   check(has_target ? bytes.substr(bar + 2) : bytes, has_target ? bytes.substr(0, bar) : std::string_view(),
         size % 16 != 15);
   return 0;
}
