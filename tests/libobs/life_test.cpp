// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"
#include "kit/seam_doubles.h"
#include "libobs/inner_filter_test.h"
#include "libobs/stress_time.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <util/platform.h>

// All that a user does in a long evening, at random and without a pause, while the host's graphics thread draws.
// KALVIO_STRESS_SECONDS says for how long.
namespace kalvio::test {

namespace {

// One user's collection of sources, and the random acts on it. One thread.
class Evening {
public:
	explicit Evening(unsigned seed) : random_(seed) {}
	~Evening() { obs_set_output_source(0, nullptr); }
	Evening(const Evening &) = delete;
	Evening &operator=(const Evening &) = delete;

	void act()
	{
		static constexpr void (Evening::*acts[])() = {
			&Evening::make_source,    &Evening::drop_source,     &Evening::make_scene,
			&Evening::drop_scene,     &Evening::add_item,        &Evening::add_group,
			&Evening::remove_item,    &Evening::show_something,  &Evening::duplicate_source,
			&Evening::copy_filters,   &Evening::rename_scene,    &Evening::resize_source,
			&Evening::feed_frame,     &Evening::add_one_filter,  &Evening::add_one_filter,
			&Evening::add_one_filter, &Evening::remove_filter,   &Evening::remove_filter,
			&Evening::hide_filter,    &Evening::reorder_filters, &Evening::update_one,
			&Evening::update_one,     &Evening::update_one,      &Evening::update_all,
			&Evening::read_settings,  &Evening::list_filters,    &Evening::list_filters,
			&Evening::force_update,
		};
		(this->*acts[below(std::size(acts))])();
		acts_++;
	}

	int acts() const { return acts_; }
	int filters_made() const { return filters_made_; }
	int filters_seen() const { return filters_seen_; }

private:
	size_t below(size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(random_); }
	bool chance(size_t one_in) { return below(one_in) == 0; }
	double any_strength() { return static_cast<double>(below(1001)) / 1000.0; }
	std::string new_name() { return "Any " + std::to_string(++names_); }

	// Mostly short; now and then as long as no text in the settings ever is.
	std::string any_text()
	{
		return std::string(below(chance(10) ? 4000 : 60), static_cast<char>('a' + below(26)));
	}

	// The host's tick walks over a source's filters without a lock when the source comes into view or leaves it:
	// filters are added and removed only when that has happened.
	void note_change_of_view() { view_changed_ = true; }
	void wait_for_change_of_view()
	{
		if (view_changed_)
			wait_for_tick();
		view_changed_ = false;
	}

	// Any source or scene that can have filters; null when there is none.
	obs_source_t *any_place()
	{
		const size_t count = sources_.size() + scenes_.size();
		if (count == 0)
			return nullptr;
		const size_t index = below(count);
		return index < sources_.size() ? sources_[index].Get()
					       : obs_scene_get_source(scenes_[index - sources_.size()]);
	}

	void make_source()
	{
		if (sources_.size() >= 6)
			return;
		if (chance(4))
			sources_.push_back(create_async_source(new_name()));
		else
			sources_.push_back(create_picture_source(new_name(), any_picture()));
	}

	Picture any_picture()
	{
		return pattern_picture(static_cast<uint32_t>(below(48) + 1), static_cast<uint32_t>(below(32) + 1));
	}

	void drop_source()
	{
		if (sources_.empty())
			return;
		wait_for_change_of_view();
		const auto dropped = sources_.begin() + static_cast<std::ptrdiff_t>(below(sources_.size()));
		obs_source_remove(*dropped); // the scenes let go of it
		sources_.erase(dropped);
		note_change_of_view();
	}

	void make_scene()
	{
		if (scenes_.size() < 3)
			scenes_.emplace_back(obs_scene_create(new_name().c_str()));
	}

	void drop_scene()
	{
		if (scenes_.empty())
			return;
		wait_for_change_of_view();
		const auto dropped = scenes_.begin() + static_cast<std::ptrdiff_t>(below(scenes_.size()));
		obs_source_remove(obs_scene_get_source(*dropped));
		scenes_.erase(dropped);
		note_change_of_view();
	}

	void add_item()
	{
		if (scenes_.empty() || sources_.empty())
			return;
		obs_scene_add(scenes_[below(scenes_.size())], sources_[below(sources_.size())]);
		note_change_of_view();
	}

	void add_group()
	{
		if (scenes_.empty() || sources_.empty())
			return;
		obs_scene_t *const scene = scenes_[below(scenes_.size())];
		obs_sceneitem_t *const group = obs_scene_add_group(scene, new_name().c_str());
		obs_sceneitem_t *const item = obs_scene_add(scene, sources_[below(sources_.size())]);
		if (group && item)
			obs_sceneitem_group_add_item(group, item);
		note_change_of_view();
	}

	void remove_item()
	{
		if (scenes_.empty())
			return;
		wait_for_change_of_view();
		// Inside the walk, which keeps the graphics thread from clearing away an item whose source is gone. The
		// item itself goes after it: what it frees is locked in the other order by the host's tick.
		struct Choice {
			size_t items_before;
			obs_sceneitem_t *removed;
		} choice = {below(4), nullptr};
		obs_scene_enum_items(
			scenes_[below(scenes_.size())],
			[](obs_scene_t *, obs_sceneitem_t *item, void *data) {
				auto &chosen = *static_cast<Choice *>(data);
				if (chosen.items_before-- > 0)
					return true;
				obs_sceneitem_addref(item);
				obs_sceneitem_remove(item);
				chosen.removed = item;
				return false;
			},
			&choice);
		obs_sceneitem_release(choice.removed);
		note_change_of_view();
	}

	void show_something()
	{
		obs_set_output_source(0, chance(8) ? nullptr : any_place());
		note_change_of_view();
	}

	void duplicate_source()
	{
		if (sources_.empty() || sources_.size() >= 6)
			return;
		obs_source_t *const original = sources_[below(sources_.size())];
		sources_.emplace_back(obs_source_duplicate(original, new_name().c_str(), false));
	}

	void copy_filters()
	{
		obs_source_t *const from = any_place();
		obs_source_t *const to = any_place();
		if (!from || from == to || obs_source_filter_count(to) > 3)
			return;
		wait_for_change_of_view();
		obs_source_copy_filters(to, from);
	}

	// Not a source that stands in a scene: OBS 29 frees the names of its hotkeys twice when its item goes.
	void rename_scene()
	{
		if (!scenes_.empty())
			obs_source_set_name(obs_scene_get_source(scenes_[below(scenes_.size())]),
					    (new_name() + any_text()).c_str());
	}

	void resize_source()
	{
		if (obs_source_t *const source = any_source("kalvio_test_picture"))
			set_picture(source, any_picture());
	}

	void feed_frame()
	{
		obs_source_t *const source = any_source("kalvio_test_async");
		if (!source)
			return;
		Picture pixels = any_picture();
		obs_source_frame frame = {};
		frame.data[0] = pixels.rgba.data();
		frame.linesize[0] = pixels.width * 4;
		frame.width = pixels.width;
		frame.height = pixels.height;
		frame.format = VIDEO_FORMAT_RGBA;
		frame.full_range = true;
		frame.timestamp = os_gettime_ns();
		obs_source_output_video(source, &frame);
	}

	obs_source_t *any_source(const std::string &type)
	{
		std::vector<obs_source_t *> found;
		for (const OBSSourceAutoRelease &source : sources_) {
			if (obs_source_get_id(source) == type)
				found.push_back(source);
		}
		return found.empty() ? nullptr : found[below(found.size())];
	}

	void add_one_filter()
	{
		obs_source_t *const place = any_place();
		if (!place || obs_source_filter_count(place) > 3)
			return;
		wait_for_change_of_view();
		const OBSSourceAutoRelease filter = add_filter(place, new_name(), any_settings());
		filters_made_++;
	}

	OBSSourceAutoRelease any_filter()
	{
		std::vector<obs_source_t *> filters;
		obs_source_t *const place = any_place();
		if (place)
			obs_source_enum_filters(
				place,
				[](obs_source_t *, obs_source_t *filter, void *list) {
					static_cast<std::vector<obs_source_t *> *>(list)->push_back(filter);
				},
				&filters);
		return filters.empty() ? nullptr : obs_source_get_ref(filters[below(filters.size())]);
	}

	void remove_filter()
	{
		const OBSSourceAutoRelease filter = any_filter();
		if (!filter)
			return;
		wait_for_change_of_view();
		obs_source_filter_remove(obs_filter_get_parent(filter), filter);
	}

	void hide_filter()
	{
		if (const OBSSourceAutoRelease filter = any_filter())
			obs_source_set_enabled(filter, chance(2));
	}

	void reorder_filters()
	{
		const OBSSourceAutoRelease filter = any_filter();
		if (!filter)
			return;
		wait_for_change_of_view();
		obs_source_filter_set_order(obs_filter_get_parent(filter), filter,
					    chance(2) ? OBS_ORDER_MOVE_TOP : OBS_ORDER_MOVE_BOTTOM);
	}

	// Effects of the catalogue, whose files are there, and texts that name no file but are compared all the same.
	OBSDataAutoRelease any_settings()
	{
		static constexpr const char *filters[] = {"", "rose", "vivid", "extraordinary"};
		static constexpr const char *stickers[] = {"", "fox", "petals", "falling_sakura", "oculos"};
		OBSDataAutoRelease settings = obs_data_create();
		if (chance(2))
			obs_data_set_string(settings, "filter_id", filters[below(std::size(filters))]);
		if (chance(2))
			obs_data_set_string(settings, "sticker_id", stickers[below(std::size(stickers))]);
		if (chance(2))
			obs_data_set_string(settings, "bg_preset", any_text().c_str());
		if (chance(2))
			obs_data_set_string(settings, "bg_image", any_text().c_str());
		if (chance(4))
			obs_data_set_string(settings, any_text().c_str(), any_text().c_str());
		obs_data_set_int(settings, "bg_fill", static_cast<long long>(below(3)));
		obs_data_set_double(settings, "smoothing", any_strength());
		obs_data_set_double(settings, "filter_intensity", any_strength());
		obs_data_set_bool(settings, "enabled", !chance(6));
		return settings;
	}

	void update_one()
	{
		list_registered_filters(listed_);
		if (!listed_.empty())
			update_filter(listed_[below(listed_.size())].id, any_settings());
	}

	void update_all() { update_all_filters(any_settings()); }

	void read_settings()
	{
		const OBSDataAutoRelease settings = obs_data_create();
		read_filter_settings_at(static_cast<int>(below(8)), settings);
		// The host does the same when it saves.
		if (const OBSSourceAutoRelease filter = any_filter()) {
			const OBSDataAutoRelease saved = obs_save_source(filter);
		}
	}

	void list_filters()
	{
		if (!are_registered_filters(listed_))
			list_registered_filters(listed_);
		filters_seen_ = std::max(filters_seen_, static_cast<int>(registered_filter_names().size()));
	}

	void force_update()
	{
		if (!chance(8))
			return;
		set_update_forced(true);
		wait_for_tick();
		set_update_forced(false);
	}

	std::mt19937 random_;
	std::vector<OBSSourceAutoRelease> sources_;
	std::vector<OBSSceneAutoRelease> scenes_;
	std::vector<RegisteredFilter> listed_;
	bool view_changed_ = false;
	int names_ = 0;
	int acts_ = 0;
	int filters_made_ = 0;
	int filters_seen_ = 0;
};

class LifeTest : public InnerFilterTest {
protected:
	void SetUp() override
	{
		InnerFilterTest::SetUp();
		call_journal().set_enabled(false); // it would grow for as long as the test runs
		for (const char *id : {"rose", "vivid", "extraordinary"})
			add_data_file("filters/" + std::string(id) + "/" + id + ".kld");
		for (const char *file : {"face/fox", "face/falling_sakura", "screen/petals", "3d/oculos"})
			add_data_file("stickers/" + std::string(file) + ".kld");
		add_data_file("background.jpg");
	}

	std::optional<SessionOptions> initial_session() override
	{
		SessionOptions options = with_plugin();
		options.frames_per_second = 1000;
		return options;
	}
};

TEST_F(LifeTest, LongEveningLeavesNothingBehind)
{
	const uint32_t first_frame = obs_get_total_frames();
	{
		Evening evening(1);
		const auto end = std::chrono::steady_clock::now() + stress_time();
		while (std::chrono::steady_clock::now() < end)
			evening.act();

		EXPECT_GT(evening.filters_made(), 0);
		EXPECT_GT(evening.filters_seen(), 1);
		RecordProperty("acts", evening.acts());
		RecordProperty("filters", evening.filters_made());
	}
	const uint32_t frames = obs_get_total_frames() - first_frame;
	EXPECT_GT(frames, 0U);
	RecordProperty("frames", static_cast<int>(frames));
}

} // namespace

} // namespace kalvio::test
