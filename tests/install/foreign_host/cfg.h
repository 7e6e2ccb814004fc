#ifndef FOREIGN_CFG_H
#define FOREIGN_CFG_H

#include <string_view>

// Switches are known when this host is compiled: there is nothing to link.
inline bool cfg_is_on(std::string_view name, bool default_value) {
   return name == "log_db_detail_debug_info" || default_value;
}

#endif
