#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <ostream>
#include <string>

namespace bench
{

/// Keeps each benchmark's median of all repetitions and prints nothing.
class Medians : public benchmark::BenchmarkReporter
{
public:
    Medians();
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// Nanoseconds by name: of the clock where the benchmark was measured by
    /// it, else of the thread.
    const std::map<std::string, double>& times() const { return m_times; }

private:
    // A row that the command line's filter leaves out is no error.
    std::ostream m_nowhere{nullptr};
    std::map<std::string, double> m_times;
};

} // namespace bench
