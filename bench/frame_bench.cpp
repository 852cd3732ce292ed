// SPDX-License-Identifier: GPL-2.0-or-later
#include "comparison.h"
#include "filter/filter_instance.h"
#include "filter/filter_source.h"
#include "kit/heap_probe.h"
#include "kit/host_double.h"
#include "kit/recording_engine.h"
#include "kit/scratch.h"
#include "params/apply_parameters.h"
#include "params/parameter_schema.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <memory>
#include <obs.hpp>
#include <string>
#include <vector>

// What the module itself adds to a frame and to a change of settings. The host's graphics functions cost nothing but
// the copies they stand for (reading back hands out memory, uploading copies once), and the engine does nothing.
//
// Behind Google Benchmark's table stand the figures that count: both sides of a comparison measured in turns, in the
// processor time of this thread, as the median of each side. With --check the program fails when a bar is missed.
namespace {

using namespace kalvio;
using namespace kalvio::test;

struct FrameSize {
	const char *name;
	uint32_t width;
	uint32_t height;

	size_t bytes() const { return size_t{width} * height * 4; }
};

constexpr std::array frame_sizes = {FrameSize{"720p", 1280, 720}, FrameSize{"1080p", 1920, 1080},
				    FrameSize{"2160p", 3840, 2160}};

// --- The sides

// A filter on a source of this size, with its objects made.
class ModuleFrame {
public:
	explicit ModuleFrame(const FrameSize &size)
	{
		data_.write("resource.kld");
		host_double().reset();
		host_double().set_data_folder(data_.path().string());
		reset_recording_engine();
		EngineScript script;
		script.idle = true;
		set_engine_script(script);
		camera_.set_size(size.width, size.height);
		filter_.put_on(camera_);
		filter_.create_filter(filter_source_info());
		host_double().set_cheap(true);
		host_double().render([this] {
			run();
			run();
		});
	}
	~ModuleFrame()
	{
		host_double().set_cheap(false);
		filter_.destroy_filter();
	}
	ModuleFrame(const ModuleFrame &) = delete;
	ModuleFrame &operator=(const ModuleFrame &) = delete;

	void run() { filter_.info.video_render(filter_.data, nullptr); }

	bool is_processing() const { return static_cast<FilterInstance *>(filter_.data)->processing_logged; }

private:
	ScratchFolder data_;
	FakeSource camera_{"Camera"};
	FakeSource filter_{"Filter"};
};

// The same frame read back and uploaded by nothing but two copies, between as many buffers.
class TwoCopies {
public:
	explicit TwoCopies(const FrameSize &size)
	{
		for (std::vector<uint8_t> &buffer : buffers_)
			buffer.assign(size.bytes(), 1);
	}

	void run()
	{
		std::memcpy(buffers_[1].data(), buffers_[0].data(), buffers_[0].size());
		benchmark::ClobberMemory();
		std::memcpy(buffers_[3].data(), buffers_[2].data(), buffers_[2].size());
		benchmark::ClobberMemory();
	}

private:
	std::array<std::vector<uint8_t>, 4> buffers_;
};

// Settings as a used filter has them: every key set, the color key on, so that all 67 setters are called.
OBSDataAutoRelease full_settings()
{
	ParameterSet set;
	set.skin.smoothing = 0.5f;
	set.background.chroma = 2;
	OBSDataAutoRelease settings = obs_data_create();
	write_parameters(set, settings);
	return settings;
}

class BeautyParameters {
public:
	BeautyParameters()
	{
		reset_recording_engine();
		const kl_engine_config config = {};
		engine_ = kl_engine_create(&config);
		EngineScript script;
		script.idle = true;
		set_engine_script(script);
		host_double().set_cheap(true);
		apply_effect_resources(engine_, cache_, settings_);
	}
	~BeautyParameters()
	{
		host_double().set_cheap(false);
		kl_engine_destroy(engine_);
	}
	BeautyParameters(const BeautyParameters &) = delete;
	BeautyParameters &operator=(const BeautyParameters &) = delete;

	void apply() { apply_beauty_params(engine_, settings_); }
	void apply_unchanged_resources() { apply_effect_resources(engine_, cache_, settings_); }

	// Every value that apply() reads, by the same host functions, and nothing done with it.
	void read_only();

private:
	kl_engine *engine_ = nullptr;
	ResourceCache cache_;
	OBSDataAutoRelease settings_ = full_settings();
};

enum class Read { Strength, Choice, Flag };

struct ReadKey {
	const char *key;
	Read kind;
};

constexpr ReadKey read_keys[] = {
	{"smoothing", Read::Strength},
	{"smoothing_style", Read::Choice},
	{"whitening", Read::Strength},
	{"whitening_style", Read::Choice},
	{"rosiness", Read::Strength},
	{"sharpening", Read::Strength},
	{"skin_only", Read::Flag},
	{"face_thin", Read::Strength},
	{"face_narrow", Read::Strength},
	{"face_small", Read::Strength},
	{"face_short", Read::Strength},
	{"face_vshape", Read::Strength},
	{"cheekbone", Read::Strength},
	{"jawbone", Read::Strength},
	{"chin", Read::Strength},
	{"forehead", Read::Strength},
	{"brow_position", Read::Strength},
	{"brow_distance", Read::Strength},
	{"brow_thickness", Read::Strength},
	{"eye_size", Read::Strength},
	{"eye_round", Read::Strength},
	{"eye_distance", Read::Strength},
	{"eye_position", Read::Strength},
	{"eye_angle", Read::Strength},
	{"eye_corner_open", Read::Strength},
	{"lower_eyelid", Read::Strength},
	{"nose_slim", Read::Strength},
	{"nose_long", Read::Strength},
	{"philtrum", Read::Strength},
	{"mouth_size", Read::Strength},
	{"mouth_position", Read::Strength},
	{"mouth_smile", Read::Strength},
	{"lip_thickness", Read::Strength},
	{"body_slim", Read::Strength},
	{"torso_long", Read::Strength},
	{"waist_slim", Read::Strength},
	{"bust_enhance", Read::Strength},
	{"shoulder_slim", Read::Strength},
	{"arm_slim", Read::Strength},
	{"leg_slim", Read::Strength},
	{"leg_long", Read::Strength},
	{"leg_stretch", Read::Strength},
	{"lipstick", Read::Strength},
	{"lipstick_color", Read::Choice},
	{"blush", Read::Strength},
	{"blush_style", Read::Choice},
	{"blush_color", Read::Choice},
	{"contour", Read::Strength},
	{"contour_style", Read::Choice},
	{"eyeshadow", Read::Strength},
	{"eyeshadow_style", Read::Choice},
	{"eyeshadow_color", Read::Choice},
	{"eyeliner", Read::Strength},
	{"eyeliner_style", Read::Choice},
	{"eyeliner_color", Read::Choice},
	{"eyebrow", Read::Strength},
	{"eyebrow_style", Read::Choice},
	{"eyebrow_color", Read::Choice},
	{"eyelash", Read::Strength},
	{"eyelash_style", Read::Choice},
	{"eyelash_color", Read::Choice},
	{"pupil", Read::Strength},
	{"pupil_color", Read::Choice},
	{"chroma", Read::Choice},
	{"chroma_similarity", Read::Strength},
	{"chroma_smoothness", Read::Strength},
	{"chroma_desaturation", Read::Strength},
};

void BeautyParameters::read_only()
{
	for (const ReadKey &key : read_keys) {
		switch (key.kind) {
		case Read::Strength:
			benchmark::DoNotOptimize(obs_data_get_double(settings_, key.key));
			break;
		case Read::Choice:
			benchmark::DoNotOptimize(obs_data_get_int(settings_, key.key));
			break;
		case Read::Flag:
			benchmark::DoNotOptimize(obs_data_get_bool(settings_, key.key));
			break;
		}
	}
}

// --- Google Benchmark's table

void register_benchmarks()
{
	for (const FrameSize &size : frame_sizes) {
		const std::string name = size.name;
		benchmark::RegisterBenchmark(("module_frame/" + name).c_str(), [size](benchmark::State &state) {
			ModuleFrame frame(size);
			for (auto _ : state)
				frame.run();
		});
		benchmark::RegisterBenchmark(("two_copies/" + name).c_str(), [size](benchmark::State &state) {
			TwoCopies copies(size);
			for (auto _ : state)
				copies.run();
		});
	}
	benchmark::RegisterBenchmark("apply_beauty_params", [](benchmark::State &state) {
		BeautyParameters parameters;
		for (auto _ : state)
			parameters.apply();
	});
	benchmark::RegisterBenchmark("read_the_same_keys", [](benchmark::State &state) {
		BeautyParameters parameters;
		for (auto _ : state)
			parameters.read_only();
	});
	benchmark::RegisterBenchmark("apply_effect_resources/unchanged", [](benchmark::State &state) {
		BeautyParameters parameters;
		for (auto _ : state)
			parameters.apply_unchanged_resources();
	});
}

// --- The figures

// Where the system puts the pages of a buffer makes some copies faster than others for as long as the buffer lives.
// Several rounds with buffers of their own even that out; the median round counts.
Comparison compare_frames(const FrameSize &size)
{
	constexpr int rounds = 9;
	std::vector<Comparison> results;
	for (int round = 0; round < rounds; ++round) {
		ModuleFrame frame(size);
		TwoCopies copies(size);
		if (!frame.is_processing())
			return {0.0, 0.0};
		const int runs = size.height < 1000 ? 4 : 1;
		const auto run_frame = [&] {
			frame.run();
		};
		const auto run_copies = [&] {
			copies.run();
		};
		results.push_back(compare(31, runs, run_frame, run_copies));
	}
	const auto middle = results.begin() + rounds / 2;
	std::nth_element(results.begin(), middle, results.end(),
			 [](const Comparison &a, const Comparison &b) { return a.ratio() < b.ratio(); });
	return *middle;
}

bool report_frames()
{
	bool held = true;
	for (const FrameSize &size : frame_sizes) {
		const Comparison result = compare_frames(size);
		if (result.right_seconds == 0.0) {
			std::printf("  the filter does not process frames\n");
			return false;
		}
		std::printf("  %-6s module %8.3f ms, two copies %8.3f ms\n", size.name, result.left_seconds * 1e3,
			    result.right_seconds * 1e3);
		const std::string what = "  frame of the module / two copies, " + std::string(size.name);
		if (size.height >= 1000)
			held &= report(what.c_str(), result.ratio(), 1.15);
		else
			std::printf("  %-56s %8.3f   for information\n", what.c_str(), result.ratio());
	}
	return held;
}

bool report_allocations()
{
	ModuleFrame frame(frame_sizes[1]);
	constexpr int frames = 100;
	const uint64_t before = heap_allocation_count();
	for (int i = 0; i < frames; ++i)
		frame.run();
	const uint64_t allocations = heap_allocation_count() - before;
	return report("heap allocations in a steady frame", static_cast<double>(allocations) / frames, 0.0);
}

bool report_parameters()
{
	BeautyParameters parameters;
	const auto read_only = [&] {
		parameters.read_only();
	};
	const auto apply = [&] {
		parameters.apply();
	};
	const Comparison beauty = compare(201, 100, apply, read_only);
	std::printf("  apply_beauty_params %.2f us, reading the same keys %.2f us\n", beauty.left_seconds * 1e6,
		    beauty.right_seconds * 1e6);
	const auto apply_unchanged = [&] {
		parameters.apply_unchanged_resources();
	};
	const Comparison resources = compare(201, 100, apply_unchanged, read_only);
	std::printf("  apply_effect_resources with nothing changed %.2f us\n", resources.left_seconds * 1e6);
	return report("full parameter set / reading the same keys", beauty.ratio(), 1.3);
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = take_check_option(argc, argv);
	base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
	register_benchmarks();
	benchmark::Initialize(&argc, argv);
	if (benchmark::ReportUnrecognizedArguments(argc, argv))
		return 2;
	benchmark::RunSpecifiedBenchmarks();

	std::printf("\nWhat the module adds (medians of processor time, both sides in turns)\n");
	bool held = report_frames();
	held &= report_allocations();
	held &= report_parameters();
	return check && !held ? 1 : 0;
}
