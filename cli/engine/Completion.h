#pragma once

// Completion of a command line that is being typed. The scripts in
// cli/completion run
//
//     ostrelctl __complete WORD...
//
// where the last word is the one that is being typed, and may be empty. Each
// line of the answer is a candidate, a tab, and its description. A line with no
// candidate and the description "files" stands for the files, which the shell
// completes by itself.

#include "engine/Command.h"

namespace ostrelctl
{

/// The first word of a line that is to be completed.
extern const char* const completionWord;

/// The lines; empty after any failure. They come from files: a daemon that is
/// stuck delays nobody.
std::string completionsOf(const CommandTable& table, const Words& words);

} // namespace ostrelctl
