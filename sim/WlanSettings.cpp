#include "WlanSettings.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace pdusim {
namespace {

int64_t Number(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 0); }

void Apply(PDU_IO_WLAN_SIGNAL_DATA& data, const std::string& key, const std::string& value) {
    if (key == "mode") data.Mode = static_cast<UNUM32>(Number(value));
    else if (key == "mask") data.ValidMask = static_cast<UNUM32>(Number(value));
    else if (key == "channel") data.Channel = static_cast<UNUM32>(Number(value));
    else if (key == "frequency") data.FrequencyMHz = static_cast<UNUM32>(Number(value));
    else if (key == "width") data.ChannelWidthMHz = static_cast<UNUM32>(Number(value));
    else if (key == "txpower") data.TxPowerDbm = std::strtof(value.c_str(), nullptr);
    else if (key == "speed") data.LinkSpeedMbit = static_cast<UNUM32>(Number(value));
    else if (key == "rssi") data.RssiDbm = static_cast<SNUM32>(Number(value));
    else if (key == "snr") data.SnrDbm = static_cast<SNUM32>(Number(value));
    else if (key == "noise") data.NoiseDbm = static_cast<SNUM32>(Number(value));
    else if (key == "quality") data.SignalQuality = static_cast<SNUM16>(Number(value));
    else if (key == "ssid") {
        std::memset(data.Ssid, 0, sizeof(data.Ssid));
        std::memcpy(data.Ssid, value.data(), std::min(value.size(), sizeof(data.Ssid)));
    }
}

}  // namespace

PDU_IO_WLAN_SIGNAL_DATA WlanSettings::DefaultAnswer() {
    PDU_IO_WLAN_SIGNAL_DATA data{2, 0x3FF, 36, 5180, 80, 17.5f, 433, -54, 38, -92, 87, {}};
    std::memcpy(data.Ssid, "MRVNE-WORKSHOP", 14);
    return data;
}

PDU_IO_WLAN_SIGNAL_DATA WlanSettings::Parse(const std::string& text) {
    PDU_IO_WLAN_SIGNAL_DATA data = DefaultAnswer();
    std::stringstream stream(text);
    for (std::string entry; std::getline(stream, entry, ';');) {
        const auto equals = entry.find('=');
        if (equals == std::string::npos) continue;
        // Blanks around the key go; the value is taken as given (an SSID may hold blanks).
        std::string key = entry.substr(0, equals);
        key.erase(0, key.find_first_not_of(" \t"));
        key.erase(key.find_last_not_of(" \t") + 1);
        Apply(data, key, entry.substr(equals + 1));
    }
    return data;
}

PDU_IO_WLAN_SIGNAL_DATA WlanSettings::FromEnvironment() {
    const char* text = std::getenv("PDUSIM_WLAN");
    return Parse(text == nullptr ? "" : text);
}

}  // namespace pdusim
