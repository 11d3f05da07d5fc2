#include "MonitorItem.h"

#include "SimSystem.h"

namespace pdusim {

void ThrowIfInjected(const char* method) {
    if (const auto code = SimSystem::Instance().InjectedThrow(method))
        throw KdException(static_cast<int32_t>(*code), "Injected fault", method);
}

void MonitorItem::Reserved0() { ThrowIfInjected("Reserved0"); }
void MonitorItem::Release() {
    if (m_refs.Drop()) delete this;
}
uint32_t MonitorItem::GetDataLength() {
    ThrowIfInjected("GetDataLength");
    return static_cast<uint32_t>(m_content.data.size());
}
uint32_t MonitorItem::GetTimestamp() {
    ThrowIfInjected("GetTimestamp");
    return m_content.timestamp;
}
uint32_t MonitorItem::GetId() {
    ThrowIfInjected("GetId");
    return m_content.id;
}
bool MonitorItem::IsExtendedId() { return m_content.extended; }
bool MonitorItem::HasId() { return m_content.hasId; }
bool MonitorItem::HasTimestamp() { return m_content.hasTimestamp; }
bool MonitorItem::IsFd() { return m_content.fd; }
bool MonitorItem::IsBrs() { return m_content.brs; }
uint32_t MonitorItem::GetItemType() {
    ThrowIfInjected("GetItemType");
    return m_content.type;
}
const uint8_t* MonitorItem::GetData() {
    ThrowIfInjected("GetData");
    return m_content.data.empty() ? nullptr : m_content.data.data();
}
void MonitorItem::ItemReserved10() { ThrowIfInjected("ItemReserved10"); }
void MonitorItem::GetClampState(uint8_t* c15, uint8_t* c30) {
    ThrowIfInjected("GetClampState");
    if (c15) *c15 = m_content.clamp15;
    if (c30) *c30 = m_content.clamp30;
}
void MonitorItem::ItemReserved12() { ThrowIfInjected("ItemReserved12"); }
void MonitorItem::ItemReserved13() { ThrowIfInjected("ItemReserved13"); }
void MonitorItem::ItemReserved14() { ThrowIfInjected("ItemReserved14"); }
uint32_t MonitorItem::GetSubType() {
    ThrowIfInjected("GetSubType");
    return m_content.subType;
}

void MonitorNotice::Reserved0() { ThrowIfInjected("Reserved0"); }
void MonitorNotice::Release() {
    if (m_refs.Drop()) delete this;
}

}  // namespace pdusim
