// SPDX-License-Identifier: GPL-2.0-or-later

// What a net file must be before it is packed and run: nothing of it is believed.
#include "nets/half.h"
#include "nets/net_file.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace kalvio::engine {

namespace {

bool is_within(int value, int low, int high)
{
	return value >= low && value <= high;
}

bool is_pixel(const Shape &shape)
{
	return shape.height == 1 && shape.width == 1;
}

bool have_same_sides(const Shape &left, const Shape &right)
{
	return left.height == right.height && left.width == right.width;
}

bool is_sound_shape(const Shape &shape)
{
	return is_within(shape.height, 1, NetLimits::side) && is_within(shape.width, 1, NetLimits::side) &&
	       is_within(shape.channels, 1, NetLimits::channels) && shape.values() <= NetLimits::tensor_values;
}

bool is_sound_activation(NetActivation activation)
{
	return activation <= NetActivation::Logistic;
}

// A scale or a unit: a plain positive number.
bool is_sound_factor(float factor)
{
	return std::isfinite(factor) && factor >= 1e-3F && factor <= 1e3F;
}

// What a tensor may take at most: its channels are rounded up, and a border may stand around it.
uint64_t memory_values(const Shape &shape)
{
	const auto bordered = [](int side) {
		return static_cast<uint64_t>(side) + 2 * NetLimits::border;
	};
	return bordered(shape.height) * bordered(shape.width) * (static_cast<uint64_t>(shape.channels) + 7);
}

constexpr Shape matrix_shape = {1, 2, 3};

// The checks of one step, with the tensors that it reads.
class StepCheck {
public:
	StepCheck(const NetFile &file, const NetStep &step) : file_(file), step_(step), input_(file.shape(step.input))
	{
		if (step.second != NetStep::none)
			second_ = file.shape(step.second);
	}

	// Null, or what is wrong.
	const char *run() const
	{
		if (!is_sound_activation(step_.inner) || !is_sound_activation(step_.outer) ||
		    step_.inner == NetActivation::PRelu)
			return "an unknown activation";
		if (const char *wrong = check_operands())
			return wrong;
		if (const char *wrong = check_residual())
			return wrong;
		return check_shapes();
	}

private:
	bool has_kernel() const
	{
		return step_.operation == NetOperation::Convolution || step_.operation == NetOperation::Depthwise;
	}
	bool is_elementwise() const
	{
		return step_.operation == NetOperation::Add || step_.operation == NetOperation::Multiply ||
		       step_.operation == NetOperation::Activate;
	}

	const char *check_operands() const
	{
		const bool has_second = step_.second != NetStep::none;
		switch (step_.operation) {
		case NetOperation::Add:
		case NetOperation::Multiply:
		case NetOperation::Sample:
		case NetOperation::MovePoints:
			return has_second ? nullptr : "no second operand";
		case NetOperation::Join:
			return nullptr;
		default:
			return has_second ? "a second operand that it has no use for" : nullptr;
		}
	}

	const char *check_residual() const
	{
		if (step_.operation == NetOperation::Spread && step_.outer == NetActivation::PRelu)
			return "an activation that it cannot have";
		if (!has_kernel() && !is_elementwise() && step_.operation != NetOperation::Spread &&
		    (step_.inner != NetActivation::None || step_.outer != NetActivation::None))
			return "an activation that it cannot have";
		if (step_.residual == NetStep::none)
			return step_.inner == NetActivation::None ? nullptr : "an inner activation without a residual";
		if (!has_kernel() && step_.operation != NetOperation::Multiply)
			return "a residual that it cannot have";
		const Shape residual = file_.shape(step_.residual);
		if (!have_same_sides(residual, step_.output) || residual.channels > step_.output.channels)
			return "a residual of another shape";
		return nullptr;
	}

	const char *check_kernel() const
	{
		if (!is_within(step_.kernel_height, 1, 8) || !is_within(step_.kernel_width, 1, 8) ||
		    !is_within(step_.stride, 1, 8))
			return "a kernel of no size that there is";
		if (border_reach(file_, step_) > NetLimits::border)
			return "a kernel that reaches too far beyond its input";
		if (step_.operation == NetOperation::Depthwise && input_.channels != step_.output.channels)
			return "another number of channels than its input";
		if (weight_count(file_, step_) > NetLimits::weights)
			return "too many weights";
		return nullptr;
	}

	const char *check_crop() const
	{
		constexpr const char *wrong = "a crop that there is not";
		if (input_.height != 1 || input_.channels < 2 || step_.list >= file_.lists.size())
			return wrong;
		const auto is_point = [&](uint16_t point) {
			return point < input_.width;
		};
		const std::vector<uint16_t> &list = file_.lists[step_.list];
		if (!is_point(step_.left_point) || !is_point(step_.right_point) || list.empty() ||
		    !std::all_of(list.begin(), list.end(), is_point))
			return "points that its input lacks";
		if (!is_within(step_.crop_width, 1, NetLimits::side) ||
		    !is_within(step_.crop_height, 1, NetLimits::side) || !is_sound_factor(step_.scale_x) ||
		    !is_sound_factor(step_.scale_y) || !is_sound_factor(step_.unit))
			return wrong;
		return step_.output == matrix_shape ? nullptr : "an output of another shape";
	}

	const char *check_move() const
	{
		if (second_ != matrix_shape || input_.height != 1 || input_.channels != 2)
			return "operands of another shape";
		if (!is_sound_factor(step_.unit))
			return "a unit that there is not";
		return step_.output == input_ ? nullptr : "an output of another shape";
	}

	const char *check_shapes() const
	{
		constexpr const char *other_output = "an output of another shape";
		const Shape &output = step_.output;
		const bool same_channels = output.channels == input_.channels;
		switch (step_.operation) {
		case NetOperation::Convolution:
		case NetOperation::Depthwise:
			return check_kernel();
		case NetOperation::Add:
			if (!have_same_sides(input_, second_) || second_.channels > input_.channels)
				return "a second operand of another shape";
			return output == input_ ? nullptr : other_output;
		case NetOperation::Multiply:
			if (!is_pixel(second_) || second_.channels != input_.channels)
				return "a second operand of another shape";
			return output == input_ ? nullptr : other_output;
		case NetOperation::Activate:
			return output == input_ ? nullptr : other_output;
		case NetOperation::MaxPool:
			return input_.height == 2 * output.height && input_.width == 2 * output.width && same_channels
				       ? nullptr
				       : other_output;
		case NetOperation::Mean:
			return is_pixel(output) && same_channels ? nullptr : other_output;
		case NetOperation::Upsample:
			return output.height == 2 * input_.height && output.width == 2 * input_.width && same_channels
				       ? nullptr
				       : other_output;
		case NetOperation::Spread:
			return output.height == 2 * input_.height && output.width == 2 * input_.width &&
					       input_.channels == 4 * output.channels
				       ? nullptr
				       : other_output;
		case NetOperation::Join: {
			const size_t second = step_.second == NetStep::none ? 0 : second_.values();
			return output.values() == input_.values() + second ? nullptr : other_output;
		}
		case NetOperation::CropMatrix:
			return check_crop();
		case NetOperation::Sample:
			if (second_ != matrix_shape)
				return "a second operand of another shape";
			return same_channels ? nullptr : other_output;
		case NetOperation::MovePoints:
			return check_move();
		}
		return "an unknown operation";
	}

	const NetFile &file_;
	const NetStep &step_;
	Shape input_;
	Shape second_ = {};
};

uint64_t product_count(const NetFile &file, const NetStep &step)
{
	const auto kernel = static_cast<uint64_t>(step.kernel_height) * static_cast<uint64_t>(step.kernel_width);
	switch (step.operation) {
	case NetOperation::Convolution:
		return step.output.values() * kernel * static_cast<uint64_t>(file.shape(step.input).channels);
	case NetOperation::Depthwise:
		return step.output.values() * kernel;
	default:
		return step.output.values() * 4 + file.shape(step.input).values();
	}
}

ReadResult wrong_step(size_t number, const char *what)
{
	return bad_format("step " + std::to_string(number) + " has " + what);
}

ReadResult check_outputs(const NetFile &file)
{
	for (const NetFile::Output &output : file.outputs) {
		if (output.tensor == 0 || output.tensor > file.steps.size())
			return bad_format("an output is a tensor that no step writes");
		if (output.list == NetStep::none)
			continue;
		if (output.list >= file.lists.size() ||
		    file.lists[output.list].size() != static_cast<size_t>(file.shape(output.tensor).width))
			return bad_format("an output refines points by a list that does not fit");
	}
	return {};
}

} // namespace

uint64_t weight_count(const NetFile &file, const NetStep &step)
{
	const auto kernel = static_cast<uint64_t>(step.kernel_height) * static_cast<uint64_t>(step.kernel_width);
	const auto channels = static_cast<uint64_t>(step.output.channels);
	uint64_t count = step.outer == NetActivation::PRelu ? channels : 0;
	if (step.operation == NetOperation::Convolution)
		count += channels * kernel * static_cast<uint64_t>(file.shape(step.input).channels) + channels;
	else if (step.operation == NetOperation::Depthwise)
		count += channels * kernel + channels;
	return count;
}

uint64_t run_products(const NetFile &file)
{
	uint64_t products = 0;
	for (const NetStep &step : file.steps) {
		if (step.operation == NetOperation::Convolution || step.operation == NetOperation::Depthwise)
			products += product_count(file, step);
	}
	return products;
}

int border_reach(const NetFile &file, const NetStep &step)
{
	if (step.operation != NetOperation::Convolution && step.operation != NetOperation::Depthwise)
		return 0;
	const Shape input = file.shape(step.input);
	const int bottom = (step.output.height - 1) * step.stride - step.pad_top + step.kernel_height - input.height;
	const int right = (step.output.width - 1) * step.stride - step.pad_left + step.kernel_width - input.width;
	return std::max({step.pad_top, step.pad_left, bottom, right, 0});
}

ReadResult check_net(const NetFile &file)
{
	if (!is_sound_shape(file.input))
		return bad_format("its input has a size that there is not");
	uint64_t values = memory_values(file.input);
	uint64_t products = 0;
	uint64_t weights = 0;
	for (size_t number = 0; number < file.steps.size(); ++number) {
		const NetStep &step = file.steps[number];
		// Step k writes tensor k + 1: what it reads stands before it, so that no tensor is read unwritten.
		for (const uint16_t tensor : {step.input, step.second, step.residual}) {
			if (tensor > number && tensor != NetStep::none)
				return wrong_step(number, "an operand that is not written yet");
		}
		if (step.input == NetStep::none)
			return wrong_step(number, "no input");
		if (!is_sound_shape(step.output))
			return wrong_step(number, "an output of a size that there is not");
		if (const char *wrong = StepCheck(file, step).run())
			return wrong_step(number, wrong);
		values += memory_values(step.output);
		products += product_count(file, step);
		weights += weight_count(file, step);
		if (products > NetLimits::products || weights > file.weights.size())
			return wrong_step(number, "too much work or too few weights");
	}
	if (values > NetLimits::memory_values)
		return bad_format("its tensors are too large together");
	if (weights != file.weights.size())
		return bad_format("it has weights that no step uses");
	if (!std::all_of(file.weights.begin(), file.weights.end(), is_finite_half))
		return bad_format("a weight is no number");
	return check_outputs(file);
}

} // namespace kalvio::engine
