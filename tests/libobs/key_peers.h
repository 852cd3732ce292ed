// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/picture.h"

// Keys that do what two filters of ffmpeg do, with its despill behind them, written anew: distances in the plane of
// chroma, mean of 3 x 3, or in RGB, and the key's channel held down to the mean of the two others.
namespace kalvio::test {

enum class KeyPeer { ChromaKey, ColorKey };

struct KeyPeerSettings {
	double similarity;
	double blend;
	bool despill;
};

// `color`: 0 green, 1 blue; `screen`: the screen's color, as a user picks it.
Picture keyed_by_peer(KeyPeer peer, const Picture &camera, int color, Rgba screen, const KeyPeerSettings &settings);

} // namespace kalvio::test
