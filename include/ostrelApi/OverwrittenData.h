#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <map>
#include <string>

namespace ostrelApi
{

/// The overrides of one certificate: keys and values that applications keep
/// with it, in its ".overwrite" file. A value; OstrelService hands it out.
///
/// Changes are pending, in memory alone, until write(). The file is read anew
/// when its modification time is later than the last look at it, in whole
/// seconds: a change in the same second is not seen, and neither are one's own
/// changes right after write(). A missing file is no error.
///
/// Each line of the file is a key, one space and the value; docs/FILES.md shows
/// the bytes. write() puts the keys that the file has first and the new ones
/// behind them, each by ascending key.
///
/// A subclass can replace any step: the operations call each other virtually.
///
/// Threads: one object is for one thread at a time; of two writers of one file
/// the last one wins. Errors: OstrelApiException of return code 1. Blocking: on
/// reading or writing one small file.
///
///     ostrelApi::OverwrittenData data = service.getCAOverwrittenData(id);
///     data.setData("alias", "Lobby");
///     data.write();
class OSTREL_API OverwrittenData
{
public:
    /// Nothing is read yet.
    OverwrittenData(const std::string& path);

    /// Sets a pending value; an empty one removes the key. Throws when the key
    /// is not of letters, digits, "-" and "_" alone, or empty, and when the
    /// value is one single line feed, carriage return or tab. A value with a
    /// line feed among other characters is taken, and becomes two lines.
    virtual void setData(const std::string& key, const std::string& value);

    /// The pending value, else the file's, else an empty text. Throws as
    /// update() does.
    virtual std::string getData(const std::string& key);

    /// getData(); a copy, not to be assigned to.
    virtual std::string operator[](const std::string& key);

    /// The file's values with the pending changes made. Throws as update()
    /// does.
    virtual std::map<std::string, std::string> getMap();

    /// Whether there is no file, or none that changed since update().
    virtual bool isUpToDate();

    /// Writes the file anew if anything is pending, which then is pending no
    /// more. Throws when the file cannot be written; the changes stay pending.
    virtual void write();

    /// Reads the file if it changed. Throws when it is there but cannot be
    /// opened; nothing changes then.
    virtual void update();

    /// Drops every pending change.
    virtual void discardAll();

    /// Drops the pending change of `key`.
    virtual void discard(const std::string& key);

    /// Pending changes are lost.
    virtual ~OverwrittenData();

protected:
    /// The file, as given to the constructor.
    std::string m_filePath;
    /// When update() last looked, in seconds since 1970; 0 at first. No time_t,
    /// whose width is another one in programs that are built with 64-bit times.
    std::int64_t m_lastUpdate = 0;
    /// The values as last read.
    std::map<std::string, std::string> m_fileData;
    /// The changes not yet written; an empty value removes its key.
    std::map<std::string, std::string> m_pendingData;
};

} // namespace ostrelApi
