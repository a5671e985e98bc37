#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace support
{

/// Of a member function that is not virtual.
constexpr int noSlot = -1;

/// The place in the table of virtual functions at which programs that are
/// already built look for `member`, as the C++ ABI of g++ and clang++ writes it
/// into a pointer to a member function. A virtual destructor takes two places.
template <class Member>
int slotOf(Member member)
{
    struct {
        std::uintptr_t pointer;
        std::uintptr_t adjustment;
    } parts;
    static_assert(sizeof parts == sizeof member, "this is another ABI");
    std::memcpy(&parts, &member, sizeof parts);
#if defined(__arm__) || defined(__aarch64__)
    // Here the lowest bit of the function's address tells its instruction set.
    const bool isVirtual = (parts.adjustment & 1) != 0;
    const std::uintptr_t offset = parts.pointer;
#else
    const bool isVirtual = (parts.pointer & 1) != 0;
    const std::uintptr_t offset = parts.pointer - 1;
#endif
    return isVirtual ? static_cast<int>(offset / sizeof(void*)) : noSlot;
}

} // namespace support
