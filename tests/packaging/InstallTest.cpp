// The install rules as a user runs them (cmake --install --prefix) give a tree that works where it
// lies: only the usual places below the prefix, a root file naming the simulator installed there,
// and an installed quillon-cli that finds both with no set-up. The Debian package is this tree
// under /usr (scripts/check-package.sh installs and runs it).
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <regex>

#include "../support/TempDir.h"

namespace {

std::string RunCommand(const std::string& command, int& exitCode)
{
    std::string output;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return output;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
    const int status = pclose(pipe);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

}  // namespace

TEST(Install, TreeWorksUnderAnyPrefix)
{
    if (!std::filesystem::exists(std::string(QUILLON_RUNTIME_DIR) + "/libpdusim.so")) GTEST_SKIP() << "no simulator";
    TempDir dir;
    const std::string prefix = dir.File("opt/quillon bench");  // a blank too: nothing splits the path
    int exitCode = -1;
    const std::string log = RunCommand("env -u DESTDIR " + Quoted(QUILLON_CMAKE_COMMAND) + " --install " +
                                    Quoted(QUILLON_BUILD_DIR) + " --prefix " + Quoted(prefix),
                                exitCode);
    ASSERT_EQ(exitCode, 0) << log;

    const std::regex usualPlaces(
        "bin/quillon(-cli)?|lib(/[^/]+)?/quillon/pdusim/(libpdusim\\.so|pdusim_[mc]df\\.xml)|share/quillon/pdu_api_root\\.xml|"
        "share/applications/quillon\\.desktop|share/icons/hicolor/[0-9]+x[0-9]+/apps/quillon\\.png|"
        "share/icons/hicolor/scalable/apps/quillon\\.svg|share/man/man1/quillon(-cli)?\\.1\\.gz|share/doc/quillon/.+");
    std::string pdusimDir;
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(prefix)) {
        if (!entry.is_regular_file()) continue;
        ++files;
        const std::string relative = std::filesystem::relative(entry.path(), prefix).string();
        EXPECT_TRUE(std::regex_match(relative, usualPlaces)) << relative;
        if (entry.path().filename() == "libpdusim.so") pdusimDir = entry.path().parent_path().string();
    }
    EXPECT_GE(files, 10);
    ASSERT_FALSE(pdusimDir.empty());
    for (const char* name : {"share/doc/quillon/copyright", "share/doc/quillon/changelog.gz",
                             "share/doc/quillon/README.md", "share/doc/quillon/sim/README.md",
                             "share/man/man1/quillon-cli.1.gz"}) {
        EXPECT_TRUE(std::filesystem::is_regular_file(prefix + "/" + name)) << name;
    }

    const std::string root = ReadWholeFile(prefix + "/share/quillon/pdu_api_root.xml");
    for (const char* file : {"libpdusim.so", "pdusim_mdf.xml", "pdusim_cdf.xml"}) {
        EXPECT_NE(root.find("URI=\"file://" + pdusimDir + "/" + file + "\""), std::string::npos) << root;
    }

    // No --root, no --ini: the program's own place decides, as for a user.
    const std::string script = std::string(QUILLON_SOURCE_DIR) + "/tests/headless/scripts/request";
    const std::string output =
        RunCommand("env -u PDUSIM_FAULTS -u PDUSIM_MDF -u D_PDU_API_ROOT_FILE XDG_CONFIG_HOME=" + Quoted(dir.File("config")) +
                " QUILLON_EVENT_NAMESPACE=install_test " + Quoted(prefix + "/bin/quillon-cli") + " " +
                Quoted(script + ".txt"),
            exitCode);
    EXPECT_EQ(exitCode, 0) << output;
    EXPECT_EQ(ReplaceAll(output, pdusimDir, "@BIN@"), ReadWholeFile(script + ".expected"));
    EXPECT_TRUE(std::filesystem::is_regular_file(dir.File("config/Morvane/D-PDU API/Quillon.ini")));
}
