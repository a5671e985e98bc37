#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace ostreld
{

/// Runs a program of the device's builder, without a shell, its input empty and
/// its own process group killed when the time is up. Returns what it printed.
/// Throws std::runtime_error when it cannot be started, takes too long, prints
/// more than `largestOutput` bytes or ends with another status than 0.
std::string runProgram(const std::vector<std::string>& words, std::chrono::milliseconds patience);

constexpr std::size_t largestOutput = 256 * 1024;

} // namespace ostreld
