#include "process/ServiceProcess.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"
#include "base/Refusal.h"
#include "commands/Groups.h"
#include "process/Privileges.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrelApi/OstrelApiException.h>

#include <algorithm>
#include <csignal>
#include <utility>

#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

constexpr std::chrono::seconds stopPatience{5};
constexpr std::chrono::milliseconds lockPause{20};
constexpr int longestRemovalPause = 300;
constexpr char endCheck[] = "check the end of the certificate";

// A message as one line for the log.
std::string forLog(std::string message)
{
    constexpr std::size_t longest = 200;
    std::replace(message.begin(), message.end(), '\t', ' ');
    return message.substr(0, longest);
}

struct Failure {
    ReturnCode code;
    std::string reason;
};

Failure failureOf(const Outcome& outcome)
{
    try {
        std::rethrow_exception(outcome.failure);
    } catch (const Refusal& refusal) {
        return {refusal.code(), refusal.what()};
    } catch (const std::exception& caught) {
        return {DaemonError, caught.what()};
    }
}

std::string pipeDirectoryOf(const std::string& service)
{
    return ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + service;
}

} // namespace

ServiceProcess::ServiceProcess(std::string name, Descriptor supervisor)
    : m_name(std::move(name)), m_supervisor(std::move(supervisor)),
      m_signals(m_loop, {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2, SIGCHLD},
                [this](int signal) { onSignal(signal); }),
      m_service(m_name, [this](const auto& event, const auto& ids) { tellChange(event, ids); }),
      m_callbacks(m_loop, m_name), m_worker(m_loop)
{
}

int ServiceProcess::run()
{
    begin();
    try {
        m_loop.run();
    } catch (const std::exception& caught) {
        logEvent("{}: no longer served: {}", m_name, caught.what());
        m_exitStatus = DaemonError;
    }
    m_exchange.reset();
    if (m_exitStatus != 0 && m_exitStatus != startAgain) {
        Exchange::retire(pipeDirectoryOf(m_name), m_name);
    }
    logEvent("{}: ended", m_name);
    return m_exitStatus;
}

// One process at a time writes the store. A former one may not have ended yet.
bool ServiceProcess::lockStore()
{
    const std::string path = ostrel::DaemonConfiguration::getOstrelDirectory() + '/' + m_name;
    makeDirectory(path, storeDirectoryMode, Durability::Persistent);
    m_storeLock = openOwn(path + storeLockName, S_IFREG, O_RDONLY);
    return ::flock(m_storeLock.get(), LOCK_EX | LOCK_NB) == 0;
}

void ServiceProcess::begin()
{
    try {
        if (!lockStore()) {
            m_timer = m_loop.after(lockPause, [this] { begin(); });
            return;
        }
    } catch (const std::exception& caught) {
        giveUp(caught.what());
        return;
    }
    m_worker.start([this] { return m_service.rebuild(); },
                   [this](const Outcome& outcome) { onRebuilt(outcome); });
}

// Generates a certificate before the supervisor counts the service as ready, because
// applications may rely on it.
void ServiceProcess::onRebuilt(const Outcome& outcome)
{
    if (m_state == State::Stopping) {
        m_loop.stop();
        return;
    }
    try {
        if (outcome.failure) {
            std::rethrow_exception(outcome.failure);
        }
        m_exchange.emplace(m_loop, m_service.pipeDirectory(), m_name, m_service.group(),
                           [this](Call call) { onCall(std::move(call)); });
        m_clockSource = m_loop.onEvents(m_clock.descriptor().get(), POLLIN, [this] {
            m_isExpiryAsked = true;
            runNext();
        });
        m_isExpiryAsked = true;
        runNext();
    } catch (const std::exception& caught) {
        giveUp(caught.what());
    }
}

void ServiceProcess::onServed()
{
    m_state = State::Serving;
    logEvent("{}: served", m_name);
    writeAll(m_supervisor, "s");
}

void ServiceProcess::giveUp(const std::string& reason)
{
    logEvent("{}: not served: {}", m_name, reason);
    m_exitStatus = BadConfiguration;
    m_loop.stop();
}

void ServiceProcess::onSignal(int signal)
{
    switch (signal) {
    case SIGCHLD:
        m_callbacks.reap();
        m_worker.reap();
        return;
    case SIGHUP:
        m_isReloadAsked = true;
        break;
    case SIGUSR1:
        m_isNetworkAsked = true;
        break;
    case SIGUSR2:
        m_isExpiryAsked = true;
        break;
    default:
        stop();
        return;
    }
    runNext();
}

// Logs the owner of the reply FIFO, because the user in the message can be forged.
void ServiceProcess::onCall(Call call)
{
    const std::string text =
        forLog(call.message.text) + " (uid " + std::to_string(call.reply.owner()) + ')';
    try {
        takeCall(call.message, text, call.reply);
    } catch (const std::exception&) {
        reply(std::move(call.reply), text, {{}, std::current_exception()});
    }
}

void ServiceProcess::takeCall(const Binding::Message& message, const std::string& text,
                              PinnedReply& pinned)
{
    if (m_state == State::Stopping) {
        throw Refusal(DaemonTerminates, "the daemon ends");
    }
    if (message.clarity != Binding::Clarity::Clear) {
        throw Refusal(BadCommand, message.clarity == Binding::Clarity::TooLong
                                      ? "the message is too long"
                                      : "messages of several callers cannot be told apart");
    }
    if (message.text.empty()) {
        throw Refusal(CommandUnexpectedEnding, "no message");
    }
    Service::Request request = Service::parse(message.text);
    if (Service::isAnsweredMeanwhile(request)) {
        reply(std::move(pinned), text, {m_service.carryOut(request).payload, nullptr});
        return;
    }
    // Replaces a message that waits: its caller is gone, because only one reply FIFO exists.
    m_waiting = Waiting{std::move(request), text, std::move(pinned)};
    runNext();
}

void ServiceProcess::runNext()
{
    if (m_worker.isBusy() || !m_exchange || m_state == State::Stopping) {
        return;
    }
    if (m_isReloadAsked || m_isNetworkAsked || m_isExpiryAsked) {
        runTask();
    } else if (m_state == State::Starting) {
        onServed();
        runNext();
    } else if (m_waiting) {
        Waiting call = std::move(*m_waiting);
        m_waiting.reset();
        if (call.reply.isLinked()) {
            runCall(std::move(call));
        } else {
            logStep("{}: {}: not carried out, its caller is gone", m_name, call.text);
        }
    }
}

void ServiceProcess::runCall(Waiting call)
{
    if (Service::isReload(call.request) && hasOtherGroups()) {
        reply(std::move(call.reply), call.text, {});
        startAgainForGroups();
        return;
    }
    const auto shared = std::make_shared<Waiting>(std::move(call));
    m_readings = m_service.readings();
    m_worker.start([this, shared] { return m_service.carryOut(shared->request); },
                   [this, shared](const Outcome& outcome) {
                       if (!outcome.failure) {
                           const std::string ids =
                               m_service.tellChange(shared->request, outcome.payload);
                           shared->text += ids.empty() ? "" : ", " + ids;
                       }
                       if (m_service.readings() == m_readings) {
                           reply(std::move(shared->reply), shared->text, outcome);
                           onTaskEnd(nullptr, outcome);
                       } else {
                           replyToReload(std::move(*shared));
                       }
                   });
}

// The caller may rely on the certificate that the new configuration requests.
void ServiceProcess::replyToReload(Waiting call)
{
    const auto shared = std::make_shared<Waiting>(std::move(call));
    followConfiguration();
    m_isExpiryAsked = false;
    m_clock.arm(m_service.expiryCheckOffset());
    m_worker.start([this] { return m_service.checkExpiry(); },
                   [this, shared](const Outcome& outcome) {
                       reply(std::move(shared->reply), shared->text, {});
                       onTaskEnd(endCheck, outcome);
                   });
}

void ServiceProcess::runTask()
{
    const auto run = [this](bool& isAsked, const char* what, Result (Service::*task)()) {
        isAsked = false;
        m_readings = m_service.readings();
        m_worker.start([this, task] { return (m_service.*task)(); },
                       [this, what](const Outcome& outcome) { onTaskEnd(what, outcome); });
    };
    if (m_isReloadAsked && hasOtherGroups()) {
        startAgainForGroups();
    } else if (m_isReloadAsked) {
        run(m_isReloadAsked, "read the configuration again", &Service::rebuild);
    } else if (m_isNetworkAsked) {
        run(m_isNetworkAsked, "check the addresses of the device", &Service::checkNetwork);
    } else {
        m_clock.arm(m_service.expiryCheckOffset());
        run(m_isExpiryAsked, endCheck, &Service::checkExpiry);
    }
}

// `what` is the name of a task, or nullptr for a call.
void ServiceProcess::onTaskEnd(const char* what, const Outcome& outcome)
{
    if (what != nullptr && outcome.failure) {
        logEvent("{}: failed to {}: {}", m_name, what, failureOf(outcome).reason);
    } else if (what != nullptr) {
        logStep("{}: done: {}", m_name, what);
    }
    if (what != nullptr && !outcome.failure && !outcome.payload.empty()) {
        tellChange("server-apply", outcome.payload);
    }
    if (m_service.readings() != m_readings) {
        followConfiguration();
    }
    retryRemovals();
    if (m_state == State::Stopping) {
        finish();
    } else {
        runNext();
    }
}

void ServiceProcess::reply(PinnedReply pinned, const std::string& text, const Outcome& outcome)
{
    std::string whole = "0 ";
    if (outcome.failure) {
        const Failure failure = failureOf(outcome);
        logEvent("{}: {}: refused ({} - {}): {}", m_name, text, static_cast<int>(failure.code),
                 ostrelApi::globalOstrelMessage(failure.code), failure.reason);
        whole = std::to_string(failure.code) + ' ' + failure.reason;
    } else {
        logEvent("{}: {}: done", m_name, text);
        whole.reserve(whole.size() + outcome.payload.size());
        whole += outcome.payload;
    }
    m_exchange->answer(std::move(pinned), std::move(whole));
}

void ServiceProcess::tellChange(const std::string& event, const std::string& ids)
{
    m_callbacks.add(m_service.callbackScript(), event, ids);
}

// The group and the certificates may have changed.
void ServiceProcess::followConfiguration()
{
    logEvent("{}: configuration read again", m_name);
    m_readings = m_service.readings();
    m_isExpiryAsked = true;
    orLog(m_name + ": the former group stays",
          [this] { m_exchange->shareWith(m_service.group()); });
}

// A process that gave up its rights cannot join other groups, nor give them files. One that
// is started again can. A configuration at fault is reported by who reads it.
bool ServiceProcess::hasOtherGroups() const
{
    try {
        return privileges::areGivenUp() && !privileges::areRight(groupsOf(m_name));
    } catch (const std::exception&) {
        return false;
    }
}

void ServiceProcess::startAgainForGroups()
{
    logEvent("{}: started again, for its groups changed", m_name);
    m_exitStatus = startAgain;
    m_state = State::Stopping;
    m_exchange->finish([this] { m_loop.stop(); });
}

// On a failing disk, files stay, above all keys. They are removed as soon as that works.
void ServiceProcess::retryRemovals()
{
    if (m_service.retryRemovals()) {
        m_removalPause = 1;
        m_removalTimer.end();
        return;
    }
    m_removalTimer =
        m_loop.after(std::chrono::seconds(m_removalPause), [this] { retryRemovals(); });
    m_removalPause = std::min(2 * m_removalPause, longestRemovalPause);
}

// Finishes work that has begun, within a time limit.
void ServiceProcess::stop()
{
    if (m_state == State::Stopping) {
        return;
    }
    const bool isStarting = !m_exchange;
    m_state = State::Stopping;
    if (isStarting) {
        m_loop.stop();
        return;
    }
    m_exchange->close();
    if (m_waiting) {
        const auto refusal = std::make_exception_ptr(Refusal(DaemonTerminates, "the daemon ends"));
        reply(std::move(m_waiting->reply), m_waiting->text, {{}, refusal});
        m_waiting.reset();
    }
    m_timer = m_loop.after(stopPatience, [this] {
        m_callbacks.kill();
        m_worker.kill("the daemon ends");
    });
    if (!m_worker.isBusy()) {
        finish();
    }
}

void ServiceProcess::finish()
{
    m_callbacks.finish([this] { m_exchange->finish([this] { m_loop.stop(); }); });
}

} // namespace ostreld
