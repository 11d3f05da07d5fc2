#include <gtest/gtest.h>

#include <QApplication>
#include <QBrush>
#include <QClipboard>
#include <QKeyEvent>
#include <QMenu>

#include "QtTestApp.h"
#include "controls/PrintListCtrl.h"
#include "qt/LogView.h"
#include "qt/PrintListModel.h"

// fontconfig keeps its cache until exit on purpose; that is not ours to report.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\n";
}

namespace {


struct SignalCounts {
    int inserted = 0, reset = 0, changed = 0, flushed = 0;
    int firstChanged = -1, lastChanged = -1;

    explicit SignalCounts(PrintListModel& model) {
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, [this] { ++inserted; });
        QObject::connect(&model, &QAbstractItemModel::modelReset, [this] { ++reset; });
        QObject::connect(&model, &PrintListModel::flushed, [this] { ++flushed; });
        QObject::connect(&model, &QAbstractItemModel::dataChanged, [this](const QModelIndex& from, const QModelIndex& to) {
            ++changed;
            firstChanged = from.row();
            lastChanged = to.row();
        });
    }
};

class PrintListModelTest : public ::testing::Test {
protected:
    void SetUp() override { EnsureQtApp(); }
    controls::PrintListCtrl list;
};

TEST_F(PrintListModelTest, FullRingShowsTheNewest20000Rows) {
    PrintListModel model(list);
    for (int i = 0; i < 30000; ++i)
        list.Print(0, i ? "\nrow %d" : "row %d", i);
    EXPECT_EQ(model.rowCount(), 0);
    model.Flush();
    ASSERT_EQ(model.rowCount(), 20000);
    EXPECT_EQ(model.columnCount(), 1);
    EXPECT_EQ(model.data(model.index(0, 0)).toString(), "row 10000");
    EXPECT_EQ(model.data(model.index(19999, 0)).toString(), "row 29999");
}

TEST_F(PrintListModelTest, BurstBetweenFlushesIsOneInsertion) {
    PrintListModel model(list);
    list.Print(0, "first\n");
    model.Flush();
    SignalCounts counts(model);
    for (int i = 0; i < 1000; ++i)
        list.Print(0, "Return of PDUConnect:\n%s\n", "PDU_STATUS_NOERROR");
    EXPECT_EQ(counts.inserted, 0);  // writers never reach the model
    model.Flush();
    EXPECT_EQ(counts.inserted, 1);
    EXPECT_EQ(counts.reset, 0);
    EXPECT_EQ(counts.changed, 1);
    EXPECT_EQ(counts.flushed, 1);
    EXPECT_EQ(model.rowCount(), 2002);
    EXPECT_EQ(counts.lastChanged, 2001);

    model.Flush();  // nothing new: no signal at all
    EXPECT_EQ(counts.flushed, 1);
}

TEST_F(PrintListModelTest, FlushByTheDialogReachesTheModel) {
    PrintListModel model(list);
    SignalCounts counts(model);
    list.Print(0, "a\nb\n");
    list.Flush();  // the dialog's timer flushes the list itself
    EXPECT_EQ(model.rowCount(), 3);
    EXPECT_EQ(counts.inserted, 1);
}

TEST_F(PrintListModelTest, WrappedRingRepaintsWithoutReset) {
    PrintListModel model(list);
    for (int i = 0; i < 20000; ++i)
        list.Print(0, "row %d\n", i);
    model.Flush();
    SignalCounts counts(model);
    list.Print(0, "newest\n");
    model.Flush();
    EXPECT_EQ(counts.reset, 0);
    EXPECT_EQ(counts.inserted, 0);
    EXPECT_EQ(counts.firstChanged, 0);
    EXPECT_EQ(counts.lastChanged, 19999);
    EXPECT_EQ(model.data(model.index(19998, 0)).toString(), "newest");
}

TEST_F(PrintListModelTest, ClearResetsToOneRow) {
    PrintListModel model(list);
    list.Print(0, "a\nb\nc\n");
    model.Flush();
    SignalCounts counts(model);
    list.Clear();
    model.Flush();
    EXPECT_EQ(counts.reset, 1);
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_EQ(model.data(model.index(0, 0)).toString(), "");
}

TEST_F(PrintListModelTest, BackgroundIsTheRowColourInBgrOrder) {
    PrintListModel model(list, 2);
    list.SetRowColour(0x0000ff);
    list.Print(1, "red");
    model.Flush();
    EXPECT_EQ(model.columnCount(), 2);
    auto brush = model.data(model.index(0, 1), Qt::BackgroundRole).value<QBrush>();
    EXPECT_EQ(brush.color(), QColor(255, 0, 0));
    EXPECT_EQ(model.data(model.index(0, 1)).toString(), "red");
    EXPECT_FALSE(model.data(model.index(1, 0)).isValid());
}

TEST_F(PrintListModelTest, ViewKeysSelectAllAndCopy) {
    list.Prepare();
    LogView view(list);
    list.Print(0, "one\ntwo");
    view.Flush();

    QGuiApplication::clipboard()->setText("untouched");
    QKeyEvent copy(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier);
    QApplication::sendEvent(&view, &copy);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "untouched");

    std::unique_ptr<QMenu> menu(view.BuildContextMenu(nullptr));
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_TRUE(menu->actions()[0]->isEnabled());
    EXPECT_FALSE(menu->actions()[1]->isEnabled());

    QKeyEvent selectAll(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
    QApplication::sendEvent(&view, &selectAll);
    EXPECT_EQ(list.GetSelectedCount(), 2);
    EXPECT_EQ(view.selectionModel()->selectedRows().size(), 2);
    QApplication::sendEvent(&view, &copy);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "one\r\ntwo\r\n");

    view.selectionModel()->select(view.model()->index(0, 0),
                                  QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    EXPECT_EQ(list.GetSelectedRows(), std::vector<int>{0});
}

TEST_F(PrintListModelTest, ViewRangeSelectionReachesTheListOnce) {
    LogView view(list);
    for (int i = 0; i < 5000; ++i)
        list.Print(0, "row %d\n", i);
    view.Flush();
    int reports = 0;
    list.AddObserver([&](const controls::Control&) { ++reports; });
    QItemSelection rows(view.model()->index(10, 0), view.model()->index(2009, 0));
    view.selectionModel()->select(rows, QItemSelectionModel::ClearAndSelect);
    EXPECT_EQ(list.GetSelectedCount(), 2000);
    EXPECT_EQ(reports, 1);
    QCoreApplication::processEvents();  // the list's report comes back and changes nothing
    EXPECT_EQ(view.selectionModel()->selectedRows().size(), 2000);
    EXPECT_TRUE(list.IsSelected(2009));
    EXPECT_FALSE(list.IsSelected(2010));
}

}  // namespace
