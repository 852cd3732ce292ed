// SPDX-License-Identifier: GPL-2.0-or-later
#include "made_figure.h"
#include "steady_memory_fixture.h"

// What the reshape of bodies takes from the heap.
namespace kalvio::engine::testing {
namespace {

using BodyMemory = SteadyMemoryTest;

TEST_F(BodyMemory, ASteadyFigureTakesNone)
{
	FigureRecipe recipe;
	recipe.eyes = {640, 240};
	recipe.eye_distance = 60;
	Image image;
	paint_figure(*painter, recipe, image);
	for (int key = 0; key < KL_BODY_RESHAPE_COUNT; ++key)
		kl_set_body_reshape(engine.get(), key, 1);
	expect_no_allocations(image);
}

} // namespace
} // namespace kalvio::engine::testing
