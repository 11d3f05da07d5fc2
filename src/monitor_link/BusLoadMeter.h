// The bus statistics of a monitor window: the bus time each CAN frame takes, summed over a
// window of a little more than a second, and the items per second and bus load it gives.
#pragma once

#include <atomic>
#include <cstdint>

class BusLoadMeter {
public:
    struct Frame {
        bool hasId = false;
        bool extended = false;
        uint32_t id = 0;
        const uint8_t* data = nullptr;
        uint32_t length = 0;
    };

    // One CAN line; frames without an identifier count as items but take no bus time.
    void AddFrame(const Frame& frame, uint32_t baud, uint32_t dataBaud);
    // Ends the window once more than a second has passed since it began. True when it did and
    // the new figures are to be shown (bus load above 1 %).
    bool CloseWindow(uint32_t timestamp);
    // The "X" button, from the UI thread: the figures only; the window runs on.
    void ResetFigures();
    // A new window from 0, as a newly opened monitor window starts.
    void Restart();

    double ItemsPerSecond() const { return m_itemsPerSecond; }
    double BusLoad() const { return m_busLoad; }
    double BusyTime() const { return m_busyTime; }
    uint32_t ItemsInWindow() const { return m_itemsInWindow; }

    // Bus bits of a frame: arbitration at the nominal rate, the rest at the data rate.
    static uint32_t ArbitrationBits(bool extended, uint32_t length);
    static uint32_t DataPhaseBits(const Frame& frame);
    // Over a standard 11-bit frame whatever the item's id, as the estimate has always done.
    static uint16_t Crc(uint32_t id, const uint8_t* data, uint32_t length);
    static uint8_t StuffBits(uint32_t id, const uint8_t* data, uint32_t length);

private:
    uint32_t m_windowStart = 0;
    uint32_t m_itemsInWindow = 0;
    double m_busyTime = 0.0;
    // The figures alone are shared with the UI thread.
    std::atomic<double> m_itemsPerSecond{0.0};
    std::atomic<double> m_busLoad{0.0};
};
