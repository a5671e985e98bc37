#pragma once

// Every operation of the service object as one row, for promises that hold for
// all operations.

#include <ostrelApi/OstrelService.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace service_case
{

/// The store that an operation uses, if any.
enum class On { NoStore, Server, CA, TrustedClient };

/// What an operation does, as the daemon sees it.
enum class Does {
    Query,
    /// Sends a command; throws the daemon's return code.
    Request,
    /// Sends a command; throws return code 1 for any failure of the daemon.
    Import,
    Notification,
};

/// How an operation uses its text argument, if it has one.
enum class Takes { AnId, AName, Pem, APath };

struct Operation {
    const char* name;
    On on;
    Does does;
    Takes takes;
    /// Its index in the table of virtual functions, or support::noSlot.
    int slot;
    /// Calls the operation, with this text for every text argument, and returns
    /// its result as text.
    std::function<std::string(ostrelApi::OstrelService&, const std::string&)> call;
};

inline void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

/// All operations, the virtual ones first.
const std::vector<Operation>& operations();

/// The operations that `isWanted` selects.
std::vector<Operation> operationsThat(bool (*isWanted)(const Operation&));

} // namespace service_case
