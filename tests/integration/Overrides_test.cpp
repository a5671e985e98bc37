// How the daemon handles the overrides file, which clients write themselves.

#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"

namespace
{

using daemon_case::payload;
using daemon_case::refusal;

constexpr std::size_t limit = 1 << 20;

class ClientsOverrides : public daemon_case::WithDaemon
{
protected:
    ClientsOverrides() { id = service.addCA(support::TestCertificate().pem()); }

    std::string get() const
    {
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandGetOverwrittenData, {id});
    }
    std::string set(const std::string& key, const std::string& value) const
    {
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandSetOverwrittenData,
                                {id, key, value});
    }
    void write(const std::string& text) const { support::writeText(path(), text); }
    std::string path() const { return files.certOverwrittenDataPath(id); }

    ostrelApi::OstrelService service{"web"};
    const daemon_case::StoreOnDisk files{"web", "ca"};
    std::string id;
};

TEST_F(ClientsOverrides, AreReadUpToOneMebibyte)
{
    const std::string full = "key " + std::string(limit - 5, 'x') + '\n';
    write(full);
    EXPECT_EQ(get(), payload(full));
    write(full + '\n');
    EXPECT_EQ(get(), refusal(1));
    EXPECT_EQ(set("alias", "Lobby"), refusal(1));
    EXPECT_NE(daemon.log().find("has more than 1048576 bytes"), std::string::npos);
    EXPECT_EQ(support::readText(path()), full + '\n');
}

TEST_F(ClientsOverrides, AreNotWrittenBeyondOneMebibyte)
{
    const std::string full = "key " + std::string(limit - 5, 'x') + '\n';
    write(full);
    EXPECT_EQ(set("alias", "Lobby"), refusal(1));
    EXPECT_EQ(support::readText(path()), full);
    EXPECT_EQ(set("key", "x"), payload(""));
    EXPECT_EQ(get(), payload("key x\n"));
}

TEST_F(ClientsOverrides, WithInvalidKeysStayWhenAnotherOneIsSet)
{
    write("a.b x\nok y\n\nno-value\nok z\n");
    EXPECT_EQ(set("alias", "Lobby"), payload(""));
    EXPECT_EQ(support::readText(path()), "a.b x\nalias Lobby\nok y\n");
    EXPECT_EQ(set("c.d", "x"), refusal(1));
    EXPECT_EQ(service.getCAOverwrittenData(id).getData("a.b"), "x");
}

} // namespace
