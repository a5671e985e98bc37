#pragma once

// What a shell asks for while a command line is being typed. The scripts in
// cli/completion ask it as
//
//     ostrelctl __complete WORD...
//
// where the last word is the one that is being typed, and may be empty. Each
// line of the answer is a candidate, a tab, and what it is. A line without a
// candidate says "files": the shell knows these better.

#include "CommandLine.h"

namespace ostrelctl
{

/// The first word by which shells ask.
extern const char* const completionWord;

/// The lines. Nobody is told of failures, and the daemon is not asked: what is
/// there is read from its files.
std::string completionsOf(const Words& words);

} // namespace ostrelctl
