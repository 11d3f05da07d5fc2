#include "platform/ElfNeeded.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <optional>

namespace platform {

namespace {

// Reads with bounds checks only: the file may be anything the root file names.
class FileReader {
public:
    explicit FileReader(const std::string& path) : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat info {};
        if (m_fd >= 0 && fstat(m_fd, &info) == 0 && S_ISREG(info.st_mode))
            m_size = static_cast<uint64_t>(info.st_size);
    }
    ~FileReader()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    uint64_t Size() const { return m_size; }

    bool Read(uint64_t offset, void* out, uint64_t length) const
    {
        if (offset > m_size || length > m_size - offset)
            return false;
        auto* bytes = static_cast<char*>(out);
        while (length > 0) {
            const ssize_t n = pread(m_fd, bytes, length, static_cast<off_t>(offset));
            if (n <= 0)
                return false;
            bytes += n;
            offset += static_cast<uint64_t>(n);
            length -= static_cast<uint64_t>(n);
        }
        return true;
    }

private:
    int m_fd;
    uint64_t m_size = 0;
};

template <class Ehdr, class Phdr, class Dyn>
struct ElfClass {
    using Header = Ehdr;
    using Program = Phdr;
    using Dynamic = Dyn;
};
using Elf32 = ElfClass<Elf32_Ehdr, Elf32_Phdr, Elf32_Dyn>;
using Elf64 = ElfClass<Elf64_Ehdr, Elf64_Phdr, Elf64_Dyn>;

constexpr uint64_t kMaxDynamicEntries = 1 << 16;
constexpr uint16_t kMaxProgramHeaders = 4096;

template <class E>
std::vector<typename E::Program> ReadProgramHeaders(const FileReader& file)
{
    typename E::Header header{};
    if (!file.Read(0, &header, sizeof header) || header.e_phentsize != sizeof(typename E::Program) ||
        header.e_phnum > kMaxProgramHeaders)
        return {};
    std::vector<typename E::Program> programs(header.e_phnum);
    if (!file.Read(header.e_phoff, programs.data(), programs.size() * sizeof(typename E::Program)))
        return {};
    return programs;
}

// DT_STRTAB holds a virtual address; the loadable segments map it back to a file offset.
template <class E>
std::optional<uint64_t> FileOffset(const std::vector<typename E::Program>& programs, uint64_t address)
{
    for (const auto& p : programs)
        if (p.p_type == PT_LOAD && address >= p.p_vaddr && address - p.p_vaddr < p.p_filesz)
            return p.p_offset + (address - p.p_vaddr);
    return std::nullopt;
}

template <class E>
std::vector<typename E::Dynamic> ReadDynamic(const FileReader& file,
                                             const std::vector<typename E::Program>& programs)
{
    for (const auto& p : programs) {
        if (p.p_type != PT_DYNAMIC)
            continue;
        const uint64_t count = p.p_filesz / sizeof(typename E::Dynamic);
        if (count == 0 || count > kMaxDynamicEntries)
            return {};
        std::vector<typename E::Dynamic> entries(count);
        if (!file.Read(p.p_offset, entries.data(), count * sizeof(typename E::Dynamic)))
            return {};
        return entries;
    }
    return {};
}

std::optional<std::string> ReadString(const FileReader& file, uint64_t tableOffset,
                                      uint64_t tableSize, uint64_t index)
{
    if (index >= tableSize)
        return std::nullopt;
    std::string text;
    char c = 0;
    for (uint64_t i = index; i < tableSize; ++i) {
        if (!file.Read(tableOffset + i, &c, 1))
            return std::nullopt;
        if (c == '\0')
            return text;
        text += c;
    }
    return std::nullopt;
}

template <class E>
std::vector<std::string> Needed(const FileReader& file)
{
    const auto programs = ReadProgramHeaders<E>(file);
    const auto dynamic = ReadDynamic<E>(file, programs);
    uint64_t stringAddress = 0;
    uint64_t stringSize = 0;
    for (const auto& d : dynamic) {
        if (d.d_tag == DT_NULL)
            break;
        if (d.d_tag == DT_STRTAB)
            stringAddress = d.d_un.d_ptr;
        else if (d.d_tag == DT_STRSZ)
            stringSize = d.d_un.d_val;
    }
    const auto tableOffset = FileOffset<E>(programs, stringAddress);
    if (!tableOffset || stringSize == 0)
        return {};
    std::vector<std::string> names;
    for (const auto& d : dynamic) {
        if (d.d_tag == DT_NULL)
            break;
        if (d.d_tag != DT_NEEDED)
            continue;
        if (auto name = ReadString(file, *tableOffset, stringSize, d.d_un.d_val); name && !name->empty())
            names.push_back(*name);
    }
    return names;
}

bool IsNativeByteOrder(unsigned char encoding)
{
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return encoding == ELFDATA2LSB;
#else
    return encoding == ELFDATA2MSB;
#endif
}

}  // namespace

std::vector<std::string> ElfNeeded(const std::string& path)
{
    const FileReader file(path);
    unsigned char ident[EI_NIDENT] = {};
    if (!file.Read(0, ident, sizeof ident) || std::memcmp(ident, ELFMAG, SELFMAG) != 0 ||
        !IsNativeByteOrder(ident[EI_DATA]))
        return {};
    if (ident[EI_CLASS] == ELFCLASS64)
        return Needed<Elf64>(file);
    if (ident[EI_CLASS] == ELFCLASS32)
        return Needed<Elf32>(file);
    return {};
}

}  // namespace platform
