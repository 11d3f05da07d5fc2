// The receive path of a link window: one result item from the library's hands to rows in the
// log's ring (decode, format, append, the event counter), beside the cost of formatting the same
// lines with snprintf alone; and a cyclic ComPrimitive through the simulator, end to end.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

#include "app/CQuillonDlg.h"
#include "description/NumberText.h"
#include "headless/HeadlessUi.h"
#include "logical_link/LoLiDialogKeldaPDUAPI.h"

namespace {

// A positive answer to "22 F1 90": 20 bytes, as the simulator's engine sends it.
struct ResultItem {
    UNUM8 rxFlags[4] = {0, 0, 0, 0x40};
    UNUM8 tsFlags[4] = {0xC0, 0, 0, 0};
    UNUM8 data[20] = {0x62, 0xF1, 0x90, 'W', 'Q', 'U', '0', 'S', 'I', 'M', 'U', 'L', 'A', 'T', 'O', 'R', '0', '0', '0', '1'};
    PDU_RESULT_DATA result{{4, rxFlags}, 1, 1, {4, tsFlags}, 100, 200, nullptr, 20, data};
    PDU_EVENT_ITEM item{PDU_IT_RESULT, 7, nullptr, 12345, &result};
};

class BenchHost : public LinkHost {
public:
    std::recursive_mutex& GetPrintLock() override { return m_printLock; }
    std::string GetIniPath() override { return {}; }
    LinkComParams::Model GetDescriptionModel() override { return {}; }
    std::vector<ErrorCodeInfo> CopyVendorErrors() override { return {}; }
    bool LinkWithoutComParamsAllowed() override { return true; }
    void OnLinkClosed(CLinkBaseDlg*) override {}

private:
    std::recursive_mutex m_printLock;
};

void ReceivePath(benchmark::State& state, bool screenDisabled)
{
    std::ostringstream out;
    HeadlessUi ui(out);
    BenchHost host;
    auto dialog = MakeLinkDialog<LoLiDialogKeldaPDUAPI>(ui);
    dialog->m_pMainDlg = &host;
    dialog->m_pUIThread = std::make_shared<UIThread>(host.GetPrintLock());
    dialog->m_log.Prepare();
    dialog->m_RecvCountEdit.SetWindowText("0");
    dialog->m_screenDisabled = screenDisabled;
    const uint8_t flags[4] = {0x40, 0, 0, 0};
    const LinkEventDecoder decoder(LinkEventDecoder::Variant::Full, flags);
    ResultItem result;
    LogLines lines;
    for (auto _ : state) benchmark::DoNotOptimize(dialog->ProcessEventItem(decoder, result.item, lines));
    state.SetItemsProcessed(state.iterations());
}

void BM_ReceiveResultScreenOn(benchmark::State& state) { ReceivePath(state, false); }
BENCHMARK(BM_ReceiveResultScreenOn);

void BM_ReceiveResultScreenDisabled(benchmark::State& state) { ReceivePath(state, true); }
BENCHMARK(BM_ReceiveResultScreenDisabled);

// The floor: the same lines formatted one snprintf each into a buffer, nothing else.
void BM_SnprintfFloor(benchmark::State& state)
{
    ResultItem r;
    char buffer[1025];
    for (auto _ : state) {
        size_t n = 0;
        const auto put = [&](int written) { n += static_cast<size_t>(written > 0 ? written : 0); };
        const char* sep = "-------------------------------------------------------\n";
        put(std::snprintf(buffer, sizeof buffer, "%s", sep));
        put(std::snprintf(buffer, sizeof buffer, "Received an event item from the PDU-API:\n"));
        put(std::snprintf(buffer, sizeof buffer, "hCoP=%u \n", r.item.hCop));
        put(std::snprintf(buffer, sizeof buffer, "ItemType=PDU_IT_RESULT.\n"));
        put(std::snprintf(buffer, sizeof buffer, "%s", sep));
        put(std::snprintf(buffer, sizeof buffer, "******************* RxFlags Data *********************\n"));
        put(std::snprintf(buffer, sizeof buffer, " Number of RxFlag bytes: %d", 4));
        put(std::snprintf(buffer, sizeof buffer, "\n"));
        put(std::snprintf(buffer, sizeof buffer, " - Segmented CAN message received\n"));
        put(std::snprintf(buffer, sizeof buffer, " UniqueRespIdentifier = %d.\n", 1));
        put(std::snprintf(buffer, sizeof buffer, " AcceptanceId         = 0x%x.\n", 1));
        put(std::snprintf(buffer, sizeof buffer, " ExtraInfo            = "));
        put(std::snprintf(buffer, sizeof buffer, "0\n"));
        put(std::snprintf(buffer, sizeof buffer, " NumDataBytes         = %d\n", 20));
        put(std::snprintf(buffer, sizeof buffer, " Result Data:\n"));
        for (uint32_t i = 0; i < 20; ++i)
            put(std::snprintf(buffer, sizeof buffer, i % 7 == 6 ? " 0x%02x \n" : " 0x%02x ", r.data[i]));
        put(std::snprintf(buffer, sizeof buffer, "\n"));
        char count[16];
        put(std::snprintf(count, sizeof count, "%d", static_cast<int>(state.iterations())));
        benchmark::DoNotOptimize(n);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SnprintfFloor);

// The whole bench on the simulator: a cyclic ComPrimitive as fast as the simulator runs it,
// every result through the library, the callback, the receive thread, the counter and the log.
void EndToEnd(benchmark::State& state, bool screenDisabled)
{
    const std::string bin = QUILLON_RUNTIME_DIR;
    if (!std::filesystem::exists(bin + "/libpdusim.so")) {
        state.SkipWithError("no simulator in this build");
        return;
    }
    setenv("PDUSIM_FAULTS", "slow:0", 1);
    const std::string dir = std::filesystem::temp_directory_path() / "quillon-bench";
    std::filesystem::create_directories(dir);
    std::ostringstream out;
    HeadlessUi ui(out);
    StartupOptions options;
    options.iniPath = dir + "/Quillon.ini";
    options.rootFilePath = bin + "/pdu_api_root.xml";
    options.arguments = {"-m1"};
    CQuillonDlg main(ui, options);
    main.OnInitDialog();
    main.m_ApiCombo.UserSelect(main.m_ApiCombo.FindStringExact(-1, "MRVNE_PDUSIM"));
    main.m_ParseMdfButton.Click();
    main.m_ModuleConnectButton.Click();
    main.m_OpenLoLiButton.Click();
    auto* link = main.m_LinkDialogs.empty() ? nullptr : dynamic_cast<LoLiDialogKeldaPDUAPI*>(main.m_LinkDialogs.back());
    if (!link) {
        state.SkipWithError("no link window");
        return;
    }
    link->m_OpenButton.Click();
    link->m_DisableScreenCheck.UserSetCheck(screenDisabled ? 1 : 0);
    link->m_SendCountEdit.SetWindowText("-1");
    link->m_CycleTimeEdit.SetWindowText("0");
    link->m_PduCombo.SetWindowText("22,F1,90");
    link->m_KdServiceButton.Click();
    const auto count = [&] { return ParseLong32(link->m_RecvCountEdit.GetWindowText(), 10); };
    const auto tick = [&] { link->OnTimer(link->m_timerId); };
    int32_t before = count();
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        // One iteration: the next 1000 events, with the window's timer running as it would.
        const int32_t target = before + 1000;
        while (count() < target) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            tick();
        }
        before = count();
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.counters["events/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * 1000 / seconds);
    link->m_CloseButton.Click();
    link->m_CloseWindowButton.Click();
    main.m_ExitButton.Click();
    unsetenv("PDUSIM_FAULTS");
}

void BM_EndToEndScreenOn(benchmark::State& state) { EndToEnd(state, false); }
BENCHMARK(BM_EndToEndScreenOn)->Iterations(200)->UseRealTime();

void BM_EndToEndScreenDisabled(benchmark::State& state) { EndToEnd(state, true); }
BENCHMARK(BM_EndToEndScreenDisabled)->Iterations(200)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
