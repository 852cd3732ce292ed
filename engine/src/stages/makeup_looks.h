// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// The styles and colors of every makeup item as data. Lengths named "of s" are shares of the face's size, those named
// "of the eye" shares of an eye's width. Styles and colors have the numbers of kalvio_engine.h.
namespace kalvio::engine {

// Linear light or reflectance: red, green, blue.
using MakeupColor = std::array<float, 3>;

// How the lips' color runs from the opening of the mouth outwards.
struct LipstickColor {
	MakeupColor inner;
	MakeupColor outer;
};
const LipstickColor &lipstick_color(int32_t color);

// A soft brush stroke over the face: along points of the left half of the picture's face, and mirrored.
struct MakeupStroke {
	static constexpr int max_points = 6;
	std::array<int16_t, max_points> points; // of the face; -1 behind the last one
	float radius;                           // of s; the stroke fades out to it
	float strength;
	bool light = false; // brightens; shades otherwise. For contour.
	bool nose = false;  // on the nose: as sure as its points are
	float end = 1;      // strength at its last point as a share of that at its first one
};

std::span<const MakeupStroke> blush_strokes(int32_t style);
MakeupColor blush_color(int32_t color);
std::span<const MakeupStroke> contour_strokes(int32_t style);

struct EyeShadowStyle {
	// Heights: 0 the lashes, 1 the fold; above the fold a further 0.16 of the eye counts 1.
	float reach;   // where it ends
	float feather; // how far below that it begins to fade
	float crease;  // 0..1: from an even lid to a band along the fold
	// Strengths along the lid.
	float inner;
	float center;
	float outer;
	float wing;    // how far it goes on beyond the outer corner, of the eye
	float lower;   // below the lower lashes
	float depth;   // 0..1: how far the pigment is darkened
	float shimmer; // how much brighter the middle of the lid becomes
	float warmth;  // 0..1: how far the pigment is drawn towards terracotta
	float strength;
};
const EyeShadowStyle &eye_shadow_style(int32_t style);
MakeupColor eye_shadow_color(int32_t color);

struct EyeLinerStyle {
	float start;  // where along the lid it begins: 0 the inner corner, 1 the outer one
	float inner;  // thickness there, of the eye
	float outer;  // thickness at the outer corner
	float wing;   // length beyond the outer corner, of the eye
	float rise;   // of the wing: 0 straight on, 1 as much up as out
	float smudge; // radius of its blur, of s
	float lower;  // strength of a line along the lower lid
	float strength;
};
const EyeLinerStyle &eye_liner_style(int32_t style);
MakeupColor eye_liner_color(int32_t color);

struct EyebrowStyle {
	float thickness;   // of the brow that is there
	float arch;        // lift of its arch, of s
	float straight;    // 0..1: towards a straight brow
	float fill;        // strength of an even fill
	float head;        // strength at the inner end as a share of that at the outer one
	float feather;     // radius of the fill's blur, of s
	int hairs;         // strokes that are drawn
	float hair_length; // of s
	float hair_lift;   // 0 along the brow, 1 upright
	float unruly;      // 0..1: how much hairs differ
};
const EyebrowStyle &eyebrow_style(int32_t style);
MakeupColor eyebrow_color(int32_t color);

struct EyelashStyle {
	int count;
	float inner; // lengths, of the eye
	float middle;
	float outer;
	float sweep;     // how far the outer ones lean outwards
	float thickness; // at the root, of the eye
	int cluster;     // so many meet at their tips; 1: none
	float uneven;    // 0..1: how much lengths differ
	float lower;     // length of lashes along the lower lid, of the eye
};
const EyelashStyle &eyelash_style(int32_t style);
MakeupColor eyelash_color(int32_t color);
float eyelash_cover(int32_t color); // how much a lash hides of what lies below it, 0..1

MakeupColor pupil_color(int32_t color);

} // namespace kalvio::engine
