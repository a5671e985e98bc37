#pragma once

#include "tools/Descriptor.h"

#include <vector>

#include <sys/types.h>

namespace support
{

/// Descriptors that child programs inherit while the object lives. The
/// programs' own descriptors then get higher numbers, so a limit on those still
/// leaves room for poll(), whose entries are limited to the same number.
class InheritedDescriptors
{
public:
    InheritedDescriptors();

private:
    std::vector<ostrel::Descriptor> m_descriptors;
};

/// Let the process `pid` open no further descriptor, or any number again.
void denyDescriptors(pid_t pid);
void allowDescriptors(pid_t pid);

} // namespace support
