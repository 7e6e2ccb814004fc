// What write_fsyn_log_entry puts into the file, to the byte.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>

#include "fsyn_log_fixture.h"

namespace {

class FSYN_WRITER : public FSYN_LOG_TEST {
protected:
   FSYN_WRITER() : m_log("log.fsyn") { m_log.init(true); }

   /// The log so far.
   static std::string text() { return std::filesystem::exists("log.fsyn") ? read_file("log.fsyn") : "no file"; }

   LOGDB_FSYN_LOG_FILE m_log;
};

using REPORTS = std::vector<std::string>;

// ---- Every kind

TEST_F(FSYN_WRITER, every_kind_has_its_exact_text) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         EXPECT_EQ(written(*sample.m_record), sample.m_text) << sample.m_suffix;
      }
   }
   EXPECT_EQ(take_reports(), REPORTS());
   EXPECT_TRUE(m_host.take_messages().empty());
}

TEST_F(FSYN_WRITER, a_log_with_all_kinds_is_the_golden_file) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         m_log.write_fsyn_log_entry(sample.m_record.get());
      }
   }
   EXPECT_EQ(text(), read_file(LOGDB_TEST_DIRECTORY "/golden/all_kinds.fsyn"));
}

TEST_F(FSYN_WRITER, the_second_opinion_agrees_about_every_sample) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      EXPECT_EQ(fsyn_model_text(*sample.m_record), sample.m_text) << sample.m_suffix;
   }
}

TEST_F(FSYN_WRITER, a_record_is_only_read) {
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      if (sample.m_suffix != "SET_INSTANCE_NAME") {
         const auto before = fsyn_fields(*sample.m_record);
         m_log.write_fsyn_log_entry(sample.m_record.get());
         EXPECT_EQ(fsyn_fields(*sample.m_record), before);
      }
   }
}

TEST_F(FSYN_WRITER, default_records_have_empty_fields) {
   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM inserted;
   EXPECT_EQ(written(inserted), "PHYSICAL_SYNTHESIS_INSERT_ATOM\n 0\n\n");
   LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID moved;
   EXPECT_EQ(written(moved), "PHYSICAL_SYNTHESIS_MOVE_BOUNDARY_PORT_ID\n\n \n");
   LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS copied;
   EXPECT_EQ(written(copied), "PHYSICAL_SYNTHESIS_COPY_OTERM_TIMING_ASSIGNMENTS\n\n \n \n");
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF confirmed;
   EXPECT_EQ(written(confirmed), "PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF\n\n0 \n\nNO_ENABLE\n");
   LOGDB_FSYN_LOG_ENTRY_SET_INVERT inverted;
   EXPECT_EQ(written(inverted), "PHYSICAL_SYNTHESIS_SET_INVERT\n 0 0\n");
}

TEST_F(FSYN_WRITER, a_short_log_reads_as_its_records_were_given) {
   const auto write = [this](auto&& record) { m_log.write_fsyn_log_entry(&record); };
   write(LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER());
   write(LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW());
   LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK mask;
   mask.m_node_name = "top|cnt[3]~12";
   mask.m_lut_mask = 0xF0F0;
   mask.m_mask_option = 1;
   write(mask);
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB wires;
   wires.m_node_name = "top|cnt[3]~12";
   wires.m_port_sources[0] = "top|cnt[2]";
   wires.m_port_sources[3] = "top|en~reg0";
   write(wires);
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM deleted;
   deleted.m_node_name = "top|old~5";
   deleted.m_deleted_names = {"top|old~5_a", "top|old~5_b"};
   write(deleted);
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF buffer;
   buffer.m_node_name = "top|clk~clkctrl";
   buffer.m_value = 2;
   buffer.m_clkbuf_second_name = "top|clk";
   buffer.m_clkbuf_first_name = "top|clk~inputclkctrl";
   write(buffer);
   write(LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT());
   write(LOGDB_FSYN_LOG_ENTRY_END_OF_LOG());
   EXPECT_EQ(text(), "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0\n"
                     "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n"
                     "PHYSICAL_SYNTHESIS_SET_LUTMASK\n"
                     "top|cnt[3]~12\n"
                     "f0f0 0 1\n"
                     "NORMAL\n"
                     "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_COMB\n"
                     "top|cnt[3]~12\n"
                     "0 top|cnt[2]\n"
                     "3 top|en~reg0\n"
                     "End_of_ADD_REMOVE_Connection\n"
                     "PHYSICAL_SYNTHESIS_DELETE_ATOM\n"
                     "top|old~5\n"
                     "top|old~5_a\n"
                     "top|old~5_b\n"
                     "END_OF_DELETE_ATOM\n"
                     "PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF\n"
                     "top|clk~clkctrl\n"
                     "2 top|clk\n"
                     "top|clk~inputclkctrl\n"
                     "NO_ENABLE\n"
                     "PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\n"
                     "PHYSICAL_SYNTHESIS_END_OF_LOG\n");
}

TEST_F(FSYN_WRITER, records_go_behind_what_the_file_holds) {
   write_file("log.fsyn", "no line feed at the end");
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG record;
   m_log.write_fsyn_log_entry(&record);
   EXPECT_EQ(text(), "no line feed at the endPHYSICAL_SYNTHESIS_END_OF_LOG\n");
}

TEST_F(FSYN_WRITER, a_marker_never_shows_its_node_name) {
   LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW record;
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n");
   record.m_node_name.clear();
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n");
}

// ---- Particulars

TEST_F(FSYN_WRITER, a_delete_record_without_names_has_three_lines) {
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM record;
   record.m_node_name = "n";
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_DELETE_ATOM\n"
                              "n\n"
                              "END_OF_DELETE_ATOM\n");
}

TEST_F(FSYN_WRITER, deleted_names_are_written_whatever_they_spell) {
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM record;
   record.m_node_name = "END_OF_DELETE_ATOM";
   record.m_deleted_names = {"END_OF_DELETE_ATOM", "", "a b", "LOGDB_FSYN_EOF"};
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_DELETE_ATOM\n"
                              "END_OF_DELETE_ATOM\n"
                              "END_OF_DELETE_ATOM\n"
                              "\n"
                              "a b\n"
                              "LOGDB_FSYN_EOF\n"
                              "END_OF_DELETE_ATOM\n");
}

template <class RECORD> class FSYN_SLOT_WRITER : public FSYN_WRITER {};
using SLOT_RECORDS = ::testing::Types<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB,
                                      LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF,
                                      LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO>;
TYPED_TEST_SUITE(FSYN_SLOT_WRITER, SLOT_RECORDS);

TYPED_TEST(FSYN_SLOT_WRITER, only_changed_slots_are_written) {
   TypeParam record;
   record.m_node_name = "n";
   const std::string first_lines = fsyn_keyword(record.m_type) + "\nn\n";
   const std::string last_line = "End_of_ADD_REMOVE_Connection\n";
   EXPECT_EQ(this->written(record), first_lines + last_line);

   const std::size_t last = record.m_port_sources.size() - 1;
   record.m_port_sources[0] = "a";
   record.m_port_sources[last] = "z";
   EXPECT_EQ(this->written(record), first_lines + "0 a\n" + std::to_string(last) + " z\n" + last_line);
}

TYPED_TEST(FSYN_SLOT_WRITER, the_word_for_an_unchanged_slot_is_compared_byte_by_byte) {
   TypeParam record;
   record.m_node_name = "n";
   record.m_port_sources = {"UNCHANGED", "unchanged",   "UNCHANGED ", " UNCHANGED",
                            "UNCHANGE",  "UNCHANGED_2", "UNCHANGED"};
   record.m_port_sources.emplace_back("UNCHANGED\0", 10U);
   record.m_port_sources.emplace_back();
   EXPECT_EQ(this->written(record), fsyn_keyword(record.m_type) + "\nn\n"
                                                                  "1 unchanged\n"
                                                                  "2 UNCHANGED \n"
                                                                  "3  UNCHANGED\n"
                                                                  "4 UNCHANGE\n"
                                                                  "5 UNCHANGED_2\n"
                                                                  "7 UNCHANGED\n"
                                                                  "8 \n"
                                                                  "End_of_ADD_REMOVE_Connection\n");
}

TYPED_TEST(FSYN_SLOT_WRITER, as_many_slots_are_written_as_the_record_holds) {
   TypeParam record;
   record.m_node_name = "n";
   record.m_port_sources.clear();
   EXPECT_EQ(this->written(record), fsyn_keyword(record.m_type) + "\nn\nEnd_of_ADD_REMOVE_Connection\n");
   record.m_port_sources.assign(20, "x");
   std::string wanted = fsyn_keyword(record.m_type) + "\nn\n";
   for (int slot = 0; slot < 20; ++slot) {
      wanted += std::to_string(slot) + " x\n";
   }
   EXPECT_EQ(this->written(record), wanted + "End_of_ADD_REMOVE_Connection\n");
}

TEST_F(FSYN_WRITER, a_ram_record_writes_every_entry_whatever_its_name) {
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM record;
   record.m_node_name = "n";
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM\nn\nEnd_of_ADD_REMOVE_Connection\n");
   record.m_ram_source_names = {"UNCHANGED", "a", "UNCHANGED"};
   record.m_ram_port_types = {DB_INPUT_PORT_TYPE(1), DB_INPUT_PORT_TYPE(INT_MIN), DB_INPUT_PORT_TYPE(INT_MAX)};
   record.m_ram_port_indices = {0, 32768, 65535};
   record.m_port_sources = {"not this kind's"};
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM\n"
                              "n\n"
                              "1 0 UNCHANGED\n"
                              "-2147483648 32768 a\n"
                              "2147483647 65535 UNCHANGED\n"
                              "End_of_ADD_REMOVE_Connection\n");
}

TEST_F(FSYN_WRITER, the_names_of_a_ram_record_say_how_many_entries_there_are) {
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM record;
   record.m_node_name = "n";
   record.m_ram_source_names = {"a", "b", "c"};
   record.m_ram_port_types = {DB_INPUT_PORT_TYPE(7)};
   record.m_ram_port_indices = {5, 6};
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM\n"
                              "n\n"
                              "7 5 a\n"
                              "0 6 b\n"
                              "0 0 c\n"
                              "End_of_ADD_REMOVE_Connection\n");
   record.m_ram_source_names.clear();
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM\nn\nEnd_of_ADD_REMOVE_Connection\n");
}

TEST_F(FSYN_WRITER, a_store_node_info_record_without_ports_has_four_lines) {
   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO record;
   record.m_node_name = "n";
   record.m_node_type = -3;
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_STORE_NODE_INFO\n"
                              "n -3\n"
                              "LUTMASK\n"
                              "0 0\n");
}

TEST_F(FSYN_WRITER, the_types_of_a_store_node_info_record_say_how_many_ports_there_are) {
   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO record;
   record.m_node_name = "n";
   record.m_input_port_types = {DB_INPUT_PORT_TYPE(1), DB_INPUT_PORT_TYPE(2)};
   record.m_input_port_names = {"a"};
   record.m_output_port_types = {DB_OUTPUT_PORT_TYPE(3)};
   record.m_output_port_names = {"x", "y"};
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_STORE_NODE_INFO\n"
                              "n 0\n"
                              "Port 1 a\n"
                              "Port 2 \n"
                              "Output 3 x\n"
                              "LUTMASK\n"
                              "0 0\n");
}

std::string mask_line(unsigned long mask, unsigned char option) {
   LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK record;
   record.m_node_name = "n";
   record.m_lut_mask = mask;
   record.m_mask_option = option;
   LOGDB_FSYN_LOG_FILE log("mask.fsyn");
   log.delete_file();
   log.init(true);
   log.write_fsyn_log_entry(&record);
   log.close();
   LOGDB_FSYN_LOG_FILE back("mask.fsyn");
   std::string words;
   for (int word = 0; word < 5; ++word) {
      const std::string text = back.read_line();
      words += word < 2 ? "" : word == 2 ? text : " " + text;
   }
   return words;
}

TEST_F(FSYN_WRITER, a_mask_is_two_halves_low_half_first_without_leading_zeros) {
   EXPECT_EQ(mask_line(0, 0), "0 0 0");
   EXPECT_EQ(mask_line(0xFFFFFFFFFFFFFFFFUL, 255), "ffffffff ffffffff 255");
   EXPECT_EQ(mask_line(0x0000ABCD00001234UL, 1), "1234 abcd 1");
   EXPECT_EQ(mask_line(0x1UL << 63, 2), "0 80000000 2");
   EXPECT_EQ(mask_line(0x80000000UL, 128), "80000000 0 128");
   EXPECT_EQ(mask_line(0x100000000UL, 0), "0 1 0");
}

TEST_F(FSYN_WRITER, a_stored_node_has_the_same_two_halves_on_their_own_line) {
   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO record;
   record.m_node_name = "n";
   record.m_lut_mask = 0xFFFFFFFFFFFFFFFFUL;
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_STORE_NODE_INFO\nn 0\nLUTMASK\nffffffff ffffffff\n");
   record.m_lut_mask = 0xF0000000AUL;
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_STORE_NODE_INFO\nn 0\nLUTMASK\na f\n");
}

TEST_F(FSYN_WRITER, every_mode_but_0_and_1_is_carry) {
   LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK record;
   record.m_node_name = "n";
   const std::pair<int, const char*> modes[] = {
       {0, "NORMAL"},  {1, "SUM"},     {2, "CARRY"},     {3, "CARRY"},       {7, "CARRY"},      {-1, "CARRY"},
       {256, "CARRY"}, {257, "CARRY"}, {65536, "CARRY"}, {INT_MIN, "CARRY"}, {INT_MAX, "CARRY"}};
   for (const auto& [mode, word] : modes) {
      record.m_lut_mode = mode;
      EXPECT_EQ(written(record), std::string("PHYSICAL_SYNTHESIS_SET_LUTMASK\nn\n0 0 0\n") + word + "\n") << mode;
   }
}

TEST_F(FSYN_WRITER, a_flag_is_written_as_the_byte_that_it_is) {
   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM record;
   record.m_node_name = "n";
   record.m_related_name = "r";
   for (const int byte : {0, 1, 2, 9, 10, 99, 100, 127, 128, 200, 254, 255}) {
      record.m_atom_kind = static_cast<unsigned char>(byte);
      EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_INSERT_ATOM\nn " + std::to_string(byte) + "\nr\n");
   }
}

TEST_F(FSYN_WRITER, numbers_are_plain_decimals_from_end_to_end_of_their_range) {
   LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL record;
   record.m_node_name = "n";
   for (const int value : {0, 1, -1, 10, -10, 2147483647, INT_MIN}) {
      for (const int index : {0, 1, 255, 256, 32767, 32768, 65535}) {
         record.m_port_type = value;
         record.m_port_index = static_cast<unsigned short>(index);
         record.m_value = value;
         EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_SET_GLOBAL\nn " + std::to_string(value) + " " +
                                        std::to_string(index) + " " + std::to_string(value) + "\n");
      }
   }
}

TEST_F(FSYN_WRITER, an_empty_enable_and_the_word_for_none_look_the_same) {
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF record;
   record.m_node_name = "n";
   record.m_clkbuf_first_name = "first";
   record.m_clkbuf_second_name = "second";
   record.m_value = -1;
   const std::string wanted = "PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF\nn\n-1 second\nfirst\nNO_ENABLE\n";
   EXPECT_EQ(written(record), wanted);
   record.m_enable_name = "NO_ENABLE";
   EXPECT_EQ(written(record), wanted);
   record.m_enable_name = "e";
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF\nn\n-1 second\nfirst\ne\n");
}

TEST_F(FSYN_WRITER, fields_without_a_place_in_the_text_do_not_change_it) {
   const auto same_text = [](auto& record, auto&& change) {
      const std::string before = written(record);
      change(record);
      EXPECT_EQ(written(record), before);
   };
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM deleted;
   same_text(deleted, [](auto& record) { record.m_delete_extra = record.m_tag = 99; });
   LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS location;
   same_text(location, [](auto& record) { record.m_copy_extra = record.m_tag = 99; });
   LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM terminal;
   same_text(terminal, [](auto& record) { record.m_port_index = 99; });
}

TEST_F(FSYN_WRITER, names_are_written_as_they_are) {
   LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID record;
   record.m_node_name = " two words ";
   record.m_source_port_id = "100%s\\n\"'$(x)";
   record.m_target_port_id = "\t\xC3\xA4\xFF\x01";
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_MOVE_BOUNDARY_PORT_ID\n"
                              " two words \n"
                              "100%s\\n\"'$(x) \t\xC3\xA4\xFF\x01\n");
   record.m_node_name = "line\nfeed";
   record.m_source_port_id.clear();
   record.m_target_port_id.clear();
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_MOVE_BOUNDARY_PORT_ID\nline\nfeed\n \n");
}

TEST_F(FSYN_WRITER, a_name_ends_at_its_first_zero_byte) {
   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM record;
   record.m_node_name = MEM_STRING("ab\0cd", 5);
   record.m_related_name = MEM_STRING("\0x", 2);
   record.m_atom_kind = 3;
   EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_INSERT_ATOM\nab 3\n\n");
}

TEST_F(FSYN_WRITER, a_line_is_cut_after_4095_characters_wherever_that_is) {
   LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL record;
   record.m_port_type = 12;
   record.m_port_index = 34;
   record.m_value = 56;
   for (const std::size_t size : {4085U, 4086U, 4087U, 4088U, 4090U, 4093U, 4094U, 4095U, 4096U, 5000U, 100000U}) {
      record.m_node_name.assign(size, 'n');
      const std::string line = (std::string(size, 'n') + " 12 34 56").substr(0, 4095);
      EXPECT_EQ(written(record), "PHYSICAL_SYNTHESIS_SET_GLOBAL\n" + line + "\n") << size;
   }
}

TEST_F(FSYN_WRITER, the_lines_of_a_list_and_of_a_mask_are_cut_alike) {
   const MEM_STRING long_name(5000, 'n');
   const std::string cut(4095, 'n');
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM deleted;
   deleted.m_node_name = long_name;
   deleted.m_deleted_names = {long_name, "short"};
   EXPECT_EQ(written(deleted),
             "PHYSICAL_SYNTHESIS_DELETE_ATOM\n" + cut + "\n" + cut + "\nshort\nEND_OF_DELETE_ATOM\n");

   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO stored;
   stored.m_node_name = "n";
   stored.m_input_port_types = {DB_INPUT_PORT_TYPE(1)};
   stored.m_input_port_names = {long_name};
   EXPECT_EQ(written(stored),
             "PHYSICAL_SYNTHESIS_STORE_NODE_INFO\nn 0\nPort 1 " + cut.substr(0, 4088) + "\nLUTMASK\n0 0\n");

   LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS timing;
   timing.m_node_name = "n";
   timing.m_first_oterm_name.assign(4095, 'n');
   timing.m_second_oterm_name.assign(4094, 'n');
   EXPECT_EQ(written(timing),
             "PHYSICAL_SYNTHESIS_COPY_OTERM_TIMING_ASSIGNMENTS\nn\n" + cut + "\n" + cut.substr(1) + " \n");

   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF wires;
   wires.m_node_name = "n";
   wires.m_port_sources[8] = long_name;
   EXPECT_EQ(written(wires), "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_FF\nn\n8 " + cut.substr(0, 4093) +
                                 "\nEnd_of_ADD_REMOVE_Connection\n");
}

// ---- Delay chains

template <class RECORD> std::string chain_check() {
   return std::string("((LOGDB_FSYN_LOG_ENTRY_") + FSYN_KIND<RECORD>::suffix +
          " *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE";
}

template <class RECORD> class FSYN_CHAIN_WRITER : public FSYN_WRITER {};
using CHAIN_RECORDS =
    ::testing::Types<LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN, LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN,
                     LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX, LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN>;
TYPED_TEST_SUITE(FSYN_CHAIN_WRITER, CHAIN_RECORDS);

TYPED_TEST(FSYN_CHAIN_WRITER, only_a_pad_to_core_chain_is_written_without_a_report) {
   TypeParam record;
   record.m_node_name = "n";
   for (const int chain : {8, 3, 0, -8, 7, 9, 264, INT_MAX, INT_MIN}) {
      record.m_chain_type = chain;
      EXPECT_EQ(this->written(record), fsyn_model_text(record));
      EXPECT_EQ(this->take_reports(), chain == 8 ? REPORTS() : REPORTS{chain_check<TypeParam>()}) << chain;
   }
}

TYPED_TEST(FSYN_CHAIN_WRITER, the_report_comes_when_the_record_is_in_the_file) {
   TypeParam record;
   record.m_node_name = "n";
   record.m_port_type = 1;
   record.m_port_index = 2;
   record.m_chain_type = 3;
   std::string text_at_report;
   int reports = 0;
   HOST_INTERNAL_ERROR_HANDLER old =
       host_set_internal_error_handler([&](const char*, const char*, const char*, int) {
          text_at_report = this->text();
          ++reports;
       });
   this->m_log.write_fsyn_log_entry(&record);
   host_set_internal_error_handler(old);
   EXPECT_EQ(text_at_report, fsyn_model_text(record));
   EXPECT_EQ(this->text(), fsyn_model_text(record));
   EXPECT_EQ(reports, 1);
}

TEST_F(FSYN_WRITER, the_four_chain_reports_have_these_texts) {
   LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN reset;
   LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN connected;
   LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX index;
   LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN user;
   m_log.write_fsyn_log_entry(&reset);
   m_log.write_fsyn_log_entry(&connected);
   m_log.write_fsyn_log_entry(&index);
   m_log.write_fsyn_log_entry(&user);
   EXPECT_EQ(
       take_reports(),
       (REPORTS{"((LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE",
                "((LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN *)log_entry)->m_chain_type == "
                "::DB_PAD_TO_CORE",
                "((LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE",
                "((LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE"}));
   EXPECT_EQ(text(), "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN\n 0 0 0\n"
                     "PHYSICAL_SYNTHESIS_SET_CONNECTED_TO_DELAY_CHAIN\n 0 0 0 0\n"
                     "PHYSICAL_SYNTHESIS_SET_DELAY_CHAIN_INDEX\n 0 0 0 0\n"
                     "PHYSICAL_SYNTHESIS_SET_USER_DELAY_CHAIN\n 0 0 0 0\n");
}

TEST_F(FSYN_WRITER, a_host_that_throws_from_a_report_finds_the_record_written_and_goes_on) {
   HOST_INTERNAL_ERROR_HANDLER old = host_set_internal_error_handler(
       [](const char*, const char*, const char*, int) { throw std::string("stop"); });
   LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN record;
   record.m_node_name = "n";
   EXPECT_THROW(m_log.write_fsyn_log_entry(&record), std::string);
   host_set_internal_error_handler(old);
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG end;
   m_log.write_fsyn_log_entry(&end);
   EXPECT_EQ(text(), "PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN\nn 0 0 0\nPHYSICAL_SYNTHESIS_END_OF_LOG\n");
}

// ---- What cannot be written

TEST_F(FSYN_WRITER, an_unknown_kind_is_reported_and_leaves_the_file_alone) {
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL record;
   record.m_node_name = "n";
   for (const int kind : {4, 5, 46, 47, 255, 256, -1, 300, 1000, INT_MAX, INT_MIN, -2147483603}) {
      record.m_type = static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(kind);
      m_log.write_fsyn_log_entry(&record);
      EXPECT_EQ(take_reports(), REPORTS{"Unrecognized log entry type"}) << kind;
      EXPECT_EQ(text(), "no file") << kind;
   }
   record.m_type = SET_USER_LCELL;
   m_log.write_fsyn_log_entry(&record);
   record.m_type = static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(4);
   m_log.write_fsyn_log_entry(&record);
   EXPECT_EQ(take_reports(), REPORTS{"Unrecognized log entry type"});
   EXPECT_EQ(text(), "PHYSICAL_SYNTHESIS_SET_USER_LCELL\nn\n");
}

TEST_F(FSYN_WRITER, a_null_record_is_reported_and_leaves_the_file_alone) {
   m_log.write_fsyn_log_entry(nullptr);
   EXPECT_EQ(take_reports(), REPORTS{"log_entry != 0"});
   m_log.init(false);
   m_log.write_fsyn_log_entry(nullptr);
   EXPECT_EQ(take_reports(), REPORTS{"log_entry != 0"});
   EXPECT_EQ(text(), "no file");
}

TEST_F(FSYN_WRITER, a_log_that_is_not_enabled_takes_every_kind_and_writes_nothing) {
   m_log.init(false);
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      m_log.write_fsyn_log_entry(sample.m_record.get());
   }
   LOGDB_FSYN_LOG_FILE never_initialised("log.fsyn");
   for (const FSYN_SAMPLE& sample : fsyn_samples()) {
      never_initialised.write_fsyn_log_entry(sample.m_record.get());
   }
   EXPECT_EQ(text(), "no file");
   EXPECT_EQ(m_log.m_file_stream, nullptr);
   EXPECT_EQ(take_reports(), REPORTS());
}

TEST_F(FSYN_WRITER, a_log_that_is_not_enabled_reports_unknown_kinds_but_not_chains) {
   m_log.init(false);
   LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN chain;
   m_log.write_fsyn_log_entry(&chain);
   EXPECT_EQ(take_reports(), REPORTS());
   chain.m_type = static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(5);
   m_log.write_fsyn_log_entry(&chain);
   EXPECT_EQ(take_reports(), REPORTS{"Unrecognized log entry type"});
   EXPECT_EQ(text(), "no file");
}

// ---- The trap

/// Runs something in a child process, without a core file; what became of the child.
template <class WHAT> int status_of_child(WHAT&& what) {
   const pid_t child = fork();
   if (child == 0) {
      const rlimit no_core = {0, 0};
      setrlimit(RLIMIT_CORE, &no_core);
      signal(SIGILL, SIG_DFL);
      signal(SIGTRAP, SIG_DFL);
      what();
      _exit(0);
   }
   int status = 0;
   EXPECT_EQ(waitpid(child, &status, 0), child);
   return status;
}

bool trapped(int status) {
   return WIFSIGNALED(status) && (WTERMSIG(status) == SIGILL || WTERMSIG(status) == SIGTRAP);
}

TEST_F(FSYN_WRITER, an_instance_name_stops_the_process_after_its_second_line) {
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG before;
   LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME record;
   record.m_node_name = "top|u22";
   record.m_value = -22;
   record.m_instance_name = "u22_renamed";
   const int status = status_of_child([&] {
      m_log.write_fsyn_log_entry(&before);
      m_log.write_fsyn_log_entry(&record);
      m_log.write_fsyn_log_entry(&before);
   });
   EXPECT_TRUE(trapped(status)) << "status " << status;
   EXPECT_EQ(text(), "PHYSICAL_SYNTHESIS_END_OF_LOG\n"
                     "PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME\n"
                     "top|u22 -22\n");
}

TEST_F(FSYN_WRITER, an_empty_instance_name_stops_the_process_too) {
   LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME record;
   const int status = status_of_child([&] { m_log.write_fsyn_log_entry(&record); });
   EXPECT_TRUE(trapped(status)) << "status " << status;
   EXPECT_EQ(text(), "PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME\n 0\n");
}

TEST_F(FSYN_WRITER, an_instance_name_does_nothing_on_a_log_that_is_not_enabled) {
   m_log.init(false);
   LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME record;
   const int status = status_of_child([&] { m_log.write_fsyn_log_entry(&record); });
   EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
   EXPECT_EQ(text(), "no file");
}

} // namespace
