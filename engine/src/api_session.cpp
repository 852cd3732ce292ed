// SPDX-License-Identifier: GPL-2.0-or-later

// Creation, events, frames and the end.
#include "bundle.h"
#include "frame.h"
#include "guarded_call.h"
#include "pipeline.h"

#include <hwy/targets.h>

#include <memory>
#include <thread>

using namespace kalvio::engine;

namespace {

bool buffers_overlap(const uint8_t *input, const uint8_t *output, uint64_t bytes)
{
	const auto first = reinterpret_cast<uintptr_t>(input);
	const auto second = reinterpret_cast<uintptr_t>(output);
	return first < second ? second - first < bytes : first - second < bytes;
}

bool is_valid_frame(const Frame &frame, int32_t pixel_format, int32_t flags)
{
	if (frame.input == nullptr || frame.output == nullptr)
		return false;
	if (pixel_format != KL_PIXEL_FORMAT_RGBA || flags != 0)
		return false;
	if (frame.width < 1 || frame.width > KL_MAX_FRAME_SIZE || frame.height < 1 || frame.height > KL_MAX_FRAME_SIZE)
		return false;
	if (frame.stride_bytes < frame.width * bytes_per_pixel)
		return false;
	const uint64_t bytes =
		uint64_t{static_cast<uint32_t>(frame.stride_bytes)} * static_cast<uint32_t>(frame.height);
	return !buffers_overlap(frame.input, frame.output, bytes);
}

} // namespace

extern "C" {

int32_t kl_get_api_version(void)
{
	return KL_API_VERSION;
}

int32_t kl_get_capabilities(kl_engine *engine)
{
	return guarded_call(engine, [](const kl_engine &called) -> int32_t {
		constexpr int32_t with_nets = KL_CAPABILITY_FACES | KL_CAPABILITY_PERSON_MATTE | KL_CAPABILITY_BODY;
		return called.nets->is_complete() ? with_nets : 0;
	});
}

int32_t kl_set_log_config(const kl_log_config *config)
{
	if (config == nullptr)
		return KL_ERROR_INVALID_ARGUMENT;
	try {
		set_current_log(*config);
		return KL_OK;
	} catch (...) {
		return KL_ERROR_OUT_OF_MEMORY;
	}
}

kl_engine *kl_engine_create(const kl_engine_config *config)
{
	try {
		const std::shared_ptr<Log> log = current_log();
		if (config == nullptr || config->resource_path == nullptr) {
			log->write(LogLevel::Error, "no engine: no resource bundle was named");
			return nullptr;
		}
		if ((hwy::SupportedTargets() & HWY_SSE4) == 0) {
			log->write(LogLevel::Error, "no engine: the processor has no SSE4 instructions");
			return nullptr;
		}
		Bundle resources;
		if (const ReadResult result = resources.open(config->resource_path, "resource"); !result) {
			log->write(LogLevel::Error, "no engine: resource bundle %s: %s", config->resource_path,
				   result.reason.c_str());
			return nullptr;
		}
		auto engine = std::make_unique<kl_engine>(log, shared_nets(resources));
		log->write(LogLevel::Information, "engine %d: created for %s with %s (%s)", engine->number,
			   config->application_id != nullptr ? config->application_id : "", config->resource_path,
			   resources.name().c_str());
		return engine.release();
	} catch (...) {
		return nullptr;
	}
}

int32_t kl_engine_set_event_callback(kl_engine *engine, kl_event_callback callback, void *user_data)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		self.events->set(callback, user_data);
		return KL_OK;
	});
}

void kl_engine_destroy(kl_engine *engine)
{
	if (engine == nullptr)
		return;
	// Wait for a call that is still running on another thread, against the rules. It ends within one frame.
	while (engine->busy.test_and_set(std::memory_order_acquire))
		std::this_thread::yield();
	engine->log->write(LogLevel::Information, "engine %d: destroyed", engine->number);
	delete engine;
}

int32_t kl_process_rgba(kl_engine *engine, const uint8_t *input, int32_t width, int32_t height, int32_t stride_bytes,
			uint8_t *output, int32_t pixel_format, int32_t flags)
{
	return guarded_call(engine, [=](kl_engine &self) -> int32_t {
		const Frame frame = {input, output, width, height, stride_bytes};
		if (!is_valid_frame(frame, pixel_format, flags))
			return KL_ERROR_INVALID_ARGUMENT;
		process_frame(self, frame);
		return KL_OK;
	});
}

} // extern "C"
