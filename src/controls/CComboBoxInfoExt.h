#pragma once

#include <any>
#include <memory>
#include <string>

#include "controls/CToolTipComboBox.h"

namespace controls {

// A tooltip combo that keeps a shared record beside every line; the record moves with its line.
template <typename T>
class CComboBoxInfoExt : public CToolTipComboBox {
public:
    using CToolTipComboBox::CToolTipComboBox;

    int AddItem(const std::string& text, std::shared_ptr<T> info) {
        int index = AddString(text);
        SetItemAttachment(index, std::move(info));
        return index;
    }

    // Null for a bad index or a line added without a record.
    std::shared_ptr<T> GetInfo(int index) const {
        std::any value = GetItemAttachment(index);
        auto* info = std::any_cast<std::shared_ptr<T>>(&value);
        return info ? *info : nullptr;
    }
};

}  // namespace controls

// The template keeps its own name outside the namespace as well.
using controls::CComboBoxInfoExt;
