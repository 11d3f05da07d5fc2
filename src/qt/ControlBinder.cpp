#include "qt/ControlBinder.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QListWidget>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QComboBox>
#include <QElapsedTimer>
#include <QThread>
#include <QFocusEvent>
#include <QGroupBox>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStandardItemModel>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QStylePainter>
#include <QTimer>
#include <QToolTip>
#include <QTreeWidget>
#include <memory>
#include <mutex>

#include "controls/Button.h"
#include "controls/CCheckComboBox.h"
#include "controls/CToolTipComboBox.h"
#include "controls/CheckBox.h"
#include "controls/ListBox.h"
#include "controls/RadioButton.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/PrintListCtrl.h"
#include "controls/Static.h"
#include "controls/TreeCtrl.h"
#include "qt/LogView.h"

namespace {

constexpr const char* kSyncProperty = "quillonSync";
constexpr const char* kCheckedTextProperty = "quillonCheckedText";

// A check combo shows the joined texts of its checked lines while closed.
// Tells its control when the user puts the focus in it and when its list closes: a list the
// logic rebuilds on a timer holds still while the user has it.
class ComboWidget : public QComboBox {
public:
    ComboWidget(controls::ComboBox& combo, QWidget* parent) : QComboBox(parent), m_combo(combo) {}

protected:
    void focusInEvent(QFocusEvent* event) override
    {
        QComboBox::focusInEvent(event);
        if (event->reason() != Qt::OtherFocusReason) m_combo.UserFocus();
    }
    void hidePopup() override
    {
        QComboBox::hidePopup();
        // After the choice the closing list may carry: it reaches the control behind this.
        QTimer::singleShot(0, this, [this] { m_combo.UserCloseUp(); });
    }

private:
    controls::ComboBox& m_combo;
};

class CheckComboWidget : public ComboWidget {
public:
    using ComboWidget::ComboWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QStylePainter painter(this);
        QStyleOptionComboBox option;
        initStyleOption(&option);
        option.currentText = property(kCheckedTextProperty).toString();
        option.currentIcon = QIcon();
        painter.drawComplexControl(QStyle::CC_ComboBox, option);
        painter.drawControl(QStyle::CE_ComboBoxLabel, option);
    }
};

// Shared by a control's observer, which runs on whatever thread changed the control, and the
// widget's syncer on the GUI thread. The syncer leaves it when it dies, under the mutex, so an
// observer never posts to a deleted object.
struct SyncLink {
    std::mutex mutex;
    QObject* syncer = nullptr;
    bool pending = false;     // one queued sync per widget at a time
    bool fromWorker = false;  // a thread other than the GUI's changed the control
};

// A worker that changes a control flat out (a monitor's counters) gets it shown at this pace:
// what it costs is a repaint, and nobody reads faster.
constexpr int kWorkerSyncPeriodMs = 40;

// Stored on the widget: re-reads the control into the widget. Runs on the GUI thread only.
struct Syncer : QObject {
    Syncer(controls::Control& control, std::function<void()> sync)
        : control(control), sync(std::move(sync)), link(std::make_shared<SyncLink>())
    {
        link->syncer = this;
    }
    ~Syncer() override
    {
        {
            std::lock_guard lock(link->mutex);
            link->syncer = nullptr;
        }
        control.RemoveObserver(token);
    }
    void Run()
    {
        bool worker;
        {
            std::lock_guard lock(link->mutex);
            worker = link->fromWorker;
        }
        if (worker && lastRun.isValid() && lastRun.elapsed() < kWorkerSyncPeriodMs) {
            // Still pending: the observer posts nothing more until this runs.
            QTimer::singleShot(kWorkerSyncPeriodMs - static_cast<int>(lastRun.elapsed()), this, [this] { Run(); });
            return;
        }
        {
            std::lock_guard lock(link->mutex);
            link->pending = false;
            link->fromWorker = false;
        }
        sync();
        lastRun.start();
    }

    controls::Control& control;
    std::function<void()> sync;
    std::shared_ptr<SyncLink> link;
    int token = 0;
    QElapsedTimer lastRun;
};

void ApplyCommonState(const controls::Control& control, QWidget* widget)
{
    widget->setVisible(control.IsVisible());
    widget->setEnabled(control.IsWindowEnabled());
}

QString Text(const std::string& s)
{
    return QString::fromLocal8Bit(s.c_str(), static_cast<int>(s.size()));
}

// Observer for any thread: at most one queued sync per widget at a time.
void Attach(controls::Control& control, QWidget* widget, std::function<void()> sync)
{
    auto* syncer = new Syncer(control, std::move(sync));
    syncer->setParent(widget);
    widget->setProperty(kSyncProperty, QVariant::fromValue(static_cast<QObject*>(syncer)));
    syncer->token = control.AddObserver([link = syncer->link](const controls::Control&) {
        std::lock_guard lock(link->mutex);
        if (!link->syncer) return;
        if (QThread::currentThread() != link->syncer->thread()) link->fromWorker = true;
        if (link->pending) return;
        link->pending = true;
        auto* target = static_cast<Syncer*>(link->syncer);
        // The posted call dies with its target if the widget goes first.
        QMetaObject::invokeMethod(target, [target] { target->Run(); }, Qt::QueuedConnection);
    });
    syncer->sync();
}

// An edit whose text the field cuts shows the whole text as its tooltip.
struct CutTextTip : QObject {
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto* edit = qobject_cast<QLineEdit*>(watched);
        if (!edit || event->type() != QEvent::ToolTip || !edit->toolTip().isEmpty()) return false;
        auto* help = static_cast<QHelpEvent*>(event);
        if (ControlBinder::FittingWidth(edit, edit->text()) > edit->width())
            QToolTip::showText(help->globalPos(), edit->text(), edit);
        else
            QToolTip::hideText();
        return true;
    }
};

QWidget* BindEdit(controls::Edit& edit, QWidget* parent)
{
    auto* w = new QLineEdit(parent);
    w->installEventFilter(new CutTextTip(w));
    QObject::connect(w, &QLineEdit::textEdited, w, [&edit](const QString& t) { edit.SetWindowText(t.toStdString()); });
    Attach(edit, w, [&edit, w] {
        const QString text = Text(edit.GetWindowText());
        if (w->text() != text) {
            w->setText(text);
            w->setCursorPosition(0);  // long texts show their start, as the toolkit's edit does
        }
        w->setReadOnly(edit.IsReadOnly());
        ApplyCommonState(edit, w);
    });
    return w;
}

QWidget* BindButton(controls::Button& button, QWidget* parent)
{
    auto* w = new QPushButton(Text(button.Caption()), parent);
    w->setAutoDefault(false);
    QObject::connect(w, &QPushButton::clicked, w, [&button] { button.Click(); });
    Attach(button, w, [&button, w] {
        if (w->icon().isNull()) w->setText(Text(button.Caption()));  // a picture button shows no caption
        ApplyCommonState(button, w);
    });
    return w;
}

QWidget* BindCheckBox(controls::CheckBox& box, QWidget* parent)
{
    auto* w = new QCheckBox(Text(box.Caption()), parent);
    QObject::connect(w, &QCheckBox::clicked, w, [&box](bool on) { box.UserSetCheck(on ? 1 : 0); });
    Attach(box, w, [&box, w] {
        w->setChecked((box.GetCheck() & 1) != 0);
        ApplyCommonState(box, w);
    });
    return w;
}

QWidget* BindRadio(controls::RadioButton& radio, QWidget* parent)
{
    auto* w = new QRadioButton(Text(radio.Caption()), parent);
    // Groups are the logic's: Qt's own exclusivity would join every radio of the window.
    w->setAutoExclusive(false);
    QObject::connect(w, &QRadioButton::clicked, w, [&radio, w] {
        if (auto* view = w->window()) {
            for (auto* other : view->findChildren<QRadioButton*>()) {
                auto* control = other->property("radioControl").value<void*>();
                auto* peer = static_cast<controls::RadioButton*>(control);
                if (peer && peer != &radio && peer->Group() == radio.Group()) peer->SetCheck(0);
            }
        }
        radio.UserSetCheck(1);
    });
    w->setProperty("radioControl", QVariant::fromValue(static_cast<void*>(&radio)));
    Attach(radio, w, [&radio, w] {
        w->setChecked((radio.GetCheck() & 1) != 0);
        ApplyCommonState(radio, w);
    });
    return w;
}

QWidget* BindListBox(controls::ListBox& list, QWidget* parent)
{
    auto* w = new QListWidget(parent);
    QObject::connect(w, &QListWidget::itemClicked, w, [&list, w](QListWidgetItem* item) { list.UserSelect(w->row(item)); });
    QObject::connect(w, &QListWidget::itemDoubleClicked, w,
                     [&list, w](QListWidgetItem* item) { list.UserDoubleClick(w->row(item)); });
    Attach(list, w, [&list, w] {
        QStringList lines;
        for (const std::string& line : list.Strings()) lines << Text(line);
        QStringList shown;
        for (int i = 0; i < w->count(); ++i) shown << w->item(i)->text();
        if (shown != lines) {
            w->clear();
            w->addItems(lines);
        }
        const QSignalBlocker quiet(w);
        w->setCurrentRow(list.GetCurSel());
        ApplyCommonState(list, w);
    });
    return w;
}

QWidget* BindStatic(controls::Static& label, QWidget* parent)
{
    auto* w = new QLabel(Text(label.Caption()), parent);
    Attach(label, w, [&label, w] {
        w->setText(Text(label.Caption()));
        ApplyCommonState(label, w);
    });
    return w;
}

void SyncComboItems(controls::ComboBox& combo, QComboBox* w)
{
    auto* check = dynamic_cast<controls::CCheckComboBox*>(&combo);
    const auto items = combo.Items();
    const QSignalBlocker block(w);
    bool same = w->count() == static_cast<int>(items.size());
    for (int i = 0; same && i < w->count(); ++i) same = w->itemText(i) == Text(items[static_cast<size_t>(i)].text);
    if (!same) {
        w->clear();
        for (const auto& item : items) w->addItem(Text(item.text));
    }
    if (check) {
        auto* model = qobject_cast<QStandardItemModel*>(w->model());
        for (int i = 0; model && i < w->count(); ++i) {
            if (QStandardItem* item = model->item(i)) {
                // The marks are the program's to set: shown, not toggled by a click.
                item->setFlags(item->flags() & ~Qt::ItemIsUserCheckable);
                item->setCheckState(check->GetCheck(i) ? Qt::Checked : Qt::Unchecked);
            }
        }
    }
    w->setCurrentIndex(combo.GetCurSel());
    if (combo.HasEdit() && w->lineEdit()) {
        const QString text = Text(combo.GetWindowText());
        if (w->lineEdit()->text() != text) w->lineEdit()->setText(text);
    }
    if (auto* tip = dynamic_cast<controls::CToolTipComboBox*>(&combo)) w->setToolTip(Text(tip->TooltipText()));
    if (check) w->setProperty(kCheckedTextProperty, Text(check->GetCheckedText()));
}

QWidget* BindCombo(controls::ComboBox& combo, QWidget* parent)
{
    const bool checks = dynamic_cast<controls::CCheckComboBox*>(&combo) != nullptr;
    QComboBox* w = checks ? new CheckComboWidget(combo, parent) : new ComboWidget(combo, parent);
    w->setEditable(combo.HasEdit());
    w->setInsertPolicy(QComboBox::NoInsert);
    w->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    w->setMinimumContentsLength(12);
    QObject::connect(w, qOverload<int>(&QComboBox::activated), w, [&combo](int index) { combo.UserSelect(index); });
    if (w->lineEdit()) {
        QObject::connect(w->lineEdit(), &QLineEdit::textEdited, w,
                         [&combo](const QString& t) { combo.UserType(t.toStdString()); });
    }
    Attach(combo, w, [&combo, w] {
        SyncComboItems(combo, w);
        ApplyCommonState(combo, w);
    });
    return w;
}

// The tree's items rebuilt from the control whenever it changes, keyed by handle; an in-place
// edit the user commits goes to the control, which tells its dialog. A right-click selects
// the item under the mouse first, as the menu the dialog opens is about that item.
constexpr int kHandleRole = Qt::UserRole + 1;

class TreeWidget : public QTreeWidget {
public:
    TreeWidget(controls::TreeCtrl& tree, QWidget* parent) : QTreeWidget(parent), m_tree(tree)
    {
        setHeaderHidden(true);
        setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
        setContextMenuPolicy(Qt::CustomContextMenu);
        connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
            if (m_syncing) return;
            const QList<QTreeWidgetItem*> items = selectedItems();
            if (!items.isEmpty()) m_tree.UserSelect(HandleOf(items.first()));
        });
        connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int) {
            if (m_syncing || !m_editing) return;
            m_editing = false;
            m_tree.UserEndEdit(item->text(0).toStdString());
        });
        connect(this, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
            QTreeWidgetItem* item = itemAt(at);
            // After the click has been handled: the menu runs a loop of its own.
            const auto handle = item ? HandleOf(item) : 0;
            QTimer::singleShot(0, this, [this, handle] { m_tree.UserRightClick(handle); });
        });
    }

    void Sync()
    {
        if (state() == EditingState) return;  // the commit brings the next change
        m_syncing = true;
        const auto nodes = m_tree.Snapshot();
        clear();
        std::vector<QTreeWidgetItem*> parents;
        QTreeWidgetItem* selected = nullptr;
        const auto selection = m_tree.GetSelectedItem();
        for (const auto& node : nodes) {
            parents.resize(static_cast<size_t>(node.level));
            auto* item = parents.empty() ? new QTreeWidgetItem(this) : new QTreeWidgetItem(parents.back());
            item->setText(0, Text(node.text));
            item->setData(0, kHandleRole, QVariant::fromValue<qulonglong>(node.handle));
            item->setFlags(item->flags() | Qt::ItemIsEditable);
            parents.push_back(item);
            if (node.handle == selection) selected = item;
        }
        for (const auto& node : nodes) {
            if (QTreeWidgetItem* item = Find(node.handle)) item->setExpanded(node.expanded);
        }
        if (selected) setCurrentItem(selected);
        m_syncing = false;
    }

protected:
    // The control learns of the edit before the user types, as the toolkit's begin notification.
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override
    {
        QTreeWidgetItem* item = itemFromIndex(index);
        if (!item || (trigger & editTriggers()) == 0 || state() == EditingState) return QTreeWidget::edit(index, trigger, event);
        if (!m_tree.UserBeginEdit(HandleOf(item))) return false;
        m_editing = true;
        return QTreeWidget::edit(index, trigger, event);
    }

    // An edit closed without a change (or with Escape) ends with the item's text as it was.
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override
    {
        QTreeWidget::closeEditor(editor, hint);
        if (!m_editing) return;
        m_editing = false;
        m_tree.UserEndEdit(m_tree.GetItemText(m_tree.GetEditItem()));
    }

private:
    static controls::TreeCtrl::Handle HandleOf(QTreeWidgetItem* item)
    {
        return static_cast<controls::TreeCtrl::Handle>(item->data(0, kHandleRole).toULongLong());
    }
    QTreeWidgetItem* Find(controls::TreeCtrl::Handle handle)
    {
        for (QTreeWidgetItemIterator it(this); *it; ++it)
            if (HandleOf(*it) == handle) return *it;
        return nullptr;
    }

    controls::TreeCtrl& m_tree;
    bool m_syncing = false;
    bool m_editing = false;
};

QWidget* BindTree(controls::TreeCtrl& tree, QWidget* parent)
{
    auto* w = new TreeWidget(tree, parent);
    Attach(tree, w, [&tree, w] {
        w->Sync();
        ApplyCommonState(tree, w);
    });
    return w;
}

QWidget* BindLog(controls::PrintListCtrl& log, QWidget* parent)
{
    auto* w = new LogView(log, 1, parent);
    Attach(log, w, [&log, w] { ApplyCommonState(log, w); });
    return w;
}

}  // namespace

namespace ControlBinder {

QWidget* CreateBound(controls::Control& control, QWidget* parent);

QWidget* CreateWidget(controls::Control& control, QWidget* parent)
{
    QWidget* widget = CreateBound(control, parent);
    widget->setObjectName(QStringLiteral("control_%1").arg(control.Id()));
    return widget;
}

QWidget* CreateBound(controls::Control& control, QWidget* parent)
{
    if (auto* log = dynamic_cast<controls::PrintListCtrl*>(&control)) return BindLog(*log, parent);
    if (auto* combo = dynamic_cast<controls::ComboBox*>(&control)) return BindCombo(*combo, parent);
    if (auto* tree = dynamic_cast<controls::TreeCtrl*>(&control)) return BindTree(*tree, parent);
    if (auto* edit = dynamic_cast<controls::Edit*>(&control)) return BindEdit(*edit, parent);
    if (auto* radio = dynamic_cast<controls::RadioButton*>(&control)) return BindRadio(*radio, parent);
    if (auto* box = dynamic_cast<controls::CheckBox*>(&control)) return BindCheckBox(*box, parent);
    if (auto* button = dynamic_cast<controls::Button*>(&control)) return BindButton(*button, parent);
    if (auto* label = dynamic_cast<controls::Static*>(&control)) return BindStatic(*label, parent);
    if (auto* list = dynamic_cast<controls::ListBox*>(&control)) return BindListBox(*list, parent);
    return new QLabel(Text(control.Caption()), parent);
}

QLabel* CreatePicture(controls::Static& picture, const QPixmap& pixmap, QWidget* parent)
{
    auto* w = new QLabel(parent);
    w->setObjectName(QStringLiteral("control_%1").arg(picture.Id()));
    w->setPixmap(pixmap);
    Attach(picture, w, [&picture, w] {
        w->setToolTip(Text(picture.Caption()));
        ApplyCommonState(picture, w);
    });
    return w;
}

QLabel* CreateTextView(controls::Edit& edit, QWidget* parent)
{
    auto* w = new QLabel(parent);
    w->setObjectName(QStringLiteral("control_%1").arg(edit.Id()));
    w->setTextFormat(Qt::PlainText);
    w->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    w->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    w->setMargin(4);
    w->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    Attach(edit, w, [&edit, w] {
        // The edit's line ends are the platform's "\r\n".
        w->setText(Text(edit.GetWindowText()).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        ApplyCommonState(edit, w);
    });
    return w;
}

int FittingWidth(const QLineEdit* edit, const QString& text)
{
    // As QLineEdit's own size hint counts: its text margins, its contents margins, its frame.
    constexpr int kHorizontalMargin = 2;
    const QMargins tm = edit->textMargins();
    const QMargins cm = edit->contentsMargins();
    const int inner = edit->fontMetrics().horizontalAdvance(text) + 2 * kHorizontalMargin + tm.left() + tm.right() +
                      cm.left() + cm.right() + 1;  // the cursor
    QStyleOptionFrame option;
    option.initFrom(edit);
    option.lineWidth = edit->hasFrame() ? edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit) : 0;
    return edit->style()->sizeFromContents(QStyle::CT_LineEdit, &option, QSize(inner, edit->height()), edit).width();
}

void FitLongestValue(QLineEdit* edit, const QString& longest)
{
    edit->setMinimumWidth(FittingWidth(edit, longest));
}

void SyncAll(QWidget* root)
{
    // Logs follow their list's flush by themselves; other widgets follow their observers.
    for (QWidget* w : root->findChildren<QWidget*>()) {
        QObject* syncer = w->property(kSyncProperty).value<QObject*>();
        if (auto* s = static_cast<Syncer*>(syncer)) s->sync();
    }
}

}  // namespace ControlBinder
