#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "example_stage.h"

namespace {

using ::testing::HasSubstr;

/// A small design with something to do for each pass.
std::string design() {
   std::string text = ".model top\n"
                      ".inputs clock reset_n a b c wen pad\n"
                      ".outputs q r y m\n"
                      ".names one\n1\n"
                      // A pin that goes straight into a register.
                      ".outputs p\n.subckt REGISTER data=pad clock=clock out=p\n.cname p\n"
                      // An inverter for the clears, and a chain of two in front of the enables.
                      ".names reset_n reset\n0 1\n"
                      ".subckt REGISTER data=a clock=clock out=stop\n.cname stop\n"
                      ".names stop z_go\n0 1\n"
                      ".names z_go hold\n0 1\n"
                      // A wire, a constant input, a repeated input, an input without influence.
                      ".names b wire\n1 1\n"
                      ".names wire one c x\n111 1\n"
                      ".names x x a late\n110 1\n001 1\n"
                      ".names late b c y\n1-- 1\n"
                      // Dangling: a register that feeds itself.
                      ".names lost lost_next\n0 1\n"
                      ".subckt REGISTER data=lost_next clock=clock out=lost\n.cname lost\n"
                      // A memory of two bits of which one is read; its write enable comes over an inverter.
                      ".names wen wen_n\n0 1\n"
                      ".subckt RAM write_clock=clock write_enable=wen_n write_address[0]=a write_data[0]=b "
                      "write_data[1]=c read_clock=clock read_address[0]=c read_data[0]=m\n.cname memory\n"
                      ".subckt REGISTER data=b clock=clock enable=one clear=reset out=r\n.cname r\n"
                      // The first of two levels is late at the slow input of the second.
                      ".names late a b c deep\n0100 1\n1011 1\n"
                      ".subckt REGISTER data=deep clock=clock clear=reset out=q_0\n.cname q_0\n";
   // Enough registers for gated clocks, buffers and duplicates. A clock cannot be gated by an inverted enable.
   text += ".names c c_n\n0 1\n";
   const std::vector<std::string> enables = {"hold", "c", "c_n"};
   for (int number = 0; number < 210; ++number) {
      const std::string from = "q_" + std::to_string(number);
      const std::string to = "q_" + std::to_string(number + 1);
      text += ".names " + from + " q_0 d" + to + "\n10 1\n01 1\n";
      text += ".subckt REGISTER data=d" + to +
              " clock=clock enable=" + enables[static_cast<std::size_t>(number) % 3] + " clear=reset out=" + to +
              "\n.cname " + to + "\n";
   }
   return text + ".names q_210 q\n1 1\n.end\n";
}

std::set<std::string> keywords(const std::string& log) {
   std::set<std::string> found;
   std::istringstream lines(log);
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("PHYSICAL_SYNTHESIS_")) {
         found.insert(line.substr(std::string("PHYSICAL_SYNTHESIS_").size()));
      }
   }
   return found;
}

class PHYSICAL_SYNTHESIS_TEST : public EXAMPLE_STAGE_TEST {
protected:
   PHYSICAL_SYNTHESIS_TEST() { write_file(path("design.blif"), design()); }

   STAGE_RUN stage(const std::vector<std::string>& arguments) {
      return run(example_program("physical_synthesis"), arguments);
   }

   void expect_stage(const std::vector<std::string>& arguments, int status) {
      expect_run(example_program("physical_synthesis"), arguments, status);
   }

   /// The log of an undisturbed run on the small design.
   std::string whole_log() {
      expect_stage({"optimise", "design.blif", "Whole.fsyn", "--result", "result.txt"}, 0);
      return read_file(path("Whole.fsyn"));
   }
};

} // namespace

TEST_F(PHYSICAL_SYNTHESIS_TEST, changes_the_netlist_but_not_what_it_does_and_a_replay_changes_it_equally) {
   const STAGE_RUN optimise = stage({"optimise", "design.blif", "Design.fsyn", "--result", "result.txt"});
   EXPECT_EQ(optimise.m_status, 0);
   EXPECT_THAT(optimise.m_output, HasSubstr("consistent, and does what the original does: 5 pins"));
   EXPECT_THAT(optimise.m_output, HasSubstr(" 20 registers duplicated\n")) << "209 readers, ten for each";
   const STAGE_RUN replay = stage({"replay", "design.blif", "Design.fsyn", "--expect", "result.txt"});
   EXPECT_EQ(replay.m_status, 0) << replay.m_output;
   EXPECT_THAT(replay.m_output, HasSubstr("the netlist is identical with result.txt\n"));
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, uses_records_of_many_kinds) {
   const std::set<std::string> kinds = keywords(whole_log());
   for (const char* kind : {"LOG_REVISION_NUMBER_VELMORA_6.0",
                            "PRE_PLACEMENT_FLOW",
                            "POST_PLACEMENT_FLOW",
                            "INSERT_ATOM",
                            "DELETE_ATOM",
                            "CREATE_ITERM",
                            "CREATE_OTERM",
                            "SET_LUTMASK",
                            "SET_USAGE_AS",
                            "SET_CONNECTED_TO_DELAY_CHAIN",
                            "SET_DELAY_CHAIN_INDEX",
                            "CLEAR_INVERT",
                            "SET_INVERT",
                            "SET_GLOBAL",
                            "REPLACE_INPUT_TERM_BY_TYPE",
                            "REMOVE_UNORDERED_FANOUT_TERM",
                            "STORE_NODE_INFO",
                            "ADD_REMOVE_CONNECTION_LCELL_COMB",
                            "ADD_REMOVE_CONNECTION_LCELL_FF",
                            "ADD_REMOVE_CONNECTION_IO",
                            "ADD_REMOVE_CONNECTION_RAM",
                            "SET_OUTPUT_PORT_CLOCK",
                            "SET_INPUT_PORT_CLOCK",
                            "SET_INPUT_PORT_WIDTH",
                            "COPY_ATOM_LOCATION_CONSTRAINTS",
                            "COPY_OTERM_TIMING_ASSIGNMENTS",
                            "CONFIRM_CLKBUF",
                            "END_OF_LOG_PRINT",
                            "END_OF_LOG"}) {
      EXPECT_TRUE(kinds.contains(kind)) << kind;
   }
   EXPECT_FALSE(kinds.contains("SET_INSTANCE_NAME")) << "nobody survives writing one";
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, the_log_begins_with_its_revision_and_replaces_an_older_one) {
   write_file(path("Whole.fsyn"), "an older log\n");
   const std::string log = whole_log();
   EXPECT_TRUE(log.starts_with("PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0\n"
                               "PHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n"));
   EXPECT_TRUE(log.ends_with("PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\nPHYSICAL_SYNTHESIS_END_OF_LOG\n"));
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_replay_on_another_netlist_names_the_record_that_does_not_fit) {
   whole_log();
   write_file(path("other.blif"), ".model top\n.inputs a\n.outputs y\n.names a y\n0 1\n.end\n");
   const STAGE_RUN replay = stage({"replay", "other.blif", "Whole.fsyn"});
   EXPECT_EQ(replay.m_status, 3);
   EXPECT_EQ(replay.m_output,
             "physical_synthesis: record 3, REPLACE_INPUT_TERM_BY_TYPE, does not fit the netlist: "
             "the netlist has no atom \"r\"\n");
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_result_that_differs_is_shown) {
   std::string log = whole_log();
   const std::string note = "clock~buffer 50 0 ";
   const std::size_t network = log.find(note) + note.size();
   ASSERT_EQ(log.at(network), '0');
   log.at(network) = '3';
   write_file(path("changed.fsyn"), log);
   const STAGE_RUN replay = stage({"replay", "design.blif", "changed.fsyn", "--expect", "result.txt"});
   EXPECT_EQ(replay.m_status, 1);
   EXPECT_THAT(replay.m_output, HasSubstr("the netlist is not that of result.txt: line"));
   EXPECT_THAT(replay.m_output, HasSubstr("global=3"));
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_log_without_an_end_is_not_replayed) {
   const std::string log = whole_log();
   write_file(path("cut.fsyn"), log.substr(0, log.find("PHYSICAL_SYNTHESIS_END_OF_LOG")));
   const STAGE_RUN replay = stage({"replay", "design.blif", "cut.fsyn"});
   EXPECT_EQ(replay.m_status, 3);
   EXPECT_EQ(replay.m_output,
             "physical_synthesis: the log cut.fsyn has no END_OF_LOG: its writer did not finish (try "
             "recover)\n");
   expect_stage({"replay", "design.blif", "missing.fsyn"}, 3);
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_killed_run_leaves_the_beginning_of_the_log) {
   const std::string log = whole_log();
   for (const std::size_t bytes : {std::size_t{1}, log.size() / 3, log.size() - 1}) {
      expect_stage({"optimise", "design.blif", "killed.fsyn", "--kill-at-bytes", std::to_string(bytes)}, 128 + 9);
      EXPECT_TRUE(read_file(path("killed.fsyn")) == log.substr(0, bytes)) << bytes;
   }
}

/// Wherever a log breaks off, its whole records are found, and what was replayed still does what the original
/// does.
TEST_F(PHYSICAL_SYNTHESIS_TEST, a_log_cut_anywhere_is_recovered_up_to_the_cut) {
   const std::string log = whole_log();
   const std::string keyword = "PHYSICAL_SYNTHESIS_";
   for (std::size_t bytes = 0; bytes <= log.size(); bytes += bytes < 200 ? 29 : log.size() / 17) {
      write_file(path("cut.fsyn"), log.substr(0, bytes));
      const STAGE_RUN recover = stage({"recover", "design.blif", "cut.fsyn", "--whole-log", "kept.fsyn"});
      ASSERT_EQ(recover.m_status, 0) << bytes << " bytes: " << recover.m_output;
      // The next keyword that a whole log has tells where its records end.
      std::size_t whole = 0;
      for (std::size_t next = 0; next <= bytes; next = next == log.size() ? bytes + 1 : next) {
         whole = next;
         const std::size_t following = log.find("\n" + keyword, next + 1);
         next = following == std::string::npos ? log.size() : following + 1;
      }
      ASSERT_TRUE(read_file(path("kept.fsyn")) == log.substr(0, whole)) << bytes << " bytes";
   }
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_recovery_names_the_half_change_and_the_cut_record) {
   const std::string log = whole_log();
   const std::string next = "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_COMB\n";
   const std::size_t connection = log.find(next, log.find("PHYSICAL_SYNTHESIS_SET_LUTMASK\nx\n"));
   write_file(path("cut.fsyn"), log.substr(0, connection + next.size() + 1));
   const STAGE_RUN recover = stage({"recover", "design.blif", "cut.fsyn", "--whole-log", "kept.fsyn"});
   EXPECT_EQ(recover.m_status, 0);
   EXPECT_THAT(recover.m_output, HasSubstr("  left out, a change half done: SET_LUTMASK of x\n"));
   EXPECT_THAT(recover.m_output, HasSubstr("  left out, a record cut short: 53 bytes that begin with "
                                           "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_COMB\n"));
}

// A name may hold what a terminal obeys; nobody who looks into a log of somebody else's is to be its victim.
TEST_F(PHYSICAL_SYNTHESIS_TEST, names_are_printed_with_their_control_bytes_spelled_out) {
   const std::string keyword = "PHYSICAL_SYNTHESIS_SET_LUTMASK\n";
   std::string log = whole_log();
   log.replace(log.find(keyword + "x\n") + keyword.size(), 1, "\x1b]0;mine\x07\xc2\x9b");
   write_file(path("evil.fsyn"), log);
   const STAGE_RUN replay = stage({"replay", "design.blif", "evil.fsyn"});
   EXPECT_NE(replay.m_status, 0);
   EXPECT_THAT(replay.m_output, HasSubstr("\\x1b]0;mine\\x07\\xc2\\x9b"));
   EXPECT_EQ(replay.m_output.find('\x1b'), std::string::npos);
   write_file(path("cut.fsyn"), "PHYSICAL_SYNTHESIS_\x1b[2J");
   const STAGE_RUN recover = stage({"recover", "design.blif", "cut.fsyn", "--whole-log", "kept.fsyn"});
   EXPECT_THAT(recover.m_output, HasSubstr("that begin with PHYSICAL_SYNTHESIS_\\x1b[2J\n"));
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_sound_log_is_recovered_whole) {
   const std::string log = whole_log();
   const STAGE_RUN recover =
       stage({"recover", "design.blif", "Whole.fsyn", "--whole-log", "kept.fsyn", "--result", "recovered.txt"});
   EXPECT_EQ(recover.m_status, 0);
   EXPECT_EQ(recover.m_output.find("left out"), std::string::npos);
   EXPECT_TRUE(read_file(path("kept.fsyn")) == log);
   EXPECT_TRUE(read_file(path("recovered.txt")) == read_file(path("result.txt")));
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, a_recovery_does_not_write_over_the_log_itself) {
   const std::string log = whole_log();
   const STAGE_RUN recover = stage({"recover", "design.blif", "Whole.fsyn", "--whole-log", "./Whole.fsyn"});
   EXPECT_EQ(recover.m_status, 3);
   EXPECT_EQ(recover.m_output, "physical_synthesis: the whole records need a file of their own\n");
   EXPECT_TRUE(read_file(path("Whole.fsyn")) == log);
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, the_board_is_optimised_and_replayed) {
   expect_stage({"optimise", EXAMPLE_DESIGN, "board.fsyn", "--result", "result.txt"}, 0);
   expect_stage({"replay", EXAMPLE_DESIGN, "board.fsyn", "--expect", "result.txt"}, 0);
   EXPECT_GE(keywords(read_file(path("board.fsyn"))).size(), 25U);
}

TEST_F(PHYSICAL_SYNTHESIS_TEST, wrong_words_and_files_are_told_apart) {
   expect_stage({}, 2);
   expect_stage({"optimise", "design.blif"}, 2);
   expect_stage({"recover", "design.blif", "Whole.fsyn"}, 2);
   expect_stage({"recover", "design.blif", "missing.fsyn", "--whole-log", "kept.fsyn"}, 3);
   expect_stage({"optimise", "design.blif", "no/such/folder/log.fsyn"}, 3);
   expect_stage({"--help"}, 0);
}
