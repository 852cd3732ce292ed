// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "kalvio_engine.h"

namespace kalvio::engine::testing {

// A length of an upright face that a setting changes.
struct ReshapeFeature {
	int key;
	const char *name;
	float (*measure)(const FacePoints &points); // in pixels
	bool grows;                                 // at 1
	// By how much the mesh sees it change at 1 and at -1, in percent of the face's size, as a mean over made faces;
	// both 0 where the mesh, which smooths small features over, sees too little of it.
	float least;
	float most;
};

inline float across(const FacePoints &points, int from, int to)
{
	return points[size_t(to)].x - points[size_t(from)].x;
}

inline float below(const FacePoints &points, int from, int to)
{
	return points[size_t(to)].y - points[size_t(from)].y;
}

inline constexpr ReshapeFeature reshape_features[] = {
	{KL_RESHAPE_FACE_THIN, "face_thin", [](const FacePoints &p) { return across(p, 172, 397); }, false, 8, 20},
	{KL_RESHAPE_FACE_VSHAPE, "face_vshape", [](const FacePoints &p) { return across(p, 150, 379); }, false, 3, 10},
	{KL_RESHAPE_FACE_NARROW, "face_narrow", [](const FacePoints &p) { return across(p, 93, 323); }, false, 6, 16},
	{KL_RESHAPE_FACE_SHORT, "face_short", [](const FacePoints &p) { return below(p, 168, 152); }, false, 4, 11},
	{KL_RESHAPE_CHEEKBONE, "cheekbone", [](const FacePoints &p) { return across(p, 93, 323); }, false, 1.5F, 6},
	{KL_RESHAPE_JAWBONE, "jawbone", [](const FacePoints &p) { return across(p, 172, 397); }, false, 4, 10},
	{KL_RESHAPE_CHIN, "chin", [](const FacePoints &p) { return below(p, 17, 152); }, true, 3, 9},
	{KL_RESHAPE_NOSE_SLIM, "nose_slim", [](const FacePoints &p) { return across(p, 129, 358); }, false, 0, 0},
	{KL_RESHAPE_EYE_SIZE, "eye_size",
	 [](const FacePoints &p) { return (across(p, 33, 133) + across(p, 362, 263)) / 2; }, true, 1, 4},
	{KL_RESHAPE_EYE_DISTANCE, "eye_distance",
	 [](const FacePoints &p) { return (across(p, 33, 263) + across(p, 133, 362)) / 2; }, true, 2, 12},
	{KL_RESHAPE_FACE_SMALL, "face_small",
	 [](const FacePoints &p) { return (across(p, 234, 454) + below(p, 10, 152)) / 2; }, false, 8, 18},
	{KL_RESHAPE_FOREHEAD, "forehead", [](const FacePoints &p) { return below(p, 10, 168); }, true, 1, 4},
	{KL_RESHAPE_NOSE_LONG, "nose_long", [](const FacePoints &p) { return below(p, 168, 2); }, true, 1, 4},
	{KL_RESHAPE_PHILTRUM, "philtrum", [](const FacePoints &p) { return below(p, 2, 0); }, true, 2, 6},
	{KL_RESHAPE_MOUTH_SIZE, "mouth_size", [](const FacePoints &p) { return across(p, 61, 291); }, true, 5, 18},
	{KL_RESHAPE_MOUTH_POSITION, "mouth_position", [](const FacePoints &p) { return below(p, 13, 152); }, true, 3,
	 8},
	{KL_RESHAPE_MOUTH_SMILE, "mouth_smile",
	 [](const FacePoints &p) { return (below(p, 61, 0) + below(p, 291, 0)) / 2; }, true, 3, 10},
	{KL_RESHAPE_LIP_THICKNESS, "lip_thickness", [](const FacePoints &p) { return below(p, 0, 17); }, true, 4, 10},
	{KL_RESHAPE_EYE_ROUND, "eye_round",
	 [](const FacePoints &p) { return (below(p, 159, 145) + below(p, 386, 374)) / 2; }, true, 0, 0},
	{KL_RESHAPE_EYE_POSITION, "eye_position",
	 [](const FacePoints &p) { return (below(p, 468, 1) + below(p, 473, 1)) / 2; }, true, 3, 7},
	{KL_RESHAPE_EYE_ANGLE, "eye_angle",
	 [](const FacePoints &p) { return (below(p, 33, 133) + below(p, 263, 362)) / 2; }, true, 1, 5},
	{KL_RESHAPE_EYE_CORNER_OPEN, "eye_corner_open",
	 [](const FacePoints &p) { return (across(p, 33, 133) + across(p, 362, 263)) / 2; }, true, 0, 0},
	{KL_RESHAPE_LOWER_EYELID, "lower_eyelid",
	 [](const FacePoints &p) { return (below(p, 159, 145) + below(p, 386, 374)) / 2; }, true, 0, 0},
	{KL_RESHAPE_BROW_POSITION, "brow_position",
	 [](const FacePoints &p) { return (below(p, 105, 159) + below(p, 334, 386)) / 2; }, true, 3, 8},
	{KL_RESHAPE_BROW_DISTANCE, "brow_distance", [](const FacePoints &p) { return across(p, 55, 285); }, true, 1, 4},
	{KL_RESHAPE_BROW_THICKNESS, "brow_thickness",
	 [](const FacePoints &p) { return (below(p, 105, 52) + below(p, 334, 282)) / 2; }, true, 0, 0},
};

} // namespace kalvio::engine::testing
