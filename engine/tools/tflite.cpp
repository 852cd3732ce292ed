// SPDX-License-Identifier: GPL-2.0-or-later
#include "tflite.h"

#include "tflite_options.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace kalvio::engine {

namespace {

// A place in a FlatBuffer: a table, whose fields are found by the vtable that it points back to.
class Table {
public:
	Table(std::span<const uint8_t> bytes, size_t place) : bytes_(bytes), place_(place) {}

	static Table root(std::span<const uint8_t> bytes)
	{
		return {bytes, static_cast<size_t>(little_endian(bytes, 0, 4))};
	}

	bool has(int field) const { return field_place(field) != 0; }

	template <typename Number>
	Number number(int field, Number missing) const
	{
		const size_t place = field_place(field);
		return place == 0 ? missing : static_cast<Number>(little_endian(bytes_, place, sizeof(Number)));
	}
	Table table(int field) const { return {bytes_, target(field)}; }

	// Strings, and vectors of bytes.
	std::span<const uint8_t> raw(int field) const
	{
		if (!has(field))
			return {};
		const size_t place = target(field);
		const auto length = static_cast<size_t>(little_endian(bytes_, place, 4));
		if (length > bytes_.size() - place - 4)
			throw std::runtime_error("a vector is longer than the file");
		return bytes_.subspan(place + 4, length);
	}
	std::string text(int field) const
	{
		const std::span<const uint8_t> bytes = raw(field);
		return {bytes.begin(), bytes.end()};
	}
	std::vector<int> integers(int field) const
	{
		std::vector<int> values;
		for_each_element(field, [&](size_t place) {
			values.push_back(static_cast<int>(static_cast<int32_t>(little_endian(bytes_, place, 4))));
		});
		return values;
	}
	std::vector<Table> tables(int field) const
	{
		std::vector<Table> values;
		for_each_element(field, [&](size_t place) {
			values.emplace_back(bytes_, place + static_cast<size_t>(little_endian(bytes_, place, 4)));
		});
		return values;
	}

private:
	// 0: the field is not there.
	size_t field_place(int field) const
	{
		const auto back = static_cast<int32_t>(little_endian(bytes_, place_, 4));
		const size_t vtable = place_ - static_cast<size_t>(static_cast<ptrdiff_t>(back));
		const size_t entry = 4 + 2 * static_cast<size_t>(field);
		if (entry >= little_endian(bytes_, vtable, 2))
			return 0;
		const auto offset = static_cast<size_t>(little_endian(bytes_, vtable + entry, 2));
		return offset == 0 ? 0 : place_ + offset;
	}
	size_t target(int field) const
	{
		const size_t place = field_place(field);
		if (place == 0)
			throw std::runtime_error("a field is missing");
		return place + static_cast<size_t>(little_endian(bytes_, place, 4));
	}
	template <typename Visit>
	void for_each_element(int field, const Visit &visit) const
	{
		if (!has(field))
			return;
		const size_t first = target(field);
		const uint64_t count = little_endian(bytes_, first, 4);
		for (uint64_t index = 0; index < count; ++index)
			visit(first + 4 + 4 * static_cast<size_t>(index));
	}

	std::span<const uint8_t> bytes_;
	size_t place_;
};

struct OperatorName {
	int code;
	std::string custom;
};

// Fields: 0 the code where it fits into a byte, 1 the custom operation's name, 3 the code.
std::vector<OperatorName> read_operator_names(const Table &model)
{
	std::vector<OperatorName> names;
	for (const Table &table : model.tables(1)) {
		const int short_code = table.number<uint8_t>(0, 0);
		names.push_back({std::max<int>(short_code, table.number<int32_t>(3, 0)), table.text(1)});
	}
	return names;
}

TfliteTensor read_tensor(const Table &table, const std::vector<Table> &buffers)
{
	enum Type : int { Float = 0, Half = 1, Integer = 2 };
	TfliteTensor tensor;
	tensor.shape = table.integers(0);
	tensor.name = table.text(3);
	const std::span<const uint8_t> data = buffers.at(table.number<uint32_t>(2, 0)).raw(0);
	const int type = table.number<uint8_t>(1, 0);
	if (data.empty())
		return tensor;
	if (type == Half) {
		for (size_t place = 0; place + 2 <= data.size(); place += 2)
			tensor.halves.push_back(static_cast<uint16_t>(little_endian(data, place, 2)));
	} else if (type == Integer) {
		for (size_t place = 0; place + 4 <= data.size(); place += 4)
			tensor.integers.push_back(static_cast<int32_t>(little_endian(data, place, 4)));
	} else {
		throw std::runtime_error("a constant of another type than half precision and integer");
	}
	return tensor;
}

// The options' fields differ from operation to operation.
void read_options(const Table &options, TfliteOperation &operation)
{
	switch (operation.code) {
	case TfliteCode::Convolution:
	case TfliteCode::Depthwise: {
		const bool depthwise = operation.code == TfliteCode::Depthwise;
		operation.same_padding = options.number<int8_t>(0, 0) == 0;
		operation.stride_width = options.number<int32_t>(1, 1);
		operation.stride_height = options.number<int32_t>(2, 1);
		operation.multiplier = depthwise ? options.number<int32_t>(3, 1) : 1;
		operation.activation = options.number<uint8_t>(depthwise ? 4 : 3, 0);
		break;
	}
	case TfliteCode::MaxPool:
		operation.stride_width = options.number<int32_t>(1, 1);
		operation.stride_height = options.number<int32_t>(2, 1);
		operation.window_width = options.number<int32_t>(3, 1);
		operation.window_height = options.number<int32_t>(4, 1);
		operation.activation = options.number<uint8_t>(5, 0);
		break;
	case TfliteCode::Add:
	case TfliteCode::Multiply:
		operation.activation = options.number<uint8_t>(0, 0);
		break;
	case TfliteCode::Concatenation:
		operation.axis = options.number<int32_t>(0, 0);
		operation.activation = options.number<uint8_t>(1, 0);
		break;
	case TfliteCode::ResizeBilinear:
		operation.align_corners = options.number<int8_t>(2, 0) != 0;
		operation.half_pixel_centers = options.number<int8_t>(3, 0) != 0;
		break;
	default:
		break;
	}
}

TfliteOperation read_operation(const Table &table, const std::vector<OperatorName> &names)
{
	const OperatorName &name = names.at(table.number<uint32_t>(0, 0));
	TfliteOperation operation;
	operation.code = static_cast<TfliteCode>(name.code);
	operation.custom_name = name.custom;
	operation.inputs = table.integers(1);
	operation.outputs = table.integers(2);
	if (table.has(4))
		read_options(table.table(4), operation);
	if (operation.code == TfliteCode::Custom)
		read_custom_options(table.raw(5), operation);
	return operation;
}

// Every number of a tensor stands for one.
void check_tensors(const TfliteModel &model)
{
	const auto check = [&](const std::vector<int> &tensors) {
		for (const int tensor : tensors) {
			if (tensor < 0 || static_cast<size_t>(tensor) >= model.tensors.size())
				throw std::runtime_error("a tensor that there is not");
		}
	};
	check(model.inputs);
	check(model.outputs);
	for (const TfliteOperation &operation : model.operations) {
		check(operation.inputs);
		check(operation.outputs);
		if (operation.inputs.empty() || operation.outputs.size() != 1)
			throw std::runtime_error("an operation without input, or not with one output");
	}
}

} // namespace

uint64_t little_endian(std::span<const uint8_t> bytes, size_t place, size_t count)
{
	if (place > bytes.size() || count > bytes.size() - place)
		throw std::runtime_error("a place outside of the file");
	uint64_t value = 0;
	for (size_t byte = 0; byte < count; ++byte)
		value |= uint64_t{bytes[place + byte]} << (8 * byte);
	return value;
}

TfliteModel read_tflite(std::span<const uint8_t> bytes)
{
	const Table root = Table::root(bytes);
	const std::vector<OperatorName> names = read_operator_names(root);
	const std::vector<Table> buffers = root.tables(4);
	const std::vector<Table> graphs = root.tables(2);
	if (graphs.size() != 1)
		throw std::runtime_error("not one graph");
	TfliteModel model;
	for (const Table &tensor : graphs[0].tables(0))
		model.tensors.push_back(read_tensor(tensor, buffers));
	model.inputs = graphs[0].integers(1);
	model.outputs = graphs[0].integers(2);
	for (const Table &operation : graphs[0].tables(3))
		model.operations.push_back(read_operation(operation, names));
	check_tensors(model);
	return model;
}

} // namespace kalvio::engine
