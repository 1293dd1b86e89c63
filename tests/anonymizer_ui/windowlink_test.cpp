#include "windowlink.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/event.h>

#include "support/recording_progress.h"

TEST(WindowLink, HandsOnUntilItIsCut) {
    wxEvtHandler window;
    test::RecordingProgress progress;
    WindowLink link(&window, &progress);
    int queued = 0;
    link.start("title", "message", 3);
    link.update(1, "one");
    link.finish();
    link.queue([&] { ++queued; });
    wxAppConsole::GetInstance()->ProcessPendingEvents();
    const std::vector<std::string> calls = {"start title|message|3", "update 1|one", "finish"};
    EXPECT_EQ(progress.calls(), calls);
    EXPECT_EQ(queued, 1);

    link.cut();
    link.start("title", "message", 3);
    link.update(2, "two");
    link.finish();
    link.queue([&] { ++queued; });
    wxAppConsole::GetInstance()->ProcessPendingEvents();
    EXPECT_EQ(progress.calls(), calls);
    EXPECT_EQ(queued, 1);
}
