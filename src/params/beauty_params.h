// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// The choices among styles and colors. The numbers are what a filter's settings store and what the engine is handed;
// they never change. A stored number outside an enumeration is kept and passed on as it is.
namespace kalvio::beauty_params {

enum class SmoothingStyle : int { Natural = 0, Texture = 1, Smooth = 2 };

enum class WhiteningStyle : int { ColdWhite = 0, PinkWhite = 1, WarmWhite = 2, Wheat = 3, Tan = 4 };

enum class LipstickColor : int {
	Rouge = 0,
	RetroRed = 1,
	Peach = 2,
	CoralOrange = 3,
	GentlePink = 4,
	VitalityOrange = 5
};

enum class BlushStyle : int { SunKissed = 0, Igari = 1, Soft = 2, Apple = 3, Classic = 4, Doll = 5, Rose = 6 };

enum class BlushColor : int { CoralPink = 0, DustyRose = 1, VividRed = 2, Berry = 3, SunsetOrange = 4 };

enum class ContourStyle : int { Natural = 0, Sculpt = 1, Glow = 2, Slim = 3, Nose = 4, Glam = 5 };

enum class EyeShadowStyle : int { Soft = 0, Crease = 1, Smoky = 2, Halo = 3, Glow = 4, Drama = 5, Warm = 6 };

enum class EyeShadowColor : int { Plum = 0, Brown = 1, Gold = 2, Pink = 3 };

enum class EyeLinerStyle : int { Classic = 0, Flick = 1, CatEye = 2, Natural = 3, Bold = 4, Soft = 5 };

enum class EyeLinerColor : int { Burgundy = 0, Plum = 1, Chocolate = 2, Coffee = 3, Mauve = 4 };

enum class EyebrowStyle : int {
	Natural = 0,
	Soft = 1,
	Feathered = 2,
	Mist = 3,
	Arched = 4,
	Powder = 5,
	Wild = 6,
	Full = 7,
	Straight = 8
};

enum class EyebrowColor : int { DarkBrown = 0, Black = 1, SoftBrown = 2 };

enum class EyelashStyle : int { Classic = 0, Manga = 1, Winged = 2, Wispy = 3, Clustered = 4, Doll = 5 };

enum class EyelashColor : int { Black = 0, Brown = 1, SoftBlack = 2 };

enum class PupilColor : int {
	Hazel = 0,
	Ice = 1,
	Mocha = 2,
	Olive = 3,
	Gloss = 4,
	Moss = 5,
	Sand = 6,
	Glow = 7,
	Slate = 8
};

} // namespace kalvio::beauty_params
