#ifndef FOREIGN_DB_TYPES_H
#define FOREIGN_DB_TYPES_H

// This host names the values of its netlist.
enum DB_INPUT_PORT_TYPE : int { DB_DATA_A, DB_DATA_B, DB_CLOCK = 11 };
enum DB_OUTPUT_PORT_TYPE : int { DB_COMBINATIONAL_OUT, DB_REGISTERED_OUT };
enum DB_DELAY_CHAIN_TYPE : int { DB_PAD_TO_REGISTER = 3, DB_PAD_TO_CORE = 8, DB_CORE_TO_PAD = 12 };

#endif
