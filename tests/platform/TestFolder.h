#pragma once

#include "../support/ScopedEnvironment.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

// A fresh folder per test, removed with everything in it.
class TestFolder {
public:
    TestFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "quillon-platform-XXXXXX").string();
        if (mkdtemp(pattern.data()))
            m_path = pattern;
    }
    ~TestFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

    static void Write(const std::string& path, const std::string& content)
    {
        std::ofstream(path, std::ios::binary) << content;
    }
    static std::string Read(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::string m_path;
};
