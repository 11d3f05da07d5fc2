#include "monitor_link/TraceWriter.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>

namespace {

constexpr uint8_t kClassicMax = 8;

uint8_t DataLength(const TraceFrame& frame)
{
    return (frame.flags & TraceFrame::FD) ? frame.length : std::min(frame.length, kClassicMax);
}

// The smallest CAN FD length code that holds the bytes.
unsigned FdDlc(unsigned length)
{
    static const unsigned kLengths[] = {12, 16, 20, 24, 32, 48, 64};
    if (length <= 8) return length;
    for (unsigned dlc = 9; dlc <= 15; ++dlc)
        if (length <= kLengths[dlc - 9]) return dlc;
    return 15;
}

// Vector writes its dates in English, whatever the machine's language: "Mon Nov 23 08:15:30.123 pm 2026".
std::string AscDate(uint64_t timeUs)
{
    static const char* const kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t seconds = static_cast<std::time_t>(timeUs / 1000000);
    std::tm local{};
    localtime_r(&seconds, &local);
    const int hour12 = local.tm_hour % 12 == 0 ? 12 : local.tm_hour % 12;
    char text[64];
    std::snprintf(text, sizeof text, "%s %s %02d %02d:%02d:%02d.%03u %s %d", kDays[local.tm_wday], kMonths[local.tm_mon],
                  local.tm_mday, hour12, local.tm_min, local.tm_sec, static_cast<unsigned>(timeUs / 1000 % 1000),
                  local.tm_hour < 12 ? "am" : "pm", local.tm_year + 1900);
    return text;
}

void WriteBytes(std::FILE* out, const TraceFrame& frame, const char* format)
{
    for (uint8_t i = 0; i < DataLength(frame); ++i) std::fprintf(out, format, frame.data[i]);
}

}  // namespace

std::optional<TraceWriter::Format> TraceWriter::FormatNamed(const std::string& name)
{
    if (name == "candump") return Format::Candump;
    if (name == "asc") return Format::Asc;
    return std::nullopt;
}

const char* TraceWriter::Extension(Format format)
{
    return format == Format::Candump ? "log" : "asc";
}

bool TraceWriter::Save(const TraceStore::Snapshot& trace, Format format, const std::string& path)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(path.c_str(), "w"), &std::fclose);
    if (!out) return false;
    static thread_local char buffer[1 << 16];
    std::setvbuf(out.get(), buffer, _IOFBF, sizeof buffer);
    Write(trace, format, out.get());
    const bool written = !std::ferror(out.get());
    return std::fclose(out.release()) == 0 && written;
}

void TraceWriter::Write(const TraceStore::Snapshot& trace, Format format, std::FILE* out)
{
    if (format == Format::Candump)
        WriteCandump(trace, out);
    else
        WriteAsc(trace, out);
}

void TraceWriter::WriteCandump(const TraceStore::Snapshot& trace, std::FILE* out)
{
    trace.ForEach([out](const TraceFrame& frame) {
        std::fprintf(out, "(%010llu.%06llu) can0 ", static_cast<unsigned long long>(frame.timeUs / 1000000),
                     static_cast<unsigned long long>(frame.timeUs % 1000000));
        std::fprintf(out, (frame.flags & TraceFrame::EXTENDED) ? "%08X" : "%03X", frame.id);
        if (frame.flags & TraceFrame::FD)
            std::fprintf(out, "##%X", (frame.flags & TraceFrame::BRS) ? 1u : 0u);
        else
            std::fputc('#', out);
        WriteBytes(out, frame, "%02X");
        std::fputs((frame.flags & TraceFrame::TX) ? " T\n" : " R\n", out);
    });
}

void TraceWriter::WriteAsc(const TraceStore::Snapshot& trace, std::FILE* out)
{
    // The measurement starts with the first frame: its date heads the file, its time is 0.
    std::optional<uint64_t> start;
    const auto header = [out](uint64_t timeUs) {
        const std::string date = AscDate(timeUs);
        std::fprintf(out, "date %s\nbase hex  timestamps absolute\ninternal events logged\n// version 9.0.0\n", date.c_str());
        std::fprintf(out, "Begin Triggerblock %s\n   0.000000 Start of measurement\n", date.c_str());
    };
    trace.ForEach([&](const TraceFrame& frame) {
        if (!start) header(*(start = frame.timeUs));
        const uint64_t offset = frame.timeUs - *start;
        char id[16];
        std::snprintf(id, sizeof id, (frame.flags & TraceFrame::EXTENDED) ? "%Xx" : "%X", frame.id);
        const char* direction = (frame.flags & TraceFrame::TX) ? "Tx" : "Rx";
        const unsigned long long seconds = offset / 1000000, micros = offset % 1000000;
        if (!(frame.flags & TraceFrame::FD)) {
            std::fprintf(out, "%4llu.%06llu 1  %-15s %s   d %u", seconds, micros, id, direction, DataLength(frame));
            WriteBytes(out, frame, " %02X");
            std::fputc('\n', out);
            return;
        }
        const bool brs = frame.flags & TraceFrame::BRS;
        std::fprintf(out, "%4llu.%06llu CANFD %3d %s %11s %32s %d %d %X %2u", seconds, micros, 1, direction, id, "",
                     brs ? 1 : 0, 0, FdDlc(frame.length), frame.length);
        WriteBytes(out, frame, " %02X");
        // Duration, bit count, flags (EDL, BRS), CRC and bit timings: the flags are what readers use.
        std::fprintf(out, " %8d %4d %8X %8d %8d %8d %8d %8d\n", 0, 0, 0x1000u | (brs ? 0x2000u : 0u), 0, 0, 0, 0, 0);
    });
    if (!start) {  // no frame: the measurement starts now
        using namespace std::chrono;
        header(static_cast<uint64_t>(duration_cast<microseconds>(system_clock::now().time_since_epoch()).count()));
    }
    std::fputs("End TriggerBlock\n", out);
}
