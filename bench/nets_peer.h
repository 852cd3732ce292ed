// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/net_file.h"

#include <memory>
#include <span>

namespace kalvio::bench {

// A net in another library, on one thread.
class NetsPeer {
public:
	virtual ~NetsPeer() = default;
	virtual std::span<float> input() = 0;
	virtual void run() = 0;
	// Empty where the peer cannot work it out.
	virtual std::span<const float> output(int index) = 0;
};

// What the library has no operation for, crops around points, is left out: its crops are empty pictures, and the points
// in them are not worked out. Null where the library is not installed. Throws std::runtime_error.
std::unique_ptr<NetsPeer> xnnpack_peer(const engine::NetFile &file);

} // namespace kalvio::bench
