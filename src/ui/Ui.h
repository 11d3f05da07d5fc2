// Everything the dialogs ask of the window toolkit besides their controls. QtUi shows real
// windows; HeadlessUi answers from a script, so the same dialog logic runs in CI.
#pragma once

#include <optional>
#include <string>
#include <vector>

class Dialog;

namespace ui {

// Message box types and answers, with the toolkit's values.
enum : unsigned { MB_OK = 0x0, MB_OKCANCEL = 0x1, MB_YESNO = 0x4, MB_ICONERROR = 0x10, MB_ICONWARNING = 0x30 };
enum : int { IDOK = 1, IDCANCEL = 2, IDYES = 6, IDNO = 7 };

// A window's frame in screen coordinates.
struct WindowRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
};

struct FileBoxRequest {
    bool save = false;
    std::string defaultExtension;
    std::string filter;      // "Ini files (*.ini)|*.ini||"
    std::string initialDir;
    std::string fileName;
    unsigned flags = 0;
};

struct MenuItem {
    int command = 0;         // 0 for a separator
    std::string text;
    bool checked = false;
    bool enabled = true;
};

class Ui {
public:
    virtual ~Ui() = default;

    virtual int MessageBox(const std::string& text, const std::string& caption, unsigned type) = 0;
    // Runs the dialog until it calls EndDialog; returns the end code.
    virtual int RunModal(Dialog& dialog) = 0;
    virtual void ShowModeless(Dialog& dialog) = 0;
    virtual void DestroyWindow(Dialog& dialog) = 0;
    // The frame of the dialog's window; an empty rectangle when it has none.
    virtual WindowRect GetWindowRect(Dialog& dialog) = 0;
    // Moves the window's frame to (x, y), keeping its size; off-screen positions stay as given.
    virtual void MoveWindow(Dialog& dialog, int x, int y) = 0;
    virtual std::optional<std::string> FileBox(const FileBoxRequest& request) = 0;
    // Returns the chosen command, 0 when the menu was dismissed.
    virtual int PopupMenu(Dialog& owner, const std::vector<MenuItem>& items) = 0;
    virtual bool SetTimer(Dialog& dialog, unsigned id, unsigned periodMs) = 0;
    virtual void KillTimer(Dialog& dialog, unsigned id) = 0;
    // Alt + `key` (a lower-case letter) for the dialog, under `id`; one holder per process, so
    // false when any window holds the key already.
    virtual bool RegisterHotKey(Dialog& dialog, int id, char key) = 0;
    virtual void UnregisterHotKey(Dialog& dialog, int id) = 0;
    virtual void SetClipboardText(const std::string& text) = 0;
    virtual void RedrawNow(Dialog& dialog) = 0;
};

}  // namespace ui
