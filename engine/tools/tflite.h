// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

// TensorFlow Lite's files, as far as the nets that we ship use them: a FlatBuffer of one graph whose constants are
// half-precision or integer numbers.
namespace kalvio::engine {

// The builtin operators' numbers in the format.
enum class TfliteCode : int {
	Add = 0,
	Concatenation = 2,
	Convolution = 3,
	Depthwise = 4,
	Dequantize = 6,
	Logistic = 14,
	MaxPool = 17,
	Multiply = 18,
	Relu = 19,
	Reshape = 22,
	ResizeBilinear = 23,
	Custom = 32,
	Pad = 34,
	Mean = 40,
	StridedSlice = 45,
	PRelu = 54,
	HardSwish = 117
};

struct TfliteTensor {
	std::string name;
	std::vector<int> shape;        // batch, height, width, channels; fewer for lists and constants
	std::vector<uint16_t> halves;  // the values of a half-precision constant
	std::vector<int32_t> integers; // the values of an integer constant
};

struct TfliteOperation {
	TfliteCode code = TfliteCode::Custom;
	std::string custom_name;
	std::vector<int> inputs; // tensors
	std::vector<int> outputs;
	bool same_padding = false;
	int stride_width = 1;
	int stride_height = 1;
	int window_width = 1; // of pooling
	int window_height = 1;
	int axis = 0;       // of a concatenation
	int activation = 0; // fused into it; 0: none
	int multiplier = 1; // of a depthwise convolution's channels
	bool align_corners = false;
	bool half_pixel_centers = false;
	// Options of a custom operation: numbers, and lists of them.
	std::map<std::string, double> numbers;
	std::map<std::string, std::vector<int>> lists;
};

struct TfliteModel {
	std::vector<TfliteTensor> tensors;
	std::vector<TfliteOperation> operations;
	std::vector<int> inputs;
	std::vector<int> outputs;
};

// Throws std::runtime_error for what it does not know. Nothing is read outside of `bytes`.
TfliteModel read_tflite(std::span<const uint8_t> bytes);

} // namespace kalvio::engine
