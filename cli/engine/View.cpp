#include "engine/View.h"

#include "engine/PlainText.h"
#include "engine/Terminal.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace ostrelctl
{

namespace
{

constexpr int fewDays = 30;
constexpr std::size_t smallestClippedColumn = 8;

/// What one place of a table holds.
struct Cell {
    std::string text;
    Colour colour = Colour::None;
};

using Cells = std::vector<Cell>;

const Json& at(const Json& object, const std::string& pointer)
{
    static const Json nothing;
    const Json::json_pointer place(pointer);
    return object.contains(place) ? object.at(place) : nothing;
}

std::string textOf(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string countOf(const Json& store)
{
    const std::string count = textOf(at(store, "/certificates"));
    const Json& maximum = at(store, "/maximum");
    return maximum.is_null() ? count : fmt::format("{} of {}", count, textOf(maximum));
}

std::string listOf(const Json& values)
{
    std::string text;
    for (const Json& value : values) {
        text += (text.empty() ? "" : ", ") + plain(textOf(value));
    }
    return text.empty() ? "-" : text;
}

Colour colourOfDays(const Json& days)
{
    const auto left = days.get<std::int64_t>();
    return left < 0 ? Colour::Red : left < fewDays ? Colour::Yellow : Colour::None;
}

Cell cellOf(const Json& value, Style style)
{
    if (value.is_null() || (value.is_string() && value.get<std::string>().empty())) {
        return {"-"};
    }
    switch (style) {
    case Style::YesNo:
        return value.get<bool>() ? Cell{"yes"} : Cell{"no", Colour::Yellow};
    case Style::Alarm:
        return value.get<bool>() ? Cell{"yes", Colour::Red} : Cell{"no"};
    case Style::List:
        return {listOf(value)};
    case Style::Days:
        return {textOf(value), colourOfDays(value)};
    case Style::Count:
        return {countOf(value)};
    default:
        return {plain(textOf(value))};
    }
}

Cells titlesOf(const View& view)
{
    Cells titles;
    for (const Column& column : view.columns) {
        titles.push_back({column.title, Colour::Bold});
    }
    return titles;
}

std::vector<Cells> linesOf(const Json& rows, const View& view)
{
    std::vector<Cells> lines = {titlesOf(view)};
    for (const Json& row : rows) {
        Cells line;
        for (const Column& column : view.columns) {
            line.push_back(cellOf(at(row, column.pointer), column.style));
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

std::vector<std::size_t> widthsOf(const std::vector<Cells>& lines)
{
    std::vector<std::size_t> widths(lines.front().size());
    for (const Cells& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(line[i].text));
        }
    }
    return widths;
}

// Where lines are longer than the terminal is wide, the widest column is cut.
void fit(std::vector<std::size_t>& widths, const Terminal& terminal)
{
    std::size_t total = 2 * (widths.size() - 1);
    for (const std::size_t width : widths) {
        total += width;
    }
    if (terminal.width == 0 || total <= terminal.width) {
        return;
    }
    std::size_t& widest = *std::max_element(widths.begin(), widths.end());
    const std::size_t excess = total - terminal.width;
    widest = std::max(smallestClippedColumn, widest > excess ? widest - excess : 0);
}

bool isRightAligned(Style style)
{
    return style == Style::Number || style == Style::Days;
}

std::string lineOf(const Cells& cells, const std::vector<std::size_t>& widths, const View& view,
                   const Terminal& terminal)
{
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string text = clipped(cells[i].text, widths[i]);
        const std::string blanks(widths[i] - std::min(widths[i], widthOf(text)), ' ');
        const std::string shown = coloured(text, cells[i].colour, terminal);
        const bool isLast = i + 1 == cells.size();
        line += isRightAligned(view.columns[i].style) ? blanks + shown
                : isLast                              ? shown
                                                      : shown + blanks;
        line += isLast ? "\n" : "  ";
    }
    return line;
}

View withoutEmptyColumns(View view, const Json& rows)
{
    const auto isEmpty = [&](const Column& column) {
        return column.style == Style::Rare &&
               std::all_of(rows.begin(), rows.end(), [&](const Json& row) {
                   return cellOf(at(row, column.pointer), column.style).text == "-";
               });
    };
    view.columns.erase(std::remove_if(view.columns.begin(), view.columns.end(), isEmpty),
                       view.columns.end());
    return view;
}

std::string tableOf(const Json& rows, const View& wholeView, const Terminal& terminal)
{
    const View view = withoutEmptyColumns(wholeView, rows);
    const std::vector<Cells> lines = linesOf(rows, view);
    std::vector<std::size_t> widths = widthsOf(lines);
    fit(widths, terminal);
    std::string text;
    for (const Cells& line : lines) {
        text += lineOf(line, widths, view, terminal);
    }
    return text;
}

std::string fieldsOf(const Json& object, const View& view, const Terminal& terminal)
{
    std::size_t width = 0;
    for (const Column& column : view.columns) {
        width = std::max(width, widthOf(column.title));
    }
    std::string text;
    for (const Column& column : view.columns) {
        const Cell cell = cellOf(at(object, column.pointer), column.style);
        const std::string title = fmt::format("{:<{}}", column.title, width);
        text += coloured(title, Colour::Bold, terminal) + "  " +
                coloured(cell.text, cell.colour, terminal) + '\n';
    }
    return text;
}

// An extension shows its name and its value.
std::string memberText(const Json& value)
{
    return value.is_object()
               ? fmt::format("{}: {}", textOf(value.at("name")), textOf(value.at("value")))
               : textOf(value);
}

std::string membersOf(const Json& object, const Terminal& terminal)
{
    std::size_t width = 0;
    for (const auto& member : object.items()) {
        width = std::max(width, widthOf(member.key()));
    }
    std::string text;
    for (const auto& member : object.items()) {
        const Json values = member.value().is_array() ? member.value() : Json{member.value()};
        for (const Json& value : values) {
            const std::string title = fmt::format("{:<{}}", plain(member.key()), width);
            text +=
                coloured(title, Colour::Bold, terminal) + "  " + plain(memberText(value)) + '\n';
        }
    }
    return text;
}

// An object alone counts as one row.
std::string textsOf(const Json& rows, const View& view, const Terminal& terminal)
{
    const bool isLines = view.kind == View::Lines;
    const auto shownText = [&](const std::string& value) {
        return isLines ? plain(value) : terminal.isTerminal ? plainLines(value) : value;
    };
    std::string text;
    const auto append = [&](const Json& row) {
        const Json& value = at(row, view.columns.front().pointer);
        if (!value.is_null()) {
            text += shownText(textOf(value));
            text += isLines || text.back() != '\n' ? "\n" : "";
        }
    };
    if (rows.is_object()) {
        append(rows);
    } else {
        std::for_each(rows.begin(), rows.end(), append);
    }
    return text;
}

std::string sentenceOf(const Json& answer, std::string sentence)
{
    for (std::size_t open = 0; (open = sentence.find('{', open)) != std::string::npos;) {
        const std::size_t close = sentence.find('}', open);
        const std::string pointer = sentence.substr(open + 1, close - open - 1);
        const std::string value = plain(textOf(at(answer, pointer)));
        sentence.replace(open, close - open + 1, value);
        open += value.size();
    }
    return sentence + '\n';
}

std::string footerOf(const Json& answer, const View& view)
{
    return *view.footer == '\0' ? "" : '\n' + sentenceOf(answer, view.footer);
}

} // namespace

View texts(const char* at, const char* pointer)
{
    return {View::Text, at, {{"", pointer}}};
}

View lines(const char* at, const char* pointer)
{
    return {View::Lines, at, {{"", pointer}}};
}

View sentence(const char* text)
{
    return {View::Sentence, text};
}

std::string shown(const Json& answer, const View& view, const Terminal& terminal)
{
    switch (view.kind) {
    case View::Table:
        return tableOf(at(answer, view.at), view, terminal) + footerOf(answer, view);
    case View::Fields:
        return fieldsOf(at(answer, view.at), view, terminal);
    case View::Members:
        return membersOf(at(answer, view.at), terminal);
    case View::Text:
    case View::Lines:
        return textsOf(at(answer, view.at), view, terminal);
    default:
        return sentenceOf(answer, view.at);
    }
}

} // namespace ostrelctl
