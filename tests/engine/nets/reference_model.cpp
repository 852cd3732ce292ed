// SPDX-License-Identifier: GPL-2.0-or-later

// A published model, run straight from its graph.
#include "nets/half.h"
#include "nets/reference_net.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

namespace kalvio::engine::testing {

namespace {

Shape shape_of(const TfliteTensor &tensor)
{
	Shape shape = {1, 1, 1};
	const std::vector<int> &sides = tensor.shape;
	const size_t count = sides.size();
	shape.channels = count > 0 ? sides[count - 1] : 1;
	shape.width = count > 1 ? sides[count - 2] : 1;
	shape.height = count > 2 ? sides[count - 3] : 1;
	return shape;
}

class ModelRun {
public:
	explicit ModelRun(const TfliteModel &model) : model_(model)
	{
		for (const TfliteTensor &tensor : model.tensors) {
			values_.emplace_back(shape_of(tensor));
			if (tensor.halves.empty())
				continue;
			// Of four dimensions where it is a kernel; only the order of the numbers is of interest.
			values_.back().numbers.clear();
			for (const uint16_t half : tensor.halves)
				values_.back().numbers.push_back(static_cast<double>(half_to_float(half)));
		}
	}

	std::vector<Values> run(const Values &input)
	{
		value(model_.inputs[0]) = input;
		for (const TfliteOperation &operation : model_.operations)
			value(operation.outputs[0]).numbers = result_of(operation).numbers;
		std::vector<Values> outputs;
		for (const int output : model_.outputs)
			outputs.push_back(value(output));
		return outputs;
	}

private:
	Values &value(int tensor) { return values_[static_cast<size_t>(tensor)]; }

	Values convolved(const TfliteOperation &operation)
	{
		const Values &in = value(operation.inputs[0]);
		const Values &weights = value(operation.inputs[1]);
		const Values &biases = value(operation.inputs[2]);
		const bool depthwise = operation.code == TfliteCode::Depthwise;
		const std::vector<int> &kernel = model_.tensors[static_cast<size_t>(operation.inputs[1])].shape;
		Values out(value(operation.outputs[0]).shape);
		const auto padding = [&](int input, int output, int size, int stride) {
			const int total = std::max(0, (output - 1) * stride + size - input);
			return operation.same_padding ? total / 2 : 0;
		};
		const int top = padding(in.shape.height, out.shape.height, kernel[1], operation.stride_height);
		const int left = padding(in.shape.width, out.shape.width, kernel[2], operation.stride_width);
		size_t place = 0;
		for (int y = 0; y < out.shape.height; ++y) {
			for (int x = 0; x < out.shape.width; ++x) {
				for (int channel = 0; channel < out.shape.channels; ++channel) {
					double sum = biases.numbers[static_cast<size_t>(channel)];
					for (int row = 0; row < kernel[1]; ++row) {
						for (int column = 0; column < kernel[2]; ++column) {
							const int from_y = y * operation.stride_height + row - top;
							const int from_x = x * operation.stride_width + column - left;
							const int tap = row * kernel[2] + column;
							if (depthwise) {
								sum += in.around(from_y, from_x, channel) *
								       weights.numbers[static_cast<size_t>(
									       tap * out.shape.channels + channel)];
								continue;
							}
							const int first =
								(channel * kernel[1] * kernel[2] + tap) * kernel[3];
							for (int input = 0; input < kernel[3]; ++input) {
								sum += in.around(from_y, from_x, input) *
								       weights.numbers[static_cast<size_t>(first +
													   input)];
							}
						}
					}
					out.numbers[place++] = sum;
				}
			}
		}
		return out;
	}

	Values transposed(const TfliteOperation &operation)
	{
		const Values &in = value(operation.inputs[0]);
		const Values &weights = value(operation.inputs[1]);
		Values out(value(operation.outputs[0]).shape);
		for (int y = 0; y < out.shape.height; ++y) {
			for (int x = 0; x < out.shape.width; ++x) {
				double sum = value(operation.inputs[2]).numbers[0];
				for (int channel = 0; channel < in.shape.channels; ++channel)
					sum += in.at(y / 2, x / 2, channel) * weights.at(y % 2, x % 2, channel);
				out.at(y, x, 0) = sum;
			}
		}
		return out;
	}

	// The second operand may be one value or one pixel.
	template <typename Combine>
	Values combined(const TfliteOperation &operation, const Combine &combine)
	{
		Values out = value(operation.inputs[0]);
		const std::vector<double> &second = value(operation.inputs[1]).numbers;
		for (size_t index = 0; index < out.numbers.size(); ++index)
			out.numbers[index] = combine(out.numbers[index], second[index % second.size()]);
		return out;
	}

	Values mapped(const TfliteOperation &operation, NetActivation activation)
	{
		Values out = value(operation.inputs[0]);
		const std::vector<double> none = {0};
		const std::vector<double> &slopes =
			activation == NetActivation::PRelu ? value(operation.inputs[1]).numbers : none;
		for (size_t index = 0; index < out.numbers.size(); ++index)
			out.numbers[index] = activated(activation, out.numbers[index], slopes[index % slopes.size()]);
		return out;
	}

	Values padded(const TfliteOperation &operation)
	{
		const Values &in = value(operation.inputs[0]);
		Values out(value(operation.outputs[0]).shape);
		for (int y = 0; y < in.shape.height; ++y) {
			for (int x = 0; x < in.shape.width; ++x) {
				for (int channel = 0; channel < in.shape.channels; ++channel)
					out.at(y, x, channel) = in.at(y, x, channel);
			}
		}
		return out;
	}

	Values pooled(const TfliteOperation &operation)
	{
		const Values &in = value(operation.inputs[0]);
		Values out(value(operation.outputs[0]).shape);
		for (int y = 0; y < out.shape.height; ++y) {
			for (int x = 0; x < out.shape.width; ++x) {
				for (int channel = 0; channel < out.shape.channels; ++channel) {
					double largest = in.at(2 * y, 2 * x, channel);
					for (const int part : {1, 2, 3})
						largest = std::max(largest,
								   in.at(2 * y + part / 2, 2 * x + part % 2, channel));
					out.at(y, x, channel) = largest;
				}
			}
		}
		return out;
	}

	Values mean(const TfliteOperation &operation)
	{
		const Values &in = value(operation.inputs[0]);
		Values out(value(operation.outputs[0]).shape);
		const auto channels = static_cast<size_t>(in.shape.channels);
		for (size_t index = 0; index < in.numbers.size(); ++index)
			out.numbers[index % channels] += in.numbers[index];
		for (double &number : out.numbers)
			number /= static_cast<double>(in.numbers.size() / channels);
		return out;
	}

	Values enlarged(const TfliteOperation &operation)
	{
		const Values &in = value(operation.inputs[0]);
		const Shape shape = value(operation.outputs[0]).shape;
		// Half-pixel centers; beyond the outermost ones the rim goes on.
		Values out(shape);
		for (int y = 0; y < shape.height; ++y) {
			const double row = std::clamp((y + 0.5) * in.shape.height / shape.height - 0.5, 0.0,
						      in.shape.height - 1.0);
			for (int x = 0; x < shape.width; ++x) {
				const double column = std::clamp((x + 0.5) * in.shape.width / shape.width - 0.5, 0.0,
								 in.shape.width - 1.0);
				const Values one =
					sampled(in, {0, 0, column + 0.5, 0, 0, row + 0.5}, {1, 1, shape.channels});
				std::copy(one.numbers.begin(), one.numbers.end(), &out.at(y, x, 0));
			}
		}
		return out;
	}

	Values concatenated(const TfliteOperation &operation)
	{
		Values out(value(operation.outputs[0]).shape);
		auto next = out.numbers.begin();
		for (const int input : operation.inputs)
			next = std::copy(value(input).numbers.begin(), value(input).numbers.end(), next);
		return out;
	}

	// A 4 x 4 matrix, of which two rows without their third column are of interest.
	Values matrix(const TfliteOperation &operation)
	{
		CropOptions options = {};
		options.left = static_cast<int>(operation.numbers.at("left_rotation_idx"));
		options.right = static_cast<int>(operation.numbers.at("right_rotation_idx"));
		const std::vector<int> &points = operation.lists.at("subset_idxs");
		options.points.assign(points.begin(), points.end());
		options.scale_x = operation.numbers.at("scale_x");
		options.scale_y = operation.numbers.at("scale_y");
		options.width = operation.numbers.at("output_width");
		options.height = operation.numbers.at("output_height");
		options.unit = 1;
		const std::vector<double> rows = crop_matrix_of(value(operation.inputs[0]), options);
		Values out({1, 4, 4});
		out.numbers = {rows[0], rows[1], 0, rows[2], rows[3], rows[4], 0, rows[5], 0, 0, 1, 0, 0, 0, 0, 1};
		return out;
	}
	std::vector<double> rows_of(int tensor)
	{
		const std::vector<double> &numbers = value(tensor).numbers;
		return {numbers[0], numbers[1], numbers[3], numbers[4], numbers[5], numbers[7]};
	}

	Values moved(const TfliteOperation &operation)
	{
		Values out = value(operation.inputs[0]);
		const std::vector<double> rows = rows_of(operation.inputs[1]);
		for (int point = 0; point < out.shape.width; ++point) {
			const double x = out.at(0, point, 0);
			const double y = out.at(0, point, 1);
			out.at(0, point, 0) = rows[0] * x + rows[1] * y + rows[2];
			out.at(0, point, 1) = rows[3] * x + rows[4] * y + rows[5];
		}
		return out;
	}

	Values result_of(const TfliteOperation &operation)
	{
		switch (operation.code) {
		case TfliteCode::Convolution:
		case TfliteCode::Depthwise:
			return convolved(operation);
		case TfliteCode::Dequantize:
		case TfliteCode::Reshape:
		case TfliteCode::StridedSlice: // of the whole tensor, as the sizes of the outputs show
			return value(operation.inputs[0]);
		case TfliteCode::Add:
			return combined(operation, [](double left, double right) { return left + right; });
		case TfliteCode::Multiply:
			return combined(operation, [](double left, double right) { return left * right; });
		case TfliteCode::Relu:
			return mapped(operation, NetActivation::Relu);
		case TfliteCode::PRelu:
			return mapped(operation, NetActivation::PRelu);
		case TfliteCode::HardSwish:
			return mapped(operation, NetActivation::HardSwish);
		case TfliteCode::Logistic:
			return mapped(operation, NetActivation::Logistic);
		case TfliteCode::Pad:
			return padded(operation);
		case TfliteCode::MaxPool:
			return pooled(operation);
		case TfliteCode::Mean:
			return mean(operation);
		case TfliteCode::ResizeBilinear:
			return enlarged(operation);
		case TfliteCode::Concatenation:
			return concatenated(operation);
		case TfliteCode::Custom:
			break;
		}
		if (operation.custom_name == "Convolution2DTransposeBias")
			return transposed(operation);
		if (operation.custom_name == "Landmarks2TransformMatrix")
			return matrix(operation);
		if (operation.custom_name == "TransformTensorBilinear")
			return sampled(value(operation.inputs[0]), rows_of(operation.inputs[1]),
				       value(operation.outputs[0]).shape);
		if (operation.custom_name == "TransformLandmarks")
			return moved(operation);
		throw std::runtime_error("an unknown operation: " + operation.custom_name);
	}

	const TfliteModel &model_;
	std::vector<Values> values_;
};

} // namespace

std::vector<Values> run_model(const TfliteModel &model, const Values &input)
{
	return ModelRun(model).run(input);
}

} // namespace kalvio::engine::testing
