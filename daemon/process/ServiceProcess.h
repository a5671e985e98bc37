#pragma once

#include "base/Loop.h"
#include "commands/Service.h"
#include "exchange/Exchange.h"
#include "process/Callbacks.h"
#include "process/ExpiryClock.h"
#include "process/Signals.h"
#include "process/Worker.h"

#include "tools/Descriptor.h"

#include <optional>
#include <string>

namespace ostreld
{

/// The process of one service, from its start to its last call. SIGHUP reads the
/// configuration again, SIGUSR1 reports a change of the network, SIGUSR2 one of the time.
/// SIGTERM and SIGINT end it.
///
/// It executes commands and tasks one after the other. During slow work it reads messages,
/// and answers those that need no store.
class ServiceProcess
{
public:
    /// Writes one byte into `supervisor` when the service is served.
    ServiceProcess(std::string name, ostrel::Descriptor supervisor);

    /// The exit status after its groups changed: the supervisor starts it again.
    static constexpr int startAgain = 75;

    /// Serves until a signal ends it. Returns the exit status.
    int run();

private:
    enum class State { Starting, Serving, Stopping };

    // A call that waits for its turn.
    struct Waiting {
        Service::Request request;
        std::string text;
        PinnedReply reply;
    };

    void begin();
    bool lockStore();
    void onRebuilt(const Outcome& outcome);
    void onServed();
    void giveUp(const std::string& reason);

    void onSignal(int signal);
    void onCall(Call call);
    void takeCall(const Binding::Message& message, const std::string& text, PinnedReply& reply);
    void runNext();
    void runCall(Waiting call);
    void replyToReload(Waiting call);
    void runTask();
    void onTaskEnd(const char* what, const Outcome& outcome);
    void reply(PinnedReply reply, const std::string& text, const Outcome& outcome);
    void tellChange(const std::string& event, const std::string& ids);
    void followConfiguration();
    bool hasOtherGroups() const;
    void startAgainForGroups();
    void retryRemovals();

    void stop();
    void finish();

    const std::string m_name;
    ostrel::Descriptor m_supervisor;
    Loop m_loop;
    Signals m_signals;
    ostrel::Descriptor m_storeLock;
    Service m_service;
    Callbacks m_callbacks;
    Worker m_worker;
    ExpiryClock m_clock;
    Loop::Source m_clockSource;
    Loop::Source m_timer;
    Loop::Source m_removalTimer;
    int m_removalPause = 1;
    std::optional<Exchange> m_exchange;
    std::optional<Waiting> m_waiting;
    State m_state = State::Starting;
    unsigned int m_readings = 0;
    // Requests of signals and of the clock that have not begun.
    bool m_isReloadAsked = false;
    bool m_isNetworkAsked = false;
    bool m_isExpiryAsked = false;
    int m_exitStatus = 0;
};

} // namespace ostreld
