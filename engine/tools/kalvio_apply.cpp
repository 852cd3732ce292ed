// SPDX-License-Identifier: GPL-2.0-or-later

// kalvio-apply RESOURCES INPUT OUTPUT [NAME=VALUE...]: puts one picture through an engine, for example
//   kalvio-apply build/linux/plugins/obs-kalvio/data/resource.kld in.jpg out.png smoothing=0.6 whitening=0.3
// With frames=N the picture goes through N times, as a thirtieth of a second apart, and the last is kept.
// log=FILE keeps the engine's log there instead of showing it.
#include "arguments.h"
#include "engine.h"
#include "image.h"
#include "image_writer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
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
};

constexpr FileSetting files[] = {
	{"filter", kl_set_filter},
	{"sticker", kl_set_sticker},
	{"background", kl_set_virtual_background},
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

int run(const std::vector<std::string> &arguments)
{
	std::vector<Setting> settings;
	std::string log_path;
	int frames = 1;
	for (size_t index = 4; index < arguments.size(); ++index) {
		Setting setting(arguments[index]);
		if (setting.name == "frames")
			frames = std::atoi(setting.value.c_str());
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
	double fastest = 1e9;
	for (int frame = 0; frame < frames; ++frame) {
		engine_time_us = frame * int64_t{1'000'000} / 30;
		fastest = std::min(fastest, process(engine.get(), input, output));
	}
	std::printf("%dx%d %.2f ms\n", input.width, input.height, fastest);
	kalvio::engine::write_image(kalvio::engine::path_from_utf8(arguments.at(3)), output, 94);
	return 0;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc < 4) {
		std::fprintf(stderr, "usage: kalvio-apply RESOURCES INPUT OUTPUT [NAME=VALUE...]\n");
		return 2;
	}
	try {
		return run(kalvio::engine::utf8_arguments(argc, argv));
	} catch (const std::exception &error) {
		std::fprintf(stderr, "kalvio-apply: %s\n", error.what());
		return 1;
	}
}
