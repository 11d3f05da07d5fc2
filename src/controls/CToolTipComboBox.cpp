#include "controls/CToolTipComboBox.h"

namespace controls {

CToolTipComboBox::CToolTipComboBox(int id, std::string caption, bool sorted, bool hasEdit)
    : ComboBox(id, std::move(caption), sorted, hasEdit) {}

std::string CToolTipComboBox::TooltipText() const {
    return GetLBText(GetCurSel());
}

}  // namespace controls
