#ifndef NETLIST_H
#define NETLIST_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "netlist_error.h"
#include "ports.h"

/// \file
/// A netlist after mapping: atoms (LUTs, registers, RAMs, multipliers, pins, clock buffers) whose terminals
/// are connected by nets. Names are full hierarchical names, their levels separated by "|".

struct ATOM;
struct NET;

/// An input of an atom.
struct INPUT_TERMINAL {
   int m_type = 0;
   int m_index = 0;
   NET* m_net = nullptr; ///< null: open
   bool m_inverted = false;
   std::map<std::string, int> m_properties; ///< what a stage noted about it, by name
};

/// An output of an atom.
struct OUTPUT_TERMINAL {
   int m_type = 0;
   int m_index = 0;
   NET* m_net = nullptr;
};

/// A cell or a pin.
struct ATOM {
   std::string m_name;
   ATOM_KIND m_kind = ATOM_KIND::LUT;

   /// The function of a LUT: bit i is the output for the input value i, input 0 being bit 0 of it. It has all
   /// 64 bits whatever the number of inputs, and does not depend on those that are missing or open.
   std::uint64_t m_lut_mask = 0;

   std::vector<INPUT_TERMINAL> m_inputs;
   std::vector<OUTPUT_TERMINAL> m_outputs;
   std::string m_modelled_on;                       ///< the atom that this one is a duplicate of, or empty
   std::map<std::string, std::string> m_attributes; ///< by name: "contents" of a RAM, and what stages note

   const INPUT_TERMINAL* find_input(int type, int index = 0) const;
   INPUT_TERMINAL* find_input(int type, int index = 0);
   const OUTPUT_TERMINAL* find_output(int type, int index = 0) const;

   /// The net at an input; null when the input does not exist or is open.
   NET* input_net(int type, int index = 0) const;

   /// The net that a LUT, a register, an input pin or a buffer drives: its only output's. Null for others.
   NET* output_net() const;
};

/// Who reads a net.
struct SINK {
   ATOM* m_atom = nullptr;
   std::size_t m_input = 0; ///< position in m_inputs

   INPUT_TERMINAL& terminal() const { return m_atom->m_inputs[m_input]; }
};

/// A signal: at most one driver, any number of sinks.
struct NET {
   std::string m_name;
   std::size_t m_number = 0; ///< how many nets were made before it: a place in tables
   ATOM* m_driver = nullptr;
   std::vector<SINK> m_sinks;
};

/// Owns atoms and nets; pointers to them stay good until they are removed. All names are unique in their
/// list. What cannot be done is thrown as a NETLIST_ERROR, and then nothing has changed.
class NETLIST {
public:
   using ATOMS = std::map<std::string, ATOM, std::less<>>;

   NETLIST() = default;
   NETLIST(NETLIST&&) = default;
   NETLIST& operator=(NETLIST&&) = default;

   /// \name Looking
   /// @{
   const ATOMS& atoms() const { return m_atoms; }
   ATOMS& atoms() { return m_atoms; }
   ATOM* find_atom(std::string_view name);
   const ATOM* find_atom(std::string_view name) const;
   NET* find_net(std::string_view name);

   /// One more than the largest number of a net.
   std::size_t net_numbers() const { return m_net_numbers; }

   /// As above, but an unknown name is an error.
   ATOM& atom(std::string_view name);
   NET& net(std::string_view name);

   /// An input of an atom; an error when there is none.
   INPUT_TERMINAL& input(ATOM& atom, int type, int index);
   /// @}

   /// \name Changing
   /// @{

   /// Makes an atom without terminals.
   ATOM& add_atom(std::string_view name, ATOM_KIND kind);

   /// Makes a net unless it exists.
   NET& add_net(std::string_view name);

   /// Adds an open input terminal; its index is the next of its type unless one is given.
   void add_input(ATOM& atom, int type);
   void add_input(ATOM& atom, int type, int index);

   /// Adds an output terminal that drives a net, which must not have a driver.
   void add_output(ATOM& atom, int type, int index, NET& net);

   /// Connects an input to a net; null opens it. What it was connected to before, it leaves.
   void connect(ATOM& atom, int type, int index, NET* net);

   /// Removes atoms together. No atom that stays may read a net that they drive.
   void remove_atoms(const std::vector<std::string>& names);
   /// @}

private:
   void disconnect(ATOM& atom, std::size_t input);

   ATOMS m_atoms;
   std::map<std::string, NET, std::less<>> m_nets;
   std::size_t m_net_numbers = 0;
};

#endif
