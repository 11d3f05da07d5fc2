// The data of one PDU_IOCTL_BUS_TRACE call, with everything its pointers point to.
#pragma once

#include <string>

#include "pdu/MorvaneExtensions.h"

struct BusTraceRequest {
    PDU_BUS_TRC_CONFIG config{};
    PDU_PIN_DATA pins[2]{};
    std::string traceFilePath;
    std::string traceFile;
    PDU_IO_BYTEARRAY_DATA array{};
    PDU_DATA_ITEM item{};

    // The item as PDUIoCtl takes it: a byte array of the 40-byte record.
    PDU_DATA_ITEM* Item()
    {
        config.pPins = pins;
        config.pTraceFilePath = traceFilePath.empty() ? nullptr : traceFilePath.data();
        config.pTraceFile = traceFile.empty() ? nullptr : traceFile.data();
        array = PDU_IO_BYTEARRAY_DATA{sizeof(PDU_BUS_TRC_CONFIG), reinterpret_cast<UNUM8*>(&config)};
        item = PDU_DATA_ITEM{PDU_IT_IO_BYTEARRAY, &array};
        return &item;
    }
};
