#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "logdb.h"
#include "logdb_database_fixture.h"

namespace {

class LOGDB_DATABASE_PARTITION : public LOGDB_DATABASE_TEST {
protected:
   std::string outside(const std::string& node, const std::string& root) const {
      return "report: Detected node " + node + " is not part of partition " + root + ".";
   }

   /// The file, without its version line, that entries make for a root. Takes the reports.
   std::string committed(const ENTRIES& entries, const std::string& root) {
      LOGDB_DATABASE::unload_database();
      load();
      for (const PLAIN_ENTRY& entry : entries) {
         const LOGDB_DATABASE_ENTRY copy = entry_of(entry);
         EXPECT_NE(LOGDB_DATABASE::get_database()->add_entry(&copy), nullptr);
      }
      LOGDB_DATABASE::commit_database(file().c_str(), root.c_str());
      EXPECT_EQ(loaded(), entries) << "writing changes nothing in memory";
      m_reports.clear();
      for (const std::string& event : events()) {
         if (event.starts_with("report: ")) {
            m_reports.push_back(event);
         }
      }
      const std::string bytes = read_file(file());
      EXPECT_TRUE(bytes.starts_with("v1\n"));
      return bytes.substr(3);
   }

   /// The entries of the file that was committed last, under a root.
   ENTRIES loaded_again(const std::string& root) {
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::load_database(file().c_str(), root.c_str());
      for (const std::string& event : events()) {
         EXPECT_FALSE(event.starts_with("report: ")) << event;
      }
      return loaded();
   }

   /// The entries of a file with these lines, under a root.
   ENTRIES loaded_from(const std::string& lines, const std::string& root) {
      LOGDB_DATABASE::unload_database();
      LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
      write_file(file(), "v1\n" + lines);
      return loaded_again(root);
   }

   std::string file() const { return path("partition.logdb"); }

   EVENTS m_reports;
};

TEST_F(LOGDB_DATABASE_PARTITION, a_name_inside_is_written_relative_and_restored) {
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a|b"}}}, "top|u1"),
             "DSP_BALANCING_IMPLEMENTATION,g,a|b,\n");
   EXPECT_EQ(m_reports, EVENTS{});
   EXPECT_EQ(loaded_again("top|u1"), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a|b"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, a_partition_can_be_loaded_under_another_root) {
   committed({{REGISTER_PACKING, {"a", "b", "c", "top|u1|d", "top|u1|e|f"}}}, "top|u1");
   EXPECT_EQ(loaded_again("chip|core|u7"),
             (ENTRIES{{REGISTER_PACKING, {"a", "b", "c", "chip|core|u7|d", "chip|core|u7|e|f"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, a_root_that_ends_inside_a_level_is_accepted_and_reads_back_with_a_separator) {
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1x|n"}}}, "top|u1"),
             "DSP_BALANCING_IMPLEMENTATION,g,x|n,\n");
   EXPECT_EQ(m_reports, EVENTS{});
   EXPECT_EQ(loaded_again("top|u1"), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|x|n"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, a_name_outside_is_reported_and_missing) {
   EXPECT_EQ(
       committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1"}},
                  {DSP_BALANCING_IMPLEMENTATION, {"g", "top|u2|a"}},
                  {DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a"}}},
                 "top|u1"),
       "DSP_BALANCING_IMPLEMENTATION,g,\nDSP_BALANCING_IMPLEMENTATION,g,\nDSP_BALANCING_IMPLEMENTATION,g,a,\n");
   EXPECT_EQ(m_reports, (EVENTS{outside("top|u1", "top|u1"), outside("top|u2|a", "top|u1")}));
   EXPECT_EQ(loaded_again("top|u1"), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g"}},
                                              {DSP_BALANCING_IMPLEMENTATION, {"g"}},
                                              {DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, a_field_behind_a_missing_name_moves_up_and_takes_its_role) {
   EXPECT_EQ(committed({{REGISTER_PACKING, {"a", "b", "c", "elsewhere", "top|u1|e"}}}, "top|u1"),
             "REGISTER_PACKING,a,b,c,e,\n");
   EXPECT_EQ(m_reports, EVENTS{outside("elsewhere", "top|u1")});
   EXPECT_EQ(loaded_again("top|u1"), (ENTRIES{{REGISTER_PACKING, {"a", "b", "c", "top|u1|e"}}}));

   EXPECT_EQ(committed({{REGISTER_PACKING, {"a", "b", "c", "elsewhere", "top|u1|e", "generic"}}}, "top|u1"),
             "REGISTER_PACKING,a,b,c,e,generic,\n");
   EXPECT_EQ(loaded_again("top|u1"), (ENTRIES{{REGISTER_PACKING, {"a", "b", "c", "top|u1|e", "top|u1|generic"}}}));

   EXPECT_EQ(committed({{REGISTER_PACKING, {"a", "b", "c", "top|u1|d", "elsewhere", "generic"}}}, "top|u1"),
             "REGISTER_PACKING,a,b,c,d,generic,\n");
   EXPECT_EQ(committed({{REGISTER_PACKING, {"a", "b", "c", "x", "y"}}}, "top|u1"), "REGISTER_PACKING,a,b,c,\n");
   EXPECT_EQ(m_reports, (EVENTS{outside("x", "top|u1"), outside("y", "top|u1")}));
}

TEST_F(LOGDB_DATABASE_PARTITION, with_an_empty_root_every_non_empty_name_is_inside) {
   EXPECT_EQ(committed({{REGISTER_PACKING, {"a", "b", "c", "|d", "e"}}}, ""), "REGISTER_PACKING,a,b,c,d,e,\n");
   EXPECT_EQ(m_reports, EVENTS{});
   EXPECT_EQ(loaded_again(""), (ENTRIES{{REGISTER_PACKING, {"a", "b", "c", "|d", "|e"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, an_empty_name_is_never_inside) {
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", ""}}}, ""), "DSP_BALANCING_IMPLEMENTATION,g,\n");
   EXPECT_EQ(m_reports, EVENTS{outside("", "")});
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", ""}}}, "top"), "DSP_BALANCING_IMPLEMENTATION,g,\n");
   EXPECT_EQ(m_reports, EVENTS{outside("", "top")});
}

TEST_F(LOGDB_DATABASE_PARTITION, an_empty_name_that_a_file_holds_becomes_the_root_and_a_separator) {
   load();
   add(DSP_BALANCING_IMPLEMENTATION, {"g", ""});
   LOGDB_DATABASE::commit_database();
   const std::string plain_file =
       database_path("revision", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   EXPECT_EQ(read_file(plain_file), "v1\nDSP_BALANCING_IMPLEMENTATION,g,,\n");
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database(plain_file.c_str(), "top|u1");
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, generic_fields_keep_what_looks_like_a_root) {
   const ENTRIES entries = {
       {DSP_BALANCING_IMPLEMENTATION, {"top|u1|g", "top|u1|n", "top|u1|h", "|"}},
       {REGISTER_PACKING, {"top|u1|a", "|", "top|u1", "top|u1|d", "top|u1|e", "top|u1|f"}},
       {RAM_PACKING, {"0|", "top|u1|1", "2", "3", "4", "5", "6", "7", "top|u1|8", "top|u1|9"}}};
   EXPECT_EQ(committed(entries, "top|u1"), "DSP_BALANCING_IMPLEMENTATION,top|u1|g,n,top|u1|h,|,\n"
                                           "REGISTER_PACKING,top|u1|a,|,top|u1,d,e,top|u1|f,\n"
                                           "RAM_PACKING,0|,top|u1|1,2,3,4,5,6,7,8,top|u1|9,\n");
   EXPECT_EQ(m_reports, EVENTS{});
   EXPECT_EQ(loaded_again("top|u1"), entries);
}

TEST_F(LOGDB_DATABASE_PARTITION, kinds_without_node_names_are_as_in_a_plain_file) {
   ENTRIES entries;
   for (const int kind :
        {FIT_COMPUTED_DQSBUSMUX_COUNTS, FSYN_LOG_FILE, IO_RULES_SUMMARY, IO_RULES, IO_RULES_MATRIX}) {
      entries.push_back({kind, std::vector<std::string>(10, "top|u1|x")});
      entries.push_back({kind, {}});
      entries.push_back({kind, {"", "|"}});
   }
   const std::string bytes = committed(entries, "top|u1");
   EXPECT_EQ(m_reports, EVENTS{});
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ("v1\n" + bytes,
             read_file(database_path("revision", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP))));
   EXPECT_EQ(loaded_again("top|u1"), entries);
}

TEST_F(LOGDB_DATABASE_PARTITION, an_unknown_kind_has_no_node_names_either_way) {
   EXPECT_EQ(loaded_from("NO_SUCH_KIND,a,b,c,d,e,\n", "top"), (ENTRIES{{-1, {"a", "b", "c", "d", "e"}}}));
   LOGDB_DATABASE::commit_database(file().c_str(), "top");
   EXPECT_EQ(read_file(file()), "v1\n,a,b,c,d,e,\n");
   const EVENTS found = events();
   EXPECT_EQ(found[1], "report: The calling function has passed an illegal LOGDB_ENTRY_TYPE_ENUM.");
   EXPECT_EQ(found.size(), 4u);
}

TEST_F(LOGDB_DATABASE_PARTITION, a_root_is_used_exactly_as_it_is_given) {
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a"}}}, "top|u1|"),
             "DSP_BALANCING_IMPLEMENTATION,g,a,\n");
   EXPECT_EQ(loaded_again("top|u1|"), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1||a"}}}));
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "top|u1|a"}}}, "TOP|U1"),
             "DSP_BALANCING_IMPLEMENTATION,g,\n")
       << "case counts";
   EXPECT_EQ(m_reports, EVENTS{outside("top|u1|a", "TOP|U1")});
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "a,b|c"}}}, "a,b"),
             "DSP_BALANCING_IMPLEMENTATION,g,c,\n");
   EXPECT_EQ(m_reports, EVENTS{});
}

TEST_F(LOGDB_DATABASE_PARTITION, one_level_separator_behind_the_root_is_cut_and_no_more) {
   EXPECT_EQ(committed({{DSP_BALANCING_IMPLEMENTATION, {"g", "top||a"}},
                        {DSP_BALANCING_IMPLEMENTATION, {"g", "top|"}},
                        {DSP_BALANCING_IMPLEMENTATION, {"g", "top||"}}},
                       "top"),
             "DSP_BALANCING_IMPLEMENTATION,g,|a,\nDSP_BALANCING_IMPLEMENTATION,g,,\nDSP_BALANCING_IMPLEMENTATION,"
             "g,|,\n");
   EXPECT_EQ(m_reports, EVENTS{});
   EXPECT_EQ(loaded_again("top"), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top||a"}},
                                           {DSP_BALANCING_IMPLEMENTATION, {"g", "top|"}},
                                           {DSP_BALANCING_IMPLEMENTATION, {"g", "top||"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, a_plain_commit_and_load_know_no_root) {
   EXPECT_EQ(loaded_from("DSP_BALANCING_IMPLEMENTATION,g,a,\n", "top"),
             (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}}}));
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, names_are_prefixed_once_a_load) {
   EXPECT_EQ(loaded_from("DSP_BALANCING_IMPLEMENTATION,g,a,\n", "top"),
             (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}}}));
   LOGDB_DATABASE::load_database(file().c_str(), "top");
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}}})) << "already loaded";
   EXPECT_EQ(loaded_again("top"), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, a_prefixed_name_takes_no_more_room_than_it_needs) {
   loaded_from("DSP_BALANCING_IMPLEMENTATION,g,u1|multiplier[17]~DUPLICATE,\n", "top|core:cpu");
   const MEM_STRING& name = LOGDB_DATABASE::get_database()->get_entry(0)->m_data_vector[1];
   EXPECT_EQ(name, "top|core:cpu|u1|multiplier[17]~DUPLICATE");
   EXPECT_EQ(name.capacity(), name.size());
}

TEST_F(LOGDB_DATABASE_PARTITION, a_file_that_fails_to_read_is_not_prefixed) {
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
   write_file(file(), "v1\nDSP_BALANCING_IMPLEMENTATION,g,a,\ncut");
   LOGDB_DATABASE::load_database(file().c_str(), "top");
   EXPECT_EQ(m_host.take_report_texts("logdb_database"), std::vector<std::string>{"Failed reading log-db file"});
   EXPECT_EQ(loaded(), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", "a"}}}));
}

TEST_F(LOGDB_DATABASE_PARTITION, very_long_roots_and_names_are_no_problem) {
   const std::string root(10000, 'r');
   const std::string name(10000, 'n');
   committed({{DSP_BALANCING_IMPLEMENTATION, {"g", root + "|" + name}}}, root);
   EXPECT_EQ(m_reports, EVENTS{});
   EXPECT_EQ(loaded_again(root), (ENTRIES{{DSP_BALANCING_IMPLEMENTATION, {"g", root + "|" + name}}}));
   committed({{DSP_BALANCING_IMPLEMENTATION, {"g", name}}}, root);
   EXPECT_EQ(m_reports, EVENTS{outside(name, root)});
}

} // namespace
