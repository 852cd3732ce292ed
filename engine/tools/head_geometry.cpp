// SPDX-License-Identifier: GPL-2.0-or-later
#include "head_geometry.h"

#include "tflite_options.h"

#include <bit>
#include <stdexcept>

namespace kalvio::engine {

namespace {

// One field of a protocol buffer's message.
struct Field {
	uint64_t number = 0;
	uint64_t value = 0;               // an integer, or the bits of a float
	std::span<const uint8_t> content; // a message, a text or packed values
};

uint64_t read_varint(std::span<const uint8_t> bytes, size_t &place)
{
	uint64_t value = 0;
	for (int shift = 0; shift < 64; shift += 7) {
		const uint64_t byte = little_endian(bytes, place++, 1);
		value |= (byte & 127U) << shift;
		if (byte < 128)
			return value;
	}
	throw std::runtime_error("a number that is too long");
}

std::vector<Field> read_message(std::span<const uint8_t> bytes)
{
	enum Wire : uint64_t { Varint = 0, Bytes = 2, Bits32 = 5 };
	std::vector<Field> fields;
	size_t place = 0;
	while (place < bytes.size()) {
		const uint64_t key = read_varint(bytes, place);
		Field field;
		field.number = key >> 3;
		switch (key & 7U) {
		case Varint:
			field.value = read_varint(bytes, place);
			break;
		case Bytes: {
			const uint64_t length = read_varint(bytes, place);
			if (length > bytes.size() - place)
				throw std::runtime_error("a field that is longer than the file");
			field.content = bytes.subspan(place, static_cast<size_t>(length));
			place += static_cast<size_t>(length);
			break;
		}
		case Bits32:
			field.value = little_endian(bytes, place, 4);
			place += 4;
			break;
		default:
			throw std::runtime_error("a field of an unknown type");
		}
		fields.push_back(field);
	}
	return fields;
}

float real(const Field &field)
{
	return std::bit_cast<float>(static_cast<uint32_t>(field.value));
}

// Mesh: 3 the vertices' numbers, x, y, z, u, v; 4 the triangles' vertices. One field each.
void read_mesh(std::span<const uint8_t> bytes, HeadGeometry &head)
{
	std::vector<float> numbers;
	std::vector<uint16_t> corners;
	for (const Field &field : read_message(bytes)) {
		if (field.number == 3)
			numbers.push_back(real(field));
		else if (field.number == 4)
			corners.push_back(static_cast<uint16_t>(field.value));
	}
	for (size_t index = 0; index + 5 <= numbers.size(); index += 5) {
		head.vertices.push_back({numbers[index], numbers[index + 1], numbers[index + 2], numbers[index + 3],
					 numbers[index + 4]});
	}
	for (size_t index = 0; index + 3 <= corners.size(); index += 3)
		head.triangles.push_back({corners[index], corners[index + 1], corners[index + 2]});
}

} // namespace

HeadGeometry read_head_model(std::span<const uint8_t> bytes)
{
	HeadGeometry head;
	// The largest message is the mesh, the small ones of field 2 are points with weights.
	for (const Field &field : read_message(bytes)) {
		constexpr size_t largest_weight_bytes = 64;
		if (field.content.size() > largest_weight_bytes) {
			read_mesh(field.content, head);
		} else if (field.number == 2) {
			HeadGeometry::PoseWeight weight = {};
			for (const Field &part : read_message(field.content)) {
				if (part.number == 1)
					weight.point = static_cast<uint16_t>(part.value);
				else if (part.number == 2)
					weight.weight = real(part);
			}
			head.pose_weights.push_back(weight);
		}
	}
	if (head.vertices.empty() || head.triangles.empty() || head.pose_weights.empty())
		throw std::runtime_error("it holds no head");
	return head;
}

std::vector<uint8_t> write_head_geometry(const HeadGeometry &head)
{
	std::vector<uint8_t> bytes = {'K', 'L', 'H', 'G', 1, 0, 0, 0};
	const auto put = [&](uint32_t value, int count) {
		for (int byte = 0; byte < count; ++byte)
			bytes.push_back(static_cast<uint8_t>(value >> (8 * byte)));
	};
	const auto put_real = [&](float value) {
		put(std::bit_cast<uint32_t>(value), 4);
	};
	for (const size_t count : {head.vertices.size(), head.triangles.size(), head.pose_weights.size(), size_t{0}})
		put(static_cast<uint32_t>(count), 2);
	for (const HeadGeometry::Vertex &vertex : head.vertices) {
		for (const float value : {vertex.x, vertex.y, vertex.z, vertex.u, vertex.v})
			put_real(value);
	}
	for (const auto &triangle : head.triangles) {
		for (const uint16_t corner : triangle)
			put(corner, 2);
	}
	for (const HeadGeometry::PoseWeight &weight : head.pose_weights) {
		put(weight.point, 2);
		put_real(weight.weight);
	}
	return bytes;
}

} // namespace kalvio::engine
