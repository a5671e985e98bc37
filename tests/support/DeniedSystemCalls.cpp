#include "support/DeniedSystemCalls.h"

#include <cstddef>
#include <cstdint>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

namespace support
{

namespace
{

sock_filter statement(unsigned int code, std::uint32_t value)
{
    return {static_cast<std::uint16_t>(code), 0, 0, value};
}

sock_filter unlessEqualSkipNext(std::uint32_t value)
{
    return {static_cast<std::uint16_t>(BPF_JMP | BPF_JEQ | BPF_K), 0, 1, value};
}

} // namespace

bool denySystemCalls(const std::vector<long>& numbers, int error)
{
    std::vector<sock_filter> filter = {
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long number : numbers) {
        filter.push_back(unlessEqualSkipNext(static_cast<std::uint32_t>(number)));
        filter.push_back(
            statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)));
    }
    filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace support
