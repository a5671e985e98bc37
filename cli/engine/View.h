#pragma once

// How the JSON of an answer is shown to people. A view is data and takes all
// texts from the JSON, so people and programs read the same.

#include "engine/Json.h"

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
    /// Days left; few are yellow, a negative number is red.
    Days,
    /// Text; the column is left out where no row has any.
    Rare,
    /// {"certificates": 3, "maximum": 10} as "3 of 10".
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
        /// The object at `at`, each member on a line of its own.
        Members,
        /// The first column of the rows at `at`, one after the other, unchanged.
        Text,
        /// The same, each on a line of its own; a row without it is skipped.
        Lines,
        /// `at` is a sentence; "{/pointer}" in it stands for a value.
        Sentence,
    };
    Kind kind;
    const char* at;
    std::vector<Column> columns = {};
    /// A sentence below a table; empty for most.
    const char* footer = "";
};

/// Views of the text that the rows at `at`, or the object there, have at
/// `pointer`: as it is, or each on a line of its own.
View texts(const char* at, const char* pointer);
View lines(const char* at, const char* pointer);

/// The view of a sentence.
View sentence(const char* text);

/// The text for people, ended by a line feed unless it is empty.
std::string shown(const Json& answer, const View& view, const Terminal& terminal);

} // namespace ostrelctl
