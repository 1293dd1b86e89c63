#include "commands.h"

#include <set>

#include <gtest/gtest.h>

#include "switches.h"

using commands::choiceOf;
using commands::Setting;

TEST(Commands, PreblurItemsChooseTheirSeconds) {
    for (int seconds = 1; seconds <= 5; ++seconds) {
        const int id = 6009 + seconds;
        EXPECT_EQ(choiceOf(id).setting, Setting::PreblurSeconds) << id;
        EXPECT_EQ(choiceOf(id).value, seconds) << id;
        EXPECT_EQ(commands::preblurItem(seconds), id);
    }
}

TEST(Commands, SecondsOutsideTheMenuHaveNoItem) {
    for (const int seconds : {-1, 0, 6, 100})
        EXPECT_FALSE(commands::preblurItem(seconds)) << seconds;
}

TEST(Commands, ThresholdItemsChooseTheirPercentage) {
    for (int percent = 10; percent <= 90; percent += 10) {
        const int id = 6016 + percent;
        EXPECT_EQ(choiceOf(id).setting, Setting::Threshold) << id;
        EXPECT_EQ(choiceOf(id).value, percent) << id;
        EXPECT_EQ(commands::thresholdItem(percent), id);
    }
}

TEST(Commands, PercentagesOutsideTheMenuHaveNoItem) {
    for (const int percent : {0, 5, 55, 100, -10})
        EXPECT_FALSE(commands::thresholdItem(percent)) << percent;
}

TEST(Commands, ModeAndSpeedItemsChooseTheirValues) {
    EXPECT_EQ(choiceOf(6107).setting, Setting::EditingMode);
    EXPECT_EQ(choiceOf(6107).value, switches::kBlurMode);
    EXPECT_EQ(choiceOf(6108).setting, Setting::EditingMode);
    EXPECT_EQ(choiceOf(6108).value, switches::kUnblurMode);
    EXPECT_EQ(choiceOf(6109).setting, Setting::PlaybackSpeed);
    EXPECT_EQ(choiceOf(6109).value, 1);
    EXPECT_EQ(choiceOf(6110).setting, Setting::PlaybackSpeed);
    EXPECT_EQ(choiceOf(6110).value, 4);
    EXPECT_EQ(commands::modeItem(switches::kBlurMode), 6107);
    EXPECT_EQ(commands::modeItem(switches::kUnblurMode), 6108);
    EXPECT_EQ(commands::speedItem(1), 6109);
    EXPECT_EQ(commands::speedItem(4), 6110);
    EXPECT_FALSE(commands::speedItem(2));
}

TEST(Commands, EveryOtherNumberChoosesNothing) {
    std::set<int> choosing;
    for (int id = 5900; id <= 6200; ++id)
        if (choiceOf(id).setting != Setting::None)
            choosing.insert(id);
    EXPECT_EQ(choosing, (std::set<int>{6010, 6011, 6012, 6013, 6014, 6026, 6036, 6046, 6056, 6066, 6076, 6086,
                                       6096, 6106, 6107, 6108, 6109, 6110}));
}
