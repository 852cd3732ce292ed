// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/dock_host.h"

#include "dock_fixture.h"
#include "filter/filter_registry.h"
#include "kit/allocation_check.h"
#include "kit/config_double.h"
#include "kit/history_double.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"

#include <QApplication>
#include <QComboBox>
#include <QPointer>
#include <QScreen>
#include <QSlider>
#include <thread>

using namespace kalvio;
using namespace kalvio::test;

// Creating the dock

TEST_F(DockTest, StartAddsTheDockAndTheToolsEntry)
{
	start_dock_host();
	ASSERT_TRUE(panel());
	EXPECT_STREQ(panel()->metaObject()->className(), "kalvio::KalvioPanel");
	EXPECT_EQ(frontend->dock_title, "Kalvio");
	EXPECT_EQ(frontend->tools_titles, std::vector<std::string>{"Kalvio"});
	EXPECT_EQ(frontend->callback_count(), 1u);
	EXPECT_EQ(log.count({LOG_INFO, "[Kalvio] Qt dock added"}), 1u);
}

TEST_F(DockTest, FinishedLoadingAddsNoSecondDock)
{
	start();
	EXPECT_EQ(frontend->docks_added, 1);
}

TEST_F(DockTest, PanelSpeaksTheLanguageOfTheHost)
{
	frontend->locale = "ja-JP";
	start_dock_host();
	EXPECT_EQ(panel()->windowTitle().toStdString(), "レタッチコンソール");
}

TEST_F(DockTest, MissingMainWindowIsTriedAgainOnceTheHostHasLoaded)
{
	frontend->set_foreign_window(nullptr);
	start_dock_host();
	EXPECT_EQ(frontend->docks_added, 0);
	EXPECT_TRUE(log.product_lines().empty());
	frontend->set_foreign_window(frontend->window());
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_EQ(frontend->docks_added, 1);
}

TEST_F(DockTest, MainWindowOfAnotherKindGetsNoDock)
{
	QWidget other;
	frontend->set_foreign_window(&other);
	start();
	show_dock();
	EXPECT_EQ(frontend->docks_added, 0);
	EXPECT_TRUE(frontend_ready());
}

TEST_F(DockTest, RefusedDockIsReportedAndTriedAgain)
{
	frontend->refuses_docks = true;
	const auto widgets_before = QApplication::allWidgets().size();
	start_dock_host();
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] failed to add Qt dock"}), 1u);
	EXPECT_EQ(QApplication::allWidgets().size(), widgets_before);
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] failed to add Qt dock"}), 2u);
	frontend->refuses_docks = false;
	ASSERT_TRUE(frontend->tools_entry());
	frontend->tools_entry()->trigger();
	ASSERT_TRUE(frontend->dock());
	EXPECT_FALSE(dock().isHidden());
}

// Showing it

TEST_F(DockTest, DockIsShownAtStart_WhenTheUserWantsThat)
{
	start();
	EXPECT_FALSE(dock().isHidden());
}

TEST_F(DockTest, DockStaysAsTheHostLeftIt_WhenTheUserDoesNotWantItAtStart)
{
	write_preferences(R"({"open_on_startup": false})");
	start();
	EXPECT_TRUE(dock().isHidden());
}

TEST_F(DockTest, ShowDockShowsAHiddenDock)
{
	start();
	dock().hide();
	show_dock();
	EXPECT_FALSE(dock().isHidden());
}

TEST_F(DockTest, ToolsEntryShowsAHiddenDock)
{
	start();
	dock().hide();
	frontend->tools_entry()->trigger();
	EXPECT_FALSE(dock().isHidden());
}

TEST_F(DockTest, ShowDockMovesTheFiltersWindowBesideTheDockThatItCovers)
{
	start();
	frontend->window()->setGeometry(300, 20, 480, 500);
	frontend->window()->show();
	dock().show();
	run_event_loop();
	QWidget filters(frontend->window(), Qt::Dialog);
	filters.setObjectName(QStringLiteral("OBSBasicFilters"));
	filters.setGeometry(310, 30, 200, 300);
	filters.show();
	const auto place = [this] {
		return QRect(dock().mapToGlobal(QPoint(0, 0)), dock().size());
	};
	filters.move(place().topLeft());
	show_dock();
	EXPECT_FALSE(filters.frameGeometry().intersects(place()));
	EXPECT_TRUE(dock().screen()->availableGeometry().contains(filters.frameGeometry()));
	// One that does not cover it stays.
	const QPoint aside = filters.pos();
	show_dock();
	EXPECT_EQ(filters.pos(), aside);
}

TEST_F(DockTest, ShowDockActivatesAFloatingDock)
{
	start();
	dock().setFloating(true);
	dock().show();
	QWidget other;
	other.show();
	other.activateWindow();
	run_event_loop();
	ASSERT_FALSE(dock().isActiveWindow());
	show_dock();
	run_event_loop();
	EXPECT_TRUE(dock().isActiveWindow());
}

TEST_F(DockTest, ShowDockFromAnotherThreadWaitsForTheEventLoop)
{
	start();
	dock().hide();
	std::thread(show_dock).join();
	EXPECT_TRUE(dock().isHidden());
	run_event_loop();
	EXPECT_FALSE(dock().isHidden());
}

TEST_F(DockTest, ShowDockBeforeTheStartDoesNothing)
{
	show_dock();
	EXPECT_EQ(frontend->docks_added, 0);
}

// Front end ready

TEST_F(DockTest, FrontendIsReadyOneTurnAfterItHasLoaded)
{
	start_dock_host();
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_FALSE(frontend_ready());
	run_event_loop();
	EXPECT_TRUE(frontend_ready());
	frontend->send(OBS_FRONTEND_EVENT_EXIT);
	EXPECT_TRUE(frontend_ready());
}

TEST_F(DockTest, FrontendIsNotReadyWhileItLoadsAnotherCollection)
{
	start();
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	EXPECT_FALSE(frontend_ready());
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	EXPECT_TRUE(frontend_ready());
}

TEST_F(DockTest, FrontendIsReadyWithoutADock)
{
	frontend->refuses_docks = true;
	start();
	EXPECT_TRUE(frontend_ready());
}

// Polling

TEST_F(DockTest, PanelIsPolledFiveTimesASecond)
{
	start_dock_host();
	ASSERT_TRUE(poll_timer());
	EXPECT_EQ(poll_timer()->interval(), 200);
	EXPECT_FALSE(poll_timer()->isSingleShot());
	EXPECT_TRUE(poll_timer()->isActive());
}

TEST_F(DockTest, PollShowsAFilterThatWasAdded)
{
	start();
	FakeSource filter("Camera");
	register_filter(filter.handle());
	fire(*poll_timer());
	const auto *selector = panel()->findChild<QComboBox *>();
	ASSERT_TRUE(selector);
	EXPECT_EQ(selector->count(), 2);
	EXPECT_EQ(selector->itemText(1).toStdString(), "Camera");
	unregister_filter(filter.handle());
}

// The features of the dock

TEST_F(DockTest, DockHasNoCloseButtonHoweverItIsMoved)
{
	const QDockWidget::DockWidgetFeatures expected =
		QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable;
	start();
	for (int i = 0; i < 3; ++i) {
		EXPECT_EQ(dock().features(), expected);
		EXPECT_EQ(close_buttons_shown(), 0);
		float_at(100, 100, 400, 600);
		EXPECT_EQ(close_buttons_shown(), 0);
		dock_at(Qt::LeftDockWidgetArea);
	}
}

TEST_F(DockTest, UnlockedDockHasNoCloseButton)
{
	start();
	frontend->lock_docks(true);
	EXPECT_EQ(dock().features(), QDockWidget::NoDockWidgetFeatures);
	frontend->lock_docks(false);
	EXPECT_FALSE(dock().features().testFlag(QDockWidget::DockWidgetClosable));
	EXPECT_TRUE(dock().features().testFlag(QDockWidget::DockWidgetMovable));
	EXPECT_EQ(close_buttons_shown(), 0);
}

TEST_F(DockTest, DockThatTheHostLockedAtItsStartStaysLocked)
{
	start_dock_host();
	frontend->lock_docks(true);
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	run_event_loop();
	EXPECT_EQ(dock().features(), QDockWidget::NoDockWidgetFeatures);
}

// Other scene collections

TEST_F(DockTest, CollectionThatIsLoadedWithAllSourcesKeepsItsValues)
{
	write_preferences(R"({"apply_global": true})");
	start_dock_host();
	FakeSource first("Camera");
	FakeSource second("Screen");
	obs_data_set_double(first.settings, "smoothing", 0.25);
	obs_data_set_double(second.settings, "smoothing", 0.75);
	register_filter(first.handle());
	fire(*poll_timer());
	register_filter(second.handle());
	fire(*poll_timer());
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	run_event_loop();
	fire(*poll_timer());
	EXPECT_DOUBLE_EQ(obs_data_get_double(second.settings, "smoothing"), 0.75);

	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	FakeSource third("Third");
	obs_data_set_double(third.settings, "smoothing", 0.5);
	register_filter(third.handle()); // the others are late in going
	fire(*poll_timer());
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	fire(*poll_timer());
	EXPECT_DOUBLE_EQ(obs_data_get_double(third.settings, "smoothing"), 0.5);
	EXPECT_FALSE(panel_model().filters_loading);

	for (FakeSource *filter : {&first, &second, &third})
		unregister_filter(filter->handle());
}

TEST_F(DockTest, CollectionEventsBeforeTheHostHasLoadedDoNotEndTheLoading)
{
	start_dock_host();
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	EXPECT_TRUE(panel_model().filters_loading);
}

TEST_F(DockTest, CleanUpsOfTheStartDoNotKeepTheFrontendFromBeingReady)
{
	start_dock_host();
	frontend->load_first_collection();
	EXPECT_FALSE(frontend_ready());
	frontend->load_first_collection(); // the collection was not there, and an empty one is made
	frontend->finish_loading();
	run_event_loop();
	EXPECT_TRUE(frontend_ready());
	EXPECT_FALSE(panel_model().filters_loading);
}

// The copy's filters come while the others are late in going, and nothing but CLEANUP tells.
TEST_F(DockTest, DuplicatedCollectionKeepsItsValuesAndTheDockHidden)
{
	for (const bool all : {false, true}) {
		write_preferences(all ? R"({"apply_global": true})" : R"({"apply_global": false})");
		start();
		FakeSource first("Camera");
		FakeSource second("Screen");
		obs_data_set_double(first.settings, "smoothing", 0.25);
		register_filter(first.handle());
		fire(*poll_timer());
		dock().hide();
		frontend->duplicate_collection_from_31_on([&] {
			EXPECT_FALSE(frontend_ready());
			obs_data_set_double(second.settings, "smoothing", 0.75);
			register_filter(second.handle());
			fire(*poll_timer());
		});
		fire(*poll_timer());
		EXPECT_DOUBLE_EQ(obs_data_get_double(second.settings, "smoothing"), 0.75);
		EXPECT_DOUBLE_EQ(obs_data_get_double(first.settings, "smoothing"), 0.25);
		EXPECT_TRUE(dock().isHidden());
		EXPECT_TRUE(frontend_ready());
		frontend->duplicate_collection_in_30();
		fire(*poll_timer());
		EXPECT_DOUBLE_EQ(obs_data_get_double(second.settings, "smoothing"), 0.75);
		EXPECT_TRUE(frontend_ready());
		unregister_filter(first.handle());
		unregister_filter(second.handle());
		quit();
		frontend = std::make_unique<FrontendDouble>();
	}
}

// Undo and saving

TEST_F(DockTest, UndoIsShownAtOnce)
{
	start();
	FakeSource filter("Camera");
	obs_data_set_double(filter.settings, "smoothing", 0.25);
	register_filter(filter.handle());
	fire(*poll_timer());
	QSlider *smooth = nullptr;
	for (QSlider *slider : panel()->findChildren<QSlider *>()) {
		if (slider->accessibleName() == "Smooth")
			smooth = slider;
	}
	ASSERT_TRUE(smooth);
	smooth->setValue(50);
	history_double().undo();
	EXPECT_EQ(smooth->value(), 25);
	unregister_filter(filter.handle());
}

TEST_F(DockTest, HiddenDockIsSavedAtOnceIfAnythingChanged)
{
	start();
	FakeSource filter("Camera");
	register_filter(filter.handle());
	fire(*poll_timer());
	dock().hide();
	EXPECT_EQ(history_double().saves, 0);
	dock().show();
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters({.caption_key = "skin.smoothing"});
	dock().hide();
	EXPECT_EQ(history_double().saves, 1);
	fire(*poll_timer());
	dock().show();
	dock().hide();
	EXPECT_EQ(history_double().saves, 1);
	unregister_filter(filter.handle());
}

TEST_F(DockTest, FloatingDockWhoseWindowIsClosedIsSavedAtOnce)
{
	start();
	FakeSource filter("Camera");
	register_filter(filter.handle());
	fire(*poll_timer());
	float_at(100, 100, 400, 600);
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters({.caption_key = "skin.smoothing"});
	dock().close();
	EXPECT_EQ(history_double().saves, 1);
	unregister_filter(filter.handle());
}

TEST_F(DockTest, NothingIsSavedWhileCollectionsComeAndGo)
{
	start();
	FakeSource filter("Camera");
	register_filter(filter.handle());
	fire(*poll_timer());
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters({.caption_key = "skin.smoothing"});
	const auto load = [&] {
		for (int poll = 0; poll < 20; ++poll)
			fire(*poll_timer());
		dock().hide();
		dock().show();
	};
	frontend->switch_collection(load);
	frontend->duplicate_collection_from_31_on(load);
	for (int poll = 0; poll < 20; ++poll)
		fire(*poll_timer());
	quit();
	EXPECT_EQ(history_double().saves, 0);
	unregister_filter(filter.handle());
}

// Out of memory

TEST_F(DockTest, EventThatFindsNoMemoryIsReportedAndTheNextPollDoesItsWork)
{
	start();
	FakeSource filter("Camera");
	obs_data_set_double(filter.settings, "smoothing", 0.25);
	register_filter(filter.handle());
	frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	host_double().throw_in("obs_source_get_name");
	EXPECT_NO_THROW(frontend->send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED));
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] unexpected error: std::bad_alloc"}), 1u);
	fire(*poll_timer());
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
	unregister_filter(filter.handle());
}

TEST_F(DockTest, PollThatFindsNoMemoryIsReportedAndTheNextOneWorks)
{
	start();
	FakeSource filter("Camera");
	register_filter(filter.handle());
	host_double().throw_in("obs_source_get_name");
	EXPECT_NO_THROW(fire(*poll_timer()));
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] unexpected error: std::bad_alloc"}), 1u);
	fire(*poll_timer());
	EXPECT_EQ(panel_model().names, std::vector<std::string>{"Camera"});
	unregister_filter(filter.handle());
}

TEST_F(DockTest, StartThatFindsNoMemoryStillEndsInADock)
{
	FakeSource filter("Camera");
	register_filter(filter.handle());
	host_double().throw_in("obs_source_get_name");
	EXPECT_NO_THROW(start());
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] unexpected error: std::bad_alloc"}), 1u);
	EXPECT_EQ(frontend->tools_titles.size(), 1u);
	EXPECT_TRUE(frontend_ready());
	ASSERT_TRUE(poll_timer());
	fire(*poll_timer());
	EXPECT_EQ(panel_model().names, std::vector<std::string>{"Camera"});
	unregister_filter(filter.handle());
}

// The end

TEST_F(DockTest, ExitStopsThePollsAndLeavesThePanelToTheHost)
{
	start();
	QPointer<QTimer> timer = poll_timer();
	QPointer<QWidget> widget = panel();
	frontend->close();
	ASSERT_TRUE(timer && widget);
	EXPECT_FALSE(timer->isActive());
}

TEST_F(DockTest, NothingIsRemovedBeforeTheUnload)
{
	start();
	frontend->close();
	EXPECT_EQ(frontend->callback_count(), 1u);
	EXPECT_TRUE(frontend->calls_after_end.empty());
	EXPECT_EQ(frontend->docks_removed, 0);
}

TEST_F(DockTest, EventsAfterExitAreIgnored)
{
	start();
	FakeSource filter("Camera");
	register_filter(filter.handle());
	fire(*poll_timer());
	frontend->close();
	panel_model().filters_loading = false;
	for (const obs_frontend_event event :
	     {OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP, OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING,
	      OBS_FRONTEND_EVENT_FINISHED_LOADING, OBS_FRONTEND_EVENT_EXIT})
		frontend->send_to_all(event);
	run_event_loop();
	EXPECT_FALSE(panel_model().filters_loading);
	EXPECT_FALSE(poll_timer() && poll_timer()->isActive());
	EXPECT_TRUE(frontend->calls_after_end.empty());
	unregister_filter(filter.handle());
}

TEST_F(DockTest, NothingIsCreatedAfterExit)
{
	start();
	frontend->close();
	show_dock();
	std::thread(show_dock).join();
	run_event_loop();
	EXPECT_EQ(frontend->docks_added, 1);
}

TEST_F(DockTest, TaskOfTheStartThatIsLateDoesNothingAfterExit)
{
	start_dock_host();
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	frontend->close();
	run_event_loop();
	EXPECT_FALSE(frontend_ready());
}

TEST_F(DockTest, UnloadAfterExitCallsBothRemoversInTheirOrder)
{
	start();
	quit();
	const std::vector<std::string> removers = {"obs_frontend_remove_event_callback", "obs_frontend_remove_dock"};
	EXPECT_EQ(frontend->calls_after_end, removers);
	stop_dock_host();
	EXPECT_EQ(frontend->calls_after_end, removers);
}

TEST_F(DockTest, UnloadRemovesTheCallbackBeforeItStopsThePollsAndTheDockAfter)
{
	start();
	QPointer<QTimer> timer = poll_timer();
	bool is_polling_without_callback = false;
	bool is_polling_without_dock = true;
	frontend->on_call = [&](const std::string &function) {
		const bool is_active = timer && timer->isActive();
		if (function == "obs_frontend_remove_event_callback")
			is_polling_without_callback = is_active;
		if (function == "obs_frontend_remove_dock")
			is_polling_without_dock = is_active;
	};
	stop_dock_host();
	EXPECT_TRUE(is_polling_without_callback);
	EXPECT_FALSE(is_polling_without_dock);
}

TEST_F(DockTest, UnloadWithoutExitRemovesTheDockAndTheCallback)
{
	start();
	QPointer<QTimer> timer = poll_timer();
	stop_dock_host();
	EXPECT_FALSE(frontend->dock());
	EXPECT_FALSE(timer);
	EXPECT_EQ(frontend->callback_count(), 0u);
	EXPECT_EQ(frontend->docks_removed, 1);
}

TEST_F(DockTest, UnloadWithoutAStartDoesNothing)
{
	stop_dock_host();
	EXPECT_EQ(frontend->docks_removed, 0);
}

TEST_F(DockTest, UnloadAfterARefusedDockRemovesNone)
{
	frontend->refuses_docks = true;
	start();
	quit();
	EXPECT_EQ(frontend->calls_after_end, std::vector<std::string>{"obs_frontend_remove_event_callback"});
}

TEST_F(DockTest, TwentyStartsAndQuitsLeaveNothingBehind)
{
	start();
	restart(); // what the toolkit and the catalogue keep from their first use is there now
	quit();
	frontend.reset();
	const auto widgets = QApplication::allWidgets().size();
	const AllocationCheck allocations;
	for (int cycle = 0; cycle < 20; ++cycle) {
		frontend = std::make_unique<FrontendDouble>();
		start();
		quit();
		frontend.reset();
		run_event_loop();
	}
	EXPECT_EQ(QApplication::allWidgets().size(), widgets);
	EXPECT_EQ(allocations.outstanding(), 0);
}
