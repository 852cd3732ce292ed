// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/pages.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/palette.h"

#include <QFrame>

namespace kalvio {
namespace {

using namespace beauty_params;

constexpr int style_columns = 4;
constexpr int color_columns = 3;
constexpr int pupil_columns = 4;

constexpr Swatch blend(unsigned start, unsigned end)
{
	return {palette::rgb(start), palette::rgb(end)};
}

constexpr Swatch plain(unsigned color)
{
	return blend(color, color);
}

constexpr Option<LipstickColor> lipstick_colors[] = {
	{LipstickColor::Rouge, "lipstick.rouge"},           {LipstickColor::RetroRed, "lipstick.retroRed"},
	{LipstickColor::Peach, "lipstick.peach"},           {LipstickColor::CoralOrange, "lipstick.coralOrange"},
	{LipstickColor::GentlePink, "lipstick.gentlePink"}, {LipstickColor::VitalityOrange, "lipstick.vitalityOrange"},
};
constexpr Swatch lipstick_swatches[] = {
	blend(0x9d174d, 0xbe185d), blend(0x990024, 0xc2183b), blend(0xbe185d, 0xfb7185),
	blend(0xb3391b, 0xd65129), blend(0x9d174d, 0xf9a8d4), blend(0xc2410c, 0xfb923c),
};

constexpr Option<BlushStyle> blush_styles[] = {
	{BlushStyle::SunKissed, "blush.sunKissed"}, {BlushStyle::Igari, "blush.igari"},
	{BlushStyle::Soft, "blush.soft"},           {BlushStyle::Apple, "blush.apple"},
	{BlushStyle::Classic, "blush.classic"},     {BlushStyle::Doll, "blush.doll"},
	{BlushStyle::Rose, "blush.rose"},
};
constexpr Option<BlushColor> blush_colors[] = {
	{BlushColor::CoralPink, "blushColor.coralPink"},       {BlushColor::DustyRose, "blushColor.dustyRose"},
	{BlushColor::VividRed, "blushColor.vividRed"},         {BlushColor::Berry, "blushColor.berry"},
	{BlushColor::SunsetOrange, "blushColor.sunsetOrange"},
};
constexpr Swatch blush_swatches[] = {
	plain(0xb45309), plain(0x9f1239), plain(0xbe123c), plain(0x831843), plain(0xc2410c),
};

constexpr Option<ContourStyle> contour_styles[] = {
	{ContourStyle::Natural, "contour.natural"}, {ContourStyle::Sculpt, "contour.sculpt"},
	{ContourStyle::Glow, "contour.glow"},       {ContourStyle::Slim, "contour.slim"},
	{ContourStyle::Nose, "contour.nose"},       {ContourStyle::Glam, "contour.glam"},
};

constexpr Option<EyeShadowStyle> eyeshadow_styles[] = {
	{EyeShadowStyle::Soft, "eyeshadow.soft"},   {EyeShadowStyle::Crease, "eyeshadow.crease"},
	{EyeShadowStyle::Smoky, "eyeshadow.smoky"}, {EyeShadowStyle::Halo, "eyeshadow.halo"},
	{EyeShadowStyle::Glow, "eyeshadow.glow"},   {EyeShadowStyle::Drama, "eyeshadow.drama"},
	{EyeShadowStyle::Warm, "eyeshadow.warm"},
};
constexpr Option<EyeShadowColor> eyeshadow_colors[] = {
	{EyeShadowColor::Plum, "eyeshadowColor.plum"},
	{EyeShadowColor::Brown, "eyeshadowColor.brown"},
	{EyeShadowColor::Gold, "eyeshadowColor.gold"},
	{EyeShadowColor::Pink, "eyeshadowColor.pink"},
};
constexpr Swatch eyeshadow_swatches[] = {plain(0x6b21a8), plain(0x78350f), plain(0xa16207), plain(0x9d174d)};

constexpr Option<EyeLinerStyle> eyeliner_styles[] = {
	{EyeLinerStyle::Classic, "eyeliner.classic"}, {EyeLinerStyle::Flick, "eyeliner.flick"},
	{EyeLinerStyle::CatEye, "eyeliner.catEye"},   {EyeLinerStyle::Natural, "eyeliner.natural"},
	{EyeLinerStyle::Bold, "eyeliner.bold"},       {EyeLinerStyle::Soft, "eyeliner.soft"},
};
constexpr Option<EyeLinerColor> eyeliner_colors[] = {
	{EyeLinerColor::Burgundy, "eyelinerColor.burgundy"},   {EyeLinerColor::Plum, "eyelinerColor.plum"},
	{EyeLinerColor::Chocolate, "eyelinerColor.chocolate"}, {EyeLinerColor::Coffee, "eyelinerColor.coffee"},
	{EyeLinerColor::Mauve, "eyelinerColor.mauve"},
};
constexpr Swatch eyeliner_swatches[] = {
	plain(0x7f1d1d), plain(0x581c87), plain(0x431407), plain(0x1c1917), plain(0x3f3f46),
};

constexpr Option<EyebrowStyle> eyebrow_styles[] = {
	{EyebrowStyle::Natural, "eyebrow.natural"},     {EyebrowStyle::Soft, "eyebrow.soft"},
	{EyebrowStyle::Feathered, "eyebrow.feathered"}, {EyebrowStyle::Mist, "eyebrow.mist"},
	{EyebrowStyle::Arched, "eyebrow.arched"},       {EyebrowStyle::Powder, "eyebrow.powder"},
	{EyebrowStyle::Wild, "eyebrow.wild"},           {EyebrowStyle::Full, "eyebrow.full"},
	{EyebrowStyle::Straight, "eyebrow.straight"},
};
constexpr Option<EyebrowColor> eyebrow_colors[] = {
	{EyebrowColor::DarkBrown, "eyebrowColor.darkBrown"},
	{EyebrowColor::Black, "eyebrowColor.black"},
	{EyebrowColor::SoftBrown, "eyebrowColor.softBrown"},
};
constexpr Swatch eyebrow_swatches[] = {plain(0x44403c), plain(0x18181b), plain(0x78716c)};

constexpr Option<EyelashStyle> eyelash_styles[] = {
	{EyelashStyle::Classic, "eyelash.classic"},     {EyelashStyle::Manga, "eyelash.manga"},
	{EyelashStyle::Winged, "eyelash.winged"},       {EyelashStyle::Wispy, "eyelash.wispy"},
	{EyelashStyle::Clustered, "eyelash.clustered"}, {EyelashStyle::Doll, "eyelash.doll"},
};
constexpr Option<EyelashColor> eyelash_colors[] = {
	{EyelashColor::Black, "eyelashColor.black"},
	{EyelashColor::Brown, "eyelashColor.brown"},
	{EyelashColor::SoftBlack, "eyelashColor.softBlack"},
};
constexpr Swatch eyelash_swatches[] = {plain(0x09090b), plain(0x44403c), plain(0x27272a)};

constexpr Option<PupilColor> pupil_colors[] = {
	{PupilColor::Hazel, "pupil.hazel"}, {PupilColor::Ice, "pupil.ice"},     {PupilColor::Mocha, "pupil.mocha"},
	{PupilColor::Olive, "pupil.olive"}, {PupilColor::Gloss, "pupil.gloss"}, {PupilColor::Moss, "pupil.moss"},
	{PupilColor::Sand, "pupil.sand"},   {PupilColor::Glow, "pupil.glow"},   {PupilColor::Slate, "pupil.slate"},
};
constexpr Swatch pupil_swatches[] = {
	plain(0x92400e), plain(0x38bdf8), plain(0x78350f), plain(0x4d7c0f), plain(0xa8a29e),
	plain(0x3f6212), plain(0xd4a017), plain(0xfacc15), plain(0x64748b),
};

// The rows that an item of the page is made of.
class MakeupSection {
public:
	MakeupSection(FormBuilder &form, QBoxLayout *layout, const char *title_key) : form_(form), layout_(layout)
	{
		if (layout->count() > header_entries)
			form.addDivider(layout);
		form.addSection(layout, title_key);
	}

	template <class T>
	MakeupSection &style(T *value, std::span<const Option<T>> options)
	{
		form_.addOptionRow<T>(layout_, "makeup.style", value, options, style_columns);
		return *this;
	}

	template <class T>
	MakeupSection &color(T *value, std::span<const Option<T>> options, std::span<const Swatch> swatches,
			     const char *key = "makeup.color", int columns = color_columns)
	{
		form_.addOptionRow<T>(layout_, key, value, options, columns, swatches);
		return *this;
	}

	void strength(float *value) { form_.addSliderRow(layout_, "makeup.intensity", value, false); }

private:
	static constexpr int header_entries = 2; // a card's title row and divider

	FormBuilder &form_;
	QBoxLayout *layout_;
};

void reset_makeup()
{
	panel_model().parameters.makeup = {};
}

} // namespace

void build_makeup_tab(FormBuilder &form, QVBoxLayout *page)
{
	ParameterSet &set = panel_model().parameters;
	const Card card =
		form.addCard(page, "tab.makeup", {.reset = reset_makeup, .capabilities = KL_CAPABILITY_FACES});
	page->addWidget(card.frame);
	MakeupSection(form, card.body, "makeup.lipstick")
		.color<LipstickColor>(&set.makeup.lipstick.color, lipstick_colors, lipstick_swatches)
		.strength(&set.makeup.lipstick.strength);
	MakeupSection(form, card.body, "makeup.blush")
		.style<BlushStyle>(&set.makeup.blush.style, blush_styles)
		.color<BlushColor>(&set.makeup.blush.color, blush_colors, blush_swatches)
		.strength(&set.makeup.blush.strength);
	MakeupSection(form, card.body, "makeup.contour")
		.style<ContourStyle>(&set.makeup.contour.style, contour_styles)
		.strength(&set.makeup.contour.strength);
	MakeupSection(form, card.body, "makeup.eyeshadow")
		.style<EyeShadowStyle>(&set.makeup.eyeshadow.style, eyeshadow_styles)
		.color<EyeShadowColor>(&set.makeup.eyeshadow.color, eyeshadow_colors, eyeshadow_swatches)
		.strength(&set.makeup.eyeshadow.strength);
	MakeupSection(form, card.body, "makeup.eyeliner")
		.style<EyeLinerStyle>(&set.makeup.eyeliner.style, eyeliner_styles)
		.color<EyeLinerColor>(&set.makeup.eyeliner.color, eyeliner_colors, eyeliner_swatches)
		.strength(&set.makeup.eyeliner.strength);
	MakeupSection(form, card.body, "makeup.eyebrow")
		.style<EyebrowStyle>(&set.makeup.eyebrow.style, eyebrow_styles)
		.color<EyebrowColor>(&set.makeup.eyebrow.color, eyebrow_colors, eyebrow_swatches)
		.strength(&set.makeup.eyebrow.strength);
	MakeupSection(form, card.body, "makeup.eyelash")
		.style<EyelashStyle>(&set.makeup.eyelash.style, eyelash_styles)
		.color<EyelashColor>(&set.makeup.eyelash.color, eyelash_colors, eyelash_swatches)
		.strength(&set.makeup.eyelash.strength);
	MakeupSection(form, card.body, "makeup.pupil")
		.color<PupilColor>(&set.makeup.pupil.color, pupil_colors, pupil_swatches, "makeup.pupilColor",
				   pupil_columns)
		.strength(&set.makeup.pupil.strength);
}

} // namespace kalvio
