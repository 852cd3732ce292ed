// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/frame_watch.h"

#include "kit/libobs_render.h"

#include <algorithm>
#include <utility>

namespace kalvio::test {

namespace {

bool contains(const std::vector<Picture> &pictures, const Picture &picture)
{
	return std::ranges::find(pictures, picture) != pictures.end();
}

} // namespace

FrameWatch::FrameWatch(obs_source_t *source, std::vector<Picture> allowed, std::vector<Picture> lost)
	: source_(source), allowed_(std::move(allowed)), lost_(std::move(lost))
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
	const Picture blank(allowed_.front().width, allowed_.front().height);
	const Picture shown = render_now(source_, blank.width, blank.height);
	if (!contains(allowed_, shown))
		++(shown == blank || contains(lost_, shown) ? lost_frames_ : wrong_frames_);
	++frames_;
}

} // namespace kalvio::test
