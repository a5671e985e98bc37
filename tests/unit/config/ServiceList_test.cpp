#include <ostrel/ServiceConfiguration.h>

#include "support/AllocationFault.h"
#include "support/Device.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <dirent.h>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::ServiceConfiguration;
using support::Device;
using support::thrownBy;
using support::writeText;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

void getServiceList()
{
    ServiceConfiguration::getServiceList();
}

class ServiceList : public testing::Test
{
protected:
    std::string pathOf(const std::string& name) const
    {
        return device.serviceDirectory() + '/' + name;
    }

    const Device device;
};

TEST_F(ServiceList, NamesEveryRegularFileWhoseOnlyDotStartsTheSuffix)
{
    for (const char* name :
         {"web.conf", "web.conf.bak", "a.b.conf", ".conf", ".hidden.conf", "vpn.config", "vpn.Conf",
          "vpn.con", "conf", "mail-2_x.conf", "with space.conf", "web.conf~", "empty."}) {
        writeText(pathOf(name), "");
    }
    EXPECT_THAT(ServiceConfiguration::getServiceList(),
                UnorderedElementsAre("web", "mail-2_x", "with space", ""));
}

TEST_F(ServiceList, SkipsFilesThatAreNotRegular)
{
    writeText(pathOf("web.conf"), "");
    fs::create_directory(pathOf("folder.conf"));
    fs::create_symlink(pathOf("web.conf"), pathOf("lnk.conf"));
    fs::create_symlink(pathOf("missing"), pathOf("dangling.conf"));
    ASSERT_EQ(::mkfifo(pathOf("fifo.conf").c_str(), 0600), 0);
    EXPECT_THAT(ServiceConfiguration::getServiceList(), ElementsAre("web"));
}

TEST_F(ServiceList, DoesNotReadTheFiles)
{
    writeText(pathOf("bad.conf"), "CertDailyExpiryChkTimeOffsetSecs 86400\n");
    EXPECT_THAT(ServiceConfiguration::getServiceList(), ElementsAre("bad"));
}

TEST_F(ServiceList, HasTheOrderOfTheDirectory)
{
    std::vector<std::string> expected;
    for (const char* name : {"m", "z", "a", "k", "b", "y", "c", "x"}) {
        writeText(pathOf(std::string(name) + ".conf"), "");
    }
    DIR* const directory = ::opendir(device.serviceDirectory().c_str());
    ASSERT_NE(directory, nullptr);
    while (const dirent* entry = ::readdir(directory)) {
        const std::string name = entry->d_name;
        if (name.size() > 5) {
            expected.push_back(name.substr(0, name.size() - 5));
        }
    }
    ::closedir(directory);
    EXPECT_EQ(ServiceConfiguration::getServiceList(), expected);
    EXPECT_EQ(expected.size(), 8U);
}

TEST_F(ServiceList, IsReadAgainByEachCall)
{
    EXPECT_THAT(ServiceConfiguration::getServiceList(), IsEmpty());
    writeText(pathOf("web.conf"), "");
    EXPECT_THAT(ServiceConfiguration::getServiceList(), ElementsAre("web"));
    fs::remove(pathOf("web.conf"));
    EXPECT_THAT(ServiceConfiguration::getServiceList(), IsEmpty());
}

TEST_F(ServiceList, IsEmptyWhenTheDirectoryCannotBeOpened)
{
    fs::remove_all(device.serviceDirectory());
    EXPECT_THAT(ServiceConfiguration::getServiceList(), IsEmpty());
    writeText(device.serviceDirectory(), "a file");
    EXPECT_THAT(ServiceConfiguration::getServiceList(), IsEmpty());
    fs::remove(device.serviceDirectory());
    fs::create_symlink(device.serviceDirectory(), device.serviceDirectory());
    EXPECT_THAT(ServiceConfiguration::getServiceList(), IsEmpty());
}

TEST_F(ServiceList, LeavesNoDescriptorOpen)
{
    getServiceList();
    const std::size_t before = support::openDescriptorCount();
    getServiceList();
    EXPECT_EQ(support::openDescriptorCount(), before);
}

TEST_F(ServiceList, ReportsAFailureOfTheDaemonConfiguration)
{
    const std::string text =
        "std::runtime_error: Std exception caught while getting service list: ";
    Device::writeDaemonConfiguration("minDateForGeneratingCert x\n");
    EXPECT_EQ(thrownBy(getServiceList), text + "stoll");
    fs::remove("/etc/ostrel/config.daemon");
    EXPECT_EQ(thrownBy(getServiceList),
              text + "Failed to open configuration file : /etc/ostrel/config.daemon");
}

TEST_F(ServiceList, ReportsEveryFailureOfTheScan)
{
    writeText(pathOf("a-service-with-a-long-name.conf"), "");
    getServiceList();
    const std::size_t before = support::openDescriptorCount();
    EXPECT_THAT(support::thrownWithoutMemory(getServiceList, support::failAsOutOfMemory),
                Contains("std::runtime_error: Std exception caught while getting service list: "
                         "std::bad_alloc"));
    EXPECT_THAT(support::thrownWithoutMemory(getServiceList, support::failWithNonStandardException),
                Contains("std::runtime_error: Generic exception caught while getting service "
                         "list."));
    EXPECT_EQ(support::openDescriptorCount(), before) << "the directory is closed nevertheless";
}

} // namespace
