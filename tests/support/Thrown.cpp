#include "support/Thrown.h"

#include <ostrelApi/CallError.h>

#include "errors/Explained.h"
#include "errors/Interrupted.h"

#include <exception>
#include <memory>
#include <stdexcept>
#include <typeinfo>

#include <cstdlib>
#include <cxxabi.h>

namespace support
{

namespace
{

std::string typeNameOf(const std::exception& caught)
{
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(caught).name(), nullptr, nullptr, nullptr), std::free);
    return name.get();
}

// For the private types of the library: callers see their base.
std::string asRuntimeError(const std::runtime_error& caught)
{
    return std::string("std::runtime_error: ") + caught.what();
}

} // namespace

std::string thrownBy(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ostrelApi::Explained& caught) {
        return asRuntimeError(caught);
    } catch (const ostrelApi::Interrupted& caught) {
        return asRuntimeError(caught);
    } catch (const std::exception& caught) {
        return typeNameOf(caught) + ": " + caught.what();
    } catch (...) {
        return "no standard exception";
    }
    return "nothing";
}

ostrelApi::CallError callErrorOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const ostrelApi::CallError& caught) {
        return caught;
    }
    throw std::logic_error("no CallError was thrown");
}

std::string apiError(int returnCode)
{
    return thrownBy([&] { throw ostrelApi::CallError(returnCode, ""); });
}

} // namespace support
