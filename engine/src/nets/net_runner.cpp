// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net.h"
#include "nets/net_program.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

struct NetRunner::Memory {
	Aligned<float> tensors;
	std::vector<float> input;
	std::vector<std::vector<float>> outputs;
};

namespace {

using kernels::NetCurve;
using kernels::NetTensor;

NetCurve curve_of(NetActivation activation)
{
	switch (activation) {
	case NetActivation::None:
		return NetCurve::None;
	case NetActivation::Relu:
		return NetCurve::Relu;
	case NetActivation::PRelu:
		return NetCurve::PRelu;
	case NetActivation::HardSwish:
		return NetCurve::HardSwish;
	case NetActivation::Logistic:
		return NetCurve::Logistic;
	}
	return NetCurve::None;
}

// The values of a tensor one after the other, without those that round up the channels.
class Values {
public:
	explicit Values(const NetTensor &tensor) : tensor_(tensor), next_(tensor.first)
	{
		// Where all of them lie next to each other, they are one pixel.
		if (tensor.pixel == tensor.channels && tensor.row == tensor.pixel * tensor.width) {
			tensor_.channels *= tensor.width * tensor.height;
			tensor_.width = 1;
			tensor_.height = 1;
		}
		left_ = tensor_.channels;
	}

	// How many lie next to each other from here on.
	int together() const { return left_; }
	float *take(int count)
	{
		float *values = next_;
		next_ += count;
		left_ -= count;
		if (left_ == 0)
			go_to_next_pixel();
		return values;
	}

private:
	void go_to_next_pixel()
	{
		if (++x_ == tensor_.width) {
			x_ = 0;
			++y_;
		}
		if (y_ == tensor_.height)
			return; // the end
		next_ = tensor_.at(y_, x_);
		left_ = tensor_.channels;
	}

	NetTensor tensor_;
	int x_ = 0;
	int y_ = 0;
	float *next_;
	int left_ = 0;
};

void copy_values(const NetTensor &from, Values &to)
{
	Values values(from);
	size_t left = Shape{from.height, from.width, from.channels}.values();
	while (left > 0) {
		const int count = std::min(values.together(), to.together());
		const float *first = values.take(count);
		std::copy(first, first + count, to.take(count));
		left -= static_cast<size_t>(count);
	}
}

// The direction from one point to another as cosine and sine, without a library's functions, which differ; level where
// there is none.
struct Direction {
	float cosine = 1;
	float sine = 0;

	Direction(float x, float y)
	{
		const float length = std::sqrt(x * x + y * y);
		if (length > 0) {
			cosine = x / length;
			sine = y / length;
		}
	}
};

// The box round the points in axes that are turned by the line from the left to the right point gives center and size.
void crop_matrix(const NetStep &step, const std::vector<uint16_t> &list, const NetTensor &points, const NetTensor &out)
{
	const auto x_of = [&](uint16_t point) {
		return points.at(0, point)[0] * step.unit;
	};
	const auto y_of = [&](uint16_t point) {
		return points.at(0, point)[1] * step.unit;
	};
	const Direction line(x_of(step.right_point) - x_of(step.left_point),
			     y_of(step.right_point) - y_of(step.left_point));
	float low_along = 0;
	float high_along = 0;
	float low_across = 0;
	float high_across = 0;
	for (size_t index = 0; index < list.size(); ++index) {
		const float x = x_of(list[index]);
		const float y = y_of(list[index]);
		const float along = line.cosine * x + line.sine * y;
		const float across = line.cosine * y - line.sine * x;
		low_along = index == 0 ? along : std::min(low_along, along);
		high_along = index == 0 ? along : std::max(high_along, along);
		low_across = index == 0 ? across : std::min(low_across, across);
		high_across = index == 0 ? across : std::max(high_across, across);
	}
	const auto crop_width = static_cast<float>(step.crop_width);
	const auto crop_height = static_cast<float>(step.crop_height);
	const float along_pixel = step.scale_x * (high_along - low_along) / crop_width;
	const float across_pixel = step.scale_y * (high_across - low_across) / crop_height;
	const float middle_along = (low_along + high_along) * 0.5F;
	const float middle_across = (low_across + high_across) * 0.5F;
	const float xx = line.cosine * along_pixel;
	const float xy = -line.sine * across_pixel;
	const float yx = line.sine * along_pixel;
	const float yy = line.cosine * across_pixel;
	const float middle_x = line.cosine * middle_along - line.sine * middle_across;
	const float middle_y = line.sine * middle_along + line.cosine * middle_across;
	float *first_row = out.at(0, 0);
	first_row[0] = xx;
	first_row[1] = xy;
	first_row[2] = middle_x - (xx * crop_width + xy * crop_height) * 0.5F;
	float *second_row = out.at(0, 1);
	second_row[0] = yx;
	second_row[1] = yy;
	second_row[2] = middle_y - (yx * crop_width + yy * crop_height) * 0.5F;
}

void sample(const NetTensor &in, const NetTensor &matrix, const NetTensor &out)
{
	float rows[6];
	std::copy_n(matrix.at(0, 0), 3, rows);
	std::copy_n(matrix.at(0, 1), 3, rows + 3);
	kernels::net_sample(in, rows, out);
}

void move_points(const NetStep &step, const NetTensor &points, const NetTensor &matrix, const NetTensor &out)
{
	const float *first_row = matrix.at(0, 0);
	const float *second_row = matrix.at(0, 1);
	for (int point = 0; point < points.width; ++point) {
		const float x = points.at(0, point)[0];
		const float y = points.at(0, point)[1];
		float *moved = out.at(0, point);
		moved[0] = first_row[0] * x + first_row[1] * y + first_row[2] * step.unit;
		moved[1] = second_row[0] * x + second_row[1] * y + second_row[2] * step.unit;
	}
}

// One step on the memory of a run.
void run_step(const NetProgram &program, size_t number, float *memory)
{
	const NetStep &step = program.file.steps[number];
	const NetProgram::Constants &constants = program.constants[number];
	const float *weights = program.weights.data();
	const auto tensor = [&](uint16_t index) {
		return program.places[index == NetStep::none ? 0 : index].in(memory);
	};
	const NetTensor in = tensor(step.input);
	const NetTensor second = tensor(step.second);
	const NetTensor residual = tensor(step.residual);
	const NetTensor out = program.places[number + 1].in(memory);
	const kernels::NetFinish finish = {curve_of(step.inner), curve_of(step.outer), weights + constants.slopes,
					   step.residual == NetStep::none ? nullptr : &residual};
	const kernels::NetKernel kernel = {
		step.kernel_height,          step.kernel_width,       step.stride, step.pad_top, step.pad_left,
		weights + constants.weights, weights + constants.bias};
	switch (step.operation) {
	case NetOperation::Convolution:
		return kernels::net_convolve(in, out, kernel, finish);
	case NetOperation::Depthwise:
		return kernels::net_convolve_depthwise(in, out, kernel, finish);
	case NetOperation::Add:
		return kernels::net_add(in, &second, out, finish);
	case NetOperation::Multiply:
		return kernels::net_multiply(in, second, out, finish);
	case NetOperation::Activate:
		return kernels::net_add(in, nullptr, out, finish);
	case NetOperation::MaxPool:
		return kernels::net_max_pool(in, out);
	case NetOperation::Mean:
		return kernels::net_mean(in, out);
	case NetOperation::Upsample:
		return kernels::net_upsample(in, out);
	case NetOperation::Spread:
		return kernels::net_spread(in, out, finish.outer);
	case NetOperation::Join: {
		Values values(out);
		copy_values(in, values);
		if (step.second != NetStep::none)
			copy_values(second, values);
		return;
	}
	case NetOperation::CropMatrix:
		return crop_matrix(step, program.file.lists[step.list], in, out);
	case NetOperation::Sample:
		return sample(in, second, out);
	case NetOperation::MovePoints:
		return move_points(step, in, second, out);
	}
}

// A dense list of values as a tensor.
NetTensor dense(std::vector<float> &values, const Shape &shape)
{
	return {values.data(),  shape.height,   shape.width,
		shape.channels, shape.channels, static_cast<ptrdiff_t>(shape.width) * shape.channels};
}

} // namespace

NetRunner::NetRunner(std::shared_ptr<const Net> net) : net_(std::move(net)), memory_(std::make_unique<Memory>())
{
	const NetProgram &program = net_->program();
	float *tensors = memory_->tensors.ensure_capacity(program.memory_values);
	std::fill(tensors, tensors + program.memory_values, 0.0F); // borders stay so
	memory_->input.resize(input_shape().values());
	for (int index = 0; index < output_count(); ++index)
		memory_->outputs.emplace_back(output_shape(index).values());
}

NetRunner::~NetRunner() = default;

std::span<float> NetRunner::input()
{
	return memory_->input;
}

void NetRunner::run()
{
	const NetProgram &program = net_->program();
	float *tensors = memory_->tensors.data();
	Values input(program.places[0].in(tensors));
	copy_values(dense(memory_->input, input_shape()), input);
	for (size_t step = 0; step < program.file.steps.size(); ++step)
		run_step(program, step, tensors);
	for (size_t index = 0; index < memory_->outputs.size(); ++index) {
		const int number = static_cast<int>(index);
		Values output(dense(memory_->outputs[index], output_shape(number)));
		copy_values(program.places[program.file.outputs[index].tensor].in(tensors), output);
	}
}

std::span<const float> NetRunner::output(int index) const
{
	return memory_->outputs[static_cast<size_t>(index)];
}

} // namespace kalvio::engine
