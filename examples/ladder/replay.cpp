// A later run reads the log record by record and makes the changes again.

#include <cstdio>
#include <memory>

#include "logdb_fsyn_log_file.h"

namespace {

// Where a real stage changes its netlist, this one says what it would do. False at the end of the log.
bool repeat(const LOGDB_FSYN_LOG_ENTRY& entry) {
   switch (entry.m_type) {
   case INSERT_ATOM: {
      const auto& atom = static_cast<const LOGDB_FSYN_LOG_ENTRY_INSERT_ATOM&>(entry);
      std::printf("insert %s, modelled on %s\n", atom.m_node_name.c_str(), atom.m_related_name.c_str());
      return true;
   }
   case SET_LUTMASK: {
      const auto& mask = static_cast<const LOGDB_FSYN_LOG_ENTRY_SET_LUTMASK&>(entry);
      std::printf("give %s the function %lx\n", mask.m_node_name.c_str(), mask.m_lut_mask);
      return true;
   }
   case ADD_REMOVE_CONNECTION_LCELL_COMB: {
      const auto& connection = static_cast<const LOGDB_FSYN_LOG_ENTRY_ADD_REMOVE_CONNECTION_LCELL_COMB&>(entry);
      for (std::size_t slot = 0; slot < connection.m_port_sources.size(); ++slot) {
         if (connection.m_port_sources[slot] != "UNCHANGED") {
            std::printf("connect input %zu of %s to %s\n", slot, connection.m_node_name.c_str(),
                        connection.m_port_sources[slot].c_str());
         }
      }
      return true;
   }
   case END_OF_LOG:
      return false;
   default:
      std::printf("%s: a change that this stage does not know\n", entry.m_node_name.c_str());
      return true;
   }
}

} // namespace

int main() {
   LOGDB_FSYN_LOG_FILE log;
   log.set_file_name("top.fsyn");
   bool goes_on = true;
   while (goes_on) {
      const std::unique_ptr<LOGDB_FSYN_LOG_ENTRY> entry(log.read_fsyn_log_entry());
      goes_on = entry != nullptr && repeat(*entry);
   }
}
