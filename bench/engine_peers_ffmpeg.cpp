// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_bench.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <memory>
#include <stdexcept>

namespace kalvio::bench {

namespace {

// One filter chain that is fed frames of `format` and hands out what the chain makes of them.
class Graph {
public:
	Graph(const std::string &chain, AVPixelFormat format, int width, int height, int threads)
	{
		graph_.reset(avfilter_graph_alloc());
		graph_->nb_threads = threads;
		const std::string source = "video_size=" + std::to_string(width) + "x" + std::to_string(height) +
					   ":pix_fmt=" + std::to_string(int(format)) + ":time_base=1/30";
		AVFilterContext *sink = nullptr;
		check(avfilter_graph_create_filter(&source_, avfilter_get_by_name("buffer"), "in", source.c_str(),
						   nullptr, graph_.get()));
		check(avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
						   graph_.get()));
		sink_ = sink;
		AVFilterInOut *outputs = avfilter_inout_alloc();
		AVFilterInOut *inputs = avfilter_inout_alloc();
		*outputs = {av_strdup("in"), source_, 0, nullptr};
		*inputs = {av_strdup("out"), sink_, 0, nullptr};
		const int status = avfilter_graph_parse_ptr(graph_.get(), chain.c_str(), &inputs, &outputs, nullptr);
		avfilter_inout_free(&inputs);
		avfilter_inout_free(&outputs);
		check(status);
		check(avfilter_graph_config(graph_.get(), nullptr));
	}

	// The caller keeps `frame`; the result is valid until the next call.
	const AVFrame *run(AVFrame *frame)
	{
		frame->pts = pts_++;
		check(av_buffersrc_add_frame_flags(source_, frame, AV_BUFFERSRC_FLAG_KEEP_REF));
		av_frame_unref(result_.get());
		check(av_buffersink_get_frame(sink_, result_.get()));
		return result_.get();
	}

private:
	struct Free {
		void operator()(AVFilterGraph *graph) const { avfilter_graph_free(&graph); }
		void operator()(AVFrame *frame) const { av_frame_free(&frame); }
	};

	static void check(int status)
	{
		if (status < 0)
			throw std::runtime_error("ffmpeg: " + std::to_string(status));
	}

	std::unique_ptr<AVFilterGraph, Free> graph_;
	std::unique_ptr<AVFrame, Free> result_{av_frame_alloc()};
	AVFilterContext *source_ = nullptr;
	AVFilterContext *sink_ = nullptr;
	int64_t pts_ = 0;
};

using FramePointer = std::shared_ptr<AVFrame>;

FramePointer rgba_frame(const Frame &frame)
{
	FramePointer result(av_frame_alloc(), [](AVFrame *pointer) { av_frame_free(&pointer); });
	result->format = AV_PIX_FMT_RGBA;
	result->width = frame.width;
	result->height = frame.height;
	av_frame_get_buffer(result.get(), 64);
	for (int y = 0; y < frame.height; ++y)
		std::memcpy(result->data[0] + y * result->linesize[0],
			    frame.pixels.data() + size_t(y) * size_t(frame.width) * 4, size_t(frame.width) * 4);
	return result;
}

FramePointer converted(const FramePointer &frame, AVPixelFormat format)
{
	Graph graph(std::string("scale,format=") + av_get_pix_fmt_name(format), AVPixelFormat(frame->format),
		    frame->width, frame->height, 1);
	const AVFrame *result = graph.run(frame.get());
	return {av_frame_clone(result), [](AVFrame *pointer) {
			av_frame_free(&pointer);
		}};
}

// Each filter gets the format that suits it best; conversions are not counted.
Peer ffmpeg_peer(Work work, const std::string &chain, AVPixelFormat format)
{
	const std::string name = "ffmpeg " + chain.substr(0, chain.find('=')) + " " + av_get_pix_fmt_name(format);
	return {work, name, [=](const Frame &frame, int threads) -> Peer::Prepared {
			FramePointer input = rgba_frame(frame);
			if (format != AV_PIX_FMT_RGBA)
				input = converted(input, format);
			auto graph = std::make_shared<Graph>(chain, format, frame.width, frame.height, threads);
			auto last = std::make_shared<const AVFrame *>(nullptr);
			return {[=] { *last = graph->run(input.get()); },
				[=] {
					const FramePointer copy(av_frame_clone(*last),
								[](AVFrame *p) { av_frame_free(&p); });
					const FramePointer rgba = converted(copy, AV_PIX_FMT_RGBA);
					Frame back = {rgba->width, rgba->height, {}};
					for (int y = 0; y < rgba->height; ++y) {
						const uint8_t *row = rgba->data[0] + y * rgba->linesize[0];
						back.pixels.insert(back.pixels.end(), row, row + rgba->width * 4);
					}
					return back;
				}};
		}};
}

} // namespace

std::vector<Peer> ffmpeg_peers(const std::string &cube_path)
{
	av_log_set_level(AV_LOG_ERROR);
	const std::string sigma = std::to_string(blur_sigma);
	const std::string table = "lut3d=file=" + cube_path + ":interp=tetrahedral";
	std::vector<Peer> peers = {
		ffmpeg_peer(Work::ColorFilter, table, AV_PIX_FMT_RGBA),
		ffmpeg_peer(Work::ColorFilter, table, AV_PIX_FMT_GBRP),
		ffmpeg_peer(Work::ColorFilter, table, AV_PIX_FMT_GBRP16),
		ffmpeg_peer(Work::ColorFilter, table, AV_PIX_FMT_GBRPF32),
		ffmpeg_peer(Work::ChromaKey,
			    "colorkey=color=0x00ff00:similarity=0.3:blend=0.1,despill=type=green:mix=0.5",
			    AV_PIX_FMT_RGBA),
		ffmpeg_peer(Work::Blur, "gblur=sigma=" + sigma, AV_PIX_FMT_GBRP),
		ffmpeg_peer(Work::Sharpening, "unsharp=3:3:1.5:3:3:0", AV_PIX_FMT_YUV444P),
		ffmpeg_peer(Work::Smoothing, "bilateral=sigmaS=6:sigmaR=0.12:planes=7", AV_PIX_FMT_GBRP),
	};
	// The key works in YUV, the despill in RGB: the conversion between the two belongs to neither. They are timed
	// as one peer by two graphs.
	peers.push_back({Work::ChromaKey, "ffmpeg chromakey yuva444p + despill rgba",
			 [](const Frame &frame, int threads) -> Peer::Prepared {
				 const FramePointer rgba = rgba_frame(frame);
				 const FramePointer yuv = converted(rgba, AV_PIX_FMT_YUVA444P);
				 auto key = std::make_shared<Graph>("chromakey=color=0x00ff00:similarity=0.3:blend=0.1",
								    AV_PIX_FMT_YUVA444P, frame.width, frame.height,
								    threads);
				 auto despill = std::make_shared<Graph>("despill=type=green:mix=0.5", AV_PIX_FMT_RGBA,
									frame.width, frame.height, threads);
				 return {[=] {
						 key->run(yuv.get());
						 despill->run(rgba.get());
					 },
					 nullptr};
			 }});
	return peers;
}

} // namespace kalvio::bench
