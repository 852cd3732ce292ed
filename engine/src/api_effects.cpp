// SPDX-License-Identifier: GPL-2.0-or-later

// Effects that are loaded from files.
#include "guarded_call.h"

#include <utility>

using namespace kalvio::engine;

namespace {

// Loads an effect with `load` and puts it in its place; `use` does what else that means for the engine's effects.
template <typename Effect, typename Use>
int32_t load_effect(kl_engine *engine, const char *what, const char *path,
		    ReadResult (*load)(const char *path, Effect &effect), Use use)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		if (path == nullptr)
			return KL_ERROR_INVALID_ARGUMENT;
		Effect effect;
		if (const ReadResult result = load(path, effect); !result)
			return self.report_failed_load(what, path, result.status, result.reason);
		use(self.effects, std::move(effect));
		self.log->write(LogLevel::Information, "engine %d: %s %s loaded", self.number, what, path);
		return KL_OK;
	});
}

template <typename Effect>
int32_t clear_effect(kl_engine *engine, std::optional<Effect> Effects::*place)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		(self.effects.*place).reset();
		return KL_OK;
	});
}

} // namespace

extern "C" {

int32_t kl_set_filter(kl_engine *engine, const char *path)
{
	return load_effect<Lut3d>(engine, "filter", path, load_lut3d, [](Effects &effects, Lut3d lut) {
		effects.filter = std::move(lut);
		effects.lookup_intensity = -1;
	});
}

int32_t kl_clear_filter(kl_engine *engine)
{
	return guarded_call(engine, [](kl_engine &self) -> int32_t {
		self.effects.filter.reset();
		self.effects.lookup.clear();
		self.effects.lookup_intensity = -1;
		return KL_OK;
	});
}

int32_t kl_set_sticker(kl_engine *engine, const char *path)
{
	return load_effect<Sticker>(engine, "sticker", path, load_sticker, [](Effects &effects, Sticker sticker) {
		effects.sticker = std::move(sticker);
		effects.sticker_start_us.reset();
	});
}

int32_t kl_set_3d_sticker(kl_engine *engine, const char *path)
{
	return load_effect<Sticker3d>(
		engine, "3D sticker", path, load_3d_sticker,
		[](Effects &effects, Sticker3d sticker) { effects.sticker_3d = std::move(sticker); });
}

int32_t kl_clear_sticker(kl_engine *engine)
{
	return clear_effect(engine, &Effects::sticker);
}

int32_t kl_clear_3d_sticker(kl_engine *engine)
{
	return clear_effect(engine, &Effects::sticker_3d);
}

int32_t kl_set_virtual_background(kl_engine *engine, const char *path)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
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
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
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
	return guarded_call(engine, [](kl_engine &self) -> int32_t {
		self.abandon_background_load();
		self.clear_background();
		return KL_OK;
	});
}

int32_t kl_wait_for_loads(kl_engine *engine, int32_t timeout_ms)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		if (timeout_ms < 0)
			return KL_ERROR_INVALID_ARGUMENT;
		if (!self.background_load || self.background_load->wait(std::chrono::milliseconds(timeout_ms)))
			return KL_OK;
		return KL_ERROR_BUSY;
	});
}

} // extern "C"
