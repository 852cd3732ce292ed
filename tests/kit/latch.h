// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kalvio::test {

// A fact that one thread states and others wait for.
class Latch {
public:
	void open()
	{
		const std::lock_guard lock(mutex_);
		open_ = true;
		changed_.notify_all();
	}

	void wait()
	{
		std::unique_lock lock(mutex_);
		changed_.wait(lock, [this] { return open_; });
	}

	// False when it was not opened in time.
	bool wait_for(std::chrono::milliseconds timeout)
	{
		std::unique_lock lock(mutex_);
		return changed_.wait_for(lock, timeout, [this] { return open_; });
	}

private:
	std::mutex mutex_;
	std::condition_variable changed_;
	bool open_ = false;
};

} // namespace kalvio::test
