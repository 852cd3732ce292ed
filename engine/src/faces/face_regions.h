// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"

#include <algorithm>
#include <array>

// Which of the points of a face are what. Outlines are in order along the line; "left" is the picture's left.
namespace kalvio::engine::regions {

inline constexpr std::array oval = {10,  338, 297, 332, 284, 251, 389, 356, 454, 323, 361, 288,
				    397, 365, 379, 378, 400, 377, 152, 148, 176, 149, 150, 136,
				    172, 58,  132, 93,  234, 127, 162, 21,  54,  103, 67,  109};

// The cheeks' and the chin's part of the oval, from ear to ear.
inline constexpr std::array jaw = {454, 323, 361, 288, 397, 365, 379, 378, 400, 377, 152,
				   148, 176, 149, 150, 136, 172, 58,  132, 93,  234};

// From the outer corner over the upper lid to the inner corner, then back along the lower lid.
inline constexpr std::array left_eye = {33, 246, 161, 160, 159, 158, 157, 173, 133, 155, 154, 153, 145, 144, 163, 7};
// From the inner corner over the upper lid to the outer corner, then back along the lower lid.
inline constexpr std::array right_eye = {362, 398, 384, 385, 386, 387, 388, 466,
					 263, 249, 390, 373, 374, 380, 381, 382};

inline constexpr std::array left_lid_fold = {130, 247, 30, 29, 27, 28, 56, 190, 243};
inline constexpr std::array right_lid_fold = {463, 414, 286, 258, 257, 259, 260, 467, 359};

// From the outer end to the inner one, and the other way round on the right.
inline constexpr std::array left_brow_lower = {46, 53, 52, 65, 55};
inline constexpr std::array left_brow_upper = {70, 63, 105, 66, 107};
inline constexpr std::array right_brow_lower = {285, 295, 282, 283, 276};
inline constexpr std::array right_brow_upper = {336, 296, 334, 293, 300};

inline constexpr std::array lips_outer = {61,  185, 40,  39,  37,  0,  267, 269, 270, 409,
					  291, 375, 321, 405, 314, 17, 84,  181, 91,  146};
inline constexpr std::array lips_inner = {78,  191, 80,  81,  82,  13, 312, 311, 310, 415,
					  308, 324, 318, 402, 317, 14, 87,  178, 88,  95};

inline constexpr std::array nose_bridge = {168, 6, 197, 195, 5, 4};
inline constexpr std::array nose_wings = {129, 98, 64, 358, 327, 294};

// The center, then four points of the rim.
inline constexpr std::array left_iris = {468, 469, 470, 471, 472};
inline constexpr std::array right_iris = {473, 474, 475, 476, 477};

// Bare skin of most faces: forehead, cheeks, nose and chin.
inline constexpr std::array skin = {10,  151, 9,   108, 337, 69,  299, 50,  280, 205, 425, 101, 330, 118, 347, 187,
				    411, 207, 427, 216, 436, 192, 416, 138, 367, 4,   195, 197, 199, 175, 171, 396};

inline constexpr int left_eye_outer_corner = 33;
inline constexpr int right_eye_outer_corner = 263;
inline constexpr int left_iris_center = 468;
inline constexpr int right_iris_center = 473;
inline constexpr int nose_tip = 1;
inline constexpr int upper_inner_lip = 13;
inline constexpr int lower_inner_lip = 14;
inline constexpr int left_mouth_corner = 61;
inline constexpr int right_mouth_corner = 291;
inline constexpr int chin = 152;
inline constexpr int forehead = 10;

inline Point eyes_middle(const FacePoints &points)
{
	return middle(points[left_iris_center].flat(), points[right_iris_center].flat());
}

inline Point mouth_middle(const FacePoints &points)
{
	return middle(points[left_mouth_corner].flat(), points[right_mouth_corner].flat());
}

// How large a face is, in pixels: the distance between its eyes as seen from the front. A turned head brings the eyes
// closer together, a nod the mouth closer to them; 0.92 of the way from the eyes to the mouth is as long as the eyes
// are apart.
inline float size_from(float eye_distance, float eyes_to_mouth)
{
	return std::max(eye_distance, 0.92F * eyes_to_mouth);
}

inline float face_size(const FacePoints &points)
{
	return size_from(distance(points[left_iris_center].flat(), points[right_iris_center].flat()),
			 distance(eyes_middle(points), mouth_middle(points)));
}

// Between the eyes and the mouth.
inline Point face_center(const FacePoints &points)
{
	return middle(eyes_middle(points), mouth_middle(points));
}

} // namespace kalvio::engine::regions
