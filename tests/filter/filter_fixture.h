// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "filter/filter_instance.h"
#include "filter/filter_source.h"
#include "kit/double_fixture.h"
#include "kit/platform_double.h"
#include "kit/scratch.h"

#include <chrono>
#include <future>
#include <mutex>
#include <obs.hpp>

namespace kalvio::test {

// A camera of 16 x 8 with the filter on it, and a data folder with a resource bundle. The tests create the filter.
class FilterFixture : public DoubleFixture {
protected:
	FilterFixture()
	{
		reset_platform();
		bundle_ = data_.write("resource.kld");
		host_double().set_data_folder(data_.path().generic_string());
		camera_.set_size(16, 8);
		filter_.put_on(camera_);
	}

	~FilterFixture() override
	{
		filter_.destroy_filter();
		EXPECT_EQ(filter_.references(), 0);
		EXPECT_EQ(filter_.weak_references(), 0);
	}

	// Creates the filter as the host does and forgets the calls of that.
	FilterInstance &create()
	{
		filter_.create_filter(info_);
		forget();
		return instance();
	}

	FilterInstance &instance() { return *static_cast<FilterInstance *>(filter_.data); }

	// What one frame draws on the screen.
	std::vector<Drawn> render()
	{
		return host_double().render([this] { info_.video_render(filter_.data, nullptr); });
	}

	// The same in a further view of the same frame of the host.
	std::vector<Drawn> render_view()
	{
		return host_double().render_view([this] { info_.video_render(filter_.data, nullptr); });
	}

	// Changes one setting through the host.
	void update_bool(const char *key, bool value)
	{
		const OBSDataAutoRelease changes = obs_data_create();
		obs_data_set_bool(changes, key, value);
		filter_.update(changes);
	}
	void update_double(const char *key, double value)
	{
		const OBSDataAutoRelease changes = obs_data_create();
		obs_data_set_double(changes, key, value);
		filter_.update(changes);
	}
	void update_string(const char *key, const char *value)
	{
		const OBSDataAutoRelease changes = obs_data_create();
		obs_data_set_string(changes, key, value);
		filter_.update(changes);
	}
	// Has the filter apply its settings once more.
	void update_nothing()
	{
		const OBSDataAutoRelease changes = obs_data_create();
		filter_.update(changes);
	}

	void remove_bundle() { std::filesystem::remove(bundle_); }

	void forget()
	{
		call_journal().reset();
		log_.clear();
	}

	// Whether another thread finds the instance's lock taken.
	static bool is_locked(FilterInstance &instance)
	{
		return !std::async(std::launch::async, [&instance] {
				return std::unique_lock(instance.mutex, std::try_to_lock).owns_lock();
			}).get();
	}

	ScratchFolder data_;
	std::string bundle_;
	FakeSource camera_{"Camera"};
	FakeSource filter_{"Kalvio filter"};
	obs_source_info info_ = filter_source_info();
};

// What a frame shows when nothing has touched it.
inline std::vector<std::string> labels_of(const std::vector<Drawn> &screen)
{
	std::vector<std::string> labels;
	for (const Drawn &drawn : screen)
		labels.push_back(drawn.what);
	return labels;
}

// What the recording engine's inversion makes of a picture: all four channels.
inline Picture engine_inverted(Picture picture)
{
	for (uint8_t &value : picture.rgba)
		value = static_cast<uint8_t>(255 - value);
	return picture;
}

} // namespace kalvio::test
