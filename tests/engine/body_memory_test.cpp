// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "kit/heap_probe.h"
#include "made_figure.h"

// What the reshape of bodies takes from the heap. In a program of its own: it takes the place of malloc.
namespace kalvio::engine::testing {
namespace {

using BodyMemory = EngineTest;

TEST_F(BodyMemory, ASteadyFigureTakesNone)
{
	if (!engine->nets->is_complete())
		GTEST_SKIP() << "the bundle has no nets: " << engine->nets->reason;
	engine->pool = std::make_shared<Pool>(1);
	FacePainter painter(engine->nets->head);
	FigureRecipe recipe;
	recipe.eyes = {640, 240};
	recipe.eye_distance = 60;
	Image image;
	paint_figure(painter, recipe, image);
	Picture picture(image.width, image.height);
	std::copy_n(image.pixels.begin(), picture.bytes.size(), picture.bytes.begin());
	for (int key = 0; key < KL_BODY_RESHAPE_COUNT; ++key)
		kl_set_body_reshape(engine.get(), key, 1);
	Picture output = picture;
	const auto step = [&] {
		pass(33'333);
		return kl_process_rgba(engine.get(), picture.bytes.data(), picture.width, picture.height,
				       picture.stride, output.bytes.data(), KL_PIXEL_FORMAT_RGBA, 0);
	};
	for (int frame = 0; frame < 40; ++frame)
		ASSERT_EQ(step(), KL_OK);
	ASSERT_NE(output.bytes, picture.bytes);
	const uint64_t before = test::heap_allocation_count();
	for (int frame = 0; frame < 20; ++frame)
		step();
	EXPECT_EQ(test::heap_allocation_count(), before);
}

} // namespace
} // namespace kalvio::engine::testing
