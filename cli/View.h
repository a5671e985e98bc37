#pragma once

// How the JSON that a command answers with is shown to people: data, so that
// both forms always say the same.

#include "Json.h"

#include <string>
#include <vector>

namespace ostrelctl
{

struct Terminal;

enum class Style {
    Text,
    Number,
    /// "yes" or "no"; "no" stands out.
    YesNo,
    /// "yes" or "no"; "yes" stands out.
    Alarm,
    /// Several texts, with commas between.
    List,
    /// Days left: few stand out, none more so.
    Days,
    /// Text in a column that is left out where no row has any.
    Rare,
    /// How many of how many: {"certificates": 3, "maximum": 10}.
    Count,
};

/// One column of a table, or one line of fields. The pointer leads from the
/// row to the value; one without a value shows as "-".
struct Column {
    const char* title;
    const char* pointer;
    Style style = Style::Text;
};

struct View {
    enum Kind {
        /// The rows at `at`, by columns.
        Table,
        /// The object at `at`, by columns, one on each line.
        Fields,
        /// The object at `at`, every member on a line of its own.
        Members,
        /// What the rows at `at` have at the first column, one after the other as it is.
        Text,
        /// The same, each on a line of its own; a row without it is passed over.
        Lines,
        /// `at` is a sentence; "{/pointer}" in it stands for a value.
        Sentence,
    };
    Kind kind;
    const char* at;
    std::vector<Column> columns = {};
    /// A sentence below a table; none for most.
    const char* footer = "";
};

/// The text for people, ended by a line feed unless it is empty.
std::string shown(const Json& answer, const View& view, const Terminal& terminal);

} // namespace ostrelctl
