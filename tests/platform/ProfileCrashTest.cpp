// Several processes write one settings file while some of them are killed at random moments:
// the file must always parse, and every write that returned must be in it.
#include "platform/ProfileFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <random>
#include <vector>

#include "TestFolder.h"

using platform::ProfileFile;

namespace {

constexpr int kWriters = 4;
constexpr int kKeysPerWriter = 24;
constexpr int kWritesPerWriter = 150;  // a respawned writer starts its count afresh
constexpr int kKills = 40;
constexpr int kSections = 3;
// Long enough values that the file runs to tens of kilobytes, so kills land inside writes too.
constexpr size_t kPadding = 120;

// What a writer reports once a write has returned true: its key and the sequence it wrote.
struct Report {
    uint32_t key;  // writer slot * kKeysPerWriter + key index
    uint32_t sequence;
};
static_assert(sizeof(Report) <= PIPE_BUF, "one report is one atomic pipe write");

std::string SectionOf(uint32_t key)
{
    return "S" + std::to_string(key % kSections);
}

std::string KeyName(uint32_t key)
{
    return "w" + std::to_string(key / kKeysPerWriter) + "k" + std::to_string(key % kKeysPerWriter);
}

std::string ValueOf(uint32_t sequence)
{
    return std::to_string(sequence) + "," + std::string(kPadding, 'v');
}

// The child's whole life: writes its keys in turn, a pair in one update now and then, and
// reports each write that returned. Sequences grow across generations, so a respawned writer
// never writes a value older than one its predecessor reported.
[[noreturn]] void RunWriter(const std::string& path, int slot, uint32_t generation, int reportFd)
{
    std::minstd_rand random(static_cast<unsigned>(slot * 7919 + generation));
    for (int n = 0; n < kWritesPerWriter; ++n) {
        const uint32_t sequence = generation * 100000u + static_cast<uint32_t>(n);
        const uint32_t key = static_cast<uint32_t>(slot * kKeysPerWriter) + random() % kKeysPerWriter;
        std::vector<Report> written{{key, sequence}};
        bool ok;
        if (n % 5 == 4) {
            // Two keys of one section in one update.
            const uint32_t other = static_cast<uint32_t>(slot * kKeysPerWriter) +
                                   (key % kKeysPerWriter + kSections) % kKeysPerWriter;
            written.push_back({other, sequence});
            ok = ProfileFile::WriteStrings(path, SectionOf(key).c_str(),
                                           {{KeyName(key), ValueOf(sequence)}, {KeyName(other), ValueOf(sequence)}});
        } else {
            ok = ProfileFile::WriteString(path, SectionOf(key).c_str(), KeyName(key).c_str(),
                                          ValueOf(sequence).c_str());
        }
        if (!ok)
            _exit(2);
        for (const Report& report : written)
            if (write(reportFd, &report, sizeof report) != static_cast<ssize_t>(sizeof report))
                _exit(3);
    }
    _exit(0);
}

struct Writer {
    pid_t pid = -1;
    int reportFd = -1;
};

class CrashBench {
public:
    explicit CrashBench(std::string path) : m_path(std::move(path)) {}
    // A test that stopped early leaves no writer behind in a folder that is going.
    ~CrashBench()
    {
        for (Writer& writer : m_writers)
            if (writer.pid >= 0) {
                kill(writer.pid, SIGKILL);
                waitpid(writer.pid, nullptr, 0);
                close(writer.reportFd);
            }
    }
    CrashBench(const CrashBench&) = delete;
    CrashBench& operator=(const CrashBench&) = delete;

    void Spawn(int slot)
    {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        const uint32_t generation = ++m_generation;
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            close(fds[0]);
            RunWriter(m_path, slot, generation, fds[1]);
        }
        close(fds[1]);
        m_writers[slot] = {pid, fds[0]};
    }

    // Takes in what the writers reported; true while any of them is still writing.
    bool Collect(bool block)
    {
        std::vector<pollfd> fds;
        std::vector<int> slots;
        for (int slot = 0; slot < kWriters; ++slot)
            if (m_writers[slot].reportFd >= 0) {
                fds.push_back({m_writers[slot].reportFd, POLLIN, 0});
                slots.push_back(slot);
            }
        if (fds.empty())
            return false;
        if (poll(fds.data(), fds.size(), block ? -1 : 0) <= 0)
            return true;
        for (size_t i = 0; i < fds.size(); ++i)
            if (fds[i].revents != 0)
                Drain(slots[i]);
        return true;
    }

    void Kill(int slot)
    {
        Writer& writer = m_writers[slot];
        if (writer.pid < 0)
            return;
        kill(writer.pid, SIGKILL);
        Reap(slot);
        ++m_kills;
    }

    bool Running(int slot) const { return m_writers[slot].pid >= 0; }
    size_t Reports() const { return m_reports; }
    int Kills() const { return m_kills; }

    // The file as a reader sees it now: well formed, and holding every write that returned.
    void Check(const char* when) const
    {
        const std::string text = TestFolder::Read(m_path);
        ASSERT_TRUE(text.empty() || text.back() == '\n') << when << ": the last line is cut";
        std::map<std::string, int> sections;
        std::string section;
        size_t start = 0;
        while (start < text.size()) {
            const size_t end = text.find('\n', start);
            const std::string line = text.substr(start, end - start);
            start = end + 1;
            if (!line.empty() && line.front() == '[') {
                ASSERT_EQ(line.back(), ']') << when << ": " << line;
                section = line.substr(1, line.size() - 2);
                ASSERT_EQ(++sections[section], 1) << when << ": section twice: " << section;
                continue;
            }
            const size_t equals = line.find('=');
            ASSERT_FALSE(section.empty() || equals == std::string::npos) << when << ": stray line " << line;
            const std::string value = line.substr(equals + 1);
            const size_t comma = value.find(',');
            ASSERT_TRUE(comma != std::string::npos && value.substr(comma + 1) == std::string(kPadding, 'v'))
                << when << ": torn value in " << line;
        }
        for (const auto& [key, sequence] : m_latest) {
            const std::string value = ProfileFile::GetString(m_path, SectionOf(key), KeyName(key), "", 4096);
            ASSERT_FALSE(value.empty()) << when << ": lost " << SectionOf(key) << "/" << KeyName(key);
            // A write that returned after the last report of a killed writer may be newer.
            EXPECT_GE(std::stoul(value), sequence) << when << ": stale " << KeyName(key);
        }
    }

private:
    void Drain(int slot)
    {
        Writer& writer = m_writers[slot];
        Report reports[64];
        const ssize_t n = read(writer.reportFd, reports, sizeof reports);
        if (n <= 0) {
            Reap(slot);
            return;
        }
        ASSERT_EQ(n % static_cast<ssize_t>(sizeof(Report)), 0);
        for (ssize_t i = 0; i < n / static_cast<ssize_t>(sizeof(Report)); ++i) {
            m_latest[reports[i].key] = reports[i].sequence;
            ++m_reports;
        }
    }

    // Every report already in the pipe counts: those writes returned before the kill.
    void Reap(int slot)
    {
        Writer& writer = m_writers[slot];
        int status = 0;
        ASSERT_EQ(waitpid(writer.pid, &status, 0), writer.pid);
        const bool killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        EXPECT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << "writer status " << status;
        writer.pid = -1;
        const int flags = fcntl(writer.reportFd, F_GETFL);
        fcntl(writer.reportFd, F_SETFL, flags | O_NONBLOCK);
        Report reports[64];
        ssize_t n;
        while ((n = read(writer.reportFd, reports, sizeof reports)) > 0)
            for (ssize_t i = 0; i < n / static_cast<ssize_t>(sizeof(Report)); ++i) {
                m_latest[reports[i].key] = reports[i].sequence;
                ++m_reports;
            }
        close(writer.reportFd);
        writer.reportFd = -1;
    }

    std::string m_path;
    Writer m_writers[kWriters];
    std::map<uint32_t, uint32_t> m_latest;
    uint32_t m_generation = 0;
    size_t m_reports = 0;
    int m_kills = 0;
};

TEST(ProfileCrash, WritersKilledAtRandomLoseNothingThatReturned)
{
    TestFolder folder;
    const std::string path = folder.File("Quillon.ini");
    CrashBench bench(path);
    for (int slot = 0; slot < kWriters; ++slot)
        bench.Spawn(slot);

    std::mt19937 random(16);
    while (bench.Kills() < kKills && !testing::Test::HasFatalFailure()) {
        // A random number of reports, then a random pause, then a random writer dies.
        const size_t until = bench.Reports() + random() % 40;
        while (bench.Reports() < until && bench.Collect(true)) {
        }
        usleep(random() % 3000);
        const int slot = static_cast<int>(random() % kWriters);
        bench.Kill(slot);
        bench.Spawn(slot);
        if (bench.Kills() % 8 == 0)
            bench.Check("between kills");
    }
    while (bench.Collect(true)) {
    }
    ASSERT_EQ(bench.Kills(), kKills);
    bench.Check("at the end");
    EXPECT_GE(bench.Reports(), static_cast<size_t>(kWriters * kWritesPerWriter));

    // Killed writers leave no temporary files piling up beside the settings.
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        names.push_back(entry.path().filename().string());
    EXPECT_EQ(names, std::vector<std::string>{"Quillon.ini"});
}

}  // namespace
