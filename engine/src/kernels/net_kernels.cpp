// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/net_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/net_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <numbers>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Eight lanes or fewer: as many as any tensor has channels. Sixteen where the processor has them and the channels do.
using Group = hn::CappedTag<float, net_channel_group>;
using Block = hn::CappedTag<float, net_weight_block>;
constexpr int block_lanes = static_cast<int>(hn::MaxLanes(Block()));

// --- Curves -------------------------------------------------------------------------------------------------------

// exp(x) for |x| <= 80, to 2e-7 of its value: x = n ln 2 + r, a polynomial in r, and n in the exponent. Written out, as
// a library's own is made of other operations on each instruction set.
template <class D>
HWY_INLINE hn::Vec<D> exponential(D d, hn::Vec<D> x)
{
	const hn::RebindToSigned<D> di;
	const auto n = hn::Round(hn::Mul(x, hn::Set(d, std::numbers::log2e_v<float>)));
	auto r = hn::Sub(x, hn::Mul(n, hn::Set(d, 355.0F / 512)));
	r = hn::Sub(r, hn::Mul(n, hn::Set(d, -2.12194440e-4F)));
	constexpr float coefficients[] = {1.0F / 720, 1.0F / 120, 1.0F / 24, 1.0F / 6, 0.5F, 1.0F, 1.0F};
	auto sum = hn::Set(d, 1.0F / 5040);
	for (const float coefficient : coefficients)
		sum = hn::Add(hn::Mul(sum, r), hn::Set(d, coefficient));
	const auto exponent = hn::ShiftLeft<23>(hn::Add(hn::ConvertTo(di, n), hn::Set(di, 127)));
	return hn::Mul(sum, hn::BitCast(d, exponent));
}

template <NetCurve Kind, class D>
HWY_INLINE hn::Vec<D> curve(D d, hn::Vec<D> slope, hn::Vec<D> x)
{
	const auto zero = hn::Zero(d);
	if constexpr (Kind == NetCurve::Relu) {
		return hn::Max(x, zero);
	} else if constexpr (Kind == NetCurve::PRelu) {
		return hn::Add(hn::Max(x, zero), hn::Mul(hn::Min(x, zero), slope));
	} else if constexpr (Kind == NetCurve::HardSwish) {
		const auto ramp = hn::Min(hn::Max(hn::Add(x, hn::Set(d, 3.0F)), zero), hn::Set(d, 6.0F));
		return hn::Mul(hn::Mul(x, ramp), hn::Set(d, 1.0F / 6));
	} else if constexpr (Kind == NetCurve::Logistic) {
		const auto limit = hn::Set(d, 80.0F);
		const auto negative = hn::Max(hn::Min(hn::Neg(x), limit), hn::Neg(limit));
		const auto one = hn::Set(d, 1.0F);
		return hn::Div(one, hn::Add(one, exponential(d, negative)));
	} else {
		return x;
	}
}

// --- Finish -------------------------------------------------------------------------------------------------------
//
// Steps store their bare results, and finish them row by row, while these are in the nearest cache.

// A row of vectors, a step apart. `residual` may be null; `source` may be `values`.
struct FinishedRow {
	const float *source;
	ptrdiff_t source_step;
	float *values;
	ptrdiff_t step;
	int count;
	const float *residual = nullptr;
	ptrdiff_t residual_step = 0;
	int residual_channels = 0; // at most the lanes
	const float *slopes = nullptr;
};

template <NetCurve Kind, class D>
HWY_INLINE void finish_vectors(D d, const FinishedRow &row)
{
	auto slope = hn::Zero(d);
	if constexpr (Kind == NetCurve::PRelu)
		slope = hn::LoadU(d, row.slopes);
	const float *source = row.source;
	float *values = row.values;
	if (row.residual == nullptr) {
		for (int index = 0; index < row.count; ++index) {
			hn::StoreU(curve<Kind>(d, slope, hn::LoadU(d, source)), d, values);
			source += row.source_step;
			values += row.step;
		}
		return;
	}
	// Beyond the residual's channels stands what may not be added.
	const auto mask = hn::FirstN(d, static_cast<size_t>(row.residual_channels));
	const float *residual = row.residual;
	for (int index = 0; index < row.count; ++index) {
		const auto sum = hn::Add(hn::LoadU(d, source), hn::MaskedLoad(mask, d, residual));
		hn::StoreU(curve<Kind>(d, slope, sum), d, values);
		source += row.source_step;
		values += row.step;
		residual += row.residual_step;
	}
}

template <class D>
HWY_NOINLINE void apply_curve(D d, NetCurve kind, const FinishedRow &row)
{
	switch (kind) {
	case NetCurve::None:
		if (row.residual != nullptr || row.source != row.values)
			finish_vectors<NetCurve::None>(d, row);
		return;
	case NetCurve::Relu:
		return finish_vectors<NetCurve::Relu>(d, row);
	case NetCurve::PRelu:
		return finish_vectors<NetCurve::PRelu>(d, row);
	case NetCurve::HardSwish:
		return finish_vectors<NetCurve::HardSwish>(d, row);
	case NetCurve::Logistic:
		return finish_vectors<NetCurve::Logistic>(d, row);
	}
}

// The channels from `channel` on, of the row y of `in`, which may be `out`.
template <class D>
HWY_INLINE void finish_channels(D d, const NetTensor &in, const NetTensor &out, int y, int channel,
				const NetFinish &finish)
{
	FinishedRow row = {in.at(y, 0) + channel, in.pixel, out.at(y, 0) + channel, out.pixel, out.width};
	if (finish.inner == NetCurve::PRelu || finish.outer == NetCurve::PRelu)
		row.slopes = finish.slopes + channel;
	if (finish.inner != NetCurve::None) {
		apply_curve(d, finish.inner, row);
		row.source = row.values;
		row.source_step = row.step;
	}
	if (finish.residual != nullptr && channel < finish.residual->channels) {
		row.residual = finish.residual->at(y, 0) + channel;
		row.residual_step = finish.residual->pixel;
		row.residual_channels = std::min(finish.residual->channels - channel, static_cast<int>(hn::Lanes(d)));
	}
	apply_curve(d, finish.outer, row);
}

// Calls work(tag, channel) for each vector of channels of a pixel.
template <class Work>
HWY_INLINE void for_each_vector(int channels, const Work &work)
{
	int channel = 0;
	for (; channel + block_lanes <= channels; channel += block_lanes)
		work(Block(), channel);
	for (; channel < channels; channel += static_cast<int>(hn::Lanes(Group())))
		work(Group(), channel);
}

void finish_row(const NetTensor &in, const NetTensor &out, int y, const NetFinish &finish)
{
	for_each_vector(static_cast<int>(out.pixel),
			[&](auto d, int channel) HWY_ATTR { finish_channels(d, in, out, y, channel, finish); });
}

// --- Convolution --------------------------------------------------------------------------------------------------

// Output pixels whose sums are made together; a tile of one or two vectors of channels of them stays in registers.
constexpr int tile_pixels = 6;

struct TilePixels {
	const float *in[tile_pixels];
	float *out[tile_pixels];
};

// The sums of some pixels, of one or two vectors of channels each.
template <class D, int Pixels, int Vectors>
struct Sums {
	using Vector = hn::Vec<D>;

	HWY_INLINE void start(Vector bias, Vector second_bias)
	{
		sum = bias;
		if constexpr (Vectors == 2)
			second_sum = second_bias;
		rest.start(bias, second_bias);
	}
	HWY_INLINE void add(const float *const *in, ptrdiff_t index, Vector weight, Vector second_weight)
	{
		const auto x = hn::Set(D(), in[0][index]);
		sum = hn::Add(sum, hn::Mul(x, weight));
		if constexpr (Vectors == 2)
			second_sum = hn::Add(second_sum, hn::Mul(x, second_weight));
		rest.add(in + 1, index, weight, second_weight);
	}
	HWY_INLINE void store(float *const *out, int channel)
	{
		const D d;
		hn::StoreU(sum, d, out[0] + channel);
		if constexpr (Vectors == 2)
			hn::StoreU(second_sum, d, out[0] + channel + hn::Lanes(d));
		rest.store(out + 1, channel);
	}

	Vector sum;
	Vector second_sum;
	Sums<D, Pixels - 1, Vectors> rest;
};

template <class D, int Vectors>
struct Sums<D, 0, Vectors> {
	using Vector = hn::Vec<D>;
	HWY_INLINE void start(Vector, Vector) {}
	HWY_INLINE void add(const float *const *, ptrdiff_t, Vector, Vector) {}
	HWY_INLINE void store(float *const *, int) {}
};

// What the tiles of one convolution have in common.
struct Product {
	int rows;             // of the kernel
	ptrdiff_t row_values; // of each
	ptrdiff_t row_stride; // in the input
	const float *bias;
};

// `weights` and `second_weights` advance by `step` with each value of the kernel.
template <class D, int Pixels, int Vectors>
HWY_NOINLINE void tile(const Product &product, const TilePixels &pixels, const float *HWY_RESTRICT weights,
		       const float *HWY_RESTRICT second_weights, ptrdiff_t step, int channel)
{
	const D d;
	const float *bias = product.bias + channel;
	Sums<D, Pixels, Vectors> sums;
	sums.start(hn::LoadU(d, bias), Vectors == 2 ? hn::LoadU(d, bias + hn::Lanes(d)) : hn::Zero(d));
	for (int row = 0; row < product.rows; ++row) {
		const ptrdiff_t first = row * product.row_stride;
		for (ptrdiff_t index = first; index < first + product.row_values; ++index) {
			const auto weight = hn::LoadU(d, weights);
			auto second_weight = weight;
			if constexpr (Vectors == 2)
				second_weight = hn::LoadU(d, second_weights);
			sums.add(pixels.in, index, weight, second_weight);
			weights += step;
			second_weights += step;
		}
	}
	sums.store(pixels.out, channel);
}

// All output channels of some pixels.
template <int Pixels>
void convolve_pixels(const Product &product, const TilePixels &pixels, const float *weights, int channels)
{
	constexpr int block = net_weight_block;
	constexpr int group = net_channel_group;
	const ptrdiff_t block_floats = product.rows * product.row_values * block;
	int channel = 0;
	if constexpr (block_lanes == block) {
		for (; channel + 2 * block <= channels; channel += 2 * block) {
			tile<Block, Pixels, 2>(product, pixels, weights, weights + block_floats, block, channel);
			weights += 2 * block_floats;
		}
	}
	for (; channel + block <= channels; channel += block) {
		if constexpr (block_lanes == block) {
			tile<Block, Pixels, 1>(product, pixels, weights, weights, block, channel);
		} else {
			for (int part = 0; part < block; part += 2 * block_lanes) {
				tile<Block, Pixels, 2>(product, pixels, weights + part, weights + part + block_lanes,
						       block, channel + part);
			}
		}
		weights += block_floats;
	}
	if (channel < channels) {
		if constexpr (block_lanes < group)
			tile<Group, Pixels, 2>(product, pixels, weights, weights + block_lanes, group, channel);
		else
			tile<Group, Pixels, 1>(product, pixels, weights, weights, group, channel);
	}
}

// Goes through the pixels of a convolution's output, in rows, and tells where each begins in the input.
class PixelWalk {
public:
	PixelWalk(const NetTensor &in, const NetTensor &out, const NetKernel &kernel)
		: in_(in), out_(out), kernel_(kernel), in_step_(kernel.stride * in.pixel)
	{
		begin_row();
	}

	int row() const { return y_; }
	void take(const float *&in, float *&out)
	{
		in = next_in_;
		out = next_out_;
		next_in_ += in_step_;
		next_out_ += out_.pixel;
		if (++x_ == out_.width) {
			x_ = 0;
			++y_;
			begin_row();
		}
	}

private:
	void begin_row()
	{
		if (y_ == out_.height)
			return;
		next_in_ = in_.at(y_ * kernel_.stride - kernel_.pad_top, -kernel_.pad_left);
		next_out_ = out_.at(y_, 0);
	}

	const NetTensor &in_;
	const NetTensor &out_;
	const NetKernel &kernel_;
	const ptrdiff_t in_step_;
	int x_ = 0;
	int y_ = 0;
	const float *next_in_ = nullptr;
	float *next_out_ = nullptr;
};

void net_convolve(const NetTensor &in, const NetTensor &out, const NetKernel &kernel, const NetFinish &finish)
{
	const Product product = {kernel.height, kernel.width == 1 ? in.channels : kernel.width * in.pixel, in.row,
				 kernel.bias};
	const int channels = static_cast<int>(out.pixel);
	const int count = out.height * out.width;
	PixelWalk walk(in, out, kernel);
	int finished_rows = 0;
	for (int done = 0; done < count; done += tile_pixels) {
		const int tiled = std::min(tile_pixels, count - done);
		TilePixels pixels;
		for (int pixel = 0; pixel < tiled; ++pixel)
			walk.take(pixels.in[pixel], pixels.out[pixel]);
		// Places that are left over repeat the last pixel: it is made several times over.
		for (int pixel = tiled; pixel < tile_pixels; ++pixel) {
			pixels.in[pixel] = pixels.in[tiled - 1];
			pixels.out[pixel] = pixels.out[tiled - 1];
		}
		if (tiled > 4)
			convolve_pixels<tile_pixels>(product, pixels, kernel.weights, channels);
		else if (tiled > 1)
			convolve_pixels<4>(product, pixels, kernel.weights, channels);
		else
			convolve_pixels<1>(product, pixels, kernel.weights, channels);
		for (; finished_rows < walk.row(); ++finished_rows)
			finish_row(out, out, finished_rows, finish);
	}
}

// --- Depthwise convolution ----------------------------------------------------------------------------------------

// One row of one vector of channels. The weights of a 3 x 3 kernel stay in registers.
template <class D>
HWY_INLINE void depthwise_row_3(D d, const NetTensor &in, const NetTensor &out, const NetKernel &kernel, int y,
				int channel)
{
	const float *weights = kernel.weights + channel;
	const auto weight0 = hn::LoadU(d, weights);
	const auto weight1 = hn::LoadU(d, weights + in.pixel);
	const auto weight2 = hn::LoadU(d, weights + 2 * in.pixel);
	const auto weight3 = hn::LoadU(d, weights + 3 * in.pixel);
	const auto weight4 = hn::LoadU(d, weights + 4 * in.pixel);
	const auto weight5 = hn::LoadU(d, weights + 5 * in.pixel);
	const auto weight6 = hn::LoadU(d, weights + 6 * in.pixel);
	const auto weight7 = hn::LoadU(d, weights + 7 * in.pixel);
	const auto weight8 = hn::LoadU(d, weights + 8 * in.pixel);
	const auto bias = hn::LoadU(d, kernel.bias + channel);
	const float *above = in.at(y * kernel.stride - kernel.pad_top, -kernel.pad_left) + channel;
	const float *center = above + in.row;
	const float *below = center + in.row;
	float *pixel = out.at(y, 0) + channel;
	for (int x = 0; x < out.width; ++x) {
		auto sum = hn::Add(bias, hn::Mul(hn::LoadU(d, above), weight0));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, above + in.pixel), weight1));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, above + 2 * in.pixel), weight2));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, center), weight3));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, center + in.pixel), weight4));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, center + 2 * in.pixel), weight5));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, below), weight6));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, below + in.pixel), weight7));
		sum = hn::Add(sum, hn::Mul(hn::LoadU(d, below + 2 * in.pixel), weight8));
		hn::StoreU(sum, d, pixel);
		above += kernel.stride * in.pixel;
		center += kernel.stride * in.pixel;
		below += kernel.stride * in.pixel;
		pixel += out.pixel;
	}
}

// Four pixels of any other kernel, or one of them: none of their sums waits for another.
template <int Pixels, class D>
HWY_INLINE void depthwise_pixels(D d, const NetTensor &in, const NetKernel &kernel, const float *values,
				 const float *weights, hn::Vec<D> bias, float *out, ptrdiff_t out_step)
{
	const ptrdiff_t step = kernel.stride * in.pixel;
	auto sum0 = bias;
	auto sum1 = bias;
	auto sum2 = bias;
	auto sum3 = bias;
	for (int row = 0; row < kernel.height; ++row, values += in.row) {
		const float *value = values;
		for (int column = 0; column < kernel.width; ++column, value += in.pixel, weights += in.pixel) {
			const auto weight = hn::LoadU(d, weights);
			sum0 = hn::Add(sum0, hn::Mul(hn::LoadU(d, value), weight));
			if constexpr (Pixels == 4) {
				sum1 = hn::Add(sum1, hn::Mul(hn::LoadU(d, value + step), weight));
				sum2 = hn::Add(sum2, hn::Mul(hn::LoadU(d, value + 2 * step), weight));
				sum3 = hn::Add(sum3, hn::Mul(hn::LoadU(d, value + 3 * step), weight));
			}
		}
	}
	hn::StoreU(sum0, d, out);
	if constexpr (Pixels == 4) {
		hn::StoreU(sum1, d, out + out_step);
		hn::StoreU(sum2, d, out + 2 * out_step);
		hn::StoreU(sum3, d, out + 3 * out_step);
	}
}

template <class D>
HWY_INLINE void depthwise_row(D d, const NetTensor &in, const NetTensor &out, const NetKernel &kernel, int y,
			      int channel)
{
	const auto bias = hn::LoadU(d, kernel.bias + channel);
	const float *weights = kernel.weights + channel;
	const float *values = in.at(y * kernel.stride - kernel.pad_top, -kernel.pad_left) + channel;
	float *pixel = out.at(y, 0) + channel;
	const ptrdiff_t step = kernel.stride * in.pixel;
	int x = 0;
	for (; x + 4 <= out.width; x += 4) {
		depthwise_pixels<4>(d, in, kernel, values, weights, bias, pixel, out.pixel);
		values += 4 * step;
		pixel += 4 * out.pixel;
	}
	for (; x < out.width; ++x) {
		depthwise_pixels<1>(d, in, kernel, values, weights, bias, pixel, out.pixel);
		values += step;
		pixel += out.pixel;
	}
}

void net_convolve_depthwise(const NetTensor &in, const NetTensor &out, const NetKernel &kernel, const NetFinish &finish)
{
	const bool is_3x3 = kernel.height == 3 && kernel.width == 3;
	for (int y = 0; y < out.height; ++y) {
		for_each_vector(static_cast<int>(out.pixel), [&](auto d, int channel) HWY_ATTR {
			if (is_3x3)
				depthwise_row_3(d, in, out, kernel, y, channel);
			else
				depthwise_row(d, in, out, kernel, y, channel);
		});
		finish_row(out, out, y, finish);
	}
}

// --- Pixel by pixel -----------------------------------------------------------------------------------------------

// Calls work(tag, y, x, channel) for each vector of channels of each pixel.
template <class Work>
HWY_INLINE void for_each_place(const NetTensor &out, const Work &work)
{
	for (int y = 0; y < out.height; ++y) {
		for_each_vector(static_cast<int>(out.pixel), [&](auto d, int channel) HWY_ATTR {
			for (int x = 0; x < out.width; ++x)
				work(d, y, x, channel);
		});
	}
}

void net_add(const NetTensor &in, const NetTensor *second, const NetTensor &out, const NetFinish &finish)
{
	NetFinish all = finish;
	all.residual = second;
	for (int y = 0; y < out.height; ++y)
		finish_row(in, out, y, all);
}

void net_multiply(const NetTensor &in, const NetTensor &second, const NetTensor &out, const NetFinish &finish)
{
	for (int y = 0; y < out.height; ++y) {
		for_each_vector(static_cast<int>(out.pixel), [&](auto d, int channel) HWY_ATTR {
			const auto factor = hn::LoadU(d, second.first + channel);
			const float *values = in.at(y, 0) + channel;
			float *products = out.at(y, 0) + channel;
			for (int x = 0; x < out.width; ++x) {
				hn::StoreU(hn::Mul(hn::LoadU(d, values), factor), d, products);
				values += in.pixel;
				products += out.pixel;
			}
		});
		finish_row(out, out, y, finish);
	}
}

void net_max_pool(const NetTensor &in, const NetTensor &out)
{
	for_each_place(out, [&](auto d, int y, int x, int channel) HWY_ATTR {
		const float *above = in.at(2 * y, 2 * x) + channel;
		const float *below = above + in.row;
		const auto upper = hn::Max(hn::LoadU(d, above), hn::LoadU(d, above + in.pixel));
		const auto lower = hn::Max(hn::LoadU(d, below), hn::LoadU(d, below + in.pixel));
		hn::StoreU(hn::Max(upper, lower), d, out.at(y, x) + channel);
	});
}

void net_mean(const NetTensor &in, const NetTensor &out)
{
	const float scale = 1.0F / static_cast<float>(in.height * in.width);
	for_each_place(out, [&](auto d, int, int, int channel) HWY_ATTR {
		auto sum = hn::Zero(d);
		for (int y = 0; y < in.height; ++y) {
			// Two sums of a row, of its even and its odd pixels: neither waits for the other.
			const float *pixels = in.at(y, 0) + channel;
			auto even = hn::Zero(d);
			auto odd = hn::Zero(d);
			int x = 0;
			for (; x + 2 <= in.width; x += 2, pixels += 2 * in.pixel) {
				even = hn::Add(even, hn::LoadU(d, pixels));
				odd = hn::Add(odd, hn::LoadU(d, pixels + in.pixel));
			}
			if (x < in.width)
				even = hn::Add(even, hn::LoadU(d, pixels));
			sum = hn::Add(sum, hn::Add(even, odd));
		}
		hn::StoreU(hn::Mul(sum, hn::Set(d, scale)), d, out.first + channel);
	});
}

// A place between two neighbors along a side of `length`: the first of them, whether there is a second one, and its
// weight.
struct Between {
	int first;
	int step;
	float weight;
};

inline Between upsampled_place(int index, int length)
{
	if (index == 0)
		return {0, 0, 0};
	const int first = (index - 1) / 2;
	return {first, first + 1 < length ? 1 : 0, index % 2 != 0 ? 0.25F : 0.75F};
}

template <class D>
HWY_INLINE hn::Vec<D> between(D d, const float *left, const float *right, hn::Vec<D> weight)
{
	const auto value = hn::LoadU(d, left);
	return hn::Add(value, hn::Mul(hn::Sub(hn::LoadU(d, right), value), weight));
}

void net_upsample(const NetTensor &in, const NetTensor &out)
{
	for (int y = 0; y < out.height; ++y) {
		const Between row = upsampled_place(y, in.height);
		for_each_vector(static_cast<int>(out.pixel), [&](auto d, int channel) HWY_ATTR {
			const auto down = hn::Set(d, row.weight);
			const float *above = in.at(row.first, 0) + channel;
			const float *below = above + row.step * in.row;
			float *pixel = out.at(y, 0) + channel;
			for (int x = 0; x < out.width; ++x, pixel += out.pixel) {
				const Between column = upsampled_place(x, in.width);
				const ptrdiff_t left = column.first * in.pixel;
				const ptrdiff_t right = left + column.step * in.pixel;
				const auto weight = hn::Set(d, column.weight);
				const auto upper = between(d, above + left, above + right, weight);
				const auto lower = between(d, below + left, below + right, weight);
				hn::StoreU(hn::Add(upper, hn::Mul(hn::Sub(lower, upper), down)), d, pixel);
			}
		});
	}
}

// `count` values next to each other, whatever channels they belong to.
void apply_curve_to_all(NetCurve kind, float *values, int count)
{
	if (kind == NetCurve::PRelu)
		return; // has slopes for channels, which these values do not keep to; no net asks for it here
	const hn::CappedTag<float, 1> single;
	const int vectors = count / block_lanes;
	apply_curve(Block(), kind, {values, block_lanes, values, block_lanes, vectors});
	values += vectors * block_lanes;
	apply_curve(single, kind, {values, 1, values, 1, count - vectors * block_lanes});
}

void net_spread(const NetTensor &in, const NetTensor &out, NetCurve outer)
{
	const int channels = out.channels;
	for (int y = 0; y < in.height; ++y) {
		for (int half = 0; half < 2; ++half) {
			const float *values = in.at(y, 0) + half * 2 * channels;
			float *pixels = out.at(2 * y + half, 0);
			for (int x = 0; x < in.width; ++x) {
				for (int channel = 0; channel < channels; ++channel) {
					pixels[channel] = values[channel];
					pixels[out.pixel + channel] = values[channels + channel];
				}
				values += in.pixel;
				pixels += 2 * out.pixel;
			}
			const int row_values = out.width * static_cast<int>(out.pixel);
			apply_curve_to_all(outer, out.at(2 * y + half, 0), row_values);
		}
	}
}

void net_sample(const NetTensor &in, const float *matrix, const NetTensor &out)
{
	const auto last_x = static_cast<float>(in.width - 1);
	const auto last_y = static_cast<float>(in.height - 1);
	for_each_place(out, [&](auto d, int y, int x, int channel) HWY_ATTR {
		const float column = static_cast<float>(x) + 0.5F;
		const float line = static_cast<float>(y) + 0.5F;
		const float place_x = matrix[0] * column + matrix[1] * line + matrix[2] - 0.5F;
		const float place_y = matrix[3] * column + matrix[4] * line + matrix[5] - 0.5F;
		auto value = hn::Zero(d);
		// False as well for what is no number.
		if (place_x >= 0 && place_x <= last_x && place_y >= 0 && place_y <= last_y) {
			const int left = static_cast<int>(place_x);
			const int top = static_cast<int>(place_y);
			const float *above = in.at(top, left) + channel;
			const float *below = above + (top + 1 < in.height ? in.row : 0);
			const ptrdiff_t right = left + 1 < in.width ? in.pixel : 0;
			const auto weight = hn::Set(d, place_x - static_cast<float>(left));
			const auto upper = between(d, above, above + right, weight);
			const auto lower = between(d, below, below + right, weight);
			const auto down = hn::Set(d, place_y - static_cast<float>(top));
			value = hn::Add(upper, hn::Mul(hn::Sub(lower, upper), down));
		}
		hn::StoreU(value, d, out.at(y, x) + channel);
	});
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(net_convolve);
HWY_EXPORT(net_convolve_depthwise);
HWY_EXPORT(net_add);
HWY_EXPORT(net_multiply);
HWY_EXPORT(net_max_pool);
HWY_EXPORT(net_mean);
HWY_EXPORT(net_upsample);
HWY_EXPORT(net_spread);
HWY_EXPORT(net_sample);

void net_convolve(const NetTensor &in, const NetTensor &out, const NetKernel &kernel, const NetFinish &finish)
{
	HWY_DYNAMIC_DISPATCH(net_convolve)(in, out, kernel, finish);
}

void net_convolve_depthwise(const NetTensor &in, const NetTensor &out, const NetKernel &kernel, const NetFinish &finish)
{
	HWY_DYNAMIC_DISPATCH(net_convolve_depthwise)(in, out, kernel, finish);
}

void net_add(const NetTensor &in, const NetTensor *second, const NetTensor &out, const NetFinish &finish)
{
	HWY_DYNAMIC_DISPATCH(net_add)(in, second, out, finish);
}

void net_multiply(const NetTensor &in, const NetTensor &second, const NetTensor &out, const NetFinish &finish)
{
	HWY_DYNAMIC_DISPATCH(net_multiply)(in, second, out, finish);
}

void net_max_pool(const NetTensor &in, const NetTensor &out)
{
	HWY_DYNAMIC_DISPATCH(net_max_pool)(in, out);
}

void net_mean(const NetTensor &in, const NetTensor &out)
{
	HWY_DYNAMIC_DISPATCH(net_mean)(in, out);
}

void net_upsample(const NetTensor &in, const NetTensor &out)
{
	HWY_DYNAMIC_DISPATCH(net_upsample)(in, out);
}

void net_spread(const NetTensor &in, const NetTensor &out, NetCurve outer)
{
	HWY_DYNAMIC_DISPATCH(net_spread)(in, out, outer);
}

void net_sample(const NetTensor &in, const float *matrix, const NetTensor &out)
{
	HWY_DYNAMIC_DISPATCH(net_sample)(in, matrix, out);
}

} // namespace kalvio::engine::kernels
#endif
