#include "api/TemporaryCertificate.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/Tools.h>

#include "tools/Descriptor.h"
#include "tools/Trace.h"

#include <cstdio>

namespace ostrelApi
{

namespace
{

constexpr unsigned int nameLength = 32;
constexpr mode_t defaultFileMode = 0666;

} // namespace

std::string temporaryCertificatePath(const std::string& serviceName)
{
    return ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + serviceName + '/' +
           ostrel::Tools::getRandomName(nameLength) + ".crt";
}

void writeTemporaryCertificate(const std::string& path, const std::string& text)
{
    const auto file = ostrel::Descriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC, defaultFileMode);
    if (file.isOpen() && !ostrel::writeAll(file, text)) {
        std::remove(path.c_str());
    }
}

void removeTemporaryCertificate(const std::string& path, const std::string& textBefore,
                                const std::string& textBehind)
{
    if (std::remove(path.c_str()) != 0) {
        ostrel::trace(textBefore, path, textBehind);
    }
}

} // namespace ostrelApi
