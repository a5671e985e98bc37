#pragma once

#include "base/Child.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ostreld
{

struct Work;

/// The state of a command: its payload, or the work that leads to it.
struct Result {
    Result(std::string text) : payload(std::move(text)) {}
    Result(const char* text) : payload(text) {}
    Result(std::unique_ptr<Work> left) : work(std::move(left)) {}

    std::string payload;
    std::unique_ptr<Work> work;
};

/// Work that may take long. A program or a function runs in a child process; the loop serves
/// others between slices. `then` runs afterwards in the service's process, and may throw what
/// a command throws.
struct Work {
    /// Exactly one of these three is set. A slice returns whether work is left.
    std::vector<std::string> program;
    std::function<std::string()> function;
    std::function<bool()> slice;

    std::function<Result(ChildEnd)> then;
};

} // namespace ostreld
