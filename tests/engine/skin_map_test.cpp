// SPDX-License-Identifier: GPL-2.0-or-later
#include "skin_chart.h"

#include <algorithm>

namespace kalvio::engine::testing {
namespace {

struct Chart {
	double precision = 0; // means
	double recall = 0;
	double worst_precision = 1;
	double worst_recall = 1;
	std::string worst_case;
};

class SkinMap : public EngineTest {
protected:
	// Every tone, light and background, or each `stride`-th of them.
	Chart chart(const Pose &pose, int stride = 1)
	{
		Chart result;
		int count = 0;
		constexpr int scenes = skin_tone_count * skin_light_count * skin_background_count;
		for (int number = 0; number < scenes; number += stride, ++count) {
			const int tone = number / (skin_light_count * skin_background_count);
			const int light = number / skin_background_count % skin_light_count;
			const int background = number % skin_background_count;
			const SkinScore score =
				score_skin_map(engine.get(), make_skin_scene(tone, light, background, pose));
			result.precision += score.precision;
			result.recall += score.recall;
			result.worst_recall = std::min(result.worst_recall, score.recall);
			if (score.precision < result.worst_precision) {
				result.worst_precision = score.precision;
				result.worst_case = std::to_string(typology_angle(tone)) + " degrees, " +
						    skin_light_names[size_t(light)] + ", " +
						    skin_background_names[size_t(background)];
			}
		}
		result.precision /= count;
		result.recall /= count;
		return result;
	}
};

TEST_F(SkinMap, FindsEveryToneUnderEveryLightBeforeEveryBackground)
{
	const Chart found = chart({});
	EXPECT_GT(found.precision, 0.91);
	EXPECT_GT(found.recall, 0.95);
	EXPECT_GT(found.worst_precision, 0.70) << found.worst_case;
	EXPECT_GT(found.worst_recall, 0.60);
}

// Each fourth scene is enough: all backgrounds, lights and tones still occur.
TEST_F(SkinMap, FindsAPersonOnTheSide)
{
	const Chart found = chart({-0.8, 0, 1}, 4);
	EXPECT_GT(found.precision, 0.90);
	EXPECT_GT(found.recall, 0.95);
}

TEST_F(SkinMap, FindsAPersonFarAway)
{
	const Chart found = chart({0.6, 0.1, 0.6}, 4);
	EXPECT_GT(found.precision, 0.75); // of a face of 30 x 40 pixels the outline is a large part
	EXPECT_GT(found.recall, 0.92);
}

TEST_F(SkinMap, FindsAFaceThatFillsTheFrame)
{
	const Chart found = chart({0, 0.15, 1.7}, 4);
	EXPECT_GT(found.precision, 0.96);
	EXPECT_GT(found.recall, 0.96);
}

TEST_F(SkinMap, LeavesAPictureWithoutSkinAlone)
{
	Picture input(160, 90);
	const Picture noise = noise_picture(160, 90, 3);
	for (int y = 0; y < 90; ++y) {
		for (int x = 0; x < 160; ++x) {
			const int shift = noise.pixel(x, y)[0] % 9;
			const uint8_t pixel[4] = {uint8_t(60 + shift), uint8_t(90 + x / 2), uint8_t(170 - shift), 255};
			std::copy_n(pixel, 4, input.pixel(x, y));
		}
	}
	kl_set_beauty_skin_only(engine.get(), true);
	kl_set_whitening(engine.get(), 1);
	const Picture output = processed(input);
	for (size_t index = 0; index < input.bytes.size(); ++index)
		ASSERT_NEAR(output.bytes[index], input.bytes[index], 1) << index;
}

} // namespace
} // namespace kalvio::engine::testing
