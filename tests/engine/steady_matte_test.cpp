// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/steady_matte.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace kalvio::engine::testing {
namespace {

constexpr float frame_s = 1.0F / 30;

// A person who covers so many of the middle columns from top to bottom; 0: nobody.
std::vector<float> person(int covered_columns)
{
	std::vector<float> matte(SteadyMatte::cell_count, 0.0F);
	for (int y = 0; y < SteadyMatte::rows; ++y)
		std::fill_n(matte.begin() + y * SteadyMatte::columns + 100, covered_columns, 1.0F);
	return matte;
}

class SteadyMatteTest : public ::testing::Test {
protected:
	// What the middle of the person is after a frame.
	float shown(const std::vector<float> &matte, float seconds = frame_s)
	{
		steady->update(matte, seconds);
		return steady->matte().row(72)[100];
	}

	std::unique_ptr<SteadyMatte> steady = std::make_unique<SteadyMatte>();
};

TEST_F(SteadyMatteTest, TheFirstFrameIsTakenAtOnce)
{
	EXPECT_EQ(shown(person(60)), 1);
	steady->restart();
	EXPECT_EQ(shown(person(0)), 0);
	steady->restart();
	EXPECT_EQ(shown(person(60)), 1);
}

TEST_F(SteadyMatteTest, NoiseOfAStillPersonIsAveraged)
{
	// A cell at the edge that hesitates by a twentieth.
	std::vector<float> matte = person(60);
	float lowest = 1;
	float highest = 0;
	for (int frame = 0; frame < 60; ++frame) {
		matte[72 * SteadyMatte::columns + 100] = 0.45F + (frame % 2 == 0 ? 0.05F : -0.05F);
		const float now = shown(matte);
		if (frame >= 20) {
			lowest = std::min(lowest, now);
			highest = std::max(highest, now);
		}
	}
	EXPECT_GT(highest, lowest);
	EXPECT_LT(highest - lowest, 0.06F); // 0.18 as it came
}

TEST_F(SteadyMatteTest, MotionIsFollowedWithinTheFrame)
{
	std::vector<float> matte = person(60);
	shown(matte);
	for (int y = 0; y < SteadyMatte::rows; ++y)
		matte[size_t(y) * SteadyMatte::columns + 100] = 0;
	EXPECT_EQ(shown(matte), 0);
}

TEST_F(SteadyMatteTest, StillCellsFollowByTimeAndNotByFrames)
{
	// From one value to another nearby, at 30 and at 60 frames per second.
	const auto after_a_third = [&](int frames_per_second) {
		steady = std::make_unique<SteadyMatte>();
		std::vector<float> matte = person(60);
		float &cell = matte[72 * SteadyMatte::columns + 100];
		cell = 0.44F;
		shown(matte);
		cell = 0.46F;
		float now = 0;
		for (int frame = 0; frame < frames_per_second / 3; ++frame)
			now = shown(matte, 1.0F / static_cast<float>(frames_per_second));
		return now;
	};
	EXPECT_NEAR(after_a_third(30), after_a_third(60), 0.003);
}

TEST_F(SteadyMatteTest, SomebodyWhoLeavesFadesOnceAndForGood)
{
	shown(person(60));
	// What a net finds in an empty room: a bit here and there, too little for a person.
	std::vector<float> room = person(0);
	float last = 1;
	int frames = 0;
	for (; last > 0 && frames < 60; ++frames) {
		room[72 * SteadyMatte::columns + 100] = frames % 2 == 0 ? 1.0F : 0.8F;
		const float now = shown(room);
		ASSERT_LE(now, last) << frames;
		ASSERT_GT(now, last - 0.2F) << frames;
		last = now;
	}
	EXPECT_NEAR(static_cast<float>(frames) * frame_s, 0.8, 0.15);
	for (int frame = 0; frame < 60; ++frame)
		EXPECT_EQ(shown(room), 0);
	EXPECT_EQ(steady->presence(), 0);
}

TEST_F(SteadyMatteTest, AFrameWithoutAnAnswerChangesNothing)
{
	shown(person(60));
	for (int frame = 0; frame < 60; ++frame) {
		steady->update(frame % 5 == 4 ? person(0) : person(60), frame_s);
		EXPECT_EQ(steady->presence(), 1) << frame;
	}
}

TEST_F(SteadyMatteTest, SomebodyWhoComesFadesIn)
{
	shown(person(0));
	float last = 0;
	int frames = 0;
	for (; last < 1 && frames < 60; ++frames) {
		const float now = shown(person(60));
		ASSERT_GE(now, last);
		ASSERT_LT(now, last + 0.3F);
		last = now;
	}
	EXPECT_NEAR(static_cast<float>(frames) * frame_s, 0.3, 0.1);
}

TEST_F(SteadyMatteTest, AtTheThresholdNothingFlickers)
{
	// One column is 0.4 % of the frame, two are 0.8 %: between these lies the choice.
	shown(person(2));
	for (int frame = 0; frame < 90; ++frame) {
		steady->update(person(1 + frame % 2), frame_s);
		EXPECT_EQ(steady->presence(), 1) << frame;
	}
	steady->restart();
	shown(person(0));
	for (int frame = 0; frame < 90; ++frame) {
		steady->update(person(1 + frame % 2), frame_s);
		EXPECT_EQ(steady->presence(), 0) << frame;
	}
}

TEST_F(SteadyMatteTest, WidenedReachesOneCellBeyond)
{
	steady->update(person(60), frame_s);
	const CoarseMatte wide = steady->widened();
	EXPECT_EQ(wide.row(0)[98], 0);
	EXPECT_EQ(wide.row(0)[99], 1);
	EXPECT_EQ(wide.row(143)[160], 1);
	EXPECT_EQ(wide.row(143)[161], 0);
}

} // namespace
} // namespace kalvio::engine::testing
