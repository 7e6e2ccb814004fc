// Logs that were cut short or damaged: reading ends, what was whole is read, and memory stays bounded.

#include <fcntl.h>
#include <unistd.h>

#include "fsyn_log_fixture.h"

namespace {

class FSYN_CUT : public FSYN_LOG_TEST {
protected:
   FSYN_CUT() {
      for (const FSYN_SAMPLE& sample : fsyn_samples()) {
         m_text += sample.m_text;
         // A record is whole without its last white space.
         m_ends.push_back(m_text.find_last_not_of(" \n") + 1);
      }
   }

   /// The most tracked memory since the last call, as far as it is more than was ever taken before.
   std::size_t new_peak() {
      const std::size_t peak = host_memory_statistics("LOGDB").m_peak_bytes;
      const std::size_t more = peak - m_peak;
      m_peak = peak;
      return more;
   }

   std::string m_text;              // all kinds
   std::vector<std::size_t> m_ends; // where each record of it ends

private:
   std::size_t m_peak = host_memory_statistics("LOGDB").m_peak_bytes;
};

TEST_F(FSYN_CUT, a_log_with_all_kinds_cut_at_every_byte_gives_its_whole_records_and_at_most_one_more) {
   const std::vector<std::string> whole = reading(m_text).m_records;
   ASSERT_EQ(whole.size(), 44U);
   write_file("log.fsyn", m_text);
   new_peak();
   for (std::size_t size = m_text.size() + 1; size-- > 0;) {
      std::filesystem::resize_file("log.fsyn", size);
      const FSYN_READING read = reading_of_file("log.fsyn");
      ASSERT_EQ(read, fsyn_model_reading(std::string_view(m_text).substr(0, size))) << size << " bytes";

      std::size_t count = 0;
      while (count < m_ends.size() && m_ends[count] <= size) {
         ++count;
      }
      ASSERT_GE(read.m_records.size(), count) << size << " bytes";
      ASSERT_LE(read.m_records.size(), count + 1) << size << " bytes";
      ASSERT_TRUE(
          std::equal(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count), read.m_records.begin()))
          << size << " bytes";
      // The last word may be a keyword or a mode that was cut; a list may be.
      ASSERT_LE(read.m_events.size(), 1U) << size << " bytes";
   }
   EXPECT_LT(new_peak(), 100000U);
}

TEST_F(FSYN_CUT, a_log_with_all_kinds_and_one_byte_changed_reads_as_the_second_opinion_says) {
   write_file("log.fsyn", m_text);
   const int file = open("log.fsyn", O_WRONLY | O_CLOEXEC);
   ASSERT_GE(file, 0);
   new_peak();
   std::string text = m_text;
   for (std::size_t at = 0; at < text.size(); ++at) {
      const char other = m_text[at] == '\n' ? 'x' : '\n';
      text[at] = other;
      ASSERT_EQ(pwrite(file, &other, 1, static_cast<off_t>(at)), 1);
      ASSERT_EQ(reading_of_file("log.fsyn"), fsyn_model_reading(text)) << "byte " << at;
      text[at] = m_text[at];
      ASSERT_EQ(pwrite(file, &m_text[at], 1, static_cast<off_t>(at)), 1);
   }
   close(file);
   EXPECT_LT(new_peak(), 100000U);
}

TEST_F(FSYN_CUT, every_kind_with_any_byte_changed_reads_as_the_second_opinion_says) {
   new_peak();
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      std::string text = sample.m_text + "PHYSICAL_SYNTHESIS_INSERT_ATOM\nn 1\nr\nPHYSICAL_SYNTHESIS_END_OF_LOG\n";
      write_file("log.fsyn", text);
      const int file = open("log.fsyn", O_WRONLY | O_CLOEXEC);
      ASSERT_GE(file, 0);
      for (std::size_t at = 0; at < sample.m_text.size(); ++at) {
         for (const char other : {'\0', ' ', 'x', '7', '-', '\xFF', static_cast<char>(text[at] ^ 0x20)}) {
            text[at] = other;
            ASSERT_EQ(pwrite(file, &other, 1, static_cast<off_t>(at)), 1);
            ASSERT_EQ(reading_of_file("log.fsyn"), fsyn_model_reading(text))
                << sample.m_suffix << ", byte " << at << " is " << static_cast<int>(other);
         }
         text[at] = sample.m_text[at];
         ASSERT_EQ(pwrite(file, &text[at], 1, static_cast<off_t>(at)), 1);
      }
      close(file);
   }
   EXPECT_LT(new_peak(), 100000U);
}

TEST_F(FSYN_CUT, every_kind_with_a_word_left_out_or_doubled_reads_as_the_second_opinion_says) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      const std::string rest = "PHYSICAL_SYNTHESIS_INSERT_ATOM\nn 1\nr\nPHYSICAL_SYNTHESIS_END_OF_LOG\n";
      for (std::size_t begin = 0; begin < sample.m_text.size();) {
         const std::size_t end = sample.m_text.find_first_of(" \n", begin) + 1;
         const std::string without = sample.m_text.substr(0, begin) + sample.m_text.substr(end) + rest;
         EXPECT_EQ(reading(without), fsyn_model_reading(without)) << sample.m_suffix << ", byte " << begin;
         const std::string twice = sample.m_text.substr(0, end) + sample.m_text.substr(begin) + rest;
         EXPECT_EQ(reading(twice), fsyn_model_reading(twice)) << sample.m_suffix << ", byte " << begin;
         begin = end;
      }
   }
}

TEST_F(FSYN_CUT, a_list_takes_no_more_memory_than_its_text_has_words) {
   std::string names;
   for (int name = 0; name < 1000; ++name) {
      names += "x\n";
   }
   for (const int kind : {3, 27, 28, 31}) {
      const std::string text = fsyn_keyword(kind) + " n " + names;
      new_peak();
      EXPECT_EQ(reading(text), fsyn_model_reading(text)) << kind;
      EXPECT_LT(new_peak(), 1000U * 200U) << kind;
   }
}

} // namespace
