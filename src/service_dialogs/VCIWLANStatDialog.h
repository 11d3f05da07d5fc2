// The WLAN statistics of a module: PDU_IOCTL_GET_WLAN_SIGNAL_DATA on a button, each value in
// its own field, "n/a" where the answer marks it invalid.
#pragma once

#include "controls/Button.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "pdu/MorvaneExtensions.h"
#include "service_dialogs/ServiceDialog.h"

class VCIWLANStatDialog : public ServiceDialog {
public:
    static constexpr int IDD = 168;
    enum : int {
        IDC_MODE = 2043,
        IDC_WLAN_CHANNEL = 2033,
        IDC_FREQUENCY = 2034,
        IDC_CHANNEL_WIDTH = 2035,
        IDC_TX_POWER = 2036,
        IDC_LINK_SPEED = 2037,
        IDC_RSSI = 2038,
        IDC_SNR = 2044,
        IDC_NOISE = 2039,
        IDC_SIGNAL_QUALITY = 2040,
        IDC_SSID = 2045,
        IDC_MODULE_HANDLE = 2042,
        IDC_GET_WLAN_STATS = 2032,
    };

    VCIWLANStatDialog(ui::Ui& ui, ServiceDialogHost& host);

    bool OnInitDialog() override;
    void OnCbnSelchangeModuleHandle();
    void OnBnClickedGetWlanStats();
    // Every field as the dialog shows it.
    void ShowStatistics(const PDU_IO_WLAN_SIGNAL_DATA& data);

    uint32_t m_hModule = PDU_HANDLE_UNDEF;

    controls::Edit m_ModeEdit;
    controls::Edit m_ChannelEdit;
    controls::Edit m_FrequencyEdit;
    controls::Edit m_ChannelWidthEdit;
    controls::Edit m_TxPowerEdit;
    controls::Edit m_LinkSpeedEdit;
    controls::Edit m_RssiEdit;
    controls::Edit m_SnrEdit;
    controls::Edit m_NoiseEdit;
    controls::Edit m_SignalQualityEdit;
    controls::Edit m_SsidEdit;
    controls::ComboBox m_ModuleCombo;
    controls::Button m_GetWlanStatsButton;
};
