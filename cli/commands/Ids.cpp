#include "commands/Ids.h"

#include "failure/Failure.h"

#include <ostrelApi/CallError.h>
#include <ostrelApi/ReturnCode.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace ostrelctl
{

namespace
{

constexpr std::size_t mostInALine = 8;

Failure ambiguous(const std::string& given, const std::vector<std::string>& ids)
{
    const auto end = ids.begin() + static_cast<std::ptrdiff_t>(std::min(ids.size(), mostInALine));
    Failure failure(ExitStatus::Usage,
                    fmt::format("{} certificates have ids that begin with '{}'", ids.size(), given),
                    fmt::format("type more of one: {}{}", fmt::join(ids.begin(), end, " "),
                                end == ids.end() ? "" : " ..."));
    failure.candidates = ids;
    return failure;
}

} // namespace

std::string idNamed(const std::string& given, const std::vector<std::string>& all)
{
    std::vector<std::string> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const std::string& id) { return id.rfind(given, 0) == 0; });
    if (std::find(found.begin(), found.end(), given) != found.end()) {
        return given;
    }
    if (found.empty() || given.empty()) {
        throw Failure(ExitStatus::NoCertificate, "there is no certificate '" + given + "'",
                      "the command `list` shows the ids");
    }
    if (found.size() > 1) {
        throw ambiguous(given, found);
    }
    return found.front();
}

std::string ownIdNamed(const std::string& given, const std::vector<std::string>& all)
{
    if (all.empty()) {
        throw ostrelApi::CallError(ostrelApi::NoServerCertificate, "");
    }
    return given.empty() ? all.front() : idNamed(given, all);
}

} // namespace ostrelctl
