#include "bench/Daemon.h"
#include "bench/Peer.h"
#include "bench/RawDaemon.h"
#include "bench/RawExchange.h"
#include "bench/Rows.h"

#include <ostrelApi/OstrelService.h>

#include <memory>

namespace bench
{

namespace
{

std::string statusOf(ostrelApi::OstrelService& service)
{
    ostrel::Commands command;
    command.target = ostrel::TargetConfig;
    command.command = ostrel::CommandStatus;
    return service.sendCommandToServer(command);
}

/// A service, and the peer that answers its calls.
struct Exchange {
    Exchange(const Device& device, const std::string& name, const std::string& reply)
        : service(device.addService(name)), pipes(device.pipesBase(name), managementGroup),
          peer(device, name, [=](const std::string&) { return reply; })
    {
    }

    ostrelApi::OstrelService service;
    RawPipes pipes;
    Peer peer;
};

// Two rows of one call: the time by the clock, and the caller's own processor time.
std::vector<Row> callRows(const Device& device, std::size_t payload)
{
    const auto exchange = std::make_shared<Exchange>(device, "exchange" + std::to_string(payload),
                                                     "0 " + std::string(payload, 'x'));
    const auto library = [=] { return statusOf(exchange->service); };
    const auto raw = [=] { return exchangeByHand(exchange->pipes, "config\tstatus"); };
    return {rowOf({"exchange, bytes of reply", payload, 1.1, Clock::Wall}, library, raw),
            rowOf({"exchange, caller's part", payload, 1.1, Clock::Thread}, library, raw)};
}

/// A service of ostreld, and one by hand on the other side.
struct WholeExchange {
    explicit WholeExchange(const Device& device)
        : service(device.addService("whole")), daemon(device),
          rawPipes(device.addPipes("byhand"), managementGroup),
          rawDaemon(device.pipesBase("byhand"), "0 running", device.directory() + "/byhand.log")
    {
    }

    ostrelApi::OstrelService service;
    Daemon daemon;
    RawPipes rawPipes;
    RawDaemon rawDaemon;
};

} // namespace

std::vector<Row> exchangeRows(const Device& device, Extent extent)
{
    std::vector<Row> rows;
    for (const std::size_t payload : sizesFor(extent, {10, 10000})) {
        const std::vector<Row> both = callRows(device, payload);
        rows.insert(rows.end(), both.begin(), both.end());
    }
    return rows;
}

std::vector<Row> wholeExchangeRows(const Device& device, Extent /*extent*/)
{
    const auto exchange = std::make_shared<WholeExchange>(device);
    return {rowOf(
        {"exchange with ostreld", 1, 1.25, Clock::Wall},
        [=] { return statusOf(exchange->service); },
        [=] { return exchangeByHand(exchange->rawPipes, "config\tstatus"); })};
}

} // namespace bench
