// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/rows.h"

#include "panel/controls/caption_label.h"
#include "panel/controls/elided_label.h"
#include "panel/controls/smooth_button.h"
#include "panel/controls/switch.h"
#include "panel/controls/toggle.h"
#include "panel/icons.h"
#include "panel/targeting.h"
#include "panel/translations.h"

#include <QApplication>
#include <QButtonGroup>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio {
namespace {

constexpr int row_spacing = 8;

// Inside a QFrame#card of its own sheet the rows' buttons need theirs: they take room from it, their looks they paint.
constexpr const char *option_button_style =
	"QPushButton { border:1px solid transparent; background:transparent; padding:2px 4px; min-height:22px; }";

void show_as_swatch(SmoothButton &button, const Swatch &swatch)
{
	button.gradient_fill = true;
	button.gradient_start = swatch.start;
	button.gradient_end = swatch.end;
	button.text_normal = button.text_hover = QColor(255, 255, 255, 230);
	button.text_checked = Qt::white;
	button.border_normal = QColor(255, 255, 255, 40);
	button.border_hover = QColor(255, 255, 255, 110);
	button.border_checked = Qt::white;
	button.border_width[1] = 2.0;
}

// A slider that goes out of sight with its page or its dock while the user holds it never learns that it was let go.
class ReleaseWhenHidden : public QObject {
protected:
	bool eventFilter(QObject *watched, QEvent *event) override
	{
		auto *slider = qobject_cast<QSlider *>(watched);
		if (slider && event->type() == QEvent::Hide)
			slider->setSliderDown(false);
		return false;
	}
};

void show_value(SliderRowRecord &row, int value)
{
	if (std::exchange(row.shown_value, value) != value)
		row.value_label->setText(QString::number(value));
}

} // namespace

QFrame *make_card_frame(QWidget *parent)
{
	auto *frame = new QFrame(parent);
	frame->setObjectName(QStringLiteral("card"));
	frame->setStyleSheet(
		QStringLiteral("QFrame#card { background:#181a20; border:1px solid #262a35; border-radius:12px; }"));
	return frame;
}

QWidget *make_divider(QWidget *parent)
{
	auto *divider = new QWidget(parent);
	divider->setFixedHeight(1);
	divider->setAttribute(Qt::WA_StyledBackground);
	divider->setStyleSheet(QStringLiteral("background:#262a35;"));
	return divider;
}

int slider_position(float value)
{
	return static_cast<int>(std::lroundf(std::clamp(value, -1.0f, 1.0f) * 100.0f));
}

void show_or_hide(QWidget &child, bool is_shown)
{
	const bool was_hidden = child.testAttribute(Qt::WA_WState_ExplicitShowHide) && child.isHidden();
	if (was_hidden == is_shown)
		child.setVisible(is_shown);
}

void check_only(QButtonGroup &group, QAbstractButton *button)
{
	if (button) {
		button->setChecked(true);
		return;
	}
	if (QAbstractButton *checked = group.checkedButton()) {
		group.setExclusive(false);
		checked->setChecked(false);
		group.setExclusive(true);
	}
}

QString translated(const char *key)
{
	return QString::fromUtf8(translate(key));
}

QString translated(const std::string &key)
{
	return translated(key.c_str());
}

Rows::Rows(std::function<void()> refresh_panel)
	: refresh_panel_(std::move(refresh_panel)), captions_(std::make_shared<CaptionColumn>()),
	  release_when_hidden_(std::make_unique<ReleaseWhenHidden>())
{
}

Rows::~Rows() = default;

void Rows::add_translation(std::function<void()> translate_widget)
{
	translate_widget();
	translations_.push_back(std::move(translate_widget));
}

void Rows::add_refresher(std::function<void()> refresher)
{
	refreshers_.push_back(std::move(refresher));
}

QLabel *Rows::addMutedLabel(QBoxLayout *layout, const char *key)
{
	QLabel *label = addLabel(layout, key);
	label->setObjectName(QStringLiteral("muted"));
	return label;
}

QLabel *Rows::addLabel(QBoxLayout *layout, const char *key)
{
	auto *label = new QLabel(layout->parentWidget());
	add_translation([label, key] { label->setText(translated(key)); });
	layout->addWidget(label);
	return label;
}

QLabel *Rows::addSection(QBoxLayout *layout, const char *key)
{
	section_key_ = key;
	return addLabel(layout, key);
}

void Rows::addDivider(QBoxLayout *layout)
{
	layout->addWidget(make_divider(layout->parentWidget()));
}

Card Rows::addCard(QBoxLayout *layout, const char *title_key, CardOptions options)
{
	captions_ = std::make_shared<CaptionColumn>();
	section_key_ = nullptr;
	QFrame *frame = make_card_frame(layout->parentWidget());
	auto *body = new QVBoxLayout(frame);
	body->setContentsMargins(16, 11, 16, 11);
	body->setSpacing(row_spacing);

	auto *header = new QHBoxLayout;
	header->setSpacing(row_spacing);
	body->addLayout(header);
	QLabel *title = addLabel(header, title_key);
	title->setObjectName(QStringLiteral("cardTitle"));
	header->setAlignment(title, Qt::AlignVCenter);
	header->addStretch(1);
	if (options.subtitle_key && options.subtitle_out) {
		auto *subtitle = new ElidedLabel(frame);
		subtitle->setObjectName(QStringLiteral("muted"));
		const char *key = options.subtitle_key;
		add_translation([subtitle, key] { subtitle->set_full_text(translated(key)); });
		header->addWidget(subtitle, 0, Qt::AlignVCenter);
		*options.subtitle_out = subtitle;
	}
	if (options.reset) {
		QPushButton *button = makeIconButton(glyph::reset, 16, 22, frame);
		add_translation([button, title_key] {
			button->setToolTip(translated("console.resetShort"));
			button->setAccessibleName(button->toolTip() + QStringLiteral(": ") + translated(title_key));
		});
		header->addWidget(button);
		QObject::connect(
			button, &QPushButton::clicked, button, [this, title_key, reset = std::move(options.reset)] {
				store_choice({.caption_key = title_key, .section_key = "console.resetShort"}, reset);
			});
	}
	addDivider(body);
	return {frame, body};
}

Switch *Rows::addSwitchRow(QBoxLayout *layout, const char *key, bool *value)
{
	auto *row = new QHBoxLayout;
	row->setContentsMargins(0, 0, 0, 0);
	layout->addLayout(row);
	addMutedLabel(row, key);
	row->addStretch(1);
	auto *toggle = new Switch(layout->parentWidget());
	toggle->setFixedSize(33, 18);
	toggle->setCursor(Qt::PointingHandCursor);
	toggle->on_toggled = [this, value, change = label_of(key)](bool checked) {
		*value = checked;
		if (!syncing_)
			push_change(change);
	};
	add_translation([toggle, key] { toggle->setAccessibleName(translated(key)); });
	add_refresher([toggle, value] { show_checked(*toggle, *value); });
	row->addWidget(toggle);
	return toggle;
}

void Rows::addSliderRow(QBoxLayout *layout, const char *key, float *value, bool is_bipolar,
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
	add_translation([caption, key] { caption->setText(translated(key)); });
	row_layout->addWidget(caption);

	auto *slider = new QSlider(Qt::Horizontal, row);
	slider->setRange(is_bipolar ? -100 : 0, 100);
	slider->setValue(slider_position(*value));
	slider->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	slider->setMinimumHeight(22);
	// Its own style object, so that the sheets above it leave it as the application draws sliders.
	slider->setStyle(QApplication::style());
	add_translation([slider, key] { slider->setAccessibleName(translated(key)); });
	row_layout->addWidget(slider, 1);

	auto *value_label = new QLabel(QString::number(slider_position(*value)), row);
	value_label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
	value_label->setMinimumWidth(36);
	row_layout->addWidget(value_label);

	slider_rows_.push_back({row, slider, caption, value_label, key, label_of(key), value, std::move(is_visible),
				slider_position(*value)});
	const size_t index = slider_rows_.size() - 1;
	QObject::connect(slider, &QSlider::valueChanged, slider,
			 [this, index](int position) { slider_moved(slider_rows_[index], position); });
	QObject::connect(slider, &QSlider::sliderPressed, slider,
			 [this, index] { hold_control(slider_rows_[index].change); });
	QObject::connect(slider, &QSlider::sliderReleased, slider, release_control);
	slider->installEventFilter(release_when_hidden_.get());
}

void Rows::slider_moved(SliderRowRecord &row, int position)
{
	if (syncing_)
		return;
	*row.value = static_cast<float>(position) / 100.0f;
	show_value(row, position);
	ChangeLabel change = row.change;
	change.is_step = true;
	push_change(change);
}

void Rows::add_option_grid(QBoxLayout *layout, const char *key, OptionField field,
			   const std::vector<OptionButton> &buttons, int columns, std::span<const Swatch> swatches)
{
	addMutedLabel(layout, key);
	auto *grid = new QGridLayout;
	layout->addLayout(grid);
	grid->setHorizontalSpacing(row_spacing);
	grid->setVerticalSpacing(row_spacing);
	auto *group = new QButtonGroup(grid);
	group->setExclusive(true);

	int i = 0;
	for (const OptionButton &option : buttons) {
		auto *button = new SmoothButton(grid->parentWidget());
		button->setCheckable(true);
		button->setCursor(Qt::PointingHandCursor);
		button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
		// The columns are equal, whatever their texts ask for.
		button->setMinimumWidth(1);
		button->setStyleSheet(QString::fromLatin1(option_button_style));
		if (static_cast<size_t>(i) < swatches.size())
			show_as_swatch(*button, swatches[static_cast<size_t>(i)]);
		group->addButton(button, option.id);
		grid->addWidget(button, i / columns, i % columns);
		add_translation([button, key, option_key = option.key] {
			button->setText(translated(option_key));
			button->setAccessibleName(translated(key) + QStringLiteral(": ") + button->text());
		});
		++i;
	}
	for (int column = 0; column < columns; ++column)
		grid->setColumnStretch(column, 1);

	add_refresher([group, read = field.read] { check_only(*group, group->button(read())); });
	QObject::connect(group, &QButtonGroup::idClicked, group,
			 [this, change = label_of(key), write = std::move(field.write)](int id) {
				 store_choice(change, [&write, id] { write(id); });
			 });
}

void Rows::store_choice(const ChangeLabel &label, const std::function<void()> &store)
{
	if (!syncing_) {
		store();
		push_change(label);
	}
	refresh_panel_();
}

void Rows::retranslate()
{
	for (const auto &translate_widget : translations_)
		translate_widget();
}

void Rows::refresh()
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
	for (const auto &refresher : refreshers_)
		refresher();
}

} // namespace kalvio
