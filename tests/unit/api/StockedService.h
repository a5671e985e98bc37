#pragma once

// A service with something in each of its stores, for tests of many operations.

#include "unit/api/Operations.h"
#include "unit/api/ServiceCase.h"

namespace service_case
{

/// The info of `subject` in the stocked service.
inline std::string summaryOf(const std::string& subject)
{
    return R"({"data_structure_version": 1, "issuerName": "CN=root", "subjectName": ")" + subject +
           R"(", "isCA": false, "isSelfSigned": false, "validFrom": 1, "validUntil": 2,)"
           R"( "validIPs": ["10.0.0.1", "10.0.0.2"], "validHostnames": ["web"]})";
}

/// Each store has the certificates "1" and "2" with all their files. "1" is the
/// active certificate, and a signing request is pending.
class StockedService : public ServiceCase
{
protected:
    StockedService()
    {
        for (const char* store : {"server", "ca", "client"}) {
            stock(store, "1");
            stock(store, "2");
            support::writeText(kept(store, ".cacheddata/list.txt"), "1\n2\n");
            support::writeText(volatileFile(store, "id_cn.map"), "1 name\n2 name\n");
        }
        support::writeText(active, "1\n");
        support::writeText(csr, "request\n");
        support::writeText(newFile, pem("2\n"));
    }

    /// The path of `file` in the persistent directory of `store`.
    std::string kept(const std::string& store, const std::string& file) const
    {
        return device.storeDirectory() + "/web/" + store + '/' + file;
    }
    /// The path of `file` in the volatile directory of `store`.
    std::string volatileFile(const std::string& store, const std::string& file) const
    {
        return pipes + '/' + store + '/' + file;
    }

    /// A valid argument for `operation`.
    std::string argumentOf(const Operation& operation) const
    {
        switch (operation.takes) {
        case Takes::AName:
            return "name";
        case Takes::Pem:
            return pem("2\n");
        case Takes::APath:
            return newFile;
        default:
            return "1";
        }
    }

    const std::string active = kept("server", ".cacheddata/active.txt");
    const std::string csr = kept("server", ".cacheddata/csr.csr");
    const support::TemporaryDirectory scratch;
    const std::string newFile = scratch / "new.pem";

private:
    void stock(const std::string& store, const std::string& id) const
    {
        support::writeText(kept(store, id), pem(id + '\n'));
        support::writeText(kept(store, id + ".key"), "key " + id);
        support::writeText(kept(store, ".cacheddata/" + id + ".overwrite"), "own " + id + '\n');
        support::writeText(volatileFile(store, id + ".info"), summaryOf("CN=" + id));
        support::writeText(volatileFile(store, id + ".detail"), "details " + id);
    }
};

} // namespace service_case
