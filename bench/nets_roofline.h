// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio::bench {

// So many products as a net has, multiplied and then added in as many and as wide registers as keep the processor busy,
// and nothing else: no run of the net is quicker. Fused products, which the engine leaves out for the sake of the same
// bytes everywhere, would take half as long on processors that multiply and add in the same units.
class Roofline {
public:
	explicit Roofline(double products) : products_(products) {}
	float run() const; // the sum, for somebody to look at, so that it is made

private:
	double products_;
};

} // namespace kalvio::bench
