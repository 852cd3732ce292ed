// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "kernels/kernels.h"
#include "pool.h"
#include "stages/retouch_field.h"

#include <algorithm>
#include <vector>

namespace kalvio::engine::testing {
namespace {

// A disc of skin on a green wall.
Picture disc_of_skin(int width, int height, int center_x, int radius)
{
	Picture picture(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const int dx = x - center_x;
			const int dy = y - height / 2;
			const bool is_skin = dx * dx + dy * dy < radius * radius;
			const uint8_t shade = static_cast<uint8_t>((x * 7 + y * 13) % 9);
			const uint8_t skin[] = {uint8_t(205 + shade), uint8_t(155 + shade), uint8_t(130 + shade), 255};
			const uint8_t wall[] = {uint8_t(30 + shade), uint8_t(120 + shade), uint8_t(60 + shade), 255};
			std::copy_n(is_skin ? skin : wall, 4, picture.pixel(x, y));
		}
	}
	return picture;
}

// One row of a picture in scratch memory, retouched.
class RetouchedRow {
public:
	RetouchedRow(const Picture &picture, RetouchField &field, int y, const RowPart &part)
		: bytes_(size_t(picture.width) * 4 + 2 * kernels::row_padding_bytes)
	{
		std::copy_n(picture.pixel(0, y), size_t(picture.width) * 4, pixel(0));
		if (part.width > 0)
			kernels::retouch_row(pixel(part.x), part.width, field.row(y, part, 0), field.cell_pixels(),
					     true, y);
	}

	uint8_t *pixel(int x) { return bytes_.data() + kernels::row_padding_bytes + size_t(x) * 4; }

private:
	std::vector<uint8_t> bytes_;
};

struct PixelCounts {
	int left_out = 0;
	int of_skin = 0;
	int of_skin_at_the_ends = 0;
};

// The part of a row that may be skin gets what it gets in a whole row, and the mask is 0 everywhere else.
PixelCounts compare_parts(const Picture &picture)
{
	Settings settings;
	settings.smoothing = 1;
	settings.skin_only = true;
	Pool pool(1);
	RetouchField field;
	const Frame frame = {picture.bytes.data(), nullptr, picture.width, picture.height, picture.stride};
	field.build(frame, settings, pool);
	PixelCounts counts;
	for (int y = 0; y < picture.height; ++y) {
		const RowPart part = field.skin_part(y);
		EXPECT_EQ(part.x % RetouchField::part_pixels, 0);
		EXPECT_LE(part.x + part.width, picture.width);
		RetouchedRow whole(picture, field, y, {0, picture.width});
		RetouchedRow partly(picture, field, y, part);
		for (int x = 0; x < picture.width; ++x) {
			if (x >= part.x && x < part.x + part.width) {
				EXPECT_TRUE(std::equal(whole.pixel(x), whole.pixel(x) + 4, partly.pixel(x)))
					<< x << " " << y;
				const int is_skin = whole.pixel(x)[3] > 0 ? 1 : 0;
				counts.of_skin += is_skin;
				counts.of_skin_at_the_ends += x == 0 || x + 1 == picture.width ? is_skin : 0;
			} else {
				EXPECT_EQ(whole.pixel(x)[3], 0) << x << " " << y;
				EXPECT_TRUE(std::equal(whole.pixel(x), whole.pixel(x) + 3, picture.pixel(x, y)));
				++counts.left_out;
			}
		}
	}
	return counts;
}

TEST(RetouchFieldTest, WhatIsNoSkinIsLeftOut)
{
	const PixelCounts counts = compare_parts(disc_of_skin(640, 360, 320, 70));
	EXPECT_GT(counts.of_skin, 10'000);
	EXPECT_GT(counts.left_out, 640 * 360 / 2);
}

TEST(RetouchFieldTest, SkinAtARowsEndIsFound)
{
	EXPECT_GT(compare_parts(disc_of_skin(650, 360, 120, 150)).of_skin_at_the_ends, 0);
	EXPECT_GT(compare_parts(disc_of_skin(650, 360, 530, 150)).of_skin_at_the_ends, 0);
	EXPECT_GT(compare_parts(disc_of_skin(1001, 1700, 700, 350)).of_skin_at_the_ends, 0); // cells of 8 pixels
}

TEST(RetouchFieldTest, ANarrowFrameIsOnePart)
{
	compare_parts(disc_of_skin(21, 360, 10, 160));
	compare_parts(disc_of_skin(33, 360, 16, 160));
}

} // namespace
} // namespace kalvio::engine::testing
