#pragma once

// The families of rows. Each one prepares the device for its rows.

#include "bench/Row.h"

namespace bench
{

class Device;

/// One call to the daemon and back.
std::vector<Row> exchangeRows(const Device& device, Extent extent);

/// Queries of an external store.
std::vector<Row> storeRows(const Device& device, Extent extent);

/// Info files, imported texts, records.
std::vector<Row> textRows(const Device& device, Extent extent);

/// What a person waits for when looking at a whole device.
std::vector<Row> listingRows(const Device& device, Extent extent);

/// The start of programs that link the library.
std::vector<Row> startRows();

} // namespace bench
