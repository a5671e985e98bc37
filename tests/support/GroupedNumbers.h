#pragma once

#include <locale>
#include <string>

namespace support
{

/// While an object lives, the process's global locale writes 2048 as 2'048.
class GroupedNumbers
{
public:
    GroupedNumbers() : m_former(std::locale::global(std::locale(std::locale(), new Grouping))) {}
    ~GroupedNumbers() { std::locale::global(m_former); }
    GroupedNumbers(const GroupedNumbers&) = delete;
    GroupedNumbers& operator=(const GroupedNumbers&) = delete;

private:
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '\''; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale m_former;
};

} // namespace support
