#include "process/Services.h"

#include "base/Log.h"

#include "tools/ErrorText.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

namespace fs = std::filesystem;

namespace
{

// The list of services is empty, too, where the directory cannot be read: only
// what is surely gone is served no more. None of this takes a descriptor, of
// which there may be none left.
bool isServiceDirectoryReadable()
{
    const std::string path = ostrel::DaemonConfiguration::getServiceConfigDirectory();
    const bool isReadable = ::access((path + "/.").c_str(), R_OK | X_OK) == 0;
    if (!isReadable) {
        logEvent("what is served stays: cannot read {}: {}", path, ostrel::errorText(errno));
    }
    return isReadable;
}

bool isConfigurationGone(const std::string& service)
{
    const std::string directory = ostrel::DaemonConfiguration::getServiceConfigDirectory();
    struct stat status {
    };
    return ::lstat((directory + '/' + service + ".conf").c_str(), &status) == 0
               ? !S_ISREG(status.st_mode)
               : errno == ENOENT;
}

} // namespace

void Services::begin()
{
    update();
    retireOthers();
}

void Services::update()
{
    const std::vector<std::string> list = ostrel::ServiceConfiguration::getServiceList();
    m_waiting = {list.begin(), list.end()};
    const bool isReadable = isServiceDirectoryReadable();
    for (const auto& [name, thread] : m_threads) {
        if (thread->isToEnd()) {
            continue;
        }
        if (m_waiting.erase(name) != 0) {
            thread->ask(Task::Reload);
        } else if (isReadable && isConfigurationGone(name)) {
            logEvent("{}: its configuration is gone", name);
            thread->stop();
        } else {
            logEvent("{}: served on, with the former configuration", name);
        }
    }
    tend();
}

void Services::tend()
{
    m_progress.take();
    for (auto entry = m_threads.begin(); entry != m_threads.end();) {
        const bool hasEnded = entry->second->stage() == ServiceThread::Stage::Ended;
        entry = hasEnded ? m_threads.erase(entry) : std::next(entry);
    }
    for (const std::string& name : std::exchange(m_waiting, {})) {
        if (m_threads.count(name) == 0) {
            start(name);
        } else {
            m_waiting.insert(name);
        }
    }
}

// A service that cannot be served keeps no other from being served.
void Services::start(const std::string& name)
{
    try {
        m_threads.emplace(name,
                          std::make_unique<ServiceThread>(name, [this] { m_progress.give(); }));
    } catch (const std::exception& caught) {
        logEvent("{}: not served: {}", name, caught.what());
        Channel::retire(ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + name, name);
    }
}

// A daemon that was killed may have served others than are configured now.
void Services::retireOthers() const
{
    const fs::path pipes = ostrel::DaemonConfiguration::getNamePipesDirectory();
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(pipes, ignored)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_directory(ignored) && m_threads.count(name) == 0) {
            Channel::retire(entry.path().string(), name);
        }
    }
}

bool Services::areUp() const
{
    return m_waiting.empty() && countOf(ServiceThread::Stage::Starting) == 0;
}

std::size_t Services::count() const
{
    return countOf(ServiceThread::Stage::Serving);
}

std::size_t Services::countOf(ServiceThread::Stage stage) const
{
    const auto isThere = [stage](const auto& entry) { return entry.second->stage() == stage; };
    return static_cast<std::size_t>(std::count_if(m_threads.begin(), m_threads.end(), isThere));
}

void Services::askAll(Task task)
{
    for (const auto& [name, thread] : m_threads) {
        thread->ask(task);
    }
}

void Services::stop()
{
    m_waiting.clear();
    for (const auto& [name, thread] : m_threads) {
        thread->stop();
    }
    m_threads.clear();
}

} // namespace ostreld
