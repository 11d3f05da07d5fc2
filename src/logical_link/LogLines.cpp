#include "logical_link/LogLines.h"

#include <cstdio>
#include <cstring>

void LogLines::Add(const char* text)
{
    if (text) m_text.append(text, strnlen(text, PrintListCtrl::MAX_WRITE));
}

void LogLines::Format(const char* format, ...)
{
    char buffer[PrintListCtrl::MAX_WRITE + 1];
    va_list args;
    va_start(args, format);
    int written = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (written < 0) return;
    m_text.append(buffer, std::min<size_t>(static_cast<size_t>(written), PrintListCtrl::MAX_WRITE));
}
