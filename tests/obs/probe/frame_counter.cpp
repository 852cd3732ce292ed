// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame_counter.h"

#include <kalvio_engine.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <mutex>
#include <utility>
#include <vector>

namespace {

std::atomic<uint64_t> processed;
std::atomic<uint64_t> failed;
std::atomic<uint64_t> engine_ns;
std::atomic<uint64_t> engines;
std::atomic<uint64_t> engines_ever;

// What the last frame looked like, and how much each of the last ones differed from the one before it.
class PictureChanges {
public:
	void take(const uint8_t *pixels, int32_t width, int32_t height, int32_t stride, uint64_t frame)
	{
		constexpr int step = 4;
		constexpr int overlooked = 16; // levels
		const std::scoped_lock lock(mutex_);
		std::vector<uint8_t> seen;
		seen.reserve(last_.size());
		for (int32_t y = 0; y < height; y += step) {
			for (int32_t x = 0; x < width; x += step) {
				const uint8_t *const pixel = pixels + static_cast<ptrdiff_t>(y) * stride + x * 4;
				seen.insert(seen.end(), pixel, pixel + 3);
			}
		}
		uint64_t changed = 0;
		for (size_t i = 0; seen.size() == last_.size() && i < seen.size(); i += 3) {
			int largest = 0;
			for (size_t channel = i; channel < i + 3; ++channel)
				largest = std::max(largest, std::abs(seen[channel] - last_[channel]));
			changed += largest > overlooked;
		}
		last_ = std::move(seen);
		frames_[frame % frames_.size()] = {frame, changed};
	}

	uint64_t of(uint64_t frame)
	{
		const std::scoped_lock lock(mutex_);
		const auto [number, changed] = frames_[frame % frames_.size()];
		return number == frame ? changed : 0;
	}

private:
	std::mutex mutex_;
	std::vector<uint8_t> last_;
	std::array<std::pair<uint64_t, uint64_t>, 256> frames_{};
};

PictureChanges &picture_changes()
{
	static auto *const instance = new PictureChanges;
	return *instance;
}

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
	if (status != 0) {
		++failed;
		return status;
	}
	picture_changes().take(output, width, height, stride_bytes, processed + 1);
	++processed;
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

__attribute__((visibility("default"))) uint64_t kalvio_probe_changed_pixels(uint64_t frame)
{
	return picture_changes().of(frame);
}
}
