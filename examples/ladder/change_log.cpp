// Physical synthesis logs each change of the netlist as it makes it.

#include "logdb_fsyn_log_file.h"

int main() {
   LOGDB_FSYN_LOG_FILE log;
   log.set_file_name("top.fsyn");
   log.delete_file(); // a log is appended to, so an old one goes first
   log.init(true);

   LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM atom;
   atom.m_node_name = "top|u1|q~duplicate";
   atom.m_related_name = "top|u1|q";
   log.write_fsyn_log_entry(&atom);

   LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK mask;
   mask.m_node_name = "top|u1|d~0";
   mask.m_lut_mask = 0x8000800080008000; // four inputs, all of them 1
   log.write_fsyn_log_entry(&mask);

   LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB connection;
   connection.m_node_name = "top|u1|d~0";
   connection.m_port_sources[2] = "top|u1|q~duplicate"; // the other ten inputs stay as they are
   log.write_fsyn_log_entry(&connection);

   LOGDB_FSYN_LOG_ENTRY_END_OF_LOG end;
   log.write_fsyn_log_entry(&end); // every record is in the file when its call returns
}
