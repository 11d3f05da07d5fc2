// The parsers read files by path: each input goes to a file of this process's own.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

inline const std::string& FuzzFilePath(const char* suffix)
{
    static const std::string path = "/tmp/quillon-fuzz-" + std::to_string(getpid()) + suffix;
    return path;
}

inline bool WriteFuzzFile(const std::string& path, const uint8_t* data, size_t size)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool ok = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && ok;
}
