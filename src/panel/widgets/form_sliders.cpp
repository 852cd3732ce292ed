// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/caption_label.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/strength_slider.h"
#include "panel/widgets/value_edit.h"
#include "panel/widgets/value_label.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QStyle>
#include <utility>

// The slider rows: by mouse and keys, typed, and back to their defaults.
namespace kalvio {
namespace {

constexpr float positions_per_unit = 100.0f;

void show_value(SliderRowRecord &row, int value)
{
	if (std::exchange(row.shown_value, value) != value)
		row.value_label->setText(QString::number(value));
}

void describe_change(const CaptionLabel &caption, QWidget &slider)
{
	slider.setAccessibleDescription(caption.is_marked() ? translated("note.changed") : QString());
}

void mark_change(const SliderRowRecord &row)
{
	const bool is_changed = *row.value != row.default_value;
	if (row.caption->is_marked() == is_changed)
		return;
	row.caption->mark_changed(is_changed);
	describe_change(*row.caption, *row.slider);
}

StrengthSlider *make_slider(QWidget *row, int position, bool is_bipolar)
{
	auto *slider = new StrengthSlider(row);
	slider->setRange(is_bipolar ? -100 : 0, 100);
	slider->setValue(position);
	slider->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	slider->setMinimumHeight(22);
	// For what a slider still asks its style, such as the time of a tool tip; it paints itself.
	slider->setStyle(QApplication::style());
	return slider;
}

} // namespace

void FormBuilder::addSliderRow(QBoxLayout *layout, const char *key, float *value, bool is_bipolar,
			       std::function<bool()> is_visible)
{
	auto *row = new QWidget(layout->parentWidget());
	layout->addWidget(row);
	auto *row_layout = new QHBoxLayout(row);
	row_layout->setContentsMargins(0, 2, 0, 2);
	row_layout->setSpacing(row_spacing);

	auto *caption = new CaptionLabel(captions_, row);
	caption->setObjectName(QStringLiteral("muted"));
	caption->setMinimumWidth(64);
	row_layout->addWidget(caption);
	StrengthSlider *slider = make_slider(row, slider_position(*value), is_bipolar);
	row_layout->addWidget(slider, 1);
	auto *value_label = new ValueLabel(QString::number(slider_position(*value)), row);
	value_label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
	value_label->setMinimumWidth(36);
	row_layout->addWidget(value_label);

	add_translation([caption, slider, value_label, key, section = section_key_] {
		caption->setText(translated(key));
		caption->setToolTip(translated("note.doubleClickForDefault"));
		slider->setAccessibleName(under_heading(section, caption->text()));
		value_label->setToolTip(translated("note.clickToType"));
		describe_change(*caption, *slider);
	});
	slider_rows_.push_back({row, slider, caption, value_label, key, label_of(key), value, default_of_edited(*value),
				std::move(is_visible), slider_position(*value)});
	connect_slider_row(slider_rows_.size() - 1);
	slider->installEventFilter(release_when_hidden_.get());
}

void FormBuilder::connect_slider_row(size_t index)
{
	const SliderRowRecord &row = slider_rows_[index];
	auto *slider = static_cast<StrengthSlider *>(row.slider);
	QObject::connect(slider, &QSlider::valueChanged, slider,
			 [this, index](int position) { slider_moved(slider_rows_[index], position); });
	QObject::connect(slider, &QSlider::sliderPressed, slider,
			 [this, index] { hold_control(slider_rows_[index].change); });
	QObject::connect(slider, &QSlider::sliderReleased, slider, release_control);

	const auto restore_default = [this, index](bool after_step) {
		store_value(slider_rows_[index], slider_rows_[index].default_value, after_step);
	};
	QObject::connect(slider, &StrengthSlider::default_requested, slider, restore_default);
	QObject::connect(row.caption, &CaptionLabel::double_clicked, slider,
			 [restore_default] { restore_default(false); });
	QObject::connect(slider, &StrengthSlider::typing_requested, slider,
			 [this, index](const QString &text) { type_value(slider_rows_[index], text); });
	QObject::connect(row.value_label, &ValueLabel::clicked, slider,
			 [this, index] { type_value(slider_rows_[index], {}); });
	add_change_marker([this, index] { mark_change(slider_rows_[index]); });
}

void FormBuilder::slider_moved(SliderRowRecord &row, int position)
{
	if (syncing_)
		return;
	*row.value = static_cast<float>(position) / positions_per_unit;
	show_value(row, position);
	mark_changes();
	ChangeLabel change = row.change;
	change.is_step = true;
	pushParameters(change);
}

void FormBuilder::store_value(const SliderRowRecord &row, float value, bool is_step)
{
	ChangeLabel change = row.change;
	change.is_step = is_step;
	store_choice(change, [&row, value] { *row.value = value; });
}

void FormBuilder::type_value(const SliderRowRecord &row, const QString &text)
{
	const QString shown = QString::number(row.shown_value);
	const auto take = [this, &row](int number) {
		store_value(row, static_cast<float>(number) / positions_per_unit, false);
	};
	auto *edit = new ValueEdit(shown, row.slider->minimum(), row.slider->maximum(), take, row.slider, row.row);
	edit->setGeometry(row.value_label->geometry());
	if (!text.isEmpty())
		edit->setText(text);
	edit->show();
	edit->setFocus(Qt::OtherFocusReason);
}

void FormBuilder::refresh_sliders()
{
	for (SliderRowRecord &row : slider_rows_) {
		if (!row.slider->isSliderDown()) {
			const int position = slider_position(*row.value);
			const QSignalBlocker blocker(row.slider);
			row.slider->setValue(position);
			show_value(row, position);
		}
		show_or_hide(*row.row, !row.is_visible || row.is_visible());
	}
}

} // namespace kalvio
