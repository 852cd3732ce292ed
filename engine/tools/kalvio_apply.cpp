// SPDX-License-Identifier: GPL-2.0-or-later

// kalvio-apply RESOURCES INPUT OUTPUT [NAME=VALUE...] [--show-faces] [--show-matte]: puts one picture through an
// engine, for example
//   kalvio-apply build/linux/plugins/obs-kalvio/data/resource.kld in.jpg out.png smoothing=0.6 whitening=0.3
// With frames=N the picture goes through N times, as a thirtieth of a second apart, and the last is kept.
// crop=X,Y,WIDTH,HEIGHT,N keeps that part of the output, halved N times.
// log=FILE keeps the engine's log there instead of showing it. With --show-faces the faces that are found in the input
// are drawn over the output: their points, and how far each part can be relied on. One frame finds none: give
// frames=30. With --show-matte the output is what the engine takes for people, white before black, whatever the
// settings.
//
// With clip=WIDTHxHEIGHT@FPS it puts a whole clip through one engine: INPUT and OUTPUT are frames of this size, 4 bytes
// per pixel, one after the other without anything between them. They may be /dev/stdin and /dev/stdout. The engine's
// time is the clip's. There the value of a number may be FROM..TO: it moves from FROM to TO and back, once in four
// seconds. A clip goes through once.
#include "arguments.h"
#include "engine.h"
#include "face_drawing.h"
#include "faces/face_tracker.h"
#include "image_reader.h"
#include "image_writer.h"
#include "matte_drawing.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace {

using kalvio::engine::Image;

struct NumberSetting {
	const char *name;
	int32_t (*set)(kl_engine *, float);
};

struct ChoiceSetting {
	const char *name;
	int32_t (*set)(kl_engine *, int32_t);
};

struct FileSetting {
	const char *name;
	int32_t (*set)(kl_engine *, const char *);
};

constexpr NumberSetting numbers[] = {
	{"smoothing", kl_set_smoothing},
	{"whitening", kl_set_whitening},
	{"rosiness", kl_set_rosiness},
	{"sharpening", kl_set_sharpening},
	{"lipstick", kl_set_lipstick},
	{"blush", kl_set_blush},
	{"contour", kl_set_contour},
	{"eye_shadow", kl_set_eye_shadow},
	{"eye_liner", kl_set_eye_liner},
	{"eyebrow", kl_set_eyebrow},
	{"eyelash", kl_set_eyelash},
	{"pupil", kl_set_pupil},
	{"similarity", kl_set_chroma_key_similarity},
	{"smoothness", kl_set_chroma_key_smoothness},
	{"desaturation", kl_set_chroma_key_desaturation},
	{"intensity", kl_set_filter_intensity},
	{"blur", kl_set_virtual_background_blur},
};

constexpr ChoiceSetting choices[] = {
	{"smoothing_style", kl_set_smoothing_style},
	{"whitening_style", kl_set_whitening_style},
	{"key", kl_set_chroma_key},
	{"lipstick_color", kl_set_lipstick_color},
	{"blush_style", kl_set_blush_style},
	{"blush_color", kl_set_blush_color},
	{"contour_style", kl_set_contour_style},
	{"eye_shadow_style", kl_set_eye_shadow_style},
	{"eye_shadow_color", kl_set_eye_shadow_color},
	{"eye_liner_style", kl_set_eye_liner_style},
	{"eye_liner_color", kl_set_eye_liner_color},
	{"eyebrow_style", kl_set_eyebrow_style},
	{"eyebrow_color", kl_set_eyebrow_color},
	{"eyelash_style", kl_set_eyelash_style},
	{"eyelash_color", kl_set_eyelash_color},
	{"pupil_color", kl_set_pupil_color},
};

constexpr FileSetting files[] = {
	{"filter", kl_set_filter},
	{"sticker", kl_set_sticker},
	{"sticker_3d", kl_set_3d_sticker},
	{"background", kl_set_virtual_background},
};

// By kl_reshape.
constexpr const char *face_reshapes[KL_RESHAPE_COUNT] = {
	"face_thin",     "face_vshape",    "face_narrow", "face_short",      "cheekbone",    "jawbone",
	"chin",          "nose_slim",      "eye_size",    "eye_distance",    "face_small",   "forehead",
	"nose_long",     "philtrum",       "mouth_size",  "mouth_position",  "mouth_smile",  "lip_thickness",
	"eye_round",     "eye_position",   "eye_angle",   "eye_corner_open", "lower_eyelid", "brow_position",
	"brow_distance", "brow_thickness",
};

// By kl_body_reshape.
constexpr const char *body_reshapes[KL_BODY_RESHAPE_COUNT] = {
	"body_slim", "waist_slim",   "leg_slim",    "shoulder_slim", "arm_slim",
	"leg_long",  "bust_enhance", "leg_stretch", "torso_long",
};

// "NAME=VALUE" as the two; the value is empty when there is none.
struct Setting {
	explicit Setting(const std::string &argument)
		: name(argument.substr(0, argument.find('='))),
		  value(argument.substr(std::min(name.size() + 1, argument.size())))
	{
	}

	std::string name;
	std::string value;
};

// Whether a setting is one that can have any value between two others.
bool is_number(const std::string &name)
{
	return std::ranges::find(numbers, name, &NumberSetting::name) != std::end(numbers) ||
	       std::ranges::find(face_reshapes, name) != std::end(face_reshapes) ||
	       std::ranges::find(body_reshapes, name) != std::end(body_reshapes);
}

int32_t apply(kl_engine *engine, const std::string &name, const char *value)
{
	for (const NumberSetting &setting : numbers) {
		if (name == setting.name)
			return setting.set(engine, std::strtof(value, nullptr));
	}
	for (const ChoiceSetting &setting : choices) {
		if (name == setting.name)
			return setting.set(engine, std::atoi(value));
	}
	for (const FileSetting &setting : files) {
		if (name == setting.name)
			return setting.set(engine, value);
	}
	for (int32_t id = 0; id < KL_RESHAPE_COUNT; ++id) {
		if (name == face_reshapes[id])
			return kl_set_reshape(engine, id, std::strtof(value, nullptr));
	}
	for (int32_t id = 0; id < KL_BODY_RESHAPE_COUNT; ++id) {
		if (name == body_reshapes[id])
			return kl_set_body_reshape(engine, id, std::strtof(value, nullptr));
	}
	if (name == "skin_only")
		return kl_set_beauty_skin_only(engine, std::atoi(value) != 0);
	return KL_ERROR_INVALID_ARGUMENT;
}

// The engine's clock, so that a moving sticker is at the same place in every run.
std::atomic<int64_t> engine_time_us = 0;

std::atomic<bool> load_failed = false;

void note_failed_load(void *, int32_t code, const char *)
{
	if (code == KL_EVENT_RESOURCE_FAILED)
		load_failed = true;
}

double process(kl_engine *engine, const Image &input, Image &output)
{
	const auto start = std::chrono::steady_clock::now();
	const int32_t status = kl_process_rgba(engine, input.pixels.data(), input.width, input.height, input.width * 4,
					       output.pixels.data(), KL_PIXEL_FORMAT_RGBA, 0);
	if (status != KL_OK)
		throw std::runtime_error("the engine answered " + std::to_string(status));
	return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Follows faces beside the engine, whatever its settings need.
std::unique_ptr<kalvio::engine::FaceTracker> make_tracker(const kl_engine &engine)
{
	if (!engine.nets->is_complete())
		throw std::runtime_error("the resources have no nets: " + engine.nets->reason);
	return std::make_unique<kalvio::engine::FaceTracker>(kalvio::engine::face_nets(*engine.nets),
							     engine.nets->head);
}

// Tells people apart beside the engine, whatever its settings need.
std::unique_ptr<kalvio::engine::PersonMatte> make_matte(const kl_engine &engine)
{
	if (!engine.nets->is_complete())
		throw std::runtime_error("the resources have no nets: " + engine.nets->reason);
	return std::make_unique<kalvio::engine::PersonMatte>(engine.nets->person_matte);
}

// A part of the output, in pixels, and how often that is halved.
struct Crop {
	int x = 0;
	int y = 0;
	int width = 0;
	int height = 0;
	int halvings = 0;
};

Crop crop_of(const std::string &value)
{
	Crop crop;
	char rest = 0;
	if (std::sscanf(value.c_str(), "%9d,%9d,%9d,%9d,%9d%c", &crop.x, &crop.y, &crop.width, &crop.height,
			&crop.halvings, &rest) != 5)
		throw std::runtime_error("crop is five numbers: x, y, width, height, halvings");
	return crop;
}

Image cropped(const Image &image, const Crop &crop)
{
	if (crop.x < 0 || crop.y < 0 || crop.width < 1 || crop.height < 1 || crop.width > image.width - crop.x ||
	    crop.height > image.height - crop.y)
		throw std::runtime_error("crop reaches out of the picture");
	Image part;
	part.resize(crop.width, crop.height);
	for (int y = 0; y < crop.height; ++y)
		std::copy_n(image.pixel(crop.x, crop.y + y), size_t(crop.width) * 4, part.pixel(0, y));
	for (int halving = 0; halving < crop.halvings; ++halving)
		part = kalvio::engine::halved(part);
	return part;
}

// What all frames of a clip have in common. A number of more than nine digits might not fit.
struct Clip {
	int width = 0;
	int height = 0;
	int fps = 0;
};

Clip clip_of(const std::string &value)
{
	Clip clip;
	char rest = 0;
	if (std::sscanf(value.c_str(), "%9dx%9d@%9d%c", &clip.width, &clip.height, &clip.fps, &rest) != 3)
		throw std::runtime_error("clip is three numbers: WIDTHxHEIGHT@FPS");
	if (std::min({clip.width, clip.height, clip.fps}) < 1 || std::max(clip.width, clip.height) > KL_MAX_FRAME_SIZE)
		throw std::runtime_error("no clip has the size and frame rate " + value);
	return clip;
}

// The frames of a clip, from file to file.
class ClipFiles {
public:
	ClipFiles(const std::string &input, const std::string &output)
		: input_(kalvio::engine::path_from_utf8(input), std::ios::binary)
	{
		if (!input_ || input_.peek() == std::ifstream::traits_type::eof())
			throw std::runtime_error("the clip cannot be read or has no frame");
		const std::filesystem::path output_path = kalvio::engine::path_from_utf8(output);
		std::error_code none_there;
		if (std::filesystem::is_regular_file(output_path, none_there) &&
		    std::filesystem::equivalent(kalvio::engine::path_from_utf8(input), output_path, none_there))
			throw std::runtime_error("the output is the clip itself");
		output_.open(output_path, std::ios::binary);
	}

	// False at the end of the clip.
	bool read(Image &frame)
	{
		const auto size = std::streamsize(frame.pixel_bytes());
		input_.read(reinterpret_cast<char *>(frame.pixels.data()), size);
		if (input_.gcount() == 0 && !input_.bad())
			return false;
		if (input_.gcount() != size)
			throw std::runtime_error("the clip ends within frame " + std::to_string(frames_));
		++frames_;
		return true;
	}
	void write(const Image &frame)
	{
		output_.write(reinterpret_cast<const char *>(frame.pixels.data()),
			      std::streamsize(frame.pixel_bytes()));
		if (!output_.flush())
			throw std::runtime_error("the output cannot be written");
	}

private:
	std::ifstream input_;
	std::ofstream output_;
	int frames_ = 0;
};

// A number that moves.
struct Swing {
	std::string name;
	float from = 0;
	float to = 0;

	float at(int64_t time_us) const
	{
		constexpr double period_us = 4e6;
		const double turn = 2 * std::numbers::pi * static_cast<double>(time_us) / period_us;
		return std::lerp(from, to, static_cast<float>((1 - std::cos(turn)) / 2));
	}
};

std::optional<float> number_of(const std::string &text)
{
	float number = 0;
	char rest = 0;
	return std::sscanf(text.c_str(), "%f%c", &number, &rest) == 1 ? std::optional(number) : std::nullopt;
}

std::optional<Swing> swing_of(const Setting &setting)
{
	const size_t dots = setting.value.find("..");
	if (dots == std::string::npos)
		return std::nullopt;
	const std::optional<float> from = number_of(setting.value.substr(0, dots));
	const std::optional<float> to = number_of(setting.value.substr(dots + 2));
	if (!from || !to)
		return std::nullopt;
	if (!is_number(setting.name))
		throw std::runtime_error("only a number can move, which " + setting.name + " is not");
	return Swing{setting.name, *from, *to};
}

struct Options {
	explicit Options(const std::vector<std::string> &arguments)
		: resources(arguments.at(1)), input(arguments.at(2)), output(arguments.at(3))
	{
		for (size_t index = 4; index < arguments.size(); ++index)
			add(Setting(arguments[index]));
		if (clip && frames)
			throw std::runtime_error("a clip goes through once, without frames");
	}

	std::string resources;
	std::string input;
	std::string output;
	std::vector<Setting> settings;
	std::vector<Swing> swings;
	std::string log_path;
	std::optional<Crop> crop;
	std::optional<Clip> clip;
	std::optional<int> frames;
	bool show_faces = false;
	bool show_matte = false;

private:
	void add(Setting setting)
	{
		if (setting.name == "--show-faces")
			show_faces = true;
		else if (setting.name == "--show-matte")
			show_matte = true;
		else if (setting.name == "frames")
			frames = std::atoi(setting.value.c_str());
		else if (setting.name == "crop")
			crop = crop_of(setting.value);
		else if (setting.name == "clip")
			clip = clip_of(setting.value);
		else if (setting.name == "log")
			log_path = std::move(setting.value);
		else if (const std::optional<Swing> swing = swing_of(setting))
			swings.push_back(*swing);
		else
			settings.push_back(std::move(setting));
	}
};

// An engine with its settings, and what looks at the frames beside it.
class Session {
public:
	explicit Session(const Options &options) : options_(options), engine_(make_engine(options), kl_engine_destroy)
	{
		if (!engine_)
			throw std::runtime_error("the resources cannot be read");
		kl_engine_set_event_callback(engine_.get(), note_failed_load, nullptr);
		engine_->clock_us = [] {
			return engine_time_us.load();
		};
		for (const Setting &setting : options.settings)
			set(setting.name, setting.value);
		constexpr int32_t longest_load_ms = 60'000;
		if (kl_wait_for_loads(engine_.get(), longest_load_ms) != KL_OK || load_failed)
			throw std::runtime_error("the background cannot be loaded");
		if (options.show_faces)
			tracker_ = make_tracker(*engine_);
		if (options.show_matte)
			matte_ = make_matte(*engine_);
	}

	// The next frame; returns the milliseconds that the engine took.
	double process(const Image &input, int64_t time_us, Image &output)
	{
		engine_time_us = time_us;
		for (const Swing &swing : options_.swings)
			set(swing.name, std::to_string(swing.at(time_us)));
		const double taken = ::process(engine_.get(), input, output);
		const kalvio::engine::Frame seen = {input.pixels.data(), nullptr, input.width, input.height,
						    input.width * 4};
		if (tracker_)
			tracker_->update(seen, static_cast<double>(time_us) / 1e6, *engine_->pool);
		if (matte_)
			matte_->update(seen, time_us, *engine_->pool);
		return taken;
	}

	// The last frame's output as it is kept.
	Image finished(const Image &input, Image output) const
	{
		if (matte_)
			draw_matte(*matte_, input, kalvio::engine::MatteUse::Picture, output);
		if (tracker_)
			kalvio::engine::draw_faces(tracker_->faces(), output);
		return options_.crop ? cropped(output, *options_.crop) : output;
	}

	const kalvio::engine::FaceTracker *tracker() const { return tracker_.get(); }

private:
	static kl_engine *make_engine(const Options &options)
	{
		const std::string &path = options.log_path;
		const kl_log_config log =
			path.empty() ? kl_log_config{1, 0, 1, 0, nullptr} : kl_log_config{0, 1, 2, 0, path.c_str()};
		kl_set_log_config(&log);
		const kl_engine_config config = {0, 0, nullptr, options.resources.c_str(), "kalvio-apply", 0};
		return kl_engine_create(&config);
	}

	void set(const std::string &name, const std::string &value)
	{
		if (apply(engine_.get(), name, value.c_str()) != KL_OK)
			throw std::runtime_error("cannot set " + name + "=" + value);
	}

	const Options &options_;
	std::unique_ptr<kl_engine, void (*)(kl_engine *)> engine_;
	std::unique_ptr<kalvio::engine::FaceTracker> tracker_;
	std::unique_ptr<kalvio::engine::PersonMatte> matte_;
};

void run_clip(const Options &options, Session &session)
{
	const Clip &clip = *options.clip;
	ClipFiles clip_files(options.input, options.output);
	Image input;
	input.resize(clip.width, clip.height);
	Image output = input;
	for (int64_t frame = 0; clip_files.read(input); ++frame) {
		session.process(input, frame * 1'000'000 / clip.fps, output);
		clip_files.write(session.finished(input, output));
	}
}

void run_picture(const Options &options, Session &session)
{
	Image input;
	if (!load_image(options.input.c_str(), input))
		throw std::runtime_error("the picture cannot be read");
	if (!options.swings.empty())
		throw std::runtime_error("only in a clip can " + options.swings[0].name + " move");
	Image output = input;
	double fastest = 1e9;
	for (int frame = 0; frame < options.frames.value_or(1); ++frame)
		fastest = std::min(fastest, session.process(input, frame * int64_t{1'000'000} / 30, output));
	std::printf("%dx%d %.2f ms\n", input.width, input.height, fastest);
	if (session.tracker() != nullptr)
		std::printf("%zu faces\n", session.tracker()->faces().size());
	kalvio::engine::write_image(kalvio::engine::path_from_utf8(options.output),
				    session.finished(input, std::move(output)), 94);
}

int run(const std::vector<std::string> &arguments)
{
	const Options options(arguments);
	Session session(options);
	if (options.clip)
		run_clip(options, session);
	else
		run_picture(options, session);
	return 0;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc < 4) {
		std::fprintf(
			stderr,
			"usage: kalvio-apply RESOURCES INPUT OUTPUT [NAME=VALUE...] [--show-faces] [--show-matte]\n");
		return 2;
	}
	try {
		return run(kalvio::engine::utf8_arguments(argc, argv));
	} catch (const std::exception &error) {
		std::fprintf(stderr, "kalvio-apply: %s\n", error.what());
		return 1;
	}
}
