#include <ostrel/InternalCertificatesAccessor.h>

#include <ostrel/ServiceConfiguration.h>

#include "support/CapturedErrors.h"
#include "support/Device.h"
#include "support/TextFiles.h"
#include "unit/store/AccessorRows.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ios>
#include <stdexcept>

namespace
{

using accessor_rows::configure;
using accessor_rows::expectPaths;
using accessor_rows::PathRow;
using Accessor = ostrel::InternalCertificatesAccessor;

std::vector<PathRow> pathsOf(const Accessor& accessor, const std::string& persistent,
                             const std::string& temporary)
{
    return {
        {"the volatile directory", accessor.tmpDirectoryPath(), temporary},
        {"the cached directory", accessor.cachedDirectoryPath(), persistent + "/.cacheddata"},
        {"the active id", accessor.activePath(), persistent + "/.cacheddata/active.txt"},
        {"the signing request", accessor.csrPath(), persistent + "/.cacheddata/csr.csr"},
        {"its network data", accessor.csrNetworkPath(), temporary + "/csr.network"},
        {"its key", accessor.csrKeyPath(), temporary + "/csr.key"},
        {"the certificates, with a slash", accessor.certificateDirectoryPath(), persistent + "/"},
        {"a certificate", accessor.certPath("3"), persistent + "/3"},
        {"its key", accessor.certKeyPath("3"), persistent + "/3.key"},
        {"its network data", accessor.certNetworkPath("3"), persistent + "/.cacheddata/3.network"},
        {"its info", accessor.certInfoPath("3"), temporary + "/3.info"},
        {"its details", accessor.certDetailsPath("3"), temporary + "/3.detail"},
        {"its overrides", accessor.certOverwrittenDataPath("3"),
         persistent + "/.cacheddata/3.overwrite"},
        {"an id with an extension", accessor.certPath("abc.crt"), persistent + "/abc.crt"},
        {"an id without an extension", accessor.certPath("abc"), persistent + "/abc"},
        {"the key of an empty id", accessor.certKeyPath(""), persistent + "/.key"},
        {"an id with slashes and blanks", accessor.certKeyPath("../a b"),
         persistent + "/../a b.key"},
    };
}

TEST(InternalCertificatesAccessor, PlacesTheStoreBelowItsServiceInBothDirectories)
{
    configure("/data", "/run/p");
    expectPaths(pathsOf(Accessor("svc", "server"), "/data/svc/server", "/run/p/svc/server"));
    expectPaths(
        pathsOf(Accessor("web", "any target"), "/data/web/any target", "/run/p/web/any target"));
}

TEST(InternalCertificatesAccessor, NormalisesNothing)
{
    configure("/data/", "./p//");
    expectPaths(
        pathsOf(Accessor("svc/..", "server"), "/data//svc/../server", "./p///svc/../server"));
}

TEST(InternalCertificatesAccessor, UsesTheNameOfTheServiceFileNotTheDisplayName)
{
    const support::Device device;
    device.addService("svc", "name Some service\nmanagmentGroup root\nca yes\n");
    const ostrel::ServiceConfiguration service("svc");
    ASSERT_EQ(service.m_name, "Some service");
    expectPaths(pathsOf(Accessor(service, "server"), device.storeDirectory() + "/svc/server",
                        device.pipesDirectory() + "/svc/server"));
}

TEST(InternalCertificatesAccessor, KeepsItsPathsWhenTheConfigurationChanges)
{
    configure("/data", "/run/p");
    const Accessor accessor("svc", "server");
    configure("/elsewhere", "/run/elsewhere");
    expectPaths(pathsOf(accessor, "/data/svc/server", "/run/p/svc/server"));
}

TEST(InternalCertificatesAccessor, CannotBeConstructedWithoutTheDaemonConfiguration)
{
    support::Device::writeDaemonConfiguration("");
    EXPECT_THROW(Accessor("svc", "server"), std::runtime_error);
}

struct ActiveRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST(ActiveCertificate, IsTheFirstLineOfItsFile)
{
    const ActiveRow rows[] = {
        {"a line and more text", "12\nmore\ntext", "12"},
        {"only a line", "12\n", "12"},
        {"no line feed", "12", "12"},
        {"an empty file", "", ""},
        {"an empty first line", "\n12\n", ""},
        {"a carriage return stays", "12\r\n", "12\r"},
        {"blanks stay", " 12\t \n", " 12\t "},
        {"a NUL stays",
         std::string("1\0"
                     "2\n",
                     4),
         std::string("1\0"
                     "2",
                     3)},
        {"a long line", std::string(100000, 'x') + "\n", std::string(100000, 'x')},
    };
    const support::Device device;
    const Accessor accessor("svc", "server");
    const support::CapturedTrace trace;
    for (const ActiveRow& row : rows) {
        support::writeText(accessor.activePath(), row.text);
        EXPECT_EQ(accessor.getActive(), row.expected) << row.sentence;
        EXPECT_EQ(support::readText(accessor.activePath()), row.text) << row.sentence;
    }
    EXPECT_EQ(trace.text(), "");
}

TEST(ActiveCertificate, IsReadAgainByEachCall)
{
    const support::Device device;
    const Accessor accessor("svc", "server");
    support::writeText(accessor.activePath(), "1\n");
    EXPECT_EQ(accessor.getActive(), "1");
    support::writeText(accessor.activePath(), "2\n");
    EXPECT_EQ(accessor.getActive(), "2");
}

TEST(ActiveCertificate, IsEmptyWhenItsFileOpensButCannotBeRead)
{
    const support::Device device;
    const Accessor accessor("svc", "server");
    std::filesystem::create_directories(accessor.activePath());
    EXPECT_EQ(accessor.getActive(), "");
}

TEST(ActiveCertificate, ThrowsAStreamFailureWhenItsFileCannotBeOpened)
{
    const support::Device device;
    const Accessor accessor("svc", "server");
    const std::filesystem::path path = accessor.activePath();
    EXPECT_THROW(accessor.getActive(), std::ios_base::failure) << "missing";
    std::filesystem::create_directories(path.parent_path());
    EXPECT_THROW(accessor.getActive(), std::ios_base::failure) << "an empty directory";
    std::filesystem::create_symlink(path, path);
    EXPECT_THROW(accessor.getActive(), std::ios_base::failure) << "a link to itself";
}

} // namespace
