#include "monitor_link/MonitorLineDecoder.h"

#include "monitor_link/LineBuffer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// The described platform has a 32-bit long: "%ld" of a time that ran backwards shows negative.
long Long32(uint32_t value)
{
    return static_cast<long>(static_cast<int32_t>(value));
}

// The bytes of an item, read only within its length: what lies beyond reads as 0.
struct ItemBytes {
    const uint8_t* data = nullptr;
    uint32_t size = 0;

    explicit ItemBytes(KdMonitorItem& item) : data(item.GetData()), size(data ? item.GetDataLength() : 0) {}
    bool Has(uint32_t index) const { return index < size; }
    uint8_t At(uint32_t index) const { return Has(index) ? data[index] : 0; }
    uint32_t U32(uint32_t index) const
    {
        return At(index) | uint32_t{At(index + 1)} << 8 | uint32_t{At(index + 2)} << 16 | uint32_t{At(index + 3)} << 24;
    }
};

char LetterOf(uint32_t type, uint32_t subType)
{
    switch (type) {
    case KD_IT_OVERRUN: return 'O';
    case KD_IT_ERROR:
    case KD_IT_ERROR_2: return 'E';
    case KD_IT_LINE_ERROR: return 'F';
    case KD_IT_CAN_RX:
    case KD_IT_CANFD_RX:
    case KD_IT_LIN_RX:
    case KD_IT_KLINE_RX: return 'R';
    case KD_IT_CAN_TX:
    case KD_IT_CANFD_TX:
    case KD_IT_LIN_TX:
    case KD_IT_KLINE_TX: return 'T';
    case KD_IT_MONITOR_FLUSH: return 'M';
    case KD_IT_CLAMP: return 'C';
    case KD_IT_CHIP_STATE: return '!';
    case KD_IT_INFO: break;
    default: return '?';
    }
    switch (subType) {
    case KD_IST_BAUD: return 'B';
    case KD_IST_I: return 'I';
    case KD_IST_J: return 'J';
    case KD_IST_S: return 'S';
    case KD_IST_L: return 'L';
    case KD_IST_H: return 'H';
    case KD_IST_K: return 'K';
    default: return '?';
    }
}

const char* ChipStateText(uint32_t code)
{
    switch (code) {
    case 129: return "WARNING 96";
    case 130: return "ERROR ACTIVE ";
    case 131: return "ERROR PASSIVE ";
    case 132: return "BUS OFF ";
    default: return "UNKNOWN INFO";
    }
}

const char* ErrorText(uint32_t code)
{
    switch (code) {
    case 0: return "CORRUPTED BYTES";
    case 1: return "FW FIFO OVERRUN";
    case 128: return "BUS Init";
    case 129: return "WARNING 96";
    case 130: return "ERROR ACTIVE";
    case 131: return "ERROR PASSIVE";
    case 132: return "BUS OFF";
    case 133: return "ERROR FRAME";
    case 134: return "LOWSPEED TRANCEIVER ERROR";
    case 135: return "TX ERROR";
    default: return "UNKNOWN INFO";
    }
}

void LineErrorText(uint32_t code, char (&text)[50])
{
    text[0] = '\0';
    if (code & 1)
        std::strcat(text, "PARITY ERROR ");
    if (code & 2)
        std::strcat(text, "FRAMING ERROR ");
    if (code & 4)
        std::strcat(text, "OVERRUN ERROR ");
}

uint32_t ParamU32(KdMonitorLink& link, const char* name)
{
    try {
        return static_cast<KdParamSet&>(link).GetU32(name);
    } catch (const KdException&) {
        return 0;  // an unknown rate counts as 0, and the load shows infinite
    }
}

// Gives the object back to the library whatever way decoding of it ends.
struct Holder {
    KdObject* object;
    ~Holder()
    {
        if (object)
            object->Release();
    }
};

}  // namespace

MonitorLineDecoder::MonitorLineDecoder(PrintListCtrl& list, controls::Edit& monCount, controls::Edit& itemsPerSecond,
                                       controls::Edit& busLoad)
    : m_list(list), m_monCountEdit(monCount), m_itemsPerSecondEdit(itemsPerSecond), m_busLoadEdit(busLoad)
{
}

void MonitorLineDecoder::SetBusTypeName(const std::string& name)
{
    std::lock_guard lock(m_settingsLock);
    m_busTypeName = name;
    m_linLines = name.find("LIN") != std::string::npos && name.find("KLINE") == std::string::npos;
}

void MonitorLineDecoder::SetFilter(uint32_t mode, std::vector<int> ids)
{
    auto list = mode == FILTER_OFF ? nullptr : std::make_shared<const std::vector<int>>(std::move(ids));
    std::lock_guard lock(m_settingsLock);
    m_filter = {mode, std::move(list)};
}

uint32_t MonitorLineDecoder::GetFilterMode()
{
    std::lock_guard lock(m_settingsLock);
    return m_filter.mode;
}

MonitorLineDecoder::Filter MonitorLineDecoder::CurrentFilter()
{
    std::lock_guard lock(m_settingsLock);
    return m_filter;
}

std::vector<uint32_t> MonitorLineDecoder::CollectedIds()
{
    std::lock_guard lock(m_collectLock);
    return m_collectedIds;
}

void MonitorLineDecoder::ResetCounters()
{
    m_meter.ResetFigures();
    m_monCount = 0;
    {
        std::lock_guard lock(m_figuresLock);
        m_loadText.clear();
    }
    ShowFigures(true);
    RefreshCounters();
}

// The figures change once a second at most: their texts are made when they do, and an edit
// that shows its text already is left alone.
void MonitorLineDecoder::ShowFigures(bool always)
{
    const double load = m_meter.BusLoad();
    const double perSecond = m_meter.ItemsPerSecond();
    std::lock_guard lock(m_figuresLock);
    const bool changed = load != m_shownLoad || perSecond != m_shownPerSecond || m_loadText.empty();
    if (changed) {
        char text[256];
        std::snprintf(text, sizeof text, "%.2f", load);
        m_loadText = text;
        // Cut to an integer as "%ld" of a 32-bit long would take it.
        LineBuffer items;
        items.Decimal(perSecond >= 0.0 && perSecond < 4294967296.0 ? Long32(static_cast<uint32_t>(perSecond)) : 0);
        m_perSecondText = items.Text();
        m_shownLoad = load;
        m_shownPerSecond = perSecond;
    }
    if (changed || always) {
        m_itemsPerSecondEdit.SetWindowText(m_perSecondText);
        m_busLoadEdit.SetWindowText(m_loadText);
    }
}

void MonitorLineDecoder::Restart()
{
    m_previousTimestamp = 0;
    m_monCount = 0;
    m_meter.Restart();
}

void MonitorLineDecoder::RefreshCounters()
{
    LineBuffer count;
    count.Decimal(Long32(m_monCount));
    m_monCountEdit.SetWindowText(count.Text());
    if (m_meter.BusLoad() > 1.0)
        ShowFigures(false);
}

void MonitorLineDecoder::DecodeMonitorEvent(KdMonitorLink* link, uint32_t handle)
{
    if (!link)
        return;
    const Filter filter = CurrentFilter();
    try {
        while (KdObject* object = link->GetItem(handle)) {
            Holder held{object};
            if (!DecodeItem(*link, handle, *object, filter))
                return;
        }
    } catch (const KdException&) {
        // The library refused this notice: its items stay with the link.
    }
}

bool MonitorLineDecoder::DecodeItem(KdMonitorLink& link, uint32_t handle, KdObject& object, const Filter& filter)
{
    if (object.GetType() != KD_OBJT_ITEM) {
        m_list.PrintText(1, "Bad Object (not a KdComPrimitive)in Eventcallback\n");
        return false;
    }
    auto& item = static_cast<KdMonitorItem&>(object);
    KeepFrame(item);
    const bool hidden = IsHidden(item, filter);
    // A hidden item leaves the clock, so the next shown line's time spans it.
    const uint32_t ts = !item.HasTimestamp() || hidden ? m_previousTimestamp : item.GetTimestamp();
    if (!m_screenDisabled) {
        if (!m_suppressLinkEvents)
            WriteLinkEvent(handle, item.GetTimestamp());
        LineBuffer line;
        if (FormatLine(link, item, ts, ts - m_previousTimestamp, hidden, line) && !hidden) {
            ++m_monCount;
            RefreshCounters();
            std::lock_guard lock(m_listLock);
            WriteLine(line.Text());
        }
    }
    m_previousTimestamp = ts;
    return true;
}

void MonitorLineDecoder::KeepFrame(KdMonitorItem& item)
{
    if (!m_trace || !item.HasId()) return;  // a frame without an id is no frame to a CAN tool
    const uint32_t type = item.GetItemType();
    const bool fd = type == KD_IT_CANFD_RX || type == KD_IT_CANFD_TX;
    if (!fd && type != KD_IT_CAN_RX && type != KD_IT_CAN_TX) return;
    uint8_t flags = 0;
    if (item.IsExtendedId()) flags |= TraceFrame::EXTENDED;
    if (fd) flags |= TraceFrame::FD;
    if (fd && item.IsBrs()) flags |= TraceFrame::BRS;
    if (type == KD_IT_CAN_TX || type == KD_IT_CANFD_TX) flags |= TraceFrame::TX;
    const ItemBytes bytes(item);
    m_trace->Add(item.GetTimestamp(), item.GetId(), flags, bytes.data, bytes.size);
}

bool MonitorLineDecoder::IsHidden(KdMonitorItem& item, const Filter& filter) const
{
    if (filter.mode == FILTER_OFF || !filter.ids || !item.HasId())
        return false;
    const int id = static_cast<int>(item.GetId());
    const bool found = std::find(filter.ids->begin(), filter.ids->end(), id) != filter.ids->end();
    return filter.mode == FILTER_POSITIVE ? !found : filter.mode == FILTER_NEGATIVE && found;
}

void MonitorLineDecoder::WriteLinkEvent(uint32_t handle, uint32_t timestamp)
{
    m_list.SetRowColour(LINK_EVENT_COLOUR);
    m_list.PrintText(1, "LINK EVENT");
    LineBuffer text;
    text.Add("(0x");
    text.Hex(handle);
    text.Add(')');
    m_list.PrintText(2, text.Text());
    m_list.PrintText(4, "EVENT TIME:");
    LineBuffer time;
    time.Decimal(timestamp);
    time.Add('\n');
    m_list.PrintText(5, time.Text());
    m_list.SetRowColour(PrintListCtrl::WHITE);
}

bool MonitorLineDecoder::FormatLine(KdMonitorLink& link, KdMonitorItem& item, uint32_t ts, uint32_t delta, bool hidden,
                                    LineBuffer& line)
{
    const uint32_t type = item.GetItemType();
    const uint32_t subType = type == KD_IT_INFO ? item.GetSubType() : 0;
    const char letter = LetterOf(type, subType);
    const long time = Long32(delta);  // the "%10.ld" forms
    switch (letter) {
    case '!': {
        const ItemBytes bytes(item);
        const uint32_t code = item.GetSubType();
        line.Format("%c|%10.ld|%s (%02x)|REC:%02x TEC:%02x |ChipStatus:%02x |Data: %02x %02x %02x", letter, time,
                    ChipStateText(code), code, bytes.At(3), bytes.At(4), bytes.At(1), bytes.At(2), bytes.At(3),
                    bytes.At(4));
        return true;
    }
    case 'B': {
        const ItemBytes bytes(item);
        line.Format("%c|%10.ld|Baud: %ld|Format: %d", letter, time, Long32(bytes.U32(0)), bytes.At(4));
        return true;
    }
    case 'C': {
        uint8_t c15 = 0, c30 = 0;
        item.GetClampState(&c15, &c30);
        line.Format("%c|%10.ld|Clamps changed:| |C15=%d, C30=%d", letter, time, c15, c30);
        return true;
    }
    case 'E': {
        const ItemBytes bytes(item);
        const uint32_t code = item.GetSubType();
        line.Format("%c|%10.3f|%s (%02x)|ChipStatus:%02x|Data: %02x %02x %02x", letter, delta / 1000.0,
                    ErrorText(code), code, bytes.At(1), bytes.At(2), bytes.At(3), bytes.At(4));
        return true;
    }
    case 'F': {
        char text[50];
        const uint32_t code = item.GetSubType();
        LineErrorText(code, text);
        line.Format("E|%10.ld|%s(%02x)", time, text, code & 0xff);
        return true;
    }
    case 'M': {
        // Built and kept silent: a flush shows nothing and counts nothing, but moves the clock.
        const uint32_t code = item.GetSubType();
        line.Format("M|%10.ld|%s(%02x)", time, code & 3 ? "MONITOR FLUSH" : "", code & 0xff);
        return false;
    }
    case 'O':
        line.Add(letter);
        line.Add('|');
        line.Long(time, 10);
        return true;
    default:
        FormatFrame(link, item, letter, ts, delta, hidden, line);
        return true;
    }
}

void MonitorLineDecoder::FormatFrame(KdMonitorLink& link, KdMonitorItem& item, char letter, uint32_t ts,
                                     uint32_t delta, bool hidden, LineBuffer& line)
{
    if (m_linLines) {
        FormatLinFrame(item, letter, delta, line);
        return;
    }
    CountFrame(link, item, ts);
    // A hidden line is only built for the id collector.
    if (!hidden || m_collecting)
        FormatCanFrame(item, letter, delta, line);
}

void MonitorLineDecoder::FormatLinFrame(KdMonitorItem& item, char letter, uint32_t delta, LineBuffer& line)
{
    const ItemBytes record(item);
    const uint32_t length = record.At(24) | uint32_t{record.At(25)} << 8;
    line.Add(letter);
    line.Add('|');
    line.Milliseconds(delta, ',');
    line.Add('|');
    line.Hex(item.GetId() & 63, 8, true);
    line.Add(" |");
    line.Decimal(static_cast<int>(length));
    line.Add('|');
    // The record may claim more bytes than it holds: only those it holds are shown.
    for (uint32_t i = 0; i < length && record.Has(37 + 6 * i); ++i) {
        const uint8_t byte = record.At(37 + 6 * i);
        line.HexBytes(&byte, 1);
        line.Add(' ');
    }
    if (length != 0) {
        line.DropLastBlank();
        if (record.Has(31))
            line.Format("   CS:%.2x", record.At(31));
    }
}

void MonitorLineDecoder::CountFrame(KdMonitorLink& link, KdMonitorItem& item, uint32_t ts)
{
    const ItemBytes bytes(item);
    BusLoadMeter::Frame frame;
    frame.hasId = item.HasId();
    if (frame.hasId) {
        frame.extended = item.IsExtendedId();
        frame.id = item.GetId();
        frame.data = bytes.data;
        frame.length = bytes.size;
    }
    uint32_t baud = 0, dataBaud = 0;
    if (frame.hasId) {
        baud = ParamU32(link, "Baudrate");
        dataBaud = item.IsFd() ? ParamU32(link, "CANFDBaudrate") : baud;
    }
    m_meter.AddFrame(frame, baud, dataBaud);
    if (m_meter.CloseWindow(ts))
        RefreshCounters();
}

uint32_t MonitorLineDecoder::Collect(uint32_t id)
{
    if (!m_collecting)
        return id;
    std::lock_guard lock(m_collectLock);
    if (std::find(m_collectedIds.begin(), m_collectedIds.end(), id) == m_collectedIds.end())
        m_collectedIds.push_back(id);
    return id;
}

void MonitorLineDecoder::FormatCanFrame(KdMonitorItem& item, char letter, uint32_t delta, LineBuffer& line)
{
    line.Add(letter);
    if (item.IsFd()) {
        line.Add('F');
        if (item.IsBrs())
            line.Add('B');
    }
    line.Add('|');
    line.Milliseconds(delta, ',');
    line.Add('|');
    if (item.IsExtendedId()) {
        // The "x" behind marks the extended identifier.
        if (const uint32_t id = item.GetId(); id != 0) {
            line.Hex(Collect(id), 8, true);
            line.Add('x');
        } else {
            line.Add("0x");
        }
    } else if (!item.HasId()) {
        line.Add("<NO ID>");
    } else if (const uint32_t id = item.GetId(); id != 0) {
        line.Hex(Collect(id), 8, true);
    } else {
        line.Add('0');
    }
    const ItemBytes bytes(item);
    line.Add('|');
    line.Decimal(static_cast<int>(bytes.size));
    line.Add('|');
    if (bytes.size == 0) {
        line.Add("<NO DATA>");
        return;
    }
    const uint32_t rows = ((bytes.size - 1) >> 3) + 1;
    // Longest further row: " | | | |", 23 hex, "|%8s|\1|".
    constexpr size_t kRowText = 8 + 23 + 12;
    for (uint32_t row = 0; row < rows; ++row) {
        const uint8_t* rowBytes = bytes.data + row * 8;
        const uint32_t count = row + 1 < rows ? 8 : ((bytes.size - 1) & 7) + 1;
        if (row > 0)
            line.Add(" | | | |");
        line.HexBytes(rowBytes, count);
        line.Add('|');
        line.AsciiBytes(rowBytes, count, 8);
        // A frame longer than the line ends with the last whole row that fits.
        if (row + 1 == rows || line.Used() + 2 * kRowText >= LineBuffer::SIZE)
            break;
        line.Add("|\x01|");
    }
}

void MonitorLineDecoder::WriteLine(char* text)
{
    // Split at runs of "|" as strtok does, without its hidden state: a piece that starts with
    // byte 1 ends the row.
    // The pieces go to the ring together, a batch at a time, as the same writes one by one.
    constexpr size_t kBatch = 64;
    PrintListCtrl::CellWrite writes[kBatch];
    size_t pending = 0;
    const auto write = [&](int col, const char* piece) {
        writes[pending++] = {col, piece};
        if (pending == kBatch) {
            m_list.PrintCells(writes, pending);
            pending = 0;
        }
    };
    int col = 0;
    char* p = text;
    for (;;) {
        while (*p == '|')
            ++p;
        if (*p == '\0')
            break;
        char* end = std::strchr(p, '|');
        const bool last = end == nullptr;
        if (end)
            *end = '\0';
        if (*p == '\x01') {
            write(5, "\n");
            col = 0;
        } else {
            write(col++, p);
        }
        if (last)
            break;
        p = end + 1;
    }
    write(5, "\n");
    m_list.PrintCells(writes, pending);
}
