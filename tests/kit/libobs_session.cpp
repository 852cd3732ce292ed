// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/libobs_session.h"

#include "kit/test_sources.h"

#include <X11/Xlib.h>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <obs-nix-platform.h>
#include <stdexcept>
#include <thread>

namespace kalvio::test {

namespace {

[[noreturn]] void fail(const std::string &what)
{
	throw std::runtime_error(what);
}

// A connection of our own, held as long as libobs runs. A virtual X server starts over when its last client leaves, and
// refuses whoever comes while it does so: a test that follows another one may have to knock twice, libobs never.
std::shared_ptr<void> open_display()
{
	if (!has_display())
		fail("DISPLAY is not set, and libobs needs an X display: run this under xvfb-run, as scripts/test "
		     "does");
	for (int attempt = 0; attempt < 100; attempt++) {
		if (Display *display = XOpenDisplay(nullptr))
			return {display, [](void *open) {
					XCloseDisplay(static_cast<Display *>(open));
				}};
		std::this_thread::sleep_for(std::chrono::milliseconds(20));
	}
	fail("the X display does not answer");
}

void start_video(const SessionOptions &options)
{
	obs_video_info video = {};
	video.graphics_module = "libobs-opengl";
	video.fps_num = options.frames_per_second;
	video.fps_den = 1;
	video.base_width = video.output_width = options.canvas_width;
	video.base_height = video.output_height = options.canvas_height;
	video.output_format = VIDEO_FORMAT_RGBA;
	video.colorspace = VIDEO_CS_709;
	video.range = VIDEO_RANGE_FULL;
	video.scale_type = OBS_SCALE_DISABLE;
	video.gpu_conversion = true;
	const int result = obs_reset_video(&video);
	if (result != OBS_VIDEO_SUCCESS)
		fail("obs_reset_video failed with " + std::to_string(result) + "; is there an OpenGL driver (Mesa)?");
}

void start_audio()
{
	const obs_audio_info audio = {48000, SPEAKERS_STEREO};
	if (!obs_reset_audio(&audio))
		fail("obs_reset_audio failed");
}

obs_module_t *open_module(const PluginFiles &plugin)
{
	obs_module_t *module = nullptr;
	const int result = obs_open_module(&module, plugin.module_file.c_str(), plugin.data_folder.c_str());
	if (result != MODULE_SUCCESS)
		fail("cannot open " + plugin.module_file.string() + ": " + std::to_string(result));
	return module;
}

// Counts calls on one thread, awaited on another.
class CallCounter {
public:
	void count()
	{
		const std::lock_guard lock(mutex_);
		calls_++;
		changed_.notify_all();
	}

	void wait_for(int calls)
	{
		std::unique_lock lock(mutex_);
		changed_.wait(lock, [this, calls] { return calls_ >= calls; });
	}

private:
	std::mutex mutex_;
	std::condition_variable changed_;
	int calls_ = 0;
};

} // namespace

bool has_display()
{
	const char *display = std::getenv("DISPLAY");
	return display && *display;
}

PluginFiles built_plugin()
{
	return {KALVIO_TEST_MODULE_FILE, KALVIO_TEST_MODULE_DATA};
}

LibobsSession::LibobsSession(const SessionOptions &options) : display_(open_display())
{
	obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
	if (!obs_startup(options.locale.c_str(), config_folder().c_str(), nullptr))
		fail("obs_startup failed");

	// From here on the destructor does not run when this throws, but libobs has to be shut down.
	try {
		start_video(options);
		start_audio();
		register_test_sources();
		if (options.open_module) {
			module_ = open_module(options.plugin);
			if (options.init_module && !obs_init_module(module_))
				fail("obs_init_module failed");
		}
		if (options.post_load)
			obs_post_load_modules();
	} catch (...) {
		obs_shutdown();
		throw;
	}
}

LibobsSession::~LibobsSession()
{
	obs_set_output_source(0, nullptr);
	// Destroying one source can release others.
	while (obs_wait_for_destroy_queue()) {
	}
	obs_shutdown();
}

void LibobsSession::load_host_module(const std::string &name)
{
	const std::filesystem::path binaries = KALVIO_TEST_HOST_MODULES;
	const std::filesystem::path data = KALVIO_TEST_HOST_MODULE_DATA;
	obs_module_t *module = open_module({binaries / (name + ".so"), data / name});
	if (!obs_init_module(module))
		fail("obs_init_module failed for " + name);
}

void on_graphics_thread(const std::function<void()> &job)
{
	struct Task {
		const std::function<void()> &job;
		std::exception_ptr error;
	} task = {job, nullptr};

	const auto run = [](void *parameter) {
		auto &running = *static_cast<Task *>(parameter);
		try {
			running.job();
		} catch (...) {
			running.error = std::current_exception();
		}
	};
	obs_queue_task(OBS_TASK_GRAPHICS, run, &task, true);
	if (task.error)
		std::rethrow_exception(task.error);
}

void wait_for_tick()
{
	// Called before the sources of each tick are: at the second call those of the first one have all been ticked.
	CallCounter ticks;
	const auto count = [](void *counter, float) {
		static_cast<CallCounter *>(counter)->count();
	};
	obs_add_tick_callback(count, &ticks);
	ticks.wait_for(2);
	obs_remove_tick_callback(count, &ticks);
}

void wait_for_composed_frame()
{
	// Called at the beginning of each canvas: at the second call the first one is whole.
	CallCounter frames;
	const auto count = [](void *counter, uint32_t, uint32_t) {
		static_cast<CallCounter *>(counter)->count();
	};
	obs_add_main_render_callback(count, &frames);
	frames.wait_for(2);
	obs_remove_main_render_callback(count, &frames);
}

struct PausedGraphicsThread::Gate {
	std::mutex mutex;
	std::condition_variable changed;
	bool reached = false;
	bool open = false;
	bool passed = false;
};

PausedGraphicsThread::PausedGraphicsThread() : gate_(std::make_unique<Gate>())
{
	const auto stand_at_gate = [](void *parameter) {
		auto &gate = *static_cast<Gate *>(parameter);
		std::unique_lock lock(gate.mutex);
		gate.reached = true;
		gate.changed.notify_all();
		gate.changed.wait(lock, [&gate] { return gate.open; });
		gate.passed = true;
		gate.changed.notify_all();
	};
	obs_queue_task(OBS_TASK_GRAPHICS, stand_at_gate, gate_.get(), false);
	std::unique_lock lock(gate_->mutex);
	gate_->changed.wait(lock, [this] { return gate_->reached; });
}

PausedGraphicsThread::~PausedGraphicsThread()
{
	std::unique_lock lock(gate_->mutex);
	gate_->open = true;
	gate_->changed.notify_all();
	gate_->changed.wait(lock, [this] { return gate_->passed; });
}

} // namespace kalvio::test
