// A scratch folder for one test, removed with everything in it when the test ends.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

class TempDir {
public:
    TempDir()
    {
        std::random_device rd;
        m_path = std::filesystem::temp_directory_path() / ("quillon-test-" + std::to_string(rd()) + std::to_string(rd()));
        std::filesystem::create_directories(m_path);
    }
    ~TempDir()
    {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string Path() const { return m_path.string(); }
    std::string File(const std::string& name) const { return (m_path / name).string(); }

    std::string Write(const std::string& name, const std::string& content) const
    {
        const std::string path = File(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

private:
    std::filesystem::path m_path;
};

inline std::string ReadWholeFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A root description file entry; empty library/mdf/cdf leave that element out.
struct RootEntry {
    std::string shortName;
    std::string supplier;
    std::string library;
    std::string mdf = "file:///nowhere/mdf.xml";
    std::string cdf = "file:///nowhere/cdf.xml";
};

inline std::string RootFileText(const std::vector<RootEntry>& entries)
{
    std::string xml = "<?xml version=\"1.0\"?>\n<MVCI_PDU_API_ROOT MVCI_PART2_STANDARD_VERSION=\"2.2.0\">\n";
    for (const RootEntry& e : entries) {
        xml += "  <MVCI_PDU_API>\n    <SHORT_NAME>" + e.shortName + "</SHORT_NAME>\n";
        xml += "    <DESCRIPTION>test</DESCRIPTION>\n    <SUPPLIER_NAME>" + e.supplier + "</SUPPLIER_NAME>\n";
        if (!e.library.empty()) xml += "    <LIBRARY_FILE URI=\"" + e.library + "\"/>\n";
        if (!e.mdf.empty()) xml += "    <MODULE_DESCRIPTION_FILE URI=\"" + e.mdf + "\"/>\n";
        if (!e.cdf.empty()) xml += "    <CABLE_DESCRIPTION_FILE URI=\"" + e.cdf + "\"/>\n";
        xml += "  </MVCI_PDU_API>\n";
    }
    return xml + "</MVCI_PDU_API_ROOT>\n";
}
