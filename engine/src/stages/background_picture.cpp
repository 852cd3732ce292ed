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
constexpr int fitted_rows_per_band = 16;

// Beyond this, sums of products of 16 bits lose too much; a picture that large is halved first.
constexpr double largest_scale = 16;

static_assert(Image::spare_bytes >= kernels::row_padding_bytes);

bool is_set(const std::atomic<bool> *flag)
{
	return flag != nullptr && flag->load(std::memory_order_relaxed);
}

// Which source pixels make each pixel along an axis: a tent as wide as the pixel, at least one source pixel. All pixels
// have the same number of taps, some of weight 0.
struct Axis {
	int taps = 1;
	std::vector<int> firsts;      // one per pixel
	std::vector<int16_t> weights; // `taps` per pixel, 32767 together
};

// Where the tent of a pixel lies among the source pixels.
struct Tent {
	double center;
	double radius;
	int low; // the first and the last source pixel below it
	int high;

	Tent(int source_size, double scale, int size, int index)
		: center((source_size - size * scale) / 2 + (index + 0.5) * scale - 0.5), radius(std::max(scale, 1.0)),
		  low(std::clamp(static_cast<int>(std::floor(center - radius)) + 1, 0, source_size - 1)),
		  high(std::clamp(static_cast<int>(std::ceil(center + radius)) - 1, low, source_size - 1))
	{
	}

	double height_at(int place) const { return std::max(1 - std::abs(place - center) / radius, 1e-6); }
};

void write_weights(const Tent &tent, int16_t *weights)
{
	double total = 0;
	for (int place = tent.low; place <= tent.high; ++place)
		total += tent.height_at(place);
	// Rounded so that the sum is right: what one weight is too large or small, the next one makes up for.
	double exact = 0;
	int written = 0;
	for (int place = tent.low; place <= tent.high; ++place) {
		exact += tent.height_at(place) / total * INT16_MAX;
		const int weight = static_cast<int>(std::lrint(exact)) - written;
		weights[place - tent.low] = static_cast<int16_t>(weight);
		written += weight;
	}
}

Axis axis_of(int source_size, double scale, int size)
{
	Axis axis;
	for (int index = 0; index < size; ++index) {
		const Tent tent(source_size, scale, size, index);
		axis.taps = std::max(axis.taps, tent.high - tent.low + 1);
	}
	axis.firsts.resize(size_t(size));
	axis.weights.resize(size_t(size) * size_t(axis.taps));
	for (int index = 0; index < size; ++index) {
		const Tent tent(source_size, scale, size, index);
		const int first = std::min(tent.low, source_size - axis.taps);
		axis.firsts[size_t(index)] = first;
		write_weights(tent, &axis.weights[size_t(index) * size_t(axis.taps) + size_t(tent.low - first)]);
	}
	return axis;
}

// The columns as the kernel takes them.
struct ColumnTable {
	int pairs = 1; // of taps
	int left = 0;  // the first source column that is used
	int used = 0;  // source columns
	std::vector<int> firsts;
	Aligned<int16_t> weights;
};

ColumnTable table_of(const Axis &columns)
{
	ColumnTable table;
	const size_t width = columns.firsts.size();
	const auto taps = size_t(columns.taps);
	table.pairs = (columns.taps + 1) / 2;
	table.left = columns.firsts.front();
	table.used = columns.firsts.back() + columns.taps - table.left;
	const size_t values = size_t(table.pairs) * 8; // per pixel
	int16_t *weights = table.weights.ensure_capacity(width * values);
	std::fill_n(weights, width * values, int16_t{0});
	for (size_t x = 0; x < width; ++x) {
		table.firsts.push_back((columns.firsts[x] - table.left) * 4);
		for (size_t tap = 0; tap < taps; ++tap)
			std::fill_n(weights + x * values + tap * 4, 4, columns.weights[x * taps + tap]);
	}
	return table;
}

// What one thread works with: the source rows of a row of the result, and their weighted sum.
struct Scratch {
	std::vector<const uint8_t *> rows;
	Aligned<int16_t> sums;
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
	if (scale > largest_scale) {
		scale_to_cover(halved(image), width, height, pool, cancelled, result);
		return;
	}
	const ColumnTable columns = table_of(axis_of(image.width, scale, width));
	const Axis rows = axis_of(image.height, scale, height);
	std::vector<Scratch> scratch(size_t(pool != nullptr ? pool->threads() : 1));
	for (Scratch &own : scratch) {
		own.rows.resize(size_t(rows.taps));
		// An odd tap is the first of a pair, the other of which is read with weight 0.
		const size_t values = size_t(columns.used + 1) * 4;
		std::fill_n(own.sums.ensure_capacity(values), values, int16_t{0});
	}
	// Last, so that a result without memory for all this keeps its size and content.
	result.resize(width, height);
	result.pixels.resize(result.pixel_bytes() + Image::spare_bytes);
	const auto scale_band = [&](int band, int slot) {
		Scratch &own = scratch[size_t(slot)];
		const int end = std::min(height, (band + 1) * fitted_rows_per_band);
		for (int y = band * fitted_rows_per_band; y < end && !is_set(cancelled); ++y) {
			for (int tap = 0; tap < rows.taps; ++tap)
				own.rows[size_t(tap)] = image.pixel(columns.left, rows.firsts[size_t(y)] + tap);
			kernels::weigh_byte_rows(own.rows.data(), &rows.weights[size_t(y) * size_t(rows.taps)],
						 rows.taps, columns.used * 4, own.sums.data());
			kernels::weigh_pixels(own.sums.data(), columns.firsts.data(), columns.weights.data(),
					      columns.pairs, width, result.pixel(0, y));
		}
	};
	const int bands = (height + fitted_rows_per_band - 1) / fitted_rows_per_band;
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
