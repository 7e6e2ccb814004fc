#ifndef FOREIGN_XTL_HASH_OPS_H
#define FOREIGN_XTL_HASH_OPS_H

#include <strings.h>

// All in the header; the first letter is hash enough for short tables.
struct XTL_CASE_INSENSITIVE_CSTR_OPS {
   unsigned long hash(const char* key) const { return static_cast<unsigned char>(*key | 0x20); }
   bool equal(const char* left, const char* right) const { return strcasecmp(left, right) == 0; }
};

inline unsigned long xtl_hash_50_percent_increase_size(unsigned long wanted) {
   return wanted + wanted / 2 + 1;
}

#endif
