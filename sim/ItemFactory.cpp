#include "ItemFactory.h"

#include <cstring>

#include "ItemStore.h"

namespace pdusim {
namespace {

constexpr UNUM32 kTimestampFlagBytes = 4;

template <typename Payload>
PDU_EVENT_ITEM* EventWith(T_PDU_IT type, uint32_t hCop, void* copTag, uint32_t timestamp, const Payload& payload) {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_EVENT_ITEM));
    const size_t body = layout.Add(sizeof(Payload));
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* item = At<PDU_EVENT_ITEM>(block, head);
    *item = PDU_EVENT_ITEM{type, hCop, copTag, timestamp, At<Payload>(block, body)};
    *At<Payload>(block, body) = payload;
    return item;
}

void CopyBytes(UNUM8* target, const std::vector<uint8_t>& bytes) {
    if (!bytes.empty()) std::memcpy(target, bytes.data(), bytes.size());
}

}  // namespace

PDU_EVENT_ITEM* ItemFactory::Status(uint32_t hCop, void* copTag, uint32_t timestamp, T_PDU_STATUS status) {
    return EventWith(PDU_IT_STATUS, hCop, copTag, timestamp, status);
}

PDU_EVENT_ITEM* ItemFactory::Error(uint32_t hCop, void* copTag, uint32_t timestamp, T_PDU_ERR_EVT code,
                                   uint32_t extra) {
    return EventWith(PDU_IT_ERROR, hCop, copTag, timestamp, PDU_ERROR_DATA{code, extra});
}

PDU_EVENT_ITEM* ItemFactory::Info(uint32_t timestamp, T_PDU_INFO code, uint32_t extra) {
    return EventWith(PDU_IT_INFO, PDU_HANDLE_UNDEF, nullptr, timestamp, PDU_INFO_DATA{code, extra});
}

PDU_EVENT_ITEM* ItemFactory::Result(const ResultContent& content) {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_EVENT_ITEM));
    const size_t result = layout.Add(sizeof(PDU_RESULT_DATA));
    const size_t rxFlags = layout.Add(content.rxFlags.size());
    const size_t tsFlags = layout.Add(kTimestampFlagBytes);
    const size_t extra = layout.Add(sizeof(PDU_EXTRA_INFO));
    const size_t header = layout.Add(content.header.size());
    const size_t footer = layout.Add(content.footer.size());
    const size_t data = layout.Add(content.data.size());
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* r = At<PDU_RESULT_DATA>(block, result);
    r->RxFlag = {static_cast<UNUM32>(content.rxFlags.size()), At<UNUM8>(block, rxFlags)};
    CopyBytes(r->RxFlag.pFlagData, content.rxFlags);
    r->UniqueRespIdentifier = content.uniqueRespId;
    r->AcceptanceId = content.acceptanceId;
    r->TimestampFlags = {kTimestampFlagBytes, At<UNUM8>(block, tsFlags)};
    r->TimestampFlags.pFlagData[0] = content.timestampFlags;
    r->TxMsgDoneTimestamp = content.txDoneTimestamp;
    r->StartMsgTimestamp = content.startMsgTimestamp;
    if (content.withExtraInfo) {
        r->pExtraInfo = At<PDU_EXTRA_INFO>(block, extra);
        *r->pExtraInfo = {static_cast<UNUM32>(content.header.size()), static_cast<UNUM32>(content.footer.size()),
                          At<UNUM8>(block, header), At<UNUM8>(block, footer)};
        CopyBytes(r->pExtraInfo->pHeaderBytes, content.header);
        CopyBytes(r->pExtraInfo->pFooterBytes, content.footer);
    }
    r->NumDataBytes = static_cast<UNUM32>(content.data.size());
    r->pDataBytes = At<UNUM8>(block, data);
    CopyBytes(r->pDataBytes, content.data);
    auto* item = At<PDU_EVENT_ITEM>(block, head);
    *item = PDU_EVENT_ITEM{PDU_IT_RESULT, content.hCop, content.copTag, content.timestamp, r};
    return item;
}

PDU_MODULE_ITEM* ItemFactory::ModuleList(const std::vector<ModuleEntry>& modules) {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_MODULE_ITEM));
    const size_t array = layout.Add(sizeof(PDU_MODULE_DATA) * modules.size());
    std::vector<size_t> texts;
    for (const auto& m : modules) {
        texts.push_back(layout.Add(std::strlen(m.vendorName) + 1, 1));
        texts.push_back(layout.Add(std::strlen(m.additionalInfo) + 1, 1));
    }
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* item = At<PDU_MODULE_ITEM>(block, head);
    *item = PDU_MODULE_ITEM{PDU_IT_MODULE_ID, static_cast<UNUM32>(modules.size()), At<PDU_MODULE_DATA>(block, array)};
    for (size_t i = 0; i < modules.size(); ++i) {
        char* name = At<char>(block, texts[2 * i]);
        char* info = At<char>(block, texts[2 * i + 1]);
        std::strcpy(name, modules[i].vendorName);
        std::strcpy(info, modules[i].additionalInfo);
        item->pModuleData[i] = PDU_MODULE_DATA{modules[i].typeId, modules[i].hMod, name, info, modules[i].status};
    }
    return item;
}

PDU_RSC_ID_ITEM* ItemFactory::ResourceIds(const std::vector<RscIdEntry>& entries) {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_RSC_ID_ITEM));
    const size_t array = layout.Add(sizeof(PDU_RSC_ID_ITEM_DATA) * entries.size());
    std::vector<size_t> idArrays;
    for (const auto& e : entries) idArrays.push_back(layout.Add(sizeof(UNUM32) * e.ids.size()));
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* item = At<PDU_RSC_ID_ITEM>(block, head);
    *item = PDU_RSC_ID_ITEM{PDU_IT_RSC_ID, static_cast<UNUM32>(entries.size()), At<PDU_RSC_ID_ITEM_DATA>(block, array)};
    for (size_t i = 0; i < entries.size(); ++i) {
        auto* ids = At<UNUM32>(block, idArrays[i]);
        if (!entries[i].ids.empty()) std::memcpy(ids, entries[i].ids.data(), entries[i].ids.size() * sizeof(UNUM32));
        item->pResourceIdDataArray[i] = {entries[i].hMod, static_cast<UNUM32>(entries[i].ids.size()), ids};
    }
    return item;
}

PDU_RSC_CONFLICT_ITEM* ItemFactory::Conflicts(const std::vector<PDU_RSC_CONFLICT_DATA>& conflicts) {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_RSC_CONFLICT_ITEM));
    const size_t array = layout.Add(sizeof(PDU_RSC_CONFLICT_DATA) * conflicts.size());
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* item = At<PDU_RSC_CONFLICT_ITEM>(block, head);
    *item = {PDU_IT_RSC_CONFLICT, static_cast<UNUM32>(conflicts.size()), At<PDU_RSC_CONFLICT_DATA>(block, array)};
    for (size_t i = 0; i < conflicts.size(); ++i) item->pRscConflictData[i] = conflicts[i];
    return item;
}

PDU_DATA_ITEM* ItemFactory::Unum32(uint32_t value) { return Data(PDU_IT_IO_UNUM32, &value, sizeof(value)); }

PDU_DATA_ITEM* ItemFactory::Data(T_PDU_IT type, const void* data, size_t size) {
    BlockLayout layout;
    const size_t head = layout.Add(sizeof(PDU_DATA_ITEM));
    const size_t body = layout.Add(size);
    void* block = ItemStore::Allocate(layout.Size());
    if (block == nullptr) return nullptr;
    auto* item = At<PDU_DATA_ITEM>(block, head);
    *item = PDU_DATA_ITEM{type, At<void>(block, body)};
    if (size != 0) std::memcpy(item->pData, data, size);
    return item;
}

}  // namespace pdusim
