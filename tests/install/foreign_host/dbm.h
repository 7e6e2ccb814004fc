#ifndef FOREIGN_DBM_H
#define FOREIGN_DBM_H

// Constants, not variables.
inline constexpr char DBM_TYPE_MAP[] = "mapped";
inline constexpr char DBM_TYPE_CMP[] = "compiled";
inline constexpr char DBM_TYPE_MAP_BB[] = "mapped-boxes";
inline constexpr char DBM_TYPE_CMP_BB[] = "compiled-boxes";

#endif
