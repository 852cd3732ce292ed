// SPDX-License-Identifier: GPL-2.0-or-later
#include "retouch_measures.h"

#include "image_reader.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace kalvio::bench {

namespace {

constexpr float reference_height = 1080;

// A picture of one channel.
struct Plane {
	int width;
	int height;
	std::vector<float> values;

	float at(int x, int y) const
	{
		return values[size_t(std::clamp(y, 0, height - 1)) * size_t(width) +
			      size_t(std::clamp(x, 0, width - 1))];
	}
};

Plane luma_of(const Image &image)
{
	Plane plane = {image.width, image.height, {}};
	plane.values.reserve(image.pixel_bytes() / 4);
	for (size_t index = 0; index < image.pixels.size(); index += 4)
		plane.values.push_back(0.2126F * float(image.pixels[index]) + 0.7152F * float(image.pixels[index + 1]) +
				       0.0722F * float(image.pixels[index + 2]));
	return plane;
}

Plane blurred(const Plane &plane, float sigma)
{
	const int radius = static_cast<int>(std::ceil(3 * sigma));
	std::vector<float> weights;
	float total = 0;
	for (int tap = -radius; tap <= radius; ++tap) {
		weights.push_back(std::exp(-0.5F * float(tap * tap) / (sigma * sigma)));
		total += weights.back();
	}
	Plane across = plane;
	Plane result = plane;
	for (int pass = 0; pass < 2; ++pass) {
		const Plane &from = pass == 0 ? plane : across;
		Plane &to = pass == 0 ? across : result;
		for (int y = 0; y < plane.height; ++y) {
			for (int x = 0; x < plane.width; ++x) {
				float sum = 0;
				for (int tap = -radius; tap <= radius; ++tap)
					sum += weights[size_t(tap + radius)] *
					       (pass == 0 ? from.at(x + tap, y) : from.at(x, y + tap));
				to.values[size_t(y) * size_t(plane.width) + size_t(x)] = sum / total;
			}
		}
	}
	return result;
}

Plane operator*(const Plane &left, const Plane &right)
{
	Plane product = left;
	for (size_t index = 0; index < product.values.size(); ++index)
		product.values[index] *= right.values[index];
	return product;
}

struct Box {
	int left;
	int top;
	int right;
	int bottom;
};

Box pixels_of(const Part &part, int height)
{
	const auto pixel = [height](float share) {
		return static_cast<int>(std::lround(share * float(height)));
	};
	return {pixel(part.left), pixel(part.top), pixel(part.right), pixel(part.bottom)};
}

uint8_t to_byte(float value)
{
	return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0F, 255.0F)));
}

// The share of a planted difference that comes out again.
double left_of(const Image &clean, const Image &planted, const Method &method)
{
	const Image clean_out = method(clean);
	const Image planted_out = method(planted);
	double product = 0;
	double square = 0;
	for (size_t index = 0; index < clean.pixels.size(); ++index) {
		const double in = double(planted.pixels[index]) - double(clean.pixels[index]);
		if (in == 0)
			continue;
		product += in * (double(planted_out.pixels[index]) - double(clean_out.pixels[index]));
		square += in * in;
	}
	return product / square;
}

std::optional<Subject> subject_of(const std::string &path, const char *name)
{
	Subject subject;
	subject.name = name;
	if (!load_image(path.c_str(), subject.picture))
		return std::nullopt;
	return subject;
}

// Parts and spots in pixels of the original become shares of its height.
void scale_places(Subject &subject)
{
	const float scale = 1 / float(subject.picture.height);
	for (Spot &spot : subject.spots)
		spot = {spot.x * scale, spot.y * scale};
	for (std::vector<Part> *parts : {&subject.skin, &subject.features, &subject.hair}) {
		for (Part &part : *parts)
			part = {part.left * scale, part.top * scale, part.right * scale, part.bottom * scale};
	}
}

float cubic(float x)
{
	x = std::abs(x);
	if (x < 1)
		return (1.5F * x - 2.5F) * x * x + 1;
	return x < 2 ? ((-0.5F * x + 2.5F) * x - 4) * x + 2 : 0.0F;
}

} // namespace

Subject make_skin(const char *name, int red, int green, int blue)
{
	Subject subject;
	subject.name = name;
	subject.picture.resize(960, 1080);
	std::mt19937 random(7);
	const auto noise = [&random] {
		return (float(random() % 1000) + float(random() % 1000) + float(random() % 1000)) / 500 - 3;
	};
	const float base[3] = {float(red), float(green), float(blue)};
	Plane pores = {960, 1080, std::vector<float>(size_t(960) * 1080)};
	for (float &pore : pores.values)
		pore = noise();
	pores = blurred(pores, 0.7F);
	for (int y = 0; y < 1080; ++y) {
		for (int x = 0; x < 960; ++x) {
			const float shade = 1 + 0.10F * std::sin(float(x) / 210) * std::cos(float(y) / 260);
			const float light = shade * (1 + 0.05F * pores.at(x, y));
			uint8_t *pixel = subject.picture.pixel(x, y);
			for (int channel = 0; channel < 3; ++channel)
				pixel[channel] = to_byte(base[channel] * light + 1.5F * noise());
			pixel[3] = 255;
		}
	}
	for (int row = 1; row < 6; ++row) {
		for (int column = 1; column < 5; ++column)
			subject.spots.push_back({float(column) * 190, float(row) * 180});
	}
	subject.skin = {{40, 40, 920, 1040}};
	scale_places(subject);
	return subject;
}

std::optional<Subject> load_portrait(const std::string &path)
{
	std::optional<Subject> subject = subject_of(path, "portrait");
	if (!subject)
		return subject;
	subject->spots = {{612, 235}, {660, 262}, {570, 405}, {712, 425}, {640, 495}, {625, 600}};
	subject->skin = {{612, 215, 684, 262}, {552, 372, 600, 432}, {680, 365, 728, 415}, {600, 575, 696, 635}};
	subject->features = {{545, 292, 617, 338}, {662, 292, 735, 338}, {592, 430, 688, 468}, {540, 268, 742, 296}};
	subject->hair = {{490, 110, 780, 170}, {450, 460, 525, 610}, {755, 460, 835, 610}};
	scale_places(*subject);
	return subject;
}

std::optional<Subject> load_astronaut_subject(const std::string &path)
{
	std::optional<Subject> subject = subject_of(path, "astronaut");
	if (!subject)
		return subject;
	subject->spots = {{197, 124}, {247, 125}, {226, 168}, {214, 88}};
	subject->skin = {{186, 112, 206, 136}, {238, 114, 258, 138}, {208, 163, 242, 174}};
	subject->features = {{188, 93, 217, 110}, {233, 95, 263, 112}, {200, 135, 250, 160}};
	subject->hair = {{190, 24, 285, 70}, {156, 60, 178, 108}, {272, 70, 298, 118}};
	scale_places(*subject);
	return subject;
}

Image resampled(const Image &picture, int height)
{
	if (height == picture.height)
		return picture;
	const float scale = float(height) / float(picture.height);
	const int width = static_cast<int>(std::lround(float(picture.width) * scale));
	const float widened = std::max(1.0F, 1 / scale);
	const auto taps = [&](int place, int size, auto &&take) {
		const float center = (float(place) + 0.5F) / scale - 0.5F;
		for (int tap = static_cast<int>(std::ceil(center - 2 * widened)); float(tap) <= center + 2 * widened;
		     ++tap)
			take(std::clamp(tap, 0, size - 1), cubic((float(tap) - center) / widened) / widened);
	};
	std::vector<float> across(size_t(width) * size_t(picture.height) * 3);
	for (int x = 0; x < width; ++x) {
		taps(x, picture.width, [&](int from, float weight) {
			for (int y = 0; y < picture.height; ++y) {
				float *sum = across.data() + (size_t(y) * size_t(width) + size_t(x)) * 3;
				for (int channel = 0; channel < 3; ++channel)
					sum[channel] += weight * float(picture.pixel(from, y)[channel]);
			}
		});
	}
	Image result;
	result.resize(width, height);
	std::vector<float> line(size_t(width) * 3);
	for (int y = 0; y < height; ++y) {
		std::fill(line.begin(), line.end(), 0.0F);
		float total = 0;
		taps(y, picture.height, [&](int from, float weight) {
			total += weight;
			for (size_t value = 0; value < line.size(); ++value)
				line[value] += weight * across[size_t(from) * line.size() + value];
		});
		for (int x = 0; x < width; ++x) {
			for (int channel = 0; channel < 3; ++channel)
				result.pixel(x, y)[channel] = to_byte(line[size_t(x) * 3 + size_t(channel)] / total);
			result.pixel(x, y)[3] = 255;
		}
	}
	return result;
}

double blemish_left(const Subject &subject, const Image &scaled, float sigma, const Method &method)
{
	// What is taken from red, green and blue.
	constexpr float depth[3] = {0.04F, 0.12F, 0.11F};
	const float pixels = sigma * float(scaled.height) / reference_height;
	const int reach = static_cast<int>(std::ceil(3.5F * pixels));
	Image planted = scaled;
	for (const Spot &spot : subject.spots) {
		const float center_x = spot.x * float(scaled.height);
		const float center_y = spot.y * float(scaled.height);
		for (int y = static_cast<int>(center_y) - reach; y <= static_cast<int>(center_y) + reach; ++y) {
			for (int x = static_cast<int>(center_x) - reach; x <= static_cast<int>(center_x) + reach; ++x) {
				if (x < 0 || y < 0 || x >= scaled.width || y >= scaled.height)
					continue;
				const float square = (float(x) - center_x) * (float(x) - center_x) +
						     (float(y) - center_y) * (float(y) - center_y);
				const float bell = std::exp(-0.5F * square / (pixels * pixels));
				for (int channel = 0; channel < 3; ++channel)
					planted.pixel(x, y)[channel] = to_byte(float(scaled.pixel(x, y)[channel]) *
									       (1 - depth[channel] * bell));
			}
		}
	}
	return left_of(scaled, planted, method);
}

double pores_left(const Subject &subject, const Image &scaled, const Method &method)
{
	std::mt19937 random(3);
	Plane pores = {scaled.width, scaled.height, std::vector<float>(scaled.pixel_bytes() / 4)};
	for (float &pore : pores.values)
		pore = (float(random() % 1000) + float(random() % 1000)) / 500 - 2;
	pores = blurred(pores, 0.7F);
	Image planted = scaled;
	for (const Part &part : subject.skin) {
		const Box box = pixels_of(part, scaled.height);
		for (int y = box.top; y < box.bottom; ++y) {
			for (int x = box.left; x < box.right; ++x) {
				for (int channel = 0; channel < 3; ++channel)
					planted.pixel(x, y)[channel] =
						to_byte(float(scaled.pixel(x, y)[channel]) + 9 * pores.at(x, y));
			}
		}
	}
	return left_of(scaled, planted, method);
}

double similarity(const Image &left, const Image &right, const std::vector<Part> &parts)
{
	constexpr float sigma = 1.5F;
	constexpr float c1 = 6.5025F;
	constexpr float c2 = 58.5225F;
	double sum = 0;
	int count = 0;
	const Plane x = luma_of(left);
	const Plane y = luma_of(right);
	const Plane mean_x = blurred(x, sigma);
	const Plane mean_y = blurred(y, sigma);
	const Plane xx = blurred(x * x, sigma);
	const Plane yy = blurred(y * y, sigma);
	const Plane xy = blurred(x * y, sigma);
	for (const Part &part : parts) {
		const Box box = pixels_of(part, left.height);
		for (int row = box.top; row < box.bottom; ++row) {
			for (int column = box.left; column < box.right; ++column) {
				const float mx = mean_x.at(column, row);
				const float my = mean_y.at(column, row);
				const float covariance = xy.at(column, row) - mx * my;
				const float variances = xx.at(column, row) - mx * mx + yy.at(column, row) - my * my;
				sum += (2 * mx * my + c1) * (2 * covariance + c2) /
				       ((mx * mx + my * my + c1) * (variances + c2));
				++count;
			}
		}
	}
	return count > 0 ? sum / count : 1;
}

double texture_variation(const Image &picture, const std::vector<Part> &parts)
{
	constexpr int side = 24;
	const Plane luma = luma_of(picture);
	const Plane base = blurred(luma, 4);
	std::vector<double> deviations;
	for (const Part &part : parts) {
		const Box box = pixels_of(part, picture.height);
		for (int top = box.top; top + side <= box.bottom; top += side) {
			for (int left = box.left; left + side <= box.right; left += side) {
				double square = 0;
				for (int y = top; y < top + side; ++y) {
					for (int x = left; x < left + side; ++x)
						square += std::pow(luma.at(x, y) - base.at(x, y), 2);
				}
				deviations.push_back(std::sqrt(square / (side * side)));
			}
		}
	}
	double mean = 0;
	for (const double deviation : deviations)
		mean += deviation / double(deviations.size());
	double variance = 0;
	for (const double deviation : deviations)
		variance += std::pow(deviation - mean, 2) / double(deviations.size());
	return std::sqrt(variance) / mean;
}

} // namespace kalvio::bench
