// Properties of the physical-synthesis log, tried on records, texts and formats made at random.

#include <rapidcheck.h>

#include <climits>
#include <cstring>

#include "fsyn_log_fixture.h"
#include "fsyn_words.h"

namespace {

using FSYN_PROPERTIES = FSYN_LOG_TEST;

// ---- What is made at random

/// A name that reads back: printable, never empty, not one of the words that a place reserves.
rc::Gen<MEM_STRING> a_name() {
   const auto plain =
       rc::gen::map(rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::inRange('!', '\x7F'))),
                    [](const std::string& text) { return MEM_STRING(text.data(), text.size()); });
   const auto known = rc::gen::element<MEM_STRING>("UNCHANGED", "Port", "Output", "LUTMASK", "NORMAL", "0", "-1",
                                                   "LOGDB_FSYN_EOF", "PHYSICAL_SYNTHESIS_END_OF_LOG",
                                                   "a_name_that_is_longer_than_most|and_has_a_level|q[31]~dup_2");
   return rc::gen::weightedOneOf<MEM_STRING>({{4, plain}, {1, known}});
}

/// Any bytes, zero bytes and white space too.
rc::Gen<MEM_STRING> any_bytes() {
   const auto bytes = rc::gen::map(rc::gen::container<std::string>(rc::gen::arbitrary<char>()),
                                   [](const std::string& text) { return MEM_STRING(text.data(), text.size()); });
   const auto around_the_cut = rc::gen::map(rc::gen::inRange<std::size_t>(4080, 4100),
                                            [](std::size_t size) { return MEM_STRING(size, 'n'); });
   return rc::gen::weightedOneOf<MEM_STRING>({{8, bytes}, {1, around_the_cut}});
}

template <class NUMBER> NUMBER any_number() {
   return *rc::gen::weightedOneOf<NUMBER>(
       {{3, rc::gen::arbitrary<NUMBER>()},
        {1, rc::gen::element<NUMBER>(std::numeric_limits<NUMBER>::min(), std::numeric_limits<NUMBER>::max(), 0, 1,
                                     2)}});
}

/// Fills members at random, names by a generator of their own.
struct FILLER {
   rc::Gen<MEM_STRING> m_names;
   std::size_t m_list_size = 0;

   void fill(MEM_STRING& name) const { name = *m_names; }
   void fill(int& number) const { number = any_number<int>(); }
   void fill(unsigned short& number) const { number = any_number<unsigned short>(); }
   void fill(unsigned char& number) const { number = any_number<unsigned char>(); }
   void fill(unsigned long& number) const { number = any_number<unsigned long>(); }
   void fill(DB_INPUT_PORT_TYPE& type) const { type = static_cast<DB_INPUT_PORT_TYPE>(any_number<int>()); }
   void fill(DB_OUTPUT_PORT_TYPE& type) const { type = static_cast<DB_OUTPUT_PORT_TYPE>(any_number<int>()); }

   /// Lists of one record have one length, so that the parallel ones are.
   template <class ELEMENT> void fill(MEM_VECTOR<ELEMENT>& list) const {
      list.resize(m_list_size);
      for (ELEMENT& element : list) {
         fill(element);
      }
   }
};

/// A record of any kind but SET_INSTANCE_NAME, which cannot be written.
FSYN_RECORD a_record(const rc::Gen<MEM_STRING>& names) {
   const int kind = *rc::gen::inRange(0, 44);
   const FILLER filler{names, *rc::gen::inRange<std::size_t>(0, 6)};
   FSYN_RECORD record;
   int index = 0;
   for_each_fsyn_kind([&]<class RECORD>() {
      if (index++ == kind) {
         auto* made = new (0) RECORD;
         record.reset(made);
         made->m_tag = any_number<unsigned int>();
         filler.fill(made->m_node_name);
         if constexpr (requires { made->m_ram_source_names; }) {
            filler.fill(made->m_ram_source_names);
            filler.fill(made->m_ram_port_types);
            filler.fill(made->m_ram_port_indices);
         } else if constexpr (requires { made->m_port_sources; }) {
            // As many slots as the kind has; every other one at random stays as it is.
            for (MEM_STRING& slot : made->m_port_sources) {
               if (*rc::gen::arbitrary<bool>()) {
                  filler.fill(slot);
               }
            }
         } else {
            for_each_fsyn_field(*made, [&](const char* /*name*/, auto& member) { filler.fill(member); });
         }
         if constexpr (requires { made->m_chain_type; }) {
            made->m_chain_type = DB_PAD_TO_CORE;
         }
         if constexpr (requires { made->m_enable_name; }) {
            if (*rc::gen::inRange(0, 3) == 0) {
               made->m_enable_name.clear();
            }
         }
      }
   });
   return record->m_type == SET_INSTANCE_NAME ? FSYN_RECORD(new (0) LOGDB_FSYN_LOG_ENTRY_END_OF_LOG)
                                              : std::move(record);
}

std::vector<FSYN_RECORD> some_records(const rc::Gen<MEM_STRING>& names, std::size_t most) {
   std::vector<FSYN_RECORD> records(*rc::gen::inRange<std::size_t>(0, most));
   for (FSYN_RECORD& record : records) {
      record = a_record(names);
   }
   return records;
}

std::string text_of(const std::vector<FSYN_RECORD>& records) {
   std::string text;
   for (const FSYN_RECORD& record : records) {
      text += fsyn_model_text(*record);
   }
   return text;
}

void write_records(const std::vector<FSYN_RECORD>& records) {
   std::filesystem::remove("log.fsyn");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   for (const FSYN_RECORD& record : records) {
      log.write_fsyn_log_entry(record.get());
   }
}

std::string bytes_of(const char* name) {
   if (!std::filesystem::exists(name)) {
      return "";
   }
   std::string bytes(std::filesystem::file_size(name), '\0');
   std::FILE* file = std::fopen(name, "r");
   RC_ASSERT(file != nullptr);
   RC_ASSERT(std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size());
   std::fclose(file);
   return bytes;
}

// ---- Writing and reading

TEST_F(FSYN_PROPERTIES, records_are_written_as_the_second_opinion_writes_them) {
   EXPECT_TRUE(rc::check("any names and numbers", [] {
      const std::vector<FSYN_RECORD> records = some_records(any_bytes(), 6);
      write_records(records);
      RC_ASSERT(bytes_of("log.fsyn") == text_of(records));
   }));
}

TEST_F(FSYN_PROPERTIES, records_with_good_names_read_back_but_for_what_the_text_does_not_carry) {
   EXPECT_TRUE(rc::check("good names", [this] {
      std::vector<FSYN_RECORD> records = some_records(a_name(), 20);
      std::vector<std::string> wanted;
      for (const FSYN_RECORD& record : records) {
         FSYN_RECORD back(record->clone());
         back->m_tag = 0;
         back->m_node_name = record->m_node_name;
         with_fsyn_record(*back, [&]<class RECORD>(const RECORD& as_written) {
            auto& read = const_cast<RECORD&>(as_written);
            // Flags are normalised, whatever class they are in.
            for_each_fsyn_field(read, [](const char* /*name*/, auto& member) {
               if constexpr (std::is_same_v<decltype(member), unsigned char&>) {
                  member = member != 0;
               }
            });
            if constexpr (requires { read.m_lut_mode; }) {
               read.m_lut_mode = read.m_lut_mode == 0 || read.m_lut_mode == 1 ? read.m_lut_mode : 2;
            }
            if constexpr (requires { read.m_delete_extra; }) {
               read.m_delete_extra = 0;
            }
            if constexpr (requires { read.m_copy_extra; }) {
               read.m_copy_extra = 0;
            }
            if constexpr (std::is_same_v<RECORD, LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM>) {
               read.m_port_index = 0;
            }
            if (fsyn_model_text(read).find('\n') == fsyn_model_text(read).size() - 1) {
               read.m_node_name = "DUMMY_NAME";
            }
         });
         wanted.push_back(fsyn_description(*back));
      }
      write_records(records);
      RC_ASSERT(reading_of_file("log.fsyn") == (FSYN_READING{wanted, {}}));
   }));
}

TEST_F(FSYN_PROPERTIES, whatever_was_written_reads_as_the_second_opinion_reads_it) {
   EXPECT_TRUE(rc::check("any names", [this] {
      const std::vector<FSYN_RECORD> records = some_records(any_bytes(), 6);
      write_records(records);
      if (!records.empty()) {
         RC_ASSERT(reading_of_file("log.fsyn") == fsyn_model_reading(bytes_of("log.fsyn")));
      }
   }));
}

TEST_F(FSYN_PROPERTIES, writing_what_was_read_gives_the_same_text) {
   EXPECT_TRUE(rc::check("good names", [] {
      const std::vector<FSYN_RECORD> records = some_records(a_name(), 10);
      std::vector<FSYN_RECORD> once;
      for (const FSYN_RECORD& record : records) {
         once.push_back(fsyn_model_read_back(*record));
         RC_ASSERT(once.back() != nullptr);
      }
      write_records(once);
      const std::string text = bytes_of("log.fsyn");
      std::vector<FSYN_RECORD> again;
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      while (LOGDB_FSYN_LOG_ENTRY* record = log.read_fsyn_log_entry()) {
         again.emplace_back(record);
      }
      log.close();
      write_records(again);
      RC_ASSERT(bytes_of("log.fsyn") == text);
   }));
}

TEST_F(FSYN_PROPERTIES, a_copy_is_written_like_its_source_but_for_the_timing_copy) {
   EXPECT_TRUE(rc::check("any names", [] {
      const FSYN_RECORD record = a_record(any_bytes());
      const FSYN_RECORD copy(record->clone());
      if (copy->m_type == COPY_OTERM_TIMING_ASSIGNMENTS) {
         RC_ASSERT(copy->m_node_name.empty());
         RC_ASSERT(copy->m_tag == 0U);
         record->m_node_name.clear();
      }
      RC_ASSERT(fsyn_model_text(*copy) == fsyn_model_text(*record));
   }));
}

// ---- Texts that no writer made

rc::Gen<std::string> a_word() {
   std::vector<std::string> words = fsyn_words();
   // The kinds with lists are the interesting ones.
   for (const int kind : {3, 3, 27, 27, 27, 28, 29, 30, 31, 31}) {
      words.push_back(fsyn_keyword(kind));
   }
   return rc::gen::weightedOneOf<std::string>(
       {{12, rc::gen::elementOf(words)},
        {1, rc::gen::container<std::string>(rc::gen::arbitrary<char>())},
        {1, rc::gen::map(rc::gen::inRange<std::size_t>(4090, 4100),
                         [](std::size_t size) { return std::string(size, 'w'); })}});
}

TEST_F(FSYN_PROPERTIES, any_words_read_as_the_second_opinion_reads_them) {
   EXPECT_TRUE(rc::check("words of the format in any order", [this] {
      std::string text;
      for (const std::string& word : *rc::gen::container<std::vector<std::string>>(a_word())) {
         text += word + *rc::gen::element(" ", "\n", "\t", "\r\n", "  ");
      }
      RC_ASSERT(reading(text) == fsyn_model_reading(text));
   }));
}

TEST_F(FSYN_PROPERTIES, any_bytes_read_as_the_second_opinion_reads_them) {
   EXPECT_TRUE(rc::check("bytes", [this] {
      const auto text = *rc::gen::container<std::string>(rc::gen::arbitrary<char>());
      RC_ASSERT(reading(text) == fsyn_model_reading(text));
   }));
}

TEST_F(FSYN_PROPERTIES, numbers_read_as_the_c_library_reads_them) {
   const auto digits =
       rc::gen::container<std::string>(rc::gen::elementOf(std::string("0123456789abcdefABCDEFxX+-")));
   EXPECT_TRUE(rc::check("words of digits and signs", [&] {
      const std::string word = *rc::gen::suchThat(digits, [](const std::string& text) { return !text.empty(); });
      const auto number = first_record<LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL>("PHYSICAL_SYNTHESIS_SET_GLOBAL n " + word +
                                                                        " " + word + " 1");
      RC_ASSERT(number->m_port_type == static_cast<int>(std::strtol(word.c_str(), nullptr, 10)));
      RC_ASSERT(number->m_port_index == static_cast<unsigned short>(std::strtol(word.c_str(), nullptr, 10)));
      const auto mask = first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n " + word +
                                                                       " 0 0 NORMAL");
      RC_ASSERT(mask->m_lut_mask == std::strtoul(word.c_str(), nullptr, 16));
   }));
}

// ---- Lines

template <class... ARGUMENTS> void expect_line(const char* format, ARGUMENTS... arguments) {
   std::filesystem::remove("log.fsyn");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   log.print_line(format, arguments...);
   char line[4096] = "";
   std::snprintf(line, sizeof line, format, arguments...);
   RC_ASSERT(bytes_of("log.fsyn") == std::string(line) + "\n");
}

TEST_F(FSYN_PROPERTIES, a_line_is_what_snprintf_makes_of_it_up_to_its_first_zero_byte) {
   EXPECT_TRUE(rc::check("names and numbers", [] {
      const MEM_STRING name = *any_bytes();
      const int number = any_number<int>();
      const auto mask = any_number<unsigned long>();
      const int width = *rc::gen::inRange(-4200, 4200);
      const int character = *rc::gen::inRange(0, 256);
      expect_line("%s", name.c_str());
      expect_line("%s %d %lx", name.c_str(), number, mask);
      expect_line("%*d|%s", width, number, name.c_str());
      expect_line("%x%c%o %5.3f", static_cast<unsigned int>(number), character, static_cast<unsigned int>(number),
                  number / 8.0);
   }));
}

TEST_F(FSYN_PROPERTIES, words_of_a_file_are_what_stands_between_its_white_space) {
   EXPECT_TRUE(rc::check("bytes with much white space", [] {
      const auto byte = rc::gen::weightedOneOf<char>({{3, rc::gen::arbitrary<char>()},
                                                      {3, rc::gen::inRange('a', 'd')},
                                                      {2, rc::gen::elementOf(std::string(" \n\t\v\f\r"))}});
      const auto bytes = *rc::gen::container<std::string>(byte);
      std::vector<std::string> wanted;
      std::string word;
      for (const char one : bytes + " ") {
         const bool white = one == ' ' || (one >= 9 && one <= 13);
         if (one == '\0') {
            break;
         }
         if (white && !word.empty()) {
            wanted.push_back(word);
         }
         word = white ? "" : word + one;
      }
      if (bytes.find('\0') != std::string::npos && !word.empty()) {
         wanted.push_back(word); // the zero byte ended it
      }
      // The word for the end is no end here; no such word is made of these bytes.
      write_file("words.fsyn", bytes);
      LOGDB_FSYN_LOG_FILE log("words.fsyn");
      RC_ASSERT(words(log) == wanted);
   }));
}

} // namespace
