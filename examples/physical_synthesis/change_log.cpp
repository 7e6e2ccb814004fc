#include "change_log.h"

#include <filesystem>
#include <fstream>

namespace {

MEM_STRING text(std::string_view name) {
   return MEM_STRING(name);
}

MEM_STRING net_text(const NET* net) {
   return text(net == nullptr ? DISCONNECTED : net->m_name);
}

/// Port indices have 16 bits in the records; those of this netlist are far below.
unsigned short short_index(int index) {
   return static_cast<unsigned short>(index);
}

/// Fills what all records about one terminal have.
template <class RECORD> RECORD terminal_record(const ATOM& atom, int type, int index) {
   RECORD record;
   record.m_node_name = text(atom.m_name);
   record.m_port_type = type;
   record.m_port_index = short_index(index);
   return record;
}

template <class RECORD> RECORD port_record(const ATOM& ram, int port, int setting) {
   RECORD record;
   record.m_node_name = text(ram.m_name);
   record.m_port_type = port;
   record.m_port_setting = setting;
   return record;
}

} // namespace

// The constructor takes the name as it is; set_file_name would lower it.
CHANGE_LOG::CHANGE_LOG(NETLIST& netlist, const std::string& file_name)
    : m_netlist(netlist), m_log(file_name.c_str()) {
   // The log appends to what is there, and says nothing when it cannot write.
   if (!std::ofstream(file_name, std::ios::trunc)) {
      throw NETLIST_ERROR("cannot write the log " + file_name);
   }
   m_log.init(true);
   LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER revision;
   write(revision);
}

void CHANGE_LOG::change(LOGDB_FSYN_LOG_ENTRY& record) {
   apply_record(record, m_netlist);
   write(record);
}

void CHANGE_LOG::write(LOGDB_FSYN_LOG_ENTRY& record) {
   m_log.write_fsyn_log_entry(&record);
   ++m_counts[record.m_type];
}

void CHANGE_LOG::begin_pre_placement() {
   LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW mark;
   write(mark);
}

void CHANGE_LOG::begin_post_placement() {
   LOGDB_FSYN_LOG_ENTRY_POST_PLACEMENT_FLOW mark;
   write(mark);
}

void CHANGE_LOG::end() {
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT print_mark;
   write(print_mark);
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG mark;
   write(mark);
   m_log.close();
}

void CHANGE_LOG::change_lut(const ATOM& lut, std::uint64_t mask, const std::vector<CONNECTION>& connections) {
   if (mask != lut.m_lut_mask) {
      LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK record;
      record.m_node_name = text(lut.m_name);
      record.m_lut_mask = mask;
      change(record);
   }
   connect(lut, connections);
}

bool CHANGE_LOG::can_connect(const ATOM& atom) {
   return atom.m_kind == ATOM_KIND::LUT || atom.m_kind == ATOM_KIND::REGISTER || atom.m_kind == ATOM_KIND::RAM ||
          atom.m_kind == ATOM_KIND::OUTPUT_PIN;
}

void CHANGE_LOG::connect(const ATOM& atom, const std::vector<CONNECTION>& connections) {
   switch (atom.m_kind) {
   case ATOM_KIND::LUT:
      connect_slots<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB>(atom, connections);
      break;
   case ATOM_KIND::REGISTER:
      connect_slots<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF>(atom, connections);
      break;
   case ATOM_KIND::OUTPUT_PIN:
      connect_slots<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO>(atom, connections);
      break;
   case ATOM_KIND::RAM:
      connect_ram(atom, connections);
      break;
   default:
      throw NETLIST_ERROR("no record rewires \"" + atom.m_name + "\"");
   }
}

/// Slots that are not named stay UNCHANGED, as a new record has them.
template <class RECORD>
void CHANGE_LOG::connect_slots(const ATOM& atom, const std::vector<CONNECTION>& connections) {
   RECORD record;
   record.m_node_name = text(atom.m_name);
   for (const CONNECTION& connection : connections) {
      record.m_port_sources[slot_of_input(atom, connection.m_type, connection.m_index)] =
          net_text(connection.m_net);
   }
   change(record);
}

void CHANGE_LOG::connect_ram(const ATOM& ram, const std::vector<CONNECTION>& connections) {
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM record;
   record.m_node_name = text(ram.m_name);
   for (const CONNECTION& connection : connections) {
      record.m_ram_source_names.push_back(net_text(connection.m_net));
      record.m_ram_port_types.push_back(static_cast<DB_INPUT_PORT_TYPE>(connection.m_type));
      record.m_ram_port_indices.push_back(short_index(connection.m_index));
   }
   change(record);
}

void CHANGE_LOG::toggle_inversion_and_connect(const ATOM& atom, const std::vector<CONNECTION>& connections) {
   for (const CONNECTION& connection : connections) {
      const bool inverted = atom.find_input(connection.m_type, connection.m_index)->m_inverted;
      set_inverted(atom, connection.m_type, connection.m_index, !inverted);
   }
   connect(atom, connections);
}

void CHANGE_LOG::set_inverted(const ATOM& atom, int type, int index, bool inverted) {
   if (inverted) {
      auto record = terminal_record<LOGDB_FSYN_LOG_ENTRY_SET_INVERT>(atom, type, index);
      change(record);
   } else {
      auto record = terminal_record<LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT>(atom, type, index);
      change(record);
   }
}

void CHANGE_LOG::replace_by_default(const ATOM& atom, int type, int index) {
   auto record = terminal_record<LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE>(atom, type, index);
   change(record);
}

void CHANGE_LOG::take_off_net(const ATOM& atom, int type, int index) {
   auto record = terminal_record<LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM>(atom, type, index);
   change(record);
}

const ATOM& CHANGE_LOG::duplicate_register(const ATOM& model, const std::string& name) {
   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM insertion;
   insertion.m_node_name = text(name);
   insertion.m_atom_kind = INSERTED_REGISTER;
   insertion.m_related_name = text(model.m_name);
   change(insertion);
   const ATOM& duplicate = m_netlist.atom(name);

   std::vector<CONNECTION> connections;
   for (const INPUT_TERMINAL& input : model.m_inputs) {
      auto creation = terminal_record<LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM>(duplicate, input.m_type, input.m_index);
      change(creation);
      connections.push_back({input.m_type, input.m_index, input.m_net});
   }
   LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM output;
   output.m_node_name = text(name);
   output.m_related_name = text(name);
   output.m_port_type = REGISTER_OUTPUT;
   change(output);

   for (const INPUT_TERMINAL& input : model.m_inputs) {
      if (input.m_inverted) {
         set_inverted(duplicate, input.m_type, input.m_index, true);
      }
   }
   connect(duplicate, connections);

   LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS location;
   location.m_node_name = text(name);
   location.m_other_atom_name = text(model.m_name);
   change(location);
   LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS timing;
   timing.m_node_name = text(name);
   timing.m_first_oterm_name = text(model.m_name);
   timing.m_second_oterm_name = text(name);
   change(timing);
   return duplicate;
}

void CHANGE_LOG::delete_atoms(const std::vector<const ATOM*>& atoms) {
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM record;
   record.m_node_name = text(atoms.front()->m_name);
   for (const ATOM* atom : atoms) {
      store(*atom);
      if (atom != atoms.front()) {
         record.m_deleted_names.push_back(text(atom->m_name));
      }
   }
   change(record);
}

void CHANGE_LOG::store(const ATOM& atom) {
   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO record;
   record.m_node_name = text(atom.m_name);
   record.m_node_type = static_cast<int>(atom.m_kind);
   record.m_lut_mask = atom.m_lut_mask;
   for (const INPUT_TERMINAL& input : atom.m_inputs) {
      record.m_input_port_types.push_back(static_cast<DB_INPUT_PORT_TYPE>(input.m_type));
      record.m_input_port_names.push_back(net_text(input.m_net));
   }
   for (const OUTPUT_TERMINAL& output : atom.m_outputs) {
      record.m_output_port_types.push_back(static_cast<DB_OUTPUT_PORT_TYPE>(output.m_type));
      record.m_output_port_names.push_back(net_text(output.m_net));
   }
   change(record);
}

const NET& CHANGE_LOG::insert_clock_buffer(const NET& source, const std::string& name, const NET* enable,
                                           BUFFER_MOVES moves) {
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF record;
   record.m_node_name = text(name);
   record.m_clkbuf_first_name = text(name);
   record.m_clkbuf_second_name = text(source.m_name);
   record.m_enable_name = enable == nullptr ? MEM_STRING() : text(enable->m_name);
   record.m_value = moves;
   change(record);
   return m_netlist.net(name);
}

void CHANGE_LOG::set_global(const ATOM& atom, int type, int network) {
   auto record = terminal_record<LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL>(atom, type, 0);
   record.m_value = network;
   change(record);
}

void CHANGE_LOG::set_usage(const ATOM& atom, int type, int index, int usage) {
   auto record = terminal_record<LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS>(atom, type, index);
   record.m_value = usage;
   change(record);
}

void CHANGE_LOG::set_input_delay(const ATOM& pin, int steps) {
   auto connection = terminal_record<LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN>(pin, PIN_PAD, 0);
   connection.m_chain_type = DB_PAD_TO_CORE;
   connection.m_connected = 1;
   change(connection);
   auto delay = terminal_record<LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX>(pin, PIN_PAD, 0);
   delay.m_chain_type = DB_PAD_TO_CORE;
   delay.m_chain_index = steps;
   change(delay);
}

void CHANGE_LOG::set_port_width(const ATOM& ram, INPUT_TYPE port, int width) {
   auto record = port_record<LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH>(ram, port, width);
   change(record);
}

void CHANGE_LOG::set_port_clock(const ATOM& ram, INPUT_TYPE port, int line) {
   auto record = port_record<LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK>(ram, port, line);
   change(record);
}

void CHANGE_LOG::set_port_clock(const ATOM& ram, OUTPUT_TYPE port, int line) {
   auto record = port_record<LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK>(ram, port, line);
   change(record);
}
