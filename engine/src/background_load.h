// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "event_receiver.h"
#include "image_reader.h"
#include "log.h"
#include "stages/background_picture.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kalvio::engine {

// A background picture on its way from an opened file to the frames. An engine holds the load that was asked for last;
// the loader's thread runs it and may outlast the engine, whose log and event receiver the load therefore shares.
class BackgroundLoad {
public:
	struct Origin {
		int engine_number;
		std::shared_ptr<Log> log;
		std::shared_ptr<EventReceiver> events;
		int64_t (*clock_us)(); // a steady clock
	};

	BackgroundLoad(Origin origin, std::string path, ImageFile file);

	// --- The loader's thread

	// Reads, decodes and scales. A failure becomes a line of the log and an event, unless nobody waits any more.
	void run() noexcept;

	// --- The engine's thread

	// The size of the frames, for which the picture is scaled if it is told in time.
	void set_frame_size(int width, int height);

	bool has_ended() const { return ended_.load(std::memory_order_acquire); }

	// False when the load has not ended after this time.
	bool wait(std::chrono::milliseconds longest);

	// Once, after the end: the picture, or nothing after a failure.
	std::optional<BackgroundPicture> take() { return std::move(picture_); }

	// Nobody waits for it any more: it ends soon, and says nothing after this has returned.
	void abandon();

private:
	ReadResult load();
	void report(const std::string &reason);
	void end();

	const Origin origin_;
	const std::string path_;
	ImageFile file_;
	std::atomic<bool> abandoned_ = false;
	std::atomic<uint64_t> frame_size_ = 0; // width in the upper half, height in the lower; 0: unknown

	std::optional<BackgroundPicture> picture_; // written before the end, taken after it
	std::atomic<bool> ended_ = false;
	std::mutex mutex_; // between the end and those who wait for it
	std::condition_variable end_;
};

} // namespace kalvio::engine
