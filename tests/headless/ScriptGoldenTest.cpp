// The scripts in scripts/ run in quillon-cli against the simulator; their whole output must equal
// the .expected file beside them (the build folder written as @BIN@). A script's "# env:" and
// "# args:" lines give the simulator's environment and the program's arguments; a "# mask:"
// regex replaces what its matches hold behind their first group by "#" (times that differ from
// run to run); "# ini:" is the settings file the run starts from. The run's working folder is a
// scratch folder: "# file: name|content" lines put files there, and "# show: name ..." appends
// those files to the output as the run left them.
// QUILLON_UPDATE_GOLDEN=1 writes the .expected files instead of comparing.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <regex>
#include <sstream>

#include "../support/TempDir.h"

namespace {

const std::string kScriptsDir = std::string(QUILLON_SOURCE_DIR) + "/tests/headless/scripts";

std::string HeaderValue(const std::string& script, const std::string& key)
{
    const std::string marker = "# " + key + ": ";
    const size_t at = script.find(marker);
    if (at == std::string::npos) return {};
    const size_t end = script.find('\n', at);
    return script.substr(at + marker.size(), end - at - marker.size());
}

std::vector<std::string> HeaderValues(const std::string& script, const std::string& key)
{
    std::vector<std::string> values;
    const std::string marker = "# " + key + ": ";
    for (size_t at = script.find(marker); at != std::string::npos; at = script.find(marker, at + 1)) {
        const size_t end = script.find('\n', at);
        values.push_back(script.substr(at + marker.size(), end - at - marker.size()));
    }
    return values;
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string RunScript(const std::string& scriptPath, int& exitCode)
{
    TempDir dir;
    const std::string script = ReadWholeFile(scriptPath);
    const std::string env = HeaderValue(script, "env");
    // "# ini:" is the settings file the run starts from, "\n" for its line ends.
    if (const std::string ini = HeaderValue(script, "ini"); !ini.empty()) dir.Write("Quillon.ini", ReplaceAll(ini, "\\n", "\n"));
    for (const std::string& file : HeaderValues(script, "file")) {
        const size_t bar = file.find('|');
        if (bar != std::string::npos) dir.Write(file.substr(0, bar), ReplaceAll(file.substr(bar + 1), "\\n", "\n"));
    }
    // Each script's Sync waits stay its own, whatever runs beside it.
    const std::string name = std::filesystem::path(scriptPath).stem().string();
    const std::string command = "cd '" + dir.Path() + "' && env -u PDUSIM_FAULTS -u PDUSIM_MDF -u PDUSIM_JOURNAL -u PDUSIM_WLAN -u PDUSIM_MODULES -u PDUSIM_MONITOR_TRAFFIC -u PDUSIM_MONITOR_RATE QUILLON_EVENT_NAMESPACE=golden_" + name + " " + env +
                                " " + QUILLON_RUNTIME_DIR +
                                "/quillon-cli --ini '" + dir.File("Quillon.ini") + "' --root '" + QUILLON_RUNTIME_DIR +
                                "/pdu_api_root.xml' " + HeaderValue(script, "args") + " '" + scriptPath + "' 2>&1";
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return output;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
    const int status = pclose(pipe);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::istringstream shown(HeaderValue(script, "show"));
    for (std::string name; shown >> name;) output += "=== " + name + " ===\n" + ReadWholeFile(dir.File(name));
    output = ReplaceAll(output, QUILLON_RUNTIME_DIR, "@BIN@");
    output = ReplaceAll(output, dir.Path(), "@DIR@");
    const std::string mask = HeaderValue(script, "mask");
    if (!mask.empty()) output = std::regex_replace(output, std::regex(mask), "$1#");
    return output;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// Only the stretch that differs, with a little context: a CI log keeps the head of a failure.
std::string ShortDiff(const std::string& expected, const std::string& actual)
{
    const std::vector<std::string> want = Lines(expected), got = Lines(actual);
    size_t head = 0;
    while (head < want.size() && head < got.size() && want[head] == got[head]) ++head;
    size_t tail = 0;
    while (tail < want.size() - head && tail < got.size() - head && want[want.size() - 1 - tail] == got[got.size() - 1 - tail]) ++tail;
    std::ostringstream out;
    const size_t from = head < 3 ? 0 : head - 3;
    out << "first difference at line " << head + 1 << "\n";
    for (size_t i = from; i < head; ++i) out << "  " << want[i] << "\n";
    constexpr size_t kMaxLines = 30;
    for (size_t i = head; i < want.size() - tail && i < head + kMaxLines; ++i) out << "- " << want[i] << "\n";
    for (size_t i = head; i < got.size() - tail && i < head + kMaxLines; ++i) out << "+ " << got[i] << "\n";
    return out.str();
}

std::vector<std::string> Scripts()
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(kScriptsDir)) {
        if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class ScriptGoldenTest : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(ScriptGoldenTest, OutputMatches)
{
    if (!std::filesystem::exists(std::string(QUILLON_RUNTIME_DIR) + "/libpdusim.so")) GTEST_SKIP() << "no simulator";
    const std::string base = kScriptsDir + "/" + GetParam();
    int exitCode = -1;
    const std::string output = RunScript(base + ".txt", exitCode);
    if (std::getenv("QUILLON_UPDATE_GOLDEN")) {
        std::ofstream(base + ".expected", std::ios::binary) << output;
        return;
    }
    const std::string expected = ReadWholeFile(base + ".expected");
    EXPECT_EQ(exitCode, 0) << ShortDiff(expected, output);
    EXPECT_TRUE(output == expected) << ShortDiff(expected, output);
}

INSTANTIATE_TEST_SUITE_P(Scripts, ScriptGoldenTest, ::testing::ValuesIn(Scripts()),
                         [](const auto& info) { return info.param; });
