// One monitor link of the monitor service: while open, a thread of its own plays bus traffic
// (the canned sequence, or background frames at a settable rate) and the frames the module's
// logical links put on the bus into the link's queue, and tells the host by a notice.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "MonitorItem.h"
#include "MonitorParams.h"

namespace pdusim {

class MonitorLink final : public ParamSetOf<KdMonitorLink> {
public:
    static constexpr size_t kMaxQueued = 1000000;

    MonitorLink(uint32_t id, uint32_t moduleHandle, std::string hardwareName, std::string busName);

    void Reserved0() override;
    uint32_t GetType() override { return KD_OBJT_LINK; }
    void Release() override;
    void AddRef() override { m_refs.Add(); }

    void Close(uint32_t flags) override;
    void LinkReserved1() override;
    KdObject* GetItem(uint32_t handle) override;
    void Open() override;
    void ApplyParams() override;
    void LinkReserved5() override;
    void LinkReserved6() override;
    void LinkReserved7() override;
    void LinkReserved8() override;
    void SetEventCallback(KdMonitorEventCallback callback) override;

    uint32_t Id() const { return m_id; }
    uint32_t ModuleHandle() const { return m_moduleHandle; }
    const std::string& HardwareName() const { return m_hardwareName; }
    // The handle the link's notices carry.
    uint32_t Handle() const { return 0x100 + m_id; }
    bool IsOpen();
    // Frames a logical link of the module put on the bus.
    void Mirror(std::vector<MonitorItemContent> frames);

private:
    ~MonitorLink();
    void Run();
    void PlayCanned();
    void PlayTraffic(uint64_t& produced, std::chrono::steady_clock::time_point start);
    // Queues under the lock; false when the queue is full and the object was dropped.
    bool Queue(KdObject* object);
    void Push(std::vector<MonitorItemContent> items);
    void SendNotice();
    void StopThread(std::unique_lock<std::mutex>& lock);

    const uint32_t m_id;
    const uint32_t m_moduleHandle;
    const std::string m_hardwareName;
    const std::string m_busName;
    RefCount m_refs;

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::deque<KdObject*> m_queue;
    KdMonitorEventCallback m_callback = nullptr;
    bool m_open = false;
    bool m_stop = false;
    bool m_noticeDue = false;
    bool m_canned = false;
    uint32_t m_virtualClock = 0;  // of the canned sequence
    uint64_t m_lost = 0;
    std::thread m_thread;
};

}  // namespace pdusim
