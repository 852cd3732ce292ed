// SPDX-License-Identifier: GPL-2.0-or-later
//
// The whole frame in real libobs, for information: what the filter costs where everything is real but the graphics
// card, and how much of that is the engine. Needs an X display; scripts/bench provides one.

#include "kit/libobs_session.h"
#include "kit/picture.h"
#include "kit/test_sources.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <graphics/vec4.h>
#include <kalvio_engine.h>
#include <memory>
#include <obs.hpp>
#include <stdexcept>
#include <util/base.h>

namespace {

using Clock = std::chrono::steady_clock;

// Written on the graphics thread, where the whole benchmark runs.
struct EngineTime {
	Clock::duration spent = {};
	int64_t frames = 0;
} engine_time;

double milliseconds(Clock::duration duration)
{
	return std::chrono::duration<double, std::milli>(duration).count();
}

// Noise over a skin tone, so that no stage has an easy picture.
kalvio::test::Picture camera_picture(uint32_t width, uint32_t height)
{
	uint32_t state = 1;
	return kalvio::test::make_picture(width, height, [&state](uint32_t x, uint32_t y) {
		state = state * 1664525 + 1013904223;
		const uint32_t shade = state >> 29;
		return kalvio::test::Rgba{static_cast<uint8_t>(190 + shade + x % 40),
					  static_cast<uint8_t>(140 + shade + y % 40),
					  static_cast<uint8_t>(110 + shade + (x + y) % 40), 255};
	});
}

struct TexrenderDeleter {
	void operator()(gs_texrender_t *target) const { gs_texrender_destroy(target); }
};

struct StagesurfaceDeleter {
	void operator()(gs_stagesurf_t *surface) const { gs_stagesurface_destroy(surface); }
};

// A canvas of the frame's size that waits until it is painted, as an encoder does.
class Canvas {
public:
	Canvas(uint32_t width, uint32_t height)
		: width_(width), height_(height), target_(gs_texrender_create(GS_RGBA, GS_ZS_NONE)),
		  surface_(gs_stagesurface_create(1, 1, GS_RGBA)),
		  pixel_(gs_texture_create(1, 1, GS_RGBA, 1, nullptr, GS_RENDER_TARGET))
	{
	}
	~Canvas() { gs_texture_destroy(pixel_); }
	Canvas(const Canvas &) = delete;
	Canvas &operator=(const Canvas &) = delete;

	void paint(obs_source_t *source)
	{
		gs_texrender_reset(target_.get());
		if (!gs_texrender_begin(target_.get(), width_, height_))
			throw std::runtime_error("no canvas");
		gs_ortho(0.0F, static_cast<float>(width_), 0.0F, static_cast<float>(height_), -100.0F, 100.0F);
		obs_source_video_render(source);
		gs_texrender_end(target_.get());
		wait();
	}

private:
	// Mapping one pixel of the canvas waits for all of it and copies next to nothing.
	void wait()
	{
		gs_copy_texture_region(pixel_, 0, 0, gs_texrender_get_texture(target_.get()), 0, 0, 1, 1);
		gs_stage_texture(surface_.get(), pixel_);
		uint8_t *data = nullptr;
		uint32_t row_bytes = 0;
		if (!gs_stagesurface_map(surface_.get(), &data, &row_bytes))
			throw std::runtime_error("the canvas cannot be read");
		gs_stagesurface_unmap(surface_.get());
	}

	uint32_t width_;
	uint32_t height_;
	std::unique_ptr<gs_texrender_t, TexrenderDeleter> target_;
	std::unique_ptr<gs_stagesurf_t, StagesurfaceDeleter> surface_;
	gs_texture_t *pixel_;
};

void paint_frames(benchmark::State &state, obs_source_t *source)
{
	const kalvio::test::GraphicsContext context;
	Canvas canvas(static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)));
	canvas.paint(source); // compiles shaders, makes GPU objects and buffers

	engine_time = {};
	const Clock::time_point start = Clock::now();
	for (auto _ : state)
		canvas.paint(source);
	const double all = milliseconds(Clock::now() - start);

	state.counters["engine_ms"] =
		benchmark::Counter(milliseconds(engine_time.spent), benchmark::Counter::kAvgIterations);
	state.counters["engine_share"] = milliseconds(engine_time.spent) / all;
}

enum class Filtered { No, Neutral, Retouched };

void whole_frame(benchmark::State &state, Filtered filtered)
{
	const OBSSourceAutoRelease source = kalvio::test::create_picture_source(
		"Camera", camera_picture(static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1))));
	OBSSourceAutoRelease filter;
	if (filtered != Filtered::No) {
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_double(settings, "smoothing", filtered == Filtered::Retouched ? 0.8 : 0.0);
		obs_data_set_double(settings, "whitening", filtered == Filtered::Retouched ? 0.5 : 0.0);
		filter = obs_source_create("kalvio_filter", "Beauty", settings, nullptr);
		obs_source_filter_add(source, filter);
	}

	kalvio::test::on_graphics_thread([&] { paint_frames(state, source); });
	if (filtered != Filtered::No && engine_time.frames < state.iterations())
		state.SkipWithError("frames went past the engine");
}

void frame_sizes(benchmark::internal::Benchmark *benchmark)
{
	benchmark->Args({1280, 720})->Args({1920, 1080})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(whole_frame, without_filter, Filtered::No)->Apply(frame_sizes);
BENCHMARK_CAPTURE(whole_frame, neutral_filter, Filtered::Neutral)->Apply(frame_sizes);
BENCHMARK_CAPTURE(whole_frame, retouched, Filtered::Retouched)->Apply(frame_sizes);

[[gnu::format(printf, 2, 0)]] void log_errors(int level, const char *format, va_list arguments, void * /*unused*/)
{
	if (level > LOG_WARNING)
		return;
	std::vfprintf(stderr, format, arguments);
	std::fputc('\n', stderr);
}

} // namespace

// The module's call of the engine, timed on its way: the host's program is asked before any library.
int32_t kl_process_rgba(kl_engine *engine, const uint8_t *input, int32_t width, int32_t height, int32_t stride_bytes,
			uint8_t *output, int32_t pixel_format, int32_t flags)
{
	static void *const library = dlopen(KALVIO_BENCH_ENGINE, RTLD_NOW | RTLD_NOLOAD); // the module has loaded it
	static const auto process = reinterpret_cast<decltype(&kl_process_rgba)>(dlsym(library, "kl_process_rgba"));
	const Clock::time_point start = Clock::now();
	const int32_t status = process(engine, input, width, height, stride_bytes, output, pixel_format, flags);
	engine_time.spent += Clock::now() - start;
	engine_time.frames++;
	return status;
}

int main(int argument_count, char **arguments)
{
	benchmark::Initialize(&argument_count, arguments);
	if (benchmark::ReportUnrecognizedArguments(argument_count, arguments))
		return 1;
	try {
		kalvio::test::SessionOptions options;
		options.frames_per_second = 30;
		base_set_log_handler(log_errors, nullptr);
		const kalvio::test::LibobsSession session(options);
		benchmark::RunSpecifiedBenchmarks();
	} catch (const std::exception &error) {
		std::fprintf(stderr, "%s\n", error.what());
		return 1;
	}
	return 0;
}
