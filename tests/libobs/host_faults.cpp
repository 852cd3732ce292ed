// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/host_faults.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <graphics/graphics.h>
#include <mutex>
#include <obs.h>
#include <string_view>
#include <vector>

namespace kalvio::test {

namespace {

struct Fault {
	std::atomic<int> failures_left = 0;
	std::atomic<int> calls = 0;
};

std::array<Fault, static_cast<size_t>(HostFunction::count)> faults;
std::atomic<MappedRows> mapped_rows = MappedRows::Surface;

Fault &fault_of(HostFunction function)
{
	return faults[static_cast<size_t>(function)];
}

// Whether `return_address` lies in our module's code.
bool is_module_code(const void *return_address)
{
	Dl_info info = {};
	if (dladdr(return_address, &info) == 0 || !info.dli_fname)
		return false;
	return std::string_view(info.dli_fname).ends_with("/obs-kalvio.so");
}

bool take_failure(std::atomic<int> &failures_left)
{
	int left = failures_left;
	while (left > 0) {
		if (failures_left.compare_exchange_weak(left, left - 1))
			return true;
	}
	return left == every_time;
}

// Counts a call of the module and tells whether it has to fail.
bool fails(HostFunction function, const void *return_address)
{
	if (!is_module_code(return_address))
		return false;
	fault_of(function).calls++;
	return take_failure(fault_of(function).failures_left);
}

// The host's own function of this name.
template <class Function>
Function *host(const char *name)
{
	void *symbol = dlsym(RTLD_NEXT, name);
	if (!symbol)
		std::abort();
	return reinterpret_cast<Function *>(symbol);
}

// What maps in another pitch hand out. A module maps one surface at a time on one thread, the graphics thread.
std::vector<uint8_t> repitched_rows;

void repitch(gs_stagesurf_t *surface, uint8_t **data, uint32_t *row_bytes, uint32_t new_row_bytes)
{
	const size_t height = gs_stagesurface_get_height(surface);
	repitched_rows.assign(height * new_row_bytes, 0xEE);
	const size_t copied_bytes = std::min(*row_bytes, new_row_bytes);
	for (size_t y = 0; y < height; y++)
		std::memcpy(repitched_rows.data() + y * new_row_bytes, *data + y * *row_bytes, copied_bytes);
	*data = repitched_rows.data();
	*row_bytes = new_row_bytes;
}

} // namespace

void make_fail(HostFunction function, int times)
{
	fault_of(function).failures_left = times;
}

void set_mapped_rows(MappedRows result)
{
	mapped_rows = result;
}

int module_calls(HostFunction function)
{
	return fault_of(function).calls;
}

void reset_host_faults()
{
	for (Fault &fault : faults) {
		fault.failures_left = 0;
		fault.calls = 0;
	}
	mapped_rows = MappedRows::Surface;
}

} // namespace kalvio::test

using namespace kalvio::test;

#define HOST(name) (host<decltype(name)>(#name))
#define MODULE_CALL_FAILS(name) (fails(HostFunction::name, __builtin_return_address(0)))

// Exported, so that the module finds them here.
#pragma GCC visibility push(default)
extern "C" {

gs_texrender_t *gs_texrender_create(gs_color_format format, gs_zstencil_format zsformat)
{
	static const auto forward = HOST(gs_texrender_create);
	return MODULE_CALL_FAILS(gs_texrender_create) ? nullptr : forward(format, zsformat);
}

bool gs_texrender_begin(gs_texrender_t *texrender, uint32_t width, uint32_t height)
{
	static const auto forward = HOST(gs_texrender_begin);
	return !MODULE_CALL_FAILS(gs_texrender_begin) && forward(texrender, width, height);
}

gs_texture_t *gs_texrender_get_texture(const gs_texrender_t *texrender)
{
	static const auto forward = HOST(gs_texrender_get_texture);
	return MODULE_CALL_FAILS(gs_texrender_get_texture) ? nullptr : forward(texrender);
}

gs_stagesurf_t *gs_stagesurface_create(uint32_t width, uint32_t height, gs_color_format format)
{
	static const auto forward = HOST(gs_stagesurface_create);
	return MODULE_CALL_FAILS(gs_stagesurface_create) ? nullptr : forward(width, height, format);
}

gs_texture_t *gs_texture_create(uint32_t width, uint32_t height, gs_color_format format, uint32_t levels,
				const uint8_t **data, uint32_t flags)
{
	static const auto forward = HOST(gs_texture_create);
	return MODULE_CALL_FAILS(gs_texture_create) ? nullptr : forward(width, height, format, levels, data, flags);
}

obs_source_t *obs_filter_get_target(const obs_source_t *filter)
{
	static const auto forward = HOST(obs_filter_get_target);
	return MODULE_CALL_FAILS(obs_filter_get_target) ? nullptr : forward(filter);
}

obs_source_t *obs_source_get_ref(obs_source_t *source)
{
	static const auto forward = HOST(obs_source_get_ref);
	return MODULE_CALL_FAILS(obs_source_get_ref) ? nullptr : forward(source);
}

bool gs_stagesurface_map(gs_stagesurf_t *surface, uint8_t **data, uint32_t *row_bytes)
{
	static const auto forward = HOST(gs_stagesurface_map);
	const void *const caller = __builtin_return_address(0);
	if (fails(HostFunction::gs_stagesurface_map, caller))
		return false;
	const bool mapped = forward(surface, data, row_bytes);
	if (!mapped || !is_module_code(caller))
		return mapped;

	const uint32_t packed_row_bytes = gs_stagesurface_get_width(surface) * 4;
	switch (mapped_rows.load()) {
	case MappedRows::Surface:
		break;
	case MappedRows::NullData:
		*data = nullptr;
		break;
	case MappedRows::WidePitch:
		repitch(surface, data, row_bytes, packed_row_bytes + 52);
		break;
	case MappedRows::ShortPitch:
		repitch(surface, data, row_bytes, packed_row_bytes - 4);
		break;
	}
	return true;
}

} // extern "C"
#pragma GCC visibility pop
