#include "UdsServer.h"

#include <algorithm>

#include "ObdResponder.h"
#include "UdsCodes.h"

namespace pdusim {
namespace {

constexpr uint8_t kSuppressBit = 0x80;
constexpr uint16_t kDidActiveSession = 0xF186;
constexpr uint16_t kDidPartNumber = 0xF187;
constexpr uint16_t kDidSerialNumber = 0xF18C;
constexpr uint16_t kDidVin = 0xF190;
constexpr uint16_t kDidSoftwareVersion = 0xF195;
constexpr uint16_t kDidRepairShopCode = 0xF198;

Bytes Ascii(const std::string& text) { return Bytes(text.begin(), text.end()); }

uint16_t U16At(const Bytes& data, size_t at) {
    return static_cast<uint16_t>((data[at] << 8) | data[at + 1]);
}

uint8_t Positive(uint8_t service) { return static_cast<uint8_t>(service + sid::kPositiveOffset); }

bool Suppressed(const Bytes& request) { return (request[1] & kSuppressBit) != 0; }

uint8_t SubFunction(const Bytes& request) { return request[1] & static_cast<uint8_t>(~kSuppressBit); }

// Functional requests stay silent on these codes, so only the ECUs that can serve them answer.
bool SilentWhenFunctional(uint8_t code) {
    return code == nrc::kServiceNotSupported || code == nrc::kSubFunctionNotSupported ||
           code == nrc::kRequestOutOfRange || code == nrc::kSubFunctionNotInSession ||
           code == nrc::kServiceNotInSession;
}

}  // namespace

UdsServer::UdsServer(UdsEcuConfig config)
    : m_config(std::move(config)), m_dtcs(m_config.dtcs), m_security(m_config.seedStart) {
    ResetStoredData();
}

void UdsServer::ResetStoredData() {
    m_dids = {
        {kDidPartNumber, Ascii(m_config.partNumber), DidWrite::Never},
        {kDidSerialNumber, Ascii(m_config.serialNumber), DidWrite::Never},
        {kDidVin, Ascii(m_config.vin), DidWrite::ExtendedUnlocked},
        {kDidSoftwareVersion, Ascii(m_config.softwareVersion), DidWrite::Never},
        {kDidRepairShopCode, Ascii("0000000000"), DidWrite::ExtendedSession},
    };
    m_dids.insert(m_dids.end(), m_config.extraDids.begin(), m_config.extraDids.end());
}

void UdsServer::PowerOn() {
    ResetStoredData();
    m_dtcs.PowerOn();
    m_security.PowerOn();
    m_session = kDefaultSession;
    m_lastRequest = {};
    m_selfTestDone = false;
}

std::vector<EcuAnswer> UdsServer::Handle(const Bytes& request, bool functional, TimePoint now) {
    if (request.empty()) return {};
    ExpireSession(now);
    Reply reply = Dispatch(request, now);
    m_lastRequest = now;
    return Timed(reply, functional);
}

std::vector<EcuAnswer> UdsServer::Timed(const Reply& reply, bool functional) const {
    std::vector<EcuAnswer> out;
    for (const Bytes& message : reply.messages) {
        if (functional && message.size() == 3 && message[0] == sid::kNegative && SilentWhenFunctional(message[2]))
            continue;
        out.push_back({message, out.empty() ? m_config.responseDelayUs : kPendingIntervalUs});
    }
    return out;
}

void UdsServer::ExpireSession(TimePoint now) {
    if (m_session != kDefaultSession && now - m_lastRequest >= kS3) EnterSession(kDefaultSession);
}

void UdsServer::EnterSession(uint8_t session) {
    m_session = session;
    m_security.Lock();
    if (session == kDefaultSession) m_dtcs.SetRecording(true);
}

UdsServer::Reply UdsServer::Dispatch(const Bytes& request, TimePoint now) {
    if (m_config.obd && ObdResponder::Handles(request[0])) {
        Bytes answer = ObdResponder::Answer(request, m_dtcs, m_config.vin);
        if (answer.empty()) return {};
        return {{std::move(answer)}};
    }
    switch (request[0]) {
        case sid::kSessionControl: return SessionControl(request);
        case sid::kEcuReset: return EcuReset(request);
        case sid::kTesterPresent: return TesterPresent(request);
        case sid::kReadDid: return ReadDid(request);
        case sid::kWriteDid: return WriteDid(request);
        case sid::kSecurityAccess: return Security(request, now);
        case sid::kReadDtcInfo: return ReadDtcInfo(request);
        case sid::kClearDtc: return ClearDtc(request);
        case sid::kRoutineControl: return RoutineControl(request);
        case sid::kControlDtcSetting: return ControlDtcSetting(request);
        default: return {{NegativeResponse(request[0], nrc::kServiceNotSupported)}};
    }
}

UdsServer::Reply UdsServer::SessionControl(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() < 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint8_t session = SubFunction(request);
    if (session < kDefaultSession || session > kExtendedSession)
        return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    if (request.size() != 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    // Programming is entered from the extended session only, as on most production ECUs.
    if (session == kProgrammingSession && m_session == kDefaultSession)
        return {{NegativeResponse(service, nrc::kConditionsNotCorrect)}};
    EnterSession(session);
    if (Suppressed(request)) return {};
    Bytes response{Positive(service), session};
    AppendU16(response, static_cast<uint16_t>(kP2.count()));
    AppendU16(response, static_cast<uint16_t>(kP2Star.count() / 10));
    return {{response}};
}

UdsServer::Reply UdsServer::EcuReset(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() < 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint8_t type = SubFunction(request);
    if (type < 0x01 || type > 0x03) return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    if (request.size() != 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    EnterSession(kDefaultSession);
    m_selfTestDone = false;
    if (Suppressed(request)) return {};
    return {{{Positive(service), type}}};
}

UdsServer::Reply UdsServer::TesterPresent(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() < 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    if (SubFunction(request) != 0x00) return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    if (request.size() != 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    if (Suppressed(request)) return {};
    return {{{Positive(service), 0x00}}};
}

UdsServer::Reply UdsServer::ReadDid(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() < 3 || (request.size() - 1) % 2 != 0)
        return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    Bytes response{Positive(service)};
    for (size_t at = 1; at < request.size(); at += 2) {
        const uint16_t id = U16At(request, at);
        if (id == kDidActiveSession) {
            AppendU16(response, id);
            response.push_back(m_session);
            continue;
        }
        const DidEntry* did = FindDid(id);
        if (!did) continue;  // unknown identifiers are left out while any other one is known
        AppendU16(response, id);
        response.insert(response.end(), did->value.begin(), did->value.end());
    }
    if (response.size() == 1) return {{NegativeResponse(service, nrc::kRequestOutOfRange)}};
    return {{response}};
}

UdsServer::Reply UdsServer::WriteDid(const Bytes& request) {
    const uint8_t service = request[0];
    if (m_session == kDefaultSession) return {{NegativeResponse(service, nrc::kServiceNotInSession)}};
    if (request.size() < 4) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint16_t id = U16At(request, 1);
    DidEntry* did = FindDid(id);
    if (!did || did->write == DidWrite::Never) return {{NegativeResponse(service, nrc::kRequestOutOfRange)}};
    if (did->write == DidWrite::ExtendedUnlocked && !m_security.Unlocked())
        return {{NegativeResponse(service, nrc::kSecurityAccessDenied)}};
    if (request.size() - 3 != did->value.size()) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    did->value.assign(request.begin() + 3, request.end());
    Bytes response{Positive(service)};
    AppendU16(response, id);
    return {{response}};
}

UdsServer::Reply UdsServer::Security(const Bytes& request, TimePoint now) {
    const uint8_t service = request[0];
    if (m_session == kDefaultSession) return {{NegativeResponse(service, nrc::kServiceNotInSession)}};
    if (request.size() < 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint8_t type = SubFunction(request);
    if (type != 0x01 && type != 0x02) return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    if (request.size() != (type == 0x01 ? 2u : 6u)) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    SecurityAccess::Outcome outcome =
        type == 0x01 ? m_security.RequestSeed(now)
                     : m_security.SendKey((uint32_t{U16At(request, 2)} << 16) | U16At(request, 4), now);
    if (outcome.nrc != 0) return {{NegativeResponse(service, outcome.nrc)}};
    if (Suppressed(request)) return {};
    Bytes response{Positive(service), type};
    if (type == 0x01) AppendU32(response, outcome.seed);
    return {{response}};
}

UdsServer::Reply UdsServer::ReadDtcInfo(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() < 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint8_t type = request[1];
    if (type != 0x01 && type != 0x02) return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    if (request.size() != 3) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const std::vector<Dtc> found = m_dtcs.Matching(request[2]);
    Bytes response{Positive(service), type, DtcMemory::kAvailabilityMask};
    if (type == 0x01) {
        response.push_back(0x01);  // format: ISO 14229-1 DTC format
        AppendU16(response, static_cast<uint16_t>(found.size()));
        return {{response}};
    }
    for (const Dtc& dtc : found) {
        response.push_back(static_cast<uint8_t>(dtc.code >> 16));
        AppendU16(response, static_cast<uint16_t>(dtc.code));
        response.push_back(dtc.status);
    }
    return {{response}};
}

UdsServer::Reply UdsServer::ClearDtc(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() != 4) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint32_t group = (uint32_t{request[1]} << 16) | U16At(request, 2);
    if (!m_dtcs.Clear(group)) return {{NegativeResponse(service, nrc::kRequestOutOfRange)}};
    return {{{Positive(service)}}};
}

UdsServer::Reply UdsServer::RoutineControl(const Bytes& request) {
    const uint8_t service = request[0];
    if (request.size() < 4) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint8_t type = SubFunction(request);
    if (type < 0x01 || type > 0x03) return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    const uint16_t routine = U16At(request, 2);
    if (routine != kSelfTestRoutine && routine != kEraseMemoryRoutine)
        return {{NegativeResponse(service, nrc::kRequestOutOfRange)}};
    Reply reply;
    if (type == 0x01) {
        reply = StartRoutine(routine);
    } else if (routine == kSelfTestRoutine && type == 0x03 && m_selfTestDone) {
        reply.messages.push_back({Positive(service), type, 0x02, 0x01, 0x00});
    } else {
        // Both routines run to completion on start: nothing to stop, and erase has no results.
        return {{NegativeResponse(service, nrc::kRequestSequenceError)}};
    }
    const bool positive = !reply.messages.empty() && reply.messages.back()[0] == Positive(service);
    if (positive && Suppressed(request)) reply.messages.pop_back();
    return reply;
}

UdsServer::Reply UdsServer::StartRoutine(uint16_t routine) {
    const uint8_t service = sid::kRoutineControl;
    Reply reply;
    if (routine == kEraseMemoryRoutine) {
        if (m_session != kProgrammingSession) return {{NegativeResponse(service, nrc::kConditionsNotCorrect)}};
        if (!m_security.Unlocked()) return {{NegativeResponse(service, nrc::kSecurityAccessDenied)}};
        reply.messages.push_back(NegativeResponse(service, nrc::kResponsePending));
        reply.messages.push_back({Positive(service), 0x01, 0xFF, 0x00, 0x00});
        return reply;
    }
    for (int i = 0; i < kSelfTestPendingCount; ++i)
        reply.messages.push_back(NegativeResponse(service, nrc::kResponsePending));
    reply.messages.push_back({Positive(service), 0x01, 0x02, 0x01, 0x00});
    m_selfTestDone = true;
    return reply;
}

UdsServer::Reply UdsServer::ControlDtcSetting(const Bytes& request) {
    const uint8_t service = request[0];
    if (m_session == kDefaultSession) return {{NegativeResponse(service, nrc::kServiceNotInSession)}};
    if (request.size() < 2) return {{NegativeResponse(service, nrc::kIncorrectLength)}};
    const uint8_t type = SubFunction(request);
    if (type != 0x01 && type != 0x02) return {{NegativeResponse(service, nrc::kSubFunctionNotSupported)}};
    m_dtcs.SetRecording(type == 0x01);
    if (Suppressed(request)) return {};
    return {{{Positive(service), type}}};
}

DidEntry* UdsServer::FindDid(uint16_t id) {
    auto it = std::find_if(m_dids.begin(), m_dids.end(), [id](const DidEntry& d) { return d.id == id; });
    return it == m_dids.end() ? nullptr : &*it;
}

}  // namespace pdusim
