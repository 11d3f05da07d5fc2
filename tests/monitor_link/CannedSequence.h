// The simulator's canned monitor sequence as the decoder's tests feed it, item for item, with the
// rows the monitor list shows for it (fixtures/monitor_link/canned_sequence.txt), written by hand
// from the line forms.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "FakeMonitor.h"
#include "MonitorTraffic.h"

inline std::vector<FakeItem> CannedItems()
{
    std::vector<FakeItem> items;
    for (const pdusim::CannedEntry& entry : pdusim::CannedSequence()) {
        items.emplace_back(entry.item);
        if (entry.notItem) items.back().objectType = KD_OBJT_EVENT;
    }
    return items;
}

// The baud item that ApplyParams adds after the sequence.
inline FakeItem CannedBaudItem()
{
    return FakeItem(pdusim::BaudItem(20000, true, pdusim::kCannedEnd + 100));
}

inline std::vector<std::string> CannedRows()
{
    std::ifstream in(QUILLON_FIXTURES_DIR "/monitor_link/canned_sequence.txt");
    std::vector<std::string> rows;
    for (std::string line; std::getline(in, line);) rows.push_back(line);
    return rows;
}

// The bus load and items per second of the first second at 20 kbit/s (2 Mbit/s data phase):
// 20 CAN lines in 1004700 us, 61.304 ms of bus time.
constexpr const char* kCannedItemsPerSecond = "19";
constexpr const char* kCannedBusLoad = "6.10";
constexpr uint32_t kCannedMonCount = 28;
