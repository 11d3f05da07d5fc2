#include "controls/TreeCtrl.h"

#include <algorithm>

namespace controls {

namespace {
const std::vector<TreeCtrl::Handle> kNoChildren;
}

const std::vector<TreeCtrl::Handle>& TreeCtrl::ChildrenOf(Handle item) const
{
    if (item == kRoot) return m_top;
    const auto it = m_items.find(item);
    return it == m_items.end() ? kNoChildren : it->second.children;
}

TreeCtrl::Handle TreeCtrl::InsertItem(const std::string& text, Handle parent, Handle after)
{
    Handle handle = 0;
    {
        std::lock_guard lock(Mutex());
        if (!Known(parent)) return 0;
        handle = m_next++;
        m_items[handle] = Item{text, 0, parent, {}, false};
        auto& siblings = parent == kRoot ? m_top : m_items[parent].children;
        const auto at = std::find(siblings.begin(), siblings.end(), after);
        siblings.insert(at == siblings.end() ? siblings.end() : at + 1, handle);
    }
    Changed();
    return handle;
}

void TreeCtrl::Erase(Handle item)
{
    const auto it = m_items.find(item);
    if (it == m_items.end()) return;
    for (Handle child : std::vector<Handle>(it->second.children)) Erase(child);
    if (m_selected == item) m_selected = 0;
    if (m_editItem == item) m_editItem = 0;
    if (m_hitItem == item) m_hitItem = 0;
    m_items.erase(item);
}

bool TreeCtrl::DeleteItem(Handle item)
{
    {
        std::lock_guard lock(Mutex());
        if (!Known(item)) return false;
        if (item == kRoot) {
            m_items.clear();
            m_top.clear();
            m_selected = m_editItem = m_hitItem = 0;
        } else {
            const Handle parent = m_items[item].parent;
            auto& siblings = parent == kRoot ? m_top : m_items[parent].children;
            siblings.erase(std::remove(siblings.begin(), siblings.end(), item), siblings.end());
            Erase(item);
        }
    }
    Changed();
    return true;
}

std::string TreeCtrl::GetItemText(Handle item) const
{
    std::lock_guard lock(Mutex());
    const auto it = m_items.find(item);
    return it == m_items.end() ? std::string() : it->second.text;
}

bool TreeCtrl::SetItemText(Handle item, const std::string& text)
{
    {
        std::lock_guard lock(Mutex());
        const auto it = m_items.find(item);
        if (it == m_items.end()) return false;
        it->second.text = text;
    }
    Changed();
    return true;
}

uintptr_t TreeCtrl::GetItemData(Handle item) const
{
    std::lock_guard lock(Mutex());
    const auto it = m_items.find(item);
    return it == m_items.end() ? 0 : it->second.data;
}

bool TreeCtrl::SetItemData(Handle item, uintptr_t data)
{
    std::lock_guard lock(Mutex());
    const auto it = m_items.find(item);
    if (it == m_items.end()) return false;
    it->second.data = data;
    return true;
}

TreeCtrl::Handle TreeCtrl::GetChildItem(Handle item) const
{
    std::lock_guard lock(Mutex());
    const auto& children = ChildrenOf(item);
    return children.empty() ? 0 : children.front();
}

TreeCtrl::Handle TreeCtrl::GetNextSiblingItem(Handle item) const
{
    std::lock_guard lock(Mutex());
    const auto it = m_items.find(item);
    if (it == m_items.end()) return 0;
    const auto& siblings = ChildrenOf(it->second.parent);
    const auto at = std::find(siblings.begin(), siblings.end(), item);
    return at == siblings.end() || at + 1 == siblings.end() ? 0 : *(at + 1);
}

TreeCtrl::Handle TreeCtrl::GetParentItem(Handle item) const
{
    std::lock_guard lock(Mutex());
    const auto it = m_items.find(item);
    return it == m_items.end() ? 0 : it->second.parent;
}

std::vector<TreeCtrl::Handle> TreeCtrl::Children(Handle item) const
{
    std::lock_guard lock(Mutex());
    return ChildrenOf(item);
}

bool TreeCtrl::Expand(Handle item)
{
    {
        std::lock_guard lock(Mutex());
        const auto it = m_items.find(item);
        if (it == m_items.end()) return false;
        it->second.expanded = true;
    }
    Changed();
    return true;
}

bool TreeCtrl::IsExpanded(Handle item) const
{
    std::lock_guard lock(Mutex());
    const auto it = m_items.find(item);
    return it != m_items.end() && it->second.expanded;
}

TreeCtrl::Handle TreeCtrl::GetSelectedItem() const
{
    std::lock_guard lock(Mutex());
    return m_selected;
}

bool TreeCtrl::SelectItem(Handle item)
{
    {
        std::lock_guard lock(Mutex());
        if (item != 0 && !m_items.count(item)) return false;
        m_selected = item;
    }
    Changed();
    return true;
}

TreeCtrl::Handle TreeCtrl::GetEditItem() const
{
    std::lock_guard lock(Mutex());
    return m_editItem;
}

std::string TreeCtrl::GetEditText() const
{
    std::lock_guard lock(Mutex());
    return m_editText;
}

void TreeCtrl::SetEditText(const std::string& text)
{
    std::lock_guard lock(Mutex());
    m_editText = text;
}

TreeCtrl::Handle TreeCtrl::GetHitItem() const
{
    std::lock_guard lock(Mutex());
    return m_hitItem;
}

void TreeCtrl::UserSelect(Handle item)
{
    if (SelectItem(item)) Notify(Notification::SelChange);
}

bool TreeCtrl::UserBeginEdit(Handle item)
{
    {
        std::lock_guard lock(Mutex());
        if (!m_items.count(item)) return false;
        m_editItem = item;
        m_editText = m_items[item].text;
    }
    Notify(Notification::BeginLabelEdit);
    return true;
}

void TreeCtrl::UserEndEdit(const std::string& text)
{
    {
        std::lock_guard lock(Mutex());
        if (!m_editItem) return;
        m_editText = text;
    }
    Notify(Notification::EndLabelEdit);
    std::lock_guard lock(Mutex());
    m_editItem = 0;
}

void TreeCtrl::UserRightClick(Handle item)
{
    {
        std::lock_guard lock(Mutex());
        m_hitItem = m_items.count(item) ? item : 0;
        if (m_hitItem) m_selected = m_hitItem;
    }
    Changed();
    Notify(Notification::ContextMenu);
}

void TreeCtrl::AddNodes(Handle parent, int level, std::vector<Node>& out) const
{
    for (Handle h : ChildrenOf(parent)) {
        const Item& item = m_items.at(h);
        out.push_back(Node{h, level, item.text, item.expanded});
        AddNodes(h, level + 1, out);
    }
}

std::vector<TreeCtrl::Node> TreeCtrl::Snapshot() const
{
    std::lock_guard lock(Mutex());
    std::vector<Node> nodes;
    AddNodes(kRoot, 0, nodes);
    return nodes;
}

TreeCtrl::Handle TreeCtrl::FindPath(const std::vector<std::string>& texts) const
{
    std::lock_guard lock(Mutex());
    Handle at = kRoot;
    for (const std::string& text : texts) {
        const auto& children = ChildrenOf(at);
        const auto hit = std::find_if(children.begin(), children.end(),
                                      [&](Handle h) { return m_items.at(h).text == text; });
        if (hit == children.end()) return 0;
        at = *hit;
    }
    return at == kRoot ? 0 : at;
}

}  // namespace controls
