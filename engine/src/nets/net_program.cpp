// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net_program.h"

#include "nets/half.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

// Tensors begin at whole cache lines.
constexpr size_t line_values = 16;

size_t rounded_up(size_t value, size_t unit)
{
	return (value + unit - 1) / unit * unit;
}

size_t padded_channels(const Shape &shape)
{
	return rounded_up(static_cast<size_t>(shape.channels), kernels::net_channel_group);
}

// What tensors must have alike to lie in the same memory one after the other: then the border of zeros, which no step
// writes, stays one.
struct Room {
	Shape shape;
	int border;
	size_t pixel;
	size_t first;

	bool fits(const Room &other) const
	{
		return shape == other.shape && border == other.border && pixel == other.pixel;
	}
};

size_t room_values(const Room &room)
{
	const size_t border = 2 * static_cast<size_t>(room.border);
	const size_t height = static_cast<size_t>(room.shape.height) + border;
	const size_t width = static_cast<size_t>(room.shape.width) + border;
	return rounded_up(height * width * room.pixel, line_values);
}

// Which tensors a step reads.
std::vector<size_t> operands(const NetStep &step)
{
	std::vector<size_t> tensors = {step.input};
	for (const uint16_t tensor : {step.second, step.residual}) {
		if (tensor != NetStep::none)
			tensors.push_back(tensor);
	}
	return tensors;
}

// The step after which nobody reads a tensor any more. Inputs and outputs of the net keep their memory.
std::vector<size_t> last_readers(const NetFile &file)
{
	std::vector<size_t> last(file.steps.size() + 1, 0);
	for (size_t step = 0; step < file.steps.size(); ++step) {
		last[step + 1] = step;
		for (const size_t tensor : operands(file.steps[step]))
			last[tensor] = step;
	}
	last[0] = file.steps.size();
	for (const NetFile::Output &output : file.outputs)
		last[output.tensor] = file.steps.size();
	return last;
}

bool writes_value_by_value(NetOperation operation)
{
	return operation == NetOperation::Spread || operation == NetOperation::Join ||
	       operation == NetOperation::MovePoints;
}

std::vector<Room> rooms_of_tensors(const NetFile &file)
{
	std::vector<Room> rooms;
	for (size_t tensor = 0; tensor <= file.steps.size(); ++tensor) {
		const Shape shape = file.shape(static_cast<int>(tensor));
		rooms.push_back({shape, 0, padded_channels(shape), 0});
	}
	std::vector<bool> may_be_dense(rooms.size(), false);
	may_be_dense[0] = true;
	for (size_t number = 0; number < file.steps.size(); ++number) {
		const NetStep &step = file.steps[number];
		rooms[step.input].border = std::max(rooms[step.input].border, border_reach(file, step));
		may_be_dense[number + 1] = writes_value_by_value(step.operation);
		for (const size_t tensor : operands(step)) {
			const bool reads_value_by_value =
				step.operation == NetOperation::Convolution && tensor != step.residual;
			if (!reads_value_by_value)
				may_be_dense[tensor] = false;
		}
	}
	// Three channels are not made eight where nobody needs them.
	for (size_t tensor = 0; tensor < rooms.size(); ++tensor) {
		if (may_be_dense[tensor])
			rooms[tensor].pixel = static_cast<size_t>(rooms[tensor].shape.channels);
	}
	return rooms;
}

// Hands out half-precision numbers one after the other.
class WeightSource {
public:
	explicit WeightSource(const std::vector<uint16_t> &weights) : next_(weights.data()) {}

	const uint16_t *take(size_t count)
	{
		const uint16_t *first = next_;
		next_ += count;
		return first;
	}

private:
	const uint16_t *next_;
};

// One value for each channel; those beyond are 0.
void unpack_channels(const uint16_t *values, size_t channels, float *out)
{
	for (size_t channel = 0; channel < channels; ++channel)
		out[channel] = half_to_float(values[channel]);
}

struct KernelSize {
	size_t rows;
	size_t columns;
	size_t channels;     // of the input
	size_t row_channels; // what a pixel of the input takes in a row of the kernel
	size_t outputs;
	size_t padded_outputs;

	size_t values() const { return rows * (columns == 1 ? channels : columns * row_channels); }
};

// Where the weight of one output channel and one value of the kernel lies among the blocks.
size_t place_in_blocks(const KernelSize &size, size_t output, size_t value)
{
	constexpr size_t block = kernels::net_weight_block;
	const size_t begin = output / block * block;
	const size_t width = std::min(block, size.padded_outputs - begin);
	return begin * size.values() + value * width + (output - begin);
}

void pack_convolution(const KernelSize &size, const uint16_t *weights, float *out)
{
	const size_t pixel = size.columns == 1 ? size.channels : size.row_channels;
	for (size_t output = 0; output < size.outputs; ++output) {
		for (size_t tap = 0; tap < size.rows * size.columns; ++tap) {
			for (size_t channel = 0; channel < size.channels; ++channel)
				out[place_in_blocks(size, output, tap * pixel + channel)] = half_to_float(*weights++);
		}
	}
}

} // namespace

NetProgram::NetProgram(NetFile net_file) : file(std::move(net_file))
{
	place_tensors();
	pack_weights();
	file.weights = {};
}

void NetProgram::place_tensors()
{
	const std::vector<size_t> last = last_readers(file);
	std::vector<Room> rooms = rooms_of_tensors(file);
	std::vector<Room> vacant;
	const auto settle = [&](Room &room) {
		const auto found =
			std::find_if(vacant.begin(), vacant.end(), [&](const Room &other) { return room.fits(other); });
		if (found != vacant.end()) {
			room.first = found->first;
			vacant.erase(found);
			return;
		}
		room.first = memory_values;
		memory_values += room_values(room);
	};
	settle(rooms[0]);
	for (size_t step = 0; step < file.steps.size(); ++step) {
		settle(rooms[step + 1]);
		for (size_t tensor = 0; tensor <= step + 1; ++tensor) {
			if (last[tensor] == step)
				vacant.push_back(rooms[tensor]);
		}
	}
	for (const Room &room : rooms) {
		const size_t row = static_cast<size_t>(room.shape.width + 2 * room.border) * room.pixel;
		const auto border = static_cast<size_t>(room.border);
		places.push_back({room.first + border * row + border * room.pixel, room.shape,
				  static_cast<ptrdiff_t>(room.pixel), static_cast<ptrdiff_t>(row)});
	}
}

void NetProgram::pack_weights()
{
	const auto kernel_size = [this](const NetStep &step) {
		const Place &input = places[step.input];
		return KernelSize{static_cast<size_t>(step.kernel_height),   static_cast<size_t>(step.kernel_width),
				  static_cast<size_t>(input.shape.channels), static_cast<size_t>(input.pixel),
				  static_cast<size_t>(step.output.channels), padded_channels(step.output)};
	};
	size_t total = 0;
	const auto reserve = [&](size_t count) {
		const size_t first = total;
		total += rounded_up(count, line_values);
		return first;
	};
	for (const NetStep &step : file.steps) {
		const KernelSize size = kernel_size(step);
		Constants places_of_step;
		if (step.operation == NetOperation::Convolution)
			places_of_step.weights = reserve(size.values() * size.padded_outputs);
		else if (step.operation == NetOperation::Depthwise)
			places_of_step.weights = reserve(size.rows * size.columns * size.padded_outputs);
		places_of_step.bias = reserve(size.padded_outputs);
		if (step.outer == NetActivation::PRelu)
			places_of_step.slopes = reserve(size.padded_outputs);
		constants.push_back(places_of_step);
	}

	float *out = weights.ensure_capacity(std::max<size_t>(total, 1));
	std::fill(out, out + total, 0.0F);
	WeightSource source(file.weights);
	for (size_t number = 0; number < file.steps.size(); ++number) {
		const NetStep &step = file.steps[number];
		const KernelSize size = kernel_size(step);
		const size_t taps = size.rows * size.columns;
		if (step.operation == NetOperation::Convolution) {
			pack_convolution(size, source.take(size.outputs * taps * size.channels),
					 out + constants[number].weights);
		} else if (step.operation == NetOperation::Depthwise) {
			for (size_t tap = 0; tap < taps; ++tap) {
				unpack_channels(source.take(size.outputs), size.outputs,
						out + constants[number].weights + tap * size.padded_outputs);
			}
		}
		if (step.operation == NetOperation::Convolution || step.operation == NetOperation::Depthwise)
			unpack_channels(source.take(size.outputs), size.outputs, out + constants[number].bias);
		if (step.outer == NetActivation::PRelu)
			unpack_channels(source.take(size.outputs), size.outputs, out + constants[number].slopes);
	}
}

} // namespace kalvio::engine
