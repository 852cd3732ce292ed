// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace kalvio::engine {

// A progressive JPEG of ordinary programs has about ten scans. Each one goes over the whole picture again, and a small
// file can hold thousands.
inline constexpr int max_jpeg_scans = 100;
inline constexpr int64_t max_decoding_us = 2'000'000;

// What bounds a decoding and can end it early. The initial values ask for the whole picture, however long it takes.
struct DecodeControl {
	// A JPEG is decoded at the smallest eighth of its size that still covers these pixels; 0: at its full size.
	int cover_width = 0;
	int cover_height = 0;
	// A steady clock; null: the time is not limited. Decoding fails when it shows more than `deadline_us`.
	int64_t (*clock_us)() = nullptr;
	int64_t deadline_us = 0;
	// Another thread sets it to end the decoding; null: nobody does.
	const std::atomic<bool> *cancelled = nullptr;

	bool is_cancelled() const { return cancelled != nullptr && cancelled->load(std::memory_order_relaxed); }
	// Why the decoder is to give up; null: it goes on. Cheap: asked for every row.
	const char *reason_to_stop() const;
};

} // namespace kalvio::engine
