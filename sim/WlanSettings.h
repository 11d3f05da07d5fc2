// The answer of PDU_IOCTL_GET_WLAN_SIGNAL_DATA on a module with WLAN, settable from the
// environment variable PDUSIM_WLAN (read at PDUConstruct), entries separated by ';':
//   mode=<n> mask=<n> channel=<n> frequency=<n> width=<n> txpower=<float> speed=<n>
//   rssi=<n> snr=<n> noise=<n> quality=<n> ssid=<text>
// Numbers in any base; the SSID takes up to 32 bytes as given, without a terminator when it
// fills them. Unknown entries are ignored; unset ones keep the default answer.
#pragma once

#include <string>

#include "pdu/MorvaneExtensions.h"

namespace pdusim {

class WlanSettings {
public:
    static PDU_IO_WLAN_SIGNAL_DATA DefaultAnswer();
    static PDU_IO_WLAN_SIGNAL_DATA Parse(const std::string& text);
    static PDU_IO_WLAN_SIGNAL_DATA FromEnvironment();
};

}  // namespace pdusim
