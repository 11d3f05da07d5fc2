// What a monitor link plays: the canned sequence on its virtual clock, which shows every kind of
// item once, and the background traffic of a bus.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "MonitorItem.h"

namespace pdusim {

// The canned sequence; an entry with `notItem` set stands for an object that is no item.
struct CannedEntry {
    MonitorItemContent item;
    bool notItem = false;
};
std::vector<CannedEntry> CannedSequence();
// Where the virtual clock stands after the sequence.
constexpr uint32_t kCannedEnd = 1004800;

enum class MonitorBus { Can, KLine, Lin };
// By the bus type's short name: UART buses are K-Line.
MonitorBus MonitorBusOf(const std::string& busName);
// The n-th item of a bus's background traffic at the given time.
MonitorItemContent BackgroundItem(uint64_t n, uint32_t timestamp, MonitorBus bus);
// The baud item that follows ApplyParams.
MonitorItemContent BaudItem(uint32_t baud, bool fd, uint32_t timestamp);

}  // namespace pdusim
