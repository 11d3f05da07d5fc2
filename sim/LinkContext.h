// What a link needs of the library around it while its ComPrimitives run.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ComPrimitive.h"
#include "ParamValue.h"
#include "pdu/PduTypes.h"

namespace pdusim {

class ComLogicalLink;
struct SimModule;

// Extra error ids of the description file's ERROR_CODE table; 0 where the file has none.
struct VendorErrors {
    uint32_t noEcuResponse = 0;
    uint32_t unexpectedFrame = 0;
    uint32_t kLineInitFailed = 0;
    uint32_t vciLost = 0;
};

struct ParamChange {
    ParamValue before;
    ParamValue after;
};

class LinkContext {
public:
    virtual ~LinkContext() = default;
    virtual void Emit(ComLogicalLink& link, PDU_EVENT_ITEM* item) = 0;
    virtual uint32_t Stamp(SteadyTime time) const = 0;
    virtual Vehicle& TheVehicle() = 0;
    virtual const VendorErrors& Errors() const = 0;
    // With slow answers off altogether the vehicle answers at once and the bus takes no time.
    virtual bool IdealBus() const = 0;
    // Where period n of the vehicle's background traffic begins: the same for every link.
    virtual SteadyTime TrafficEpoch() const = 0;
    // Whether a monitor link listens on the CAN bus of this link (frames are built only then).
    virtual bool CanBusWatched(const ComLogicalLink& origin) const = 0;
    // Frames this link put on its CAN bus, or that answered it, for the monitor links on that bus.
    virtual void OnCanBus(const ComLogicalLink& origin, const std::vector<BusFrame>& frames) = 0;
    // Where a DoIP link of this module reaches its entity over TCP (network order); none: the
    // vehicle answers inside the library.
    virtual std::optional<uint32_t> DoIpEntityAddress(const SimModule& module) const = 0;
    // An UPDATEPARAM made new bus type ComParams active on this link.
    virtual void PhysicalParamsChanged(ComLogicalLink& origin, const std::vector<ParamChange>& changes) = 0;
};

}  // namespace pdusim
