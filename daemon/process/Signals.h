#pragma once

#include "base/Loop.h"

#include "tools/Descriptor.h"

#include <functional>
#include <initializer_list>

namespace ostreld
{

/// Signals as events of a loop. They stay blocked after the destructor.
class Signals
{
public:
    /// Calls `onSignal` with the number of each signal. Throws std::runtime_error.
    Signals(Loop& loop, std::initializer_list<int> signals, std::function<void(int)> onSignal);

private:
    void take() const;

    const std::function<void(int)> m_onSignal;
    ostrel::Descriptor m_signals;
    Loop::Source m_source;
};

} // namespace ostreld
