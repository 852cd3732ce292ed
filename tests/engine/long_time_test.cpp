// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

// An engine that runs for days, by a clock of the test's: what counts time or frames does so beyond 32 bits, and what
// is written down stays small.
namespace kalvio::engine::testing {
namespace {

constexpr int64_t frame_us = 33'333;
constexpr int64_t minute_us = 60'000'000;

class LongTime : public EngineTest {
protected:
	LongTime()
	{
		kl_set_smoothing(engine.get(), 0.8F);
		kl_set_virtual_background_blur(engine.get(), 0.5F);
		kl_set_sticker(engine.get(), KALVIO_DATA_DIR "/stickers/screen/petals.kld");
		next_frame(); // the sticker's time begins, at almost that of the clock
	}

	Picture next_frame(int64_t step_us = frame_us)
	{
		pass(step_us);
		return processed(input_);
	}

	// The mean difference of a channel.
	static double difference(const Picture &a, const Picture &b)
	{
		double sum = 0;
		for (size_t i = 0; i < a.bytes.size(); ++i)
			sum += std::abs(int(a.bytes[i]) - int(b.bytes[i]));
		return sum / static_cast<double>(a.bytes.size());
	}

	int64_t now_us() const { return engine->clock_us(); }

	const Picture input_ = noise_picture(96, 54, 1);
};

TEST_F(LongTime, FramesAcrossTheEndOfA32BitClockAreLikeAnyOthers)
{
	constexpr int frames_before = 6;
	for (const int64_t end_us : {int64_t{1} << 31, int64_t{1} << 32, (int64_t{1} << 31) * 1000,
				     (int64_t{1} << 32) * 1000, (int64_t{1} << 31) * 1'000'000}) {
		ASSERT_GT(end_us - now_us(), 2 * frames_before * frame_us) << "the clock is past it";
		pass(end_us - now_us() - (frames_before + 2) * frame_us - frame_us / 2);
		Picture last = next_frame();
		double usual = 0;
		for (int frame = 0; frame < frames_before; ++frame) {
			const Picture next = next_frame();
			if (frame > 1) // the first ones come after a gap of days
				usual = std::max(usual, difference(last, next));
			last = next;
		}
		ASSERT_LT(now_us(), end_us);
		for (int frame = 0; frame < 2 * frames_before; ++frame) {
			const Picture next = next_frame();
			EXPECT_LE(difference(last, next), 3 * usual + 0.5) << end_us << " us, frame " << frame;
			last = next;
		}
		ASSERT_GT(now_us(), end_us);
	}
}

TEST_F(LongTime, ADayLeavesTheEngineAndItsLogAsTheyWere)
{
	kl_clear_sticker(engine.get()); // it moves
	for (int frame = 0; frame < 30; ++frame)
		next_frame();
	const Picture morning = next_frame();
	for (int minute = 0; minute < 24 * 60; ++minute) {
		kl_set_filter(engine.get(), "/nowhere"); // a line that comes every minute
		next_frame(minute_us);
	}
	for (int frame = 0; frame < 30; ++frame)
		next_frame();
	EXPECT_LT(difference(morning, next_frame()), 0.01);
	EXPECT_LT(std::filesystem::file_size(log_path), uintmax_t{1} << 20);
	EXPECT_TRUE(contains(log_text(), "/nowhere"));
}

} // namespace
} // namespace kalvio::engine::testing
