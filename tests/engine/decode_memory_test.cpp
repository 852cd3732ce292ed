// SPDX-License-Identifier: GPL-2.0-or-later
#include "bundle.h"
#include "engine_fixture.h"
#include "image_reader.h"
#include "image_writer.h"
#include "jpeg_files.h"
#include "kit/heap_probe.h"

#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <new>

// The memory libraries of JPEG, PNG and ZIP give theirs back however a reading ends. A program of its own: it takes the
// place of malloc.
namespace {

using namespace kalvio::engine;
using namespace kalvio::test;

size_t bytes_in_use()
{
	const struct mallinfo2 information = mallinfo2();
	return information.uordblks + information.hblkhd;
}

enum class Outcome { Read, Refused, OutOfMemory };

Outcome outcome_of(const std::function<ReadResult()> &read)
{
	try {
		return read() ? Outcome::Read : Outcome::Refused;
	} catch (const std::bad_alloc &) {
		return Outcome::OutOfMemory;
	}
}

// Reads again and again while one allocation fails, each time a larger one, and looks at what stays in use. Some
// failures cost nothing: a library asks again for less.
void expect_no_leak(const std::function<ReadResult()> &read)
{
	ASSERT_EQ(outcome_of(read), Outcome::Read); // also takes what the libraries keep for good
	int failed_reads = 0;
	const size_t before = bytes_in_use();
	for (size_t at_least = 16; at_least <= size_t{1} << 20; at_least *= 2) {
		fail_next_heap_allocation(at_least);
		failed_reads += outcome_of(read) == Outcome::Read ? 0 : 1;
		cancel_heap_failure();
	}
	const size_t after = bytes_in_use();
	EXPECT_GE(failed_reads, 5);
	EXPECT_LE(after, before + 1024); // a decoder or an archive takes tens of kilobytes
}

Image picture()
{
	Image image;
	image.resize(512, 512);
	for (size_t byte = 0; byte < image.pixels.size(); ++byte)
		image.pixels[byte] = static_cast<uint8_t>(byte * 7 / 13);
	return image;
}

TEST(DecodeMemory, OfAFailedJpegIsGivenBack)
{
	const Bytes jpeg = kalvio::engine::testing::jpeg_of(picture());
	expect_no_leak([&] {
		Image image;
		return decode_image(jpeg, image);
	});
}

TEST(DecodeMemory, OfAFailedPngIsGivenBack)
{
	const Bytes png = encode_png(picture());
	expect_no_leak([&] {
		Image image;
		return decode_image(png, image);
	});
}

TEST(DecodeMemory, OfAFailedBundleIsGivenBack)
{
	const kalvio::engine::testing::ScratchFolder scratch;
	const std::string path =
		scratch.write_bundle("a.kld", "filter", 1, {{"table.rgb16", Bytes(size_t{300} << 10, 7)}});
	expect_no_leak([&]() -> ReadResult {
		Bundle bundle;
		if (ReadResult result = bundle.open(path.c_str(), "filter"); !result)
			return result;
		Bytes content;
		return bundle.read("table.rgb16", content);
	});
}

// What this looks at would show a decoder that is not freed.
TEST(DecodeMemory, IsSeenWhenItIsKept)
{
	const size_t before = bytes_in_use();
	const auto kept = std::make_unique<Bytes>(size_t{64} << 10);
	EXPECT_GT(bytes_in_use(), before + kept->size() - 1);
}

} // namespace
