#ifndef LOGDB_FSYN_LOG_ENTRY_H
#define LOGDB_FSYN_LOG_ENTRY_H

#include "db_types.h"
#include "logdb_export.h"
#include "mem_alloc_sys.h"

/// \file
/// The records of the physical-synthesis log: one class per kind of netlist change.
///
/// A record is plain data. The stage that changes the netlist makes one, fills its members and hands it to
/// LOGDB_FSYN_LOG_FILE::write_fsyn_log_entry; LOGDB_FSYN_LOG_FILE::read_fsyn_log_entry makes the same record
/// again from the file, and a later run repeats the change. The library stores and writes what the members
/// hold and never asks what it means.
///
///     LOGDB_FSYN_LOG_ENTRY_SET_INVERT record;
///     record.m_node_name = "top|u1|q";
///     record.m_port_type = 11;
///     record.m_port_index = 0;
///     log.write_fsyn_log_entry(&record);
///
/// Records on the heap are made with `new (0) CLASS` and deleted through the base class; read_fsyn_log_entry
/// and clone() hand theirs to the caller in this way. Members that nobody sets are 0 or empty, except where a
/// class says otherwise.
///
/// What the text carries:
/// - Every name must be at least one byte long and free of white space and zero bytes. The writer does not
///   check; the reader takes an empty name, or the rest of a name after a blank, from the words that follow, and
///   is out of step from there to the next keyword.
/// - Numbers are decimal. A flag is one byte, written as 0 to 255; it reads back as 0 or 1.
/// - A line has at most 4095 characters; what is beyond is cut off.
/// - m_tag, and the members that say so, are not written. They read back as 0.
///
/// Port types are codes of the host's netlist, in records about inputs a DB_INPUT_PORT_TYPE and in records about
/// outputs a DB_OUTPUT_PORT_TYPE; the index counts the terminals of one type. Together they name one terminal
/// of the atom m_node_name.

/// The kinds of record. The value is a record's tag in memory, and programs compare it; files carry keywords. 4
/// and 5 belong to no kind and stay unused.
enum LOGDB_FSYN_LOG_ENTRY_TYPE : int {
   PRE_PLACEMENT_FLOW = 0,
   POST_PLACEMENT_FLOW = 1,
   INSERT_ATOM = 2,
   DELETE_ATOM = 3,
   CREATE_ITERM = 6,
   CREATE_OTERM = 7,
   SET_LUTMASK = 8,
   SET_USAGE_AS = 9,
   RESET_DELAY_CHAIN = 10,
   SET_CONNECTED_TO_DELAY_CHAIN = 11,
   SET_DELAY_CHAIN_INDEX = 12,
   SET_USER_DELAY_CHAIN = 13,
   CLEAR_INVERT = 14,
   SET_INVERT = 15,
   SET_GLOBAL = 16,
   CLEAR_GLOBAL = 17,
   CLEAR_USAGE_AS = 18,
   REPLACE_INPUT_TERM_BY_TYPE = 19,
   REPLACE_OUTPUT_TERM_BY_TYPE = 20,
   REMOVE_UNORDERED_FANOUT_TERM = 21,
   SET_INSTANCE_NAME = 22,
   MOVE_BOUNDARY_PORT_ID = 23,
   SET_BOUNDARY_PORT_ID = 24,
   DISCONNECT_BOUNDARY_PORT_ID = 25,
   SET_ITERM_PROPERTIES = 26,
   STORE_NODE_INFO = 27,
   ADD_REMOVE_CONNECTION_LCELL_COMB = 28,
   ADD_REMOVE_CONNECTION_LCELL_FF = 29,
   ADD_REMOVE_CONNECTION_IO = 30,
   ADD_REMOVE_CONNECTION_RAM = 31,
   SET_OUTPUT_PORT_CLOCK = 32,
   SET_OUTPUT_PORT_CLEAR = 33,
   SET_INPUT_PORT_CLOCK = 34,
   SET_INPUT_PORT_CLEAR = 35,
   SET_INPUT_PORT_WIDTH = 36,
   CLEAR_ATOM_CONSTRAINTS = 37,
   COPY_ATOM_LOCATION_CONSTRAINTS = 38,
   COPY_OTERM_TIMING_ASSIGNMENTS = 39,
   SET_USER_LCELL = 40,
   SET_INVERT_OBSERVABLE = 41,
   END_OF_LOG_PRINT = 42,
   REVISION_NUMBER = 43,
   CONFIRM_CLKBUF = 44,
   END_OF_LOG = 45,
};

/// What every record has. Abstract.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY {
public:
   virtual ~LOGDB_FSYN_LOG_ENTRY();

   /// A new record of the same class, which shares nothing with this one; null when there is no memory. The
   /// caller owns it. It is equal to this one, except where a class says otherwise.
   virtual LOGDB_FSYN_LOG_ENTRY* clone() const = 0;

   LOGDB_FSYN_LOG_ENTRY_TYPE m_type = LOGDB_FSYN_LOG_ENTRY_TYPE(0); ///< the kind; each class sets its own
   unsigned int m_tag = 0;                                          ///< the caller's; not written
   MEM_STRING m_node_name;                                          ///< the atom, terminal owner or port

protected:
   LOGDB_FSYN_LOG_ENTRY() = default;
   LOGDB_FSYN_LOG_ENTRY(const LOGDB_FSYN_LOG_ENTRY&) = default;
   LOGDB_FSYN_LOG_ENTRY& operator=(const LOGDB_FSYN_LOG_ENTRY&) = default;
};

/// What the records that rewire inputs have. Abstract.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION : public LOGDB_FSYN_LOG_ENTRY {
public:
   ~LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION() override;

   /// One slot per input of the cell, by input index: the name that the input is to be connected to, or
   /// "UNCHANGED" for an input that keeps its connection. The word is compared byte by byte.
   MEM_VECTOR<MEM_STRING> m_port_sources;

protected:
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION() = default;
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION&) = default;
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION&
   operator=(const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION&) = default;
};

/// Marks where the changes made before placement begin. The text has the keyword alone. m_node_name is
/// "DUMMY_NAME" from the start and is not written; a copy is a fresh record.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW();
   ~LOGDB_FSYN_LOG_ENTRY_PRE_PLACEMENT_FLOW() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// Marks where the changes made after placement begin. The text has the keyword alone. m_node_name is
/// "DUMMY_NAME" from the start and is not written; a copy is a fresh record.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_POST_PLACEMENT_FLOW : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_POST_PLACEMENT_FLOW();
   ~LOGDB_FSYN_LOG_ENTRY_POST_PLACEMENT_FLOW() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// A new atom without connections.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM();
   ~LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_STRING m_related_name;     ///< another atom; what it is to the new one is the host's
   unsigned char m_atom_kind = 0; ///< what kind of atom; a flag in the text
};

/// An atom is deleted, and others with it.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM();
   ~LOGDB_FSYN_LOG_ENTRY_DELETE_ATOM() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_VECTOR<MEM_STRING> m_deleted_names; ///< the others; none may be END_OF_DELETE_ATOM
   int m_delete_extra = 0;                 ///< the caller's; not written
};

/// An atom gets an input terminal.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM();
   ~LOGDB_FSYN_LOG_ENTRY_CREATE_ITERM() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type; not written
};

/// An atom gets an output terminal.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM();
   ~LOGDB_FSYN_LOG_ENTRY_CREATE_OTERM() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_STRING m_related_name; ///< another name; what it is to the terminal is the host's
   int m_port_type = 0;       ///< what the terminal is for
};

/// A LUT gets a new function.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK();
   ~LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_lut_mode = 0;              ///< 0 normal, 1 sum, any other carry; carry reads back as 2
   unsigned long m_lut_mask = 0;    ///< the truth table, bit i for the input value i
   unsigned char m_mask_option = 0; ///< a flag
};

/// An input terminal is put to a use.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS();
   ~LOGDB_FSYN_LOG_ENTRY_SET_USAGE_AS() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   int m_value = 0;                 ///< the use
};

/// The delay chain of a terminal goes back to its default.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN();
   ~LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   int m_chain_type = 0;            ///< DB_PAD_TO_CORE; any other value is written and then reported
};

/// A terminal is connected to its delay chain, or taken off it.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN();
   ~LOGDB_FSYN_LOG_ENTRY_SET_CONNECTED_TO_DELAY_CHAIN() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   int m_chain_type = 0;            ///< DB_PAD_TO_CORE; any other value is written and then reported
   unsigned char m_connected = 0;   ///< a flag: whether it is connected
};

/// The delay chain of a terminal is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX();
   ~LOGDB_FSYN_LOG_ENTRY_SET_DELAY_CHAIN_INDEX() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   int m_chain_type = 0;            ///< DB_PAD_TO_CORE; any other value is written and then reported
   int m_chain_index = 0;           ///< the setting
};

/// The delay chain of a terminal is marked as set by the user, or not.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN();
   ~LOGDB_FSYN_LOG_ENTRY_SET_USER_DELAY_CHAIN() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;                  ///< what the terminal is for
   unsigned short m_port_index = 0;      ///< which of the terminals of that type
   int m_chain_type = 0;                 ///< DB_PAD_TO_CORE; any other value is written and then reported
   unsigned char m_user_delay_chain = 0; ///< a flag: whether the user set it
};

/// An input terminal no longer inverts.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT();
   ~LOGDB_FSYN_LOG_ENTRY_CLEAR_INVERT() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// An input terminal inverts.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_INVERT : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_INVERT();
   ~LOGDB_FSYN_LOG_ENTRY_SET_INVERT() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// An input terminal is fed by a global signal.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL();
   ~LOGDB_FSYN_LOG_ENTRY_SET_GLOBAL() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   int m_value = 0;                 ///< the host's
};

/// An input terminal is no longer fed by a global signal.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CLEAR_GLOBAL : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CLEAR_GLOBAL();
   ~LOGDB_FSYN_LOG_ENTRY_CLEAR_GLOBAL() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// A use of an input terminal ends.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CLEAR_USAGE_AS : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CLEAR_USAGE_AS();
   ~LOGDB_FSYN_LOG_ENTRY_CLEAR_USAGE_AS() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// An input terminal is replaced, by its type.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE();
   ~LOGDB_FSYN_LOG_ENTRY_REPLACE_INPUT_TERM_BY_TYPE() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// The output terminal of an atom is replaced by one of another type.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE();
   ~LOGDB_FSYN_LOG_ENTRY_REPLACE_OUTPUT_TERM_BY_TYPE() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0; ///< the new type
};

/// A terminal is taken off the fan-out of its net.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM();
   ~LOGDB_FSYN_LOG_ENTRY_REMOVE_UNORDERED_FANOUT_TERM() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// An atom gets an instance name.
///
/// Writing one stops the process with a trap after its second line, on a log that is enabled: no log holds
/// the name. The reader takes the name as the last word.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME();
   ~LOGDB_FSYN_LOG_ENTRY_SET_INSTANCE_NAME() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_value = 0;            ///< what the name is for
   MEM_STRING m_instance_name; ///< the name
};

/// A boundary port id moves to another port.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID();
   ~LOGDB_FSYN_LOG_ENTRY_MOVE_BOUNDARY_PORT_ID() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_STRING m_source_port_id; ///< the id that it had
   MEM_STRING m_target_port_id; ///< the id that it gets
};

/// A terminal gets a boundary port id.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID();
   ~LOGDB_FSYN_LOG_ENTRY_SET_BOUNDARY_PORT_ID() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   MEM_STRING m_boundary_port_id;   ///< the id
};

/// A terminal loses its boundary port ids.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_DISCONNECT_BOUNDARY_PORT_ID : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_DISCONNECT_BOUNDARY_PORT_ID();
   ~LOGDB_FSYN_LOG_ENTRY_DISCONNECT_BOUNDARY_PORT_ID() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
};

/// An input terminal gets new properties, all six at once.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES();
   ~LOGDB_FSYN_LOG_ENTRY_SET_ITERM_PROPERTIES() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;             ///< what the terminal is for
   unsigned short m_port_index = 0; ///< which of the terminals of that type
   unsigned char m_property1 = 0;   ///< a flag
   int m_property2 = 0;
   unsigned char m_property3 = 0; ///< a flag
   unsigned char m_property4 = 0; ///< a flag
   int m_property5 = 0;
   unsigned char m_property6 = 0; ///< a flag
};

/// What an atom looked like, before it is changed for good.
///
/// The two input lists are parallel, and the two output lists: entry i of each describes terminal i. The
/// lists of types say how many there are; a missing name is written as an empty one. clone() copies all of
/// them.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO();
   ~LOGDB_FSYN_LOG_ENTRY_STORE_NODE_INFO() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_VECTOR<DB_INPUT_PORT_TYPE> m_input_port_types;
   MEM_VECTOR<MEM_STRING> m_input_port_names; ///< the nets of the inputs
   unsigned long m_lut_mask = 0;              ///< the truth table of a LUT
   MEM_VECTOR<DB_OUTPUT_PORT_TYPE> m_output_port_types;
   MEM_VECTOR<MEM_STRING> m_output_port_names; ///< the nets of the outputs
   int m_node_type = 0;                        ///< what kind of atom
};

/// Inputs of a combinational cell are rewired: 11 slots, "UNCHANGED" from the start. A copy has 11 slots or
/// as many as this record, if these are more. A record that is read has 11; an index outside them is
/// ignored, with its name.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB
    : public LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION {
public:
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB();
   ~LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// Inputs of a register are rewired: as for a combinational cell, with 9 slots.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF
    : public LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION {
public:
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF();
   ~LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_FF() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// Inputs of an I/O cell are rewired: as for a combinational cell, with 16 slots.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO
    : public LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION {
public:
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO();
   ~LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_IO() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// Inputs of a RAM are rewired. m_port_sources stays empty; the three lists are parallel instead, the names
/// saying how many there are, and "UNCHANGED" is a name like any other. A missing type or index is written
/// as 0.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM
    : public LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION {
public:
   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM();
   ~LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_RAM() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_VECTOR<MEM_STRING> m_ram_source_names;       ///< the name that an input is to be connected to
   MEM_VECTOR<DB_INPUT_PORT_TYPE> m_ram_port_types; ///< its port type
   MEM_VECTOR<unsigned short> m_ram_port_indices;   ///< its index among the ports of that type
};

/// The clock of an output port of a RAM is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK();
   ~LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLOCK() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;    ///< the port
   int m_port_setting = 0; ///< the clock
};

/// The clear of an output port of a RAM is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLEAR : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLEAR();
   ~LOGDB_FSYN_LOG_ENTRY_SET_OUTPUT_PORT_CLEAR() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;    ///< the port
   int m_port_setting = 0; ///< the clear
};

/// The clock of an input port of a RAM is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK();
   ~LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLOCK() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;    ///< the port
   int m_port_setting = 0; ///< the clock
};

/// The clear of an input port of a RAM is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLEAR : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLEAR();
   ~LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_CLEAR() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;    ///< the port
   int m_port_setting = 0; ///< the clear
};

/// The width of an input port of a RAM is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH();
   ~LOGDB_FSYN_LOG_ENTRY_SET_INPUT_PORT_WIDTH() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_port_type = 0;    ///< the port
   int m_port_setting = 0; ///< the width
};

/// An atom loses its constraints.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CLEAR_ATOM_CONSTRAINTS : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CLEAR_ATOM_CONSTRAINTS();
   ~LOGDB_FSYN_LOG_ENTRY_CLEAR_ATOM_CONSTRAINTS() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// An atom gets the location constraints of another.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS();
   ~LOGDB_FSYN_LOG_ENTRY_COPY_ATOM_LOCATION_CONSTRAINTS() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_copy_extra = 0;         ///< the caller's; not written
   MEM_STRING m_other_atom_name; ///< the other
};

/// An output terminal gets the timing assignments of another.
///
/// clone() takes the kind and the two terminal names only: the copy has an empty m_node_name and m_tag 0.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS();
   ~LOGDB_FSYN_LOG_ENTRY_COPY_OTERM_TIMING_ASSIGNMENTS() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_STRING m_first_oterm_name;  ///< the terminal that has them
   MEM_STRING m_second_oterm_name; ///< the terminal that gets them
};

/// An atom is marked as one that the user asked for.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL();
   ~LOGDB_FSYN_LOG_ENTRY_SET_USER_LCELL() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// Whether an inversion may be seen from outside is set.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE();
   ~LOGDB_FSYN_LOG_ENTRY_SET_INVERT_OBSERVABLE() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   int m_value = 0; ///< the setting
};

/// Marks the end of what is worth printing. The text has the keyword alone. m_node_name is "DUMMY_NAME"
/// from the start and is not written; a copy is a fresh record.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT();
   ~LOGDB_FSYN_LOG_ENTRY_END_OF_LOG_PRINT() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// The line that names the revision of the log, by custom the first. The text has the keyword alone.
/// m_node_name is "DUMMY_NAME" from the start and is not written; a copy is a fresh record.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER();
   ~LOGDB_FSYN_LOG_ENTRY_REVISION_NUMBER() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

/// A clock buffer is put in.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF();
   ~LOGDB_FSYN_LOG_ENTRY_CONFIRM_CLKBUF() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;

   MEM_STRING m_clkbuf_first_name;  ///< third in the text
   MEM_STRING m_clkbuf_second_name; ///< second in the text
   /// The enable; empty for none. That is NO_ENABLE in the text, so an enable of that name reads back empty.
   MEM_STRING m_enable_name;
   int m_value = 0; ///< the host's
};

/// Marks the end of the log. The reader goes on after it; who replays a log stops here. The text has the
/// keyword alone. m_node_name is "DUMMY_NAME" from the start and is not written; a copy is a fresh record.
class LOGDB_EXPORT LOGDB_FSYN_LOG_ENTRY_END_OF_LOG : public LOGDB_FSYN_LOG_ENTRY {
public:
   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG();
   ~LOGDB_FSYN_LOG_ENTRY_END_OF_LOG() override;
   LOGDB_FSYN_LOG_ENTRY* clone() const override;
};

#endif
