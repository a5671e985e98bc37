#pragma once

// What the tests of the service object share: a device with a service, the rows
// of the two stores that are filled from outside, and the names of files.

#include <ostrelApi/OstrelService.h>

#include "support/Device.h"
#include "support/ScriptedPeer.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <set>

namespace service_case
{

using Ids = std::vector<std::string>;
using ostrelApi::OstrelService;

/// What the CA store and the trusted-client store differ in, seen from outside.
struct ExternalStore {
    const char* testName;
    /// Its directories, and its target on the wire.
    const char* word;
    /// The key of the service's configuration that turns it on.
    const char* flag;
    ostrel::TypeTarget target;
    int badCertificate;
    const char* badCertificateText;
    /// What the debug trace calls one of its certificates.
    const char* certificate;

    std::string (OstrelService::*get)(const std::string&);
    Ids (OstrelService::*list)();
    Ids (OstrelService::*listByCN)(const std::string&);
    std::string (OstrelService::*directory)();
    std::string (OstrelService::*idOfText)(const std::string&);
    std::string (OstrelService::*idOfFile)(const std::string&);
    void (OstrelService::*revoke)(const std::string&);
    Ids (OstrelService::*revokeAll)(const Ids&);
    std::string (OstrelService::*add)(const std::string&);
    std::string (OstrelService::*addFile)(const std::string&);
};

inline const ExternalStore externalStores[] = {
    {"CA", "ca", "ca", ostrel::TargetCA, 30, "Error -1: Generic exception (30 - Bad CA)", "CA",
     &OstrelService::getCA, &OstrelService::getCAList, &OstrelService::getCAListByCN,
     &OstrelService::getCADirectory, &OstrelService::getIdCA, &OstrelService::getIdCAPath,
     &OstrelService::revokeCA, &OstrelService::revokeCA, &OstrelService::addCA,
     &OstrelService::addCAFile},
    {"TrustedClient", "client", "trustedClients", ostrel::TargetClient, 40,
     "Error -1: Generic exception (40 - Bad certificate for trusted client)", "trusted client",
     &OstrelService::getTrustedClient, &OstrelService::getTrustedClientList,
     &OstrelService::getTrustedClientListByCN, &OstrelService::getTrustedClientDirectory,
     &OstrelService::getIdTrustedClient, &OstrelService::getIdTrustedClientPath,
     &OstrelService::revokeTrustedClient, &OstrelService::revokeTrustedClient,
     &OstrelService::addTrustedClient, &OstrelService::addTrustedClientFile},
};

inline void PrintTo(const ExternalStore& store, std::ostream* out)
{
    *out << store.testName;
}

inline std::string testNameOf(const testing::TestParamInfo<ExternalStore>& info)
{
    return info.param.testName;
}

/// A device with the service "web", which has every store.
class ServiceCase : public testing::Test
{
protected:
    ServiceCase()
    {
        device.addService("web", "name Web server\nmanagmentGroup root\n"
                                 "server yes\ncnfFile /unused\nca yes\ntrustedClients yes\n");
    }

    /// Names of the files in the service's pipe directory.
    std::set<std::string> pipeFiles() const
    {
        std::set<std::string> names;
        for (const auto& file : std::filesystem::directory_iterator(pipes)) {
            names.insert(file.path().filename());
        }
        return names;
    }

    const support::Device device;
    const std::string pipes = device.pipesDirectory() + "/web";
};

/// The same, and one of its two stores that are filled from outside.
class ExternalStoreCase : public ServiceCase, public testing::WithParamInterface<ExternalStore>
{
protected:
    void put(const std::string& id, const std::string& text) const
    {
        support::writeText(certificates + '/' + id, text);
    }
    void putList(const std::string& text) const { support::writeText(list, text); }
    void putMap(const std::string& text) const { support::writeText(map, text); }

    const ExternalStore& store = GetParam();
    const std::string certificates = device.storeDirectory() + "/web/" + store.word;
    const std::string list = certificates + "/.cacheddata/list.txt";
    const std::string map = pipes + '/' + store.word + "/id_cn.map";
    OstrelService web{"web"};
};

/// How the messages of this process to the daemon begin.
inline std::string messageStart()
{
    return "root\t" + std::to_string(::getpid()) + '\t';
}

/// The line that a message traces.
inline std::string messageLine(const std::string& message)
{
    return "Commands::toMessage() :" + message + '\n';
}

/// A certificate in PEM with these lines.
inline std::string pem(const std::string& lines)
{
    return "-----BEGIN CERTIFICATE-----\n" + lines + "-----END CERTIFICATE-----\n";
}

} // namespace service_case
