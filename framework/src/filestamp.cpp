// SPDX-License-Identifier: Apache-2.0
#include "filestamp.h"

#include <QFile>

#include <sys/stat.h>

namespace {

bool sameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

FileStamp FileStamp::of(const QString &path)
{
    FileStamp stamp;
    struct stat status;
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return stamp;
    stamp.m_exists = true;
    stamp.m_device = status.st_dev;
    stamp.m_inode = status.st_ino;
    stamp.m_size = status.st_size;
    stamp.m_modified = status.st_mtim;
    stamp.m_changed = status.st_ctim;
    return stamp;
}

bool FileStamp::operator==(const FileStamp &other) const
{
    if (m_exists != other.m_exists)
        return false;
    return !m_exists ||
           (m_device == other.m_device && m_inode == other.m_inode && m_size == other.m_size &&
            sameTime(m_modified, other.m_modified) && sameTime(m_changed, other.m_changed));
}
