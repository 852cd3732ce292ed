// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net_file.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <type_traits>

namespace kalvio::engine {

namespace {

constexpr uint8_t magic[4] = {'K', 'L', 'N', 'T'};
constexpr uint32_t format_version = 1;
constexpr size_t step_bytes = 48;

// Little-endian numbers, one after the other. Reading beyond the end gives 0 and is remembered.
class NetReader {
public:
	explicit NetReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

	template <typename Number>
	Number number()
	{
		static_assert(std::is_unsigned_v<Number>);
		if (bytes_.size() - position_ < sizeof(Number)) {
			position_ = bytes_.size();
			ended_early_ = true;
			return 0;
		}
		uint64_t value = 0;
		for (size_t byte = 0; byte < sizeof(Number); ++byte)
			value |= uint64_t{bytes_[position_ + byte]} << (8 * byte);
		position_ += sizeof(Number);
		return static_cast<Number>(value);
	}

	float real() { return std::bit_cast<float>(number<uint32_t>()); }
	size_t left() const { return bytes_.size() - position_; }
	bool ended_early() const { return ended_early_; }

private:
	std::span<const uint8_t> bytes_;
	size_t position_ = 0;
	bool ended_early_ = false;
};

class Writer {
public:
	template <typename Number>
	void number(Number value)
	{
		static_assert(std::is_unsigned_v<Number>);
		for (size_t byte = 0; byte < sizeof(Number); ++byte)
			bytes.push_back(static_cast<uint8_t>(uint64_t{value} >> (8 * byte)));
	}
	void real(float value) { number(std::bit_cast<uint32_t>(value)); }
	void small(int value) { number(static_cast<uint8_t>(value)); }
	void shape(const Shape &shape)
	{
		for (const int side : {shape.height, shape.width, shape.channels})
			number(static_cast<uint16_t>(side));
	}

	std::vector<uint8_t> bytes;
};

Shape read_shape(NetReader &reader)
{
	Shape shape = {};
	shape.height = reader.number<uint16_t>();
	shape.width = reader.number<uint16_t>();
	shape.channels = reader.number<uint16_t>();
	return shape;
}

NetStep read_step(NetReader &reader)
{
	NetStep step;
	step.operation = static_cast<NetOperation>(reader.number<uint8_t>());
	step.inner = static_cast<NetActivation>(reader.number<uint8_t>());
	step.outer = static_cast<NetActivation>(reader.number<uint8_t>());
	step.kernel_height = reader.number<uint8_t>();
	step.kernel_width = reader.number<uint8_t>();
	step.stride = reader.number<uint8_t>();
	step.pad_top = reader.number<uint8_t>();
	step.pad_left = reader.number<uint8_t>();
	step.input = reader.number<uint16_t>();
	step.second = reader.number<uint16_t>();
	step.residual = reader.number<uint16_t>();
	step.output = read_shape(reader);
	step.left_point = reader.number<uint16_t>();
	step.right_point = reader.number<uint16_t>();
	step.list = reader.number<uint16_t>();
	step.crop_width = reader.number<uint16_t>();
	step.crop_height = reader.number<uint16_t>();
	reader.number<uint16_t>(); // unused
	step.scale_x = reader.real();
	step.scale_y = reader.real();
	step.unit = reader.real();
	reader.number<uint32_t>(); // unused
	return step;
}

void write_step(Writer &writer, const NetStep &step)
{
	writer.number(static_cast<uint8_t>(step.operation));
	writer.number(static_cast<uint8_t>(step.inner));
	writer.number(static_cast<uint8_t>(step.outer));
	for (const int value : {step.kernel_height, step.kernel_width, step.stride, step.pad_top, step.pad_left})
		writer.small(value);
	writer.number(step.input);
	writer.number(step.second);
	writer.number(step.residual);
	writer.shape(step.output);
	writer.number(step.left_point);
	writer.number(step.right_point);
	writer.number(step.list);
	writer.number(static_cast<uint16_t>(step.crop_width));
	writer.number(static_cast<uint16_t>(step.crop_height));
	writer.number(uint16_t{0});
	writer.real(step.scale_x);
	writer.real(step.scale_y);
	writer.real(step.unit);
	writer.number(uint32_t{0});
}

} // namespace

ReadResult parse_net(std::span<const uint8_t> bytes, NetFile &file)
{
	file = {};
	NetReader reader(bytes);
	uint8_t first[4] = {};
	for (uint8_t &byte : first)
		byte = reader.number<uint8_t>();
	if (std::memcmp(first, magic, sizeof(magic)) != 0)
		return bad_format("it is no net");
	if (reader.number<uint32_t>() != format_version)
		return bad_format("its format version is not " + std::to_string(format_version));
	file.input = read_shape(reader);
	const int steps = reader.number<uint16_t>();
	const int outputs = reader.number<uint16_t>();
	const int lists = reader.number<uint16_t>();
	const auto weights = reader.number<uint32_t>();
	if (steps < 1 || steps > NetLimits::steps || outputs < 1 || outputs > NetLimits::outputs ||
	    lists > NetLimits::lists || weights > NetLimits::weights)
		return bad_format("it has too many or too few steps, outputs, lists or weights");
	if (reader.left() < static_cast<size_t>(steps) * step_bytes + size_t{weights} * 2)
		return bad_format("it ends too early");

	for (int step = 0; step < steps; ++step)
		file.steps.push_back(read_step(reader));
	for (int output = 0; output < outputs; ++output) {
		const auto tensor = reader.number<uint16_t>();
		file.outputs.push_back({tensor, reader.number<uint16_t>()});
	}
	for (int list = 0; list < lists && !reader.ended_early(); ++list) {
		std::vector<uint16_t> values(std::min<size_t>(reader.number<uint16_t>(), reader.left() / 2));
		for (uint16_t &value : values)
			value = reader.number<uint16_t>();
		file.lists.push_back(std::move(values));
	}
	if (reader.ended_early() || reader.left() != size_t{weights} * 2)
		return bad_format("its length does not fit what it holds");
	file.weights.resize(weights);
	for (uint16_t &weight : file.weights)
		weight = reader.number<uint16_t>();
	return {};
}

std::vector<uint8_t> write_net(const NetFile &file)
{
	Writer writer;
	for (const uint8_t byte : magic)
		writer.number(byte);
	writer.number(format_version);
	writer.shape(file.input);
	writer.number(static_cast<uint16_t>(file.steps.size()));
	writer.number(static_cast<uint16_t>(file.outputs.size()));
	writer.number(static_cast<uint16_t>(file.lists.size()));
	writer.number(static_cast<uint32_t>(file.weights.size()));
	for (const NetStep &step : file.steps)
		write_step(writer, step);
	for (const NetFile::Output &output : file.outputs) {
		writer.number(output.tensor);
		writer.number(output.list);
	}
	for (const std::vector<uint16_t> &list : file.lists) {
		writer.number(static_cast<uint16_t>(list.size()));
		for (const uint16_t value : list)
			writer.number(value);
	}
	for (const uint16_t weight : file.weights)
		writer.number(weight);
	return std::move(writer.bytes);
}

} // namespace kalvio::engine
