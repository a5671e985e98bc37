#include "api/TemporaryCertificate.h"

#include <ostrel/Tools.h>

#include "tools/Descriptor.h"
#include "tools/Trace.h"

#include <cerrno>
#include <cstdio>

namespace ostrelApi
{

namespace
{

constexpr unsigned int nameLength = 32;
constexpr mode_t defaultFileMode = 0666;

} // namespace

std::string temporaryCertificatePath(const std::string& directory)
{
    return directory + '/' + ostrel::Tools::getRandomName(nameLength) + ".crt";
}

int writeTemporaryCertificate(const std::string& path, const std::string& text)
{
    // Without a random device the name can be guessed, so a file of another user, or a link,
    // may have it.
    const auto file =
        ostrel::Descriptor::open(path, O_WRONLY | O_CREAT | O_EXCL | O_TRUNC, defaultFileMode);
    if (!file.isOpen()) {
        return errno;
    }
    if (ostrel::writeAll(file, text)) {
        return 0;
    }
    const int error = errno;
    std::remove(path.c_str());
    return error;
}

void removeTemporaryCertificate(const std::string& path, const std::string& textBefore,
                                const std::string& textBehind)
{
    if (std::remove(path.c_str()) != 0) {
        ostrel::trace(textBefore, path, textBehind);
    }
}

} // namespace ostrelApi
