// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <span>

namespace kalvio::engine {

// A net with the memory of its run, as the face code uses it: what is written into `input` becomes `output` by `run`.
// Tests put a net of their own behind it. One thread at a time.
class RunnableNet {
public:
	RunnableNet() = default;
	virtual ~RunnableNet() = default;
	RunnableNet(const RunnableNet &) = delete;
	RunnableNet &operator=(const RunnableNet &) = delete;

	virtual std::span<float> input() = 0;
	// Neither allocates nor throws.
	virtual void run() = 0;
	// Valid until the next run.
	virtual std::span<const float> output(int index) const = 0;
};

} // namespace kalvio::engine
