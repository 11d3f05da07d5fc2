#pragma once

#include <string>

namespace platform {

using LibraryHandle = void*;

struct LoadError {
    int code = 0;      // errno-style
    std::string text;  // the loader's own message
};

// dlopen(RTLD_NOW | RTLD_LOCAL). error may be null.
LibraryHandle LoadLibraryPlain(const std::string& path, LoadError* error);
// Loads first the dependencies that lie in the library's own folder, then the library itself,
// so a vendor library finds its companions without any search path set up.
LibraryHandle LoadLibraryAlteredSearchPath(const std::string& path, LoadError* error);
// nullptr when the library or the export is missing.
void* GetProcAddress(LibraryHandle library, const char* name);
void FreeLibrary(LibraryHandle library);

}  // namespace platform
