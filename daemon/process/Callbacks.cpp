#include "process/Callbacks.h"

#include "base/Log.h"

#include <ostrel/DaemonConfiguration.h>

#include <filesystem>
#include <utility>

namespace ostreld
{

namespace
{

constexpr std::chrono::seconds patience{10};
constexpr std::size_t mostWaiting = 100;

} // namespace

Callbacks::Callbacks(Loop& loop, std::string service) : m_loop(loop), m_service(std::move(service))
{
}

void Callbacks::add(const std::string& script, const std::string& event, const std::string& ids)
{
    if (script.empty() || m_onEnd) {
        return;
    }
    orLog(m_service + ": callback for " + event + " dropped", [&] {
        if (m_waiting.size() >= mostWaiting) {
            throw std::runtime_error("too many wait");
        }
        const std::filesystem::path directory = ostrel::DaemonConfiguration::getScriptsDirectory();
        m_waiting.push_back({(directory / script).string(), m_service, event, ids});
    });
    if (!m_script) {
        runNext();
    }
}

void Callbacks::reap()
{
    if (m_script) {
        m_script->reap();
    }
}

// Deferred, because the former script's object may be calling this.
void Callbacks::runNext()
{
    m_next = m_loop.after(Loop::Milliseconds(0), [this] {
        m_script.reset();
        if (!m_waiting.empty()) {
            const std::vector<std::string> words = std::move(m_waiting.front());
            m_waiting.pop_front();
            start(words);
        } else if (m_onEnd) {
            std::exchange(m_onEnd, nullptr)();
        }
    });
}

void Callbacks::start(const std::vector<std::string>& words)
{
    const std::string& event = words[2];
    try {
        m_script = Child::ofProgram(m_loop, words, {patience}, [this, event](const ChildEnd& end) {
            onScriptEnd(event, end);
        });
    } catch (const std::exception& caught) {
        logEvent("{}: callback for {}: {}", m_service, event, caught.what());
        runNext();
    }
}

void Callbacks::onScriptEnd(const std::string& event, const ChildEnd& end)
{
    if (end.isFine()) {
        logStep("{}: callback for {} done", m_service, event);
    } else {
        logEvent("{}: callback for {}: {}", m_service, event, end.failure);
    }
    runNext();
}

void Callbacks::finish(Loop::Action onEnd)
{
    m_onEnd = std::move(onEnd);
    m_waiting.clear();
    if (!m_script) {
        runNext();
    }
}

void Callbacks::kill()
{
    if (m_script) {
        m_script->kill("ended with the daemon");
    }
}

} // namespace ostreld
