// Drives dialogs from a script, one command a line, as a user would with mouse and keyboard.
#pragma once

#include <istream>
#include <ostream>
#include <optional>
#include <string>
#include <vector>

#include "headless/HeadlessUi.h"

class Dialog;
namespace controls {
class Control;
class CListCtrlEx;
}

class ScriptDriver {
public:
    ScriptDriver(HeadlessUi& ui, std::ostream& out);

    // Loads the script; returns false with a message on `error` when it can't be read.
    void SetScript(std::istream& script);
    // Shows the main dialog, runs the script against it and ends it. Returns the exit code:
    // 0 when every expectation held, 1 otherwise.
    int RunMain(Dialog& mainDialog);

    // Splits a script line into words; double quotes hold blanks, \" inside them is a quote.
    static std::vector<std::string> SplitLine(const std::string& line);

private:
    int RunModal(Dialog& dialog);
    // Runs commands until the modal dialog ends, the script ends or a command fails (m_failed).
    void RunCommands(Dialog* modal);
    bool Execute(const std::vector<std::string>& words);
    Dialog* Target();
    bool Fail(const std::string& reason);
    // A hidden or disabled control can't be operated: the script is wrong, the run fails.
    bool Reachable(const std::string& command, const controls::Control& control, const std::string& name);

    bool CmdSelect(const std::vector<std::string>& w);
    bool CmdType(const std::vector<std::string>& w);
    bool CmdCheck(const std::vector<std::string>& w);
    bool CmdClick(const std::vector<std::string>& w);
    bool CmdWindow(const std::vector<std::string>& w);
    bool CmdTree(const std::vector<std::string>& w);
    bool CmdModal(const std::vector<std::string>& w);
    bool CmdWaitLog(const std::vector<std::string>& w);
    bool CmdWaitFor(const std::vector<std::string>& w);
    bool CmdWaitItems(const std::vector<std::string>& w);
    bool CmdLog(const std::vector<std::string>& w);
    bool CmdPrint(const std::vector<std::string>& w);
    void PrintReport(const controls::CListCtrlEx& list);
    bool CmdHotKey(const std::vector<std::string>& w);
    bool CmdRadio(const std::vector<std::string>& w);
    bool CmdDoubleClick(const std::vector<std::string>& w);
    bool CmdExport(const std::vector<std::string>& w);

    HeadlessUi& m_ui;
    std::ostream& m_out;
    std::vector<std::string> m_lines;
    size_t m_next = 0;
    Dialog* m_chosen = nullptr;
    std::optional<std::string> m_boxCaption;  // for the next "box"
    uint64_t m_openedWhenChosen = 0;  // a window opened since then takes over as the target
    std::vector<Dialog*> m_modals;  // the modal dialogs running, innermost last
    bool m_failed = false;
};
