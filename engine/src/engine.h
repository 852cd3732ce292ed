// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "background_load.h"
#include "effects.h"
#include "event_receiver.h"
#include "faces/face_tracker.h"
#include "frame_memory.h"
#include "frame_times.h"
#include "kalvio_engine.h"
#include "loader.h"
#include "log.h"
#include "nets/net_library.h"
#include "pool.h"
#include "settings.h"
#include "stages/person_matte.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

// The record behind a handle: what lives as long as one engine. Guarded by `busy`: one call at a time. The loader's
// thread touches nothing of it but what loads share: the log, the event receiver and themselves.
struct kl_engine {
	// `nets` is not null; where it is not complete, the host is told.
	kl_engine(std::shared_ptr<kalvio::engine::Log> log,
		  std::shared_ptr<const kalvio::engine::NetLibrary> net_library);
	~kl_engine();

	// Takes in what a frame cost, and once per minute logs it.
	void record(const kalvio::engine::FrameTimes::Times &frame_times, int64_t now_us);
	// Logs a failed load and tells the host.
	int32_t report_failed_load(const char *what, const char *path, int32_t status, const std::string &reason);

	// Begins to load a background picture in the place of the load that is under way.
	void begin_background_load(const char *path, kalvio::engine::ImageFile file);
	// Drops the load that is under way; the background that is there stays.
	void abandon_background_load();
	// Puts a load that has ended into effect: its picture, or after a failure no background.
	void settle_background_load();
	void clear_background();

	const int number; // counts from 1 in this process, for the log
	const std::shared_ptr<kalvio::engine::Log> log;
	const std::shared_ptr<const kalvio::engine::NetLibrary> nets; // shared with other engines; perhaps not complete
	std::atomic_flag busy = ATOMIC_FLAG_INIT;

	std::shared_ptr<kalvio::engine::Pool> pool; // set once; tests put in one of another size
	const std::shared_ptr<kalvio::engine::Loader> loader;
	const std::shared_ptr<kalvio::engine::EventReceiver> events;
	kalvio::engine::Settings settings;
	kalvio::engine::Effects effects;
	kalvio::engine::FrameMemory memory;
	// Made by the first frame that needs it; only where the nets are complete.
	std::unique_ptr<kalvio::engine::FaceTracker> faces;
	int64_t faces_time_us = 0;                           // of the last frame that the tracker saw
	std::unique_ptr<kalvio::engine::PersonMatte> person; // made as `faces`
	// False from the beginning of a frame to its end. A frame that found no memory leaves what its stages keep half
	// made, and the next one makes it anew.
	bool is_memory_whole = true;
	// The newest choice of a background picture, until it is in effect.
	std::shared_ptr<kalvio::engine::BackgroundLoad> background_load;
	int frame_width = 0; // of the last frame; 0 before the first
	int frame_height = 0;

	kalvio::engine::FrameTimes times;
	int64_t (*clock_us)(); // a steady clock, also called on the loader's thread; tests put in their own
};
