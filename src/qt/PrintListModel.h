#pragma once

#include <QAbstractTableModel>

#include "controls/PrintListCtrl.h"

// The table a log view shows: the rows of a PrintListCtrl as of its last flush. Whoever flushes
// the list (the dialog's 50 ms timer) updates the model in one batch; writers never touch it.
class PrintListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit PrintListModel(controls::PrintListCtrl& list, int columns = 1, QObject* parent = nullptr);
    ~PrintListModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    // The list's own column headings, where it has them.
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // Flushes the list; the model follows through the list's flush listener.
    void Flush();
    controls::PrintListCtrl& List() const { return m_list; }

    // 0xBBGGRR, as the row colours are kept.
    static QColor FromColorRef(uint32_t colour);
    // Black on light rows, white on dark ones.
    static QColor ContrastingText(const QColor& background);

signals:
    void flushed();
    // Rows first..last got text since the previous flush (a full ring also moves every row up).
    void written(int first, int last);

private:
    void Follow(const controls::PrintListCtrl::FlushResult& result);

    controls::PrintListCtrl& m_list;
    const int m_columns;
    int m_rows = 0;
};
