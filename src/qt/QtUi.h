// The toolkit services on Qt: real message boxes, file boxes, menus, timers and windows.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>
#include <vector>
#include <functional>
#include <map>

#include "ui/Ui.h"

class QPushButton;
class QTimer;

// A window that shows one dialog's logic; it syncs its widgets after every timer tick.
// Opened over another window (QtUi parents it to its opener), it is a dialog as the toolkit's
// are: Escape cancels (its Cancel button, else, when modal, its close box) and Enter presses
// the focused button or the default one (its OK button, drawn as default).
class DialogView : public QWidget {
    Q_OBJECT
public:
    DialogView(Dialog& dialog, QWidget* parent = nullptr);
    Dialog& Logic() const { return m_dialog; }
    // Makes flushed log rows and changed controls visible; called after timers and on "redraw now".
    virtual void Sync() {}
    // The widget of the dialog's button for ui::IDOK or ui::IDCANCEL, null without one.
    QPushButton* DialogButtonWidget(int code) const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    Dialog& m_dialog;
};

class QtUi : public QObject, public ui::Ui {
    Q_OBJECT
public:
    using ViewFactory = std::function<DialogView*(Dialog&)>;

    QtUi();
    ~QtUi() override;

    // The view for dialogs of one template id; dialogs without one get a generic form.
    void RegisterView(int templateId, ViewFactory factory);

    int MessageBox(const std::string& text, const std::string& caption, unsigned type) override;
    int RunModal(Dialog& dialog) override;
    void ShowModeless(Dialog& dialog) override;
    void DestroyWindow(Dialog& dialog) override;
    ui::WindowRect GetWindowRect(Dialog& dialog) override;
    void MoveWindow(Dialog& dialog, int x, int y) override;
    std::optional<std::string> FileBox(const ui::FileBoxRequest& request) override;
    int PopupMenu(Dialog& owner, const std::vector<ui::MenuItem>& items) override;
    bool SetTimer(Dialog& dialog, unsigned id, unsigned periodMs) override;
    void KillTimer(Dialog& dialog, unsigned id) override;
    bool RegisterHotKey(Dialog& dialog, int id, char key) override;
    void UnregisterHotKey(Dialog& dialog, int id) override;
    void SetClipboardText(const std::string& text) override;
    void RedrawNow(Dialog& dialog) override;

    DialogView* ViewOf(Dialog& dialog) const;

    // Where a window opens: sized to its contents unless its view chose a size, centred over
    // `owner`'s frame, or on the screen without one, and kept on that screen.
    static void Place(QWidget* window, QWidget* owner);
    // A file box's filter and default extension as the logic gives them, in Qt's terms.
    static QString FileFilters(const std::string& filter);
    static std::string WithDefaultExtension(std::string path, const std::string& extension);

private:
    DialogView* CreateView(Dialog& dialog);
    // The window a new dialog or message box belongs to: the active window, else the window
    // shown last that is still visible.
    QWidget* OwnerWindow() const;
    void Shown(DialogView* view);
    // The hot keys of a dialog whose window is made later take effect on its view then.
    void InstallHotKeys(Dialog& dialog, DialogView* view);

    struct HotKey {
        Dialog* dialog;
        int id;
    };

    std::map<int, ViewFactory> m_factories;
    std::map<Dialog*, QPointer<DialogView>> m_views;
    std::map<std::pair<Dialog*, unsigned>, QPointer<QTimer>> m_timers;
    std::vector<QPointer<DialogView>> m_shown;
    std::map<char, HotKey> m_hotKeys;  // one holder per key in the process  // in the order they were shown
};
