#include "platform/ProfileFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <thread>

#include "TestFolder.h"

using platform::ProfileFile;

namespace {

std::string WithLineEnds(const std::string& text, const std::string& end)
{
    std::string result;
    for (char c : text)
        c == '\n' ? result += end : result += c;
    return result;
}

const char* const kSample =
    "; leading comment\n"
    "orphan=1\n"
    "[General]\n"
    "Name = Value  \n"
    "Quoted=\"  spaced  \"\n"
    "Single='x'\n"
    "Mixed=\"x'\n"
    "Empty=\n"
    " \t Spaced Key\v =v\n"
    ";Commented=yes\n"
    "  ; Indented=yes\n"
    "NoEquals\n"
    "dup=first\n"
    "DUP=second\n"
    "Inner=a=b\n"
    "[ general ]\n"
    "extra=in the second section of that name\n"
    "[URID_X=16]\n"
    "a=b\n"
    "[Trailing] junk=after\n"
    "t=1\n"
    "[NoClose\n"
    "n=2";

struct ReadCase {
    const char* section;
    const char* key;
    const char* defaultValue;
    const char* expected;
};

const ReadCase kReadCases[] = {
    {"General", "name", "d", "Value"},
    {"  GENERAL ", " Name\t", "d", "Value"},
    {"General", "Quoted", "d", "  spaced  "},
    {"General", "Single", "d", "x"},
    {"General", "Mixed", "d", "\"x'"},
    {"General", "Empty", "d", ""},
    {"General", "Spaced Key", "d", "v"},
    {"General", "Commented", "d", "d"},
    {"General", ";Commented", "d", "d"},
    {"General", "; Indented", "d", "d"},
    {"General", "NoEquals", "d", "d"},
    {"General", "dup", "d", "first"},
    {"General", "Inner", "d", "a=b"},
    {"General", "extra", "d", "d"},
    {"General", "orphan", "d", "d"},
    {"URID_X=16", "a", "d", "b"},
    {"Trailing", "t", "d", "1"},
    {"NoClose", "n", "d", "2"},
    {"Missing", "x", "def  ", "def"},
    {"Missing", "x", " lead\t ", " lead\t"},
    {"Missing", "x", nullptr, ""},
};

class ProfileReadTest : public ::testing::TestWithParam<const char*> {
protected:
    TestFolder folder;
    std::string path = folder.File("sample.ini");
    void SetUp() override { TestFolder::Write(path, WithLineEnds(kSample, GetParam())); }
};

TEST_P(ProfileReadTest, FindsValuesByTheRules)
{
    for (const ReadCase& c : kReadCases) {
        char buffer[64];
        const uint32_t count = ProfileFile::GetString(path, c.section, c.key, c.defaultValue, buffer, sizeof buffer);
        EXPECT_EQ(std::string(buffer), c.expected) << "[" << c.section << "] " << c.key;
        EXPECT_EQ(count, std::string(c.expected).size()) << "[" << c.section << "] " << c.key;
    }
}

TEST_P(ProfileReadTest, ListsSectionsAndKeys)
{
    EXPECT_EQ(ProfileFile::SectionNames(path),
              (std::vector<std::string>{"General", "general", "URID_X=16", "Trailing", "NoClose"}));
    EXPECT_EQ(ProfileFile::KeyNames(path, "GENERAL"),
              (std::vector<std::string>{"Name", "Quoted", "Single", "Mixed", "Empty", "Spaced Key", "dup", "DUP",
                                        "Inner"}));
    EXPECT_TRUE(ProfileFile::KeyNames(path, "Missing").empty());
}

INSTANTIATE_TEST_SUITE_P(LineEnds, ProfileReadTest, ::testing::Values("\n", "\r\n", "\r"));

TEST(ProfileFile, MissingFileGivesDefaultsAndEmptyLists)
{
    TestFolder folder;
    const std::string path = folder.File("absent.ini");
    EXPECT_EQ(ProfileFile::GetString(path, "S", "K", "fallback"), "fallback");
    EXPECT_EQ(ProfileFile::GetInt(path, "S", "K", 7), 7u);
    EXPECT_TRUE(ProfileFile::SectionNames(path).empty());
    // A folder of that name reads like a missing file.
    EXPECT_EQ(ProfileFile::GetString(folder.Path(), "S", "K", "fallback"), "fallback");
}

TEST(ProfileFile, CutsValuesAndListsToTheBuffer)
{
    TestFolder folder;
    const std::string path = folder.File("cut.ini");
    TestFolder::Write(path, "[ab]\nk=abcdef\n[cd]\n");

    struct Case {
        const char* section;
        const char* key;
        uint32_t size;
        std::string expected;  // the buffer's first `size` bytes (when size > 0)
        uint32_t count;
    };
    const Case cases[] = {
        {"ab", "k", 7, std::string("abcdef\0", 7), 6},
        {"ab", "k", 4, std::string("abc\0", 4), 3},
        {"ab", "k", 1, std::string("\0", 1), 0},
        {"ab", "k", 0, "", 0},
        {nullptr, nullptr, 7, std::string("ab\0cd\0\0", 7), 6},
        {nullptr, nullptr, 6, std::string("ab\0c\0\0", 6), 4},
        {nullptr, nullptr, 4, std::string("ab\0\0", 4), 2},
        {nullptr, nullptr, 2, std::string("\0\0", 2), 0},
        {nullptr, nullptr, 1, std::string("\0", 1), 0},
        {"ab", nullptr, 3, std::string("k\0\0", 3), 2},
        {"cd", nullptr, 3, std::string("\0\0", 2), 0},
    };
    for (const Case& c : cases) {
        std::string buffer(16, '#');
        const uint32_t count = ProfileFile::GetString(path, c.section, c.key, "", buffer.data(), c.size);
        EXPECT_EQ(count, c.count) << "size " << c.size;
        EXPECT_EQ(buffer.substr(0, c.expected.size()), c.expected) << "size " << c.size;
        EXPECT_EQ(buffer[c.size], '#') << "wrote past the buffer, size " << c.size;
    }
    EXPECT_EQ(ProfileFile::GetString(path, "ab", "k", "", nullptr, 0), 0u);
    EXPECT_EQ(ProfileFile::GetString(path, "ab", "k", "", 3), "ab");
}

TEST(ProfileFile, ReadsIntegersByTheDecimalRule)
{
    TestFolder folder;
    const std::string path = folder.File("int.ini");
    TestFolder::Write(path,
                      "[N]\nminus=-1\nmixed=42A9\nletter=B42\nplus=+7\nwrap=4294967297\nquoted=\"12\"\n"
                      "empty=\nhex=0x10\nblank=  5  \nlong=0000000000000000000000000000000009\n");
    const std::map<std::string, uint32_t> expected = {
        {"minus", 0xFFFFFFFFu}, {"mixed", 42u}, {"letter", 0u}, {"plus", 7u},     {"wrap", 1u},
        {"quoted", 12u},        {"empty", 99u}, {"hex", 0u},    {"blank", 5u},    {"missing", 99u},
        {"long", 0u},  // only the first 29 characters are read
    };
    for (const auto& [key, value] : expected)
        EXPECT_EQ(ProfileFile::GetInt(path, "N", key.c_str(), 99), value) << key;
    EXPECT_EQ(ProfileFile::GetInt(path, "N", "missing", -5), 0xFFFFFFFBu);
}

// Each case starts from `before` (no file when null), applies one write and expects `after`.
struct WriteCase {
    const char* name;
    const char* before;
    const char* section;
    const char* key;
    const char* value;
    const char* after;  // null: no file afterwards
};

const WriteCase kWriteCases[] = {
    {"replace keeps the stored name", "[S]\nAbc = 1\nB=2\n", "s", "abc", "9", "[S]\nAbc=9\nB=2\n"},
    {"new key after the last key", "[S]\nA=1\n;c\n\n[T]\nX=1\n", "S", "B", "2", "[S]\nA=1\nB=2\n;c\n\n[T]\nX=1\n"},
    {"new key in an empty section", "[S]\n[T]\n", "S", "B", "2", "[S]\nB=2\n[T]\n"},
    {"new key in a last section without line end", "[S]", "S", "B", "2", "[S]\nB=2\n"},
    {"new section at the end", "[S]\nA=1", "T", " K ", "v", "[S]\nA=1\n[T]\nK=v\n"},
    {"CRLF stays CRLF", "[S]\r\nA=1\r\n", "S", "B", "2", "[S]\r\nA=1\r\nB=2\r\n"},
    {"any CRLF makes new lines CRLF", "[S]\nA=1\r\n", "S", "B", "2", "[S]\nA=1\r\nB=2\r\n"},
    {"CRLF for a last line without end", "[S]\nA=1\r\nB=1", "S", "C", "2", "[S]\nA=1\r\nB=1\r\nC=2\r\n"},
    {"CRLF for a new section", "x\n[S]\r\n", "T", "K", "v", "x\n[S]\r\n[T]\r\nK=v\r\n"},
    {"CR stays CR", "[S]\rA=1\r", "S", "B", "2", "[S]\rA=1\rB=2\r"},
    {"value verbatim", "[S]\nA=1\n", "S", "A", "  x \"y\"  ", "[S]\nA=  x \"y\"  \n"},
    {"first of duplicate sections", "[S]\nA=1\n[s]\nB=2\n", "S", "B", "3", "[S]\nA=1\nB=3\n[s]\nB=2\n"},
    {"first of duplicate sections when it has no keys", "[S]\n[s]\nB=2\n", "s", "B", "3", "[S]\nB=3\n[s]\nB=2\n"},
    {"lines before the first section stay", "x=1\n[S]\n", "S", "x", "2", "x=1\n[S]\nx=2\n"},
    {"new file", nullptr, "S", "K", "v", "[S]\nK=v\n"},
    {"delete a key", "[S]\nA=1\nB=2\n", "S", "a", nullptr, "[S]\nB=2\n"},
    {"delete only the first duplicate", "[S]\nA=1\nA=2\n", "S", "A", nullptr, "[S]\nA=2\n"},
    {"delete a key missing", "[S]\nA=1\n", "S", "Z", nullptr, "[S]\nA=1\n"},
    {"delete a key of the first duplicate section", "[S]\nA=1\n[s]\nA=2\n", "s", "A", nullptr, "[S]\n[s]\nA=2\n"},
    {"delete a key only in a later duplicate section", "[S]\nA=1\n[s]\nB=2\n", "S", "B", nullptr,
     "[S]\nA=1\n[s]\nB=2\n"},
    {"delete a key of no file", nullptr, "S", "Z", nullptr, nullptr},
    {"delete a section keeps comments", "[S]\n;c\nA=1\n\n[T]\nX=1\n", "S", nullptr, nullptr, ";c\n\n[T]\nX=1\n"},
    {"delete only the first section of the name", "[S]\nA=1\n[T]\nX=1\n[s]\nB=2\n", "s", nullptr, nullptr,
     "[T]\nX=1\n[s]\nB=2\n"},
    {"delete a section missing", "[S]\nA=1\n", "T", nullptr, nullptr, "[S]\nA=1\n"},
    {"delete a section of no file", nullptr, "S", nullptr, nullptr, nullptr},
};

TEST(ProfileFile, WritesChangeOnlyWhatTheyMust)
{
    for (const WriteCase& c : kWriteCases) {
        TestFolder folder;
        const std::string path = folder.File("w.ini");
        if (c.before)
            TestFolder::Write(path, c.before);
        EXPECT_TRUE(ProfileFile::WriteString(path, c.section, c.key, c.value)) << c.name;
        if (c.after)
            EXPECT_EQ(TestFolder::Read(path), c.after) << c.name;
        else
            EXPECT_FALSE(std::filesystem::exists(path)) << c.name;
    }
}

TEST(ProfileFile, WriteSectionReplacesTheKeys)
{
    struct Case {
        const char* before;
        std::vector<std::string> lines;
        const char* after;
    };
    const Case cases[] = {
        {"[S]\nA=1\n;c\nB=2\n[T]\nX=1\n[s]\nD=0\n", {"C=3", "no equals", " D = 4"},
         "[S]\nC=3\n D = 4\n;c\n[T]\nX=1\n[s]\n"},
        {"[T]\r\nX=1\r\n", {"A=1", "a=2"}, "[T]\r\nX=1\r\n[S]\r\nA=1\r\na=2\r\n"},
        {"", {}, "[S]\n"},
        {"[S]\nk=0\n", {"k=1", "k=2", "K=3"}, "[S]\nk=1\nk=2\nK=3\n"},
        {"[S]\n;top\nA=1\n;mid\nB=2\n\n;end\n[T]\nA=1\n", {"\tX = 1 ", "Y=a=b"},
         "[S]\n;top\n\tX = 1 \nY=a=b\n;mid\n\n;end\n[T]\nA=1\n"},
        {"[S]\n;c\n[T]\nX=1\n", {"A=1"}, "[S]\nA=1\n;c\n[T]\nX=1\n"},
        {"[S]\n;c\n[s]\nB=1\n", {"A=1"}, "[S]\nA=1\n;c\n[s]\n"},
        {"[S]\nA=1\r\n", {"B=2", "C=3"}, "[S]\nB=2\r\nC=3\r\n"},
        {"[S]", {"A=1"}, "[S]\nA=1\n"},
        {"[S]\nA=1", {"B=2"}, "[S]\nB=2\n"},
        {"[S]\nA=1\n[T]\n", {}, "[S]\n[T]\n"},
    };
    for (const Case& c : cases) {
        TestFolder folder;
        const std::string path = folder.File("s.ini");
        TestFolder::Write(path, c.before);
        EXPECT_TRUE(ProfileFile::WriteSection(path, "S", c.lines));
        EXPECT_EQ(TestFolder::Read(path), c.after) << c.before;
    }
}

TEST(ProfileFile, RefusesWritesItCannotDo)
{
    TestFolder folder;
    EXPECT_FALSE(ProfileFile::WriteString(folder.File("no/such/folder.ini"), "S", "K", "v"));
    EXPECT_FALSE(ProfileFile::WriteString(folder.Path(), "S", "K", "v"));
    EXPECT_FALSE(ProfileFile::WriteString("", "S", "K", "v"));
    EXPECT_FALSE(ProfileFile::WriteString(folder.File("a.ini"), nullptr, "K", "v"));
    EXPECT_FALSE(ProfileFile::WriteSection(folder.File("a.ini"), nullptr, {"K=v"}));
    EXPECT_FALSE(std::filesystem::exists(folder.File("a.ini")));
    if (geteuid() != 0) {  // root writes anyway
        const std::string locked = folder.File("locked.ini");
        TestFolder::Write(locked, "[S]\nK=1\n");
        chmod(locked.c_str(), 0444);
        EXPECT_FALSE(ProfileFile::WriteString(locked, "S", "K", "2"));
        EXPECT_EQ(TestFolder::Read(locked), "[S]\nK=1\n");
    }
}

TEST(ProfileFile, KeepsModeAndSymbolicLinks)
{
    TestFolder folder;
    const std::string target = folder.File("real.ini");
    const std::string link = folder.File("link.ini");
    TestFolder::Write(target, "[S]\n");
    chmod(target.c_str(), 0640);
    std::filesystem::create_symlink(target, link);

    ASSERT_TRUE(ProfileFile::WriteString(link, "S", "K", "v"));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(TestFolder::Read(target), "[S]\nK=v\n");
    struct stat info {};
    ASSERT_EQ(stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
}

void WriteAllKeys(const std::string& path, char fill)
{
    std::vector<std::string> lines;
    for (int k = 0; k < 100; ++k)
        lines.push_back("K" + std::to_string(k) + "=" + std::to_string(k) + std::string(2000, fill));
    ProfileFile::WriteSection(path, "Big", lines);
}

// Runs `body` in a child whose file writes stop at `limit` bytes: by default the kernel kills it
// there (SIGXFSZ), with `ignoreSignal` the write fails instead. Returns the wait status.
template <class Body>
int RunWithFileSizeLimit(rlim_t limit, bool ignoreSignal, Body body)
{
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCore{0, 0};
        const rlimit size{limit, limit};
        setrlimit(RLIMIT_CORE, &noCore);
        setrlimit(RLIMIT_FSIZE, &size);
        std::signal(SIGXFSZ, ignoreSignal ? SIG_IGN : SIG_DFL);
        _exit(body() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

size_t FilesIn(const std::string& folder)
{
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(ProfileFile, AWriterKilledMidWriteLeavesTheFileWhole)
{
    TestFolder folder;
    const std::string path = folder.File("crash.ini");
    WriteAllKeys(path, 'a');
    const std::string whole = TestFolder::Read(path);

    const int status = RunWithFileSizeLimit(whole.size() / 2, false, [&] {
        WriteAllKeys(path, 'b');
        return true;
    });
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
    EXPECT_EQ(TestFolder::Read(path), whole);
    ASSERT_EQ(FilesIn(folder.Path()), 2u) << "the half-written temporary file";

    // The leftover changes nothing for later readers and writers.
    EXPECT_EQ(ProfileFile::GetString(path, "Big", "K0", "", 8192), "0" + std::string(2000, 'a'));
    EXPECT_TRUE(ProfileFile::WriteString(path, "Big", "K0", "new"));
    EXPECT_EQ(ProfileFile::GetString(path, "Big", "K0", ""), "new");
}

TEST(ProfileFile, AFailedWriteReportsAndKeepsTheFile)
{
    TestFolder folder;
    const std::string path = folder.File("full.ini");
    WriteAllKeys(path, 'a');
    const std::string whole = TestFolder::Read(path);

    const int status = RunWithFileSizeLimit(whole.size() / 2, true, [&] {
        return !ProfileFile::WriteString(path, "Big", "K0", "changed");
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the write must report failure";
    EXPECT_EQ(TestFolder::Read(path), whole);
    EXPECT_EQ(FilesIn(folder.Path()), 1u);
}

TEST(ProfileFile, TwoThreadsLoseNoKeys)
{
    TestFolder folder;
    const std::string path = folder.File("threads.ini");
    auto writer = [&](char prefix) {
        for (int i = 0; i < 200; ++i) {
            const std::string key = std::string(1, prefix) + std::to_string(i);
            ProfileFile::WriteString(path, "Shared", key.c_str(), key.c_str());
        }
    };
    std::thread first(writer, 'A');
    std::thread second(writer, 'B');
    first.join();
    second.join();
    EXPECT_EQ(ProfileFile::KeyNames(path, "Shared").size(), 400u);
    for (char prefix : {'A', 'B'})
        for (int i = 0; i < 200; ++i) {
            const std::string key = std::string(1, prefix) + std::to_string(i);
            EXPECT_EQ(ProfileFile::GetString(path, "Shared", key, ""), key);
        }
}

TEST(ProfileFile, TwoProcessesLoseNoKeys)
{
    TestFolder folder;
    const std::string path = folder.File("processes.ini");
    std::vector<pid_t> children;
    for (char prefix : {'P', 'Q'}) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < 200; ++i) {
                const std::string key = std::string(1, prefix) + std::to_string(i);
                if (!ProfileFile::WriteString(path, "Shared", key.c_str(), "1"))
                    _exit(1);
            }
            _exit(0);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(ProfileFile::KeyNames(path, "Shared").size(), 400u);
    EXPECT_EQ(FilesIn(folder.Path()), 1u) << "no temporary file is left behind";
}

}  // namespace
