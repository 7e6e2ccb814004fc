#ifndef FOREIGN_GEN_H
#define FOREIGN_GEN_H

#include "mem_alloc_sys.h"

void gen_sprintf(MEM_STRING* out, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Project databases are in a folder of the revision's name.
MEM_STRING gen_generate_pdb_filename(MEM_STRING revision, const char* type_name, const char* directory = nullptr);

#endif
