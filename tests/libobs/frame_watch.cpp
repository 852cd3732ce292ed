// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/frame_watch.h"

#include "kit/libobs_render.h"

#include <algorithm>
#include <utility>

namespace kalvio::test {

FrameWatch::FrameWatch(obs_source_t *source, std::vector<Picture> allowed)
	: source_(source), allowed_(std::move(allowed)), blank_(allowed_.front().width, allowed_.front().height)
{
	obs_add_main_render_callback(draw, this);
}

FrameWatch::~FrameWatch()
{
	obs_remove_main_render_callback(draw, this);
}

void FrameWatch::draw(void *watch, uint32_t /*width*/, uint32_t /*height*/)
{
	static_cast<FrameWatch *>(watch)->look();
}

void FrameWatch::look()
{
	const Picture shown = render_now(source_, blank_.width, blank_.height);
	if (std::ranges::find(allowed_, shown) == allowed_.end())
		++(shown == blank_ ? blank_frames_ : wrong_frames_);
	++frames_;
}

} // namespace kalvio::test
