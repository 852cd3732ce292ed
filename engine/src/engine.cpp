// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"

#include "steady_clock.h"

#include <utility>

using namespace kalvio::engine;

namespace {

int next_engine_number()
{
	static std::atomic<int> last = 0;
	return ++last;
}

} // namespace

kl_engine::kl_engine(std::shared_ptr<Log> engine_log, std::shared_ptr<const NetLibrary> net_library)
	: number(next_engine_number()), log(std::move(engine_log)), nets(std::move(net_library)), pool(Pool::acquire()),
	  loader(Loader::acquire()), events(std::make_shared<EventReceiver>()), clock_us(steady_clock_us)
{
	if (nets->is_complete())
		return;
	log->write(LogLevel::Warning, "engine %d: face effects and the portrait cut-out are off: %s", number,
		   nets->reason.c_str());
	events->keep(Event::ResourceFailed, "face effects and the portrait cut-out are off: " + nets->reason);
}

// The loader's thread is waited for by the last engine alone, and then for an abandoned load, which ends soon.
kl_engine::~kl_engine()
{
	events->close();
	abandon_background_load();
}

void kl_engine::record(const FrameTimes::Times &frame_times, int64_t now_us)
{
	if (!times.add(frame_times, now_us))
		return;
	const FrameTimes::Report report = times.report();
	const std::string text = report.text();
	log->write(LogLevel::Information, "engine %d: %s", number, text.c_str());
	if (report.over_budget)
		events->emit(Event::FrameBudget, "frame budget exceeded: " + text);
}

int32_t kl_engine::report_failed_load(const char *what, const char *path, int32_t status, const std::string &reason)
{
	log->write(LogLevel::Error, "engine %d: %s %s: %s", number, what, path, reason.c_str());
	events->emit(Event::ResourceFailed, std::string(what) + " " + path + ": " + reason);
	return status;
}

void kl_engine::begin_background_load(const char *path, ImageFile file)
{
	const auto load = std::make_shared<BackgroundLoad>(BackgroundLoad::Origin{number, log, events, clock_us}, path,
							   std::move(file));
	if (frame_width > 0)
		load->set_frame_size(frame_width, frame_height);
	loader->submit([load] { load->run(); });
	abandon_background_load(); // only now: where there is no memory, nothing changes
	background_load = load;
}

void kl_engine::abandon_background_load()
{
	if (background_load)
		background_load->abandon();
	background_load = nullptr;
}

void kl_engine::settle_background_load()
{
	if (!background_load || !background_load->has_ended())
		return;
	std::optional<BackgroundPicture> picture = background_load->take();
	background_load = nullptr;
	if (!picture) {
		clear_background();
		return;
	}
	effects.picture = std::move(picture);
	settings.background = BackgroundMode::Picture;
}

void kl_engine::clear_background()
{
	settings.background = BackgroundMode::Captured;
	effects.picture.reset();
}
