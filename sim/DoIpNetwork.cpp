#include "DoIpNetwork.h"

#include <arpa/inet.h>

#include <cstdlib>
#include <string>

namespace pdusim {
namespace {

constexpr std::array<uint8_t, 6> kMainEid = {0x00, 0x1A, 0x37, 0x00, 0x00, 0x01};
constexpr std::array<uint8_t, 6> kDuplicateEid = {0x00, 0x1A, 0x37, 0x00, 0x00, 0x02};
constexpr std::array<uint8_t, 6> kSilentEid = {0x00, 0x1A, 0x37, 0x00, 0x00, 0x03};

const char* Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

// A logical address 0x0001-0xFFFF, else the fallback.
uint16_t LogicalAddress(const char* name, uint16_t fallback) {
    const char* text = Variable(name);
    if (text == nullptr) return fallback;
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 0);
    if (end == text || *end != '\0' || value == 0 || value > 0xFFFF) return fallback;
    return static_cast<uint16_t>(value);
}

}  // namespace

std::vector<DoIpEntity::Config> DoIpNetwork::FromEnvironment() {
    std::vector<DoIpEntity::Config> configs;
    DoIpEntity::Config main;
    if (const char* address = Variable("PDUSIM_DOIP_ADDR")) main.address = address;
    main.logicalAddress = LogicalAddress("PDUSIM_DOIP_LOGICAL", main.logicalAddress);
    main.eid = kMainEid;
    configs.push_back(main);
    if (const char* address = Variable("PDUSIM_DOIP_DUPLICATE_ADDR")) {
        DoIpEntity::Config duplicate = main;
        duplicate.address = address;
        duplicate.eid = kDuplicateEid;
        configs.push_back(duplicate);
    }
    if (const char* address = Variable("PDUSIM_DOIP_SILENT_ADDR")) {
        DoIpEntity::Config silent;
        silent.address = address;
        silent.logicalAddress = LogicalAddress("PDUSIM_DOIP_SILENT_LOGICAL", kDefaultSilentLogical);
        silent.eid = kSilentEid;
        silent.behaviour = DoIpEntity::Behaviour::IdentificationOnly;
        configs.push_back(silent);
    }
    return configs;
}

DoIpNetwork::DoIpNetwork(const std::vector<DoIpEntity::Config>& configs, Vehicle& vehicle) {
    for (const DoIpEntity::Config& config : configs) m_entities.push_back(std::make_unique<DoIpEntity>(config, vehicle));
}

void DoIpNetwork::Start() {
    std::string error;
    bool reporter = false;
    for (auto& entity : m_entities) {
        entity->ReportBroadcasts(!reporter);
        if (entity->Start(error)) reporter = true;
    }
    m_started = true;
}

std::optional<uint32_t> DoIpNetwork::LocalAddress() const {
    if (m_entities.empty() || !m_entities.front()->Running()) return std::nullopt;
    in_addr address{};
    if (::inet_pton(AF_INET, m_entities.front()->Settings().address.c_str(), &address) != 1) return std::nullopt;
    return address.s_addr;
}

void DoIpNetwork::Stop() {
    for (auto& entity : m_entities) entity->Stop();
    m_started = false;
}

}  // namespace pdusim
