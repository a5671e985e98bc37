// A daemon that lacks descriptors loses no call and leaks none.

#include "integration/Caller.h"
#include "integration/ProcessTable.h"
#include "integration/ServerCase.h"
#include "support/DescriptorLimit.h"
#include "support/FileWatch.h"
#include "support/StartProgram.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <thread>

#include <sys/resource.h>

namespace
{

using daemon_case::askStatus;
using daemon_case::Caller;
using daemon_case::filesOf;
using daemon_case::payload;
using daemon_case::refusal;
using namespace std::chrono_literals;

constexpr int clients = 9;
constexpr int callsOfEach = 10;

/// A limit of a process's descriptors, lifted with the object.
class Limit
{
public:
    Limit(pid_t pid, rlim_t most) : m_pid(pid)
    {
        ::prlimit(m_pid, RLIMIT_NOFILE, nullptr, &m_former);
        set(most);
    }
    ~Limit() { ::prlimit(m_pid, RLIMIT_NOFILE, &m_former, nullptr); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

    void set(rlim_t most) const
    {
        const rlimit limit{most, m_former.rlim_max};
        if (::prlimit(m_pid, RLIMIT_NOFILE, &limit, nullptr) != 0) {
            throw std::runtime_error("no limit for " + std::to_string(m_pid));
        }
    }

private:
    const pid_t m_pid;
    rlimit m_former{};
};

/// The outcomes that are neither right nor a refusal, of a client that keeps calling.
std::string wrongOutcomes(unsigned int seed)
{
    std::string wrong;
    for (int call = 0; call < callsOfEach; ++call) {
        std::string outcome = refusal(2);
        while (outcome == refusal(2)) {
            outcome = seed % 3 == 0 ? server_case::ask(ostrel::CommandCreateCsr) : askStatus("web");
            std::this_thread::yield();
        }
        const std::string right = seed % 3 == 0 ? payload("") : payload("running");
        if (outcome != right && outcome.compare(0, 5, "Error") != 0) {
            wrong += outcome + '\n';
        }
    }
    return wrong;
}

std::size_t filesOfAll(const std::vector<pid_t>& processes)
{
    std::size_t count = 0;
    for (const pid_t process : processes) {
        count += filesOf(process).size();
    }
    return count;
}

class Shortage : public server_case::WithServer
{
protected:
    /// The supervisor and its services.
    static std::vector<pid_t> processesOf(pid_t supervisor)
    {
        std::vector<pid_t> all = daemon_case::childrenOf(supervisor);
        all.push_back(supervisor);
        return all;
    }

    static void expectCallsWork()
    {
        EXPECT_EQ(server_case::ask(ostrel::CommandCreateCsr), payload(""));
        EXPECT_EQ(askStatus("web"), payload("running"));
    }

    /// No event reports when the daemon has closed what belongs to the last reply.
    static void expectFiles(pid_t supervisor, std::size_t expected)
    {
        std::size_t files = 0;
        for (int look = 0; look < 200 && files != expected; ++look) {
            std::this_thread::sleep_for(10ms);
            files = filesOfAll(processesOf(supervisor));
        }
        EXPECT_EQ(files, expected);
    }
};

TEST_F(Shortage, OfDescriptorsLetsEveryCallEndOnceItIsOver)
{
    daemon.start();
    const std::size_t files = filesOfAll(processesOf(daemon.pid()));
    const pid_t process = daemon.pidOf("web");
    const rlim_t open = filesOf(process).size();
    std::vector<std::unique_ptr<Caller>> callers;
    {
        const Limit limit(process, open);
        for (unsigned int seed = 0; seed < clients; ++seed) {
            callers.push_back(std::make_unique<Caller>([seed] { return wrongOutcomes(seed); }));
        }
        for (rlim_t more = 0; more < 5; ++more) {
            limit.set(open + more);
            std::this_thread::sleep_for(60ms);
            limit.set(more);
            std::this_thread::sleep_for(60ms);
        }
    }
    for (const auto& caller : callers) {
        EXPECT_EQ(caller->outcome(), "");
    }
    expectCallsWork();
    EXPECT_EQ(daemon.pidOf("web"), process) << "it is the same process";
    expectFiles(daemon.pid(), files);
}

TEST_F(Shortage, OfDescriptorsInTheSupervisorDelaysOnlyAStart)
{
    daemon.start();
    const std::size_t files = filesOfAll(processesOf(daemon.pid()));
    const support::RunningDaemon::LogMark mark(daemon);
    support::denyDescriptors(daemon.pid());
    ::kill(daemon.pidOf("web"), SIGKILL);
    mark.await("web: not started: ");
    EXPECT_EQ(askStatus("vpn"), payload("running"));
    support::allowDescriptors(daemon.pid());
    mark.await("web: served");
    expectCallsWork();
    expectFiles(daemon.pid(), files);
}

/// The daemon's own files must not take the place of the standard streams.
TEST_F(Shortage, OfStandardStreamsHarmsNothing)
{
    configure("selfSignedGeneration yes\nca yes\n");
    daemon.start();
    const std::size_t files = filesOfAll(processesOf(daemon.pid()));
    daemon.stop();
    const std::string ready = support::boxDirectory() + "/ready";
    ASSERT_EQ(::mkfifo(ready.c_str(), 0600), 0);
    const pid_t pid = support::startProgram(
        {"/bin/sh", "-c",
         "exec \"$0\" --ready-fd 9 9>" + ready + " </dev/null >/dev/null 2>&1 <&- >&- 2>&-",
         support::RunningDaemon::path},
        "/dev/null", "/dev/null");
    EXPECT_EQ(support::readText(ready), "\n");
    expectCallsWork();
    const std::string certificate = support::TestCertificate().pem();
    EXPECT_EQ(web().getCA(web().addCA(certificate)), certificate);
    for (const pid_t process : processesOf(pid)) {
        for (const char* stream : {"fd/0", "fd/1", "fd/2"}) {
            EXPECT_EQ(std::filesystem::read_symlink(daemon_case::procOf(process, stream)),
                      "/dev/null");
        }
    }
    expectFiles(pid, files);
    ::kill(pid, SIGTERM);
    EXPECT_EQ(support::awaitEnd(pid), 0);
}

} // namespace
