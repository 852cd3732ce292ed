// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/frame_guard.h"

#include "filter/filter_fixture.h"

#include <atomic>
#include <thread>

// A filter that is removed from its source while it draws, as the host does it: on another thread, and with the parent
// set to null whether or not a frame is under way.
namespace {

using namespace kalvio;
using namespace kalvio::test;

using Labels = std::vector<std::string>;

class FrameGuardTest : public FilterFixture {
protected:
	// Removes `filter` on a thread of its own, called from inside a frame. `was_removed_in_frame_` says whether the
	// host got to the end of it while the frame was under way, which gives it this much time.
	void remove_during_frame(FakeSource &filter,
				 std::chrono::milliseconds frame_time = std::chrono::milliseconds(100))
	{
		set_engine_script({.during_process = [this, &filter, frame_time](kl_engine *) {
			if (removal_.valid())
				return;
			removal_ = std::async(std::launch::async, [&filter] { filter.remove_from_source(); });
			was_removed_in_frame_ = removal_.wait_for(frame_time) == std::future_status::ready;
		}});
	}

	std::future<void> removal_;
	bool was_removed_in_frame_ = false;
};

TEST_F(FrameGuardTest, RemovalWaitsForTheFrame)
{
	create();
	remove_during_frame(filter_);
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
	removal_.get();
	EXPECT_FALSE(was_removed_in_frame_);
	EXPECT_EQ(filter_.parent.load(), nullptr);
}

// The engine fails, so that the frame asks the host for the source a second time.
TEST_F(FrameGuardTest, AFrameThatFailsAfterTheRemovalBeganStillHasItsSource)
{
	create();
	host_double().fail("gs_texrender_get_texture");
	host_double().on_call("gs_texrender_get_texture", [this] {
		removal_ = std::async(std::launch::async, [this] { filter_.remove_from_source(); });
		was_removed_in_frame_ = removal_.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready;
	});
	EXPECT_EQ(labels_of(render()), Labels{"Camera"});
	removal_.get();
	EXPECT_FALSE(was_removed_in_frame_);
}

TEST_F(FrameGuardTest, ARemovedFilterDrawsNothingAndWorksWhenItIsPutBack)
{
	create();
	render();
	filter_.remove_from_source();
	EXPECT_EQ(labels_of(render()), Labels());
	filter_.put_on(camera_);
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});

	// The second connection is as good as the first.
	remove_during_frame(filter_);
	render();
	removal_.get();
	EXPECT_FALSE(was_removed_in_frame_);
}

TEST_F(FrameGuardTest, AFilterThatMovesToAnotherSourceIsGuardedThere)
{
	FakeSource other("Other camera");
	other.set_size(4, 4);
	create();
	render();
	filter_.remove_from_source();
	filter_.put_on(other);
	remove_during_frame(filter_);
	const std::vector<Drawn> screen = render();
	removal_.get();
	ASSERT_EQ(screen.size(), 1u);
	EXPECT_EQ(screen[0].picture, other.picture);
	EXPECT_FALSE(was_removed_in_frame_);
}

// The host has taken the filter out of the source's list, but not yet set its parent to null.
TEST_F(FrameGuardTest, AFilterWhoseRemovalHasBegunDrawsNothing)
{
	create();
	Labels labels = {"never drawn"};
	signal_handler_t *signals = obs_source_get_signal_handler(camera_.handle());
	std::function<void()> draw = [&] {
		labels = labels_of(render());
	};
	const auto run = [](void *action, calldata_t *) {
		(*static_cast<std::function<void()> *>(action))();
	};
	signal_handler_connect(signals, "filter_remove", run, &draw);
	filter_.remove_from_source();
	EXPECT_EQ(labels, Labels());
	EXPECT_TRUE(host_double().misuse().empty());
}

// A filter that lies behind this one in the chain is drawn inside this one's frame.
TEST_F(FrameGuardTest, RemovalOfAnotherFilterOfTheSourceWaitsToo)
{
	FakeSource behind("Filter behind");
	behind.put_on(camera_);
	create();
	obs_data_set_bool(behind.settings, "enabled", false); // the double draws into one render target at a time
	behind.create_filter(info_);
	bool was_drawn_inside = false;
	host_double().on_call("obs_source_skip_video_filter", [&] {
		if (std::exchange(was_drawn_inside, true))
			return;
		info_.video_render(behind.data, nullptr);
		removal_ = std::async(std::launch::async, [&] { behind.remove_from_source(); });
		was_removed_in_frame_ = removal_.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready;
	});
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
	removal_.get();
	EXPECT_TRUE(was_drawn_inside);
	EXPECT_FALSE(was_removed_in_frame_);
	behind.destroy_filter();
}

// A source that is drawn by a script can remove its own filter while it draws; there is nobody to wait for then.
TEST_F(FrameGuardTest, ASourceThatRemovesItsFilterWhileItDrawsIsNotWaitedFor)
{
	create();
	render();
	bool is_removed = false;
	host_double().on_call("obs_source_skip_video_filter", [&] {
		if (!std::exchange(is_removed, true))
			filter_.remove_from_source();
	});
	host_double().fail("gs_texrender_get_texture", 1);
	render();
	EXPECT_TRUE(is_removed);
	host_double().on_call("obs_source_skip_video_filter", {});
	EXPECT_EQ(labels_of(render()), Labels());
}

// The host may change the order of filters while it draws them: what lies before this filter then lies behind it.
TEST_F(FrameGuardTest, AFilterThatIsDrawnInsideItsOwnFramePassesItsSourceThrough)
{
	create();
	bool was_drawn_inside = false;
	host_double().on_call("obs_source_skip_video_filter", [&] {
		if (!std::exchange(was_drawn_inside, true))
			info_.video_render(filter_.data, nullptr);
	});
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
	EXPECT_TRUE(was_drawn_inside);
	EXPECT_EQ(call_journal().count("obs_source_skip_video_filter"), 2u);
	EXPECT_EQ(call_journal().count("kl_process_rgba"), 1u);
}

TEST_F(FrameGuardTest, TheRemovalOfAnotherSourcesFilterDoesNotWait)
{
	FakeSource other_camera("Other camera");
	FakeSource other("Other filter");
	other.put_on(other_camera);
	create();
	remove_during_frame(other, std::chrono::seconds(30));
	render();
	removal_.get();
	EXPECT_TRUE(was_removed_in_frame_);
}

} // namespace
