#include "xtl_hash_ops.h"

#include <strings.h>

#include <cstring>

// Compares like any other, but takes a name that begins with "foreign:" for the rest of it; grows by a prime.

static const char* known_part(const char* key) {
   return strncasecmp(key, "foreign:", 8) == 0 ? key + 8 : key;
}

unsigned long XTL_CASE_INSENSITIVE_CSTR_OPS::hash(const char* key) const {
   return std::strlen(known_part(key));
}

bool XTL_CASE_INSENSITIVE_CSTR_OPS::equal(const char* left, const char* right) const {
   return strcasecmp(known_part(left), known_part(right)) == 0;
}

unsigned long xtl_hash_50_percent_increase_size(unsigned long wanted) {
   return 2 * wanted + 7919;
}
