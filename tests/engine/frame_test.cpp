// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

namespace kalvio::engine::testing {
namespace {

class FrameContract : public EngineTest {
protected:
	int32_t status(const uint8_t *from, int width, int height, int stride, uint8_t *to, int format = 1,
		       int flags = 0)
	{
		return kl_process_rgba(engine.get(), from, width, height, stride, to, format, flags);
	}

	Picture input = noise_picture(8, 8, 1);
	Picture output = Picture(8, 8);
};

TEST_F(FrameContract, NullPixelsAreRefused)
{
	EXPECT_EQ(status(nullptr, 8, 8, 32, output.bytes.data()), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(status(input.bytes.data(), 8, 8, 32, nullptr), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(FrameContract, ImpossibleSizesAreRefused)
{
	for (const auto &[width, height, stride] :
	     {std::tuple(0, 8, 32), std::tuple(8, 0, 32), std::tuple(-1, 8, 32), std::tuple(8, -8, 32),
	      std::tuple(16385, 1, 16385 * 4), std::tuple(1, 16385, 4)}) {
		EXPECT_EQ(status(input.bytes.data(), width, height, stride, output.bytes.data()),
			  KL_ERROR_INVALID_ARGUMENT)
			<< width << " x " << height;
	}
}

TEST_F(FrameContract, AStrideBelowTheRowIsRefused)
{
	EXPECT_EQ(status(input.bytes.data(), 8, 8, 31, output.bytes.data()), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(status(input.bytes.data(), 8, 8, -32, output.bytes.data()), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(FrameContract, UnknownFormatAndFlagsAreRefused)
{
	EXPECT_EQ(status(input.bytes.data(), 8, 8, 32, output.bytes.data(), 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(status(input.bytes.data(), 8, 8, 32, output.bytes.data(), 1, 1), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(FrameContract, ProcessingInPlaceIsRefused)
{
	EXPECT_EQ(status(input.bytes.data(), 8, 8, 32, input.bytes.data()), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(FrameContract, OverlappingBuffersAreRefused)
{
	Picture both(8, 16);
	uint8_t *first = both.bytes.data();
	EXPECT_EQ(status(first, 8, 8, 32, first + 32 * 8 - 1), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(status(first + 32, 8, 8, 32, first), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(status(first, 8, 8, 32, first + 32 * 8), KL_OK);
}

class NeutralFrame : public EngineTest, public ::testing::WithParamInterface<std::tuple<int, int, int>> {};

TEST_P(NeutralFrame, EqualsTheInput_AndLeavesThePaddingAlone)
{
	const auto [width, height, padding] = GetParam();
	const Picture input = noise_picture(width, height, 7, padding);
	const Picture output = processed(input);
	EXPECT_EQ(output.bytes, input.bytes); // both carry the same marker in their padding
}

INSTANTIATE_TEST_SUITE_P(Sizes, NeutralFrame,
			 ::testing::Values(std::tuple(1, 1, 0), std::tuple(1, 1, 3), std::tuple(3, 5, 0),
					   std::tuple(641, 359, 0), std::tuple(641, 359, 44), std::tuple(16384, 2, 0),
					   std::tuple(2, 16384, 4)));

TEST_F(FrameContract, ANewSizeOnEveryFrameWorks)
{
	kl_set_smoothing(engine.get(), 1.0F);
	kl_set_whitening(engine.get(), 1.0F);
	for (int size = 1; size < 70; ++size) {
		const Picture odd = noise_picture(size, 71 - size, static_cast<uint32_t>(size));
		Picture result(size, 71 - size);
		EXPECT_EQ(process(odd, result), KL_OK) << size;
	}
}

} // namespace
} // namespace kalvio::engine::testing
