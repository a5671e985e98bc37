#pragma once

// Every operation of the service object as one row, for the promises that hold
// for all of them alike.

#include <ostrelApi/OstrelService.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace service_case
{

/// The store that an operation is on, if any.
enum class On { NoStore, Server, CA, TrustedClient };

/// What an operation does, seen from the daemon.
enum class Does {
    Query,
    /// Sends a command; the caller is told the daemon's return code.
    Request,
    /// Sends a command; the caller is told 1 for any return code but 0.
    Import,
    Notification,
};

/// What an operation makes of its text argument, if it has one.
enum class Takes { AnId, AName, Pem, APath };

struct Operation {
    const char* name;
    On on;
    Does does;
    Takes takes;
    /// Its place in the table of virtual functions, or support::noSlot.
    int slot;
    /// Calls it with that text wherever it takes one; returns its result as text.
    std::function<std::string(ostrelApi::OstrelService&, const std::string&)> call;
};

inline void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

/// All of them, the virtual ones first.
const std::vector<Operation>& operations();

/// Those of one kind.
std::vector<Operation> operationsThat(bool (*isWanted)(const Operation&));

} // namespace service_case
