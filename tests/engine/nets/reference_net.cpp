// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/reference_net.h"

#include "nets/half.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {

namespace {

// Calls visit(y, x, channel) for each value.
template <typename Visit>
void for_each(const Shape &shape, const Visit &visit)
{
	for (int y = 0; y < shape.height; ++y) {
		for (int x = 0; x < shape.width; ++x) {
			for (int channel = 0; channel < shape.channels; ++channel)
				visit(y, x, channel);
		}
	}
}

class PlainRun {
public:
	PlainRun(const NetFile &file, const Values &input) : file_(file) { tensors_.push_back(input); }

	std::vector<Values> run()
	{
		for (const NetStep &step : file_.steps) {
			tensors_.push_back(result_of(step));
			finish(step, tensors_.back());
		}
		std::vector<Values> outputs;
		for (const NetFile::Output &output : file_.outputs)
			outputs.push_back(tensors_[output.tensor]);
		return outputs;
	}

private:
	double next_weight() { return static_cast<double>(half_to_float(file_.weights[weight_++])); }
	std::vector<double> next_weights(size_t count)
	{
		std::vector<double> values(count);
		for (double &value : values)
			value = next_weight();
		return values;
	}
	const Values &tensor(uint16_t index) const { return tensors_[index]; }

	Values convolved(const NetStep &step)
	{
		const Values &in = tensor(step.input);
		const bool depthwise = step.operation == NetOperation::Depthwise;
		const int inputs = depthwise ? 1 : in.shape.channels;
		const size_t taps = static_cast<size_t>(step.kernel_height * step.kernel_width);
		const std::vector<double> weights =
			next_weights(taps * static_cast<size_t>(inputs) * static_cast<size_t>(step.output.channels));
		const std::vector<double> biases = next_weights(static_cast<size_t>(step.output.channels));
		const auto weight_of = [&](int output, int row, int column, int input) {
			const int tap = row * step.kernel_width + column;
			const int place = depthwise ? tap * step.output.channels + output
						    : (output * static_cast<int>(taps) + tap) * inputs + input;
			return weights[static_cast<size_t>(place)];
		};
		Values out(step.output);
		for_each(step.output, [&](int y, int x, int output) {
			double sum = biases[static_cast<size_t>(output)];
			for (int row = 0; row < step.kernel_height; ++row) {
				for (int column = 0; column < step.kernel_width; ++column) {
					for (int input = 0; input < inputs; ++input) {
						sum += in.around(y * step.stride - step.pad_top + row,
								 x * step.stride - step.pad_left + column,
								 depthwise ? output : input) *
						       weight_of(output, row, column, input);
					}
				}
			}
			out.at(y, x, output) = sum;
		});
		return out;
	}

	Values joined(const NetStep &step) const
	{
		Values out(step.output);
		const std::vector<double> &first = tensor(step.input).numbers;
		const auto end = std::copy(first.begin(), first.end(), out.numbers.begin());
		if (step.second != NetStep::none)
			std::copy(tensor(step.second).numbers.begin(), tensor(step.second).numbers.end(), end);
		return out;
	}

	Values crop(const NetStep &step) const
	{
		Values out(step.output);
		out.numbers = crop_matrix_of(tensor(step.input),
					     {step.left_point, step.right_point, file_.lists[step.list],
					      static_cast<double>(step.scale_x), static_cast<double>(step.scale_y),
					      static_cast<double>(step.crop_width),
					      static_cast<double>(step.crop_height), static_cast<double>(step.unit)});
		return out;
	}

	Values upsampled(const NetStep &step) const
	{
		const Values &in = tensor(step.input);
		Values out(step.output);
		for_each(step.output, [&](int y, int x, int channel) {
			const double row = std::max(0.5 * y - 0.25, 0.0);
			const double column = std::max(0.5 * x - 0.25, 0.0);
			const int top = static_cast<int>(row);
			const int left = static_cast<int>(column);
			const int bottom = std::min(top + 1, in.shape.height - 1);
			const int right = std::min(left + 1, in.shape.width - 1);
			const double down = row - top;
			const double across = column - left;
			out.at(y, x, channel) = (1 - down) * ((1 - across) * in.at(top, left, channel) +
							      across * in.at(top, right, channel)) +
						down * ((1 - across) * in.at(bottom, left, channel) +
							across * in.at(bottom, right, channel));
		});
		return out;
	}

	Values result_of(const NetStep &step)
	{
		const Values &in = tensor(step.input);
		Values out(step.output);
		switch (step.operation) {
		case NetOperation::Convolution:
		case NetOperation::Depthwise:
			return convolved(step);
		case NetOperation::Add:
			for_each(step.output, [&](int y, int x, int channel) {
				const Values &second = tensor(step.second);
				out.at(y, x, channel) =
					in.at(y, x, channel) +
					(channel < second.shape.channels ? second.at(y, x, channel) : 0);
			});
			return out;
		case NetOperation::Multiply:
			for_each(step.output, [&](int y, int x, int channel) {
				out.at(y, x, channel) = in.at(y, x, channel) * tensor(step.second).at(0, 0, channel);
			});
			return out;
		case NetOperation::Activate:
			return in;
		case NetOperation::MaxPool:
			for_each(step.output, [&](int y, int x, int channel) {
				out.at(y, x, channel) = std::max(
					std::max(in.at(2 * y, 2 * x, channel), in.at(2 * y, 2 * x + 1, channel)),
					std::max(in.at(2 * y + 1, 2 * x, channel),
						 in.at(2 * y + 1, 2 * x + 1, channel)));
			});
			return out;
		case NetOperation::Mean:
			for_each(in.shape, [&](int y, int x, int channel) {
				out.at(0, 0, channel) += in.at(y, x, channel) / (in.shape.height * in.shape.width);
			});
			return out;
		case NetOperation::Upsample:
			return upsampled(step);
		case NetOperation::Spread:
			for_each(step.output, [&](int y, int x, int channel) {
				const int part = (y % 2 * 2 + x % 2) * step.output.channels;
				out.at(y, x, channel) = in.at(y / 2, x / 2, part + channel);
			});
			return out;
		case NetOperation::Join:
			return joined(step);
		case NetOperation::CropMatrix:
			return crop(step);
		case NetOperation::Sample:
			return sampled(in, tensor(step.second).numbers, step.output);
		case NetOperation::MovePoints:
			break;
		}
		const std::vector<double> &matrix = tensor(step.second).numbers;
		for (int point = 0; point < in.shape.width; ++point) {
			for (int row = 0; row < 2; ++row) {
				const double *numbers = matrix.data() + 3 * row;
				out.at(0, point, row) = numbers[0] * in.at(0, point, 0) +
							numbers[1] * in.at(0, point, 1) +
							numbers[2] * static_cast<double>(step.unit);
			}
		}
		return out;
	}

	void finish(const NetStep &step, Values &out)
	{
		std::vector<double> slopes(static_cast<size_t>(step.output.channels));
		if (step.outer == NetActivation::PRelu)
			slopes = next_weights(slopes.size());
		for_each(step.output, [&](int y, int x, int channel) {
			double value = activated(step.inner, out.at(y, x, channel), 0);
			if (step.residual != NetStep::none && channel < tensor(step.residual).shape.channels)
				value += tensor(step.residual).at(y, x, channel);
			out.at(y, x, channel) = activated(step.outer, value, slopes[static_cast<size_t>(channel)]);
		});
	}

	const NetFile &file_;
	std::vector<Values> tensors_;
	size_t weight_ = 0;
};

} // namespace

double activated(NetActivation activation, double value, double slope)
{
	switch (activation) {
	case NetActivation::None:
		return value;
	case NetActivation::Relu:
		return std::max(value, 0.0);
	case NetActivation::PRelu:
		return value > 0 ? value : value * slope;
	case NetActivation::HardSwish:
		return value * std::clamp(value + 3, 0.0, 6.0) / 6;
	case NetActivation::Logistic:
		return 1 / (1 + std::exp(-value));
	}
	return value;
}

std::vector<double> crop_matrix_of(const Values &points, const CropOptions &options)
{
	const auto x_of = [&](int point) {
		return points.at(0, point, 0) * options.unit;
	};
	const auto y_of = [&](int point) {
		return points.at(0, point, 1) * options.unit;
	};
	const double angle =
		std::atan2(y_of(options.right) - y_of(options.left), x_of(options.right) - x_of(options.left));
	const double cosine = std::cos(angle);
	const double sine = std::sin(angle);
	std::vector<double> along;
	std::vector<double> across;
	for (const uint16_t point : options.points) {
		along.push_back(cosine * x_of(point) + sine * y_of(point));
		across.push_back(cosine * y_of(point) - sine * x_of(point));
	}
	const auto [first, last] = std::minmax_element(along.begin(), along.end());
	const auto [top, bottom] = std::minmax_element(across.begin(), across.end());
	const double step_along = options.scale_x * (*last - *first) / options.width;
	const double step_across = options.scale_y * (*bottom - *top) / options.height;
	// From the crop's middle to the box's.
	const double x = (*first + *last) / 2 - step_along * options.width / 2;
	const double y = (*top + *bottom) / 2 - step_across * options.height / 2;
	return {cosine * step_along, -sine * step_across,  cosine * x - sine * y,
		sine * step_along,   cosine * step_across, sine * x + cosine * y};
}

Values sampled(const Values &input, const std::vector<double> &matrix, const Shape &output)
{
	Values out(output);
	for_each(output, [&](int y, int x, int channel) {
		const double column = matrix[0] * (x + 0.5) + matrix[1] * (y + 0.5) + matrix[2] - 0.5;
		const double row = matrix[3] * (x + 0.5) + matrix[4] * (y + 0.5) + matrix[5] - 0.5;
		if (!(column >= 0 && row >= 0 && column <= input.shape.width - 1 && row <= input.shape.height - 1))
			return;
		const int left = static_cast<int>(column);
		const int top = static_cast<int>(row);
		const double across = column - left;
		const double down = row - top;
		out.at(y, x, channel) = (1 - down) * ((1 - across) * input.around(top, left, channel) +
						      across * input.around(top, left + 1, channel)) +
					down * ((1 - across) * input.around(top + 1, left, channel) +
						across * input.around(top + 1, left + 1, channel));
	});
	return out;
}

std::vector<Values> run_plainly(const NetFile &file, const Values &input)
{
	return PlainRun(file, input).run();
}

} // namespace kalvio::engine::testing
