#include "process/ProcessName.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <sys/prctl.h>
#include <unistd.h>

namespace ostreld
{

// The kernel stores arguments and environment one after the other.
ProcessName::ProcessName(int argc, char* argv[])
    : m_begin(argv[0]), m_end(argv[argc - 1] + std::strlen(argv[argc - 1]) + 1)
{
    for (char** entry = environ; *entry == m_end; ++entry) {
        m_end = *entry + std::strlen(*entry) + 1;
    }
}

void ProcessName::set(const std::string& name) const
{
    static std::vector<char*> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.push_back(::strdup(*entry));
    }
    environment.push_back(nullptr);
    environ = environment.data();
    std::fill(m_begin, m_end, '\0');
    const auto room = static_cast<std::size_t>(m_end - m_begin) - 1;
    std::copy_n(name.begin(), std::min(name.size(), room), m_begin);
    ::prctl(PR_SET_NAME, name.c_str());
}

} // namespace ostreld
