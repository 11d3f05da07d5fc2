// Base of the dialogs that own one link: its handles, ids and create flags, its title, the
// editors open on it, and the placement beside the main window. The main dialog knows its links
// only through this base.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "controls/ComboBox.h"
#include "editors/EditorOwner.h"
#include "logical_link/LinkComParams.h"
#include "pdu/PduTypes.h"
#include "ui/Dialog.h"

class LinkHost;
class WorkerThread;

class CLinkBaseDlg : public Dialog, public EditorOwner, public std::enable_shared_from_this<CLinkBaseDlg> {
public:
    static constexpr unsigned kTimerPeriodMs = 50;

    CLinkBaseDlg(ui::Ui& ui, int templateId);
    ~CLinkBaseDlg() override;

    // The four placements beside the reference window; a position off the screen stays as it is.
    virtual void PlaceLeftOf(Dialog& reference);
    virtual void PlaceRightOf(Dialog& reference);
    virtual void PlaceLeftOfCenter(Dialog& reference);
    virtual void PlaceRightOfCenter(Dialog& reference);
    // Closes the link as its own close button would; the base has nothing to close.
    virtual void CloseLink() {}
    std::shared_ptr<void> KeepAlive() override { return weak_from_this().lock(); }
    bool IsDesktopWindow() const override { return true; }

    // The link's event callback finds its dialog through the link tag, which is the dialog's
    // address. A dialog is known under its tag from Register until it is destroyed, and the
    // callback holds it alive while it works.
    void RegisterLinkTag();
    static std::shared_ptr<CLinkBaseDlg> FromLinkTag(void* tag);
    void* LinkTag() { return this; }
    // A link callback that comes without a link tag raises the module events of the API tag,
    // which only the application knows how to read.
    using ApiTagHandler = void (*)(void* apiTag);
    static void SetApiTagHandler(ApiTagHandler handler);
    static void RaiseForApiTag(void* apiTag);

    // The editors' folder memory: the last folder a file box reported, else the settings file's.
    std::string InitialFolder() const override;
    // The plain window's routines; the link windows give their own.
    const ComParamValueFamily& ValueFamily() const override;
    void RememberPath(const std::string& path) override;

    LinkHost* m_pMainDlg = nullptr;
    Dialog* m_pComParamDlg = nullptr;
    Dialog* m_pUridDlg = nullptr;
    Dialog* m_pIoCtlFilterDlg = nullptr;
    UNUM32 m_hMod = PDU_HANDLE_UNDEF;
    UNUM32 m_hCLL = PDU_HANDLE_UNDEF;
    UNUM32 m_resourceId = PDU_ID_UNDEF;
    UNUM32 m_protocolId = 0;
    UNUM32 m_busTypeId = 0;
    uint8_t m_createFlags[4] = {0, 0, 0, 0};
    std::string m_protocolName;
    std::string m_busTypeName;
    std::string m_pinsText;
    std::string m_title;
    // Read by the workers line by line, written by the dialog.
    std::atomic<bool> m_screenDisabled{false};
    // Bus type details the monitor dialogs read.
    std::string m_busTypeDetail1;
    std::string m_busTypeDetail2;
    std::string m_busTypeDetail3;
    std::string m_lastFolder;
    uintptr_t m_hTimer = 0;
    const unsigned m_timerId;

protected:
    enum class EventRound { Drained, Stopped, Capped };
    // One round of the receive thread over the link's queue: every item goes to `onItem`, which
    // answers false for an item of a type it doesn't know (the round ends, the item is kept);
    // `report` gets the lines about what the library got wrong. The round ends when the queue is
    // empty, the worker is told to stop, or after so many items that the queue seems never to run
    // dry (Capped: the caller pauses, so that the window gets at the link, and reads on).
    EventRound ReadEventRound(WorkerThread& worker, const std::function<bool(const PDU_EVENT_ITEM&)>& onItem,
                              const std::function<void(const std::string&)>& report);
    static unsigned TimerIdOf(int templateId);
    void MoveTo(int x, int y);
    // An editor still open on the link refuses the close, with a box that says which.
    bool EditorRefusesClose();
    // The close's conversation with the library: false when the link is still online (the user
    // is told so). The link is destroyed when it is offline, or kept when its status can't be read.
    bool DestroyLinkForClose(T_PDU_ERROR& status);
    // The PDU history in section "PDU" of the settings file.
    void LoadPduHistory(controls::ComboBox& combo);
    void SavePduHistory(controls::ComboBox& combo);
    // What a close writes of the link and frees: history, URID table, ComParams, folder.
    void SaveAndFreeLinkSettings(controls::ComboBox& pduCombo, LinkComParams& params);
    // "Edit Param" and "Edit URID" of both windows; the plain window's editors have it as their
    // plain owner, the full window's as their full one.
    void EditComParams(LinkComParams& params, bool plainOwner, T_PDU_ERROR& lastStatus);
    void EditUridTable(LinkComParams& params, bool plainOwner);

private:
    bool m_tagRegistered = false;
};

// A link dialog in the shared ownership its workers and its event callback rely on.
template <typename T, typename... Args>
std::shared_ptr<T> MakeLinkDialog(Args&&... args)
{
    auto dialog = std::make_shared<T>(std::forward<Args>(args)...);
    dialog->RegisterLinkTag();
    return dialog;
}
