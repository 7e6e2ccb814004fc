#include <gtest/gtest.h>

#include <cstdlib>
#include <initializer_list>
#include <string>

#include "cfg.h"
#include "environment_variable.h"
#include "host_standalone.h"

using ::testing::Eq;
using ::testing::ExitedWithCode;

namespace {

constexpr const char* switch_name = "host_cfg_test_switch";

/// LOGDB_CONFIG is read once, so whatever depends on it is looked at in processes of their own.
class HOST_CFG : public ::testing::Test {
protected:
   HOST_CFG() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
   void TearDown() override { host_clear_config(switch_name); }

   ENVIRONMENT_VARIABLE m_nothing_set{"LOGDB_CONFIG", nullptr};
};

using HOST_CFG_DEATH_TEST = HOST_CFG;

enum class ANSWER { ON, OFF, DEFAULT };

ANSWER answer(const char* name) {
   const bool with_true = cfg_is_on(name, true);
   const bool with_false = cfg_is_on(name, false);
   return with_true != with_false ? ANSWER::DEFAULT : with_true ? ANSWER::ON : ANSWER::OFF;
}

struct EXPECTATION {
   const char* m_name;
   ANSWER m_answer;
};

/// Ends the process: 0, or the position, from 1, of the first expectation that does not hold.
[[noreturn]] void check_and_exit(std::initializer_list<EXPECTATION> expectations) {
   int position = 0;
   for (const EXPECTATION& expectation : expectations) {
      ++position;
      if (answer(expectation.m_name) != expectation.m_answer) {
         std::exit(position);
      }
   }
   std::exit(0);
}

} // namespace

TEST_F(HOST_CFG, a_switch_that_nobody_has_set_has_the_default) {
   EXPECT_TRUE(cfg_is_on(switch_name, true));
   EXPECT_FALSE(cfg_is_on(switch_name, false));
}

TEST_F(HOST_CFG, a_switch_that_code_sets_has_that_value_whatever_the_default) {
   host_set_config(switch_name, true);
   EXPECT_TRUE(cfg_is_on(switch_name, false));
   EXPECT_TRUE(cfg_is_on(switch_name, true));
   host_set_config(switch_name, false);
   EXPECT_FALSE(cfg_is_on(switch_name, false));
   EXPECT_FALSE(cfg_is_on(switch_name, true));
}

TEST_F(HOST_CFG, a_forgotten_switch_has_the_default_again) {
   host_set_config(switch_name, true);
   host_clear_config(switch_name);
   EXPECT_EQ(answer(switch_name), ANSWER::DEFAULT);
   host_clear_config(switch_name);
   EXPECT_EQ(answer(switch_name), ANSWER::DEFAULT);
}

TEST_F(HOST_CFG, upper_and_lower_case_differ_and_a_part_of_a_name_is_another_name) {
   host_set_config(switch_name, true);
   EXPECT_EQ(answer("HOST_CFG_TEST_SWITCH"), ANSWER::DEFAULT);
   EXPECT_EQ(answer("host_cfg_test"), ANSWER::DEFAULT);
   EXPECT_EQ(answer("host_cfg_test_switch2"), ANSWER::DEFAULT);
   EXPECT_EQ(answer(""), ANSWER::DEFAULT);
}

TEST_F(HOST_CFG, the_name_is_copied) {
   std::string name = switch_name;
   host_set_config(name.c_str(), true);
   name.assign(name.size(), 'x');
   EXPECT_TRUE(cfg_is_on(switch_name, false));
}

TEST_F(HOST_CFG, a_null_name_is_no_switch) {
   host_set_config(nullptr, true);
   host_clear_config(nullptr);
   EXPECT_EQ(answer(nullptr), ANSWER::DEFAULT);
}

TEST_F(HOST_CFG_DEATH_TEST, the_variable_switches_names_on_and_off_in_each_spelling) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", "a=on,b=1,c=true,d=yes,e=off,f=0,g=false,h=no");
   EXPECT_EXIT(check_and_exit({{"a", ANSWER::ON},
                               {"b", ANSWER::ON},
                               {"c", ANSWER::ON},
                               {"d", ANSWER::ON},
                               {"e", ANSWER::OFF},
                               {"f", ANSWER::OFF},
                               {"g", ANSWER::OFF},
                               {"h", ANSWER::OFF},
                               {"i", ANSWER::DEFAULT}}),
               ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_CFG_DEATH_TEST, what_is_not_of_the_form_sets_nothing_and_does_not_harm_the_rest) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", ",a,b=,c=ON,d=2,=on,e=on=on, f=on,g=on,,h=off,");
   EXPECT_EXIT(check_and_exit({{"a", ANSWER::DEFAULT},
                               {"b", ANSWER::DEFAULT},
                               {"c", ANSWER::DEFAULT},
                               {"d", ANSWER::DEFAULT},
                               {"e", ANSWER::DEFAULT},
                               {"f", ANSWER::DEFAULT},
                               {"g", ANSWER::ON},
                               {"h", ANSWER::OFF}}),
               ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_CFG_DEATH_TEST, the_last_of_several_values_for_a_name_counts) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", "a=on,b=off,a=off,b=on");
   EXPECT_EXIT(check_and_exit({{"a", ANSWER::OFF}, {"b", ANSWER::ON}}), ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_CFG_DEATH_TEST, an_empty_variable_sets_nothing) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", "");
   EXPECT_EXIT(check_and_exit({{"", ANSWER::DEFAULT}, {"a", ANSWER::DEFAULT}}), ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_CFG_DEATH_TEST, what_code_sets_wins_over_the_variable_also_when_it_was_set_first) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", "a=on,b=off");
   EXPECT_EXIT(
       {
          host_set_config("a", false);
          host_set_config("b", true);
          check_and_exit({{"a", ANSWER::OFF}, {"b", ANSWER::ON}});
       },
       ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_CFG_DEATH_TEST, forgetting_a_name_forgets_what_the_variable_said_too) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", "a=on,b=off,c=on");
   EXPECT_EXIT(
       {
          host_clear_config("a");
          host_set_config("b", true);
          host_clear_config("b");
          check_and_exit({{"a", ANSWER::DEFAULT}, {"b", ANSWER::DEFAULT}, {"c", ANSWER::ON}});
       },
       ExitedWithCode(0), Eq(""));
}

TEST_F(HOST_CFG_DEATH_TEST, the_variable_is_read_once) {
   const ENVIRONMENT_VARIABLE variable("LOGDB_CONFIG", "a=on");
   EXPECT_EXIT(
       {
          const bool first = cfg_is_on("a", false);
          setenv("LOGDB_CONFIG", "a=off,b=on", 1);
          std::exit(first && answer("a") == ANSWER::ON && answer("b") == ANSWER::DEFAULT ? 0 : 1);
       },
       ExitedWithCode(0), Eq(""));
}

namespace {

/// Asks before any constructor of cfg.cpp could have run, and again when its destructors would have.
class EARLY_AND_LATE_CALLER {
public:
   EARLY_AND_LATE_CALLER() { host_set_config("host_cfg_test_early", true); }
   ~EARLY_AND_LATE_CALLER() {
      if (!cfg_is_on("host_cfg_test_early", false)) {
         std::_Exit(77);
      }
   }
};

const EARLY_AND_LATE_CALLER early_and_late_caller __attribute__((init_priority(101)));

} // namespace

TEST_F(HOST_CFG_DEATH_TEST, switches_outlive_static_objects) {
   EXPECT_TRUE(cfg_is_on("host_cfg_test_early", false));
   EXPECT_EXIT(std::exit(0), ExitedWithCode(0), Eq(""));
}
