// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/scratch.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <obs.h>
#include <string>

// The real libobs without its front end: started, given a small canvas and our module, and shut down again. Needs an X
// display, a virtual one will do. One session at a time lives in a process.
namespace kalvio::test {

// Where a user's installation of the module keeps its two halves.
struct PluginFiles {
	std::filesystem::path module_file;
	std::filesystem::path data_folder;
};

// The module as the build has laid it out.
PluginFiles built_plugin();

struct SessionOptions {
	std::string locale = "en-US";
	PluginFiles plugin = built_plugin();
	bool open_module = true; // false: libobs alone
	bool init_module = true; // false: opened, but its load function is not called
	bool post_load = true;
	uint32_t canvas_width = 64;
	uint32_t canvas_height = 64;
	uint32_t frames_per_second = 250; // the graphics thread's pace, and so how long a test waits for it
};

class LibobsSession {
public:
	// Throws std::runtime_error that says what is missing.
	explicit LibobsSession(const SessionOptions &options);
	// Waits until every released source is destroyed, then shuts libobs down. No source may be held by then.
	~LibobsSession();
	LibobsSession(const LibobsSession &) = delete;
	LibobsSession &operator=(const LibobsSession &) = delete;

	// Null when the options say not to open it.
	obs_module_t *module() const { return module_; }

	// The folder under which libobs keeps what modules store; also the folder for temporary files meanwhile.
	const std::filesystem::path &config_folder() const { return config_.path(); }

	// A module that comes with OBS, by its name ("image-source").
	static void load_host_module(const std::string &name);

private:
	std::shared_ptr<void> display_; // our own connection to the X server
	ScratchFolder config_;
	ScopedEnvironment temporary_folder_{"TMPDIR", config_.path().string()};
	obs_module_t *module_ = nullptr;
};

// True when the environment names an X display.
bool has_display();

// Runs `job` on the host's graphics thread, outside the graphics context, and waits for it. What it throws is thrown
// here.
void on_graphics_thread(const std::function<void()> &job);

// Holds the host's graphics context.
class GraphicsContext {
public:
	GraphicsContext() { obs_enter_graphics(); }
	~GraphicsContext() { obs_leave_graphics(); }
	GraphicsContext(const GraphicsContext &) = delete;
	GraphicsContext &operator=(const GraphicsContext &) = delete;
};

// Waits until every source has been ticked at least once since the call; deferred updates are applied by then.
void wait_for_tick();

// Waits until the host has composed at least one whole canvas since the call.
void wait_for_composed_frame();

// Keeps the graphics thread from ticking while it lives.
class PausedGraphicsThread {
public:
	PausedGraphicsThread();
	~PausedGraphicsThread();
	PausedGraphicsThread(const PausedGraphicsThread &) = delete;
	PausedGraphicsThread &operator=(const PausedGraphicsThread &) = delete;

private:
	struct Gate;
	std::unique_ptr<Gate> gate_;
};

} // namespace kalvio::test
