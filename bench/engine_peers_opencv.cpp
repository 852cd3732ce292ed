// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_bench.h"

#include <opencv2/imgproc.hpp>
#include <opencv2/ximgproc/edge_filter.hpp>

#include <memory>

namespace kalvio::bench {

namespace {

using Filter = std::function<void(const cv::Mat &input, cv::Mat &output)>;

// OpenCV's filters take three channels: the conversion is not counted.
Peer opencv_peer(Work work, const std::string &name, const Filter &filter)
{
	return {work, "OpenCV " + name, [filter](const Frame &frame, int threads) -> Peer::Prepared {
			cv::setNumThreads(threads);
			const cv::Mat rgba(frame.height, frame.width, CV_8UC4,
					   const_cast<uint8_t *>(frame.pixels.data()));
			auto input = std::make_shared<cv::Mat>();
			auto output = std::make_shared<cv::Mat>();
			cv::cvtColor(rgba, *input, cv::COLOR_RGBA2RGB);
			return {[=] { filter(*input, *output); },
				[=] {
					cv::Mat back;
					cv::cvtColor(*output, back, cv::COLOR_RGB2RGBA);
					return Frame{back.cols, back.rows,
						     std::vector<uint8_t>(back.data, back.data + back.total() * 4)};
				}};
		}};
}

} // namespace

std::vector<Peer> opencv_peers()
{
	std::vector<Peer> peers;
	peers.push_back(opencv_peer(Work::Blur, "GaussianBlur", [](const cv::Mat &input, cv::Mat &output) {
		cv::GaussianBlur(input, output, cv::Size(), blur_sigma, blur_sigma, cv::BORDER_REPLICATE);
	}));
	// Few pixels of a strong blur differ from their neighbors: a smaller picture gives almost the same one.
	for (const int factor : {2, 4, 6, 8, 12}) {
		const auto small = std::make_shared<cv::Mat>();
		peers.push_back(opencv_peer(Work::Blur, "shrink, GaussianBlur, enlarge by " + std::to_string(factor),
					    [=](const cv::Mat &input, cv::Mat &output) {
						    const cv::Size size((input.cols + factor - 1) / factor,
									(input.rows + factor - 1) / factor);
						    cv::resize(input, *small, size, 0, 0, cv::INTER_AREA);
						    cv::GaussianBlur(*small, *small, cv::Size(), blur_sigma / factor,
								     blur_sigma / factor, cv::BORDER_REPLICATE);
						    cv::resize(*small, output, input.size(), 0, 0, cv::INTER_LINEAR);
					    }));
	}
	for (const double sigma : {20.0, 30.0, 45.0}) {
		peers.push_back(opencv_peer(Work::Smoothing, "bilateralFilter 9, " + std::to_string(int(sigma)),
					    [=](const cv::Mat &input, cv::Mat &output) {
						    cv::bilateralFilter(input, output, 9, sigma, 6);
					    }));
		peers.push_back(opencv_peer(Work::Smoothing, "dtFilter 12, " + std::to_string(int(sigma)),
					    [=](const cv::Mat &input, cv::Mat &output) {
						    cv::ximgproc::dtFilter(input, input, output, 12, sigma);
					    }));
		peers.push_back(opencv_peer(Work::Smoothing, "guidedFilter 6, " + std::to_string(int(sigma)),
					    [=](const cv::Mat &input, cv::Mat &output) {
						    cv::ximgproc::guidedFilter(input, input, output, 6, sigma * sigma);
					    }));
	}
	const auto blurred = std::make_shared<cv::Mat>(); // kept: memory that is new for each frame would slow it down
	peers.push_back(opencv_peer(Work::Sharpening, "3 x 3 unsharp", [=](const cv::Mat &input, cv::Mat &output) {
		cv::GaussianBlur(input, *blurred, cv::Size(3, 3), 0);
		cv::addWeighted(input, 2.5, *blurred, -1.5, 0, output);
	}));
	return peers;
}

} // namespace kalvio::bench
