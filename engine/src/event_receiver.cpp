// SPDX-License-Identifier: GPL-2.0-or-later
#include "event_receiver.h"

namespace kalvio::engine {

void EventReceiver::set(kl_event_callback callback, void *user_data)
{
	const std::lock_guard lock(mutex_);
	callback_ = callback;
	user_data_ = user_data;
	if (callback_ != nullptr && ready_is_due_) {
		ready_is_due_ = false;
		emit(Event::Ready, "engine ready");
		for (const auto &[event, message] : std::exchange(kept_, {}))
			emit(event, message);
	}
}

void EventReceiver::keep(Event event, const std::string &message)
{
	const std::lock_guard lock(mutex_);
	kept_.emplace_back(event, message);
}

void EventReceiver::emit(Event event, const std::string &message)
{
	const std::lock_guard lock(mutex_);
	if (callback_ != nullptr)
		callback_(user_data_, static_cast<int32_t>(event), message.c_str());
}

void EventReceiver::close()
{
	const std::lock_guard lock(mutex_);
	callback_ = nullptr;
	ready_is_due_ = false;
}

} // namespace kalvio::engine
