// SPDX-License-Identifier: GPL-2.0-or-later
#include "retouch_measures.h"

#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>

namespace kalvio::bench {

Method photo_method()
{
	return [](const Image &picture) {
		Image out = picture;
		const cv::Mat whole(picture.height, picture.width, CV_8UC4,
				    const_cast<uint8_t *>(picture.pixels.data()));
		cv::Mat color;
		cv::cvtColor(whole, color, cv::COLOR_RGBA2RGB);
		cv::Mat result;
		cv::edgePreservingFilter(color, result, cv::RECURS_FILTER, 20, 0.2F);
		cv::Mat out_whole(out.height, out.width, CV_8UC4, out.pixels.data());
		cv::cvtColor(result, out_whole, cv::COLOR_RGB2RGBA);
		return out;
	};
}

} // namespace kalvio::bench
