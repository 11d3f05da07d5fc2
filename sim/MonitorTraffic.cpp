#include "MonitorTraffic.h"

namespace pdusim {
namespace {

MonitorItemContent Frame(uint32_t type, uint32_t ts, uint32_t id, std::vector<uint8_t> data) {
    MonitorItemContent item;
    item.type = type;
    item.timestamp = ts;
    item.id = id;
    item.data = std::move(data);
    return item;
}

MonitorItemContent Event(uint32_t type, uint32_t subType, uint32_t ts, std::vector<uint8_t> data) {
    MonitorItemContent item;
    item.type = type;
    item.subType = subType;
    item.timestamp = ts;
    item.hasId = false;
    item.data = std::move(data);
    return item;
}

std::vector<uint8_t> Counting(uint8_t from, uint8_t to) {
    std::vector<uint8_t> bytes;
    for (uint32_t b = from; b < to; ++b) bytes.push_back(static_cast<uint8_t>(b));
    return bytes;
}

// A LIN frame as the monitor delivers it: a flat record, length at 24, checksum at 31, data
// from 37 on, six bytes apart.
std::vector<uint8_t> LinRecord(const std::vector<uint8_t>& data) {
    std::vector<uint8_t> record(37 + 6 * data.size(), 0);
    record[24] = static_cast<uint8_t>(data.size());
    unsigned sum = 0;
    for (size_t i = 0; i < data.size(); ++i) {
        record[37 + 6 * i] = data[i];
        sum += data[i];
        if (sum > 0xff) sum -= 0xff;
    }
    record[31] = static_cast<uint8_t>(~sum);
    return record;
}

}  // namespace

std::vector<CannedEntry> CannedSequence() {
    const std::vector<uint8_t> request = {0x03, 0x22, 0xf1, 0x90, 'A', 'B', 'C', 0x7f};
    std::vector<CannedEntry> s;
    const auto add = [&](MonitorItemContent item) -> MonitorItemContent& {
        s.push_back({std::move(item), false});
        return s.back().item;
    };
    add(Frame(KD_IT_CAN_RX, 1000, 0x7e8, request));
    add(Frame(KD_IT_CAN_TX, 1500, 0x18da10f1, {0x02, 0x3e, 0x00})).extended = true;
    MonitorItemContent& fdBrs = add(Frame(KD_IT_CANFD_RX, 2500, 0x123, Counting(0, 64)));
    fdBrs.fd = fdBrs.brs = true;
    add(Frame(KD_IT_CANFD_TX, 2500, 0x456, Counting(0x30, 0x3c))).fd = true;
    add(Frame(KD_IT_CAN_RX, 3000, 0, {})).hasId = false;
    add(Frame(KD_IT_CAN_RX, 3000, 0, {})).extended = true;
    add(Frame(KD_IT_CAN_RX, 0, 0, {0x55})).hasTimestamp = false;
    add(Frame(KD_IT_CAN_RX, 2995, 0x100, {0x01, 0x02}));  // 5 us before the one before
    add(Event(KD_IT_OVERRUN, 0, 3100, {}));
    add(Event(KD_IT_ERROR, 133, 3200, {0x00, 0x11, 0x22, 0x33, 0x44}));
    add(Event(KD_IT_ERROR_2, 42, 3200, {0x00, 0x01}));  // a record shorter than it should be
    add(Event(KD_IT_LINE_ERROR, 7, 3300, {}));
    add(Event(KD_IT_MONITOR_FLUSH, 1, 3400, {}));
    MonitorItemContent& clamps = add(Event(KD_IT_CLAMP, 0, 3600, {1, 1}));
    clamps.clamp15 = clamps.clamp30 = 1;
    add(Event(KD_IT_CHIP_STATE, 131, 3600, {0x00, 0x02, 0x00, 0x80, 0x10}));
    add(Frame(KD_IT_INFO, 3700, 0x10, {1, 2, 3})).subType = KD_IST_I;
    const uint32_t infoKinds[] = {KD_IST_J, KD_IST_S, KD_IST_L, KD_IST_H, KD_IST_K};
    const char infoLetters[] = "JSLHK";
    for (uint32_t i = 0; i < 5; ++i)
        add(Frame(KD_IT_INFO, 3800 + 100 * i, 0x11 + i, {static_cast<uint8_t>(infoLetters[i])})).subType = infoKinds[i];
    const uint32_t frameKinds[] = {KD_IT_LIN_RX, KD_IT_LIN_TX, KD_IT_KLINE_RX, KD_IT_KLINE_TX, 0x99990000};
    const char frameLetters[] = "RTRT?";
    for (uint32_t i = 0; i < 5; ++i)
        add(Frame(frameKinds[i], 4300 + 100 * i, 0x21 + i, {static_cast<uint8_t>(frameLetters[i])}));
    add(Frame(KD_IT_CAN_RX, 1004700, 0x7e8, request));  // a second after the start
    s.push_back({{}, true});
    add(Frame(KD_IT_CAN_RX, kCannedEnd, 0x7ff, {0x01}));
    return s;
}

MonitorItemContent BaudItem(uint32_t baud, bool fd, uint32_t timestamp) {
    return Event(KD_IT_INFO, KD_IST_BAUD, timestamp,
                 {static_cast<uint8_t>(baud), static_cast<uint8_t>(baud >> 8), static_cast<uint8_t>(baud >> 16),
                  static_cast<uint8_t>(baud >> 24), static_cast<uint8_t>(fd ? 1 : 0)});
}

MonitorBus MonitorBusOf(const std::string& busName) {
    if (busName.find("UART") != std::string::npos || busName.find("KLINE") != std::string::npos) return MonitorBus::KLine;
    if (busName.find("LIN") != std::string::npos) return MonitorBus::Lin;
    return MonitorBus::Can;
}

MonitorItemContent BackgroundItem(uint64_t n, uint32_t timestamp, MonitorBus bus) {
    const auto counter = static_cast<uint8_t>(n);
    if (bus == MonitorBus::Lin)
        return Frame(n % 2 ? KD_IT_LIN_TX : KD_IT_LIN_RX, timestamp, 0x10 + n % 4,
                     LinRecord({counter, 0x40, static_cast<uint8_t>(n >> 8)}));
    if (bus == MonitorBus::KLine) {
        // A tester's KWP request for the engine speed and the ECU's answer; bytes carry no id.
        MonitorItemContent item = n % 2 ? Frame(KD_IT_KLINE_RX, timestamp, 0, {0x84, 0xf1, 0x10, 0x61, 0x0c, 0x1a, counter, 0x00})
                                        : Frame(KD_IT_KLINE_TX, timestamp, 0, {0x82, 0x10, 0xf1, 0x21, 0x0c, 0xb0});
        item.hasId = false;
        return item;
    }
    // One period of a vehicle's bus: engine, body, a gateway's extended id, and FD frames.
    switch (n % 8) {
        case 0: return Frame(KD_IT_CAN_RX, timestamp, 0x0c9, {counter, 0x12, 0x0b, 0xb8, 0, 0, 0x3c, 0x01});
        case 1: return Frame(KD_IT_CAN_RX, timestamp, 0x3e9, {0x00, counter, 0x80});
        case 2: {
            MonitorItemContent item = Frame(KD_IT_CAN_RX, timestamp, 0x18fef100, {0xff, 0xff, counter, 0x00, 0xff, 0xff, 0xff, 0xff});
            item.extended = true;
            return item;
        }
        case 3: {
            MonitorItemContent item = Frame(KD_IT_CANFD_RX, timestamp, 0x120, Counting(0, 16));
            item.data[0] = counter;
            item.fd = item.brs = true;
            return item;
        }
        case 4: return Frame(KD_IT_CAN_TX, timestamp, 0x7df, {0x02, 0x01, 0x0d, 0x55, 0x55, 0x55, 0x55, 0x55});
        case 5: return Frame(KD_IT_CAN_RX, timestamp, 0x7e8, {0x03, 0x41, 0x0d, counter, 0xaa, 0xaa, 0xaa, 0xaa});
        case 6: {
            MonitorItemContent item = Frame(KD_IT_CANFD_RX, timestamp, 0x1a0, Counting(0x20, 0x60));
            item.fd = true;
            return item;
        }
        default:
            // Now and then the controller reports its state.
            if (n % 4096 == 7) return Event(KD_IT_CHIP_STATE, 130, timestamp, {0x00, 0x01, 0x00, 0x00, 0x00});
            return Frame(KD_IT_CAN_RX, timestamp, 0x100, {});
    }
}

}  // namespace pdusim
