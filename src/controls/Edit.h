#pragma once

#include "controls/Control.h"

namespace controls {

// A text field. Setting its text fires its change notification synchronously, whoever sets it,
// as the platform's edit control does.
class Edit : public Control {
public:
    using Control::Control;
    std::string GetWindowText() const;
    void SetWindowText(const std::string& text);
    bool IsReadOnly() const;
    void SetReadOnly(bool readOnly);

private:
    std::string m_text;
    bool m_readOnly = false;
};

}  // namespace controls
