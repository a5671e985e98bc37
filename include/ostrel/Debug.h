#pragma once

#include <ostrel/Export.h>

#include <atomic>

namespace ostrel
{

/// The debug flag of the process, for developers and for tools with a debug option.
/// While it is set, the library writes diagnostic lines to std::cerr and flushes each
/// one. While it is clear, the library writes nothing to any stream, with the one
/// exception of Tools::removeFiles(). Threads: any thread may set and read it at any
/// time. It throws nothing and waits for nothing.
///
///     ostrel::gDebug = true;
extern OSTREL_API std::atomic<bool> gDebug;

} // namespace ostrel
