#include "qt/QtUi.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QCursor>
#include <QEventLoop>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>

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
    m_views[&dialog] = view;
    return view;
}

DialogView* QtUi::ViewOf(Dialog& dialog) const
{
    auto it = m_views.find(&dialog);
    return it == m_views.end() ? nullptr : it->second.data();
}

QWidget* QtUi::ActiveWindow() const
{
    return QApplication::activeWindow();
}

int QtUi::MessageBox(const std::string& text, const std::string& caption, unsigned type)
{
    QMessageBox box(ActiveWindow());
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
    view->setWindowModality(Qt::ApplicationModal);
    view->show();
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (dialog.IsEnded()) loop.quit();
    });
    poll.start(10);
    if (!dialog.IsEnded()) loop.exec();
    view->hide();
    m_views.erase(&dialog);
    view->deleteLater();
    return dialog.EndCode();
}

void QtUi::ShowModeless(Dialog& dialog)
{
    DialogView* view = CreateView(dialog);
    view->Sync();
    view->show();
    view->raise();
    view->activateWindow();
}

void QtUi::DestroyWindow(Dialog& dialog)
{
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

std::optional<std::string> QtUi::FileBox(const ui::FileBoxRequest& request)
{
    // "Name (*.ext)|*.ext||" becomes Qt's "Name (*.ext)".
    QStringList filters;
    const QStringList parts = QString::fromStdString(request.filter).split('|', Qt::SkipEmptyParts);
    for (int i = 0; i < parts.size(); i += 2) filters << parts[i];
    const QString dir = QString::fromStdString(request.initialDir + (request.initialDir.empty() ? "" : "/") + request.fileName);
    const QString path = request.save
                             ? QFileDialog::getSaveFileName(ActiveWindow(), QString(), dir, filters.join(";;"))
                             : QFileDialog::getOpenFileName(ActiveWindow(), QString(), dir, filters.join(";;"));
    if (path.isEmpty()) return std::nullopt;
    std::string chosen = path.toStdString();
    if (request.save && !request.defaultExtension.empty() && chosen.find('.', chosen.rfind('/') + 1) == std::string::npos)
        chosen += "." + request.defaultExtension;
    return chosen;
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

void QtUi::SetClipboardText(const std::string& text)
{
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtUi::RedrawNow(Dialog& dialog)
{
    if (DialogView* view = ViewOf(dialog)) {
        view->Sync();
        view->repaint();
    }
}
