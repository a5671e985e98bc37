#pragma once

// One row of the benchmark: work done through the library, and beside it the
// same work done by hand, with the same system calls and the same result.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench
{

/// What a row is measured by: the time of the thread, which other programs on
/// the machine hardly change, or, where other processes take part, the clock.
enum class Clock { Thread, Wall };

struct Subject {
    std::string what;
    std::size_t size;
    /// The ratio of library to raw that the library is to keep; 0 for none.
    double aim;
    Clock clock = Clock::Thread;
};

struct Row {
    Subject subject;
    std::function<bool()> isSame;
    std::function<void()> library;
    std::function<void()> raw;
};

/// The row of two functions, whose results `same` compares.
template <class Library, class Raw, class Same = std::equal_to<>>
Row rowOf(const Subject& subject, Library library, Raw raw, Same same = {})
{
    return {subject, [=] { return same(library(), raw()); },
            [=] { benchmark::DoNotOptimize(library()); }, [=] { benchmark::DoNotOptimize(raw()); }};
}

/// The row, whose sides are to agree on `isSame` as well.
inline Row withCheck(Row row, const std::function<bool()>& isSame)
{
    row.isSame = [former = row.isSame, isSame] { return former() && isSame(); };
    return row;
}

/// How much is measured: every size of a row, or its smallest alone.
enum class Extent { Full, Quick };

inline std::vector<std::size_t> sizesFor(Extent extent, const std::vector<std::size_t>& sizes)
{
    return extent == Extent::Full ? sizes : std::vector<std::size_t>{sizes.front()};
}

} // namespace bench
