#ifndef HOST_DBM_H
#define HOST_DBM_H

/// Names of the toolset's project database types, as they appear in file names. The library reads a variable
/// each time that it needs the name, so a host may set them while it starts; the texts stay the host's.
/// @{
extern const char* DBM_TYPE_MAP;    ///< after mapping
extern const char* DBM_TYPE_CMP;    ///< after the whole compilation
extern const char* DBM_TYPE_MAP_BB; ///< after mapping, with partitions as black boxes
extern const char* DBM_TYPE_CMP_BB; ///< after the whole compilation, with partitions as black boxes
/// @}

#endif
