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

/// Functions without state that the library, the daemon and other programs of the
/// device share: configuration syntax, files and ownership, users and groups, dates.
///
///     using ostrel::Tools;
///     if (!Tools::changeGroup(path, "operators")) ... // the group does not exist
///
/// Threads: any thread may call any function at any time; callers must serialise
/// calls that change the same file. Blocking: files and the user database are read
/// and written; no function waits for another process. Ownership: results belong to
/// the caller. Errors: as each function says; any may throw std::bad_alloc.
class OSTREL_API Tools
{
public:
    // ---------------------------------------------------------------------------
    // Configuration syntax. A line is a key, one space, and the value. Blanks are
    // the space, the tab and the line feed. No function reports a syntax error: a
    // line that does not match is skipped. docs/FILES.md has the grammar.

    /// A copy of `text` without its leading blanks.
    static std::string removeSpaceAtBeginning(const std::string& text);

    /// A copy of `text` without its trailing blanks. The first character always
    /// stays, so three spaces become one space.
    static std::string removeSpaceFromEnding(const std::string& text);

    /// A configuration line without its comment ("#" to the end of the line) and
    /// without the blanks around it. A line that contains a comment keeps its
    /// leading blanks.
    static std::string cleanConfigLine(const std::string& line);

    /// Splits a line at its first space: the key unchanged, the value without its
    /// leading blanks. A line without a space is the key and, without its leading
    /// blanks, also the value.
    static std::pair<std::string, std::string> getKeyAndValue(const std::string& line);

    /// Reads a configuration file to the end of `in`, or to an error of the stream.
    /// Cleans each line (cleanConfigLine()), skips lines without a space, and uses
    /// the first line of a key.
    static std::map<std::string, std::string> getConfigMap(std::istream& in);

    /// getConfigMap() for text held in memory.
    static std::map<std::string, std::string> getMapFromStringStream(std::stringstream& in);

    /// As getConfigMap(), but without cleaning: "#" starts no comment, and only the
    /// blanks before a value are removed.
    static std::map<std::string, std::string> getMapKeyValue(std::istream& in);

    // ---------------------------------------------------------------------------
    // Files and ownership. A function that throws, throws std::runtime_error. Symbolic
    // links are followed, except by the functions that remove files.

    /// Mode and owners of a file.
    struct Rights {
        std::uint32_t mode; ///< The mode of stat(), including the file-type bits.
        std::uint32_t uid;  ///< The owner.
        std::uint32_t gid;  ///< The group.
    };

    /// Whether stat() finds `path`. Any kind of file counts.
    static bool fileExist(const std::string& path);

    /// Creates one directory. A new directory gets `mode` without the bits of the
    /// umask; an existing one gets exactly `mode`. Throws when the mode of an
    /// existing directory cannot be changed. Does not throw when a new one cannot be
    /// created; only the debug trace reports that.
    static void createDirectory(const std::string& path, mode_t mode);

    /// Sets the permission, set-id and sticky bits. Returns 0. Throws when the mode
    /// cannot be changed.
    static int changeMode(const std::string& path, mode_t mode);

    /// Sets the owner. Returns true. Throws when the owner cannot be changed.
    static bool changeUser(const std::string& path, uid_t uid);

    /// As changeUser() by id. Returns false when the user does not exist.
    static bool changeUser(const std::string& path, const std::string& userName);

    /// Sets the group. Returns true. Throws when the group cannot be changed.
    static bool changeGroup(const std::string& path, gid_t gid);

    /// As changeGroup() by id. Returns false when the group does not exist.
    static bool changeGroup(const std::string& path, const std::string& groupName);

    /// Mode and owners of `path`. Throws when stat() fails.
    static Rights getRights(const std::string& path);

    /// Removes a file or an empty directory. Returns 0, or -1 when it does not exist
    /// or cannot be removed; the debug trace reports the reason.
    static int removeFile(const std::string& path);

    /// Removes a directory with everything in it. Removes symbolic links and not
    /// their targets. Stops at the first failure and returns a result other than 0;
    /// otherwise returns 0. Prints the file that could not be removed to the
    /// standard error stream, also when gDebug is clear.
    static int removeFiles(const std::string& path);

    /// The callback of removeFiles() for each file, with the signature of nftw().
    static int removeOnFile(const char* path, const struct ::stat* status, int typeFlag,
                            struct ::FTW* walk);

    /// Whether the first PEM certificates of two files are the same. They are
    /// compared as text, line by line, so other line lengths or line ends make them
    /// differ. False when a file has no BEGIN line or cannot be read. True when one
    /// file ends before its END line and all lines up to there are equal.
    static bool isTheSameCertificate(const std::string& pathA, const std::string& pathB);

    /// A name of `length` random letters and digits from /dev/urandom. It is shorter
    /// when the device fails, and only the debug trace reports that.
    static std::string getRandomName(unsigned int length);

    // ---------------------------------------------------------------------------
    // Users and groups, from the system's databases. A name that does not exist is
    // never an error.

    /// The name of the effective user; empty when the user id has no entry.
    static std::string getUserName();

    /// The effective user id.
    static uid_t getUid();

    /// The process id.
    static pid_t getPid();

    /// Whether the user exists.
    static bool isUserExist(const std::string& userName);

    /// Whether the group exists.
    static bool isGroupExist(const std::string& groupName);

    /// The id of the group; 0 when it does not exist. Call isGroupExist() to
    /// distinguish that from the group with the id 0.
    static gid_t getGroupId(const std::string& groupName);

    /// Whether the user exists and the group's member list contains it. The user's
    /// primary group counts only if its list contains the user.
    static bool isUserMemberOfGroup(const std::string& userName, const std::string& groupName);

    /// The ids of the groups whose line in /etc/group contains `userName` anywhere
    /// except at its start, in the order of the file. The name may be a part of a
    /// longer name.
    static std::vector<std::uint32_t> getGroups(const std::string& userName);

    // ---------------------------------------------------------------------------
    // Dates: the proleptic Gregorian calendar in UTC. The time zone of the process
    // does not matter. No function throws.

    /// Whether `year` is a leap year.
    static bool is_leap(int year);

    /// Days from the start of year 1 to the start of `year`.
    static int days_from_0(int year);

    /// Days from 1970-01-01 to the start of `year`; negative before 1970.
    static int days_from_1970(int year);

    /// Days from 1 January of `year` to the date. `month` must be 1 to 12, and `day`
    /// counts from 1.
    static int days_from_1jan(int year, int month, int day);

    /// Seconds from 1970-01-01 00:00:00 UTC to a UTC time in fields. A month outside
    /// 0 to 11 counts into other years. Days, hours, minutes and seconds outside
    /// their range are added as they are. The other fields are ignored.
    static std::int64_t getInternalTimeGmt(const std::tm* time);

    /// Seconds from now to `timestamp`, which is in seconds since 1970 UTC; negative
    /// when it has passed.
    static int getSecondBeforeReachTimestamp(int timestamp);
};

} // namespace ostrel
