#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "fsyn_log_fixture.h"
#include "logdb_database_fixture.h"

// Runs every sample of docs/samples through the library, as the file beside it says: NAME.expected for NAME.
// docs/samples/README.md describes those files. The two documents of the file formats rest on this test.

namespace {

using JSON = nlohmann::json;

const std::filesystem::path samples = std::filesystem::path(LOGDB_SOURCE_DIR) / "docs" / "samples";

std::vector<std::string> samples_that_end_in(std::string_view extension) {
   std::vector<std::string> names;
   for (const auto& file : std::filesystem::directory_iterator(samples)) {
      if (file.path().extension() == extension) {
         names.push_back(file.path().filename().string());
      }
   }
   std::sort(names.begin(), names.end());
   return names;
}

std::string test_name(const ::testing::TestParamInfo<std::string>& sample) {
   std::string name = sample.param.substr(0, sample.param.rfind('.'));
   std::replace(name.begin(), name.end(), '-', '_');
   return name;
}

// The code points of a text up to 255, which is all that the files use, are bytes.
std::string from_latin_1(const std::string& utf_8) {
   std::string bytes;
   for (std::size_t i = 0; i < utf_8.size(); ++i) {
      const auto byte = static_cast<unsigned char>(utf_8[i]);
      if (byte < 0x80) {
         bytes += utf_8[i];
      } else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < utf_8.size()) {
         ++i;
         bytes += static_cast<char>((byte & 3) << 6 | (static_cast<unsigned char>(utf_8[i]) & 0x3F));
      } else {
         throw std::runtime_error("no byte: " + utf_8);
      }
   }
   return bytes;
}

// A text, or a list of texts of which some are said to be repeated.
std::string bytes_of(const JSON& text) {
   if (text.is_string()) {
      return from_latin_1(text.get<std::string>());
   }
   if (text.is_object()) {
      std::string bytes;
      for (int i = 0; i < text.at("times").get<int>(); ++i) {
         bytes += bytes_of(text.at("repeat"));
      }
      return bytes;
   }
   std::string bytes;
   for (const JSON& part : text) {
      bytes += bytes_of(part);
   }
   return bytes;
}

std::vector<std::string> texts_of(const JSON& list) {
   std::vector<std::string> texts;
   for (const JSON& text : list) {
      texts.push_back(bytes_of(text));
   }
   return texts;
}

// ---- Log databases

int kind_of(const JSON& kind) {
   static const std::vector<std::string> names = {"DSP_BALANCING_IMPLEMENTATION",
                                                  "REGISTER_PACKING",
                                                  "RAM_PACKING",
                                                  "FIT_COMPUTED_DQSBUSMUX_COUNTS",
                                                  "FSYN_LOG_FILE",
                                                  "IO_RULES_SUMMARY",
                                                  "IO_RULES",
                                                  "IO_RULES_MATRIX"};
   if (kind.is_number()) {
      return kind.get<int>();
   }
   const auto found = std::find(names.begin(), names.end(), kind.get<std::string>());
   if (found == names.end()) {
      throw std::runtime_error("no kind: " + kind.get<std::string>());
   }
   return static_cast<int>(found - names.begin());
}

std::vector<PLAIN_ENTRY> plain_entries(const JSON& list) {
   std::vector<PLAIN_ENTRY> entries;
   for (const JSON& item : list) {
      PLAIN_ENTRY entry;
      entry.m_kind = kind_of(item.at(0));
      for (std::size_t i = 1; i < item.size(); ++i) {
         entry.m_fields.push_back(bytes_of(item.at(i)));
      }
      entries.push_back(std::move(entry));
   }
   return entries;
}

// What is said about the bytes of a file. Load and commit say more around it, with names and times.
bool is_about_the_whole_operation(const std::string& event) {
   return event.starts_with("Loading logdb database ") || event.starts_with("Done loading logdb database ") ||
          event.starts_with("Commiting logdb database ") || event.starts_with("Done comiting logdb database ");
}

const JSON* member(const JSON& object, const char* name) {
   const auto found = object.find(name);
   return found != object.end() ? &*found : nullptr;
}

// A member that is misspelled would be a check that is not made.
void check_members(const JSON& object, const std::vector<std::string>& known) {
   for (const auto& item : object.items()) {
      EXPECT_NE(std::find(known.begin(), known.end(), item.key()), known.end()) << item.key();
   }
}

class DATABASE_SAMPLE_TEST : public LOGDB_DATABASE_TEST, public ::testing::WithParamInterface<std::string> {
protected:
   DATABASE_SAMPLE_TEST()
       : m_bytes(read_file((samples / GetParam()).string())),
         m_expected(JSON::parse(read_file((samples / GetParam()).string() + ".expected"))) {
      LOGDB_DATABASE::initialize("sample", LOGDB_DB_TYPE_CMP);
      MEM_STRING name;
      LOGDB_DATABASE::make_db_filename("sample", LOGDB_DB_TYPE_CMP, &name);
      m_file = std::string(name);
   }

   // With a root the operations that take one, else the plain ones; all on the same file.
   void load(const JSON* root) {
      LOGDB_DATABASE::unload_database();
      m_host.take_events();
      if (root != nullptr) {
         LOGDB_DATABASE::load_database(m_file.c_str(), bytes_of(*root).c_str());
      } else {
         LOGDB_DATABASE::load_database();
      }
   }

   void commit(const JSON* root) {
      if (root != nullptr) {
         LOGDB_DATABASE::commit_database(m_file.c_str(), bytes_of(*root).c_str());
      } else {
         LOGDB_DATABASE::commit_database();
      }
   }

   EVENTS format_events() {
      EVENTS found = events();
      std::erase_if(found, is_about_the_whole_operation);
      return found;
   }

   // Committing the entries must give the sample.
   void check_commit(const JSON& expected) {
      std::filesystem::remove(m_file);
      load(nullptr);
      for (const PLAIN_ENTRY& plain : plain_entries(expected.at("entries"))) {
         const LOGDB_DATABASE_ENTRY entry = entry_of(plain);
         LOGDB_DATABASE::get_database()->add_entry(&entry);
      }
      m_host.take_events();
      commit(member(expected, "partition_root"));
      EXPECT_EQ(read_file(m_file), m_bytes);
      EXPECT_EQ(format_events(), texts_of(expected.at("events")));
   }

   // Loading the sample must give the entries, and committing these without a root the other bytes.
   void check_load(const JSON& expected) {
      write_file(m_file, m_bytes);
      load(member(expected, "partition_root"));
      EXPECT_EQ(loaded(), plain_entries(expected.at("entries")));
      EXPECT_EQ(format_events(), texts_of(expected.at("events")));
      if (const JSON* again = member(expected, "committed_again")) {
         check_members(*again, {"bytes", "events"});
         commit(nullptr);
         EXPECT_EQ(read_file(m_file), bytes_of(again->at("bytes")));
         EXPECT_EQ(format_events(), texts_of(again->at("events")));
      }
   }

   std::string m_bytes;
   JSON m_expected;
   std::string m_file;
};

TEST_P(DATABASE_SAMPLE_TEST, is_committed_and_loaded_as_expected) {
   check_members(m_expected, {"oddity", "shows", "commits", "loads"});
   for (const JSON& expected : m_expected.value("commits", JSON::array())) {
      check_members(expected, {"partition_root", "entries", "events"});
      check_commit(expected);
   }
   ASSERT_FALSE(m_expected.at("loads").empty());
   for (const JSON& expected : m_expected.at("loads")) {
      check_members(expected, {"partition_root", "entries", "events", "committed_again"});
      check_load(expected);
   }
}

INSTANTIATE_TEST_SUITE_P(samples, DATABASE_SAMPLE_TEST, ::testing::ValuesIn(samples_that_end_in(".logdb")),
                         test_name);

// ---- Physical-synthesis logs

void set(MEM_STRING& name, const JSON& value) {
   name = bytes_of(value);
}

void set(unsigned long& mask, const JSON& hexadecimal) {
   mask = std::stoul(hexadecimal.get<std::string>(), nullptr, 16);
}

template <class NUMBER> void set(NUMBER& number, const JSON& value) {
   number = static_cast<NUMBER>(value.get<std::int64_t>());
}

template <class ELEMENT> void set(MEM_VECTOR<ELEMENT>& list, const JSON& values) {
   list.clear();
   for (const JSON& value : values) {
      ELEMENT element{};
      set(element, value);
      list.push_back(element);
   }
}

// A new record of the kind that an item names, with the fields that it gives; a number is the value of a kind
// that does not exist.
FSYN_RECORD record_of(const JSON& item) {
   FSYN_RECORD record;
   std::size_t fields = 1;
   const auto set_if_given = [&](const char* name, auto& field) {
      if (const JSON* value = member(item, name)) {
         set(field, *value);
         ++fields;
      }
   };
   const JSON& kind = item.at("kind");
   for_each_fsyn_kind([&]<class RECORD>() {
      if (kind.is_string() ? kind == FSYN_KIND<RECORD>::suffix : FSYN_KIND<RECORD>::value == SET_USER_LCELL) {
         auto typed = std::make_unique<RECORD>();
         for_each_fsyn_field(*typed, set_if_given);
         record = std::move(typed);
      }
   });
   if (record == nullptr) {
      throw std::runtime_error("no kind: " + item.dump());
   }
   if (kind.is_number()) {
      record->m_type = static_cast<LOGDB_FSYN_LOG_ENTRY_TYPE>(kind.get<int>());
   }
   set_if_given("m_tag", record->m_tag);
   set_if_given("m_node_name", record->m_node_name);
   if (fields != item.size()) {
      throw std::runtime_error("fields that the kind does not have: " + item.dump());
   }
   return record;
}

// What one call of read_fsyn_log_entry gives.
std::string description(const LOGDB_FSYN_LOG_ENTRY* record) {
   return record != nullptr ? fsyn_description(*record) : "null";
}

class FSYN_SAMPLE_TEST : public FSYN_LOG_TEST, public ::testing::WithParamInterface<std::string> {
protected:
   FSYN_SAMPLE_TEST()
       : m_bytes(read_file((samples / GetParam()).string())),
         m_expected(JSON::parse(read_file((samples / GetParam()).string() + ".expected"))) {}

   static void write(const std::vector<FSYN_RECORD>& records) {
      LOGDB_FSYN_LOG_FILE log("sample.fsyn");
      log.init(true);
      for (const FSYN_RECORD& record : records) {
         log.write_fsyn_log_entry(record.get());
      }
   }

   // Writing the records must give the sample.
   void check_write(const JSON& expected) {
      std::filesystem::remove("sample.fsyn");
      std::vector<FSYN_RECORD> records;
      for (const JSON& item : expected.at("records")) {
         records.push_back(record_of(item));
      }
      if (expected.value("ends", "") == "trap") {
         EXPECT_DEATH(write(records), "");
      } else {
         write(records);
      }
      EXPECT_EQ(read_file("sample.fsyn"), m_bytes);
      EXPECT_EQ(m_host.take_events(), texts_of(expected.at("events")));
   }

   // Each call must give the record of its step, and one more call nothing.
   void check_read(const JSON& expected) {
      write_file("sample.fsyn", m_bytes);
      LOGDB_FSYN_LOG_FILE log("sample.fsyn");
      for (const JSON& step : expected.at("steps")) {
         const FSYN_RECORD record(log.read_fsyn_log_entry());
         EXPECT_EQ(description(record.get()), description(step.is_null() ? nullptr : record_of(step).get()));
      }
      EXPECT_EQ(description(FSYN_RECORD(log.read_fsyn_log_entry()).get()), "null");
      EXPECT_EQ(m_host.take_events(), texts_of(expected.at("events")));
   }

   std::string m_bytes;
   JSON m_expected;
};

TEST_P(FSYN_SAMPLE_TEST, is_written_and_read_as_expected) {
   check_members(m_expected, {"oddity", "shows", "writes", "reads"});
   for (const JSON& expected : m_expected.value("writes", JSON::array())) {
      check_members(expected, {"records", "events", "ends"});
      check_write(expected);
   }
   check_members(m_expected.at("reads"), {"steps", "events"});
   check_read(m_expected.at("reads"));
}

INSTANTIATE_TEST_SUITE_P(samples, FSYN_SAMPLE_TEST, ::testing::ValuesIn(samples_that_end_in(".fsyn")), test_name);

} // namespace
