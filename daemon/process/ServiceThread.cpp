#include "process/ServiceThread.h"

#include "base/Log.h"

#include <ostrel/DaemonConfiguration.h>

#include <utility>

namespace ostreld
{

ServiceThread::ServiceThread(std::string name, std::function<void()> onStage)
    : m_name(std::move(name)), m_onStage(std::move(onStage)), m_thread([this] { run(); })
{
}

ServiceThread::~ServiceThread()
{
    stop();
    m_thread.join();
}

void ServiceThread::stop()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_isToEnd = true;
    if (m_channel) {
        m_channel->stop();
    }
}

void ServiceThread::ask(Task task)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_tasks |= static_cast<unsigned int>(task);
    if (m_channel) {
        m_channel->wake();
    }
}

void ServiceThread::advanceTo(Stage stage)
{
    m_stage = stage;
    m_onStage();
}

void ServiceThread::run()
{
    try {
        m_callbacks.emplace();
        m_service.emplace(m_name, [this](const auto& script, const auto& /*service*/,
                                         const auto& event) { tellChange(script, event); });
        m_clock.emplace();
        openChannel();
        // Before the first client: a service may count on its certificate.
        checkExpiry();
        logEvent("{}: served", m_name);
        advanceTo(Stage::Serving);
        serve();
    } catch (const std::exception& caught) {
        m_isToEnd = true;
        logEvent("{}: {} served: {}", m_name, m_stage == Stage::Starting ? "not" : "no longer",
                 caught.what());
        giveUp();
    }
    end();
    advanceTo(Stage::Ended);
}

// The change is made, whatever becomes of its callback.
void ServiceThread::tellChange(const std::string& script, const std::string& event)
{
    try {
        m_callbacks->add(script, m_name, event);
    } catch (const std::exception& caught) {
        logEvent("{}: callback for {} dropped: {}", m_name, event, caught.what());
    }
}

void ServiceThread::openChannel()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_channel.emplace(m_service->pipeDirectory(), m_name, m_service->group());
    if (m_isToEnd) {
        m_channel->stop();
    } else {
        m_channel->wake();
    }
}

void ServiceThread::serve()
{
    m_channel->run({
        [this](const std::string& message) { return answer(message); },
        [this] { doTasks(); },
        m_clock->descriptor().get(),
        [this] { checkExpiry(); },
    });
}

// What could not be opened once may be open to the second attempt.
void ServiceThread::giveUp()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_channel.reset();
    }
    Channel::retire(ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + m_name, m_name);
}

void ServiceThread::end()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_channel) {
        m_channel->end();
        m_channel.reset();
    }
    m_callbacks.reset();
    logEvent("{}: ended", m_name);
}

std::string ServiceThread::answer(const std::string& message)
{
    const unsigned int before = m_service->readings();
    std::string reply = m_service->answer(message, [this] { return m_channel->confideReply(); });
    if (m_service->readings() != before) {
        followConfiguration();
    }
    return reply;
}

void ServiceThread::doTasks()
{
    const unsigned int tasks = m_tasks.exchange(0);
    const auto isAsked = [tasks](Task task) {
        return (tasks & static_cast<unsigned int>(task)) != 0;
    };
    if (isAsked(Task::Reload)) {
        attempt("configuration", [this] {
            m_service->reload();
            logEvent("{}: configuration read again", m_service->name());
        });
        followConfiguration();
    }
    if (isAsked(Task::CheckNetwork)) {
        attempt("network", [this] { m_service->checkNetwork(); });
    }
    if (isAsked(Task::CheckExpiry)) {
        checkExpiry();
    }
}

void ServiceThread::checkExpiry()
{
    m_clock->arm(m_service->expiryCheckOffset());
    attempt("certificate", [this] { m_service->checkExpiry(); });
}

template <class Work>
void ServiceThread::attempt(const char* what, Work work)
{
    try {
        work();
    } catch (const std::exception& caught) {
        logEvent("{}: the former {} stays: {}", m_service->name(), what, caught.what());
    }
}

// Another group may call, and it may be time for a certificate.
void ServiceThread::followConfiguration()
{
    attempt("group", [this] { m_channel->shareWith(m_service->group()); });
    checkExpiry();
}

} // namespace ostreld
