#include "engine/Completion.h"

#include "engine/CommandLine.h"
#include "engine/Deadline.h"
#include "engine/PlainText.h"

#include <ostrl/splitstr.h>

#include <algorithm>

namespace ostrelctl
{

const char* const completionWord = "__complete";

namespace
{

constexpr int longestWait = 5;
const char* const filesLine = "\tfiles\n";

bool beginsWith(const std::string& word, const std::string& start)
{
    return word.compare(0, start.size(), start) == 0;
}

Candidates valuesOf(const Option& option, const std::string& prefix)
{
    Candidates all;
    if (std::string("number") != option.values) {
        for (const std::string& value : splitstr(option.values, ' ')) {
            all.push_back({prefix + value, ""});
        }
    }
    return all;
}

Candidates optionCandidates(const TypedWords& typed)
{
    Candidates all;
    for (const Option* const option : optionsOf(typed.command)) {
        all.push_back({option->name, option->help});
    }
    return all;
}

/// The argument that comes next; null when the command takes no more.
const Argument* nextArgument(const TypedWords& typed)
{
    if (typed.command == nullptr || typed.command->arguments.empty()) {
        return nullptr;
    }
    const auto& all = typed.command->arguments;
    const std::size_t count = typed.arguments.size();
    const std::size_t number = isMany(all.back()) ? std::min(count, all.size() - 1) : count;
    return number < all.size() ? &all[number] : nullptr;
}

/// Those that the line does not name yet.
Candidates argumentCandidates(const TypedWords& typed, const Argument& argument)
{
    if (!argument.candidates) {
        return {};
    }
    Candidates all = argument.candidates(typed.arguments);
    const Words& given = typed.arguments;
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const Candidate& each) {
                                 return std::find(given.begin(), given.end(), each.word) !=
                                        given.end();
                             }),
              all.end());
    return all;
}

std::string linesOf(const Candidates& candidates, const std::string& start)
{
    std::string text;
    for (const Candidate& candidate : candidates) {
        // A masked word is another word.
        const bool canBeWritten = plain(candidate.word) == candidate.word;
        if (canBeWritten && beginsWith(candidate.word, start)) {
            text += candidate.word + '\t' + plain(candidate.help) + '\n';
        }
    }
    return text;
}

/// Bash makes three words of "--color=auto", which are one again here.
struct Joined {
    Words words;
    /// Whether the last one was: the shell wants the end of it alone.
    bool isSplit = false;
};

Joined joined(const Words& words)
{
    Joined result;
    bool isOpen = false;
    for (const std::string& word : words) {
        const bool isEquals = word == "=" && !result.words.empty() && !isOpen &&
                              beginsWith(result.words.back(), "--");
        result.isSplit = isEquals || isOpen;
        if (result.isSplit) {
            result.words.back() += word;
        } else {
            result.words.push_back(word);
        }
        isOpen = isEquals;
    }
    return result;
}

std::string valueLines(const TypedWords& typed, const std::string& word, bool isSplit)
{
    const std::size_t end = word.find('=') + 1;
    const Option* const option = optionWithValue(typed.command, word.substr(0, end - 1));
    if (option == nullptr) {
        return {};
    }
    return isSplit ? linesOf(valuesOf(*option, ""), word.substr(end))
                   : linesOf(valuesOf(*option, word.substr(0, end)), word);
}

std::string wordLines(const TypedWords& typed, const std::string& word)
{
    const Argument* const argument = nextArgument(typed);
    const std::string lines = linesOf(typed.next, word);
    if (argument == nullptr) {
        return lines;
    }
    return lines + linesOf(argumentCandidates(typed, *argument), word) +
           (argument->kind == Kind::File ? filesLine : "");
}

std::string linesFor(const CommandTable& table, const Joined& line)
{
    const std::string& word = line.words.back();
    const TypedWords typed = typedBy(table, {line.words.begin(), line.words.end() - 1});
    if (typed.open != nullptr) {
        return linesOf(valuesOf(*typed.open, ""), word);
    }
    if (typed.isOver || !beginsWith(word, "-")) {
        return wordLines(typed, word);
    }
    return word.find('=') != std::string::npos ? valueLines(typed, word, line.isSplit)
                                               : linesOf(optionCandidates(typed), word);
}

} // namespace

std::string completionsOf(const CommandTable& table, const Words& words)
{
    const Deadline deadline(longestWait);
    try {
        return words.empty() ? "" : linesFor(table, joined(words));
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace ostrelctl
