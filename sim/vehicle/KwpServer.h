// A KWP 2000 (ISO 14230) engine ECU on K-Line.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "DtcMemory.h"
#include "EcuAnswer.h"

namespace pdusim {

class KwpServer {
public:
    static constexpr uint8_t kStandardSession = 0x81;
    static constexpr uint8_t kKeyByte1 = 0xEF;  // header with target/source, length byte optional
    static constexpr uint8_t kKeyByte2 = 0x8F;
    static constexpr std::chrono::milliseconds kP3Max{5000};
    static constexpr uint32_t kResponseDelayUs = 20000;

    explicit KwpServer(std::string vin);

    std::vector<EcuAnswer> Handle(const Bytes& request, TimePoint now);
    void PowerOn();
    bool CommunicationStarted() const { return m_started; }
    uint8_t Session() const { return m_session; }

private:
    Bytes Dispatch(const Bytes& request);
    Bytes StartCommunication(const Bytes& request);
    Bytes StopCommunication(const Bytes& request);
    Bytes StartSession(const Bytes& request);
    Bytes ReadEcuId(const Bytes& request) const;
    Bytes ReadLocalId(const Bytes& request) const;
    Bytes ReadDtcByStatus(const Bytes& request) const;
    Bytes ClearDtc(const Bytes& request);
    Bytes TesterPresent(const Bytes& request) const;

    std::string m_vin;
    DtcMemory m_dtcs;
    bool m_started = false;
    uint8_t m_session = kStandardSession;
    TimePoint m_lastRequest{};
};

}  // namespace pdusim
