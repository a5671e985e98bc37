#pragma once

#include <ostrel/Export.h>

#include <string>

namespace ostrl
{

/// One X.509 v3 extension as text, a part of CCertificateData and CCSRData. A value:
/// copies are independent.
///
/// The text form is one line with a line feed at its end (docs/FILES.md has the
/// grammar):
///
///     obj_id 2.5.29.19|short_name basicConstraints|long_name ...|comment CA:TRUE
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Blocking: waits for nothing. Errors: throws only std::bad_alloc; a field
/// that does not match is skipped.
class OSTREL_API v3Ext
{
public:
    /// Replaces `out` by the text form, including its line feed. It contains all four
    /// fields, also empty ones.
    void to(std::string& out) const;

    /// Sets the fields that `text` contains; the others keep their values. A field
    /// that consists of a key alone gets the key as its value.
    void from(const std::string& text);

    /// Object identifier: numbers and dots, or a name.
    std::string obj_id;
    std::string short_name; ///< Such as "basicConstraints".
    std::string long_name;  ///< Such as "X509v3 Basic Constraints".
    /// The extension's value.
    std::string comment;
};

} // namespace ostrl
