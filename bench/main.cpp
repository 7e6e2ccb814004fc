#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <set>
#include <utility>

#include "benchmarks.h"
#include "fresh_benchmarks.h"
#include "host_standalone.h"

namespace {

int reports = 0;
bool has_failed = false;

std::string processor() {
   std::ifstream description("/proc/cpuinfo");
   std::string line;
   while (std::getline(description, line)) {
      if (line.compare(0, 10, "model name") == 0) {
         return line.substr(line.find(':') + 2);
      }
   }
   return "unknown";
}

// Its version; what a distributor writes behind that says nothing to others.
std::string kernel() {
   utsname name = {};
   if (::uname(&name) != 0) {
      return "unknown";
   }
   const std::string release = name.release;
   return std::string(name.sysname) + " " + release.substr(0, release.find('-'));
}

void add_context(const INPUTS& inputs) {
   benchmark::AddCustomContext("processor", processor());
   benchmark::AddCustomContext("kernel", kernel());
#ifdef __clang__
   benchmark::AddCustomContext("compiler", "clang " __clang_version__);
#else
   benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
   benchmark::AddCustomContext("file_system", file_system_of(inputs.directory()));
   if (const char* commit = std::getenv("LOGDB_BENCH_COMMIT")) {
      benchmark::AddCustomContext("commit", commit);
   }
}

} // namespace

void fail_benchmark(benchmark::State& state, const std::string& reason) {
   has_failed = true;
   state.SkipWithError(reason.c_str());
}

bool any_benchmark_failed() {
   return has_failed;
}

int take_reports() {
   return std::exchange(reports, 0);
}

double process_cpu_seconds() {
   timespec time = {};
   ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
   return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

bool first_time(const std::string& name) {
   static std::set<std::string> names;
   return names.insert(name).second;
}

int iterations_for(std::size_t elements) {
   return static_cast<int>(std::clamp<std::size_t>(1000000 / std::max<std::size_t>(elements, 1), 1, 20));
}

int main(int argument_count, char** arguments) {
   if (argument_count > 1 && std::strcmp(arguments[1], FRESH_LOAD) == 0) {
      return run_fresh_load(argument_count, arguments);
   }
   host_set_internal_error_handler([](const char* text, const char* /*domain*/, const char* file, int line) {
      std::cerr << file << ":" << line << ": " << text << "\n";
      ++reports;
   });
   benchmark::Initialize(&argument_count, arguments);
   if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) {
      return 2;
   }
   INPUTS inputs;
   add_context(inputs);
   register_database_benchmarks(inputs);
   register_log_benchmarks(inputs);
   register_fresh_benchmarks(inputs);
   benchmark::RunSpecifiedBenchmarks();
   benchmark::Shutdown();
   return any_benchmark_failed() ? 1 : 0;
}
