// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/header_bar.h"

#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"
#include "panel/widgets/check_box.h"
#include "panel/widgets/elided_label.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/source_selector.h"

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <algorithm>

namespace kalvio {
namespace {

// Longer names are of no use in a list and would only cost time to lay out.
constexpr qsizetype longest_shown_name = 200;

QString shown_name(const std::string &name)
{
	if (name.empty())
		return translated("obs.unnamed");
	return single_line(QString::fromStdString(name).left(longest_shown_name));
}

void set_caption(QPushButton &button, const char *key)
{
	button.setToolTip(translated(key));
	button.setAccessibleName(translated(key));
}

} // namespace

HeaderBar::HeaderBar(FormBuilder &form, HeaderActions actions, QWidget *parent)
	: QWidget(parent), form_(form), actions_(std::move(actions)), live_toggle_(new CheckBox(this)),
	  selector_(new SourceSelector(this)), reset_button_(makeHeadIcon(glyph::reset, {}, false, this)),
	  settings_button_(makeHeadIcon(glyph::settings, {}, true, this))
{
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(12, 8, 12, 8);
	auto *row = new QHBoxLayout;
	layout->addLayout(row);

	live_toggle_->setFixedSize(18, 18);
	live_toggle_->setCursor(Qt::PointingHandCursor);
	// Nothing is pushed here: the next poll writes it.
	live_toggle_->on_toggled = [](bool checked) {
		panel_model().parameters.enabled = checked;
		push_later({.caption_key = "console.live"});
	};
	row->addWidget(live_toggle_);

	selector_->setSizePolicy(QSizePolicy::Expanding, selector_->sizePolicy().verticalPolicy());
	selector_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
	selector_->setMinimumContentsLength(1);
	selector_->setStyleSheet(QStringLiteral("QComboBox { padding-top:0px; padding-bottom:0px; }"));
	row->addWidget(selector_, 1);
	connect(selector_, &QComboBox::currentIndexChanged, this, [this](int item) { selector_changed(item); });

	row->addWidget(reset_button_);
	connect(reset_button_, &QPushButton::clicked, this, [this] {
		reset_all_parameters();
		actions_.refresh_panel();
	});
	row->addWidget(settings_button_);
	connect(settings_button_, &QPushButton::clicked, this, [this] { actions_.toggle_settings(); });

	form_.add_translation([this] {
		live_toggle_->setToolTip(translated("console.toggle"));
		live_toggle_->setAccessibleName(translated("console.toggle"));
		selector_->setAccessibleName(translated("obs.selectSource"));
		set_caption(*reset_button_, "console.resetShort");
		set_caption(*settings_button_, "settings.title");
		is_filled_ = false;
	});
}

void HeaderBar::fit_height()
{
	selector_->ensurePolished();
	const int height = std::max(qRound(0.8 * selector_->sizeHint().height()), 20);
	selector_->setFixedHeight(height);
	reset_button_->setFixedSize(height, height);
	settings_button_->setFixedSize(height, height);
}

void HeaderBar::refresh()
{
	const PanelModel &state = panel_model();
	live_toggle_->show_checked(state.parameters.enabled);
	refresh_selector();
	live_toggle_->setEnabled(!state.update.forced);
	selector_->setEnabled(!state.update.forced);
	reset_button_->setEnabled(controls_enabled());
}

void HeaderBar::show_settings_open(bool open)
{
	settings_button_->setChecked(open);
}

void HeaderBar::choose_source(int index)
{
	const int item = selector_->findData(index);
	if (index >= 0 && item > 0)
		selector_->setCurrentIndex(item);
}

void HeaderBar::refresh_selector()
{
	const PanelModel &state = panel_model();
	const QSignalBlocker blocker(selector_);
	// Filling it closes its list, so that is done for other entries only.
	if (!is_filled_ || shown_names_ != state.names) {
		selector_->clear();
		selector_->addItem(translated(state.names.empty() ? "obs.noSource" : "obs.allSources"), -1);
		for (size_t i = 0; i < state.names.size(); ++i)
			selector_->addItem(shown_name(state.names[i]), static_cast<int>(i));
		shown_names_ = state.names;
		is_filled_ = true;
	}
	const bool drives_one = !ui_preferences().apply_global && !state.names.empty();
	selector_->setCurrentIndex(drives_one ? std::max(selector_->findData(state.selected_index), 0) : 0);
	const QString status = QString::fromStdString(state.status_text);
	if (selector_->toolTip() != status) {
		selector_->setToolTip(status);
		selector_->setAccessibleDescription(status);
	}
}

void HeaderBar::selector_changed(int item)
{
	if (form_.is_syncing() || item < 0)
		return;
	UiPreferences &preferences = ui_preferences();
	PanelModel &state = panel_model();
	const bool previous_apply_global = preferences.apply_global;
	const int previous_index = state.selected_index;
	preferences.apply_global = item == 0;
	if (item > 0)
		state.selected_index = item - 1;
	select_target(previous_apply_global, previous_index);
	actions_.refresh_panel();
}

} // namespace kalvio
