#include "platform/DynamicLibrary.h"

#include <dlfcn.h>

#include <cerrno>
#include <set>
#include <vector>

#include "platform/ElfNeeded.h"
#include "platform/Paths.h"

namespace platform {

namespace {

constexpr int kMaxDependencyDepth = 16;

// dlopen does not promise errno; fall back on what the file system says about the path.
int LoaderErrorCode(const std::string& path, int savedErrno)
{
    if (savedErrno != 0)
        return savedErrno;
    if (path.find('/') != std::string::npos && !CanOpenForReading(path))
        return errno != 0 ? errno : ENOENT;
    return ENOEXEC;
}

LibraryHandle Open(const std::string& path, LoadError* error)
{
    // dlopen("") would hand back the program itself.
    if (path.empty()) {
        if (error)
            *error = {EINVAL, "empty library path"};
        return nullptr;
    }
    dlerror();
    errno = 0;
    LibraryHandle handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const int savedErrno = errno;
    if (handle) {
        if (error)
            *error = {};
        return handle;
    }
    if (error) {
        const char* text = dlerror();
        error->text = text ? text : "";
        error->code = LoaderErrorCode(path, savedErrno);
    }
    return nullptr;
}

std::string Folder(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? std::string("/") : path.substr(0, slash);
}

// Opens, depth first, every dependency of `path` that lies in `folder`; the handles keep them
// loaded until the library itself holds them.
void PreloadCompanions(const std::string& path, const std::string& folder, int depth,
                       std::set<std::string>& visited, std::vector<LibraryHandle>& handles)
{
    if (depth > kMaxDependencyDepth)
        return;
    for (const std::string& name : ElfNeeded(path)) {
        if (name.find('/') != std::string::npos || !visited.insert(name).second)
            continue;
        const std::string candidate = folder + "/" + name;
        if (!FileExists(candidate))
            continue;
        PreloadCompanions(candidate, folder, depth + 1, visited, handles);
        if (LibraryHandle handle = Open(candidate, nullptr))
            handles.push_back(handle);
    }
}

}  // namespace

LibraryHandle LoadLibraryPlain(const std::string& path, LoadError* error)
{
    return Open(path, error);
}

LibraryHandle LoadLibraryAlteredSearchPath(const std::string& path, LoadError* error)
{
    std::set<std::string> visited;
    std::vector<LibraryHandle> companions;
    PreloadCompanions(path, Folder(path), 0, visited, companions);
    LibraryHandle handle = Open(path, error);
    // The library now references what it needs; our own references go, in reverse order.
    for (auto it = companions.rbegin(); it != companions.rend(); ++it)
        dlclose(*it);
    return handle;
}

void* GetProcAddress(LibraryHandle library, const char* name)
{
    if (!library || !name)
        return nullptr;
    dlerror();
    return dlsym(library, name);
}

void FreeLibrary(LibraryHandle library)
{
    if (library)
        dlclose(library);
}

}  // namespace platform
