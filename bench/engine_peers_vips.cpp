// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_bench.h"

#include <vips/vips.h>

#include <memory>

namespace kalvio::bench {

std::vector<Peer> vips_peers()
{
	if (VIPS_INIT("engine_bench") != 0)
		return {};
	vips_cache_set_max(0); // or the second run would only hand out the first one's picture
	return {{Work::Blur, "libvips gaussblur", [](const Frame &frame, int threads) -> Peer::Prepared {
			 vips_concurrency_set(threads);
			 auto rgb = std::make_shared<std::vector<uint8_t>>();
			 for (size_t index = 0; index < frame.pixels.size(); index += 4)
				 rgb->insert(rgb->end(), &frame.pixels[index], &frame.pixels[index] + 3);
			 const int width = frame.width;
			 const int height = frame.height;
			 return {[=] {
					 VipsImage *input = vips_image_new_from_memory(rgb->data(), rgb->size(), width,
										       height, 3, VIPS_FORMAT_UCHAR);
					 VipsImage *output = nullptr;
					 vips_gaussblur(input, &output, blur_sigma, "precision", VIPS_PRECISION_INTEGER,
							nullptr);
					 size_t size = 0;
					 g_free(vips_image_write_to_memory(output, &size));
					 g_object_unref(output);
					 g_object_unref(input);
				 },
				 nullptr};
		 }}};
}

} // namespace kalvio::bench
