// Writes a monitor window's trace in the formats CAN tools read: the compact log of candump
// ("(sec.usec) can0 123#11223344 R", CAN FD as "##" with its flags nibble) and Vector's ASC.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "monitor_link/TraceStore.h"

class TraceWriter {
public:
    enum class Format { Candump, Asc };

    static std::optional<Format> FormatNamed(const std::string& name);
    static const char* Extension(Format format);

    // False when the file could not be written whole.
    static bool Save(const TraceStore::Snapshot& trace, Format format, const std::string& path);
    static void Write(const TraceStore::Snapshot& trace, Format format, std::FILE* out);

private:
    static void WriteCandump(const TraceStore::Snapshot& trace, std::FILE* out);
    static void WriteAsc(const TraceStore::Snapshot& trace, std::FILE* out);
};
