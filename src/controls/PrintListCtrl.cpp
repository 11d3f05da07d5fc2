#include "controls/PrintListCtrl.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace controls {

PrintListCtrl::PrintListCtrl(int id, std::string caption)
    : CListCtrlEx(id, std::move(caption)), m_cells(ROWS * COLUMNS), m_rowColours(ROWS, WHITE) {}

void PrintListCtrl::Prepare() {
    InsertColumn(0, "", LVCFMT_LEFT, 600);
}

void PrintListCtrl::Print(int col, const char* format, ...) {
    va_list args;
    va_start(args, format);
    PrintV(col, format, args);
    va_end(args);
}

void PrintListCtrl::PrintV(int col, const char* format, va_list args) {
    char buffer[MAX_WRITE + 1];
    int written = format ? std::vsnprintf(buffer, sizeof buffer, format, args) : 0;
    if (written < 0)
        written = 0;
    buffer[written < static_cast<int>(MAX_WRITE) ? written : MAX_WRITE] = '\0';
    PrintText(col, buffer);
}

void PrintListCtrl::PrintText(int col, const char* text) {
    size_t length = text ? strnlen(text, MAX_WRITE) : 0;
    std::lock_guard lock(m_ringMutex);
    if (col >= 0 && static_cast<uint32_t>(col) < COLUMNS) {
        Append(static_cast<uint32_t>(col), text, length, false);
        m_rowColours[m_currentRow] = m_currentColour;
    }
    m_dirty = true;
}

void PrintListCtrl::PrintCells(const CellWrite* writes, size_t count) {
    std::lock_guard lock(m_ringMutex);
    for (size_t i = 0; i < count; ++i) {
        const auto [col, text] = writes[i];
        if (col < 0 || static_cast<uint32_t>(col) >= COLUMNS)
            continue;
        Append(static_cast<uint32_t>(col), text, text ? strnlen(text, MAX_WRITE) : 0, false);
        m_rowColours[m_currentRow] = m_currentColour;
    }
    m_dirty = true;
}

void PrintListCtrl::PrintBatch(int col, std::string_view text) {
    std::lock_guard lock(m_ringMutex);
    if (col >= 0 && static_cast<uint32_t>(col) < COLUMNS) {
        Append(static_cast<uint32_t>(col), text.data(), text.size(), true);
        m_rowColours[m_currentRow] = m_currentColour;
    }
    m_dirty = true;
}

void PrintListCtrl::Append(uint32_t col, const char* text, size_t length, bool batch) {
    if (!text || length == 0)
        return;
    const char* end = text + length;
    while (const char* lineEnd = static_cast<const char*>(std::memchr(text, '\n', static_cast<size_t>(end - text)))) {
        Cell(m_currentRow, col).append(text, static_cast<size_t>(lineEnd - text));
        EndRow();
        // Each line of a batch stands for a write of its own, which leaves its new row coloured.
        if (batch)
            m_rowColours[m_currentRow] = m_currentColour;
        text = lineEnd + 1;
    }
    Cell(m_currentRow, col).append(text, static_cast<size_t>(end - text));
}

void PrintListCtrl::EndRow() {
    if (m_rowsEndedSinceFlush < ROWS)
        ++m_rowsEndedSinceFlush;
    if (++m_rowCount > ROWS) {
        m_rowCount = ROWS;
        m_headRow = (m_headRow + 1) % ROWS;
        m_shifted = true;
    }
    m_currentRow = (m_currentRow + 1) % ROWS;
    // clear() keeps each cell's capacity, so a full ring writes without allocating.
    for (uint32_t col = 0; col < COLUMNS; ++col)
        Cell(m_currentRow, col).clear();
}

void PrintListCtrl::SetRowColour(uint32_t colour) {
    std::lock_guard lock(m_ringMutex);
    m_currentColour = colour;
}

void PrintListCtrl::Clear() {
    {
        std::lock_guard lock(m_ringMutex);
        for (uint32_t row = 0; row < m_rowCount; ++row)
            for (uint32_t col = 0; col < COLUMNS; ++col)
                Cell(RingRow(row), col).clear();
        m_rowCount = 1;
        m_headRow = 0;
        m_currentRow = 0;
        m_currentColour = WHITE;
        m_shownCount = 1;
        m_cleared = true;
        m_dirty = true;
    }
    TrimSelection(1);
}

PrintListCtrl::FlushResult PrintListCtrl::Flush() {
    FlushResult result = TakeChanges();
    if (!result.changed)
        return result;
    FlushListener listener;
    {
        std::lock_guard lock(Mutex());
        listener = m_flushListener;
    }
    if (listener)
        listener(result);
    return result;
}

PrintListCtrl::FlushResult PrintListCtrl::TakeChanges() {
    std::lock_guard lock(m_ringMutex);
    FlushResult result;
    result.previousRowCount = m_shownCount;
    result.rowCount = m_shownCount;
    if (!m_dirty)
        return result;
    m_dirty = false;
    m_shownCount = m_rowCount;
    result.changed = true;
    result.rowCount = m_rowCount;
    result.firstRedrawRow = m_rowCount < SCREEN_ROWS + 1 ? 0 : m_rowCount - SCREEN_ROWS;
    result.shifted = m_shifted;
    result.cleared = m_cleared;
    // The row in progress at the last flush, every row ended since, and the one in progress now.
    result.writtenRows = std::min(m_rowsEndedSinceFlush + 1, m_rowCount);
    m_rowsEndedSinceFlush = 0;
    m_shifted = m_cleared = false;
    return result;
}

void PrintListCtrl::SetFlushListener(FlushListener listener) {
    std::lock_guard lock(Mutex());
    m_flushListener = std::move(listener);
}

int PrintListCtrl::GetItemCount() const {
    std::lock_guard lock(m_ringMutex);
    return static_cast<int>(m_shownCount);
}

std::string PrintListCtrl::GetItemText(int row, int col) const {
    std::lock_guard lock(m_ringMutex);
    if (row < 0 || static_cast<uint32_t>(row) >= m_rowCount || col < 0 || static_cast<uint32_t>(col) >= COLUMNS)
        return {};
    return Cell(RingRow(row), col);
}

uint32_t PrintListCtrl::GetRowColour(int row) const {
    std::lock_guard lock(m_ringMutex);
    if (row < 0 || static_cast<uint32_t>(row) >= m_rowCount)
        return WHITE;
    return m_rowColours[RingRow(row)];
}

std::vector<uint32_t> PrintListCtrl::CellLengths(int first, int last) const {
    std::lock_guard lock(m_ringMutex);
    std::vector<uint32_t> lengths;
    first = std::max(first, 0);
    last = std::min(last, static_cast<int>(m_rowCount) - 1);
    for (int row = first; row <= last; ++row)
        for (uint32_t col = 0; col < COLUMNS; ++col)
            lengths.push_back(static_cast<uint32_t>(Cell(RingRow(static_cast<uint32_t>(row)), col).size()));
    return lengths;
}

std::vector<std::string> PrintListCtrl::Rows() const {
    std::lock_guard lock(m_ringMutex);
    std::vector<std::string> rows(m_rowCount);
    for (uint32_t row = 0; row < m_rowCount; ++row) {
        uint32_t used = COLUMNS;
        while (used > 0 && Cell(RingRow(row), used - 1).empty())
            --used;
        for (uint32_t col = 0; col < used; ++col) {
            if (col > 0)
                rows[row] += '\t';
            rows[row] += Cell(RingRow(row), col);
        }
    }
    return rows;
}

uint32_t PrintListCtrl::RowCount() const {
    std::lock_guard lock(m_ringMutex);
    return m_rowCount;
}

}  // namespace controls
