#pragma once

#include <string>

#include "controls/CheckBox.h"

namespace controls {

// A check box that belongs to a group of the dialog: choosing it unchecks the others of the group.
class RadioButton : public CheckBox {
public:
    RadioButton(int id, std::string caption, std::string group)
        : CheckBox(id, std::move(caption)), m_group(std::move(group))
    {
    }
    const std::string& Group() const { return m_group; }

private:
    std::string m_group;
};

}  // namespace controls
