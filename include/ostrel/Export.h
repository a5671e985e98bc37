#pragma once

/// @file
/// What the library exports.

/// The core: configuration, store, commands and system tools, for the daemon
/// and for tools.
namespace ostrel
{
}

/// Marks what libostrl.so exports; everything else in the library is hidden.
#define OSTREL_API __attribute__((visibility("default")))

/// Marks the private members of an exported class: nobody outside of the
/// library can call them, so they are no part of what later releases keep.
#define OSTREL_HIDDEN __attribute__((visibility("hidden")))
