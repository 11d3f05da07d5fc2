#include "MonitorLink.h"

#include <chrono>

#include "MonitorTraffic.h"
#include "SimSystem.h"

namespace pdusim {

MonitorLink::MonitorLink(uint32_t id, uint32_t moduleHandle, std::string hardwareName, std::string busName)
    : m_id(id), m_moduleHandle(moduleHandle), m_hardwareName(std::move(hardwareName)), m_busName(std::move(busName)) {}

MonitorLink::~MonitorLink() {
    {
        std::unique_lock lock(m_lock);
        StopThread(lock);
    }
    for (KdObject* object : m_queue) object->Release();
}

void MonitorLink::Release() {
    if (m_refs.Drop()) delete this;
}

void MonitorLink::Reserved0() { ThrowIfInjected("Reserved0"); }
void MonitorLink::LinkReserved1() { ThrowIfInjected("LinkReserved1"); }
void MonitorLink::LinkReserved5() { ThrowIfInjected("LinkReserved5"); }
void MonitorLink::LinkReserved6() { ThrowIfInjected("LinkReserved6"); }
void MonitorLink::LinkReserved7() { ThrowIfInjected("LinkReserved7"); }
void MonitorLink::LinkReserved8() { ThrowIfInjected("LinkReserved8"); }

void MonitorLink::SetEventCallback(KdMonitorEventCallback callback) {
    ThrowIfInjected("SetEventCallback");
    std::lock_guard lock(m_lock);
    m_callback = callback;
}

bool MonitorLink::IsOpen() {
    std::lock_guard lock(m_lock);
    return m_open;
}

void MonitorLink::Open() {
    ThrowIfInjected("Open");
    std::unique_lock lock(m_lock);
    if (m_open) throw KdException(0x201, "Monitor link is already open", "Open");
    StopThread(lock);  // a thread that a Close from its own callback left behind
    m_open = true;
    m_stop = false;
    m_canned = m_params.Text("Traffic") == "canned";
    m_thread = std::thread(&MonitorLink::Run, this);
}

void MonitorLink::Close(uint32_t flags) {
    ThrowIfInjected("Close");
    std::unique_lock lock(m_lock);
    if (!m_open) throw KdException(0x202, "Monitor link is not open", "Close");
    m_open = false;
    StopThread(lock);
}

// Once this returns no callback of the link runs, unless it is called from that callback.
void MonitorLink::StopThread(std::unique_lock<std::mutex>& lock) {
    m_stop = true;
    m_wake.notify_all();
    if (!m_thread.joinable() || m_thread.get_id() == std::this_thread::get_id()) return;
    std::thread thread = std::move(m_thread);
    lock.unlock();
    thread.join();
    lock.lock();
}

KdObject* MonitorLink::GetItem(uint32_t handle) {
    ThrowIfInjected("GetItem");
    std::lock_guard lock(m_lock);
    if (handle != Handle() || m_queue.empty()) return nullptr;
    KdObject* object = m_queue.front();
    m_queue.pop_front();
    return object;  // the queue's reference goes to the caller
}

void MonitorLink::ApplyParams() {
    ThrowIfInjected("ApplyParams");
    const uint32_t baud = m_params.U32("Baudrate");
    const bool fd = m_params.U32("CANFDBaudrate") != 0;
    std::lock_guard lock(m_lock);
    if (!m_open) return;
    // The controller restarts with the new rate and says so.
    const uint32_t now = m_canned ? (m_virtualClock += 100) : SimSystem::Instance().Now();
    Queue(new MonitorItem(BaudItem(baud, fd, now)));
    m_noticeDue = true;
    m_wake.notify_all();
}

void MonitorLink::Mirror(std::vector<MonitorItemContent> frames) {
    std::lock_guard lock(m_lock);
    if (!m_open) return;
    for (MonitorItemContent& frame : frames) Queue(new MonitorItem(std::move(frame)));
    m_noticeDue = true;
    m_wake.notify_all();
}

bool MonitorLink::Queue(KdObject* object) {
    if (m_queue.size() >= kMaxQueued) {
        object->Release();
        ++m_lost;
        return false;
    }
    m_queue.push_back(object);
    return true;
}

void MonitorLink::Push(std::vector<MonitorItemContent> items) {
    std::lock_guard lock(m_lock);
    for (MonitorItemContent& item : items) Queue(new MonitorItem(std::move(item)));
    m_noticeDue = true;
}

void MonitorLink::SendNotice() {
    KdMonitorEventCallback callback;
    {
        std::lock_guard lock(m_lock);
        m_noticeDue = false;
        callback = m_callback;
    }
    if (callback == nullptr) return;
    auto* notice = new MonitorNotice();
    callback(Handle(), notice);  // the host takes a reference of its own if it keeps it
    notice->Release();
}

void MonitorLink::PlayCanned() {
    std::lock_guard lock(m_lock);
    for (CannedEntry& entry : CannedSequence())
        Queue(entry.notItem ? static_cast<KdObject*>(new MonitorNotice()) : new MonitorItem(std::move(entry.item)));
    m_virtualClock = kCannedEnd;
    m_noticeDue = true;
}

// Items due by now at the link's rate, their times spread evenly, a notice for every few.
void MonitorLink::PlayTraffic(uint64_t& produced, std::chrono::steady_clock::time_point start) {
    const uint32_t rate = m_params.U32("TrafficRate");
    const uint32_t perNotice = std::max<uint32_t>(1, m_params.U32("ItemsPerNotice"));
    const MonitorBus bus = MonitorBusOf(m_busName);
    const auto elapsedUs = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count();
    const uint64_t due = rate == 0 ? produced : static_cast<uint64_t>(elapsedUs) * rate / 1000000;
    const uint32_t base = SimSystem::Instance().Stamp(start);
    while (produced < due) {
        std::vector<MonitorItemContent> batch;
        for (uint32_t i = 0; i < perNotice && produced < due; ++i, ++produced)
            batch.push_back(BackgroundItem(produced, base + static_cast<uint32_t>(produced * 1000000 / rate), bus));
        // Counted before the host can see them, so the host never counts more than this.
        m_params.Store("GeneratedItems", m_params.U32("GeneratedItems") + static_cast<uint32_t>(batch.size()));
        Push(std::move(batch));
        SendNotice();
    }
    uint64_t lost;
    {
        std::lock_guard lock(m_lock);
        lost = m_lost;
    }
    m_params.Store("LostItems", static_cast<uint32_t>(std::min<uint64_t>(lost, UINT32_MAX)));
}

void MonitorLink::Run() {
    if (m_canned) PlayCanned();
    uint64_t produced = 0;
    uint32_t rate = m_params.U32("TrafficRate");
    auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(m_lock);
    while (!m_stop) {
        if (m_noticeDue) {
            lock.unlock();
            SendNotice();
            lock.lock();
            continue;
        }
        lock.unlock();
        if (!m_canned) {
            // A new rate starts a new count, so the items' times stay even.
            if (const uint32_t now = m_params.U32("TrafficRate"); now != rate) {
                rate = now;
                produced = 0;
                start = std::chrono::steady_clock::now();
            }
            PlayTraffic(produced, start);
        }
        lock.lock();
        if (!m_noticeDue && !m_stop) m_wake.wait_for(lock, std::chrono::milliseconds(1));
    }
}

}  // namespace pdusim
