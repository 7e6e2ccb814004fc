#include "consistency.h"

#include <algorithm>

#include "evaluation_order.h"
#include "lut_mask.h"

namespace {

using FINDINGS = std::vector<std::string>;

void check_input(const ATOM& atom, std::size_t position, FINDINGS& findings) {
   const NET* net = atom.m_inputs[position].m_net;
   if (net == nullptr) {
      return;
   }
   if (net->m_driver == nullptr) {
      findings.push_back("nothing drives the net \"" + net->m_name + "\", which \"" + atom.m_name + "\" reads");
   }
   const auto is_this = [&](const SINK& sink) { return sink.m_atom == &atom && sink.m_input == position; };
   if (std::count_if(net->m_sinks.begin(), net->m_sinks.end(), is_this) != 1) {
      findings.push_back("the net \"" + net->m_name + "\" does not know its reader \"" + atom.m_name + "\"");
   }
}

void check_output(const ATOM& atom, const OUTPUT_TERMINAL& output, FINDINGS& findings) {
   if (output.m_net == nullptr || output.m_net->m_driver != &atom) {
      findings.push_back("an output of \"" + atom.m_name + "\" does not drive its net");
      return;
   }
   for (const SINK& sink : output.m_net->m_sinks) {
      if (sink.m_input >= sink.m_atom->m_inputs.size() || sink.terminal().m_net != output.m_net) {
         findings.push_back("the net \"" + output.m_net->m_name + "\" has a reader that does not read it");
      }
   }
}

void check_lut(const ATOM& lut, FINDINGS& findings) {
   for (int input = 0; input < LUT_INPUTS; ++input) {
      if (lut.input_net(LUT_INPUT, input) == nullptr && depends_on(lut.m_lut_mask, input)) {
         findings.push_back("the LUT \"" + lut.m_name + "\" depends on its open input " + std::to_string(input));
      }
   }
}

} // namespace

std::vector<std::string> find_inconsistencies(const NETLIST& netlist) {
   FINDINGS findings;
   for (const auto& [name, atom] : netlist.atoms()) {
      for (std::size_t position = 0; position < atom.m_inputs.size(); ++position) {
         check_input(atom, position, findings);
      }
      for (const OUTPUT_TERMINAL& output : atom.m_outputs) {
         check_output(atom, output, findings);
      }
      if (atom.m_kind == ATOM_KIND::LUT) {
         check_lut(atom, findings);
      }
   }
   try {
      evaluation_order(netlist);
   } catch (const NETLIST_ERROR& error) {
      findings.push_back(error.what());
   }
   return findings;
}

void check_consistency(const NETLIST& netlist) {
   const FINDINGS findings = find_inconsistencies(netlist);
   if (!findings.empty()) {
      throw NETLIST_ERROR(findings.front());
   }
}
