#pragma once

// Reads the stores from the daemon's files, without a request: many certificates
// of many services in one go.

#include "commands/Stores.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ostrelctl
{

/// One certificate of a store.
struct Entry {
    std::string id;
    std::string commonName;
    /// Seconds since 1970; empty where its summary cannot be read.
    std::optional<std::int64_t> validUntil;
};

/// The certificates of these ids.
std::vector<Entry> entriesOf(const std::string& service, const Store& store, const Ids& ids);

/// The ids of a store; empty where the daemon has not created the store yet.
Ids idsOf(OstrelService& object, const std::string& service, const Store& store);

/// The overrides of a certificate. Applications write this file, so it may have any
/// size; throws Failure where it is larger than what the daemon reads.
ostrelApi::OverwrittenData overridesOf(OstrelService& object, const std::string& service,
                                       const Store& store, const std::string& id);

/// A text as its file holds it: some operations of the library add a line feed.
std::string asInTheFile(std::string text);

} // namespace ostrelctl
