#include "qt/QtUi.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QCursor>
#include <QEventLoop>
#include <QFileDialog>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QThread>
#include <QTimer>
#include <algorithm>

#include "controls/Button.h"
#include "qt/GenericDialogView.h"
#include "ui/Dialog.h"

DialogView::DialogView(Dialog& dialog, QWidget* parent) : QWidget(parent, Qt::Window), m_dialog(dialog)
{
    setWindowTitle(QString::fromStdString(dialog.GetWindowText()));
    QPointer<DialogView> self(this);
    dialog.SetTitleObserver([self](const std::string& title) {
        QMetaObject::invokeMethod(
            qApp, [self, title] { if (self) self->setWindowTitle(QString::fromStdString(title)); },
            Qt::QueuedConnection);
    });
}

void DialogView::closeEvent(QCloseEvent* event)
{
    // The logic decides whether the window may close (exit is refused while links are open).
    event->ignore();
    m_dialog.OnClose();
}

QPushButton* DialogView::DialogButtonWidget(int code) const
{
    controls::Button* button = m_dialog.DialogButton(code);
    return button ? findChild<QPushButton*>(QStringLiteral("control_%1").arg(button->Id())) : nullptr;
}

void DialogView::keyPressEvent(QKeyEvent* event)
{
    // The main window has no owner: its keys are its controls' own.
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (!parentWidget() || !plain) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        if (QPushButton* cancel = DialogButtonWidget(ui::IDCANCEL))
            cancel->click();  // does nothing while the button is disabled
        else if (windowModality() != Qt::NonModal)
            m_dialog.OnCancelKey();  // a modeless window (a link's) is not closed by a stray key
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        auto* focused = qobject_cast<QPushButton*>(focusWidget());
        QPushButton* button = focused && focused->window() == this ? focused : DialogButtonWidget(ui::IDOK);
        if (button && button->isVisible()) {
            button->click();
            return;
        }
    }
    QWidget::keyPressEvent(event);
}

QtUi::QtUi() = default;

QtUi::~QtUi()
{
    for (auto& [key, timer] : m_timers) delete timer.data();
}

void QtUi::RegisterView(int templateId, ViewFactory factory)
{
    m_factories[templateId] = std::move(factory);
}

DialogView* QtUi::CreateView(Dialog& dialog)
{
    if (DialogView* existing = ViewOf(dialog)) return existing;
    auto it = m_factories.find(dialog.TemplateId());
    DialogView* view = it != m_factories.end() ? it->second(dialog) : new GenericDialogView(dialog);
    // A dialog belongs to the window that opens it: it stays above it and goes with it.
    if (QWidget* owner = OwnerWindow(); owner && !view->parentWidget() && !dialog.IsDesktopWindow())
        view->setParent(owner, view->windowFlags());
    if (QPushButton* ok = view->DialogButtonWidget(ui::IDOK)) ok->setDefault(true);
    m_views[&dialog] = view;
    InstallHotKeys(dialog, view);
    return view;
}

void QtUi::Place(QWidget* window, QWidget* owner)
{
    if (!window->testAttribute(Qt::WA_Resized)) window->adjustSize();
    QScreen* screen = owner ? owner->screen() : QGuiApplication::primaryScreen();
    if (!screen) return;
    const QRect room = screen->availableGeometry();
    // A window never opens larger than its screen, nor smaller than its layout allows.
    QSize size = window->size().boundedTo(room.size()).expandedTo(window->minimumSizeHint());
    if (size != window->size()) window->resize(size);
    // The frame is the owner's kind of frame; before it shows, a window's own is not known yet.
    const QSize frame = owner ? owner->frameGeometry().size() - owner->size() : QSize();
    const QRect over = owner ? owner->frameGeometry() : room;
    const QSize outer = size + frame;
    QPoint at = over.center() - QPoint(outer.width() / 2, outer.height() / 2);
    at.setX(std::clamp(at.x(), room.left(), std::max(room.left(), room.right() + 1 - outer.width())));
    at.setY(std::clamp(at.y(), room.top(), std::max(room.top(), room.bottom() + 1 - outer.height())));
    window->move(at);
}

void QtUi::Shown(DialogView* view)
{
    m_shown.erase(std::remove_if(m_shown.begin(), m_shown.end(),
                                 [view](const QPointer<DialogView>& v) { return v.isNull() || v == view; }),
                  m_shown.end());
    m_shown.emplace_back(view);
}

DialogView* QtUi::ViewOf(Dialog& dialog) const
{
    auto it = m_views.find(&dialog);
    return it == m_views.end() ? nullptr : it->second.data();
}

QWidget* QtUi::OwnerWindow() const
{
    if (QWidget* active = QApplication::activeWindow(); active && active->isVisible()) return active;
    for (auto it = m_shown.rbegin(); it != m_shown.rend(); ++it)
        if (*it && (*it)->isVisible()) return it->data();
    return nullptr;
}

int QtUi::MessageBox(const std::string& text, const std::string& caption, unsigned type)
{
    QMessageBox box(OwnerWindow());
    box.setWindowTitle(QString::fromStdString(caption.empty() ? std::string("Quillon") : caption));
    box.setText(QString::fromStdString(text).trimmed());
    box.setIcon((type & ui::MB_ICONERROR) == ui::MB_ICONERROR ? QMessageBox::Critical
                : (type & ui::MB_ICONWARNING) ? QMessageBox::Warning
                                              : QMessageBox::Information);
    if (type & ui::MB_YESNO) {
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        return box.exec() == QMessageBox::Yes ? ui::IDYES : ui::IDNO;
    }
    if (type & ui::MB_OKCANCEL) {
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        return box.exec() == QMessageBox::Ok ? ui::IDOK : ui::IDCANCEL;
    }
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
    return ui::IDOK;
}

int QtUi::RunModal(Dialog& dialog)
{
    DialogView* view = CreateView(dialog);
    if (!dialog.OnInitDialog()) {
        // A failed start-up leaves the window open, so the user can read the log and leave.
    }
    view->Sync();
    // Modal to the window that opened it: the other windows (the main window, other links) go on.
    view->setWindowModality(view->parentWidget() ? Qt::WindowModal : Qt::ApplicationModal);
    Place(view, view->parentWidget());
    view->show();
    Shown(view);
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (!dialog.IsEnded()) return;
        // Gone at once, even when the loop of a dialog opened later still runs above this one.
        view->hide();
        loop.quit();
    });
    poll.start(10);
    if (!dialog.IsEnded()) loop.exec();
    view->hide();
    m_views.erase(&dialog);
    // Gone now, not later: none of its handlers is running once its loop has returned, and a
    // dialog that goes right after must not leave a view that still observes its controls.
    delete view;
    return dialog.EndCode();
}

void QtUi::ShowModeless(Dialog& dialog)
{
    QWidget* opener = OwnerWindow();
    DialogView* view = CreateView(dialog);
    view->Sync();
    // A window of its own still opens over the one it was opened from.
    if (!view->isVisible()) Place(view, view->parentWidget() ? view->parentWidget() : opener);
    view->show();
    Shown(view);
    view->raise();
    view->activateWindow();
}

void QtUi::DestroyWindow(Dialog& dialog)
{
    for (auto it = m_hotKeys.begin(); it != m_hotKeys.end();)
        it = it->second.dialog == &dialog ? m_hotKeys.erase(it) : std::next(it);
    for (auto it = m_timers.begin(); it != m_timers.end();) {
        if (it->first.first == &dialog) {
            delete it->second.data();
            it = m_timers.erase(it);
        } else {
            ++it;
        }
    }
    if (DialogView* view = ViewOf(dialog)) {
        view->hide();
        // The widgets still refer to the dialog's controls until the view is gone.
        QObject::connect(view, &QObject::destroyed, [keep = dialog.KeepAlive()] {});
        view->deleteLater();
    }
    m_views.erase(&dialog);
}

ui::WindowRect QtUi::GetWindowRect(Dialog& dialog)
{
    DialogView* view = ViewOf(dialog);
    if (!view) return {};
    const QRect frame = view->frameGeometry();
    return ui::WindowRect{frame.left(), frame.top(), frame.left() + frame.width(), frame.top() + frame.height()};
}

void QtUi::MoveWindow(Dialog& dialog, int x, int y)
{
    if (DialogView* view = ViewOf(dialog)) view->move(x, y);
}

// "Name|*.ext||" pairs become Qt's "Name (*.ext)"; a name that already shows its pattern
// ("Ini files (*.ini)") keeps it.
QString QtUi::FileFilters(const std::string& filter)
{
    QStringList filters;
    const QStringList parts = QString::fromStdString(filter).split('|', Qt::SkipEmptyParts);
    for (int i = 0; i < parts.size(); i += 2) {
        const QString pattern = i + 1 < parts.size() ? parts[i + 1] : QString();
        filters << (pattern.isEmpty() || parts[i].contains(pattern) ? parts[i] : parts[i] + " (" + pattern + ")");
    }
    return filters.join(";;");
}

// The default extension may come with its dot (".ini") or without ("ini"); a name that has an
// extension of its own keeps it.
std::string QtUi::WithDefaultExtension(std::string path, const std::string& extension)
{
    if (extension.empty() || path.find('.', path.rfind('/') + 1) != std::string::npos) return path;
    return path + (extension[0] == '.' ? "" : ".") + extension;
}

std::optional<std::string> QtUi::FileBox(const ui::FileBoxRequest& request)
{
    const QString dir = QString::fromStdString(request.initialDir + (request.initialDir.empty() ? "" : "/") + request.fileName);
    const QString filters = FileFilters(request.filter);
    const QString path = request.save ? QFileDialog::getSaveFileName(OwnerWindow(), QString(), dir, filters)
                                      : QFileDialog::getOpenFileName(OwnerWindow(), QString(), dir, filters);
    if (path.isEmpty()) return std::nullopt;
    return request.save ? WithDefaultExtension(path.toStdString(), request.defaultExtension) : path.toStdString();
}

int QtUi::PopupMenu(Dialog& owner, const std::vector<ui::MenuItem>& items)
{
    QMenu menu(ViewOf(owner));
    for (const ui::MenuItem& item : items) {
        if (item.command == 0) {
            menu.addSeparator();
            continue;
        }
        QAction* action = menu.addAction(QString::fromStdString(item.text));
        action->setData(item.command);
        action->setCheckable(item.checked);
        action->setChecked(item.checked);
        action->setEnabled(item.enabled);
    }
    QAction* chosen = menu.exec(QCursor::pos());
    return chosen ? chosen->data().toInt() : 0;
}

bool QtUi::SetTimer(Dialog& dialog, unsigned id, unsigned periodMs)
{
    KillTimer(dialog, id);
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, this, [this, &dialog, id] {
        dialog.OnTimer(id);
        if (DialogView* view = ViewOf(dialog)) view->Sync();
    });
    timer->start(static_cast<int>(periodMs));
    m_timers[{&dialog, id}] = timer;
    return true;
}

void QtUi::KillTimer(Dialog& dialog, unsigned id)
{
    auto it = m_timers.find({&dialog, id});
    if (it == m_timers.end()) return;
    delete it->second.data();
    m_timers.erase(it);
}

bool QtUi::RegisterHotKey(Dialog& dialog, int id, char key)
{
    if (!m_hotKeys.emplace(key, HotKey{&dialog, id}).second) return false;
    if (DialogView* view = ViewOf(dialog)) InstallHotKeys(dialog, view);
    return true;
}

void QtUi::UnregisterHotKey(Dialog& dialog, int id)
{
    for (auto it = m_hotKeys.begin(); it != m_hotKeys.end();) {
        if (it->second.dialog != &dialog || it->second.id != id) {
            ++it;
            continue;
        }
        if (DialogView* view = ViewOf(dialog))
            delete view->findChild<QShortcut*>(QStringLiteral("hotkey%1").arg(id), Qt::FindDirectChildrenOnly);
        it = m_hotKeys.erase(it);
    }
}

void QtUi::InstallHotKeys(Dialog& dialog, DialogView* view)
{
    for (const auto& [key, hotKey] : m_hotKeys) {
        if (hotKey.dialog != &dialog) continue;
        const QString name = QStringLiteral("hotkey%1").arg(hotKey.id);
        if (view->findChild<QShortcut*>(name, Qt::FindDirectChildrenOnly)) continue;
        auto* shortcut = new QShortcut(QKeySequence(Qt::ALT | Qt::Key(Qt::Key_A + (key - 'a'))), view);
        shortcut->setObjectName(name);
        QObject::connect(shortcut, &QShortcut::activated, view, [&dialog, id = hotKey.id, view] {
            dialog.OnHotKey(id);
            view->Sync();
        });
    }
}

void QtUi::SetClipboardText(const std::string& text)
{
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtUi::RedrawNow(Dialog& dialog)
{
    // A link's worker asks for it too: the repaint waits for the GUI thread, and finds the view
    // again there, if the window still has one.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this, key = &dialog] {
            if (m_views.count(key)) RedrawNow(*key);
        }, Qt::QueuedConnection);
        return;
    }
    if (DialogView* view = ViewOf(dialog)) {
        view->Sync();
        view->repaint();
    }
}
