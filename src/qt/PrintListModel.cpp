#include "qt/PrintListModel.h"

#include <QBrush>
#include <QColor>

PrintListModel::PrintListModel(controls::PrintListCtrl& list, int columns, QObject* parent)
    : QAbstractTableModel(parent), m_list(list), m_columns(columns), m_rows(list.GetItemCount()) {
    m_list.SetFlushListener([this](const controls::PrintListCtrl::FlushResult& result) { Follow(result); });
}

PrintListModel::~PrintListModel() {
    m_list.SetFlushListener(nullptr);
}

int PrintListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_rows;
}

int PrintListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_columns;
}

QColor PrintListModel::FromColorRef(uint32_t colour) {
    return QColor(colour & 0xff, (colour >> 8) & 0xff, (colour >> 16) & 0xff);
}

QColor PrintListModel::ContrastingText(const QColor& background) {
    return background.lightnessF() >= 0.5 ? QColor(Qt::black) : QColor(Qt::white);
}

QVariant PrintListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_rows)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return QString::fromLocal8Bit(m_list.GetItemText(index.row(), index.column()));
    case Qt::BackgroundRole:
        return QBrush(FromColorRef(m_list.GetRowColour(index.row())));
    case Qt::ForegroundRole:
        // The logic sets the background only: its text stays readable under any palette.
        return QBrush(ContrastingText(FromColorRef(m_list.GetRowColour(index.row()))));
    default:
        return {};
    }
}

QVariant PrintListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    const auto columns = m_list.Columns();
    if (section < 0 || section >= static_cast<int>(columns.size()))
        return {};
    return QString::fromLocal8Bit(columns[static_cast<size_t>(section)].heading);
}

void PrintListModel::Flush() {
    m_list.Flush();
}

void PrintListModel::Follow(const controls::PrintListCtrl::FlushResult& result) {
    int rows = static_cast<int>(result.rowCount);
    if (result.cleared || rows < m_rows) {
        beginResetModel();
        m_rows = rows;
        endResetModel();
        emit flushed();
        return;
    }
    int previous = m_rows;
    if (rows > m_rows) {
        beginInsertRows({}, m_rows, rows - 1);
        m_rows = rows;
        endInsertRows();
    }
    // A full ring moved every row up by what it dropped; otherwise the last screen and the row
    // that was in progress at the previous flush are what can have changed.
    int first = result.shifted ? 0 : std::min(static_cast<int>(result.firstRedrawRow), std::max(previous - 1, 0));
    if (m_rows > 0)
        emit dataChanged(index(first, 0), index(m_rows - 1, m_columns - 1));
    if (result.writtenRows > 0)
        emit written(m_rows - static_cast<int>(result.writtenRows), m_rows - 1);
    emit flushed();
}
