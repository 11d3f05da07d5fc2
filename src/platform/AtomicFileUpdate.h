#pragma once

#include <string>

namespace platform {

// Read-modify-write of one file that no other writer (thread or process) can interleave with,
// and that a crash can never leave half written: an exclusive flock on the file is held from
// the read to the rename of a complete temporary file in the same folder over it.
class AtomicFileUpdate {
public:
    explicit AtomicFileUpdate(const std::string& path);  // blocks until the lock is held
    ~AtomicFileUpdate();
    AtomicFileUpdate(const AtomicFileUpdate&) = delete;
    AtomicFileUpdate& operator=(const AtomicFileUpdate&) = delete;

    bool IsLocked() const { return m_fd >= 0; }
    bool Created() const { return m_created; }     // the file did not exist before
    const std::string& Content() const { return m_content; }
    bool Commit(const std::string& text);

private:
    bool Lock();
    bool ReadContent();
    void Release();

    std::string m_path;
    int m_fd = -1;
    bool m_created = false;
    bool m_committed = false;
    std::string m_content;
};

}  // namespace platform
