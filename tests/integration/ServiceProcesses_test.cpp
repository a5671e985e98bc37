#include "integration/ServerCase.h"

#include "support/Await.h"

#include <gmock/gmock.h>

#include <future>

namespace
{

using daemon_case::askStatus;
using server_case::payload;
using testing::HasSubstr;
using testing::Not;

/// A script that begins in the box's directory, for it inherits no variable.
std::string scriptOf(const std::string& text)
{
    return "#!/bin/sh\ncd " + support::boxDirectory() + '\n' + text;
}

const char hook[] = "echo \"$1\" >>hooked\n"
                    "read line <\"go.$1\"\n"
                    "cat /etc/ostrel/web.cnf\n";

/// Services whose hook waits until the test releases it.
class ServiceProcesses : public server_case::WithServer
{
protected:
    ServiceProcesses()
    {
        const std::string script = "/etc/ostrel/scripts/hook";
        support::writeText(script, scriptOf(hook));
        std::filesystem::permissions(script, std::filesystem::perms(0700));
        support::writeText(m_hooked, "");
        for (const char* service : {"alarm", "web"}) {
            ::mkfifo((m_go + service).c_str(), 0600);
        }
    }

    void awaitHook(const std::string& service) const
    {
        support::awaitChange(m_hooked, "the hook of " + service, [&] {
            return support::readText(m_hooked).find(service + '\n') != std::string::npos;
        });
    }

    void letHookGo(const std::string& service) const
    {
        static_cast<void>(ostrel::Descriptor::open(m_go + service, O_WRONLY));
    }

    const std::string m_hooked = support::boxDirectory() + "/hooked";
    const std::string m_go = support::boxDirectory() + "/go.";
};

TEST_F(ServiceProcesses, StartIndependently)
{
    const char settings[] = "cnfHookFile hook\nselfSignedGeneration yes\n";
    configure(settings);
    device.addService("alarm", support::readText("/etc/ostrel/services/web.conf"));
    const support::RunningDaemon::LogMark mark(daemon);
    daemon.launch();
    mark.await("vpn: served");
    EXPECT_EQ(askStatus("vpn"), payload("running"));
    for (const char* service : {"alarm", "web"}) {
        awaitHook(service);
        EXPECT_THAT(daemon.log(), Not(HasSubstr("serving"))) << "ready before " << service;
        letHookGo(service);
    }
    daemon.awaitReady();
    EXPECT_THAT(daemon.log(), HasSubstr("serving 3 services"));
    EXPECT_NE(web().getServerActiveCertificateId(), "");
}

TEST_F(ServiceProcesses, ThatAreBusyDoNotDelayAReload)
{
    configure("cnfHookFile hook\n");
    const std::string configuration = support::readText("/etc/ostrel/services/web.conf");
    daemon.start();
    auto call =
        std::async(std::launch::async, [] { return server_case::ask(ostrel::CommandCreateCsr); });
    awaitHook("web");
    std::filesystem::remove("/etc/ostrel/services/web.conf");
    daemon.reload("web: its configuration is gone");
    device.addService("mail", "managmentGroup ostrel\n");
    device.addService("web", configuration);
    daemon.reload("mail: served");
    EXPECT_EQ(askStatus("mail"), payload("running"));
    EXPECT_THAT(daemon.log(), Not(HasSubstr("web: ended")));
    const support::RunningDaemon::LogMark mark(daemon);
    letHookGo("web");
    EXPECT_EQ(call.get(), payload(""));
    mark.await("web: served");
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(ServiceProcesses, PassNoDescriptorOfTheDaemonToTheirHooks)
{
    support::writeText("/etc/ostrel/scripts/hook", scriptOf("ls /proc/$$/fd >hooked\n"
                                                            "cat /etc/ostrel/web.cnf\n"));
    configure("cnfHookFile hook\nselfSignedGeneration yes\n");
    daemon.start();
    const std::string list = support::readText(m_hooked);
    for (const char* inherited : {"3\n", "4\n", "5\n", "6\n", "7\n", "8\n", "9\n"}) {
        EXPECT_THAT(list, Not(HasSubstr(inherited))) << "the shell has its own from 10 on";
    }
}

} // namespace
