#include "pxl/gl_debug.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t error = 0x824C;
constexpr uint32_t performance = 0x8250;
constexpr uint32_t other = 0x8251;
constexpr uint32_t high = 0x9146;
constexpr uint32_t medium = 0x9147;
constexpr uint32_t low = 0x9148;
constexpr uint32_t notification = 0x826B;

} // namespace

TEST(GlDebug, DropsNotificationsOfTypeOther) {
    EXPECT_EQ(pxl::debugLine(other, notification, "buffer info"), std::nullopt);
}

TEST(GlDebug, PrintsErrorsOfEverySeverityWithTypeAndSeverity) {
    EXPECT_EQ(pxl::debugLine(error, high, "bad enum"), "GL (ERROR:HIGH) bad enum");
    EXPECT_EQ(pxl::debugLine(error, medium, "m"), "GL (ERROR:MEDIUM) m");
    EXPECT_EQ(pxl::debugLine(error, low, "m"), "GL (ERROR:LOW) m");
    EXPECT_EQ(pxl::debugLine(error, notification, "m"), "GL (ERROR:NOTIFICATION) m");
    EXPECT_EQ(pxl::debugLine(error, 1, "m"), "GL (ERROR:) m");
}

TEST(GlDebug, PrintsOtherNotificationsWithTheirTypeOnly) {
    EXPECT_EQ(pxl::debugLine(performance, notification, "slow copy"), "GL (PEROFRMANCE) slow copy");
    EXPECT_EQ(pxl::debugLine(1, notification, "unknown"), "GL () unknown");
}

TEST(GlDebug, DropsEverythingElse) {
    for (const uint32_t severity : {high, medium, low, 1u}) {
        EXPECT_EQ(pxl::debugLine(performance, severity, "m"), std::nullopt);
        EXPECT_EQ(pxl::debugLine(other, severity, "m"), std::nullopt);
    }
}
