// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_table.h"

#include <iterator>
#include <span>
#include <type_traits>
#include <utility>

namespace kalvio {

namespace {

// The field of a record that a path of member pointers leads to.
template <auto... path, class Record>
auto &field_of(Record &record)
{
	return (record.*....*path);
}

template <auto... path>
SwitchField toggle()
{
	return {[](const ParameterSet &set) { return field_of<path...>(set); },
		[](ParameterSet &set, bool value) {
			field_of<path...>(set) = value;
		}};
}

template <auto... path>
StrengthField strength()
{
	return {[](const ParameterSet &set, size_t) { return field_of<path...>(set); },
		[](ParameterSet &set, size_t, float value) {
			field_of<path...>(set) = value;
		}};
}

template <auto... path>
ChoiceField choice(int count)
{
	using Choice = std::remove_cvref_t<decltype(field_of<path...>(std::declval<ParameterSet &>()))>;
	return {[](const ParameterSet &set) { return static_cast<int>(field_of<path...>(set)); },
		[](ParameterSet &set, int value) { field_of<path...>(set) = static_cast<Choice>(value); }, count};
}

template <auto... path>
TextField text()
{
	return {[](const ParameterSet &set) -> const std::string & { return field_of<path...>(set); },
		[](ParameterSet &set, const char *value) {
			field_of<path...>(set) = value;
		}};
}

// The amounts of one of the two arrays.
template <auto amounts>
StrengthField amount(bool is_signed)
{
	return {[](const ParameterSet &set, size_t index) { return (set.*amounts)[index]; },
		[](ParameterSet &set, size_t index, float value) { (set.*amounts)[index] = value; }, 0, is_signed};
}

void add_reshape(std::vector<Parameter> &table, ParameterSection section, std::span<const ReshapeGroup> groups,
		 StrengthField field, ReshapeSetter setter)
{
	for (const ReshapeGroup &group : groups) {
		for (const ReshapeItem &item : std::span(group.items, static_cast<size_t>(group.count))) {
			field.index = static_cast<size_t>(item.engine_id);
			table.push_back({item.setting_key, section, field, setter});
		}
	}
}

using Set = ParameterSet;
using Skin = SkinParameters;
using Makeup = MakeupParameters;
using Background = BackgroundParameters;
using Filter = FilterParameters;

// Made at run time: the address of a function that another library exports is no constant expression on every system.
std::vector<Parameter> make_table()
{
	std::vector<Parameter> table = {
		{"enabled", ParameterSection::General, toggle<&Set::enabled>(), {}},
		{"skin_only", ParameterSection::Skin, toggle<&Set::skin, &Skin::skin_only>(), kl_set_beauty_skin_only},
		{"smoothing", ParameterSection::Skin, strength<&Set::skin, &Skin::smoothing>(), kl_set_smoothing},
		{"smoothing_style", ParameterSection::Skin,
		 choice<&Set::skin, &Skin::smoothing_style>(KL_SMOOTHING_STYLE_COUNT), kl_set_smoothing_style},
		{"whitening", ParameterSection::Skin, strength<&Set::skin, &Skin::whitening>(), kl_set_whitening},
		{"whitening_style", ParameterSection::Skin,
		 choice<&Set::skin, &Skin::whitening_style>(KL_WHITENING_STYLE_COUNT), kl_set_whitening_style},
		{"rosiness", ParameterSection::Skin, strength<&Set::skin, &Skin::rosiness>(), kl_set_rosiness},
		{"sharpening", ParameterSection::Skin, strength<&Set::skin, &Skin::sharpening>(), kl_set_sharpening},
	};

	add_reshape(table, ParameterSection::FaceReshape, face_reshape_groups, amount<&Set::reshape>(true),
		    kl_set_reshape);
	add_reshape(table, ParameterSection::BodyReshape, body_reshape_groups, amount<&Set::body>(false),
		    kl_set_body_reshape);

	const Parameter rest[] = {
		{"lipstick", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::lipstick, &LipstickParameters::strength>(), kl_set_lipstick},
		{"lipstick_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::lipstick, &LipstickParameters::color>(KL_LIPSTICK_COLOR_COUNT),
		 kl_set_lipstick_color},
		{"blush", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::blush, &BlushParameters::strength>(), kl_set_blush},
		{"blush_style", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::blush, &BlushParameters::style>(KL_BLUSH_STYLE_COUNT),
		 kl_set_blush_style},
		{"blush_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::blush, &BlushParameters::color>(KL_BLUSH_COLOR_COUNT),
		 kl_set_blush_color},
		{"contour", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::contour, &ContourParameters::strength>(), kl_set_contour},
		{"contour_style", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::contour, &ContourParameters::style>(KL_CONTOUR_STYLE_COUNT),
		 kl_set_contour_style},
		{"eyeshadow", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::eyeshadow, &EyeShadowParameters::strength>(), kl_set_eye_shadow},
		{"eyeshadow_style", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyeshadow, &EyeShadowParameters::style>(KL_EYE_SHADOW_STYLE_COUNT),
		 kl_set_eye_shadow_style},
		{"eyeshadow_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyeshadow, &EyeShadowParameters::color>(KL_EYE_SHADOW_COLOR_COUNT),
		 kl_set_eye_shadow_color},
		{"eyeliner", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::eyeliner, &EyeLinerParameters::strength>(), kl_set_eye_liner},
		{"eyeliner_style", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyeliner, &EyeLinerParameters::style>(KL_EYE_LINER_STYLE_COUNT),
		 kl_set_eye_liner_style},
		{"eyeliner_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyeliner, &EyeLinerParameters::color>(KL_EYE_LINER_COLOR_COUNT),
		 kl_set_eye_liner_color},
		{"eyebrow", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::eyebrow, &EyebrowParameters::strength>(), kl_set_eyebrow},
		{"eyebrow_style", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyebrow, &EyebrowParameters::style>(KL_EYEBROW_STYLE_COUNT),
		 kl_set_eyebrow_style},
		{"eyebrow_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyebrow, &EyebrowParameters::color>(KL_EYEBROW_COLOR_COUNT),
		 kl_set_eyebrow_color},
		{"eyelash", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::eyelash, &EyelashParameters::strength>(), kl_set_eyelash},
		{"eyelash_style", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyelash, &EyelashParameters::style>(KL_EYELASH_STYLE_COUNT),
		 kl_set_eyelash_style},
		{"eyelash_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::eyelash, &EyelashParameters::color>(KL_EYELASH_COLOR_COUNT),
		 kl_set_eyelash_color},
		{"pupil", ParameterSection::Makeup,
		 strength<&Set::makeup, &Makeup::pupil, &PupilParameters::strength>(), kl_set_pupil},
		{"pupil_color", ParameterSection::Makeup,
		 choice<&Set::makeup, &Makeup::pupil, &PupilParameters::color>(KL_PUPIL_COLOR_COUNT),
		 kl_set_pupil_color},
		{"bg_fill",
		 ParameterSection::Background,
		 choice<&Set::background, &Background::fill>(fill_mode_count),
		 {}},
		{"bg_blur", ParameterSection::Background, strength<&Set::background, &Background::blur>(), {}},
		{"bg_preset", ParameterSection::Background, text<&Set::background, &Background::preset>(), {}},
		{"bg_image", ParameterSection::Background, text<&Set::background, &Background::image>(), {}},
		{"chroma",
		 ParameterSection::Background,
		 choice<&Set::background, &Background::chroma>(KL_CHROMA_KEY_COLOR_COUNT + 1),
		 {}},
		{"chroma_similarity", ParameterSection::ChromaKey,
		 strength<&Set::background, &Background::chroma_similarity>(), kl_set_chroma_key_similarity},
		{"chroma_smoothness", ParameterSection::ChromaKey,
		 strength<&Set::background, &Background::chroma_smoothness>(), kl_set_chroma_key_smoothness},
		{"chroma_desaturation", ParameterSection::ChromaKey,
		 strength<&Set::background, &Background::chroma_desaturation>(), kl_set_chroma_key_desaturation},
		{"filter_id", ParameterSection::Filter, text<&Set::filter, &Filter::id>(), {}},
		{"filter_intensity", ParameterSection::Filter, strength<&Set::filter, &Filter::intensity>(), {}},
		{"sticker_id", ParameterSection::Sticker, text<&Set::sticker_id>(), {}},
	};
	table.insert(table.end(), std::begin(rest), std::end(rest));
	return table;
}

} // namespace

const std::vector<Parameter> &parameter_table()
{
	// Never destroyed: filters can outlive the module's static objects.
	static const std::vector<Parameter> &table = *new std::vector<Parameter>(make_table());
	return table;
}

} // namespace kalvio
