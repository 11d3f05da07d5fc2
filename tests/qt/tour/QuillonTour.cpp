// quillon-tour: the bench as a new user meets it, played on the real program (RunBench, the same
// code as quillon's main) against the simulator. It chooses MRVNE_PDUSIM, parses the description
// files, connects the first module, takes screenshots of the main window at its default and at its
// minimum size, opens the BusMonitoring dialog and the About box and leaves them with Escape and
// Enter, and presses Exit. It prints what it checked, one "[tour]" line each, and the wall-clock
// time at which the main window closed, so that a script can measure how long the process takes
// to end after it (scripts/ui-tour.sh).
//
// Usage: quillon-tour OUTPUT_DIR [load|parse|connect|monitor|monitor-tick]
//   Screenshots go to OUTPUT_DIR as PNG files. With a step named, the tour presses Exit right
//   after that step (to measure the exit in that state) and takes no screenshots. The tour also
//   opens a link window and sends a request: the plain one, or with "monitor" (the bench started
//   with -m1) the full one, with its Tx flags and expected-response dialogs; without "monitor" it
//   then connects the module with WLAN and looks at its WLAN statistics. "monitor-tick" opens only
//   a monitor window, at $PDUSIM_MONITOR_RATE items a second (20000 unless set), and prints what
//   the GUI thread's timer events and window repaints cost over five seconds (bench/README.md).
// Exit code 0 when every step and check held, 1 otherwise.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>
#include <algorithm>
#include <QToolTip>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "app/CQuillonApp.h"
#include "app/Resource.h"
#include "editors/EditorResource.h"
#include "editors/IoCtlFilterDialog.h"
#include "logical_link/LinkResource.h"
#include "monitor_link/MonitorResource.h"
#include "service_dialogs/DoIPIoCtlDlg.h"
#include "platform/ProfileFile.h"
#include "qt/BenchMain.h"
#include "qt/ControlBinder.h"
#include "qt/LogView.h"
#include "qt/QtUi.h"
#include "service_dialogs/VCIWLANStatDialog.h"

namespace {

long long WallMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

void Say(const QString& line)
{
    std::printf("[tour] %s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

template <class W>
W* Widget(QWidget* view, int id)
{
    return view ? view->findChild<W*>(QStringLiteral("control_%1").arg(id)) : nullptr;
}

// What the user sees: the screen on a real display, else every visible window painted where it is.
QImage Screenshot()
{
    QScreen* screen = QGuiApplication::primaryScreen();
    if (QGuiApplication::platformName() == "xcb") return screen->grabWindow(0).toImage();
    QImage image(screen->geometry().size(), QImage::Format_RGB32);
    image.fill(QColor(0x3a, 0x6e, 0xa5));
    QPainter painter(&image);
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->isVisible()) painter.drawPixmap(w->geometry().topLeft(), w->grab());
    return image;
}

// Milliseconds of a kind of event, with their percentiles.
struct Durations {
    std::vector<double> ms;
    double Percentile(int p) const
    {
        if (ms.empty()) return 0.0;
        std::vector<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        return sorted[std::min(sorted.size() - 1, sorted.size() * static_cast<size_t>(p) / 100)];
    }
    QString Summary() const
    {
        return QStringLiteral("%1 of them, p50 %2 ms, p99 %3 ms, max %4 ms")
            .arg(ms.size()).arg(Percentile(50), 0, 'f', 2).arg(Percentile(99), 0, 'f', 2).arg(Percentile(100), 0, 'f', 2);
    }
};

// Delivers timer events and top-level repaints itself, to time them: a filter sees an event
// before and never after its delivery.
class TickMeter : public QObject {
public:
    QObject* ignored = nullptr;
    Durations timers;
    Durations repaints;

protected:
    bool eventFilter(QObject* target, QEvent* event) override
    {
        const bool timer = event->type() == QEvent::Timer && target != ignored && qobject_cast<QTimer*>(target);
        const bool repaint = event->type() == QEvent::UpdateRequest && target->isWidgetType() &&
                             static_cast<QWidget*>(target)->isWindow();
        if (m_inside || (!timer && !repaint)) return false;
        m_inside = true;
        QElapsedTimer clock;
        clock.start();
        target->event(event);
        (timer ? timers : repaints).ms.push_back(clock.nsecsElapsed() / 1e6);
        m_inside = false;
        return true;
    }

private:
    bool m_inside = false;
};

// Steps run one after the other from a timer, so they go on inside modal loops too.
class Tour : public QObject {
public:
    Tour(QtUi& ui, QString outDir, QString exitAfter)
        : m_ui(ui), m_outDir(std::move(outDir)), m_exitAfter(std::move(exitAfter))
    {
        Build();
        connect(&m_timer, &QTimer::timeout, this, [this] { Tick(); });
        m_timer.start(20);
    }

    bool Failed() const { return m_failed; }
    long long ClosedAtMs() const { return m_closedAtMs; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == m_mainView && event->type() == QEvent::Hide && m_closedAtMs == 0) m_closedAtMs = WallMs();
        return false;
    }

private:
    struct Step {
        QString name;
        std::function<bool()> run;  // true when done; called again every tick until then
        int timeoutMs = 10000;
    };

    CQuillonDlg* Dlg() const { return theApp.m_pMainWnd; }
    QWidget* Main() const { return Dlg() ? m_ui.ViewOf(*Dlg()) : nullptr; }

    void Then(QString name, std::function<bool()> run, int timeoutMs = 10000)
    {
        m_steps.push_back({std::move(name), std::move(run), timeoutMs});
    }
    // A step that runs once.
    void Do(QString name, std::function<void()> run)
    {
        Then(std::move(name), [run = std::move(run)] { run(); return true; });
    }
    void Wait(int ms)
    {
        Then(QStringLiteral("wait %1 ms").arg(ms), [this, ms] { return m_stepTime.elapsed() >= ms; }, ms + 1000);
    }
    void Check(bool ok, const QString& what)
    {
        Say(QStringLiteral("%1 %2").arg(ok ? "ok  " : "FAIL", what));
        if (!ok) m_failed = true;
    }

    void Tick()
    {
        // A step that runs a loop of its own (a message box nobody expected) is not run again.
        if (m_next >= m_steps.size() || m_inStep) return;
        if (!m_stepTime.isValid()) m_stepTime.start();
        Step& step = m_steps[m_next];
        m_inStep = true;
        const bool done = step.run();
        m_inStep = false;
        if (done) {
            ++m_next;
            m_stepTime.invalidate();
            return;
        }
        if (m_stepTime.elapsed() > step.timeoutMs) {
            Check(false, "timed out: " + step.name);
            m_next = m_steps.size();
            GiveUp();
        }
    }

    // Ends whatever runs, the main dialog last, so that the program ends and says why.
    void GiveUp()
    {
        if (!Dlg()) return;
        Dlg()->m_BusMonitoringDlg.EndDialog(ui::IDCANCEL);
        Dlg()->m_AboutDlg.EndDialog(ui::IDCANCEL);
        Dlg()->OnBnClickedExit();
    }

    void Shot(const QString& name)
    {
        const QString path = QDir(m_outDir).filePath(name + ".png");
        Check(Screenshot().save(path), "screenshot " + path);
    }

    bool LogHas(const std::string& text) const
    {
        for (const std::string& row : Dlg()->m_LogList.Rows())
            if (row.find(text) != std::string::npos) return true;
        return false;
    }

    // The dialog window of a modal dialog that runs now, when it shows.
    QWidget* ShownDialog(Dialog& dialog) const
    {
        QWidget* view = m_ui.ViewOf(dialog);
        return view && view->isVisible() ? view : nullptr;
    }

    void CheckCentred(QWidget* dialog, const QString& name)
    {
        const QPoint offset = dialog->frameGeometry().center() - Main()->frameGeometry().center();
        Check(dialog->parentWidget() && dialog->parentWidget()->window() == Main(),
              name + " is parented to the main window");
        Check(std::abs(offset.x()) <= 2 && std::abs(offset.y()) <= 2,
              QStringLiteral("%1 centred over the main window (centre offset %2,%3)")
                  .arg(name).arg(offset.x()).arg(offset.y()));
    }

    // The key goes where the user's keyboard sends it: to the focused widget, which passes it on.
    static void Press(QWidget* window, int key)
    {
        QWidget* target = QApplication::focusWidget();
        if (!target || target->window() != window) target = window;
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(target, &press);
        QApplication::sendEvent(target, &release);
    }

    // The longest log row: scrolled into view at the left, then hovered for its tooltip.
    void ShowLongestRowTip(const QString& screenshot)
    {
        auto* log = Widget<LogView>(Main(), IDC_LOG_LIST);
        const auto* model = log->model();
        int longest = 0;
        for (int row = 0; row < model->rowCount(); ++row)
            if (model->index(row, 0).data().toString().size() > model->index(longest, 0).data().toString().size())
                longest = row;
        const QModelIndex index = model->index(longest, 0);
        log->scrollTo(index);
        log->horizontalScrollBar()->setValue(0);
        const QString text = index.data().toString();
        const QRect cell = log->visualRect(index);
        const QPoint at(std::min(cell.right(), log->viewport()->width()) - 20, cell.center().y());
        const bool cut = log->TextWidth(text) > log->viewport()->width();
        const QString tip = log->ToolTipAt(at);
        Check(!cut || tip == text,
              QStringLiteral("longest row (%1 characters) %2")
                  .arg(text.size())
                  .arg(cut ? "is cut by the view and has its whole text as tooltip" : "fits the view"));
        Check(log->columnWidth(0) >= log->TextWidth(text),
              QStringLiteral("the text column (%1 px) is as wide as the longest row (%2 px)")
                  .arg(log->columnWidth(0)).arg(log->TextWidth(text)));
        Check(log->columnWidth(0) >= log->viewport()->width(),
              QStringLiteral("the text column takes the view's width (%1 px)").arg(log->viewport()->width()));
        if (cut) {
            QHelpEvent help(QEvent::ToolTip, at, log->viewport()->mapToGlobal(at));
            QApplication::sendEvent(log->viewport(), &help);
        }
        Say(QStringLiteral("%1: log font %2 %3 pt, %4 px a line").arg(screenshot, log->font().family())
                .arg(log->font().pointSizeF()).arg(log->verticalHeader()->defaultSectionSize()));
    }

    void CheckFieldsWhole(const QString& where)
    {
        for (int id :
             {IDC_RESOURCE_STATUS, IDC_INFO_PROTOCOL, IDC_INFO_BUSTYPE, IDC_INFO_PINS, IDC_RESOURCE_SHORTNAME}) {
            auto* edit = Widget<QLineEdit>(Main(), id);
            const int need = ControlBinder::FittingWidth(edit, edit->text());
            Check(need <= edit->width(), QStringLiteral("%1: \"%2\" whole (needs %3 of %4 px)")
                                             .arg(where, edit->text()).arg(need).arg(edit->width()));
        }
    }

    // `which` names the dialog once the main dialog exists.
    void OpenAndLeave(int buttonId, std::function<Dialog&()> which, const QString& name, int key, int expectedEnd)
    {
        Do("open " + name, [this, buttonId] {
            auto* button = Widget<QPushButton>(Main(), buttonId);
            QTimer::singleShot(0, button, [button] { button->click(); });  // the click runs the modal loop
        });
        Then(name + " shows", [this, which] { return ShownDialog(which()) != nullptr; });
        Wait(300);
        Do("look at " + name, [this, which, name] {
            CheckCentred(ShownDialog(which()), name);
            Shot(name);
        });
        Do("leave " + name, [this, which, key] { Press(ShownDialog(which()), key); });
        Then(name + " ends", [this, which, name, key, expectedEnd] {
            if (ShownDialog(which())) return false;
            Check(which().EndCode() == expectedEnd, QStringLiteral("%1 ended by %2 with %3")
                                                         .arg(name, key == Qt::Key_Escape ? "Escape" : "Enter")
                                                         .arg(which().EndCode()));
            return true;
        });
    }

    void Build()
    {
        Then("the main window shows", [this] { return Main() && Main()->isVisible(); });
        Do("watch the main window", [this] {
            m_mainView = Main();
            m_mainView->installEventFilter(this);
        });
        Do("choose MRVNE_PDUSIM", [this] {
            auto* combo = Widget<QComboBox>(Main(), IDC_API_COMBO);
            const int index = combo->findText("MRVNE_PDUSIM");
            combo->setCurrentIndex(index);
            emit combo->activated(index);
        });
        Then("the library loads", [this] { return LogHas("Loading successful!"); });
        if (m_exitAfter == "load") return ExitNow();
        Do("Parse MDF File", [this] { Widget<QPushButton>(Main(), IDC_PARSE_MDF)->click(); });
        Then("the modules are listed", [this] { return LogHas("Number of modules found"); });
        if (m_exitAfter == "parse") return ExitNow();
        Do("PDUModuleConnect", [this] { Widget<QPushButton>(Main(), IDC_MODULE_CONNECT)->click(); });
        Then("a resource is confirmed", [this] { return !Dlg()->m_ResourceStatusEdit.GetWindowText().empty(); });
        Wait(400);
        if (m_exitAfter == "connect") return ExitNow();
        if (m_exitAfter == "monitor-tick") {
            MonitorTickTour();
            return ExitNow();
        }
        Do("look at the default size", [this] {
            const QSize size = Main()->size();
            const QSize screen = Main()->screen()->size();
            Say(QStringLiteral("main window %1x%2 at %3,%4 on a %5x%6 screen")
                    .arg(size.width()).arg(size.height()).arg(Main()->x()).arg(Main()->y())
                    .arg(screen.width()).arg(screen.height()));
            CheckFieldsWhole("default size");
            ShowLongestRowTip("default size");
        });
        Wait(300);
        Do("screenshot at the default size", [this] { Shot("main-default"); });
        Do("shrink to the minimum size", [this] {
            QToolTip::hideText();
            m_defaultGeometry = Main()->geometry();
            Main()->resize(Main()->minimumSizeHint());
        });
        Wait(300);
        Do("look at the minimum size", [this] {
            Say(QStringLiteral("minimum size %1x%2").arg(Main()->width()).arg(Main()->height()));
            CheckFieldsWhole("minimum size");
            ShowLongestRowTip("minimum size");
        });
        Wait(300);
        Do("screenshot at the minimum size", [this] { Shot("main-minimum"); });
        Do("back to the default size", [this] {
            QToolTip::hideText();
            Main()->setGeometry(m_defaultGeometry);
        });
        Wait(200);
        OpenAndLeave(IDC_BUS_MONITORING, [this]() -> Dialog& { return Dlg()->m_BusMonitoringDlg; }, "busmonitoring",
                     Qt::Key_Escape, ui::IDCANCEL);
        if (m_exitAfter != "monitor")
            OpenAndLeave(IDC_ABOUT, [this]() -> Dialog& { return Dlg()->m_AboutDlg; }, "about", Qt::Key_Return, ui::IDOK);
        LinkTour(m_exitAfter == "monitor");
        if (m_exitAfter != "monitor") WlanTour();
        if (m_exitAfter == "monitor") {
            MonitorTour();
            DoIpTour();
        }
        ExitNow();
    }

    // The WLAN statistics of the module that has WLAN, in their window over the main window.
    void WlanTour()
    {
        Do("connect the module with WLAN", [this] {
            auto* combo = Widget<QComboBox>(Main(), IDC_MODULE_COMBO);
            const int index = combo->findText("BrontoMax Morvane AG BM-200417");
            combo->setCurrentIndex(index);
            emit combo->activated(index);
            Widget<QPushButton>(Main(), IDC_MODULE_CONNECT)->click();
        });
        Then("it is connected", [this] { return LogHas("Module Short Name      : BrontoMax"); });
        Do("open VCI WLAN Stat", [this] { Widget<QPushButton>(Main(), IDC_VCI_WLAN_STAT)->click(); });
        Then("the WLAN statistics show", [this] { return ModalOf(VCIWLANStatDialog::IDD) != nullptr; });
        Do("Get WLAN Stats", [this] {
            Widget<QPushButton>(ModalOf(VCIWLANStatDialog::IDD), VCIWLANStatDialog::IDC_GET_WLAN_STATS)->click();
        });
        Then("the SSID shows", [this] {
            return Widget<QLineEdit>(ModalOf(VCIWLANStatDialog::IDD), VCIWLANStatDialog::IDC_SSID)->text() ==
                   "MRVNE-WORKSHOP";
        });
        Wait(300);
        Do("look at the WLAN statistics", [this] {
            CheckCentred(ModalOf(VCIWLANStatDialog::IDD), "wlan-stats");
            Shot("wlan-stats");
        });
        Do("close the WLAN statistics", [this] { ModalOf(VCIWLANStatDialog::IDD)->close(); });
        Then("they go", [this] { return ModalOf(VCIWLANStatDialog::IDD) == nullptr && !Dlg()->m_pWlanStatDlg; });
    }

    CLinkBaseDlg* Link() const { return Dlg() && !Dlg()->m_LinkDialogs.empty() ? Dlg()->m_LinkDialogs.back() : nullptr; }
    QWidget* LinkView() const { return Link() ? m_ui.ViewOf(*Link()) : nullptr; }
    bool LinkLogHas(const std::string& text) const
    {
        for (const std::string& row : Link()->LogList()->Rows())
            if (row.find(text) != std::string::npos) return true;
        return false;
    }
    void ClickInLink(int id)
    {
        auto* button = Widget<QPushButton>(LinkView(), id);
        QTimer::singleShot(0, button, [button] { button->click(); });  // a modal dialog runs its own loop
    }

    // A link window as the user meets it: connect, a request and its answer, then close.
    void LinkTour(bool full)
    {
        Do("Open LoLi", [this] { Widget<QPushButton>(Main(), IDC_OPEN_LOLI)->click(); });
        Then("the link window shows", [this] { return LinkView() && LinkView()->isVisible(); });
        Do("connect the link", [this, full] { ClickInLink(full ? IDC_KD_OPEN : IDC_LL_CONNECT); });
        Then("the link is online", [this] { return LinkLogHas("PDU_CLLST_ONLINE"); });
        Do("type the request", [this, full] {
            auto* combo = Widget<QComboBox>(LinkView(), full ? IDC_KD_PDU_COMBO : IDC_LL_PDU_COMBO);
            combo->lineEdit()->setText("22,F1,90");
            emit combo->lineEdit()->textEdited("22,F1,90");
        });
        if (full) {
            Do("Enable Timestamp", [this] { Widget<QCheckBox>(LinkView(), IDC_KD_ENABLE_TIMESTAMP)->click(); });
            Do("send it", [this] { ClickInLink(IDC_KD_SERVICE); });
            Then("the answer shows", [this] { return LinkLogHas("Status=PDU_COPST_FINISHED"); });
        } else {
            Do("send it", [this] { ClickInLink(IDC_LL_SENDRECV); });
            Then("the answer shows", [this] { return LinkLogHas("ComPrimitive: 1(0x1) finished."); });
        }
        Wait(400);
        Do("look at the link window", [this, full] {
            Say(QStringLiteral("link window %1x%2 at %3,%4").arg(LinkView()->width()).arg(LinkView()->height())
                    .arg(LinkView()->x()).arg(LinkView()->y()));
            Shot(full ? "link-full" : "link-plain");
        });
        if (full) {
            LinkDialog(IDC_KD_TXFLAGS, IDD_TX_FLAGS, "txflags");
            LinkDialog(IDC_KD_EXPRESP, IDD_MASK_AND_PATTERN, "expresp");
        }
        const QString mode = full ? "-full" : "-plain";
        LinkDialog(full ? IDC_KD_EDIT_PARAM : IDC_LL_EDIT_PARAMS, IDD_COMPARAM_DIALOG, "comparam-editor" + mode);
        LinkDialog(full ? IDC_KD_EDIT_URID : IDC_LL_EDIT_URID, IDD_URID_TABLE_DIALOG, "urid-editor" + mode);
        // Left by its Close button: Escape would cancel it, which keeps the link from closing.
        if (full) LinkDialog(IDC_KD_IOCTL_FILTERS, IoCtlFilterDialog::IDD, "ioctl-filters", Qt::Key_Return);
        Do("disconnect the link", [this, full] { ClickInLink(full ? IDC_KD_CLOSE : IDC_LL_DISCONNECT); });
        Then("the link is offline", [this] { return LinkLogHas("PDU_CLLST_OFFLINE"); });
        Do("close the link window", [this] { ClickInLink(ui::IDOK); });
        Then("the link window goes", [this] { return Link() == nullptr; });
    }

    CMoLiDlg* Monitor() const { return Dlg() && !Dlg()->m_MonitorDialogs.empty() ? Dlg()->m_MonitorDialogs.back().get() : nullptr; }
    QWidget* MonitorView() const { return Monitor() ? m_ui.ViewOf(*Monitor()) : nullptr; }

    // The monitor window on the module's bus: a second of traffic, then closed.
    void MonitorTour()
    {
        Do("open MoLi", [this] { Widget<QPushButton>(Main(), IDC_OPEN_MOLI)->click(); });
        Then("the monitor window shows", [this] { return MonitorView() && MonitorView()->isVisible(); });
        Do("open the monitor link", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_OPEN)->click(); });
        Then("rows come", [this] { return Monitor()->Decoder().MonCount() > 100; });
        Wait(1200);
        Do("look at the monitor window", [this] { Shot("monitor-window"); });
        MonitorDialog("ML Param", [this] {
            auto* button = Widget<QPushButton>(MonitorView(), IDC_MOLI_ML_PARAM);
            QTimer::singleShot(0, button, [button] { button->click(); });
        }, 260, "parameters");
        Do("two saved ID filters", [this] {
            const std::string ini = Dlg()->GetIniPath();
            platform::ProfileFile::WriteString(ini, "Filter", "0", "0x7e8, 0x7df");
            platform::ProfileFile::WriteString(ini, "Filter", "1", "0x18fef100");
        });
        // Alt+L, as the window's shortcut delivers it.
        MonitorDialog("Alt+L", [this] {
            auto* shortcut = MonitorView()->findChild<QShortcut*>(QStringLiteral("hotkey2"));
            Check(shortcut != nullptr, "Alt+L is the monitor window's shortcut");
            if (shortcut) QTimer::singleShot(0, shortcut, [shortcut] { emit shortcut->activated(); });
        }, 109, "filters");
        Do("close the monitor link", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_CLOSE)->click(); });
        Do("close the monitor window", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_CLOSE_WINDOW)->click(); });
        Then("the monitor window goes", [this] { return Monitor() == nullptr; });
    }

    QWidget* DoIpIoCtlView() const
    {
        return Dlg() && Dlg()->m_pDoIpIoCtlDlg ? m_ui.ViewOf(*Dlg()->m_pDoIpIoCtlDlg) : nullptr;
    }

    // The DoIP channel's monitor window, open, and the DoIP IoCtl dialog asking for the vehicles
    // on the loopback network: both looked at, then closed.
    void DoIpTour()
    {
        Do("choose the DoIP entity's module", [this] {
            auto* combo = Widget<QComboBox>(Main(), IDC_MODULE_COMBO);
            const int index = combo->findText("DoIP_Entity", Qt::MatchStartsWith);
            combo->setCurrentIndex(index);
            emit combo->activated(index);
        });
        Do("connect it", [this] { Widget<QPushButton>(Main(), IDC_MODULE_CONNECT)->click(); });
        Wait(300);
        Do("monitor the DoIP entity", [this] {
            auto* combo = Widget<QComboBox>(Main(), IDC_MONITOR_VCI_COMBO);
            const int index = combo->findText("DoIP_Entity", Qt::MatchStartsWith);
            combo->setCurrentIndex(index);
            emit combo->activated(index);
        });
        Do("choose the DoIP channel", [this] {
            auto* combo = Widget<QComboBox>(Main(), IDC_CHANNEL_COMBO);
            const int index = combo->findText("DOIP");
            combo->setCurrentIndex(index);
            emit combo->activated(index);
        });
        Do("open MoLi", [this] { Widget<QPushButton>(Main(), IDC_OPEN_MOLI)->click(); });
        Then("the DoIP monitor window shows", [this] { return MonitorView() && MonitorView()->isVisible(); });
        Do("open the DoIP monitor link", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_OPEN)->click(); });
        Do("DoIP IoCtl", [this] { Widget<QPushButton>(Main(), IDC_DOIP_IOCTL)->click(); });
        Then("the DoIP IoCtl dialog shows", [this] { return DoIpIoCtlView() && DoIpIoCtlView()->isVisible(); });
        Do("ask for the vehicles", [this] {
            Widget<QPushButton>(DoIpIoCtlView(), DoIPIoCtlDlg::IDC_SEND_IOCTL)->click();
        });
        Wait(1500);
        Do("look at the DoIP IoCtl dialog", [this] { Shot("doip-ioctl"); });
        Do("close the DoIP IoCtl dialog", [this] { DoIpIoCtlView()->close(); });
        Wait(300);
        Do("look at the DoIP monitor window", [this] { Shot("doip-monitor"); });
        Do("close the DoIP monitor link", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_CLOSE)->click(); });
        Do("close the DoIP monitor window", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_CLOSE_WINDOW)->click(); });
        Then("the DoIP monitor window goes", [this] { return Monitor() == nullptr; });
    }

    // The monitor window at full traffic: what each timer event and each repaint of a window
    // costs the GUI thread while the receive thread runs flat out.
    void MonitorTickTour()
    {
        Do("open MoLi", [this] { Widget<QPushButton>(Main(), IDC_OPEN_MOLI)->click(); });
        Then("the monitor window shows", [this] { return MonitorView() && MonitorView()->isVisible(); });
        Do("open the monitor link", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_OPEN)->click(); });
        Then("rows come", [this] { return Monitor()->Decoder().MonCount() > 1000; });
        Do("measure", [this] {
            m_meter.ignored = &m_timer;
            m_meterCountAtStart = Monitor()->Decoder().MonCount();
            qApp->installEventFilter(&m_meter);
        });
        Wait(5000);
        Do("report", [this] {
            qApp->removeEventFilter(&m_meter);
            const uint32_t rows = Monitor()->Decoder().MonCount() - m_meterCountAtStart;
            Say(QStringLiteral("monitor at full traffic: %1 rows in 5 s").arg(rows));
            Say("timer events: " + m_meter.timers.Summary());
            Say("window repaints: " + m_meter.repaints.Summary());
            Check(m_meter.timers.Percentile(99) < 16.0 && m_meter.repaints.Percentile(99) < 16.0,
                  "the 50 ms tick and its repaint cost under 16 ms at p99");
        });
        Do("close the monitor link", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_CLOSE)->click(); });
        Do("close the monitor window", [this] { Widget<QPushButton>(MonitorView(), IDC_MOLI_CLOSE_WINDOW)->click(); });
        Then("the monitor window goes", [this] { return Monitor() == nullptr; });
    }

    // A modal dialog of the monitor window: opened, looked at, left with Escape.
    void MonitorDialog(const QString& how, std::function<void()> open, int templateId, const QString& name)
    {
        Do(how, std::move(open));
        Then(name + " shows", [this, templateId] { return ModalOf(templateId) != nullptr; });
        Wait(300);
        Do("look at " + name, [this, name] { Shot(name); });
        Do("leave " + name, [this, templateId] { Press(ModalOf(templateId), Qt::Key_Escape); });
        Then(name + " ends", [this, templateId] { return ModalOf(templateId) == nullptr; });
    }

    // One of the link window's modal dialogs: opened, looked at, left with Escape.
    void LinkDialog(int buttonId, int templateId, const QString& name, int leaveKey = Qt::Key_Escape)
    {
        Do("open " + name, [this, buttonId] { ClickInLink(buttonId); });
        Then(name + " shows", [this, templateId] { return ModalOf(templateId) != nullptr; });
        Wait(300);
        Do("look at " + name, [this, name, templateId] {
            QWidget* dialog = ModalOf(templateId);
            const QPoint offset = dialog->frameGeometry().center() - LinkView()->frameGeometry().center();
            // A dialog that can't be centred without leaving the screen stays on it instead.
            const QRect room = dialog->screen()->availableGeometry();
            if (room.contains(dialog->frameGeometry().translated(-offset)))
                Check(std::abs(offset.x()) <= 2 && std::abs(offset.y()) <= 2,
                      QStringLiteral("%1 centred over the link window").arg(name));
            else if (dialog->frameGeometry().width() <= room.width() && dialog->frameGeometry().height() <= room.height())
                Check(room.contains(dialog->frameGeometry()), QStringLiteral("%1 on the screen").arg(name));
            else
                Say(QStringLiteral("%1 is larger than this screen").arg(name));
            // Modal to its link only: the main window and other links go on.
            Check(dialog->windowModality() == Qt::WindowModal, QStringLiteral("%1 modal to its window").arg(name));
            Shot(name);
        });
        Do("leave " + name, [this, templateId, leaveKey] { Press(ModalOf(templateId), leaveKey); });
        Then(name + " ends", [this, templateId] { return ModalOf(templateId) == nullptr; });
    }

    QWidget* ModalOf(int templateId) const
    {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            auto* view = qobject_cast<DialogView*>(w);
            if (view && view->isVisible() && view->Logic().TemplateId() == templateId) return view;
        }
        for (QWidget* w : LinkView() ? LinkView()->findChildren<DialogView*>() : QList<DialogView*>{}) {
            auto* view = static_cast<DialogView*>(w);
            if (view->isVisible() && view->Logic().TemplateId() == templateId) return view;
        }
        return nullptr;
    }

    void ExitNow()
    {
        Wait(200);
        Do("Exit", [this] { Widget<QPushButton>(Main(), IDC_EXIT)->click(); });
    }

    QtUi& m_ui;
    QString m_outDir;
    QString m_exitAfter;
    QTimer m_timer;
    std::vector<Step> m_steps;
    size_t m_next = 0;
    QElapsedTimer m_stepTime;
    bool m_inStep = false;
    QRect m_defaultGeometry;
    QWidget* m_mainView = nullptr;
    TickMeter m_meter;
    uint32_t m_meterCountAtStart = 0;
    bool m_failed = false;
    long long m_closedAtMs = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: quillon-tour OUTPUT_DIR [load|parse|connect]\n");
        return 2;
    }
    const QString outDir = QString::fromLocal8Bit(argv[1]);
    const QString exitAfter = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    QDir().mkpath(outDir);
    Tour* tour = nullptr;
    char monitor[] = "-m1";
    const bool monitorMode = exitAfter == "monitor" || exitAfter == "monitor-tick";
    if (exitAfter == "monitor-tick") setenv("PDUSIM_MONITOR_RATE", "20000", 0);
    char* benchArgv[] = {argv[0], monitorMode ? monitor : nullptr, nullptr};
    RunBench(monitorMode ? 2 : 1, benchArgv, [&](QtUi& ui) { tour = new Tour(ui, outDir, exitAfter); });
    const long long returned = WallMs();
    if (tour->ClosedAtMs() != 0)
        std::printf("[tour] main window closed at %lld ms, the bench returned %lld ms later\n", tour->ClosedAtMs(),
                    returned - tour->ClosedAtMs());
    std::printf("[tour] closed-at-ms %lld\n", tour->ClosedAtMs());
    EndProcess(tour->Failed() ? 1 : 0);
}
