#pragma once

#include <atomic>

#include <QTableView>

#include "controls/PrintListCtrl.h"

class PrintListModel;
class QMenu;

// The log list of a dialog: a headerless fixed-pitch table over a PrintListCtrl that follows the
// last row, with select-all and copy on the keys and a context menu.
class LogView : public QTableView {
    Q_OBJECT
public:
    static constexpr double FONT_POINTS = 7.5;

    explicit LogView(controls::PrintListCtrl& list, int columns = 1, QWidget* parent = nullptr);
    ~LogView() override;

    PrintListModel* Model() const { return m_model; }
    // Flushes the list: new rows show and the view keeps to the last one.
    void Flush();
    // The menu the view pops up, its entries enabled as the list allows.
    QMenu* BuildContextMenu(QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void RunCommand(int id);
    void CopyToClipboard();
    void SelectionToList(const QItemSelection& selected, const QItemSelection& deselected);
    void SelectionFromList();

    controls::PrintListCtrl& m_list;
    PrintListModel* m_model;
    int m_observer = 0;
    bool m_syncing = false;
    std::atomic<bool> m_syncPending{false};
};
