#include "service_dialogs/VCIWLANStatDialog.h"

#include <cstdio>
#include <cstring>

#include "pdu/PduApi.h"

using controls::Notification;

namespace {

template <typename... Values>
std::string Format(const char* format, Values... values)
{
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

std::string ModeText(uint32_t mode)
{
    switch (mode) {
    case 0: return "No connection";
    case 1: return "Accesspoint";
    case 2: return "Infrastructure";
    default: return Format("unknown (%d)", static_cast<int>(mode));
    }
}

}  // namespace

VCIWLANStatDialog::VCIWLANStatDialog(ui::Ui& ui, ServiceDialogHost& host)
    : ServiceDialog(ui, host, IDD, "PDU_IOCTL_GET_WLAN_SIGNAL_DATA"),
      m_ModeEdit(IDC_MODE, "Mode"),
      m_ChannelEdit(IDC_WLAN_CHANNEL, "WLAN Channel"),
      m_FrequencyEdit(IDC_FREQUENCY, "Frequency"),
      m_ChannelWidthEdit(IDC_CHANNEL_WIDTH, "Channel width"),
      m_TxPowerEdit(IDC_TX_POWER, "Tx Power"),
      m_LinkSpeedEdit(IDC_LINK_SPEED, "Link speed"),
      m_RssiEdit(IDC_RSSI, "RSSI"),
      m_SnrEdit(IDC_SNR, "SNR"),
      m_NoiseEdit(IDC_NOISE, "Noise"),
      m_SignalQualityEdit(IDC_SIGNAL_QUALITY, "Signal Quality"),
      m_SsidEdit(IDC_SSID, "SSID"),
      m_ModuleCombo(IDC_MODULE_HANDLE, "Module Handle", false, false),
      m_GetWlanStatsButton(IDC_GET_WLAN_STATS, "Get WLAN Stats")
{
    for (controls::Edit* e : {&m_ModeEdit, &m_ChannelEdit, &m_FrequencyEdit, &m_ChannelWidthEdit, &m_TxPowerEdit,
                              &m_LinkSpeedEdit, &m_RssiEdit, &m_SnrEdit, &m_NoiseEdit, &m_SignalQualityEdit,
                              &m_SsidEdit}) {
        e->SetReadOnly(true);
        AddControl(*e);
    }
    AddControl(m_ModuleCombo);
    AddControl(m_GetWlanStatsButton);
    On(m_ModuleCombo, Notification::SelChange, [this] { OnCbnSelchangeModuleHandle(); });
    On(m_GetWlanStatsButton, Notification::Clicked, [this] { OnBnClickedGetWlanStats(); });
}

bool VCIWLANStatDialog::OnInitDialog()
{
    for (controls::Control* c : Controls()) {
        if (auto* edit = dynamic_cast<controls::Edit*>(c)) edit->SetWindowText("");
    }
    m_ModuleCombo.ResetContent();
    for (const std::string& name : m_host.ModuleNames()) m_ModuleCombo.AddString(name);
    m_ModuleCombo.SetCurSel(m_host.SelectedModuleIndex());
    OnCbnSelchangeModuleHandle();
    return true;
}

void VCIWLANStatDialog::OnCbnSelchangeModuleHandle()
{
    const int sel = m_ModuleCombo.GetCurSel();
    m_hModule = m_host.GetModuleHandleByName(sel >= 0 ? m_ModuleCombo.GetLBText(sel) : std::string());
}

void VCIWLANStatDialog::OnBnClickedGetWlanStats()
{
    uint32_t ioctl = 0;
    if (!ResolveIoCtl(PDU_IOCTL_GET_WLAN_SIGNAL_DATA, ioctl)) return;
    PDU_DATA_ITEM* item = nullptr;
    m_LastStatus = PduApi.PDUIoCtl(m_hModule, PDU_HANDLE_UNDEF, ioctl, nullptr, &item);
    if (m_LastStatus == PDU_STATUS_NOERROR && item && item->ItemType == PDU_IT_IO_WLAN_SIGNAL_DATA && item->pData)
        ShowStatistics(*static_cast<const PDU_IO_WLAN_SIGNAL_DATA*>(item->pData));
    if (item) PduApi.PDUDestroyItem(reinterpret_cast<PDU_ITEM*>(item));
}

void VCIWLANStatDialog::ShowStatistics(const PDU_IO_WLAN_SIGNAL_DATA& d)
{
    const auto show = [&d](controls::Edit& edit, int bit, const std::string& text) {
        edit.SetWindowText(d.ValidMask & (1u << bit) ? text : "n/a");
    };
    // The mode is always valid, unless the mask marks the whole answer as empty.
    m_ModeEdit.SetWindowText(d.ValidMask != 0 ? ModeText(d.Mode) : "n/a");
    show(m_ChannelEdit, 0, Format("%d", static_cast<int>(d.Channel)));
    show(m_FrequencyEdit, 1, Format("%d MHz", static_cast<int>(d.FrequencyMHz)));
    show(m_ChannelWidthEdit, 2, Format("%d MHz", static_cast<int>(d.ChannelWidthMHz)));
    show(m_TxPowerEdit, 3, Format("%2.4f dBm", static_cast<double>(d.TxPowerDbm)));
    show(m_LinkSpeedEdit, 4, Format("%d Mbit/s", static_cast<int>(d.LinkSpeedMbit)));
    show(m_RssiEdit, 5, Format("%d dBm", static_cast<int>(d.RssiDbm)));
    show(m_SnrEdit, 6, Format("%d dBm", static_cast<int>(d.SnrDbm)));
    show(m_NoiseEdit, 7, Format("%d dBm", static_cast<int>(d.NoiseDbm)));
    show(m_SignalQualityEdit, 8, Format("%d %%", static_cast<int>(d.SignalQuality)));
    char ssid[sizeof d.Ssid + 1] = {};
    std::memcpy(ssid, d.Ssid, sizeof d.Ssid);
    show(m_SsidEdit, 9, ssid);
}
