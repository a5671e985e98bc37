#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"
#include "tools/Descriptor.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include <sys/mount.h>

namespace
{

namespace fs = std::filesystem;
using daemon_case::StoreOnDisk;
using support::TestCertificate;

/// A small disk mounted over a directory.
class SmallDisk
{
public:
    explicit SmallDisk(const std::string& directory) : m_directory(directory)
    {
        support::boxDirectory();
        if (::mount("tmpfs", directory.c_str(), "tmpfs", 0, "size=256k,mode=0755") != 0) {
            throw std::runtime_error("no small disk in " + directory);
        }
    }
    ~SmallDisk() { ::umount2(m_directory.c_str(), MNT_DETACH); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    void fill() const
    {
        const auto file = ostrel::Descriptor::open(fillPath(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        while (ostrel::writeAll(file, std::string(512, 'x'))) {
        }
        ASSERT_EQ(errno, ENOSPC);
    }
    void makeRoom() const { fs::remove(fillPath()); }

private:
    std::string fillPath() const { return m_directory + "/fill"; }

    const std::string m_directory;
};

class FullDisk : public daemon_case::WithDevice
{
protected:
    void fillStore(const SmallDisk& disk)
    {
        daemon.start();
        for (int i = 0; i < 3; ++i) {
            ids.push_back(service.addCA(TestCertificate().pem()));
        }
        disk.fill();
    }

    std::string revokeFirst() const
    {
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandRevoke, {ids[0]});
    }

    void expectAllThere(const char* when) const
    {
        EXPECT_EQ(cas.fault(), "") << when;
        EXPECT_EQ(cas.ids().size(), 3U) << when;
    }

    ostrelApi::OstrelService service{"web"};
    const StoreOnDisk cas{"web", "ca"};
    std::vector<std::string> ids;
};

TEST_F(FullDisk, DoesNotDamageTheStore)
{
    const SmallDisk disk(device.storeDirectory());
    fillStore(disk);
    daemon.reload("web: configuration read again");
    expectAllThere("after a reload");
    daemon.restart();
    expectAllThere("after a start");
    EXPECT_EQ(daemon_case::askStatus("web"), daemon_case::payload("running"));
    disk.makeRoom();
    daemon.restart();
    expectAllThere("with room again");
}

TEST_F(FullDisk, DoesNotPreventRevocations)
{
    const SmallDisk disk(device.storeDirectory());
    fillStore(disk);
    EXPECT_EQ(revokeFirst(), daemon_case::payload(ids[0]));
    EXPECT_EQ(cas.fault(), "");
    daemon.restart();
    EXPECT_EQ(cas.ids().size(), 2U);
    for (const std::string& id : cas.ids()) {
        disk.fill();
        service.revokeCA(id);
        EXPECT_EQ(cas.fault(), "");
    }
    EXPECT_EQ(cas.ids().size(), 0U);
}

TEST_F(FullDisk, DoesNotDamageCorrectVolatileFiles)
{
    const SmallDisk disk(device.pipesDirectory());
    fillStore(disk);
    daemon.reload("web: configuration read again");
    expectAllThere("after a reload");
    // The list decides, and its disk has room.
    EXPECT_EQ(revokeFirst(), daemon_case::payload(ids[0]));
    EXPECT_EQ(service.getCAList().size(), 2U);
    disk.makeRoom();
    daemon.reload("web: configuration read again");
    EXPECT_EQ(cas.fault(), "");
}

TEST_F(FullDisk, MakesAnAdditionFailWithoutAnyChange)
{
    const SmallDisk disk(device.storeDirectory());
    fillStore(disk);
    const std::string path = pipeDirectory("web") + "/given.crt";
    support::writeText(path, TestCertificate().pem());
    EXPECT_EQ(daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandAdd, {path}),
              daemon_case::refusal(31));
    expectAllThere("after it");
}

} // namespace
