#include "ui/Dialog.h"

#include <algorithm>
#include <cctype>

#include "controls/Button.h"
#include "controls/CListCtrlEx.h"

namespace {

std::string Lower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
    return s;
}

bool IsNumber(const std::string& s)
{
    return !s.empty() && std::all_of(s.begin(), s.end(), [](unsigned char c) { return std::isdigit(c); });
}

}  // namespace

Dialog::Dialog(ui::Ui& ui, int templateId, std::string title)
    : m_ui(ui), m_templateId(templateId), m_title(std::move(title))
{
}

Dialog::~Dialog() = default;

controls::Control* Dialog::FindControl(int id) const
{
    for (controls::Control* c : m_controls) {
        if (c->Id() == id) return c;
    }
    return nullptr;
}

controls::Control* Dialog::FindControlByName(const std::string& name) const
{
    for (controls::Control* c : m_controls) {
        if (c->PlainCaption() == name) return c;
    }
    const std::string lower = Lower(name);
    for (controls::Control* c : m_controls) {
        if (Lower(c->PlainCaption()) == lower) return c;
    }
    return IsNumber(name) ? FindControl(std::stoi(name)) : nullptr;
}

void Dialog::AddControl(controls::Control& control)
{
    m_controls.push_back(&control);
    if (auto* list = dynamic_cast<controls::CListCtrlEx*>(&control))
        list->SetClipboardSink([this](const std::string& text) { m_ui.SetClipboardText(text); });
    control.SetNotifier([this](int id, controls::Notification n) { Dispatch(id, n); });
}

void Dialog::On(controls::Control& control, controls::Notification notification, Handler handler)
{
    m_handlers[{control.Id(), notification}] = std::move(handler);
}

bool Dialog::HasHandler(int id, controls::Notification notification) const
{
    return m_handlers.count({id, notification}) != 0;
}

void Dialog::Dispatch(int id, controls::Notification notification)
{
    auto it = m_handlers.find({id, notification});
    if (it != m_handlers.end() && it->second) it->second();
}

controls::Button* Dialog::DialogButton(int code) const
{
    if (code != ui::IDOK && code != ui::IDCANCEL) return nullptr;
    auto* button = dynamic_cast<controls::Button*>(FindControl(code));
    if (!button) button = dynamic_cast<controls::Button*>(FindControlByName(code == ui::IDOK ? "OK" : "Cancel"));
    return button && HasHandler(button->Id(), controls::Notification::Clicked) ? button : nullptr;
}

void Dialog::EndDialog(int code)
{
    std::lock_guard lock(m_mutex);
    m_ended = true;
    m_endCode = code;
}

bool Dialog::IsEnded() const
{
    std::lock_guard lock(m_mutex);
    return m_ended;
}

int Dialog::EndCode() const
{
    std::lock_guard lock(m_mutex);
    return m_endCode;
}

void Dialog::ResetEnd()
{
    std::lock_guard lock(m_mutex);
    m_ended = false;
    m_endCode = 0;
}

std::string Dialog::GetWindowText() const
{
    std::lock_guard lock(m_mutex);
    return m_title;
}

void Dialog::SetWindowText(const std::string& title)
{
    std::function<void(const std::string&)> observer;
    {
        std::lock_guard lock(m_mutex);
        m_title = title;
        observer = m_titleObserver;
    }
    if (observer) observer(title);
}

void Dialog::SetTitleObserver(std::function<void(const std::string&)> observer)
{
    std::lock_guard lock(m_mutex);
    m_titleObserver = std::move(observer);
}
