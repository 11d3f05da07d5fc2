#pragma once

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "controls/CListCtrlEx.h"

#if defined(__GNUC__)
#define QUILLON_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define QUILLON_PRINTF(fmt, args)
#endif

namespace controls {

// The log every dialog writes to: a ring of rows that any thread appends to cheaply, and that a
// view shows only when the UI thread flushes it.
class PrintListCtrl : public CListCtrlEx {
public:
    static constexpr uint32_t ROWS = 20000;
    static constexpr uint32_t COLUMNS = 6;
    static constexpr uint32_t MAX_WRITE = 1024;
    static constexpr uint32_t SCREEN_ROWS = 36;
    static constexpr uint32_t WHITE = 0xffffff;

    struct FlushResult {
        bool changed = false;          // false: nothing was written since the last flush
        uint32_t rowCount = 0;         // the item count the view shows from now on
        uint32_t firstRedrawRow = 0;   // rowCount - 36, or 0 below 37 rows
        uint32_t previousRowCount = 0; // the item count before this flush
        bool shifted = false;          // the ring dropped its oldest rows: every row moved up
        bool cleared = false;          // Clear ran since the last flush
        uint32_t writtenRows = 0;      // the last rows that got text since the last flush
    };

    using FlushListener = std::function<void(const FlushResult&)>;

    explicit PrintListCtrl(int id = 0, std::string caption = {});

    // The view showing the list hears of every flush that changed something, on the flushing
    // (UI) thread, after the ring is unlocked.
    void SetFlushListener(FlushListener listener);

    // The one log column: empty heading, 600 wide, left.
    void Prepare();

    void Print(int col, const char* format, ...) QUILLON_PRINTF(3, 4);
    void PrintV(int col, const char* format, va_list args) QUILLON_PRINTF(3, 0);
    void PrintText(int col, const char* text);
    // Many lines at once, under one lock: a writer that formats a whole event before it shows
    // any of it. The text is taken as it is, without the cut at MAX_WRITE.
    void PrintBatch(int col, std::string_view text);
    // Writes to several columns as that many PrintText calls would make them, under one lock:
    // a line of a monitor trace goes into the ring in one step.
    struct CellWrite {
        int col;
        const char* text;
    };
    void PrintCells(const CellWrite* writes, size_t count);
    void SetRowColour(uint32_t colour);
    void Clear();
    FlushResult Flush();

    // What a view shows: the rows as of the last flush.
    int GetItemCount() const override;
    std::string GetItemText(int row, int col) const override;
    uint32_t GetRowColour(int row) const;  // 0xBBGGRR; white out of range

    // Every row in use right now, flushed or not, cells joined by tabs without trailing empties.
    std::vector<std::string> Rows() const;
    // The byte length of every cell of rows first..last, row by row, in one hold of the ring:
    // a view measures a flush's rows without taking turns with the writer for each cell.
    std::vector<uint32_t> CellLengths(int first, int last) const;
    uint32_t RowCount() const;

private:
    FlushResult TakeChanges();
    void Append(uint32_t col, const char* text, size_t length, bool batch);
    void EndRow();
    std::string& Cell(uint32_t ringRow, uint32_t col) { return m_cells[ringRow * COLUMNS + col]; }
    const std::string& Cell(uint32_t ringRow, uint32_t col) const { return m_cells[ringRow * COLUMNS + col]; }
    uint32_t RingRow(uint32_t row) const { return (m_headRow + row) % ROWS; }

    // Writers run on worker threads while the UI thread paints and flushes.
    mutable std::mutex m_ringMutex;
    std::vector<std::string> m_cells;
    std::vector<uint32_t> m_rowColours;
    uint32_t m_rowCount = 1;
    uint32_t m_headRow = 0;
    uint32_t m_currentRow = 0;
    uint32_t m_currentColour = WHITE;
    bool m_dirty = false;
    bool m_shifted = false;
    bool m_cleared = false;
    uint32_t m_rowsEndedSinceFlush = 0;
    uint32_t m_shownCount = 0;
    FlushListener m_flushListener;
};

}  // namespace controls

// The class keeps its own name outside the namespace as well.
using controls::PrintListCtrl;
