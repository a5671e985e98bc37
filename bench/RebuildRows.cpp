#include "bench/Certificates.h"
#include "bench/Daemon.h"
#include "bench/Rows.h"

#include <ostrelApi/OstrelService.h>

#include <memory>

namespace bench
{

namespace
{

constexpr int repetitions = 5;

/// The service that ostreld serves: one at a time, so that each is measured alone.
struct Served {
    void stop()
    {
        daemon.reset();
        if (!name.empty()) {
            device.removeService(name);
        }
        name.clear();
    }

    void start(const std::string& next)
    {
        stop();
        name = device.addService(next);
        daemon = std::make_unique<Daemon>(device);
    }

    const Device& device;
    std::string name = {};
    std::unique_ptr<Daemon> daemon = nullptr;
};

std::size_t countIn(const std::string& name)
{
    return ostrelApi::OstrelService(name).getCAList().size();
}

/// A service with `size` CAs.
struct Case {
    std::shared_ptr<Served> served;
    std::size_t size;
    std::string name;
    std::vector<std::string> certificates;
};

Case caseOf(const std::shared_ptr<Served>& served, std::size_t size)
{
    const std::string name = served->device.addService("rebuild" + std::to_string(size));
    Case result = {served, size, name, fillStore(name, size)};
    served->device.removeService(name);
    return result;
}

// The other side reads and parses each certificate once.
Row rowOfCase(const char* what, const Case& subject, const std::function<std::size_t()>& library)
{
    return rowOf({what, subject.size, 0, Clock::Wall, repetitions}, library,
                 [=] { return parsedByHand(subject.certificates); });
}

Row startRow(const Case& subject)
{
    const auto library = [=] {
        subject.served->start(subject.name);
        return countIn(subject.name);
    };
    return withEnds(
        rowOfCase("start of ostreld, CAs", subject, library), [=] { subject.served->stop(); },
        [] {});
}

// The first run starts the daemon; the median leaves it out.
Row reloadRow(const Case& subject)
{
    return rowOfCase("reload, CAs", subject, [=] {
        if (subject.served->name != subject.name) {
            subject.served->start(subject.name);
        }
        ostrelApi::OstrelService(subject.name).reloadService();
        return countIn(subject.name);
    });
}

} // namespace

std::vector<Row> rebuildRows(const Device& device, Extent extent)
{
    const auto served = std::make_shared<Served>(Served{device});
    std::vector<Row> starts;
    std::vector<Row> reloads;
    for (const std::size_t size : sizesFor(extent, {600, 6000})) {
        const Case subject = caseOf(served, size);
        starts.push_back(startRow(subject));
        reloads.push_back(reloadRow(subject));
    }
    starts.insert(starts.end(), reloads.begin(), reloads.end());
    return starts;
}

} // namespace bench
