#pragma once

#include <string>

#include "controls/ComboBox.h"

namespace controls {

// A combo whose selection may be longer than the box: hovering shows it in full.
class CToolTipComboBox : public ComboBox {
public:
    static constexpr int AUTOPOP_MS = 15000;  // how long the view keeps the tooltip up

    explicit CToolTipComboBox(int id = 0, std::string caption = {}, bool sorted = false, bool hasEdit = true);

    // The text of the current selection, "" with none.
    std::string TooltipText() const;
};

}  // namespace controls

// The class keeps its own name outside the namespace as well.
using controls::CToolTipComboBox;
