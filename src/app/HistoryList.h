// The last resource selections, kept in the settings file's section "History", newest first.
#pragma once

#include <string>
#include <vector>

struct HistoryEntry {
    std::string PDUShortName;
    std::string MVCIModule;
    std::string Protocol;
    std::string Bustype;
    std::string Cable;
    std::string Pins;
};

class HistoryList {
public:
    static constexpr int kMaxEntries = 10;

    void Load(const std::string& iniPath);
    void Save() const;
    void Add(const HistoryEntry& entry);
    int GetCount() const { return static_cast<int>(m_entries.size()); }
    const HistoryEntry& GetAt(int index) const { return m_entries.at(static_cast<size_t>(index)); }

private:
    std::string m_iniPath;
    std::vector<HistoryEntry> m_entries;
};
