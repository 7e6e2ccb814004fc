#include <gmock/gmock.h>

#include "example_stage.h"

namespace {

using ::testing::HasSubstr;

/// Two equal blocks, a third that differs, and a register outside. In each block a LUT feeds a register,
/// which feeds another one; the registers of the third have different enables.
const std::string DESIGN = ".model top\n"
                           ".inputs clock a b e\n"
                           ".outputs q\n"
                           ".names a b top|x|d\n11 1\n"
                           ".subckt REGISTER data=top|x|d clock=clock enable=e out=top|x|q\n.cname top|x|q\n"
                           ".subckt REGISTER data=top|x|q clock=clock enable=e out=top|x|r\n.cname top|x|r\n"
                           ".names a b top|y|d\n11 1\n"
                           ".subckt REGISTER data=top|y|d clock=clock enable=e out=top|y|q\n.cname top|y|q\n"
                           ".subckt REGISTER data=top|y|q clock=clock enable=e out=top|y|r\n.cname top|y|r\n"
                           ".names a b top|z|d\n11 1\n"
                           ".subckt REGISTER data=top|z|d clock=clock enable=e out=top|z|q\n.cname top|z|q\n"
                           ".subckt REGISTER data=top|z|q clock=clock out=top|z|r\n.cname top|z|r\n"
                           ".names top|x|r top|y|r top|z|r top|x1|d\n111 1\n"
                           ".subckt REGISTER data=top|x1|d clock=clock out=top|x1|q\n.cname top|x1|q\n"
                           ".names top|x1|q q\n1 1\n"
                           ".names a b s\n01 1\n"
                           ".subckt REGISTER data=s clock=clock out=t\n.cname t\n"
                           ".subckt REGISTER data=s clock=clock out=top|v|q\n.cname top|v|q\n"
                           ".names a b top|v|d\n10 1\n"
                           ".subckt REGISTER data=top|v|d clock=clock out=top|v|p\n.cname top|v|p\n"
                           ".end\n";

class REGISTER_PACKING_TEST : public EXAMPLE_STAGE_TEST {
protected:
   REGISTER_PACKING_TEST() { write_file(path("design.blif"), DESIGN); }

   STAGE_RUN stage(const std::vector<std::string>& arguments) {
      return run(example_program("register_packing"), arguments);
   }

   void expect_stage(const std::vector<std::string>& arguments, int status) {
      expect_run(example_program("register_packing"), arguments, status);
   }
};

} // namespace

TEST_F(REGISTER_PACKING_TEST, logs_its_decisions_as_entries_of_the_three_kinds) {
   expect_stage({"pack", "design.blif", "--packed", "packed.txt"}, 0);
   const std::string behind_lut =
       "REGISTER_PACKING,PACKED,the register is the only reader of the LUT,REGISTER_BEHIND_LUT,";
   const std::string chain = "REGISTER_PACKING,PACKED,equal control signals,REGISTER_CHAIN,";
   const std::string other_readers =
       "REGISTER_PACKING,APART,the LUT has other readers: it has 2 readers,REGISTER_BEHIND_LUT,";
   EXPECT_EQ(read_file(path("board.cmp.logdb")),
             "v1\n" + behind_lut + "top|v|p,top|v|d,\n" + behind_lut + "top|x1|q,top|x1|d,\n" + behind_lut +
                 "top|x|q,top|x|d,\n" + behind_lut + "top|y|q,top|y|d,\n" + behind_lut + "top|z|q,top|z|d,\n" +
                 chain + "top|x|r,top|x|q,\n" + chain + "top|y|r,top|y|q,\n" + other_readers + "t,s,\n" +
                 other_readers + "top|v|q,s,\n" +
                 "REGISTER_PACKING,APART,the LUT's cell is taken,LUT_BEHIND_REGISTER,top|z|r,top|x1|d,\n");
   EXPECT_EQ(read_file(path("packed.txt")), "logic_cell lut=q\n"
                                            "logic_cell lut=s\n"
                                            "logic_cell lut=top|v|d register=top|v|p\n"
                                            "logic_cell lut=top|x1|d register=top|x1|q\n"
                                            "logic_cell lut=top|x|d register=top|x|q register=top|x|r\n"
                                            "logic_cell lut=top|y|d register=top|y|q register=top|y|r\n"
                                            "logic_cell lut=top|z|d register=top|z|q\n"
                                            "logic_cell register=t\n"
                                            "logic_cell register=top|v|q\n"
                                            "logic_cell register=top|z|r\n");
}

TEST_F(REGISTER_PACKING_TEST, repeats_what_the_database_says_even_where_a_search_would_find_more) {
   expect_stage({"pack", "design.blif", "--packed", "packed.txt"}, 0);
   expect_stage({"repeat", "design.blif", "--expect", "packed.txt"}, 0);
   write_file(path("board.cmp.logdb"),
              "v1\nREGISTER_PACKING,PACKED,because,REGISTER_BEHIND_LUT,top|x|q,top|x|d,\n");
   const STAGE_RUN run = stage({"repeat", "design.blif", "--packed", "other.txt", "--expect", "packed.txt"});
   EXPECT_EQ(run.m_status, 1);
   EXPECT_THAT(run.m_output, HasSubstr("the packed netlist is not that of packed.txt: line 3\n"));
   EXPECT_THAT(read_file(path("other.txt")), HasSubstr("logic_cell lut=top|x|d register=top|x|q\n"));
   EXPECT_THAT(read_file(path("other.txt")), HasSubstr("logic_cell lut=top|y|d\n"));
}

TEST_F(REGISTER_PACKING_TEST, packing_again_replaces_the_database) {
   expect_stage({"pack", "design.blif"}, 0);
   const std::string first = read_file(path("board.cmp.logdb"));
   expect_stage({"pack", "design.blif"}, 0);
   EXPECT_EQ(read_file(path("board.cmp.logdb")), first);
}

TEST_F(REGISTER_PACKING_TEST, entries_of_other_stages_stay_in_the_database) {
   expect_stage({"pack", "design.blif"}, 0);
   const std::string ours = read_file(path("board.cmp.logdb")).substr(3);
   write_file(path("board.cmp.logdb"), "v1\n" + ours + "IO_RULES_SUMMARY,total,10,\n");
   expect_stage({"pack", "design.blif"}, 0);
   EXPECT_EQ(read_file(path("board.cmp.logdb")), "v1\nIO_RULES_SUMMARY,total,10,\n" + ours);
   expect_stage({"repeat", "design.blif"}, 0);
}

TEST_F(REGISTER_PACKING_TEST, a_partition_is_logged_relative_to_its_root_and_repeated_under_another) {
   expect_stage(
       {"pack", "design.blif", "--partition", "top|x", "--partition-file", "x.logdb", "--packed", "x.txt"}, 0);
   EXPECT_EQ(read_file(path("x.logdb")),
             "v1\n"
             "REGISTER_PACKING,PACKED,the register is the only reader of the LUT,REGISTER_BEHIND_LUT,q,d,\n"
             "REGISTER_PACKING,PACKED,equal control signals,REGISTER_CHAIN,r,q,\n")
       << "top|x1 begins with the root and is not in the partition";
   EXPECT_EQ(read_file(path("x.txt")), "logic_cell lut=d register=q register=r\n");
   expect_stage(
       {"repeat", "design.blif", "--partition", "top|y", "--partition-file", "x.logdb", "--expect", "x.txt"}, 0);
}

TEST_F(REGISTER_PACKING_TEST, a_partition_does_not_name_what_lies_outside) {
   expect_stage({"pack", "design.blif", "--partition", "top|v", "--partition-file", "v.logdb"}, 0);
   EXPECT_EQ(read_file(path("v.logdb")),
             "v1\nREGISTER_PACKING,PACKED,the register is the only reader of the LUT,REGISTER_BEHIND_LUT,p,d,\n");
}

TEST_F(REGISTER_PACKING_TEST, a_partition_with_other_control_signals_refuses_the_decisions) {
   expect_stage({"pack", "design.blif", "--partition", "top|x", "--partition-file", "x.logdb"}, 0);
   const STAGE_RUN run = stage({"repeat", "design.blif", "--partition", "top|z", "--partition-file", "x.logdb"});
   EXPECT_EQ(run.m_status, 3);
   EXPECT_EQ(run.m_output,
             "register_packing: the decisions do not fit the netlist: \"top|z|r\" and \"top|z|q\": the "
             "registers have different control signals\n");
}

TEST_F(REGISTER_PACKING_TEST, a_database_of_another_netlist_is_refused) {
   write_file(path("board.cmp.logdb"), "v1\nREGISTER_PACKING,PACKED,because,REGISTER_CHAIN,top|w|r,top|w|q,\n");
   const STAGE_RUN run = stage({"repeat", "design.blif"});
   EXPECT_EQ(run.m_status, 3);
   EXPECT_THAT(run.m_output,
               HasSubstr("do not fit the netlist: \"top|w|r\" and \"top|w|q\": there is no register"));
}

TEST_F(REGISTER_PACKING_TEST, entries_that_are_no_decisions_are_named) {
   const auto output = [&](const std::string& line) {
      write_file(path("board.cmp.logdb"), "v1\nIO_RULES_SUMMARY,a,b,\n" + line);
      const STAGE_RUN run = stage({"repeat", "design.blif"});
      EXPECT_EQ(run.m_status, 3);
      return run.m_output;
   };
   const std::string begin = "register_packing: entry 1 of the database is no packing decision: ";
   EXPECT_EQ(output("REGISTER_PACKING,PACKED,because,REGISTER_CHAIN,top|x|r,\n"), begin + "it has 4 fields\n");
   EXPECT_EQ(output("REGISTER_PACKING,MAYBE,because,REGISTER_CHAIN,top|x|r,top|x|q,\n"),
             begin + "\"MAYBE\" is neither PACKED nor APART\n");
   EXPECT_EQ(output("REGISTER_PACKING,PACKED,because,NEARBY,top|x|r,top|x|q,\n"),
             begin + "\"NEARBY\" is no pattern\n");
   EXPECT_EQ(output("RAM_PACKING,ALONE,1x,WHOLE,READ_WRITE,1,1,EMPTY,because,m,\n"),
             begin + "\"1x\" is no number\n");
   EXPECT_EQ(output("LAND_PACKING,a,\n"), "register_packing: entry 1 of the database is of an unknown kind\n");
   EXPECT_EQ(output(""), "register_packing: no decisions in ./board.cmp.logdb\n");
}

TEST_F(REGISTER_PACKING_TEST, a_damaged_database_is_the_librarys_report) {
   write_file(path("board.cmp.logdb"), "v1\nREGISTER_PACKING,PACKED");
   const STAGE_RUN run = stage({"repeat", "design.blif"});
   EXPECT_EQ(run.m_status, 3);
   EXPECT_EQ(run.m_output, "register_packing: the library reports: Failed reading log-db file\n");
}

TEST_F(REGISTER_PACKING_TEST, a_database_that_cannot_be_written_is_noticed) {
   const STAGE_RUN run = stage({"pack", "design.blif", "--directory", "no/such/folder"});
   EXPECT_EQ(run.m_status, 3);
   EXPECT_EQ(run.m_output, "register_packing: cannot write no/such/folder/board.cmp.logdb\n");
}

TEST_F(REGISTER_PACKING_TEST, memories_and_multipliers_take_part_in_the_board) {
   expect_stage({"pack", EXAMPLE_DESIGN, "--packed", "packed.txt"}, 0);
   expect_stage({"repeat", EXAMPLE_DESIGN, "--expect", "packed.txt"}, 0);
   const std::string database = read_file(path("board.cmp.logdb"));
   EXPECT_THAT(
       database,
       HasSubstr("\nDSP_BALANCING_IMPLEMENTATION,LOGIC_CELLS,board|u_channel_b|u_gain|product~multiplier,\n"));
   EXPECT_THAT(database, HasSubstr("\nRAM_PACKING,ALONE,4,WHOLE,READ_ONLY,16,512,CONTENTS,needs all words,"
                                   "board|u_controller|program_memory,\n"));
   const STAGE_RUN small = stage({"repeat", EXAMPLE_DESIGN, "--multiplier-blocks", "4"});
   EXPECT_EQ(small.m_status, 3);
   EXPECT_THAT(small.m_output, HasSubstr("there are only 4 multiplier blocks"));
}

TEST_F(REGISTER_PACKING_TEST, one_channel_of_the_board_is_repeated_in_the_other) {
   expect_stage({"pack", EXAMPLE_DESIGN, "--partition", "board|u_channel_a", "--partition-file", "c.logdb",
                 "--packed", "a.txt"},
                0);
   EXPECT_THAT(read_file(path("c.logdb")), ::testing::Not(HasSubstr("board|")));
   expect_stage({"repeat", EXAMPLE_DESIGN, "--partition", "board|u_channel_b", "--partition-file", "c.logdb",
                 "--expect", "a.txt"},
                0);
   expect_stage({"repeat", EXAMPLE_DESIGN, "--partition", "board|u_controller", "--partition-file", "c.logdb"}, 3);
}

TEST_F(REGISTER_PACKING_TEST, wrong_words_are_a_usage_error) {
   expect_stage({}, 2);
   expect_stage({"pack"}, 2);
   expect_stage({"pack", "no_such.blif"}, 2);
   expect_stage({"pack", "design.blif", "--partition", "top|x"}, 2);
   expect_stage({"--help"}, 0);
}
