#ifndef HOST_CFG_H
#define HOST_CFG_H

/// Tells whether a configuration switch of the toolset is on.
///
/// \param name           the switch, for example "log_db_detail_debug_info"; upper and lower case differ
/// \param default_value  the answer for a switch that nobody has set
bool cfg_is_on(const char* name, bool default_value);

#endif
