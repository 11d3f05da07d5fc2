// What one PDUStartComPrimitive is made of, read from the fields of a link dialog: the PDU bytes,
// the control data and the expected responses, with the storage their pointers point into.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "logical_link/ResponseMask.h"
#include "pdu/PduTypes.h"

// Comma separated bytes. A token is first read with the automatic base as a sanity test (256 or
// more, or the largest value, is a fault), then in base 16 for its low 8 bits: "10" is 0x10,
// "ff" passes as 0 and gives 0xFF, "100" passes as 100 and gives 0x00. An empty text has no
// bytes. False on a fault; with stopAtFirstFault the tokens after it aren't looked at.
bool ParsePduBytes(std::string_view text, std::vector<uint8_t>& bytes, bool stopAtFirstFault = false);

// The handle in a cancel box's text: "5 (0x5)" and "5(0x5)" read 5; the text is cut at its "("
// first, so a text without one reads 0.
uint32_t CancelHandleOf(const std::string& text);

// The text fields of the control data, as typed.
struct ControlFields {
    std::string receiveCycles;
    std::string sendCycles;
    std::string cycleTime;
    uint32_t tempParamState = 0;  // the check box's whole state word
};

class ComPrimitiveRequest {
public:
    // Control data from the fields and the Tx flag record, whose bytes the request copies: the
    // window may free its record while the library still reads. False on a fault.
    bool SetControl(const ControlFields& fields, const PDU_FLAG_DATA& txFlags);
    // "NoExpResp" makes one entry nothing can match; otherwise one entry per response in use,
    // the negative first with ResponseType 1, the positive last.
    void SetExpectedResponses(bool noExpectedResponse, const ResponseMask& positive, const ResponseMask& negative);

    std::vector<uint8_t> pdu;
    PDU_COP_CTRL_DATA control{};

    PDU_COP_CTRL_DATA* Control();

private:
    std::vector<UNUM8> m_txFlagBytes;
    std::vector<PDU_EXP_RESP_DATA> m_expected;
    std::vector<std::array<uint8_t, 4>> m_masks;
    std::vector<std::array<uint8_t, 4>> m_patterns;
};
