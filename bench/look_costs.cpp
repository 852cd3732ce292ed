// SPDX-License-Identifier: GPL-2.0-or-later
#include "look_costs.h"

#include "comparison.h"
#include "engine.h"
#include "made_figure.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace kalvio::bench {

namespace {

using namespace kalvio::engine;
using namespace kalvio::engine::testing;

constexpr int warm_up_frames = 30;

int64_t clock_us = 0;

using EnginePointer = std::unique_ptr<kl_engine, void (*)(kl_engine *)>;

EnginePointer make_engine(const std::string &bundle)
{
	const kl_log_config quiet = {0, 0, 0, 0, nullptr};
	kl_set_log_config(&quiet);
	const kl_engine_config config = {0, 0, nullptr, bundle.c_str(), "bench", 0};
	EnginePointer engine(kl_engine_create(&config), kl_engine_destroy);
	if (!engine || !engine->nets->is_complete())
		throw std::runtime_error("the bundle cannot be read, or has no nets: " + bundle);
	engine->clock_us = [] {
		return clock_us;
	};
	return engine;
}

void set_usual_look(kl_engine *engine)
{
	kl_set_smoothing(engine, 0.5F);
	kl_set_whitening(engine, 0.3F);
	kl_set_reshape(engine, KL_RESHAPE_FACE_THIN, 0.5F);
	kl_set_lipstick(engine, 0.6F);
}

void set_bodies(kl_engine *engine)
{
	for (int key = 0; key < KL_BODY_RESHAPE_COUNT; ++key)
		kl_set_body_reshape(engine, key, 0.5F);
}

void set_everything(kl_engine *engine)
{
	for (const auto set : {kl_set_smoothing, kl_set_whitening, kl_set_rosiness, kl_set_sharpening, kl_set_lipstick,
			       kl_set_blush, kl_set_contour, kl_set_eye_shadow, kl_set_eye_liner, kl_set_eyebrow,
			       kl_set_eyelash, kl_set_pupil, kl_set_virtual_background_blur})
		set(engine, 0.6F);
	kl_set_beauty_skin_only(engine, true);
	for (int key = 0; key < KL_RESHAPE_COUNT; ++key)
		kl_set_reshape(engine, key, 0.3F);
	set_bodies(engine);
	kl_set_filter(engine, KALVIO_DATA_DIR "/filters/vivid/vivid.kld");
	kl_set_sticker(engine, KALVIO_DATA_DIR "/stickers/face/fox.kld");
	kl_set_3d_sticker(engine, KALVIO_DATA_DIR "/stickers/3d/red_glasses.kld");
}

struct Look {
	const char *name;
	void (*set)(kl_engine *);
	double one_thread_bar; // in two copies of the frame
};

constexpr Look looks[] = {
	{"the usual look", set_usual_look, 9},
	{"bodies alone", set_bodies, 8},
	{"everything on", set_everything, 42},
};

double wall_seconds()
{
	return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

bool bench_looks(const std::string &bundle)
{
	bool held = true;
	Image picture;
	FigureRecipe recipe;
	recipe.width = 1920;
	recipe.height = 1080;
	recipe.eyes = {960, 330};
	recipe.eye_distance = 120;
	{
		const EnginePointer engine = make_engine(bundle);
		FacePainter painter(engine->nets->head);
		paint_figure(painter, recipe, picture);
	}
	Image output = picture;
	Image copy = picture;
	const auto copy_twice = [&] {
		std::memcpy(copy.pixels.data(), picture.pixels.data(), copy.pixel_bytes());
		std::memcpy(copy.pixels.data(), output.pixels.data(), copy.pixel_bytes());
	};
	for (const Look &look : looks) {
		for (const int threads : {1, 2}) {
			const EnginePointer engine = make_engine(bundle);
			engine->pool = std::make_shared<Pool>(threads);
			look.set(engine.get());
			const auto frame = [&] {
				clock_us += 33'333;
				kl_process_rgba(engine.get(), picture.pixels.data(), picture.width, picture.height,
						picture.width * 4, output.pixels.data(), KL_PIXEL_FORMAT_RGBA, 0);
			};
			for (int count = 0; count < warm_up_frames; ++count)
				frame();
			std::vector<double> walls;
			const auto timed_frame = [&] {
				const double start = wall_seconds();
				frame();
				walls.push_back(wall_seconds() - start);
			};
			constexpr int samples = 11;
			constexpr int frames = 3;
			const test::Comparison cost = test::compare(samples, frames, timed_frame, copy_twice);
			const auto [shortest, longest] = std::ranges::minmax(walls);
			std::printf("  %s, %d thread%s: %.1f ms of a frame, %.1f at best, %.1f at worst\n", look.name,
				    threads, threads == 1 ? "" : "s", test::median(walls) * 1e3, shortest * 1e3,
				    longest * 1e3);
			// With two, the calling thread's own time says nothing about the frame.
			if (threads == 1)
				held &= test::report("    in two copies of the frame", cost.ratio(),
						     look.one_thread_bar);
			else
				std::printf("  %-56s %8.3f\n",
					    "    in two copies of the frame, by the clock on the wall",
					    test::median(walls) / cost.right_seconds);
		}
	}
	return held;
}

} // namespace kalvio::bench
