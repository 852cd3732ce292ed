// SPDX-License-Identifier: GPL-2.0-or-later
#include "background_load.h"

#include <new>
#include <utility>

namespace kalvio::engine {

BackgroundLoad::BackgroundLoad(Origin origin, std::string path, ImageFile file)
	: origin_(std::move(origin)), path_(std::move(path)), file_(std::move(file))
{
}

void BackgroundLoad::set_frame_size(int width, int height)
{
	frame_size_.store(uint64_t{static_cast<uint32_t>(width)} << 32 | static_cast<uint32_t>(height),
			  std::memory_order_relaxed);
}

ReadResult BackgroundLoad::load()
{
	DecodeControl control;
	control.cover_width = BackgroundPicture::largest_width;
	control.cover_height = BackgroundPicture::largest_height;
	control.clock_us = origin_.clock_us;
	control.cancelled = &abandoned_;
	Image image;
	{
		Bytes bytes;
		if (ReadResult result = read_image(file_, bytes, control); !result)
			return result;
		file_.file = nullptr;
		control.deadline_us = origin_.clock_us() + max_decoding_us;
		if (ReadResult result = decode_image(bytes, image, control); !result)
			return result;
	}
	BackgroundPicture picture(std::move(image), &abandoned_);
	const uint64_t frame_size = frame_size_.load(std::memory_order_relaxed);
	if (frame_size != 0)
		picture.fit(static_cast<int>(frame_size >> 32), static_cast<int>(frame_size & 0xFFFFFFFF), nullptr,
			    &abandoned_);
	picture_ = std::move(picture);
	return {};
}

void BackgroundLoad::run() noexcept
{
	try {
		const ReadResult result = abandoned_ ? ReadResult{} : load();
		if (!result)
			report(result.reason);
		else if (picture_ && !abandoned_)
			origin_.log->write(LogLevel::Information, "engine %d: background picture %s, %d x %d",
					   origin_.engine_number, path_.c_str(), picture_->width(), picture_->height());
	} catch (const std::bad_alloc &) {
		report("out of memory");
	} catch (...) {
		report("unknown failure");
	}
	end();
}

void BackgroundLoad::report(const std::string &reason)
{
	const auto lock = origin_.events->lock(); // abandoned before: no word; after: it waits until this is said
	if (abandoned_)
		return;
	origin_.log->write(LogLevel::Error, "engine %d: background picture %s: %s", origin_.engine_number,
			   path_.c_str(), reason.c_str());
	origin_.events->emit(Event::ResourceFailed, "background picture " + path_ + ": " + reason);
}

void BackgroundLoad::end()
{
	{
		const std::lock_guard lock(mutex_);
		ended_.store(true, std::memory_order_release);
	}
	end_.notify_all();
}

bool BackgroundLoad::wait(std::chrono::milliseconds longest)
{
	std::unique_lock lock(mutex_);
	return end_.wait_for(lock, longest, [this] { return has_ended(); });
}

void BackgroundLoad::abandon()
{
	const auto lock = origin_.events->lock();
	abandoned_ = true;
}

} // namespace kalvio::engine
