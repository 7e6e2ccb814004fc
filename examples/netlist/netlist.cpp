#include "netlist.h"

#include <algorithm>
#include <set>

namespace {

std::string quoted(std::string_view name) {
   return "\"" + std::string(name) + "\"";
}

void check_terminal(const ATOM& atom, bool is_output, int type, int index) {
   const PORT* port = find_port(atom.m_kind, is_output, type);
   if (port == nullptr || index < 0 || index >= port->m_width) {
      throw NETLIST_ERROR(quoted(atom.m_name) + ", a " + kind_name(atom.m_kind) + ", cannot have " +
                          (is_output ? "an output" : "an input") + " of type " + std::to_string(type) +
                          " and index " + std::to_string(index));
   }
}

} // namespace

const INPUT_TERMINAL* ATOM::find_input(int type, int index) const {
   const auto found = std::find_if(m_inputs.begin(), m_inputs.end(), [&](const INPUT_TERMINAL& input) {
      return input.m_type == type && input.m_index == index;
   });
   return found == m_inputs.end() ? nullptr : &*found;
}

INPUT_TERMINAL* ATOM::find_input(int type, int index) {
   return const_cast<INPUT_TERMINAL*>(static_cast<const ATOM*>(this)->find_input(type, index));
}

const OUTPUT_TERMINAL* ATOM::find_output(int type, int index) const {
   const auto found = std::find_if(m_outputs.begin(), m_outputs.end(), [&](const OUTPUT_TERMINAL& output) {
      return output.m_type == type && output.m_index == index;
   });
   return found == m_outputs.end() ? nullptr : &*found;
}

NET* ATOM::input_net(int type, int index) const {
   const INPUT_TERMINAL* input = find_input(type, index);
   return input == nullptr ? nullptr : input->m_net;
}

NET* ATOM::output_net() const {
   const bool has_one = m_kind != ATOM_KIND::RAM && m_kind != ATOM_KIND::MULTIPLIER && m_outputs.size() == 1;
   return has_one ? m_outputs.front().m_net : nullptr;
}

const ATOM* NETLIST::find_atom(std::string_view name) const {
   const auto found = m_atoms.find(name);
   return found == m_atoms.end() ? nullptr : &found->second;
}

ATOM* NETLIST::find_atom(std::string_view name) {
   const auto found = m_atoms.find(name);
   return found == m_atoms.end() ? nullptr : &found->second;
}

NET* NETLIST::find_net(std::string_view name) {
   const auto found = m_nets.find(name);
   return found == m_nets.end() ? nullptr : &found->second;
}

ATOM& NETLIST::atom(std::string_view name) {
   ATOM* found = find_atom(name);
   if (found == nullptr) {
      throw NETLIST_ERROR("the netlist has no atom " + quoted(name));
   }
   return *found;
}

NET& NETLIST::net(std::string_view name) {
   NET* found = find_net(name);
   if (found == nullptr) {
      throw NETLIST_ERROR("the netlist has no net " + quoted(name));
   }
   return *found;
}

INPUT_TERMINAL& NETLIST::input(ATOM& atom, int type, int index) {
   INPUT_TERMINAL* found = atom.find_input(type, index);
   if (found == nullptr) {
      throw NETLIST_ERROR(quoted(atom.m_name) + " has no input of type " + std::to_string(type) + " and index " +
                          std::to_string(index));
   }
   return *found;
}

ATOM& NETLIST::add_atom(std::string_view name, ATOM_KIND kind) {
   const auto [position, is_new] = m_atoms.try_emplace(std::string(name));
   if (!is_new) {
      throw NETLIST_ERROR("there are two atoms " + quoted(name));
   }
   position->second.m_name = name;
   position->second.m_kind = kind;
   return position->second;
}

NET& NETLIST::add_net(std::string_view name) {
   const auto [position, is_new] = m_nets.try_emplace(std::string(name));
   NET& net = position->second;
   if (is_new) {
      net.m_name = name;
      net.m_number = m_net_numbers++;
   }
   return net;
}

void NETLIST::add_input(ATOM& atom, int type) {
   const auto same_type = [&](const INPUT_TERMINAL& input) { return input.m_type == type; };
   add_input(atom, type, static_cast<int>(std::count_if(atom.m_inputs.begin(), atom.m_inputs.end(), same_type)));
}

void NETLIST::add_input(ATOM& atom, int type, int index) {
   check_terminal(atom, false, type, index);
   if (atom.find_input(type, index) != nullptr) {
      throw NETLIST_ERROR(quoted(atom.m_name) + " has two inputs of type " + std::to_string(type) + " and index " +
                          std::to_string(index));
   }
   INPUT_TERMINAL input;
   input.m_type = type;
   input.m_index = index;
   atom.m_inputs.push_back(input);
}

void NETLIST::add_output(ATOM& atom, int type, int index, NET& net) {
   check_terminal(atom, true, type, index);
   if (net.m_driver != nullptr) {
      throw NETLIST_ERROR("two atoms drive the net " + quoted(net.m_name) + ": " + quoted(net.m_driver->m_name) +
                          " and " + quoted(atom.m_name));
   }
   if (atom.find_output(type, index) != nullptr) {
      throw NETLIST_ERROR(quoted(atom.m_name) + " has two outputs of type " + std::to_string(type) +
                          " and index " + std::to_string(index));
   }
   atom.m_outputs.push_back({type, index, &net});
   net.m_driver = &atom;
}

void NETLIST::connect(ATOM& atom, int type, int index, NET* net) {
   INPUT_TERMINAL& terminal = input(atom, type, index);
   const auto position = static_cast<std::size_t>(&terminal - atom.m_inputs.data());
   disconnect(atom, position);
   if (net != nullptr) {
      terminal.m_net = net;
      net->m_sinks.push_back({&atom, position});
   }
}

void NETLIST::disconnect(ATOM& atom, std::size_t input) {
   NET* net = atom.m_inputs[input].m_net;
   if (net != nullptr) {
      std::erase_if(net->m_sinks, [&](const SINK& sink) { return sink.m_atom == &atom && sink.m_input == input; });
      atom.m_inputs[input].m_net = nullptr;
   }
}

void NETLIST::remove_atoms(const std::vector<std::string>& names) {
   const std::set<std::string_view> removed(names.begin(), names.end());
   for (const std::string_view name : removed) {
      for (const OUTPUT_TERMINAL& output : atom(name).m_outputs) {
         for (const SINK& sink : output.m_net->m_sinks) {
            if (!removed.contains(sink.m_atom->m_name)) {
               throw NETLIST_ERROR(quoted(name) + " cannot be removed: " + quoted(sink.m_atom->m_name) +
                                   " reads it");
            }
         }
      }
   }
   for (const std::string_view name : removed) {
      ATOM& removed_atom = atom(name);
      for (std::size_t input = 0; input < removed_atom.m_inputs.size(); ++input) {
         disconnect(removed_atom, input);
      }
   }
   for (const std::string_view name : removed) {
      const auto position = m_atoms.find(name);
      for (const OUTPUT_TERMINAL& output : position->second.m_outputs) {
         m_nets.erase(m_nets.find(output.m_net->m_name));
      }
      m_atoms.erase(position);
   }
}
