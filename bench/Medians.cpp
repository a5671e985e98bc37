#include "bench/Medians.h"

namespace bench
{

Medians::Medians()
{
    SetErrorStream(&m_nowhere);
}

bool Medians::ReportContext(const Context& /*context*/)
{
    return true;
}

void Medians::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
            const bool isByClock = run.run_name.time_type == "real_time";
            m_times[run.run_name.function_name] =
                isByClock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
        }
    }
}

} // namespace bench
