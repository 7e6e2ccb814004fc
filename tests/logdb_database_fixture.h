#ifndef LOGDB_DATABASE_FIXTURE_H
#define LOGDB_DATABASE_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "logdb.h"
#include "recording_host.h"

/// An entry in plain strings: what tests compare and print.
struct PLAIN_ENTRY {
   int m_kind = 0;
   std::vector<std::string> m_fields;

   friend bool operator==(const PLAIN_ENTRY& left, const PLAIN_ENTRY& right) = default;

   friend std::ostream& operator<<(std::ostream& out, const PLAIN_ENTRY& entry) {
      out << entry.m_kind << '{';
      for (const std::string& field : entry.m_fields) {
         out << ::testing::PrintToString(field.substr(0, 200));
      }
      return out << '}';
   }
};

/// Short words for the tests of the log database, on top of the recording host.
class LOGDB_DATABASE_TEST : public HOST_TEST {
protected:
   using EVENTS = std::vector<std::string>;
   using ENTRIES = std::vector<PLAIN_ENTRY>;

   static LOGDB_DATABASE_ENTRY entry_of(int kind, std::initializer_list<std::string_view> fields) {
      LOGDB_DATABASE_ENTRY entry;
      entry.m_entry_type = static_cast<LOGDB_ENTRY_TYPE_ENUM>(kind);
      for (const std::string_view field : fields) {
         entry.m_data_vector.emplace_back(field);
      }
      return entry;
   }

   static LOGDB_DATABASE_ENTRY entry_of(const PLAIN_ENTRY& plain) {
      LOGDB_DATABASE_ENTRY entry;
      entry.m_entry_type = static_cast<LOGDB_ENTRY_TYPE_ENUM>(plain.m_kind);
      entry.m_data_vector.assign(plain.m_fields.begin(), plain.m_fields.end());
      return entry;
   }

   static PLAIN_ENTRY plain(const LOGDB_DATABASE_ENTRY& entry) {
      return {entry.m_entry_type, {entry.m_data_vector.begin(), entry.m_data_vector.end()}};
   }

   /// The entries of anything with get_number_of_entries and get_entry.
   template <class DATABASE> static ENTRIES entries_of(const DATABASE& database) {
      ENTRIES entries;
      for (int index = 0; index < database.get_number_of_entries(); ++index) {
         const LOGDB_DATABASE_ENTRY* entry = database.get_entry(index);
         if (entry == nullptr) {
            ADD_FAILURE() << "no entry at " << index;
            break;
         }
         entries.push_back(plain(*entry));
      }
      return entries;
   }

   /// The entries of the loaded database; fails the test when there is none.
   static ENTRIES loaded() {
      const LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
      if (database == nullptr) {
         ADD_FAILURE() << "no database is loaded";
         return {};
      }
      return entries_of(*database);
   }

   static void add(int kind, std::initializer_list<std::string_view> fields) {
      ASSERT_NE(LOGDB_DATABASE::get_database(), nullptr);
      const LOGDB_DATABASE_ENTRY entry = entry_of(kind, fields);
      ASSERT_NE(LOGDB_DATABASE::get_database()->add_entry(&entry), nullptr);
   }

   /// Reports and messages in the order in which they came, reports marked "report: ". Every report has the
   /// library's domain, the source file that its text belongs to, and a line.
   EVENTS events() {
      for (const RECORDED_REPORT& report : m_host.take_reports()) {
         EXPECT_EQ(report.m_domain, "LOGDB") << report.m_text;
         EXPECT_EQ(report.m_file, source_of(report.m_text)) << report.m_text;
         EXPECT_GT(report.m_line, 0) << report.m_text;
      }
      return m_host.take_events();
   }

   /// The same without the one thing that a slow machine changes: "Spent 1 seconds." reads as 0.
   EVENTS events_at_any_speed() {
      EVENTS found = events();
      for (std::string& event : found) {
         const std::size_t spent = event.rfind(" Spent ");
         if (event.ends_with(" seconds.") && spent != std::string::npos) {
            const std::string number = event.substr(spent + 7, event.size() - 9 - (spent + 7));
            EXPECT_FALSE(number.empty()) << event;
            EXPECT_TRUE(std::all_of(number.begin(), number.end(), [](char letter) {
               return letter >= '0' && letter <= '9';
            })) << event;
            event.replace(spent, std::string::npos, " Spent 0 seconds.");
         }
      }
      return found;
   }

   /// Makes the fixture's revision the current one, loads what its file holds and forgets what was said.
   void load(LOGDB_DB_TYPE kind = LOGDB_DB_TYPE_CMP) {
      LOGDB_DATABASE::initialize("revision", kind);
      LOGDB_DATABASE::load_database();
      m_host.take_events();
   }

   /// What the standalone host and the library make of a revision and a database type name.
   std::string database_path(const std::string& revision, const std::string& type_name) const {
      return path(revision + "." + type_name + ".logdb");
   }

private:
   static std::string source_of(const std::string& text) {
      if (text == "The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.") {
         return "h/logdb_entry_type_enum_translator_auto";
      }
      if (text == "The calling function has passed an illegal LOGDB_ENTRY_DATATYPE_ENUM.") {
         return "h/logdb_entry_datatype_enum_translator_auto";
      }
      return "logdb_database";
   }
};

#endif
