#include "app/HistoryList.h"

#include "platform/ProfileFile.h"

namespace {

constexpr const char* kSection = "History";
constexpr uint32_t kValueBuffer = 1024;
constexpr size_t kSectionBuffer = 65535;

std::string Key(const char* name, int index)
{
    return std::string(name) + "_" + std::to_string(index);
}

std::string Read(const std::string& path, const char* name, int index)
{
    return platform::ProfileFile::GetString(path, kSection, Key(name, index), "", kValueBuffer);
}

}  // namespace

void HistoryList::Load(const std::string& iniPath)
{
    m_iniPath = iniPath;
    m_entries.clear();
    for (int i = 0; i < kMaxEntries; ++i) {
        HistoryEntry e;
        e.PDUShortName = Read(iniPath, "PDUShortName", i);
        if (e.PDUShortName.empty()) break;
        e.MVCIModule = Read(iniPath, "MVCIModule", i);
        e.Protocol = Read(iniPath, "Protocol", i);
        e.Bustype = Read(iniPath, "Bustype", i);
        e.Cable = Read(iniPath, "Cable", i);
        e.Pins = Read(iniPath, "Pins", i);
        m_entries.push_back(e);
    }
}

void HistoryList::Add(const HistoryEntry& entry)
{
    m_entries.insert(m_entries.begin(), entry);
    if (m_entries.size() > kMaxEntries) m_entries.pop_back();
}

void HistoryList::Save() const
{
    if (m_iniPath.empty()) return;
    std::vector<std::string> lines;
    size_t used = 1;  // the list's closing NUL
    for (int i = 0; i < GetCount(); ++i) {
        const HistoryEntry& e = m_entries[static_cast<size_t>(i)];
        const std::pair<const char*, const std::string*> fields[] = {
            {"PDUShortName", &e.PDUShortName}, {"MVCIModule", &e.MVCIModule}, {"Protocol", &e.Protocol},
            {"Bustype", &e.Bustype},           {"Cable", &e.Cable},           {"Pins", &e.Pins},
        };
        for (const auto& [name, value] : fields) {
            std::string line = Key(name, i) + "=" + *value;
            // The section is built in a buffer of fixed size: what does not fit is left out.
            if (used + line.size() + 1 > kSectionBuffer) break;
            used += line.size() + 1;
            lines.push_back(std::move(line));
        }
    }
    platform::ProfileFile::WriteSection(m_iniPath, kSection, lines);
}
