#include <filesystem>

#include "benchmarks.h"
#include "checksum.h"
#include "contenders.h"
#include "floor_database.h"
#include "generator.h"
#include "logdb.h"

namespace {

const std::vector<std::string> PEERS = {"stdio", "sqlite", "leveldb", "libcsv"};
const std::vector<std::string> SIZES = {"10000", "100000", "1000000", "10000000"};
const std::string MAIN_SIZE = "1000000";

using BENCHMARK = void (*)(benchmark::State&, INPUTS&, const std::string& contender, const std::string& input);

void add(INPUTS& inputs, const std::string& work, BENCHMARK run, const std::string& contender,
         const std::string& input) {
   const std::string name = work + "/" + contender + "/" + input;
   const std::size_t entries = std::isdigit(input[0]) != 0 ? std::stoul(input) : 100000;
   benchmark::RegisterBenchmark(name.c_str(),
                                [=, &inputs](benchmark::State& state) { run(state, inputs, contender, input); })
       ->UseManualTime()
       ->Unit(benchmark::kMillisecond)
       ->Iterations(iterations_for(entries));
}

bool is_partition(const std::string& contender) {
   return contender.find("_partition") != std::string::npos;
}

void check_sum(benchmark::State& state, const DATABASE_CONTENDER& contender, const DATABASE_INPUT& input,
               const std::string& name) {
   if (contender.sum() != (is_partition(name) ? input.m_partition_sum : input.m_sum)) {
      fail_benchmark(state, "these are not the rows of the file");
   }
}

void set_items(benchmark::State& state, std::size_t items) {
   state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
   state.counters["elements"] = static_cast<double>(items);
}

void load_after(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name,
                bool cold) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   const auto contender = make_database_contender(name);
   contender->prepare(input.m_path);
   time_work(
       state,
       [&] {
          if (cold && !drop_from_page_cache(input.m_path)) {
             throw std::runtime_error("the file stays in the page cache");
          }
       },
       [&] { contender->load(input.m_path); },
       [&] {
          if (first_time("load" + name + input_name)) {
             check_sum(state, *contender, input, name);
          }
          contender->unload();
       });
   set_items(state, input.m_entries);
}

void load(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input) {
   load_after(state, inputs, name, input, false);
}

void load_cold(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input) {
   load_after(state, inputs, name, input, true);
}

void unload(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   const auto contender = make_database_contender(name);
   contender->prepare(input.m_path);
   time_work(
       state, [&] { contender->load(input.m_path); }, [&] { contender->unload(); }, [] {});
   set_items(state, input.m_entries);
}

void check_commit(benchmark::State& state, DATABASE_CONTENDER& contender, const DATABASE_INPUT& input,
                  const std::string& output, const std::string& name) {
   if (contender.writes_database_file()) {
      if (!same_bytes(output, input.m_path)) {
         fail_benchmark(state, "this is not the file that the rows came from");
      }
      return;
   }
   contender.unload();
   contender.load(output);
   check_sum(state, contender, input, name);
}

void commit(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   const std::string output = inputs.database_output();
   const auto contender = make_database_contender(name);
   contender->take(input.m_path);
   time_work(
       state, [&] { contender->remove(output); }, [&] { contender->commit(output); },
       [&] {
          if (first_time("commit" + name + input_name)) {
             check_commit(state, *contender, input, output, name);
          }
       });
   contender->remove(output);
   contender->unload();
   set_items(state, input.m_entries);
}

/// Fills a database with copies of entries that a program made.
void add_entries(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   const std::vector<LOGDB_DATABASE_ENTRY> entries = generate_entries(input.m_entries);
   std::unique_ptr<LOGDB_DATABASE> database;
   time_work(
       state, [&] { database = std::make_unique<LOGDB_DATABASE>(); },
       [&] {
          for (const LOGDB_DATABASE_ENTRY& entry : entries) {
             database->add_entry(&entry);
          }
       },
       [&] {
          CHECKSUM sum;
          for (int i = 0; i < database->get_number_of_entries(); ++i) {
             add_row(sum, database->get_entry(i)->m_entry_type, database->get_entry(i)->m_data_vector);
          }
          if (sum.value() != input.m_sum) {
             fail_benchmark(state, name + " holds other entries");
          }
          database.reset();
       });
   set_items(state, input.m_entries);
}

/// The parts of the floor of a load: what reading, and reading and scanning take, and a whole load into
/// memory that is there already.
void load_part(benchmark::State& state, INPUTS& inputs, const std::string& name, const std::string& input_name) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   const FLOOR_LOAD extent = name == "floor_read"   ? FLOOR_LOAD_READ
                             : name == "floor_scan" ? FLOOR_LOAD_SCAN
                                                    : FLOOR_LOAD_ROWS;
   FLOOR_DATABASE database;
   database.load(input.m_path, nullptr);
   const auto rows = database.end() - database.begin();
   const std::size_t separators = database.separators();
   time_work(
       state, [&] { database.rewind(); }, [&] { database.load(input.m_path, nullptr, extent); },
       [&] {
          const bool whole = extent != FLOOR_LOAD_ROWS || database.end() - database.begin() == rows;
          if (!whole || (extent == FLOOR_LOAD_SCAN && database.separators() != separators)) {
             fail_benchmark(state, "a part of the file is missing");
          }
       });
   set_items(state, input.m_entries);
   state.counters["bytes_per_entry"] = static_cast<double>(database.used()) / static_cast<double>(input.m_entries);
}

/// The calls that no load does without, for blocks of the right sizes that nothing is put into: an entry from the
/// allocation operator, and storage from the memory manager for its list and for each field too long for a string's own.
void load_calls(benchmark::State& state, INPUTS& inputs, const std::string& /*name*/,
                const std::string& input_name) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   FLOOR_DATABASE database;
   database.load(input.m_path, nullptr);
   const std::size_t longest_without_storage = MEM_STRING().capacity();
   std::vector<std::size_t> sizes; // of the blocks of an entry, and a 0
   for (const FLOOR_ENTRY* entry : database) {
      const FLOOR_LIST<FLOOR_STRING>& fields = entry->m_data_vector;
      sizes.push_back(static_cast<std::size_t>(fields.end() - fields.begin()) * sizeof(MEM_STRING));
      for (const FLOOR_STRING& field : fields) {
         if (field.size() > longest_without_storage) {
            sizes.push_back(field.size() + 1);
         }
      }
      sizes.push_back(0);
   }
   database.unload();
   std::vector<void*> blocks(sizes.size());
   time_work(
       state, [] {},
       [&] {
          void** block = blocks.data();
          for (const std::size_t size : sizes) {
             *block++ = size == 0 ? ::operator new(sizeof(LOGDB_DATABASE_ENTRY), 0)
                                  : MEM_STL_ALLOCATOR<char>().allocate(size);
          }
       },
       [&] {
          for (std::size_t i = 0; i < sizes.size(); ++i) {
             if (sizes[i] == 0) {
                ::operator delete(blocks[i]);
             } else {
                MEM_STL_ALLOCATOR<char>().deallocate(static_cast<char*>(blocks[i]), sizes[i]);
             }
          }
       });
   set_items(state, input.m_entries);
}

void add_all(INPUTS& inputs, const std::vector<std::string>& contenders, const std::string& input) {
   for (const std::string& contender : contenders) {
      add(inputs, "load", load, contender, input);
      add(inputs, "commit", commit, contender, input);
      add(inputs, "unload", unload, contender, input);
   }
}

} // namespace

void register_database_benchmarks(INPUTS& inputs) {
   add_all(inputs, {"floor", "library", "straightforward"}, MAIN_SIZE);
   add_all(inputs, PEERS, MAIN_SIZE);
   add_all(inputs, {"floor_partition", "library_partition", "straightforward_partition"}, MAIN_SIZE);
   add(inputs, "add", add_entries, "library", MAIN_SIZE);
   for (const char* part : {"floor_read", "floor_scan", "floor_warm"}) {
      add(inputs, "load", load_part, part, MAIN_SIZE);
   }
   add(inputs, "load", load_calls, "calls", MAIN_SIZE);
   if (file_system_of(inputs.directory()) != "tmpfs") { // which is never cold
      for (const char* contender : {"floor", "library", "straightforward", "stdio"}) {
         add(inputs, "load_cold", load_cold, contender, MAIN_SIZE);
      }
   }
   for (const std::string& size : SIZES) {
      if (size != MAIN_SIZE) {
         add_all(inputs, {"floor", "library"}, size);
      }
   }
   for (const std::string& design : INPUTS::given(".logdb")) {
      add_all(inputs, {"floor", "library", "straightforward", "stdio"}, design);
   }
}
