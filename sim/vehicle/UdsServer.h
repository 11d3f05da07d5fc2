// One UDS (ISO 14229) ECU: sessions, security, data identifiers, fault memory and a routine.
// Transport-free: the caller routes requests to it and adds addresses and timing scale.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "DtcMemory.h"
#include "EcuAnswer.h"
#include "SecurityAccess.h"

namespace pdusim {

enum class DidWrite { Never, ExtendedSession, ExtendedUnlocked };

struct DidEntry {
    uint16_t id = 0;
    Bytes value;
    DidWrite write = DidWrite::Never;
};

struct UdsEcuConfig {
    std::string vin;              // F190, writable when unlocked in the extended session
    std::string partNumber;       // F187
    std::string serialNumber;     // F18C
    std::string softwareVersion;  // F195
    std::vector<DidEntry> extraDids;
    std::vector<Dtc> dtcs;
    uint32_t responseDelayUs = 5000;
    uint32_t seedStart = 1;
    bool obd = false;  // answers emission-related OBD modes 01, 03, 04, 09
};

class UdsServer {
public:
    static constexpr uint8_t kDefaultSession = 0x01;
    static constexpr uint8_t kProgrammingSession = 0x02;
    static constexpr uint8_t kExtendedSession = 0x03;
    static constexpr std::chrono::milliseconds kP2{50};
    static constexpr std::chrono::milliseconds kP2Star{5000};
    static constexpr std::chrono::milliseconds kS3{5000};
    static constexpr uint32_t kPendingIntervalUs = 100000;
    static constexpr uint16_t kSelfTestRoutine = 0x0201;
    static constexpr int kSelfTestPendingCount = 3;
    static constexpr uint16_t kEraseMemoryRoutine = 0xFF00;

    explicit UdsServer(UdsEcuConfig config);

    std::vector<EcuAnswer> Handle(const Bytes& request, bool functional, TimePoint now);
    void PowerOn();
    uint8_t Session() const { return m_session; }

private:
    struct Reply {
        std::vector<Bytes> messages;  // in order; all but the last are "response pending"
    };

    Reply Dispatch(const Bytes& request, TimePoint now);
    Reply SessionControl(const Bytes& request);
    Reply EcuReset(const Bytes& request);
    Reply TesterPresent(const Bytes& request);
    Reply ReadDid(const Bytes& request);
    Reply WriteDid(const Bytes& request);
    Reply Security(const Bytes& request, TimePoint now);
    Reply ReadDtcInfo(const Bytes& request);
    Reply ClearDtc(const Bytes& request);
    Reply RoutineControl(const Bytes& request);
    Reply StartRoutine(uint16_t routine);
    Reply ControlDtcSetting(const Bytes& request);

    void ExpireSession(TimePoint now);
    void EnterSession(uint8_t session);
    DidEntry* FindDid(uint16_t id);
    void ResetStoredData();

    std::vector<EcuAnswer> Timed(const Reply& reply, bool functional) const;

    UdsEcuConfig m_config;
    std::vector<DidEntry> m_dids;
    DtcMemory m_dtcs;
    SecurityAccess m_security;
    uint8_t m_session = kDefaultSession;
    TimePoint m_lastRequest{};
    bool m_selfTestDone = false;
};

}  // namespace pdusim
