#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "blif_reader.h"
#include "canonical_text.h"
#include "consistency.h"
#include "equivalence.h"
#include "lut_mask.h"
#include "partition.h"
#include "simulation.h"
#include "text_file.h"

namespace {

NETLIST read(const std::string& text) {
   std::istringstream stream(text);
   return read_blif(stream, "test");
}

/// A register with a LUT in front of it, an input pin, an output pin.
const std::string TOGGLE = ".model top\n"
                           ".inputs clock stop\n"
                           ".outputs q # the register\n"
                           ".names q stop d\n"
                           "00 1\n"
                           ".subckt REGISTER \\\n"
                           " data=d clock=clock out=q\n"
                           ".cname q\n"
                           ".end\n";

std::string error_of(const std::string& text) {
   try {
      read(text);
   } catch (const NETLIST_ERROR& error) {
      return error.what();
   }
   return "no error";
}

} // namespace

TEST(LUT_MASK_TEST, an_input_alone_is_the_function_that_depends_on_it_and_nothing_else) {
   for (int input = 0; input < 6; ++input) {
      for (int other = 0; other < 6; ++other) {
         EXPECT_EQ(depends_on(input_mask(input), other), input == other);
      }
      EXPECT_EQ(with_input_inverted(input_mask(input), input), ~input_mask(input));
      EXPECT_EQ(with_input_held(input_mask(input), input, true), ~std::uint64_t{0});
      EXPECT_EQ(with_input_held(input_mask(input), input, false), 0U);
   }
}

TEST(LUT_MASK_TEST, moving_inputs_moves_the_bits_of_each_input_value) {
   const std::vector<int> places = {3, 0, 5, 1, 4, 2};
   std::mt19937_64 bits(7);
   for (int repetition = 0; repetition < 50; ++repetition) {
      const std::uint64_t mask = bits();
      const std::uint64_t moved = with_inputs_moved(mask, places);
      for (unsigned value = 0; value < 64; ++value) {
         unsigned moved_value = 0;
         for (unsigned input = 0; input < 6; ++input) {
            moved_value |= ((value >> input) & 1U) << static_cast<unsigned>(places[input]);
         }
         ASSERT_EQ((mask >> value) & 1U, (moved >> moved_value) & 1U);
      }
   }
}

TEST(BLIF_READER_TEST, atoms_bear_the_names_of_nets_cells_and_pins) {
   EXPECT_EQ(canonical_text(read(TOGGLE)), "clock~input input_pin out2.0=clock in21.0=-\n"
                                           "d lut mask=1111111111111111 out0.0=d in0.0=q in0.1=stop\n"
                                           "q register out1.0=q in10.0=d in11.0=clock\n"
                                           "q~output output_pin in20.0=q\n"
                                           "stop~input input_pin out2.0=stop in21.0=-\n");
}

TEST(BLIF_READER_TEST, rows_may_list_the_zeros_instead_and_leave_inputs_open) {
   NETLIST zeros = read(".model t\n.inputs a b\n.outputs y\n.names a b y\n11 0\n.end\n");
   NETLIST ones = read(".model t\n.inputs a b\n.outputs y\n.names a b y\n0- 1\n-0 1\n.end\n");
   EXPECT_EQ(canonical_text(zeros), canonical_text(ones));
   EXPECT_EQ(zeros.atom("y").m_lut_mask, 0x7777777777777777U);
}

TEST(BLIF_READER_TEST, a_lut_without_inputs_is_a_constant) {
   NETLIST netlist = read(".model t\n.outputs y z\n.names y\n.names z\n1\n.end\n");
   EXPECT_EQ(netlist.atom("y").m_lut_mask, 0U);
   EXPECT_EQ(netlist.atom("z").m_lut_mask, ~std::uint64_t{0});
}

TEST(BLIF_READER_TEST, what_is_wrong_is_said_with_the_line) {
   EXPECT_EQ(error_of(".model t\n.latch a b\n.end\n"), "test:2: unknown statement .latch");
   EXPECT_EQ(error_of(".model t\n"), "test:1: the file ends without .end");
   EXPECT_EQ(error_of(".model t\n.inputs a\n.names a y\n2 1\n.end\n"), "test:4: bad truth table row 2");
   EXPECT_EQ(error_of(".model t\n.inputs a\n.names a y\n11 1\n.end\n"), "test:4: bad truth table row 11");
   EXPECT_EQ(error_of(".model t\n.outputs y\n.end\n"),
             "test:3: nothing drives the net \"y\", which \"y~output\" reads");
   EXPECT_EQ(error_of(".model t\n.inputs a\n.names a\n.end\n"),
             "test:3: two atoms drive the net \"a\": \"a~input\" and \"a\"");
   EXPECT_EQ(error_of(".model t\n.subckt LATCH d=a\n.cname x\n.end\n"), "test:4: unknown cell type LATCH");
   EXPECT_EQ(error_of(".model t\n.subckt RAM write_data[16]=a\n.cname x\n.end\n"),
             "test:4: \"x\", a ram, cannot have an input of type 33 and index 16");
   EXPECT_EQ(error_of(".model t\n.subckt REGISTER data=a\n.cname x\n.end\n"),
             "test:4: the register \"x\" has no output");
   EXPECT_EQ(error_of(".model t\n.inputs a\n.names a y\n.names a y\n.end\n"), "test:4: there are two atoms \"y\"");
}

TEST(BLIF_READER_TEST, a_missing_file_is_an_error) {
   EXPECT_THROW(read_blif_file("there/is/no/such/file.blif"), NETLIST_ERROR);
}

TEST(NETLIST_TEST, an_atom_that_others_read_cannot_be_removed_alone) {
   NETLIST netlist = read(TOGGLE);
   const std::string before = canonical_text(netlist);
   EXPECT_THROW(netlist.remove_atoms({"d"}), NETLIST_ERROR);
   EXPECT_THROW(netlist.remove_atoms({"q", "d"}), NETLIST_ERROR);
   EXPECT_EQ(canonical_text(netlist), before);
   netlist.remove_atoms({"q", "d", "q~output"});
   EXPECT_EQ(canonical_text(netlist), "clock~input input_pin out2.0=clock in21.0=-\n"
                                      "stop~input input_pin out2.0=stop in21.0=-\n");
   EXPECT_EQ(netlist.find_net("d"), nullptr);
   EXPECT_TRUE(netlist.net("clock").m_sinks.empty());
}

TEST(NETLIST_TEST, an_input_leaves_its_net_when_it_is_connected_to_another) {
   NETLIST netlist = read(TOGGLE);
   netlist.connect(netlist.atom("d"), LUT_INPUT, 0, &netlist.net("stop"));
   EXPECT_EQ(netlist.net("q").m_sinks.size(), 1U);
   EXPECT_EQ(netlist.net("stop").m_sinks.size(), 2U);
   EXPECT_TRUE(find_inconsistencies(netlist).empty());
   EXPECT_THROW(netlist.connect(netlist.atom("d"), LUT_INPUT, 2, nullptr), NETLIST_ERROR);
}

TEST(CONSISTENCY_TEST, a_lut_that_depends_on_an_open_input_is_found) {
   NETLIST netlist = read(TOGGLE);
   netlist.connect(netlist.atom("d"), LUT_INPUT, 1, nullptr);
   EXPECT_EQ(find_inconsistencies(netlist), std::vector<std::string>{"the LUT \"d\" depends on its open input 1"});
}

TEST(CONSISTENCY_TEST, a_net_without_a_driver_is_found) {
   NETLIST netlist = read(TOGGLE);
   netlist.connect(netlist.atom("d"), LUT_INPUT, 1, &netlist.add_net("nothing"));
   EXPECT_EQ(find_inconsistencies(netlist),
             std::vector<std::string>{"nothing drives the net \"nothing\", which \"d\" reads"});
}

TEST(CONSISTENCY_TEST, a_loop_without_a_register_is_found) {
   NETLIST netlist = read(TOGGLE);
   netlist.connect(netlist.atom("d"), LUT_INPUT, 1, &netlist.net("d"));
   EXPECT_EQ(find_inconsistencies(netlist),
             std::vector<std::string>{"\"d\" is part of a loop without a register, or behind one"});
   EXPECT_THROW(SIMULATION{netlist}, NETLIST_ERROR);
}

TEST(SIMULATION_TEST, a_register_takes_its_data_at_each_clock) {
   const NETLIST netlist = read(TOGGLE);
   SIMULATION simulation(netlist);
   const INPUT_TERMINAL& pin = *netlist.find_atom("q~output")->find_input(PIN_DATA);
   std::string values;
   for (int clock = 0; clock < 6; ++clock) {
      simulation.set_input("stop", clock >= 4);
      simulation.settle();
      simulation.clock();
      values += simulation.value(pin) ? '1' : '0';
   }
   EXPECT_EQ(values, "101000");
}

TEST(SIMULATION_TEST, enable_and_clear_hold_a_register_and_may_be_inverted) {
   NETLIST netlist = read(".model t\n.inputs clock e r\n.outputs q\n.names one\n1\n"
                          ".subckt REGISTER data=one clock=clock enable=e clear=r out=q\n.cname q\n.end\n");
   netlist.atom("q").find_input(REGISTER_CLEAR)->m_inverted = true;
   SIMULATION simulation(netlist);
   const NET& q = netlist.net("q");
   const auto step = [&](bool enable, bool clear_n) {
      simulation.set_input("e", enable);
      simulation.set_input("r", clear_n);
      simulation.settle();
      simulation.clock();
      return simulation.value(q);
   };
   EXPECT_FALSE(step(false, true));
   EXPECT_TRUE(step(true, true));
   EXPECT_TRUE(step(false, true));
   EXPECT_FALSE(step(true, false));
   EXPECT_TRUE(step(true, true));
   simulation.set_input("r", false);
   simulation.settle();
   EXPECT_FALSE(simulation.value(q)) << "a clear does not wait for the clock";
}

TEST(SIMULATION_TEST, a_memory_gives_the_old_word_while_a_new_one_is_written) {
   const NETLIST netlist = read(".model t\n.inputs clock w d a\n.outputs y\n"
                                ".subckt RAM write_clock=clock write_enable=w write_address[0]=a write_data[2]=d "
                                "read_clock=clock read_address[0]=a read_data[2]=y\n"
                                ".cname m\n.param CONTENTS 40000\n.end\n");
   SIMULATION simulation(netlist);
   const INPUT_TERMINAL& pin = *netlist.find_atom("y~output")->find_input(PIN_DATA);
   const auto step = [&](bool write, bool data, bool address) {
      simulation.set_input("w", write);
      simulation.set_input("d", data);
      simulation.set_input("a", address);
      simulation.settle();
      simulation.clock();
      return simulation.value(pin);
   };
   EXPECT_FALSE(step(false, false, false));
   EXPECT_TRUE(step(true, false, true)) << "bit 2 of the word at address 1";
   EXPECT_FALSE(step(true, true, true));
   EXPECT_TRUE(step(false, false, true));
}

TEST(SIMULATION_TEST, multipliers_are_signed) {
   std::string inputs;
   std::string pins;
   for (int bit = 0; bit < 18; ++bit) {
      const std::string number = std::to_string(bit);
      inputs += " a" + number + " b" + number;
      pins += " a[" + number + "]=a" + number + " b[" + number + "]=b" + number;
   }
   std::string outputs;
   for (int bit = 0; bit < 36; ++bit) {
      const std::string number = std::to_string(bit);
      outputs += " y" + number;
      pins += " result[" + number + "]=y" + number;
   }
   NETLIST netlist = read(".model t\n.inputs" + inputs + "\n.outputs" + outputs + "\n.subckt MULTIPLIER" + pins +
                          "\n.cname m\n.end\n");
   SIMULATION simulation(netlist);
   for (const auto& [a, b] : {std::pair{3L, 5L}, {-3L, 5L}, {-131072L, -131072L}, {131071L, -1L}, {0L, -7L}}) {
      for (int bit = 0; bit < 18; ++bit) {
         simulation.set_input("a" + std::to_string(bit), ((a >> bit) & 1) != 0);
         simulation.set_input("b" + std::to_string(bit), ((b >> bit) & 1) != 0);
      }
      simulation.settle();
      for (int bit = 0; bit < 36; ++bit) {
         EXPECT_EQ(simulation.value(netlist.net("y" + std::to_string(bit))), (((a * b) >> bit) & 1) != 0)
             << a << " * " << b << ", bit " << bit;
      }
   }
}

TEST(SIMULATION_TEST, a_buffer_with_an_enable_holds_the_clock_back) {
   NETLIST netlist = read(TOGGLE);
   ATOM& buffer = netlist.add_atom("gate", ATOM_KIND::CLOCK_BUFFER);
   netlist.add_input(buffer, BUFFER_INPUT);
   netlist.connect(buffer, BUFFER_INPUT, 0, &netlist.net("clock"));
   netlist.add_input(buffer, BUFFER_ENABLE);
   netlist.connect(buffer, BUFFER_ENABLE, 0, &netlist.net("stop"));
   netlist.add_output(buffer, BUFFER_OUTPUT, 0, netlist.add_net("gated"));
   netlist.connect(netlist.atom("q"), REGISTER_CLOCK, 0, &netlist.net("gated"));
   netlist.atom("d").m_lut_mask = ~input_mask(0);
   netlist.connect(netlist.atom("d"), LUT_INPUT, 1, nullptr);
   SIMULATION simulation(netlist);
   simulation.settle();
   simulation.clock();
   EXPECT_FALSE(simulation.value(netlist.net("q")));
   simulation.set_input("stop", true);
   simulation.settle();
   simulation.clock();
   EXPECT_TRUE(simulation.value(netlist.net("q")));
}

TEST(SIMULATION_TEST, a_clock_out_of_logic_is_refused) {
   NETLIST netlist = read(TOGGLE);
   netlist.connect(netlist.atom("q"), REGISTER_CLOCK, 0, &netlist.net("d"));
   EXPECT_THROW(SIMULATION{netlist}, NETLIST_ERROR);
}

TEST(EQUIVALENCE_TEST, a_netlist_is_equal_to_itself_and_not_to_one_with_another_function) {
   const NETLIST original = read(TOGGLE);
   NETLIST changed = read(TOGGLE);
   const EQUIVALENCE same = compare_by_simulation(original, changed, 4, 8);
   EXPECT_TRUE(same.m_equal);
   EXPECT_EQ(same.m_pins, 1);
   EXPECT_EQ(same.m_registers, 1);
   EXPECT_EQ(same.m_clocks, 32);
   changed.atom("d").m_lut_mask = ~changed.atom("d").m_lut_mask;
   const EQUIVALENCE other = compare_by_simulation(original, changed, 4, 8);
   EXPECT_FALSE(other.m_equal);
   EXPECT_NE(other.m_difference, "");
}

TEST(EQUIVALENCE_TEST, one_wrong_bit_in_any_lut_of_a_counter_is_found) {
   const std::string counter = ".model t\n.inputs clock e\n.outputs a b c\n"
                               ".names a e x\n10 1\n01 1\n"
                               ".names b a e y\n10- 1\n1-0 1\n011 1\n"
                               ".names c b a e z\n10-- 1\n1-0- 1\n1--0 1\n0111 1\n"
                               ".subckt REGISTER data=x clock=clock out=a\n.cname a\n"
                               ".subckt REGISTER data=y clock=clock out=b\n.cname b\n"
                               ".subckt REGISTER data=z clock=clock out=c\n.cname c\n.end\n";
   const NETLIST original = read(counter);
   for (const std::string lut : {"x", "y", "z"}) {
      const int inputs = static_cast<int>(original.find_atom(lut)->m_inputs.size());
      for (int value = 0; value < (1 << inputs); ++value) {
         NETLIST changed = read(counter);
         std::uint64_t places = ~std::uint64_t{0};
         for (int input = 0; input < inputs; ++input) {
            places &= ((value >> input) & 1) != 0 ? input_mask(input) : ~input_mask(input);
         }
         changed.atom(lut).m_lut_mask ^= places;
         EXPECT_FALSE(compare_by_simulation(original, changed, 16, 16).m_equal) << lut << " " << value;
      }
   }
}

TEST(PARTITION_TEST, a_name_that_only_begins_like_the_root_is_outside) {
   const PARTITION partition("top|u1");
   EXPECT_TRUE(partition.contains("top|u1|q"));
   EXPECT_FALSE(partition.contains("top|u1x|q"));
   EXPECT_FALSE(partition.contains("top|u1"));
   EXPECT_EQ(partition.relative("top|u1|a|b"), "a|b");
   EXPECT_TRUE(PARTITION("").contains("top|u1"));
   EXPECT_EQ(PARTITION("").relative("top|u1"), "top|u1");
}

TEST(TEXT_FILE_TEST, the_first_line_that_differs_is_shown) {
   EXPECT_EQ(first_difference("a\nb\n", "a\nb\n"), "");
   EXPECT_EQ(first_difference("a\nb\n", "a\nc\n"), "line 2\n  expected: b\n  found:    c");
   EXPECT_EQ(first_difference("a\n", "a\nc\n"), "line 2\n  expected: (end of text)\n  found:    c");
   EXPECT_EQ(first_difference("a\nb\n", "a\n"), "line 2\n  expected: b\n  found:    (end of text)");
   EXPECT_EQ(first_difference("a\n", "a"), "the line feed at the end of the text");
}

/// The controller of the design sends a greeting over the serial line when it is let go: the netlist still
/// does what the Verilog says.
TEST(BOARD_TEST, the_committed_netlist_sends_its_greeting) {
   constexpr int CLOCKS_PER_BIT = 8;
   const NETLIST netlist = read_blif_file(LOGDB_SOURCE_DIR "/examples/designs/board.blif");
   SIMULATION simulation(netlist);
   const INPUT_TERMINAL& line = *netlist.find_atom("board|transmit_line~output")->find_input(PIN_DATA);
   simulation.set_input("board|receive_line", true);
   simulation.settle();
   simulation.clock();
   simulation.set_input("board|reset_n", true);
   simulation.settle();
   std::string greeting;
   for (int clock = 0; clock < 700; ++clock) {
      simulation.clock();
      if (simulation.value(line)) {
         continue;
      }
      // The line has just fallen: the first data bit's middle is one and a half bits away.
      unsigned byte = 0;
      for (int bit = 0; bit < 8; ++bit) {
         for (int wait = 0; wait < (bit == 0 ? CLOCKS_PER_BIT * 3 / 2 : CLOCKS_PER_BIT); ++wait, ++clock) {
            simulation.clock();
         }
         byte |= simulation.value(line) ? 1U << bit : 0U;
      }
      for (int wait = 0; wait < CLOCKS_PER_BIT; ++wait, ++clock) {
         simulation.clock();
      }
      greeting += static_cast<char>(byte);
   }
   EXPECT_EQ(greeting, "logdb\n");
}

TEST(BOARD_TEST, the_committed_netlist_is_sound_and_has_a_hierarchy) {
   const NETLIST netlist = read_blif_file(LOGDB_SOURCE_DIR "/examples/designs/board.blif");
   EXPECT_EQ(find_inconsistencies(netlist), std::vector<std::string>{});
   EXPECT_GT(netlist.atoms().size(), 2000U);
   EXPECT_NE(netlist.find_atom("board|u_channel_a|u_filter|u_tap_0|product~multiplier"), nullptr);
   EXPECT_NE(netlist.find_atom("board|u_channel_b|u_filter|u_tap_0|product~multiplier"), nullptr);
}
