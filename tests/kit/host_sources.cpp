// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_state.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>

// The source functions of the host double.
namespace kalvio::test {
namespace {

// The fake sources that are alive: a pointer that a caller has kept too long is found out here.
struct LiveSources {
	std::mutex mutex;
	std::vector<FakeSource *> sources;
};

LiveSources &live_sources()
{
	static LiveSources instance;
	return instance;
}

Argument name_of(const obs_source_t *source)
{
	if (!source)
		return nullptr;
	const FakeSource *fake = FakeSource::from(source);
	return fake ? fake->name : std::string("unknown source");
}

void draw_unprocessed(const FakeSource *source)
{
	RenderState &drawing = render_state();
	if (!source) {
		if (!drawing.target)
			drawing.screen.push_back({"nothing", {}});
		return;
	}
	if (!drawing.target) {
		drawing.screen.push_back({source->name, source->picture});
		return;
	}
	GpuObject &texture = *drawing.target->texture;
	if (texture.width == source->picture.width && texture.height == source->picture.height)
		texture.pixels = source->picture.rgba;
	else
		note_host_misuse("obs_source_skip_video_filter", "the render target has another size");
}

} // namespace

struct FakeSource::Shared {
	const uint64_t number = next_number(); // of this source alone; another one may get its address
	std::atomic<int> weak_references = 0;
	std::atomic<int> deferred_updates = 0;

	signal_handler_t *signals = signal_handler_create();
	std::recursive_mutex filter_mutex; // guards which filters are in this source's list
	bool is_listed = true;             // of a filter; guarded by the parent's filter_mutex

	Shared() { signal_handler_add(signals, "void filter_remove(ptr source, ptr filter)"); }
	~Shared() { signal_handler_destroy(signals); }
	Shared(const Shared &) = delete;
	Shared &operator=(const Shared &) = delete;

	std::mutex reference_mutex;
	std::condition_variable reference_gone;
	int references = 0;

private:
	static uint64_t next_number()
	{
		static std::atomic<uint64_t> count = 0;
		return ++count;
	}
};

// The doubles' way into a fake source.
class SourceAccess {
public:
	static std::atomic<int> &weak_references(FakeSource &source) { return source.shared_->weak_references; }

	static uint64_t number(const FakeSource &source) { return source.shared_->number; }

	static bool add_reference(FakeSource &source)
	{
		const std::lock_guard lock(source.shared_->reference_mutex);
		if (source.refuses_references)
			return false;
		++source.shared_->references;
		return true;
	}

	// False when there was none.
	static bool drop_reference(FakeSource &source)
	{
		const std::lock_guard lock(source.shared_->reference_mutex);
		if (source.shared_->references == 0)
			return false;
		--source.shared_->references;
		source.shared_->reference_gone.notify_all();
		return true;
	}

	static std::vector<FakeSource *> live_sources_held()
	{
		const std::lock_guard lock(live_sources().mutex);
		std::vector<FakeSource *> held = live_sources().sources;
		std::erase_if(held, [](FakeSource *source) { return !add_reference(*source); });
		return held;
	}

	static void defer_update(FakeSource &source, obs_data_t *changes)
	{
		obs_data_apply(source.settings, changes);
		++source.shared_->deferred_updates;
	}

	static signal_handler_t *signals(FakeSource &source) { return source.shared_->signals; }

	template <class Visitor>
	static void visit_filters(FakeSource &source, const Visitor &visit)
	{
		const std::lock_guard lock(source.shared_->filter_mutex);
		for (FakeSource *filter : live_filters_of(source)) {
			if (filter->shared_->is_listed)
				visit(*filter);
		}
	}

private:
	static std::vector<FakeSource *> live_filters_of(const FakeSource &source)
	{
		std::vector<FakeSource *> filters;
		const std::lock_guard lock(live_sources().mutex);
		for (FakeSource *candidate : live_sources().sources) {
			if (candidate->parent == &source)
				filters.push_back(candidate);
		}
		return filters;
	}
};

void HostDouble::tick()
{
	std::vector<FakeSource *> sources;
	{
		const std::lock_guard lock(live_sources().mutex);
		sources = live_sources().sources;
	}
	for (FakeSource *source : sources)
		source->tick();
}

Picture test_picture(uint32_t width, uint32_t height)
{
	Picture picture(width, height);
	size_t i = 0;
	for (uint32_t y = 0; y < height; ++y) {
		for (uint32_t x = 0; x < width; ++x) {
			for (uint32_t channel = 0; channel < 4; ++channel)
				picture.rgba[i++] = static_cast<uint8_t>(x * 7 + y * 31 + channel * 61 + 1);
		}
	}
	return picture;
}

FakeSource::FakeSource(std::string source_name)
	: name(std::move(source_name)), settings(obs_data_create()), shared_(std::make_unique<Shared>())
{
	const std::lock_guard lock(live_sources().mutex);
	live_sources().sources.push_back(this);
}

FakeSource::~FakeSource()
{
	obs_data_release(settings);
	const std::lock_guard lock(live_sources().mutex);
	std::erase(live_sources().sources, this);
}

FakeSource *FakeSource::from(const obs_source_t *source)
{
	auto *fake = reinterpret_cast<FakeSource *>(const_cast<obs_source_t *>(source));
	const std::lock_guard lock(live_sources().mutex);
	const auto &sources = live_sources().sources;
	return std::find(sources.begin(), sources.end(), fake) == sources.end() ? nullptr : fake;
}

void FakeSource::set_size(uint32_t new_width, uint32_t new_height)
{
	picture = test_picture(new_width, new_height);
}

void *FakeSource::create_filter(const obs_source_info &new_info)
{
	info = new_info;
	info.get_defaults(settings);
	data = info.create(settings, handle());
	return data;
}

void FakeSource::destroy_filter()
{
	if (data)
		info.destroy(data);
	data = nullptr;
}

void FakeSource::update(obs_data_t *changes)
{
	obs_data_apply(settings, changes);
	if (info.update)
		info.update(data, settings);
}

void FakeSource::tick()
{
	if (shared_->deferred_updates.exchange(0) > 0 && info.update)
		info.update(data, settings);
}

void FakeSource::put_on(FakeSource &source)
{
	const std::lock_guard lock(source.shared_->filter_mutex);
	parent = &source;
	target = &source;
	shared_->is_listed = true;
}

void FakeSource::remove_from_source()
{
	FakeSource &source = *parent;
	{
		const std::lock_guard lock(source.shared_->filter_mutex);
		shared_->is_listed = false;
	}
	calldata_t call = {};
	calldata_set_ptr(&call, "source", source.handle());
	calldata_set_ptr(&call, "filter", handle());
	signal_handler_signal(source.shared_->signals, "filter_remove", &call);
	calldata_free(&call);
	parent = nullptr;
	target = nullptr;
}

void FakeSource::wait_for_last_reference()
{
	std::unique_lock lock(shared_->reference_mutex);
	refuses_references = true;
	shared_->reference_gone.wait(lock, [this] { return shared_->references == 0; });
}

int FakeSource::references() const
{
	const std::lock_guard lock(shared_->reference_mutex);
	return shared_->references;
}

int FakeSource::weak_references() const
{
	return shared_->weak_references;
}

} // namespace kalvio::test

using namespace kalvio::test;

namespace {

FakeSource *known_source(const char *function, const obs_source_t *source)
{
	FakeSource *fake = FakeSource::from(source);
	if (!fake)
		note_host_misuse(function, source ? "unknown source" : "null source");
	return fake;
}

} // namespace

obs_source_t *obs_filter_get_target(const obs_source_t *filter)
{
	if (host_is_cheap())
		return reinterpret_cast<const FakeSource *>(filter)->target.load()->handle();
	host_call(__func__, name_of(filter));
	FakeSource *fake = known_source(__func__, filter);
	FakeSource *target = fake ? fake->target.load() : nullptr;
	return target && !host_call_fails(__func__) ? target->handle() : nullptr;
}

uint32_t obs_source_get_base_width(obs_source_t *source)
{
	if (host_is_cheap())
		return reinterpret_cast<const FakeSource *>(source)->picture.width;
	host_call(__func__, name_of(source));
	const FakeSource *fake = known_source(__func__, source);
	return fake ? fake->picture.width : 0;
}

uint32_t obs_source_get_base_height(obs_source_t *source)
{
	if (host_is_cheap())
		return reinterpret_cast<const FakeSource *>(source)->picture.height;
	host_call(__func__, name_of(source));
	const FakeSource *fake = known_source(__func__, source);
	return fake ? fake->picture.height : 0;
}

const char *obs_source_get_name(const obs_source_t *source)
{
	if (host_is_cheap())
		return reinterpret_cast<const FakeSource *>(source)->name.c_str();
	host_call(__func__, name_of(source));
	const FakeSource *fake = known_source(__func__, source);
	return fake && !fake->nameless && !host_call_fails(__func__) ? fake->name.c_str() : nullptr;
}

obs_data_t *obs_source_get_settings(const obs_source_t *source)
{
	host_call(__func__, name_of(source));
	FakeSource *fake = known_source(__func__, source);
	if (!fake || host_call_fails(__func__))
		return nullptr;
	obs_data_addref(fake->settings);
	return fake->settings;
}

obs_source_t *obs_source_get_ref(obs_source_t *source)
{
	if (host_is_cheap())
		return source;
	host_call(__func__, name_of(source));
	FakeSource *fake = known_source(__func__, source);
	return fake && SourceAccess::add_reference(*fake) ? source : nullptr;
}

void obs_source_release(obs_source_t *source)
{
	if (!source || host_is_cheap())
		return;
	host_call(__func__, name_of(source));
	FakeSource *fake = known_source(__func__, source);
	if (fake && !SourceAccess::drop_reference(*fake))
		note_host_misuse(__func__, fake->name + " released too often");
}

// Looking at a filter's parent, a source's signals or its list of filters does nothing to them and is not written down.
obs_source_t *obs_filter_get_parent(const obs_source_t *filter)
{
	if (host_is_cheap())
		return reinterpret_cast<const FakeSource *>(filter)->parent.load()->handle();
	FakeSource *fake = known_source(__func__, filter);
	FakeSource *parent = fake ? fake->parent.load() : nullptr;
	return parent && !host_call_fails(__func__) ? parent->handle() : nullptr;
}

signal_handler_t *obs_source_get_signal_handler(const obs_source_t *source)
{
	if (host_is_cheap())
		return SourceAccess::signals(*reinterpret_cast<FakeSource *>(const_cast<obs_source_t *>(source)));
	FakeSource *fake = known_source(__func__, source);
	return fake && !host_call_fails(__func__) ? SourceAccess::signals(*fake) : nullptr;
}

void obs_source_enum_filters(obs_source_t *source, obs_source_enum_proc_t callback, void *parameter)
{
	FakeSource *fake = known_source(__func__, source);
	if (!fake)
		return;
	SourceAccess::visit_filters(*fake, [=](FakeSource &filter) { callback(source, filter.handle(), parameter); });
}

// As the host does it: each source is held while it is shown, and one that is going away is left out.
void obs_enum_all_sources(bool (*callback)(void *, obs_source_t *), void *parameter)
{
	begin_host_call(__func__);
	for (FakeSource *source : SourceAccess::live_sources_held()) {
		callback(parameter, source->handle());
		SourceAccess::drop_reference(*source);
	}
}

// Weak references are counted but not written down: taking one does nothing to the source, which may go before it.
struct obs_weak_source {
	obs_source_t *handle; // of a source that may be gone
	uint64_t number;

	FakeSource *live_source() const
	{
		FakeSource *fake = FakeSource::from(handle);
		return fake && SourceAccess::number(*fake) == number ? fake : nullptr;
	}
};

obs_weak_source_t *obs_source_get_weak_source(obs_source_t *source)
{
	FakeSource *fake = known_source(__func__, source);
	if (!fake || host_call_fails(__func__))
		return nullptr;
	++SourceAccess::weak_references(*fake);
	return new obs_weak_source{source, SourceAccess::number(*fake)};
}

obs_source_t *obs_weak_source_get_source(obs_weak_source_t *weak)
{
	if (!weak)
		return nullptr;
	if (host_is_cheap())
		return weak->handle;
	FakeSource *fake = weak->live_source();
	return fake && SourceAccess::add_reference(*fake) ? fake->handle() : nullptr;
}

void obs_weak_source_release(obs_weak_source_t *weak)
{
	const std::unique_ptr<obs_weak_source> owner(weak);
	if (FakeSource *fake = weak ? weak->live_source() : nullptr)
		--SourceAccess::weak_references(*fake);
}

void obs_source_update(obs_source_t *source, obs_data_t *settings)
{
	if (host_is_cheap())
		return SourceAccess::defer_update(*reinterpret_cast<FakeSource *>(source), settings);
	host_call(__func__, name_of(source));
	FakeSource *fake = known_source(__func__, source);
	if (fake && fake->references() <= 0)
		note_host_misuse(__func__, fake->name + " is not referenced");
	if (fake)
		SourceAccess::defer_update(*fake, settings);
}

// The parent and the target are read once, at the beginning; then they are drawn, whatever becomes of the filter.
void obs_source_skip_video_filter(obs_source_t *filter)
{
	if (host_is_cheap())
		return;
	const FakeSource *fake = known_source(__func__, filter);
	const FakeSource *target = fake ? fake->target.load() : nullptr;
	const FakeSource *parent = fake ? fake->parent.load() : nullptr;
	host_call(__func__, name_of(filter));
	if (render_state().graphics_depth <= 0)
		note_host_misuse(__func__, "outside the graphics context");
	if (fake && !parent)
		note_host_misuse(__func__, fake->name + " has no parent, which the host reads untested");
	else if (fake)
		draw_unprocessed(target);
}
