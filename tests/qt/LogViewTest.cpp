#include <gtest/gtest.h>

#include <QApplication>
#include <QBrush>
#include <QHeaderView>
#include <QHelpEvent>
#include <QScrollBar>
#include <QToolTip>
#include <string>

#include "QtTestApp.h"
#include "controls/PrintListCtrl.h"
#include "qt/LogView.h"
#include "qt/PrintListModel.h"

namespace {

// Constructed before the fixture's view, which needs the application.
struct QtApp {
    QtApp() { EnsureQtApp(); }
};

class LogViewTest : public ::testing::Test {
protected:
    QtApp app;

    void SetUp() override
    {
        list.Prepare();  // the main dialog's one column, 600 wide
        view.resize(400, 200);
        view.show();
        QCoreApplication::processEvents();
    }
    void TearDown() override { HideToolTip(); }

    void Write(const std::string& row)
    {
        list.Print(0, "%s\n", row.c_str());
        view.Flush();
        QCoreApplication::processEvents();
    }
    QPoint PointIn(int row, int x = 10) { return {x, view.visualRect(view.model()->index(row, 0)).center().y()}; }
    int TextWidth(const std::string& row) { return view.TextWidth(QString::fromStdString(row)); }
    int ViewWidth() { return view.viewport()->width(); }

    controls::PrintListCtrl list;
    LogView view{list};
};

TEST_F(LogViewTest, ColumnTakesTheViewsWidthAndGrowsWithTheLongestRow)
{
    // Empty or short rows: the column is the view, whatever the list asked for.
    EXPECT_EQ(view.columnWidth(0), ViewWidth());
    Write("short");
    EXPECT_EQ(view.columnWidth(0), ViewWidth());
    EXPECT_FALSE(view.horizontalScrollBar()->isVisible());

    const std::string longRow(120, 'x');
    Write(longRow);
    EXPECT_EQ(view.columnWidth(0), TextWidth(longRow));
    EXPECT_TRUE(view.horizontalScrollBar()->isVisible());
    EXPECT_EQ(view.horizontalScrollBar()->maximum(), TextWidth(longRow) - ViewWidth());

    const std::string longer(200, 'y');
    Write(longer);
    EXPECT_EQ(view.columnWidth(0), TextWidth(longer));
    Write("short again");  // a shorter row never narrows it
    EXPECT_EQ(view.columnWidth(0), TextWidth(longer));

    view.resize(TextWidth(longer) + 300, 200);  // a view wider than every row: the view's width
    QCoreApplication::processEvents();
    EXPECT_EQ(view.columnWidth(0), ViewWidth());
    view.resize(400, 200);
    QCoreApplication::processEvents();
    EXPECT_EQ(view.columnWidth(0), TextWidth(longer));

    list.Clear();  // a cleared log forgets its rows' widths
    view.Flush();
    QCoreApplication::processEvents();
    EXPECT_EQ(view.columnWidth(0), ViewWidth());
}

TEST_F(LogViewTest, RowCutByTheViewHasItsWholeTextAsTooltip)
{
    const std::string longRow = "   Vendor Additional Info: VendorName='Morvane AG' SerialNumber='ZS-100231' "
                                "FirmwareVersion='3.2.1' ConnectionType='USB'";
    Write("short");
    Write(longRow);
    ASSERT_GT(TextWidth(longRow), ViewWidth());

    EXPECT_EQ(view.ToolTipAt(PointIn(0)), "");  // whole: no tooltip
    EXPECT_EQ(view.ToolTipAt(PointIn(1)), QString::fromStdString(longRow));
    EXPECT_EQ(view.ToolTipAt(QPoint(10, view.viewport()->height() - 2)), "");  // below the rows

    // The tooltip the user sees on hovering: none on the whole row, the whole text on the cut one.
    HideToolTip();
    QHelpEvent hoverShort(QEvent::ToolTip, PointIn(0), view.viewport()->mapToGlobal(PointIn(0)));
    QApplication::sendEvent(view.viewport(), &hoverShort);
    EXPECT_FALSE(QToolTip::isVisible());
    QHelpEvent hover(QEvent::ToolTip, PointIn(1), view.viewport()->mapToGlobal(PointIn(1)));
    QApplication::sendEvent(view.viewport(), &hover);
    EXPECT_TRUE(QToolTip::isVisible());
    EXPECT_EQ(QToolTip::text(), QString::fromStdString(longRow));

    // Scrolled to its end, the row is cut at its start: still its whole text.
    view.horizontalScrollBar()->setValue(view.horizontalScrollBar()->maximum());
    EXPECT_EQ(view.ToolTipAt(PointIn(1)), QString::fromStdString(longRow));
    // A view wide enough shows it whole.
    view.resize(TextWidth(longRow) + 40, 200);
    QCoreApplication::processEvents();
    EXPECT_EQ(view.ToolTipAt(PointIn(1)), "");
}

TEST_F(LogViewTest, RowsBeyondOneFlushesMeasureAreMeasuredWhenTheyScrollIntoView)
{
    // A burst far longer than a flush measures: the long row in its middle is measured once the
    // user scrolls to it.
    const std::string longRow(150, 'z');
    for (int i = 0; i < 6000; ++i) list.Print(0, "%s\n", i == 100 ? longRow.c_str() : "row");
    view.Flush();
    QCoreApplication::processEvents();
    EXPECT_EQ(view.columnWidth(0), ViewWidth());
    view.scrollTo(view.model()->index(100, 0));
    QCoreApplication::processEvents();
    EXPECT_EQ(view.columnWidth(0), TextWidth(longRow));
}

TEST_F(LogViewTest, FontIsTheFixedPitchFontAtAReadableSize)
{
    const QFont font = view.font();
    EXPECT_TRUE(LogView::IsMonospaced(font)) << QFontInfo(font).family().toStdString();
    EXPECT_GE(font.pointSizeF(), LogView::kMinimumPoints);
    EXPECT_GE(font.pointSizeF(), QApplication::font().pointSizeF());
    EXPECT_GE(view.verticalHeader()->defaultSectionSize(), view.fontMetrics().height());
}

TEST_F(LogViewTest, RowColoursShowWithReadableText)
{
    // A row takes the colour current at its writes (the monitor's link event rows are 0xccccff).
    list.SetRowColour(0xccccff);
    list.Print(0, "LINK EVENT");
    list.SetRowColour(0x202020);
    list.Print(0, "\ndark");
    list.SetRowColour(PrintListCtrl::WHITE);
    list.Print(0, "\nplain\n");
    view.Flush();
    const QAbstractItemModel* model = view.model();
    EXPECT_EQ(model->index(0, 0).data(Qt::BackgroundRole).value<QBrush>().color(), QColor(0xff, 0xcc, 0xcc));
    EXPECT_EQ(model->index(0, 0).data(Qt::ForegroundRole).value<QBrush>().color(), QColor(Qt::black));
    EXPECT_EQ(model->index(1, 0).data(Qt::ForegroundRole).value<QBrush>().color(), QColor(Qt::white));
    EXPECT_EQ(model->index(2, 0).data(Qt::BackgroundRole).value<QBrush>().color(), QColor(Qt::white));
}

TEST(LogViewColumnsTest, OtherColumnsKeepTheirWidthAndGrowToTheirCells)
{
    EnsureQtApp();
    controls::PrintListCtrl list;
    list.InsertColumn(0, "Time", controls::CListCtrlEx::LVCFMT_LEFT, 60);
    list.InsertColumn(1, "Text", controls::CListCtrlEx::LVCFMT_LEFT, 200);
    LogView view(list, 2);
    view.resize(500, 200);
    view.show();
    QCoreApplication::processEvents();
    EXPECT_EQ(view.columnWidth(0), 60);
    EXPECT_EQ(view.columnWidth(1), view.viewport()->width() - 60);

    const std::string wideTime(30, '9');
    list.Print(0, "%s", wideTime.c_str());
    list.Print(1, "text\n");
    view.Flush();
    QCoreApplication::processEvents();
    const int timeWidth = view.TextWidth(QString::fromStdString(wideTime));
    EXPECT_EQ(view.columnWidth(0), timeWidth);
    EXPECT_EQ(view.columnWidth(1), view.viewport()->width() - timeWidth);
}

}  // namespace
