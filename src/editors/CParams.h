// A monitor link's parameter set as text and as an ini file: one section per type name, one key
// per parameter. Failures of the set show their box and the work goes on with the next parameter.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pdu/KdMonitorService.h"
#include "ui/Ui.h"

class CParams {
public:
    explicit CParams(ui::Ui& ui) : m_ui(ui) {}
    virtual ~CParams() = default;

    virtual void Save(KdParamSet& set, const std::string& path);
    virtual void Load(KdParamSet& set, const std::string& path);
    // Copies at most size - 1 characters and returns the length; without a buffer the length plus
    // one. -1 for a type that has no text.
    virtual int GetText(KdParamSet& set, const char* name, char* buffer, size_t size, bool hex);
    virtual void SetText(KdParamSet& set, const char* name, const char* text);

    // The section of a type code; null for a type that is skipped.
    static const char* TypeName(uint32_t type);
    // "0x%x," per element, the last comma cut.
    static std::string JoinHex(const std::vector<uint32_t>& values);
    // Hex numbers behind one separator byte each, up to `limit` elements (one more can slip in,
    // as the count is tested after a write); with `byteValues` a value above 255 ends the list.
    static std::vector<uint32_t> ParseArray(const char* text, size_t limit, bool byteValues);

private:
    // The value's text; false for a type that has none.
    bool Render(KdParamSet& set, const char* name, bool hex, std::string& text);
    void LoadOne(KdParamSet& set, const std::string& path, const char* name, uint32_t type);
    void SetArray(KdParamSet& set, const char* name, uint32_t type, const std::vector<uint32_t>& values);

    ui::Ui& m_ui;
};
