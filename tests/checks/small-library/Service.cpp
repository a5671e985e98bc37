#include <Service.h>

namespace small
{

const std::string theName = "small";

struct Service::Hidden {
    std::int32_t count;
};

Service::Service(const Settings& settings) : m_settings(settings) {}

Service::~Service() = default;

Kind Service::kind() const
{
    return KindPlain;
}

std::vector<std::string> Service::names() const
{
    return {m_settings.name};
}

std::int32_t Service::count() const
{
    return hidden().count;
}

Service::Hidden Service::hidden() const
{
    return {m_settings.count};
}

std::string textOf(Kind kind)
{
    return kind == KindPlain ? "plain" : "other";
}

} // namespace small
