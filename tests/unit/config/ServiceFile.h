#pragma once

#include "support/Device.h"

#include <ostrel/ServiceConfiguration.h>

#include <string>

namespace service_file
{

/// A device with one service, "web".
struct ServiceFile {
    /// Writes the service's configuration.
    void write(const std::string& text) const { device.addService("web", text); }

    /// Writes the configuration and makes the library read it.
    ostrel::ServiceConfiguration read(const std::string& text) const
    {
        write(text);
        return ostrel::ServiceConfiguration("web");
    }

    const support::Device device;
};

} // namespace service_file
