// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/matte_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/matte_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Rows of tiles are multiples of eight cells.
using Cells = hn::CappedTag<float, 8>;
using CellVector = hn::Vec<Cells>;

constexpr int middle_side = MatteTileScratch::middle;
constexpr int middle_cells = middle_side * middle_side;
constexpr float window_share = 1.0F / ((2 * matte_window_radius + 1) * (2 * matte_window_radius + 1));

// A window of nine is three triples, three cells apart.
static_assert(matte_window_radius == 4);

HWY_INLINE CellVector sum_of_three(const float *values, int step)
{
	const Cells d;
	return hn::Add(hn::Add(hn::LoadU(d, values), hn::LoadU(d, values + step)), hn::LoadU(d, values + 2 * step));
}

// Sums of nine neighbors along a row of out_count + 8 values.
HWY_INLINE void sum_along(const float *row, int out_count, float *HWY_RESTRICT triples, float *HWY_RESTRICT out)
{
	const Cells d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int x = 0; x < out_count + 6; x += lanes)
		hn::StoreU(sum_of_three(row + x, 1), d, triples + x);
	for (int x = 0; x < out_count; x += lanes)
		hn::StoreU(sum_of_three(triples + x, 3), d, out + x);
}

// Means over windows out of sums along rows: `out_rows` + 8 rows of `columns`.
HWY_INLINE void mean_down(const float *across, int columns, int out_rows, float *HWY_RESTRICT triples,
			  float *HWY_RESTRICT out, ptrdiff_t row_floats)
{
	const Cells d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto share = hn::Set(d, window_share);
	for (int index = 0; index < (out_rows + 6) * columns; index += lanes)
		hn::StoreU(sum_of_three(across + index, columns), d, triples + index);
	for (int y = 0; y < out_rows; ++y) {
		for (int x = 0; x < columns; x += lanes) {
			const auto sum = sum_of_three(triples + y * columns + x, 3 * columns);
			hn::StoreU(hn::Mul(sum, share), d, out + y * row_floats + x);
		}
	}
}

// Window means of the product of two planes over the whole input; with a null `right` of the one.
HWY_INLINE void mean_of_product(const float *left, const float *right, MatteTileScratch &scratch,
				float *HWY_RESTRICT out)
{
	const Cells d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int y = 0; y < matte_loaded; ++y) {
		for (int x = 0; x < matte_loaded; x += lanes) {
			auto value = hn::LoadU(d, left + y * matte_loaded + x);
			if (right != nullptr)
				value = hn::Mul(value, hn::LoadU(d, right + y * matte_loaded + x));
			hn::StoreU(value, d, scratch.product + x);
		}
		sum_along(scratch.product, middle_side, scratch.triples, scratch.across + y * middle_side);
	}
	mean_down(scratch.across, middle_side, middle_side, scratch.triple_rows, out, middle_side);
}

// In the order of the planes: the means of r, g, b and the matte, then of their products.
enum Moment { R, G, B, P, RR, RG, RB, GG, GB, BB, RP, GP, BP };

// Each window's line: the matte from the colors, with the least squares, drawn towards no dependence by epsilon.
// Replaces the first four moments by the line.
HWY_INLINE void fit_lines(float epsilon, MatteTileScratch &scratch)
{
	const Cells d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto ridge = hn::Set(d, epsilon);
	for (int index = 0; index < middle_cells; index += lanes) {
		const auto mean = [&](int moment) HWY_ATTR {
			return hn::LoadU(d, scratch.means[moment] + index);
		};
		const auto r = mean(R);
		const auto g = mean(G);
		const auto b = mean(B);
		const auto p = mean(P);
		const auto covariance = [&](int moment, CellVector left, CellVector right) HWY_ATTR {
			return hn::Sub(mean(moment), hn::Mul(left, right));
		};
		const auto rr = hn::Add(covariance(RR, r, r), ridge);
		const auto rg = covariance(RG, r, g);
		const auto rb = covariance(RB, r, b);
		const auto gg = hn::Add(covariance(GG, g, g), ridge);
		const auto gb = covariance(GB, g, b);
		const auto bb = hn::Add(covariance(BB, b, b), ridge);
		const auto rp = covariance(RP, r, p);
		const auto gp = covariance(GP, g, p);
		const auto bp = covariance(BP, b, p);
		const auto minor = [](CellVector a, CellVector e, CellVector c, CellVector f) HWY_ATTR {
			return hn::Sub(hn::Mul(a, e), hn::Mul(c, f));
		};
		// The adjugate of the symmetric matrix.
		const auto rr_inverse = minor(gg, bb, gb, gb);
		const auto rg_inverse = minor(rb, gb, rg, bb);
		const auto rb_inverse = minor(rg, gb, rb, gg);
		const auto gg_inverse = minor(rr, bb, rb, rb);
		const auto gb_inverse = minor(rb, rg, rr, gb);
		const auto bb_inverse = minor(rr, gg, rg, rg);
		const auto three = [](CellVector a, CellVector x, CellVector e, CellVector y, CellVector c,
				      CellVector z) HWY_ATTR {
			return hn::Add(hn::Add(hn::Mul(a, x), hn::Mul(e, y)), hn::Mul(c, z));
		};
		const auto determinant = three(rr, rr_inverse, rg, rg_inverse, rb, rb_inverse);
		const auto share = hn::Div(hn::Set(d, 1.0F), determinant);
		const auto red = hn::Mul(three(rr_inverse, rp, rg_inverse, gp, rb_inverse, bp), share);
		const auto green = hn::Mul(three(rg_inverse, rp, gg_inverse, gp, gb_inverse, bp), share);
		const auto blue = hn::Mul(three(rb_inverse, rp, gb_inverse, gp, bb_inverse, bp), share);
		hn::StoreU(red, d, scratch.means[R] + index);
		hn::StoreU(green, d, scratch.means[G] + index);
		hn::StoreU(blue, d, scratch.means[B] + index);
		hn::StoreU(hn::Sub(p, three(red, r, green, g, blue, b)), d, scratch.means[P] + index);
	}
}

// Window means of a plane of the middle.
HWY_INLINE void mean_of_middle(const float *plane, MatteTileScratch &scratch, float *HWY_RESTRICT out,
			       ptrdiff_t row_floats)
{
	for (int y = 0; y < middle_side; ++y)
		sum_along(plane + y * middle_side, matte_tile, scratch.triples, scratch.across + y * matte_tile);
	mean_down(scratch.across, matte_tile, matte_tile, scratch.triple_rows, out, row_floats);
}

// The mean colors of what is surely in front and of what is surely behind within a window, as in "Fast Multi-Level
// Foreground Estimation" (Germer et al., 2020) and its one-level relatives: weights fall with the matte's fourth power.
HWY_INLINE void mean_colors(const MatteTileInput &input, MatteTileScratch &scratch, float *const out[matte_planes],
			    ptrdiff_t row_floats)
{
	const Cells d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	// Where none is sure, a cell's own color stands for both.
	const auto least = hn::Set(d, 1.0F / 1024.0F);
	const auto one = hn::Set(d, 1.0F);
	constexpr int inset = matte_window_radius;
	// The moments that are not needed any more.
	float *weights[2] = {scratch.means[RR], scratch.means[RG]};
	float *weighted[2][3] = {{scratch.means[RB], scratch.means[GG], scratch.means[GB]},
				 {scratch.means[BB], scratch.means[RP], scratch.means[GP]}};
	for (int y = 0; y < middle_side; ++y) {
		for (int x = 0; x < middle_side; x += lanes) {
			const int index = y * middle_side + x;
			const int place = (y + inset) * matte_loaded + x + inset;
			const auto r = hn::LoadU(d, input.values[MatteTileInput::Red] + place);
			const auto g = hn::LoadU(d, input.values[MatteTileInput::Green] + place);
			const auto b = hn::LoadU(d, input.values[MatteTileInput::Blue] + place);
			auto value = hn::Mul(hn::LoadU(d, scratch.means[R] + index), r);
			value = hn::Add(value, hn::Mul(hn::LoadU(d, scratch.means[G] + index), g));
			value = hn::Add(value, hn::Mul(hn::LoadU(d, scratch.means[B] + index), b));
			value = hn::Add(value, hn::LoadU(d, scratch.means[P] + index));
			value = hn::Min(hn::Max(value, hn::Zero(d)), one);
			for (int side = 0; side < 2; ++side) {
				const auto share = side == 0 ? value : hn::Sub(one, value);
				const auto squared = hn::Mul(share, share);
				const auto weight = hn::Add(hn::Mul(squared, squared), least);
				hn::StoreU(weight, d, weights[side] + index);
				hn::StoreU(hn::Mul(weight, r), d, weighted[side][0] + index);
				hn::StoreU(hn::Mul(weight, g), d, weighted[side][1] + index);
				hn::StoreU(hn::Mul(weight, b), d, weighted[side][2] + index);
			}
		}
	}
	for (int side = 0; side < 2; ++side) {
		float *means = scratch.means[BP]; // of the weights, a tile's rows
		mean_of_middle(weights[side], scratch, means, matte_tile);
		for (int channel = 0; channel < 3; ++channel) {
			float *plane = out[(side == 0 ? FrontRed : BackRed) + channel];
			mean_of_middle(weighted[side][channel], scratch, plane, row_floats);
			for (int y = 0; y < matte_tile; ++y) {
				for (int x = 0; x < matte_tile; x += lanes) {
					float *cell = plane + y * row_floats + x;
					const auto weight = hn::LoadU(d, means + y * matte_tile + x);
					hn::StoreU(hn::Div(hn::LoadU(d, cell), weight), d, cell);
				}
			}
		}
	}
}

void refine_matte_tile(const MatteTileInput &input, float epsilon, MatteTileScratch &scratch,
		       float *const out[matte_planes], ptrdiff_t row_floats)
{
	constexpr int factors[MatteTileScratch::moments][2] = {{0, -1}, {1, -1}, {2, -1}, {3, -1}, {0, 0},
							       {0, 1},  {0, 2},  {1, 1},  {1, 2},  {2, 2},
							       {0, 3},  {1, 3},  {2, 3}};
	for (int moment = 0; moment < MatteTileScratch::moments; ++moment) {
		const int *factor = factors[moment];
		mean_of_product(input.values[factor[0]], factor[1] < 0 ? nullptr : input.values[factor[1]], scratch,
				scratch.means[moment]);
	}
	fit_lines(epsilon, scratch);
	for (int plane = MatteRed; plane <= MatteOffset; ++plane)
		mean_of_middle(scratch.means[plane], scratch, out[plane], row_floats);
	mean_colors(input, scratch, out, row_floats);
}

void widen_cells(const float *HWY_RESTRICT row, int cells, int block, const float *HWY_RESTRICT parts,
		 float *HWY_RESTRICT out)
{
	const hn::FixedTag<float, 4> d;
	for (int cell = 0; cell <= cells; ++cell, out += block) {
		const auto first = hn::Set(d, row[cell]);
		const auto step = hn::Sub(hn::Set(d, row[cell + 1]), first);
		for (int pixel = 0; pixel < block; pixel += 4)
			hn::StoreU(hn::Add(first, hn::Mul(step, hn::LoadU(d, parts + pixel))), d, out + pixel);
	}
}

void mix_cells(const float *HWY_RESTRICT above, const float *HWY_RESTRICT below, float weight, int count,
	       float *HWY_RESTRICT out)
{
	const Cells d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto part = hn::Set(d, weight);
	for (int cell = 0; cell < count; cell += lanes) {
		const auto first = hn::LoadU(d, above + cell);
		const auto step = hn::Sub(hn::LoadU(d, below + cell), first);
		hn::StoreU(hn::Add(first, hn::Mul(step, part)), d, out + cell);
	}
}

using Pixels = hn::RebindToSigned<Cells>;
using PixelVector = hn::Vec<Pixels>;

template <int Channel>
HWY_INLINE PixelVector channel_of(PixelVector pixels)
{
	return hn::And(hn::ShiftRight<Channel * 8>(pixels), hn::Set(Pixels(), 255));
}

// One channel of the pixels with the captured light of the background taken out.
template <int Channel>
HWY_INLINE PixelVector corrected(const float *const planes[matte_planes], int x, CellVector matte, CellVector captured,
				 PixelVector pixels)
{
	const Cells d;
	const auto front = hn::LoadU(d, planes[FrontRed + Channel] + x);
	const auto back = hn::LoadU(d, planes[BackRed + Channel] + x);
	// What a mixture of both would be, and how the pixel differs from it; the difference is the foreground's as far
	// as the pixel is.
	const auto mixture = hn::Add(back, hn::Mul(matte, hn::Sub(front, back)));
	const auto own = hn::Add(front, hn::Mul(matte, hn::Sub(captured, mixture)));
	const auto change = hn::NearestInt(hn::Mul(hn::Sub(own, captured), hn::Set(d, 255.0F)));
	const auto value = hn::Add(channel_of<Channel>(pixels), change);
	const Pixels di;
	const auto held = hn::Min(hn::Max(value, hn::Zero(di)), hn::Set(di, 255));
	return hn::ShiftLeft<Channel * 8>(held);
}

void matte_pixels(const float *const planes[matte_planes], const uint8_t *captured, int width, const MatteCurve &curve,
		  bool correct, uint8_t *row, uint8_t *matte)
{
	const Cells d;
	const Pixels di;
	const hn::Repartition<uint8_t, Pixels> d8;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto to_unit = hn::Set(d, 1.0F / 255.0F);
	const auto one = hn::Set(d, 1.0F);
	for (int x = 0; x < width; x += lanes) {
		const auto pixels = hn::BitCast(di, hn::LoadU(d8, captured + x * 4));
		const auto r = hn::Mul(hn::ConvertTo(d, channel_of<0>(pixels)), to_unit);
		const auto g = hn::Mul(hn::ConvertTo(d, channel_of<1>(pixels)), to_unit);
		const auto b = hn::Mul(hn::ConvertTo(d, channel_of<2>(pixels)), to_unit);
		auto value = hn::Mul(hn::LoadU(d, planes[MatteRed] + x), r);
		value = hn::Add(value, hn::Mul(hn::LoadU(d, planes[MatteGreen] + x), g));
		value = hn::Add(value, hn::Mul(hn::LoadU(d, planes[MatteBlue] + x), b));
		value = hn::Add(value, hn::LoadU(d, planes[MatteOffset] + x));
		value = hn::Mul(hn::Sub(value, hn::Set(d, curve.low)), hn::Set(d, curve.scale));
		value = hn::Min(hn::Max(value, hn::Zero(d)), one);
		const auto level = hn::NearestInt(hn::Mul(value, hn::Set(d, 255.0F)));
		const auto pair = hn::Or(level, hn::ShiftLeft<8>(level));
		hn::StoreU(hn::BitCast(d8, hn::Or(pair, hn::ShiftLeft<16>(pair))), d8, matte + x * 4);
		if (!correct)
			continue;
		const auto shown = hn::BitCast(di, hn::LoadU(d8, row + x * 4));
		const auto red = corrected<0>(planes, x, value, r, shown);
		const auto green = corrected<1>(planes, x, value, g, shown);
		const auto blue = corrected<2>(planes, x, value, b, shown);
		const auto alpha = hn::AndNot(hn::Set(di, 0x00FFFFFF), shown);
		hn::StoreU(hn::BitCast(d8, hn::Or(hn::Or(red, green), hn::Or(blue, alpha))), d8, row + x * 4);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(refine_matte_tile);
HWY_EXPORT(matte_pixels);
HWY_EXPORT(widen_cells);
HWY_EXPORT(mix_cells);

void refine_matte_tile(const MatteTileInput &input, float epsilon, MatteTileScratch &scratch,
		       float *const out[matte_planes], ptrdiff_t row_floats)
{
	HWY_DYNAMIC_DISPATCH(refine_matte_tile)(input, epsilon, scratch, out, row_floats);
}

void matte_pixels(const float *const planes[matte_planes], const uint8_t *captured, int width, const MatteCurve &curve,
		  bool correct, uint8_t *row, uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(matte_pixels)(planes, captured, width, curve, correct, row, matte);
}

void widen_cells(const float *row, int cells, int block, const float *parts, float *out)
{
	HWY_DYNAMIC_DISPATCH(widen_cells)(row, cells, block, parts, out);
}

void mix_cells(const float *above, const float *below, float weight, int count, float *out)
{
	HWY_DYNAMIC_DISPATCH(mix_cells)(above, below, weight, count, out);
}

} // namespace kalvio::engine::kernels
#endif
