#pragma once

#include <atomic>
#include <vector>

#include <QTableView>

#include "controls/PrintListCtrl.h"

class PrintListModel;
class QMenu;

// The log list of a dialog: a headerless fixed-pitch table over a PrintListCtrl that follows the
// last row, with select-all and copy on the keys and a context menu. Every window with a log
// shows it through this view (src/qt/README.md).
//
// Widths: each column is as wide as the longest cell it has shown since the last clear; the
// columns before the last keep at least the width their list asks for, and the last one, the
// text column, takes what is left of the view's width. What does not fit scrolls sideways, and
// a cell that the view cuts shows its whole text as a tooltip.
class LogView : public QTableView {
    Q_OBJECT
public:
    // Below this the system's fixed-pitch font is hard to read on any screen; the described
    // program's 7.5 points were chosen for another platform's font and pixels.
    static constexpr double kMinimumPoints = 9.0;

    explicit LogView(controls::PrintListCtrl& list, int columns = 1, QWidget* parent = nullptr);
    ~LogView() override;

    // The system's fixed-pitch font, no smaller than the application's own text nor kMinimumPoints.
    static QFont ReadableFixedFont();
    // Every character as wide as the next, as a log's columns of bytes need.
    static bool IsMonospaced(const QFont& font);

    PrintListModel* Model() const { return m_model; }
    // Flushes the list: new rows show and the view keeps to the last one.
    void Flush();
    // The menu the view pops up, its entries enabled as the list allows.
    QMenu* BuildContextMenu(QWidget* parent);

    // The width a cell needs to show `text` whole, margins included.
    int TextWidth(const QString& text) const;
    // The tooltip at a point of the viewport: the cell's whole text when the view cuts it, else empty.
    QString ToolTipAt(const QPoint& viewportPos) const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;
    static bool AsciiFixedPitch(const QFontMetrics& metrics);
    bool viewportEvent(QEvent* event) override;

private:
    void RunCommand(int id);
    void CopyToClipboard();
    void SelectionToList(const QItemSelection& selected, const QItemSelection& deselected);
    void SelectionFromList();
    // Widens the columns for rows first..last (their cells may have changed).
    void MeasureRows(int first, int last);
    void ForgetWidths();
    void ApplyColumnWidths();

    controls::PrintListCtrl& m_list;
    PrintListModel* m_model;
    int m_observer = 0;
    bool m_syncing = false;
    std::atomic<bool> m_syncPending{false};
    std::vector<int> m_longest;  // per column: the widest cell shown since the last clear
    int m_charWidth = 0;         // the font's widest character, for a cheap first test
    // Per column, the longest cell measured: in a fixed-pitch font no shorter text is wider, so
    // at full traffic only a text longer than any before is measured.
    std::vector<uint32_t> m_longestLength;
    bool m_fixedPitch = false;
    int m_textMargins = 0;       // what a cell adds to its text's width
};
