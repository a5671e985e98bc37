#pragma once

// Shared by the tests that need a service whose work takes as long as the test says.

#include "integration/ServerCase.h"

#include "support/Await.h"
#include "tools/Descriptor.h"

#include <string>

#include <sys/stat.h>

namespace server_case
{

/// A script of the device's builder. It begins in the box's directory, because it
/// inherits no variable.
inline void writeScript(const std::string& name, const std::string& text)
{
    const std::string path = "/etc/ostrel/scripts/" + name;
    support::writeText(path, "#!/bin/sh\ncd " + support::boxDirectory() + '\n' + text);
    std::filesystem::permissions(path, std::filesystem::perms(0755));
}

/// A program that waits until the test lets it go, and leaves its process id.
class Waiter
{
public:
    explicit Waiter(std::string name) : m_name(std::move(name))
    {
        support::writeText(m_begun, "");
        ::mkfifo(m_go.c_str(), 0600);
        m_line = ostrel::Descriptor::open(m_go, O_RDWR);
        for (const std::string& file : {m_go, m_begun}) {
            // The daemon may run the script as another user.
            std::filesystem::permissions(file, std::filesystem::perms(0666));
        }
    }

    /// The lines of its script.
    std::string script() const
    {
        return "echo $$ >>begun." + m_name + "\nread line <go." + m_name + '\n';
    }

    /// Waits until it has begun for the `count`-th time. Returns its process id.
    pid_t awaitBegin(std::size_t count = 1) const
    {
        std::vector<pid_t> pids;
        support::awaitChange(m_begun, m_name + " to begin", [&] {
            std::istringstream lines(support::readText(m_begun));
            pids.clear();
            for (pid_t pid = 0; lines >> pid;) {
                pids.push_back(pid);
            }
            return pids.size() >= count;
        });
        return pids[count - 1];
    }

    /// Lets one of its runs go, be it before that one waits.
    void letGo() const { ostrel::writeAll(m_line, "\n"); }

private:
    const std::string m_name;
    const std::string m_begun = support::boxDirectory() + "/begun." + m_name;
    const std::string m_go = support::boxDirectory() + "/go." + m_name;
    ostrel::Descriptor m_line;
};

/// A device whose service "web" has every store. To make a request it needs the output of
/// a hook that waits.
class WithSlowHook : public WithServer
{
protected:
    explicit WithSlowHook(const std::string& settings = "")
    {
        writeScript("hook", hook.script() + "cat /etc/ostrel/web.cnf\n");
        configure("cnfHookFile hook\nca yes\ntrustedClients yes\n" + settings);
    }

    const Waiter hook{"hook"};
};

} // namespace server_case
