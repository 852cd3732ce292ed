// SPDX-License-Identifier: GPL-2.0-or-later
#include "frontend_double.h"
#include "kalvio_config.h"
#include "kit/allocation_check.h"
#include "kit/config_double.h"
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/scratch.h"
#include "kit/windows_faults.h"
#include "module_library.h"
#include "user_events.h"

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QSlider>
#include <QTimer>
#include <QTimerEvent>
#include <chrono>
#include <gtest/gtest.h>
#include <map>
#include <obs-module.h>
#include <obs.hpp>
#include <optional>
#include <thread>
#include <vector>

namespace kalvio::test {
namespace {

namespace fs = std::filesystem;

// Of the module of this build, or of one that was built with another engine. UTF-8.
std::string program_folder_utf8()
{
	return qEnvironmentVariable("KALVIO_TEST_OTHER_MODULE", QStringLiteral(KALVIO_TEST_PROGRAM_FOLDER))
		.toStdString();
}

fs::path program_folder()
{
	const std::string path = program_folder_utf8();
	return std::u8string(path.begin(), path.end());
}

ModuleLibrary &module()
{
	static ModuleLibrary library(program_folder() / "bin" / "64bit" / "obs-kalvio.dll");
	return library;
}

struct ModuleOfHost {
	char unused;
};
ModuleOfHost module_of_host;

void run_event_loop()
{
	for (int turn = 0; turn < 3; ++turn) {
		QApplication::sendPostedEvents();
		QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
		QApplication::processEvents();
	}
}

// Each file below the folder with the time of its last change.
std::map<fs::path, fs::file_time_type> files_below(const fs::path &folder)
{
	std::map<fs::path, fs::file_time_type> files;
	for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder))
		files.emplace(entry.path(), entry.last_write_time());
	return files;
}

// The module in a program folder with spaces and characters of several scripts, its preferences below a user's name of
// that kind; a main window, and a camera that shows skin.
class WholeModule : public testing::Test {
protected:
	WholeModule() { set_config_folder(config_folder_); }

	// The host's start, up to where it has loaded everything and its event loop runs.
	void start(const char *language = "en-US")
	{
		has_started_ = true;
		host_double().reset();
		camera_.emplace("Camera");
		camera_->picture = solid_picture(64, 36, {180, 120, 100, 255});
		host_double().set_data_folder(program_folder_utf8() + "/data");
		frontend_ = std::make_unique<FrontendDouble>();
		frontend_->locale = language;
		module().function<void(obs_module_t *)>("obs_module_set_pointer")(
			reinterpret_cast<obs_module_t *>(&module_of_host));
		EXPECT_EQ(module().function<uint32_t()>("obs_module_ver")(), LIBOBS_API_VER);
		module().function<void(const char *)>("obs_module_set_locale")(language);
		ASSERT_TRUE(module().function<bool()>("obs_module_load")());
		module().function<void()>("obs_module_post_load")();
		frontend_->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
		run_event_loop();
	}

	void add_filter()
	{
		filter_.emplace("Kalvio");
		filter_->put_on(*camera_);
		filter_->create_filter(host_double().registrations().at(0).info);
		poll();
	}

	void quit()
	{
		if (filter_) {
			filter_->remove_from_source();
			filter_->destroy_filter();
		}
		filter_.reset();
		camera_.reset();
		frontend_->send(OBS_FRONTEND_EVENT_EXIT);
		frontend_->delete_window();
		module().function<void()>("obs_module_unload")();
		module().function<void()>("obs_module_free_locale")();
		run_event_loop();
		frontend_.reset();
		EXPECT_EQ(allocations_.outstanding(), 0);
	}

	// A setting of the filter, changed through the host.
	void choose(const char *key, double value)
	{
		const OBSDataAutoRelease changes = obs_data_create();
		obs_data_set_double(changes, key, value);
		filter_->update(changes);
	}

	// What the filter puts in the camera's place, after a tick of the host.
	Picture render()
	{
		filter_->tick();
		const std::vector<Drawn> drawn =
			host_double().render([this] { filter_->info.video_render(filter_->data, nullptr); });
		return drawn.size() == 1 ? drawn[0].picture : Picture();
	}

	QDockWidget &dock() { return *frontend_->dock(); }
	QWidget &panel() { return *dock().widget(); }

	// The panel's timer.
	void poll()
	{
		auto *timer = panel().findChild<QTimer *>({}, Qt::FindDirectChildrenOnly);
		QTimerEvent event(timer->timerId());
		QApplication::sendEvent(timer, &event);
		run_event_loop();
	}

	// By the name that a screen reader finds it by.
	QSlider *slider(const char *name)
	{
		for (auto *child : panel().findChildren<QSlider *>()) {
			if (child->accessibleName() == QString::fromUtf8(name))
				return child;
		}
		return nullptr;
	}

	static inline bool has_started_ = false; // in this process
	LogCapture log_;
	ScratchFolder scratch_;
	const std::string config_folder_ =
		scratch_.file("J\xC3\xBCrgen \xE5\xA4\xAA\xE9\x83\x8E/plugin_config/obs-kalvio");
	std::optional<FakeSource> camera_;
	std::unique_ptr<FrontendDouble> frontend_;
	std::optional<FakeSource> filter_;
	AllocationCheck allocations_;
};

// Calls of Windows that fail, made by the module's file.
class WholeModuleFaults : public WholeModule {
protected:
	WholeModuleFaults()
	{
		module();
		watch_windows_calls_of(L"obs-kalvio.dll");
		reset_windows_faults();
	}
	~WholeModuleFaults() override { reset_windows_faults(); }

	// What the module has reported, more than what is not worth a warning.
	std::vector<LogLine> complaints() const
	{
		std::vector<LogLine> lines = log_.product_lines();
		std::erase_if(lines, [](const LogLine &line) { return line.level > LOG_WARNING; });
		return lines;
	}

	bool shows_the_effect()
	{
		const Picture shown = render();
		return !shown.rgba.empty() && shown.at(32, 18)[1] > camera_->picture.at(32, 18)[1] + 5;
	}
};

// The module asks at its first start, and again after six hours.
TEST_F(WholeModuleFaults, ACheckForUpdatesThatCannotBeginIsOneLine)
{
	if (has_started_)
		GTEST_SKIP() << "the module has started in this process before";
	make_windows_fail("WinHttpOpen");
	start();
	add_filter();
	choose("whitening", 1.0);
	const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
	while (complaints().empty() && std::chrono::steady_clock::now() < give_up)
		std::this_thread::yield();
	poll();
	EXPECT_EQ(complaints(), std::vector<LogLine>({{LOG_WARNING, "[Kalvio] update check failed (0)"}}));
	EXPECT_EQ(windows_calls("WinHttpOpen"), 1);
	EXPECT_EQ(open_web_handles(), 0);
	EXPECT_TRUE(shows_the_effect());
	quit();
}

// The host names no data folder that is there, so the module looks beside its own file.
TEST_F(WholeModuleFaults, AnUnknownFolderOfItsOwnShowsTheSourceUntilItIsKnown)
{
	const LogLine missing{LOG_ERROR, "[Kalvio] resource.kld not found"};
	const LogLine passthrough{LOG_WARNING, "[Kalvio] filter created without engine (passthrough)"};
	for (const char *function : {"GetModuleHandleExA", "WideCharToMultiByte"}) {
		start();
		host_double().set_data_folder(scratch_.file("nothing"));
		log_.clear();
		make_windows_fail(function);
		add_filter();
		choose("whitening", 1.0);
		EXPECT_EQ(render(), camera_->picture);
		EXPECT_EQ(render(), camera_->picture);
		EXPECT_EQ(obs_data_get_double(filter_->settings, "whitening"), 1.0);
		// At its creation, at the update, and at both frames.
		EXPECT_EQ(complaints(), std::vector<LogLine>({missing, passthrough, missing, missing, missing}));

		log_.clear();
		make_windows_fail(function, 1);
		EXPECT_EQ(render(), camera_->picture);
		EXPECT_TRUE(shows_the_effect()) << function;
		EXPECT_EQ(complaints(), std::vector<LogLine>({missing}));
		quit();
	}
}

TEST_F(WholeModuleFaults, APageThatTheShellDoesNotOpenChangesNothing)
{
	start();
	add_filter();
	choose("whitening", 1.0);
	log_.clear();
	constexpr WindowsResult no_browser = 31;
	make_windows_fail("ShellExecuteW", every_time, 0, no_browser);
	for (auto *link : panel().findChildren<QPushButton *>(QStringLiteral("link")))
		link->click();
	EXPECT_EQ(windows_calls("ShellExecuteW"), 2); // the web site and the guide
	EXPECT_EQ(log_.product_lines(), std::vector<LogLine>());
	EXPECT_TRUE(shows_the_effect());
	quit();
}

TEST_F(WholeModule, LoadsWithTheEngineBesideIt)
{
	start();
	EXPECT_TRUE(fs::equivalent(folder_of_library(L"kalvio.dll"), program_folder() / "bin" / "64bit"));
	ASSERT_EQ(host_double().registrations().size(), 1u);
	EXPECT_STREQ(host_double().registrations()[0].info.id, "kalvio_filter");
	EXPECT_EQ(log_.count({LOG_INFO, "[Kalvio] loading OBS filter MVP"}), 1u);
	quit();
	EXPECT_EQ(log_.count({LOG_INFO, "[Kalvio] unloaded"}), 1u);
}

TEST_F(WholeModule, SaysItsVersionInTheFilesProperties)
{
	for (const std::string name : {"obs-kalvio.dll", "kalvio.dll"}) {
		const fs::path file = program_folder() / "bin" / "64bit" / name;
		EXPECT_EQ(version_of_library(file), std::string(version) + ".0") << name;
		EXPECT_EQ(version_text_of_library(file, "ProductVersion"), version) << name;
		EXPECT_EQ(version_text_of_library(file, "OriginalFilename"), name);
	}
}

// The stand-in turns each picture into its negative.
TEST_F(WholeModule, SendsItsFramesToAnotherEngine)
{
	if (!qEnvironmentVariableIsSet("KALVIO_TEST_OTHER_MODULE"))
		GTEST_SKIP() << "KALVIO_TEST_OTHER_MODULE names no module with another engine";
	start();
	EXPECT_TRUE(fs::equivalent(folder_of_library(L"stand_in_engine.dll"), program_folder() / "bin" / "64bit"));
	EXPECT_EQ(folder_of_library(L"kalvio.dll"), fs::path());
	add_filter();
	choose("whitening", 1.0);
	const Picture shown = render();
	ASSERT_FALSE(shown.rgba.empty());
	EXPECT_EQ(shown.rgba[0], 255 - camera_->picture.rgba[0]);
	quit();
}

TEST_F(WholeModule, SpeaksTheHostsLanguage)
{
	start("de-DE");
	const obs_source_info info = host_double().registrations().at(0).info;
	EXPECT_STREQ(info.get_name(nullptr), "Kalvio Beauty");
	const char *button = nullptr;
	ASSERT_TRUE(module().function<decltype(obs_module_get_string)>("obs_module_get_string")("Kalvio.OpenPanel",
												&button));
	EXPECT_STREQ(button, "Retusche-Konsole \xC3\xB6"
			     "ffnen");
	EXPECT_TRUE(slider("Gl\xC3\xA4tten"));
	quit();
}

TEST_F(WholeModule, ProcessesFramesOnlyWhenSomethingIsChosen)
{
	start();
	add_filter();
	EXPECT_EQ(render(), camera_->picture);
	choose("whitening", 1.0);
	const Picture brighter = render();
	EXPECT_GT(brighter.at(32, 18)[1], camera_->picture.at(32, 18)[1] + 5);
	EXPECT_EQ(brighter.at(32, 18)[3], 255);
	quit();
}

TEST_F(WholeModule, PanelIsWorkedByMouseAndKeysDownToThePicture)
{
	start();
	add_filter();
	QSlider *whitening = slider("Whiten");
	ASSERT_TRUE(whitening && whitening->isEnabled());
	const Picture before = render();

	const QPoint left(4, whitening->height() / 2);
	const QPoint right(whitening->width() - 4, whitening->height() / 2);
	press_mouse(whitening, Qt::LeftButton, left);
	move_mouse(whitening, right);
	release_mouse(whitening, Qt::LeftButton, right);
	run_event_loop();
	const double by_mouse = obs_data_get_double(filter_->settings, "whitening");
	EXPECT_GT(by_mouse, 0.0);
	click_key(whitening, Qt::Key_End);
	run_event_loop();
	EXPECT_EQ(obs_data_get_double(filter_->settings, "whitening"), 1.0);
	EXPECT_GT(render().at(32, 18)[1], before.at(32, 18)[1] + 5);

	click_key(whitening, Qt::Key_Home);
	run_event_loop();
	EXPECT_EQ(render(), before);
	quit();
}

TEST_F(WholeModule, KeepsPreferencesAndGeometryOnDisk)
{
	start();
	add_filter();
	auto *selector = panel().findChild<QComboBox *>();
	click_key(selector, selector->currentIndex() == 0 ? Qt::Key_Down : Qt::Key_Up);
	ASSERT_EQ(selector->currentText(), "All sources");
	dock().setFloating(true);
	dock().setGeometry(120, 90, 410, 620);
	run_event_loop();
	const QRect left = dock().geometry();
	quit();

	{
		const OBSDataAutoRelease file = obs_data_create_from_json_file((config_folder_ + "/ui.json").c_str());
		ASSERT_TRUE(file);
		EXPECT_TRUE(obs_data_get_bool(file, "apply_global"));
		EXPECT_TRUE(obs_data_get_bool(file, "dock_floating"));
		EXPECT_EQ(obs_data_get_int(file, "dock_w"), left.width());
	}

	start();
	EXPECT_TRUE(dock().isFloating());
	EXPECT_EQ(dock().size(), left.size());
	quit();
}

TEST_F(WholeModule, WritesNothingIntoItsProgramFolder)
{
	const auto before = files_below(program_folder());
	start();
	add_filter();
	choose("smoothing", 0.7);
	render();
	dock().setFloating(true);
	run_event_loop();
	quit();
	EXPECT_EQ(files_below(program_folder()), before);
}

TEST_F(WholeModule, StartsAndEndsTwentyTimes)
{
	for (int round = 0; round < 20; ++round) {
		start();
		add_filter();
		render();
		quit();
	}
}

TEST_F(WholeModule, PanelIsDrawn)
{
	start();
	add_filter();
	dock().setFloating(true);
	dock().setGeometry(60, 60, 340, 700);
	run_event_loop();
	EXPECT_EQ(QApplication::platformName(), qEnvironmentVariable("QT_QPA_PLATFORM"));
	const QImage picture = panel().grab().toImage();
	EXPECT_GE(picture.width(), 300);
	// An empty panel has few colors.
	std::map<QRgb, int> colors;
	for (int y = 0; y < picture.height(); ++y) {
		for (int x = 0; x < picture.width(); ++x)
			++colors[picture.pixel(x, y)];
	}
	EXPECT_GT(colors.size(), 100u);
	const QString file = qEnvironmentVariable("KALVIO_SCREENSHOT");
	EXPECT_TRUE(file.isEmpty() || picture.save(file)) << file.toStdString();
	quit();
}

} // namespace
} // namespace kalvio::test
