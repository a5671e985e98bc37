#include "Network.h"

#include <algorithm>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <unistd.h>

namespace ostreld
{

namespace
{

// An address of an interface, and whether the device gave it to itself.
struct Address {
    std::string text;
    bool isIPv6;
    bool isAutomatic;
};

Address addressOf(const sockaddr_in& ip)
{
    char text[INET6_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET, &ip.sin_addr, text, sizeof text);
    const bool isLinkLocal = (ntohl(ip.sin_addr.s_addr) >> 16) == 0xa9fe;
    return {text, false, isLinkLocal};
}

Address addressOf(const sockaddr_in6& ip)
{
    char text[INET6_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET6, &ip.sin6_addr, text, sizeof text);
    return {text, true, IN6_IS_ADDR_LINKLOCAL(&ip.sin6_addr) != 0};
}

bool isWanted(const Address& address, const ostrel::ServiceNetworkConfiguration& wanted)
{
    if (address.isIPv6) {
        return address.isAutomatic ? wanted.m_includeIPv6Auto : wanted.m_includeIPv6;
    }
    return address.isAutomatic ? wanted.m_includeIPv4Auto : wanted.m_includeIPv4;
}

void addAddress(const ifaddrs& entry, const ostrel::ServiceConfiguration& service,
                std::vector<std::string>& names)
{
    const auto wanted = service.m_networkConfigurations.find(entry.ifa_name);
    if (entry.ifa_addr == nullptr || wanted == service.m_networkConfigurations.end()) {
        return;
    }
    const auto add = [&](const Address& address) {
        if (isWanted(address, wanted->second)) {
            names.push_back("IP:" + address.text);
        }
    };
    if (entry.ifa_addr->sa_family == AF_INET) {
        add(addressOf(*reinterpret_cast<const sockaddr_in*>(entry.ifa_addr)));
    } else if (entry.ifa_addr->sa_family == AF_INET6) {
        add(addressOf(*reinterpret_cast<const sockaddr_in6*>(entry.ifa_addr)));
    }
}

// The name with its domain where the resolver knows one, else the plain name.
std::string hostName()
{
    char name[256] = "";
    ::gethostname(name, sizeof name - 1);
    addrinfo hints{};
    hints.ai_flags = AI_CANONNAME;
    addrinfo* found = nullptr;
    if (::getaddrinfo(name, nullptr, &hints, &found) != 0) {
        return name;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, ::freeaddrinfo);
    return found->ai_canonname != nullptr ? found->ai_canonname : name;
}

} // namespace

std::vector<std::string> alternativeNames(const ostrel::ServiceConfiguration& service)
{
    std::vector<std::string> names;
    ifaddrs* first = nullptr;
    if (!service.m_networkConfigurations.empty() && ::getifaddrs(&first) == 0) {
        const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(first, ::freeifaddrs);
        for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
            addAddress(*entry, service, names);
        }
    }
    if (service.m_includeFQDN) {
        names.push_back("DNS:" + hostName());
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

} // namespace ostreld
