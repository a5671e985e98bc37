#pragma once

// One row of the benchmark: work done through the library, and the same work done by
// hand, with the same system calls and the same result.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench
{

/// What a row measures: the thread's processor time, which other programs hardly
/// affect, or the time by the clock if other processes take part.
enum class Clock { Thread, Wall };

struct Subject {
    std::string what;
    std::size_t size;
    /// The maximum ratio of library time to raw time that is the aim; 0 for no aim.
    double aim;
    Clock clock = Clock::Thread;
    /// How often to measure what takes long; 0 for as often as the command line says.
    int repetitions = 0;
};

struct Row {
    Subject subject;
    std::function<bool()> isSame;
    std::function<void()> library;
    std::function<void()> raw;
    /// What follows each measured run of a side, to be ready for the next. Not measured.
    std::function<void()> afterLibrary = nullptr;
    std::function<void()> afterRaw = nullptr;
};

/// A row of two functions; `same` compares their results.
template <class Library, class Raw, class Same = std::equal_to<>>
Row rowOf(const Subject& subject, Library library, Raw raw, Same same = {})
{
    return {subject, [=] { return same(library(), raw()); },
            [=] { benchmark::DoNotOptimize(library()); }, [=] { benchmark::DoNotOptimize(raw()); }};
}

/// Adds to a row what follows each run of its sides.
inline Row withEnds(Row row, const std::function<void()>& afterLibrary,
                    const std::function<void()>& afterRaw)
{
    row.isSame = [former = row.isSame, afterLibrary, afterRaw] {
        const bool isSame = former();
        afterLibrary();
        afterRaw();
        return isSame;
    };
    row.afterLibrary = afterLibrary;
    row.afterRaw = afterRaw;
    return row;
}

/// Adds the condition `isSame` to a row.
inline Row withCheck(Row row, const std::function<bool()>& isSame)
{
    row.isSame = [former = row.isSame, isSame] { return former() && isSame(); };
    return row;
}

/// How much to measure: every size of a row, or only the smallest.
enum class Extent { Full, Quick };

inline std::vector<std::size_t> sizesFor(Extent extent, const std::vector<std::size_t>& sizes)
{
    return extent == Extent::Full ? sizes : std::vector<std::size_t>{sizes.front()};
}

} // namespace bench
