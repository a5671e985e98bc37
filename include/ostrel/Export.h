#pragma once

/// Marks what libostrl.so exports; everything else in the library is hidden.
#define OSTREL_API __attribute__((visibility("default")))
