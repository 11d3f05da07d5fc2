// What both editors do with their ini files and file boxes.
#pragma once

#include <optional>
#include <string>
#include <vector>

class EditorOwner;

namespace ui {
class Ui;
}

namespace editors {

// Lists and values are read through buffers of this size; longer ones arrive cut.
constexpr unsigned kIniBufferSize = 65536;

// A file box for ini files ("ComParam|*.ini||"), starting in the owner's folder; the answer is
// handed to the owner, which keeps its folder for the next box and for the settings file.
std::optional<std::string> AskIniFile(ui::Ui& ui, EditorOwner* owner, bool save, const char* filter);

// The section names of the file (section null) or the keys of a section.
std::vector<std::string> ReadNames(const std::string& path, const char* section);
std::string ReadValue(const std::string& path, const std::string& section, const std::string& key);

std::string WithoutBlanks(const std::string& text);

}  // namespace editors
