// SPDX-License-Identifier: GPL-2.0-or-later
#include "retouch_measures.h"

#include <opencv2/imgproc.hpp>

namespace kalvio::bench {

namespace {

// Runs `work` on the picture's three channels.
template <typename Work>
Image with_opencv(const Image &picture, const Work &work)
{
	const cv::Mat whole(picture.height, picture.width, CV_8UC4, const_cast<uint8_t *>(picture.pixels.data()));
	cv::Mat color;
	cv::cvtColor(whole, color, cv::COLOR_RGBA2RGB);
	const cv::Mat result = work(color);
	Image out = picture;
	cv::Mat out_whole(out.height, out.width, CV_8UC4, out.pixels.data());
	cv::cvtColor(result, out_whole, cv::COLOR_RGB2RGBA);
	return out;
}

// He, Sun and Tang, "Guided Image Filtering" (2013), each channel guided by itself.
cv::Mat guided(const cv::Mat &color, int radius, double epsilon)
{
	const cv::Size window(2 * radius + 1, 2 * radius + 1);
	const auto box = [&](const cv::Mat &values) {
		cv::Mat mean;
		cv::boxFilter(values, mean, CV_32F, window);
		return mean;
	};
	cv::Mat values;
	color.convertTo(values, CV_32F);
	const cv::Mat mean = box(values);
	const cv::Mat variance = box(values.mul(values)) - mean.mul(mean);
	const cv::Mat slope = variance / (variance + cv::Scalar::all(epsilon));
	const cv::Mat offset = mean - slope.mul(mean);
	const cv::Mat result = box(slope).mul(values) + box(offset);
	cv::Mat bytes;
	result.convertTo(bytes, CV_8U);
	return bytes;
}

} // namespace

std::vector<std::pair<std::string, Method>> peer_methods()
{
	cv::setNumThreads(1);
	// Windows of a frame of 1080 rows.
	const auto bilateral = [](const Image &picture) {
		return with_opencv(picture, [](const cv::Mat &color) {
			cv::Mat result;
			cv::bilateralFilter(color, result, 31, 30, 12);
			return result;
		});
	};
	const auto guided_filter = [](const Image &picture) {
		return with_opencv(picture, [](const cv::Mat &color) { return guided(color, 14, 30.0 * 30.0); });
	};
	// The retoucher's way by hand: the low frequencies are blurred, the high ones put back.
	const auto frequencies = [](const Image &picture) {
		return with_opencv(picture, [](const cv::Mat &color) {
			cv::Mat values;
			color.convertTo(values, CV_32F);
			cv::Mat low;
			cv::Mat smooth;
			cv::GaussianBlur(values, low, cv::Size(), 3);
			cv::GaussianBlur(values, smooth, cv::Size(), 12);
			cv::Mat result;
			cv::Mat(values - low + smooth).convertTo(result, CV_8U);
			return result;
		});
	};
	std::vector<std::pair<std::string, Method>> methods = {
		{"OpenCV bilateral d31 s30", bilateral},
		{"guided filter r14 e30", guided_filter},
		{"frequency separation 3/12", frequencies},
	};
	if (Method photo = photo_method())
		methods.emplace_back("OpenCV edge-preserving", std::move(photo));
	return methods;
}

} // namespace kalvio::bench
