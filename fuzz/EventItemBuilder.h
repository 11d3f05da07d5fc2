// A PDU_EVENT_ITEM of a link built from fuzz input, with every buffer its pointers name owned
// here: a count always describes memory that exists, so whatever goes wrong is the decoder's.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

#include "pdu/PduTypes.h"

class EventItemBuilder {
public:
    explicit EventItemBuilder(FuzzedDataProvider& input) : m_input(input) {}

    // A result item when `resultsOnly`, else any of the four kinds, an unknown type, or a null pData.
    const PDU_EVENT_ITEM& Build(bool resultsOnly)
    {
        static constexpr T_PDU_IT kTypes[] = {PDU_IT_RESULT, PDU_IT_STATUS, PDU_IT_ERROR, PDU_IT_INFO};
        const uint32_t pick = resultsOnly ? 0 : m_input.ConsumeIntegralInRange<uint32_t>(0, 5);
        m_item = {};
        m_item.ItemType = pick < 4 ? kTypes[pick] : m_input.ConsumeIntegral<uint32_t>();
        // An unknown type must stay unknown: its pData holds no structure of a known one.
        if (pick >= 4 && std::find(std::begin(kTypes), std::end(kTypes), m_item.ItemType) != std::end(kTypes))
            m_item.ItemType |= 0x80000000u;
        m_item.hCop = m_input.ConsumeIntegral<uint32_t>();
        m_item.Timestamp = m_input.ConsumeIntegral<uint32_t>();
        m_item.pCoPTag = m_input.ConsumeBool() ? nullptr : &m_item;
        if (!resultsOnly && m_input.ConsumeIntegralInRange(0, 15) == 0) return m_item;  // pData null
        switch (pick) {
        case 0: m_item.pData = Result(); break;
        case 1: m_item.pData = &(m_status = Code()); break;
        case 2: m_item.pData = &(m_error = {Code(), m_input.ConsumeIntegral<uint32_t>()}); break;
        case 3: m_item.pData = &(m_info = {Code(), m_input.ConsumeIntegral<uint32_t>()}); break;
        default: m_item.pData = Bytes(64); break;  // an item type the decoder does not know
        }
        return m_item;
    }

private:
    // Some well-known values, else any number: the decoder branches on the usual ones.
    uint32_t Code()
    {
        return m_input.ConsumeBool() ? m_input.ConsumeIntegralInRange<uint32_t>(0x8000, 0x8080) : m_input.ConsumeIntegral<uint32_t>();
    }

    // A buffer of its own with up to `max` bytes; null for none (or sometimes an empty one).
    uint8_t* Bytes(size_t max, uint32_t* count = nullptr)
    {
        std::vector<uint8_t> bytes = m_input.ConsumeBytes<uint8_t>(m_input.ConsumeIntegralInRange<size_t>(0, max));
        if (count) *count = static_cast<uint32_t>(bytes.size());
        if (bytes.empty() && m_input.ConsumeBool()) return nullptr;
        m_buffers.push_back(std::make_unique<uint8_t[]>(bytes.size() + 1));
        std::copy(bytes.begin(), bytes.end(), m_buffers.back().get());
        return m_buffers.back().get();
    }

    PDU_FLAG_DATA Flags()
    {
        PDU_FLAG_DATA flags{};
        flags.pFlagData = Bytes(8, &flags.NumFlagBytes);
        return flags;
    }

    PDU_RESULT_DATA* Result()
    {
        m_result = {};
        m_result.RxFlag = Flags();
        m_result.UniqueRespIdentifier = m_input.ConsumeIntegral<uint32_t>();
        m_result.AcceptanceId = m_input.ConsumeIntegral<uint32_t>();
        m_result.TimestampFlags = Flags();
        m_result.TxMsgDoneTimestamp = m_input.ConsumeIntegral<uint32_t>();
        m_result.StartMsgTimestamp = m_input.ConsumeIntegral<uint32_t>();
        if (m_input.ConsumeBool()) {
            m_extra = {};
            m_extra.pHeaderBytes = Bytes(64, &m_extra.NumHeaderBytes);
            m_extra.pFooterBytes = Bytes(16, &m_extra.NumFooterBytes);
            m_result.pExtraInfo = &m_extra;
        }
        m_result.pDataBytes = Bytes(4200, &m_result.NumDataBytes);
        return &m_result;
    }

    FuzzedDataProvider& m_input;
    PDU_EVENT_ITEM m_item{};
    T_PDU_STATUS m_status = 0;
    PDU_ERROR_DATA m_error{};
    PDU_INFO_DATA m_info{};
    PDU_RESULT_DATA m_result{};
    PDU_EXTRA_INFO m_extra{};
    std::vector<std::unique_ptr<uint8_t[]>> m_buffers;
};
