// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/reshape_moves.h"

#include "kalvio_engine.h"

#include <array>

namespace kalvio::engine {

namespace {

// A head that turns brings the mouth and the eyes close to the outline: they are held.
constexpr std::array<MovedPoint, 9> lower_sides = {
	{{93, 0.5F}, {132, 0.8F}, {58}, {172}, {136}, {150, 0.9F}, {149, 0.7F}, {176, 0.5F}, {61, 0}}};
constexpr std::array<MovedPoint, 9> chin_sides = {
	{{58, 0.15F}, {172, 0.45F}, {136, 0.8F}, {150}, {149}, {176, 0.8F}, {148, 0.5F}, {152, 0}, {61, 0}}};
constexpr std::array<MovedPoint, 12> all_sides = {{{162, 0.6F},
						   {127, 0.9F},
						   {234},
						   {93},
						   {132},
						   {58},
						   {172},
						   {136, 0.9F},
						   {150, 0.7F},
						   {149, 0.5F},
						   {61, 0},
						   {33, 0}}};
constexpr std::array<MovedPoint, 15> whole_face = {
	{{10}, {109}, {103}, {21}, {127}, {93}, {58}, {136}, {149}, {152}, {50}, {205}, {9}, {5}, {2}}};
constexpr std::array<MovedPoint, 17> lower_face = {{{152},
						    {148},
						    {176},
						    {149, 0.9F},
						    {150, 0.8F},
						    {136, 0.6F},
						    {172, 0.4F},
						    {58, 0.2F},
						    {132, 0},
						    {17, 0.6F},
						    {0, 0.45F},
						    {61, 0.5F},
						    {2, 0.25F},
						    {205, 0.2F},
						    {4, 0.1F},
						    {50, 0},
						    {133, 0}}};
constexpr std::array<MovedPoint, 7> cheekbones = {
	{{116, 0.7F}, {123, 0.8F}, {147, 0.6F}, {234, 0.9F}, {93}, {132, 0.7F}, {33, 0}}};
constexpr std::array<MovedPoint, 7> jawbones = {
	{{132, 0.5F}, {58}, {172}, {136, 0.8F}, {150, 0.4F}, {152, 0}, {61, 0}}};
constexpr std::array<MovedPoint, 6> chin = {{{152}, {148}, {176, 0.8F}, {149, 0.4F}, {17, 0}, {61, 0}}};
constexpr std::array<MovedPoint, 9> forehead = {
	{{10}, {109}, {67}, {103, 0.9F}, {54, 0.6F}, {21, 0.2F}, {105, 0}, {66, 0}, {9, 0}}};

constexpr std::array<MovedPoint, 13> brows = {
	{{46, 0.8F}, {53}, {52}, {65}, {55}, {70, 0.8F}, {63}, {105}, {66}, {107}, {160, 0}, {158, 0}, {159, 0}}};
constexpr std::array<MovedPoint, 10> brow_edges = {
	{{46, -0.5F}, {53, -1}, {52, -1}, {65, -1}, {55, -0.5F}, {70, 0.5F}, {63}, {105}, {66}, {107, 0.5F}}};

constexpr std::array<MovedPoint, 11> eyes = {
	{{33}, {161}, {160}, {159}, {158}, {133}, {153}, {145}, {144}, {163}, {468}}};
constexpr std::array<MovedPoint, 14> eyes_below_brows = {
	{{33}, {161}, {160}, {159}, {158}, {133}, {153}, {145}, {144}, {163}, {468}, {52, 0}, {53, 0}, {65, 0}}};
constexpr std::array<MovedPoint, 8> inner_corners = {
	{{133}, {173, 0.6F}, {155, 0.6F}, {158, 0}, {153, 0}, {159, 0}, {145, 0}, {468, 0}}};
constexpr std::array<MovedPoint, 12> lower_lids = {{{7, 0.6F},
						    {163, 0.8F},
						    {144},
						    {145},
						    {153},
						    {154, 0.8F},
						    {33, 0},
						    {133, 0},
						    {160, 0},
						    {159, 0},
						    {158, 0},
						    {468, 0}}};

constexpr std::array<MovedPoint, 8> moved_nose_wings = {{{129}, {98}, {64}, {4}, {1}, {2}, {195}, {197}}};
constexpr std::array<MovedPoint, 11> nose_end = {
	{{1}, {2}, {4}, {98}, {64}, {129, 0.7F}, {5, 0.6F}, {195, 0.3F}, {6, 0}, {0, 0}, {37, 0}}};

constexpr std::array<MovedPoint, 18> lips = {{{61},
					      {185},
					      {40},
					      {39},
					      {37},
					      {0},
					      {17},
					      {84},
					      {181},
					      {91},
					      {146},
					      {13},
					      {14},
					      {81},
					      {178},
					      {78},
					      {2, 0},
					      {98, 0}}};
constexpr std::array<MovedPoint, 19> lips_between = {{{61},
						      {185},
						      {40},
						      {39},
						      {37},
						      {0},
						      {17},
						      {84},
						      {181},
						      {91},
						      {146},
						      {13},
						      {14},
						      {81},
						      {178},
						      {78},
						      {2, 0},
						      {98, 0},
						      {152, 0}}};
constexpr std::array<MovedPoint, 16> lip_edges = {{{185, 0.5F},
						   {40},
						   {39},
						   {37},
						   {0},
						   {17, -1},
						   {84, -1},
						   {181, -1},
						   {91, -1},
						   {146, -0.5F},
						   {13, 0},
						   {14, 0},
						   {81, 0},
						   {178, 0},
						   {61, 0},
						   {78, 0}}};
// The corners alone: a talking mouth's lips come near and go away, and would push the corners about.
constexpr std::array<MovedPoint, 1> mouth_corners = {{{61}}};

constexpr ReshapeMove moves[] = {
	{.key = KL_RESHAPE_FACE_THIN,
	 .group = FaceGroup::Outline,
	 .radius = 0.55F,
	 .points = lower_sides,
	 .to_middle = 0.125F},
	{.key = KL_RESHAPE_FACE_VSHAPE,
	 .group = FaceGroup::Outline,
	 .radius = 0.5F,
	 .points = chin_sides,
	 .shift = {0, -0.01F},
	 .to_middle = 0.17F},
	{.key = KL_RESHAPE_FACE_NARROW,
	 .group = FaceGroup::Outline,
	 .radius = 0.6F,
	 .points = all_sides,
	 .to_middle = 0.08F},
	{.key = KL_RESHAPE_FACE_SHORT,
	 .group = FaceGroup::Outline,
	 .radius = 0.6F,
	 .points = lower_face,
	 .shift = {0, -0.10F}},
	{.key = KL_RESHAPE_CHEEKBONE,
	 .group = FaceGroup::Outline,
	 .radius = 0.4F,
	 .points = cheekbones,
	 .shift = {-0.06F, 0}},
	{.key = KL_RESHAPE_JAWBONE,
	 .group = FaceGroup::Outline,
	 .radius = 0.4F,
	 .points = jawbones,
	 .shift = {-0.07F, 0}},
	{.key = KL_RESHAPE_CHIN, .group = FaceGroup::Outline, .radius = 0.5F, .points = chin, .shift = {0, 0.10F}},
	{.key = KL_RESHAPE_NOSE_SLIM,
	 .group = FaceGroup::Nose,
	 .radius = 0.25F,
	 .points = moved_nose_wings,
	 .to_middle = 0.2F},
	{.key = KL_RESHAPE_EYE_SIZE,
	 .group = FaceGroup::Eyes,
	 .sides = MoveSides::Each,
	 .radius = 0.28F,
	 .points = eyes,
	 .scale = {0.17F, 0.17F}},
	{.key = KL_RESHAPE_EYE_DISTANCE, .group = FaceGroup::Eyes, .radius = 0.3F, .points = eyes, .shift = {0.05F, 0}},
	{.key = KL_RESHAPE_FACE_SMALL,
	 .group = FaceGroup::Outline,
	 .radius = 0.9F,
	 .points = whole_face,
	 .scale = {-0.07F, -0.07F}},
	{.key = KL_RESHAPE_FOREHEAD,
	 .group = FaceGroup::Outline,
	 .radius = 0.6F,
	 .points = forehead,
	 .shift = {0, -0.13F}},
	{.key = KL_RESHAPE_NOSE_LONG,
	 .group = FaceGroup::Nose,
	 .radius = 0.3F,
	 .points = nose_end,
	 .shift = {0, 0.07F}},
	{.key = KL_RESHAPE_PHILTRUM,
	 .group = FaceGroup::Lips,
	 .radius = 0.35F,
	 .points = lips_between,
	 .shift = {0, 0.06F}},
	{.key = KL_RESHAPE_MOUTH_SIZE,
	 .group = FaceGroup::Lips,
	 .radius = 0.3F,
	 .points = lips,
	 .scale = {0.16F, 0.14F}},
	{.key = KL_RESHAPE_MOUTH_POSITION,
	 .group = FaceGroup::Lips,
	 .radius = 0.4F,
	 .points = lips,
	 .shift = {0, -0.06F}},
	{.key = KL_RESHAPE_MOUTH_SMILE,
	 .group = FaceGroup::Lips,
	 .radius = 0.36F,
	 .points = mouth_corners,
	 .shift = {0.025F, -0.065F}},
	{.key = KL_RESHAPE_LIP_THICKNESS,
	 .group = FaceGroup::Lips,
	 .radius = 0.16F,
	 .points = lip_edges,
	 .shift = {0, -0.034F}},
	{.key = KL_RESHAPE_EYE_ROUND,
	 .group = FaceGroup::Eyes,
	 .sides = MoveSides::Each,
	 .radius = 0.2F,
	 .points = eyes,
	 .scale = {-0.02F, 0.16F}},
	{.key = KL_RESHAPE_EYE_POSITION,
	 .group = FaceGroup::Eyes,
	 .radius = 0.28F,
	 .points = eyes_below_brows,
	 .shift = {0, -0.05F}},
	{.key = KL_RESHAPE_EYE_ANGLE,
	 .group = FaceGroup::Eyes,
	 .sides = MoveSides::Each,
	 .radius = 0.28F,
	 .points = eyes,
	 .turn = 0.14F},
	{.key = KL_RESHAPE_EYE_CORNER_OPEN,
	 .group = FaceGroup::Eyes,
	 .radius = 0.16F,
	 .points = inner_corners,
	 .shift = {-0.05F, 0.015F}},
	{.key = KL_RESHAPE_LOWER_EYELID,
	 .group = FaceGroup::Eyes,
	 .radius = 0.16F,
	 .points = lower_lids,
	 .shift = {0, 0.038F}},
	{.key = KL_RESHAPE_BROW_POSITION,
	 .group = FaceGroup::Brows,
	 .radius = 0.25F,
	 .points = brows,
	 .shift = {0, -0.07F}},
	{.key = KL_RESHAPE_BROW_DISTANCE,
	 .group = FaceGroup::Brows,
	 .radius = 0.28F,
	 .points = brows,
	 .shift = {0.06F, 0}},
	{.key = KL_RESHAPE_BROW_THICKNESS,
	 .group = FaceGroup::Brows,
	 .radius = 0.13F,
	 .points = brow_edges,
	 .shift = {0, -0.035F}},
};

} // namespace

std::span<const ReshapeMove> reshape_moves()
{
	return moves;
}

} // namespace kalvio::engine
