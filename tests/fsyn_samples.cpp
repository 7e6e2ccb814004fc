#include "fsyn_samples.h"

namespace {

std::string readable(const MEM_STRING& text) {
   return '"' + std::string(text.data(), text.size()) + '"';
}

template <class NUMBER> std::string readable(NUMBER number) {
   return std::to_string(number);
}

template <class ELEMENT> std::string readable(const MEM_VECTOR<ELEMENT>& list) {
   std::string text = "[";
   for (const ELEMENT& element : list) {
      text += text.size() > 1 ? ", " : "";
      text += readable(element);
   }
   return text + "]";
}

/// What a sample reads like, and what of it does not come back.
struct FILLED {
   std::string m_text;
   std::vector<std::string> m_lost = {"m_tag"};
};

const std::vector<std::string> marker_lost = {"m_tag", "m_node_name"};

FILLED fill(LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW& record) {
   record.m_node_name = "never|written";
   return {"PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n", marker_lost};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_POST_PLACEMENT_FLOW& record) {
   record.m_node_name = "never|written";
   return {"PHYSICAL_SYNTHESIS_POST_PLACEMENT_FLOW\n", marker_lost};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM& record) {
   record.m_node_name = "top|u1|cnt[3]~dup";
   record.m_related_name = "top|u1|cnt[3]";
   record.m_atom_kind = 200;
   return {"PHYSICAL_SYNTHESIS_INSERT_ATOM\n"
           "top|u1|cnt[3]~dup 200\n"
           "top|u1|cnt[3]\n",
           {"m_tag", "m_atom_kind"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM& record) {
   record.m_node_name = "top|old~5";
   record.m_deleted_names = {"top|old~5_a", "top|old~5_b", "LUTMASK"};
   record.m_delete_extra = 31;
   return {"PHYSICAL_SYNTHESIS_DELETE_ATOM\n"
           "top|old~5\n"
           "top|old~5_a\n"
           "top|old~5_b\n"
           "LUTMASK\n"
           "END_OF_DELETE_ATOM\n",
           {"m_tag", "m_delete_extra"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM& record) {
   record.m_node_name = "top|u1|ram_block_0_0";
   record.m_port_type = 41;
   record.m_port_index = 6;
   return {"PHYSICAL_SYNTHESIS_CREATE_ITERM\n"
           "top|u1|ram_block_0_0 41\n",
           {"m_tag", "m_port_index"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM& record) {
   record.m_node_name = "top|u1|cnt[4]~dup";
   record.m_related_name = "top|u1|cnt[4]~net";
   record.m_port_type = 3;
   return {"PHYSICAL_SYNTHESIS_CREATE_OTERM\n"
           "top|u1|cnt[4]~dup 3\n"
           "top|u1|cnt[4]~net\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK& record) {
   record.m_node_name = "top|cnt[3]~12";
   record.m_lut_mode = 7;
   record.m_lut_mask = 0x00C0FFEE0000F0F0UL;
   record.m_mask_option = 2;
   return {"PHYSICAL_SYNTHESIS_SET_LUTMASK\n"
           "top|cnt[3]~12\n"
           "f0f0 c0ffee 2\n"
           "CARRY\n",
           {"m_tag", "m_lut_mode", "m_mask_option"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS& record) {
   record.m_node_name = "top|q[9]";
   record.m_port_type = 11;
   record.m_port_index = 65535;
   record.m_value = -2147483648;
   return {"PHYSICAL_SYNTHESIS_SET_USAGE_AS\n"
           "top|q[9]\n"
           "11 65535 -2147483648\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN& record) {
   record.m_node_name = "top|pin[10]~input";
   record.m_port_type = 20;
   record.m_port_index = 110;
   record.m_chain_type = 8;
   return {"PHYSICAL_SYNTHESIS_RESET_DELAY_CHAIN\n"
           "top|pin[10]~input 20 110 8\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN& record) {
   record.m_node_name = "top|pin[11]~input";
   record.m_port_type = 21;
   record.m_port_index = 111;
   record.m_chain_type = 8;
   record.m_connected = 255;
   return {"PHYSICAL_SYNTHESIS_SET_CONNECTED_TO_DELAY_CHAIN\n"
           "top|pin[11]~input 21 111 8 255\n",
           {"m_tag", "m_connected"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX& record) {
   record.m_node_name = "top|pin[12]~input";
   record.m_port_type = 22;
   record.m_port_index = 112;
   record.m_chain_type = 8;
   record.m_chain_index = -5;
   return {"PHYSICAL_SYNTHESIS_SET_DELAY_CHAIN_INDEX\n"
           "top|pin[12]~input 22 112 8 -5\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN& record) {
   record.m_node_name = "top|pin[13]~input";
   record.m_port_type = 23;
   record.m_port_index = 113;
   record.m_chain_type = 8;
   record.m_user_delay_chain = 128;
   return {"PHYSICAL_SYNTHESIS_SET_USER_DELAY_CHAIN\n"
           "top|pin[13]~input 23 113 8 128\n",
           {"m_tag", "m_user_delay_chain"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT& record) {
   record.m_node_name = "top|q[14]";
   record.m_port_type = 14;
   record.m_port_index = 114;
   return {"PHYSICAL_SYNTHESIS_CLEAR_INVERT\n"
           "top|q[14] 14 114\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_INVERT& record) {
   record.m_node_name = "top|q[15]";
   record.m_port_type = -15;
   record.m_port_index = 32768;
   return {"PHYSICAL_SYNTHESIS_SET_INVERT\n"
           "top|q[15] -15 32768\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL& record) {
   record.m_node_name = "top|q[16]";
   record.m_port_type = 16;
   record.m_port_index = 116;
   record.m_value = 1016;
   return {"PHYSICAL_SYNTHESIS_SET_GLOBAL\n"
           "top|q[16] 16 116 1016\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CLEAR_GLOBAL& record) {
   record.m_node_name = "top|q[17]";
   record.m_port_type = 17;
   record.m_port_index = 117;
   return {"PHYSICAL_SYNTHESIS_CLEAR_GLOBAL\n"
           "top|q[17] 17 117\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CLEAR_USAGE_AS& record) {
   record.m_node_name = "top|q[18]";
   record.m_port_type = 18;
   record.m_port_index = 118;
   return {"PHYSICAL_SYNTHESIS_CLEAR_USAGE_AS\n"
           "top|q[18] 18 118\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE& record) {
   record.m_node_name = "top|add_106[19]";
   record.m_port_type = 19;
   record.m_port_index = 119;
   return {"PHYSICAL_SYNTHESIS_REPLACE_INPUT_TERM_BY_TYPE\n"
           "top|add_106[19] 19 119\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE& record) {
   record.m_node_name = "top|add_106[20]";
   record.m_port_type = 2147483647;
   return {"PHYSICAL_SYNTHESIS_REPLACE_OUTPUT_TERM_BY_TYPE\n"
           "top|add_106[20] 2147483647\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM& record) {
   record.m_node_name = "top|q[21]";
   record.m_port_type = 12;
   record.m_port_index = 121;
   return {"PHYSICAL_SYNTHESIS_REMOVE_UNORDERED_FANOUT_TERM\n"
           "top|q[21] 12 121\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME& record) {
   record.m_node_name = "top|u22";
   record.m_value = 22;
   record.m_instance_name = "u22_renamed";
   return {"PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME\n"
           "top|u22 22\n"
           "u22_renamed\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID& record) {
   record.m_node_name = "top|part|port[23]";
   record.m_source_port_id = "id_23_from";
   record.m_target_port_id = "id_23_to";
   return {"PHYSICAL_SYNTHESIS_MOVE_BOUNDARY_PORT_ID\n"
           "top|part|port[23]\n"
           "id_23_from id_23_to\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID& record) {
   record.m_node_name = "top|part|port[24]";
   record.m_port_type = 24;
   record.m_port_index = 124;
   record.m_boundary_port_id = "id_24";
   return {"PHYSICAL_SYNTHESIS_SET_BOUNDARY_PORT_ID\n"
           "top|part|port[24] 24 124\n"
           "id_24\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_DISCONNECT_BOUNDARY_PORT_ID& record) {
   record.m_node_name = "top|part|port[25]";
   record.m_port_type = 25;
   record.m_port_index = 125;
   return {"PHYSICAL_SYNTHESIS_DISCONNECT_BOUNDARY_PORT_ID\n"
           "top|part|port[25] 25 125\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES& record) {
   record.m_node_name = "top|q[26]";
   record.m_port_type = 26;
   record.m_port_index = 126;
   record.m_property1 = 11;
   record.m_property2 = -12;
   record.m_property3 = 13;
   record.m_property4 = 14;
   record.m_property5 = 15;
   record.m_property6 = 16;
   return {"PHYSICAL_SYNTHESIS_SET_ITERM_PROPERTIES\n"
           "top|q[26] 26 126\n"
           "11 -12 13 14 15 16\n",
           {"m_tag", "m_property1", "m_property3", "m_property4", "m_property6"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO& record) {
   record.m_node_name = "top|old~27";
   record.m_input_port_types = {DB_INPUT_PORT_TYPE(0), DB_INPUT_PORT_TYPE(-6)};
   record.m_input_port_names = {"top|a[0]", "Output"};
   record.m_lut_mask = 0xABCD00001234UL;
   record.m_output_port_types = {DB_OUTPUT_PORT_TYPE(2), DB_OUTPUT_PORT_TYPE(1), DB_OUTPUT_PORT_TYPE(9)};
   record.m_output_port_names = {"top|old~27", "Port", "LUTMASK"};
   record.m_node_type = 27;
   return {"PHYSICAL_SYNTHESIS_STORE_NODE_INFO\n"
           "top|old~27 27\n"
           "Port 0 top|a[0]\n"
           "Port -6 Output\n"
           "Output 2 top|old~27\n"
           "Output 1 Port\n"
           "Output 9 LUTMASK\n"
           "LUTMASK\n"
           "1234 abcd\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB& record) {
   record.m_node_name = "top|cnt[3]~28";
   record.m_port_sources[0] = "top|cnt[2]";
   record.m_port_sources[3] = "top|en~reg0";
   record.m_port_sources[10] = "GND";
   return {"PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_COMB\n"
           "top|cnt[3]~28\n"
           "0 top|cnt[2]\n"
           "3 top|en~reg0\n"
           "10 GND\n"
           "End_of_ADD_REMOVE_Connection\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF& record) {
   record.m_node_name = "top|q[29]";
   record.m_port_sources[0] = "top|d[29]";
   record.m_port_sources[8] = "VCC";
   return {"PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_FF\n"
           "top|q[29]\n"
           "0 top|d[29]\n"
           "8 VCC\n"
           "End_of_ADD_REMOVE_Connection\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO& record) {
   record.m_node_name = "top|pin[30]~output";
   record.m_port_sources[1] = "NC";
   record.m_port_sources[15] = "top|oe[30]";
   return {"PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_IO\n"
           "top|pin[30]~output\n"
           "1 NC\n"
           "15 top|oe[30]\n"
           "End_of_ADD_REMOVE_Connection\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM& record) {
   record.m_node_name = "top|mem|ram_block_0_1";
   record.m_ram_source_names = {"top|addr[0]", "UNCHANGED", "top|we"};
   record.m_ram_port_types = {DB_INPUT_PORT_TYPE(31), DB_INPUT_PORT_TYPE(-1), DB_INPUT_PORT_TYPE(33)};
   record.m_ram_port_indices = {0, 65535, 17};
   return {"PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_RAM\n"
           "top|mem|ram_block_0_1\n"
           "31 0 top|addr[0]\n"
           "-1 65535 UNCHANGED\n"
           "33 17 top|we\n"
           "End_of_ADD_REMOVE_Connection\n"};
}

template <class RECORD> void fill_setting(RECORD& record, int number) {
   record.m_node_name = ("top|mem|ram_" + std::to_string(number)).c_str();
   record.m_port_type = number;
   record.m_port_setting = 100 + number;
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK& record) {
   fill_setting(record, 32);
   return {"PHYSICAL_SYNTHESIS_SET_OUTPUT_PORT_CLOCK\n"
           "top|mem|ram_32 32 132\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLEAR& record) {
   fill_setting(record, 33);
   return {"PHYSICAL_SYNTHESIS_SET_OUTPUT_PORT_CLEAR\n"
           "top|mem|ram_33 33 133\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK& record) {
   fill_setting(record, 34);
   return {"PHYSICAL_SYNTHESIS_SET_INPUT_PORT_CLOCK\n"
           "top|mem|ram_34 34 134\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLEAR& record) {
   fill_setting(record, 35);
   return {"PHYSICAL_SYNTHESIS_SET_INPUT_PORT_CLEAR\n"
           "top|mem|ram_35 35 135\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH& record) {
   fill_setting(record, 36);
   record.m_port_setting = -136;
   return {"PHYSICAL_SYNTHESIS_SET_INPUT_PORT_WIDTH\n"
           "top|mem|ram_36 36 -136\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CLEAR_ATOM_CONSTRAINTS& record) {
   record.m_node_name = "top|q[37]";
   return {"PHYSICAL_SYNTHESIS_CLEAR_ATOM_CONSTRAINTS\n"
           "top|q[37]\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS& record) {
   record.m_node_name = "top|q[38]";
   record.m_copy_extra = 38;
   record.m_other_atom_name = "top|q[38]~dup";
   return {"PHYSICAL_SYNTHESIS_COPY_ATOM_LOCATION_CONSTRAINTS\n"
           "top|q[38] top|q[38]~dup\n",
           {"m_tag", "m_copy_extra"}};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS& record) {
   record.m_node_name = "top|q[39]";
   record.m_first_oterm_name = "top|q[39]~from";
   record.m_second_oterm_name = "top|q[39]~to";
   return {"PHYSICAL_SYNTHESIS_COPY_OTERM_TIMING_ASSIGNMENTS\n"
           "top|q[39]\n"
           "top|q[39]~from \n"
           "top|q[39]~to \n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL& record) {
   record.m_node_name = "top|lc[40]";
   return {"PHYSICAL_SYNTHESIS_SET_USER_LCELL\n"
           "top|lc[40]\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE& record) {
   record.m_node_name = "top|q[41]";
   record.m_value = 41;
   return {"PHYSICAL_SYNTHESIS_SET_INVERT_OBSERVABLE\n"
           "top|q[41]\n"
           "41\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT& record) {
   record.m_node_name = "never|written";
   return {"PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\n", marker_lost};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER& record) {
   record.m_node_name = "never|written";
   return {"PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0\n", marker_lost};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF& record) {
   record.m_node_name = "top|clk~clkctrl";
   record.m_clkbuf_first_name = "top|clk~inputclkctrl";
   record.m_clkbuf_second_name = "top|clk";
   record.m_enable_name = "top|clk_en";
   record.m_value = 2;
   return {"PHYSICAL_SYNTHESIS_CONFIRM_CLKBUF\n"
           "top|clk~clkctrl\n"
           "2 top|clk\n"
           "top|clk~inputclkctrl\n"
           "top|clk_en\n"};
}

FILLED fill(LOGDB_FSYN_LOG_ENTRY_END_OF_LOG& record) {
   record.m_node_name = "never|written";
   return {"PHYSICAL_SYNTHESIS_END_OF_LOG\n", marker_lost};
}

} // namespace

std::vector<std::pair<std::string, std::string>> fsyn_fields(const LOGDB_FSYN_LOG_ENTRY& entry) {
   std::vector<std::pair<std::string, std::string>> fields;
   const bool known = with_fsyn_record(entry, [&]<class RECORD>(const RECORD& record) {
      fields.emplace_back("class", FSYN_KIND<RECORD>::suffix);
      fields.emplace_back("m_type", readable(static_cast<int>(record.m_type)));
      fields.emplace_back("m_tag", readable(record.m_tag));
      fields.emplace_back("m_node_name", readable(record.m_node_name));
      for_each_fsyn_field(
          record, [&](const char* name, const auto& member) { fields.emplace_back(name, readable(member)); });
   });
   if (!known) {
      fields.emplace_back("class", typeid(entry).name());
   }
   return fields;
}

std::string fsyn_description(const LOGDB_FSYN_LOG_ENTRY& record) {
   std::string text;
   for (const auto& [name, value] : fsyn_fields(record)) {
      text += (text.empty() ? "" : " ") + name + "=" + value;
   }
   return text;
}

std::string fsyn_keyword(int value) {
   std::string keyword;
   for_each_fsyn_kind([&]<class RECORD>() {
      if (FSYN_KIND<RECORD>::value == value) {
         keyword = std::string("PHYSICAL_SYNTHESIS_") + FSYN_KIND<RECORD>::suffix;
      }
   });
   // The one keyword that is not made of the class name.
   return value == 43 ? "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0" : keyword;
}

std::vector<FSYN_SAMPLE> fsyn_samples() {
   std::vector<FSYN_SAMPLE> samples;
   for_each_fsyn_kind([&]<class RECORD>() {
      auto* record = new (0) RECORD;
      record->m_tag = 0xFFFF0000U + static_cast<unsigned int>(FSYN_KIND<RECORD>::value);
      FILLED filled = fill(*record);
      samples.push_back({FSYN_KIND<RECORD>::suffix, FSYN_RECORD(record), filled.m_text, filled.m_lost});
   });
   return samples;
}
