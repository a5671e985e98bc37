#pragma once

/// @file
/// The marks of what the library exports. Every public header uses them; other
/// programs do not need them. No code: nothing to throw, block or share.

/// The core classes, for the daemon and for tools: configuration, store, commands
/// and system tools.
namespace ostrel
{
}

/// Marks what libostrl.so exports. Everything else in the library is hidden.
#define OSTREL_API __attribute__((visibility("default")))

/// Marks the private members of an exported class. No program outside the library
/// can call them, so later releases may change them.
#define OSTREL_HIDDEN __attribute__((visibility("hidden")))
