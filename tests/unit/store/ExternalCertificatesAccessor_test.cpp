#include <ostrel/ExternalCertificatesAccessor.h>

#include <ostrel/ServiceConfiguration.h>

#include "support/Device.h"
#include "support/TextFiles.h"
#include "unit/store/AccessorRows.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace
{

using accessor_rows::configure;
using accessor_rows::expectPaths;
using accessor_rows::PathRow;
using Accessor = ostrel::ExternalCertificatesAccessor;

std::vector<PathRow> pathsOf(const Accessor& accessor, const std::string& persistent,
                             const std::string& temporary)
{
    return {
        {"the volatile directory", accessor.tmpDirectoryPath(), temporary},
        {"the cached directory", accessor.cachedDirectoryPath(), persistent + "/.cacheddata"},
        {"the list", accessor.listPath(), persistent + "/.cacheddata/list.txt"},
        {"the map", accessor.cnMapPath(), temporary + "/id_cn.map"},
        {"the certificates, with a slash", accessor.certificateDirectoryPath(), persistent + "/"},
        {"a certificate", accessor.certPath("7"), persistent + "/7"},
        {"its info", accessor.certInfoPath("7"), temporary + "/7.info"},
        {"its details", accessor.certDetailsPath("7"), temporary + "/7.detail"},
        {"its overrides", accessor.certOverwrittenDataPath("7"),
         persistent + "/.cacheddata/7.overwrite"},
        {"an id with an extension", accessor.certPath("abc.crt"), persistent + "/abc.crt"},
        {"an id without an extension", accessor.certPath("abc"), persistent + "/abc"},
        {"an empty id", accessor.certPath(""), persistent + "/"},
        {"the info of an empty id", accessor.certInfoPath(""), temporary + "/.info"},
        {"an id with slashes and blanks", accessor.certDetailsPath("../a b"),
         temporary + "/../a b.detail"},
    };
}

TEST(ExternalCertificatesAccessor, PlacesEachStoreBelowItsServiceInBothDirectories)
{
    configure("/data", "/run/p");
    expectPaths(pathsOf(Accessor("svc", "ca"), "/data/svc/ca", "/run/p/svc/ca"));
    expectPaths(pathsOf(Accessor("svc", "client"), "/data/svc/client", "/run/p/svc/client"));
    expectPaths(
        pathsOf(Accessor("web", "any target"), "/data/web/any target", "/run/p/web/any target"));
}

TEST(ExternalCertificatesAccessor, NormalisesNothing)
{
    configure("/data/", "./p//");
    expectPaths(pathsOf(Accessor("svc/..", "ca"), "/data//svc/../ca", "./p///svc/../ca"));
    expectPaths(pathsOf(Accessor("", ""), "/data///", "./p////"));
}

TEST(ExternalCertificatesAccessor, UsesTheNameOfTheServiceFileNotTheDisplayName)
{
    const support::Device device;
    device.addService("svc", "name Some service\nmanagmentGroup root\nca yes\n");
    const ostrel::ServiceConfiguration service("svc");
    ASSERT_EQ(service.m_name, "Some service");
    expectPaths(pathsOf(Accessor(service, "client"), device.storeDirectory() + "/svc/client",
                        device.pipesDirectory() + "/svc/client"));
}

TEST(ExternalCertificatesAccessor, KeepsItsPathsWhenTheConfigurationChanges)
{
    configure("/data", "/run/p");
    const Accessor accessor("svc", "ca");
    const Accessor copy = accessor;
    configure("/elsewhere", "/run/elsewhere");
    expectPaths(pathsOf(accessor, "/data/svc/ca", "/run/p/svc/ca"));
    expectPaths(pathsOf(copy, "/data/svc/ca", "/run/p/svc/ca"));
}

TEST(ExternalCertificatesAccessor, CreatesNothingOnDisk)
{
    const support::TemporaryDirectory directory;
    configure(directory / "data", directory / "pipes");
    expectPaths(
        pathsOf(Accessor("svc", "ca"), directory / "data/svc/ca", directory / "pipes/svc/ca"));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST(ExternalCertificatesAccessor, CannotBeConstructedWithoutTheDaemonConfiguration)
{
    support::Device::writeDaemonConfiguration("");
    EXPECT_THROW(Accessor("svc", "ca"), std::runtime_error);
}

} // namespace
