// Times every operation as this library does it beside its peers, beside another build of this
// library, and beside a copy of as many bytes as the operation has to read and write.
#include <algorithm>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "heap_peak.h"
#include "loaded_module.h"
#include "measure.h"
#include "peers.h"
#include "picture_memory.h"
#include "results.h"
#include "traffic.h"

namespace tavrine::bench {
namespace {

const char *const kUsage =
    "usage: tavrine_bench [--against LIBRARY [--revision NAME]] [--filter REGEX]\n"
    "                     [--instruction-set NAME] [--allocations N] [--rounds N] [--json FILE]\n";

struct Options {
  std::string against;
  std::string revision;  // what the report calls that library
  std::string filter;
  std::string instruction_set;
  std::string json;
  uint32_t allocations = 5;
  int rounds = 25;
};

Options parse(int argc, char **argv) {
  Options options;
  if (argc % 2 == 0) {
    throw std::invalid_argument(kUsage);
  }
  for (int i = 1; i < argc; i += 2) {
    const std::string option = argv[i];
    const std::string value = argv[i + 1];
    if (option == "--against") {
      options.against = value;
    } else if (option == "--revision") {
      options.revision = value;
    } else if (option == "--filter") {
      options.filter = value;
    } else if (option == "--instruction-set") {
      options.instruction_set = value;
    } else if (option == "--json") {
      options.json = value;
    } else if (option == "--allocations") {
      options.allocations = static_cast<uint32_t>(std::stoul(value));
    } else if (option == "--rounds") {
      options.rounds = std::stoi(value);
    } else {
      throw std::invalid_argument(kUsage);
    }
  }
  return options;
}

struct Build {
  const char *name;
  const TavrineBenchModule &module;
};

// A row of the builds and the peers on the pictures of one allocation.
class Match {
 public:
  Match(const std::vector<Build> &builds, const std::vector<Peer> &peers, int row,
        const Operation &operation, uint32_t allocation)
      : memory_(allocation), pictures_(PictureMemory::provide, &memory_) {
    for (const Build &build : builds) {
      add(build, row);
    }
    warn_of_differences(operation);
    for (const Peer &peer : peers) {
      add(peer, operation);
    }
    if (!peers.empty()) {
      add_limit(traffic_of(operation, pictures_));
    }
  }
  Match(const Match &) = delete;
  Match &operator=(const Match &) = delete;
  ~Match() {
    for (const Prepared &prepared : prepared_) {
      prepared.module.release(prepared.call);
    }
  }

  const std::vector<Contender> &contenders() const { return contenders_; }

 private:
  struct Prepared {
    const TavrineBenchModule &module;
    void *call;
  };

  void add(const Build &build, int row) {
    void *const call = build.module.prepare(row, PictureMemory::provide, &memory_);
    if (call == nullptr) {
      throw std::runtime_error(std::string(build.name) + " could not be prepared");
    }
    prepared_.push_back({build.module, call});
    contenders_.push_back({build.name, [run = build.module.run, call](int64_t times) {
                             return run(call, times) == 0;
                           }});
  }

  void add(const Peer &peer, const Operation &operation) {
    const Call call = peer.call(operation, pictures_);
    if (call) {
      contenders_.push_back({peer.name, [call](int64_t times) {
                               bool is_done = true;
                               for (int64_t i = 0; i < times; ++i) {
                                 is_done = call() && is_done;
                               }
                               return is_done;
                             }});
    }
  }

  // Reads one half of the bytes and writes the other.
  void add_limit(int64_t traffic) {
    const auto size = static_cast<size_t>(traffic / 2);
    if (size == 0) {
      return;
    }
    bool is_new = false;
    const void *from = memory_.block("limit, read", size, is_new);
    void *to = memory_.block("limit, written", size, is_new);
    contenders_.push_back({"limit", [from, to, size](int64_t times) {
                             for (int64_t i = 0; i < times; ++i) {
                               std::memcpy(to, from, size);
                               asm volatile("" ::: "memory");  // each copy is made
                             }
                             return true;
                           }});
  }

  void warn_of_differences(const Operation &operation) {
    std::vector<uint64_t> hashes;
    for (const Contender &contender : contenders_) {
      if (!contender.run(1)) {
        throw std::runtime_error(operation.name + ": " + contender.name + " failed");
      }
      hashes.push_back(memory_.hash_of_results());
    }
    if (std::adjacent_find(hashes.begin(), hashes.end(), std::not_equal_to<>()) != hashes.end()) {
      std::cerr << operation.name << ": the builds write different bytes\n";
    }
  }

  PictureMemory memory_;
  Pictures pictures_;
  std::vector<Prepared> prepared_;
  std::vector<Contender> contenders_;
};

// The first call's peak, when nothing is kept from earlier ones. The program's own copy of the
// library calls its malloc.
int64_t heap_of(const Operation &operation) {
  PictureMemory memory(0);
  Pictures pictures(PictureMemory::provide, &memory);
  const Call call = library_call(operation, pictures);
  return heap_peak_of([&] { call(); });
}

Row measure_row(const std::vector<Build> &builds, const std::vector<Peer> &peers, int row,
                const Operation &operation, const Options &options) {
  Row result = {operation, 0, {}};
  for (uint32_t allocation = 0; allocation < options.allocations; ++allocation) {
    const Match match(builds, peers, row, operation, allocation);
    const std::vector<double> seconds = fastest_runs(match.contenders(), options.rounds);
    for (size_t i = 0; i < seconds.size(); ++i) {
      if (allocation == 0) {
        result.times.push_back({match.contenders()[i].name, {}});
      }
      result.times[i].seconds.push_back(seconds[i]);
    }
  }
  return result;
}

std::string today() {
  const std::time_t now = std::time(nullptr);
  char text[sizeof "YYYY-MM-DD"];
  std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
  return text;
}

Context context_of(const TavrineBenchModule &module, const std::vector<Peer> &peers,
                   const Options &options) {
  Context context = {
      {"date", today()}, {"library", module.version()}, {"compiler", TAVRINE_BENCH_COMPILER}};
  if (!options.revision.empty()) {
    context.emplace_back("there", options.revision);
  }
  for (const Peer &peer : peers) {
    context.emplace_back(peer.name, peer.version);
  }
  return context;
}

std::vector<std::string> names_of(const std::vector<Build> &builds,
                                  const std::vector<Peer> &peers) {
  std::vector<std::string> names;
  names.reserve(builds.size() + peers.size() + 1);
  for (const Build &build : builds) {
    names.emplace_back(build.name);
  }
  for (const Peer &peer : peers) {
    names.emplace_back(peer.name);
  }
  if (!peers.empty()) {
    names.emplace_back("limit");
  }
  return names;
}

void run(const Options &options) {
  std::vector<Build> builds = {
      {"library", load_apart(TAVRINE_BENCH_LIBRARY, TAVRINE_BENCH_MODULE)}};
  if (!options.against.empty()) {
    builds.push_back({"there", load_apart(options.against, TAVRINE_BENCH_MODULE)});
  }
  for (const Build &build : builds) {
    if (!options.instruction_set.empty() &&
        build.module.use_instruction_set(options.instruction_set.c_str()) != 0) {
      throw std::runtime_error("this machine does not have " + options.instruction_set);
    }
  }
  const std::vector<Peer> peers = all_peers();

  const std::vector<std::string> names = names_of(builds, peers);
  print_header(names);
  const std::regex filter(options.filter);
  const std::vector<Operation> operations = all_operations();
  std::vector<Row> rows;
  for (size_t i = 0; i < operations.size(); ++i) {
    if (std::regex_search(operations[i].name, filter)) {
      const int index = static_cast<int>(i);
      rows.push_back(measure_row(builds, peers, index, operations[i], options));
      rows.back().heap_bytes = heap_of(operations[i]);
      print_row(rows.back(), names);
    }
  }
  if (!options.json.empty()) {
    std::ofstream out(options.json);
    write_json(out, context_of(builds.front().module, peers, options), rows);
    if (!out.flush()) {
      throw std::runtime_error("cannot write " + options.json);
    }
  }
}

}  // namespace
}  // namespace tavrine::bench

int main(int argc, char **argv) {
  try {
    tavrine::bench::run(tavrine::bench::parse(argc, argv));
    return 0;
  } catch (const std::exception &failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
