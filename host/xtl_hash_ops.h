#ifndef HOST_XTL_HASH_OPS_H
#define HOST_XTL_HASH_OPS_H

/// Key operations of a hash whose keys are zero-terminated strings, upper and lower case being the same. Only
/// the ASCII letters have case; every other byte stands for itself, in any locale.
class XTL_CASE_INSENSITIVE_CSTR_OPS {
public:
   /// A hash value of the whole string: equal for any two strings that equal() finds equal.
   unsigned long hash(const char* key) const;

   /// Whether two whole strings are equal but for the case of letters.
   bool equal(const char* left, const char* right) const;
};

/// The bucket count of a hash that grows.
///
/// \param wanted  the count that the elements call for
/// \return a count about half as large again, never 0
unsigned long xtl_hash_50_percent_increase_size(unsigned long wanted);

#endif
