#include "KwpServer.h"

#include "UdsCodes.h"

namespace pdusim {
namespace {

uint8_t Positive(uint8_t service) { return static_cast<uint8_t>(service + sid::kPositiveOffset); }

Bytes Ascii(uint8_t head0, uint8_t head1, const std::string& text) {
    Bytes out{head0, head1};
    out.insert(out.end(), text.begin(), text.end());
    return out;
}

std::vector<Dtc> KwpDtcs() {
    // 2-byte KWP codes kept in the upper bytes of the 3-byte layout.
    return {{0x030100, 0xE0}, {0x011500, 0x60}};
}

}  // namespace

KwpServer::KwpServer(std::string vin) : m_vin(std::move(vin)), m_dtcs(KwpDtcs()) {}

void KwpServer::PowerOn() {
    m_dtcs.PowerOn();
    m_started = false;
    m_session = kStandardSession;
    m_lastRequest = {};
}

std::vector<EcuAnswer> KwpServer::Handle(const Bytes& request, TimePoint now) {
    if (request.empty()) return {};
    if (m_session != kStandardSession && now - m_lastRequest >= kP3Max) m_session = kStandardSession;
    m_lastRequest = now;
    Bytes response = Dispatch(request);
    if (response.empty()) return {};
    return {{response, kResponseDelayUs}};
}

Bytes KwpServer::Dispatch(const Bytes& request) {
    switch (request[0]) {
        case sid::kStartCommunication: return StartCommunication(request);
        case sid::kStopCommunication: return StopCommunication(request);
        case sid::kSessionControl: return StartSession(request);
        case sid::kReadEcuId: return ReadEcuId(request);
        case sid::kReadLocalId: return ReadLocalId(request);
        case sid::kReadDtcByStatus: return ReadDtcByStatus(request);
        case sid::kClearDtc: return ClearDtc(request);
        case sid::kTesterPresent: return TesterPresent(request);
        default: return NegativeResponse(request[0], nrc::kServiceNotSupported);
    }
}

Bytes KwpServer::StartCommunication(const Bytes& request) {
    if (request.size() != 1) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    m_started = true;
    return {Positive(request[0]), kKeyByte1, kKeyByte2};
}

Bytes KwpServer::StopCommunication(const Bytes& request) {
    if (request.size() != 1) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    m_started = false;
    m_session = kStandardSession;
    return {Positive(request[0])};
}

Bytes KwpServer::StartSession(const Bytes& request) {
    if (request.size() != 2) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    const uint8_t session = request[1];
    if (session != kStandardSession && session != 0x85 && session != 0x86)
        return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    m_session = session;
    return {Positive(request[0]), session};
}

Bytes KwpServer::ReadEcuId(const Bytes& request) const {
    if (request.size() != 2) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    const uint8_t positive = Positive(request[0]);
    switch (request[1]) {
        case 0x90: return Ascii(positive, 0x90, m_vin);
        case 0x92: return Ascii(positive, 0x92, "HW-KL-0042");
        case 0x94: return Ascii(positive, 0x94, "SW-KL-0107");
        case 0x97: return Ascii(positive, 0x97, "ENGINE KWP");
        default: return NegativeResponse(request[0], nrc::kRequestOutOfRange);
    }
}

Bytes KwpServer::ReadLocalId(const Bytes& request) const {
    if (request.size() != 2) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    const uint8_t positive = Positive(request[0]);
    switch (request[1]) {
        // engine speed 800 rpm (x0.25), coolant 83 degC (+40), battery 13.8 V (x0.1)
        case 0x01: return {positive, 0x01, 0x0C, 0x80, 0x7B, 0x8A};
        // session and communication state, for checking what the ECU believes
        case 0x02: return {positive, 0x02, m_session, static_cast<uint8_t>(m_started ? 1 : 0)};
        default: return NegativeResponse(request[0], nrc::kRequestOutOfRange);
    }
}

Bytes KwpServer::ReadDtcByStatus(const Bytes& request) const {
    if (request.size() != 4) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    const uint16_t group = static_cast<uint16_t>((request[2] << 8) | request[3]);
    if (group != 0xFF00 && group != 0x0000) return NegativeResponse(request[0], nrc::kRequestOutOfRange);
    const std::vector<Dtc> found = m_dtcs.Matching(0xFF);
    Bytes response{Positive(request[0]), static_cast<uint8_t>(found.size())};
    for (const Dtc& dtc : found) {
        AppendU16(response, static_cast<uint16_t>(dtc.code >> 8));
        response.push_back(dtc.status);
    }
    return response;
}

Bytes KwpServer::ClearDtc(const Bytes& request) {
    if (request.size() != 3) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    const uint16_t group = static_cast<uint16_t>((request[1] << 8) | request[2]);
    if (group != 0xFF00 && group != 0x0000) return NegativeResponse(request[0], nrc::kRequestOutOfRange);
    m_dtcs.Clear(DtcMemory::kAllGroups);
    return {Positive(request[0]), request[1], request[2]};
}

Bytes KwpServer::TesterPresent(const Bytes& request) const {
    if (request.size() > 2) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    const uint8_t mode = request.size() == 2 ? request[1] : 0x01;
    if (mode == 0x02) return {};  // responseRequired = no
    if (mode != 0x01) return NegativeResponse(request[0], nrc::kSubFunctionNotSupported);
    return {Positive(request[0])};
}

}  // namespace pdusim
