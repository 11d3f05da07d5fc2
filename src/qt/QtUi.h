// The toolkit services on Qt: real message boxes, file boxes, menus, timers and windows.
#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <map>

#include "ui/Ui.h"

class QTimer;

// A window that shows one dialog's logic; it syncs its widgets after every timer tick.
class DialogView : public QWidget {
    Q_OBJECT
public:
    DialogView(Dialog& dialog, QWidget* parent = nullptr);
    Dialog& Logic() const { return m_dialog; }
    // Makes flushed log rows and changed controls visible; called after timers and on "redraw now".
    virtual void Sync() {}

protected:
    void closeEvent(QCloseEvent* event) override;

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
    void SetClipboardText(const std::string& text) override;
    void RedrawNow(Dialog& dialog) override;

    DialogView* ViewOf(Dialog& dialog) const;

private:
    DialogView* CreateView(Dialog& dialog);
    QWidget* ActiveWindow() const;

    std::map<int, ViewFactory> m_factories;
    std::map<Dialog*, QPointer<DialogView>> m_views;
    std::map<std::pair<Dialog*, unsigned>, QPointer<QTimer>> m_timers;
};
