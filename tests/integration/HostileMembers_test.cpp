// Members of the management group who act against the other callers at the worst moments.

#include "integration/Caller.h"
#include "integration/ServerCase.h"
#include "support/FileWatch.h"
#include "support/StartProgram.h"

#include <gmock/gmock.h>

#include <fstream>
#include <random>

#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>

namespace
{

using daemon_case::askStatus;
using daemon_case::Caller;
using daemon_case::payload;
using daemon_case::refusal;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t member = 4712;

std::string listing()
{
    return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandList);
}

/// A member that does the same over and over until the object ends.
class Member
{
public:
    explicit Member(const std::function<void()>& work)
    {
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            std::signal(SIGPIPE, SIG_IGN);
            becomeMember();
            for (;;) {
                work();
            }
        }
    }
    ~Member()
    {
        ::kill(m_pid, SIGKILL);
        support::awaitEnd(m_pid);
    }
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

private:
    // In an ordinary user's namespace there is no other user.
    static void becomeMember()
    {
        const gid_t group = daemon_case::managersId();
        if (support::Accounts::hasOtherIds() &&
            (::setgroups(1, &group) != 0 || ::setresgid(member, member, member) != 0 ||
             ::setresuid(member, member, member) != 0)) {
            ::_exit(1);
        }
    }

    pid_t m_pid = -1;
};

class HostileMembers : public server_case::WithServer
{
protected:
    HostileMembers()
    {
        configure("ca yes\n");
        // Anybody may reach the services' directories.
        for (const std::string& path : {support::boxDirectory(), device.pipesDirectory()}) {
            std::filesystem::permissions(path, std::filesystem::perms(0755));
        }
    }

    /// More changes of the directory than the kernel keeps notices for.
    void flood() const
    {
        std::size_t most = 16384;
        std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> most;
        const std::string path = pipeDirectory("web") + "/flood";
        for (std::size_t i = 0; i < most; ++i) {
            ASSERT_EQ(::mknod(path.c_str(), S_IFREG | 0600, 0), 0);
            ASSERT_EQ(::unlink(path.c_str()), 0);
        }
    }

    void giveUp(const Caller::Work& work) const
    {
        const support::FileWatch pipes({pipeDirectory("web")}, IN_CLOSE_WRITE);
        Caller caller(work);
        pipes.awaitTouch("web.in");
        caller.giveUp();
    }
};

TEST_F(HostileMembers, ThatFloodTheNoticesCauseNoWrongAnswer)
{
    daemon.start();
    const std::string kept = web().addCA(support::TestCertificate().pem());
    const Caller::Work revoking = [&] {
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandRevoke, {kept});
    };
    const struct {
        const char* sentence;
        std::vector<Caller::Work> before;
        std::vector<Caller::Work> after;
    } rows[] = {
        {"nobody else calls", {}, {}},
        {"a caller gave up before", {revoking}, {}},
        {"a caller gave up after", {}, {revoking}},
        {"callers gave up before and after", {revoking}, {revoking, listing}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        ::kill(daemon.pidOf("web"), SIGSTOP);
        for (const auto& work : row.before) {
            giveUp(work);
        }
        flood();
        for (const auto& work : row.after) {
            giveUp(work);
        }
        Caller last(listing);
        const support::RunningDaemon::LogMark mark(daemon);
        ::kill(daemon.pidOf("web"), SIGCONT);
        mark.await("web: too much happens in ");
        EXPECT_THAT(last.outcome(), AnyOf(payload(kept), refusal(4)));
        EXPECT_EQ(listing(), payload(kept)) << "a revocation that nobody waited for";
    }
    EXPECT_EQ(web().revokeCA(std::vector<std::string>{kept}), std::vector<std::string>{kept});
}

/// The flood meets the call anywhere.
TEST_F(HostileMembers, ThatFloodTheNoticesDuringCallsCauseNoWrongAnswer)
{
    daemon.start();
    const std::string path = pipeDirectory("web") + "/flood";
    const Member flooder([&] {
        ::mknod(path.c_str(), S_IFREG | 0600, 0);
        ::unlink(path.c_str());
    });
    std::size_t right = 0;
    for (int call = 0; call < 300; ++call) {
        const std::string outcome = askStatus("web");
        ASSERT_THAT(outcome, AnyOf(payload("running"), refusal(4)));
        right += outcome == payload("running") ? 1 : 0;
    }
    EXPECT_GT(right, 250U);
}

TEST_F(HostileMembers, ThatOccupyTheNamesOfThePipesAreNeverServed)
{
    if (!support::Accounts::hasOtherIds()) {
        GTEST_SKIP() << "no other user exists in this namespace";
    }
    daemon.start();
    const Member squatter([&] {
        ::mkfifo(pipe("web", "in").c_str(), 0666);
        ::mkfifo(pipe("web", "lock").c_str(), 0666);
    });
    for (int start = 0; start < 20; ++start) {
        Caller early([] { return askStatus("web"); });
        EXPECT_EQ(daemon.stop(), 0);
        EXPECT_NE(early.outcome(), "still waiting");
        daemon.start();
        for (const char* suffix : {"in", "lock"}) {
            struct stat status {
            };
            ASSERT_EQ(::lstat(pipe("web", suffix).c_str(), &status), 0);
            EXPECT_EQ(status.st_uid, 0U) << suffix;
        }
        ASSERT_EQ(askStatus("web"), payload("running"));
    }
}

/// Texts that are no message. A member may write messages of its own at any time.
const std::string junk[] = {
    "x",
    "\t",
    "\n",
    std::string(1, '\0'),
    "root",
    "root\t1\t",
    "root\t1\tca\t",
    "root\tone\tca\tlist\tx\t",
    "root\t1\tca\tinfo\t",
    "\t1\tca\t1\t1\tserver\t",
    std::string(5000, 'x'),
    std::string(70000, '\t'),
};

TEST_F(HostileMembers, ThatWriteJunkCauseNoWrongAnswer)
{
    daemon.start();
    const std::string certificate = support::TestCertificate().pem();
    const std::string id = web().addCA(certificate);
    std::mt19937 random(1);
    const Member writer([&] {
        const auto fifo = ostrel::Descriptor::open(pipe("web", "in"), O_WRONLY | O_NONBLOCK);
        const std::string& text = junk[random() % std::size(junk)];
        [[maybe_unused]] const ssize_t count = ::write(fifo.get(), text.data(), text.size());
    });
    std::size_t right = 0;
    for (int call = 0; call < 300; ++call) {
        for (const auto& [type, target, expected] :
             {std::tuple(ostrel::CommandGetCert, ostrel::TargetCA, certificate),
              std::tuple(ostrel::CommandPath, ostrel::TargetCA,
                         device.storeDirectory() + "/web/ca/" + id)}) {
            const std::string outcome = daemon_case::ask("web", target, type, {id});
            const bool isSuccess = outcome.find(payload("")) == 0;
            ASSERT_TRUE(!isSuccess || outcome == payload(expected)) << outcome;
            right += isSuccess ? 1 : 0;
        }
    }
    RecordProperty("right", static_cast<int>(right));
    EXPECT_EQ(web().getCAList(), std::vector<std::string>{id});
}

TEST_F(HostileMembers, ThatWroteJunkDoNotAffectLaterCalls)
{
    daemon.start();
    for (const std::string& text : junk) {
        SCOPED_TRACE(text.substr(0, 30));
        ostrel::writeAll(ostrel::Descriptor::open(pipe("web", "in"), O_WRONLY), text);
        EXPECT_THAT(askStatus("web"), AnyOf(payload("running"), refusal(4)));
        EXPECT_EQ(askStatus("web"), payload("running"));
    }
}

} // namespace
