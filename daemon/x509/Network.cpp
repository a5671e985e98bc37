#include "x509/Network.h"

#include "base/Files.h"
#include "base/Log.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <string_view>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <unistd.h>

namespace ostreld
{

namespace
{

constexpr std::string_view dnsPrefix = "DNS:";

// An address of an interface, and whether it is link-local.
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

std::string formerHostName(const std::string& former, const std::string& otherwise)
{
    std::istringstream lines(former);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, dnsPrefix.size(), dnsPrefix) == 0) {
            return line.substr(dnsPrefix.size());
        }
    }
    return otherwise;
}

// The full name of the device if the resolver knows one, otherwise the plain name.
std::string hostName(const std::string& former)
{
    char name[256] = "";
    ::gethostname(name, sizeof name - 1);
    addrinfo hints{};
    hints.ai_flags = AI_CANONNAME;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(name, nullptr, &hints, &found);
    if (error == EAI_NONAME) {
        return name;
    }
    if (error != 0) {
        logEvent("the full name of {} is not known now: {}", name, ::gai_strerror(error));
        return formerHostName(former, name);
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, ::freeaddrinfo);
    return found->ai_canonname != nullptr ? found->ai_canonname : name;
}

void addAddresses(const ostrel::ServiceConfiguration& service, std::vector<std::string>& names)
{
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) {
        failSystemCall("tell the addresses", "of the device");
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(first, ::freeifaddrs);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        addAddress(*entry, service, names);
    }
}

} // namespace

std::vector<std::string> alternativeNames(const ostrel::ServiceConfiguration& service,
                                          const std::string& former)
{
    std::vector<std::string> names;
    if (!service.m_networkConfigurations.empty()) {
        addAddresses(service, names);
    }
    if (service.m_includeFQDN) {
        names.push_back(std::string(dnsPrefix) + hostName(former));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::string networkText(const std::vector<std::string>& names)
{
    return fmt::format("{}\n", fmt::join(names, "\n"));
}

} // namespace ostreld
