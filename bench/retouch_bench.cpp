// SPDX-License-Identifier: GPL-2.0-or-later

// bench_retouch [--check] [--quick]: what smoothing leaves of blemishes, pores, eyes, lips and hair, on made skin, on
// the sample portrait and, where python3-skimage or the file that KALVIO_ASTRONAUT names is there, on a photograph;
// beside OpenCV's filters where they are installed. With --check it fails when a figure is beyond its bar; --quick
// leaves out the other sizes and the peers.
#include "comparison.h"
#include "engine.h"
#include "face_trials.h"
#include "retouch_measures.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

using namespace kalvio::bench;
using kalvio::test::report;

constexpr int full_height = 1080;

struct Look {
	const char *name;
	int style;
	float strength;
	bool skin_only;
};

int64_t now_us = 0;

// The picture after as many frames as it takes to know its faces.
Method engine_method(const Look &look)
{
	return [look](const Image &picture) {
		const kl_engine_config config = {0, 0, nullptr, KALVIO_DATA_DIR "/resource.kld", "org.bench", 0};
		const std::unique_ptr<kl_engine, void (*)(kl_engine *)> engine(kl_engine_create(&config),
									       kl_engine_destroy);
		if (!engine)
			throw std::runtime_error("no engine");
		engine->clock_us = [] {
			return now_us;
		};
		kl_set_smoothing(engine.get(), look.strength);
		kl_set_smoothing_style(engine.get(), look.style);
		kl_set_beauty_skin_only(engine.get(), look.skin_only);
		Image output = picture;
		const int frames = look.skin_only ? 40 : 1;
		for (int frame = 0; frame < frames; ++frame) {
			now_us += 33'333;
			if (kl_process_rgba(engine.get(), picture.pixels.data(), picture.width, picture.height,
					    picture.width * 4, output.pixels.data(), KL_PIXEL_FORMAT_RGBA, 0) != KL_OK)
				throw std::runtime_error("the engine refuses the picture");
		}
		return output;
	};
}

struct Figures {
	std::array<double, blemish_sigmas.size()> left = {}; // means over the subjects
	double least_pores = 1;
	double features = 1; // the least
	double hair = 1;
	double patchiness = -1; // the largest gain
};

Figures measure(const Subject &subject, int height, const Method &method)
{
	Figures figures;
	const Image scaled = resampled(subject.picture, height);
	for (size_t index = 0; index < blemish_sigmas.size(); ++index)
		figures.left[index] = blemish_left(subject, scaled, blemish_sigmas[index], method);
	if (height != full_height)
		return figures;
	figures.least_pores = pores_left(subject, scaled, method);
	const Image output = method(scaled);
	if (!subject.features.empty()) {
		figures.features = similarity(scaled, output, subject.features);
		figures.hair = similarity(scaled, output, subject.hair);
	}
	figures.patchiness = texture_variation(output, subject.skin) - texture_variation(scaled, subject.skin);
	return figures;
}

Figures summary(const std::vector<Figures> &all)
{
	Figures sum;
	for (const Figures &figures : all) {
		for (size_t index = 0; index < sum.left.size(); ++index)
			sum.left[index] += figures.left[index] / double(all.size());
		sum.least_pores = std::min(sum.least_pores, figures.least_pores);
		sum.features = std::min(sum.features, figures.features);
		sum.hair = std::min(sum.hair, figures.hair);
		sum.patchiness = std::max(sum.patchiness, figures.patchiness);
	}
	return sum;
}

Figures measure(const std::vector<Subject> &subjects, int height, const Method &method)
{
	std::vector<Figures> all;
	for (const Subject &subject : subjects)
		all.push_back(measure(subject, height, method));
	return summary(all);
}

void print_head()
{
	std::printf("%-30s %5s %5s %5s %5s  %5s  %6s %6s  %6s\n", "", "1.5", "3", "6", "12", "pores", "eyes", "hair",
		    "patchy");
}

void print(const std::string &name, const Figures &figures)
{
	std::printf("%-30s", name.c_str());
	for (const double left : figures.left)
		std::printf(" %4.0f%%", 100 * left);
	std::printf("  %4.0f%%  %6.3f %6.3f  %+6.2f\n", 100 * figures.least_pores, figures.features, figures.hair,
		    figures.patchiness);
}

std::vector<Subject> find_subjects()
{
	std::vector<Subject> subjects = {make_skin("light skin", 226, 178, 152), make_skin("dark skin", 96, 62, 48)};
	if (std::optional<Subject> portrait = load_portrait(KALVIO_PORTRAIT))
		subjects.push_back(std::move(*portrait));
	const char *elsewhere = std::getenv("KALVIO_ASTRONAUT");
	if (std::optional<Subject> photograph =
		    load_astronaut_subject(elsewhere != nullptr ? elsewhere : kalvio::engine::testing::astronaut_path))
		subjects.push_back(std::move(*photograph));
	else
		std::printf("photograph: python3-skimage is not installed; left out\n");
	return subjects;
}

// Bars of one style at full strength.
struct Bars {
	int style;
	const char *name;
	double blemish;
	double pores;
};

bool check_style(const std::vector<Subject> &subjects, const Bars &bars)
{
	const Figures full = measure(subjects, full_height, engine_method({"", bars.style, 1, false}));
	const Figures half = measure(subjects, full_height, engine_method({"", bars.style, 0.5F, false}));
	std::printf("\n%s\n", bars.name);
	bool held = true;
	for (size_t index = 0; index < blemish_sigmas.size(); ++index) {
		char line[64];
		std::snprintf(line, sizeof(line), "left of blemishes of sigma %.1f", double(blemish_sigmas[index]));
		held &= report(line, full.left[index], bars.blemish);
		held &= report("    at 50 %, distance from half the effect",
			       std::abs((1 - half.left[index]) - (1 - full.left[index]) / 2), 0.10);
	}
	held &= report("pores lost", 1 - full.least_pores, 1 - bars.pores);
	held &= report("eyes and lips, 1 - SSIM", 1 - full.features, 0.015);
	held &= report("hair, 1 - SSIM", 1 - full.hair, 0.03);
	held &= report("gain of the texture's variation", full.patchiness, 0.05);
	return held;
}

bool check_sizes(const std::vector<Subject> &subjects, int style)
{
	const Method method = engine_method({"", style, 1, false});
	const Figures usual = measure(subjects, full_height, method);
	bool held = true;
	for (const int height : {360, 2160}) {
		const Figures other = measure(subjects, height, method);
		for (size_t index = 0; index < blemish_sigmas.size(); ++index) {
			char line[64];
			std::snprintf(line, sizeof(line), "style %d, %d rows: sigma %.1f, less that at 1080", style,
				      height, double(blemish_sigmas[index]));
			held &= report(line, std::abs(other.left[index] - usual.left[index]), 0.10);
		}
	}
	return held;
}

bool bench(bool quick)
{
	const std::vector<Subject> subjects = find_subjects();
	std::printf("left of planted blemishes by their sigma in pixels of 1080 rows: means of %zu pictures; the rest: "
		    "worst\n",
		    subjects.size());
	print_head();
	constexpr Look looks[] = {
		{"texture 100 %", 1, 1, false}, {"natural 100 %", 0, 1, false}, {"smooth 100 %", 2, 1, false}};
	for (const Look &look : looks) {
		std::vector<Figures> all;
		for (const Subject &subject : subjects) {
			all.push_back(measure(subject, full_height, engine_method(look)));
			print("    " + subject.name, all.back());
		}
		print(look.name, summary(all));
	}
	if (quick)
		return true;
	constexpr Look limited[] = {{"texture 50 %", 1, 0.5F, false},
				    {"natural 100 %, skin only", 0, 1, true},
				    {"smooth 100 %, skin only", 2, 1, true}};
	for (const Look &look : limited)
		print(look.name, measure(subjects, full_height, engine_method(look)));
	for (const auto &[name, method] : peer_methods())
		print(name, measure(subjects, full_height, method));
	bool held = check_style(subjects, {0, "natural at 100 %", 0.65, 0.85});
	held &= check_style(subjects, {2, "smooth at 100 %", 0.35, 0.60});
	for (const int style : {0, 2})
		held &= check_sizes(subjects, style);
	return held;
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = kalvio::test::take_check_option(argc, argv);
	const bool quick = argc == 2 && std::strcmp(argv[1], "--quick") == 0;
	try {
		return bench(quick) || !check ? 0 : 1;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_retouch: %s\n", error.what());
		return 1;
	}
}
