// Databases that were cut short or damaged: loading ends, what is whole is loaded, and memory stays bounded.

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "host_standalone.h"
#include "logdb_database_fixture.h"
#include "logdb_database_model.h"

namespace {

class LOGDB_DATABASE_CUT : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override {
      LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
      write_file(file(), m_text);
      events();
   }

   std::string file() const {
      return database_path("revision", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   }

   /// Loads the file, and compares what comes of it with what the model makes of these bytes.
   void load_and_compare(const std::string& bytes) {
      LOGDB_DATABASE::load_database();
      const MODEL_READ expected = model_of_load(bytes);
      ASSERT_EQ(loaded(), expected.m_entries);
      EVENTS reports = events();
      std::erase_if(reports, [](const std::string& event) { return !event.starts_with("report: "); });
      ASSERT_EQ(reports, expected.m_ok ? EVENTS{} : EVENTS{"report: Failed reading log-db file"});
      LOGDB_DATABASE::unload_database();
      events();
   }

   /// The most tracked memory since the last call, as far as it is more than was ever taken before.
   std::size_t new_peak() {
      const std::size_t peak = host_memory_statistics("LOGDB").m_peak_bytes;
      const std::size_t more = peak - m_peak;
      m_peak = peak;
      return more;
   }

   /// All kinds, by both of their names; fields of all lengths, empty ones, and an empty line.
   const std::string m_text = "v1\n"
                              "DSP_BALANCING_IMPLEMENTATION,simple multiplier,top|mult:7|result[0],\n"
                              "REGISTER_PACKING,PACKED,only fan-out,FED_BY_LUT,top|reg,top|u1|lut~3,\n"
                              "RAM_PACKING,SINGLE,block 1,DUAL_PORT,8,256,DUAL_CLOCK,,fits,top|ram,\n"
                              "FIT_COMPUTED_DQSBUSMUX_COUNTS,dqs,4,\n"
                              "Physical Synthesis Log,a.fsyn,\n"
                              "\n"
                              "IO_RULES_SUMMARY,,0,\n"
                              "io rules LOG,a,b,c,d,e,f\n"
                              "IO_RULES_MATRIX,pin,Pass;Fail;,,\n"
                              "UNKNOWN,x,\n";

private:
   std::size_t m_peak = host_memory_statistics("LOGDB").m_peak_bytes;
};

TEST_F(LOGDB_DATABASE_CUT, a_database_with_all_kinds_cut_at_every_byte_loads_as_the_second_opinion_says) {
   const std::vector<PLAIN_ENTRY> whole = model_of_load(m_text).m_entries;
   ASSERT_EQ(whole.size(), 10U);
   new_peak();
   for (std::size_t size = m_text.size() + 1; size-- > 0;) {
      std::filesystem::resize_file(file(), size);
      ASSERT_NO_FATAL_FAILURE(load_and_compare(m_text.substr(0, size))) << size << " bytes";
   }
   EXPECT_LT(new_peak(), 100000U);
}

TEST_F(LOGDB_DATABASE_CUT, a_database_with_all_kinds_and_any_byte_changed_loads_as_the_second_opinion_says) {
   const int descriptor = open(file().c_str(), O_WRONLY | O_CLOEXEC);
   ASSERT_GE(descriptor, 0);
   new_peak();
   std::string text = m_text;
   for (std::size_t at = 0; at < text.size(); ++at) {
      for (const char other : {'\0', '\n', ',', '\r', 'x', '|', '\xFF', static_cast<char>(m_text[at] ^ 0x20)}) {
         text[at] = other;
         ASSERT_EQ(pwrite(descriptor, &other, 1, static_cast<off_t>(at)), 1);
         ASSERT_NO_FATAL_FAILURE(load_and_compare(text)) << "byte " << at << " is " << static_cast<int>(other);
      }
      text[at] = m_text[at];
      ASSERT_EQ(pwrite(descriptor, &text[at], 1, static_cast<off_t>(at)), 1);
   }
   close(descriptor);
   EXPECT_LT(new_peak(), 100000U);
}

} // namespace
