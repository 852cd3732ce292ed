// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "kit/heap_probe.h"

#include <functional>

// Each allocation of each call of the boundary fails once. No call ends the process, and the same call works
// afterwards. In a program of its own: it takes the place of malloc.
namespace kalvio::engine::testing {
namespace {

using namespace kalvio::test;

constexpr uint64_t most_allocations = 20'000;

class OutOfMemory : public EngineTest {
protected:
	// `call` gives true when it succeeded. How many of its allocations were let fail.
	static uint64_t survive(const std::function<bool()> &call)
	{
		EXPECT_TRUE(call());
		for (uint64_t number = 1; number <= most_allocations; ++number) {
			fail_heap_allocation(number);
			(void)call(); // some failures are made good: a library asks again, a log stays silent
			const bool came_to_it = !heap_failure_is_pending();
			cancel_heap_failure();
			if (!came_to_it) {
				EXPECT_TRUE(call());
				return number - 1;
			}
		}
		ADD_FAILURE() << "it has no end";
		return most_allocations;
	}
	static std::string shipped(const char *name) { return std::string(KALVIO_DATA_DIR) + "/" + name; }
};

TEST_F(OutOfMemory, CreatingAnEngineSurvivesIt)
{
	// A bundle without nets: these are shared with the fixture's engine.
	const std::string path = scratch.write_bundle("plain.kld", "resource");
	const kl_engine_config config = {0, 0, nullptr, path.c_str(), "org.test", 0};
	EXPECT_GT(survive([&] { return EnginePointer(kl_engine_create(&config)) != nullptr; }), 50U);
}

TEST_F(OutOfMemory, LoadingAnEffectSurvivesIt)
{
	const std::string filter = shipped("filters/vivid/vivid.kld");
	EXPECT_GT(survive([&] { return kl_set_filter(engine.get(), filter.c_str()) == KL_OK; }), 50U);
	const std::string sticker = shipped("stickers/screen/petals.kld");
	EXPECT_GT(survive([&] { return kl_set_sticker(engine.get(), sticker.c_str()) == KL_OK; }), 50U);
	const std::string glasses = shipped("stickers/3d/oculos.kld");
	EXPECT_GT(survive([&] { return kl_set_3d_sticker(engine.get(), glasses.c_str()) == KL_OK; }), 50U);
}

TEST_F(OutOfMemory, ChoosingABackgroundSurvivesIt)
{
	const std::string picture = scratch.path("a.png");
	const std::string png = read_text(shipped("backgrounds/abstract.png"));
	scratch.write("a.png", png);
	EXPECT_GT(survive([&] { return kl_set_virtual_background(engine.get(), picture.c_str()) == KL_OK; }), 1U);
}

TEST_F(OutOfMemory, TheFirstFrameSurvivesIt)
{
	kl_set_smoothing(engine.get(), 1);
	kl_set_filter(engine.get(), shipped("filters/vivid/vivid.kld").c_str());
	const Picture input = noise_picture(8192, 16, 1);
	Picture output(8192, 16);
	int width = 64;
	// A larger frame each time, so that each takes more memory than the engine has.
	EXPECT_GT(survive([&] {
			  width += 64;
			  return kl_process_rgba(engine.get(), input.bytes.data(), width, 16, input.stride,
						 output.bytes.data(), KL_PIXEL_FORMAT_RGBA, 0) == KL_OK;
		  }),
		  3U);
}

} // namespace
} // namespace kalvio::engine::testing
