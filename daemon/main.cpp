#include "base/Log.h"
#include "process/Daemon.h"

#include <ostrel/Debug.h>

#include <CLI/CLI.hpp>

#include <csignal>

#include <sys/stat.h>

namespace
{

int runDaemon(int readyDescriptor)
{
    try {
        ostreld::Daemon().run(readyDescriptor);
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

// NOLINTNEXTLINE(bugprone-exception-escape): without memory there is nothing to start.
int main(int argc, char* argv[])
{
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
    // Tells the holder of a lease that somebody waits for its end.
    std::signal(SIGIO, SIG_IGN);
    ::umask(S_IRWXG | S_IRWXO);
    return runDaemon(readyDescriptor);
}
