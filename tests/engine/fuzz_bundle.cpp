// SPDX-License-Identifier: GPL-2.0-or-later

// A fuzz target: any bytes as a bundle of each kind, and as a picture. Nothing may crash, hang, leak, or take more
// memory than the limits allow.
#include "bundle.h"
#include "image.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	using namespace kalvio::engine;
	const Bytes bytes(data, data + size);
	for (const char *kind : {"resource", "filter", "sticker", "sticker3d"}) {
		Bundle bundle;
		Bytes content;
		if (!bundle.open(bytes, kind))
			continue;
		for (const char *entry : {"manifest.json", "table.rgb16", "a.png"})
			static_cast<void>(bundle.read(entry, content));
	}
	Image image;
	static_cast<void>(decode_image(bytes, image));
	return 0;
}
