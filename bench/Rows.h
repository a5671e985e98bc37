#pragma once

// The families of rows. Each one prepares the device for its rows.

#include "bench/Row.h"
#include "bench/Table.h"

namespace bench
{

class Device;

/// One call to the daemon and back.
std::vector<Row> exchangeRows(const Device& device, Extent extent);

/// One call to ostreld and back.
std::vector<Row> wholeExchangeRows(const Device& device, Extent extent);

/// One more certificate in a store of ostreld.
std::vector<Row> addRows(const Device& device, Extent extent);

/// A start and a reload of ostreld with many certificates.
std::vector<Row> rebuildRows(const Device& device, Extent extent);

/// Queries of an external store.
std::vector<Row> storeRows(const Device& device, Extent extent);

/// Info files, imported texts, records.
std::vector<Row> textRows(const Device& device, Extent extent);

/// What a person waits for when looking at a whole device.
std::vector<Row> listingRows(const Device& device, Extent extent);

/// The start of programs that link the library.
std::vector<Row> startRows();

/// What a service of ostreld costs that has no counterpart by hand.
std::vector<Figure> serviceFigures(const Device& device, Extent extent);

} // namespace bench
