#include "logical_link/ComPrimitiveRequest.h"

#include <algorithm>

#include "description/NumberText.h"
#include "logical_link/HexParsing.h"

void ResponseMask::FromTexts()
{
    std::fill(std::begin(mask), std::end(mask), 0);
    std::fill(std::begin(pattern), std::end(pattern), 0);
    uint32_t maskCount = 4, patternCount = 4;
    if (maskText.empty())
        maskCount = 0;
    else
        ParseHexBytes(maskText, mask, maskCount);
    if (patternText.empty())
        patternCount = 0;
    else
        ParseHexBytes(patternText, pattern, patternCount);
    count = std::min(maskCount, patternCount);
}

bool ParsePduBytes(std::string_view text, std::vector<uint8_t>& bytes, bool stopAtFirstFault)
{
    bytes.clear();
    if (text.empty()) return true;
    bool fault = false;
    size_t start = 0;
    for (;;) {
        const size_t comma = text.find(',', start);
        const std::string_view token = text.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start);
        const uint32_t check = ParseULong32(token, 0);
        if (check >= 256) {
            fault = true;
            if (stopAtFirstFault) return false;
        }
        bytes.push_back(static_cast<uint8_t>(ParseULong32(token, 16) & 0xFF));
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
    return !fault;
}

uint32_t CancelHandleOf(const std::string& text)
{
    const size_t bracket = text.find('(');
    return bracket == std::string::npos ? 0 : ParseULong32(std::string_view(text).substr(0, bracket), 0);
}

bool ComPrimitiveRequest::SetControl(const ControlFields& fields, const PDU_FLAG_DATA& txFlags)
{
    control = PDU_COP_CTRL_DATA{};
    bool fault = false;
    // strtol's limits mark a number that doesn't fit; the value itself is strtoul's, so "-1" is
    // 0xFFFFFFFF, the standard's endless count.
    const auto cycles = [&fault](const std::string& text) {
        const int32_t checked = ParseLong32(text, 0);
        if (checked == INT32_MAX || checked == INT32_MIN) fault = true;
        return static_cast<SNUM32>(ParseULong32(text, 0));
    };
    control.NumReceiveCycles = cycles(fields.receiveCycles);
    control.NumSendCycles = cycles(fields.sendCycles);
    if (ParseLong32(fields.cycleTime, 0) == INT32_MAX) fault = true;
    control.Time = ParseULong32(fields.cycleTime, 0);
    control.TempParamUpdate = fields.tempParamState;
    if (txFlags.NumFlagBytes == 0 || !txFlags.pFlagData) {
        fault = true;
    } else {
        m_txFlagBytes.assign(txFlags.pFlagData, txFlags.pFlagData + txFlags.NumFlagBytes);
        control.TxFlag = PDU_FLAG_DATA{txFlags.NumFlagBytes, m_txFlagBytes.data()};
    }
    return !fault;
}

void ComPrimitiveRequest::SetExpectedResponses(bool noExpectedResponse, const ResponseMask& positive,
                                               const ResponseMask& negative)
{
    m_expected.clear();
    m_masks.clear();
    m_patterns.clear();
    if (noExpectedResponse) {
        // Mask 00 00 with pattern FF FF: no data can match, which turns matching off.
        m_masks.push_back({0x00, 0x00, 0, 0});
        m_patterns.push_back({0xFF, 0xFF, 0, 0});
        m_expected.push_back(PDU_EXP_RESP_DATA{0, 1, 2, m_masks[0].data(), m_patterns[0].data(), 0, nullptr});
    } else {
        const size_t entries = (positive.count != 0 ? 1 : 0) + (negative.count != 0 ? 1 : 0);
        m_masks.resize(entries);
        m_patterns.resize(entries);
        for (size_t i = 0; i < entries; ++i)
            m_expected.push_back(PDU_EXP_RESP_DATA{0, static_cast<UNUM32>(i + 1), 0, m_masks[i].data(),
                                                   m_patterns[i].data(), 0, nullptr});
        const auto fill = [this](size_t index, const ResponseMask& response) {
            const uint32_t n = std::min<uint32_t>(response.count, 4);
            m_expected[index].NumMaskPatternBytes = n;
            std::copy(response.mask, response.mask + n, m_masks[index].begin());
            std::copy(response.pattern, response.pattern + n, m_patterns[index].begin());
        };
        if (positive.count != 0) fill(entries - 1, positive);
        if (negative.count != 0) {
            fill(0, negative);
            m_expected[0].ResponseType = 1;
        }
    }
    control.NumPossibleExpectedResponses = static_cast<UNUM32>(m_expected.size());
    control.pExpectedResponseArray = m_expected.empty() ? nullptr : m_expected.data();
}

PDU_COP_CTRL_DATA* ComPrimitiveRequest::Control()
{
    return &control;
}
