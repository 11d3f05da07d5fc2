#include "FaultInjection.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string_view>

namespace pdusim {
namespace {

uint32_t Number(const std::string& text) { return static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 0)); }

std::string Trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

FaultInjection FaultInjection::Parse(const std::string& text) {
    FaultInjection faults;
    std::stringstream stream(text);
    std::string entry;
    while (std::getline(stream, entry, ';')) faults.ParseEntry(Trim(entry));
    return faults;
}

FaultInjection FaultInjection::FromEnvironment() {
    const char* text = std::getenv("PDUSIM_FAULTS");
    return Parse(text == nullptr ? "" : text);
}

void FaultInjection::ParseEntry(const std::string& entry) {
    const auto colon = entry.find(':');
    if (colon == std::string::npos) return;
    const std::string kind = Trim(entry.substr(0, colon));
    const std::string value = Trim(entry.substr(colon + 1));
    if (kind == "fail" || kind == "throw") {
        const auto equals = value.find('=');
        if (equals == std::string::npos) return;
        auto& table = kind == "fail" ? m_failures : m_throws;
        table[Trim(value.substr(0, equals))] = Number(Trim(value.substr(equals + 1)));
    } else if (kind == "missing") {
        std::stringstream list(value);
        std::string number;
        while (std::getline(list, number, ',')) m_missing.insert(Number(Trim(number)));
    } else if (kind == "slow") {
        char* end = nullptr;
        const unsigned long factor = std::strtoul(value.c_str(), &end, 0);
        if (!value.empty() && *end == '\0' && value[0] != '-' && factor <= UINT32_MAX)
            m_slowFactor = static_cast<uint32_t>(factor);
    }
}

std::optional<uint32_t> FaultInjection::ThrowOf(const char* method) const {
    if (m_throws.empty()) return std::nullopt;  // the path of every item call: keep it cheap
    const auto it = m_throws.find(std::string_view(method));
    if (it == m_throws.end()) return std::nullopt;
    return it->second;
}

std::optional<uint32_t> FaultInjection::FailureOf(const std::string& function) const {
    const auto it = m_failures.find(function);
    if (it == m_failures.end()) return std::nullopt;
    return it->second;
}

}  // namespace pdusim
