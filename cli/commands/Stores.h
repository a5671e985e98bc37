#pragma once

// How the stores differ. Their commands are one implementation over these rows.

#include <ostrel/Commands.h>
#include <ostrelApi/OstrelService.h>

#include <map>
#include <string>
#include <vector>

namespace ostrelctl
{

using ostrelApi::OstrelService;
using Ids = std::vector<std::string>;
using Summary = std::map<std::string, std::string>;

struct Store {
    /// Its word on the command line and in the daemon's messages.
    const char* word;
    ostrel::TypeTarget target;
    /// The name in the library's operations.
    const char* name;
    bool (OstrelService::*isThere)() const;
    /// Null where there is no limit.
    unsigned short (OstrelService::*maximum)() const;
    Ids (OstrelService::*list)();
    Ids (OstrelService::*listByCN)(const std::string&);
    std::string (OstrelService::*show)(const std::string&);
    Summary (OstrelService::*info)(const std::string&);
    ostrl::CCertificateData (*record)(OstrelService&, const std::string& id);
    std::string (OstrelService::*details)(const std::string&);
    ostrelApi::OverwrittenData (OstrelService::*overrides)(const std::string&);
    Ids (OstrelService::*revoke)(const Ids&);
    std::string (OstrelService::*find)(const std::string&);
    std::string (OstrelService::*directory)();
};

/// The server's own, the CAs, the trusted clients.
extern const Store serverStore;
extern const Store caStore;
extern const Store clientStore;

/// All three, in this order.
const std::vector<const Store*>& stores();

/// The one of this word; null where it does not exist.
const Store* storeCalled(const std::string& word);

} // namespace ostrelctl
