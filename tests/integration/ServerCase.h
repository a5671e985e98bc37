#pragma once

// Shared by the tests of a service's server certificate.

#include "integration/DaemonCase.h"
#include "support/TestCertificate.h"

#include <ostrel/InternalCertificatesAccessor.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace server_case
{

using daemon_case::payload;
using daemon_case::refusal;

/// An elliptic-curve key, because it is fast to generate.
inline const char curveRequest[] = "[ req ]\n"
                                   "ec_paramgen_curve = P-256\n"
                                   "distinguished_name = name\n"
                                   "prompt = no\n"
                                   "[ name ]\n"
                                   "CN = web.example\n";

/// Sends one command for the server certificate of "web", like
/// daemon_case::ask().
inline std::string ask(ostrel::CommandType type, const std::vector<std::string>& arguments = {})
{
    return daemon_case::ask("web", ostrel::TargetServer, type, arguments);
}

/// The permission bits of a file or directory.
inline mode_t modeOf(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

/// Every file below a directory: path and mode, and text.
inline std::map<std::string, std::string> treeOf(const std::string& directory)
{
    std::map<std::string, std::string> tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        const std::string path = entry.path();
        tree[path + ' ' + std::to_string(modeOf(path))] =
            entry.is_regular_file() ? support::readText(path) : "";
    }
    return tree;
}

/// A device whose service "web" has a server certificate; no daemon runs yet.
class WithServer : public daemon_case::WithDevice
{
protected:
    WithServer() { configure("", curveRequest); }

    /// Adds these lines to the configuration of "web" and writes this request
    /// configuration.
    void configure(const std::string& settings, const std::string& request = curveRequest) const
    {
        device.addService("web", "name Web server\n"
                                 "managmentGroup ostrel\n"
                                 "server yes\n"
                                 "cnfFile /etc/ostrel/web.cnf\n" +
                                     settings);
        support::writeText("/etc/ostrel/web.cnf", request);
    }

    static ostrelApi::OstrelService web() { return ostrelApi::OstrelService("web"); }

    /// Writes the certificate file that a command names.
    std::string given(const std::string& text) const
    {
        const std::string path = pipeDirectory("web") + "/given.crt";
        support::writeText(path, text);
        return path;
    }

    /// Creates a request and applies a certificate for it; returns the new
    /// active id.
    static std::string applyNew()
    {
        web().createServerCsr();
        web().applyServerCertificate(support::certificateFor(web().getServerCsr()));
        return web().getServerActiveCertificateId();
    }

    const ostrel::InternalCertificatesAccessor paths{"web", "server"};
};

} // namespace server_case
