// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets_roofline.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "nets_roofline.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::bench::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Twelve sums, none of which waits for another.
float multiply_and_add(double products)
{
	const hn::ScalableTag<float> d;
	constexpr int sums = 12;
	const auto factor = hn::Set(d, 0.999F);
	const auto weight = hn::Set(d, 1e-3F);
	auto a = hn::Iota(d, 0.0F), b = hn::Iota(d, 1.0F), c = hn::Iota(d, 2.0F), e = hn::Iota(d, 3.0F);
	auto f = hn::Iota(d, 4.0F), g = hn::Iota(d, 5.0F), h = hn::Iota(d, 6.0F), i = hn::Iota(d, 7.0F);
	auto j = hn::Iota(d, 8.0F), k = hn::Iota(d, 9.0F), l = hn::Iota(d, 10.0F), m = hn::Iota(d, 11.0F);
	const auto rounds = static_cast<long>(products / (sums * static_cast<double>(hn::Lanes(d))));
	for (long round = 0; round < rounds; ++round) {
		a = hn::Add(hn::Mul(a, factor), weight);
		b = hn::Add(hn::Mul(b, factor), weight);
		c = hn::Add(hn::Mul(c, factor), weight);
		e = hn::Add(hn::Mul(e, factor), weight);
		f = hn::Add(hn::Mul(f, factor), weight);
		g = hn::Add(hn::Mul(g, factor), weight);
		h = hn::Add(hn::Mul(h, factor), weight);
		i = hn::Add(hn::Mul(i, factor), weight);
		j = hn::Add(hn::Mul(j, factor), weight);
		k = hn::Add(hn::Mul(k, factor), weight);
		l = hn::Add(hn::Mul(l, factor), weight);
		m = hn::Add(hn::Mul(m, factor), weight);
	}
	auto total = hn::Add(hn::Add(hn::Add(a, b), hn::Add(c, e)), hn::Add(hn::Add(f, g), hn::Add(h, i)));
	total = hn::Add(total, hn::Add(hn::Add(j, k), hn::Add(l, m)));
	return hn::GetLane(hn::SumOfLanes(d, total));
}

} // namespace kalvio::bench::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::bench {

HWY_EXPORT(multiply_and_add);

float Roofline::run() const
{
	return HWY_DYNAMIC_DISPATCH(multiply_and_add)(products_);
}

} // namespace kalvio::bench
#endif
