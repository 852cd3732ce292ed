// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/makeup_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/makeup_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<float, makeup_padding>;
using Vector = hn::Vec<Tag>;
using Pixels = hn::RebindToSigned<Tag>;
using PixelVector = hn::Vec<Pixels>;

// light_of in vectors, for bytes.
HWY_INLINE Vector decode(Vector byte)
{
	const Tag d;
	const Vector value = hn::Mul(byte, hn::Set(d, 1.0F / 255));
	Vector light = hn::Add(hn::Mul(value, hn::Set(d, 0.305306F)), hn::Set(d, 0.682171F));
	light = hn::Add(hn::Mul(light, value), hn::Set(d, 0.0125229F));
	return hn::Mul(light, value);
}

// The inverse of `decode` within 0.05 of a level, by least squares over the bytes. Square roots alone: they are exact
// on every processor, powers are not.
HWY_INLINE Vector encode(Vector light)
{
	const Tag d;
	const Vector root = hn::Sqrt(light);
	const Vector fourth = hn::Sqrt(root);
	const Vector per_root =
		hn::Add(hn::Add(hn::Set(d, 1.5589160F * 255), hn::Mul(light, hn::Set(d, -0.0085562F * 255))),
			hn::Mul(fourth, hn::Set(d, -0.6147110F * 255)));
	return hn::Add(hn::Add(hn::Mul(root, per_root), hn::Mul(fourth, hn::Set(d, -0.0895832F * 255))),
		       hn::Mul(light, hn::Set(d, 0.1540997F * 255)));
}

template <int Channel>
HWY_INLINE PixelVector channel(PixelVector pixels, const MakeupPlanes &planes, int x)
{
	const Tag d;
	const Pixels di;
	const PixelVector byte = hn::And(hn::ShiftRight<Channel * 8>(pixels), hn::Set(di, 255));
	const Vector gain = hn::LoadU(d, planes.gain[Channel] + x);
	const Vector add = hn::LoadU(d, planes.add[Channel] + x);
	const Vector light = hn::Add(hn::Mul(decode(hn::ConvertTo(d, byte)), gain), add);
	const Vector bounded = hn::Min(hn::Max(light, hn::Zero(d)), hn::Set(d, 1));
	// A value above 0.5 of the last step is the last one; the conversion cuts.
	PixelVector out = hn::ConvertTo(di, hn::Add(encode(bounded), hn::Set(d, 0.5F)));
	out = hn::Min(hn::Max(out, hn::Zero(di)), hn::Set(di, 255));
	const auto neutral = hn::And(hn::Eq(gain, hn::Set(d, 1)), hn::Eq(add, hn::Zero(d)));
	return hn::ShiftLeft<Channel * 8>(hn::IfThenElse(hn::RebindMask(di, neutral), byte, out));
}

HWY_INLINE bool leaves_all(const MakeupPlanes &planes, int x)
{
	const Tag d;
	Vector off = hn::Zero(d);
	for (int index = 0; index < 3; ++index) {
		off = hn::Add(off, hn::Abs(hn::Sub(hn::LoadU(d, planes.gain[index] + x), hn::Set(d, 1))));
		off = hn::Add(off, hn::Abs(hn::LoadU(d, planes.add[index] + x)));
	}
	return hn::AllTrue(d, hn::Eq(off, hn::Zero(d)));
}

void makeup_row(uint8_t *HWY_RESTRICT row, int count, const MakeupPlanes &planes)
{
	const Pixels di;
	const hn::Repartition<uint8_t, Pixels> d8;
	const int lanes = static_cast<int>(hn::Lanes(di));
	const PixelVector alpha = hn::Set(di, static_cast<int32_t>(0xFF000000U));
	for (int x = 0; x < count; x += lanes) {
		if (leaves_all(planes, x))
			continue;
		const PixelVector pixels = hn::BitCast(di, hn::LoadU(d8, row + x * 4));
		const PixelVector color = hn::Or(channel<0>(pixels, planes, x),
						 hn::Or(channel<1>(pixels, planes, x), channel<2>(pixels, planes, x)));
		hn::StoreU(hn::BitCast(d8, hn::Or(color, hn::And(pixels, alpha))), d8, row + x * 4);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(makeup_row);

void makeup_row(uint8_t *row, int count, const MakeupPlanes &planes)
{
	HWY_DYNAMIC_DISPATCH(makeup_row)(row, count, planes);
}

} // namespace kalvio::engine::kernels
#endif
