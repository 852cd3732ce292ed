// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/call_journal.h"
#include "kit/host_double.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// The inside of the host double, shared by its files.
namespace kalvio::test {

enum class GpuKind { RenderTarget, StagingSurface, Texture };

// Behind every graphics handle. Kept after its destruction, without its pixels, so that a late use is seen.
struct GpuObject {
	GpuKind kind;
	std::string label;
	uint32_t width = 0;
	uint32_t height = 0;
	bool alive = true;
	bool is_mapped = false;
	bool is_begun = false;
	bool is_rendered = false; // since the last reset of a render target
	bool is_owned = false;    // a render target's own texture, which nobody destroys
	std::vector<uint8_t> pixels;
	std::vector<uint8_t> mapped_rows;
	std::unique_ptr<GpuObject> texture; // of a render target
};

struct HostState {
	mutable std::mutex mutex;
	std::map<std::string, int, std::less<>> failures;
	std::map<std::string, int, std::less<>> throws;
	std::map<std::string, std::function<void()>, std::less<>> actions;
	std::vector<std::unique_ptr<GpuObject>> gpu_objects;
	std::map<GpuKind, int> created;
	std::vector<std::string> misuse;
	std::vector<HostDouble::Registration> registrations;
	MapResult map_result = MapResult::Succeed;
	int row_padding = 0;
	std::string data_folder;
	bool finds_missing_files = false;
	std::atomic<bool> cheap = false;
	std::atomic<uint64_t> frame_time_ns = 0;
};

HostState &host_state();

// What one thread is drawing.
struct RenderState {
	int graphics_depth = 0;
	int blend_depth = 0;
	GpuObject *target = nullptr; // null: the screen
	int effect_passes_left = 0;
	bool effect_running = false;
	GpuObject *effect_image = nullptr;
	std::vector<GpuObject *> mapped; // surfaces
	std::vector<Drawn> screen;
};

RenderState &render_state();

inline bool host_is_cheap()
{
	return host_state().cheap.load(std::memory_order_relaxed);
}

void note_host_misuse(const char *function, const std::string &what);

// Records a call, runs its action and throws when a test wants that. Every function of the double begins with it.
void begin_host_call(const char *function);

template <class... Arguments>
void host_call(const char *function, Arguments &&...arguments)
{
	call_journal().record(CallOrigin::Host, function, nullptr, std::forward<Arguments>(arguments)...);
	begin_host_call(function);
}

// True, once, for each failure that a test has ordered of this function.
bool host_call_fails(const char *function);

} // namespace kalvio::test
