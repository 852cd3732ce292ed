// SPDX-License-Identifier: GPL-2.0-or-later
#include "effects_peer.h"

namespace kalvio::bench {

std::function<void()> make_remap_peer(const engine::Frame &, const RemapPlaces &)
{
	return {};
}

} // namespace kalvio::bench
