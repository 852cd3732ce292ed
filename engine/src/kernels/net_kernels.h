// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>

// The operations of nets, compiled for every instruction set and picked at run time. All of them give the same bytes on
// each: every value is made by the same operations in the same order whatever the number of lanes, multiplied and then
// added, never both in one.
//
// A tensor has its channels rounded up to whole groups of eight; the channels beyond the real ones hold anything finite
// and reach no real one. Dense tensors have no such channels: the input of a net, where convolutions alone read it, and
// what net_spread writes for nobody within the net.
namespace kalvio::engine::kernels {

inline constexpr int net_channel_group = 8;
// Weights of convolutions lie in blocks of this many output channels, and a last block of 8 where the channels, rounded
// up to eight, end so: for each value of the kernel, one after the other, the block's weights.
inline constexpr int net_weight_block = 16;

struct NetTensor {
	float *first; // the upper left pixel, inside of the border
	int height;
	int width;
	int channels;
	ptrdiff_t pixel; // floats from a pixel to the next one: the channels, rounded up
	ptrdiff_t row;   // floats from a row to the next one

	float *at(int y, int x) const { return first + y * row + x * pixel; }
};

enum class NetCurve { None, Relu, PRelu, HardSwish, Logistic };

// What is done to a value before it is stored: outer(inner(value) + residual).
struct NetFinish {
	NetCurve inner = NetCurve::None;
	NetCurve outer = NetCurve::None;
	const float *slopes = nullptr;       // of PRelu, one for each channel, rounded up
	const NetTensor *residual = nullptr; // of the output's size, perhaps with fewer channels
};

struct NetKernel {
	int height;
	int width;
	int stride;
	int pad_top;
	int pad_left;
	const float *weights; // Convolution: in blocks; Depthwise: rows of pixels of channels, rounded up
	const float *bias;    // one for each channel, rounded up
};

// The sums begin with the bias; then come the rows, pixels and channels of the kernel, in this order. The input has a
// border of zeros as wide as the kernel reaches.
void net_convolve(const NetTensor &in, const NetTensor &out, const NetKernel &kernel, const NetFinish &finish);
void net_convolve_depthwise(const NetTensor &in, const NetTensor &out, const NetKernel &kernel,
			    const NetFinish &finish);

// out = finish(in + second); `second` may have fewer channels. Null: finish(in).
void net_add(const NetTensor &in, const NetTensor *second, const NetTensor &out, const NetFinish &finish);
// out = finish(in * second), where `second` is one pixel.
void net_multiply(const NetTensor &in, const NetTensor &second, const NetTensor &out, const NetFinish &finish);

// The largest of 2 x 2 pixels.
void net_max_pool(const NetTensor &in, const NetTensor &out);
// The mean of all pixels.
void net_mean(const NetTensor &in, const NetTensor &out);
// Twice as high and wide, bilinear between the pixels' centers; the rim continues.
void net_upsample(const NetTensor &in, const NetTensor &out);

// The channels of a pixel become 2 x 2 pixels of a quarter as many: upper left, upper right, lower left, lower right.
// `outer` has no slopes.
void net_spread(const NetTensor &in, const NetTensor &out, NetCurve outer);

// Pixel (i, j) of `out` is what `in` is at matrix * (i + 0.5, j + 0.5, 1) - 0.5, bilinear; 0 outside of the centers of
// the outermost pixels and where the matrix is not finite. `matrix`: two rows of three.
void net_sample(const NetTensor &in, const float *matrix, const NetTensor &out);

} // namespace kalvio::engine::kernels
