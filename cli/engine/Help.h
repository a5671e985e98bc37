#pragma once

// What help says, by CLI11's formatter.

#include "engine/Command.h"

namespace CLI
{
class App;
}

namespace ostrelctl
{

/// The words that lead to an app of the parser; empty for the program.
std::string pathOf(const CLI::App& app);

/// What a command needs of the daemon, as a sentence.
std::string sentenceOf(const Command& command);

/// Has `root` lay out its help in the program's way. Every page shows the
/// options of every command; the program's page shows all commands.
void setLayout(CLI::App& root, const CommandTable& table);

} // namespace ostrelctl
