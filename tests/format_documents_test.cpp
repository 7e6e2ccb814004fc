#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "fsyn_log_fixture.h"
#include "logdb.h"

// What docs/database-format.md and docs/physical-synthesis-format.md say in tables and listings, held against the
// library and the samples; and that their links lead somewhere.

namespace {

using TEXTS = std::vector<std::string>;

const std::filesystem::path documents = std::filesystem::path(LOGDB_SOURCE_DIR) / "docs";
const TEXTS document_names = {"database-format.md", "physical-synthesis-format.md"};

TEXTS lines_of(const std::string& text) {
   TEXTS lines;
   std::istringstream in(text);
   for (std::string line; std::getline(in, line);) {
      lines.push_back(line);
   }
   return lines;
}

// What stands between two marks, each time.
TEXTS all_between(const std::string& text, std::string_view begin, std::string_view end) {
   TEXTS found;
   std::size_t place = text.find(begin);
   while (place != std::string::npos) {
      place += begin.size();
      const std::size_t behind = text.find(end, place);
      if (behind == std::string::npos) {
         break;
      }
      found.push_back(text.substr(place, behind - place));
      place = text.find(begin, behind + end.size());
   }
   return found;
}

TEXTS code_spans(const std::string& text) {
   return all_between(text, "`", "`");
}

// Where the links of a text lead.
TEXTS links_of(const std::string& text) {
   return all_between(text, "](", ")");
}

bool is_sample(std::string_view file) {
   return file.ends_with(".logdb") || file.ends_with(".fsyn");
}

// The names of the samples that a text has links to.
TEXTS linked_samples(const std::string& text) {
   TEXTS names;
   for (const std::string& link : links_of(text)) {
      if (link.starts_with("samples/") && is_sample(link)) {
         names.push_back(link.substr(link.find('/') + 1));
      }
   }
   return names;
}

TEXTS cells_of(const std::string& row) {
   TEXTS cells;
   std::istringstream in(row.substr(1));
   for (std::string cell; std::getline(in, cell, '|');) {
      cells.push_back(cell.substr(1, cell.size() - 2));
   }
   return cells;
}

// The rows of the table behind a comment that names it, without its head.
std::vector<TEXTS> table(const std::string& document, const std::string& name) {
   const std::size_t begin = document.find("<!-- table: " + name + " -->\n");
   std::vector<TEXTS> rows;
   if (begin == std::string::npos) {
      ADD_FAILURE() << "no table: " << name;
      return rows;
   }
   const TEXTS lines = lines_of(document.substr(begin));
   for (std::size_t i = 3; i < lines.size() && lines[i].starts_with("| "); ++i) {
      rows.push_back(cells_of(lines[i]));
   }
   return rows;
}

// Bytes as the listings of the documents show them.
std::string hexadecimal_listing(const std::string& bytes) {
   std::string listing;
   char text[24];
   for (std::size_t offset = 0; offset < bytes.size(); offset += 16) {
      std::string columns;
      std::string characters;
      for (std::size_t i = offset; i < offset + 16; ++i) {
         if (i % 8 == 0) {
            columns += ' ';
         }
         if (i < bytes.size()) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            std::snprintf(text, sizeof text, " %02x", byte);
            columns += text;
            characters += byte >= 0x20 && byte < 0x7F ? bytes[i] : '.';
         } else {
            columns += "   ";
         }
      }
      std::snprintf(text, sizeof text, "%08zx", offset);
      listing += text + columns + "  |" + characters + "|\n";
   }
   std::snprintf(text, sizeof text, "%08zx", bytes.size());
   return listing + text + "\n";
}

// The name that a heading has in links.
std::string anchor_of(const std::string& heading) {
   std::string anchor;
   for (const char letter : heading) {
      if (std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '-' || letter == '_') {
         anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
      } else if (letter == ' ') {
         anchor += '-';
      }
   }
   return anchor;
}

class FORMAT_DOCUMENTS_TEST : public FSYN_LOG_TEST {
protected:
   FORMAT_DOCUMENTS_TEST() {
      for (const std::string& name : document_names) {
         m_texts[name] = read_file((documents / name).string());
      }
   }

   const std::string& database() { return m_texts.at("database-format.md"); }
   const std::string& physical_synthesis() { return m_texts.at("physical-synthesis-format.md"); }

   static nlohmann::json expected(const std::string& sample) {
      return nlohmann::json::parse(read_file((documents / "samples" / (sample + ".expected")).string()));
   }

   std::map<std::string, std::string> m_texts;
};

TEST_F(FORMAT_DOCUMENTS_TEST, link_to_every_sample_and_to_no_other) {
   std::set<std::string> linked;
   for (const auto& [name, text] : m_texts) {
      for (const std::string& sample : linked_samples(text)) {
         EXPECT_TRUE(text.find("[" + sample + "](") != std::string::npos ||
                     text.find("[samples/" + sample + "](") != std::string::npos)
             << "a link to " << sample << " has another name";
         linked.insert(sample);
      }
   }
   std::set<std::string> files;
   for (const auto& file : std::filesystem::directory_iterator(documents / "samples")) {
      if (is_sample(file.path().native())) {
         files.insert(file.path().filename().string());
      }
   }
   EXPECT_EQ(linked, files);
}

TEST_F(FORMAT_DOCUMENTS_TEST, number_their_oddities_and_give_each_its_own_samples) {
   for (const auto& [name, text] : m_texts) {
      int number = 0;
      std::string oddity;
      std::size_t samples = 1;
      const std::string letter = name == "database-format.md" ? "D" : "P";
      for (const std::string& line : lines_of(text)) {
         if (line.starts_with("### " + letter)) {
            EXPECT_GT(samples, 0U) << oddity << " has no sample";
            samples = 0;
            ++number;
            oddity = letter + std::to_string(number);
            EXPECT_TRUE(line.starts_with("### " + oddity + " ")) << line;
         }
         for (const std::string& sample : linked_samples(line)) {
            const nlohmann::json number_of_sample = expected(sample).at("oddity");
            EXPECT_EQ(number_of_sample, oddity.empty() ? nlohmann::json() : nlohmann::json(oddity)) << sample;
            ++samples;
         }
      }
      EXPECT_GT(samples, 0U) << oddity << " has no sample";
      EXPECT_GT(number, 0) << name;
   }
}

TEST_F(FORMAT_DOCUMENTS_TEST, show_samples_as_they_are) {
   for (const auto& [name, text] : m_texts) {
      std::size_t listings = 0;
      for (const std::string kind : {"listing", "bytes"}) {
         for (const std::string& block : all_between(text, "<!-- " + kind + ": ", "\n```\n\n")) {
            const std::size_t name_end = block.find(" -->\n```\n");
            ASSERT_NE(name_end, std::string::npos) << block;
            const std::string sample = block.substr(0, name_end);
            const std::string bytes = read_file((documents / sample).string());
            EXPECT_EQ(block.substr(name_end + 9) + "\n", kind == "bytes" ? hexadecimal_listing(bytes) : bytes)
                << sample;
            ++listings;
         }
      }
      EXPECT_EQ(listings, 2U) << name;
   }
}

TEST_F(FORMAT_DOCUMENTS_TEST, have_links_that_lead_somewhere) {
   for (const auto& [name, text] : m_texts) {
      std::set<std::string> anchors;
      for (const std::string& line : lines_of(text)) {
         if (line.starts_with("## ") || line.starts_with("### ")) {
            const std::string anchor = anchor_of(line.substr(line.find(' ') + 1));
            EXPECT_TRUE(anchors.insert(anchor).second) << anchor;
         }
      }
      for (const std::string& link : links_of(text)) {
         if (link.starts_with('#')) {
            EXPECT_EQ(anchors.count(link.substr(1)), 1U) << name << " " << link;
         } else {
            EXPECT_TRUE(std::filesystem::exists(documents / link)) << name << " " << link;
         }
      }
   }
}

// A text with places where anything may stand: what is between them.
TEXTS fixed_parts(const std::string& described) {
   TEXTS parts = {described};
   for (const std::string placeholder : {"NAME", "ROOT", "TEXT", "KEYWORD", "KIND", " N "}) {
      const std::size_t place = parts.back().find(placeholder);
      if (place != std::string::npos) {
         const std::string whole = parts.back();
         parts.back() = whole.substr(0, place);
         parts.push_back(whole.substr(place + placeholder.size()));
      }
   }
   return parts;
}

bool fits(std::string_view event, const TEXTS& parts) {
   if (parts.size() == 1) {
      return event == parts.front();
   }
   if (!event.starts_with(parts.front())) {
      return false;
   }
   event.remove_prefix(parts.front().size());
   for (std::size_t i = 1; i + 1 < parts.size(); ++i) {
      const std::size_t place = event.find(parts[i]);
      if (place == std::string_view::npos) {
         return false;
      }
      event.remove_prefix(place + parts[i].size());
   }
   return event.ends_with(parts.back());
}

TEST_F(FORMAT_DOCUMENTS_TEST, describe_every_report_and_message_of_the_samples) {
   std::vector<TEXTS> described;
   for (const auto& [name, text] : m_texts) {
      bool in_reports = false;
      bool in_messages = false;
      for (const std::string& line : lines_of(text)) {
         in_reports = line == "| report | when |" || (in_reports && line.starts_with("|"));
         in_messages = line == "| message | when |" || (in_messages && line.starts_with("|"));
         if ((in_reports || in_messages) && line.starts_with("| `")) {
            described.push_back(fixed_parts((in_reports ? "report: " : "") + code_spans(line).front()));
         }
      }
   }
   EXPECT_EQ(described.size(), 16U);
   const auto is_described = [&](const std::string& event) {
      return std::any_of(described.begin(), described.end(),
                         [&](const TEXTS& parts) { return fits(event, parts); });
   };
   std::size_t events = 0;
   for (const auto& file : std::filesystem::directory_iterator(documents / "samples")) {
      if (file.path().extension() == ".expected") {
         const nlohmann::json flat = nlohmann::json::parse(read_file(file.path().string())).flatten();
         for (const auto& [path, value] : flat.items()) {
            if (path.find("/events/") != std::string::npos) {
               EXPECT_TRUE(is_described(value.get<std::string>())) << file.path().filename() << " " << value;
               ++events;
            }
         }
      }
   }
   EXPECT_GT(events, 0U);
}

TEST_F(FORMAT_DOCUMENTS_TEST, list_the_kinds_of_entry_with_their_names_and_node_names) {
   const std::vector<TEXTS> rows = table(database(), "entry kinds");
   ASSERT_EQ(rows.size(), 8U);
   for (int value = 0; value < 8; ++value) {
      const auto kind = static_cast<LOGDB_ENTRY_TYPE_ENUM>(value);
      const LOGDB_DATA_FORMAT_INFO& info = LOGDB_DATA_FORMAT[value];
      std::string positions;
      for (unsigned int position = 0; position < info.m_num_fields; ++position) {
         if (info.m_datatypes[position] == NODE_NAME) {
            positions += (positions.empty() ? "" : ", ") + std::to_string(position);
         }
      }
      const TEXTS row = {std::to_string(value), std::string("`") + logdb_get_debug_string(kind) + "`",
                         std::string("`") + logdb_get_user_string(kind) + "`",
                         positions.empty() ? "none" : positions, std::to_string(info.m_num_fields)};
      EXPECT_EQ(rows[static_cast<std::size_t>(value)], row);
   }
}

std::string text_of(const MEM_STRING& name) {
   return {name.data(), name.size()};
}

template <class NUMBER> std::string text_of(NUMBER number) {
   return std::to_string(number);
}

template <class ELEMENT> std::string text_of(const MEM_VECTOR<ELEMENT>& /*list*/) {
   return "a list";
}

// The line that a code span of the table stands for.
std::string line_of(std::string span, const std::map<std::string, std::string>& fields) {
   const std::string blank = "␠";
   std::string line;
   if (span.ends_with(blank)) {
      span.erase(span.size() - blank.size());
      line = " ";
   }
   std::string text;
   std::istringstream names(span);
   for (std::string name; names >> name;) {
      text += (text.empty() ? "" : " ") + fields.at(name);
   }
   return text + line + "\n";
}

TEST_F(FORMAT_DOCUMENTS_TEST, list_the_kinds_of_record_with_their_lines) {
   const std::vector<TEXTS> rows = table(physical_synthesis(), "record kinds");
   const std::vector<FSYN_SAMPLE> records = fsyn_samples();
   ASSERT_EQ(rows.size(), 44U);
   ASSERT_EQ(records.size(), 44U);
   std::size_t plain = 0;
   for (std::size_t i = 0; i < rows.size(); ++i) {
      const FSYN_SAMPLE& sample = records[i];
      ASSERT_EQ(rows[i].size(), 4U) << i;
      EXPECT_EQ(rows[i][0], std::to_string(sample.m_record->m_type));
      EXPECT_EQ(rows[i][1], "`" + sample.m_suffix + "`");
      if (rows[i][3].starts_with("see ")) {
         continue;
      }
      ++plain;
      std::map<std::string, std::string> fields = {{"m_node_name", text_of(sample.m_record->m_node_name)}};
      with_fsyn_record(*sample.m_record, [&](const auto& record) {
         for_each_fsyn_field(record, [&](const char* name, const auto& field) { fields[name] = text_of(field); });
      });
      std::string text = sample.m_record->m_type == REVISION_NUMBER
                             ? "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0\n"
                             : "PHYSICAL_SYNTHESIS_" + sample.m_suffix + "\n";
      for (const std::string& span : code_spans(rows[i][3])) {
         text += line_of(span, fields);
      }
      if (sample.m_record->m_type == SET_INSTANCE_NAME) {
         // It cannot be written; the reader takes the words in the order of the row.
         sample.m_record->m_tag = 0;
         EXPECT_EQ(reading(text).m_records, TEXTS{fsyn_description(*sample.m_record)});
      } else {
         EXPECT_EQ(written(*sample.m_record), text);
      }
   }
   EXPECT_EQ(plain, 36U);
}

template <class TYPE> struct ELEMENT_OF { using type = TYPE; };
template <class ELEMENT> struct ELEMENT_OF<MEM_VECTOR<ELEMENT>> { using type = ELEMENT; };

template <class TYPE> std::string type_name() {
   using ELEMENT = typename ELEMENT_OF<TYPE>::type;
   if constexpr (std::is_same_v<ELEMENT, MEM_STRING>) {
      return "name";
   } else if constexpr (std::is_same_v<ELEMENT, unsigned char>) {
      return "flag";
   } else if constexpr (std::is_same_v<ELEMENT, unsigned short>) {
      return "index";
   } else if constexpr (std::is_same_v<ELEMENT, unsigned long>) {
      return "two halves";
   } else {
      static_assert(sizeof(ELEMENT) == 4 && (std::is_same_v<ELEMENT, int> || std::is_enum_v<ELEMENT>));
      return "int";
   }
}

TEST_F(FORMAT_DOCUMENTS_TEST, list_the_fields_of_records_with_their_types) {
   std::map<std::string, std::string> described;
   for (const TEXTS& row : table(physical_synthesis(), "fields")) {
      ASSERT_EQ(row.size(), 2U);
      for (const std::string& field : code_spans(row[0])) {
         EXPECT_TRUE(described.emplace(field, row[1]).second) << field;
      }
   }
   std::map<std::string, std::string> real = {{"m_node_name", "name"}};
   for_each_fsyn_kind([&]<class RECORD>() {
      RECORD record;
      for_each_fsyn_field(record, [&](const char* name, const auto& field) {
         real[name] = type_name<std::remove_cvref_t<decltype(field)>>();
      });
   });
   // These are in no text.
   real.erase("m_delete_extra");
   real.erase("m_copy_extra");
   EXPECT_EQ(described, real);
}

TEST_F(FORMAT_DOCUMENTS_TEST, list_the_numbers_of_slots) {
   std::vector<TEXTS> real;
   for_each_fsyn_kind([&]<class RECORD>() {
      const RECORD record;
      if constexpr (requires { record.m_port_sources; }) {
         if (!record.m_port_sources.empty()) {
            real.push_back({std::to_string(record.m_type), "`" + std::string(FSYN_KIND<RECORD>::suffix) + "`",
                            std::to_string(record.m_port_sources.size())});
         }
      }
   });
   EXPECT_EQ(table(physical_synthesis(), "slots"), real);
}

} // namespace
