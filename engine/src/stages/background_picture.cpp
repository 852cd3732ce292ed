// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/background_picture.h"

#include "kernels/kernels.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int largest_width = 3840;
constexpr int largest_height = 2160;

// Which source pixels make one pixel along an axis: a tent as wide as the pixel, at least one source pixel.
struct Span {
	int first;
	std::vector<float> weights;
};

std::vector<Span> spans_of(int source_size, double offset, double scale, int size)
{
	const double radius = std::max(scale, 1.0);
	std::vector<Span> spans(static_cast<size_t>(size));
	for (int index = 0; index < size; ++index) {
		const double centre = offset + (index + 0.5) * scale - 0.5;
		Span &span = spans[static_cast<size_t>(index)];
		const int low = std::clamp(static_cast<int>(std::ceil(centre - radius)), 0, source_size - 1);
		const int high = std::clamp(static_cast<int>(std::floor(centre + radius)), low, source_size - 1);
		span.first = low;
		float total = 0;
		for (int place = low; place <= high; ++place) {
			const double weight = std::max(1 - std::abs(place - centre) / radius, 1e-6);
			span.weights.push_back(static_cast<float>(weight));
			total += span.weights.back();
		}
		for (float &weight : span.weights)
			weight /= total;
	}
	return spans;
}

// One source row, laid over black and scaled along.
void scale_row(const uint8_t *source, const std::vector<Span> &columns, float *out)
{
	for (const Span &span : columns) {
		float sum[3] = {0, 0, 0};
		const uint8_t *pixel = source + size_t(span.first) * 4;
		for (const float weight : span.weights) {
			const float covered = weight * static_cast<float>(pixel[3]) / 255.0F;
			for (int channel = 0; channel < 3; ++channel)
				sum[channel] += covered * static_cast<float>(pixel[channel]);
			pixel += 4;
		}
		out = std::copy_n(sum, 3, out);
	}
}

} // namespace

Image scaled_to_cover(const Image &image, int width, int height)
{
	const double scale =
		std::min(static_cast<double>(image.width) / width, static_cast<double>(image.height) / height);
	const std::vector<Span> columns = spans_of(image.width, (image.width - width * scale) / 2, scale, width);
	const std::vector<Span> rows = spans_of(image.height, (image.height - height * scale) / 2, scale, height);

	Image result;
	result.width = width;
	result.height = height;
	result.pixels.resize(size_t(width) * size_t(height) * 4 + size_t(kernels::row_padding_bytes));
	// Scaled source rows, kept while further rows of the result need them.
	size_t depth = 1;
	for (const Span &span : rows)
		depth = std::max(depth, span.weights.size());
	const size_t row_floats = size_t(width) * 3;
	std::vector<float> ring(depth * row_floats);
	std::vector<int> held(depth, -1);
	std::vector<float> sums(row_floats);
	for (int y = 0; y < height; ++y) {
		const Span &span = rows[size_t(y)];
		std::fill(sums.begin(), sums.end(), 0.0F);
		for (size_t index = 0; index < span.weights.size(); ++index) {
			const int source_y = span.first + static_cast<int>(index);
			const size_t place = size_t(source_y) % depth;
			float *scaled = ring.data() + place * row_floats;
			if (held[place] != source_y) {
				scale_row(image.pixel(0, source_y), columns, scaled);
				held[place] = source_y;
			}
			for (size_t value = 0; value < row_floats; ++value)
				sums[value] += span.weights[index] * scaled[value];
		}
		for (int x = 0; x < width; ++x) {
			uint8_t *pixel = result.pixel(x, y);
			for (size_t channel = 0; channel < 3; ++channel)
				pixel[channel] = static_cast<uint8_t>(std::lrint(sums[size_t(x) * 3 + channel]));
			pixel[3] = 255;
		}
	}
	return result;
}

BackgroundPicture::BackgroundPicture(const Image &image)
{
	const double scale =
		std::min({1.0, double{largest_width} / image.width, double{largest_height} / image.height});
	// Scaled evenly, so that nothing is cropped yet.
	picture_ = scaled_to_cover(image, std::max(1, static_cast<int>(std::lrint(image.width * scale))),
				   std::max(1, static_cast<int>(std::lrint(image.height * scale))));
}

void BackgroundPicture::fit(int width, int height)
{
	if (fitted_.width != width || fitted_.height != height)
		fitted_ = scaled_to_cover(picture_, width, height);
}

} // namespace kalvio::engine
