/** The parts of a modify that compute: reader, check, writer, option table. */
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"

#include <benchmark/benchmark.h>
#include <stdexcept>

using namespace storestate;

namespace {

/** The record of bench/full.rec, below the working directory, with so many forward devices. */
void fill(StoreState& state, int64_t devices) {
    TextFile file;
    if (!file.open("bench/full.rec")) {
        throw std::runtime_error("there is no bench/full.rec here");
    }
    RecordReader reader(state, nullptr);
    for (std::string_view line; file.next(line);) {
        reader.readLine(line);
    }
    state.forwardDevices.Clear();
    for (int64_t i = 0; i < devices; ++i) {
        state.forwardDevices.Insert(("DEVICE" + std::to_string(i)).c_str());
    }
}

void read(benchmark::State& run) {
    StoreState written("study", ".");
    fill(written, run.range(0));
    const std::string text = formatRecord(written);
    for (auto _ : run) {
        StoreState state("study", ".");
        RecordReader reader(state, nullptr);
        for (std::string_view rest = text; !rest.empty();) {
            reader.readLine(takePiece(rest));
        }
        benchmark::DoNotOptimize(state.version);
    }
}
BENCHMARK(read)->RangeMultiplier(10)->Range(1, 1000);

void check(benchmark::State& run) {
    StoreState state("study", ".");
    fill(state, run.range(0));
    const std::string text = formatRecord(state);
    for (auto _ : run) {
        requireReadable(state, text);
    }
}
BENCHMARK(check)->RangeMultiplier(10)->Range(1, 1000);

void write(benchmark::State& run) {
    StoreState state("study", ".");
    fill(state, run.range(0));
    for (auto _ : run) {
        benchmark::DoNotOptimize(formatRecord(state));
    }
}
BENCHMARK(write)->RangeMultiplier(10)->Range(1, 1000);

void findOption(benchmark::State& run, const char* name) {
    for (auto _ : run) {
        benchmark::DoNotOptimize(findModifyOption(name));
    }
}
BENCHMARK_CAPTURE(findOption, first, "--processmode");
BENCHMARK_CAPTURE(findOption, last, "-b");
BENCHMARK_CAPTURE(findOption, unknown, "--unknown");

void applyOption(benchmark::State& run) {
    StoreState state("study", ".");
    fill(state, 10);
    for (auto _ : run) {
        applyModifyOption(state, "--setstaged", "WS2");
        applyModifyOption(state, "--removedevice", "WS2");
    }
}
BENCHMARK(applyOption);

} // namespace
