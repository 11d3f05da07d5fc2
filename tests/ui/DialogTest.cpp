#include <gtest/gtest.h>

#include <sstream>

#include "controls/Button.h"
#include "headless/HeadlessUi.h"
#include "ui/Dialog.h"

namespace {

// Buttons as (id, caption, has a handler).
struct ButtonRow {
    int id;
    const char* caption;
    bool handled;
};

class ButtonsDialog : public Dialog {
public:
    ButtonsDialog(ui::Ui& ui, std::initializer_list<ButtonRow> rows) : Dialog(ui, 1, "Buttons")
    {
        for (const ButtonRow& row : rows) {
            m_buttons.push_back(std::make_unique<controls::Button>(row.id, row.caption));
            AddControl(*m_buttons.back());
            if (row.handled) On(*m_buttons.back(), controls::Notification::Clicked, [] {});
        }
    }
    std::vector<std::unique_ptr<controls::Button>> m_buttons;
};

TEST(DialogTest, DialogButtonIsTheButtonOfTheCodeElseTheOneOfItsCaption)
{
    std::ostringstream out;
    HeadlessUi ui(out);
    const struct {
        const char* name;
        std::initializer_list<ButtonRow> buttons;
        int okId;      // 0: none
        int cancelId;  // 0: none
    } cases[] = {
        {"ids 1 and 2 whatever their captions", {{1, "&Send", true}, {2, "Close", true}}, 1, 2},
        {"captions without ids", {{1100, "OK", true}, {1101, "&Cancel", true}}, 1100, 1101},
        {"the id before the caption", {{1100, "OK", true}, {1, "Apply", true}}, 1, 0},
        {"a button without a handler does not count", {{1, "OK", false}, {2, "Cancel", true}}, 0, 2},
        {"no such buttons", {{5, "Start", true}}, 0, 0},
    };
    for (const auto& c : cases) {
        ButtonsDialog dialog(ui, c.buttons);
        controls::Button* ok = dialog.DialogButton(ui::IDOK);
        controls::Button* cancel = dialog.DialogButton(ui::IDCANCEL);
        EXPECT_EQ(ok ? ok->Id() : 0, c.okId) << c.name;
        EXPECT_EQ(cancel ? cancel->Id() : 0, c.cancelId) << c.name;
        EXPECT_EQ(dialog.DialogButton(ui::IDYES), nullptr) << c.name;
    }
}

}  // namespace
