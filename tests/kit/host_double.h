// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/picture.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <obs.h>
#include <string>
#include <string_view>
#include <vector>

// A host for unit tests and benchmarks: the graphics, source and module functions that the product calls, without a
// GPU and without a running OBS. What only handles data (settings, properties, text, files, memory, log) stays the real
// library. An executable that contains the double is served by it before the library.
//
// Every call goes into the call journal with its arguments. Objects appear there by a label: GPU objects are numbered
// by kind from the last reset ("render target 1", "staging surface 1", "texture 1"), sources have their name.
namespace kalvio::test {

// A picture in which no two neighboring pixels, rows or channels are alike, alpha included.
Picture test_picture(uint32_t width, uint32_t height);

// A source of the host, as much of one as a filter can see. Filters are sources too. References, parent, target,
// removal and deferred updates may be used by several threads, as in the host; the other fields belong to one thread at
// a time. As in the host, nothing guards the settings object: whoever reads the settings is handed the object itself.
class FakeSource {
public:
	explicit FakeSource(std::string name);
	~FakeSource();
	FakeSource(const FakeSource &) = delete;
	FakeSource &operator=(const FakeSource &) = delete;

	obs_source_t *handle() { return reinterpret_cast<obs_source_t *>(this); }
	static FakeSource *from(const obs_source_t *source);

	// Another size, and a test picture of that size.
	void set_size(uint32_t new_width, uint32_t new_height);

	// What the host does when it loads or makes a filter: registers the defaults, calls create with the settings
	// and keeps the data; and the reverse.
	void *create_filter(const obs_source_info &info);
	void destroy_filter();

	// What the host does before it destroys: nobody gets a reference any more, and those that are held end first.
	void wait_for_last_reference();

	// What obs_source_update and the next tick of the host do: merges and calls the filter's update.
	void update(obs_data_t *changes);

	// The host's tick of this source, on its graphics thread: obs_source_update only merges, and any number of such
	// updates become one call of the filter's update here.
	void tick();

	// What the host does when a filter is added to a source and removed from it. At removal the list of the
	// source's filters changes first, then the signal "filter_remove" is sent, and then parent and target become
	// null.
	void put_on(FakeSource &source);
	void remove_from_source();

	std::string name;
	std::string uuid;      // empty: a host that has none
	bool nameless = false; // the name is a null pointer
	obs_data_t *settings;  // owned
	std::atomic<FakeSource *> parent = nullptr;
	std::atomic<FakeSource *> target = nullptr;
	Picture picture; // its size is the base size
	std::atomic<bool> refuses_references = false;

	obs_source_info info = {};
	void *data = nullptr; // of the filter's callbacks

	int references() const;
	int weak_references() const;

private:
	friend class SourceAccess;
	struct Shared;
	std::unique_ptr<Shared> shared_;
};

// Where an image came from that a render call drew on the screen.
struct Drawn {
	std::string what; // the label of a texture, or the name of a source that was drawn unprocessed
	Picture picture;
};

enum class MapResult { Succeed, Fail, NullData };

// The host's state and what it is to do. One for the process.
class HostDouble {
public:
	static constexpr int always = -1;

	// Everything as at the start; GPU objects that are alive are forgotten.
	void reset();

	// The next `times` calls of this function return null or false, or do nothing where it returns nothing. Ends
	// the process on a name that is not in the list in host_double.cpp.
	void fail(std::string_view function, int times = always);

	// The next call of any recorded host function of this name throws std::bad_alloc, as if something below it had.
	void throw_in(std::string_view function);

	// Called at the beginning of each host function of this name.
	void on_call(std::string_view function, std::function<void()> action);

	void set_map_result(MapResult result);
	// Bytes between the rows of mapped surfaces beyond width * 4; negative for rows that are cut short.
	void set_row_padding(int bytes);

	// The folder in which obs_find_module_file looks; empty: it finds nothing.
	void set_data_folder(std::string folder);
	// obs_find_module_file gives a path whether or not there is a file, as for one that vanished meanwhile.
	void set_finds_missing_files(bool enabled);

	// No checks, no journal, no allocation: map hands out the surface's own memory, set_image copies once, drawing
	// and staging do nothing; sources are taken to be alive and are not counted. For benchmarks.
	void set_cheap(bool cheap);

	// Runs `frame` as the host's graphics thread does, inside the graphics context, and gives what it drew on the
	// screen. Each call is a frame of the host with a time of its own.
	std::vector<Drawn> render(const std::function<void()> &frame);
	// The same as a further view in the same frame of the host.
	std::vector<Drawn> render_view(const std::function<void()> &frame);
	// What obs_get_video_frame_time gives until the next render; 0, as in cheap mode, is unknown.
	void set_frame_time(uint64_t time_ns);

	// Ticks every source that is alive.
	void tick();

	int live_gpu_objects() const;

	// What a real GPU or host would have gone wrong at, in words: calls outside the graphics context, on destroyed
	// or unknown objects, unbalanced begin, push or map, sizes that do not fit. Empty when all is well.
	std::vector<std::string> misuse() const;

	// The source types that were registered, with the size that was passed.
	struct Registration {
		obs_source_info info;
		size_t size;
	};
	std::vector<Registration> registrations() const;
};

HostDouble &host_double();

} // namespace kalvio::test
