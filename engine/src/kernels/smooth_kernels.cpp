// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/smooth_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/smooth_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using FloatVector = hn::Vec<Floats>;

void split_cells(const float *HWY_RESTRICT cells, int columns, int stride, float *HWY_RESTRICT planes,
		 float *HWY_RESTRICT weights)
{
	const hn::CappedTag<float, 4> d; // the same on each instruction set, whatever its widest vector
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int column = 0; column < columns; column += lanes) {
		hn::Vec<decltype(d)> red;
		hn::Vec<decltype(d)> green;
		hn::Vec<decltype(d)> blue;
		hn::Vec<decltype(d)> weight;
		hn::LoadInterleaved4(d, cells + column * 4, red, green, blue, weight);
		hn::StoreU(red, d, planes + column);
		hn::StoreU(green, d, planes + stride + column);
		hn::StoreU(blue, d, planes + 2 * stride + column);
		hn::StoreU(weight, d, weights + column);
	}
}

template <class Vector>
struct Colors {
	Vector red;
	Vector green;
	Vector blue;
};
using ColorVectors = Colors<FloatVector>;

template <class Tag>
HWY_INLINE Colors<hn::Vec<Tag>> load_colors(Tag d, const float *planes, int stride)
{
	return {hn::LoadU(d, planes), hn::LoadU(d, planes + stride), hn::LoadU(d, planes + 2 * stride)};
}

HWY_INLINE ColorVectors difference(const ColorVectors &left, const ColorVectors &right)
{
	return {hn::Sub(left.red, right.red), hn::Sub(left.green, right.green), hn::Sub(left.blue, right.blue)};
}

// 1 / tolerance^2, for the sum of three squared differences.
template <class Vector>
HWY_INLINE Vector precision(const Colors<Vector> &color, const Tolerance &tolerance)
{
	const hn::DFromV<Vector> d;
	const Vector sum = hn::Add(hn::Add(color.red, color.green), color.blue);
	const Vector brightness = hn::Add(hn::Mul(sum, hn::Set(d, 1.0F / 3.0F)), hn::Set(d, 128.0F));
	const Vector allowed = hn::Add(hn::Set(d, tolerance.floor), hn::Mul(brightness, hn::Set(d, tolerance.share)));
	return hn::Div(hn::Set(d, 1.0F / 3.0F), hn::Mul(allowed, allowed));
}

template <class Vector>
HWY_INLINE Vector squares_of(const Colors<Vector> &color)
{
	return hn::Add(hn::Add(hn::Mul(color.red, color.red), hn::Mul(color.green, color.green)),
		       hn::Mul(color.blue, color.blue));
}

void smooth_planes(const PlaneRows &rows, int step, int columns, const Tolerance &tolerance, float part, bool first,
		   float *HWY_RESTRICT out, float *HWY_RESTRICT correction)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const FloatVector one = hn::Set(d, 1.0F);
	const FloatVector share = hn::Set(d, part);
	for (int column = 0; column < columns; column += lanes) {
		const ColorVectors center = load_colors(d, rows.colors[1] + column, rows.stride);
		const FloatVector precise = precision(center, tolerance);
		ColorVectors sum = {hn::Zero(d), hn::Zero(d), hn::Zero(d)};
		FloatVector total = hn::Set(d, 4.0F);
		for (int row = 0; row < 3; ++row) {
			for (int side = 0; side < 3; ++side) {
				if (row == 1 && side == 1)
					continue;
				const int place = column + (side - 1) * step;
				const ColorVectors away =
					difference(load_colors(d, rows.colors[row] + place, rows.stride), center);
				const FloatVector near =
					hn::Max(hn::Sub(one, hn::Mul(squares_of(away), precise)), hn::Zero(d));
				FloatVector weight =
					hn::Mul(hn::Mul(near, near), hn::LoadU(d, rows.weights[row] + place));
				if (row == 1 || side == 1)
					weight = hn::Add(weight, weight);
				sum = {hn::Add(sum.red, hn::Mul(weight, away.red)),
				       hn::Add(sum.green, hn::Mul(weight, away.green)),
				       hn::Add(sum.blue, hn::Mul(weight, away.blue))};
				total = hn::Add(total, weight);
			}
		}
		const FloatVector scale = hn::Div(one, total);
		const FloatVector changes[3] = {hn::Mul(sum.red, scale), hn::Mul(sum.green, scale),
						hn::Mul(sum.blue, scale)};
		const FloatVector centers[3] = {center.red, center.green, center.blue};
		for (int channel = 0; channel < 3; ++channel) {
			const int place = channel * rows.stride + column;
			hn::StoreU(hn::Add(centers[channel], changes[channel]), d, out + place);
			FloatVector change = hn::Mul(changes[channel], share);
			if (!first)
				change = hn::Add(change, hn::LoadU(d, correction + place));
			hn::StoreU(change, d, correction + place);
		}
	}
}

// Less than this much of a cell is as good as nothing: 0..1 below a sixteenth, else 1.
template <class Tag>
HWY_INLINE hn::Vec<Tag> presence(Tag d, const float *weights)
{
	return hn::Min(hn::Mul(hn::LoadU(d, weights), hn::Set(d, 16.0F)), hn::Set(d, 1.0F));
}

void roughness(const PlaneRows &rows, int columns, const Tolerance &tolerance, float *HWY_RESTRICT out)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int column = 0; column < columns; column += lanes) {
		const ColorVectors center = load_colors(d, rows.colors[1] + column, rows.stride);
		ColorVectors sum = {hn::Zero(d), hn::Zero(d), hn::Zero(d)};
		FloatVector total = hn::Set(d, 1e-6F);
		for (int row = 0; row < 3; ++row) {
			for (int side = 0; side < 3; ++side) {
				const int place = column + side - 1;
				const ColorVectors away =
					difference(load_colors(d, rows.colors[row] + place, rows.stride), center);
				const float binomial = (row == 1 ? 2.0F : 1.0F) * (side == 1 ? 2.0F : 1.0F);
				const FloatVector weight =
					hn::Mul(hn::LoadU(d, rows.weights[row] + place), hn::Set(d, binomial));
				sum = {hn::Add(sum.red, hn::Mul(weight, away.red)),
				       hn::Add(sum.green, hn::Mul(weight, away.green)),
				       hn::Add(sum.blue, hn::Mul(weight, away.blue))};
				total = hn::Add(total, weight);
			}
		}
		const FloatVector square =
			hn::Div(hn::Mul(squares_of(sum), precision(center, tolerance)), hn::Mul(total, total));
		const FloatVector rough = hn::Min(hn::Sqrt(square), hn::Set(d, 1.0F));
		hn::StoreU(hn::Mul(rough, presence(d, rows.weights[1] + column)), d, out + column);
	}
}

void box_line(const float *HWY_RESTRICT padded, int radius, int columns, float *HWY_RESTRICT out)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int column = 0; column < columns; column += lanes) {
		FloatVector sum = hn::LoadU(d, padded + column);
		for (int step = 1; step <= 2 * radius; ++step)
			sum = hn::Add(sum, hn::LoadU(d, padded + column + step));
		hn::StoreU(sum, d, out + column);
	}
}

void store_smoothing(const SmoothingLine &line, int columns, int cell_values, int16_t *HWY_RESTRICT field)
{
	const hn::FixedTag<float, 4> d;
	const hn::Rebind<int16_t, decltype(d)> d16;
	const auto one = hn::Set(d, 1.0F);
	// 6 and 15 fraction bits.
	const auto to_offset = [&](hn::Vec<decltype(d)> value) HWY_ATTR {
		return hn::DemoteTo(d16, hn::NearestInt(hn::Mul(value, hn::Set(d, 64.0F))));
	};
	int16_t offsets[16];
	int16_t gains[16];
	for (int column = 0; column < columns; column += 4) {
		const auto rough = hn::Mul(hn::LoadU(d, line.roughness + column), hn::Set(d, line.calm));
		const auto square = hn::Mul(rough, rough);
		const auto calm = hn::Div(presence(d, line.weights + column), hn::Add(one, hn::Mul(square, square)));
		const auto shown = hn::Mul(hn::Set(d, line.strength), calm);
		const auto color = load_colors(d, line.colors + column, line.stride);
		const auto correction = load_colors(d, line.correction + column, line.stride);
		const auto depth = hn::Mul(squares_of(correction), precision(color, line.spot));
		const auto spot = hn::Mul(hn::Mul(hn::Set(d, line.spots), calm), hn::Div(depth, hn::Add(depth, one)));
		const auto fine =
			hn::Mul(shown, hn::Add(hn::Set(d, line.fine), hn::Mul(hn::Set(d, 1 - line.fine), spot)));
		const auto offset_of = [&](hn::Vec<decltype(d)> level, hn::Vec<decltype(d)> change) HWY_ATTR {
			const auto whole = hn::Mul(fine, hn::Add(level, hn::Set(d, 128.0F)));
			return to_offset(hn::Add(hn::Mul(shown, change), whole));
		};
		const auto red = offset_of(color.red, correction.red);
		const auto green = offset_of(color.green, correction.green);
		const auto blue = offset_of(color.blue, correction.blue);
		const auto gain = hn::DemoteTo(d16, hn::NearestInt(hn::Mul(fine, hn::Set(d, -32767.0F))));
		const auto none = hn::Zero(d16);
		hn::StoreInterleaved4(red, green, blue, none, d16, offsets);
		hn::StoreInterleaved4(gain, gain, gain, none, d16, gains);
		const int cells = HWY_MIN(columns - column, 4);
		for (int cell = 0; cell < cells; ++cell, field += cell_values) {
			for (int half = 0; half < 2; ++half) {
				hn::StoreU(hn::LoadU(d16, offsets + cell * 4), d16, field + half * 4);
				hn::StoreU(hn::LoadU(d16, gains + cell * 4), d16, field + 8 + half * 4);
			}
		}
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(split_cells);
HWY_EXPORT(smooth_planes);
HWY_EXPORT(roughness);
HWY_EXPORT(box_line);
HWY_EXPORT(store_smoothing);

void split_cells(const float *cells, int columns, int stride, float *planes, float *weights)
{
	HWY_DYNAMIC_DISPATCH(split_cells)(cells, columns, stride, planes, weights);
}

void smooth_planes(const PlaneRows &rows, int step, int columns, const Tolerance &tolerance, float part, bool first,
		   float *out, float *correction)
{
	HWY_DYNAMIC_DISPATCH(smooth_planes)(rows, step, columns, tolerance, part, first, out, correction);
}

void roughness(const PlaneRows &rows, int columns, const Tolerance &tolerance, float *out)
{
	HWY_DYNAMIC_DISPATCH(roughness)(rows, columns, tolerance, out);
}

void box_line(const float *padded, int radius, int columns, float *out)
{
	HWY_DYNAMIC_DISPATCH(box_line)(padded, radius, columns, out);
}

void store_smoothing(const SmoothingLine &line, int columns, int cell_values, int16_t *field)
{
	HWY_DYNAMIC_DISPATCH(store_smoothing)(line, columns, cell_values, field);
}

} // namespace kalvio::engine::kernels
#endif
