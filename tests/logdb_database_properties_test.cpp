#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "logdb.h"
#include "logdb_database_fixture.h"
#include "logdb_database_model.h"

// Random databases through files and back, against the format in a few plain lines.

namespace {

using TEXTS = std::vector<std::string>;
using ENTRIES = std::vector<PLAIN_ENTRY>;

constexpr const char* has_separator = "report: log database write failed: string has field separator character";
constexpr const char* illegal_kind = "report: The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.";

// ---- The model of writing

bool is_legal(int kind) {
   return kind >= 0 && kind <= 7;
}

bool is_node_name(int kind, std::size_t position) {
   return (kind == 0 && position == 1) || (kind == 1 && (position == 3 || position == 4)) ||
          (kind == 2 && position == 8);
}

struct WRITTEN {
   std::string m_bytes = "v1\n";
   TEXTS m_reports;

   void field(const std::string& text) {
      if (text.find(',') != std::string::npos) {
         m_reports.emplace_back(has_separator);
      }
      m_bytes += text + ",";
   }

   void kind(int value) {
      if (!is_legal(value)) {
         m_reports.emplace_back(illegal_kind);
      }
      field(is_legal(value) ? model_kind_names[value] : "");
   }
};

WRITTEN model_of_commit(const ENTRIES& entries) {
   WRITTEN written;
   for (const PLAIN_ENTRY& entry : entries) {
      written.kind(entry.m_kind);
      for (const std::string& text : entry.m_fields) {
         written.field(text);
      }
      written.m_bytes += "\n";
   }
   return written;
}

WRITTEN model_of_commit(const ENTRIES& entries, const std::string& root) {
   WRITTEN written;
   for (const PLAIN_ENTRY& entry : entries) {
      written.kind(entry.m_kind);
      for (std::size_t position = 0; position < entry.m_fields.size(); ++position) {
         const std::string& text = entry.m_fields[position];
         if (!is_node_name(entry.m_kind, position)) {
            written.field(text);
         } else if (text.size() > root.size() && text.compare(0, root.size(), root) == 0) {
            written.field(text.substr(root.size() + (text[root.size()] == '|' ? 1 : 0)));
         } else {
            // Reports are C texts: they end where a zero byte is.
            written.m_reports.push_back(std::string("report: Detected node ") + text.c_str() +
                                        " is not part of partition " + root + ".");
         }
      }
      written.m_bytes += "\n";
   }
   return written;
}

ENTRIES model_of_prefixing(ENTRIES entries, const std::string& root) {
   for (PLAIN_ENTRY& entry : entries) {
      for (std::size_t position = 0; position < entry.m_fields.size(); ++position) {
         if (is_node_name(entry.m_kind, position)) {
            entry.m_fields[position] = root + "|" + entry.m_fields[position];
         }
      }
   }
   return entries;
}

// ---- Random databases

/// Texts of letters that matter: few enough that roots, separators and line ends meet by chance.
rc::Gen<std::string> text_of(const std::string& letters) {
   return rc::gen::container<std::string>(rc::gen::elementOf(letters));
}

rc::Gen<std::string> harmless_field() {
   return rc::gen::weightedOneOf<std::string>(
       {{6, text_of("ab|u1 _~/\\\"'#;%\r\t\xff")},
        {2, rc::gen::map(text_of("ab|"), [](const std::string& text) { return "top|u1" + text; })},
        {1, rc::gen::map(rc::gen::inRange(20, 2400),
                         [](int size) { return std::string(static_cast<std::size_t>(size), 'x'); })}});
}

rc::Gen<std::string> any_field() {
   return rc::gen::weightedOneOf<std::string>({{8, harmless_field()},
                                               {2, text_of(std::string("a,|\n\0\r", 6))},
                                               {1, rc::gen::container<std::string>(rc::gen::arbitrary<char>())}});
}

rc::Gen<PLAIN_ENTRY> entry_with(rc::Gen<int> kind, rc::Gen<std::string> field) {
   return rc::gen::build<PLAIN_ENTRY>(
       rc::gen::set(&PLAIN_ENTRY::m_kind, std::move(kind)),
       rc::gen::set(&PLAIN_ENTRY::m_fields, rc::gen::resize(12, rc::gen::container<TEXTS>(std::move(field)))));
}

rc::Gen<ENTRIES> harmless_entries() {
   return rc::gen::container<ENTRIES>(entry_with(rc::gen::inRange(0, 8), harmless_field()));
}

rc::Gen<ENTRIES> any_entries() {
   return rc::gen::container<ENTRIES>(entry_with(rc::gen::inRange(-1, 9), any_field()));
}

rc::Gen<std::string> any_root() {
   return rc::gen::oneOf(rc::gen::elementOf(TEXTS{"", "top|u1", "top", "t", "|", "a", "a|", "u1"}),
                         text_of("ab|u1"));
}

/// Bytes that are nearly a database file, of lines that are nearly too long, or of short ones.
rc::Gen<std::string> nearly_a_file(bool long_lines = true) {
   const rc::Gen<std::string> piece = rc::gen::weightedOneOf<std::string>(
       {{4, rc::gen::elementOf(
                TEXTS{"v1\n", "IO_RULES,", "register packing LOG,", "RAM_PACKING", ",", "\n", "\r\n", "|"})},
        {2, text_of(std::string("ab,\n\0", 5))},
        {1, rc::gen::container<std::string>(rc::gen::arbitrary<char>())},
        {long_lines ? 1u : 0u, rc::gen::map(rc::gen::elementOf(std::vector<std::size_t>{32766, 32767, 32768}),
                                            [](std::size_t size) { return std::string(size, 'l') + "\n"; })}});
   return rc::gen::map(rc::gen::container<TEXTS>(piece), [](const TEXTS& pieces) {
      std::string bytes;
      for (const std::string& text : pieces) {
         bytes += text;
      }
      return bytes;
   });
}

class LOGDB_DATABASE_PROPERTIES : public LOGDB_DATABASE_TEST {
protected:
   std::string file() const { return path("named"); }

   std::string plain_file() const {
      return database_path("revision", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   }

   void start() {
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
      std::error_code ignored;
      std::filesystem::remove(plain_file(), ignored);
      events();
   }

   void start_with(const ENTRIES& entries) {
      start();
      LOGDB_DATABASE::load_database();
      for (const PLAIN_ENTRY& entry : entries) {
         const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
         RC_ASSERT(LOGDB_DATABASE::get_database()->add_entry(&copy) != nullptr);
      }
      events();
   }

   TEXTS reports() {
      TEXTS found = events();
      std::erase_if(found, [](const std::string& event) { return !event.starts_with("report: "); });
      return found;
   }
};

template <class PROPERTY> void check(const char* what, const PROPERTY& property) {
   EXPECT_TRUE(rc::check(what, property));
}

TEST_F(LOGDB_DATABASE_PROPERTIES, entries_that_a_file_can_carry_come_back) {
   check("commit, load", [this] {
      const ENTRIES entries = *harmless_entries();
      start_with(entries);
      LOGDB_DATABASE::commit_database();
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::load_database();
      RC_ASSERT(loaded() == entries);
      RC_ASSERT(reports() == TEXTS{});
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, any_entries_make_the_bytes_and_reports_of_the_format) {
   check("commit", [this] {
      const ENTRIES entries = *any_entries();
      start_with(entries);
      LOGDB_DATABASE::commit_database();
      const WRITTEN expected = model_of_commit(entries);
      RC_ASSERT(read_file(plain_file()) == expected.m_bytes);
      RC_ASSERT(reports() == expected.m_reports);
      RC_ASSERT(loaded() == entries);
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, what_any_entries_make_reads_as_the_format_says) {
   check("commit, load", [this] {
      start_with(*any_entries());
      LOGDB_DATABASE::commit_database();
      LOGDB_DATABASE::unload_database();
      reports();
      LOGDB_DATABASE::load_database();
      const MODEL_READ expected = model_of_load(read_file(plain_file()));
      RC_ASSERT(loaded() == expected.m_entries);
      RC_ASSERT(reports() == (expected.m_ok ? TEXTS{} : TEXTS{"report: Failed reading log-db file"}));
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, any_bytes_read_as_the_format_says) {
   check("load", [this] {
      const std::string bytes = *nearly_a_file();
      start();
      write_file(plain_file(), bytes);
      LOGDB_DATABASE::load_database();
      const MODEL_READ expected = model_of_load(bytes);
      RC_ASSERT(loaded() == expected.m_entries);
      RC_ASSERT(reports() == (expected.m_ok ? TEXTS{} : TEXTS{"report: Failed reading log-db file"}));
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, a_second_commit_of_a_loaded_file_changes_nothing_more) {
   check("load, commit, load, commit", [this] {
      // A comma that is written behind the longest line makes it too long.
      const std::string bytes = *nearly_a_file(false);
      start();
      write_file(plain_file(), bytes);
      LOGDB_DATABASE::load_database();
      LOGDB_DATABASE::commit_database();
      const std::string once = read_file(plain_file());
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::load_database();
      LOGDB_DATABASE::commit_database();
      RC_ASSERT(read_file(plain_file()) == once);
      reports();
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, any_entries_and_root_make_the_bytes_and_reports_of_the_format) {
   check("commit for a partition", [this] {
      const ENTRIES entries = *any_entries();
      const std::string root = *any_root();
      start_with(entries);
      LOGDB_DATABASE::commit_database(file().c_str(), root.c_str());
      const WRITTEN expected = model_of_commit(entries, root);
      RC_ASSERT(read_file(file()) == expected.m_bytes);
      RC_ASSERT(reports() == expected.m_reports);
      RC_ASSERT(loaded() == entries);
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, any_bytes_and_root_load_as_the_format_says) {
   check("load for a partition", [this] {
      const std::string bytes = *nearly_a_file();
      const std::string root = *any_root();
      start();
      write_file(file(), bytes);
      LOGDB_DATABASE::load_database(file().c_str(), root.c_str());
      const MODEL_READ expected = model_of_load(bytes);
      RC_ASSERT(loaded() == (expected.m_ok ? model_of_prefixing(expected.m_entries, root) : expected.m_entries));
      RC_ASSERT(reports() == (expected.m_ok ? TEXTS{} : TEXTS{"report: Failed reading log-db file"}));
      RC_ASSERT(logdb_filename_singleton == (expected.m_ok ? file() : std::string()));
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, names_below_a_root_come_back_under_any_other_root) {
   check("commit for a partition, load for another", [this] {
      const std::string root = *any_root();
      const std::string other_root = *any_root();
      const ENTRIES relative = *harmless_entries();
      start_with(model_of_prefixing(relative, root));
      LOGDB_DATABASE::commit_database(file().c_str(), root.c_str());
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::load_database(file().c_str(), other_root.c_str());
      RC_ASSERT(loaded() == model_of_prefixing(relative, other_root));
      RC_ASSERT(reports() == TEXTS{});
   });
}

TEST_F(LOGDB_DATABASE_PROPERTIES, a_list_behaves_as_a_plain_one) {
   check("add and replace", [] {
      LOGDB_DATABASE database;
      ENTRIES expected;
      const int steps = *rc::gen::inRange(0, 60);
      for (int step = 0; step < steps; ++step) {
         const PLAIN_ENTRY entry = *entry_with(rc::gen::inRange(-1, 9), any_field());
         const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
         const std::size_t index = *rc::gen::inRange<std::size_t>(0, expected.size() + 1);
         if (index == expected.size()) {
            RC_ASSERT(database.add_entry(&copy) != nullptr);
            expected.push_back(entry);
         } else {
            RC_ASSERT(database.replace_entry(static_cast<int>(index), &copy) != nullptr);
            expected[index] = entry;
         }
         RC_ASSERT(plain(*database.get_entry(static_cast<int>(index))) == entry);
      }
      RC_ASSERT(entries_of(database) == expected);
   });
}

} // namespace
