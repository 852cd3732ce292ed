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
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

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
	if (std::sscanf(value.c_str(), "%d,%d,%d,%d,%d%c", &crop.x, &crop.y, &crop.width, &crop.height, &crop.halvings,
			&rest) != 5)
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

int run(const std::vector<std::string> &arguments)
{
	std::vector<Setting> settings;
	std::string log_path;
	std::optional<Crop> crop;
	int frames = 1;
	bool show_faces = false;
	bool show_matte = false;
	for (size_t index = 4; index < arguments.size(); ++index) {
		Setting setting(arguments[index]);
		if (setting.name == "--show-faces")
			show_faces = true;
		else if (setting.name == "--show-matte")
			show_matte = true;
		else if (setting.name == "frames")
			frames = std::atoi(setting.value.c_str());
		else if (setting.name == "crop")
			crop = crop_of(setting.value);
		else if (setting.name == "log")
			log_path = std::move(setting.value);
		else
			settings.push_back(std::move(setting));
	}
	const kl_log_config log =
		log_path.empty() ? kl_log_config{1, 0, 1, 0, nullptr} : kl_log_config{0, 1, 2, 0, log_path.c_str()};
	kl_set_log_config(&log);
	const kl_engine_config config = {0, 0, nullptr, arguments.at(1).c_str(), "kalvio-apply", 0};
	const std::unique_ptr<kl_engine, void (*)(kl_engine *)> engine(kl_engine_create(&config), kl_engine_destroy);
	Image input;
	if (!engine || !load_image(arguments.at(2).c_str(), input))
		throw std::runtime_error("the resources or the picture cannot be read");

	kl_engine_set_event_callback(engine.get(), note_failed_load, nullptr);
	engine->clock_us = [] {
		return engine_time_us.load();
	};
	for (const Setting &setting : settings) {
		if (apply(engine.get(), setting.name, setting.value.c_str()) != KL_OK)
			throw std::runtime_error("cannot set " + setting.name + "=" + setting.value);
	}
	constexpr int32_t longest_load_ms = 60'000;
	if (kl_wait_for_loads(engine.get(), longest_load_ms) != KL_OK || load_failed)
		throw std::runtime_error("the background cannot be loaded");
	Image output = input;
	const std::unique_ptr<kalvio::engine::FaceTracker> tracker = show_faces ? make_tracker(*engine) : nullptr;
	const std::unique_ptr<kalvio::engine::PersonMatte> matte = show_matte ? make_matte(*engine) : nullptr;
	const kalvio::engine::Frame seen = {input.pixels.data(), nullptr, input.width, input.height, input.width * 4};
	double fastest = 1e9;
	for (int frame = 0; frame < frames; ++frame) {
		engine_time_us = frame * int64_t{1'000'000} / 30;
		fastest = std::min(fastest, process(engine.get(), input, output));
		if (tracker)
			tracker->update(seen, frame / 30.0, *engine->pool);
		if (matte)
			matte->update(seen, engine_time_us, *engine->pool);
	}
	std::printf("%dx%d %.2f ms\n", input.width, input.height, fastest);
	if (matte)
		draw_matte(*matte, input, kalvio::engine::MatteUse::Picture, output);
	if (tracker) {
		std::printf("%zu faces\n", tracker->faces().size());
		kalvio::engine::draw_faces(tracker->faces(), output);
	}
	if (crop)
		output = cropped(output, *crop);
	kalvio::engine::write_image(kalvio::engine::path_from_utf8(arguments.at(3)), output, 94);
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
