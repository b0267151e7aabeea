// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <sys/types.h>

// What one stat call tells of a file, enough to see that it was written or replaced since:
// its identity, size and the times of its last change to nanoseconds. A missing file has a
// stamp of its own.
class FileStamp
{
public:
    static FileStamp of(const QString &path);

    bool operator==(const FileStamp &other) const;
    bool operator!=(const FileStamp &other) const { return !(*this == other); }

private:
    bool m_exists = false;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    off_t m_size = 0;
    timespec m_modified{};
    timespec m_changed{};
};
