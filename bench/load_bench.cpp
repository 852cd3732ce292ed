// SPDX-License-Identifier: GPL-2.0-or-later
//
// What many filters cost in real headless libobs: 1, 4, 16 and 64 of them, each on a source of its own. What a filter
// adds to a frame, in processor time of all threads, and the memory that it holds, as multiples of what one filter
// takes. Built twice: with the engine that ships, and with the recording engine of the tests, which does nothing, so
// that what the module and the host take is seen alone.

#include "load_bench.h"
#include "comparison.h"
#include "kit/libobs_session.h"
#include "kit/picture.h"
#include "kit/test_sources.h"

#include <atomic>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <obs.hpp>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace kalvio::test;

constexpr int counts[] = {1, 4, 16, 64};
constexpr int most_filters = 64;
constexpr uint32_t width = 320;
constexpr uint32_t height = 180;
constexpr int frames_a_sample = 64; // of one filter; fewer of more
constexpr int samples = 9;
constexpr double most_growth = 1.2; // of the memory of a filter, beside one filter
constexpr double most_bend = 0.2;   // of the cost of a frame, off the straight line

double process_seconds()
{
	timespec now = {};
	clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
	return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double resident_mib()
{
	std::ifstream statm("/proc/self/statm");
	double pages = 0;
	double resident = 0;
	statm >> pages >> resident;
	return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// One source, with a filter or without.
struct Camera {
	OBSSourceAutoRelease source;
	OBSSourceAutoRelease filter;
};

Camera make_camera(int number, bool has_filter)
{
	const Picture picture = make_picture(width, height, [number](uint32_t x, uint32_t y) {
		return Rgba{static_cast<uint8_t>(190 + x % 40),
			    static_cast<uint8_t>(140 + (y + static_cast<uint32_t>(number)) % 40),
			    static_cast<uint8_t>(110 + (x + y) % 40), 255};
	});
	Camera camera{create_picture_source("Camera " + std::to_string(number), picture), nullptr};
	if (has_filter) {
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_double(settings, "smoothing", 0.8);
		obs_data_set_double(settings, "whitening", 0.5);
		camera.filter = obs_source_create("kalvio_filter", ("Beauty " + std::to_string(number)).c_str(),
						  settings, nullptr);
		obs_source_filter_add(camera.source, camera.filter);
	}
	return camera;
}

// A canvas that all sources are drawn on, and that is read at the end, as an encoder does.
class Canvas {
public:
	Canvas()
		: target_(gs_texrender_create(GS_RGBA, GS_ZS_NONE)),
		  surface_(gs_stagesurface_create(width, height, GS_RGBA))
	{
	}
	~Canvas()
	{
		gs_stagesurface_destroy(surface_);
		gs_texrender_destroy(target_);
	}
	Canvas(const Canvas &) = delete;
	Canvas &operator=(const Canvas &) = delete;

	void paint(const std::vector<Camera> &cameras, int count)
	{
		gs_texrender_reset(target_);
		if (!gs_texrender_begin(target_, width, height))
			throw std::runtime_error("no canvas");
		gs_ortho(0.0F, static_cast<float>(width), 0.0F, static_cast<float>(height), -100.0F, 100.0F);
		for (int i = 0; i < count; ++i)
			obs_source_video_render(cameras[static_cast<size_t>(i)].source);
		gs_texrender_end(target_);
		gs_stage_texture(surface_, gs_texrender_get_texture(target_));
		uint8_t *data = nullptr;
		uint32_t row_bytes = 0;
		if (!gs_stagesurface_map(surface_, &data, &row_bytes))
			throw std::runtime_error("the canvas cannot be read");
		gs_stagesurface_unmap(surface_);
	}

private:
	gs_texrender_t *target_;
	gs_stagesurf_t *surface_;
};

// Milliseconds of processor time that one filter of `count` adds to a frame: the frame with the filters less the one
// without, both measured in turns.
double filter_ms(const std::vector<Camera> &filtered, const std::vector<Camera> &plain, int count)
{
	std::vector<double> costs;
	on_graphics_thread([&] {
		const GraphicsContext context;
		Canvas canvas;
		const int frames = std::max(4, frames_a_sample / count);
		const auto cost_of = [&](const std::vector<Camera> &cameras) {
			const double start = process_seconds();
			for (int frame = 0; frame < frames; ++frame)
				canvas.paint(cameras, count);
			return (process_seconds() - start) * 1000.0 / frames;
		};
		(void)cost_of(filtered); // shaders, GPU objects and buffers are made
		(void)cost_of(plain);
		for (int sample = 0; sample < samples; ++sample) {
			const double with = cost_of(filtered);
			costs.push_back((with - cost_of(plain)) / count);
		}
	});
	return median(costs);
}

struct Figures {
	int count;
	double cost_ms;
	double memory_mib; // of each of the filters that came with this count
};

void draw(const char *what, const std::vector<Figures> &figures, double Figures::*field)
{
	std::printf("\n  %s, beside one filter\n", what);
	const double one = figures.front().*field;
	for (const Figures &of_count : figures) {
		const double ratio = of_count.*field / one;
		std::printf("  %2d filters %7.3f  x%.2f  %s\n", of_count.count, of_count.*field, ratio,
			    std::string(static_cast<size_t>(std::clamp(ratio * 30.0, 0.0, 60.0)), '#').c_str());
	}
}

double total(const Figures &figures)
{
	return figures.cost_ms * figures.count;
}

// The cost of `count` filters if it grew by the same with each, from the fewest that were measured to the most.
double on_line(const std::vector<Figures> &figures, int count)
{
	const Figures &first = figures.front();
	const Figures &last = figures.back();
	return total(first) + (total(last) - total(first)) * (count - first.count) / (last.count - first.count);
}

bool run(bool check)
{
	std::vector<Camera> filtered;
	std::vector<Camera> plain;
	for (int i = 0; i < most_filters; ++i)
		plain.push_back(make_camera(most_filters + i, false));

	// The first filter brings what all share: its threads, its nets, its shaders.
	filtered.push_back(make_camera(0, true));
	(void)filter_ms(filtered, plain, 1);
	std::vector<Figures> figures;
	for (const int count : counts) {
		// One filter's own memory is that of the second one: the first brought what is shared.
		const int wanted = std::max(count, 2);
		const double before = resident_mib();
		const auto had = static_cast<int>(filtered.size());
		while (static_cast<int>(filtered.size()) < wanted)
			filtered.push_back(make_camera(static_cast<int>(filtered.size()), true));
		(void)filter_ms(filtered, plain, wanted);
		const double memory = (resident_mib() - before) / (wanted - had);
		figures.push_back({count, filter_ms(filtered, plain, count), memory});
	}
	std::printf("\n%s, %ux%u\n", load_engine_name, width, height);
	draw("processor time of a filter in a frame, ms", figures, &Figures::cost_ms);
	draw("memory of a filter, MiB", figures, &Figures::memory_mib);
	std::printf("\n");
	bool held = true;
	for (const Figures &of_count : figures) {
		const std::string count = std::to_string(of_count.count);
		if (of_count.count > 1 && of_count.count < most_filters)
			held = report(("frame with " + count + " filters, off the straight line").c_str(),
				      std::abs(1 - total(of_count) / on_line(figures, of_count.count)), most_bend) &&
			       held;
		if (of_count.count > 1)
			held = report(("memory of each of " + count + ", times that of one").c_str(),
				      of_count.memory_mib / figures.front().memory_mib, most_growth) &&
			       held;
	}
	return held || !check;
}

[[gnu::format(printf, 2, 0)]] void log_nothing(int /*level*/, const char * /*format*/, va_list /*arguments*/,
					       void * /*unused*/)
{
}

std::atomic<uint64_t> frame_time_ns = 1;

} // namespace

// The host's own, in whose place this program is asked: each look is one into a new frame, since a filter draws what it
// has when it is asked for the same frame again.
uint64_t obs_get_video_frame_time(void)
{
	return frame_time_ns += 1'000'000;
}

int main(int argument_count, char **arguments)
{
	const bool check = take_check_option(argument_count, arguments);
	try {
		SessionOptions options;
		options.frames_per_second = 1; // the host's own frames are not what is measured
		options.plugin = load_plugin();
		base_set_log_handler(log_nothing, nullptr);
		const LibobsSession session(options);
		return run(check) ? 0 : 1;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "%s\n", error.what());
		return 1;
	}
}
