#include <algorithm>
#include <filesystem>

#include "benchmarks.h"
#include "contenders.h"
#include "generator.h"
#include "logdb_fsyn_log_file.h"
#include "record_lines.h"

namespace {

const std::vector<std::string> SIZES = {"10000", "100000", "1000000", "10000000"};
const std::string MAIN_SIZE = "200000";
constexpr std::size_t MOST_RECORDS = 200000; // in memory at a time: longer logs are written in rounds

using BENCHMARK = void (*)(benchmark::State&, INPUTS&, const std::string& contender, const std::string& input);

void add(INPUTS& inputs, const std::string& work, BENCHMARK run, const std::string& contender,
         const std::string& input) {
   const std::string name = work + "/" + contender + "/" + input;
   const std::size_t records = std::isdigit(input[0]) != 0 ? std::stoul(input) : 50000;
   benchmark::RegisterBenchmark(name.c_str(),
                                [=, &inputs](benchmark::State& state) { run(state, inputs, contender, input); })
       ->UseManualTime()
       ->Unit(benchmark::kMillisecond)
       ->Iterations(iterations_for(5 * records));
}

void set_items(benchmark::State& state, std::size_t items) {
   state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
   state.counters["elements"] = static_cast<double>(items);
}

LOG_CONTENDER::RECORDS records_of(const LOG_INPUT& input) {
   LOG_CONTENDER::RECORDS records;
   LOGDB_FSYN_LOG_FILE log(input.m_path.c_str());
   while (LOGDB_FSYN_LOG_ENTRY* record = log.read_fsyn_log_entry()) {
      records.emplace_back(record);
   }
   return records;
}

void write(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input) {
   const bool generated = std::isdigit(input[0]) != 0;
   const std::size_t count = generated ? std::stoul(input) : 0;
   const LOG_CONTENDER::RECORDS records =
       generated ? generate_records(std::min(count, MOST_RECORDS)) : records_of(inputs.log(input));
   const int rounds = std::max(1, static_cast<int>(count / MOST_RECORDS));
   READY_LINES lines;
   TEXT_SINK sink(lines.m_text);
   for (const auto& record : records) {
      write_record<LIBRARY_RECORDS>(sink, *record);
   }
   lines.take_lengths();

   const std::string output = inputs.log_output();
   const auto contender = make_log_contender(name);
   time_work(
       state, [&] { std::filesystem::remove(output); }, [&] { contender->write(output, records, lines, rounds); },
       [&] {
          if (first_time("write" + name + input) && !holds(output, lines.m_text, rounds)) {
             fail_benchmark(state, "these are not the lines of the records");
          }
       });
   std::filesystem::remove(output);
   set_items(state, records.size() * static_cast<std::size_t>(rounds));
   state.counters["lines"] = static_cast<double>(lines.m_lengths.size()) * rounds;
}

void read(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name) {
   const LOG_INPUT& input = inputs.log(input_name);
   const auto contender = make_log_contender(name);
   time_work(
       state, [] {}, [&] { contender->read(input.m_path); },
       [&] {
          const bool is_first = first_time("read" + name + input_name);
          if (contender->size() != input.m_records || (is_first && contender->sum() != input.m_sum)) {
             fail_benchmark(state, "these are not the records of the file");
          }
          contender->clear();
       });
   set_items(state, input.m_records);
}

void read_and_delete(benchmark::State& state, INPUTS& inputs, const std::string& name,
                     const std::string& input_name) {
   const LOG_INPUT& input = inputs.log(input_name);
   const auto contender = make_log_contender(name);
   std::size_t count = 0;
   time_work(
       state, [] {}, [&] { count = contender->read_and_delete(input.m_path); },
       [&] {
          if (count != input.m_records) {
             fail_benchmark(state, "these are not the records of the file");
          }
       });
   set_items(state, input.m_records);
}

void append(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name) {
   const LOG_INPUT& input = inputs.log(input_name);
   const std::string output = inputs.log_output();
   const auto contender = make_log_contender(name);
   time_work(
       state, [&] { std::filesystem::remove(output); }, [&] { contender->append(output, input.m_path); },
       [&] {
          if (first_time("append" + name + input_name) && !same_bytes(output, input.m_path)) {
             fail_benchmark(state, "this is not a copy of the log");
          }
       });
   std::filesystem::remove(output);
   set_items(state, input.m_records);
}

void add_all(INPUTS& inputs, const std::vector<std::string>& contenders, const std::string& input) {
   for (const std::string& contender : contenders) {
      add(inputs, "log_write", write, contender, input);
      add(inputs, "log_read", read, contender, input);
      add(inputs, "log_read_delete", read_and_delete, contender, input);
      add(inputs, "log_append", append, contender, input);
   }
}

} // namespace

void register_log_benchmarks(INPUTS& inputs) {
   add_all(inputs, {"floor", "library", "straightforward", "stdio"}, MAIN_SIZE);
   add(inputs, "log_write", write, "spdlog", MAIN_SIZE);
   add(inputs, "log_read_delete", read_and_delete, "floor_reuse", MAIN_SIZE);
   for (const std::string& size : SIZES) {
      add_all(inputs, {"floor", "library"}, size);
   }
   for (const std::string& design : INPUTS::given(".fsyn")) {
      add_all(inputs, {"floor", "library", "straightforward", "stdio"}, design);
   }
}
