// What a log write costs the writing thread, and what the UI thread's flush costs at a full ring.
#include <benchmark/benchmark.h>

#include <string>

#include "controls/PrintListCtrl.h"

namespace {

// Writers usually meet a full ring whose cells already hold text of the size they write.
void FillRing(controls::PrintListCtrl& list) {
    for (uint32_t i = 0; i < controls::PrintListCtrl::ROWS; ++i)
        list.Print(0, "Return of PDUConnect:\n%s\n", "PDU_STATUS_NOERROR");
    list.Flush();
}

void BM_PrintFormattedCall(benchmark::State& state) {
    controls::PrintListCtrl list;
    FillRing(list);
    for (auto _ : state)
        list.Print(0, "Return of PDUConnect:\n%s\n", "PDU_STATUS_NOERROR");
    state.SetItemsProcessed(state.iterations());
    state.counters["rows/s"] = benchmark::Counter(2.0 * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PrintFormattedCall);

void BM_PrintHexLine(benchmark::State& state) {
    controls::PrintListCtrl list;
    FillRing(list);
    unsigned n = 0;
    for (auto _ : state) {
        list.Print(0, "hCoP=%u Rx: %02X %02X %02X %02X %02X %02X %02X %02X\n", n, n & 0xff, 0x62, 0xf1, 0x90, 0x57,
                   0x30, 0x4c, 0x33);
        ++n;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PrintHexLine);

void BM_PrintTextLine(benchmark::State& state) {
    controls::PrintListCtrl list;
    FillRing(list);
    for (auto _ : state)
        list.PrintText(0, "----------------------------------------------------\n");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PrintTextLine);

// A flush after one new line at a full ring: the 50 ms timer's work on a busy log.
void BM_FlushFullRing(benchmark::State& state) {
    controls::PrintListCtrl list;
    FillRing(list);
    for (auto _ : state) {
        list.PrintText(0, "x\n");
        benchmark::DoNotOptimize(list.Flush());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FlushFullRing);

void BM_FlushIdle(benchmark::State& state) {
    controls::PrintListCtrl list;
    FillRing(list);
    for (auto _ : state)
        benchmark::DoNotOptimize(list.Flush());
}
BENCHMARK(BM_FlushIdle);

// What the view reads for one screen: 36 rows of the one log column.
void BM_PaintScreen(benchmark::State& state) {
    controls::PrintListCtrl list;
    FillRing(list);
    for (auto _ : state) {
        for (int row = 20000 - 36; row < 20000; ++row) {
            benchmark::DoNotOptimize(list.GetItemText(row, 0));
            benchmark::DoNotOptimize(list.GetRowColour(row));
        }
    }
}
BENCHMARK(BM_PaintScreen);

void BM_ConstructRing(benchmark::State& state) {
    for (auto _ : state) {
        controls::PrintListCtrl list;
        benchmark::DoNotOptimize(&list);
    }
}
BENCHMARK(BM_ConstructRing);

}  // namespace

BENCHMARK_MAIN();
