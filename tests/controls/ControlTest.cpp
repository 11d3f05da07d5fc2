#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "controls/Button.h"
#include "controls/CheckBox.h"
#include "controls/Edit.h"
#include "controls/Static.h"

using controls::Notification;

namespace {

struct Recorder {
    std::vector<std::pair<int, Notification>> seen;
    controls::Control::Notifier Notifier() {
        return [this](int id, Notification n) { seen.emplace_back(id, n); };
    }
};

TEST(Control, PlainCaptionDropsMnemonicMarkers) {
    const std::pair<const char*, const char*> cases[] = {
        {"&Unload", "Unload"}, {"Clear Lo&g", "Clear Log"}, {"A && B", "A & B"},
        {"trailing&", "trailing"}, {"", ""}, {"no marker", "no marker"},
    };
    for (const auto& [caption, plain] : cases)
        EXPECT_EQ(controls::Static(1, caption).PlainCaption(), plain) << caption;
}

// Workers set captions while the UI thread reads them.
TEST(Control, CaptionReadsWhileAnotherThreadSetsIt) {
    const std::string a(64, 'a');
    const std::string b = "&" + std::string(80, 'b');
    controls::Static label(1, a);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 2000; ++i)
            label.SetCaption(i % 2 ? a : b);
        done = true;
    });
    while (!done) {
        const std::string caption = label.Caption();
        ASSERT_TRUE(caption == a || caption == b) << caption;
        const std::string plain = label.PlainCaption();
        ASSERT_TRUE(plain == a || plain == b.substr(1)) << plain;
    }
    writer.join();
}

TEST(Control, RemovedObserverIsNotCalled) {
    controls::Static label(1, "x");
    int calls = 0;
    int token = label.AddObserver([&](const controls::Control&) { ++calls; });
    label.ShowWindow(false);
    label.RemoveObserver(token);
    label.EnableWindow(false);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(label.IsVisible());
    EXPECT_FALSE(label.IsWindowEnabled());
}

TEST(Edit, ProgramTextChangeNotifiesSynchronously) {
    controls::Edit edit(1001, "Label");
    std::string textSeenByHandler;
    int calls = 0;
    edit.SetNotifier([&](int id, Notification n) {
        EXPECT_EQ(id, 1001);
        EXPECT_EQ(n, Notification::Change);
        textSeenByHandler = edit.GetWindowText();
        ++calls;
    });
    edit.SetWindowText("0x40");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(textSeenByHandler, "0x40");
    edit.SetWindowText("0x40");  // the same text reports again, as the platform's edit does
    EXPECT_EQ(calls, 2);
}

TEST(Button, PressReachesTheDialogOnlyWhenUsable) {
    const struct {
        bool visible, enabled;
        size_t notifications;
    } cases[] = {{true, true, 1}, {false, true, 0}, {true, false, 0}};
    for (const auto& c : cases) {
        controls::Button button(7, "&Parse MDF File");
        Recorder recorder;
        button.SetNotifier(recorder.Notifier());
        button.ShowWindow(c.visible);
        button.EnableWindow(c.enabled);
        button.Click();
        EXPECT_EQ(recorder.seen.size(), c.notifications);
    }
}

TEST(CheckBox, ProgramSetIsSilentUserSetNotifies) {
    controls::CheckBox box(3, "TempPar");
    Recorder recorder;
    int stateInHandler = -1;
    box.SetNotifier([&](int id, Notification n) {
        recorder.seen.emplace_back(id, n);
        stateInHandler = box.GetCheck();
    });
    box.SetCheck(1);
    EXPECT_TRUE(recorder.seen.empty());
    EXPECT_EQ(box.GetCheck(), 1);
    box.UserSetCheck(0x9);  // focus bits stay in the word
    ASSERT_EQ(recorder.seen.size(), 1u);
    EXPECT_EQ(recorder.seen[0].second, Notification::Clicked);
    EXPECT_EQ(stateInHandler, 0x9);
}

}  // namespace
