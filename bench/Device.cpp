#include "bench/Device.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace bench
{

namespace
{

constexpr const char serviceDirectory[] = "/etc/ostrel/services";

std::string boxDirectory()
{
    const char* directory = std::getenv("OSTREL_SANDBOX");
    if (directory == nullptr) {
        throw std::runtime_error("the benchmark writes to /etc: run it with scripts/bench");
    }
    return directory;
}

std::string configurationOf(const std::string& service)
{
    return std::string(serviceDirectory) + '/' + service + ".conf";
}

} // namespace

Device::Device()
    : m_storeDirectory(boxDirectory() + "/store"), m_pipesDirectory(boxDirectory() + "/run")
{
    for (const std::string& directory :
         {std::string(serviceDirectory), m_storeDirectory, m_pipesDirectory}) {
        std::filesystem::remove_all(directory);
        std::filesystem::create_directories(directory);
    }
    writeFile("/etc/ostrel/config.daemon", "ostrelDirectory " + m_storeDirectory +
                                               "\nnamePipesDirectory " + m_pipesDirectory +
                                               "\nserviceConfigDirectory " + serviceDirectory +
                                               "\nscriptsDirectory /etc/ostrel/scripts"
                                               "\nnotificationGroup root"
                                               "\ndaemonUser root"
                                               "\nlockFile " +
                                               m_pipesDirectory +
                                               "/ostreld.lock"
                                               "\npidFile " +
                                               m_pipesDirectory + "/ostreld.pid\n");
}

std::string Device::addService(const std::string& name) const
{
    std::filesystem::create_directories(m_pipesDirectory + '/' + name + "/ca");
    std::filesystem::create_directories(m_storeDirectory + '/' + name + "/ca/.cacheddata");
    return addServiceWithoutDirectories(name);
}

std::string Device::addServiceWithoutDirectories(const std::string& name) const
{
    writeFile(configurationOf(name),
              "name " + name + "\nmanagmentGroup " + managementGroup + "\nca yes\n");
    return name;
}

std::string Device::addPipes(const std::string& name) const
{
    std::filesystem::create_directories(m_pipesDirectory + '/' + name);
    return pipesBase(name);
}

void Device::removeService(const std::string& name) const
{
    std::filesystem::remove(configurationOf(name));
    std::filesystem::remove_all(m_pipesDirectory + '/' + name);
}

std::string Device::pipesBase(const std::string& service) const
{
    return m_pipesDirectory + '/' + service + '/' + service;
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path);
    file << text << std::flush;
}

std::string textOfFile(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace bench
