#include "qt/LogView.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

#include "qt/PrintListModel.h"

LogView::LogView(controls::PrintListCtrl& list, int columns, QWidget* parent)
    : QTableView(parent), m_list(list), m_model(new PrintListModel(list, columns, this)) {
    setModel(m_model);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(FONT_POINTS);
    setFont(font);
    horizontalHeader()->hide();
    verticalHeader()->hide();
    // Fixed row heights keep a view of 20000 rows from measuring them.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(QFontMetrics(font).height() + 2);
    setShowGrid(false);
    setWordWrap(false);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto headers = list.Columns();
    for (int col = 0; col < columns; ++col)
        setColumnWidth(col, col < static_cast<int>(headers.size()) ? headers[col].width : 600);

    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &LogView::SelectionToList);
    connect(m_model, &PrintListModel::flushed, this, [this] { scrollToBottom(); });
    connect(m_model, &QAbstractItemModel::modelReset, this, &LogView::SelectionFromList);
    // The list's selection may change by program (select all, a clear); show it on the UI thread.
    // Reports that come in a burst are shown once.
    m_observer = list.AddObserver([this](const controls::Control&) {
        if (m_syncPending.exchange(true))
            return;
        QMetaObject::invokeMethod(this, [this] {
            m_syncPending = false;
            SelectionFromList();
        }, Qt::QueuedConnection);
    });
}

LogView::~LogView() {
    m_list.RemoveObserver(m_observer);
}

void LogView::Flush() {
    m_model->Flush();
}

void LogView::keyPressEvent(QKeyEvent* event) {
    if (event->modifiers() & Qt::ControlModifier) {
        if (event->key() == Qt::Key_A) {
            RunCommand(controls::CListCtrlEx::ID_SELECT_ALL);
            return;
        }
        if (event->key() == Qt::Key_C) {
            RunCommand(controls::CListCtrlEx::ID_COPY);
            return;
        }
    }
    QTableView::keyPressEvent(event);
}

QMenu* LogView::BuildContextMenu(QWidget* parent) {
    auto* menu = new QMenu(parent);
    for (const auto& item : m_list.ContextMenuItems()) {
        QAction* action = menu->addAction(QString::fromStdString(item.text));
        action->setEnabled(item.enabled);
        connect(action, &QAction::triggered, this, [this, id = item.id] { RunCommand(id); });
    }
    return menu;
}

void LogView::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* menu = BuildContextMenu(this);
    menu->exec(event->globalPos());
    menu->deleteLater();
}

void LogView::RunCommand(int id) {
    if (id == controls::CListCtrlEx::ID_COPY) {
        CopyToClipboard();
        return;
    }
    m_list.OnCommand(id);
    SelectionFromList();
}

void LogView::CopyToClipboard() {
    std::string text = m_list.CopyText();
    if (text.empty())
        return;  // nothing selected: the clipboard keeps what it has
    QGuiApplication::clipboard()->setText(QString::fromLocal8Bit(text));
}

void LogView::SelectionToList(const QItemSelection& selected, const QItemSelection& deselected) {
    if (m_syncing)
        return;
    m_syncing = true;
    for (const QItemSelectionRange& range : deselected)
        m_list.SetItemStateRange(range.top(), range.bottom(), false);
    for (const QItemSelectionRange& range : selected)
        m_list.SetItemStateRange(range.top(), range.bottom(), true);
    m_syncing = false;
}

void LogView::SelectionFromList() {
    if (m_syncing)
        return;
    QItemSelection selection;
    int lastColumn = m_model->columnCount() - 1;
    int rows = m_model->rowCount();
    std::vector<int> selected = m_list.GetSelectedRows();
    for (size_t i = 0; i < selected.size();) {
        size_t j = i;
        while (j + 1 < selected.size() && selected[j + 1] == selected[j] + 1)
            ++j;
        if (selected[i] < rows)
            selection.select(m_model->index(selected[i], 0), m_model->index(std::min(selected[j], rows - 1), lastColumn));
        i = j + 1;
    }
    m_syncing = true;
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_syncing = false;
}
