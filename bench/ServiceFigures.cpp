#include "bench/Certificates.h"
#include "bench/Daemon.h"
#include "bench/Rows.h"

#include <ostrelApi/OstrelService.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <sstream>

namespace bench
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t handful = 5;
constexpr char reloaded[] = "configuration read again";

// What only this process has written: another service takes as much again.
double ownKibibytes(pid_t process)
{
    std::istringstream lines(textOfFile("/proc/" + std::to_string(process) + "/smaps_rollup"));
    std::string word;
    double kibibytes = 0;
    while (lines >> word) {
        if (word == "Private_Dirty:") {
            lines >> kibibytes;
        }
    }
    return kibibytes;
}

double secondsOfStatus(ostrelApi::OstrelService& service)
{
    ostrel::Commands command;
    command.target = ostrel::TargetConfig;
    command.command = ostrel::CommandStatus;
    const auto start = Clock::now();
    service.sendCommandToServer(command);
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The longest time that a caller waits for "status" while the service reads its
// configuration again.
double secondsAway(ostrelApi::OstrelService& service, const Daemon& daemon, pid_t process)
{
    double longest = 0;
    ::kill(process, SIGHUP);
    while (daemon.log().find(reloaded) == std::string::npos) {
        longest = std::max(longest, secondsOfStatus(service));
    }
    return longest;
}

} // namespace

std::vector<Figure> serviceFigures(const Device& device, Extent extent)
{
    const std::size_t many = sizesFor(extent, {600, 6000}).back();
    ostrelApi::OstrelService large(device.addService("large"));
    fillStore("large", many);
    fillStore(device.addService("small"), handful);
    const Daemon daemon(device);
    const pid_t process = daemon.pidOf("large");
    return {
        {"memory of one service more", ownKibibytes(daemon.pidOf("small")), "KiB", 700},
        {"longest wait during a reload, CAs " + std::to_string(many),
         1000 * secondsAway(large, daemon, process), "ms", 200},
    };
}

} // namespace bench
