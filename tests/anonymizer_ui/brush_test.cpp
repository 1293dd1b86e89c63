#include "brush.h"

#include <gtest/gtest.h>

namespace {

using view::Rect;

void expectRect(const Rect& rect, int x, int y, int w, int h) {
    EXPECT_EQ(rect.x, x);
    EXPECT_EQ(rect.y, y);
    EXPECT_EQ(rect.w, w);
    EXPECT_EQ(rect.h, h);
}

TEST(Brush, WheelStepIs16WhateverTheRotation) {
    EXPECT_EQ(brush::sizeAfterWheel(64, 120, {640, 480}), 80);
    EXPECT_EQ(brush::sizeAfterWheel(64, 1, {640, 480}), 80);
    EXPECT_EQ(brush::sizeAfterWheel(64, -1200, {640, 480}), 48);
    EXPECT_EQ(brush::sizeAfterWheel(64, 0, {640, 480}), 64);
}

TEST(Brush, StaysBetween16AndTheShorterSideLess16) {
    EXPECT_EQ(brush::sizeAfterWheel(24, 120, {40, 40}), 24);
    EXPECT_EQ(brush::sizeAfterWheel(24, -120, {40, 40}), 16);
    EXPECT_EQ(brush::sizeAfterWheel(16, -120, {640, 480}), 16);
    EXPECT_EQ(brush::sizeAfterWheel(460, 120, {640, 480}), 464);
}

TEST(Brush, UpperBoundIsTestedFirst) {
    EXPECT_EQ(brush::sizeAfterWheel(2, 120, {20, 20}), 4);
    EXPECT_EQ(brush::sizeAfterWheel(32, -120, {20, 20}), 4);
    EXPECT_EQ(brush::sizeAfterWheel(32, 0, {20, 20}), 4);
    EXPECT_EQ(brush::sizeAfterWheel(4, -120, {20, 20}), 16);
}

TEST(Brush, SquareIsCentredWithIntegerHalves) {
    expectRect(brush::square({100, 50}, 32, {640, 480}), 84, 34, 32, 32);
    expectRect(brush::square({100, 50}, 33, {640, 480}), 84, 34, 33, 33);
}

TEST(Brush, SquareIsMovedIntoTheFrame) {
    expectRect(brush::square({0, 0}, 32, {640, 480}), 0, 0, 32, 32);
    expectRect(brush::square({639, 480}, 32, {640, 480}), 608, 448, 32, 32);
}

TEST(Brush, SquareLargerThanTheFrameBeginsAtItsCornerAndStaysASquare) {
    expectRect(brush::square({5, 5}, 32, {20, 10}), 0, 0, 32, 32);
    expectRect(brush::square({0, 0}, 32, {1, 1}), 0, 0, 32, 32);
    expectRect(brush::square({4000, 3}, 32, {8192, 16}), 3984, 0, 32, 32);
}

TEST(Brush, NothingComesOfNoBrushOrNoFrame) {
    EXPECT_TRUE(brush::square({5, 5}, 0, {20, 20}).empty());
    EXPECT_TRUE(brush::square({5, 5}, -6, {10, 10}).empty());
    EXPECT_TRUE(brush::square({5, 5}, 32, {0, 20}).empty());
    EXPECT_TRUE(brush::square({5, 5}, 32, {20, 0}).empty());
}

TEST(Brush, SquaringTheCentreOfASquareGivesTheSameSquare) {
    for (const int size : {1, 2, 15, 16, 33})
        for (int x = 0; x < 60; x += 7) {
            const Rect rect = brush::square({x, 2 * x}, size, {100, 120});
            const Rect again = brush::square(brush::centreOf(rect), size, {100, 120});
            expectRect(again, rect.x, rect.y, rect.w, rect.h);
        }
}

} // namespace
