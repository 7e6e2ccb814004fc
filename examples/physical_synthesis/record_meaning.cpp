#include "record_meaning.h"

#include <array>
#include <string_view>
#include <utility>

namespace {

constexpr std::array<std::pair<LOGDB_FSYN_LOG_ENTRY_TYPE, const char*>, 29> KIND_NAMES = {{
    {PRE_PLACEMENT_FLOW, "PRE_PLACEMENT_FLOW"},
    {POST_PLACEMENT_FLOW, "POST_PLACEMENT_FLOW"},
    {INSERT_ATOM, "INSERT_ATOM"},
    {DELETE_ATOM, "DELETE_ATOM"},
    {CREATE_ITERM, "CREATE_ITERM"},
    {CREATE_OTERM, "CREATE_OTERM"},
    {SET_LUTMASK, "SET_LUTMASK"},
    {SET_USAGE_AS, "SET_USAGE_AS"},
    {SET_CONNECTED_TO_DELAY_CHAIN, "SET_CONNECTED_TO_DELAY_CHAIN"},
    {SET_DELAY_CHAIN_INDEX, "SET_DELAY_CHAIN_INDEX"},
    {CLEAR_INVERT, "CLEAR_INVERT"},
    {SET_INVERT, "SET_INVERT"},
    {SET_GLOBAL, "SET_GLOBAL"},
    {REPLACE_INPUT_TERM_BY_TYPE, "REPLACE_INPUT_TERM_BY_TYPE"},
    {REMOVE_UNORDERED_FANOUT_TERM, "REMOVE_UNORDERED_FANOUT_TERM"},
    {STORE_NODE_INFO, "STORE_NODE_INFO"},
    {ADD_REMOVE_CONNECTION_LCELL_COMB, "ADD_REMOVE_CONNECTION_LCELL_COMB"},
    {ADD_REMOVE_CONNECTION_LCELL_FF, "ADD_REMOVE_CONNECTION_LCELL_FF"},
    {ADD_REMOVE_CONNECTION_IO, "ADD_REMOVE_CONNECTION_IO"},
    {ADD_REMOVE_CONNECTION_RAM, "ADD_REMOVE_CONNECTION_RAM"},
    {SET_OUTPUT_PORT_CLOCK, "SET_OUTPUT_PORT_CLOCK"},
    {SET_INPUT_PORT_CLOCK, "SET_INPUT_PORT_CLOCK"},
    {SET_INPUT_PORT_WIDTH, "SET_INPUT_PORT_WIDTH"},
    {COPY_ATOM_LOCATION_CONSTRAINTS, "COPY_ATOM_LOCATION_CONSTRAINTS"},
    {COPY_OTERM_TIMING_ASSIGNMENTS, "COPY_OTERM_TIMING_ASSIGNMENTS"},
    {END_OF_LOG_PRINT, "END_OF_LOG_PRINT"},
    {REVISION_NUMBER, "REVISION_NUMBER"},
    {CONFIRM_CLKBUF, "CONFIRM_CLKBUF"},
    {END_OF_LOG, "END_OF_LOG"},
}};

constexpr std::array REGISTER_SLOTS = {REGISTER_DATA, REGISTER_CLOCK, REGISTER_ENABLE, REGISTER_CLEAR};

std::string_view view(const MEM_STRING& name) {
   return {name.data(), name.size()};
}

/// The net that a connection record names; null for DISCONNECTED.
NET* named_net(NETLIST& netlist, const MEM_STRING& name) {
   return view(name) == DISCONNECTED ? nullptr : &netlist.net(view(name));
}

void apply(const LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM& record, NETLIST& netlist) {
   if (record.m_atom_kind != INSERTED_REGISTER) {
      throw NETLIST_ERROR("only registers are inserted");
   }
   netlist.atom(view(record.m_related_name));
   netlist.add_atom(view(record.m_node_name), ATOM_KIND::REGISTER).m_modelled_on = view(record.m_related_name);
}

void apply(const LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM& record, NETLIST& netlist) {
   netlist.add_output(netlist.atom(view(record.m_node_name)), record.m_port_type, 0,
                      netlist.add_net(view(record.m_related_name)));
}

void apply(const LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM& record, NETLIST& netlist) {
   std::vector<std::string> names = {std::string(view(record.m_node_name))};
   for (const MEM_STRING& name : record.m_deleted_names) {
      names.emplace_back(view(name));
   }
   netlist.remove_atoms(names);
}

void apply(const LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK& record, NETLIST& netlist) {
   ATOM& lut = netlist.atom(view(record.m_node_name));
   if (lut.m_kind != ATOM_KIND::LUT) {
      throw NETLIST_ERROR("\"" + lut.m_name + "\" is no LUT");
   }
   lut.m_lut_mask = record.m_lut_mask;
}

/// UNCHANGED is the library's word for a slot that keeps its connection.
void apply(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION& record, NETLIST& netlist) {
   ATOM& atom = netlist.atom(view(record.m_node_name));
   for (std::size_t slot = 0; slot < record.m_port_sources.size(); ++slot) {
      if (view(record.m_port_sources[slot]) != "UNCHANGED") {
         const SLOT input = input_of_slot(atom, slot);
         netlist.connect(atom, input.m_type, input.m_index, named_net(netlist, record.m_port_sources[slot]));
      }
   }
}

void apply(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM& record, NETLIST& netlist) {
   ATOM& ram = netlist.atom(view(record.m_node_name));
   for (std::size_t input = 0; input < record.m_ram_source_names.size(); ++input) {
      netlist.connect(ram, record.m_ram_port_types[input], record.m_ram_port_indices[input],
                      named_net(netlist, record.m_ram_source_names[input]));
   }
}

void move_sinks(NETLIST& netlist, NET& from, NET& to, int input_type) {
   const std::vector<SINK> sinks = from.m_sinks;
   for (const SINK& sink : sinks) {
      const INPUT_TERMINAL& input = sink.terminal();
      if (input.m_type == input_type) {
         netlist.connect(*sink.m_atom, input.m_type, input.m_index, &to);
      }
   }
}

void apply(const LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF& record, NETLIST& netlist) {
   NET& source = netlist.net(view(record.m_clkbuf_second_name));
   NET* enable = record.m_enable_name.empty() ? nullptr : &netlist.net(view(record.m_enable_name));
   ATOM& buffer = netlist.add_atom(view(record.m_node_name), ATOM_KIND::CLOCK_BUFFER);
   NET& buffered = netlist.add_net(view(record.m_clkbuf_first_name));
   netlist.add_output(buffer, BUFFER_OUTPUT, 0, buffered);
   netlist.add_input(buffer, BUFFER_INPUT);
   netlist.connect(buffer, BUFFER_INPUT, 0, &source);
   if (enable != nullptr) {
      netlist.add_input(buffer, BUFFER_ENABLE);
      netlist.connect(buffer, BUFFER_ENABLE, 0, enable);
   }
   if (record.m_value == MOVES_CLOCKS) {
      move_sinks(netlist, source, buffered, REGISTER_CLOCK);
      move_sinks(netlist, source, buffered, RAM_WRITE_CLOCK);
      move_sinks(netlist, source, buffered, RAM_READ_CLOCK);
   } else if (record.m_value == MOVES_CLEARS) {
      move_sinks(netlist, source, buffered, REGISTER_CLEAR);
   }
}

/// The input that a record with a port type and an index is about.
template <class RECORD> INPUT_TERMINAL& named_input(const RECORD& record, NETLIST& netlist) {
   return netlist.input(netlist.atom(view(record.m_node_name)), record.m_port_type, record.m_port_index);
}

template <class RECORD> void open_input(const RECORD& record, NETLIST& netlist) {
   netlist.connect(netlist.atom(view(record.m_node_name)), record.m_port_type, record.m_port_index, nullptr);
}

void apply(const LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE& record, NETLIST& netlist) {
   open_input(record, netlist);
   INPUT_TERMINAL& input = named_input(record, netlist);
   input.m_inverted = false;
   input.m_properties.clear();
}

/// A setting of a RAM's port, as an attribute of the RAM.
template <class RECORD>
void set_port(const RECORD& record, NETLIST& netlist, bool is_output, const std::string& setting) {
   ATOM& ram = netlist.atom(view(record.m_node_name));
   const PORT* port = find_port(ram.m_kind, is_output, record.m_port_type);
   if (ram.m_kind != ATOM_KIND::RAM || port == nullptr) {
      throw NETLIST_ERROR("\"" + ram.m_name + "\" has no such RAM port");
   }
   ram.m_attributes[port->m_name + ("_" + setting)] = std::to_string(record.m_port_setting);
}

/// Sees a record as what its kind says that it is.
template <class RECORD> const RECORD& as(const LOGDB_FSYN_LOG_ENTRY& record) {
   return static_cast<const RECORD&>(record);
}

} // namespace

void apply_record(const LOGDB_FSYN_LOG_ENTRY& record, NETLIST& netlist) {
   switch (record.m_type) {
   case REVISION_NUMBER:
   case PRE_PLACEMENT_FLOW:
   case POST_PLACEMENT_FLOW:
   case STORE_NODE_INFO:
   case END_OF_LOG_PRINT:
   case END_OF_LOG:
      break;
   case INSERT_ATOM:
      apply(as<LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM>(record), netlist);
      break;
   case DELETE_ATOM:
      apply(as<LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM>(record), netlist);
      break;
   case CREATE_ITERM:
      netlist.add_input(netlist.atom(view(record.m_node_name)),
                        as<LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM>(record).m_port_type);
      break;
   case CREATE_OTERM:
      apply(as<LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM>(record), netlist);
      break;
   case SET_LUTMASK:
      apply(as<LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK>(record), netlist);
      break;
   case ADD_REMOVE_CONNECTION_LCELL_COMB:
   case ADD_REMOVE_CONNECTION_LCELL_FF:
   case ADD_REMOVE_CONNECTION_IO:
      apply(as<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION>(record), netlist);
      break;
   case ADD_REMOVE_CONNECTION_RAM:
      apply(as<LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM>(record), netlist);
      break;
   case SET_INVERT:
      named_input(as<LOGDB_FSYN_LOG_ENTRY_SET_INVERT>(record), netlist).m_inverted = true;
      break;
   case CLEAR_INVERT:
      named_input(as<LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT>(record), netlist).m_inverted = false;
      break;
   case REPLACE_INPUT_TERM_BY_TYPE:
      apply(as<LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE>(record), netlist);
      break;
   case REMOVE_UNORDERED_FANOUT_TERM:
      open_input(as<LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM>(record), netlist);
      break;
   case CONFIRM_CLKBUF:
      apply(as<LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF>(record), netlist);
      break;
   case SET_GLOBAL: {
      const auto& global = as<LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL>(record);
      named_input(global, netlist).m_properties["global"] = global.m_value;
      break;
   }
   case SET_USAGE_AS: {
      const auto& usage = as<LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS>(record);
      named_input(usage, netlist).m_properties["usage"] = usage.m_value;
      break;
   }
   case SET_CONNECTED_TO_DELAY_CHAIN: {
      const auto& connected = as<LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN>(record);
      named_input(connected, netlist).m_properties["delay_connected"] = connected.m_connected;
      break;
   }
   case SET_DELAY_CHAIN_INDEX: {
      const auto& delay = as<LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX>(record);
      named_input(delay, netlist).m_properties["delay_index"] = delay.m_chain_index;
      break;
   }
   case SET_INPUT_PORT_WIDTH:
      set_port(as<LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH>(record), netlist, false, "width");
      break;
   case SET_INPUT_PORT_CLOCK:
      set_port(as<LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK>(record), netlist, false, "clock_line");
      break;
   case SET_OUTPUT_PORT_CLOCK:
      set_port(as<LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK>(record), netlist, true, "clock_line");
      break;
   case COPY_ATOM_LOCATION_CONSTRAINTS:
      netlist.atom(view(record.m_node_name)).m_attributes["location_of"] =
          view(as<LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS>(record).m_other_atom_name);
      break;
   case COPY_OTERM_TIMING_ASSIGNMENTS:
      netlist.atom(view(record.m_node_name)).m_attributes["timing_of"] =
          view(as<LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS>(record).m_first_oterm_name);
      break;
   default:
      throw NETLIST_ERROR("this stage does not write records of kind " + std::to_string(record.m_type));
   }
}

bool waits_for_connections(const LOGDB_FSYN_LOG_ENTRY& record) {
   return record.m_type == SET_LUTMASK || record.m_type == SET_INVERT || record.m_type == CLEAR_INVERT;
}

bool is_connection(const LOGDB_FSYN_LOG_ENTRY& record) {
   return record.m_type == ADD_REMOVE_CONNECTION_LCELL_COMB || record.m_type == ADD_REMOVE_CONNECTION_LCELL_FF ||
          record.m_type == ADD_REMOVE_CONNECTION_IO || record.m_type == ADD_REMOVE_CONNECTION_RAM;
}

const char* record_kind_name(LOGDB_FSYN_LOG_ENTRY_TYPE kind) {
   for (const auto& [value, name] : KIND_NAMES) {
      if (value == kind) {
         return name;
      }
   }
   return "?";
}

SLOT input_of_slot(const ATOM& atom, std::size_t slot) {
   if (atom.m_kind == ATOM_KIND::LUT && slot < LUT_INPUTS) {
      return {LUT_INPUT, static_cast<int>(slot)};
   }
   if (atom.m_kind == ATOM_KIND::REGISTER && slot < REGISTER_SLOTS.size()) {
      return {REGISTER_SLOTS[slot], 0};
   }
   if (atom.m_kind == ATOM_KIND::OUTPUT_PIN && slot == 0) {
      return {PIN_DATA, 0};
   }
   throw NETLIST_ERROR("\"" + atom.m_name + "\" has no connection slot " + std::to_string(slot));
}

std::size_t slot_of_input(const ATOM& atom, int type, int index) {
   for (std::size_t slot = 0;; ++slot) {
      const SLOT input = input_of_slot(atom, slot);
      if (input.m_type == type && input.m_index == index) {
         return slot;
      }
   }
}
