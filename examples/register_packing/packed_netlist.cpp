#include "packed_netlist.h"

#include <algorithm>
#include <set>

namespace {

ATOM_KIND partner_kind(PATTERN pattern) {
   switch (pattern) {
   case PATTERN::BEHIND_LUT:
   case PATTERN::LUT_BEHIND:
      return ATOM_KIND::LUT;
   case PATTERN::CHAIN:
      return ATOM_KIND::REGISTER;
   case PATTERN::AT_PIN:
      return ATOM_KIND::INPUT_PIN;
   case PATTERN::BEHIND_MULTIPLIER:
   case PATTERN::BEFORE_MULTIPLIER:
      return ATOM_KIND::MULTIPLIER;
   }
   return ATOM_KIND::LUT;
}

bool same_input(const ATOM& left, const ATOM& right, int type) {
   const INPUT_TERMINAL* left_input = left.find_input(type);
   const INPUT_TERMINAL* right_input = right.find_input(type);
   const bool left_open = left_input == nullptr || left_input->m_net == nullptr;
   const bool right_open = right_input == nullptr || right_input->m_net == nullptr;
   if (left_open || right_open) {
      return left_open && right_open;
   }
   return left_input->m_net == right_input->m_net && left_input->m_inverted == right_input->m_inverted;
}

/// Whether one atom is all that reads a net.
bool read_by_one_atom(const NET& net, const ATOM& atom) {
   return !net.m_sinks.empty() && std::all_of(net.m_sinks.begin(), net.m_sinks.end(),
                                              [&](const SINK& sink) { return sink.m_atom == &atom; });
}

bool drives(const ATOM& source, const ATOM& reg) {
   const NET* data = reg.input_net(REGISTER_DATA);
   return data != nullptr && data->m_driver == &source;
}

std::string readers_text(const NET& net) {
   return "it has " + std::to_string(net.m_sinks.size()) + " readers";
}

std::string joined_names(const PARTITION& partition, const std::vector<const ATOM*>& atoms) {
   std::vector<std::string> names;
   for (const ATOM* atom : atoms) {
      names.push_back(partition.relative(atom->m_name));
   }
   std::string text;
   for (const std::string& name : names) {
      text += " register=" + name;
   }
   return text;
}

int highest_index(const ATOM& atom, int type) {
   int highest = -1;
   for (const INPUT_TERMINAL& input : atom.m_inputs) {
      if (input.m_type == type && input.m_net != nullptr) {
         highest = std::max(highest, input.m_index);
      }
   }
   return highest;
}

[[noreturn]] void throw_misfit(const std::string& obstacle) {
   throw NETLIST_ERROR("the decisions do not fit the netlist: " + obstacle);
}

} // namespace

bool same_controls(const ATOM& left, const ATOM& right) {
   return same_input(left, right, REGISTER_CLOCK) && same_input(left, right, REGISTER_ENABLE) &&
          same_input(left, right, REGISTER_CLEAR);
}

RAM_USAGE ram_usage(const ATOM& ram) {
   RAM_USAGE usage;
   usage.m_mode = ram.input_net(RAM_WRITE_CLOCK) == nullptr ? "READ_ONLY" : "READ_WRITE";
   for (const OUTPUT_TERMINAL& output : ram.m_outputs) {
      usage.m_width = std::max(usage.m_width, output.m_index + 1);
   }
   const int address_bits =
       std::max(highest_index(ram, RAM_READ_ADDRESS), highest_index(ram, RAM_WRITE_ADDRESS)) + 1;
   usage.m_depth = 1 << address_bits;
   usage.m_start = ram.m_attributes.contains("contents") ? "CONTENTS" : "EMPTY";
   return usage;
}

PACKED_NETLIST::PACKED_NETLIST(const NETLIST& netlist, const PARTITION& partition, const TARGET& target)
    : m_netlist(netlist), m_partition(partition), m_target(target) {}

const ATOM* PACKED_NETLIST::find_member(const std::string& name, ATOM_KIND kind) const {
   const ATOM* atom = m_netlist.find_atom(name);
   const bool is_member = atom != nullptr && atom->m_kind == kind && m_partition.contains(name);
   return is_member ? atom : nullptr;
}

std::string PACKED_NETLIST::obstacle(const MULTIPLIER_DECISION& decision) const {
   if (find_member(decision.m_multiplier, ATOM_KIND::MULTIPLIER) == nullptr) {
      return "there is no multiplier \"" + decision.m_multiplier + "\"";
   }
   if (m_multipliers.contains(decision.m_multiplier)) {
      return "\"" + decision.m_multiplier + "\" has a place already";
   }
   if (decision.m_implementation == "LOGIC_CELLS") {
      return "";
   }
   if (decision.m_implementation != "BLOCK") {
      return "nothing is called " + decision.m_implementation;
   }
   const bool is_full = summary().m_multiplier_blocks >= m_target.m_multiplier_blocks;
   return is_full ? "there are only " + std::to_string(m_target.m_multiplier_blocks) + " multiplier blocks" : "";
}

std::string PACKED_NETLIST::obstacle(const RAM_DECISION& decision) const {
   const ATOM* ram = find_member(decision.m_ram, ATOM_KIND::RAM);
   if (ram == nullptr) {
      return "there is no RAM \"" + decision.m_ram + "\"";
   }
   const RAM_USAGE usage{decision.m_mode, decision.m_width, decision.m_depth, decision.m_start};
   if (ram_usage(*ram) != usage) {
      return "\"" + decision.m_ram + "\" has another mode, width, depth or start";
   }
   if (decision.m_half != "WHOLE" && usage.m_depth * 2 > RAM_WORDS) {
      return "\"" + decision.m_ram + "\" needs more than half a block";
   }
   const auto block = m_ram_blocks.find(decision.m_block);
   if (block == m_ram_blocks.end()) {
      return "";
   }
   const bool fits =
       decision.m_half != "WHOLE" && !block->second.contains("WHOLE") && !block->second.contains(decision.m_half);
   if (!fits) {
      return "block " + std::to_string(decision.m_block) + " has no room for \"" + decision.m_ram + "\"";
   }
   const ATOM& other = *block->second.begin()->second;
   const bool same_clocks = ram->input_net(RAM_WRITE_CLOCK) == other.input_net(RAM_WRITE_CLOCK) &&
                            ram->input_net(RAM_READ_CLOCK) == other.input_net(RAM_READ_CLOCK);
   return same_clocks ? "" : "\"" + decision.m_ram + "\" and \"" + other.m_name + "\" have different clocks";
}

std::string PACKED_NETLIST::obstacle(const REGISTER_DECISION& decision) const {
   const ATOM* reg = find_member(decision.m_register, ATOM_KIND::REGISTER);
   const ATOM* partner = find_member(decision.m_partner, partner_kind(decision.m_pattern));
   if (reg == nullptr) {
      return "there is no register \"" + decision.m_register + "\"";
   }
   if (partner == nullptr) {
      return "there is no " + std::string(kind_name(partner_kind(decision.m_pattern))) + " \"" +
             decision.m_partner + "\"";
   }
   if (!decision.m_packed) {
      return "";
   }
   if (find_cell(*reg) != nullptr || m_host_of_register.contains(reg)) {
      return "the register has a place already";
   }
   switch (decision.m_pattern) {
   case PATTERN::BEHIND_LUT:
      return obstacle_behind_lut(*reg, *partner);
   case PATTERN::LUT_BEHIND:
      return obstacle_lut_behind(*reg, *partner);
   case PATTERN::CHAIN:
      return obstacle_chain(*reg, *partner);
   case PATTERN::AT_PIN:
      return obstacle_at_pin(*reg, *partner);
   case PATTERN::BEHIND_MULTIPLIER:
      return obstacle_behind_multiplier(*reg, *partner);
   case PATTERN::BEFORE_MULTIPLIER:
      return obstacle_before_multiplier(*reg, *partner);
   }
   return "unknown pattern";
}

/// Inside the cell the LUT's output leads to the register alone.
std::string PACKED_NETLIST::obstacle_behind_lut(const ATOM& reg, const ATOM& lut) const {
   if (!drives(lut, reg)) {
      return "the LUT does not drive it";
   }
   if (!read_by_one_atom(*lut.output_net(), reg)) {
      return "the LUT has other readers: " + readers_text(*lut.output_net());
   }
   return find_cell(lut) == nullptr ? "" : "the LUT's cell is taken";
}

/// Inside the cell the register's output leads to the LUT alone.
std::string PACKED_NETLIST::obstacle_lut_behind(const ATOM& reg, const ATOM& lut) const {
   if (!read_by_one_atom(*reg.output_net(), lut)) {
      return "the LUT is not its only reader: " + readers_text(*reg.output_net());
   }
   return find_cell(lut) == nullptr ? "" : "the LUT's cell is taken";
}

/// Both registers of a cell share its control signals.
std::string PACKED_NETLIST::obstacle_chain(const ATOM& reg, const ATOM& source) const {
   if (!drives(source, reg)) {
      return "the register does not drive it";
   }
   if (!same_controls(reg, source)) {
      return "the registers have different control signals";
   }
   if (m_host_of_register.contains(&source)) {
      return "the register in front is in a pin or a block";
   }
   const LOGIC_CELL* cell = find_cell(source);
   return cell == nullptr || cell->m_registers.size() == 1 ? "" : "the cell of the register in front is full";
}

std::string PACKED_NETLIST::obstacle_at_pin(const ATOM& reg, const ATOM& pin) const {
   if (!drives(pin, reg)) {
      return "the pin does not drive it";
   }
   return read_by_one_atom(*pin.output_net(), reg) ? "" : "the pin has other readers";
}

/// The registers of a block are all in use or none, and share their control signals.
std::string PACKED_NETLIST::obstacle_behind_multiplier(const ATOM& reg, const ATOM& multiplier) const {
   if (!is_block(multiplier)) {
      return "the multiplier is not in a block";
   }
   bool is_driven = false;
   for (const OUTPUT_TERMINAL& output : multiplier.m_outputs) {
      if (output.m_net->m_sinks.size() != 1) {
         return "a result bit has other readers";
      }
      const SINK& sink = output.m_net->m_sinks.front();
      if (sink.m_atom->m_kind != ATOM_KIND::REGISTER || sink.terminal().m_type != REGISTER_DATA) {
         return "a result bit goes into something else";
      }
      if (!same_controls(*sink.m_atom, reg)) {
         return "the registers behind the multiplier have different control signals";
      }
      is_driven = is_driven || sink.m_atom == &reg;
   }
   return is_driven ? "" : "the multiplier does not drive it";
}

std::string PACKED_NETLIST::obstacle_before_multiplier(const ATOM& reg, const ATOM& multiplier) const {
   if (!is_block(multiplier)) {
      return "the multiplier is not in a block";
   }
   if (!read_by_one_atom(*reg.output_net(), multiplier)) {
      return "the multiplier is not its only reader: " + readers_text(*reg.output_net());
   }
   const int operand = reg.output_net()->m_sinks.front().terminal().m_type;
   for (const INPUT_TERMINAL& input : multiplier.m_inputs) {
      if (input.m_type != operand || input.m_net == nullptr) {
         continue;
      }
      const ATOM& driver = *input.m_net->m_driver;
      if (driver.m_kind != ATOM_KIND::REGISTER || !read_by_one_atom(*input.m_net, multiplier) ||
          !same_controls(driver, reg)) {
         return "another bit of the operand cannot go into the block";
      }
   }
   return "";
}

bool PACKED_NETLIST::is_block(const ATOM& multiplier) const {
   const auto found = m_multipliers.find(multiplier.m_name);
   return found != m_multipliers.end() && found->second.m_implementation == "BLOCK";
}

void PACKED_NETLIST::apply(const MULTIPLIER_DECISION& decision) {
   if (const std::string text = obstacle(decision); !text.empty()) {
      throw_misfit(text);
   }
   m_multipliers[decision.m_multiplier].m_implementation = decision.m_implementation;
}

void PACKED_NETLIST::apply(const RAM_DECISION& decision) {
   if (const std::string text = obstacle(decision); !text.empty()) {
      throw_misfit(text);
   }
   m_ram_blocks[decision.m_block][decision.m_half] = m_netlist.find_atom(decision.m_ram);
   m_block_of_ram[decision.m_ram] = decision.m_block;
}

void PACKED_NETLIST::apply(const REGISTER_DECISION& decision) {
   if (const std::string text = obstacle(decision); !text.empty()) {
      throw_misfit("\"" + decision.m_register + "\" and \"" + decision.m_partner + "\": " + text);
   }
   if (!decision.m_packed) {
      return;
   }
   const ATOM& reg = *m_netlist.find_atom(decision.m_register);
   const ATOM& partner = *m_netlist.find_atom(decision.m_partner);
   switch (partner.m_kind) {
   case ATOM_KIND::INPUT_PIN:
      m_pins[partner.m_name].push_back(&reg);
      m_host_of_register[&reg] = &partner;
      break;
   case ATOM_KIND::MULTIPLIER:
      m_multipliers[partner.m_name].m_registers.push_back(&reg);
      m_host_of_register[&reg] = &partner;
      break;
   default:
      place_in_cell(reg, cell_of(partner));
      break;
   }
}

void PACKED_NETLIST::apply(const DECISIONS& decisions) {
   for (const MULTIPLIER_DECISION& decision : decisions.m_multipliers) {
      apply(decision);
   }
   for (const RAM_DECISION& decision : decisions.m_rams) {
      apply(decision);
   }
   for (const REGISTER_DECISION& decision : decisions.m_registers) {
      apply(decision);
   }
}

void PACKED_NETLIST::place_rest() {
   for (const auto& [name, atom] : m_netlist.atoms()) {
      if (!m_partition.contains(name)) {
         continue;
      }
      const bool is_ram_left = atom.m_kind == ATOM_KIND::RAM && !m_block_of_ram.contains(name);
      const bool is_multiplier_left = atom.m_kind == ATOM_KIND::MULTIPLIER && !m_multipliers.contains(name);
      if (is_ram_left || is_multiplier_left) {
         throw_misfit("there is no decision about \"" + name + "\"");
      }
      const bool belongs_in_cell = atom.m_kind == ATOM_KIND::LUT ||
                                   (atom.m_kind == ATOM_KIND::REGISTER && !m_host_of_register.contains(&atom));
      if (belongs_in_cell) {
         cell_of(atom);
      }
   }
}

/// The cell of an atom; a new one if it has none.
PACKED_NETLIST::LOGIC_CELL& PACKED_NETLIST::cell_of(const ATOM& atom) {
   const auto found = m_cell_of_atom.find(&atom);
   if (found != m_cell_of_atom.end()) {
      return m_cells[found->second];
   }
   m_cells.emplace_back();
   place_in_cell(atom, m_cells.back());
   return m_cells.back();
}

const PACKED_NETLIST::LOGIC_CELL* PACKED_NETLIST::find_cell(const ATOM& atom) const {
   const auto found = m_cell_of_atom.find(&atom);
   return found == m_cell_of_atom.end() ? nullptr : &m_cells[found->second];
}

void PACKED_NETLIST::place_in_cell(const ATOM& atom, LOGIC_CELL& cell) {
   if (atom.m_kind == ATOM_KIND::LUT) {
      cell.m_lut = &atom;
   } else {
      cell.m_registers.push_back(&atom);
   }
   m_cell_of_atom[&atom] = static_cast<std::size_t>(&cell - m_cells.data());
}

PACKING_SUMMARY PACKED_NETLIST::summary() const {
   PACKING_SUMMARY summary;
   summary.m_logic_cells = static_cast<int>(m_cells.size());
   summary.m_ram_blocks = static_cast<int>(m_ram_blocks.size());
   for (const LOGIC_CELL& cell : m_cells) {
      const int registers = static_cast<int>(cell.m_registers.size());
      summary.m_registers += registers;
      summary.m_packed_registers += cell.m_lut != nullptr || registers > 1 ? registers : 0;
   }
   for (const auto& [name, place] : m_multipliers) {
      summary.m_multiplier_blocks += place.m_implementation == "BLOCK" ? 1 : 0;
   }
   summary.m_registers += static_cast<int>(m_host_of_register.size());
   summary.m_packed_registers += static_cast<int>(m_host_of_register.size());
   return summary;
}

std::string PACKED_NETLIST::text() const {
   std::set<std::string> lines;
   for (const LOGIC_CELL& cell : m_cells) {
      const std::string lut = cell.m_lut == nullptr ? "" : " lut=" + m_partition.relative(cell.m_lut->m_name);
      lines.insert("logic_cell" + lut + joined_names(m_partition, cell.m_registers));
   }
   for (const auto& [number, block] : m_ram_blocks) {
      std::string line = "ram_block " + std::to_string(number);
      for (const auto& [half, ram] : block) {
         line += " " + half + "=" + m_partition.relative(ram->m_name);
      }
      lines.insert(line);
   }
   for (const auto& [name, place] : m_multipliers) {
      lines.insert("multiplier " + m_partition.relative(name) + " " + place.m_implementation +
                   joined_names(m_partition, place.m_registers));
   }
   for (const auto& [name, registers] : m_pins) {
      lines.insert("pin " + m_partition.relative(name) + joined_names(m_partition, registers));
   }
   std::string text;
   for (const std::string& line : lines) {
      text += line + "\n";
   }
   return text;
}
