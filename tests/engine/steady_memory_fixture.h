// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/heap_probe.h"
#include "painted_face_fixture.h"

#include <algorithm>

namespace kalvio::engine::testing {

// What frames take from the heap, in a program of its own: the probe takes the place of malloc. One thread.
class SteadyMemoryTest : public PaintedFaceTest {
protected:
	// Nothing, in frames of a picture that the engine has seen for more than a second and that it changes.
	void expect_no_allocations(const Image &image)
	{
		engine->pool = std::make_shared<Pool>(1);
		Picture picture(image.width, image.height);
		std::copy_n(image.pixels.begin(), picture.bytes.size(), picture.bytes.begin());
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
};

} // namespace kalvio::engine::testing
