#include "qt/LogView.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

#include "qt/PrintListModel.h"

namespace {

// Rows measured at most per flush; rows beyond that are measured when they scroll into view.
constexpr int kMeasureLimit = 2000;

}  // namespace

bool LogView::IsMonospaced(const QFont& font) {
    // What the reader sees, not the font's own flag: some monospaced faces don't set it.
    const QFontMetricsF metrics(font);
    const qreal width = metrics.horizontalAdvance(QLatin1Char('i'));
    return width > 0 && metrics.horizontalAdvance(QLatin1Char('W')) == width &&
           metrics.horizontalAdvance(QLatin1Char('0')) == width;
}

QFont LogView::ReadableFixedFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (!IsMonospaced(font)) {
        // The system's choice may land on a face that isn't monospaced: take a known one.
        for (const char* family : {"DejaVu Sans Mono", "Liberation Mono", "Noto Sans Mono", "Courier New", "monospace"}) {
            QFont candidate(QString::fromLatin1(family));
            candidate.setStyleHint(QFont::Monospace);
            if (IsMonospaced(candidate)) {
                candidate.setPointSizeF(font.pointSizeF() > 0 ? font.pointSizeF() : kMinimumPoints);
                font = candidate;
                break;
            }
        }
    }
    const QFont text = QApplication::font();
    const auto points = [](const QFont& f) {
        if (f.pointSizeF() > 0)
            return f.pointSizeF();
        // A size in pixels: the same in points on this screen.
        const QScreen* screen = QGuiApplication::primaryScreen();
        return f.pixelSize() * 72.0 / (screen ? screen->logicalDotsPerInchY() : 96.0);
    };
    font.setPointSizeF(std::max({points(font), points(text), kMinimumPoints}));
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    return font;
}

LogView::LogView(controls::PrintListCtrl& list, int columns, QWidget* parent)
    : QTableView(parent), m_list(list), m_model(new PrintListModel(list, columns, this)) {
    setModel(m_model);
    setFont(ReadableFixedFont());
    m_charWidth = std::max(1, fontMetrics().maxWidth());
    m_fixedPitch = AsciiFixedPitch(fontMetrics());
    m_textMargins = TextWidth(QString());
    horizontalHeader()->hide();
    verticalHeader()->hide();
    // Fixed row heights keep a view of 20000 rows from measuring them.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 2);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setMinimumSectionSize(1);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideNone);  // a cut row is cut, and says so in its tooltip
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_longest.assign(static_cast<size_t>(columns), 0);
    ApplyColumnWidths();

    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &LogView::SelectionToList);
    connect(m_model, &PrintListModel::flushed, this, [this] { scrollToBottom(); });
    connect(m_model, &QAbstractItemModel::modelReset, this, &LogView::SelectionFromList);
    connect(m_model, &QAbstractItemModel::modelReset, this, [this] {
        ForgetWidths();
        MeasureRows(std::max(0, m_model->rowCount() - kMeasureLimit), m_model->rowCount() - 1);
    });
    // Only rows with new text can be wider than before: a full ring that moved every row up
    // costs no more to measure than the rows it took in.
    connect(m_model, &PrintListModel::written, this, [this](int first, int last) {
        MeasureRows(std::max(first, last + 1 - kMeasureLimit), last);
    });
    // Rows that a flush left unmeasured are measured when the user scrolls to them.
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] {
        const int first = rowAt(0);
        const int last = rowAt(viewport()->height() - 1);
        if (first >= 0)
            MeasureRows(first, last < 0 ? m_model->rowCount() - 1 : last);
    });
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

// A new face ("Large Font") makes every width measured so far wrong: the rows on hand are
// measured again in it.
void LogView::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() != QEvent::FontChange)
        return;
    m_charWidth = std::max(1, fontMetrics().maxWidth());
    m_fixedPitch = AsciiFixedPitch(fontMetrics());
    m_textMargins = TextWidth(QString());
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 2);
    ForgetWidths();
    MeasureRows(std::max(0, m_model->rowCount() - kMeasureLimit), m_model->rowCount() - 1);
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

// Whether every printable ASCII character takes the same advance: the rows are ASCII, and some
// fixed-pitch faces do not call themselves that.
bool LogView::AsciiFixedPitch(const QFontMetrics& metrics) {
    const int advance = metrics.horizontalAdvance(QLatin1Char(' '));
    for (char c = '!'; c <= '~'; ++c)
        if (metrics.horizontalAdvance(QLatin1Char(c)) != advance)
            return false;
    return true;
}

int LogView::TextWidth(const QString& text) const {
    // The item delegate keeps this margin on either side of a cell's text.
    const int margin = style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1;
    return fontMetrics().horizontalAdvance(text) + 2 * margin + 1;
}

void LogView::MeasureRows(int first, int last) {
    const int columns = m_model->columnCount();
    if (static_cast<int>(m_longest.size()) < columns)
        m_longest.resize(static_cast<size_t>(columns), 0);
    if (static_cast<int>(m_longestLength.size()) < columns)
        m_longestLength.resize(static_cast<size_t>(columns), 0);
    bool wider = false;
    first = std::max(first, 0);
    last = std::min(last, m_model->rowCount() - 1);
    // No text is wider than its length in the font's widest character: most cells need no
    // measuring at all, and their lengths come in one piece while the writer runs flat out.
    const std::vector<uint32_t> lengths = m_list.CellLengths(first, last);
    const int listColumns = static_cast<int>(controls::PrintListCtrl::COLUMNS);
    for (int row = first; row <= last; ++row) {
        for (int col = 0; col < columns; ++col) {
            const size_t at = static_cast<size_t>(row - first) * listColumns + col;
            int& longest = m_longest[static_cast<size_t>(col)];
            uint32_t& longestLength = m_longestLength[static_cast<size_t>(col)];
            if (col < listColumns && at < lengths.size()) {
                if (static_cast<int>(lengths[at]) * m_charWidth + m_textMargins <= longest)
                    continue;
                if (m_fixedPitch && lengths[at] <= longestLength)
                    continue;
                longestLength = std::max(longestLength, lengths[at]);
            }
            const QString text = m_model->data(m_model->index(row, col)).toString();
            if (text.size() * m_charWidth + m_textMargins <= longest)
                continue;
            const int width = TextWidth(text);
            if (width > longest) {
                longest = width;
                wider = true;
            }
        }
    }
    if (wider)
        ApplyColumnWidths();
}

void LogView::ForgetWidths() {
    std::fill(m_longest.begin(), m_longest.end(), 0);
    std::fill(m_longestLength.begin(), m_longestLength.end(), 0u);
    ApplyColumnWidths();
}

void LogView::ApplyColumnWidths() {
    const int columns = m_model->columnCount();
    if (columns == 0)
        return;
    const auto headers = m_list.Columns();
    const auto longest = [this](int col) {
        return col < static_cast<int>(m_longest.size()) ? m_longest[static_cast<size_t>(col)] : 0;
    };
    int used = 0;
    for (int col = 0; col + 1 < columns; ++col) {
        const int asked = col < static_cast<int>(headers.size()) ? headers[static_cast<size_t>(col)].width : 0;
        const int width = std::max(asked, longest(col));
        if (columnWidth(col) != width)
            setColumnWidth(col, width);
        used += width;
    }
    const int last = columns - 1;
    const int width = std::max(longest(last), viewport()->width() - used);
    if (columnWidth(last) != width)
        setColumnWidth(last, width);
}

QString LogView::ToolTipAt(const QPoint& viewportPos) const {
    const QModelIndex index = indexAt(viewportPos);
    if (!index.isValid())
        return {};
    const QString text = m_model->data(index).toString();
    if (text.isEmpty())
        return {};
    const QRect cell = visualRect(index);
    const QRect shown = cell.intersected(viewport()->rect());
    // Whole when the text's span, margins included, lies inside what the view shows of the cell.
    const int textRight = cell.left() + TextWidth(text);
    const bool whole = cell.left() >= shown.left() && textRight <= shown.right() + 1;
    return whole ? QString() : text;
}

bool LogView::viewportEvent(QEvent* event) {
    switch (event->type()) {
    case QEvent::Resize: {
        const bool handled = QTableView::viewportEvent(event);
        ApplyColumnWidths();
        return handled;
    }
    case QEvent::ToolTip: {
        auto* help = static_cast<QHelpEvent*>(event);
        const QString tip = ToolTipAt(help->pos());
        if (tip.isEmpty()) {
            QToolTip::hideText();
            event->ignore();
        } else {
            const QModelIndex index = indexAt(help->pos());
            QToolTip::showText(help->globalPos(), tip, viewport(), visualRect(index));
        }
        return true;
    }
    default:
        return QTableView::viewportEvent(event);
    }
}
