#pragma once

#include <QFile>
#include <QString>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

// What the file system says about one name, without opening it: whether something is there,
// what it is, which file it is and which version of it. Inline, because the scan asks this once
// for every entry of every folder.
struct FileIdentity
{
    enum class Type : quint8 {
        missing, // nothing there, or it could not be looked at
        regular,
        directory,
        link,
        other, // pipes, sockets, devices
    };

    // Whether a final symbolic link is looked through or described itself.
    enum class Links : quint8 { follow, describe };

    Type type = Type::missing;
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modifiedNs = 0;
    qint64 changedNs = 0; // the change time, which copying times cannot set back
    qint64 birthNs = 0; // when the file was made; only `ofEntryWithBirth` asks, 0 when unknown

    bool exists() const
    {
        return type != Type::missing;
    }
    bool isDir() const
    {
        return type == Type::directory;
    }
    bool isRegular() const
    {
        return type == Type::regular;
    }
    bool isLink() const
    {
        return type == Type::link;
    }
    // Whole milliseconds and seconds, rounded down also before 1970, as the clock has them.
    qint64 modifiedMs() const
    {
        return floorDiv(modifiedNs, 1'000'000);
    }
    qint64 modifiedSeconds() const
    {
        return floorDiv(modifiedNs, 1'000'000'000);
    }

    // The file at `path`, or what a final link points to.
    static FileIdentity of(const QString& path)
    {
        return at(AT_FDCWD, QFile::encodeName(path).constData(), Links::follow);
    }
    // The entry at `path` itself: a link is reported as a link, also when it leads nowhere.
    static FileIdentity ofEntry(const QString& path)
    {
        return at(AT_FDCWD, QFile::encodeName(path).constData(), Links::describe);
    }
    // As `ofEntry`, with the birth time where the file system keeps one: together with device
    // and inode it tells a file apart from a later one that reuses a freed inode number.
    static FileIdentity ofEntryWithBirth(const QString& path)
    {
        struct statx info
        { };
        if (::statx(AT_FDCWD,
                    QFile::encodeName(path).constData(),
                    AT_SYMLINK_NOFOLLOW,
                    STATX_BASIC_STATS | STATX_BTIME,
                    &info)
            != 0)
            return {};
        const auto time = [](const statx_timestamp& t) { return qint64(t.tv_sec) * 1'000'000'000 + t.tv_nsec; };
        return {typeOf(info.stx_mode),
                quint64(makedev(info.stx_dev_major, info.stx_dev_minor)),
                quint64(info.stx_ino),
                qint64(info.stx_size),
                time(info.stx_mtime),
                time(info.stx_ctime),
                (info.stx_mask & STATX_BTIME) ? time(info.stx_btime) : 0};
    }
    // Whether `other` is the very same file: device and inode, and birth time where both know it.
    bool sameFileAs(const FileIdentity& other) const
    {
        return exists() && other.exists() && device == other.device && inode == other.inode
            && (birthNs == 0 || other.birthNs == 0 || birthNs == other.birthNs);
    }
    // `name` (which may hold slashes) inside the open folder `folderFd`.
    static FileIdentity at(int folderFd, const char* name, Links links)
    {
        struct stat info
        { };
        if (::fstatat(folderFd, name, &info, links == Links::follow ? 0 : AT_SYMLINK_NOFOLLOW) != 0)
            return {};
        return fromStat(info);
    }

private:
    static FileIdentity fromStat(const struct stat& info)
    {
        return {typeOf(info.st_mode),
                quint64(info.st_dev),
                quint64(info.st_ino),
                qint64(info.st_size),
                nanoseconds(info.st_mtim),
                nanoseconds(info.st_ctim),
                0};
    }
    static Type typeOf(mode_t mode)
    {
        if (S_ISREG(mode))
            return Type::regular;
        if (S_ISDIR(mode))
            return Type::directory;
        return S_ISLNK(mode) ? Type::link : Type::other;
    }
    static qint64 nanoseconds(const timespec& time)
    {
        return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    }
    static qint64 floorDiv(qint64 value, qint64 divisor)
    {
        const qint64 quotient = value / divisor;
        return quotient * divisor > value ? quotient - 1 : quotient;
    }
};
