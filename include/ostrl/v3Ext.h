#pragma once

#include <ostrel/Export.h>

#include <string>

namespace ostrl
{

/// One X.509 v3 extension as text. A value.
///
/// Its text form is one line, ended by a line feed:
///
///     obj_id 2.5.29.19|short_name basicConstraints|long_name ...|comment CA:TRUE
///
/// Threads: as any value. Errors: nothing but std::bad_alloc; a field that does
/// not fit is skipped.
class OSTREL_API v3Ext
{
public:
    /// Replaces `out` by the text form, its line feed included. All four
    /// fields are written, also when empty.
    void to(std::string& out) const;

    /// Takes the fields that `text` holds; the others keep their values. A
    /// field that is a key alone gets the key as its value.
    void from(const std::string& text);

    /// Object identifier: numbers and dots, or a name.
    std::string obj_id;
    std::string short_name; ///< Such as "basicConstraints".
    std::string long_name;  ///< Such as "X509v3 Basic Constraints".
    /// The extension's value.
    std::string comment;
};

} // namespace ostrl
