#pragma once

// Shared by the tests of the import: a service with a peer at its pipes, and
// the temporary file as the peer finds it.

#include "unit/api/ServiceCase.h"

#include <functional>

#include <sys/stat.h>

namespace service_case
{

/// The file that an import names, as the daemon reads it.
struct SeenFile {
    std::string path;
    std::string text;
    struct stat status = {};
};

class ImportCase : public ExternalStoreCase
{
protected:
    std::string add(const std::string& certificate) { return store.add(web, certificate); }
    std::string addFile(const std::string& path) { return store.addFile(web, path); }

    std::string thrownByAdd(const std::string& certificate)
    {
        return support::thrownBy([&] { add(certificate); });
    }

    /// Makes the peer record the file that the next message names, and reply.
    void lookAndAnswer(const std::string& reply)
    {
        actAndAnswer(reply, [this] {
            seen.text = support::readText(seen.path);
            ::stat(seen.path.c_str(), &seen.status);
        });
    }

    /// Makes the peer remove the file that the next message names, and reply.
    void removeAndAnswer(const std::string& reply)
    {
        actAndAnswer(reply, [this] { std::filesystem::remove(seen.path); });
    }

    std::string addMessage(const std::string& path) const
    {
        return messageStart() + store.word + "\tadd\t" + path;
    }

    /// Expects only the daemon's own files in the pipe directory.
    void expectNoFileLeft() const
    {
        EXPECT_EQ(pipeFiles(), (std::set<std::string>{"web.in", "web.lock"}));
    }

    SeenFile seen;
    // Last, because its thread may use all the other members.
    support::ScriptedPeer peer{device, "web"};

private:
    void actAndAnswer(const std::string& reply, const std::function<void()>& act)
    {
        peer.play([this, reply, act](support::ScriptedPeer::Call& caller) {
            caller.takeMessage();
            const std::string message = peer.lastMessage();
            seen.path = message.substr(message.rfind('\t') + 1);
            act();
            caller.openReply();
            caller.send(reply);
        });
    }
};

} // namespace service_case
