// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/shape.h"
#include "read_result.h"

#include <cstdint>
#include <span>
#include <vector>

// What stands in a net file, as plain records (docs/net-format.md).
namespace kalvio::engine {

// Checked before memory is taken or work is done. Generous for what we ship, small for a hostile file.
struct NetLimits {
	static constexpr int side = 1024;     // height and width of a tensor
	static constexpr int channels = 4096; // of a tensor
	static constexpr int steps = 2048;
	static constexpr int outputs = 32;
	static constexpr int lists = 32;
	static constexpr int border = 3; // how far a kernel may reach beyond a tensor
	static constexpr uint64_t tensor_values = uint64_t{4} << 20;
	static constexpr uint64_t memory_values = uint64_t{24} << 20; // of all tensors of one run
	static constexpr uint64_t weights = uint64_t{8} << 20;
	static constexpr uint64_t products = uint64_t{2'000} * 1'000'000; // of one run
};

enum class NetOperation : uint8_t {
	Convolution = 1, // kernel over all channels
	Depthwise,       // kernel over each channel by itself
	Add,             // input + second, which may have fewer channels
	Multiply,        // input * second, which is one pixel
	Activate,        // the outer activation alone
	MaxPool,         // largest of 2 x 2 pixels
	Mean,            // of all pixels
	Upsample,        // twice as high and wide, bilinear between pixel centers
	Spread,          // the channels of a pixel become 2 x 2 pixels of a quarter as many, rows first; then the outer
			 // activation, which is not PRelu
	Join,            // the values of input, then those of second, in another shape
	CropMatrix,      // points -> the 2 x 3 matrix of a turned crop around some of them
	Sample,          // the crop that a matrix, the second, describes; bilinear, 0 outside
	MovePoints       // points of a crop, taken back to its source by a matrix, the second
};

enum class NetActivation : uint8_t { None, Relu, PRelu, HardSwish, Logistic };

// Step k writes tensor k + 1; tensor 0 is the net's input. Convolution, Depthwise and Multiply may have a residual:
// outer(inner(result) + residual), where the residual may have fewer channels than the result.
struct NetStep {
	static constexpr uint16_t none = 0xFFFF;

	NetOperation operation = NetOperation::Activate;
	NetActivation inner = NetActivation::None; // not PRelu
	NetActivation outer = NetActivation::None;
	uint16_t input = 0;
	uint16_t second = none;
	uint16_t residual = none;
	Shape output = {};

	// Convolution and Depthwise. Outside of the input all values are 0.
	int kernel_height = 1;
	int kernel_width = 1;
	int stride = 1;
	int pad_top = 0;
	int pad_left = 0;

	// CropMatrix: the crop's width lies along the line between two points, its size is that of the box round the
	// points of `list`, turned by that line, times the scales. The crop has crop_width x crop_height pixels.
	uint16_t left_point = 0;
	uint16_t right_point = 0;
	uint16_t list = none;
	int crop_width = 0;
	int crop_height = 0;
	float scale_x = 0;
	float scale_y = 0;
	// CropMatrix: what the points' coordinates are multiplied by; MovePoints: what the matrix's shift is.
	float unit = 1;
};

struct NetFile {
	struct Output {
		uint16_t tensor;
		uint16_t list; // refined indices, or NetStep::none
	};

	Shape input = {};
	std::vector<NetStep> steps;
	std::vector<Output> outputs;
	std::vector<std::vector<uint16_t>> lists;
	// Half-precision numbers, those of a step after those of the step before. Convolution: kernels, one output
	// channel after the other, each rows of pixels of input channels, then the biases. Depthwise: rows of pixels of
	// channels, then the biases. Last, with the outer activation PRelu, the slope of each channel.
	std::vector<uint16_t> weights;

	Shape shape(int tensor) const { return tensor == 0 ? input : steps[static_cast<size_t>(tensor) - 1].output; }
};

// How many weights a step has. The step's numbers are within their limits.
uint64_t weight_count(const NetFile &file, const NetStep &step);

// How many products a run has, those of the crops and of single values left out.
uint64_t run_products(const NetFile &file);

// How far a step's kernel reaches beyond its input on the side where it does so most; 0 for other operations.
int border_reach(const NetFile &file, const NetStep &step);

// Takes the bytes apart; does not judge what the records say beyond their number.
ReadResult parse_net(std::span<const uint8_t> bytes, NetFile &file);

// Whether the file can be run: sizes, order of the steps, shapes, points, weights, and what a run costs.
ReadResult check_net(const NetFile &file);

// The bytes of a file, for the tools and the tests.
std::vector<uint8_t> write_net(const NetFile &file);

} // namespace kalvio::engine
