// Never may a record, whatever its members hold, be written as other bytes than a plain second writer writes for it, be
// changed by that, or be read back as other records than the second reader reads.

#include "fsyn_model.h"
#include "logdb_fsyn_log_file.h"
#include "records_of_bytes.h"

namespace {

void check_clone(const LOGDB_FSYN_LOG_ENTRY& record) {
   const FSYN_RECORD copy(record.clone());
   FUZZ_HOLDS(copy != nullptr && copy->m_type == record.m_type);
   const FSYN_RECORD again(copy->clone());
   FUZZ_HOLDS(fsyn_description(*again) == fsyn_description(*copy));
   // A copy of this kind is about the two terminals alone.
   if (record.m_type != COPY_OTERM_TIMING_ASSIGNMENTS) {
      FUZZ_HOLDS(fsyn_model_text(*copy) == fsyn_model_text(record));
   }
}

void check(FUZZ_HOST& host, FUZZ_BYTES& bytes) {
   const std::vector<FSYN_RECORD> records = records_of_bytes(bytes);
   const FUZZ_FILE file;
   LOGDB_FSYN_LOG_FILE log(file.path());
   log.init(true);
   std::string wanted;
   for (const FSYN_RECORD& record : records) {
      const std::string before = fsyn_description(*record);
      log.write_fsyn_log_entry(record.get());
      FUZZ_HOLDS(fsyn_description(*record) == before);
      wanted += fsyn_model_text(*record);
      check_clone(*record);
   }
   FUZZ_HOLDS(file.bytes() == wanted);
   log.close();
   host.take_events();

   const FSYN_READING reading = fsyn_model_reading(wanted);
   std::vector<std::string> read;
   while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
      read.push_back(fsyn_description(*record));
   }
   FUZZ_HOLDS(read == reading.m_records);
   FUZZ_HOLDS(host.take_events() == reading.m_events);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   FUZZ_BYTES bytes(data, size);
   check(host, bytes);
   return 0;
}
