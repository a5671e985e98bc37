#pragma once

#include <cstdint>
#include <string>
#include <vector>

#define SMALL_API __attribute__((visibility("default")))

namespace small
{

enum Kind : std::int32_t {
    KindPlain = 0,
    KindOther = 1,
};

/// Programs hold it by value.
struct Settings {
    std::string name;
    std::int32_t count = 0;
};

/// Programs call it and may derive from it.
class SMALL_API Service
{
public:
    explicit Service(const Settings& settings);
    virtual ~Service();

    virtual Kind kind() const;
    virtual std::vector<std::string> names() const;

    std::int32_t count() const;

private:
    struct Hidden;
    __attribute__((visibility("hidden"))) Hidden hidden() const;

    Settings m_settings;
};

SMALL_API std::string textOf(Kind kind);

extern SMALL_API const std::string theName;

} // namespace small
