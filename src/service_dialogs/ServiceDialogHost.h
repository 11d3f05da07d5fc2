// What the service dialogs of the main window need of it: its module list and the close
// operation that takes a dialog's window down and deletes the dialog.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Dialog;

class ServiceDialogHost {
public:
    // Whether a library is bound: before one is, and after it is freed, nothing may call it.
    virtual bool IsLibraryLoaded() const = 0;
    // The lines of the main window's module combo, and the one selected there (-1: none).
    virtual std::vector<std::string> ModuleNames() = 0;
    virtual int SelectedModuleIndex() = 0;
    // PDU_HANDLE_UNDEF when no module of the library carries that name.
    virtual uint32_t GetModuleHandleByName(const std::string& name) = 0;
    // Takes the window down and forgets the dialog's pointer; the dialog itself is deleted once
    // the handler that asked has returned.
    virtual void OnServiceDialogClosed(Dialog& dialog) = 0;

protected:
    ~ServiceDialogHost() = default;
};
