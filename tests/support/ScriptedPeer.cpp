#include "support/ScriptedPeer.h"

#include "support/Device.h"
#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <system_error>

#include <sys/inotify.h>
#include <sys/stat.h>

namespace support
{

using ostrel::Descriptor;

namespace
{

/// Thrown through an act that waits when the peer ends.
struct Stopped {
};

Descriptor checked(Descriptor file, const std::string& what)
{
    if (!file.isOpen()) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return file;
}

/// A path for an open file that stays valid when its name is removed.
std::string lastingNameOf(int fd)
{
    return "/proc/self/fd/" + std::to_string(fd);
}

/// Starts a thread that receives none of the process's signals.
template <class Work>
std::thread startUndisturbed(Work work)
{
    sigset_t all;
    sigset_t former;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &former);
    std::thread thread(work);
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return thread;
}

/// A FIFO that a writer can open but not write to, and a watch that notices its
/// open().
struct FullFifo {
    explicit FullFifo(const std::string& path)
        : fifo(checked(Descriptor::open(path, O_RDWR | O_NONBLOCK), path)),
          watch(checked(Descriptor(::inotify_init1(IN_CLOEXEC)), "inotify"))
    {
        const std::string page(4096, ' ');
        while (::write(fifo.get(), page.data(), page.size()) > 0) {
        }
        // Last, so that the watch does not report the peer's own open().
        ::inotify_add_watch(watch.get(), path.c_str(), IN_OPEN);
    }
    void awaitWriter() const
    {
        inotify_event event;
        while (::read(watch.get(), &event, sizeof event) == -1 && errno == EINTR) {
        }
    }

    Descriptor fifo;
    Descriptor watch;
};

} // namespace

ScriptedPeer::ScriptedPeer(const Device& device, const std::string& service)
    : m_lock(device.pipesDirectory() + '/' + service + '/' + service + ".lock"),
      m_in(device.pipesDirectory() + '/' + service + '/' + service + ".in"),
      m_out(device.pipesDirectory() + '/' + service + '/' + service + ".out")
{
    writeText(m_lock, "");
    if (::mkfifo(m_in.c_str(), 0660) != 0) {
        throw std::system_error(errno, std::generic_category(), m_in);
    }
    m_thread = startUndisturbed([this] { run(); });
}

ScriptedPeer::~ScriptedPeer()
{
    // Open until the thread has ended, because the thread may not have reached
    // its wait yet.
    Descriptor company;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isStopping = true;
        if (m_awaited != -1) {
            company = Descriptor::open(lastingNameOf(m_awaited), O_RDWR);
        }
    }
    m_changed.notify_all();
    m_thread.join();
    std::remove(m_in.c_str());
    std::remove(m_lock.c_str());
}

void ScriptedPeer::answer(const std::string& reply)
{
    play([reply](Call& call) {
        call.takeMessage();
        call.openReply();
        call.send(reply);
    });
}

void ScriptedPeer::answerInPieces(const std::vector<std::string>& pieces)
{
    play([pieces](Call& call) {
        call.takeMessage();
        call.openReply();
        call.sendPieces(pieces);
    });
}

void ScriptedPeer::hangUpAndAnswer(const std::string& reply)
{
    const auto full = std::make_shared<FullFifo>(m_in);
    play([this, full, reply](Call& call) {
        await(full->fifo, [&] { full->awaitWriter(); });
        full->fifo.close();
        call.openReply();
        call.send(reply);
    });
}

void ScriptedPeer::play(Act act)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_acts.push_back(std::move(act));
    m_changed.notify_all();
}

void ScriptedPeer::finish()
{
    std::unique_lock<std::mutex> guard(m_mutex);
    m_changed.wait(guard, [this] { return !m_isActing && m_acts.empty(); });
}

std::vector<std::string> ScriptedPeer::messages() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_messages;
}

std::string ScriptedPeer::lastMessage() const
{
    const std::vector<std::string> all = messages();
    EXPECT_FALSE(all.empty()) << "no call has come";
    return all.empty() ? "" : all.back();
}

void ScriptedPeer::run()
{
    while (const Act act = nextAct()) {
        try {
            Call call(*this);
            act(call);
        } catch (const Stopped&) {
            return;
        } catch (const std::exception& caught) {
            ADD_FAILURE() << "the peer's act: " << caught.what();
        }
    }
}

ScriptedPeer::Act ScriptedPeer::nextAct()
{
    std::unique_lock<std::mutex> guard(m_mutex);
    m_isActing = false;
    m_changed.notify_all();
    m_changed.wait(guard, [this] { return m_isStopping || !m_acts.empty(); });
    if (m_isStopping) {
        return nullptr;
    }
    m_isActing = true;
    Act act = std::move(m_acts.front());
    m_acts.pop_front();
    return act;
}

void ScriptedPeer::record(std::string message)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_messages.push_back(std::move(message));
}

// Waits at a FIFO for its other side. To end the wait, the destructor opens
// that side itself.
template <class Wait>
void ScriptedPeer::await(const Descriptor& fifo, Wait wait)
{
    setAwaited(fifo.get());
    wait();
    setAwaited(-1);
}

void ScriptedPeer::setAwaited(int fifo)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_awaited = m_isStopping ? -1 : fifo;
    if (m_isStopping) {
        throw Stopped();
    }
}

Descriptor ScriptedPeer::openWhenMet(const std::string& path, int flags)
{
    const Descriptor name = checked(Descriptor::open(path, O_PATH), path);
    Descriptor fifo;
    await(name, [&] { fifo = Descriptor::open(lastingNameOf(name.get()), flags); });
    return checked(std::move(fifo), path);
}

void ScriptedPeer::Call::meet()
{
    m_in = m_peer.openWhenMet(m_peer.m_in, O_RDONLY);
}

std::string ScriptedPeer::Call::takeStart(std::size_t length)
{
    std::string start(length, '\0');
    const ssize_t count = ::read(m_in.get(), &start[0], length);
    start.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    m_message += start;
    return start;
}

void ScriptedPeer::Call::takeMessage()
{
    if (!m_in.isOpen()) {
        meet();
    }
    while (!takeStart(4096).empty()) {
    }
    leave();
}

void ScriptedPeer::Call::leave()
{
    m_peer.record(std::move(m_message));
    m_in.close();
}

void ScriptedPeer::Call::openReply()
{
    m_out = m_peer.openWhenMet(m_peer.m_out, O_WRONLY);
}

void ScriptedPeer::Call::send(const std::string& text)
{
    if (!ostrel::writeAll(m_out, text)) {
        throw std::system_error(errno, std::generic_category(), "reply");
    }
}

void ScriptedPeer::Call::sendUntilClosed(const std::string& text)
{
    if (!ostrel::writeAll(m_out, text) && errno != EPIPE) {
        throw std::system_error(errno, std::generic_category(), "reply");
    }
}

void ScriptedPeer::Call::sendPieces(const std::vector<std::string>& pieces)
{
    // A pipe in packet mode returns the bytes of each write() in a separate
    // read().
    if (::fcntl(m_out.get(), F_SETFL, O_DIRECT) != 0) {
        throw std::system_error(errno, std::generic_category(), "packet mode");
    }
    for (const std::string& piece : pieces) {
        send(piece);
    }
}

} // namespace support
