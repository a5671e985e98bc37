#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace support
{

/// The slot of a member function that is not virtual.
constexpr int noSlot = -1;

/// The index of `member` in its class's table of virtual functions: programs
/// that are already built call it by this number. g++ and clang++ store it in a
/// pointer to a member function, as their C++ ABI says. A virtual destructor
/// takes two slots.
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
    // Here the function's address uses its lowest bit for the instruction set.
    const bool isVirtual = (parts.adjustment & 1) != 0;
    const std::uintptr_t offset = parts.pointer;
#else
    const bool isVirtual = (parts.pointer & 1) != 0;
    const std::uintptr_t offset = parts.pointer - 1;
#endif
    return isVirtual ? static_cast<int>(offset / sizeof(void*)) : noSlot;
}

} // namespace support
