// The lines of one event, formatted into memory before any of them reaches the log, so that a
// worker takes the log's lock once per event and the text of one event stays together.
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

#include "controls/PrintListCtrl.h"

class LogLines {
public:
    LogLines() { m_text.reserve(4096); }

    void Add(const char* text);
    void Add(std::string_view text) { m_text.append(text); }
    // One formatted write, cut at the log's buffer size as a single write to the log would be.
    void Format(const char* format, ...) QUILLON_PRINTF(2, 3);

    const std::string& Text() const { return m_text; }
    bool Empty() const { return m_text.empty(); }
    void Clear() { m_text.clear(); }

private:
    std::string m_text;
};
