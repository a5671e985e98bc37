#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

struct stat;
struct FTW;

namespace ostrel
{

/// Stateless tools that the library, the daemon and other programs of the
/// device share: configuration syntax, files and ownership, users and groups,
/// dates.
///
/// Threads: every function may be called from any thread at any time; two
/// calls that work on the same file are for the callers to serialise.
/// Blocking: none waits for another process. Errors: as each one says; any of
/// them may throw std::bad_alloc.
class OSTREL_API Tools
{
public:
    // ---------------------------------------------------------------------------
    // Configuration syntax. One line is a key, one space, and the value. Blanks,
    // for all trimming, are the space, the tab and the line feed, nothing else.
    // No function reports a syntax error: a line that does not fit is skipped.

    /// A copy without the leading blanks.
    static std::string removeSpaceAtBeginning(const std::string& text);

    /// A copy without the trailing blanks. The first character is never removed,
    /// so three spaces become one space.
    static std::string removeSpaceFromEnding(const std::string& text);

    /// One configuration line without comment ("#" to the end of the line) and
    /// without surrounding blanks; a line that carries a comment keeps its leading
    /// blanks.
    static std::string cleanConfigLine(const std::string& line);

    /// Splits at the first space: the key as it stands, the value without leading
    /// blanks. A line without a space is its own key and, left-trimmed, its value.
    static std::pair<std::string, std::string> getKeyAndValue(const std::string& line);

    /// Reads a configuration file: cleaned lines, the first occurrence of a key
    /// wins, lines without a space are skipped. `in` is read to its end; a stream
    /// that fails ends the reading.
    static std::map<std::string, std::string> getConfigMap(std::istream& in);

    /// getConfigMap() for text held in memory.
    static std::map<std::string, std::string> getMapFromStringStream(std::stringstream& in);

    /// Reads raw lines: no comments, nothing trimmed but the value's leading
    /// blanks; otherwise as getConfigMap().
    static std::map<std::string, std::string> getMapKeyValue(std::istream& in);

    // ---------------------------------------------------------------------------
    // Files and ownership. Where a function throws, it throws std::runtime_error.

    /// What a file lets whom do.
    struct Rights {
        std::uint32_t mode; ///< Its mode word as stat() gives it, file-type bits included.
        std::uint32_t uid;  ///< Its owner.
        std::uint32_t gid;  ///< Its group.
    };

    /// Whether stat() finds `path`, whatever kind of file it is.
    static bool fileExist(const std::string& path);

    /// Makes one directory. An existing one gets exactly `mode`; a new one gets
    /// `mode` narrowed by the umask. A directory that cannot be made is told by
    /// the debug trace alone. Throws when the mode cannot be changed.
    static void createDirectory(const std::string& path, mode_t mode);

    /// Sets the permission, set-id and sticky bits. Returns 0; throws on failure.
    static int changeMode(const std::string& path, mode_t mode);

    /// Sets the owner, following symbolic links. Returns true; throws on failure.
    static bool changeUser(const std::string& path, uid_t uid);

    /// The same by name. Returns false when the user is unknown.
    static bool changeUser(const std::string& path, const std::string& userName);

    /// Sets the group, following symbolic links. Returns true; throws on failure.
    static bool changeGroup(const std::string& path, gid_t gid);

    /// The same by name. Returns false when the group is unknown.
    static bool changeGroup(const std::string& path, const std::string& groupName);

    /// Mode and owners of `path`. Throws when it cannot be examined.
    static Rights getRights(const std::string& path);

    /// Removes a file or an empty directory. Returns 0, or -1 with the reason in
    /// the debug trace.
    static int removeFile(const std::string& path);

    /// Removes a tree, children first, symbolic links themselves and not what they
    /// name. Returns 0, or the result that stopped the walk; the file that could
    /// not be removed is named on the standard error stream, whatever gDebug says.
    static int removeFiles(const std::string& path);

    /// What removeFiles() does with each file; the signature is nftw()'s.
    static int removeOnFile(const char* path, const struct ::stat* status, int typeFlag,
                            struct ::FTW* walk);

    /// Whether the first PEM certificates of two files are the same, compared line
    /// by line as text: other line lengths or line ends make them differ. A file
    /// that ends before its END line, after equal lines, counts as the same; one
    /// without a BEGIN line, or that cannot be read, is the same as none.
    static bool isTheSameCertificate(const std::string& pathA, const std::string& pathB);

    /// `length` random letters and digits from /dev/urandom; fewer when the device
    /// fails, which the debug trace tells.
    static std::string getRandomName(unsigned int length);

    // ---------------------------------------------------------------------------
    // Users and groups. Unknown names are never errors.

    /// Name of the effective user; empty when the id has no entry.
    static std::string getUserName();

    /// The effective user id.
    static uid_t getUid();

    /// The process id.
    static pid_t getPid();

    /// Whether the user database knows `userName`.
    static bool isUserExist(const std::string& userName);

    /// Whether the group database knows `groupName`.
    static bool isGroupExist(const std::string& groupName);

    /// Id of the group; 0 when it does not exist, so ask isGroupExist() first
    /// where that matters.
    static gid_t getGroupId(const std::string& groupName);

    /// Whether the group's member list names the user. A user's primary group does
    /// not count unless it lists the user.
    static bool isUserMemberOfGroup(const std::string& userName, const std::string& groupName);

    /// Ids of the groups whose line in /etc/group contains `userName` anywhere but
    /// at its start, in file order. The name may be part of a longer one.
    static std::vector<std::uint32_t> getGroups(const std::string& userName);

    // ---------------------------------------------------------------------------
    // Dates: the proleptic Gregorian calendar in UTC, without the process's time
    // zone.

    /// Whether `year` is a leap year.
    static bool is_leap(int year);

    /// Days from the start of year 1 to the start of `year`.
    static int days_from_0(int year);

    /// Days from 1970-01-01 to the start of `year`; negative before 1970.
    static int days_from_1970(int year);

    /// Days from 1 January of `year` to the date. `month` is 1 to 12.
    static int days_from_1jan(int year, int month, int day);

    /// Seconds from 1970-01-01 00:00:00 UTC to a broken-down UTC time. The month
    /// may be any number; days, hours, minutes and seconds beyond their range add
    /// up linearly; the other fields are ignored.
    static std::int64_t getInternalTimeGmt(const std::tm* time);

    /// Seconds from now to `timestamp` (seconds since 1970 UTC); negative when it
    /// has passed.
    static int getSecondBeforeReachTimestamp(int timestamp);
};

} // namespace ostrel
