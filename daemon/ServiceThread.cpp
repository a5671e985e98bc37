#include "ServiceThread.h"

#include "Log.h"

namespace ostreld
{

ServiceThread::ServiceThread(const std::string& name, Service::OnChange onChange)
    : m_service(name, std::move(onChange)),
      m_channel(m_service.pipeDirectory(), name, m_service.group())
{
    // Before the first client: a service may count on its certificate.
    checkExpiry();
    m_thread = std::thread([this] { serve(); });
}

ServiceThread::~ServiceThread()
{
    stop();
    m_thread.join();
}

void ServiceThread::stop()
{
    m_channel.stop();
}

void ServiceThread::serve()
{
    try {
        m_channel.run({
            [this](const std::string& message) { return answer(message); },
            [this] { doTasks(); },
            m_clock.descriptor().get(),
            [this] { checkExpiry(); },
        });
    } catch (const std::exception& caught) {
        logEvent("{}: no longer served: {}", m_service.name(), caught.what());
    }
    m_channel.end();
}

std::string ServiceThread::answer(const std::string& message)
{
    std::string reply = m_service.answer(message, [this] { return m_channel.confideReply(); });
    followConfiguration();
    return reply;
}

void ServiceThread::ask(Task task)
{
    m_tasks |= static_cast<unsigned int>(task);
    m_channel.wake();
}

void ServiceThread::doTasks()
{
    const unsigned int tasks = m_tasks.exchange(0);
    const auto isAsked = [tasks](Task task) {
        return (tasks & static_cast<unsigned int>(task)) != 0;
    };
    if (isAsked(Task::Reload)) {
        attempt("configuration", [this] {
            m_service.reload();
            logEvent("{}: configuration read again", m_service.name());
        });
        followConfiguration();
    }
    if (isAsked(Task::CheckNetwork)) {
        attempt("network", [this] { m_service.checkNetwork(); });
    }
    if (isAsked(Task::CheckExpiry) || isAsked(Task::Reload)) {
        checkExpiry();
    }
}

void ServiceThread::checkExpiry()
{
    m_clock.arm(m_service.expiryCheckOffset());
    attempt("certificate", [this] { m_service.checkExpiry(); });
}

template <class Work>
void ServiceThread::attempt(const char* what, Work work)
{
    try {
        work();
    } catch (const std::exception& caught) {
        logEvent("{}: the former {} stays: {}", m_service.name(), what, caught.what());
    }
}

// A "reload" may have changed who may call, and when to look at the ends.
void ServiceThread::followConfiguration()
{
    attempt("group", [this] { m_channel.shareWith(m_service.group()); });
    m_clock.follow(m_service.expiryCheckOffset());
}

} // namespace ostreld
