// SPDX-License-Identifier: GPL-2.0-or-later
#include "tflite_options.h"

#include <bit>
#include <stdexcept>

namespace kalvio::engine {

namespace {

// The types of the format that we meet.
enum FlexType : int {
	Integer = 1,
	Unsigned = 2,
	Real = 3,
	Map = 9,
	Vector = 10,
	IntegerVector = 11,
	UnsignedVector = 12
};

class Flex {
public:
	explicit Flex(std::span<const uint8_t> bytes) : bytes_(bytes) {}

	uint64_t number(size_t place, size_t width) const { return little_endian(bytes_, place, width); }
	// Where an offset that lies at `place` points: backwards.
	size_t target(size_t place, size_t width) const
	{
		const uint64_t back = number(place, width);
		if (back > place)
			throw std::runtime_error("an option that begins before the file");
		return place - static_cast<size_t>(back);
	}
	size_t before(size_t place, size_t bytes) const
	{
		if (bytes > place)
			throw std::runtime_error("an option that begins before the file");
		return place - bytes;
	}
	double real(size_t place, size_t width) const
	{
		const uint64_t bits = number(place, width);
		if (width == 4)
			return static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(bits)));
		if (width == 8)
			return std::bit_cast<double>(bits);
		throw std::runtime_error("an option of an unknown width");
	}
	std::string key(size_t place) const
	{
		std::string text;
		while (number(place, 1) != 0)
			text += static_cast<char>(number(place++, 1));
		return text;
	}

private:
	std::span<const uint8_t> bytes_;
};

int type_of(uint64_t packed)
{
	return static_cast<int>(packed >> 2);
}

size_t width_of(uint64_t packed)
{
	return size_t{1} << (packed & 3U);
}

std::vector<int> integer_list(const Flex &flex, size_t place, size_t width)
{
	std::vector<int> values;
	const uint64_t count = flex.number(flex.before(place, width), width);
	for (uint64_t index = 0; index < count; ++index)
		// NOLINTNEXTLINE(performance-inefficient-vector-operation): nothing has said yet that there are so many
		values.push_back(static_cast<int>(flex.number(place + static_cast<size_t>(index) * width, width)));
	return values;
}

} // namespace

void read_custom_options(std::span<const uint8_t> bytes, TfliteOperation &operation)
{
	if (bytes.size() < 3)
		return;
	// The root's width and type stand at the end, and before them the root.
	const Flex flex(bytes);
	const auto root_width = static_cast<size_t>(bytes.back());
	const uint64_t root_type = bytes[bytes.size() - 2];
	if (type_of(root_type) != Map)
		return;
	const size_t map = flex.target(flex.before(bytes.size() - 2, root_width), root_width);
	const size_t width = width_of(root_type);

	// Before the values stand their count, the width of the keys and where these are; behind them the types.
	const auto count = static_cast<size_t>(flex.number(flex.before(map, width), width));
	const auto key_width = static_cast<size_t>(flex.number(flex.before(map, 2 * width), width));
	const size_t keys = flex.target(flex.before(map, 3 * width), width);
	for (size_t index = 0; index < count; ++index) {
		const std::string key = flex.key(flex.target(keys + index * key_width, key_width));
		const size_t place = map + index * width;
		const uint64_t packed = flex.number(map + count * width + index, 1);
		switch (type_of(packed)) {
		case Integer:
		case Unsigned:
			operation.numbers[key] = static_cast<double>(flex.number(place, width));
			break;
		case Real:
			operation.numbers[key] = flex.real(place, width);
			break;
		case Vector:
		case IntegerVector:
		case UnsignedVector:
			operation.lists[key] = integer_list(flex, flex.target(place, width), width_of(packed));
			break;
		default:
			throw std::runtime_error("an option of an unknown type: " + key);
		}
	}
}

} // namespace kalvio::engine
