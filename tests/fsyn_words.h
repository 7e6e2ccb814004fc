#ifndef FSYN_WORDS_H
#define FSYN_WORDS_H

#include <string>
#include <vector>

#include "fsyn_samples.h"

/// The words that the reader of physical-synthesis logs has a meaning for, and numbers at the ends of their ranges:
/// what texts are made of that come close to a log.
inline const std::vector<std::string>& fsyn_words() {
   static const std::vector<std::string> words = [] {
      std::vector<std::string> all = {"END_OF_DELETE_ATOM",
                                      "End_of_ADD_REMOVE_Connection",
                                      "Port",
                                      "Output",
                                      "LUTMASK",
                                      "NORMAL",
                                      "SUM",
                                      "CARRY",
                                      "NO_ENABLE",
                                      "UNCHANGED",
                                      "LOGDB_FSYN_EOF",
                                      "n",
                                      "0",
                                      "1",
                                      "8",
                                      "-1",
                                      "15",
                                      "ffffffff",
                                      "0x1f",
                                      "70000",
                                      "99999999999999999999"};
      for (int kind = 0; kind <= 45; ++kind) {
         // Two numbers are no kinds.
         if (kind != 4 && kind != 5) {
            all.push_back(fsyn_keyword(kind));
         }
      }
      return all;
   }();
   return words;
}

#endif
