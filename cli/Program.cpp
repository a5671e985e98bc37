#include "Program.h"

#include "CommandLine.h"
#include "Completion.h"
#include "Context.h"
#include "Deadline.h"
#include "Explain.h"
#include "Help.h"
#include "Output.h"
#include "TraceCapture.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>

#include <unistd.h>

namespace ostrelctl
{

namespace
{

std::string dumped(const Json& json)
{
    // A name that is not UTF-8 is shown as far as it goes.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

bool isAsked(const Words& words, const char* option)
{
    const auto end = std::find(words.begin(), words.end(), "--");
    return std::find(words.begin(), end, option) != end;
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
    const Failure failure(ExitStatus::TimeOut, "no end in time, and nothing stops it",
                          "something that it reads does not answer");
    Deadline::setLastWords(
        invocation.has("--json") ? dumped({{"error", jsonOf(failure, invocation)}}) : "",
        lineOf(failure, invocation) + '\n');
}

// The shell is told of the user's signal as of any program that it ended.
void endBySignal()
{
    const int number = Deadline::signal();
    if (number != 0 && number != SIGALRM) {
        std::signal(number, SIG_DFL);
        ::raise(number);
    }
}

int statusOf(Context& context)
{
    const Invocation& invocation = context.invocation;
    try {
        return finishWith(invocation.command->run(context), invocation);
    } catch (const std::exception&) {
        return finishWith(explained(context), invocation);
    }
}

int perform(const Invocation& invocation)
{
    prepareLastWords(invocation);
    const Deadline deadline(invocation.number("--timeout"));
    const TraceCapture trace(invocation.has("--debug"));
    Context context{invocation, terminalAt(STDERR_FILENO, invocation.one("--color")), trace};
    const int status = statusOf(context);
    endBySignal();
    return status;
}

Failure unknownCommand(const std::string& path, const Words& rest)
{
    const auto word = std::find_if(rest.begin(), rest.end(),
                                   [](const std::string& each) { return each[0] != '-'; });
    const std::string blank = path.empty() ? "" : " ";
    return {ExitStatus::Usage,
            word == rest.end() ? "no command is given"
                               : fmt::format("there is no command '{}{}{}'", path, blank, *word),
            fmt::format("`ostrelctl {}{}--help` shows what there is", path, blank)};
}

int answerAtOnce(const std::string& text)
{
    return finish({}, text, {});
}

} // namespace

int run(const Words& line)
{
    if (!line.empty() && line.front() == completionWord) {
        return answerAtOnce(completionsOf({line.begin() + 1, line.end()}));
    }
    Words rest;
    const std::string path = takePath(line, rest);
    Invocation invocation;
    invocation.command = commandCalled(path);
    if (isAsked(rest, "--json")) {
        invocation.values["--json"] = {};
    }
    if (isAsked(rest, "--help") || isAsked(rest, "-h")) {
        return answerAtOnce(helpOn(path));
    }
    if (isAsked(rest, "--version")) {
        return answerAtOnce("ostrelctl " OSTREL_VERSION "\n");
    }
    if (invocation.command == nullptr) {
        return finishWith(unknownCommand(path, rest), invocation);
    }
    try {
        takeValues(invocation, rest);
    } catch (const Failure& failure) {
        return finishWith(failure, invocation);
    }
    return perform(invocation);
}

} // namespace ostrelctl
