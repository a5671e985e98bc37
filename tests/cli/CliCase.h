#pragma once

// What the tests of ostrelctl share: the program as it is built, on the device
// of one test.

#include "integration/DaemonCase.h"
#include "integration/ServerCase.h"
#include "support/StartProgram.h"
#include "support/TestCertificate.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace cli_case
{

using nlohmann::json;
using support::FinishedProgram;
using support::TestCertificate;
using Words = std::vector<std::string>;

/// The program in front of its words.
inline Words commandLine(const Words& words)
{
    Words all = {OSTREL_BUILT_CTL};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

inline FinishedProgram run(const Words& words)
{
    return support::runProgram(commandLine(words));
}

/// The same with what it reads from the standard input.
inline FinishedProgram runWithInput(const Words& words, const std::string& inputPath)
{
    Words all = {"/bin/sh", "-c", "exec \"$0\" \"$@\" <" + inputPath};
    const Words line = commandLine(words);
    all.insert(all.end(), line.begin(), line.end());
    return support::runProgram(all);
}

/// The JSON that the words, and --json, are answered with; fails the test when
/// there is anything else on the standard output.
inline json answerTo(Words words)
{
    words.emplace_back("--json");
    const FinishedProgram finished = run(words);
    const json answer = json::parse(finished.output, nullptr, false);
    EXPECT_FALSE(answer.is_discarded()) << finished.output << finished.errors;
    return answer;
}

/// A device with the services "web" (CAs, trusted clients and a certificate of
/// its own) and "vpn" (CAs), and no daemon yet.
class WithDevice : public server_case::WithServer
{
protected:
    WithDevice() { configure("ca yes\ntrustedClients yes\n"); }

    /// A PEM file of these certificates.
    std::string file(const std::string& name, const std::vector<std::string>& pems) const
    {
        std::string text;
        for (const std::string& pem : pems) {
            text += pem;
        }
        support::writeText(files / name, text);
        return files / name;
    }

    /// Everything in the pipe directory of "web" that is not the daemon's own.
    std::set<std::string> leftovers() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(pipeDirectory("web"))) {
            names.insert(entry.path().filename());
        }
        for (const char* own : {"web.in", "web.lock", "ca", "client", "server"}) {
            names.erase(own);
        }
        return names;
    }

    const support::TemporaryDirectory files;
};

/// The same with the daemon.
class WithDaemon : public WithDevice
{
protected:
    WithDaemon() { daemon.start(); }

    std::string addCA(const std::string& commonName)
    {
        TestCertificate certificate;
        certificate.commonName = commonName;
        return service.addCA(certificate.pem());
    }

    ostrelApi::OstrelService service{"web"};
};

} // namespace cli_case
