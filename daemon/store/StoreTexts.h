#pragma once

// The daemon's replies about one certificate, for all stores.

#include "store/StoreFiles.h"

#include <ostrel/CertificateInfo.h>

#include <sstream>
#include <string>

namespace ostreld
{

template <class Accessor>
std::string infoText(const StoreFiles<Accessor>& files, const std::string& id)
{
    std::ostringstream text;
    text << ostrel::CertificateInfo(files.paths.certInfoPath(id));
    return text.str();
}

template <class Accessor>
std::string overridesText(const StoreFiles<Accessor>& files, const std::string& id)
{
    return linesOf(files.overrides(id));
}

template <class Record>
std::string recordText(Record record)
{
    std::string text;
    record.to(text);
    return text;
}

} // namespace ostreld
