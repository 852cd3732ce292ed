// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/test_sources.h"

#include "kit/libobs_session.h"

#include <mutex>
#include <stdexcept>
#include <util/platform.h>
#include <utility>

namespace kalvio::test {

namespace {

constexpr const char *picture_source_id = "kalvio_test_picture";
constexpr const char *async_source_id = "kalvio_test_async";
constexpr const char *copying_filter_id = "kalvio_test_copying_filter";

class PictureSource {
public:
	PictureSource() = default;
	~PictureSource()
	{
		obs_enter_graphics();
		gs_texture_destroy(texture_);
		obs_leave_graphics();
	}
	PictureSource(const PictureSource &) = delete;
	PictureSource &operator=(const PictureSource &) = delete;

	void set_picture(const Picture &picture)
	{
		const std::lock_guard lock(mutex_);
		picture_ = picture;
		width_ = picture.width;
		height_ = picture.height;
		changed_ = true;
	}

	void set_size(uint32_t width, uint32_t height)
	{
		const std::lock_guard lock(mutex_);
		width_ = width;
		height_ = height;
	}

	uint32_t width() const
	{
		const std::lock_guard lock(mutex_);
		return width_;
	}

	uint32_t height() const
	{
		const std::lock_guard lock(mutex_);
		return height_;
	}

	int render_count() const
	{
		const std::lock_guard lock(mutex_);
		return render_count_;
	}

	void render()
	{
		const std::lock_guard lock(mutex_);
		render_count_++;
		if (changed_)
			upload();
		if (texture_)
			obs_source_draw(texture_, 0, 0, width_, height_, false);
	}

private:
	void upload()
	{
		gs_texture_destroy(texture_);
		texture_ = nullptr;
		changed_ = false;
		if (picture_.rgba.empty())
			return;
		const uint8_t *pixels = picture_.rgba.data();
		texture_ = gs_texture_create(picture_.width, picture_.height, GS_RGBA, 1, &pixels, 0);
		if (!texture_)
			blog(LOG_ERROR, "test source: no texture of %ux%u", picture_.width, picture_.height);
	}

	mutable std::mutex mutex_;
	Picture picture_;
	bool changed_ = false;
	uint32_t width_ = 0;
	uint32_t height_ = 0;
	int render_count_ = 0;
	gs_texture_t *texture_ = nullptr;
};

PictureSource &picture_source(void *data)
{
	return *static_cast<PictureSource *>(data);
}

PictureSource &picture_source_of(obs_source_t *source)
{
	return picture_source(obs_obj_get_data(source));
}

void register_picture_source()
{
	obs_source_info info = {};
	info.id = picture_source_id;
	info.type = OBS_SOURCE_TYPE_INPUT;
	info.output_flags = OBS_SOURCE_VIDEO;
	info.get_name = [](void *) {
		return picture_source_id;
	};
	info.create = [](obs_data_t *, obs_source_t *) -> void * {
		return new PictureSource;
	};
	info.destroy = [](void *data) {
		delete static_cast<PictureSource *>(data);
	};
	info.get_width = [](void *data) {
		return picture_source(data).width();
	};
	info.get_height = [](void *data) {
		return picture_source(data).height();
	};
	info.video_render = [](void *data, gs_effect_t *) {
		picture_source(data).render();
	};
	obs_register_source_s(&info, sizeof(info));
}

void register_async_source()
{
	obs_source_info info = {};
	info.id = async_source_id;
	info.type = OBS_SOURCE_TYPE_INPUT;
	info.output_flags = OBS_SOURCE_ASYNC_VIDEO;
	info.get_name = [](void *) {
		return async_source_id;
	};
	info.create = [](obs_data_t *, obs_source_t *source) -> void * {
		return source;
	};
	info.destroy = [](void *) {
	};
	obs_register_source_s(&info, sizeof(info));
}

// The action of before_next_copy.
struct CopyHook {
	std::mutex mutex;
	std::function<void()> action;
};

CopyHook &copy_hook()
{
	static CopyHook instance;
	return instance;
}

void run_copy_hook()
{
	std::unique_lock lock(copy_hook().mutex);
	const std::function<void()> action = std::exchange(copy_hook().action, nullptr);
	lock.unlock();
	if (action)
		action();
}

void draw_copy(void *data, gs_effect_t *)
{
	run_copy_hook();
	auto *const filter = static_cast<obs_source_t *>(data);
	if (!obs_source_process_filter_begin(filter, GS_RGBA, OBS_NO_DIRECT_RENDERING))
		return;
	gs_blend_state_push();
	gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
	obs_source_process_filter_end(filter, obs_get_base_effect(OBS_EFFECT_DEFAULT), 0, 0);
	gs_blend_state_pop();
}

void register_copying_filter()
{
	obs_source_info info = {};
	info.id = copying_filter_id;
	info.type = OBS_SOURCE_TYPE_FILTER;
	info.output_flags = OBS_SOURCE_VIDEO;
	info.get_name = [](void *) {
		return copying_filter_id;
	};
	info.create = [](obs_data_t *, obs_source_t *source) -> void * {
		return source;
	};
	info.destroy = [](void *) {
	};
	info.video_render = draw_copy;
	obs_register_source_s(&info, sizeof(info));
}

OBSSourceAutoRelease create_source(const char *id, const std::string &name)
{
	OBSSourceAutoRelease source = obs_source_create(id, name.c_str(), nullptr, nullptr);
	if (!source)
		throw std::runtime_error("no source could be made of type " + std::string(id));
	return source;
}

} // namespace

void register_test_sources()
{
	register_picture_source();
	register_async_source();
	register_copying_filter();
}

OBSSourceAutoRelease create_picture_source(const std::string &name, const Picture &picture)
{
	OBSSourceAutoRelease source = create_source(picture_source_id, name);
	set_picture(source, picture);
	return source;
}

void set_picture(obs_source_t *source, const Picture &picture)
{
	picture_source_of(source).set_picture(picture);
}

void set_reported_size(obs_source_t *source, uint32_t width, uint32_t height)
{
	picture_source_of(source).set_size(width, height);
}

int render_count(obs_source_t *source)
{
	return picture_source_of(source).render_count();
}

OBSSourceAutoRelease create_copying_filter(const std::string &name)
{
	return create_source(copying_filter_id, name);
}

void before_next_copy(std::function<void()> action)
{
	const std::lock_guard lock(copy_hook().mutex);
	copy_hook().action = std::move(action);
}

OBSSourceAutoRelease create_async_source(const std::string &name)
{
	OBSSourceAutoRelease source = create_source(async_source_id, name);
	obs_source_set_async_unbuffered(source, true); // each frame is shown by the next tick
	return source;
}

void output_frame(obs_source_t *source, const Picture &picture)
{
	obs_source_frame frame = {};
	Picture pixels = picture;
	frame.data[0] = pixels.rgba.data();
	frame.linesize[0] = picture.width * 4;
	frame.width = picture.width;
	frame.height = picture.height;
	frame.format = VIDEO_FORMAT_RGBA;
	frame.full_range = true;
	frame.timestamp = os_gettime_ns();
	// The host drops a frame that is not drawn before the next tick, so the source is put on the canvas meanwhile.
	obs_set_output_source(0, source);
	obs_source_output_video(source, &frame); // copies the pixels
	wait_for_tick();
	wait_for_composed_frame();
	obs_set_output_source(0, nullptr);
}

} // namespace kalvio::test
