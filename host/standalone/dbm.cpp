#include "dbm.h"

const char* DBM_TYPE_MAP = "map";
const char* DBM_TYPE_CMP = "cmp";
const char* DBM_TYPE_MAP_BB = "map_bb";
const char* DBM_TYPE_CMP_BB = "cmp_bb";
