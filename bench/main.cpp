// The library beside the same work done by hand. Prints the ratios and how
// they keep to their aims; a slow machine fails nothing, a difference between
// the results of both sides does.
//
//     ostrel_bench [--quick] [--benchmark_filter=REGEX] ...

#include "bench/Device.h"
#include "bench/Medians.h"
#include "bench/Rows.h"
#include "bench/Table.h"

#include <fmt/core.h>

#include <algorithm>
#include <iostream>

#include <sched.h>

namespace
{

using bench::Row;

/// Google Benchmark's options: ours first, so that the command line's win.
std::vector<std::string> benchmarkOptions(bench::Extent extent)
{
    const bool isFull = extent == bench::Extent::Full;
    return {
        // Both sides in turn: a machine that drifts slows them alike.
        "--benchmark_enable_random_interleaving=true",
        isFull ? "--benchmark_repetitions=101" : "--benchmark_repetitions=3",
        isFull ? "--benchmark_min_time=0.005" : "--benchmark_min_time=0.0001",
    };
}

bench::Extent extentOf(std::vector<std::string>& options)
{
    const auto quick = std::find(options.begin(), options.end(), "--quick");
    if (quick == options.end()) {
        return bench::Extent::Full;
    }
    options.erase(quick);
    return bench::Extent::Quick;
}

bool initialize(char* program, std::vector<std::string> options)
{
    std::vector<char*> arguments = {program};
    for (std::string& option : options) {
        arguments.push_back(option.data());
    }
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    return !benchmark::ReportUnrecognizedArguments(count, arguments.data());
}

bool areSame(const std::vector<Row>& rows)
{
    bool result = true;
    for (const Row& row : rows) {
        if (!row.isSame()) {
            std::cerr << row.subject.what << ' ' << row.subject.size
                      << ": the library's result is not the raw one\n";
            result = false;
        }
    }
    return result;
}

void measure(const std::string& name, bench::Clock clock, const std::function<void()>& work)
{
    auto* measured = benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        for (auto _ : state) {
            work();
        }
    });
    if (clock == bench::Clock::Wall) {
        measured->UseRealTime();
    }
}

// Each row by itself, so that both of its sides share the same second.
std::map<std::string, double> measure(const std::vector<Row>& rows)
{
    bench::Medians medians;
    for (const Row& row : rows) {
        measure(bench::libraryName(row.subject), row.subject.clock, row.library);
        measure(bench::rawName(row.subject), row.subject.clock, row.raw);
        benchmark::RunSpecifiedBenchmarks(&medians);
        benchmark::ClearRegisteredBenchmarks();
    }
    return medians.times();
}

// For the processes that take part as well: when two of them meet on two
// processors, the scheduler's choices outweigh all that is measured here.
void stayOnOneProcessor()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<unsigned int>(::sched_getcpu()), &processors);
    ::sched_setaffinity(0, sizeof processors, &processors);
}

using Family = std::function<std::vector<Row>(const bench::Device&, bench::Extent)>;

const std::vector<Family>& families()
{
    static const std::vector<Family> all = {
        bench::exchangeRows, bench::storeRows, bench::textRows, bench::surveyRows,
        [](const bench::Device&, bench::Extent) { return bench::startRows(); }};
    return all;
}

/// All that was measured.
struct Results {
    std::vector<Row> rows;
    std::map<std::string, double> times;
};

/// Measures a family on a device of its own; false when its sides differ.
bool measureInto(Results& results, const Family& family, bench::Extent extent)
{
    const bench::Device device;
    const std::vector<Row> rows = family(device, extent);
    if (!areSame(rows)) {
        return false;
    }
    results.times.merge(measure(rows));
    results.rows.insert(results.rows.end(), rows.begin(), rows.end());
    return true;
}

int run(char* program, std::vector<std::string> options)
{
    const bench::Extent extent = extentOf(options);
    const std::vector<std::string> ours = benchmarkOptions(extent);
    options.insert(options.begin(), ours.begin(), ours.end());
    if (!initialize(program, options)) {
        return 2;
    }
    stayOnOneProcessor();
    Results results;
    for (const Family& family : families()) {
        if (!measureInto(results, family, extent)) {
            return 1;
        }
    }
    bench::printRatios(results.rows, results.times);
    bench::printGrowth(results.rows, results.times);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    try {
        return run(argv[0], std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& failure) {
        std::cerr << "ostrel_bench: " << failure.what() << '\n';
        return 1;
    }
}
