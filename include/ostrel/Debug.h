#pragma once

#include <ostrel/Export.h>

#include <atomic>

namespace ostrel
{

/// The process-wide debug flag. While it is set, the library writes diagnostic
/// lines to std::cerr, each one flushed; while it is clear, the library writes
/// nothing to any stream. May be set and read from any thread at any time:
///
///     ostrel::gDebug = true;
extern OSTREL_API std::atomic<bool> gDebug;

} // namespace ostrel
