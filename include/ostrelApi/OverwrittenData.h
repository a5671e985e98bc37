#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <map>
#include <string>

namespace ostrelApi
{

/// The overrides of one certificate: keys and values that applications keep with
/// it, in its ".overwrite" file. A value: copies are independent. OstrelService
/// returns one for a certificate.
///
///     ostrelApi::OverwrittenData data = service.getCAOverwrittenData(id);
///     data.setData("alias", "Lobby");
///     data.write();
///
/// Threads: only one thread at a time may use an object. If two processes write
/// one file, the last one wins. Blocking: reads or writes one small file, waits for
/// nothing else, and does not call the daemon. Errors: CallError with ActionFailed
/// (1), whose getReason() says why, or std::bad_alloc. An absent file is no error.
///
/// Changes are pending, in memory only, until write(). The object reads the file
/// again when the file's modification time is later than the last look at it. The
/// comparison is in whole seconds, so a change within the same second is not seen.
/// For the same reason the object usually does not see its own changes right after
/// write(): getData() and getMap() return the former values.
///
/// Each line of the file is a key, one space and the value (docs/FILES.md shows the
/// bytes). write() puts the keys of the file first and the new keys after them,
/// both in ascending order.
///
/// A subclass can replace any step, because the operations call each other through
/// their virtual functions.
class OSTREL_API OverwrittenData
{
public:
    /// The overrides in the file `path`. Does not read it yet.
    OverwrittenData(const std::string& path);

    /// Sets a pending value. An empty value removes the key. Reads no file. Throws
    /// ActionFailed (1) when the key is empty or contains a character other than
    /// an ASCII letter, a digit, "-" or "_", and when the value is exactly one line
    /// feed, carriage return or tab. A longer value may contain a line feed; it
    /// becomes two lines.
    virtual void setData(const std::string& key, const std::string& value);

    /// The pending value of `key`, otherwise the file's value, otherwise an empty
    /// string. Throws as update().
    virtual std::string getData(const std::string& key);

    /// As getData(). The result is a copy: assigning to it changes nothing.
    virtual std::string operator[](const std::string& key);

    /// The file's values with the pending changes applied. Throws as update().
    virtual std::map<std::string, std::string> getMap();

    /// Whether update() would read nothing: the file does not exist, or it did not
    /// change since the last update(). Throws nothing.
    virtual bool isUpToDate();

    /// Writes the pending changes into the file, and creates an absent file. Does
    /// not touch the file when nothing is pending. The new text goes over the old
    /// one in place, because applications may not create files beside it. Throws
    /// ActionFailed (1) when the file cannot be written; then the file keeps its
    /// old text and the changes stay pending. Throws as update(), too.
    virtual void write();

    /// Reads the file if it changed. Throws ActionFailed (1) when the file exists
    /// but cannot be read; then the object does not change, and the next call tries
    /// again.
    virtual void update();

    /// Drops every pending change. Throws nothing.
    virtual void discardAll();

    /// Drops the pending change of `key`, if there is one.
    virtual void discard(const std::string& key);

    /// Writes nothing: pending changes are lost.
    virtual ~OverwrittenData();

protected:
    /// The path of the file, as given to the constructor.
    std::string m_filePath;
    /// When update() last looked, in seconds since 1970 UTC; 0 at first. It is not
    /// a time_t, because programs that are built with 64-bit times have another
    /// width of that type.
    std::int64_t m_lastUpdate = 0;
    /// The values as last read.
    std::map<std::string, std::string> m_fileData;
    /// The changes that are not written yet; an empty value removes its key.
    std::map<std::string, std::string> m_pendingData;
};

} // namespace ostrelApi
