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

std::vector<Row> allRows(const bench::Device& device, bench::Extent extent)
{
    std::vector<Row> rows;
    for (const auto& family :
         {bench::exchangeRows(device, extent), bench::storeRows(device, extent),
          bench::textRows(device, extent), bench::startRows()}) {
        rows.insert(rows.end(), family.begin(), family.end());
    }
    return rows;
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

int run(char* program, std::vector<std::string> options)
{
    const bench::Extent extent = extentOf(options);
    const std::vector<std::string> ours = benchmarkOptions(extent);
    options.insert(options.begin(), ours.begin(), ours.end());
    if (!initialize(program, options)) {
        return 2;
    }
    stayOnOneProcessor();
    const bench::Device device;
    const std::vector<Row> rows = allRows(device, extent);
    if (!areSame(rows)) {
        return 1;
    }
    const auto times = measure(rows);
    bench::printRatios(rows, times);
    bench::printGrowth(rows, times);
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
