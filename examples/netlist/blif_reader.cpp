#include "blif_reader.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <utility>

#include "lut_mask.h"

namespace {

using WORDS = std::vector<std::string>;

/// Hands out statements: lines with their continuations, split at white space, without comments.
class STATEMENTS {
public:
   explicit STATEMENTS(std::istream& stream) : m_stream(stream) {}

   /// The next statement; false at the end.
   bool next(WORDS& words) {
      words.clear();
      bool continued = true;
      while (continued && read_line()) {
         continued = m_line.ends_with('\\');
         std::istringstream pieces(continued ? m_line.substr(0, m_line.size() - 1) : m_line);
         for (std::string word; pieces >> word;) {
            words.push_back(word);
         }
         // Blank lines are skipped as if they were continued.
         continued = continued || words.empty();
      }
      return !words.empty();
   }

   int line_number() const { return m_line_number; }

private:
   bool read_line() {
      if (!std::getline(m_stream, m_line)) {
         return false;
      }
      ++m_line_number;
      m_line.resize(std::min(m_line.find('#'), m_line.size()));
      return true;
   }

   std::istream& m_stream;
   std::string m_line;
   int m_line_number = 0;
};

/// A terminal as a file spells it: "data" or "write_data[3]".
struct PIN_NAME {
   std::string m_port;
   int m_index = 0;
};

PIN_NAME split_pin_name(const std::string& text) {
   const std::size_t bracket = text.find('[');
   if (bracket == std::string::npos || text.back() != ']') {
      return {text, 0};
   }
   PIN_NAME pin{text.substr(0, bracket), 0};
   const char* end = text.data() + text.size() - 1;
   if (std::from_chars(text.data() + bracket + 1, end, pin.m_index).ptr != end) {
      throw NETLIST_ERROR("bad pin " + text);
   }
   return pin;
}

/// One product term of a LUT: the input values that it covers.
std::uint64_t term_mask(const std::string& term) {
   std::uint64_t mask = ~std::uint64_t{0};
   for (std::size_t input = 0; input < term.size(); ++input) {
      if (term[input] == '1') {
         mask &= input_mask(static_cast<int>(input));
      } else if (term[input] == '0') {
         mask &= ~input_mask(static_cast<int>(input));
      } else if (term[input] != '-') {
         throw NETLIST_ERROR("bad truth table row " + term);
      }
   }
   return mask;
}

/// Builds the netlist statement by statement.
class BLIF_READER {
public:
   NETLIST read(std::istream& stream, const std::string& name) {
      STATEMENTS statements(stream);
      try {
         WORDS words;
         while (!m_ended && statements.next(words)) {
            statement(words);
         }
         finish();
      } catch (const NETLIST_ERROR& error) {
         throw NETLIST_ERROR(name + ":" + std::to_string(statements.line_number()) + ": " + error.what());
      }
      return std::move(m_netlist);
   }

private:
   void statement(const WORDS& words) {
      if (words[0][0] != '.') {
         table_row(words);
         return;
      }
      m_lut = nullptr;
      if (words[0] == ".inputs") {
         inputs(words);
      } else if (words[0] == ".outputs") {
         outputs(words);
      } else if (words[0] == ".names") {
         names(words);
      } else if (words[0] == ".subckt") {
         finish_cell();
         m_cell = words;
      } else if (words[0] == ".cname" && words.size() == 2) {
         m_cell_name = words[1];
      } else if (words[0] == ".param" && words.size() == 3) {
         m_parameters[words[1]] = words[2];
      } else if (words[0] == ".end") {
         m_ended = true;
      } else if (words[0] != ".model") {
         throw NETLIST_ERROR("unknown statement " + words[0]);
      }
   }

   void inputs(const WORDS& words) {
      for (std::size_t word = 1; word < words.size(); ++word) {
         ATOM& pin = m_netlist.add_atom(words[word] + "~input", ATOM_KIND::INPUT_PIN);
         m_netlist.add_input(pin, PIN_PAD);
         m_netlist.add_output(pin, PIN_OUTPUT, 0, m_netlist.add_net(words[word]));
      }
   }

   void outputs(const WORDS& words) {
      for (std::size_t word = 1; word < words.size(); ++word) {
         add_input(m_netlist.add_atom(words[word] + "~output", ATOM_KIND::OUTPUT_PIN), PIN_DATA, 0, words[word]);
      }
   }

   void names(const WORDS& words) {
      finish_cell();
      if (words.size() < 2 || words.size() > 2 + LUT_INPUTS) {
         throw NETLIST_ERROR("a LUT has an output and up to " + std::to_string(LUT_INPUTS) + " inputs");
      }
      m_lut = &m_netlist.add_atom(words.back(), ATOM_KIND::LUT);
      m_table_value.clear();
      for (std::size_t word = 1; word + 1 < words.size(); ++word) {
         add_input(*m_lut, LUT_INPUT, static_cast<int>(word) - 1, words[word]);
      }
      m_netlist.add_output(*m_lut, LUT_OUTPUT, 0, m_netlist.add_net(words.back()));
   }

   /// Rows name the input values for which the output is 1, or all those for which it is 0.
   void table_row(const WORDS& words) {
      const std::string term = words.size() == 2 ? words[0] : "";
      if (m_lut == nullptr || words.size() > 2 || term.size() != m_lut->m_inputs.size() ||
          (words.back() != "0" && words.back() != "1") ||
          (!m_table_value.empty() && m_table_value != words.back())) {
         throw NETLIST_ERROR("bad truth table row " + words[0]);
      }
      if (m_table_value.empty() && words.back() == "0") {
         m_lut->m_lut_mask = ~std::uint64_t{0};
      }
      m_table_value = words.back();
      m_lut->m_lut_mask ^= term_mask(term) & (words.back() == "1" ? ~m_lut->m_lut_mask : m_lut->m_lut_mask);
   }

   /// Makes the cell of a .subckt once its .cname and .param lines have been read.
   void finish_cell() {
      if (m_cell.empty()) {
         return;
      }
      if (m_cell.size() < 2 || m_cell_name.empty()) {
         throw NETLIST_ERROR(".subckt without a cell type or a .cname");
      }
      ATOM& cell = m_netlist.add_atom(m_cell_name, cell_kind(m_cell[1]));
      for (std::size_t word = 2; word < m_cell.size(); ++word) {
         cell_pin(cell, m_cell[word]);
      }
      if (cell.m_kind == ATOM_KIND::REGISTER && cell.m_outputs.empty()) {
         throw NETLIST_ERROR("the register \"" + cell.m_name + "\" has no output");
      }
      for (const auto& [name, value] : m_parameters) {
         if (name != "CONTENTS") {
            throw NETLIST_ERROR("unknown parameter " + name);
         }
         cell.m_attributes["contents"] = value;
      }
      m_cell.clear();
      m_cell_name.clear();
      m_parameters.clear();
   }

   static ATOM_KIND cell_kind(const std::string& type) {
      if (type == "REGISTER") {
         return ATOM_KIND::REGISTER;
      }
      if (type == "RAM") {
         return ATOM_KIND::RAM;
      }
      if (type == "MULTIPLIER") {
         return ATOM_KIND::MULTIPLIER;
      }
      throw NETLIST_ERROR("unknown cell type " + type);
   }

   void cell_pin(ATOM& cell, const std::string& word) {
      const std::size_t equals = word.find('=');
      if (equals == std::string::npos) {
         throw NETLIST_ERROR("bad pin " + word);
      }
      const PIN_NAME pin = split_pin_name(word.substr(0, equals));
      const PORT* port = find_port(cell.m_kind, pin.m_port);
      if (port == nullptr) {
         throw NETLIST_ERROR("a " + std::string(kind_name(cell.m_kind)) + " has no pin " + word);
      }
      const std::string net = word.substr(equals + 1);
      if (port->m_is_output) {
         m_netlist.add_output(cell, port->m_type, pin.m_index, m_netlist.add_net(net));
      } else {
         add_input(cell, port->m_type, pin.m_index, net);
      }
   }

   void add_input(ATOM& atom, int type, int index, const std::string& net) {
      m_netlist.add_input(atom, type, index);
      m_netlist.connect(atom, type, index, &m_netlist.add_net(net));
   }

   void finish() {
      finish_cell();
      if (!m_ended) {
         throw NETLIST_ERROR("the file ends without .end");
      }
      for (const auto& [name, atom] : m_netlist.atoms()) {
         for (const INPUT_TERMINAL& input : atom.m_inputs) {
            if (input.m_net != nullptr && input.m_net->m_driver == nullptr) {
               throw NETLIST_ERROR("nothing drives the net \"" + input.m_net->m_name + "\", which \"" + name +
                                   "\" reads");
            }
         }
      }
   }

   NETLIST m_netlist;
   ATOM* m_lut = nullptr;     ///< whose rows are being read
   std::string m_table_value; ///< "0" or "1" once a row was read
   WORDS m_cell;              ///< the .subckt that waits for its name
   std::string m_cell_name;
   std::map<std::string, std::string> m_parameters;
   bool m_ended = false;
};

} // namespace

NETLIST read_blif_file(const std::string& file_name) {
   std::ifstream stream(file_name);
   if (!stream) {
      throw NETLIST_ERROR("cannot read the netlist " + file_name);
   }
   return read_blif(stream, file_name);
}

NETLIST read_blif(std::istream& stream, const std::string& name) {
   return BLIF_READER().read(stream, name);
}
