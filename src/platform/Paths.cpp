#include "platform/Paths.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <vector>

// Set by the build from its install folders, so that the program and its package agree.
#ifndef QUILLON_INSTALLED_ROOT_FILE
#define QUILLON_INSTALLED_ROOT_FILE "../share/quillon/pdu_api_root.xml"
#endif

namespace platform {

namespace {

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? std::string(value) : std::string();
}

std::string HomeDirectory()
{
    std::string home = Environment("HOME");
    if (!home.empty())
        return home;
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* result = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &result) == 0 && result &&
        result->pw_dir)
        return result->pw_dir;
    return {};
}

bool IsDirectory(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// mkdir -p; true when the folder exists afterwards.
bool CreateDirectories(const std::string& path)
{
    if (path.empty() || IsDirectory(path))
        return !path.empty();
    const auto slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !CreateDirectories(path.substr(0, slash)))
        return false;
    return mkdir(path.c_str(), 0777) == 0 || errno == EEXIST ? IsDirectory(path) : false;
}

}  // namespace

std::string ExecutableDirectory()
{
    std::vector<char> buffer(4096);
    for (;;) {
        const ssize_t n = readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (n < 0)
            return {};
        if (static_cast<size_t>(n) < buffer.size()) {
            const std::string path(buffer.data(), static_cast<size_t>(n));
            const auto slash = path.find_last_of('/');
            if (slash == std::string::npos)
                return {};
            return slash == 0 ? std::string("/") : path.substr(0, slash);
        }
        buffer.resize(buffer.size() * 2);
    }
}

std::string CommonAppDataDirectory()
{
    std::string base = Environment("XDG_CONFIG_HOME");
    // Relative values are to be ignored, as for any XDG variable.
    if (base.empty() || base[0] != '/') {
        const std::string home = HomeDirectory();
        if (home.empty())
            return {};
        base = home + "/.config";
    }
    const std::string path = base + "/Morvane/D-PDU API";
    CreateDirectories(path);
    return path;
}

bool FileExists(const std::string& path)
{
    struct stat info {};
    return !path.empty() && stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool CanOpenForReading(const std::string& path)
{
    if (path.empty())
        return false;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat info {};
    const bool ok = fstat(fd, &info) == 0 && !S_ISDIR(info.st_mode);
    close(fd);
    return ok;
}

std::string SystemRootFilePath()
{
    const std::string overridden = Environment("D_PDU_API_ROOT_FILE");
    if (!overridden.empty())
        return overridden;
    const std::string standardPlace = "/etc/pdu_api_root.xml";
    return FileExists(standardPlace) ? standardPlace : std::string();
}

std::string InstalledRootFilePath(const std::string& executableDirectory)
{
    if (executableDirectory.empty())
        return {};
    const std::string path =
        (std::filesystem::path(executableDirectory) / QUILLON_INSTALLED_ROOT_FILE).lexically_normal().string();
    return FileExists(path) ? path : std::string();
}

std::string ToLower(const std::string& s)
{
    std::string lower = s;
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

}  // namespace platform
