// What read_fsyn_log_entry makes of a text.

#include <climits>
#include <cstring>

#include "fsyn_log_fixture.h"

namespace {

using FSYN_READER = FSYN_LOG_TEST;
using REPORTS = std::vector<std::string>;
using NAMES = MEM_VECTOR<MEM_STRING>;
using INPUT_TYPES = MEM_VECTOR<DB_INPUT_PORT_TYPE>;
using OUTPUT_TYPES = MEM_VECTOR<DB_OUTPUT_PORT_TYPE>;
using INDICES = MEM_VECTOR<unsigned short>;

const char* const stray_report = "Unrecognized line in the log";
const char* const mode_report = "Unrecognized lutmask type";

/// "UNCHANGED" for every slot but one.
NAMES slots(std::size_t count, std::size_t slot, const char* name) {
   NAMES all(count, "UNCHANGED");
   all.at(slot) = name;
   return all;
}

DB_INPUT_PORT_TYPE input(int type) {
   return static_cast<DB_INPUT_PORT_TYPE>(type);
}

DB_OUTPUT_PORT_TYPE output(int type) {
   return static_cast<DB_OUTPUT_PORT_TYPE>(type);
}

// ---- Every kind

TEST_F(FSYN_READER, every_kind_reads_back_but_for_what_its_text_does_not_carry) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      SCOPED_TRACE(sample.m_suffix);
      write_file("log.fsyn", sample.m_text);
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      const FSYN_RECORD record(log.read_fsyn_log_entry());
      ASSERT_NE(record, nullptr);
      const auto written_fields = fsyn_fields(*sample.m_record);
      const auto read_fields = fsyn_fields(*record);
      ASSERT_EQ(read_fields.size(), written_fields.size());
      std::vector<std::string> lost;
      for (std::size_t field = 0; field < read_fields.size(); ++field) {
         if (read_fields[field] != written_fields[field]) {
            lost.push_back(read_fields[field].first);
         }
      }
      EXPECT_EQ(lost, sample.m_lost);
      EXPECT_EQ(FSYN_RECORD(log.read_fsyn_log_entry()), nullptr);
   }
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_TRUE(m_host.take_messages().empty());
}

TEST_F(FSYN_READER, what_is_lost_comes_back_as_the_reader_says) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      const FSYN_RECORD wanted = fsyn_model_read_back(*sample.m_record);
      ASSERT_NE(wanted, nullptr) << sample.m_suffix;
      EXPECT_EQ(reading(sample.m_text), (FSYN_READING{{fsyn_description(*wanted)}, {}}));
   }
   // And said once by hand.
   EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM>("PHYSICAL_SYNTHESIS_INSERT_ATOM n 2 r")->m_atom_kind,
             1);
   const auto mask =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n 0 0 9 CARRY");
   EXPECT_EQ(mask->m_lut_mode, 2);
   EXPECT_EQ(mask->m_mask_option, 1);
   const auto deleted =
       first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>("PHYSICAL_SYNTHESIS_DELETE_ATOM n END_OF_DELETE_ATOM");
   EXPECT_EQ(deleted->m_tag, 0U);
   EXPECT_EQ(deleted->m_delete_extra, 0);
   EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM>("PHYSICAL_SYNTHESIS_CREATE_ITERM n 4")->m_port_index,
             0);
   EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS>(
                 "PHYSICAL_SYNTHESIS_COPY_ATOM_LOCATION_CONSTRAINTS n o")
                 ->m_copy_extra,
             0);
}

TEST_F(FSYN_READER, a_log_with_all_kinds_reads_record_by_record) {
   std::string text;
   FSYN_READING wanted;
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      text += sample.m_text;
      wanted.m_records.push_back(fsyn_description(*fsyn_model_read_back(*sample.m_record)));
   }
   EXPECT_EQ(reading(text), wanted);

   // Line breaks carry no meaning, and neither does the kind of white space.
   std::string one_line = text;
   std::string many_blanks;
   for (char& byte : one_line) {
      byte = byte == '\n' ? ' ' : byte;
      many_blanks += byte == ' ' ? std::string("\r\n\t \v\f") : std::string(1, byte);
   }
   EXPECT_EQ(reading(one_line), wanted);
   EXPECT_EQ(reading(many_blanks), wanted);
   EXPECT_EQ(reading("\n\n  " + text.substr(0, text.size() - 1)), wanted);
}

TEST_F(FSYN_READER, the_golden_file_reads_as_the_samples) {
   FSYN_READING wanted;
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         wanted.m_records.push_back(fsyn_description(*fsyn_model_read_back(*sample.m_record)));
      }
   }
   EXPECT_EQ(reading_of_file(LOGDB_TEST_DIRECTORY "/golden/all_kinds.fsyn"), wanted);
}

TEST_F(FSYN_READER, markers_read_as_fresh_records) {
   for (const int kind : {0, 1, 42, 43, 45}) {
      write_file("log.fsyn", fsyn_keyword(kind));
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      const FSYN_RECORD record(log.read_fsyn_log_entry());
      ASSERT_NE(record, nullptr);
      EXPECT_EQ(record->m_type, kind);
      EXPECT_EQ(record->m_node_name, "DUMMY_NAME");
      EXPECT_EQ(record->m_tag, 0U);
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   }
}

TEST_F(FSYN_READER, an_instance_name_is_read_though_no_log_ever_holds_one) {
   const auto record =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME>("PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME n 5\nname\n");
   EXPECT_EQ(record->m_node_name, "n");
   EXPECT_EQ(record->m_value, 5);
   EXPECT_EQ(record->m_instance_name, "name");
}

TEST_F(FSYN_READER, the_log_of_a_trapped_writer_ends_with_a_name_that_is_not_there) {
   const auto record =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME>("PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME\nn 5\n");
   EXPECT_EQ(record->m_value, 5);
   EXPECT_EQ(record->m_instance_name, "LOGDB_FSYN_EOF");
   EXPECT_TRUE(m_host.take_messages().empty()) << "no list was cut";
}

// ---- The main loop

TEST_F(FSYN_READER, the_end_of_the_file_is_null_and_stays_null) {
   for (const char* text : {"", "\n \n", "PHYSICAL_SYNTHESIS_END_OF_LOG\n"}) {
      write_file("log.fsyn", text);
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      if (std::strlen(text) > 10) {
         EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log)->m_node_name, "DUMMY_NAME");
      }
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   }
}

TEST_F(FSYN_READER, a_file_that_cannot_be_read_has_no_records) {
   std::filesystem::create_directory("folder");
   for (const char* name : {"missing.fsyn", "missing/log.fsyn", "folder", ""}) {
      LOGDB_FSYN_LOG_FILE log(name);
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr) << name;
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr) << name;
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, the_ends_of_a_log_are_records_like_any_other) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\n"
                          "PHYSICAL_SYNTHESIS_END_OF_LOG\n"
                          "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n"
                          "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0\n");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT>(log);
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(log)->m_node_name, "n");
   next_record<LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER>(log);
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
}

TEST_F(FSYN_READER, a_stray_word_costs_one_report_and_is_skipped) {
   const auto record =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>("FOO PHYSICAL_SYNTHESIS_SET_USER_LCELL n1");
   EXPECT_EQ(record->m_node_name, "n1");
   EXPECT_EQ(take_reports(), REPORTS{stray_report});
}

TEST_F(FSYN_READER, every_stray_word_is_reported_also_in_front_of_the_end) {
   EXPECT_EQ(reading("a b\nc").m_events, (REPORTS(3, std::string("report: ") + stray_report)));
   write_file("log.fsyn", "a PHYSICAL_SYNTHESIS_END_OF_LOG b c");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   EXPECT_EQ(take_reports(), REPORTS(1, stray_report));
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(take_reports(), REPORTS(2, stray_report));
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, a_keyword_is_compared_whole_and_by_case) {
   std::size_t strays = 0;
   std::string text;
   for_each_fsyn_kind([&]<class RECORD>() {
      const std::string keyword = fsyn_keyword(FSYN_KIND<RECORD>::value);
      std::string lower = keyword;
      lower.back() = static_cast<char>(lower.back() | 0x20);
      std::vector<std::string> others = {keyword + "x", keyword + "_",     "x" + keyword,
                                         keyword + ".", keyword.substr(1), keyword + keyword};
      if (lower != keyword) {
         others.push_back(lower);
      }
      // Two of the keywords begin another.
      const std::string shorter = keyword.substr(0, keyword.size() - 1);
      others.push_back(shorter);
      for (const std::string& other : others) {
         text += other + "\n";
         ++strays;
      }
   });
   text += "PHYSICAL_SYNTHESIS_ PHYSICAL_SYNTHESIS PHYSICAL_SYNTHESIS_REVISION_NUMBER "
           "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.1 PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER "
           "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION END_OF_DELETE_ATOM End_of_ADD_REMOVE_Connection LUTMASK Port "
           "UNCHANGED DUMMY_NAME NO_ENABLE NORMAL INSERT_ATOM";
   strays += 15;
   const FSYN_READING read = reading(text);
   EXPECT_EQ(read.m_records, std::vector<std::string>());
   EXPECT_EQ(read.m_events.size(), strays);
}

TEST_F(FSYN_READER, short_and_long_stray_words_are_no_keywords) {
   for (const std::size_t size : {1U, 2U, 7U, 8U, 9U, 18U, 50U, 51U, 4095U, 4096U, 4097U, 100000U, 1000000U}) {
      const FSYN_READING read = reading(std::string(size, 'P') + " PHYSICAL_SYNTHESIS_END_OF_LOG");
      EXPECT_EQ(read.m_records.size(), 1U) << size;
      EXPECT_EQ(read.m_events.size(), 1U) << size;
   }
}

TEST_F(FSYN_READER, the_word_for_the_end_where_a_keyword_belongs_is_null_and_reading_can_go_on) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG LOGDB_FSYN_EOF PHYSICAL_SYNTHESIS_SET_USER_LCELL n "
                          "stray LOGDB_FSYN_EOF stray");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(log)->m_node_name, "n");
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(take_reports(), REPORTS{stray_report});
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
   EXPECT_EQ(take_reports(), REPORTS{stray_report});
}

TEST_F(FSYN_READER, words_and_records_come_from_one_place) {
   write_file("log.fsyn", "title PHYSICAL_SYNTHESIS_SET_USER_LCELL n PHYSICAL_SYNTHESIS_END_OF_LOG trailer");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   EXPECT_EQ(log.read_line(), std::string("title"));
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(log)->m_node_name, "n");
   EXPECT_EQ(log.read_line(), std::string("PHYSICAL_SYNTHESIS_END_OF_LOG"));
   EXPECT_EQ(log.read_line(), std::string("trailer"));
   EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
}

TEST_F(FSYN_READER, reading_needs_no_init_and_does_not_care_about_it) {
   write_file("log.fsyn", "PHYSICAL_SYNTHESIS_END_OF_LOG");
   LOGDB_FSYN_LOG_FILE log;
   log.set_file_name("LOG.fsyn");
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   log.close();
   log.init(true);
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   EXPECT_EQ(read_file("log.fsyn"), "PHYSICAL_SYNTHESIS_END_OF_LOG");
}

TEST_F(FSYN_READER, two_logs_can_be_read_in_turn) {
   write_file("a.fsyn", "PHYSICAL_SYNTHESIS_SET_USER_LCELL a1 PHYSICAL_SYNTHESIS_SET_USER_LCELL a2");
   write_file("b.fsyn", "PHYSICAL_SYNTHESIS_SET_USER_LCELL b1 PHYSICAL_SYNTHESIS_SET_USER_LCELL b2");
   LOGDB_FSYN_LOG_FILE a("a.fsyn");
   LOGDB_FSYN_LOG_FILE b("b.fsyn");
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(a)->m_node_name, "a1");
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(b)->m_node_name, "b1");
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(a)->m_node_name, "a2");
   EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL>(b)->m_node_name, "b2");
}

TEST_F(FSYN_READER, a_host_that_throws_from_a_report_can_go_on_reading) {
   write_file("log.fsyn", "stray PHYSICAL_SYNTHESIS_SET_LUTMASK a_name_that_needs_storage_of_its_own 0 0 0 ADD "
                          "PHYSICAL_SYNTHESIS_END_OF_LOG");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   HOST_INTERNAL_ERROR_HANDLER old = host_set_internal_error_handler(
       [](const char*, const char*, const char*, int) { throw std::string("stop"); });
   EXPECT_THROW(log.read_fsyn_log_entry(), std::string);
   EXPECT_THROW(log.read_fsyn_log_entry(), std::string);
   host_set_internal_error_handler(old);
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
}

// ---- Numbers

int port_type_of(LOGDB_FSYN_LOG_FILE& log) {
   const FSYN_RECORD record(log.read_fsyn_log_entry());
   const auto* created = dynamic_cast<const LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM*>(record.get());
   return created == nullptr ? -999 : created->m_port_type;
}

const char* const number_words[] = {"0",
                                    "-0",
                                    "+0",
                                    "7",
                                    "+7",
                                    "-7",
                                    "007",
                                    "0x10",
                                    "12abc",
                                    "-12abc",
                                    "1e3",
                                    "1.9",
                                    "abc",
                                    "-",
                                    "+",
                                    "--5",
                                    "+-5",
                                    "-+5",
                                    "\xC2\xB2",
                                    "65535",
                                    "65536",
                                    "70000",
                                    "-1",
                                    "-65537",
                                    "2147483647",
                                    "2147483648",
                                    "-2147483648",
                                    "-2147483649",
                                    "4294967295",
                                    "4294967296",
                                    "4294967303",
                                    "9223372036854775807",
                                    "9223372036854775808",
                                    "-9223372036854775808",
                                    "-9223372036854775809",
                                    "99999999999999999999999999999999",
                                    "-99999999999999999999999999999999",
                                    "18446744073709551616",
                                    "00000000000000000000000000000000000000000000012"};

TEST_F(FSYN_READER, a_number_is_what_strtol_makes_of_the_word_in_the_width_of_its_field) {
   for (const char* word : number_words) {
      const long value = std::strtol(word, nullptr, 10);
      const std::string text(word);
      const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL>("PHYSICAL_SYNTHESIS_SET_GLOBAL n " + text +
                                                                        " " + text + " " + text);
      EXPECT_EQ(record->m_port_type, static_cast<int>(value)) << word;
      EXPECT_EQ(record->m_port_index, static_cast<unsigned short>(value)) << word;
      EXPECT_EQ(record->m_value, static_cast<int>(value)) << word;
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, some_numbers_said_by_hand) {
   const std::pair<const char*, int> wanted[] = {{"+7", 7},
                                                 {"12abc", 12},
                                                 {"abc", 0},
                                                 {"-12.5", -12},
                                                 {"2147483648", INT_MIN},
                                                 {"99999999999999999999", -1},
                                                 {"4294967303", 7},
                                                 {"0x10", 0},
                                                 {"-99999999999999999999", 0},
                                                 {"LOGDB_FSYN_EOF", 0}};
   for (const auto& [word, value] : wanted) {
      write_file("log.fsyn", std::string("PHYSICAL_SYNTHESIS_CREATE_ITERM n ") + word);
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      EXPECT_EQ(port_type_of(log), value) << word;
   }
   EXPECT_EQ(
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_INVERT>("PHYSICAL_SYNTHESIS_SET_INVERT n 1 70000")->m_port_index,
       4464);
   EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_SET_INVERT>("PHYSICAL_SYNTHESIS_SET_INVERT n 1 -1")->m_port_index,
             65535);
}

TEST_F(FSYN_READER, a_number_of_thousands_of_digits_is_one_word) {
   const std::string zeros(4000, '0');
   const auto record =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL>("PHYSICAL_SYNTHESIS_SET_GLOBAL n " + zeros + "5 " +
                                                     std::string(4096, '1') + " " + std::string(5000, '0') + "7");
   EXPECT_EQ(record->m_port_type, 5);
   EXPECT_EQ(record->m_port_index, 65535) << "too large for any integer";
   EXPECT_EQ(record->m_value, 0) << "the 7 is beyond the longest word";
}

TEST_F(FSYN_READER, a_flag_is_1_for_every_number_but_0) {
   const std::pair<const char*, int> wanted[] = {
       {"0", 0},  {"1", 1}, {"2", 1},   {"255", 1}, {"256", 1}, {"65536", 1}, {"-1", 1},
       {"00", 0}, {"x", 0}, {"0x1", 0}, {"1x", 1},  {"-0", 0},  {"+", 0},     {"99999999999999999999", 1}};
   for (const auto& [word, flag] : wanted) {
      const std::string text(word);
      SCOPED_TRACE(text);
      EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM>("PHYSICAL_SYNTHESIS_INSERT_ATOM n " + text + " r")
                    ->m_atom_kind,
                flag);
      EXPECT_EQ(
          first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n 0 0 " + text + " SUM")
              ->m_mask_option,
          flag);
      EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN>(
                    "PHYSICAL_SYNTHESIS_SET_CONNECTED_TO_DELAY_CHAIN n 1 2 8 " + text)
                    ->m_connected,
                flag);
      EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN>(
                    "PHYSICAL_SYNTHESIS_SET_USER_DELAY_CHAIN n 1 2 8 " + text)
                    ->m_user_delay_chain,
                flag);
      const auto properties = first_record<LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES>(
          "PHYSICAL_SYNTHESIS_SET_ITERM_PROPERTIES n 1 2 " + text + " 12 " + text + " " + text + " 15 " + text);
      EXPECT_EQ(properties->m_property1, flag);
      EXPECT_EQ(properties->m_property2, 12);
      EXPECT_EQ(properties->m_property3, flag);
      EXPECT_EQ(properties->m_property4, flag);
      EXPECT_EQ(properties->m_property5, 15);
      EXPECT_EQ(properties->m_property6, flag);
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, the_properties_that_are_no_flags_keep_their_numbers) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES>(
       "PHYSICAL_SYNTHESIS_SET_ITERM_PROPERTIES n 1 2 0 -12 1 0 2147483647 1");
   EXPECT_EQ(record->m_property1, 0);
   EXPECT_EQ(record->m_property2, -12);
   EXPECT_EQ(record->m_property3, 1);
   EXPECT_EQ(record->m_property4, 0);
   EXPECT_EQ(record->m_property5, INT_MAX);
   EXPECT_EQ(record->m_property6, 1);
}

const char* const hexadecimal_words[] = {"0",
                                         "f0f0",
                                         "F0F0",
                                         "fFfF",
                                         "0xff",
                                         "0XFF",
                                         "0x",
                                         "0xg",
                                         "x",
                                         "g",
                                         "ffg",
                                         "+ff",
                                         "-1",
                                         "-2",
                                         "-",
                                         "--1",
                                         "00000000000000000000ab",
                                         "ffffffff",
                                         "100000000",
                                         "1ffffffff",
                                         "ffffffffffffffff",
                                         "10000000000000000",
                                         "fffffffffffffffff",
                                         "-ffffffffffffffff",
                                         "-fffffffffffffffff",
                                         "LUTMASK",
                                         "deadbeefdeadbeef"};

TEST_F(FSYN_READER, a_mask_is_what_strtoul_makes_of_its_halves_and_the_low_one_is_not_cut) {
   for (const char* low : hexadecimal_words) {
      for (const char* high : hexadecimal_words) {
         const unsigned long mask = std::strtoul(high, nullptr, 16) << 32 | std::strtoul(low, nullptr, 16);
         const std::string halves = std::string(low) + " " + high;
         EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n " + halves +
                                                                  " 1 SUM")
                       ->m_lut_mask,
                   mask)
             << halves;
         EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(
                       "PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 1 LUTMASK " + halves)
                       ->m_lut_mask,
                   mask)
             << halves;
      }
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, some_masks_said_by_hand) {
   const auto mask_of = [this](const std::string& halves) {
      return first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n " + halves +
                                                            " 0 NORMAL")
          ->m_lut_mask;
   };
   EXPECT_EQ(mask_of("1234 abcd"), 0xABCD00001234UL);
   EXPECT_EQ(mask_of("0xffffffff 0xffffffff"), 0xFFFFFFFFFFFFFFFFUL);
   EXPECT_EQ(mask_of("1ffffffff 0"), 0x1FFFFFFFFUL) << "the low half reaches into the high one";
   EXPECT_EQ(mask_of("0 1ffffffff"), 0xFFFFFFFF00000000UL);
   EXPECT_EQ(mask_of("-1 0"), 0xFFFFFFFFFFFFFFFFUL);
   EXPECT_EQ(mask_of("xyz 1"), 0x100000000UL);
}

TEST_F(FSYN_READER, any_byte_in_a_number_means_what_it_does_to_strtol_and_strtoul) {
   for (int byte = 1; byte < 256; ++byte) {
      if (byte == ' ' || (byte >= '\t' && byte <= '\r')) {
         continue;
      }
      for (const char* around : {"", "a", "1"}) {
         const std::string word = std::string(around) + static_cast<char>(byte) + "b2";
         const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n " +
                                                                            word + " 0 " + word + " SUM");
         EXPECT_EQ(record->m_lut_mask, std::strtoul(word.c_str(), nullptr, 16)) << word;
         const std::string digits = std::string(around) + static_cast<char>(byte) + "12";
         const auto global =
             first_record<LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL>("PHYSICAL_SYNTHESIS_SET_GLOBAL n 0 0 " + digits);
         EXPECT_EQ(global->m_value, static_cast<int>(std::strtol(digits.c_str(), nullptr, 10))) << digits;
      }
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

// ---- LUT masks and modes

TEST_F(FSYN_READER, a_lut_mask_record_has_mask_option_and_mode) {
   const auto record =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n ffff 1 2 SUM");
   EXPECT_EQ(record->m_node_name, "n");
   EXPECT_EQ(record->m_lut_mask, 0x10000FFFFUL);
   EXPECT_EQ(record->m_mask_option, 1);
   EXPECT_EQ(record->m_lut_mode, 1);
}

TEST_F(FSYN_READER, the_three_modes_have_their_numbers) {
   for (const auto& [word, mode] : {std::pair("NORMAL", 0), std::pair("SUM", 1), std::pair("CARRY", 2)}) {
      EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>(
                    std::string("PHYSICAL_SYNTHESIS_SET_LUTMASK n 0 0 0 ") + word)
                    ->m_lut_mode,
                mode);
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, a_mode_that_does_not_exist_is_reported_and_read_as_0) {
   for (const char* word : {"ADD", "normal", "Sum", "CARRY_", "NORMA", "0", "1", "LOGDB_FSYN_EOF"}) {
      write_file("log.fsyn",
                 std::string("PHYSICAL_SYNTHESIS_SET_LUTMASK n f f 1 ") + word + " PHYSICAL_SYNTHESIS_END_OF_LOG");
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      const auto record = next_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>(log);
      EXPECT_EQ(record->m_lut_mode, 0) << word;
      EXPECT_EQ(record->m_lut_mask, 0xF0000000FUL);
      EXPECT_EQ(take_reports(), REPORTS{mode_report}) << word;
      next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   }
}

TEST_F(FSYN_READER, any_delay_chain_is_read_without_a_report) {
   const auto record =
       first_record<LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN>("PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN n 1 2 3");
   EXPECT_EQ(record->m_chain_type, 3);
   const auto index = first_record<LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX>(
       "PHYSICAL_SYNTHESIS_SET_DELAY_CHAIN_INDEX n 1 2 -8 -4");
   EXPECT_EQ(index->m_chain_type, -8);
   EXPECT_EQ(index->m_chain_index, -4);
   EXPECT_EQ(take_reports(), REPORTS());
}

// ---- Delete records

TEST_F(FSYN_READER, a_list_of_deleted_names_goes_to_its_terminator) {
   const auto names = [this](const std::string& words) {
      return first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>("PHYSICAL_SYNTHESIS_DELETE_ATOM a " + words)
          ->m_deleted_names;
   };
   EXPECT_EQ(names("END_OF_DELETE_ATOM"), NAMES());
   EXPECT_EQ(names("x END_OF_DELETE_ATOM"), NAMES{"x"});
   EXPECT_EQ(names("x x y END_OF_DELETE_ATOM z"), (NAMES{"x", "x", "y"}));
   EXPECT_EQ(names("end_of_delete_atom END_OF_DELETE_ATOM_ End_of_ADD_REMOVE_Connection END_OF_DELETE_ATOM"),
             (NAMES{"end_of_delete_atom", "END_OF_DELETE_ATOM_", "End_of_ADD_REMOVE_Connection"}));
   EXPECT_EQ(names("PHYSICAL_SYNTHESIS_END_OF_LOG END_OF_DELETE_ATOM"), NAMES{"PHYSICAL_SYNTHESIS_END_OF_LOG"});
}

TEST_F(FSYN_READER, the_word_for_the_end_in_a_list_is_a_name) {
   const auto deleted = first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>(
       "PHYSICAL_SYNTHESIS_DELETE_ATOM LOGDB_FSYN_EOF x LOGDB_FSYN_EOF y END_OF_DELETE_ATOM");
   EXPECT_EQ(deleted->m_node_name, "LOGDB_FSYN_EOF");
   EXPECT_EQ(deleted->m_deleted_names, (NAMES{"x", "LOGDB_FSYN_EOF", "y"}));
   const auto wires = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF>(
       "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_FF n 3 LOGDB_FSYN_EOF LOGDB_FSYN_EOF x "
       "End_of_ADD_REMOVE_Connection");
   NAMES wanted = slots(9, 3, "LOGDB_FSYN_EOF");
   wanted[0] = "x"; // as an index the word is 0
   EXPECT_EQ(wires->m_port_sources, wanted);
   const auto stored = first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(
       "PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 1 Port LOGDB_FSYN_EOF LOGDB_FSYN_EOF LOGDB_FSYN_EOF ff 1");
   EXPECT_EQ(stored->m_input_port_types, INPUT_TYPES{input(0)});
   EXPECT_EQ(stored->m_input_port_names, NAMES{"LOGDB_FSYN_EOF"});
   EXPECT_EQ(stored->m_lut_mask, 0x1000000FFUL);
   EXPECT_TRUE(m_host.take_messages().empty()) << "no list was cut";
}

// ---- Connection records

TEST_F(FSYN_READER, a_connection_record_has_the_slots_of_its_kind) {
   const auto io = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO>(
       "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_IO a 3 b End_of_ADD_REMOVE_Connection");
   EXPECT_EQ(io->m_node_name, "a");
   EXPECT_EQ(io->m_port_sources, slots(16, 3, "b"));
   const auto comb = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB>(
       "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_COMB a 10 b End_of_ADD_REMOVE_Connection");
   EXPECT_EQ(comb->m_port_sources, slots(11, 10, "b"));
   const auto ff = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF>(
       "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_FF a End_of_ADD_REMOVE_Connection");
   EXPECT_EQ(ff->m_port_sources, NAMES(9, "UNCHANGED"));
}

template <class RECORD> class FSYN_SLOT_READER : public FSYN_LOG_TEST {
protected:
   /// The slots that a list of words fills.
   NAMES read_slots(const std::string& list) {
      write_file("log.fsyn", fsyn_keyword(FSYN_KIND<RECORD>::value) + " n " + list +
                                 " End_of_ADD_REMOVE_Connection PHYSICAL_SYNTHESIS_END_OF_LOG");
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      NAMES read = next_record<RECORD>(log)->m_port_sources;
      next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
      EXPECT_EQ(log.read_fsyn_log_entry(), nullptr);
      return read;
   }

   const std::size_t m_count = RECORD().m_port_sources.size();
};
using SLOT_RECORDS = ::testing::Types<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB,
                                      LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF,
                                      LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO>;
TYPED_TEST_SUITE(FSYN_SLOT_READER, SLOT_RECORDS);

TYPED_TEST(FSYN_SLOT_READER, every_slot_can_be_filled_and_the_last_name_wins) {
   NAMES wanted;
   std::string list;
   for (std::size_t slot = 0; slot < this->m_count; ++slot) {
      wanted.push_back(MEM_STRING("s") + std::to_string(slot).c_str());
      list = std::to_string(slot) + " " + wanted.back().c_str() + " " + list;
   }
   EXPECT_EQ(this->read_slots(list), wanted);
   EXPECT_EQ(this->read_slots("2 a 2 b 1 c 2 d")[2], "d");
   EXPECT_EQ(this->read_slots("2 a 2 UNCHANGED"), NAMES(this->m_count, "UNCHANGED"));
}

TYPED_TEST(FSYN_SLOT_READER, a_pair_with_an_index_outside_the_slots_is_ignored) {
   for (const std::string index : {"-1", "11", "9", "16", "17", "100", "2147483647", "-2147483648", "2147483648",
                                   "99999999999999999999", "4294967295"}) {
      if (std::strtol(index.c_str(), nullptr, 10) < 0 || index.size() > 2 || std::stoul(index) >= this->m_count) {
         EXPECT_EQ(this->read_slots(index + " x"), NAMES(this->m_count, "UNCHANGED")) << index;
         EXPECT_EQ(this->read_slots(index + " x 1 y " + index + " z"), slots(this->m_count, 1, "y")) << index;
      }
   }
   EXPECT_EQ(this->take_reports(), REPORTS());
}

TYPED_TEST(FSYN_SLOT_READER, an_index_is_a_number_like_any_other) {
   EXPECT_EQ(this->read_slots("x a"), slots(this->m_count, 0, "a"));
   EXPECT_EQ(this->read_slots("3rd a"), slots(this->m_count, 3, "a"));
   EXPECT_EQ(this->read_slots("+4 a"), slots(this->m_count, 4, "a"));
   EXPECT_EQ(this->read_slots("4294967299 a"), slots(this->m_count, 3, "a")) << "32 bits";
   EXPECT_EQ(this->read_slots("-99999999999999999999 a"), slots(this->m_count, 0, "a")) << "32 bits";
}

TYPED_TEST(FSYN_SLOT_READER, the_terminator_counts_only_where_an_index_belongs) {
   EXPECT_EQ(this->read_slots("5 End_of_ADD_REMOVE_Connection"),
             slots(this->m_count, 5, "End_of_ADD_REMOVE_Connection"));
   EXPECT_EQ(this->read_slots("End_of_add_remove_connection a"), slots(this->m_count, 0, "a"));
   EXPECT_EQ(this->read_slots("END_OF_DELETE_ATOM a"), slots(this->m_count, 0, "a"));
}

TEST_F(FSYN_READER, a_ram_record_has_three_parallel_lists_and_no_slots) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM>(
       "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM n 31 0 a -1 70000 UNCHANGED x y z "
       "End_of_ADD_REMOVE_Connection");
   EXPECT_EQ(record->m_ram_port_types, (INPUT_TYPES{input(31), input(-1), input(0)}));
   EXPECT_EQ(record->m_ram_port_indices, (INDICES{0, 4464, 0}));
   EXPECT_EQ(record->m_ram_source_names, (NAMES{"a", "UNCHANGED", "z"}));
   EXPECT_EQ(record->m_port_sources, NAMES());
}

TEST_F(FSYN_READER, the_terminator_of_a_ram_record_counts_only_where_a_type_belongs) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM>(
       "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM n "
       "1 End_of_ADD_REMOVE_Connection End_of_ADD_REMOVE_Connection End_of_ADD_REMOVE_Connection");
   EXPECT_EQ(record->m_ram_port_types, INPUT_TYPES{input(1)});
   EXPECT_EQ(record->m_ram_port_indices, INDICES{0});
   EXPECT_EQ(record->m_ram_source_names, NAMES{"End_of_ADD_REMOVE_Connection"});
   EXPECT_TRUE(m_host.take_messages().empty());
}

// ---- Store-node-info records

TEST_F(FSYN_READER, a_store_node_info_record_has_its_groups_in_order) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(
       "PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 5 Port 1 a Port 2 b Output 0 q LUTMASK ff 0");
   EXPECT_EQ(record->m_node_name, "n");
   EXPECT_EQ(record->m_node_type, 5);
   EXPECT_EQ(record->m_input_port_types, (INPUT_TYPES{input(1), input(2)}));
   EXPECT_EQ(record->m_input_port_names, (NAMES{"a", "b"}));
   EXPECT_EQ(record->m_output_port_types, OUTPUT_TYPES{output(0)});
   EXPECT_EQ(record->m_output_port_names, NAMES{"q"});
   EXPECT_EQ(record->m_lut_mask, 0xFFUL);
}

TEST_F(FSYN_READER, the_word_behind_the_groups_is_dropped_whatever_it_is) {
   for (const char* word : {"LUTMASK", "x", "PORT", "port", "OUTPUT", "Lutmask", "0", "END_OF_DELETE_ATOM",
                            "PHYSICAL_SYNTHESIS_END_OF_LOG", "LOGDB_FSYN_EOF"}) {
      write_file("log.fsyn", std::string("PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 5 Port 1 a Output 0 q ") + word +
                                 " ff 1 PHYSICAL_SYNTHESIS_END_OF_LOG");
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(log)->m_lut_mask, 0x1000000FFUL) << word;
      next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   }
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_TRUE(m_host.take_messages().empty());
}

TEST_F(FSYN_READER, input_groups_end_where_output_groups_begin) {
   // A "Port" behind an "Output" is the word behind the groups.
   write_file("log.fsyn",
              "PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 5 Output 1 x Port 2 3 PHYSICAL_SYNTHESIS_END_OF_LOG");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   const auto record = next_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(log);
   EXPECT_TRUE(record->m_input_port_types.empty());
   EXPECT_EQ(record->m_output_port_names, NAMES{"x"});
   EXPECT_EQ(record->m_lut_mask, 0x300000002UL);
   next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
}

TEST_F(FSYN_READER, a_store_node_info_record_may_have_no_groups_or_one_sort) {
   const auto none =
       first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>("PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 5 LUTMASK 1 2");
   EXPECT_TRUE(none->m_input_port_types.empty() && none->m_input_port_names.empty());
   EXPECT_TRUE(none->m_output_port_types.empty() && none->m_output_port_names.empty());
   EXPECT_EQ(none->m_lut_mask, 0x200000001UL);
   const auto inputs = first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(
       "PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 5 Port 1 a Port 2 b LUTMASK 1 2");
   EXPECT_EQ(inputs->m_input_port_names, (NAMES{"a", "b"}));
   EXPECT_TRUE(inputs->m_output_port_types.empty());
}

TEST_F(FSYN_READER, port_names_are_read_by_place_whatever_they_spell) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(
       "PHYSICAL_SYNTHESIS_STORE_NODE_INFO Port 5 Port 1 Port Port x Output Output 2 LUTMASK Output Port Port "
       "LUTMASK a b");
   EXPECT_EQ(record->m_node_name, "Port");
   EXPECT_EQ(record->m_input_port_types, (INPUT_TYPES{input(1), input(0)}));
   EXPECT_EQ(record->m_input_port_names, (NAMES{"Port", "Output"}));
   EXPECT_EQ(record->m_output_port_types, (OUTPUT_TYPES{output(2), output(0)}));
   EXPECT_EQ(record->m_output_port_names, (NAMES{"LUTMASK", "Port"}));
   EXPECT_EQ(record->m_lut_mask, 0xB0000000AUL);
}

// ---- Clock buffers

TEST_F(FSYN_READER, the_second_name_of_a_clock_buffer_comes_first) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF>(
       "PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF clk 7 second first NO_ENABLE");
   EXPECT_EQ(record->m_node_name, "clk");
   EXPECT_EQ(record->m_value, 7);
   EXPECT_EQ(record->m_clkbuf_second_name, "second");
   EXPECT_EQ(record->m_clkbuf_first_name, "first");
   EXPECT_EQ(record->m_enable_name, "");
}

TEST_F(FSYN_READER, only_the_whole_word_for_no_enable_becomes_empty) {
   for (const char* word : {"no_enable", "NO_ENABLE_", "NO_ENABL", "en"}) {
      EXPECT_EQ(first_record<LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF>(
                    std::string("PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF clk 7 NO_ENABLE NO_ENABLE ") + word)
                    ->m_enable_name,
                word);
   }
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF>(
       "PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF NO_ENABLE 7 NO_ENABLE NO_ENABLE x");
   EXPECT_EQ(record->m_node_name, "NO_ENABLE");
   EXPECT_EQ(record->m_clkbuf_first_name, "NO_ENABLE");
   EXPECT_EQ(record->m_clkbuf_second_name, "NO_ENABLE");
}

// ---- What is out of step

/// Writes records and reads them.
template <class... RECORDS> FSYN_READING written_and_read(RECORDS&... records) {
   std::filesystem::remove("log.fsyn");
   LOGDB_FSYN_LOG_FILE log("log.fsyn");
   log.init(true);
   (log.write_fsyn_log_entry(&records), ...);
   log.close();
   FSYN_READING read;
   while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
      read.m_records.push_back(fsyn_description(*record));
   }
   return read;
}

TEST_F(FSYN_READER, a_name_with_a_blank_throws_the_fields_behind_it_out_of_step) {
   LOGDB_FSYN_LOG_ENTRY_SET_INVERT blank;
   blank.m_node_name = "a 5";
   blank.m_port_type = 1;
   blank.m_port_index = 2;
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL next;
   next.m_node_name = "n";
   const FSYN_READING read = written_and_read(blank, next);
   blank.m_node_name = "a";
   blank.m_port_type = 5;
   blank.m_port_index = 1;
   EXPECT_EQ(read.m_records, (std::vector<std::string>{fsyn_description(blank), fsyn_description(next)}));
   EXPECT_EQ(take_reports(), REPORTS{stray_report});
}

TEST_F(FSYN_READER, an_empty_name_takes_the_word_behind_it) {
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL empty;
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL next;
   next.m_node_name = "n";
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG end;
   const FSYN_READING read = written_and_read(empty, next, end);
   empty.m_node_name = "PHYSICAL_SYNTHESIS_SET_USER_LCELL";
   EXPECT_EQ(read.m_records, (std::vector<std::string>{fsyn_description(empty), fsyn_description(end)}));
   EXPECT_EQ(take_reports(), REPORTS{stray_report});
}

TEST_F(FSYN_READER, an_empty_enable_reads_back_empty_and_one_named_like_it_too) {
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF buffer;
   buffer.m_node_name = buffer.m_clkbuf_first_name = buffer.m_clkbuf_second_name = "x";
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF named = buffer;
   named.m_enable_name = "NO_ENABLE";
   EXPECT_EQ(written_and_read(buffer, named).m_records, std::vector<std::string>(2, fsyn_description(buffer)));
}

TEST_F(FSYN_READER, a_deleted_name_that_spells_the_terminator_ends_the_list) {
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM record;
   record.m_node_name = "END_OF_DELETE_ATOM";
   record.m_deleted_names = {"a", "END_OF_DELETE_ATOM", "b"};
   const FSYN_READING read = written_and_read(record);
   record.m_deleted_names = {"a"};
   EXPECT_EQ(read.m_records, std::vector<std::string>{fsyn_description(record)});
   EXPECT_EQ(take_reports(), REPORTS(2, stray_report));
}

TEST_F(FSYN_READER, slots_beyond_those_of_the_kind_do_not_read_back) {
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF record;
   record.m_node_name = "n";
   record.m_port_sources.assign(12, "x");
   const FSYN_READING read = written_and_read(record);
   record.m_port_sources.resize(9);
   EXPECT_EQ(read.m_records, std::vector<std::string>{fsyn_description(record)});
   // Fewer come back as many.
   record.m_port_sources = {"x"};
   const FSYN_READING few = written_and_read(record);
   record.m_port_sources = slots(9, 0, "x");
   EXPECT_EQ(few.m_records, std::vector<std::string>{fsyn_description(record)});
}

TEST_F(FSYN_READER, a_name_of_4095_characters_reads_back_and_a_longer_one_is_cut) {
   for (const std::size_t size : {4094U, 4095U, 4096U, 5000U}) {
      LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL record;
      record.m_node_name.assign(size, 'n');
      const FSYN_READING read = written_and_read(record);
      record.m_node_name.resize(std::min<std::size_t>(size, 4095));
      EXPECT_EQ(read.m_records, std::vector<std::string>{fsyn_description(record)}) << size;
   }
}

TEST_F(FSYN_READER, names_longer_than_any_line_are_cut_to_4096_and_stay_in_step) {
   for (const std::size_t size : {4096U, 4097U, 1000000U}) {
      const std::string name(size, 'n');
      write_file("log.fsyn", "PHYSICAL_SYNTHESIS_INSERT_ATOM " + name + " 1 " + name +
                                 " PHYSICAL_SYNTHESIS_DELETE_ATOM n a " + name + " b END_OF_DELETE_ATOM " +
                                 "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
      LOGDB_FSYN_LOG_FILE log("log.fsyn");
      const auto inserted = next_record<LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM>(log);
      const MEM_STRING cut(4096, 'n');
      EXPECT_EQ(inserted->m_node_name, cut);
      EXPECT_EQ(inserted->m_atom_kind, 1);
      EXPECT_EQ(inserted->m_related_name, cut);
      EXPECT_EQ(next_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>(log)->m_deleted_names, (NAMES{"a", cut, "b"}));
      next_record<LOGDB_FSYN_LOG_ENTRY_END_OF_LOG>(log);
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

// ---- The end of the file

TEST_F(FSYN_READER, the_end_inside_a_record_is_a_word_for_its_names_and_0_for_its_numbers) {
   const auto created = first_record<LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM>("PHYSICAL_SYNTHESIS_CREATE_OTERM n");
   EXPECT_EQ(created->m_node_name, "n");
   EXPECT_EQ(created->m_port_type, 0);
   EXPECT_EQ(created->m_related_name, "LOGDB_FSYN_EOF");
   const auto properties =
       first_record<LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES>("PHYSICAL_SYNTHESIS_SET_ITERM_PROPERTIES n 1 2 3");
   EXPECT_EQ(properties->m_property1, 1);
   EXPECT_EQ(properties->m_property2, 0);
   EXPECT_EQ(properties->m_property6, 0);
   const auto buffer = first_record<LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF>("PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF");
   EXPECT_EQ(buffer->m_node_name, "LOGDB_FSYN_EOF");
   EXPECT_EQ(buffer->m_value, 0);
   EXPECT_EQ(buffer->m_clkbuf_first_name, "LOGDB_FSYN_EOF");
   EXPECT_EQ(buffer->m_clkbuf_second_name, "LOGDB_FSYN_EOF");
   EXPECT_EQ(buffer->m_enable_name, "LOGDB_FSYN_EOF");
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_TRUE(m_host.take_messages().empty()) << "no list was cut";
}

TEST_F(FSYN_READER, the_end_in_place_of_a_lut_mode_is_reported) {
   const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>("PHYSICAL_SYNTHESIS_SET_LUTMASK n f");
   EXPECT_EQ(record->m_lut_mask, 0xFUL);
   EXPECT_EQ(record->m_mask_option, 0);
   EXPECT_EQ(record->m_lut_mode, 0);
   EXPECT_EQ(take_reports(), REPORTS{mode_report});
}

TEST_F(FSYN_READER, the_end_inside_every_record_gives_the_record_and_then_null) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      SCOPED_TRACE(sample.m_suffix);
      const FSYN_READING read = reading(sample.m_text.substr(0, sample.m_text.find('\n')));
      EXPECT_EQ(read.m_records.size(), 1U);
      EXPECT_EQ(read, fsyn_model_reading(sample.m_text.substr(0, sample.m_text.find('\n'))));
   }
}

TEST_F(FSYN_READER, the_end_inside_a_list_of_deleted_names_ends_the_list) {
   const auto names = [this](const char* words) {
      const auto record =
          first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>(std::string("PHYSICAL_SYNTHESIS_DELETE_ATOM ") + words);
      EXPECT_EQ(m_host.take_messages(),
                REPORTS{"The log ends inside a list of a PHYSICAL_SYNTHESIS_DELETE_ATOM record"});
      return record->m_deleted_names;
   };
   EXPECT_EQ(names("n a b"), (NAMES{"a", "b"}));
   EXPECT_EQ(names("n a END_OF_DELETE_ATO"), (NAMES{"a", "END_OF_DELETE_ATO"}));
   EXPECT_EQ(names("n\n"), NAMES());
   EXPECT_EQ(names(""), NAMES());
   EXPECT_EQ(take_reports(), REPORTS());
}

TYPED_TEST(FSYN_SLOT_READER, the_end_inside_a_list_ends_it_with_the_last_whole_pair) {
   const auto read = [this](const std::string& words) {
      const auto record =
          this->template first_record<TypeParam>(fsyn_keyword(FSYN_KIND<TypeParam>::value) + " " + words);
      EXPECT_EQ(this->m_host.take_messages(), REPORTS{"The log ends inside a list of a " +
                                                      fsyn_keyword(FSYN_KIND<TypeParam>::value) + " record"});
      return record->m_port_sources;
   };
   const NAMES none(this->m_count, "UNCHANGED");
   EXPECT_EQ(read("n 3 x"), slots(this->m_count, 3, "x"));
   EXPECT_EQ(read("n 3 x 4"), slots(this->m_count, 3, "x"));
   EXPECT_EQ(read("n 3 x End_of_ADD_REMOVE_Connectio"), slots(this->m_count, 3, "x"));
   EXPECT_EQ(read("n 3"), none);
   EXPECT_EQ(read("n"), none);
   EXPECT_EQ(read(""), none);
   EXPECT_EQ(this->take_reports(), REPORTS());
}

TEST_F(FSYN_READER, the_end_inside_a_ram_list_ends_it_with_the_last_whole_triple) {
   const auto read = [this](const std::string& words) {
      const auto record = first_record<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM>(
          "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM " + words);
      EXPECT_EQ(m_host.take_messages(),
                REPORTS{"The log ends inside a list of a PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM record"});
      EXPECT_EQ(record->m_ram_port_types.size(), record->m_ram_source_names.size());
      EXPECT_EQ(record->m_ram_port_indices.size(), record->m_ram_source_names.size());
      return record->m_ram_source_names;
   };
   EXPECT_EQ(read("n 1 2 a"), NAMES{"a"});
   EXPECT_EQ(read("n 1 2 a 3"), NAMES{"a"});
   EXPECT_EQ(read("n 1 2 a 3 4"), NAMES{"a"});
   EXPECT_EQ(read("n 1 2 a 3 4 b"), (NAMES{"a", "b"}));
   EXPECT_EQ(read("n 1 2"), NAMES());
   EXPECT_EQ(read("n 1"), NAMES());
   EXPECT_EQ(read("n"), NAMES());
   EXPECT_EQ(read(""), NAMES());
}

TEST_F(FSYN_READER, the_end_inside_a_port_group_stands_for_the_words_that_are_missing) {
   using TEXTS = std::vector<std::string>;
   const std::string end = "LOGDB_FSYN_EOF";
   const auto read = [this](const std::string& words) {
      const auto record =
          first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>("PHYSICAL_SYNTHESIS_STORE_NODE_INFO " + words);
      EXPECT_EQ(m_host.take_messages(), REPORTS()) << words << ": no word ends port groups, so none is missed";
      EXPECT_EQ(record->m_lut_mask, 0UL);
      TEXTS all;
      for (std::size_t port = 0; port < record->m_input_port_types.size(); ++port) {
         all.push_back(std::to_string(record->m_input_port_types.at(port)) +
                       record->m_input_port_names.at(port).c_str());
      }
      for (std::size_t port = 0; port < record->m_output_port_types.size(); ++port) {
         all.push_back(std::to_string(record->m_output_port_types.at(port)) +
                       record->m_output_port_names.at(port).c_str());
      }
      return all;
   };
   EXPECT_EQ(read("n 1 Port 2 a Output 3 b"), (TEXTS{"2a", "3b"}));
   EXPECT_EQ(read("n 1 Port 2 a Output 3"), (TEXTS{"2a", "3" + end}));
   EXPECT_EQ(read("n 1 Port 2 a Output"), (TEXTS{"2a", "0" + end}));
   EXPECT_EQ(read("n 1 Port 2 a Port 3"), (TEXTS{"2a", "3" + end}));
   EXPECT_EQ(read("n 1 Port 2 a Port"), (TEXTS{"2a", "0" + end}));
   EXPECT_EQ(read("n 1 Port 2 a"), TEXTS{"2a"});
   EXPECT_EQ(read("n 1 Port 2"), TEXTS{"2" + end});
   EXPECT_EQ(read("n 1 Port"), TEXTS{"0" + end});
   EXPECT_EQ(read("n 1"), TEXTS());
   EXPECT_EQ(read("n"), TEXTS());
   EXPECT_EQ(read(""), TEXTS());
}

TEST_F(FSYN_READER, the_end_behind_the_port_groups_cuts_no_list) {
   const auto half = first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>(
       "PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 1 Port 2 a LUTMASK ff");
   EXPECT_EQ(half->m_lut_mask, 0xFFUL);
   EXPECT_EQ(half->m_input_port_names, NAMES{"a"});
   const auto none =
       first_record<LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO>("PHYSICAL_SYNTHESIS_STORE_NODE_INFO n 1 LUTMA");
   EXPECT_EQ(none->m_lut_mask, 0UL);
   EXPECT_TRUE(m_host.take_messages().empty());
}

// The words of a log are found some dozens of bytes at a time. Names of every length push each other over the borders of
// these steps, and every byte that separates, or looks as if it did, stands at some of them.
TEST_F(FSYN_READER, names_read_back_wherever_they_stand_and_whatever_separates_them) {
   const std::string separators = " \t\n\v\f\r";
   const std::string no_separators = "\x01\x08\x0e\x1f\x7f\x80\x89\x8d\xa0\xff";
   for (std::size_t shift = 0; shift < 130; ++shift) {
      std::string text(shift, ' ');
      text += "PHYSICAL_SYNTHESIS_DELETE_ATOM n";
      NAMES wanted;
      for (std::size_t length = 1; length < 150; ++length) {
         std::string name(length, 'x');
         name[length / 2] = no_separators[(length + shift) % no_separators.size()];
         wanted.emplace_back(name.data(), name.size());
         text.append(1 + length % 3, separators[(length + shift) % separators.size()]).append(name);
      }
      text += " END_OF_DELETE_ATOM";
      const auto deleted = first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>(text);
      ASSERT_NE(deleted, nullptr) << shift;
      EXPECT_EQ(deleted->m_deleted_names, wanted) << shift;
   }
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_READER, a_zero_byte_ends_the_file_wherever_it_stands) {
   for (std::size_t names = 0; names < 200; ++names) {
      std::string text = "PHYSICAL_SYNTHESIS_DELETE_ATOM n";
      for (std::size_t name = 0; name < names; ++name) {
         text += " xyz";
      }
      text.append(1, '\0').append(" more").append(2000, 'y').append(" END_OF_DELETE_ATOM");
      const auto deleted = first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>(text);
      ASSERT_NE(deleted, nullptr) << names;
      EXPECT_EQ(deleted->m_deleted_names, NAMES(names, "xyz"));
   }
}

TEST_F(FSYN_READER, a_zero_byte_where_a_word_belongs_ends_the_file_inside_lists_too) {
   const std::string zero(1, '\0');
   const auto deleted = first_record<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>("PHYSICAL_SYNTHESIS_DELETE_ATOM n a " +
                                                                       zero + " b END_OF_DELETE_ATOM");
   EXPECT_EQ(deleted->m_deleted_names, NAMES{"a"});
   EXPECT_EQ(m_host.take_messages().size(), 1U);
   const FSYN_READING read =
       reading("PHYSICAL_SYNTHESIS_SET_INVERT n" + zero + " 1 2 PHYSICAL_SYNTHESIS_END_OF_LOG");
   LOGDB_FSYN_LOG_ENTRY_SET_INVERT wanted;
   wanted.m_node_name = "n";
   EXPECT_EQ(read, (FSYN_READING{{fsyn_description(wanted)}, {}}));
   EXPECT_EQ(
       reading("PHYSICAL_SYNTHESIS_END_OF_LOG " + zero + " PHYSICAL_SYNTHESIS_END_OF_LOG stray").m_records.size(),
       1U);
}

} // namespace
