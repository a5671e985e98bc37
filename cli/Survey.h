#pragma once

// What there is, read from the files alone: many certificates of many services
// are looked through without asking the daemon for any.

#include "Json.h"
#include "Stores.h"

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
    /// Seconds since 1970; none when its summary cannot be read.
    std::optional<std::int64_t> validUntil;
};

/// The certificates of these ids.
std::vector<Entry> entriesOf(const std::string& service, const Store& store, const Ids& ids);

/// The ids of a store; none where the daemon has not made the store yet.
Ids idsOf(OstrelService& object, const std::string& service, const Store& store);

/// The file that names the ids of a store, or the one in use.
std::string listPathOf(const std::string& service, const Store& store);

/// A text as its file has it: some operations of the library add a line feed.
std::string asInTheFile(std::string text);

/// Whole days left, rounded down; negative when there are none.
std::int64_t daysUntil(std::int64_t time);

/// "2026-03-01T12:00:00Z".
std::string timeText(std::int64_t time);

/// {"id", "commonName", "validUntil", "daysLeft"}.
Json jsonOf(const Entry& entry);

} // namespace ostrelctl
