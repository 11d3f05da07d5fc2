#include "platform/Paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <utility>

#include "TestFolder.h"

#ifndef QUILLON_INSTALLED_ROOT_FILE
#define QUILLON_INSTALLED_ROOT_FILE "../share/quillon/pdu_api_root.xml"
#endif

using namespace platform;

namespace {

TEST(Paths, ExecutableDirectoryIsTheTestProgramsFolder)
{
    const std::string folder = ExecutableDirectory();
    ASSERT_FALSE(folder.empty());
    EXPECT_NE(folder.back(), '/');
    EXPECT_TRUE(FileExists(folder + "/test_platform"));
}

TEST(Paths, CommonAppDataDirectoryIsCreatedUnderTheConfigFolder)
{
    TestFolder home;
    const std::string xdg = home.File("xdg");
    struct Case {
        std::optional<std::string> xdgConfigHome;
        std::string expected;
    };
    const Case cases[] = {
        {xdg, xdg + "/Morvane/D-PDU API"},
        {std::nullopt, home.Path() + "/.config/Morvane/D-PDU API"},
        {std::string(""), home.Path() + "/.config/Morvane/D-PDU API"},
        {std::string("relative/path"), home.Path() + "/.config/Morvane/D-PDU API"},
    };
    ScopedEnvironment homeVariable("HOME", home.Path());
    for (const Case& c : cases) {
        ScopedEnvironment variable("XDG_CONFIG_HOME", c.xdgConfigHome);
        EXPECT_EQ(CommonAppDataDirectory(), c.expected);
        EXPECT_TRUE(std::filesystem::is_directory(c.expected)) << c.expected;
    }
}

TEST(Paths, FileExistsAndCanOpenForReading)
{
    TestFolder folder;
    const std::string file = folder.File("Quillon.ini");
    const std::string link = folder.File("link.ini");
    const std::string dangling = folder.File("dangling.ini");
    TestFolder::Write(file, "[S]\n");
    std::filesystem::create_directory(folder.File("pdu_api_root.xml"));
    std::filesystem::create_symlink(file, link);
    std::filesystem::create_symlink(folder.File("gone"), dangling);

    struct Case {
        std::string path;
        bool exists;
        bool readable;
    };
    const Case cases[] = {
        {file, true, true},
        {link, true, true},
        {folder.File("pdu_api_root.xml"), false, false},  // a folder of that name does not count
        {folder.File("missing.ini"), false, false},
        {dangling, false, false},
        {"", false, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(FileExists(c.path), c.exists) << c.path;
        EXPECT_EQ(CanOpenForReading(c.path), c.readable) << c.path;
    }
    if (geteuid() != 0) {  // root reads anyway
        chmod(file.c_str(), 0);
        EXPECT_TRUE(FileExists(file));
        EXPECT_FALSE(CanOpenForReading(file));
    }
}

TEST(Paths, SystemRootFileComesFromTheEnvironmentFirst)
{
    {
        ScopedEnvironment variable("D_PDU_API_ROOT_FILE", std::string("/opt/vendor/pdu_api_root.xml"));
        EXPECT_EQ(SystemRootFilePath(), "/opt/vendor/pdu_api_root.xml");
    }
    const std::string standard = FileExists("/etc/pdu_api_root.xml") ? "/etc/pdu_api_root.xml" : "";
    for (const auto& value : {std::optional<std::string>(""), std::optional<std::string>()}) {
        ScopedEnvironment variable("D_PDU_API_ROOT_FILE", value);
        EXPECT_EQ(SystemRootFilePath(), standard);
    }
}

TEST(Paths, InstalledRootFileLiesInTheDataFolderOfTheProgramsPrefix)
{
    TestFolder folder;
    const std::string relative = QUILLON_INSTALLED_ROOT_FILE;  // from bin/, as the build installs it
    const auto place = [&](const std::string& prefix) {
        const std::string bin = folder.File(prefix + "/bin");
        std::filesystem::create_directories(bin);
        const std::string root = std::filesystem::path(bin + "/" + relative).lexically_normal().string();
        std::filesystem::create_directories(std::filesystem::path(root).parent_path());
        return std::make_pair(bin, root);
    };
    const auto [installedBin, installedRoot] = place("usr");
    TestFolder::Write(installedRoot, "<x/>");
    const auto [linkedBin, linkedRoot] = place("linked");
    std::filesystem::create_symlink(installedRoot, linkedRoot);
    const auto [emptyBin, emptyRoot] = place("empty");
    const auto [folderBin, folderRoot] = place("folder");
    std::filesystem::create_directory(folderRoot);

    struct Case {
        std::string executableDirectory;
        std::string expected;
    };
    const Case cases[] = {
        {installedBin, installedRoot},
        {linkedBin, linkedRoot},
        {emptyBin, ""},
        {folderBin, ""},  // a folder of that name does not count
        {"", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(InstalledRootFilePath(c.executableDirectory), c.expected) << c.executableDirectory;
    }
}

TEST(Paths, ToLowerTouchesAsciiLettersOnly)
{
    EXPECT_EQ(ToLower("/Home/KeldaDev/BIN"), "/home/keldadev/bin");
    EXPECT_EQ(ToLower("AtSide"), "atside");
    EXPECT_EQ(ToLower("\xC4Z@[`{"), "\xC4z@[`{");
    EXPECT_EQ(ToLower(""), "");
}

}  // namespace
