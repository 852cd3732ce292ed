// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/random_net.h"

#include <algorithm>

namespace kalvio::engine::testing {

namespace {

class Maker {
public:
	explicit Maker(uint32_t seed) : random_(seed) {}

	NetFile make()
	{
		file_.input = {2 * whole(3, 9), 2 * whole(3, 9), whole(1, 5)};
		for (int round = 0; round < 3; ++round) {
			convolve(NetOperation::Convolution, round > 0);
			convolve(NetOperation::Depthwise, true);
			plain(NetOperation::Activate);
			add();
			gate();
			if (is_even(last_shape()))
				halve();
			enlarge();
		}
		look_at_a_part();
		for (size_t tensor = file_.steps.size() - 3; tensor <= file_.steps.size(); ++tensor)
			file_.outputs.push_back({static_cast<uint16_t>(tensor), NetStep::none});
		return std::move(file_);
	}

private:
	int whole(int low, int high)
	{
		return low + static_cast<int>(random_() % static_cast<uint32_t>(high - low + 1));
	}
	bool chance() { return random_() % 2 == 0; }
	static bool is_even(const Shape &shape) { return shape.height % 2 == 0 && shape.width % 2 == 0; }

	uint16_t last() const { return static_cast<uint16_t>(file_.steps.size()); }
	Shape last_shape() const { return file_.shape(last()); }

	// A half-precision number of either sign, between 2^-exponent and twice that.
	uint16_t half(int exponent)
	{
		return static_cast<uint16_t>((random_() & 0x83FFU) | static_cast<uint32_t>(15 - exponent) << 10);
	}
	// Weights that keep the sums of `summands` values about as large as these.
	void add_weights(uint64_t count, int summands)
	{
		int exponent = 1;
		while (1 << (2 * exponent) < summands)
			++exponent;
		for (uint64_t index = 0; index < count; ++index)
			file_.weights.push_back(half(exponent));
	}

	uint16_t push(NetStep step)
	{
		const int summands = step.operation == NetOperation::Convolution
					     ? step.kernel_height * step.kernel_width * file_.shape(step.input).channels
					     : step.kernel_height * step.kernel_width;
		add_weights(weight_count(file_, step), summands);
		file_.steps.push_back(step);
		return last();
	}

	NetActivation activation(bool with_slopes)
	{
		const int kind = whole(0, with_slopes ? 4 : 3);
		constexpr NetActivation kinds[] = {NetActivation::None, NetActivation::Relu, NetActivation::HardSwish,
						   NetActivation::Logistic, NetActivation::PRelu};
		return kinds[kind];
	}

	// A tensor of the same sides with no more channels; none where there is no such one.
	uint16_t residual_for(const Shape &shape)
	{
		std::vector<uint16_t> fitting;
		for (uint16_t tensor = 0; tensor <= last(); ++tensor) {
			const Shape other = file_.shape(tensor);
			if (other.height == shape.height && other.width == shape.width &&
			    other.channels <= shape.channels)
				fitting.push_back(tensor);
		}
		return fitting.empty() ? NetStep::none : fitting[random_() % fitting.size()];
	}
	void add_residual(NetStep &step)
	{
		step.outer = activation(true);
		step.residual = chance() ? residual_for(step.output) : NetStep::none;
		if (step.residual != NetStep::none)
			step.inner = activation(false);
	}

	void convolve(NetOperation operation, bool may_be_small)
	{
		NetStep step;
		step.operation = operation;
		step.input = last();
		const Shape in = last_shape();
		step.kernel_height = may_be_small ? whole(1, 5) : whole(2, 5);
		step.kernel_width = operation == NetOperation::Depthwise && chance() ? step.kernel_height : whole(1, 5);
		step.stride = std::min(in.height, in.width) >= 6 ? whole(1, 2) : 1;
		step.pad_top = whole(0, std::min(2, step.kernel_height - 1));
		step.pad_left = whole(0, std::min(2, step.kernel_width - 1));
		step.output.height = std::max(1, (in.height + step.stride - 1) / step.stride);
		step.output.width = std::max(1, (in.width + step.stride - 1) / step.stride);
		step.output.channels = operation == NetOperation::Depthwise ? in.channels : whole(1, 41);
		while (border_reach(file_, step) > NetLimits::border) {
			step.kernel_height = std::max(1, step.kernel_height - 1);
			step.kernel_width = std::max(1, step.kernel_width - 1);
		}
		add_residual(step);
		push(step);
	}

	void plain(NetOperation operation)
	{
		NetStep step;
		step.operation = operation;
		step.input = last();
		step.output = last_shape();
		step.outer = activation(true);
		push(step);
	}

	void add()
	{
		NetStep step;
		step.operation = NetOperation::Add;
		step.input = last();
		step.output = last_shape();
		step.second = residual_for(step.output);
		step.outer = activation(true);
		push(step);
	}

	// A mean, weighed, multiplies each pixel.
	void gate()
	{
		const uint16_t gated = last();
		NetStep mean;
		mean.operation = NetOperation::Mean;
		mean.input = gated;
		mean.output = {1, 1, last_shape().channels};
		push(mean);
		NetStep weigh;
		weigh.operation = NetOperation::Convolution;
		weigh.input = last();
		weigh.output = mean.output;
		weigh.outer = NetActivation::Logistic;
		NetStep multiply;
		multiply.second = push(weigh);
		multiply.operation = NetOperation::Multiply;
		multiply.input = gated;
		multiply.output = file_.shape(gated);
		add_residual(multiply);
		push(multiply);
	}

	void halve()
	{
		NetStep step;
		step.operation = NetOperation::MaxPool;
		step.input = last();
		const Shape in = last_shape();
		step.output = {in.height / 2, in.width / 2, in.channels};
		push(step);
	}

	void enlarge()
	{
		const Shape in = last_shape();
		NetStep step;
		step.input = last();
		step.operation = in.channels % 4 == 0 ? NetOperation::Spread : NetOperation::Upsample;
		const int channels = in.channels % 4 == 0 ? in.channels / 4 : in.channels;
		step.output = {2 * in.height, 2 * in.width, channels};
		if (step.operation == NetOperation::Spread)
			step.outer = activation(false);
		push(step);
	}

	// Points by a last convolution, a crop round some of them, and the points taken back out of it.
	void look_at_a_part()
	{
		const uint16_t picture = last();
		const Shape in = last_shape();
		NetStep mean;
		mean.operation = NetOperation::Mean;
		mean.input = picture;
		mean.output = {1, 1, in.channels};
		push(mean);
		const int points = whole(3, 9);
		NetStep place;
		place.operation = NetOperation::Convolution;
		place.input = last();
		place.output = {1, 1, 2 * points};
		push(place);
		NetStep list;
		list.operation = NetOperation::Join;
		list.input = last();
		list.output = {1, points, 2};
		const uint16_t listed = push(list);
		NetStep crop;
		crop.operation = NetOperation::CropMatrix;
		crop.input = listed;
		crop.output = {1, 2, 3};
		crop.right_point = 1;
		crop.left_point = 2;
		crop.list = 0;
		crop.crop_width = whole(2, 7);
		crop.crop_height = whole(2, 7);
		crop.scale_x = 1.25F;
		crop.scale_y = 1.5F;
		crop.unit = static_cast<float>(in.height);
		file_.lists.push_back({0, 1, 2});
		const uint16_t matrix = push(crop);
		NetStep sample;
		sample.operation = NetOperation::Sample;
		sample.input = picture;
		sample.second = matrix;
		sample.output = {crop.crop_height, crop.crop_width, in.channels};
		push(sample);
		NetStep move;
		move.operation = NetOperation::MovePoints;
		move.input = listed;
		move.second = matrix;
		move.output = list.output;
		move.unit = 4;
		push(move);
		NetStep join;
		join.operation = NetOperation::Join;
		join.input = listed;
		join.second = listed;
		join.output = {1, 2 * points, 2};
		push(join);
	}

	std::mt19937 random_;
	NetFile file_;
};

} // namespace

double random_number(std::mt19937 &random)
{
	return static_cast<double>(random()) * 0x1p-31 - 1;
}

NetFile random_net(uint32_t seed)
{
	return Maker(seed).make();
}

NetFile small_net()
{
	NetFile file;
	file.input = {4, 5, 3};
	NetStep step;
	step.operation = NetOperation::Convolution;
	step.kernel_height = 3;
	step.kernel_width = 3;
	step.pad_top = 1;
	step.pad_left = 1;
	step.output = {4, 5, 2};
	step.outer = NetActivation::PRelu;
	file.steps.push_back(step);
	file.outputs.push_back({1, NetStep::none});
	for (uint32_t index = 0; index < weight_count(file, step); ++index)
		file.weights.push_back(static_cast<uint16_t>(0x3000 + 37 * index));
	return file;
}

std::vector<float> random_input(const Shape &shape, uint32_t seed)
{
	std::mt19937 random(seed);
	std::vector<float> values(shape.values());
	for (float &value : values)
		value = static_cast<float>(random_number(random));
	return values;
}

} // namespace kalvio::engine::testing
