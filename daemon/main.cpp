#include "base/Log.h"
#include "base/Refusal.h"
#include "process/Supervisor.h"

#include <ostrel/Debug.h>

#include <CLI/CLI.hpp>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// Otherwise a file that the daemon opens could become its standard error stream.
void openStandardStreams()
{
    int descriptor = -1;
    do {
        descriptor = ::open("/dev/null", O_RDWR);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

int runDaemon(const ostreld::ProcessName& processName, int readyDescriptor)
{
    try {
        ostreld::Supervisor(processName).run(readyDescriptor);
        return ostreld::ActionSuccessful;
    } catch (const ostreld::Refusal& refusal) {
        ostreld::logEvent("{}", refusal.what());
        return refusal.code();
    } catch (const std::exception& caught) {
        ostreld::logEvent("{}", caught.what());
        return ostreld::BadConfiguration;
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): without memory the daemon cannot start.
int main(int argc, char* argv[])
{
    openStandardStreams();
    CLI::App app("The certificate-management daemon, in the foreground. It reads "
                 "/etc/ostrel/config.daemon and logs to the standard error stream.",
                 "ostreld");
    bool isDebug = false;
    int readyDescriptor = -1;
    app.set_version_flag("--version", "ostreld " OSTREL_VERSION);
    app.add_flag("--debug", isDebug, "Log every step, and the library's own trace");
    app.add_option("--ready-fd", readyDescriptor,
                   "Write a line feed into this descriptor once every service answers")
        ->type_name("FD")
        ->check(CLI::NonNegativeNumber);
    CLI11_PARSE(app, argc, argv);

    ostreld::gVerbose = isDebug;
    ostrel::gDebug = isDebug;
    std::signal(SIGPIPE, SIG_IGN);
    // The kernel sends it to the holder of a lease when another process waits for the lease.
    std::signal(SIGIO, SIG_IGN);
    ::umask(S_IRWXG | S_IRWXO);
    return runDaemon(ostreld::ProcessName(argc, argv), readyDescriptor);
}
