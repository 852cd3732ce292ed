// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_costs.h"

#include "engine_subject.h"
#include "engine_timing.h"
#include "kit/heap_probe.h"
#include "pool.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace kalvio::bench {

namespace {

// Linear within a fifth.
constexpr double largest_spread = 1.2;

double spread_of(const std::vector<double> &values)
{
	const auto [least, most] = std::minmax_element(values.begin(), values.end());
	return *most / *least;
}

void judge_spread(const char *name, const std::vector<double> &costs, Report &report)
{
	const double spread = spread_of(costs);
	report.row({name, "", number(spread), number(largest_spread), report.judge(spread <= largest_spread)},
		   {{"work", name}, {"spread", spread}, {"bar", largest_spread}, {"met", spread <= largest_spread}});
}

// A line of /proc/self/status, in bytes.
size_t status_bytes(const std::string &name)
{
	std::ifstream stream("/proc/self/status");
	std::string line;
	while (std::getline(stream, line)) {
		if (line.starts_with(name + ":"))
			return std::stoul(line.substr(name.size() + 1)) * 1024;
	}
	throw std::runtime_error("the system does not tell " + name);
}

Setup whole_look(const std::string &data_folder)
{
	return [data_folder](kl_engine *engine) {
		set_whole_look(engine, data_folder);
	};
}

} // namespace

void measure_sizes(const std::string &data_folder, Report &report)
{
	std::vector<Frame> frames;
	for (const int height : {360, 720, 1080, 1440, 2160})
		frames.push_back(make_frame(height * 16 / 9, height));
	std::vector<std::unique_ptr<Subject>> subjects;
	std::vector<std::function<void()>> runs;
	for (const Frame &frame : frames) {
		Subject *subject =
			subjects.emplace_back(std::make_unique<Subject>(data_folder, frame, 1, whole_look(data_folder)))
				.get();
		runs.emplace_back([subject] { subject->process(); });
	}
	const std::vector<double> times = times_in_turns(runs, 1, 4);

	report.table({"whole look, one thread", "ms", "ns a pixel", "bar", ""});
	std::vector<double> costs;
	costs.reserve(frames.size());
	for (size_t index = 0; index < frames.size(); ++index) {
		const Frame &frame = frames[index];
		const double pixel = times[index] * 1e6 / (double(frame.width) * frame.height);
		costs.push_back(pixel);
		report.row({std::to_string(frame.width) + " x " + std::to_string(frame.height), number(times[index]),
			    number(pixel), "", ""},
			   {{"work", "size"}, {"height", frame.height}, {"ms", times[index]}, {"ns_a_pixel", pixel}});
	}
	judge_spread("dearest / cheapest pixel", costs, report);
}

void measure_engines(const std::string &data_folder, Report &report)
{
	constexpr int frames_each = 4;
	const Frame frame = make_frame(1280, 720);
	std::vector<std::unique_ptr<Subject>> subjects;
	std::vector<std::function<void()>> runs;
	const int counts[] = {1, 2, 4};
	subjects.reserve(4);
	runs.reserve(std::size(counts));
	for (int engine = 0; engine < 4; ++engine)
		subjects.push_back(std::make_unique<Subject>(data_folder, frame, 0, whole_look(data_folder)));
	for (const int count : counts) {
		runs.emplace_back([&subjects, count] {
			std::vector<std::thread> threads;
			for (int engine = 0; engine < count; ++engine) {
				threads.emplace_back([subject = subjects[size_t(engine)].get()] {
					for (int run = 0; run < frames_each; ++run)
						subject->process();
				});
			}
			for (std::thread &thread : threads)
				thread.join();
		});
	}
	const std::vector<double> times = times_in_turns(runs, 1, 4);

	report.table({"engines at once, whole look at 720p", "ms a frame", "", "bar", ""});
	std::vector<double> costs;
	for (size_t index = 0; index < times.size(); ++index) {
		costs.push_back(times[index] / (counts[index] * frames_each));
		report.row({std::to_string(counts[index]), number(costs.back()), "", "", ""},
			   {{"work", "engines"}, {"engines", counts[index]}, {"ms_a_frame", costs.back()}});
	}
	judge_spread("dearest / cheapest frame", costs, report);
}

void measure_memory(const std::string &data_folder, Report &report)
{
	report.table({"memory at 1080p, whole look", "", "", "bar", ""});

	// In a process of its own: what this one has freed would be taken again unseen.
	const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
	const std::string command = "'" + self + "' --engine-memory '" + data_folder + "'";
	// NOLINTNEXTLINE(cert-env33-c): the command is this program itself
	const std::unique_ptr<FILE, int (*)(FILE *)> child(popen(command.c_str(), "r"), pclose);
	double bytes = 0;
	if (!child || std::fscanf(child.get(), "%lf", &bytes) != 1)
		throw std::runtime_error("no figure came from " + command);
	constexpr double megabytes_bar = 96;
	const double megabytes = bytes / 1e6;
	report.row({"peak of one engine, MB", number(megabytes), "", number(megabytes_bar),
		    report.judge(megabytes < megabytes_bar)},
		   {{"work", "peak memory"}, {"mb", megabytes}, {"bar", megabytes_bar}});

	const Frame frame = make_frame(1920, 1080);
	Subject subject(data_folder, frame, 1, whole_look(data_folder)); // all on this thread, which is counted
	constexpr int frames = 20;
	constexpr int warm_up = 40; // faces are looked for in one view after the other, which differ in size
	for (int run = 0; run < warm_up; ++run)
		subject.process();
	const uint64_t before = test::heap_allocation_count();
	for (int run = 0; run < frames; ++run)
		subject.process();
	const double allocations = double(test::heap_allocation_count() - before) / frames;
	report.row({"heap allocations of a steady frame", number(allocations), "", number(0),
		    report.judge(allocations == 0)},
		   {{"work", "allocations"}, {"a_frame", allocations}, {"bar", 0}});
}

void print_engine_memory(const std::string &data_folder)
{
	const Frame frame = make_frame(1920, 1080);
	std::vector<uint8_t> output(frame.pixels.size(), 1); // the host's, and in memory from the start
	malloc_trim(0);
	std::ofstream("/proc/self/clear_refs") << '5'; // the peak is counted from here
	const size_t before = status_bytes("VmRSS");
	Subject subject(data_folder, frame, engine::Pool::max_threads, whole_look(data_folder));
	for (int run = 0; run < 3; ++run)
		subject.process();
	// The subject's own room for the result is the host's as well.
	std::printf("%zu\n", status_bytes("VmHWM") - before - subject.result().size());
}

} // namespace kalvio::bench
