#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

inline std::string FixturePath(const std::string& name)
{
    return std::string(QUILLON_FIXTURES_DIR) + "/description/" + name;
}

inline std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A file of its own in a folder of this test process; removed when the object goes.
class TempFile {
public:
    explicit TempFile(const std::string& content)
    {
        static std::atomic<int> counter{0};
        const auto dir = std::filesystem::temp_directory_path() / ("quillon_desc_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir);
        m_path = (dir / ("f" + std::to_string(counter++) + ".xml")).string();
        std::ofstream(m_path, std::ios::binary) << content;
    }
    ~TempFile() { std::filesystem::remove(m_path); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};
