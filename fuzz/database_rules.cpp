#include "database_rules.h"

#include <algorithm>
#include <cctype>

namespace {

struct KIND {
   const char* m_debug_name;
   const char* m_user_name;
   std::vector<std::size_t> m_node_names; // the positions that hold them
};

const std::vector<KIND>& kinds() {
   static const std::vector<KIND> all = {
       {"DSP_BALANCING_IMPLEMENTATION", "DSP Block Balancing Implementation", {1}},
       {"REGISTER_PACKING", "Register Packing log", {3, 4}},
       {"RAM_PACKING", "RAM Packing log", {8}},
       {"FIT_COMPUTED_DQSBUSMUX_COUNTS", "DQS bux muxes count log.", {}},
       {"FSYN_LOG_FILE", "Physical Synthesis Log", {}},
       {"IO_RULES_SUMMARY", "I/O Rules Summary", {}},
       {"IO_RULES", "I/O Rules Log", {}},
       {"IO_RULES_MATRIX", "I/O Rules Matrix", {}},
   };
   return all;
}

bool is_kind(int type) {
   return type >= 0 && type < static_cast<int>(kinds().size());
}

bool is_node_name(int type, std::size_t position) {
   if (!is_kind(type)) {
      return false;
   }
   const std::vector<std::size_t>& positions = kinds()[static_cast<std::size_t>(type)].m_node_names;
   return std::find(positions.begin(), positions.end(), position) != positions.end();
}

std::string lowered(std::string text) {
   for (char& byte : text) {
      byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
   }
   return text;
}

int kind_of_name(const std::string& name) {
   for (std::size_t type = 0; type < kinds().size(); ++type) {
      if (lowered(name) == lowered(kinds()[type].m_debug_name) ||
          lowered(name) == lowered(kinds()[type].m_user_name)) {
         return static_cast<int>(type);
      }
   }
   return -1;
}

/// The entry of a line without its line feed.
PLAIN_ENTRY entry_of_line(std::string_view line) {
   line = line.substr(0, line.find('\0'));
   std::vector<std::string> pieces;
   while (!line.empty()) {
      const std::size_t comma = line.find(',');
      pieces.emplace_back(line.substr(0, comma));
      line.remove_prefix(comma == std::string_view::npos ? line.size() : comma + 1);
   }
   PLAIN_ENTRY entry;
   if (!pieces.empty()) {
      entry.m_type = kind_of_name(pieces.front());
      entry.m_fields.assign(pieces.begin() + 1, pieces.end());
   }
   return entry;
}

constexpr std::size_t longest_line = 32767;

} // namespace

PLAIN_ENTRIES contents_of(const MEM_VECTOR<LOGDB_DATABASE_ENTRY*>& entries) {
   PLAIN_ENTRIES plain;
   for (const LOGDB_DATABASE_ENTRY* entry : entries) {
      plain.push_back({entry->m_entry_type, {}});
      for (const MEM_STRING& field : entry->m_data_vector) {
         plain.back().m_fields.emplace_back(field.data(), field.size());
      }
   }
   return plain;
}

DATABASE_CONTENTS rules_of_reading(std::string_view bytes) {
   DATABASE_CONTENTS contents;
   for (bool at_version = true; at_version || !bytes.empty(); at_version = false) {
      const std::size_t size = std::min(bytes.find('\n'), bytes.size());
      if (size > longest_line) {
         contents.m_ok = false;
         break;
      }
      if (size == bytes.size()) {
         // Without a line feed at its end a version line is fine, and an entry is not.
         contents.m_ok = at_version;
         break;
      }
      if (!at_version) {
         contents.m_entries.push_back(entry_of_line(bytes.substr(0, size)));
      }
      bytes.remove_prefix(size + 1);
   }
   return contents;
}

DATABASE_TEXT rules_of_writing(const PLAIN_ENTRIES& entries, const std::string* root) {
   DATABASE_TEXT text{"v1\n", {}};
   for (const PLAIN_ENTRY& entry : entries) {
      if (is_kind(entry.m_type)) {
         text.m_bytes += kinds()[static_cast<std::size_t>(entry.m_type)].m_debug_name;
      } else {
         text.m_reports.emplace_back("The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.");
      }
      text.m_bytes += ',';
      for (std::size_t position = 0; position < entry.m_fields.size(); ++position) {
         std::string field = entry.m_fields[position];
         if (root != nullptr && is_node_name(entry.m_type, position)) {
            if (field.size() <= root->size() || field.compare(0, root->size(), *root) != 0) {
               // As a C string, which ends at its first zero byte.
               text.m_reports.push_back(std::string("Detected node ") + field.c_str() +
                                        " is not part of partition " + root->c_str() + ".");
               continue;
            }
            field.erase(0, root->size() + (field[root->size()] == '|' ? 1 : 0));
         }
         if (field.find(',') != std::string::npos) {
            text.m_reports.emplace_back("log database write failed: string has field separator character");
         }
         text.m_bytes += field + ",";
      }
      text.m_bytes += '\n';
   }
   return text;
}

void rules_of_prefixing(const std::string& root, PLAIN_ENTRIES& entries) {
   for (PLAIN_ENTRY& entry : entries) {
      for (std::size_t position = 0; position < entry.m_fields.size(); ++position) {
         if (is_node_name(entry.m_type, position)) {
            entry.m_fields[position].insert(0, root + "|");
         }
      }
   }
}

const std::vector<std::string>& database_words() {
   static const std::vector<std::string> words = [] {
      std::vector<std::string> all = {"v1", "", "top|u1|q", "PACKED", "|", std::string(1, '\0'), "\r", "1"};
      for (const KIND& kind : kinds()) {
         all.emplace_back(kind.m_debug_name);
         all.emplace_back(kind.m_user_name);
      }
      return all;
   }();
   return words;
}
