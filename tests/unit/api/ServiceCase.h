#pragma once

// Shared by the tests of the service object: a device with a service, rows for
// the CA store and the trusted-client store, and the names of files.

#include <ostrelApi/OstrelService.h>

#include "support/Device.h"
#include "support/ScriptedPeer.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <future>
#include <ostream>
#include <set>

namespace service_case
{

using Ids = std::vector<std::string>;
using ostrelApi::OstrelService;

/// What the CA store and the trusted-client store differ in.
struct ExternalStore {
    const char* testName;
    /// The name of its directories, and of its target in a message.
    const char* word;
    /// The configuration key that enables it.
    const char* flag;
    ostrel::TypeTarget target;
    int badCertificate;
    const char* badCertificateText;
    /// The debug trace's word for one of its certificates.
    const char* certificate;

    std::function<std::string(OstrelService&, const std::string&)> get;
    std::function<Ids(OstrelService&)> list;
    std::function<Ids(OstrelService&, const std::string&)> listByCN;
    std::function<std::string(OstrelService&)> directory;
    std::function<std::string(OstrelService&, const std::string&)> idOfText;
    std::function<std::string(OstrelService&, const std::string&)> idOfFile;
    std::function<void(OstrelService&, const std::string&)> revoke;
    std::function<Ids(OstrelService&, const Ids&)> revokeAll;
    std::function<std::string(OstrelService&, const std::string&)> add;
    std::function<std::string(OstrelService&, const std::string&)> addFile;
};

using RevokeOne = void (OstrelService::*)(const std::string&);
using RevokeAll = Ids (OstrelService::*)(const Ids&);

inline const ExternalStore externalStores[] = {
    {"CA", "ca", "ca", ostrel::TargetCA, 30, "Error -1: Generic exception (30 - Bad CA)", "CA",
     &OstrelService::getCA, &OstrelService::getCAList, &OstrelService::getCAListByCN,
     &OstrelService::getCADirectory, &OstrelService::getIdCA, &OstrelService::getIdCAPath,
     RevokeOne(&OstrelService::revokeCA), RevokeAll(&OstrelService::revokeCA),
     &OstrelService::addCA, &OstrelService::addCAFile},
    {"TrustedClient", "client", "trustedClients", ostrel::TargetClient, 40,
     "Error -1: Generic exception (40 - Bad certificate for trusted client)", "trusted client",
     &OstrelService::getTrustedClient, &OstrelService::getTrustedClientList,
     &OstrelService::getTrustedClientListByCN, &OstrelService::getTrustedClientDirectory,
     &OstrelService::getIdTrustedClient, &OstrelService::getIdTrustedClientPath,
     RevokeOne(&OstrelService::revokeTrustedClient), RevokeAll(&OstrelService::revokeTrustedClient),
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

    /// Whether a path can name a temporary file of the service: 32 random
    /// letters and digits, directly in its pipe directory.
    bool isTemporaryPath(const std::string& path) const
    {
        const std::string start = pipes + '/';
        const bool hasLength = path.size() == start.size() + 36;
        return hasLength && path.compare(0, start.size(), start) == 0 &&
               path.substr(start.size() + 32) == ".crt" &&
               std::all_of(path.begin() + static_cast<std::ptrdiff_t>(start.size()), path.end() - 4,
                           [](unsigned char c) { return std::isalnum(c) != 0; });
    }

    const support::Device device;
    const std::string pipes = device.pipesDirectory() + "/web";
};

/// A ServiceCase with the CA store or the trusted-client store.
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

/// A call that the peer accepts at once and answers when the test says so.
class HeldCall
{
public:
    HeldCall(support::ScriptedPeer& peer, const std::string& reply)
    {
        peer.play([this, reply](support::ScriptedPeer::Call& caller) {
            caller.takeMessage();
            m_isMet.set_value();
            m_mayAnswer.get_future().wait();
            caller.openReply();
            caller.send(reply);
        });
    }

    void awaitCall() { m_isMet.get_future().wait(); }
    void answer() { m_mayAnswer.set_value(); }

private:
    std::promise<void> m_isMet;
    std::promise<void> m_mayAnswer;
};

/// The start of every message of this process to the daemon.
inline std::string messageStart()
{
    return "root\t" + std::to_string(::getpid()) + '\t';
}

/// The trace line of a message.
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
