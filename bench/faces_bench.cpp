// SPDX-License-Identifier: GPL-2.0-or-later

// bench_faces [--check] [--faces N] [--bundle FILE]: how well and at what cost faces are found and followed, each
// figure beside its bar. With --check it fails when one misses. Times are of one thread, as ratios to a copy of the
// frame.
#include "comparison.h"
#include "condition_table.h"
#include "face_trials.h"
#include "faceless.h"
#include "kit/heap_probe.h"
#include "stages/makeup.h"

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
	int faces = 40;
};

bool bench_motion(FaceTrials &trials)
{
	std::printf("\nmotion\n");
	bool held = report("still face, noise of 6 levels: jitter, % of its size", trials.still_jitter(6), 0.15);
	held &= report("head moving by a quarter of its size at 1 Hz: lag, frames", trials.moving_lag(), 0.4);
	return held;
}

bool bench_faceless(FaceTrials &trials)
{
	constexpr int pictures = 300;
	std::printf("\nfaceless pictures\n");
	const std::vector<int> wrong = trials.faces_in_faceless(pictures);
	for (const int number : wrong)
		std::printf("  a face in picture %d: %s\n", number, name_of_faceless(number));
	return report("of 300 pictures, those with a face within a second", static_cast<double>(wrong.size()), 0);
}

bool bench_photograph(FaceTrials &trials)
{
	const char *elsewhere = std::getenv("KALVIO_ASTRONAUT");
	const std::optional<Image> picture = load_astronaut(elsewhere != nullptr ? elsewhere : astronaut_path);
	if (!picture) {
		std::printf("\nphotograph: python3-skimage is not installed; left out\n");
		return true;
	}
	std::printf("\nphotograph of python3-skimage, in %% of the face's size\n");
	const std::vector<TrackedFace> faces = trials.faces_of(*picture);
	if (faces.size() != 1)
		return report("faces that are missing or too many", std::abs(double(faces.size()) - 1), 0);
	const FaceErrors errors = astronaut_errors(faces[0].points);
	bool held = report("eyes", errors.eyes, 3.5);
	held &= report("lips", errors.lips, 2.5);
	held &= report("iris", errors.iris, 2);
	held &= report("jaw", errors.jaw, 3.5);
	return held;
}

Settings all_makeup()
{
	Settings settings;
	for (Makeup Settings::*item : {&Settings::lipstick, &Settings::blush, &Settings::contour, &Settings::eye_shadow,
				       &Settings::eye_liner, &Settings::eyebrow, &Settings::eyelash, &Settings::pupil})
		(settings.*item).strength = 1;
	settings.contour.style = KL_CONTOUR_STYLE_GLAM;
	settings.eye_shadow.style = KL_EYE_SHADOW_STYLE_DRAMA;
	return settings;
}

// What frames of 1920 x 1080 cost beside a plain copy of one.
bool bench_cost(const NetLibrary &nets)
{
	FacePainter painter(nets.head);
	FaceRecipe recipe = make_recipe(FaceCondition::Base, 3);
	recipe.width = 1920;
	recipe.height = 1080;
	recipe.center = {960, 500};
	recipe.eye_distance = 150;
	Image with_face;
	painter.paint(recipe, 0, with_face);
	Image without = with_face;
	std::fill(without.pixels.begin(), without.pixels.end(), uint8_t{120});
	Image copy = with_face;
	const auto copy_frame = [&] {
		std::memcpy(copy.pixels.data(), with_face.pixels.data(), with_face.pixel_bytes());
	};

	Pool pool(1);
	double now_s = 0;
	const auto show = [&](FaceTracker &tracker, const Image &image) {
		now_s += FaceTrials::frame_s;
		tracker.update({image.pixels.data(), nullptr, image.width, image.height, image.width * 4}, now_s, pool);
	};
	FaceTracker looking(face_nets(nets), nets.head);
	FaceTracker following(face_nets(nets), nets.head);
	for (int frame = 0; frame < 60; ++frame) {
		show(looking, without);
		show(following, with_face);
	}
	constexpr int samples = 7;
	constexpr int frames = 30;
	const auto look_for_one = [&] {
		show(looking, without);
	};
	const auto follow_one = [&] {
		show(following, with_face);
	};
	const auto look = kalvio::test::compare(samples, frames, look_for_one, copy_frame);
	const auto follow = kalvio::test::compare(samples, frames, follow_one, copy_frame);
	FaceTracker beginning(face_nets(nets), nets.head);
	const auto begin = kalvio::test::compare(
		samples, 3,
		[&] {
			now_s += 1; // starts from nothing
			show(beginning, with_face);
		},
		copy_frame);
	std::printf("\ncost of a frame of 1920 x 1080, one thread; a copy of it takes %.2f ms\n",
		    follow.right_seconds * 1e3);
	std::printf("  %-56s %8.2f ms, %.1f copies\n", "nobody there: two views", look.left_seconds * 1e3,
		    look.ratio());
	std::printf("  %-56s %8.2f ms, %.1f copies\n", "one face: mesh, smoothing, every other frame a view",
		    follow.left_seconds * 1e3, follow.ratio());

	std::printf("  %-56s %8.2f ms, %.1f copies\n", "the first frame of one face", begin.left_seconds * 1e3,
		    begin.ratio());

	MakeupStage makeup;
	const Frame frame_of_face = {with_face.pixels.data(), nullptr, with_face.width, with_face.height,
				     with_face.width * 4};
	const auto wear = [&] {
		makeup.build(frame_of_face, all_makeup(), {following.faces(), 1.0F / 30}, pool);
		for (int y = 0; y < copy.height; ++y)
			makeup.apply_row(y, 0, copy.width, copy.pixel(0, y));
	};
	const auto worn = kalvio::test::compare(samples, frames, wear, copy_frame);
	std::printf("  %-56s %8.2f ms, %.1f copies\n", "all eight items of makeup on one face", worn.left_seconds * 1e3,
		    worn.ratio());

	const uint64_t before = kalvio::test::heap_allocation_count();
	for (int frame = 0; frame < frames; ++frame) {
		show(following, with_face);
		wear();
	}
	const double allocations = static_cast<double>(kalvio::test::heap_allocation_count() - before) / frames;
	return report("heap allocations of a steady frame", allocations, 0);
}

bool bench(const Options &options)
{
	const NetLibrary nets = load_nets(options.bundle);
	FaceTrials trials(nets);
	print_condition_head(options.faces);
	bool held = true;
	for (int condition = 0; condition < face_condition_count; ++condition)
		held &= print_condition(trials, FaceCondition(condition), options.faces);
	held &= bench_motion(trials);
	held &= bench_photograph(trials);
	held &= bench_faceless(trials);
	held &= bench_cost(nets);
	return held;
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = kalvio::test::take_check_option(argc, argv);
	Options options;
	for (int index = 1; index + 1 < argc; index += 2) {
		if (std::strcmp(argv[index], "--faces") == 0)
			options.faces = std::atoi(argv[index + 1]);
		else if (std::strcmp(argv[index], "--bundle") == 0)
			options.bundle = argv[index + 1];
	}
	try {
		return bench(options) || !check ? 0 : 1;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_faces: %s\n", error.what());
		return 1;
	}
}
