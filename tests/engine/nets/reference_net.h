// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/net_file.h"
#include "tflite.h"

#include <vector>

// Plain runs of nets in double precision, value by value, to compare the engine's with.
namespace kalvio::engine::testing {

// A dense tensor.
struct Values {
	Shape shape = {};
	std::vector<double> numbers;

	explicit Values(const Shape &size = {0, 0, 0}) : shape(size), numbers(size.values()) {}

	double &at(int y, int x, int channel) { return numbers[place(y, x, channel)]; }
	double at(int y, int x, int channel) const { return numbers[place(y, x, channel)]; }
	// 0 outside.
	double around(int y, int x, int channel) const
	{
		const bool outside = y < 0 || x < 0 || y >= shape.height || x >= shape.width;
		return outside ? 0 : at(y, x, channel);
	}

private:
	size_t place(int y, int x, int channel) const
	{
		const auto row = static_cast<size_t>(y) * static_cast<size_t>(shape.width) + static_cast<size_t>(x);
		return row * static_cast<size_t>(shape.channels) + static_cast<size_t>(channel);
	}
};

// All outputs of a net whose file was checked.
std::vector<Values> run_plainly(const NetFile &file, const Values &input);

// All outputs of a published model, straight from its graph: what a converted net must give as well.
std::vector<Values> run_model(const TfliteModel &model, const Values &input);

double activated(NetActivation activation, double value, double slope);
// The matrix of a crop, two rows of three.
struct CropOptions {
	int left;
	int right;
	std::vector<uint16_t> points;
	double scale_x;
	double scale_y;
	double width;
	double height;
	double unit;
};
std::vector<double> crop_matrix_of(const Values &points, const CropOptions &options);
Values sampled(const Values &input, const std::vector<double> &matrix, const Shape &output);

} // namespace kalvio::engine::testing
