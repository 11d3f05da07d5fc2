// Long runs of the bench on the simulator, headless, as a user's bench would drive it through a
// root file: link open/close cycles with ComPrimitives in flight, a million ComPrimitives
// through one link, and a monitor window at full traffic. Each prints resident memory at start,
// middle and end, the longest close, and checks the log ring holds the last rows it should.
// Usage: bench_soak cycles N | cops N | monitor SECONDS      (exit code 1 when a check fails)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "app/CQuillonDlg.h"
#include "description/NumberText.h"
#include "headless/HeadlessUi.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"
#include "monitor_link/CMoLiDlg.h"

namespace {

using Clock = std::chrono::steady_clock;

double Since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::string Memory()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    std::string rss;
    std::string hwm;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            rss = line.substr(6);
        if (line.rfind("VmHWM:", 0) == 0)
            hwm = line.substr(6);
    }
    const auto trim = [](std::string s) {
        s.erase(0, s.find_first_not_of(" \t"));
        return s;
    };
    return "VmRSS " + trim(rss) + ", VmHWM " + trim(hwm);
}

int g_failures = 0;
CQuillonDlg* g_main = nullptr;

void Check(bool ok, const std::string& what)
{
    std::printf("%s %s\n", ok ? "[ok]  " : "[FAIL]", what.c_str());
    std::fflush(stdout);
    if (!ok)
        ++g_failures;
}

// Polls `done` with the window's timer running as the toolkit would run it; false on time-out.
bool WaitFor(const std::function<bool()>& done, const std::function<void()>& tick, int timeoutMs)
{
    const auto start = Clock::now();
    while (!done()) {
        if (Since(start) > timeoutMs)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        if (tick)
            tick();
    }
    return true;
}

class Bench {
public:
    Bench() : m_ui(m_out)
    {
        const std::string bin = QUILLON_RUNTIME_DIR;
        m_dir = std::filesystem::temp_directory_path() / ("quillon-soak-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_dir);
        StartupOptions options;
        options.iniPath = m_dir + "/Quillon.ini";
        options.rootFilePath = bin + "/pdu_api_root.xml";
        options.arguments = {"-m1"};
        m_main = std::make_unique<CQuillonDlg>(m_ui, options);
        m_main->OnInitDialog();
        g_main = m_main.get();
        m_main->m_ApiCombo.UserSelect(m_main->m_ApiCombo.FindStringExact(-1, "MRVNE_PDUSIM"));
        m_main->m_ParseMdfButton.Click();
        m_main->m_ModuleConnectButton.Click();
    }
    ~Bench()
    {
        m_main->m_ExitButton.Click();
        m_main.reset();
        std::error_code ignored;
        std::filesystem::remove_all(m_dir, ignored);
    }

    CQuillonDlg& Main() { return *m_main; }

    LoLiDialogKeldaPDUAPI* OpenLink()
    {
        const size_t before = m_main->m_LinkDialogs.size();
        m_main->m_OpenLoLiButton.Click();
        if (m_main->m_LinkDialogs.size() != before + 1)
            return nullptr;
        auto* link = dynamic_cast<LoLiDialogKeldaPDUAPI*>(m_main->m_LinkDialogs.back());
        if (link)
            link->m_OpenButton.Click();
        return link;
    }

    // Offline, then the window: what a user's "Close", "Close Window" costs, in milliseconds.
    double CloseLink(LoLiDialogKeldaPDUAPI* link)
    {
        const auto start = Clock::now();
        link->m_CloseButton.Click();
        link->m_CloseWindowButton.Click();
        return Since(start);
    }

    // What the window has written to the output (message boxes among it) since the last call.
    std::string TakeOutput()
    {
        std::string text = m_out.str();
        m_out.str({});
        return text;
    }

private:
    std::ostringstream m_out;
    HeadlessUi m_ui;
    std::string m_dir;
    std::unique_ptr<CQuillonDlg> m_main;
};

int32_t RecvCount(LoLiDialogKeldaPDUAPI* link)
{
    return ParseLong32(link->m_RecvCountEdit.GetWindowText(), 10);
}

// The timers the toolkit would run: the window's and the main window's (whose tick lets go of
// the link windows closed since the last one).
std::function<void()> Ticker(CLinkBaseDlg* window)
{
    return [window] {
        window->OnTimer(window->m_timerId);
        g_main->OnTimer(g_main->m_nTimerId);
    };
}

// The ComPrimitives whose FINISHED status the log's ring holds: handle and row, oldest first.
struct Finished {
    uint32_t handle;
    size_t row;
};

std::vector<Finished> FinishedComPrimitives(const std::vector<std::string>& rows)
{
    std::vector<Finished> finished;
    for (size_t i = 1; i < rows.size(); ++i) {
        unsigned handle = 0;
        if (rows[i] == "ItemType=PDU_IT_STATUS: Status=PDU_COPST_FINISHED." &&
            std::sscanf(rows[i - 1].c_str(), "hCoP=%u ", &handle) == 1)
            finished.push_back({handle, i});
    }
    return finished;
}

int RunCycles(int cycles)
{
    Bench bench;
    std::printf("link open/close cycles: %d, a cyclic ComPrimitive in flight at each close\n", cycles);
    std::printf("start:  %s\n", Memory().c_str());
    double longest = 0;
    double total = 0;
    int inFlight = 0;
    int left = 0;
    const auto start = Clock::now();
    for (int cycle = 0; cycle < cycles; ++cycle) {
        LoLiDialogKeldaPDUAPI* link = bench.OpenLink();
        if (!link) {
            Check(false, "cycle " + std::to_string(cycle) + ": the link window opened");
            break;
        }
        link->m_SendCountEdit.SetWindowText("-1");
        link->m_CycleTimeEdit.SetWindowText("5");
        link->m_PduCombo.SetWindowText("22,F1,90");
        link->m_KdServiceButton.Click();
        // Some answers first, so the close meets a ComPrimitive that is really running.
        if (WaitFor([&] { return RecvCount(link) >= 3; }, Ticker(link), 5000))
            ++inFlight;
        const double close = bench.CloseLink(link);
        longest = std::max(longest, close);
        total += close;
        if (!bench.Main().m_LinkDialogs.empty())
            ++left;
        if (cycle == cycles / 2)
            std::printf("middle: %s (after %d cycles)\n", Memory().c_str(), cycle + 1);
        bench.TakeOutput();
    }
    std::printf("end:    %s\n", Memory().c_str());
    std::printf("closes: longest %.1f ms, mean %.1f ms; run %.1f s\n", longest, total / cycles, Since(start) / 1000);
    Check(inFlight == cycles, std::to_string(inFlight) + " of " + std::to_string(cycles) +
                                  " closes met a ComPrimitive with answers coming");
    Check(left == 0, "every link window went at its close (" + std::to_string(left) + " stayed)");
    return g_failures ? 1 : 0;
}

int RunComPrimitives(int total)
{
    Bench bench;
    LoLiDialogKeldaPDUAPI* link = bench.OpenLink();
    if (!link) {
        Check(false, "the link window opened");
        return 1;
    }
    std::printf("ComPrimitives through one link: %d (batches of 1000 starts, \"KdService\" repeated)\n", total);
    std::printf("start:  %s\n", Memory().c_str());
    constexpr int kBatch = 1000;
    link->m_SendCountEdit.SetWindowText("1");
    link->m_CycleTimeEdit.SetWindowText("0");
    link->m_PduCombo.SetWindowText("22,F1,90");
    const auto start = Clock::now();
    int started = 0;
    int32_t eventsPerCop = 0;
    int32_t firstBatchExtra = 0;
    bool stuck = false;
    while (started < total && !stuck) {
        const int batch = std::min(kBatch, total - started);
        const int32_t before = RecvCount(link);
        link->m_RepeatEdit.SetWindowText(std::to_string(batch));
        link->m_KdServiceButton.Click();
        if (eventsPerCop == 0) {
            // The first batch says how many events one ComPrimitive brings: wait until it stops.
            int32_t last = -1;
            while (RecvCount(link) != last) {
                last = RecvCount(link);
                WaitFor([] { return false; }, Ticker(link), 500);
            }
            eventsPerCop = (last - before) / batch;
            std::printf("events per ComPrimitive: %d (%d events from %d)\n", eventsPerCop, last - before, batch);
            // The link's own events (communication started) come with the first batch.
            firstBatchExtra = last - before - eventsPerCop * batch;
            if (eventsPerCop == 0) {
                Check(false, "the first batch brought events");
                return 1;
            }
        } else if (!WaitFor([&] { return RecvCount(link) >= before + eventsPerCop * batch; }, Ticker(link), 60000)) {
            stuck = true;
        }
        started += batch;
        if (started == total / 2 / kBatch * kBatch)
            std::printf("middle: %s (after %d ComPrimitives)\n", Memory().c_str(), started);
    }
    WaitFor([] { return false; }, Ticker(link), 300);
    const double seconds = Since(start) / 1000;
    std::printf("end:    %s\n", Memory().c_str());
    const int64_t expected = static_cast<int64_t>(eventsPerCop) * total + firstBatchExtra;
    Check(!stuck && RecvCount(link) == expected, "RecvCount " + std::to_string(RecvCount(link)) + " of " +
                                                     std::to_string(expected) + " events");
    // The ring holds the newest rows: the last ComPrimitives, each whole, one after another,
    // the same number of rows apart, up to the very last one started.
    const std::vector<std::string> rows = link->m_log.Rows();
    const std::vector<Finished> finished = FinishedComPrimitives(rows);
    bool whole = finished.size() > 2;
    const size_t spacing = whole ? finished[1].row - finished[0].row : 0;
    for (size_t i = 1; whole && i < finished.size(); ++i)
        whole = finished[i].handle == finished[i - 1].handle + 1 && finished[i].row - finished[i - 1].row == spacing;
    size_t lastRow = rows.size();
    while (lastRow > 0 && rows[lastRow - 1].empty())
        --lastRow;
    whole = whole && finished.front().row < spacing && finished.back().row + 1 == lastRow;
    Check(whole && finished.back().handle == static_cast<uint32_t>(total),
          "the log's ring (" + std::to_string(rows.size()) + " rows) holds the last " +
              std::to_string(finished.size()) + " ComPrimitives whole, " + std::to_string(spacing) +
              " rows each, handles " + (finished.empty() ? std::string("-") : std::to_string(finished.front().handle)) +
              " to " + (finished.empty() ? std::string("-") : std::to_string(finished.back().handle)));
    const double close = bench.CloseLink(link);
    std::printf("close: %.1f ms; run %.1f s (%.0f ComPrimitives/s)\n", close, seconds, total / seconds);
    Check(bench.Main().m_LinkDialogs.empty(), "the link window went at its close");
    return g_failures ? 1 : 0;
}

int RunMonitor(int seconds)
{
    Bench bench;
    CQuillonDlg& main = bench.Main();
    main.m_OpenMoLiButton.Click();
    if (main.m_MonitorDialogs.empty()) {
        Check(false, "the monitor window opened");
        return 1;
    }
    std::shared_ptr<CMoLiDlg> monitor = main.m_MonitorDialogs.back();
    std::printf("monitor window at %s items/s for %d s\n", std::getenv("PDUSIM_MONITOR_RATE"), seconds);
    std::printf("start:  %s\n", Memory().c_str());
    monitor->m_OpenButton.Click();
    const auto tick = Ticker(monitor.get());
    const auto start = Clock::now();
    bool middle = false;
    // The window's 50 ms timer, as the toolkit runs it.
    while (Since(start) < seconds * 1000.0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        tick();
        if (!middle && Since(start) >= seconds * 500.0) {
            std::printf("middle: %s (MonCount %u)\n", Memory().c_str(), monitor->Decoder().MonCount());
            middle = true;
        }
    }
    const auto closeStart = Clock::now();
    monitor->m_CloseButton.Click();
    const double closeLink = Since(closeStart);
    tick();
    const uint32_t count = monitor->Decoder().MonCount();
    // Before the copy of the rows below, which is the bench's and not the window's.
    std::printf("end:    %s (MonCount %u, %.0f items/s)\n", Memory().c_str(), count, count / (Since(start) / 1000));
    const std::vector<std::string> rows = monitor->m_List.Rows();
    const size_t frames = monitor->Trace().Size();
    Check(rows.size() == std::min<size_t>(count, controls::PrintListCtrl::ROWS),
          "the list holds " + std::to_string(rows.size()) + " rows of MonCount " + std::to_string(count));
    // The trace keeps the last million frames at least (it lets go of whole chunks).
    Check(frames <= count && (count < TraceStore::kDefaultCapacity * 11 / 10 ? frames > count * 9 / 10
                                                                             : frames >= TraceStore::kDefaultCapacity),
          "the trace holds " + std::to_string(frames) + " frames");
    // Every frame row after a link event says how long after the one before it came: in a ring
    // that lost no row, that is the gap between the two link events' times.
    size_t pairs = 0;
    size_t gaps = 0;
    int64_t previousEvent = -1;
    int64_t event = -1;
    for (size_t i = 0; i < rows.size(); ++i) {
        long long time = 0;
        unsigned whole = 0;
        unsigned thousandths = 0;
        char direction[8] = {};
        if (std::sscanf(rows[i].c_str(), "\tLINK EVENT\t(0x%*x)\t\tEVENT TIME:\t%lld", &time) == 1) {
            previousEvent = event;
            event = time;
        } else if (i > 0 && previousEvent >= 0 && rows[i - 1].find("LINK EVENT") != std::string::npos &&
                   std::sscanf(rows[i].c_str(), "%7[A-Z]\t%u,%u", direction, &whole, &thousandths) == 3) {
            ++pairs;
            if (static_cast<int64_t>(whole) * 1000 + thousandths != event - previousEvent) {
                if (gaps++ < 3)
                    std::printf("gap at row %zu: %s after %lld us\n", i, rows[i].c_str(),
                                static_cast<long long>(event - previousEvent));
            }
        }
    }
    Check(pairs > rows.size() / 4 && gaps == 0, std::to_string(pairs) + " frame rows checked against their link events' times, " +
                                                    std::to_string(gaps) + " gaps");
    const auto windowStart = Clock::now();
    monitor->m_CloseWindowButton.Click();
    const double closeWindow = Since(windowStart);
    std::printf("close: link %.1f ms, window %.1f ms\n", closeLink, closeWindow);
    monitor.reset();
    return g_failures ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    const int count = argc > 2 ? std::atoi(argv[2]) : 0;
    if (!std::filesystem::exists(std::string(QUILLON_RUNTIME_DIR) + "/libpdusim.so") || count <= 0) {
        std::fprintf(stderr, "usage: bench_soak cycles N | cops N | monitor SECONDS (with the simulator built)\n");
        return 2;
    }
    setenv("PDUSIM_FAULTS", "slow:0", 0);
    if (mode == "cycles")
        return RunCycles(count);
    if (mode == "cops")
        return RunComPrimitives(count);
    if (mode == "monitor") {
        setenv("PDUSIM_MONITOR_RATE", "20000", 0);
        return RunMonitor(count);
    }
    std::fprintf(stderr, "unknown mode %s\n", mode.c_str());
    return 2;
}
