#include "process/ServiceStart.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/Refusal.h"
#include "commands/Groups.h"
#include "exchange/Exchange.h"
#include "process/Privileges.h"
#include "process/ServiceProcess.h"

#include <ostrel/DaemonConfiguration.h>

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

constexpr int progressDescriptor = 3;

void keepOnly(const Descriptor& progress)
{
    if (progress.isOpen()) {
        ::dup2(progress.get(), progressDescriptor);
        ::fcntl(progressDescriptor, F_SETFD, FD_CLOEXEC);
    }
    ::closefrom(progressDescriptor + (progress.isOpen() ? 1 : 0));
}

// Must be repeated after a change of the user, which clears it.
int endWith(pid_t parent, const std::function<int(Descriptor)>& work, Descriptor progress)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    return ::getppid() == parent ? work(std::move(progress)) : EXIT_FAILURE;
}

} // namespace

pid_t forkService(const ProcessName& processName, const std::string& service, Descriptor progress,
                  const std::function<int(Descriptor)>& work)
{
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == -1) {
        failSystemCall("start a process for", service);
    }
    if (pid == 0) {
        keepOnly(progress);
        int status = EXIT_FAILURE;
        try {
            processName.set("ostreld: " + service);
            const bool hasProgress = progress.isOpen();
            status = endWith(parent, work, Descriptor(hasProgress ? progressDescriptor : -1));
        } catch (const std::exception& caught) {
            logEvent("{}: its process ends: {}", service, caught.what());
        }
        // Runs no destructor of the supervisor's objects.
        ::_exit(status);
    }
    return pid;
}

int serveService(const std::string& service, Descriptor progress)
{
    const pid_t parent = ::getppid();
    try {
        privileges::giveUp(service, groupsOf(service));
        return endWith(
            parent, [&](Descriptor end) { return ServiceProcess(service, std::move(end)).run(); },
            std::move(progress));
    } catch (const std::exception& caught) {
        logEvent("{}: not served: {}", service, caught.what());
        Exchange::retire(ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + service,
                         service);
        return BadConfiguration;
    }
}

} // namespace ostreld
