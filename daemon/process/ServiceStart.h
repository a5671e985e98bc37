#pragma once

#include "process/ProcessName.h"

#include "tools/Descriptor.h"

#include <functional>
#include <string>

#include <sys/types.h>

namespace ostreld
{

/// Forks a process for `service` that runs `work` and exits with its result. It keeps the
/// descriptors 0 to 2 and `progress`, and ends with this process. Signals stay blocked, so
/// none is lost before it reads them. Throws std::runtime_error.
pid_t forkService(const ProcessName& processName, const std::string& service,
                  ostrel::Descriptor progress, const std::function<int(ostrel::Descriptor)>& work);

/// The work of such a process: gives up root's rights and serves until a signal.
int serveService(const std::string& service, ostrel::Descriptor progress);

} // namespace ostreld
