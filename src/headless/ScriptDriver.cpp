#include "headless/ScriptDriver.h"

#include <algorithm>
#include <cctype>
#include <utility>
#include <regex>

#include "controls/CListCtrlEx.h"
#include "controls/Button.h"
#include "controls/CCheckComboBox.h"
#include "controls/CheckBox.h"
#include "controls/ComboBox.h"
#include "controls/Edit.h"
#include "controls/ListBox.h"
#include "controls/RadioButton.h"
#include "controls/PrintListCtrl.h"
#include "controls/TreeCtrl.h"
#include "ui/Dialog.h"

namespace {

constexpr int kDefaultWaitLogMs = 5000;

std::string Join(const std::vector<std::string>& words, size_t from)
{
    std::string text;
    for (size_t i = from; i < words.size(); ++i) text += (i > from ? " " : "") + words[i];
    return text;
}

// "\n" in a script's text is a line break.
std::string Unescape(const std::string& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == 'n') {
            out += '\n';
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace

ScriptDriver::ScriptDriver(HeadlessUi& ui, std::ostream& out) : m_ui(ui), m_out(out)
{
    m_ui.SetModalRunner([this](Dialog& dialog) { return RunModal(dialog); });
}

void ScriptDriver::SetScript(std::istream& script)
{
    m_lines.clear();
    m_next = 0;
    for (std::string line; std::getline(script, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        m_lines.push_back(line);
    }
}

std::vector<std::string> ScriptDriver::SplitLine(const std::string& line)
{
    std::vector<std::string> words;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        if (i >= line.size()) break;
        std::string word;
        if (line[i] == '"') {
            for (++i; i < line.size() && line[i] != '"'; ++i) {
                if (line[i] == '\\' && i + 1 < line.size() && line[i + 1] == '"') ++i;
                word += line[i];
            }
            ++i;
        } else {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t') word += line[i++];
        }
        words.push_back(word);
    }
    return words;
}

int ScriptDriver::RunMain(Dialog& mainDialog)
{
    m_ui.PushWindow(mainDialog);
    mainDialog.OnInitDialog();
    RunCommands(nullptr);
    if (!mainDialog.IsEnded()) mainDialog.OnClose();
    m_ui.RemoveWindow(mainDialog);
    m_ui.ForgetDialog(mainDialog);
    if (!m_failed && m_ui.HasPendingBoxExpectation()) Fail("box: an expected message box never showed");
    if (!m_failed && !m_ui.Failure().empty()) Fail(m_ui.Failure());
    return m_failed ? 1 : 0;
}

int ScriptDriver::RunModal(Dialog& dialog)
{
    m_modals.push_back(&dialog);
    // The window chosen before, unless one opened since: it is the target again afterwards.
    Dialog* previous = m_chosen && m_ui.WindowsOpened() == m_openedWhenChosen ? m_chosen : nullptr;
    m_ui.PushWindow(dialog);
    m_chosen = nullptr;
    if (dialog.OnInitDialog() && !dialog.IsEnded()) RunCommands(&dialog);
    if (!dialog.IsEnded()) dialog.EndDialog(ui::IDCANCEL);  // the script ran out
    m_ui.RemoveWindow(dialog);
    m_ui.ForgetDialog(dialog);
    m_chosen = previous;
    m_openedWhenChosen = m_ui.WindowsOpened();
    m_modals.pop_back();
    return dialog.EndCode();
}

void ScriptDriver::RunCommands(Dialog* modal)
{
    while (!m_failed && m_next < m_lines.size()) {
        if (modal && modal->IsEnded()) return;
        const std::string& line = m_lines[m_next++];
        const auto words = SplitLine(line);
        if (words.empty() || words[0][0] == '#') continue;
        if (!Execute(words)) return;
        if (!m_ui.Failure().empty()) {
            Fail(m_ui.Failure());
            return;
        }
        if (modal && modal->IsEnded()) return;
    }
}

Dialog* ScriptDriver::Target()
{
    if (m_chosen && m_ui.WindowsOpened() != m_openedWhenChosen) m_chosen = nullptr;
    const auto windows = m_ui.Windows();
    if (m_chosen && std::find(windows.begin(), windows.end(), m_chosen) != windows.end()) return m_chosen;
    return windows.empty() ? nullptr : windows.back();
}

bool ScriptDriver::Fail(const std::string& reason)
{
    if (!m_failed) m_out << "[fail] line " << m_next << ": " << reason << std::endl;
    m_failed = true;
    return false;
}

bool ScriptDriver::Execute(const std::vector<std::string>& w)
{
    const std::string& cmd = w[0];
    if (cmd == "select") return CmdSelect(w);
    if (cmd == "type") return CmdType(w);
    if (cmd == "check") return CmdCheck(w);
    if (cmd == "click") return CmdClick(w);
    if (cmd == "window") return CmdWindow(w);
    if (cmd == "box") {
        m_ui.ExpectMessageBox(Unescape(Join(w, 1)), std::exchange(m_boxCaption, std::nullopt));
        return true;
    }
    if (cmd == "boxcaption") {
        m_boxCaption = Join(w, 1);
        return true;
    }
    if (cmd == "hotkey") return CmdHotKey(w);
    if (cmd == "radio") return CmdRadio(w);
    if (cmd == "dblclick") return CmdDoubleClick(w);
    if (cmd == "export") return CmdExport(w);
    if (cmd == "file") {
        if (w.size() < 2) return Fail("file: a path or cancel is needed");
        m_ui.QueueFileAnswer(w[1] == "cancel" ? std::nullopt : std::optional<std::string>(Join(w, 1)));
        return true;
    }
    if (cmd == "menu") {
        if (w.size() < 2) return Fail("menu: an item text or id is needed");
        const std::string item = Join(w, 1);
        const bool number = item.find_first_not_of("0123456789") == std::string::npos;
        if (number)
            m_ui.QueueMenuAnswer(std::atoi(item.c_str()));
        else
            m_ui.QueueMenuText(item);
        return true;
    }
    if (cmd == "close") {
        Dialog* target = Target();
        if (!target) return Fail("close: no window is open");
        target->OnClose();
        return true;
    }
    if (cmd == "modal") return CmdModal(w);
    if (cmd == "tree") return CmdTree(w);
    if (cmd == "wait") {
        m_ui.Pump(std::chrono::milliseconds(w.size() > 1 ? std::atoi(w[1].c_str()) : 0));
        return true;
    }
    if (cmd == "waitlog") return CmdWaitLog(w);
    if (cmd == "waitfor") return CmdWaitFor(w);
    if (cmd == "waititems") return CmdWaitItems(w);
    if (cmd == "log") return CmdLog(w);
    if (cmd == "print") return CmdPrint(w);
    return Fail("unknown command \"" + cmd + "\"");
}

namespace {

controls::Control* FindNamed(Dialog* target, const std::string& name)
{
    return target ? target->FindControlByName(name) : nullptr;
}

// Why a user could not operate the control, empty when they could.
std::string Unreachable(const controls::Control& control)
{
    if (!control.IsVisible()) return "is hidden";
    if (!control.IsWindowEnabled()) return "is disabled";
    return {};
}

}  // namespace

bool ScriptDriver::Reachable(const std::string& command, const controls::Control& control, const std::string& name)
{
    const std::string why = Unreachable(control);
    return why.empty() ? true : Fail(command + ": \"" + name + "\" " + why);
}

bool ScriptDriver::CmdSelect(const std::vector<std::string>& w)
{
    if (w.size() < 3) return Fail("select: a control and an item are needed");
    controls::Control* control = FindNamed(Target(), w[1]);
    const std::string item = Join(w, 2);
    if (auto* list = dynamic_cast<controls::ListBox*>(control)) {
        if (!Reachable("select", *list, w[1])) return false;
        const auto lines = list->Strings();
        const auto at = std::find(lines.begin(), lines.end(), item);
        const int index = at == lines.end() ? -1 : static_cast<int>(at - lines.begin());
        if (index < 0) return Fail("select: \"" + w[1] + "\" has no line \"" + item + "\"");
        list->UserSelect(index);
        return true;
    }
    auto* combo = dynamic_cast<controls::ComboBox*>(control);
    if (!combo) return Fail("select: no combo box or list box \"" + w[1] + "\"");
    if (!Reachable("select", *combo, w[1])) return false;
    const auto items = combo->Items();
    for (size_t i = 0; i < items.size(); ++i) {
        if (items[i].text == item) {
            combo->UserFocus();  // a user's click puts the focus in the box first
            combo->UserSelect(static_cast<int>(i));
            return true;
        }
    }
    return Fail("select: \"" + w[1] + "\" has no item \"" + item + "\"");
}

bool ScriptDriver::CmdType(const std::vector<std::string>& w)
{
    if (w.size() < 2) return Fail("type: a control is needed");
    controls::Control* c = FindNamed(Target(), w[1]);
    const std::string text = Join(w, 2);
    if (c && !Reachable("type", *c, w[1])) return false;
    if (auto* edit = dynamic_cast<controls::Edit*>(c)) {
        edit->SetWindowText(text);
        return true;
    }
    if (auto* combo = dynamic_cast<controls::ComboBox*>(c)) {
        combo->UserFocus();
        combo->UserType(text);
        return true;
    }
    return Fail("type: no edit or combo box \"" + w[1] + "\"");
}

bool ScriptDriver::CmdCheck(const std::vector<std::string>& w)
{
    if (w.size() < 3) return Fail("check: a control and on|off are needed");
    auto* box = dynamic_cast<controls::CheckBox*>(FindNamed(Target(), w[1]));
    if (!box) return Fail("check: no check box \"" + w[1] + "\"");
    if (w[2] != "on" && w[2] != "off") return Fail("check: on or off, not \"" + w[2] + "\"");
    if (!Reachable("check", *box, w[1])) return false;
    box->UserSetCheck(w[2] == "on" ? 1 : 0);
    return true;
}

bool ScriptDriver::CmdClick(const std::vector<std::string>& w)
{
    if (w.size() < 2) return Fail("click: a control is needed");
    auto* button = dynamic_cast<controls::Button*>(FindNamed(Target(), Join(w, 1)));
    if (!button) return Fail("click: no button \"" + Join(w, 1) + "\"");
    if (!Reachable("click", *button, Join(w, 1))) return false;
    button->Click();
    return true;
}

namespace {

// "URID-Table / URID=1 / CP_X=0x1" into its texts.
std::vector<std::string> SplitPath(const std::string& path)
{
    std::vector<std::string> texts;
    size_t start = 0;
    for (size_t at; (at = path.find(" / ", start)) != std::string::npos; start = at + 3)
        texts.push_back(path.substr(start, at - start));
    texts.push_back(path.substr(start));
    return texts;
}

}  // namespace

bool ScriptDriver::CmdTree(const std::vector<std::string>& w)
{
    if (w.size() < 4) return Fail("tree: a tree, an action and an item path are needed");
    auto* tree = dynamic_cast<controls::TreeCtrl*>(FindNamed(Target(), w[1]));
    if (!tree) return Fail("tree: no tree \"" + w[1] + "\"");
    if (!Reachable("tree", *tree, w[1])) return false;
    const controls::TreeCtrl::Handle item = tree->FindPath(SplitPath(w[3]));
    if (!item) return Fail("tree: \"" + w[1] + "\" has no item \"" + w[3] + "\"");
    const std::string& action = w[2];
    if (action == "select") {
        tree->UserSelect(item);
    } else if (action == "rclick") {
        tree->UserRightClick(item);
    } else if (action == "edit") {
        if (w.size() < 5) return Fail("tree: edit needs the new text");
        if (tree->UserBeginEdit(item)) tree->UserEndEdit(Join(w, 4));
    } else {
        return Fail("tree: select, edit or rclick, not \"" + action + "\"");
    }
    return true;
}

bool ScriptDriver::CmdWindow(const std::vector<std::string>& w)
{
    const std::string part = Join(w, 1);
    for (Dialog* d : m_ui.Windows()) {
        if (d->GetWindowText().find(part) != std::string::npos) {
            m_chosen = d;
            m_openedWhenChosen = m_ui.WindowsOpened();
            return true;
        }
    }
    return Fail("window: no open window titled with \"" + part + "\"");
}

bool ScriptDriver::CmdModal(const std::vector<std::string>& w)
{
    if (m_modals.empty()) return Fail("modal: no modal dialog is open");
    Dialog* modal = m_modals.back();
    const bool ok = w.size() > 1 && w[1] == "ok";
    // A dialog's own OK or Cancel button runs its checks; without one the dialog just ends.
    if (controls::Button* button = modal->DialogButton(ok ? ui::IDOK : ui::IDCANCEL))
        button->Click();
    else
        modal->EndDialog(ok ? ui::IDOK : ui::IDCANCEL);
    return true;
}

bool ScriptDriver::CmdWaitLog(const std::vector<std::string>& w)
{
    if (w.size() < 2) return Fail("waitlog: a pattern is needed");
    const int ms = w.size() > 2 ? std::atoi(w[2].c_str()) : kDefaultWaitLogMs;
    Dialog* target = Target();
    controls::PrintListCtrl* log = target ? target->LogList() : nullptr;
    if (!log) return Fail("waitlog: the window has no log");
    std::regex pattern;
    try {
        pattern = std::regex(w[1]);
    } catch (const std::regex_error&) {
        return Fail("waitlog: bad pattern \"" + w[1] + "\"");
    }
    const auto matches = [&] {
        for (const std::string& row : log->Rows()) {
            if (std::regex_search(row, pattern)) return true;
        }
        return false;
    };
    m_ui.Pump(std::chrono::milliseconds(ms), matches);
    return matches() ? true : Fail("waitlog: no row matching \"" + w[1] + "\" within " + std::to_string(ms) + " ms");
}

namespace {

// What "print" shows of a control, without its name.
std::string ValueOf(const controls::Control& c)
{
    if (auto* combo = dynamic_cast<const controls::ComboBox*>(&c)) {
        const int sel = combo->GetCurSel();
        return sel >= 0 ? combo->GetLBText(sel) : combo->GetWindowText();
    }
    if (auto* edit = dynamic_cast<const controls::Edit*>(&c)) return edit->GetWindowText();
    if (auto* list = dynamic_cast<const controls::ListBox*>(&c)) return list->GetText(list->GetCurSel());
    if (auto* box = dynamic_cast<const controls::CheckBox*>(&c)) return std::to_string(box->GetCheck());
    return {};
}

}  // namespace

bool ScriptDriver::CmdWaitFor(const std::vector<std::string>& w)
{
    if (w.size() < 3) return Fail("waitfor: a control and a value are needed");
    const int ms = w.size() > 3 ? std::atoi(w[3].c_str()) : kDefaultWaitLogMs;
    controls::Control* c = FindNamed(Target(), w[1]);
    if (!c) return Fail("waitfor: no control \"" + w[1] + "\"");
    const auto reached = [&] { return ValueOf(*c) == w[2]; };
    m_ui.Pump(std::chrono::milliseconds(ms), reached);
    return reached() ? true
                     : Fail("waitfor: \"" + w[1] + "\" shows \"" + ValueOf(*c) + "\", not \"" + w[2] + "\" within " +
                            std::to_string(ms) + " ms");
}

bool ScriptDriver::CmdWaitItems(const std::vector<std::string>& w)
{
    if (w.size() < 3) return Fail("waititems: a combo box and a count are needed");
    const int ms = w.size() > 3 ? std::atoi(w[3].c_str()) : kDefaultWaitLogMs;
    auto* combo = dynamic_cast<controls::ComboBox*>(FindNamed(Target(), w[1]));
    if (!combo) return Fail("waititems: no combo box \"" + w[1] + "\"");
    const int count = std::atoi(w[2].c_str());
    const auto reached = [&] { return combo->GetCount() == count; };
    m_ui.Pump(std::chrono::milliseconds(ms), reached);
    return reached() ? true
                     : Fail("waititems: \"" + w[1] + "\" has " + std::to_string(combo->GetCount()) + " items, not " +
                            w[2] + " within " + std::to_string(ms) + " ms");
}

bool ScriptDriver::CmdLog(const std::vector<std::string>& w)
{
    Dialog* target = Target();
    controls::PrintListCtrl* log = target ? target->LogList() : nullptr;
    if (!log) return Fail("log: the window has no log");
    std::regex pattern;
    try {
        if (w.size() > 1) pattern = std::regex(w[1]);
    } catch (const std::regex_error&) {
        return Fail("log: bad pattern \"" + w[1] + "\"");
    }
    for (const std::string& row : log->Rows()) {
        if (w.size() < 2 || std::regex_search(row, pattern)) m_out << row << "\n";
    }
    m_out.flush();
    return true;
}

void ScriptDriver::PrintReport(const controls::CListCtrlEx& list)
{
    m_out << "\n";
    const auto columns = list.Columns();
    for (size_t i = 0; i < columns.size(); ++i) m_out << (i ? "\t" : "") << columns[i].heading;
    m_out << "\n";
    const int cells = std::max<int>(1, static_cast<int>(columns.size()));
    for (int row = 0; row < list.GetItemCount(); ++row) {
        for (int col = 0; col < cells; ++col) m_out << (col ? "\t" : "") << list.GetItemText(row, col);
        m_out << "\n";
    }
}

bool ScriptDriver::CmdHotKey(const std::vector<std::string>& w)
{
    const std::string key = w.size() > 1 ? w[1] : "";
    if (key.size() != 5 || key.compare(0, 4, "alt+") != 0 || !std::islower(static_cast<unsigned char>(key[4])))
        return Fail("hotkey: alt+<letter> is needed");
    return m_ui.PressHotKey(key[4]) ? true : Fail("hotkey: no window registered " + key);
}

// "export <path> candump|asc": the list's context menu command of that format, the file box
// answered with the path.
bool ScriptDriver::CmdExport(const std::vector<std::string>& w)
{
    if (w.size() != 3) return Fail("export: a path and a format (candump or asc) are needed");
    std::string format = w[2];
    if (format != "candump" && format != "asc") return Fail("export: the format is candump or asc");
    Dialog* target = Target();
    if (!target) return Fail("export: no window is open");
    for (controls::Control* control : target->Controls()) {
        auto* list = dynamic_cast<controls::CListCtrlEx*>(control);
        if (!list) continue;
        for (const auto& item : list->ContextMenuItems()) {
            std::string text = item.text;
            std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
            if (text.find(format) == std::string::npos) continue;
            m_ui.QueueFileAnswer(w[1]);
            list->OnCommand(item.id);
            return true;
        }
    }
    return Fail("export: the window has no list that saves " + format);
}

bool ScriptDriver::CmdRadio(const std::vector<std::string>& w)
{
    if (w.size() < 2) return Fail("radio: a control is needed");
    Dialog* target = Target();
    auto* radio = dynamic_cast<controls::RadioButton*>(FindNamed(target, Join(w, 1)));
    if (!radio) return Fail("radio: no radio button \"" + Join(w, 1) + "\"");
    if (!Reachable("radio", *radio, Join(w, 1))) return false;
    for (controls::Control* c : target->Controls()) {
        auto* other = dynamic_cast<controls::RadioButton*>(c);
        if (other && other != radio && other->Group() == radio->Group()) other->SetCheck(0);
    }
    radio->UserSetCheck(1);
    return true;
}

bool ScriptDriver::CmdDoubleClick(const std::vector<std::string>& w)
{
    if (w.size() < 3) return Fail("dblclick: a list box and a line are needed");
    auto* list = dynamic_cast<controls::ListBox*>(FindNamed(Target(), w[1]));
    if (!list) return Fail("dblclick: no list box \"" + w[1] + "\"");
    if (!Reachable("dblclick", *list, w[1])) return false;
    const int line = list->FindStringExact(-1, Join(w, 2));
    if (line < 0) return Fail("dblclick: \"" + w[1] + "\" has no line \"" + Join(w, 2) + "\"");
    list->UserDoubleClick(line);
    return true;
}

bool ScriptDriver::CmdPrint(const std::vector<std::string>& w)
{
    if (w.size() < 2) return Fail("print: a control is needed");
    const bool items = w.size() > 2 && w.back() == "items";
    const std::string name = items ? Join(std::vector<std::string>(w.begin(), w.end() - 1), 1) : Join(w, 1);
    Dialog* target = Target();
    if (name == "title" && target) {
        m_out << "[title] " << target->GetWindowText() << std::endl;
        return true;
    }
    controls::Control* c = FindNamed(target, name);
    if (!c) return Fail("print: no control \"" + name + "\"");
    m_out << "[" << name << "]";
    if (auto* combo = dynamic_cast<controls::ComboBox*>(c)) {
        if (items) {
            m_out << "\n";
            auto* check = dynamic_cast<controls::CCheckComboBox*>(c);
            const auto all = combo->Items();
            for (size_t i = 0; i < all.size(); ++i)
                m_out << (check && check->GetCheck(static_cast<int>(i)) ? "[x] " : "") << all[i].text << "\n";
        } else {
            const int sel = combo->GetCurSel();
            m_out << " " << (sel >= 0 ? combo->GetLBText(sel) : combo->GetWindowText()) << "\n";
        }
    } else if (auto* list = dynamic_cast<controls::ListBox*>(c)) {
        if (items) {
            m_out << "\n";
            for (const std::string& line : list->Strings()) m_out << line << "\n";
        } else {
            m_out << " " << ValueOf(*c) << "\n";
        }
    } else if (auto* edit = dynamic_cast<controls::Edit*>(c)) {
        m_out << " " << edit->GetWindowText() << "\n";
    } else if (auto* tree = dynamic_cast<controls::TreeCtrl*>(c)) {
        m_out << "\n";
        for (const auto& node : tree->Snapshot()) m_out << std::string(2 * node.level, ' ') << node.text << "\n";
    } else if (auto* box = dynamic_cast<controls::CheckBox*>(c)) {
        m_out << " " << box->GetCheck() << "\n";
    } else if (auto* report = dynamic_cast<controls::CListCtrlEx*>(c)) {
        PrintReport(*report);
    } else {
        m_out << " visible=" << c->IsVisible() << " enabled=" << c->IsWindowEnabled() << "\n";
    }
    m_out.flush();
    return true;
}
