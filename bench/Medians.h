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

    /// Nanoseconds by name: by the clock if the benchmark uses it, otherwise the
    /// thread's processor time.
    const std::map<std::string, double>& times() const { return m_times; }

private:
    // The benchmark library reports a row that the filter excludes as an error.
    std::ostream m_nowhere{nullptr};
    std::map<std::string, double> m_times;
};

} // namespace bench
