#include "bench/Rows.h"
#include "bench/RunProgram.h"

namespace bench
{

std::vector<Row> startRows()
{
    return {rowOf(
                {"start of a program", 1, 1.1, Clock::Wall},
                [] { return statusOf({NOTHING_OSTRL}); },
                [] { return statusOf({NOTHING_CXXTOOLS}); }),
            rowOf(
                {"start of ostrelctl", 1, 1.2, Clock::Wall},
                [] {
                    return statusOf({OSTRELCTL, "--version"});
                },
                [] { return statusOf({NOTHING_OSTRL}); })};
}

} // namespace bench
