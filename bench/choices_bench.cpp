// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a choice of an effect does to the frames of a running programme: the largest gap between two frames of real
// headless libobs while backgrounds, color filters and stickers are chosen, beside the gap while nothing is chosen and
// beside the one when libobs's own image loader decodes the same pictures in the call, as its image source does.

#include "comparison.h"
#include "kit/libobs_session.h"
#include "kit/picture.h"
#include "kit/scratch.h"
#include "kit/test_sources.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <graphics/image-file.h>
#include <memory>
#include <mutex>
#include <obs.hpp>
#include <stdexcept>
#include <string>
#include <util/base.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using kalvio::test::Rgba;

// Small: the graphics card is a program here, and has to keep the pace at rest.
constexpr uint32_t frame_width = 640;
constexpr uint32_t frame_height = 360;
constexpr uint32_t frames_per_second = 60;
constexpr int frames_a_choice = 30;
constexpr int frames_a_photograph = 120; // it is decoded by the end
constexpr double longest_gap_ms = 25;

// The times between the canvases that libobs composes. Counts on the graphics thread.
class FrameGaps {
public:
	FrameGaps() { obs_add_main_render_callback(note, this); }
	~FrameGaps() { obs_remove_main_render_callback(note, this); }
	FrameGaps(const FrameGaps &) = delete;
	FrameGaps &operator=(const FrameGaps &) = delete;

	// Milliseconds. What the graphics thread itself worked between two frames tells a gap that the choice makes
	// from one that other programs make.
	struct Largest {
		double gap_ms = 0;
		double work_ms = 0;
	};

	// The largest of the next `frames` frames, with what `job` sets off at their beginning.
	Largest largest_while(int frames, const std::function<void()> &job)
	{
		wait_for(2); // what came before is over
		{
			const std::lock_guard lock(mutex_);
			largest_gap_ = {};
			largest_work_ = 0;
		}
		job();
		wait_for(frames);
		const std::lock_guard lock(mutex_);
		return {std::chrono::duration<double, std::milli>(largest_gap_).count(), largest_work_ * 1e3};
	}

private:
	static void note(void *parameter, uint32_t, uint32_t)
	{
		auto &gaps = *static_cast<FrameGaps *>(parameter);
		const Clock::time_point now = Clock::now();
		const double worked = kalvio::test::thread_seconds();
		const std::lock_guard lock(gaps.mutex_);
		if (gaps.frames_ > 0) {
			gaps.largest_gap_ = std::max(gaps.largest_gap_, now - gaps.last_);
			gaps.largest_work_ = std::max(gaps.largest_work_, worked - gaps.worked_);
		}
		gaps.last_ = now;
		gaps.worked_ = worked;
		gaps.frames_++;
		gaps.changed_.notify_all();
	}

	void wait_for(int frames)
	{
		std::unique_lock lock(mutex_);
		changed_.wait(lock, [this, end = frames_ + frames] { return frames_ >= end; });
	}

	std::mutex mutex_;
	std::condition_variable changed_;
	Clock::time_point last_;
	double worked_ = 0; // seconds of the graphics thread
	Clock::duration largest_gap_ = {};
	double largest_work_ = 0;
	int frames_ = 0;
};

// A person's color before a green screen.
kalvio::test::Picture camera_picture()
{
	return kalvio::test::make_picture(frame_width, frame_height, [](uint32_t x, uint32_t y) {
		const auto shade = static_cast<uint8_t>((x * 7 + y * 13) % 24);
		const bool person = x > frame_width / 3 && x < frame_width * 2 / 3 && y > frame_height / 4;
		return person ? Rgba{static_cast<uint8_t>(200 + shade), 160, 130, 255}
			      : Rgba{48, static_cast<uint8_t>(160 + shade), 66, 255};
	});
}

// What a camera makes: 24 million pixels of soft shapes under noise.
void write_photograph(const std::filesystem::path &path)
{
	constexpr JDIMENSION width = 6000;
	constexpr JDIMENSION height = 4000;
	const std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(path.c_str(), "wb"), std::fclose);
	if (!file)
		throw std::runtime_error("cannot write " + path.string());
	jpeg_error_mgr errors;
	jpeg_compress_struct encoder;
	encoder.err = jpeg_std_error(&errors);
	jpeg_create_compress(&encoder);
	jpeg_stdio_dest(&encoder, file.get());
	encoder.image_width = width;
	encoder.image_height = height;
	encoder.input_components = 3;
	encoder.in_color_space = JCS_RGB;
	jpeg_set_defaults(&encoder);
	jpeg_set_quality(&encoder, 92, TRUE);
	jpeg_start_compress(&encoder, TRUE);
	std::vector<uint8_t> row(size_t{width} * 3);
	uint32_t state = 1;
	for (JDIMENSION y = 0; y < height; ++y) {
		for (size_t byte = 0; byte < row.size(); ++byte) {
			state = state * 1664525 + 1013904223;
			row[byte] = static_cast<uint8_t>(60 + (byte / 90 + y / 40) % 120 + (state >> 28));
		}
		uint8_t *line = row.data();
		jpeg_write_scanlines(&encoder, &line, 1);
	}
	jpeg_finish_compress(&encoder);
	jpeg_destroy_compress(&encoder);
}

struct Choice {
	std::string name;
	const char *key;
	std::string value;
	std::string file; // of a background: what the host's loader decodes
	int frames = frames_a_choice;
};

std::vector<Choice> choices(const std::filesystem::path &data, const std::string &photograph)
{
	std::vector<Choice> list;
	for (const char *id : {"office", "living", "bookshelf", "cafe", "outdoor", "city", "studio", "abstract"}) {
		std::filesystem::path file = data / "backgrounds" / (std::string(id) + ".jpg");
		if (!std::filesystem::exists(file))
			file.replace_extension(".png");
		list.push_back({std::string("background ") + id, "bg_preset", id, file.string()});
	}
	list.push_back({"background of 24 million pixels", "bg_image", photograph, photograph, frames_a_photograph});
	for (const auto &entry : std::filesystem::directory_iterator(data / "filters"))
		list.push_back(
			{"filter " + entry.path().filename().string(), "filter_id", entry.path().filename(), ""});
	for (const char *id : {"butterfly", "petals", "fox", "oculos", "red_glasses"})
		list.push_back({std::string("sticker ") + id, "sticker_id", id, ""});
	return list;
}

// The largest over all choices, and which choice made the largest gap.
struct Worst {
	FrameGaps::Largest largest;
	std::string name;

	void add(FrameGaps::Largest found, const std::string &what)
	{
		std::printf("    %-52s %8.2f ms, worked %8.2f ms\n", what.c_str(), found.gap_ms, found.work_ms);
		if (found.gap_ms > largest.gap_ms)
			name = what;
		largest.gap_ms = std::max(largest.gap_ms, found.gap_ms);
		largest.work_ms = std::max(largest.work_ms, found.work_ms);
	}

	void print(const char *when) const
	{
		std::printf("  %-34s largest gap %8.2f ms, most work in a frame %8.2f ms (%s)\n", when, largest.gap_ms,
			    largest.work_ms, name.c_str());
	}
};

void decode_in_call(const std::string &file)
{
	gs_image_file_t image = {};
	gs_image_file_init(&image, file.c_str());
	if (!image.loaded)
		throw std::runtime_error("the host cannot load " + file);
	gs_image_file_free(&image);
}

bool measure()
{
	const OBSSourceAutoRelease camera = kalvio::test::create_picture_source("Camera", camera_picture());
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_int(settings, "chroma", 1);
	obs_data_set_double(settings, "chroma_similarity", 0.4);
	obs_data_set_int(settings, "bg_fill", 2);
	const OBSSourceAutoRelease filter = obs_source_create("kalvio_filter", "Beauty", settings, nullptr);
	obs_source_filter_add(camera, filter);
	obs_set_output_source(0, camera);

	const kalvio::test::ScratchFolder scratch;
	const std::string photograph = (scratch.path() / "photograph.jpg").string();
	write_photograph(photograph);
	const std::vector<Choice> list = choices(kalvio::test::built_plugin().data_folder, photograph);

	FrameGaps gaps;
	gaps.largest_while(frames_a_photograph, [] {}); // shaders, buffers and the first background are there
	std::printf("  Largest gap between two frames, %u x %u at %u a second\n", frame_width, frame_height,
		    frames_per_second);
	Worst rest;
	for (int part = 0; part < 10; ++part)
		rest.add(gaps.largest_while(frames_a_choice, [] {}), "nothing chosen");
	Worst chosen;
	for (const Choice &choice : list) {
		const auto choose = [&] {
			const OBSDataAutoRelease change = obs_data_create();
			obs_data_set_string(change, choice.key, choice.value.c_str());
			obs_source_update(filter, change);
		};
		chosen.add(gaps.largest_while(choice.frames, choose), choice.name);
	}
	Worst in_call;
	for (const Choice &choice : list) {
		if (choice.file.empty())
			continue;
		const auto decode = [&] {
			kalvio::test::on_graphics_thread([&] { decode_in_call(choice.file); });
		};
		in_call.add(gaps.largest_while(frames_a_choice, decode), choice.name + ", decoded in the call");
	}
	obs_set_output_source(0, nullptr);

	rest.print("at rest");
	in_call.print("decoded in the call by the host");
	chosen.print("chosen");
	const bool held =
		kalvio::test::report("largest gap while effects are chosen, ms", chosen.largest.gap_ms, longest_gap_ms);
	return held;
}

[[gnu::format(printf, 2, 0)]] void log_errors(int level, const char *format, va_list arguments, void * /*unused*/)
{
	if (level > LOG_WARNING)
		return;
	std::vfprintf(stderr, format, arguments);
	std::fputc('\n', stderr);
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = kalvio::test::take_check_option(argc, argv);
	std::setvbuf(stdout, nullptr, _IOLBF, 0);
	try {
		kalvio::test::SessionOptions options;
		options.frames_per_second = frames_per_second;
		base_set_log_handler(log_errors, nullptr);
		const kalvio::test::LibobsSession session(options);
		return !measure() && check ? 1 : 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "%s\n", error.what());
		return 1;
	}
}
