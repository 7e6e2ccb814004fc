#include "database.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace straightforward {

namespace {

const char* const NAMES[] = {"DSP_BALANCING_IMPLEMENTATION",
                             "REGISTER_PACKING",
                             "RAM_PACKING",
                             "FIT_COMPUTED_DQSBUSMUX_COUNTS",
                             "FSYN_LOG_FILE",
                             "IO_RULES_SUMMARY",
                             "IO_RULES",
                             "IO_RULES_MATRIX"};

const char SEPARATORS[] = ",";

std::vector<std::string> split(const std::string& line) {
   std::vector<std::string> tokens;
   std::istringstream stream(line);
   std::string token;
   while (std::getline(stream, token, SEPARATORS[0])) {
      tokens.push_back(token);
   }
   return tokens;
}

void write_field(std::ostream& file, const std::string& field) {
   if (field.find_first_of(SEPARATORS) != std::string::npos) {
      std::cerr << "a field holds a separator\n";
   }
   file << field << SEPARATORS;
}

std::string without_root(const std::string& name, const std::string& root) {
   if (name.size() <= root.size() || name.compare(0, root.size(), root) != 0) {
      throw std::runtime_error("a node is outside the partition");
   }
   return name.substr(name[root.size()] == '|' ? root.size() + 1 : root.size());
}

} // namespace

LOGDB_ENTRY_TYPE_ENUM kind_of(const std::string& name) {
   for (int kind = 0; kind < 8; ++kind) {
      if (name == NAMES[kind]) {
         return static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind);
      }
   }
   return static_cast<LOGDB_ENTRY_TYPE_ENUM>(-1);
}

const char* name_of(LOGDB_ENTRY_TYPE_ENUM kind) {
   return NAMES[kind];
}

bool is_node_name(LOGDB_ENTRY_TYPE_ENUM kind, std::size_t position) {
   return (kind == DSP_BALANCING_IMPLEMENTATION && position == 1) ||
          (kind == REGISTER_PACKING && (position == 3 || position == 4)) || (kind == RAM_PACKING && position == 8);
}

ENTRIES load(const std::string& path, const char* root) {
   ENTRIES entries;
   std::ifstream file(path);
   std::string line;
   std::getline(file, line); // the version
   while (std::getline(file, line)) {
      const std::vector<std::string> tokens = split(line);
      auto entry = std::make_unique<ENTRY>();
      entry->m_kind = kind_of(tokens.front());
      for (std::size_t i = 1; i < tokens.size(); ++i) {
         if (root != nullptr && is_node_name(entry->m_kind, i - 1)) {
            entry->m_fields.push_back(std::string(root) + "|" + tokens[i]);
         } else {
            entry->m_fields.push_back(tokens[i]);
         }
      }
      entries.push_back(std::move(entry));
   }
   return entries;
}

void commit(const std::string& path, const ENTRIES& entries, const char* root) {
   std::ofstream file(path);
   file << "v1\n";
   for (const auto& entry : entries) {
      write_field(file, name_of(entry->m_kind));
      for (std::size_t position = 0; position < entry->m_fields.size(); ++position) {
         const std::string& field = entry->m_fields[position];
         if (root != nullptr && is_node_name(entry->m_kind, position)) {
            write_field(file, without_root(field, root));
         } else {
            write_field(file, field);
         }
      }
      file << "\n";
   }
}

} // namespace straightforward
