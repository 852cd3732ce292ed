// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/image_dialog.h"
#include "panel/pages/pages.h"
#include "panel/widgets/elided_label.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/picture_tile.h"
#include "params/effect_catalog.h"

#include <QButtonGroup>
#include <QFileInfo>
#include <QFrame>
#include <QGridLayout>
#include <QPushButton>
#include <algorithm>

namespace kalvio {
namespace {

constexpr const char *default_preset = "office";
constexpr int preset_columns = 2;

constexpr Option<int> fill_modes[] = {{FillNone, "bg.original"}, {FillBlur, "bg.blur"}, {FillPicture, "bg.image"}};

constexpr Option<int> chroma_keys[] = {{0, "bg.portrait"}, {1, "bg.green"}, {2, "bg.blue"}, {3, "bg.red"}};

void use_some_preset()
{
	ParameterSet &set = panel_model().parameters;
	if (set.background.preset.empty())
		set.background.preset = default_preset;
}

// Who switches an effect on wants to see it: no blur of no strength, no picture mode without a picture.
void complete_fill_mode()
{
	ParameterSet &set = panel_model().parameters;
	if (set.background.fill == FillBlur && set.background.blur <= 0.0f)
		set.background.blur = 0.5f;
	if (set.background.fill == FillPicture)
		use_some_preset();
}

void store_preset(const std::string &id)
{
	ParameterSet &set = panel_model().parameters;
	set.background.fill = FillPicture;
	set.background.preset = id;
	set.background.image.clear();
}

void use_preset_fill()
{
	ParameterSet &set = panel_model().parameters;
	set.background.fill = FillPicture;
	set.background.image.clear();
	use_some_preset();
}

void store_image(const QString &path)
{
	ParameterSet &set = panel_model().parameters;
	set.background.fill = FillPicture;
	set.background.image = path.toStdString();
}

void reset_background()
{
	panel_model().parameters.background = {};
}

auto find_preset(const std::string &id)
{
	return std::ranges::find_if(background_presets,
				    [&id](const BackgroundPreset &entry) { return id == entry.id; });
}

// The name of the background in use, in the card's header.
void show_current_background(ElidedLabel &label)
{
	const ParameterSet &set = panel_model().parameters;
	if (!set.background.image.empty()) {
		const QString path = QString::fromStdString(set.background.image);
		label.set_full_text(QFileInfo(path).fileName());
		label.setToolTip(path);
		return;
	}
	const auto preset = find_preset(set.background.preset);
	label.set_full_text(translated(preset == background_presets.end() ? "bg.presets" : preset->label_key));
	label.setToolTip({});
}

void add_presets(FormBuilder &form, QBoxLayout *layout)
{
	form.addLabel(layout, "bg.presets");
	auto *grid = new QGridLayout;
	layout->addLayout(grid);
	grid->setHorizontalSpacing(8);
	grid->setVerticalSpacing(8);
	auto *group = new QButtonGroup(grid);
	group->setExclusive(true);
	int i = 0;
	for (const BackgroundPreset &preset : background_presets) {
		PictureTile *tile = make_preset_tile(form, grid->parentWidget(), preset);
		group->addButton(tile, i);
		grid->addWidget(tile, i / preset_columns, i % preset_columns);
		++i;
	}
	for (int column = 0; column < preset_columns; ++column)
		grid->setColumnStretch(column, 1);

	form.add_refresher([group] {
		const ParameterSet &set = panel_model().parameters;
		const auto preset = find_preset(set.background.preset);
		const bool is_shown = set.background.image.empty() && preset != background_presets.end();
		check_only(*group, is_shown ? static_cast<int>(preset - background_presets.begin()) : -1);
	});
	QObject::connect(group, &QButtonGroup::idClicked, group, [&form, group] {
		form.store_choice({.caption_key = "bg.presets"},
				  [group] { store_preset(preset_id(*group->checkedButton())); });
	});
}

QPushButton *add_quiet_button(FormBuilder &form, QBoxLayout *layout, const char *key)
{
	auto *button = new QPushButton(layout->parentWidget());
	button->setObjectName(QStringLiteral("quiet"));
	button->setCursor(Qt::PointingHandCursor);
	form.add_translation([button, key] { button->setText(translated(key)); });
	layout->addWidget(button, 1);
	return button;
}

void add_image_buttons(FormBuilder &form, QBoxLayout *layout)
{
	auto *row = new QHBoxLayout;
	row->setSpacing(8);
	layout->addLayout(row);

	QPushButton *choose = add_quiet_button(form, row, "bg.chooseImage");
	QObject::connect(choose, &QPushButton::clicked, choose, [&form, choose] {
		choose_image(*choose, [&form](const QString &path) {
			form.store_choice({.caption_key = "bg.customImage"}, [&path] { store_image(path); });
		});
	});
	QPushButton *use_preset = add_quiet_button(form, row, "bg.usePreset");
	QObject::connect(use_preset, &QPushButton::clicked, use_preset,
			 [&form] { form.store_choice({.caption_key = "bg.usePreset"}, use_preset_fill); });
}

} // namespace

void build_background_tab(FormBuilder &form, QVBoxLayout *page)
{
	ParameterSet &set = panel_model().parameters;
	ElidedLabel *subtitle = nullptr;
	const Card card =
		form.addCard(page, "tab.background",
			     {.subtitle_key = "bg.presets", .subtitle_out = &subtitle, .reset = reset_background});
	page->addWidget(card.frame);
	form.add_refresher([subtitle] { show_current_background(*subtitle); });

	form.addOptionRow<int>(card.body, "bg.effect", &set.background.fill, fill_modes, 3, {}, complete_fill_mode);
	form.addSliderRow(card.body, "bg.blurAmount", &set.background.blur, false,
			  [&set] { return set.background.fill == FillBlur; });
	add_presets(form, card.body);
	add_image_buttons(form, card.body);

	const auto has_key = [&set] {
		return set.background.chroma > 0;
	};
	form.addOptionRow<int>(card.body, "bg.cutout", &set.background.chroma, chroma_keys, 4);
	form.addUnsupportedNote(card.body, KL_CAPABILITY_PERSON_MATTE,
				[&set] { return set.background.fill != FillNone && set.background.chroma == 0; });
	form.addSliderRow(card.body, "bg.similarity", &set.background.chroma_similarity, false, has_key);
	form.addSliderRow(card.body, "bg.smoothness", &set.background.chroma_smoothness, false, has_key);
	form.addSliderRow(card.body, "bg.desaturation", &set.background.chroma_desaturation, false, has_key);
}

} // namespace kalvio
