#include "IoCtlHandler.h"

#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "DoIpIoCtl.h"
#include "ItemFactory.h"
#include "ItemStore.h"
#include "MonitorService.h"
#include "SimSystem.h"
#include "pdu/MorvaneExtensions.h"

namespace pdusim {
namespace {

struct IoCtlCall {
    SimSystem& system;
    SimModule* module;         // null at system level
    ComLogicalLink* link;      // null at module level
    const PDU_DATA_ITEM* input;
    PDU_DATA_ITEM** output;
};

using Handler = std::function<T_PDU_ERROR(IoCtlCall&)>;

bool InputIs(const IoCtlCall& call, T_PDU_IT type) {
    return call.input != nullptr && call.input->ItemType == type && call.input->pData != nullptr;
}

T_PDU_ERROR Answer(IoCtlCall& call, PDU_DATA_ITEM* item) {
    if (call.output == nullptr) {
        ItemStore::Release(item);
        return PDU_ERR_INVALID_PARAMETERS;
    }
    *call.output = item;
    return item != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_FCT_FAILED;
}

T_PDU_ERROR NeedModule(const IoCtlCall& call) {
    if (call.module == nullptr) return PDU_ERR_INVALID_HANDLE;
    return call.module->connected ? PDU_STATUS_NOERROR : PDU_ERR_MODULE_NOT_CONNECTED;
}

T_PDU_ERROR NeedLink(const IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    return call.link != nullptr ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_HANDLE;
}

T_PDU_ERROR ReadUnum32(IoCtlCall& call, uint32_t value) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    return Answer(call, ItemFactory::Unum32(value));
}

T_PDU_ERROR IgnitionState(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    if (!InputIs(call, PDU_IT_IO_UNUM32)) return PDU_ERR_INVALID_PARAMETERS;
    const uint32_t pin = *static_cast<const uint32_t*>(call.input->pData);
    // Pin 16 is battery plus; 0 asks for the VCI's own ignition input.
    return Answer(call, ItemFactory::Unum32(pin == 0 || pin == 16 ? call.module->ignitionOn : 0));
}

T_PDU_ERROR SetProgVoltage(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    if (!InputIs(call, PDU_IT_IO_PROG_VOLTAGE)) return PDU_ERR_INVALID_PARAMETERS;
    const auto& data = *static_cast<const PDU_IO_PROG_VOLTAGE_DATA*>(call.input->pData);
    const auto mv = static_cast<int32_t>(data.ProgVoltage_mv);
    const bool special = mv == -1 || mv == -2;  // short to ground, voltage off
    if (!special && (mv < 5000 || mv > 20000)) return PDU_ERR_VOLTAGE_NOT_SUPPORTED;
    if (data.PinOnDLC != 0 && data.PinOnDLC != 9 && data.PinOnDLC != 12 && data.PinOnDLC != 13 && data.PinOnDLC != 15)
        return PDU_ERR_PIN_NOT_CONNECTED;
    call.module->progVoltageMillivolt = special ? 0 : data.ProgVoltage_mv;
    call.module->progVoltagePin = data.PinOnDLC;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR StartFilters(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedLink(call)) return e;
    if (!InputIs(call, PDU_IT_IO_FILTER)) return PDU_ERR_INVALID_PARAMETERS;
    return call.link->StartFilters(*static_cast<const PDU_IO_FILTER_LIST*>(call.input->pData));
}

T_PDU_ERROR StopFilter(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedLink(call)) return e;
    if (!InputIs(call, PDU_IT_IO_UNUM32)) return PDU_ERR_INVALID_PARAMETERS;
    return call.link->StopFilter(*static_cast<const uint32_t*>(call.input->pData));
}

// A link's queue, or without a link the module's.
T_PDU_ERROR EventQueueProperties(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    if (!InputIs(call, PDU_IT_IO_EVENT_QUEUE_PROPERTY)) return PDU_ERR_INVALID_PARAMETERS;
    const auto& data = *static_cast<const PDU_IO_EVENT_QUEUE_PROPERTY_DATA*>(call.input->pData);
    EventQueue& queue = call.link != nullptr ? call.link->events : call.module->events;
    return queue.SetProperties(data.QueueSize, data.QueueMode) ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_PARAMETERS;
}

T_PDU_ERROR LinkAction(IoCtlCall& call, const std::function<void(ComLogicalLink&)>& action) {
    if (const T_PDU_ERROR e = NeedLink(call)) return e;
    action(*call.link);
    call.system.WakeScheduler();
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR BusTrace(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    if (!InputIs(call, PDU_IT_IO_BYTEARRAY)) return PDU_ERR_INVALID_PARAMETERS;
    const auto& array = *static_cast<const PDU_IO_BYTEARRAY_DATA*>(call.input->pData);
    if (array.DataSize != sizeof(PDU_BUS_TRC_CONFIG) || array.pData == nullptr) return PDU_ERR_INVALID_PARAMETERS;
    PDU_BUS_TRC_CONFIG config;
    std::memcpy(&config, array.pData, sizeof(config));
    return call.system.Catalog().FindBusType(config.BusTypeId) != nullptr ? PDU_STATUS_NOERROR
                                                                          : PDU_ERR_VALUE_NOT_SUPPORTED;
}

T_PDU_ERROR WlanSignal(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    PDU_IO_WLAN_SIGNAL_DATA data{};  // without WLAN: no connection, nothing valid
    if (call.module->vendorAdditionalInfo.find("WLAN") != std::string::npos) data = call.system.WlanAnswer();
    return Answer(call, ItemFactory::Data(PDU_IT_IO_WLAN_SIGNAL_DATA, &data, sizeof(data)));
}

T_PDU_ERROR TextOption(IoCtlCall& call, T_PDU_IT type) {
    if (!InputIs(call, type)) return PDU_ERR_INVALID_PARAMETERS;
    return PDU_STATUS_NOERROR;
}

T_PDU_ERROR SodConfig(IoCtlCall& call) {
    if (!InputIs(call, PDU_IT_IO_BYTEARRAY)) return PDU_ERR_INVALID_PARAMETERS;
    const auto& array = *static_cast<const PDU_IO_BYTEARRAY_DATA*>(call.input->pData);
    return array.DataSize == 8 || array.DataSize == 20 ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_PARAMETERS;
}

T_PDU_ERROR ProxyComParams(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedLink(call)) return e;
    if (!call.module->isDoIp) return PDU_ERR_ID_NOT_SUPPORTED;
    static const char kUri[] = "https://127.0.0.1:3496/sod";
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_DATA_ITEM));
    const size_t body = layout.Add(sizeof(PDU_IO_PROXY_COM_PARAM_DATA));
    const size_t uri = layout.Add(sizeof(kUri), 1);
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return PDU_ERR_FCT_FAILED;
    auto* data = At<PDU_IO_PROXY_COM_PARAM_DATA>(block, body);
    data->IpVersion = 4;
    const uint8_t loopback[4] = {127, 0, 0, 1};
    std::memcpy(data->IpAddress + 12, loopback, 4);
    data->Port = 13400;
    data->TlsPort = 3496;
    for (uint8_t i = 0; i < 32; ++i) data->SessionPsk[i] = static_cast<uint8_t>(0xA0 + i);
    data->pUri = At<char>(block, uri);
    std::memcpy(data->pUri, kUri, sizeof(kUri));
    auto* item = At<PDU_DATA_ITEM>(block, head);
    *item = {PDU_IT_IO_PROXY_COM_PARAM, data};
    return Answer(call, item);
}

// The address of the monitor service object, in the first eight bytes of a byte array.
T_PDU_ERROR MonitorService(IoCtlCall& call) {
    if (const T_PDU_ERROR e = NeedModule(call)) return e;
    const auto address = reinterpret_cast<uintptr_t>(static_cast<KdMonitorService*>(&MonitorService::Instance()));
    uint8_t bytes[8] = {};
    std::memcpy(bytes, &address, sizeof address);
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_DATA_ITEM));
    const size_t body = layout.Add(sizeof(PDU_IO_BYTEARRAY_DATA));
    const size_t data = layout.Add(sizeof bytes, 1);
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return PDU_ERR_FCT_FAILED;
    auto* array = At<PDU_IO_BYTEARRAY_DATA>(block, body);
    array->DataSize = sizeof bytes;
    array->pData = At<UNUM8>(block, data);
    std::memcpy(array->pData, bytes, sizeof bytes);
    auto* item = At<PDU_DATA_ITEM>(block, head);
    *item = {PDU_IT_IO_BYTEARRAY, array};
    return Answer(call, item);
}

T_PDU_ERROR PlugModule(IoCtlCall& call, bool plugged) {
    if (!InputIs(call, PDU_IT_IO_UNUM32)) return PDU_ERR_INVALID_PARAMETERS;
    return call.system.Plug(*static_cast<const uint32_t*>(call.input->pData), plugged);
}

const std::map<std::string, Handler>& Handlers() {
    static const std::map<std::string, Handler> handlers = {
        {"PDU_IOCTL_RESET", [](IoCtlCall& c) { return NeedModule(c); }},
        {"PDU_IOCTL_READ_VBATT", [](IoCtlCall& c) { return c.module ? ReadUnum32(c, c.module->batteryMillivolt) : PDU_ERR_INVALID_HANDLE; }},
        {"PDU_IOCTL_READ_PROG_VOLTAGE", [](IoCtlCall& c) { return c.module ? ReadUnum32(c, c.module->progVoltageMillivolt) : PDU_ERR_INVALID_HANDLE; }},
        {"PDU_IOCTL_GET_CABLE_ID", [](IoCtlCall& c) { return c.module ? ReadUnum32(c, c.module->cableId) : PDU_ERR_INVALID_HANDLE; }},
        {"PDU_IOCTL_READ_IGNITION_SENSE_STATE", IgnitionState},
        {"PDU_IOCTL_SET_PROG_VOLTAGE", SetProgVoltage},
        {"PDU_IOCTL_START_MSG_FILTER", StartFilters},
        {"PDU_IOCTL_STOP_MSG_FILTER", StopFilter},
        {"PDU_IOCTL_CLEAR_MSG_FILTER", [](IoCtlCall& c) { return LinkAction(c, [](ComLogicalLink& l) { l.ClearFilters(); }); }},
        {"PDU_IOCTL_SUSPEND_TX_QUEUE", [](IoCtlCall& c) { return LinkAction(c, [](ComLogicalLink& l) { l.SuspendTxQueue(true); }); }},
        {"PDU_IOCTL_RESUME_TX_QUEUE", [](IoCtlCall& c) { return LinkAction(c, [](ComLogicalLink& l) { l.SuspendTxQueue(false); }); }},
        {"PDU_IOCTL_CLEAR_TX_QUEUE", [](IoCtlCall& c) { return LinkAction(c, [&](ComLogicalLink& l) { l.ClearTxQueue(c.system); }); }},
        {"PDU_IOCTL_CLEAR_RX_QUEUE", [](IoCtlCall& c) { return LinkAction(c, [](ComLogicalLink& l) { l.events.Clear(); }); }},
        {"PDU_IOCTL_SET_BUFFER_SIZE", [](IoCtlCall& c) { return NeedLink(c) ? NeedLink(c) : (InputIs(c, PDU_IT_IO_UNUM32) ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_PARAMETERS); }},
        {"PDU_IOCTL_SET_EVENT_QUEUE_PROPERTIES", EventQueueProperties},
        {"PDU_IOCTL_SEND_BREAK", [](IoCtlCall& c) { return NeedLink(c); }},
        {"PDU_IOCTL_GENERIC", [](IoCtlCall& c) { return InputIs(c, PDU_IT_IO_BYTEARRAY) ? PDU_STATUS_NOERROR : PDU_ERR_INVALID_PARAMETERS; }},
        {"PDU_IOCTL_RESET_TIMESTAMP", [](IoCtlCall& c) { c.system.ResetTimestamps(); return PDU_STATUS_NOERROR; }},
        {"PDU_IOCTL_BUS_TRACE", BusTrace},
        {"PDU_IOCTL_GET_WLAN_SIGNAL_DATA", WlanSignal},
        {"PDU_IOCTL_SET_TRACE_OPTIONS", [](IoCtlCall& c) { return TextOption(c, PDU_IT_IO_TRACE_OPTIONS); }},
        {"PDU_IOCTL_SET_BROKER_ADDR", [](IoCtlCall& c) { return TextOption(c, PDU_IT_IO_BROKER_ADDR); }},
        {"PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG", SodConfig},
        {"PDU_IOCTL_GET_PROXY_COM_PARAMS", ProxyComParams},
        {"PDU_IOCTL_MRVNE_GET_MONITOR_SERVICE", MonitorService},
        {"PDU_IOCTL_MRVNE_SIM_PLUG_MODULE", [](IoCtlCall& c) { return PlugModule(c, true); }},
        {"PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE", [](IoCtlCall& c) { return PlugModule(c, false); }},
    };
    return handlers;
}

// System-wide IOCTLs that need no module.
bool IsSystemLevel(const std::string& name) {
    return name == "PDU_IOCTL_SET_TRACE_OPTIONS" || name == "PDU_IOCTL_SET_BROKER_ADDR" ||
           name == "PDU_IOCTL_RESET_TIMESTAMP" || name == "PDU_IOCTL_MRVNE_SIM_PLUG_MODULE" ||
           name == "PDU_IOCTL_MRVNE_SIM_UNPLUG_MODULE" || name == "PDU_IOCTL_SERVICE_ORIENTED_DIAG_CFG";
}

}  // namespace

T_PDU_ERROR HandleIoCtl(SimSystem& system, std::unique_lock<std::mutex>& lock, uint32_t hMod, uint32_t hCLL,
                        uint32_t ioCtlId, const PDU_DATA_ITEM* input, PDU_DATA_ITEM** output) {
    if (output != nullptr) *output = nullptr;
    const MdfNamedId* ioCtl = system.Catalog().FindIoCtl(ioCtlId);
    if (ioCtl == nullptr) return PDU_ERR_ID_NOT_SUPPORTED;
    SimModule* module = system.FindModule(hMod);
    if (module == nullptr && hMod != PDU_HANDLE_UNDEF) return PDU_ERR_INVALID_HANDLE;
    if (module == nullptr && !IsSystemLevel(ioCtl->name) && !IsDoIpSystemIoCtl(ioCtl->name))
        return PDU_ERR_INVALID_HANDLE;
    if (module != nullptr && !module->SupportsIoCtl(ioCtlId) && !IsSystemLevel(ioCtl->name))
        return PDU_ERR_ID_NOT_SUPPORTED;
    // Hosts pass 0 as well as PDU_HANDLE_UNDEF for "no link" on module-level IOCTLs.
    ComLogicalLink* link = nullptr;
    if (hCLL != PDU_HANDLE_UNDEF && hCLL != 0) {
        link = module != nullptr ? system.FindLink(hMod, hCLL) : nullptr;
        if (link == nullptr) return PDU_ERR_INVALID_HANDLE;
    }
    DoIpIoCtlCall doIp{system, lock, module, input, output};
    T_PDU_ERROR result = PDU_STATUS_NOERROR;
    if (HandleDoIpIoCtl(ioCtl->name, doIp, result)) return result;
    const auto handler = Handlers().find(ioCtl->name);
    if (handler == Handlers().end()) return PDU_ERR_ID_NOT_SUPPORTED;
    IoCtlCall call{system, module, link, input, output};
    return handler->second(call);
}

}  // namespace pdusim
