// Never may a partition root, whatever its bytes and those of the node names, be cut off or put in front of a name in
// another way than the rules say, and never may committing change the entries that are loaded.

#include "entries_of_bytes.h"
#include "logdb_database.h"

namespace {

PLAIN_ENTRIES loaded_entries() {
   PLAIN_ENTRIES entries;
   const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   MEM_VECTOR<LOGDB_DATABASE_ENTRY*> all;
   for (int index = 0; index < database->get_number_of_entries(); ++index) {
      all.push_back(const_cast<LOGDB_DATABASE_ENTRY*>(database->get_entry(index)));
   }
   return contents_of(all);
}

/// A root is handed over as a C string.
std::string root_of(FUZZ_BYTES& bytes) {
   return bytes.text().c_str();
}

void check(FUZZ_HOST& host, FUZZ_BYTES& bytes) {
   const std::string write_root = root_of(bytes);
   const std::string load_root = root_of(bytes);
   PLAIN_ENTRIES entries = entries_of_bytes(bytes);
   // Names below the root are what a partition has; without them hardly any input would make one.
   for (PLAIN_ENTRY& entry : entries) {
      for (std::string& field : entry.m_fields) {
         if (!field.empty() && field.front() == '|') {
            field.insert(0, write_root);
         }
      }
   }

   LOGDB_DATABASE::initialize("fuzz", LOGDB_DB_TYPE_CMP);
   const FUZZ_FILE nothing;
   LOGDB_DATABASE::load_database(nothing.path(), "");
   for (const PLAIN_ENTRY& plain : entries) {
      const LOGDB_DATABASE_ENTRY entry = library_entry(plain);
      LOGDB_DATABASE::get_database()->add_entry(&entry);
   }
   const FUZZ_FILE file;
   LOGDB_DATABASE::commit_database(file.path(), write_root.c_str());
   const DATABASE_TEXT wanted = rules_of_writing(entries, &write_root);
   FUZZ_HOLDS(file.bytes() == wanted.m_bytes);
   FUZZ_HOLDS(host.take_reports() == wanted.m_reports);
   FUZZ_HOLDS(loaded_entries() == entries);
   LOGDB_DATABASE::unload_database();

   LOGDB_DATABASE::load_database(file.path(), load_root.c_str());
   DATABASE_CONTENTS contents = rules_of_reading(wanted.m_bytes);
   if (contents.m_ok) {
      rules_of_prefixing(load_root, contents.m_entries);
   }
   FUZZ_HOLDS(loaded_entries() == contents.m_entries);
   FUZZ_HOLDS(host.take_reports().empty() == contents.m_ok);
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::initialize("", LOGDB_DB_TYPE_NONE);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   logdb_get_logdb_entry_type_enum_translator_instance();
   const FUZZ_LEAK_CHECK leak_check;
   FUZZ_BYTES bytes(data, size);
   check(host, bytes);
   return 0;
}
