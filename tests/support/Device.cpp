#include "support/Device.h"

#include "support/TextFiles.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace support
{

std::string boxDirectory()
{
    const char* directory = std::getenv("OSTREL_SANDBOX");
    if (directory == nullptr) {
        throw std::runtime_error("this test changes the machine that it sees: run it by ctest, or "
                                 "through scripts/sandbox --bare");
    }
    return directory;
}

Device::Device()
    : m_storeDirectory(boxDirectory() + "/store"), m_pipesDirectory(boxDirectory() + "/run"),
      m_serviceDirectory("/etc/ostrel/services")
{
    std::filesystem::create_directories(m_storeDirectory);
    std::filesystem::create_directories(m_pipesDirectory);
    std::filesystem::create_directories(m_serviceDirectory);
    writeDaemonConfiguration("ostrelDirectory " + m_storeDirectory +
                             "\n"
                             "namePipesDirectory " +
                             m_pipesDirectory +
                             "\n"
                             "serviceConfigDirectory " +
                             m_serviceDirectory +
                             "\n"
                             "scriptsDirectory /etc/ostrel/scripts\n"
                             "notificationGroup root\n"
                             "daemonUser root\n"
                             "lockFile " +
                             m_pipesDirectory +
                             "/ostreld.lock\n"
                             "pidFile " +
                             m_pipesDirectory + "/ostreld.pid\n");
}

void Device::replaceSystemFile(const std::string& path, const std::string& text)
{
    boxDirectory();
    // In a sandbox without root, rename() can replace a file of another owner where writing it
    // fails.
    writeText(path + ".new", text);
    std::filesystem::rename(path + ".new", path);
}

void Device::writeDaemonConfiguration(const std::string& text)
{
    boxDirectory();
    writeText("/etc/ostrel/config.daemon", text);
}

void Device::addService(const std::string& name, const std::string& configuration) const
{
    writeText(m_serviceDirectory + '/' + name + ".conf", configuration);
    std::filesystem::create_directories(m_pipesDirectory + '/' + name);
}

} // namespace support
