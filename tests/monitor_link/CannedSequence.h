// The simulator's canned monitor sequence as the decoder's tests feed it, item for item, with the
// rows the monitor list shows for it (fixtures/monitor_link/canned_sequence.txt).
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "FakeMonitor.h"

inline std::vector<FakeItem> CannedItems()
{
    const auto frame = [](uint32_t type, uint32_t ts, uint32_t id, std::vector<uint8_t> data) {
        FakeItem item;
        item.type = type;
        item.timestamp = ts;
        item.id = id;
        item.data = std::move(data);
        return item;
    };
    const auto event = [](uint32_t type, uint32_t sub, uint32_t ts, std::vector<uint8_t> data) {
        FakeItem item;
        item.type = type;
        item.subType = sub;
        item.timestamp = ts;
        item.hasId = false;
        item.data = std::move(data);
        return item;
    };
    const std::vector<uint8_t> request = {0x03, 0x22, 0xf1, 0x90, 'A', 'B', 'C', 0x7f};
    std::vector<FakeItem> items;
    items.push_back(frame(KD_IT_CAN_RX, 1000, 0x7e8, request));
    items.push_back(frame(KD_IT_CAN_TX, 1500, 0x18da10f1, {0x02, 0x3e, 0x00}));
    items.back().extended = true;
    std::vector<uint8_t> counting(64);
    for (uint8_t i = 0; i < 64; ++i) counting[i] = i;
    items.push_back(frame(KD_IT_CANFD_RX, 2500, 0x123, counting));
    items.back().fd = items.back().brs = true;
    items.push_back(frame(KD_IT_CANFD_TX, 2500, 0x456, std::vector<uint8_t>(counting.begin() + 0x30, counting.begin() + 0x3c)));
    items.back().fd = true;
    items.push_back(frame(KD_IT_CAN_RX, 3000, 0, {}));
    items.back().hasId = false;
    items.push_back(frame(KD_IT_CAN_RX, 3000, 0, {}));
    items.back().extended = true;
    items.push_back(frame(KD_IT_CAN_RX, 0, 0, {0x55}));
    items.back().hasTimestamp = false;
    items.push_back(frame(KD_IT_CAN_RX, 2995, 0x100, {0x01, 0x02}));  // 5 us back
    items.push_back(event(KD_IT_OVERRUN, 0, 3100, {}));
    items.push_back(event(KD_IT_ERROR, 133, 3200, {0x00, 0x11, 0x22, 0x33, 0x44}));
    items.push_back(event(KD_IT_ERROR_2, 42, 3200, {0x00, 0x01}));  // a record too short
    items.push_back(event(KD_IT_LINE_ERROR, 7, 3300, {}));
    items.push_back(event(KD_IT_MONITOR_FLUSH, 1, 3400, {}));
    items.push_back(event(KD_IT_CLAMP, 0, 3600, {1, 1}));
    items.push_back(event(KD_IT_CHIP_STATE, 131, 3600, {0x00, 0x02, 0x00, 0x80, 0x10}));
    items.push_back(frame(KD_IT_INFO, 3700, 0x10, {1, 2, 3}));
    items.back().subType = KD_IST_I;
    const uint32_t infoKinds[] = {KD_IST_J, KD_IST_S, KD_IST_L, KD_IST_H, KD_IST_K};
    const char infoLetters[] = "JSLHK";
    for (uint32_t i = 0; i < 5; ++i) {
        items.push_back(frame(KD_IT_INFO, 3800 + 100 * i, 0x11 + i, {static_cast<uint8_t>(infoLetters[i])}));
        items.back().subType = infoKinds[i];
    }
    const uint32_t frameKinds[] = {KD_IT_LIN_RX, KD_IT_LIN_TX, KD_IT_KLINE_RX, KD_IT_KLINE_TX, 0x99990000};
    const char frameLetters[] = "RTRT?";
    for (uint32_t i = 0; i < 5; ++i)
        items.push_back(frame(frameKinds[i], 4300 + 100 * i, 0x21 + i, {static_cast<uint8_t>(frameLetters[i])}));
    items.push_back(frame(KD_IT_CAN_RX, 1004700, 0x7e8, request));  // closes the first second
    items.push_back(event(KD_IT_CAN_RX, 0, 0, {}));
    items.back().objectType = KD_OBJT_EVENT;  // no item: decoding of the notice ends here
    items.push_back(frame(KD_IT_CAN_RX, 1004800, 0x7ff, {0x01}));
    return items;
}

// The baud item that ApplyParams adds after the sequence.
inline FakeItem CannedBaudItem()
{
    FakeItem item;
    item.type = KD_IT_INFO;
    item.subType = KD_IST_BAUD;
    item.timestamp = 1004900;
    item.hasId = false;
    item.data = {0x20, 0x4e, 0x00, 0x00, 0x01};  // 20000 baud, format 1
    return item;
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
