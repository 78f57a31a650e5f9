#pragma once

#include <QByteArray>
#include <QString>

// A small file system of its own, mounted for the life of a test: another device to move
// across, or a disk that can be filled or made read-only. Mounting needs root.
class TmpfsMount
{
public:
    explicit TmpfsMount(const QString& path, bool readOnly = false, const QByteArray& options = "size=16m");
    ~TmpfsMount();
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;

    bool isMounted() const;
    // Writes into the file system until it has no room left.
    void fill() const;

    static bool allowed(); // whether this process may mount at all

private:
    QByteArray m_path;
    bool m_mounted = false;
};
