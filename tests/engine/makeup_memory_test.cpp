// SPDX-License-Identifier: GPL-2.0-or-later
#include "steady_memory_fixture.h"

// What makeup takes from the heap.
namespace kalvio::engine::testing {
namespace {

using MakeupMemory = SteadyMemoryTest;

TEST_F(MakeupMemory, ASteadyFaceTakesNone)
{
	Image image;
	painter->paint(FaceRecipe(), 1, image);
	for (const auto set : {kl_set_lipstick, kl_set_blush, kl_set_contour, kl_set_eye_shadow, kl_set_eye_liner,
			       kl_set_eyebrow, kl_set_eyelash, kl_set_pupil})
		set(engine.get(), 1);
	expect_no_allocations(image);
}

} // namespace
} // namespace kalvio::engine::testing
