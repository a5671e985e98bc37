#pragma once

#include "tools/Descriptor.h"

#include <vector>

#include <sys/types.h>

namespace support
{

/// Descriptors that programs inherit from now on, while the object lives: what
/// they open themselves has higher numbers, and a limit to those leaves enough
/// for poll(), which takes no more entries than a process may have descriptors.
class InheritedDescriptors
{
public:
    InheritedDescriptors();

private:
    std::vector<ostrel::Descriptor> m_descriptors;
};

/// Lets the process `pid` open no descriptor more, or again as many as it likes.
void denyDescriptors(pid_t pid);
void allowDescriptors(pid_t pid);

} // namespace support
