#pragma once

// What the tests of a service's own certificate share.

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

/// The key of an elliptic curve is made in no time.
inline const char curveRequest[] = "[ req ]\n"
                                   "ec_paramgen_curve = P-256\n"
                                   "distinguished_name = name\n"
                                   "prompt = no\n"
                                   "[ name ]\n"
                                   "CN = web.example\n";

/// One command for the server certificate of "web", in the words of ask().
inline std::string ask(ostrel::CommandType type, const std::vector<std::string>& arguments = {})
{
    return daemon_case::ask("web", ostrel::TargetServer, type, arguments);
}

/// The permission bits of a file, or of a directory.
inline mode_t modeOf(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

/// Every file below a directory: its path and mode, and its text.
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

/// A device whose service "web" has a certificate of its own, and no daemon yet.
class WithServer : public daemon_case::WithDevice
{
protected:
    WithServer() { configure("", curveRequest); }

    /// Gives "web" these lines more in its configuration, and this request
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

    /// The file that the daemon is told to take a certificate from.
    std::string given(const std::string& text) const
    {
        const std::string path = pipeDirectory("web") + "/given.crt";
        support::writeText(path, text);
        return path;
    }

    /// Has a request made and answered; the id of the certificate in use then.
    static std::string applyNew()
    {
        web().createServerCsr();
        web().applyServerCertificate(support::certificateFor(web().getServerCsr()));
        return web().getServerActiveCertificateId();
    }

    const ostrel::InternalCertificatesAccessor paths{"web", "server"};
};

} // namespace server_case
