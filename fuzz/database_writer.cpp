// Never may entries of any kinds and bytes be written as other bytes, or with other reports, than the rules of the format
// say, or a file of theirs be read as other entries than the rules say.

#include <algorithm>
#include <sstream>
#include <streambuf>

#include "entries_of_bytes.h"
#include "logdb_database.h"

namespace {

/// Takes a number of bytes and then no more, as a full disk does.
class FULL_BUFFER : public std::streambuf {
public:
   explicit FULL_BUFFER(std::size_t room) : m_room(room) {}
   std::string m_bytes;

protected:
   int_type overflow(int_type byte) override {
      if (m_bytes.size() == m_room) {
         return traits_type::eof();
      }
      m_bytes += traits_type::to_char_type(byte);
      return byte;
   }
   std::streamsize xsputn(const char* bytes, std::streamsize size) override {
      const std::size_t taken = std::min(static_cast<std::size_t>(size), m_room - m_bytes.size());
      m_bytes.append(bytes, taken);
      return static_cast<std::streamsize>(taken);
   }

private:
   std::size_t m_room;
};

void add_entries(const PLAIN_ENTRIES& entries, LOGDB_DATABASE_IMPL& database) {
   for (const PLAIN_ENTRY& plain : entries) {
      const LOGDB_DATABASE_ENTRY entry = library_entry(plain);
      FUZZ_HOLDS(database.add_entry(&entry) != nullptr);
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   logdb_get_logdb_entry_type_enum_translator_instance();
   const FUZZ_LEAK_CHECK leak_check;
   FUZZ_BYTES bytes(data, size);
   const std::size_t room = bytes.number(2);
   const PLAIN_ENTRIES entries = entries_of_bytes(bytes);
   LOGDB_DATABASE_IMPL database;
   add_entries(entries, database);

   const DATABASE_TEXT wanted = rules_of_writing(entries, nullptr);
   std::ostringstream out;
   database.write_database(&out);
   FUZZ_HOLDS(out.str() == wanted.m_bytes);
   FUZZ_HOLDS(host.take_reports() == wanted.m_reports);
   FUZZ_HOLDS(contents_of(database.m_entry_vector) == entries);

   FULL_BUFFER buffer(room);
   std::ostream full(&buffer);
   database.write_database(&full);
   FUZZ_HOLDS(buffer.m_bytes == wanted.m_bytes.substr(0, room));
   FUZZ_HOLDS(full.good() == (wanted.m_bytes.size() <= room));
   host.take_reports();

   const DATABASE_CONTENTS contents = rules_of_reading(wanted.m_bytes);
   std::istringstream in(out.str());
   FUZZ_HOLDS(database.read_database(&in) == contents.m_ok);
   FUZZ_HOLDS(contents_of(database.m_entry_vector) == contents.m_entries);
   FUZZ_HOLDS(host.take_reports().empty());
   return 0;
}
