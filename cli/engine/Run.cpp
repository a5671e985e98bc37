#include "engine/Run.h"

#include "engine/Command.h"
#include "engine/CommandLine.h"
#include "engine/Completion.h"
#include "engine/Deadline.h"
#include "engine/Outcome.h"
#include "engine/Output.h"
#include "engine/PlainText.h"
#include "engine/Report.h"
#include "engine/Terminal.h"

#include <ostrel/Debug.h>

#include <algorithm>
#include <csignal>

#include <unistd.h>

namespace ostrelctl
{

namespace
{

std::string dumped(const Json& json)
{
    // ASCII on a terminal, because other characters could steer it. A name that is not UTF-8
    // would throw.
    const bool isAscii = ::isatty(STDOUT_FILENO) == 1;
    return json.dump(2, ' ', isAscii, Json::error_handler_t::replace) + '\n';
}

/// Also of a line that cannot be parsed.
bool isJsonWanted(const Words& line)
{
    const auto end = std::find(line.begin(), line.end(), "--");
    return std::find(line.begin(), end, "--json") != end;
}

int finish(const Outcome& outcome, const std::string& output, const Invocation& invocation)
{
    std::string errors;
    ExitStatus status = outcome.status;
    if (outcome.failure) {
        errors = lineOf(*outcome.failure, invocation) + '\n';
        status = outcome.failure->status;
    }
    const bool isWritten = writeOutput(output);
    writeErrors(errors);
    if (!isWritten) {
        writeErrors("ostrelctl: the answer cannot be written\n");
        status = status == ExitStatus::Done ? ExitStatus::Failed : status;
    }
    return static_cast<int>(status);
}

int finishWith(const Failure& failure, const Invocation& invocation)
{
    const std::string output =
        invocation.has("--json") ? dumped({{"error", jsonOf(failure, invocation)}}) : std::string();
    return finish({{}, failure.status, failure}, output, invocation);
}

int finishWith(const Outcome& outcome, const Invocation& invocation)
{
    if (!invocation.has("--json")) {
        const Terminal terminal = terminalAt(STDOUT_FILENO, invocation.one("--color"));
        const View& view = outcome.view ? *outcome.view : invocation.command->view;
        return finish(outcome, shown(outcome.json, view, terminal), invocation);
    }
    Json json = outcome.json;
    if (outcome.failure) {
        json["error"] = jsonOf(*outcome.failure, invocation);
    }
    return finish(outcome, dumped(json), invocation);
}

void prepareLastWords(const Invocation& invocation)
{
    const Failure failure(ExitStatus::TimeOut, "no end in time, and no signal interrupts it",
                          "a file or pipe that it reads does not answer");
    Deadline::setLastWords(
        invocation.has("--json") ? dumped({{"error", jsonOf(failure, invocation)}}) : "",
        lineOf(failure, invocation) + '\n');
}

// So the shell knows which signal ended the program.
void endBySignal()
{
    const int number = Deadline::signal();
    if (number != 0 && number != SIGALRM) {
        std::signal(number, SIG_DFL);
        ::raise(number);
    }
}

int statusOf(const Invocation& invocation)
{
    try {
        return finishWith(invocation.command->run(invocation), invocation);
    } catch (const std::exception&) {
        return finishWith(failureInFlight(invocation), invocation);
    }
}

int perform(const Invocation& invocation)
{
    prepareLastWords(invocation);
    const Deadline deadline(invocation.number("--timeout"));
    ostrel::gDebug = invocation.has("--debug");
    const int status = statusOf(invocation);
    endBySignal();
    return status;
}

} // namespace

int run(const CommandTable& table, const Words& line)
{
    if (!line.empty() && line.front() == completionWord) {
        return finish({}, completionsOf(table, {line.begin() + 1, line.end()}), {});
    }
    ParsedLine parsed = parse(table, line);
    if (parsed.text) {
        return finish({}, *parsed.text, {});
    }
    if (parsed.failure) {
        if (isJsonWanted(line)) {
            parsed.invocation.values["--json"] = {};
        }
        return finishWith(*parsed.failure, parsed.invocation);
    }
    return perform(parsed.invocation);
}

} // namespace ostrelctl
