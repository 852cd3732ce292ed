// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz_engine.h"

#include "fuzz_input.h"

namespace kalvio::test {

EngineFiles::EngineFiles()
{
	const kl_log_config silent = {0, 0, KL_LOG_ERROR, 0, nullptr};
	require(kl_set_log_config(&silent) == KL_OK);
	resource_ = write_bundle("resource", R"({"kind": "resource", "format_version": 1, "name": "none"})", {});
}

EnginePointer EngineFiles::create_engine() const
{
	const kl_engine_config config = {0, 0, nullptr, resource_.c_str(), "test", 0};
	EnginePointer engine(kl_engine_create(&config));
	require(engine != nullptr);
	return engine;
}

std::string EngineFiles::write_bundle(const std::string &name, const std::string &manifest,
				      std::vector<engine::BundleFile> files) const
{
	const std::string path = folder_.file(name + ".kld");
	files.push_back({"manifest.json", {manifest.begin(), manifest.end()}});
	engine::write_bundle(path, std::move(files));
	return path;
}

engine::Image small_image(int width, int height)
{
	engine::Image image;
	image.resize(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			uint8_t *pixel = image.pixel(x, y);
			pixel[0] = static_cast<uint8_t>(x * 37);
			pixel[1] = static_cast<uint8_t>(y * 59);
			pixel[2] = static_cast<uint8_t>((x ^ y) * 11);
			pixel[3] = static_cast<uint8_t>(255 - (x + y) % 3 * 100);
		}
	}
	return image;
}

} // namespace kalvio::test
