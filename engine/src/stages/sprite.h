// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

#include <vector>

namespace kalvio::engine {

// A drawing of a sticker at its own size and at halves of it, so that it can be drawn small without flicker (Williams,
// "Pyramidal parametrics", 1983). Premultiplied.
class Sprite {
public:
	// `image` has straight alpha and at least one pixel.
	explicit Sprite(Image image);

	int width() const { return levels_.front().width; }
	int height() const { return levels_.front().height; }
	// The level of which about one pixel comes to one of the frame, where `scale` pixels of the frame come to one
	// of the whole drawing.
	const Image &level(float scale) const;

private:
	std::vector<Image> levels_; // the first is the whole one
};

} // namespace kalvio::engine
