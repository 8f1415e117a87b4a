// Reading a configuration stream of many sections, and one of many instances:
// each header is looked up among those read before it, so the time shows
// whether that lookup stays cheap as their number grows.
#include <benchmark/benchmark.h>

#include <string>

#include "framework/agent_config.h"
#include "framework/config_parser.h"

namespace {

constexpr int kCount = 60000;

// One instance holding kCount sections, about 750 KB.
std::string ManySections() {
  std::string stream = "INSTANCE=I\n";
  for (int n = 0; n < kCount; ++n) stream += "[S" + std::to_string(n) + "]\nk=v\n";
  return stream;
}

// kCount instances of one section each.
std::string ManyInstances() {
  std::string stream;
  for (int n = 0; n < kCount; ++n) stream += "INSTANCE=I" + std::to_string(n) + "\n[S]\nk=v\n";
  return stream;
}

void Parse(benchmark::State& state, const std::string& stream) {
  for (auto _ : state) {
    VFW::AgentConfig config;
    if (!VFW::ConfigParser::parseConfigFromStream(stream, &config)) {
      state.SkipWithError("the stream was refused");
      return;
    }
    benchmark::DoNotOptimize(config.getInstances().size());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(stream.size()));
}

void BM_ManySections(benchmark::State& state) {
  static const std::string stream = ManySections();
  Parse(state, stream);
}
BENCHMARK(BM_ManySections)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ManyInstances(benchmark::State& state) {
  static const std::string stream = ManyInstances();
  Parse(state, stream);
}
BENCHMARK(BM_ManyInstances)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
