#include "Completion.h"

#include "Candidates.h"
#include "Deadline.h"
#include "Help.h"
#include "PlainText.h"

#include <ostrl/splitstr.h>

#include <algorithm>

namespace ostrelctl
{

const char* const completionWord = "__complete";

namespace
{

constexpr int patience = 5;
const char* const filesLine = "\tfiles\n";

/// What the words in front of the one that is being typed say.
struct Typed {
    std::string path;
    const Command* command = nullptr;
    Words arguments;
    /// The option whose value comes next.
    const Option* open = nullptr;
    /// After two dashes, nothing is an option any more.
    bool isOver = false;
};

bool beginsWith(const std::string& word, const std::string& start)
{
    return word.compare(0, start.size(), start) == 0;
}

std::vector<Option> optionsOf(const Command* command)
{
    std::vector<Option> all = globalOptions();
    if (command != nullptr) {
        all.insert(all.begin(), command->options.begin(), command->options.end());
    }
    return all;
}

const Option* withValue(const std::vector<Option>& options, const std::string& name)
{
    const auto found = std::find_if(options.begin(), options.end(), [&](const Option& option) {
        return option.value != nullptr && name == option.name;
    });
    return found != options.end() ? &*found : nullptr;
}

void take(Typed& typed, const std::string& word, const std::vector<Option>& options)
{
    if (typed.open != nullptr) {
        typed.open = nullptr;
    } else if (!typed.isOver && word == "--") {
        typed.isOver = true;
    } else if (!typed.isOver && beginsWith(word, "-")) {
        typed.open = withValue(options, word);
    } else {
        typed.arguments.push_back(word);
    }
}

Typed typedBy(const Words& words, std::vector<Option>& options)
{
    Typed typed;
    Words rest;
    typed.path = takePath(words, rest);
    typed.command = commandCalled(typed.path);
    options = optionsOf(typed.command);
    for (const std::string& word : rest) {
        take(typed, word, options);
    }
    return typed;
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

Candidates optionCandidates(const std::vector<Option>& options)
{
    Candidates all;
    for (const Option& option : options) {
        all.push_back({option.name, option.help});
    }
    return all;
}

/// The words that lead on from `path` to commands, each once.
Candidates nextWords(const std::string& path)
{
    const std::string start = path.empty() ? "" : path + ' ';
    Candidates all;
    for (const Command& command : commands()) {
        if (!beginsWith(command.path, start) || command.path == path) {
            continue;
        }
        const std::size_t end = std::min(command.path.find(' ', start.size()), command.path.size());
        const std::string word = command.path.substr(start.size(), end - start.size());
        if (all.empty() || all.back().word != word) {
            all.push_back({word, summaryOf(start + word)});
        }
    }
    return all;
}

/// The argument that comes next; none when the command takes no more.
const Argument* nextArgument(const Typed& typed)
{
    if (typed.command == nullptr || typed.command->arguments.empty()) {
        return nullptr;
    }
    const auto& all = typed.command->arguments;
    const bool isMany = all.back().arity == Arity::Any || all.back().arity == Arity::AtLeastOne;
    const std::size_t number =
        isMany ? std::min(typed.arguments.size(), all.size() - 1) : typed.arguments.size();
    return number < all.size() ? &all[number] : nullptr;
}

// What is given already is not offered again.
Candidates argumentCandidates(const Typed& typed, const Argument& argument)
{
    Candidates all = candidatesFor(argument.kind, typed.arguments, typed.command->store);
    const Words& given = typed.arguments;
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const Candidate& each) {
                                 return std::find(given.begin(), given.end(), each.word) !=
                                        given.end();
                             }),
              all.end());
    return all;
}

Candidates wordCandidates(const Typed& typed)
{
    Candidates all;
    if (typed.arguments.empty() && !typed.isOver) {
        all = nextWords(typed.path);
    }
    if (const Argument* const argument = nextArgument(typed)) {
        const Candidates some = argumentCandidates(typed, *argument);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

std::string linesOf(const Candidates& candidates, const std::string& start)
{
    std::string text;
    for (const Candidate& candidate : candidates) {
        if (beginsWith(candidate.word, start)) {
            text += plain(candidate.word) + '\t' + plain(candidate.help) + '\n';
        }
    }
    return text;
}

/// Bash makes three words of "--color=auto": puts such ones together again.
struct Joined {
    Words words;
    /// Whether this was done to the last one: the shell asks for its end alone.
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

std::string valueLines(const std::vector<Option>& options, const std::string& word, bool isSplit)
{
    const std::size_t end = word.find('=') + 1;
    const Option* const option = withValue(options, word.substr(0, end - 1));
    if (option == nullptr) {
        return {};
    }
    return isSplit ? linesOf(valuesOf(*option, ""), word.substr(end))
                   : linesOf(valuesOf(*option, word.substr(0, end)), word);
}

std::string argumentLines(const Typed& typed, const std::string& word)
{
    const Argument* const argument = nextArgument(typed);
    const bool isFile = argument != nullptr && argument->kind == Kind::File;
    return linesOf(wordCandidates(typed), word) + (isFile ? filesLine : "");
}

std::string linesFor(const Joined& line)
{
    const std::string& word = line.words.back();
    std::vector<Option> options;
    const Typed typed = typedBy({line.words.begin(), line.words.end() - 1}, options);
    if (typed.open != nullptr) {
        return linesOf(valuesOf(*typed.open, ""), word);
    }
    if (typed.isOver || !beginsWith(word, "-")) {
        return argumentLines(typed, word);
    }
    return word.find('=') != std::string::npos ? valueLines(options, word, line.isSplit)
                                               : linesOf(optionCandidates(options), word);
}

} // namespace

std::string completionsOf(const Words& words)
{
    const Deadline deadline(patience);
    try {
        return words.empty() ? "" : linesFor(joined(words));
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace ostrelctl
