// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/color_lookup.h"

#include "kernels/kernels.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int side = ColorLattice::side;

// A lattice colour in levels with 6 fraction bits.
struct Node {
	int16_t value[4];
};

std::vector<Node> mixed_nodes(const ColorLattice &lattice, float intensity)
{
	constexpr double full = 255.0 * 64.0;
	std::vector<Node> nodes(size_t(side) * side * side);
	const auto mix = double{intensity};
	for (size_t index = 0; index < nodes.size(); ++index) {
		const size_t place[3] = {index % side, index / side % side, index / (side * side)};
		for (size_t channel = 0; channel < 3; ++channel) {
			const double unchanged = full * static_cast<double>(place[channel]) / (side - 1);
			const double filtered = full * lattice.colors[index * 3 + channel] / 65535.0;
			nodes[index].value[channel] =
				static_cast<int16_t>(std::lrint(unchanged + mix * (filtered - unchanged)));
		}
		nodes[index].value[3] = 0;
	}
	return nodes;
}

} // namespace

ReadResult load_color_lattice(const char *path, ColorLattice &lattice)
{
	Bundle bundle;
	if (ReadResult result = bundle.open(path, "filter"); !result)
		return result;
	const auto size = bundle.manifest().find("size");
	if (size == bundle.manifest().end() || *size != ColorLattice::side)
		return {KL_ERROR_FORMAT, "its table is not 33 colours wide"};
	Bytes bytes;
	if (ReadResult result = bundle.read(ColorLattice::entry, bytes); !result)
		return result;
	if (bytes.size() != ColorLattice::values * 2)
		return {KL_ERROR_FORMAT, "its table has the wrong length"};
	lattice.colors.resize(ColorLattice::values);
	for (size_t index = 0; index < ColorLattice::values; ++index)
		lattice.colors[index] = static_cast<uint16_t>(bytes[index * 2] | bytes[index * 2 + 1] << 8);
	return {};
}

void ColorLookup::build(const ColorLattice &lattice, float intensity)
{
	using kernels::LookupCell;
	const std::vector<Node> nodes = mixed_nodes(lattice, intensity);
	constexpr size_t step[3] = {1, side, size_t(side) * side};
	constexpr int cells = LookupCell::cells_a_side;
	int16_t *out = cells_.require(size_t(cells) * cells * cells * LookupCell::values);

	const auto put = [&](int16_t *pair, const Node &first, const Node &second) {
		std::copy_n(first.value, 4, pair);
		std::copy_n(second.value, 4, pair + 4);
	};
	for (size_t blue = 0; blue < size_t(cells); ++blue) {
		for (size_t green = 0; green < size_t(cells); ++green) {
			for (size_t red = 0; red < size_t(cells); ++red, out += LookupCell::values) {
				const size_t base = red * step[0] + green * step[1] + blue * step[2];
				const size_t far = base + step[0] + step[1] + step[2];
				put(out + LookupCell::diagonal * 8, nodes[base], nodes[far]);
				for (const LookupCell::Order &order : LookupCell::orders) {
					put(out + order.code * 8, nodes[base + step[order.largest]],
					    nodes[far - step[order.smallest]]);
				}
				// A code that cannot occur; it shares its place with nothing.
				put(out + LookupCell::unused * 8, nodes[base], nodes[base]);
			}
		}
	}
}

} // namespace kalvio::engine
