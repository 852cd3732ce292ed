// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/color_lut.h"

#include "kernels/kernels.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int side = Lut3d::side;

// A color of the LUT in levels with 6 fraction bits.
struct Node {
	int16_t value[4];
};

std::vector<Node> mixed_nodes(const Lut3d &lut, float intensity)
{
	constexpr double full = 255.0 * 64.0;
	std::vector<Node> nodes(size_t(side) * side * side);
	const auto mix = double{intensity};
	for (size_t index = 0; index < nodes.size(); ++index) {
		const size_t place[3] = {index % side, index / side % side, index / (side * side)};
		for (size_t channel = 0; channel < 3; ++channel) {
			const double unchanged = full * static_cast<double>(place[channel]) / (side - 1);
			const double filtered = full * lut.colors[index * 3 + channel] / 65535.0;
			nodes[index].value[channel] =
				static_cast<int16_t>(std::lrint(unchanged + mix * (filtered - unchanged)));
		}
		nodes[index].value[3] = 0;
	}
	return nodes;
}

} // namespace

ReadResult load_lut3d(const char *path, Lut3d &lut)
{
	Bundle bundle;
	if (ReadResult result = bundle.open(path, "filter"); !result)
		return result;
	const auto size = bundle.manifest().find("size");
	if (size == bundle.manifest().end() || *size != Lut3d::side)
		return {KL_ERROR_FORMAT, "its table is not 33 colors wide"};
	Bytes bytes;
	if (ReadResult result = bundle.read(Lut3d::entry, bytes); !result)
		return result;
	if (bytes.size() != Lut3d::values * 2)
		return {KL_ERROR_FORMAT, "its table has the wrong length"};
	lut.colors.resize(Lut3d::values);
	for (size_t index = 0; index < Lut3d::values; ++index)
		lut.colors[index] = static_cast<uint16_t>(bytes[index * 2] | bytes[index * 2 + 1] << 8);
	return {};
}

void TetrahedralLut::build(const Lut3d &lut, float intensity)
{
	using kernels::LutCell;
	const std::vector<Node> nodes = mixed_nodes(lut, intensity);
	constexpr size_t step[3] = {1, side, size_t(side) * side};
	constexpr int cells = LutCell::cells_per_side;
	int16_t *out = cells_.ensure_capacity(size_t(cells) * cells * cells * LutCell::values);

	const auto put = [&](int16_t *pair, const Node &first, const Node &second) {
		std::copy_n(first.value, 4, pair);
		std::copy_n(second.value, 4, pair + 4);
	};
	for (size_t blue = 0; blue < size_t(cells); ++blue) {
		for (size_t green = 0; green < size_t(cells); ++green) {
			for (size_t red = 0; red < size_t(cells); ++red, out += LutCell::values) {
				const size_t base = red * step[0] + green * step[1] + blue * step[2];
				const size_t far = base + step[0] + step[1] + step[2];
				put(out + LutCell::diagonal * 8, nodes[base], nodes[far]);
				for (const LutCell::Order &order : LutCell::orders) {
					put(out + order.code * 8, nodes[base + step[order.largest]],
					    nodes[far - step[order.smallest]]);
				}
				// A code that cannot occur; it shares its place with nothing.
				put(out + LutCell::unused * 8, nodes[base], nodes[base]);
			}
		}
	}
}

} // namespace kalvio::engine
