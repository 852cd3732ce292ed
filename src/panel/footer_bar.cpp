// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/footer_bar.h"

#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/hold_button.h"
#include "panel/widgets/icons.h"

#include <QHBoxLayout>

namespace kalvio {
namespace {

constexpr int button_height = 28;
constexpr int glyph_size = 18;

OriginalTargets driven_sources()
{
	if (ui_preferences().apply_global)
		return {.all = true, .ids = {}};
	const PanelModel &state = panel_model();
	const auto index = static_cast<size_t>(state.selected_index);
	return index < state.filters.size() ? OriginalTargets{false, {state.filters[index].id}} : OriginalTargets();
}

} // namespace

FooterBar::FooterBar(FormBuilder &form, FooterActions actions, QWidget *parent)
	: QWidget(parent), search_button_(makeIconButton(glyph::search, glyph_size, button_height, this)),
	  looks_button_(new SmoothButton(this)), original_button_(new HoldButton(this))
{
	setObjectName(QStringLiteral("footer"));
	auto *layout = new QHBoxLayout(this);
	layout->setContentsMargins(12, 4, 12, 8);
	layout->setSpacing(8);

	layout->addWidget(search_button_);
	connect(search_button_, &QPushButton::clicked, this, [open = std::move(actions.open_search)] { open(); });

	looks_button_->setCursor(Qt::PointingHandCursor);
	looks_button_->setFixedHeight(button_height);
	looks_button_->setMinimumWidth(1);
	layout->addWidget(looks_button_, 2);
	connect(looks_button_, &QPushButton::clicked, this, [open = std::move(actions.open_looks)] { open(); });

	original_button_->setCursor(Qt::PointingHandCursor);
	original_button_->setFixedHeight(button_height);
	original_button_->setMinimumWidth(1);
	layout->addWidget(original_button_, 5);
	connect(original_button_, &QPushButton::pressed, this, [this] {
		shown_ = driven_sources();
		show_original(OriginalRequester::Panel, shown_);
	});
	connect(original_button_, &QPushButton::released, this, [] { show_original(OriginalRequester::Panel, {}); });
	form.add_translation([this] {
		search_button_->setAccessibleName(translated("search.title"));
		search_button_->setToolTip(translated("search.hint"));
		looks_button_->setText(translated("look.title"));
		looks_button_->setAccessibleName(looks_button_->text());
		original_button_->setText(translated("original.hold"));
		original_button_->setAccessibleName(original_button_->text());
		original_button_->setToolTip(translated("original.holdHint"));
		original_button_->setAccessibleDescription(original_button_->toolTip());
	});
}

FooterBar::~FooterBar()
{
	show_original(OriginalRequester::Panel, {});
}

void FooterBar::refresh(bool is_usable)
{
	// What was held is gone, or the panel drives something else by now.
	if (original_button_->isDown() && shown_ != driven_sources())
		original_button_->let_go();
	original_button_->setEnabled(is_usable);
	looks_button_->setEnabled(is_usable);
	search_button_->setEnabled(is_usable);
}

} // namespace kalvio
