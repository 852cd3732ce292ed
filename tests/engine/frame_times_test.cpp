// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"

namespace kalvio::engine::testing {
namespace {

constexpr int64_t second = 1'000'000;

TEST(FrameTimes, ReportsOnceAMinute)
{
	FrameTimes times;
	int reports = 0;
	for (int frame = 0; frame <= 30 * 150; ++frame)
		reports += times.add({1000, 2000, 3000}, frame * second / 30);
	EXPECT_EQ(reports, 2);
}

TEST(FrameTimes, TellsTheMedian_NotTheMean)
{
	FrameTimes times;
	for (int frame = 0; frame < 100; ++frame)
		times.add({frame < 60 ? 2000 : 100000, 10, 20}, frame);
	const FrameTimes::Report report = times.report();
	EXPECT_EQ(report.frames, 100);
	EXPECT_NEAR(static_cast<double>(report.medians[FrameTimes::Measure]), 2000, 200);
	EXPECT_FALSE(report.over_budget);
}

TEST(FrameTimes, EveryMinuteStartsAnew)
{
	FrameTimes times;
	times.add({1, 1, 50000}, 0);
	EXPECT_TRUE(times.report().over_budget);
	times.add({1, 1, 1000}, 1);
	EXPECT_FALSE(times.report().over_budget);
}

// Each look at the clock moves it by 20 ms, so a frame of three looks takes 40.
int64_t slow_now = 0;

int64_t slow_clock()
{
	slow_now += 20'000;
	return slow_now;
}

void count_budget_events(void *user_data, int32_t code, const char *)
{
	*static_cast<int *>(user_data) += code == KL_EVENT_FRAME_BUDGET;
}

class FrameTimesOfAnEngine : public EngineTest {};

TEST_F(FrameTimesOfAnEngine, SlowFramesAreLoggedAndAnEvent_OnceAMinute)
{
	int events = 0;
	kl_engine_set_event_callback(engine.get(), count_budget_events, &events);
	kl_set_whitening(engine.get(), 1);
	engine->clock_us = slow_clock;
	const Picture input = noise_picture(16, 16, 1);
	for (int frame = 0; frame < 130 * 1000 / 60; ++frame) // 130 seconds
		processed(input);
	EXPECT_EQ(events, 2);
	EXPECT_TRUE(contains(log_text(), "frames, median"));
}

} // namespace
} // namespace kalvio::engine::testing
