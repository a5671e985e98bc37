#include "process/Callbacks.h"

#include "base/Log.h"
#include "base/Program.h"

#include <ostrel/DaemonConfiguration.h>

#include <filesystem>

namespace ostreld
{

namespace
{

constexpr std::chrono::seconds patience{10};
constexpr std::size_t mostWaiting = 100;

void call(const std::vector<std::string>& words)
{
    try {
        runProgram(words, patience);
        logStep("{}: callback for {} done", words[1], words[2]);
    } catch (const std::exception& caught) {
        logEvent("{}: callback for {}: {}", words[1], words[2], caught.what());
    }
}

} // namespace

Callbacks::~Callbacks()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Callbacks::add(const std::string& script, const std::string& service, const std::string& event)
{
    if (script.empty()) {
        return;
    }
    const std::filesystem::path directory = ostrel::DaemonConfiguration::getScriptsDirectory();
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_calls.size() >= mostWaiting) {
        logEvent("{}: callback for {} dropped, too many wait", service, event);
        return;
    }
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { run(); });
    }
    m_calls.push_back({(directory / script).string(), service, event});
    m_changed.notify_one();
}

void Callbacks::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_calls.empty(); });
        if (m_isEnding) {
            return;
        }
        const std::vector<std::string> words = std::move(m_calls.front());
        m_calls.pop_front();
        lock.unlock();
        call(words);
        lock.lock();
    }
}

} // namespace ostreld
