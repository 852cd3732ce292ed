// SPDX-License-Identifier: GPL-2.0-or-later
#include "effects_peer.h"

#include <opencv2/imgproc.hpp>

#include <memory>

namespace kalvio::bench {

std::function<void()> make_remap_peer(const engine::Frame &frame, const RemapPlaces &places)
{
	cv::setNumThreads(1);
	struct Pictures {
		cv::Mat source;
		cv::Mat map;
		cv::Mat output;
	};
	const auto pictures = std::make_shared<Pictures>();
	pictures->source = cv::Mat(frame.height, frame.width, CV_8UC4);
	for (int y = 0; y < frame.height; ++y)
		std::copy_n(frame.input_row(y), frame.row_bytes(), pictures->source.ptr(y));
	pictures->map = cv::Mat(places.height, places.width, CV_32FC2);
	std::copy(places.places.begin(), places.places.end(), pictures->map.ptr<float>());
	return [pictures] {
		cv::remap(pictures->source, pictures->output, pictures->map, cv::Mat(), cv::INTER_LINEAR);
	};
}

} // namespace kalvio::bench
