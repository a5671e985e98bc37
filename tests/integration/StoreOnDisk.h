#pragma once

#include <ostrel/CertificateIdCnMap.h>
#include <ostrel/CertificateIdList.h>
#include <ostrel/CertificateInfo.h>
#include <ostrel/ExternalCertificatesAccessor.h>

#include "support/TestCertificate.h"
#include "support/TextFiles.h"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace daemon_case
{

/// The files of one store, as a client finds them.
class StoreOnDisk : public ostrel::ExternalCertificatesAccessor
{
public:
    using ExternalCertificatesAccessor::ExternalCertificatesAccessor;

    std::vector<std::string> ids() const { return ostrel::CertificateIdList(listPath()).toArray(); }

    /// What is wrong with a listed certificate; empty when nothing is.
    std::string faultOf(const std::string& id) const
    {
        try {
            if (support::fingerprintId(support::readText(certPath(id))) != id) {
                return id + " is another certificate";
            }
            if (ostrel::CertificateInfo(certInfoPath(id)).subjectName.empty()) {
                return id + " has no subject in its info";
            }
            if (support::readText(certDetailsPath(id)).find("Certificate:") != 0) {
                return id + " has no details";
            }
            const ostrel::CertificateIdCnMap names(cnMapPath());
            return names.certificateIdExist(id) ? "" : id + " has no name in the map";
        } catch (const std::exception& caught) {
            return id + ": " + caught.what();
        }
    }

    /// What is wrong with the whole store, including files that belong to no
    /// listed certificate; empty when nothing is.
    std::string fault() const
    {
        std::set<std::string> certificates = {".cacheddata"};
        std::set<std::string> volatiles = {"id_cn.map"};
        for (const std::string& id : ids()) {
            const std::string text = faultOf(id);
            if (!text.empty()) {
                return text;
            }
            certificates.insert(id);
            volatiles.insert({id + ".info", id + ".detail"});
        }
        if (namesIn(certificateDirectoryPath()) != certificates) {
            return "other files than the listed certificates";
        }
        if (ostrel::CertificateIdCnMap(cnMapPath()).toCertificateIdList().toArray() != ids()) {
            return "other names than of the listed certificates";
        }
        return namesIn(tmpDirectoryPath()) == volatiles ? strayCachedFile()
                                                        : "other volatile files";
    }

private:
    static std::set<std::string> namesIn(const std::string& directory)
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    std::string strayCachedFile() const
    {
        std::set<std::string> names = namesIn(cachedDirectoryPath());
        names.erase("list.txt");
        names.erase(".spare");
        for (const std::string& id : ids()) {
            names.erase(id + ".overwrite");
        }
        return names.empty() ? "" : "stray file " + *names.begin();
    }
};

} // namespace daemon_case
