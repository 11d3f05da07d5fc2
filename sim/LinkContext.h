// What a link needs of the library around it while its ComPrimitives run.
#pragma once

#include <cstdint>

#include "ComPrimitive.h"
#include "pdu/PduTypes.h"

namespace pdusim {

class ComLogicalLink;

class LinkContext {
public:
    virtual ~LinkContext() = default;
    virtual void Emit(ComLogicalLink& link, PDU_EVENT_ITEM* item) = 0;
    virtual uint32_t Stamp(SteadyTime time) const = 0;
    virtual Vehicle& TheVehicle() = 0;
};

}  // namespace pdusim
