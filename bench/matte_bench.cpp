// SPDX-License-Identifier: GPL-2.0-or-later

// bench_matte [--check] [--people N] [--bundle FILE]: how well and at what cost people are cut out, each figure beside
// its bar. With --check it fails when one misses. Times are of one thread, as ratios to a copy of the frame.
#include "comparison.h"
#include "face_trials.h"
#include "kit/heap_probe.h"
#include "matte_report.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

using namespace kalvio::engine;
using namespace kalvio::engine::testing;
using kalvio::test::report;

struct Options {
	std::string bundle = KALVIO_DATA_DIR "/resource.kld";
	int people = 12;
};

// A made person at 1920 x 1080.
Image large_person(MatteTrials &trials)
{
	MadePerson person = trials.person_in(Surroundings::Rooms, FaceCondition::Base, 3);
	person.recipe.width = 1920;
	person.recipe.height = 1080;
	person.recipe.seed += 1000; // a background of its own size
	person.recipe.center = person.recipe.center * 2;
	person.recipe.eye_distance *= 2;
	paint_person(trials.painter(), person);
	return noisy(person.picture, 2, 0);
}

// What frames of 1920 x 1080 cost beside a plain copy of one.
bool bench_cost(const NetLibrary &nets, MatteTrials &trials)
{
	const Image picture = large_person(trials);
	Image copy = picture;
	const auto copy_frame = [&] {
		std::memcpy(copy.pixels.data(), picture.pixels.data(), picture.pixel_bytes());
	};
	Pool pool(1);
	const Frame frame = {picture.pixels.data(), copy.pixels.data(), picture.width, picture.height,
			     picture.width * bytes_per_pixel};
	PersonMatte matte(nets.person_matte);
	NetRunner runner(nets.person_matte);
	int64_t now_us = 0;
	const auto follow = [&] {
		now_us += MatteTrials::frame_us;
		matte.update(frame, now_us, pool);
	};
	std::vector<uint8_t> row(size_t(picture.width) * 4 + 256);
	std::vector<uint8_t> gray(row.size());
	const auto write_rows = [&] {
		for (int y = 0; y < picture.height; ++y)
			matte.write_row(y, 0, picture.width, MatteUse::Picture, frame.input_row(y), row.data(),
					gray.data());
	};
	for (int warm = 0; warm < 10; ++warm)
		follow();
	constexpr int samples = 7;
	constexpr int frames = 10;
	const auto run_net = [&] {
		runner.run();
	};
	const auto net = kalvio::test::compare(samples, frames, run_net, copy_frame);
	const auto whole = kalvio::test::compare(samples, frames, follow, copy_frame);
	const auto rows = kalvio::test::compare(samples, frames, write_rows, copy_frame);
	std::printf("\ncost of a frame of 1920 x 1080, one thread; a copy of it takes %.2f ms\n",
		    whole.right_seconds * 1e3);
	const auto show = [](const char *what, const kalvio::test::Comparison &cost, double bar) {
		std::printf("  %-56s %8.2f ms\n", what, cost.left_seconds * 1e3);
		return report("    in copies", cost.ratio(), bar);
	};
	bool held = show("the net alone", net, 12);
	held &= show("a frame's matte: guide, net, time filter, refinement", whole, 24);
	held &= show("the matte of its pixels, colors of the edge", rows, 8);

	const uint64_t before = kalvio::test::heap_allocation_count();
	for (int steady = 0; steady < frames; ++steady) {
		follow();
		write_rows();
	}
	const double allocations = static_cast<double>(kalvio::test::heap_allocation_count() - before) / frames;
	return report("heap allocations of a steady frame", allocations, 0) && held;
}

bool bench(const Options &options)
{
	const NetLibrary nets = load_nets(options.bundle);
	MatteTrials trials(nets, shipped_rooms(KALVIO_DATA_DIR));
	bool held = print_mattes(trials, options.people);
	held &= bench_cost(nets, trials);
	return held;
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = kalvio::test::take_check_option(argc, argv);
	Options options;
	for (int index = 1; index + 1 < argc; index += 2) {
		if (std::strcmp(argv[index], "--people") == 0)
			options.people = std::atoi(argv[index + 1]);
		else if (std::strcmp(argv[index], "--bundle") == 0)
			options.bundle = argv[index + 1];
	}
	try {
		return bench(options) || !check ? 0 : 1;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_matte: %s\n", error.what());
		return 1;
	}
}
