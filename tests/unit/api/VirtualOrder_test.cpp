#include <ostrelApi/OstrelService.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

// A program that was built against an earlier release finds a virtual operation
// by its place in the class's table of functions.

namespace
{

using Service = ostrelApi::OstrelService;
using Ids = std::vector<std::string>;

/// The place of a virtual function, which the platform's C++ ABI keeps in a
/// pointer to member, as an offset whose lowest bit may be a mark.
template <class Function>
std::size_t placeOf(Function function)
{
    std::uintptr_t offset = 0;
    static_assert(sizeof function >= sizeof offset, "");
    std::memcpy(&offset, &function, sizeof offset);
    return offset / sizeof(void*);
}

struct Operation {
    const char* name;
    std::size_t place;
};

const Operation operations[] = {
    {"hasServer", placeOf(&Service::hasServer)},
    {"hasCA", placeOf(&Service::hasCA)},
    {"maxCA", placeOf(&Service::maxCA)},
    {"hasTrustedClient", placeOf(&Service::hasTrustedClient)},
    {"maxTrustedClient", placeOf(&Service::maxTrustedClient)},
    {"getServiceName", placeOf(&Service::getServiceName)},
    {"isServiceRunning", placeOf(&Service::isServiceRunning)},
    {"reloadService", placeOf(&Service::reloadService)},
    {"createServerCsr", placeOf<void (Service::*)()>(&Service::createServerCsr)},
    {"createServerCsr of fields",
     placeOf<void (Service::*)(const ostrelApi::ConfiguredField&)>(&Service::createServerCsr)},
    {"applyServerCertificate", placeOf(&Service::applyServerCertificate)},
    {"applyServerCertificateFile", placeOf(&Service::applyServerCertificateFile)},
    {"revokeServerCertificate", placeOf(&Service::revokeServerCertificate)},
    {"getServerCsr", placeOf(&Service::getServerCsr)},
    {"getServerCsrTimestamp", placeOf(&Service::getServerCsrTimestamp)},
    {"getCsrInfo", placeOf(&Service::getCsrInfo)},
    {"getTrustedClientCertInfo", placeOf(&Service::getTrustedClientCertInfo)},
    {"getCACertInfo", placeOf(&Service::getCACertInfo)},
    {"getServerCertInfo", placeOf(&Service::getServerCertInfo)},
    {"getServerCertificateDetails", placeOf(&Service::getServerCertificateDetails)},
    {"isServerKeyInTPM", placeOf(&Service::isServerKeyInTPM)},
    {"getServerKey", placeOf(&Service::getServerKey)},
    {"getServerCertificate", placeOf(&Service::getServerCertificate)},
    {"getServerCertificatePath", placeOf(&Service::getServerCertificatePath)},
    {"getServerCertificateOverwrittenData", placeOf(&Service::getServerCertificateOverwrittenData)},
    {"getServerCertificateInfo", placeOf(&Service::getServerCertificateInfo)},
    {"getServerCertificateList", placeOf(&Service::getServerCertificateList)},
    {"addCA", placeOf(&Service::addCA)},
    {"addCAFile", placeOf(&Service::addCAFile)},
    {"revokeCA", placeOf<void (Service::*)(const std::string&)>(&Service::revokeCA)},
    {"revokeCA of several", placeOf<Ids (Service::*)(const Ids&)>(&Service::revokeCA)},
    {"getCAList", placeOf(&Service::getCAList)},
    {"getCAListByCN", placeOf(&Service::getCAListByCN)},
    {"getCA", placeOf(&Service::getCA)},
    {"getCAInfo", placeOf(&Service::getCAInfo)},
    {"getCAOverwrittenData", placeOf(&Service::getCAOverwrittenData)},
    {"getCADirectory", placeOf(&Service::getCADirectory)},
    {"getIdCAPath", placeOf(&Service::getIdCAPath)},
    {"getIdCA", placeOf(&Service::getIdCA)},
    {"addTrustedClient", placeOf(&Service::addTrustedClient)},
    {"addTrustedClientFile", placeOf(&Service::addTrustedClientFile)},
    {"revokeTrustedClient",
     placeOf<void (Service::*)(const std::string&)>(&Service::revokeTrustedClient)},
    {"revokeTrustedClient of several",
     placeOf<Ids (Service::*)(const Ids&)>(&Service::revokeTrustedClient)},
    {"getTrustedClientList", placeOf(&Service::getTrustedClientList)},
    {"getTrustedClientListByCN", placeOf(&Service::getTrustedClientListByCN)},
    {"getTrustedClient", placeOf(&Service::getTrustedClient)},
    {"getTrustedClientInfo", placeOf(&Service::getTrustedClientInfo)},
    {"getTrustedClientOverwrittenData", placeOf(&Service::getTrustedClientOverwrittenData)},
    {"getTrustedClientDetails", placeOf(&Service::getTrustedClientDetails)},
    {"getTrustedClientDirectory", placeOf(&Service::getTrustedClientDirectory)},
    {"getIdTrustedClient", placeOf(&Service::getIdTrustedClient)},
    {"getIdTrustedClientPath", placeOf(&Service::getIdTrustedClientPath)},
};

TEST(VirtualOrder, IsThatOfEveryRelease)
{
    // The destructor comes first and takes two places.
    std::size_t place = 2;
    for (const Operation& operation : operations) {
        EXPECT_EQ(operation.place, place) << operation.name;
        ++place;
    }
}

} // namespace
