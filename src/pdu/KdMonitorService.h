// The maker's monitor service: the object interfaces its library hands out behind the IOCTL
// PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE. The library implements them, the bench calls them; both
// compile from this header, so every slot keeps the library's order, the uncalled ones too.
// Failures are thrown as KdException.
#pragma once

#include <cstdint>

#include "pdu/KdObject.h"

// What KdObject::GetType answers.
enum : uint32_t {
    KD_OBJT_SERVICE = 1,
    KD_OBJT_LINK = 2,
    KD_OBJT_ITEM = 8,
    KD_OBJT_EVENT = 9,  // an event notice: the link holds items for its handle
};

// KdMonitorItem::GetItemType. A type of 0x30310000 tells its kind by GetSubType.
enum : uint32_t {
    KD_IT_OVERRUN = 0x10110000,
    KD_IT_ERROR = 0x10210000,
    KD_IT_LINE_ERROR = 0x10310000,
    KD_IT_ERROR_2 = 0x10710000,
    KD_IT_CAN_RX = 0x20220000,
    KD_IT_CAN_TX = 0x20230000,
    KD_IT_CANFD_RX = 0x20320000,
    KD_IT_CANFD_TX = 0x20330000,
    KD_IT_LIN_RX = 0x20720000,
    KD_IT_LIN_TX = 0x20730000,
    KD_IT_KLINE_RX = 0x20820000,
    KD_IT_KLINE_TX = 0x20830000,
    KD_IT_MONITOR_FLUSH = 0x30110000,
    KD_IT_INFO = 0x30310000,
    KD_IT_CLAMP = 0x30520000,
    KD_IT_CHIP_STATE = 0x50220000,
};

// Sub types of KD_IT_INFO.
enum : uint32_t {
    KD_IST_BAUD = 0x40000,
    KD_IST_I = 0x50000,
    KD_IST_J = 0x60000,
    KD_IST_S = 0x70000,
    KD_IST_L = 0x80000,
    KD_IST_H = 0x90000,
    KD_IST_K = 0xa0000,
};

// KdParamSet::GetType.
enum : uint32_t {
    KDT_PAR_TYPE_U32 = 7,
    KDT_PAR_TYPE_S32 = 8,
    KDT_PAR_TYPE_U8_ARRAY = 259,
    KDT_PAR_TYPE_U32_ARRAY = 263,
    KDT_PAR_TYPE_TCHAR = 268,
};

// The named parameters a monitor link keeps.
class QUILLON_SHARED_TYPE KdParamSet {
public:
    virtual uint32_t GetArraySize(const char* name) = 0;
    virtual uint32_t GetCount() = 0;
    virtual uint32_t GetType(const char* name) = 0;
    virtual const char* GetName(uint32_t index) = 0;
    virtual int32_t GetS32(const char* name) = 0;
    virtual void GetU32Array(uint32_t count, uint32_t* buffer, const char* name) = 0;
    virtual void GetU8Array(uint32_t count, uint8_t* buffer, const char* name) = 0;
    virtual uint32_t GetU32(const char* name) = 0;
    virtual void SetS32(int32_t value, const char* name) = 0;
    virtual void SetU8Array(uint32_t count, const uint8_t* buffer, const char* name) = 0;
    virtual void SetU32(uint32_t value, const char* name) = 0;
    virtual void SetU32Array(uint32_t count, const uint32_t* buffer, const char* name) = 0;
    virtual const char* GetTextValue(const char* name) = 0;
    virtual void SetTextValue(const char* text, const char* name) = 0;

protected:
    ~KdParamSet() = default;
};

// One monitored bus event. GetType() of its base answers KD_OBJT_ITEM.
class QUILLON_SHARED_TYPE KdMonitorItem : public KdObject {
public:
    virtual uint32_t GetDataLength() = 0;
    virtual uint32_t GetTimestamp() = 0;  // microseconds
    virtual uint32_t GetId() = 0;
    virtual bool IsExtendedId() = 0;
    virtual bool HasId() = 0;
    virtual bool HasTimestamp() = 0;
    virtual bool IsFd() = 0;
    virtual bool IsBrs() = 0;
    virtual uint32_t GetItemType() = 0;
    virtual const uint8_t* GetData() = 0;
    virtual void ItemReserved10() = 0;
    virtual void GetClampState(uint8_t* c15, uint8_t* c30) = 0;
    virtual void ItemReserved12() = 0;
    virtual void ItemReserved13() = 0;
    virtual void ItemReserved14() = 0;
    virtual uint32_t GetSubType() = 0;

protected:
    ~KdMonitorItem() = default;
};

// Called on the library's thread with the handle of the notice and the notice itself, which the
// callee may keep with AddRef.
typedef void (*KdMonitorEventCallback)(uint32_t handle, KdObject* object);

// One monitor link; its parameters are its KdParamSet base.
class QUILLON_SHARED_TYPE KdMonitorLink : public KdObject, public KdParamSet {
public:
    virtual void Close(uint32_t flags) = 0;
    virtual void LinkReserved1() = 0;
    // The next object for the handle, with a reference for the caller; null when none is left.
    virtual KdObject* GetItem(uint32_t handle) = 0;
    virtual void Open() = 0;
    virtual void ApplyParams() = 0;
    virtual void LinkReserved5() = 0;
    virtual void LinkReserved6() = 0;
    virtual void LinkReserved7() = 0;
    virtual void LinkReserved8() = 0;
    virtual void SetEventCallback(KdMonitorEventCallback callback) = 0;

protected:
    ~KdMonitorLink() = default;
};

class QUILLON_SHARED_TYPE KdMonitorService : public KdObject {
public:
    virtual void ServiceReserved0() = 0;
    virtual void ServiceReserved1() = 0;
    // The link of an id that CreateMonitorLink gave, with a reference for the caller.
    virtual KdMonitorLink* GetMonitorLink(uint32_t id) = 0;
    virtual void ServiceReserved3() = 0;
    virtual void ServiceReserved4() = 0;
    virtual uint32_t CreateMonitorLink(uint32_t hardwareType, const char* hardwareName, const char* busName,
                                       int32_t channel) = 0;
    virtual void ServiceReserved6() = 0;
    virtual void ServiceReserved7() = 0;
    virtual void ServiceReserved8() = 0;
    virtual void ServiceReserved9() = 0;
    virtual void ServiceReserved10() = 0;
    virtual void ServiceReserved11() = 0;
    virtual void ServiceReserved12() = 0;
    virtual void ServiceReserved13() = 0;
    virtual void ServiceReserved14() = 0;
    virtual void ServiceReserved15() = 0;
    virtual void OpenHardware(uint32_t hardwareType, const char* hardwareName, int32_t channel) = 0;
    virtual void CloseHardware(uint32_t hardwareType, const char* hardwareName) = 0;

protected:
    ~KdMonitorService() = default;
};
