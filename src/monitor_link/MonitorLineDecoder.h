// Turns the items of a monitor link into rows of the monitor list, and keeps the MonCount and
// bus statistics edits. Runs on the monitor window's receive thread; the setters are for the UI
// thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "controls/Edit.h"
#include "controls/PrintListCtrl.h"
#include "monitor_link/BusLoadMeter.h"
#include "monitor_link/LineBuffer.h"
#include "monitor_link/TraceStore.h"
#include "pdu/KdMonitorService.h"

class MonitorLineDecoder {
public:
    static constexpr uint32_t LINK_EVENT_COLOUR = 0xccccff;

    enum FilterMode : uint32_t { FILTER_OFF = 0, FILTER_POSITIVE = 1, FILTER_NEGATIVE = 2 };

    MonitorLineDecoder(PrintListCtrl& list, controls::Edit& monCount, controls::Edit& itemsPerSecond,
                       controls::Edit& busLoad);

    // Drains every item the link holds for the handle of one notice.
    void DecodeMonitorEvent(KdMonitorLink* link, uint32_t handle);
    // Where every CAN frame goes as well, shown or not; set before the receive thread runs.
    void SetTrace(TraceStore* trace) { m_trace = trace; }

    void SetBusTypeName(const std::string& name);
    void SetScreenDisabled(bool disabled) { m_screenDisabled = disabled; }
    void SetSuppressLinkEvents(bool suppress) { m_suppressLinkEvents = suppress; }
    // The ids take effect from the next notice on.
    void SetFilter(uint32_t mode, std::vector<int> ids);
    uint32_t GetFilterMode();
    void SetCollecting(bool collecting) { m_collecting = collecting; }
    bool IsCollecting() const { return m_collecting; }
    std::vector<uint32_t> CollectedIds();
    // The "X" button.
    void ResetCounters();
    // The previous timestamp and the counters of a freshly opened window; before the receive
    // thread runs.
    void Restart();

    uint32_t MonCount() const { return m_monCount; }
    const BusLoadMeter& Statistics() const { return m_meter; }
    std::mutex& ListLock() { return m_listLock; }
    void RefreshCounters();

private:
    struct Filter {
        uint32_t mode = FILTER_OFF;
        std::shared_ptr<const std::vector<int>> ids;
    };

    // False when the item was no item: decoding of the notice ends there.
    bool DecodeItem(KdMonitorLink& link, uint32_t handle, KdObject& object, const Filter& filter);
    bool IsHidden(KdMonitorItem& item, const Filter& filter) const;
    void WriteLinkEvent(uint32_t handle, uint32_t timestamp);
    // The text of the item's line; empty for lines that are built and not shown.
    bool FormatLine(KdMonitorLink& link, KdMonitorItem& item, uint32_t ts, uint32_t delta, bool hidden,
                    LineBuffer& line);
    void FormatFrame(KdMonitorLink& link, KdMonitorItem& item, char letter, uint32_t ts, uint32_t delta,
                     bool hidden, LineBuffer& line);
    void FormatLinFrame(KdMonitorItem& item, char letter, uint32_t delta, LineBuffer& line);
    void FormatCanFrame(KdMonitorItem& item, char letter, uint32_t delta, LineBuffer& line);
    void CountFrame(KdMonitorLink& link, KdMonitorItem& item, uint32_t ts);
    void KeepFrame(KdMonitorItem& item);
    uint32_t Collect(uint32_t id);
    void ShowFigures(bool always);
    void WriteLine(char* text);
    Filter CurrentFilter();

    PrintListCtrl& m_list;
    controls::Edit& m_monCountEdit;
    controls::Edit& m_itemsPerSecondEdit;
    controls::Edit& m_busLoadEdit;

    std::mutex m_settingsLock;  // the bus type name and the filter
    std::string m_busTypeName;
    std::atomic<bool> m_linLines{false};
    Filter m_filter;

    std::atomic<bool> m_screenDisabled{false};
    std::atomic<bool> m_suppressLinkEvents{false};
    std::atomic<bool> m_collecting{false};
    std::atomic<uint32_t> m_monCount{0};
    uint32_t m_previousTimestamp = 0;
    BusLoadMeter m_meter;
    std::mutex m_figuresLock;  // the UI thread's "X" writes the figures too
    double m_shownLoad = 0.0;
    double m_shownPerSecond = 0.0;
    std::string m_loadText;
    std::string m_perSecondText;
    std::mutex m_collectLock;
    std::vector<uint32_t> m_collectedIds;
    std::mutex m_listLock;
    TraceStore* m_trace = nullptr;
};
