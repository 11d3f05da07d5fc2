// Base of every dialog's logic: its controls, the handler of each control notification, its title,
// and the toolkit services it reaches through Ui. Views and the headless driver bind through the
// control table by control id.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "controls/Control.h"
#include "ui/Ui.h"

namespace controls {
class Button;
class PrintListCtrl;
}

class Dialog {
public:
    using Handler = std::function<void()>;

    Dialog(ui::Ui& ui, int templateId, std::string title);
    virtual ~Dialog();
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    int TemplateId() const { return m_templateId; }
    ui::Ui& GetUi() const { return m_ui; }

    // Every control in table order.
    const std::vector<controls::Control*>& Controls() const { return m_controls; }
    controls::Control* FindControl(int id) const;
    // By caption without the '&' marker, exact first, then without case; or by a decimal id.
    controls::Control* FindControlByName(const std::string& name) const;

    // A notification from a control (user action); runs its handler on the calling (UI) thread.
    void Dispatch(int id, controls::Notification notification);
    bool HasHandler(int id, controls::Notification notification) const;
    // The button that ends the dialog with `code` (ui::IDOK or ui::IDCANCEL) as the toolkit's
    // Enter and Escape do: the button of that id, else the one captioned "OK" or "Cancel"; null
    // when the dialog has none or its button has no handler.
    controls::Button* DialogButton(int code) const;

    // A window of its own on the desktop, as the link windows are: not kept above the window that
    // opened it, nor taken down with it.
    virtual bool IsDesktopWindow() const { return false; }
    // What keeps the dialog alive while its window is being taken down; null for a dialog whose
    // owner keeps it anyway.
    virtual std::shared_ptr<void> KeepAlive() { return nullptr; }

    virtual bool OnInitDialog() { return true; }
    virtual void OnTimer(unsigned id) {}
    // A hot key the dialog registered through Ui.
    virtual void OnHotKey(int id) {}
    // WM_CLOSE / the window's close button; the default ends the dialog with IDCANCEL.
    virtual void OnClose() { EndDialog(ui::IDCANCEL); }
    // Escape in a modal dialog without a Cancel button: the toolkit's cancel, which most dialogs
    // take as their close box.
    virtual void OnCancelKey() { OnClose(); }
    // The log list of this window, if it has one (the headless "log" command reads it).
    virtual controls::PrintListCtrl* LogList() { return nullptr; }

    void EndDialog(int code);
    bool IsEnded() const;
    int EndCode() const;
    void ResetEnd();

    std::string GetWindowText() const;
    void SetWindowText(const std::string& title);
    void SetTitleObserver(std::function<void(const std::string&)> observer);

protected:
    // Registers a control; handlers are added with On().
    void AddControl(controls::Control& control);
    void On(controls::Control& control, controls::Notification notification, Handler handler);

    ui::Ui& m_ui;

private:
    const int m_templateId;
    std::vector<controls::Control*> m_controls;
    std::map<std::pair<int, controls::Notification>, Handler> m_handlers;
    mutable std::mutex m_mutex;
    std::string m_title;
    std::function<void(const std::string&)> m_titleObserver;
    bool m_ended = false;
    int m_endCode = 0;
};
