// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/background_picture.h"

#include "aligned.h"
#include "kernels/kernels.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio::engine {

namespace {

// Fixed, so that the work is cut the same way however many threads there are.
constexpr int rows_per_band = 16;

static_assert(Image::spare_bytes >= kernels::row_padding_bytes);

bool is_set(const std::atomic<bool> *flag)
{
	return flag != nullptr && flag->load(std::memory_order_relaxed);
}

// Which source pixels make each pixel along an axis: a tent as wide as the pixel, at least one source pixel. All pixels
// have the same number of taps, some of weight 0.
struct Axis {
	int taps = 1;
	std::vector<int> firsts;    // one a pixel
	std::vector<float> weights; // `taps` a pixel
};

Axis axis_of(int source_size, double scale, int size)
{
	const double offset = (source_size - size * scale) / 2;
	const double radius = std::max(scale, 1.0);
	const auto centre_of = [&](int index) {
		return offset + (index + 0.5) * scale - 0.5;
	};
	const auto low_of = [&](int index) {
		return std::clamp(static_cast<int>(std::ceil(centre_of(index) - radius)), 0, source_size - 1);
	};
	const auto high_of = [&](int index) {
		return std::clamp(static_cast<int>(std::floor(centre_of(index) + radius)), low_of(index),
				  source_size - 1);
	};

	Axis axis;
	for (int index = 0; index < size; ++index)
		axis.taps = std::max(axis.taps, high_of(index) - low_of(index) + 1);
	axis.firsts.resize(size_t(size));
	axis.weights.resize(size_t(size) * size_t(axis.taps));
	for (int index = 0; index < size; ++index) {
		const int low = low_of(index);
		const int high = high_of(index);
		const int first = std::min(low, source_size - axis.taps);
		float *weights = axis.weights.data() + size_t(index) * size_t(axis.taps);
		float total = 0;
		for (int place = low; place <= high; ++place) {
			const double weight = std::max(1 - std::abs(place - centre_of(index)) / radius, 1e-6);
			weights[place - first] = static_cast<float>(weight);
			total += static_cast<float>(weight);
		}
		for (int tap = 0; tap < axis.taps; ++tap)
			weights[tap] /= total;
		axis.firsts[size_t(index)] = first;
	}
	return axis;
}

// What one thread works with: the source rows of a row of the result, and their weighted sum.
struct Scratch {
	std::vector<const uint8_t *> rows;
	Aligned<float> sums;
};

// Lays the picture over black.
void make_opaque(Image &image, const std::atomic<bool> *cancelled)
{
	const size_t row_bytes = size_t(image.width) * 4;
	for (int y = 0; y < image.height && !is_set(cancelled); ++y) {
		uint8_t *row = image.pixel(0, y);
		uint8_t alphas = 255;
		for (size_t byte = 3; byte < row_bytes; byte += 4)
			alphas &= row[byte];
		if (alphas == 255)
			continue;
		for (size_t byte = 0; byte < row_bytes; byte += 4) {
			const int alpha = row[byte + 3];
			for (size_t channel = 0; channel < 3; ++channel)
				row[byte + channel] = static_cast<uint8_t>((row[byte + channel] * alpha + 127) / 255);
			row[byte + 3] = 255;
		}
	}
}

} // namespace

void scale_to_cover(const Image &image, int width, int height, Pool *pool, const std::atomic<bool> *cancelled,
		    Image &result)
{
	const double scale =
		std::min(static_cast<double>(image.width) / width, static_cast<double>(image.height) / height);
	Axis columns = axis_of(image.width, scale, width);
	const Axis rows = axis_of(image.height, scale, height);
	// Columns that are cropped away need no sums. Offsets are in floats from the first column that is left.
	const int left = columns.firsts.front();
	const int used_bytes = (columns.firsts.back() + columns.taps - left) * 4;
	for (int &first : columns.firsts)
		first = (first - left) * 4;

	std::vector<Scratch> scratch(size_t(pool != nullptr ? pool->threads() : 1));
	for (Scratch &own : scratch) {
		own.rows.resize(size_t(rows.taps));
		own.sums.require(size_t(used_bytes));
	}
	// Last, so that a result without memory for all this keeps its size and content.
	result.resize(width, height);
	result.pixels.resize(result.pixel_bytes() + Image::spare_bytes);
	const auto scale_band = [&](int band, int slot) {
		Scratch &own = scratch[size_t(slot)];
		const int end = std::min(height, (band + 1) * rows_per_band);
		for (int y = band * rows_per_band; y < end && !is_set(cancelled); ++y) {
			for (int tap = 0; tap < rows.taps; ++tap)
				own.rows[size_t(tap)] = image.pixel(left, rows.firsts[size_t(y)] + tap);
			kernels::weigh_byte_rows(own.rows.data(), &rows.weights[size_t(y) * size_t(rows.taps)],
						 rows.taps, used_bytes, own.sums.data());
			kernels::weigh_pixels(own.sums.data(), columns.firsts.data(), columns.weights.data(),
					      columns.taps, width, result.pixel(0, y));
		}
	};
	const int bands = (height + rows_per_band - 1) / rows_per_band;
	if (pool != nullptr) {
		pool->run(bands, scale_band);
		return;
	}
	for (int band = 0; band < bands; ++band)
		scale_band(band, 0);
}

BackgroundPicture::BackgroundPicture(Image image, const std::atomic<bool> *cancelled)
{
	make_opaque(image, cancelled);
	const double scale =
		std::min({1.0, double{largest_width} / image.width, double{largest_height} / image.height});
	if (scale == 1.0) {
		picture_ = std::move(image);
		picture_.pixels.resize(picture_.pixel_bytes() + Image::spare_bytes);
		return;
	}
	// Scaled evenly, so that nothing is cropped yet.
	scale_to_cover(image, std::max(1, static_cast<int>(std::lrint(image.width * scale))),
		       std::max(1, static_cast<int>(std::lrint(image.height * scale))), nullptr, cancelled, picture_);
}

void BackgroundPicture::fit(int width, int height, Pool *pool, const std::atomic<bool> *cancelled)
{
	is_used_as_it_is_ = picture_.width == width && picture_.height == height;
	if (is_used_as_it_is_ || (fitted_.width == width && fitted_.height == height))
		return;
	scale_to_cover(picture_, width, height, pool, cancelled, fitted_);
}

} // namespace kalvio::engine
