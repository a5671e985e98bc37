// Compares docs/FILES.md and docs/PROTOCOL.md with what the daemon writes.

#include "integration/ServerCase.h"
#include "support/Document.h"
#include "support/ScriptedClient.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ExternalCertificatesAccessor.h>

#include <gmock/gmock.h>

namespace
{

using ostrel::DaemonConfiguration;
using support::Document;
using support::readText;
using support::ScriptedClient;
using testing::StartsWith;

std::string exampleFile(const std::string& name)
{
    return support::readDocument("FILES.md").bytes(name);
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    return text.replace(text.find(from), from.size(), to);
}

/// The certificate of the documents' examples.
std::string examplePem()
{
    support::TestCertificate certificate;
    certificate.commonName = "web.example";
    certificate.issuer = "My Root CA";
    certificate.isCA = false;
    certificate.alternativeNames = "IP:192.0.2.1, DNS:web.example";
    return certificate.pem();
}

class Documents : public server_case::WithServer
{
protected:
    Documents()
    {
        configure("ca yes\ntrustedClients yes\nnetworkInterface.0 lo\nincludeIPv4.0 yes\n");
        daemon.start();
    }

    const ostrel::ExternalCertificatesAccessor clients{"web", "client"};
};

TEST_F(Documents, ShowTheLockFileAndTheProcessIdFile)
{
    EXPECT_EQ(readText(DaemonConfiguration::getPidFile()),
              replaced(exampleFile("pidFile"), "812", std::to_string(daemon.pid())));
    EXPECT_EQ(readText(DaemonConfiguration::getLockFile()), exampleFile("lockFile"));
    EXPECT_EQ(readText(pipe("web", "lock")), exampleFile("lockFile"));
}

TEST_F(Documents, ShowTheInfoFileThatTheDaemonWrites)
{
    const std::string id = web().addTrustedClient(examplePem());
    const std::string info = readText(clients.certInfoPath(id));
    EXPECT_EQ(info, exampleFile("info")) << support::dumpOf(info);
    EXPECT_THAT(readText(clients.certDetailsPath(id)), StartsWith(exampleFile("detail")));
}

TEST_F(Documents, ShowTheIdTheListAndTheMapThatTheDaemonWrites)
{
    const std::string pem = examplePem();
    const std::string id = web().addTrustedClient(pem);
    EXPECT_EQ(id, support::fingerprintId(pem));
    EXPECT_EQ(readText(clients.listPath()), id + '\n');
    EXPECT_EQ(readText(clients.cnMapPath()), id + " web.example\n");
    EXPECT_EQ(readText(clients.certPath(id)), pem);
    EXPECT_EQ(readText(clients.certOverwrittenDataPath(id)), "");
}

TEST_F(Documents, ShowTheFilesOfTheServerCertificate)
{
    web().createServerCsr();
    EXPECT_EQ(readText(paths.csrNetworkPath()), exampleFile("network"));
    const std::string id = applyNew();
    const std::string example = exampleFile("active.txt");
    EXPECT_EQ(readText(paths.activePath()), replaced(example, example.substr(0, 16), id));
    EXPECT_EQ(readText(paths.certNetworkPath(id)), exampleFile("network"));
}

/// Compares the daemon's reply to the example message byte by byte.
class DocumentedCall : public Documents
{
protected:
    std::string call() const
    {
        const std::string message = support::readDocument("PROTOCOL.md").bytes("command");
        ScriptedClient client(device, "web",
                              replaced(message, "/run/ostrel/web/x.crt", given(m_pem)),
                              support::Step::RemovesReplyFifo);
        client.resume();
        return client.outcome();
    }

    static std::string example(const std::string& name)
    {
        return "reply " + support::readDocument("PROTOCOL.md").bytes(name);
    }

    const std::string m_pem = support::TestCertificate().pem();
};

TEST_F(DocumentedCall, GetsTheRepliesThatTheDocumentShows)
{
    EXPECT_EQ(call(),
              replaced(example("reply"), "5a1f09c2d7e4b683", support::fingerprintId(m_pem)));
    EXPECT_EQ(call(), example("refusal"));
}

} // namespace
