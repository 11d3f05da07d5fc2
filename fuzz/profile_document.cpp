// A profile file read and written back: an untouched document gives its bytes back, and a value
// written reads back the same, also after the text is parsed again.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>

#include "platform/ProfileDocument.h"

namespace {

void Check(bool ok)
{
    if (!ok) std::abort();
}

// Names and values the bench writes: one line, no blanks at either end, no comment or section
// start, and a name without '='. Values lose an outer pair of quotes when read, so none here.
std::string Writable(std::string text, bool name)
{
    std::string out;
    for (char c : text) {
        if (c == '\n' || c == '\r' || c == '\0' || (name && (c == '=' || c == ']' || c == '['))) continue;
        out += c;
    }
    const char* blanks = " \t\v";
    for (;;) {
        out.erase(0, out.find_first_not_of(blanks) == std::string::npos ? out.size() : out.find_first_not_of(blanks));
        out.erase(out.find_last_not_of(blanks) + 1);
        if (out.size() < 2 || (out[0] != '"' && out[0] != '\'') || out.back() != out[0]) break;
        out.pop_back();  // and trim again: the quote may have hidden blanks
    }
    if (name && !out.empty() && out[0] == ';') out[0] = '_';
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string section = Writable(input.ConsumeRandomLengthString(32), true);
    const std::string key = Writable(input.ConsumeRandomLengthString(32), true);
    const std::string value = Writable(input.ConsumeRandomLengthString(64), false);
    const int action = input.ConsumeIntegralInRange(0, 3);
    const std::string text = input.ConsumeRemainingBytesAsString();

    platform::ProfileDocument doc(text);
    Check(doc.Text() == text);
    doc.SectionNames();
    doc.KeyNames(section);
    std::string found;
    doc.Find(section, key, found);

    if (section.empty() || key.empty()) return 0;
    switch (action) {
    case 0:
    case 1: {
        doc.SetValue(section, key, value);
        Check(doc.Find(section, key, found) && found == value);
        platform::ProfileDocument again(doc.Text());
        Check(again.Find(section, key, found) && found == value);
        Check(again.Text() == doc.Text());
        break;
    }
    case 2: {
        doc.DeleteKey(section, key);
        platform::ProfileDocument again(doc.Text());
        Check(again.Text() == doc.Text() && again.SectionNames() == doc.SectionNames());
        break;
    }
    default: {
        doc.ReplaceSection(section, {{key, value}});
        Check(doc.Find(section, key, found) && found == value);
        platform::ProfileDocument again(doc.Text());
        Check(again.Find(section, key, found) && found == value);
        Check(again.KeyNames(section) == doc.KeyNames(section));
        break;
    }
    }
    return 0;
}
