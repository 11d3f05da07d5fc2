#include "editors/EditorFiles.h"

#include <cstring>

#include "editors/EditorOwner.h"
#include "platform/ProfileFile.h"
#include "ui/Ui.h"

namespace editors {

std::optional<std::string> AskIniFile(ui::Ui& ui, EditorOwner* owner, bool save, const char* filter)
{
    ui::FileBoxRequest request;
    request.save = save;
    request.defaultExtension = ".ini";
    request.filter = filter;
    if (owner) request.initialDir = owner->InitialFolder();
    std::optional<std::string> path = ui.FileBox(request);
    if (owner && path) owner->RememberPath(*path);
    return path;
}

std::vector<std::string> ReadNames(const std::string& path, const char* section)
{
    std::vector<char> buffer(kIniBufferSize);
    platform::ProfileFile::GetString(path, section, nullptr, "", buffer.data(), kIniBufferSize);
    std::vector<std::string> names;
    for (const char* name = buffer.data(); *name; name += std::strlen(name) + 1) names.emplace_back(name);
    return names;
}

std::string ReadValue(const std::string& path, const std::string& section, const std::string& key)
{
    return platform::ProfileFile::GetString(path, section, key, "DEFAULT", kIniBufferSize);
}

std::string WithoutBlanks(const std::string& text)
{
    std::string out;
    for (char c : text)
        if (c != ' ' && c != '\t') out += c;
    return out;
}

}  // namespace editors
