// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/recording_engine.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

struct kl_engine {
	std::atomic<int> calls_in_progress = 0;
	bool alive = true; // the rest: under the state's mutex
	kl_event_callback callback = nullptr;
	void *user_data = nullptr;
};

namespace kalvio::test {
namespace {

struct State {
	std::mutex mutex;
	EngineScript script;
	// By their address, destroyed ones too, so that a late call is seen.
	std::unordered_map<const kl_engine *, std::unique_ptr<kl_engine>> engines;
	std::vector<std::string> misuse;
	std::vector<uint8_t> last_input;
	uint64_t frame_count = 0;
	std::atomic<bool> idle = false;
};

State &state()
{
	static State instance;
	return instance;
}

bool idle()
{
	return state().idle.load(std::memory_order_relaxed);
}

void note_misuse(const char *function, const char *what)
{
	const std::lock_guard lock(state().mutex);
	state().misuse.push_back(std::string(function) + ": " + what);
}

bool known(const kl_engine *engine)
{
	return state().engines.contains(engine);
}

// Marks the engine as being called for as long as it lives. Tests false when the engine cannot be called at all.
class CallGuard {
public:
	CallGuard(const char *function, kl_engine *engine)
	{
		const std::unique_lock lock(state().mutex);
		if (!engine)
			state().misuse.push_back(std::string(function) + ": null engine");
		else if (!known(engine))
			state().misuse.push_back(std::string(function) + ": unknown engine");
		else if (!engine->alive)
			state().misuse.push_back(std::string(function) + ": destroyed engine");
		else
			engine_ = engine;
		if (engine_ && engine_->calls_in_progress++ != 0)
			state().misuse.push_back(std::string(function) + ": overlapping call");
	}
	~CallGuard()
	{
		if (engine_)
			--engine_->calls_in_progress;
	}
	CallGuard(const CallGuard &) = delete;
	CallGuard &operator=(const CallGuard &) = delete;

	explicit operator bool() const { return engine_ != nullptr; }

private:
	kl_engine *engine_ = nullptr;
};

template <class... Arguments>
int32_t setter(const char *name, kl_engine *engine, Arguments... arguments)
{
	if (idle())
		return KL_OK;
	const CallGuard guard(name, engine);
	call_journal().record(CallOrigin::Engine, name, engine, arguments...);
	if (!guard)
		return KL_ERROR_INVALID_ARGUMENT;
	const std::lock_guard lock(state().mutex);
	return state().script.setter_status;
}

int32_t loader(const char *name, kl_engine *engine, const char *path)
{
	const CallGuard guard(name, engine);
	call_journal().record(CallOrigin::Engine, name, engine, path);
	if (!guard || !path)
		return KL_ERROR_INVALID_ARGUMENT;
	std::unique_lock lock(state().mutex);
	const auto found = state().script.loader_status.find(path);
	const int32_t status = found == state().script.loader_status.end() ? KL_OK : found->second;
	const auto hook = state().script.during_load;
	lock.unlock();

	if (hook)
		hook(name, path);
	return status;
}

void write_output(EngineOutput kind, const uint8_t *input, size_t bytes, uint8_t *output)
{
	switch (kind) {
	case EngineOutput::Copy:
		std::copy_n(input, bytes, output);
		break;
	case EngineOutput::Invert:
		std::transform(input, input + bytes, output,
			       [](uint8_t value) { return static_cast<uint8_t>(255 - value); });
		break;
	case EngineOutput::Nothing:
		break;
	}
}

int32_t process(kl_engine *engine, const uint8_t *input, size_t bytes, uint8_t *output)
{
	std::unique_lock lock(state().mutex);
	const EngineScript &script = state().script;
	const auto of_frame = script.process_status_of_frame.find(state().frame_count++);
	const int32_t status =
		of_frame == script.process_status_of_frame.end() ? script.process_status : of_frame->second;
	const EngineOutput kind = script.output;
	const auto hook = script.during_process;
	state().last_input.assign(input, input + bytes);
	lock.unlock();

	if (hook)
		hook(engine);
	if (status == KL_OK)
		write_output(kind, input, bytes, output);
	return status;
}

} // namespace

void reset_recording_engine()
{
	const std::lock_guard lock(state().mutex);
	state().script = {};
	state().engines.clear();
	state().misuse.clear();
	state().last_input.clear();
	state().frame_count = 0;
	state().idle = false;
}

void set_engine_script(EngineScript script)
{
	const std::lock_guard lock(state().mutex);
	state().idle = script.idle;
	state().script = std::move(script);
}

int live_engine_count()
{
	const std::lock_guard lock(state().mutex);
	return static_cast<int>(std::count_if(state().engines.begin(), state().engines.end(),
					      [](const auto &entry) { return entry.second->alive; }));
}

std::vector<std::string> engine_misuse()
{
	const std::lock_guard lock(state().mutex);
	return state().misuse;
}

std::vector<uint8_t> last_engine_input()
{
	const std::lock_guard lock(state().mutex);
	return state().last_input;
}

bool emit_engine_event(const kl_engine *engine, int32_t code, const char *message)
{
	std::unique_lock lock(state().mutex);
	if (!known(engine) || !engine->callback)
		return false;
	const kl_event_callback callback = engine->callback;
	void *const user_data = engine->user_data;
	lock.unlock();
	callback(user_data, code, message);
	return true;
}

void *engine_event_user_data(const kl_engine *engine)
{
	const std::lock_guard lock(state().mutex);
	return known(engine) ? engine->user_data : nullptr;
}

} // namespace kalvio::test

using namespace kalvio::test;

// --- Session

int32_t kl_set_log_config(const kl_log_config *config)
{
	if (!config) {
		note_misuse(__func__, "null record");
		return KL_ERROR_INVALID_ARGUMENT;
	}
	call_journal().record(CallOrigin::Engine, __func__, nullptr, config->console, config->file, config->level,
			      config->reserved, config->path);
	return KL_OK;
}

kl_engine *kl_engine_create(const kl_engine_config *config)
{
	if (!config) {
		note_misuse(__func__, "null record");
		return nullptr;
	}

	std::unique_lock lock(state().mutex);
	const auto hook = state().script.during_create;
	kl_engine *engine = nullptr;
	int &failures = state().script.failing_creations;
	if (failures == 0) {
		auto made = std::make_unique<kl_engine>();
		engine = made.get();
		state().engines.emplace(engine, std::move(made));
	} else if (failures > 0) {
		--failures;
	}
	lock.unlock();

	call_journal().record(CallOrigin::Engine, __func__, engine, config->reserved0, config->reserved1,
			      config->reserved_text, config->resource_path, config->application_id, config->reserved2);
	if (hook)
		hook();
	return engine;
}

int32_t kl_engine_set_event_callback(kl_engine *engine, kl_event_callback callback, void *user_data)
{
	const CallGuard guard(__func__, engine);
	call_journal().record(CallOrigin::Engine, __func__, engine, callback != nullptr, Argument::address(user_data));
	if (!guard)
		return KL_ERROR_INVALID_ARGUMENT;
	const std::lock_guard lock(state().mutex);
	engine->callback = callback;
	engine->user_data = user_data;
	return state().script.setter_status;
}

void kl_engine_destroy(kl_engine *engine)
{
	call_journal().record(CallOrigin::Engine, __func__, engine);
	if (!engine)
		return;
	const CallGuard guard(__func__, engine);
	if (!guard)
		return;
	const std::lock_guard lock(state().mutex);
	engine->alive = false;
	engine->callback = nullptr;
}

// --- Frames

int32_t kl_process_rgba(kl_engine *engine, const uint8_t *input, int32_t width, int32_t height, int32_t stride_bytes,
			uint8_t *output, int32_t pixel_format, int32_t flags)
{
	if (idle())
		return KL_OK;
	const CallGuard guard(__func__, engine);
	call_journal().record(CallOrigin::Engine, __func__, engine, Argument::address(input), width, height,
			      stride_bytes, Argument::address(output), pixel_format, flags);
	if (!guard)
		return KL_ERROR_INVALID_ARGUMENT;
	if (!input || !output || width <= 0 || height <= 0 || stride_bytes < width * 4) {
		note_misuse(__func__, "no frame");
		return KL_ERROR_INVALID_ARGUMENT;
	}
	const size_t bytes = static_cast<size_t>(stride_bytes) * static_cast<size_t>(height);
	if (input < output + bytes && output < input + bytes) {
		note_misuse(__func__, "input and output overlap");
		return KL_ERROR_INVALID_ARGUMENT;
	}
	return process(engine, input, bytes, output);
}

// --- Setters: each a name, an engine and its values

#define SETTER_FLOAT(name)                                                                                             \
	int32_t name(kl_engine *engine, float value)                                                                   \
	{                                                                                                              \
		return setter(#name, engine, value);                                                                   \
	}
#define SETTER_INTEGER(name)                                                                                           \
	int32_t name(kl_engine *engine, int32_t value)                                                                 \
	{                                                                                                              \
		return setter(#name, engine, value);                                                                   \
	}
#define SETTER_RESHAPE(name)                                                                                           \
	int32_t name(kl_engine *engine, int32_t id, float value)                                                       \
	{                                                                                                              \
		return setter(#name, engine, id, value);                                                               \
	}
#define CLEARER(name)                                                                                                  \
	int32_t name(kl_engine *engine)                                                                                \
	{                                                                                                              \
		return setter(#name, engine);                                                                          \
	}
#define LOADER(name)                                                                                                   \
	int32_t name(kl_engine *engine, const char *path)                                                              \
	{                                                                                                              \
		return loader(#name, engine, path);                                                                    \
	}

SETTER_FLOAT(kl_set_smoothing)
SETTER_INTEGER(kl_set_smoothing_style)
SETTER_FLOAT(kl_set_whitening)
SETTER_INTEGER(kl_set_whitening_style)
SETTER_FLOAT(kl_set_rosiness)
SETTER_FLOAT(kl_set_sharpening)
int32_t kl_set_beauty_skin_only(kl_engine *engine, bool skin_only)
{
	return setter(__func__, engine, skin_only);
}

SETTER_RESHAPE(kl_set_reshape)
SETTER_RESHAPE(kl_set_body_reshape)

SETTER_FLOAT(kl_set_lipstick)
SETTER_INTEGER(kl_set_lipstick_color)
SETTER_FLOAT(kl_set_blush)
SETTER_INTEGER(kl_set_blush_style)
SETTER_INTEGER(kl_set_blush_color)
SETTER_FLOAT(kl_set_contour)
SETTER_INTEGER(kl_set_contour_style)
SETTER_FLOAT(kl_set_eye_shadow)
SETTER_INTEGER(kl_set_eye_shadow_style)
SETTER_INTEGER(kl_set_eye_shadow_color)
SETTER_FLOAT(kl_set_eye_liner)
SETTER_INTEGER(kl_set_eye_liner_style)
SETTER_INTEGER(kl_set_eye_liner_color)
SETTER_FLOAT(kl_set_eyebrow)
SETTER_INTEGER(kl_set_eyebrow_style)
SETTER_INTEGER(kl_set_eyebrow_color)
SETTER_FLOAT(kl_set_eyelash)
SETTER_INTEGER(kl_set_eyelash_style)
SETTER_INTEGER(kl_set_eyelash_color)
SETTER_FLOAT(kl_set_pupil)
SETTER_INTEGER(kl_set_pupil_color)

SETTER_INTEGER(kl_set_chroma_key)
CLEARER(kl_clear_chroma_key)
SETTER_FLOAT(kl_set_chroma_key_similarity)
SETTER_FLOAT(kl_set_chroma_key_smoothness)
SETTER_FLOAT(kl_set_chroma_key_desaturation)

LOADER(kl_set_filter)
SETTER_FLOAT(kl_set_filter_intensity)
CLEARER(kl_clear_filter)
LOADER(kl_set_sticker)
LOADER(kl_set_3d_sticker)
CLEARER(kl_clear_sticker)
CLEARER(kl_clear_3d_sticker)
LOADER(kl_set_virtual_background)
SETTER_FLOAT(kl_set_virtual_background_blur)
CLEARER(kl_clear_virtual_background)
