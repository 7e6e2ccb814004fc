// Never may the bytes of a database file, however they reach the reader, give it other entries than the rules of the
// format do, or make it crash, leak or read on for ever.

#include <algorithm>
#include <cctype>
#include <sstream>
#include <streambuf>

#include "database_rules.h"
#include "fuzz_support.h"
#include "logdb_database.h"

namespace {

/// Hands out its bytes one by one, so that no line is ever there whole.
class SLOW_BUFFER : public std::streambuf {
public:
   explicit SLOW_BUFFER(std::string_view bytes) : m_bytes(bytes) {}

protected:
   int_type underflow() override {
      if (m_next == m_bytes.size()) {
         return traits_type::eof();
      }
      m_byte = m_bytes[m_next++];
      setg(&m_byte, &m_byte, &m_byte + 1);
      return traits_type::to_int_type(m_byte);
   }

private:
   std::string_view m_bytes;
   std::size_t m_next = 0;
   char m_byte = '\0';
};

void check(std::istream& in, const DATABASE_CONTENTS& wanted) {
   LOGDB_DATABASE_IMPL database;
   FUZZ_HOLDS(database.read_database(&in) == wanted.m_ok);
   FUZZ_HOLDS(contents_of(database.m_entry_vector) == wanted.m_entries);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   logdb_get_logdb_entry_type_enum_translator_instance();
   const FUZZ_LEAK_CHECK leak_check;
   const std::string bytes(reinterpret_cast<const char*>(data), size);
   const DATABASE_CONTENTS wanted = rules_of_reading(bytes);
   std::istringstream whole(bytes);
   check(whole, wanted);
   SLOW_BUFFER buffer(bytes);
   std::istream slow(&buffer);
   check(slow, wanted);
   FUZZ_HOLDS(host.take_reports().empty());
   return 0;
}

#ifdef LOGDB_FUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
   if (seed % 3 == 0) {
      return LLVMFuzzerMutate(data, size, most);
   }
   return fuzz_mutate_words(data, size, most, seed / 3, database_words(), ",\n");
}
#endif
