// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/beauty_params.h"

#include <gtest/gtest.h>
#include <type_traits>

// The numbers are stored in scene collections and handed to the engine: they may never move.
namespace {

using namespace kalvio::beauty_params;

// The enumerators in the order of their numbers, from 0.
template <class Enum>
void expect_numbered_from_zero(std::initializer_list<Enum> enumerators)
{
	static_assert(std::is_same_v<std::underlying_type_t<Enum>, int>);
	int number = 0;
	for (const Enum enumerator : enumerators)
		EXPECT_EQ(static_cast<int>(enumerator), number++);
}

TEST(BeautyParams, SkinStylesHaveTheirNumbers)
{
	expect_numbered_from_zero({SmoothingStyle::Natural, SmoothingStyle::Texture, SmoothingStyle::Smooth});
	expect_numbered_from_zero({WhiteningStyle::ColdWhite, WhiteningStyle::PinkWhite, WhiteningStyle::WarmWhite,
				   WhiteningStyle::Wheat, WhiteningStyle::Tan});
}

TEST(BeautyParams, LipAndCheekChoicesHaveTheirNumbers)
{
	expect_numbered_from_zero({LipstickColor::Rouge, LipstickColor::RetroRed, LipstickColor::Peach,
				   LipstickColor::CoralOrange, LipstickColor::GentlePink,
				   LipstickColor::VitalityOrange});
	expect_numbered_from_zero({BlushStyle::SunKissed, BlushStyle::Igari, BlushStyle::Soft, BlushStyle::Apple,
				   BlushStyle::Classic, BlushStyle::Doll, BlushStyle::Rose});
	expect_numbered_from_zero({BlushColor::CoralPink, BlushColor::DustyRose, BlushColor::VividRed,
				   BlushColor::Berry, BlushColor::SunsetOrange});
	expect_numbered_from_zero({ContourStyle::Natural, ContourStyle::Sculpt, ContourStyle::Glow, ContourStyle::Slim,
				   ContourStyle::Nose, ContourStyle::Glam});
}

TEST(BeautyParams, EyeChoicesHaveTheirNumbers)
{
	expect_numbered_from_zero({EyeShadowStyle::Soft, EyeShadowStyle::Crease, EyeShadowStyle::Smoky,
				   EyeShadowStyle::Halo, EyeShadowStyle::Glow, EyeShadowStyle::Drama,
				   EyeShadowStyle::Warm});
	expect_numbered_from_zero(
		{EyeShadowColor::Plum, EyeShadowColor::Brown, EyeShadowColor::Gold, EyeShadowColor::Pink});
	expect_numbered_from_zero({EyeLinerStyle::Classic, EyeLinerStyle::Flick, EyeLinerStyle::CatEye,
				   EyeLinerStyle::Natural, EyeLinerStyle::Bold, EyeLinerStyle::Soft});
	expect_numbered_from_zero({EyeLinerColor::Burgundy, EyeLinerColor::Plum, EyeLinerColor::Chocolate,
				   EyeLinerColor::Coffee, EyeLinerColor::Mauve});
	expect_numbered_from_zero({PupilColor::Hazel, PupilColor::Ice, PupilColor::Mocha, PupilColor::Olive,
				   PupilColor::Gloss, PupilColor::Moss, PupilColor::Sand, PupilColor::Glow,
				   PupilColor::Slate});
}

TEST(BeautyParams, BrowAndLashChoicesHaveTheirNumbers)
{
	expect_numbered_from_zero({EyebrowStyle::Natural, EyebrowStyle::Soft, EyebrowStyle::Feathered,
				   EyebrowStyle::Mist, EyebrowStyle::Arched, EyebrowStyle::Powder, EyebrowStyle::Wild,
				   EyebrowStyle::Full, EyebrowStyle::Straight});
	expect_numbered_from_zero({EyebrowColor::DarkBrown, EyebrowColor::Black, EyebrowColor::SoftBrown});
	expect_numbered_from_zero({EyelashStyle::Classic, EyelashStyle::Manga, EyelashStyle::Winged,
				   EyelashStyle::Wispy, EyelashStyle::Clustered, EyelashStyle::Doll});
	expect_numbered_from_zero({EyelashColor::Black, EyelashColor::Brown, EyelashColor::SoftBlack});
}

} // namespace
