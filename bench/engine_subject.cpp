// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_subject.h"

#include "engine.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

namespace kalvio::bench {

Frame make_frame(int width, int height)
{
	Frame frame = {width, height, std::vector<uint8_t>(size_t(width) * size_t(height) * 4)};
	std::minstd_rand random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same noise in every run
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const double u = (x + 0.5) / width;
			const double v = (y + 0.5) / height;
			double red = 48 + 20 * std::sin(9 * u);
			double green = 168 + 28 * std::sin(4 * u + 5 * v);
			double blue = 66 + 14 * std::cos(7 * v);
			const double head = std::hypot((u - 0.5) / 0.14, (v - 0.42) / 0.34);
			const double body = std::hypot((u - 0.5) / 0.34, (v - 1.15) / 0.5);
			if (body < 1)
				red = 70 + 30 * std::sin(60 * u), green = 60, blue = 90 + 40 * v;
			if (head < 1)
				red = 225 - 50 * head, green = 178 - 50 * head, blue = 150 - 45 * head;
			const double noise = static_cast<double>(random() >> 8 & 15) - 7.5;
			uint8_t *pixel = frame.pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4;
			pixel[0] = static_cast<uint8_t>(std::clamp(red + noise, 0.0, 255.0));
			pixel[1] = static_cast<uint8_t>(std::clamp(green + noise, 0.0, 255.0));
			pixel[2] = static_cast<uint8_t>(std::clamp(blue + noise, 0.0, 255.0));
			pixel[3] = 255;
		}
	}
	return frame;
}

void set_key(kl_engine *engine)
{
	kl_set_chroma_key(engine, 0);
	kl_set_chroma_key_similarity(engine, 0.36F);
	kl_set_chroma_key_smoothness(engine, 0.1F);
	kl_set_chroma_key_desaturation(engine, 0.8F);
}

void set_whole_look(kl_engine *engine, const std::string &data_folder)
{
	kl_set_smoothing(engine, 0.6F);
	kl_set_whitening(engine, 0.4F);
	kl_set_rosiness(engine, 0.2F);
	kl_set_sharpening(engine, 0.4F);
	kl_set_beauty_skin_only(engine, true);
	kl_set_filter(engine, (data_folder + "/filters/vivid/vivid.kld").c_str());
	set_key(engine);
	kl_set_virtual_background_blur(engine, 1);
	kl_set_sticker(engine, (data_folder + "/stickers/screen/butterfly.kld").c_str());
}

Subject::Subject(const std::string &data_folder, const Frame &frame, int threads, const Setup &setup)
	: frame_(frame), result_(frame.pixels.size())
{
	const std::string resources = data_folder + "/resource.kld";
	const kl_engine_config config = {0, 0, nullptr, resources.c_str(), "bench_engine", 0};
	engine_.reset(kl_engine_create(&config));
	if (!engine_)
		throw std::runtime_error("no engine from " + resources);
	if (threads > 0)
		engine_->pool = std::make_shared<engine::Pool>(threads);
	setup(engine_.get());
}

void Subject::process()
{
	if (kl_process_rgba(engine_.get(), frame_.pixels.data(), frame_.width, frame_.height, frame_.width * 4,
			    result_.data(), 1, 0) != KL_OK)
		throw std::runtime_error("the engine failed");
}

} // namespace kalvio::bench
