// Compares the library with the same work done by hand. Prints the ratios and whether
// they meet their aims. Fails if the two sides give different results, but not on a slow
// machine.
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

/// The options for Google Benchmark. Ours come first, so that the command line overrides them.
std::vector<std::string> benchmarkOptions(bench::Extent extent)
{
    const bool isFull = extent == bench::Extent::Full;
    return {
        // Alternates the sides, so that a machine that slows down affects both.
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
                      << ": the results of the library and of the raw side differ\n";
            result = false;
        }
    }
    return result;
}

/// One side of a row.
struct Side {
    std::string name;
    std::function<void()> work;
    std::function<void()> end;
};

void measure(const bench::Subject& subject, const Side& side)
{
    auto* measured =
        benchmark::RegisterBenchmark(side.name.c_str(), [side](benchmark::State& state) {
            for (auto _ : state) {
                side.work();
                if (side.end) {
                    state.PauseTiming();
                    side.end();
                    state.ResumeTiming();
                }
            }
        });
    if (subject.clock == bench::Clock::Wall) {
        measured->UseRealTime();
    }
    if (subject.repetitions != 0) {
        measured->Repetitions(subject.repetitions)->Iterations(1);
    }
}

// Measures each row separately, so that its two sides run close together.
std::map<std::string, double> measure(const std::vector<Row>& rows)
{
    bench::Medians medians;
    for (const Row& row : rows) {
        measure(row.subject, {bench::libraryName(row.subject), row.library, row.afterLibrary});
        measure(row.subject, {bench::rawName(row.subject), row.raw, row.afterRaw});
        benchmark::RunSpecifiedBenchmarks(&medians);
        benchmark::ClearRegisteredBenchmarks();
    }
    return medians.times();
}

// The processes that take part inherit this. On two processors the scheduler's choices
// would have more effect than everything measured here.
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
    static const std::vector<Family> all = {bench::exchangeRows,
                                            bench::wholeExchangeRows,
                                            bench::addRows,
                                            bench::rebuildRows,
                                            bench::storeRows,
                                            bench::textRows,
                                            bench::listingRows,
                                            [](const bench::Device&, bench::Extent) { return bench::startRows(); }};
    return all;
}

/// Everything that was measured.
struct Results {
    std::vector<Row> rows;
    std::map<std::string, double> times;
};

/// Measures a family on its own device. Returns false if the results differ.
bool measureInto(Results& results, const Family& family, bench::Extent extent)
{
    const bench::Device device;
    const std::vector<Row> rows = family(device, extent);
    if (!areSame(rows)) {
        return false;
    }
    results.times.merge(measure(rows));
    // What the rows hold ends with them: processes, above all.
    for (const Row& row : rows) {
        results.rows.push_back({row.subject, {}, {}, {}});
    }
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
    bench::printFigures(bench::serviceFigures(bench::Device(), extent));
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
