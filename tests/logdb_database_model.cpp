#include "logdb_database_model.h"

#include <algorithm>
#include <cstddef>

const char* const model_kind_names[8] = {"DSP_BALANCING_IMPLEMENTATION",
                                         "REGISTER_PACKING",
                                         "RAM_PACKING",
                                         "FIT_COMPUTED_DQSBUSMUX_COUNTS",
                                         "FSYN_LOG_FILE",
                                         "IO_RULES_SUMMARY",
                                         "IO_RULES",
                                         "IO_RULES_MATRIX"};

namespace {

constexpr const char* kind_user_strings[8] = {"DSP Block Balancing Implementation",
                                              "Register Packing log",
                                              "RAM Packing log",
                                              "DQS bux muxes count log.",
                                              "Physical Synthesis Log",
                                              "I/O Rules Summary",
                                              "I/O Rules Log",
                                              "I/O Rules Matrix"};

int model_of_kind(const std::string& name) {
   const auto lower = [](std::string text) {
      for (char& letter : text) {
         letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
      }
      return text;
   };
   for (int kind = 0; kind < 8; ++kind) {
      if (lower(name) == lower(model_kind_names[kind]) || lower(name) == lower(kind_user_strings[kind])) {
         return kind;
      }
   }
   return -1;
}

PLAIN_ENTRY model_of_line(std::string line) {
   line = line.c_str(); // up to its first zero byte
   std::vector<std::string> pieces;
   while (!line.empty()) {
      const std::size_t end = std::min(line.find(','), line.size());
      pieces.push_back(line.substr(0, end));
      line.erase(0, end + 1);
   }
   PLAIN_ENTRY entry;
   if (!pieces.empty()) {
      entry.m_kind = model_of_kind(pieces[0]);
      entry.m_fields.assign(pieces.begin() + 1, pieces.end());
   }
   return entry;
}

} // namespace

MODEL_READ model_of_load(std::string bytes) {
   MODEL_READ read;
   for (bool version = true; !bytes.empty(); version = false) {
      const std::size_t end = bytes.find('\n');
      if (end == std::string::npos || end > 32767) {
         // A version line that the end of the file cuts short is an empty database.
         read.m_ok = version && bytes.size() <= 32767;
         return read;
      }
      if (!version) {
         read.m_entries.push_back(model_of_line(bytes.substr(0, end)));
      }
      bytes.erase(0, end + 1);
   }
   return read;
}
