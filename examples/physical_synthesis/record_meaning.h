#ifndef RECORD_MEANING_H
#define RECORD_MEANING_H

#include "logdb_fsyn_log_entry.h"
#include "netlist.h"

/// \file
/// What the records of the physical-synthesis log mean to this stage. The library stores records and never
/// asks; the stage that writes a log and the stage that replays it must agree, and here they share one
/// function.
///
/// | record                              | what it does to the netlist                                           |
/// |-------------------------------------|-----------------------------------------------------------------------|
/// | markers, STORE_NODE_INFO            | nothing                                                               |
/// | INSERT_ATOM                         | a register without terminals, a duplicate of the related atom         |
/// | CREATE_ITERM                        | an open input, the next of its type                                   |
/// | CREATE_OTERM                        | an output that drives a new net                                       |
/// | DELETE_ATOM                         | removes the atom and those listed, all at once                        |
/// | ADD_REMOVE_CONNECTION_*             | connects inputs to nets; DISCONNECTED opens one. Slots are the inputs |
/// |                                     | of a LUT; data, clock, enable, clear of a register; an output pin's   |
/// | SET_LUTMASK                         | the function of a LUT                                                 |
/// | SET_INVERT, CLEAR_INVERT            | whether an input inverts                                              |
/// | REPLACE_INPUT_TERM_BY_TYPE          | opens an input and takes everything off it                            |
/// | REMOVE_UNORDERED_FANOUT_TERM        | opens an input                                                        |
/// | CONFIRM_CLKBUF                      | a clock buffer; its value says which inputs move behind it            |
/// | SET_GLOBAL, SET_USAGE_AS,           | notes on an input                                                     |
/// | SET_DELAY_CHAIN_INDEX,              |                                                                       |
/// | SET_CONNECTED_TO_DELAY_CHAIN        |                                                                       |
/// | SET_INPUT_PORT_WIDTH,               | notes on a RAM                                                        |
/// | SET_INPUT_PORT_CLOCK,               |                                                                       |
/// | SET_OUTPUT_PORT_CLOCK               |                                                                       |
/// | COPY_ATOM_LOCATION_CONSTRAINTS,     | notes on a duplicate                                                  |
/// | COPY_OTERM_TIMING_ASSIGNMENTS       |                                                                       |

/// Stands for a net in a connection record: the input is opened. No net can have this name, since each begins
/// with the name of the top.
inline constexpr const char* DISCONNECTED = "DISCONNECTED";

/// What INSERT_ATOM makes, in m_atom_kind.
inline constexpr unsigned char INSERTED_REGISTER = 1;

/// Which inputs on the buffered net CONFIRM_CLKBUF moves behind the buffer, in m_value.
enum BUFFER_MOVES : int { MOVES_CLOCKS = 1, MOVES_CLEARS = 2, MOVES_NOTHING = 4 };

/// Does to a netlist what a record says.
///
/// \throw NETLIST_ERROR  the record does not fit the netlist, or is of a kind that this stage does not write
void apply_record(const LOGDB_FSYN_LOG_ENTRY& record, NETLIST& netlist);

/// Whether a record waits for another to complete the change: a new function or inversion makes sense only
/// together with the new connections, which follow in an ADD_REMOVE_CONNECTION record of the same atom. A
/// netlist is as good as the original after each record that leaves nothing waiting.
bool waits_for_connections(const LOGDB_FSYN_LOG_ENTRY& record);

/// Whether a record is an ADD_REMOVE_CONNECTION.
bool is_connection(const LOGDB_FSYN_LOG_ENTRY& record);

/// The name of a kind that this stage writes, for people.
const char* record_kind_name(LOGDB_FSYN_LOG_ENTRY_TYPE kind);

/// The inputs that the slots of a connection record stand for, as types and indices.
struct SLOT {
   int m_type = 0;
   int m_index = 0;
};

/// \throw NETLIST_ERROR  the atom's kind has no such slot
SLOT input_of_slot(const ATOM& atom, std::size_t slot);

/// The slot of an input, the other way round.
std::size_t slot_of_input(const ATOM& atom, int type, int index);

#endif
