// SPDX-License-Identifier: GPL-2.0-or-later
#include "matte_report.h"

#include "kernels/kernels.h"
#include "stages/background_blur.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace kalvio::engine::testing {

namespace {

double light_of(double level)
{
	const double value = level / 255;
	return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double level_of(double light)
{
	return 255 * (light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055);
}

// {r, g, b, weight} of each pixel; the person has no weight.
using Light = std::vector<std::array<double, 4>>;

Light background_light(const MadePerson &person)
{
	std::array<double, 256> lights;
	for (size_t level = 0; level < lights.size(); ++level)
		lights[level] = light_of(static_cast<double>(level));
	Light light(person.truth.size());
	for (size_t pixel = 0; pixel < light.size(); ++pixel) {
		const double weight = 1 - static_cast<double>(person.truth[pixel]);
		for (size_t channel = 0; channel < 3; ++channel)
			light[pixel][channel] = weight * lights[person.picture.pixels[pixel * 4 + channel]];
		light[pixel][3] = weight;
	}
	return light;
}

// A Gaussian along the rows or the columns; at the edges the last pixels go on.
Light blurred(const Light &light, int width, int height, double sigma, bool down)
{
	const int radius = static_cast<int>(std::ceil(3.5 * sigma));
	Light result(light.size());
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			std::array<double, 4> sum = {0, 0, 0, 0};
			for (int tap = -radius; tap <= radius; ++tap) {
				const double weight = std::exp(-0.5 * tap * tap / (sigma * sigma));
				const int from_x = down ? x : std::clamp(x + tap, 0, width - 1);
				const int from_y = down ? std::clamp(y + tap, 0, height - 1) : y;
				const auto &value = light[size_t(from_y) * size_t(width) + size_t(from_x)];
				for (size_t channel = 0; channel < 4; ++channel)
					sum[channel] += weight * value[channel];
			}
			result[size_t(y) * size_t(width) + size_t(x)] = sum;
		}
	}
	return result;
}

struct Row {
	const char *name;
	Surroundings surroundings;
	FaceCondition condition;
	Hair hair;
	double mean_bar; // 0: for information
	double worst_bar;
};

constexpr Row rows[] = {
	{"in rooms", Surroundings::Rooms, FaceCondition::Base, Hair::Short, 0.975, 0.89},
	{"in rooms, dark and dim", Surroundings::Rooms, FaceCondition::DarkDim, Hair::Short, 0.96, 0.88},
	{"in rooms, side light", Surroundings::Rooms, FaceCondition::SideLight, Hair::Short, 0.97, 0.92},
	{"in rooms, yaw to 45", Surroundings::Rooms, FaceCondition::Yaw, Hair::Short, 0.96, 0.85},
	{"in rooms, glasses", Surroundings::Rooms, FaceCondition::Glasses, Hair::Short, 0.97, 0.86},
	{"in rooms, long hair", Surroundings::Rooms, FaceCondition::Base, Hair::Long, 0.95, 0.86},
	{"among flat shapes", Surroundings::Shapes, FaceCondition::Base, Hair::Short, 0, 0},
};

bool print_figure(const char *what, double value, double bar, bool at_most)
{
	const bool met = at_most ? value <= bar : value >= bar;
	std::printf("%s: %.4f, bar %.3f%s\n", what, value, bar, met ? "" : " MISSED");
	return met;
}

} // namespace

BlurErrors blur_errors(MatteTrials &trials, uint32_t seed)
{
	const MadePerson person = trials.person_in(Surroundings::Rooms, FaceCondition::Base, seed);
	const int width = person.picture.width;
	const int height = person.picture.height;
	const float sigma = 0.5F * BackgroundBlur::strongest_sigma * static_cast<float>(height);
	PersonMatte matte = trials.make_matte();
	const Image gray = trials.matte_of(matte, person.picture, 0, MatteUse::Blur);
	const Frame frame = {person.picture.pixels.data(), nullptr, width, height, width * bytes_per_pixel};
	BackgroundBlur blur;
	blur.build_linear(frame, matte.widened(), sigma, trials.pool());

	const Light across = blurred(background_light(person), width, height, static_cast<double>(sigma), false);
	const Light known = blurred(across, width, height, static_cast<double>(sigma), true);
	std::vector<uint8_t> row(size_t(width) * 4 + size_t(kernels::row_padding_bytes) * 2);
	int64_t values = 0;
	int64_t within = 0;
	double sum = 0;
	for (int y = 0; y < height; ++y) {
		blur.write_row(y, 0, width, row.data());
		for (int x = 0; x < width; ++x) {
			const size_t pixel = size_t(y) * size_t(width) + size_t(x);
			if (person.truth[pixel] > 0)
				continue;
			const double share = gray.pixels[pixel * 4] / 255.0;
			for (size_t channel = 0; channel < 3; ++channel) {
				const double shown = share * person.picture.pixels[pixel * 4 + channel] +
						     (1 - share) * row[size_t(x) * 4 + channel];
				const double error =
					std::fabs(shown - level_of(known[pixel][channel] / known[pixel][3]));
				sum += error;
				within += static_cast<int64_t>(error <= 1);
				++values;
			}
		}
	}
	return {sum / static_cast<double>(values), 100.0 * static_cast<double>(within) / static_cast<double>(values)};
}

bool print_mattes(MatteTrials &trials, int people, const MatteWatcher &watcher)
{
	std::printf(
		"\nPeople cut out, %d of each kind, IoU with the known matte\n\n| people | mean | bar | worst | bar |  "
		"|\n|---|---|---|---|---|---|\n",
		people);
	bool all_met = true;
	for (const Row &row : rows) {
		const MatteResult result =
			trials.try_people(row.surroundings, row.condition, row.hair, people, watcher);
		const bool met = result.mean_iou >= row.mean_bar && result.worst_iou >= row.worst_bar;
		std::printf("| %s | %.4f | %.3f | %.4f | %.3f | %s |\n", row.name, result.mean_iou, row.mean_bar,
			    result.worst_iou, row.worst_bar, met ? "" : "MISSED");
		all_met &= met;
	}
	std::printf("\n");
	all_met &= print_figure("flicker of a still person, % of white", trials.flicker(FaceCondition::Base, 3, 20),
				0.1, true);
	all_met &= print_figure("flicker in a dim room, % of white", trials.flicker(FaceCondition::DarkDim, 3, 20), 0.2,
				true);
	all_met &= print_figure("IoU lost on a person who moves", trials.motion_loss(3), 0.002, true);
	const BlurErrors errors = blur_errors(trials, 4);
	all_met &= print_figure("blur against one with the known matte, mean of levels", errors.mean_levels, 1, true);
	all_met &= print_figure("of it within one level, %", errors.within_a_level_percent, 90, false);
	return all_met;
}

} // namespace kalvio::engine::testing
