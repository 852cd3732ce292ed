// SPDX-License-Identifier: GPL-2.0-or-later

// Effects that are loaded from files.
#include "call.h"

#include <utility>

using namespace kalvio::engine;

namespace {

using StickerLoader = ReadResult (*)(const char *path, Sticker &sticker);

int32_t load_into(std::optional<Sticker> Effects::*place, StickerLoader load, const char *what, kl_engine *engine,
		  const char *path)
{
	return call(engine, [=](kl_engine &self) -> int32_t {
		if (path == nullptr)
			return KL_ERROR_INVALID_ARGUMENT;
		Sticker sticker;
		if (const ReadResult result = load(path, sticker); !result)
			return self.report_failed_load(what, path, result.status, result.reason);
		self.effects.*place = std::move(sticker);
		if (place == &Effects::sticker)
			self.effects.sticker_start_us.reset();
		self.log->write(LogLevel::Information, "engine %d: %s %s loaded", self.number, what, path);
		return KL_OK;
	});
}

int32_t clear(std::optional<Sticker> Effects::*place, kl_engine *engine)
{
	return call(engine, [=](kl_engine &self) -> int32_t {
		(self.effects.*place).reset();
		return KL_OK;
	});
}

} // namespace

extern "C" {

int32_t kl_set_filter(kl_engine *engine, const char *path)
{
	return call(engine, [=](kl_engine &self) -> int32_t {
		if (path == nullptr)
			return KL_ERROR_INVALID_ARGUMENT;
		ColorLattice lattice;
		if (const ReadResult result = load_color_lattice(path, lattice); !result)
			return self.report_failed_load("filter", path, result.status, result.reason);
		self.effects.filter = std::move(lattice);
		self.effects.lookup_intensity = -1;
		self.log->write(LogLevel::Information, "engine %d: filter %s loaded", self.number, path);
		return KL_OK;
	});
}

int32_t kl_clear_filter(kl_engine *engine)
{
	return call(engine, [](kl_engine &self) -> int32_t {
		self.effects.filter.reset();
		self.effects.lookup.clear();
		self.effects.lookup_intensity = -1;
		return KL_OK;
	});
}

int32_t kl_set_sticker(kl_engine *engine, const char *path)
{
	return load_into(&Effects::sticker, load_sticker, "sticker", engine, path);
}

int32_t kl_set_3d_sticker(kl_engine *engine, const char *path)
{
	return load_into(&Effects::sticker_3d, load_3d_sticker, "3D sticker", engine, path);
}

int32_t kl_clear_sticker(kl_engine *engine)
{
	return clear(&Effects::sticker, engine);
}

int32_t kl_clear_3d_sticker(kl_engine *engine)
{
	return clear(&Effects::sticker_3d, engine);
}

int32_t kl_set_virtual_background(kl_engine *engine, const char *path)
{
	return call(engine, [=](kl_engine &self) -> int32_t {
		if (path == nullptr)
			return KL_ERROR_INVALID_ARGUMENT;
		ImageFile file;
		if (const ReadResult result = open_image(path, file); !result)
			return self.report_failed_load("background picture", path, result.status, result.reason);
		self.begin_background_load(path, std::move(file));
		return KL_OK;
	});
}

int32_t kl_set_virtual_background_blur(kl_engine *engine, float strength)
{
	return call(engine, [=](kl_engine &self) -> int32_t {
		const std::optional<float> clamped = finite_in_range(strength, 0.0F, 1.0F);
		if (!clamped)
			return KL_ERROR_INVALID_ARGUMENT;
		self.abandon_background_load();
		self.settings.background = BackgroundMode::Blur;
		self.effects.picture.reset();
		self.settings.background_blur = *clamped;
		return KL_OK;
	});
}

int32_t kl_clear_virtual_background(kl_engine *engine)
{
	return call(engine, [](kl_engine &self) -> int32_t {
		self.abandon_background_load();
		self.clear_background();
		return KL_OK;
	});
}

int32_t kl_wait_for_loads(kl_engine *engine, int32_t timeout_ms)
{
	return call(engine, [=](kl_engine &self) -> int32_t {
		if (timeout_ms < 0)
			return KL_ERROR_INVALID_ARGUMENT;
		if (!self.background_load || self.background_load->wait(std::chrono::milliseconds(timeout_ms)))
			return KL_OK;
		return KL_ERROR_BUSY;
	});
}

} // extern "C"
