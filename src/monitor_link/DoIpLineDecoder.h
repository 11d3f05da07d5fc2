// The rows of a DoIP monitor window: each result item of its link is a frame that crossed the
// VCI's sockets, with the vendor's header of addresses, ports and flags before it.
#pragma once

#include <cstdint>

#include "controls/PrintListCtrl.h"
#include "pdu/PduTypes.h"

class DoIpLineDecoder {
public:
    // Header flags.
    enum : uint8_t { FLAG_IP = 1, FLAG_TCP = 2, FLAG_RCV = 4, FLAG_TLS = 8, FLAG_H = 16 };
    static constexpr uint32_t kHeaderSize = 40;

    static const char* PayloadTypeText(uint32_t payloadType);
    // Writes the item's rows in one go; items other than results are dropped.
    static void Decode(const PDU_EVENT_ITEM& item, controls::PrintListCtrl& list);
};
