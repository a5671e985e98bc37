#pragma once

#include <exception>

namespace support
{

/// An exception of type `Base` whose what() returns a null pointer.
template <class Base = std::exception>
class Textless : public Base
{
public:
    using Base::Base;
    const char* what() const noexcept override { return nullptr; }
};

} // namespace support
