// The monitor window's receive path: the line decoder alone into a full ring, beside the cost of
// formatting the same lines with snprintf alone; and the simulator's monitor traffic end to end,
// from its thread through the callback, the object queue and the decoder into the ring, at rates
// raised until items back up.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>

#include "logical_link/PDUObjectQueue.h"
#include "monitor_link/MonitorLineDecoder.h"
#include "pdu/MorvaneExtensions.h"
#include "platform/Semaphore.h"

namespace {

constexpr uint32_t kItemsPerNotice = 1000;

// One item handed out again and again: the library's cost is not measured here.
class BenchItem final : public KdMonitorItem {
public:
    BenchItem(uint32_t length, uint32_t id) : m_data(length), m_id(id)
    {
        for (uint32_t i = 0; i < length; ++i) m_data[i] = static_cast<uint8_t>(i * 7);
    }
    void Reserved0() override {}
    uint32_t GetType() override { return KD_OBJT_ITEM; }
    void Release() override {}
    void AddRef() override {}
    uint32_t GetDataLength() override { return static_cast<uint32_t>(m_data.size()); }
    uint32_t GetTimestamp() override { return m_timestamp += 100; }
    uint32_t GetId() override { return m_id; }
    bool IsExtendedId() override { return false; }
    bool HasId() override { return true; }
    bool HasTimestamp() override { return true; }
    bool IsFd() override { return m_data.size() > 8; }
    bool IsBrs() override { return m_data.size() > 8; }
    uint32_t GetItemType() override { return m_data.size() > 8 ? KD_IT_CANFD_RX : KD_IT_CAN_RX; }
    const uint8_t* GetData() override { return m_data.empty() ? nullptr : m_data.data(); }
    void ItemReserved10() override {}
    void GetClampState(uint8_t*, uint8_t*) override {}
    void ItemReserved12() override {}
    void ItemReserved13() override {}
    void ItemReserved14() override {}
    uint32_t GetSubType() override { return 0; }
    const std::vector<uint8_t>& Data() const { return m_data; }

private:
    std::vector<uint8_t> m_data;
    uint32_t m_id;
    uint32_t m_timestamp = 0;
};

// A link that holds kItemsPerNotice items for every notice.
class BenchLink final : public KdMonitorLink {
public:
    explicit BenchLink(BenchItem& item) : m_item(item) {}
    void Refill() { m_left = kItemsPerNotice; }
    void Reserved0() override {}
    uint32_t GetType() override { return KD_OBJT_LINK; }
    void Release() override {}
    void AddRef() override {}
    void Close(uint32_t) override {}
    void LinkReserved1() override {}
    KdObject* GetItem(uint32_t) override { return m_left-- > 0 ? &m_item : nullptr; }
    void Open() override {}
    void ApplyParams() override {}
    void LinkReserved5() override {}
    void LinkReserved6() override {}
    void LinkReserved7() override {}
    void LinkReserved8() override {}
    void SetEventCallback(KdMonitorEventCallback) override {}
    uint32_t GetArraySize(const char*) override { return 0; }
    uint32_t GetCount() override { return 2; }
    uint32_t GetType(const char*) override { return KDT_PAR_TYPE_U32; }
    const char* GetName(uint32_t) override { return ""; }
    int32_t GetS32(const char*) override { return 0; }
    void GetU32Array(uint32_t, uint32_t*, const char*) override {}
    void GetU8Array(uint32_t, uint8_t*, const char*) override {}
    uint32_t GetU32(const char* name) override { return name[0] == 'B' ? 500000 : 2000000; }
    void SetS32(int32_t, const char*) override {}
    void SetU8Array(uint32_t, const uint8_t*, const char*) override {}
    void SetU32(uint32_t, const char*) override {}
    void SetU32Array(uint32_t, const uint32_t*, const char*) override {}
    const char* GetTextValue(const char*) override { return ""; }
    void SetTextValue(const char*, const char*) override {}

private:
    BenchItem& m_item;
    int m_left = 0;
};

struct DecoderBench {
    PrintListCtrl list;
    controls::Edit monCount{185, ""}, itemsPerSecond{2018, ""}, busLoad{2029, ""};
    MonitorLineDecoder decoder{list, monCount, itemsPerSecond, busLoad};

    DecoderBench()
    {
        decoder.SetBusTypeName("ISO_11898_2_DWCAN");
        // The ring full from the start, as after a while of traffic.
        for (uint32_t i = 0; i < PrintListCtrl::ROWS; ++i) list.PrintText(0, "x\n");
    }
};

std::vector<int> FiftyOtherIds()
{
    std::vector<int> ids;
    for (int i = 0; i < 50; ++i) ids.push_back(0x600 + i);
    return ids;
}

// Arguments: data length, link event rows, filter of 50 ids.
void BM_Decoder(benchmark::State& state)
{
    const auto length = static_cast<uint32_t>(state.range(0));
    DecoderBench bench;
    bench.decoder.SetSuppressLinkEvents(state.range(1) == 0);
    if (state.range(2)) bench.decoder.SetFilter(MonitorLineDecoder::FILTER_NEGATIVE, FiftyOtherIds());
    BenchItem item(length, 0x7e8);
    BenchLink link(item);
    for (auto _ : state) {
        link.Refill();
        bench.decoder.DecodeMonitorEvent(&link, 0x101);
    }
    const double rowsPerItem = (length == 0 ? 1 : (length + 7) / 8) + (state.range(1) ? 1 : 0);
    state.SetItemsProcessed(state.iterations() * kItemsPerNotice);
    state.counters["rows/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kItemsPerNotice * rowsPerItem,
                                                  benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Decoder)->ArgNames({"bytes", "LE", "filter50"})->ArgsProduct({{0, 8, 64}, {0, 1}, {0, 1}});

// The floor: the same texts, one snprintf each, into a stack buffer and nowhere else.
void BM_SnprintfFloor(benchmark::State& state)
{
    const auto length = static_cast<uint32_t>(state.range(0));
    const bool linkEvents = state.range(1) != 0;
    BenchItem item(length, 0x7e8);
    const uint8_t* data = item.GetData();
    char line[4096], piece[64];
    uint32_t ts = 0;
    for (auto _ : state) {
        for (uint32_t n = 0; n < kItemsPerNotice; ++n) {
            ts += 100;
            if (linkEvents) {
                std::snprintf(piece, sizeof piece, "(0x%x)", 0x101);
                std::snprintf(piece, sizeof piece, "%u\n", ts);
            }
            char time[128];
            std::snprintf(time, sizeof time, "%.3f", 100 / 1000.0);
            const uint32_t rows = length == 0 ? 1 : (length + 7) / 8;
            int used = 0;
            for (uint32_t row = 0; row < rows; ++row) {
                char hex[25] = "<NO DATA>";
                const uint32_t count = length == 0 ? 0 : std::min<uint32_t>(8, length - row * 8);
                for (uint32_t i = 0; i < count; ++i)
                    std::snprintf(hex + (i ? 3 * i - 1 : 0), sizeof hex - (i ? 3 * i - 1 : 0), i ? " %02x" : "%02x",
                                  data[row * 8 + i]);
                if (row == 0)
                    used += std::snprintf(line + used, sizeof line - used, "%s|%s|%8.x|%d|%s", "R", time, 0x7e8u,
                                          static_cast<int>(length), hex);
                else
                    used += std::snprintf(line + used, sizeof line - used, " | | | |%s", hex);
                if (length != 0)
                    used += std::snprintf(line + used, sizeof line - used, row + 1 < rows ? "|%8s|%c|" : "|%8s",
                                          "........", '\x01');
            }
            benchmark::DoNotOptimize(line);
        }
    }
    state.SetItemsProcessed(state.iterations() * kItemsPerNotice);
}
BENCHMARK(BM_SnprintfFloor)->ArgNames({"bytes", "LE"})->ArgsProduct({{0, 8, 64}, {0, 1}});

// The monitor window's receive thread, as it will be: the callback queues the notice and
// releases the semaphore; the thread decodes each notice's items into the ring.
struct Receiver {
    static inline PDUObjectQueue queue;
    static inline platform::Semaphore semaphore{0, 65535};
    static inline std::atomic<uint32_t> deepest{0};

    static void OnMonitorEvent(uint32_t handle, KdObject* object)
    {
        queue.Put(object, handle);
        semaphore.Release();
    }
};

template <typename Fn>
Fn Symbol(void* library, const char* name)
{
    return reinterpret_cast<Fn>(dlsym(library, name));
}

void BM_EndToEnd(benchmark::State& state)
{
    void* library = dlopen(QUILLON_RUNTIME_DIR "/libpdusim.so", RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        state.SkipWithError("no simulator in this build");
        return;
    }
    const auto construct = Symbol<PFN_PDUConstruct>(library, "PDUConstruct");
    const auto destruct = Symbol<PFN_PDUDestruct>(library, "PDUDestruct");
    const auto connect = Symbol<PFN_PDUModuleConnect>(library, "PDUModuleConnect");
    const auto objectId = Symbol<PFN_PDUGetObjectId>(library, "PDUGetObjectId");
    const auto ioCtl = Symbol<PFN_PDUIoCtl>(library, "PDUIoCtl");
    const auto destroy = Symbol<PFN_PDUDestroyItem>(library, "PDUDestroyItem");
    construct(const_cast<char*>(""), nullptr);
    connect(1);
    UNUM32 id = 0;
    objectId(PDU_OBJT_IO_CTRL, const_cast<char*>(PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE), &id);
    PDU_DATA_ITEM* out = nullptr;
    KdMonitorService* service = nullptr;
    if (ioCtl(1, PDU_HANDLE_UNDEF, id, nullptr, &out) == PDU_STATUS_NOERROR && out) {
        std::memcpy(&service, static_cast<PDU_IO_BYTEARRAY_DATA*>(out->pData)->pData, sizeof service);
        destroy(reinterpret_cast<PDU_ITEM*>(out));
    }
    if (!service) {
        state.SkipWithError("no monitor service");
        destruct();
        return;
    }
    service->OpenHardware(518, "ZentaStick", -1);
    KdMonitorLink* link = service->GetMonitorLink(service->CreateMonitorLink(518, "ZentaStick", "ISO_11898_2_DWCAN", -1));
    link->SetU32(0, "TrafficRate");
    link->SetU32(256, "ItemsPerNotice");
    link->SetEventCallback(&Receiver::OnMonitorEvent);

    DecoderBench bench;
    bench.decoder.SetSuppressLinkEvents(true);
    std::atomic<bool> running{true};
    std::thread receiver([&] {
        while (running) {
            Receiver::semaphore.Wait();
            Receiver::deepest = std::max(Receiver::deepest.load(), Receiver::queue.GetCount());
            uint32_t handle = 0;
            while (KdObject* object = Receiver::queue.Get(&handle)) {
                if (object->GetType() == KD_OBJT_EVENT) bench.decoder.DecodeMonitorEvent(link, handle);
                object->Release();
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        }
    });
    link->Open();
    const auto generated = [&] { return link->GetU32("GeneratedItems"); };
    double sustained = 0;
    int64_t deepestBacklog = 0;
    const auto backlogNow = [&] { return static_cast<int64_t>(generated()) - bench.decoder.MonCount(); };
    for (auto _ : state) {
        for (uint32_t rate = 50000; rate <= 6400000; rate = rate * 3 / 2) {
            const uint32_t g0 = generated(), d0 = bench.decoder.MonCount();
            const auto start = std::chrono::steady_clock::now();
            link->SetU32(rate, "TrafficRate");
            int64_t backlog = 0;
            for (int tick = 0; tick < 100; ++tick) {  // a second
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                backlog = std::max(backlog, backlogNow());
            }
            const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            const double decoded = (bench.decoder.MonCount() - d0) / seconds;
            const double offered = (generated() - g0) / seconds;
            link->SetU32(0, "TrafficRate");
            std::fprintf(stderr, "rate %8u/s: generated %10.0f/s decoded %10.0f/s deepest backlog %lld items\n", rate,
                         offered, decoded, static_cast<long long>(backlog));
            // Backed up: more than 50 ms of traffic waiting, or the generator itself fell behind.
            if (backlog > rate / 20 || offered < rate * 0.9) break;
            sustained = decoded;
            deepestBacklog = std::max(deepestBacklog, backlog);
            for (int wait = 0; wait < 200 && generated() != bench.decoder.MonCount(); ++wait)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    for (int wait = 0; wait < 500 && generated() != bench.decoder.MonCount(); ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    state.counters["sustained items/s"] = sustained;
    state.counters["deepest notice queue"] = Receiver::deepest.load();
    state.counters["deepest item backlog"] = static_cast<double>(deepestBacklog);
    state.counters["lost"] = static_cast<double>(link->GetU32("LostItems")) + static_cast<double>(backlogNow());
    link->Close(0);
    running = false;
    Receiver::semaphore.Release();
    receiver.join();
    Receiver::queue.Clear();
    link->Release();
    service->CloseHardware(518, "ZentaStick");
    destruct();
}
BENCHMARK(BM_EndToEnd)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
