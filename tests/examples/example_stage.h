#ifndef EXAMPLE_STAGE_H
#define EXAMPLE_STAGE_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "recording_host.h"

/// The netlist that the examples work on.
inline const std::string EXAMPLE_DESIGN = LOGDB_SOURCE_DIR "/examples/designs/board.blif";

/// An example program. Tests are built in BUILD/tests, examples in BUILD/examples.
inline std::string example_program(const std::string& name) {
   const std::filesystem::path test = std::filesystem::read_symlink("/proc/self/exe");
   return (test.parent_path().parent_path() / "examples" / name).string();
}

/// How a program ended, and all that it printed.
struct STAGE_RUN {
   int m_status = -1; ///< the exit status; 128 and the signal for a program that was killed
   std::string m_output;
};

/// Runs the example programs in the fixture's folder.
class EXAMPLE_STAGE_TEST : public HOST_TEST {
protected:
   STAGE_RUN run(const std::string& program, const std::vector<std::string>& arguments) {
      std::string command = "cd '" + m_directory.string() + "' && '" + program + "'";
      for (const std::string& argument : arguments) {
         command += " '" + argument + "'";
      }
      STAGE_RUN result;
      FILE* pipe = popen(("exec 2>&1; " + command).c_str(), "r");
      if (pipe == nullptr) {
         ADD_FAILURE() << "cannot run " << command;
         return result;
      }
      std::array<char, 4096> block{};
      for (std::size_t size = 0; (size = fread(block.data(), 1, block.size(), pipe)) > 0;) {
         result.m_output.append(block.data(), size);
      }
      const int status = pclose(pipe);
      result.m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      return result;
   }

   void expect_run(const std::string& program, const std::vector<std::string>& arguments, int status) {
      const STAGE_RUN result = run(program, arguments);
      EXPECT_EQ(result.m_status, status) << result.m_output;
   }
};

#endif
