#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"

#include "support/Await.h"
#include "support/StartProgram.h"

#include <functional>
#include <thread>

#include <sys/prctl.h>
#include <unistd.h>

namespace
{

using daemon_case::StoreOnDisk;
using support::TestCertificate;

/// A client process that changes the store without a pause.
class Client
{
public:
    explicit Client(const std::function<void()>& work) : m_pid(::fork())
    {
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            work();
            ::_exit(0);
        }
    }
    ~Client() { kill(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    int awaitEnd() { return support::awaitEnd(std::exchange(m_pid, -1)); }

    void kill()
    {
        if (m_pid != -1) {
            ::kill(m_pid, SIGKILL);
            awaitEnd();
        }
    }

private:
    pid_t m_pid;
};

std::vector<std::string> someCertificates(int count)
{
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        texts.push_back(TestCertificate().pem());
    }
    return texts;
}

class Burst : public daemon_case::WithDaemon
{
protected:
    /// Adds and revokes until the daemon is gone.
    void changeOnAndOn() const
    {
        ostrelApi::OstrelService service("web");
        try {
            for (std::size_t i = 0;; i = (i + 1) % texts.size()) {
                const std::string id = service.addCA(texts[i]);
                if (i % 3 != 0) {
                    service.revokeCA(id);
                }
                if (i + 1 == texts.size()) {
                    service.revokeCA(files.ids());
                }
            }
        } catch (const std::exception&) {
            // The daemon has ended.
        }
    }

    const StoreOnDisk files{"web", "ca"};
    const std::vector<std::string> texts = someCertificates(60);
};

TEST_F(Burst, LeavesAConsistentStoreWhenTheDaemonIsKilled)
{
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        Client client([this] { changeOnAndOn(); });
        // Each round kills the daemon after a different number of changes.
        int changesLeft = 5 + 2 * round;
        support::awaitChange(round % 2 == 0 ? files.certificateDirectoryPath()
                                            : files.tmpDirectoryPath(),
                             "changes", [&] { return changesLeft-- == 0; });
        daemon.kill();
        client.kill();
        daemon.start();
        ASSERT_EQ(files.fault(), "");
        ostrelApi::OstrelService("web").revokeCA(files.ids());
        ASSERT_TRUE(files.ids().empty());
    }
}

TEST_F(Burst, ShowsReadersOnlyCompleteCertificates)
{
    Client client([this] {
        ostrelApi::OstrelService service("web");
        for (const std::string& text : texts) {
            service.addCA(text);
        }
    });
    std::size_t reads = 0;
    for (std::size_t count = 0; count < texts.size(); ++reads) {
        const std::vector<std::string> ids = files.ids();
        ASSERT_GE(ids.size(), count);
        count = ids.size();
        // Only the newest certificates could be incomplete.
        for (const std::string& id : ids) {
            ASSERT_EQ(files.faultOf(id), "");
        }
    }
    EXPECT_EQ(client.awaitEnd(), 0);
    EXPECT_GT(reads, 1U);
}

} // namespace
