#include "integration/ServerCase.h"

#include "support/Await.h"
#include "support/StartProgram.h"

#include <cerrno>
#include <csignal>
#include <set>
#include <system_error>

#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using support::readText;
using support::writeText;
using Paths = ostrel::InternalCertificatesAccessor;

// What is wrong with the active certificate or the pending request; empty when
// each is complete or missing.
std::string inconsistencyOf(const Paths& paths)
{
    ostrelApi::OstrelService web("web");
    if (fs::exists(paths.activePath())) {
        const std::string id = web.getServerActiveCertificateId();
        if (support::fingerprintId(web.getServerCertificate("")) != id) {
            return "another certificate than the one named";
        }
        if (!support::isKeyOf(web.getServerCertificate(""), web.getServerKey(""))) {
            return "another key than the certificate's";
        }
        web.getServerCertificateInfo("");
        web.getServerCertificateDetails("");
    }
    if (fs::exists(paths.csrPath()) != fs::exists(paths.csrKeyPath())) {
        return "half a request";
    }
    const std::string request = fs::exists(paths.csrPath()) ? web.getServerCsr() : "";
    return request.empty() ||
                   support::isKeyOf(support::certificateFor(request), readText(paths.csrKeyPath()))
               ? ""
               : "another key than the request's";
}

// The names of the files of the store.
std::set<std::string> filesOf(const Paths& paths)
{
    std::set<std::string> names;
    for (const std::string& directory : {paths.certificateDirectoryPath(),
                                         paths.cachedDirectoryPath(), paths.tmpDirectoryPath()}) {
        for (const auto& entry : fs::directory_iterator(directory)) {
            if (!entry.is_directory()) {
                names.insert(entry.path().filename());
            }
        }
    }
    return names;
}

std::set<std::string> filesOfSet(const std::string& id)
{
    return {id,          id + ".detail",  id + ".info",
            id + ".key", id + ".network", id + ".overwrite",
            "active.txt"};
}

/// What a power cut may have left, and whether the active certificate stays
/// active.
struct Leftover {
    const char* sentence;
    void (*make)(const Paths& paths, const std::string& id);
    bool isActive;
};

void PrintTo(const Leftover& row, std::ostream* out)
{
    *out << row.sentence;
}

const Leftover leftovers[] = {
    {"nothing", [](const Paths&, const std::string&) {}, true},
    {"a key without a certificate",
     [](const Paths& paths, const std::string&) { writeText(paths.certKeyPath("new"), "key"); },
     true},
    {"a complete set that is not active",
     [](const Paths& paths, const std::string& id) {
         const std::string other = support::TestCertificate().pem();
         writeText(paths.certPath(support::fingerprintId(other)), other);
         writeText(paths.certKeyPath(support::fingerprintId(other)),
                   readText(paths.certKeyPath(id)));
     },
     true},
    {"temporary files",
     [](const Paths& paths, const std::string&) {
         writeText(paths.cachedDirectoryPath() + "/.new", "half");
         writeText(paths.tmpDirectoryPath() + "/.new", "half");
     },
     true},
    {"no volatile files",
     [](const Paths& paths, const std::string&) { fs::remove_all(paths.tmpDirectoryPath()); },
     true},
    {"a request without its key",
     [](const Paths& paths, const std::string&) {
         ostrelApi::OstrelService("web").createServerCsr();
         fs::remove(paths.csrKeyPath());
     },
     true},
    {"a request with another key",
     [](const Paths& paths, const std::string& id) {
         ostrelApi::OstrelService("web").createServerCsr();
         writeText(paths.csrKeyPath(), readText(paths.certKeyPath(id)));
     },
     true},
    {"a request's key without the request",
     [](const Paths& paths, const std::string&) {
         ostrelApi::OstrelService("web").createServerCsr();
         fs::remove(paths.csrPath());
     },
     true},
    {"a request that is not valid",
     [](const Paths& paths, const std::string&) {
         ostrelApi::OstrelService("web").createServerCsr();
         writeText(paths.csrPath(), "-----BEGIN CERTIFICATE REQUEST-----\n");
     },
     true},
    {"an empty request",
     [](const Paths& paths, const std::string&) { writeText(paths.csrPath(), ""); }, true},
    {"no name of the active certificate",
     [](const Paths& paths, const std::string&) { fs::remove(paths.activePath()); }, false},
    {"an empty name",
     [](const Paths& paths, const std::string&) { writeText(paths.activePath(), ""); }, false},
    {"the name of a missing certificate",
     [](const Paths& paths, const std::string&) {
         writeText(paths.activePath(), "0123456789abcdef\n");
     },
     false},
    {"a path outside the store",
     [](const Paths& paths, const std::string& id) {
         writeText(paths.certificateDirectoryPath() + "../x", readText(paths.certPath(id)));
         writeText(paths.activePath(), "../x\n");
     },
     false},
    {"the name of a certificate under another name",
     [](const Paths& paths, const std::string& id) {
         fs::rename(paths.certPath(id), paths.certPath("foreign"));
         fs::rename(paths.certKeyPath(id), paths.certKeyPath("foreign"));
         writeText(paths.activePath(), "foreign\n");
     },
     false},
    {"a truncated certificate",
     [](const Paths& paths, const std::string& id) { fs::resize_file(paths.certPath(id), 100); },
     false},
    {"a certificate without its key",
     [](const Paths& paths, const std::string& id) { fs::remove(paths.certKeyPath(id)); }, false},
    {"a certificate with an empty key",
     [](const Paths& paths, const std::string& id) { fs::resize_file(paths.certKeyPath(id), 0); },
     false},
    {"a certificate with the key of another one",
     [](const Paths& paths, const std::string& id) {
         ostrelApi::OstrelService("web").createServerCsr();
         writeText(paths.certKeyPath(id), readText(paths.csrKeyPath()));
         fs::remove(paths.csrPath());
     },
     false},
};

class PowerCut : public server_case::WithServer, public testing::WithParamInterface<Leftover>
{
};

TEST_P(PowerCut, LeavesACompleteSetActiveOrNoSet)
{
    daemon.start();
    const std::string id = applyNew();
    GetParam().make(paths, id);
    daemon.restart();
    EXPECT_EQ(filesOf(paths), GetParam().isActive ? filesOfSet(id) : std::set<std::string>());
    EXPECT_EQ(inconsistencyOf(paths), "");
    EXPECT_EQ(server_case::ask(ostrel::CommandPath), GetParam().isActive
                                                         ? server_case::payload(paths.certPath(id))
                                                         : server_case::refusal(20));
}

TEST_P(PowerCut, LeavesAServiceThatAcceptsAnotherCertificate)
{
    daemon.start();
    GetParam().make(paths, applyNew());
    daemon.restart();
    const std::string id = applyNew();
    EXPECT_EQ(inconsistencyOf(paths), "");
    daemon.restart();
    EXPECT_EQ(filesOf(paths), filesOfSet(id));
}

INSTANTIATE_TEST_SUITE_P(That, PowerCut, testing::ValuesIn(leftovers), [](const auto& row) {
    std::string name = "Leaves " + std::string(row.param.sentence);
    for (std::size_t at = 0; (at = name.find_first_of(" '")) != std::string::npos;) {
        name.erase(at, 1);
        name[at] = static_cast<char>(std::toupper(name[at]));
    }
    return name;
});

/// A client process that repeats a change without a pause. The destructor kills
/// it.
class EagerClient
{
public:
    explicit EagerClient(std::string (*change)()) : m_pid(::fork())
    {
        if (m_pid == -1) {
            throw std::system_error(errno, std::generic_category(), "fork");
        }
        while (m_pid == 0) {
            try {
                change();
            } catch (const std::exception&) {
                ::_exit(1);
            }
        }
    }
    ~EagerClient()
    {
        ::kill(m_pid, SIGKILL);
        support::awaitEnd(m_pid);
    }
    EagerClient(const EagerClient&) = delete;
    EagerClient& operator=(const EagerClient&) = delete;

private:
    const pid_t m_pid;
};

std::string requestNew()
{
    ostrelApi::OstrelService("web").createServerCsr();
    return {};
}

class Kill : public server_case::WithServer
{
protected:
    /// Waits until a directory has changed `count` times.
    static void awaitChanges(const std::string& directory, int count)
    {
        support::awaitChange(directory, "changes", [&count] { return count-- == 0; });
    }
};

TEST_F(Kill, DuringAChangeOfTheCertificateLeavesACompleteSet)
{
    daemon.start();
    const std::string first = applyNew();
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        {
            const EagerClient client(applyNew);
            awaitChanges(paths.cachedDirectoryPath(), round + 10);
            daemon.kill();
        }
        daemon.start();
        ASSERT_EQ(inconsistencyOf(paths), "");
    }
    EXPECT_NE(web().getServerActiveCertificateId(), first);
}

TEST_F(Kill, DuringAnotherRequestLeavesTheNewOneOrTheFormerOne)
{
    daemon.start();
    requestNew();
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        {
            const EagerClient client(requestNew);
            awaitChanges(paths.tmpDirectoryPath(), round + 1);
            daemon.kill();
        }
        daemon.start();
        ASSERT_TRUE(fs::exists(paths.csrPath()));
        ASSERT_EQ(inconsistencyOf(paths), "");
        ASSERT_EQ(filesOf(paths), (std::set<std::string>{"csr.csr", "csr.key", "csr.network"}));
    }
}

} // namespace
