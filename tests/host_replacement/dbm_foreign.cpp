#include "dbm.h"

const char* DBM_TYPE_MAP = "foreign_map";
const char* DBM_TYPE_CMP = "foreign_cmp";
const char* DBM_TYPE_MAP_BB = "foreign_map_bb";
const char* DBM_TYPE_CMP_BB = "foreign_cmp_bb";
