#ifndef DORNIMAGE_BENCH_BENCHCOMMON_H
#define DORNIMAGE_BENCH_BENCHCOMMON_H

// What the benchmark programs share: a page, contests of several libraries over the same pixels, and a report
// of the smallest time each needed, beside a plain copy of the same bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "primitives/primitives.h"

namespace bench {

// Pixels of `channels` interleaved bytes, rows without gaps.
struct Picture {
    int width;
    int height;
    int channels;
    std::vector<std::uint8_t> bytes;

    Picture(int pictureWidth, int pictureHeight, int pictureChannels)
        : width(pictureWidth), height(pictureHeight), channels(pictureChannels),
          bytes(static_cast<std::size_t>(pictureWidth) * static_cast<std::size_t>(pictureHeight) *
                static_cast<std::size_t>(pictureChannels)) {}

    int step() const { return width * channels; }
    IppiSize size() const { return {width, height}; }
    std::int64_t pixels() const { return std::int64_t{width} * height; }
};

// A page of A4 at 300 dots per inch: paper with some grain, and dark lines in place of text.
inline Picture makePage(int channels, int width = 2480, int height = 3508) {
    Picture page(width, height, channels);
    std::uint32_t grain = 1;
    std::size_t at = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < page.step(); ++x) {
            grain = grain * 1664525U + 1013904223U;
            const bool isInk = y / 40 % 2 == 1 && (grain >> 28) < 6;
            page.bytes[at++] = static_cast<std::uint8_t>((isInk ? 20U : 225U) + (grain >> 20) % 24);
        }
    }
    return page;
}

// Names of all that was added, in that order; the report keeps to it.
inline std::vector<std::string>& added() {
    static std::vector<std::string> names;
    return names;
}

// One round of the work of one library. It is repeated as often as the others of the program, in random
// order, and counts the processor time of all threads.
inline void add(const std::string& contest, const std::string& who, std::int64_t pixels,
                std::function<void()> work) {
    added().push_back(contest + '/' + who);
    const auto rounds = [work = std::move(work), pixels](benchmark::State& state) {
        for (auto _ : state) {
            work();
            benchmark::ClobberMemory();
        }
        state.counters["pixels"] = static_cast<double>(pixels);
    };
    benchmark::RegisterBenchmark(added().back().c_str(), rounds)->MeasureProcessCPUTime();
}

// The least that any operation from `from` to `to` takes: one reading and one writing.
inline void addCopy(const std::string& contest, const Picture& from, Picture& to) {
    add(contest, "memcpy", to.pixels(), [&from, &to] {
        std::memcpy(to.bytes.data(), from.bytes.data(), std::min(from.bytes.size(), to.bytes.size()));
    });
}

// The same work under every variant that the processor can execute.
inline void addVariants(const std::string& contest, std::int64_t pixels, const std::function<void()>& work) {
    ippInit();
    for (int variant = 0; variant < IPP_VARIANT_COUNT; ++variant) {
        if (ippIsVariantBuilt(variant) == 0 || ippIsVariantRunnable(variant) == 0) {
            continue;
        }
        const std::string name = "DornImage " + std::to_string(variant) + ' ' + ippGetVariantName(variant);
        add(contest, name, pixels, [work, variant] {
            if (ippSetCpuFeatures(ippGetVariantFeatures(variant) | IPP_FEATURE_FORCE) == ippStsNoErr) {
                work();
            }
        });
    }
}

// Prints for each contest the smallest processor time of each contestant.
class Reporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const auto pixels = run.counters.find("pixels");
            if (run.run_type != Run::RT_Iteration || pixels == run.counters.end()) {
                continue;
            }
            const double nanoseconds =
                run.cpu_accumulated_time * 1e9 / static_cast<double>(run.iterations) / pixels->second.value;
            const auto [best, isNew] = best_.emplace(run.run_name.function_name, nanoseconds);
            best->second = std::min(best->second, nanoseconds);
        }
    }

    void Finalize() override {
        std::string contest;
        for (const std::string& name : added()) {
            if (best_.find(name) == best_.end()) { // filtered out
                continue;
            }
            if (contestOf(name) != contest) {
                contest = contestOf(name);
                std::printf("%-36s %10s %10s\n", contest.c_str(), "ns/pixel", "x memcpy");
            }
            const double time = best_[name];
            const auto copy = best_.find(contest + "/memcpy");
            std::printf("  %-34s %10.4f %10.2f\n", name.c_str() + contest.size() + 1, time,
                        copy == best_.end() ? 0.0 : time / copy->second);
        }
    }

private:
    static std::string contestOf(const std::string& name) { return name.substr(0, name.find('/')); }

    std::map<std::string, double> best_;
};

// Runs what was added; takes the switches of Google Benchmark. 0 on success.
inline int run(int argc, char** argv) {
    std::vector<std::string> words = {argv[0], "--benchmark_enable_random_interleaving=true",
                                      "--benchmark_repetitions=40", "--benchmark_min_time=0.001"};
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return 1;
    }
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}

} // namespace bench

#endif
