#include "platform/AtomicFileUpdate.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace platform {

namespace {

// A symbolic link stays a link: the file it names is the one replaced.
std::string ResolveTarget(const std::string& path)
{
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
        return path;
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

bool SameFile(int fd, const std::string& path)
{
    struct stat opened {};
    struct stat named {};
    return fstat(fd, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

bool LockExclusive(int fd)
{
    int result;
    do
        result = flock(fd, LOCK_EX);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

bool WriteAll(int fd, const std::string& text)
{
    const char* data = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t n = write(fd, data, left);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        left -= static_cast<size_t>(n);
    }
    return true;
}

// One name per target, used only by the lock holder: a writer killed between creating it and
// the rename leaves at most this one file, which the next writer replaces. Names of its own per
// writer would pile up, one near-copy of the settings per crash.
std::string TemporaryName(const std::string& target)
{
    const auto slash = target.find_last_of('/');
    const std::string folder = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
    return folder + "." + name + ".new";
}

int CreateTemporary(const std::string& path)
{
    // The leftover of a killed writer goes first; O_EXCL then never follows a planted link.
    if (unlink(path.c_str()) != 0 && errno != ENOENT)
        return -1;
    int fd;
    do
        fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    while (fd < 0 && errno == EINTR);
    return fd;
}

}  // namespace

AtomicFileUpdate::AtomicFileUpdate(const std::string& path) : m_path(ResolveTarget(path))
{
    if (!Lock() || !ReadContent())
        Release();
}

AtomicFileUpdate::~AtomicFileUpdate()
{
    Release();
}

bool AtomicFileUpdate::Lock()
{
    // A writer that renamed its file over ours leaves us locking a dead inode: try again.
    for (;;) {
        m_created = false;
        m_fd = open(m_path.c_str(), O_RDWR | O_CLOEXEC);
        if (m_fd < 0 && errno == ENOENT) {
            m_fd = open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            m_created = m_fd >= 0;
            if (m_fd < 0 && errno == EEXIST)
                continue;
        }
        if (m_fd < 0)
            return false;
        struct stat info {};
        if (fstat(m_fd, &info) != 0 || !S_ISREG(info.st_mode) || !LockExclusive(m_fd))
            return false;
        if (SameFile(m_fd, m_path))
            return true;
        close(m_fd);
        m_fd = -1;
    }
}

bool AtomicFileUpdate::ReadContent()
{
    m_content.clear();
    char buffer[65536];
    off_t offset = 0;
    for (;;) {
        const ssize_t n = pread(m_fd, buffer, sizeof buffer, offset);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0)
            return true;
        m_content.append(buffer, static_cast<size_t>(n));
        offset += n;
    }
}

bool AtomicFileUpdate::Commit(const std::string& text)
{
    if (!IsLocked())
        return false;
    const std::string temporary = TemporaryName(m_path);
    const int fd = CreateTemporary(temporary);
    if (fd < 0)
        return false;
    struct stat info {};
    // No fsync: the rename alone keeps a crashed process from leaving half a file, and a
    // settings write per key must stay cheap.
    bool ok = fstat(m_fd, &info) == 0 && fchmod(fd, info.st_mode & 07777) == 0 && WriteAll(fd, text);
    ok = close(fd) == 0 && ok;
    if (ok)
        ok = rename(temporary.c_str(), m_path.c_str()) == 0;
    if (!ok)
        unlink(temporary.c_str());
    m_committed = ok;
    return ok;
}

void AtomicFileUpdate::Release()
{
    if (m_fd < 0)
        return;
    // An empty file we made only to lock must not outlive an update that wrote nothing.
    if (m_created && !m_committed)
        unlink(m_path.c_str());
    close(m_fd);
    m_fd = -1;
}

}  // namespace platform
