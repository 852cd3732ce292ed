// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame_counter.h"

#include <kalvio_engine.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace {

std::atomic<uint64_t> processed;
std::atomic<uint64_t> failed;
std::atomic<uint64_t> engine_ns;
std::atomic<uint64_t> engines;
std::atomic<uint64_t> engines_ever;

// The engine is loaded with the module, outside the search order of preloaded libraries: RTLD_NEXT does not see it.
template <typename Function>
Function *engine_function(const char *name)
{
	void *const library = dlopen("libkalvio.so", RTLD_LAZY | RTLD_NOLOAD);
	void *const symbol = library ? dlsym(library, name) : nullptr;
	if (!symbol) {
		std::fprintf(stderr, "frame counter: no %s behind it\n", name);
		std::abort();
	}
	return reinterpret_cast<Function *>(symbol);
}

} // namespace

#define KALVIO_NEXT(name) static auto *const next = engine_function<decltype(name)>(#name)

extern "C" {

kl_engine *kl_engine_create(const kl_engine_config *config)
{
	KALVIO_NEXT(kl_engine_create);
	kl_engine *const engine = next(config);
	if (engine) {
		++engines;
		++engines_ever;
	}
	return engine;
}

void kl_engine_destroy(kl_engine *engine)
{
	KALVIO_NEXT(kl_engine_destroy);
	next(engine);
	if (engine)
		--engines;
}

int32_t kl_process_rgba(kl_engine *engine, const uint8_t *input, int32_t width, int32_t height, int32_t stride_bytes,
			uint8_t *output, int32_t pixel_format, int32_t flags)
{
	KALVIO_NEXT(kl_process_rgba);
	const auto start = std::chrono::steady_clock::now();
	const int32_t status = next(engine, input, width, height, stride_bytes, output, pixel_format, flags);
	const auto spent = std::chrono::steady_clock::now() - start;
	engine_ns += static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(spent).count());
	++(status == 0 ? processed : failed);
	return status;
}

__attribute__((visibility("default"))) void kalvio_probe_frame_count(kalvio::probe::FrameCount *count)
{
	count->processed = processed;
	count->failed = failed;
	count->engine_ns = engine_ns;
	count->engines = engines;
	count->engines_ever = engines_ever;
}
}
