// Several processes call the same service, and signals interrupt most of their calls.

#include "integration/Caller.h"
#include "integration/ServerCase.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <random>
#include <thread>

#include <sys/time.h>

namespace
{

using daemon_case::Caller;
using daemon_case::payload;
using daemon_case::refusal;

constexpr int processes = 4;
constexpr int rounds = 15;
constexpr int interruptedCalls = 20;

/// Signals this process all the time, from a moment on that is not known.
class Timer
{
public:
    explicit Timer(int microseconds) { set(microseconds); }
    ~Timer() { set(0); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

private:
    static void set(int microseconds)
    {
        const itimerval time{{0, microseconds}, {0, microseconds}};
        ::setitimer(ITIMER_REAL, &time, nullptr);
    }
};

/// What one process asks, and the only answers that are its own.
struct Question {
    ostrel::TypeTarget target;
    ostrel::CommandType command;
    std::vector<std::string> arguments;
    std::vector<std::string> answers;
};

/// The outcome once no other process is in a call.
std::string ask(const Question& question)
{
    std::string outcome;
    do {
        outcome = daemon_case::outcomeOf([&] {
            return daemon_case::ask("web", question.target, question.command, question.arguments);
        });
        std::this_thread::yield();
    } while (outcome == refusal(2));
    return outcome;
}

/// A process with a certificate of its own.
class Asker
{
public:
    Asker(unsigned int seed, const std::string& directory)
        : m_random(seed), m_path(directory + "/storm." + std::to_string(seed))
    {
        const std::string text = support::TestCertificate().pem();
        const std::string id = support::fingerprintId(text);
        support::writeText(m_path, text);
        m_questions = {
            {ostrel::TargetCA, ostrel::CommandRevoke, {id}, {payload(id), payload("")}},
            {ostrel::TargetCA, ostrel::CommandAdd, {m_path}, {payload(id)}},
            {ostrel::TargetCA, ostrel::CommandGetCert, {id}, {payload(text)}},
            {ostrel::TargetConfig, ostrel::CommandStatus, {}, {payload("running")}},
            {ostrel::TargetServer, ostrel::CommandCreateCsr, {}, {payload("")}},
        };
    }

    /// The first answer that is somebody else's; empty when each is its own.
    std::string run()
    {
        std::string wrong;
        for (int round = 0; round < rounds && wrong.empty(); ++round) {
            for (int call = 0; call < interruptedCalls && wrong.empty(); ++call) {
                wrong = askInterrupted(m_questions[m_random() % m_questions.size()]);
            }
            for (const Question& question : m_questions) {
                wrong = wrong.empty() ? askInPeace(question) : wrong;
            }
        }
        return wrong;
    }

private:
    // A signal may cut off the end of a reply, and any call may fail.
    std::string askInterrupted(const Question& question)
    {
        const Timer timer(static_cast<int>(50 + m_random() % 3000));
        const std::string outcome = ask(question);
        const bool isOwn =
            outcome.find(payload("")) != 0 ||
            std::any_of(question.answers.begin(), question.answers.end(), [&](const auto& answer) {
                return answer.compare(0, outcome.size(), outcome) == 0;
            });
        return isOwn ? "" : "interrupted " + std::to_string(question.command) + ": " + outcome;
    }

    static std::string askInPeace(const Question& question)
    {
        const std::string outcome = ask(question);
        const auto& answers = question.answers;
        const bool isOwn = std::find(answers.begin(), answers.end(), outcome) != answers.end();
        return isOwn ? "" : "in peace " + std::to_string(question.command) + ": " + outcome;
    }

    std::mt19937 m_random;
    const std::string m_path;
    std::vector<Question> m_questions;
};

class Storm : public server_case::WithServer
{
protected:
    Storm()
    {
        configure("ca yes\n");
        daemon.start();
    }
};

TEST_F(Storm, OfInterruptedCallsGivesNobodyTheAnswerOfAnother)
{
    std::vector<std::unique_ptr<Caller>> callers;
    for (unsigned int seed = 1; seed <= processes; ++seed) {
        callers.push_back(
            std::make_unique<Caller>([&] { return Asker(seed, pipeDirectory("web")).run(); }));
    }
    for (const auto& caller : callers) {
        EXPECT_EQ(caller->outcome(), "");
    }
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
}

} // namespace
